#include "Printable.h"

#include <cstdio>

namespace zonclock {

namespace {

// Length of the well-formed UTF-8 sequence at text[at], 0 when the byte there starts none.
size_t sequenceLength(const std::string& text, size_t at)
{
	unsigned char lead = static_cast<unsigned char>(text[at]);
	size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xe ? 3 : (lead >> 3) == 0x1e ? 4 : 0;
	if (length == 0 || (length == 2 && lead < 0xc2) || (length == 4 && lead > 0xf4) || at + length > text.size())
		return 0;
	for (size_t i = 1; i < length; ++i) {
		if ((static_cast<unsigned char>(text[at + i]) & 0xc0) != 0x80)
			return 0;
	}
	unsigned char second = static_cast<unsigned char>(text[at + 1 < text.size() ? at + 1 : at]);
	// Overlong forms, UTF-16 surrogates and code points past U+10FFFF.
	if ((lead == 0xe0 && second < 0xa0) || (lead == 0xed && second > 0x9f) || (lead == 0xf0 && second < 0x90)
		|| (lead == 0xf4 && second > 0x8f))
		return 0;
	return length;
}

void appendHex(std::string& out, unsigned char byte)
{
	char hex[5];
	snprintf(hex, sizeof hex, "\\x%02X", byte);
	out += hex;
}

void appendEscaped(std::string& out, const std::string& text, size_t from, size_t to)
{
	for (size_t at = from; at < to;) {
		unsigned char byte = static_cast<unsigned char>(text[at]);
		size_t length = sequenceLength(text, at);
		if (length == 0 || at + length > to) {
			appendHex(out, byte);
			++at;
		} else if (length == 1 && (byte < 0x20 || byte == 0x7f)) {
			out += byte == '\n' ? "\\n" : byte == '\t' ? "\\t" : byte == '\r' ? "\\r" : "";
			if (byte != '\n' && byte != '\t' && byte != '\r')
				appendHex(out, byte);
			++at;
		} else if (length == 2 && byte == 0xc2 && static_cast<unsigned char>(text[at + 1]) < 0xa0) {
			// C1 controls: a terminal acts on them as on ESC sequences.
			appendHex(out, byte);
			appendHex(out, static_cast<unsigned char>(text[at + 1]));
			at += 2;
		} else {
			out.append(text, at, length);
			at += length;
		}
	}
}

// Moves a cut point back to the start of the character it falls in.
size_t characterStart(const std::string& text, size_t at)
{
	for (size_t back = 0; back < 3 && at > 0 && at < text.size(); ++back) {
		if ((static_cast<unsigned char>(text[at]) & 0xc0) != 0x80)
			break;
		--at;
	}
	return at;
}

} // namespace

std::string printable(const std::string& text, size_t limit)
{
	std::string out;
	if (text.size() <= limit) {
		appendEscaped(out, text, 0, text.size());
		return out;
	}
	size_t head = characterStart(text, limit / 2);
	size_t tail = characterStart(text, text.size() - limit / 2);
	appendEscaped(out, text, 0, head);
	out += "...(" + std::to_string(tail - head) + " bytes)...";
	appendEscaped(out, text, tail, text.size());
	return out;
}

} // namespace zonclock
