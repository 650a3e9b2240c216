/*
 * ZoneRules.h - questions about a zone's offsets, answered from ICU's zone rules (the rules the
 * library formats its texts with).
 *
 * Instants are seconds since the epoch; offsets are seconds east of UTC, daylight saving
 * included unless said otherwise. An unknown zone id is answered as UTC, as ICU does.
 */
#ifndef ZONCLOCK_ZONE_RULES_H
#define ZONCLOCK_ZONE_RULES_H

#include <cstdint>
#include <string>
#include <vector>

namespace zonclock {

int zoneOffset(const std::string& zone, int64_t at);
// The offset without daylight saving at the instant: the raw offset, or for a zone whose rules
// save negatively, the lesser offset of its two seasons (a year ahead looked at).
int standardOffset(const std::string& zone, int64_t at);

struct OffsetChange {
	int64_t at;      // the first instant of the new offset
	int before;
	int after;
};

// The first change of the zone's offset after `from` and no later than `until`; false when none.
// Transitions that only move the offset between its standard and daylight parts are skipped.
bool nextOffsetChange(const std::string& zone, int64_t from, int64_t until, OffsetChange& change);

// The instant a local wall time (seconds since the epoch as if the zone were UTC) names.
struct LocalTime {
	enum Kind { Unique, Skipped, Repeated };
	Kind kind = Unique;
	// The instant chosen: for a time skipped by a change, the instant the wall time would have
	// been under the offset before it (02:30 on a spring-forward night is 03:30 after it); for
	// a time that happens twice, the first (earlier) of the two.
	int64_t at = 0;
};
LocalTime fromLocalTime(const std::string& zone, int64_t wallSeconds);

// "+09:00", "-03:30", "+00:00".
std::string offsetText(int seconds);
// "2026-03-29T01:00:00+01:00": the instant as a clock in zone shows it, with the offset.
std::string isoInstant(int64_t seconds, const std::string& zone);
// A wall time (seconds since the epoch as if the zone were UTC) in a strftime pattern.
std::string wallText(int64_t wallSeconds, const char* pattern);
// "2026-03-29 02:00 +01:00 \u2192 +02:00": the wall time the change happens at, before and after.
std::string changeText(const OffsetChange& change);

// "GMT+5:45" -> 20700; false when the text is no GMT offset.
bool parseGmtText(const std::string& text, int& seconds);

} // namespace zonclock

#endif /* ZONCLOCK_ZONE_RULES_H */
