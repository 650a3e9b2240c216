/*
 * Printable.h - text from the command line, a file or the device, made safe for a terminal.
 *
 * Every message zonclock prints that carries such text goes through printable(): a file name
 * with an escape sequence must not recolour or clear the user's terminal, and a 100 KB argument
 * must not bury the message that names it.
 */
#ifndef ZONCLOCK_PRINTABLE_H
#define ZONCLOCK_PRINTABLE_H

#include <cstddef>
#include <string>

namespace zonclock {

// Bytes of the original text that a message shows at most.
const size_t kPrintableLimit = 200;

// Control characters (C0, DEL, and C1 written in UTF-8) become "\n", "\t", "\r", "\\" stays
// itself, others "\xNN" with each byte; bytes that are not UTF-8 become "\xNN" too. A text
// longer than limit bytes keeps its start and its end, joined by "...(N bytes)..." telling how
// many were left out; it is never cut inside a character.
std::string printable(const std::string& text, size_t limit = kPrintableLimit);

} // namespace zonclock

#endif /* ZONCLOCK_PRINTABLE_H */
