// zonclock's world clock, difference and sun texts, weather, and the settings of one run, end to
// end.
#include <chrono>
#include <fstream>

#include <app_preference.h>
#include <vconf.h>

#include "ZonclockRun.h"

namespace {

enum Column { City, Time, Date, Difference, Gmt, Sunrise, Sunset, Now, Weather, ColumnCount };

class ZonclockClockTest : public ZonclockFixture {
protected:
	std::string vconfString(const char* key)
	{
		openDevice();
		char* value = vconf_get_str(key);
		std::string text = value ? value : "(unset)";
		free(value);
		return text;
	}
};

TEST_F(ZonclockClockTest, WorldClockShowsEveryCityInTheDevicesClockFormat)
{
	EXPECT_TRUE(contains(zonclock({}).out, "zonclock add CITY")) << "the hint of an empty list";
	EXPECT_TRUE(contains(zonclock({"clock", "--second"}).out, "zonclock add --second CITY"));
	// Zones without daylight time, so the texts hold all year; Reykjavik keeps the device's time.
	const struct { const char *city, *difference, *gmt; } cities[] = {{"Tokyo", "9 hrs ahead", "GMT+9"}, {"Reykjavik", "\u2014", "GMT+0"}, {"Kolkata", "5 hrs 30 mins ahead", "GMT+5:30"}};
	for (const auto& c : cities)
		ASSERT_EQ(zonclock({"add", c.city}).exitCode, 0);

	for (const char* clock : {"--12h", "--24h"}) {
		const std::regex& pattern = std::string(clock) == "--12h" ? kClock12 : kClock24;
		Outcome view = zonclock({"--region", "en_US", clock});
		EXPECT_TRUE(contains(view.out, "in UTC (GMT+0)")) << view.out;
		for (const auto& c : cities) {
			std::vector<std::string> row = rowOf(view.out, c.city);
			ASSERT_EQ(row.size(), static_cast<size_t>(ColumnCount)) << c.city << " in\n" << view.out;
			for (Column column : {Time, Sunrise, Sunset})
				EXPECT_TRUE(std::regex_match(row[column], pattern)) << clock << " " << c.city << ": " << row[column];
			EXPECT_TRUE(row[Now] == "day" || row[Now] == "night") << row[Now];
			EXPECT_EQ(row[Weather], "\u2014") << "nothing was asked yet";
			EXPECT_EQ(row[Difference], c.difference) << c.city;
			EXPECT_EQ(row[Gmt], c.gmt) << c.city;
		}
	}

	// Cairo is far from the poles, so both times fall on the same local day.
	Outcome cairo = zonclock({"--24h", "sun", "Cairo"});
	ASSERT_TRUE(std::regex_match(field(cairo.out, "Sunrise"), kClock24)) << cairo.out;
	EXPECT_LT(field(cairo.out, "Sunrise"), field(cairo.out, "Sunset"));
	Outcome twelve = zonclock({"--12h", "--region", "en_US", "sun", "283"});
	EXPECT_TRUE(contains(twelve.out, "St. John's (283, Canada)")) << twelve.out;
	EXPECT_TRUE(std::regex_match(field(twelve.out, "Sunset"), kClock12)) << twelve.out;
}

TEST_F(ZonclockClockTest, RegionAndLanguageOptionsChangeTheTextsForOneRunOnly)
{
	ASSERT_EQ(zonclock({"add", "Tokyo"}).exitCode, 0);
	openDevice();
	ASSERT_EQ(vconf_set_str(VCONFKEY_REGIONFORMAT, "de_DE.UTF-8"), VCONF_OK);

	Outcome korean = zonclock({"--region", "ko_KR", "--language", "ko-KR.UTF-8", "--24h"});
	std::vector<std::string> row = rowOf(korean.out, "Tokyo");
	ASSERT_EQ(row.size(), static_cast<size_t>(ColumnCount)) << korean.out;
	EXPECT_TRUE(contains(row[Date], "\uC6D4")) << "Korean month: " << row[Date];
	EXPECT_TRUE(std::regex_match(row[Time], kClock24)) << row[Time];
	EXPECT_EQ(row[Difference], "9\uC2DC\uAC04 \uBE60\uB984");

	// Put back as they were: the set region format, and the never-set language and clock.
	EXPECT_EQ(vconfString(VCONFKEY_REGIONFORMAT), "de_DE.UTF-8");
	EXPECT_EQ(vconfString(VCONFKEY_LANGSET).rfind("ko", 0), std::string::npos);
	std::string settings;
	std::getline(std::ifstream(_root + "/vconf.ini"), settings, '\0');
	EXPECT_EQ(settings.find(VCONFKEY_REGIONFORMAT_TIME1224), std::string::npos) << settings;

	// Without a locale of its own the process would show message ids or question marks; a
	// language without a catalogue falls back to English.
	Outcome plainC = zonclock({"--language", "ko_KR", "diff", "Tokyo"}, {"LC_ALL=C"});
	EXPECT_EQ(field(plainC.out, "List row"), "\"9\uC2DC\uAC04 \uBE60\uB984\"");
	EXPECT_EQ(plainC.err, "");
	Outcome french = zonclock({"--language", "fr_FR", "diff", "Tokyo"});
	EXPECT_EQ(field(french.out, "List row"), "\"9 hrs ahead\"");
	EXPECT_EQ(french.err, "zonclock: --language fr_FR: no catalogue of texts in that language; they stay in English\n");
	EXPECT_EQ(vconfString(VCONFKEY_REGIONFORMAT), "de_DE.UTF-8");
}

TEST_F(ZonclockClockTest, DiffPrintsTheFourTextsAndEmptyOnesInTheDevicesZone)
{
	Outcome tokyo = zonclock({"--region", "en_US", "--language", "en_US", "diff", "tokyo"});
	EXPECT_EQ(field(tokyo.out, "Offset"), "+9 h");
	EXPECT_EQ(field(tokyo.out, "List row"), "\"9 hrs ahead\"");
	EXPECT_EQ(field(tokyo.out, "Screen reader"), "\"9 hours ahead\"");
	EXPECT_EQ(field(tokyo.out, "Font markup"), "\"<font_size=32>9 hrs ahead</font_size>\"");
	EXPECT_EQ(field(tokyo.out, "Widget arc"), "\"\u200E+9 h\"");

	Outcome same = zonclock({"diff", "Reykjavik"});
	for (const char* label : {"List row", "Screen reader", "Font markup", "Widget arc"})
		EXPECT_EQ(field(same.out, label), "\"\"") << label;
	EXPECT_TRUE(contains(same.out, "Same time as the device")) << same.out;

	// A device in Tokyo's zone while the desktop is in UTC: the texts must be measured from the
	// device, although the library drops TZ after every call.
	std::filesystem::remove_all(_root);
	std::filesystem::create_directories(_root + "/fs/opt/etc");
	std::filesystem::create_symlink("/usr/share/zoneinfo/Asia/Tokyo", _root + "/fs/opt/etc/localtime");
	EXPECT_TRUE(contains(zonclock({"diff", "Tokyo"}).out, "Same time as the device"));
	EXPECT_EQ(field(zonclock({"diff", "Reykjavik"}).out, "Widget arc"), "\"\u200E\u22129 h\"");
}

TEST_F(ZonclockClockTest, WeatherComesFromTheAgentThenTheCacheAndFailuresKeepIt)
{
	ASSERT_EQ(zonclock({"add", "Tokyo"}).exitCode, 0);
	ASSERT_EQ(zonclock({"add", "Kolkata"}).exitCode, 0);

	Outcome first = zonclock({"weather"});
	EXPECT_SUCCESS(first);
	std::vector<std::string> tokyo = rowOf(first.out, "Tokyo"), kolkata = rowOf(first.out, "Kolkata");
	for (const std::vector<std::string>& row : {tokyo, kolkata}) {
		ASSERT_EQ(row.size(), 4u) << first.out;
		EXPECT_NE(row[1], "\u2014");
		EXPECT_TRUE(std::regex_match(row[2], std::regex("-?\\d+ \u00B0[CF]"))) << row[2];
		EXPECT_EQ(row[3], "agent");
	}
	EXPECT_EQ(rowOf(zonclock({"weather", "tokyo"}).out, "Tokyo"),
		(std::vector<std::string>{"Tokyo", tokyo[1], tokyo[2], "cache, just now"}));
	EXPECT_EQ(rowOf(zonclock({}).out, "Kolkata").at(Weather), kolkata[1] + " " + kolkata[2] + ", just now");
	EXPECT_EQ(rowOf(zonclock({"weather", "Tokyo", "--refresh", "--agent", "delay=200"}).out, "Tokyo")[3], "agent");

	// A city in no list has nowhere to keep its weather, so it is asked again every time.
	for (int run = 0; run < 2; ++run) {
		Outcome berlin = zonclock({"weather", "Berlin"});
		EXPECT_EQ(rowOf(berlin.out, "Berlin")[3], "agent");
		EXPECT_TRUE(contains(berlin.out, "not cached: Berlin")) << berlin.out;
	}

	// Errors and silence are reported and keep the cache.
	Outcome error = zonclock({"weather", "Tokyo", "--refresh", "--agent", "error"});
	EXPECT_EQ(error.exitCode, 1);
	EXPECT_EQ(rowOf(error.out, "Tokyo"), (std::vector<std::string>{"Tokyo", "\u2014", "\u2014", "agent error"}));
	EXPECT_EQ(lines(error.err).size(), 1u) << error.err;
	EXPECT_TRUE(contains(error.err, "Tokyo")) << error.err;

	auto start = std::chrono::steady_clock::now();
	Outcome silent = zonclock({"weather", "Tokyo", "Kolkata", "--refresh", "--agent", "silent", "--fire-alarm"});
	EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8)) << "the alarm was not fired";
	EXPECT_EQ(silent.exitCode, 1);
	for (const char* city : {"Tokyo", "Kolkata"})
		EXPECT_EQ(rowOf(silent.out, city)[3], "timed out") << silent.out;

	// zonclock's own limit, below the library's ten seconds.
	Outcome limited = zonclock({"weather", "Tokyo", "--refresh", "--agent", "silent", "--timeout", "1"});
	EXPECT_EQ(limited.exitCode, 1);
	EXPECT_EQ(rowOf(limited.out, "Tokyo")[3], "no answer") << limited.out;
	EXPECT_EQ(rowOf(zonclock({"weather"}).out, "Tokyo")[3].rfind("cache", 0), 0u) << "the stored answer stays";

	// Per-request widget instance ids must not pile up in the application's preferences.
	openDevice();
	bool existing = true;
	EXPECT_EQ(preference_is_existing("zonclock.weather.299", &existing), PREFERENCE_ERROR_NONE);
	EXPECT_FALSE(existing);
}

} // namespace
