#include "ZoneRules.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>

#include <unicode/basictz.h>
#include <unicode/tzrule.h>
#include <unicode/tztrans.h>

namespace zonclock {

namespace {

// The rules of a zone, made once per process: a clock view asks each city's half a dozen times,
// and making them cost more than the answers. At most the catalogue's zones and the few named on
// the command line are ever made.
const icu::TimeZone& rulesOf(const std::string& zone)
{
	static std::map<std::string, std::unique_ptr<icu::TimeZone>> made;
	std::unique_ptr<icu::TimeZone>& rules = made[zone];
	if (!rules)
		rules.reset(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
	return *rules;
}

void offsets(const icu::TimeZone& rules, int64_t at, int& raw, int& dst)
{
	int32_t rawMs = 0, dstMs = 0;
	UErrorCode status = U_ZERO_ERROR;
	rules.getOffset(static_cast<UDate>(at) * 1000.0, false, rawMs, dstMs, status);
	raw = U_SUCCESS(status) ? rawMs / 1000 : 0;
	dst = U_SUCCESS(status) ? dstMs / 1000 : 0;
}

} // namespace

int zoneOffset(const std::string& zone, int64_t at)
{
	int raw, dst;
	offsets(rulesOf(zone), at, raw, dst);
	return raw + dst;
}

int standardOffset(const std::string& zone, int64_t at)
{
	// Zones whose rules keep a negative saving (Dublin's winter, Casablanca's Ramadan) call the
	// summer offset standard; the offset without any saving is the lesser of the two seasons.
	const icu::TimeZone& rules = rulesOf(zone);
	int raw, dst;
	offsets(rules, at, raw, dst);
	int standard = raw + std::min(dst, 0);
	OffsetChange change;
	if (nextOffsetChange(zone, at, at + 366 * 86400, change)) {
		offsets(rules, change.at, raw, dst);
		standard = std::min(standard, raw + std::min(dst, 0));
	}
	return standard;
}

namespace {

// Beyond this, the days are not worth probing one by one.
const int64_t kProbedHorizon = 62 * 86400;

// Whether the offset is the same at `from` and at every day after it up to `until`. Listing a
// zone's transitions makes ICU build rules for the zone's whole history first, the largest part of
// a clock view's answer that no clock changes this week; offsets at a few instants need none of
// that. No zone's rules change the offset and change it back within one day, so a day that keeps
// the offset had no change in it.
bool sameOffsetThroughout(const icu::TimeZone& rules, int64_t from, int64_t until)
{
	const int64_t kDay = 86400;
	int raw, dst;
	offsets(rules, from, raw, dst);
	const int was = raw + dst;
	for (int64_t day = from; day < until;) {
		day = std::min(day + kDay, until);
		offsets(rules, day, raw, dst);
		if (raw + dst != was)
			return false;
	}
	return true;
}

} // namespace

bool nextOffsetChange(const std::string& zone, int64_t from, int64_t until, OffsetChange& change)
{
	const icu::TimeZone& rules = rulesOf(zone);
	if (until - from <= kProbedHorizon && sameOffsetThroughout(rules, from, until))
		return false;
	auto* basic = dynamic_cast<const icu::BasicTimeZone*>(&rules);
	if (!basic)
		return false;
	UDate base = static_cast<UDate>(from) * 1000.0;
	icu::TimeZoneTransition transition;
	while (basic->getNextTransition(base, false, transition)) {
		int64_t at = static_cast<int64_t>(transition.getTime() / 1000.0);
		if (at > until)
			return false;
		const icu::TimeZoneRule* before = transition.getFrom();
		const icu::TimeZoneRule* after = transition.getTo();
		int was = (before->getRawOffset() + before->getDSTSavings()) / 1000;
		int will = (after->getRawOffset() + after->getDSTSavings()) / 1000;
		if (was != will) {
			change = {at, was, will};
			return true;
		}
		base = transition.getTime();
	}
	return false;
}

LocalTime fromLocalTime(const std::string& zone, int64_t wallSeconds)
{
	// A day either side covers any single change; the offsets in force there are the only
	// candidates for the wall time.
	const int64_t kDay = 86400;
	const icu::TimeZone& rules = rulesOf(zone);
	int raw, dst;
	offsets(rules, wallSeconds - kDay, raw, dst);
	int earlier = raw + dst;
	offsets(rules, wallSeconds + kDay, raw, dst);
	int later = raw + dst;

	std::vector<int64_t> valid;
	for (int offset : {earlier, later}) {
		int64_t at = wallSeconds - offset;
		offsets(rules, at, raw, dst);
		if (raw + dst == offset && (valid.empty() || valid.front() != at))
			valid.push_back(at);
	}
	LocalTime result;
	if (valid.empty()) {
		result.kind = LocalTime::Skipped;
		result.at = wallSeconds - earlier;
	} else {
		result.kind = valid.size() == 2 ? LocalTime::Repeated : LocalTime::Unique;
		result.at = valid.size() == 2 ? std::min(valid[0], valid[1]) : valid[0];
	}
	return result;
}

bool parseGmtText(const std::string& text, int& seconds)
{
	char sign = 0;
	int hours = 0, minutes = 0, used = 0;
	int fields = sscanf(text.c_str(), "GMT%c%d%n:%d%n", &sign, &hours, &used, &minutes, &used);
	if (fields < 2 || (sign != '+' && sign != '-') || static_cast<size_t>(used) != text.size())
		return false;
	seconds = (sign == '-' ? -1 : 1) * (hours * 3600 + minutes * 60);
	return true;
}

std::string offsetText(int seconds)
{
	int minutes = (seconds < 0 ? -seconds : seconds) / 60;
	char text[16];
	snprintf(text, sizeof text, "%c%02d:%02d", seconds < 0 ? '-' : '+', minutes / 60, minutes % 60);
	return text;
}

std::string isoInstant(int64_t seconds, const std::string& zone)
{
	int offset = zoneOffset(zone, seconds);
	return wallText(seconds + offset, "%Y-%m-%dT%H:%M:%S") + offsetText(offset);
}

std::string wallText(int64_t wallSeconds, const char* pattern)
{
	time_t local = static_cast<time_t>(wallSeconds);
	struct tm fields;
	gmtime_r(&local, &fields);
	char text[64];
	return strftime(text, sizeof text, pattern, &fields) ? text : "";
}

std::string changeText(const OffsetChange& change)
{
	return wallText(change.at + change.before, "%Y-%m-%d %H:%M ") + offsetText(change.before) + " \u2192 " +
		offsetText(change.after);
}

} // namespace zonclock
