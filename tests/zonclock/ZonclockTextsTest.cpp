// zonclock's own words in the user's language, and the clock and unit of the user's region.
#include <libintl.h>
#include <locale.h>

#include <set>

#include <system_settings.h>

#include "ZonclockRun.h"

extern "C" int _nl_msg_cat_cntr;

namespace {

// Every tr("...") of zonclock's sources, adjacent literals joined, C escapes undone.
std::set<std::string> trIds()
{
	static const std::regex call(R"re(\btr\(((?:\s*"(?:[^"\\]|\\.)*")+)\s*\))re");
	static const std::regex literal(R"re("((?:[^"\\]|\\.)*)")re");
	std::set<std::string> ids;
	for (const auto& file : std::filesystem::directory_iterator(std::string(ZON_SOURCE_DIR) + "/tools/zonclock")) {
		std::string source = readFile(file.path());
		for (std::sregex_iterator it(source.begin(), source.end(), call), end; it != end; ++it) {
			std::string calls = (*it)[1], id;
			for (std::sregex_iterator part(calls.begin(), calls.end(), literal); part != end; ++part) {
				std::string text = (*part)[1];
				for (size_t i = 0; i < text.size(); ++i)
					id += text[i] != '\\' ? text[i] : text[++i] == 'n' ? '\n' : text[i];
			}
			ids.insert(id);
		}
	}
	return ids;
}

std::vector<std::string> conversions(const std::string& format)
{
	static const std::regex conversion("%[-+ #0]*[0-9]*(?:\\.[0-9]+)?(?:l|z|ll)?[a-zA-Z%]");
	return {std::sregex_token_iterator(format.begin(), format.end(), conversion), {}};
}

TEST(ZonclockTexts, EveryOwnTextIsTranslatedInEveryCatalogueWithTheSameArguments)
{
	std::set<std::string> ids = trIds();
	ASSERT_GE(ids.size(), 60u) << "the scan lost the table headers or weather words";
	ASSERT_TRUE(ids.count("Partly sunny with thunder showers") && ids.count("(simulated)"));
	setlocale(LC_ALL, "C.UTF-8");
	bindtextdomain("zonclock", ZON_LOCALE_DIR);
	bind_textdomain_codeset("zonclock", "UTF-8");
	for (const char* language : {"ko", "ar"}) {
		ASSERT_TRUE(std::filesystem::exists(std::string(ZON_LOCALE_DIR) + "/" + language + "/LC_MESSAGES/zonclock.mo"));
		setenv("LANGUAGE", language, 1);
		++_nl_msg_cat_cntr;
		for (const std::string& id : ids) {
			std::string text = dgettext("zonclock", id.c_str());
			EXPECT_NE(text, id) << language << " lacks \"" << id << "\"";
			EXPECT_EQ(conversions(text), conversions(id)) << language << ": " << text;
		}
	}
	// The children of the other tests inherit the environment.
	unsetenv("LANGUAGE");
	++_nl_msg_cat_cntr;
}

using ZonclockTextsTest = ZonclockFixture;

TEST_F(ZonclockTextsTest, OwnWordsFollowTheLanguageAndClockAndUnitTheRegionUnlessTheDeviceOrARunSaysOtherwise)
{
	ASSERT_EQ(zonclock({"add", "Tokyo"}).exitCode, 0);
	ASSERT_EQ(zonclock({"--region", "en_US", "weather"}).exitCode, 0);
	const struct { const char *language, *cityHeader, *simulated; std::set<std::string> dayOrNight; }
		languages[] = {
		{"en_US", "City", "(simulated)", {"day", "night"}},
		{"ko_KR", "\uB3C4\uC2DC", "(\uBAA8\uC758)", {"\uB0AE", "\uBC24"}},
		{"ar_AE", "\u0627\u0644\u0645\u062F\u064A\u0646\u0629", "(\u0645\u062D\u0627\u0643\u0627\u0629)",
			{"\u0646\u0647\u0627\u0631", "\u0644\u064A\u0644"}},
	};
	for (const auto& c : languages) {
		Outcome clock = zonclock({"--language", c.language});
		std::vector<std::string> header = rowOf(clock.out, c.cityHeader), tokyo = rowOf(clock.out, "Tokyo");
		ASSERT_EQ(header.size(), 9u) << clock.out;
		ASSERT_EQ(tokyo.size(), 9u) << clock.out;
		EXPECT_TRUE(c.dayOrNight.count(tokyo[7])) << c.language << ": " << tokyo[7];
		EXPECT_TRUE(contains(tokyo[8], c.simulated)) << tokyo[8];
		EXPECT_TRUE(contains(rowOf(zonclock({"--language", c.language, "weather"}).out, "Tokyo").at(1), c.simulated));
	}

	const struct { std::vector<std::string> args, env; bool is24; const char* unit; } cases[] = {
		{{"--region", "de_DE"}, {}, true, "\u00B0C"},
		{{"--region", "en_US"}, {}, false, "\u00B0F"},
		{{}, {"LC_ALL=de_DE.UTF-8"}, true, "\u00B0C"},
		{{"--region", "de_DE", "--12h"}, {}, false, "\u00B0C"},
		{{"--region", "en_US", "--24h"}, {}, true, "\u00B0F"},
	};
	for (const auto& c : cases) {
		std::vector<std::string> tokyo = rowOf(zonclock(c.args, c.env).out, "Tokyo");
		ASSERT_EQ(tokyo.size(), 9u);
		EXPECT_TRUE(std::regex_match(tokyo[1], c.is24 ? kClock24 : kClock12)) << c.args.size() << ": " << tokyo[1];
		EXPECT_TRUE(contains(tokyo[8], c.unit)) << tokyo[8];
		std::vector<std::string> args = c.args;
		args.push_back("weather");
		EXPECT_TRUE(contains(rowOf(zonclock(args, c.env).out, "Tokyo").at(2), c.unit));
	}

	// The device's own setting wins over its region.
	openDevice();
	ASSERT_EQ(system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, true), SYSTEM_SETTINGS_ERROR_NONE);
	EXPECT_TRUE(std::regex_match(rowOf(zonclock({"--region", "en_US"}).out, "Tokyo").at(1), kClock24));
}

} // namespace
