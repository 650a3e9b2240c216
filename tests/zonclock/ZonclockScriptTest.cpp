// zonclock for scripts and planning: JSON and TSV read back and held against the C library's
// zone rules at a fixed instant, local times across clock changes, the catalogue audit, and the
// conventions (exit codes, version, '-' for standard streams, width).

#include <json-glib/json-glib.h>

#include "ZoneClock.h"
#include "ZonTimeUtil.h"
#include "ZonclockRun.h"

namespace {

const time_t kFriday = 1774612800;        // 2026-03-27 12:00 UTC
const time_t kLondonSpring = 1774746000;  // 2026-03-29 01:00 UTC: London goes to +01:00
const time_t kSydneyAutumn = 1775318400;  // 2026-04-04 16:00 UTC: Sydney goes to +10:00

// "2026-03-29T02:00:00+01:00" from the C library.
std::string iso(const char* zone, time_t t)
{
	struct tm local = zoneClock(zone, t);
	char text[40];
	long minutes = labs(local.tm_gmtoff) / 60;
	size_t length = strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
	snprintf(text + length, sizeof text - length, "%c%02ld:%02ld", local.tm_gmtoff < 0 ? '-' : '+', minutes / 60,
		minutes % 60);
	return text;
}

class ZonclockScriptTest : public ZonclockFixture {
protected:
	void SetUp() override
	{
		ZonclockFixture::SetUp();
		_frozen = frozenAt(kFriday);
		if (_frozen.empty())
			GTEST_SKIP() << "libfaketime is not installed (Debian package faketime)";
	}

	// The array `key` of zonclock's JSON, one object per element, members as strings.
	std::vector<std::map<std::string, std::string>> json(const std::vector<std::string>& args, const char* key)
	{
		Outcome run = zonclock(args, _frozen);
		EXPECT_SUCCESS(run);
		JsonParser* parser = json_parser_new();
		std::vector<std::map<std::string, std::string>> rows;
		EXPECT_TRUE(json_parser_load_from_data(parser, run.out.c_str(), -1, nullptr)) << run.out;
		JsonNode* root = json_parser_get_root(parser);
		JsonArray* array = root ? json_object_get_array_member(json_node_get_object(root), key) : nullptr;
		for (guint i = 0; array && i < json_array_get_length(array); ++i) {
			JsonObject* object = json_array_get_object_element(array, i);
			std::map<std::string, std::string> row;
			GList* members = json_object_get_members(object);
			for (GList* m = members; m; m = m->next) {
				JsonNode* node = json_object_get_member(object, static_cast<const char*>(m->data));
				g_autofree gchar* text = json_to_string(node, FALSE);
				row[static_cast<const char*>(m->data)] = json_node_get_value_type(node) == G_TYPE_STRING ? json_node_get_string(node) : text;
			}
			g_list_free(members);
			rows.push_back(row);
		}
		g_object_unref(parser);
		return rows;
	}

	std::vector<std::string> _frozen;
};

TEST_F(ZonclockScriptTest, ClockAndChangesInJsonAndTsvFollowTheZoneRules)
{
	auto cities = json({"clock", "--format", "json", "Tokyo", "Kolkata", "London", "Sydney"}, "cities");
	ASSERT_EQ(cities.size(), 4u);
	openDevice();
	for (auto& city : cities) {
		const char* zone = city["zone"].c_str();
		EXPECT_EQ(city["localTime"], iso(zone, kFriday)) << zone;
		EXPECT_EQ(city["offsetSeconds"], std::to_string(zoneClock(zone, kFriday).tm_gmtoff)) << zone;
		EXPECT_EQ(city["differenceSeconds"], city["offsetSeconds"]) << "the device is on UTC";
		if (city["zone"] == "Asia/Tokyo" || city["zone"] == "Asia/Kolkata") {  // the same all year
			EXPECT_EQ(city["gmt"], ZonTimeUtil::getCurrentGMT(zone));
		}
	}
	// London changes within the week, Sydney a day after it: only London's shows.
	EXPECT_EQ(cities[0]["nextChange"], "null");
	EXPECT_EQ(cities[2]["nextChange"], iso("Europe/London", kLondonSpring));
	EXPECT_EQ(zoneClock("Europe/London", kLondonSpring - 1).tm_gmtoff, 0);
	EXPECT_EQ(cities[2]["nextOffsetSeconds"], "3600");
	EXPECT_EQ(cities[3]["nextChange"], "null");
	// The one-line form, its --format given before the command as scripts tend to write it.
	auto now = json({"--format", "json", "now", "Sydney", "Tokyo"}, "cities");
	ASSERT_EQ(now.size(), 2u);
	EXPECT_EQ(now[0]["localTime"], cities[3]["localTime"]);
	EXPECT_EQ(now[1]["offset"], "+09:00");

	auto changes = json({"changes", "--days", "9", "--format", "json", "Sydney", "Tokyo"}, "changes");
	ASSERT_EQ(changes.size(), 2u);
	EXPECT_EQ(changes[0]["at"], iso("Australia/Sydney", kSydneyAutumn));
	EXPECT_EQ(changes[0]["offsetBefore"], "+11:00");
	EXPECT_EQ(changes[0]["offsetAfterSeconds"], std::to_string(zoneClock("Australia/Sydney", kSydneyAutumn).tm_gmtoff));
	EXPECT_EQ(changes[1]["at"], "null");

	// TSV: one header of keys, as many fields on every line, plain digits and spaces, no dash.
	Outcome tsv = zonclock({"--region", "ar_EG", "--12h", "clock", "--format", "tsv", "Tokyo", "London"}, _frozen);
	std::vector<std::string> rows = lines(tsv.out);
	ASSERT_EQ(rows.size(), 3u) << tsv.out;
	EXPECT_EQ(rows[0].rfind("cityId\tcity\tzone\ttime\t", 0), 0u) << rows[0];
	for (const std::string& row : rows)
		EXPECT_EQ(std::count(row.begin(), row.end(), '\t'), std::count(rows[0].begin(), rows[0].end(), '\t')) << row;
	std::vector<std::string> banned{"\xE2\x80\xAF", "\xC2\xA0", "\xE2\x80\x94", "\xE2\x80\x8F"};
	for (char digit = '\xA0'; digit <= '\xA9'; ++digit)  // Arabic-Indic digits, U+0660..U+0669
		banned.push_back(std::string("\xD9") + digit);
	for (const std::string& text : banned)
		EXPECT_FALSE(contains(tsv.out, text)) << tsv.out;
}

// 01:30 on 29 March does not exist in London, 01:30 on 25 October exists twice; a time without
// a date is today in the city given (21:00 in Seoul at the frozen instant).
TEST_F(ZonclockScriptTest, AtShowsOneInstantEverywhereAcrossClockChanges)
{
	ASSERT_EQ(zonclock({"add", "New York"}).exitCode, 0);
	const struct { std::vector<std::string> args; time_t instant; const char *kind, *newYorkDay; }
		cases[] = {
		{{"at", "2026-03-29T01:30", "London"}, 1774747800, "skipped", "-1"},
		{{"convert", "2026-10-25 01:30", "London"}, 1792888200, "repeated", "-1"},
		{{"at", "09:00", "Seoul"}, 1774569600, "unique", "-1"},
		{{"at", "2026-03-29T23:30"}, 1774827000, "unique", "0"},
	};
	for (const auto& c : cases) {
		std::vector<std::string> args = c.args;
		args.insert(args.end(), {"--format", "json"});
		auto rows = json(args, "times");
		ASSERT_FALSE(rows.empty()) << args[1];
		for (auto& row : rows) {
			EXPECT_EQ(row["localTime"], iso(row["zone"].c_str(), c.instant)) << args[1] << " " << row["zone"];
			EXPECT_EQ(row["localTimeKind"], c.kind) << args[1];
		}
		EXPECT_EQ(rows.back()["dayShift"], c.newYorkDay) << args[1];
	}
	Outcome gap = zonclock({"at", "2026-03-29T01:30", "London"}, _frozen);
	EXPECT_TRUE(contains(gap.err, "does not exist")) << gap.err;
	EXPECT_TRUE(contains(gap.out, "yesterday")) << gap.out;
}

TEST_F(ZonclockScriptTest, AuditListsZonesThatLeftTheirCatalogueOffset)
{
	auto cities = json({"audit", "--format", "json"}, "cities");
	bool almaty = false;
	for (auto& city : cities) {
		EXPECT_NE(city["catalogueOffsetSeconds"], city["standardOffsetSeconds"]) << city["city"];
		EXPECT_EQ(city["offsetSeconds"], std::to_string(zoneClock(city["zone"].c_str(), kFriday).tm_gmtoff));
		EXPECT_NE(city["zone"], "Asia/Tokyo");
		almaty = almaty || (city["city"] == "Almaty" && city["catalogueGmt"] == "GMT+6");
	}
	EXPECT_EQ(almaty, zoneClock("Asia/Almaty", kFriday).tm_gmtoff != 6 * 3600);
}

TEST_F(ZonclockScriptTest, StandardStreamsVersionExitCodesAndWidth)
{
	Outcome version = zonclock({"--version"});
	EXPECT_EQ(version.exitCode, 0);
	EXPECT_TRUE(std::regex_match(version.out, std::regex("zonclock \\d+\\.\\d+\\.\\d+\n"))) << version.out;

	ASSERT_EQ(zonclock({"add", "Tokyo"}).exitCode, 0);
	Outcome backup = zonclock({"backup", "-"});
	EXPECT_SUCCESS(backup);
	EXPECT_TRUE(contains(backup.out, "[record 0]")) << "the file itself on standard output";
	EXPECT_TRUE(contains(backup.err, "standard output")) << backup.err;
	std::ofstream(_tmp + "/in") << backup.out;
	ASSERT_EQ(zonclock({"remove", "Tokyo"}).exitCode, 0);
	_stdin = _tmp + "/in";
	EXPECT_SUCCESS(zonclock({"restore", "-"}));
	std::ofstream(_stdin) << "not a backup";
	EXPECT_EQ(zonclock({"restore", "-"}).exitCode, 1);
	_stdin.clear();
	EXPECT_TRUE(contains(zonclock({"list"}).out, "Tokyo"));

	// Cut to COLUMNS, marked; whole without it.
	Outcome narrow = zonclock({"list"}, {"COLUMNS=50"});
	for (const std::string& line : lines(narrow.out))
		EXPECT_LE(g_utf8_strlen(line.c_str(), -1), 50) << line;
	EXPECT_TRUE(contains(narrow.out, "\u2026")) << narrow.out;
	EXPECT_TRUE(contains(zonclock({"list"}).out, "Asia/Tokyo"));
}

} // namespace
