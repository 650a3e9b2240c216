// zonclock's list commands end to end: what it prints, its exit code and what it leaves on the
// device, as a user or a script would see them.
#include <app_preference.h>

#include "ZonclockRun.h"

namespace {

class ZonclockTest : public ZonclockFixture {
protected:
	std::vector<int> listedIds(const std::vector<std::string>& args = {"list"}) { return idsIn(zonclock(args).out, 2); }
};

TEST_F(ZonclockTest, AddRemoveAndReplaceKeepEachListInOrder)
{
	// The catalogue spells Cairo "Cairo " with a blank; the stored name must still match it.
	for (const char* city : {"tokyo", "  CAIRO", "283", "153", "154"})
		EXPECT_SUCCESS(zonclock({"add", city})) << city;
	EXPECT_SUCCESS(zonclock({"add", "Tokyo", "--second"}));
	EXPECT_EQ(listedIds(), (std::vector<int>{299, 54, 283, 153, 154}));
	EXPECT_EQ(listedIds({"list", "--second"}), (std::vector<int>{299}));

	// The two Kingstons share their name string and GMT text, yet are told apart.
	expectRefusal(zonclock({"add", "TOKYO"}), {"already in the main list"});
	expectRefusal(zonclock({"add", "154"}), {"already in the main list"});
	expectRefusal(zonclock({"replace", "seoul", "tokyo"}), {"not in the main list"});
	expectRefusal(zonclock({"replace", "154", "Tokyo"}), {"already in the main list"});
	EXPECT_SUCCESS(zonclock({"replace", "153", "berlin"}));

	int before = -1, after = -1;
	openDevice();
	ASSERT_EQ(preference_get_int("ZonDBChanged", &before), PREFERENCE_ERROR_NONE);
	EXPECT_SUCCESS(zonclock({"remove", "154"}));
	openDevice();
	ASSERT_EQ(preference_get_int("ZonDBChanged", &after), PREFERENCE_ERROR_NONE);
	EXPECT_EQ(after, before ? 0 : 1) << "a removal must reach the other processes";
	expectRefusal(zonclock({"remove", "154"}), {"not in the main list"});
	expectRefusal(zonclock({"remove", "cairo", "--second"}), {"not in the second list"});
	EXPECT_EQ(listedIds(), (std::vector<int>{299, 54, 283, 39}));
	EXPECT_EQ(listedIds({"list", "--second"}), (std::vector<int>{299}));

	Outcome list = zonclock({"list"});
	EXPECT_TRUE(contains(list.out, "St. John's")) << list.out;
	EXPECT_TRUE(contains(list.out, "America/St_Johns")) << list.out;
	// No command shows the world clock of the main list.
	Outcome clock = zonclock({});
	EXPECT_EQ(clock.out.rfind("Device: ", 0), 0u) << clock.out;
	EXPECT_LT(clock.out.find("Tokyo"), clock.out.find("St. John's")) << clock.out;
	EXPECT_FALSE(std::filesystem::exists(_envRoot));
}

TEST_F(ZonclockTest, BadCommandLinesGiveOneLineAndHelpGoesToStandardOutput)
{
	for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{{"frobnicate"}, {"add"},
			 {"add", "Tokyo", "Seoul"}, {"replace", "Tokyo"}, {"list", "--bogus"}, {"--second", "list"},
			 {"list", "--second=yes"}, {"list", "extra"}, {"help", "frobnicate"}, {"search", "a", "b"},
			 {"list", "--format", "xml"}, {"at", "25:00"}, {"at", "2026-02-30T10:00"}, {"changes", "--days", "0"},
			 {"--second", "--format=json", "list"}, {"now"}, {"--region", "xx_YY"}, {"--language", "klingon", "diff", "Tokyo"},
			 {"--region", "C"}, {"--24h", "--12h"}, {"--region"}, {"diff"}, {"sun", "Tokyo", "Seoul"},
			 {"weather", "--agent", "loud"}, {"weather", "--agent", "delay=soon"}, {"weather", "--timeout", "0"},
			 {"weather", "--timeout", "1.5"}})
		expectUsageError(zonclock(args), args[0] + " " + (args.size() > 1 ? args[1] : ""));
	expectUsageError(run({"list", "--root"}), "--root without a value");
	expectUsageError(run({"--root=", "list"}), "empty --root");

	for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
			 {"--help"}, {"help"}, {"-h", "list"}, {"help", "add"}, {"replace", "--help", "too", "many", "operands"}}) {
		Outcome help = zonclock(args);
		EXPECT_EQ(help.exitCode, 0) << args[0];
		EXPECT_EQ(help.out.rfind("Usage: zonclock", 0), 0u) << help.out;
	}
	EXPECT_TRUE(contains(zonclock({"add", "--help"}).out, "zonclock add CITY [--second]"));
	for (const char* command : {"clock", "diff", "sun", "weather"})
		EXPECT_EQ(zonclock({command, "--help"}).out.rfind(std::string("Usage: zonclock ") + command, 0), 0u) << command;
	EXPECT_FALSE(std::filesystem::exists(_root));
	EXPECT_FALSE(std::filesystem::exists(_envRoot));
}

} // namespace
