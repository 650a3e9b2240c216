// zonclock's times against the C library for the whole catalogue, and the device's home zone.
#include <unicode/basictz.h>
#include <unicode/tzrule.h>
#include <unicode/tztrans.h>

#include "ZonCityList.h"
#include "ZoneClock.h"
#include "ZoneRules.h"
#include "ZonclockRun.h"

namespace {

// "14:05" and "GMT+5:30" of a zone at t, from the C library.
std::pair<std::string, std::string> clockOf(const char* zone, time_t t)
{
	struct tm local = zoneClock(zone, t);
	char hhmm[8], gmt[48];
	snprintf(hhmm, sizeof hhmm, "%02d:%02d", local.tm_hour, local.tm_min);
	long minutes = local.tm_gmtoff / 60;
	long hours = labs(minutes) / 60, rest = labs(minutes) % 60;
	if (rest)
		snprintf(gmt, sizeof gmt, "GMT%c%ld:%02ld", minutes < 0 ? '-' : '+', hours, rest);
	else
		snprintf(gmt, sizeof gmt, "GMT%c%ld", minutes < 0 ? '-' : '+', hours);
	return {hhmm, gmt};
}

class ZonclockZoneTest : public ZonclockFixture {};

// One run over all 331 cities: each row's clock and GMT text are the C library's (read before
// or after the run, should a minute turn over meanwhile).
TEST_F(ZonclockZoneTest, EveryCatalogueCityShowsTheCLibrarysTime)
{
	std::vector<std::string> args{"--24h", "--region", "en_US", "clock"};
	for (const Cityinfo& city : allCityList)
		args.push_back(std::to_string(city.id));
	time_t before = time(nullptr);
	Outcome view = zonclock(args);
	time_t after = time(nullptr);
	ASSERT_EQ(view.exitCode, 0) << view.err;

	auto rows = tableRows(view.out);
	ASSERT_EQ(rows.size(), sizeof allCityList / sizeof allCityList[0]) << view.out;
	for (size_t i = 0; i < rows.size(); ++i) {
		const char* zone = allCityList[i].timezone_path;
		ASSERT_GE(rows[i].size(), 5u) << zone;
		auto early = clockOf(zone, before), late = clockOf(zone, after);
		EXPECT_TRUE(rows[i][1] == early.first || rows[i][1] == late.first)
			<< zone << ": zonclock " << rows[i][1] << ", C library " << early.first;
		EXPECT_TRUE(rows[i][4] == early.second || rows[i][4] == late.second)
			<< zone << ": zonclock " << rows[i][4] << ", C library " << early.second;
	}
}

// The first transition after `from` that moves the offset, read off the zone's transitions.
bool changeByTransitions(const char* zone, int64_t from, int64_t until, zonclock::OffsetChange& change)
{
	std::unique_ptr<icu::TimeZone> rules(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
	auto* basic = dynamic_cast<icu::BasicTimeZone*>(rules.get());
	icu::TimeZoneTransition transition;
	for (UDate base = from * 1000.0; basic && basic->getNextTransition(base, false, transition);
		 base = transition.getTime()) {
		int64_t at = static_cast<int64_t>(transition.getTime() / 1000.0);
		if (at > until)
			return false;
		int was = (transition.getFrom()->getRawOffset() + transition.getFrom()->getDSTSavings()) / 1000;
		int will = (transition.getTo()->getRawOffset() + transition.getTo()->getDSTSavings()) / 1000;
		if (was != will) {
			change = {at, was, will};
			return true;
		}
	}
	return false;
}

// A week's horizon (the clock view's) and two months' are answered from a few offsets instead of
// the zone's transitions: the same answers for every catalogue zone, from every week of 2026 to
// 2028 and every month.
TEST(ZonclockZoneRules, ShortHorizonsGiveTheTransitionsAnswerForEveryZone)
{
	const int64_t kDay = 86400, kStart = 1767225600;   // 2026-01-01T00:00:00Z
	int changes = 0;
	for (const Cityinfo& city : allCityList) {
		for (int64_t from = kStart + 3600 * (city.id % 24); from < kStart + 3 * 365 * kDay; from += 7 * kDay) {
			for (int64_t horizon : {7 * kDay, 62 * kDay}) {
				if (horizon > 7 * kDay && (from - kStart) % (28 * kDay))
					continue;
				zonclock::OffsetChange expected{}, found{};
				bool expectedChange = changeByTransitions(city.timezone_path, from, from + horizon, expected);
				ASSERT_EQ(expectedChange, zonclock::nextOffsetChange(city.timezone_path, from, from + horizon, found))
					<< city.timezone_path << " from " << from << " for " << horizon / kDay << " days";
				if (expectedChange) {
					++changes;
					ASSERT_EQ(expected.at, found.at) << city.timezone_path;
					ASSERT_EQ(expected.before, found.before) << city.timezone_path;
					ASSERT_EQ(expected.after, found.after) << city.timezone_path;
				}
			}
		}
	}
	EXPECT_GT(changes, 500) << "the windows looked at must hold clock changes for the comparison to mean anything";
}

TEST_F(ZonclockZoneTest, HomeZoneIsSetByCityOrZoneIdTzDoesNotMoveItAndWithoutACityTheMapSaysSo)
{
	Outcome kolkata = zonclock({"home", "kolkata"});
	EXPECT_TRUE(contains(kolkata.out, "in Asia/Kolkata (GMT+5:30)")) << kolkata.out;
	EXPECT_TRUE(contains(kolkata.out, "Catalogue city: Bangalore (29, India), the first of this zone")) << kolkata.out;
	EXPECT_EQ(field(zonclock({"diff", "Tokyo"}).out, "Offset"), "+3.5 h");

	// The device's zone wins over TZ, and zonclock says so.
	Outcome withTz = zonclock({"diff", "Tokyo"}, {"TZ=Asia/Tokyo"});
	EXPECT_EQ(field(withTz.out, "Offset"), "+3.5 h");
	EXPECT_TRUE(contains(withTz.err, "TZ=Asia/Tokyo is not used")) << withTz.err;

	Outcome utc = zonclock({"home", "Etc/UTC"});
	EXPECT_TRUE(contains(utc.out, "in Etc/UTC (GMT+0)")) << utc.out;
	EXPECT_TRUE(contains(utc.out, "Catalogue city: none")) << utc.out;
	EXPECT_EQ(zonclock({"home", "Mars/Olympus"}).exitCode, 1) << "no city, no zone";
	EXPECT_TRUE(contains(zonclock({"home"}).out, "in Etc/UTC")) << "a refused zone changes nothing";

	// list and clock show the same current GMT text; the map does not pass the band it opens on
	// off as the device's when the library found no city for the device.
	ASSERT_EQ(zonclock({"add", "Sydney"}).exitCode, 0);
	auto listed = tableRows(zonclock({"list"}).out);
	auto clocked = tableRows(zonclock({"clock"}).out);
	ASSERT_TRUE(listed.size() == 1 && clocked.size() == 1);
	EXPECT_EQ(listed[0][5], clocked[0][4]);
	EXPECT_EQ(listed[0][6], "GMT+10") << "the catalogue's text in its own column";

	Outcome map = zonclock({"map"});
	EXPECT_TRUE(contains(map.out, "which is not the device's band")) << map.out;
	for (const auto& row : tableRows(map.out))
		EXPECT_NE(row[0], "*") << map.out;
}

} // namespace
