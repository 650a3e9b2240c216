// Finding cities as people type them: search's order and suggestions, and the same matching for
// every command that takes a city.
#include "ZonclockRun.h"

namespace {

using ZonclockSearch = ZonclockFixture;

TEST_F(ZonclockSearch, FindsAnyPartOfANameOrCountryIgnoringCaseAndAccentsBestFirstAsEveryCommandDoes)
{
	const struct { const char* text; std::vector<int> ids; } cases[] = {
		{"São Paulo", {270}}, {"sao paulo", {270}}, {"  SÃO PAULO ", {270}}, {"Zürich", {331}}, {"zurich", {331}},
		{"york", {214}}, {"Delhi", {213}}, {"Kuwait", {161}},
		// exact name, then a name that starts with it, then a word of a name, then a country
		{"charlotte", {65, 66}}, {"diego", {91, 260}}, {"mexico", {193, 188, 298}}, {"new", {213, 214, 215, 22, 218, 242, 318}},
		// a name that merely contains the text comes after the words that start with it
		{"ton", {45, 80, 130, 153, 154, 259, 317, 318, 221}},
		// several words typed together, and namesakes in catalogue order
		{"SAN J", {262, 263, 264}}, {"kingston", {153, 154}},
		// names in the catalogue languages and countries
		{"서울", {272}}, {"القاهرة", {54}}, {"korea", {246, 272}}, {"대한민국", {272}},
	};
	for (const auto& c : cases) {
		Outcome result = zonclock({"search", c.text});
		EXPECT_SUCCESS(result) << c.text;
		EXPECT_EQ(idsIn(result.out, 0), c.ids) << c.text << "\n" << result.out;
	}
	EXPECT_EQ(tableRows(zonclock({"search"}).out).size(), 331u);
	EXPECT_FALSE(std::filesystem::exists(_root)) << "search reads the catalogue only";

	// City operands match the same way, and name the candidates when there is not one.
	for (const char* city : {"são paulo", "york", "Zürich", "charlotte", "서울"})
		zonclock({"add", city});
	EXPECT_EQ(idsIn(zonclock({"list"}).out, 2), (std::vector<int>{270, 214, 331, 65, 272}));
	EXPECT_SUCCESS(zonclock({"remove", "SAO PAULO"}));
	EXPECT_SUCCESS(zonclock({"replace", "zurich", "delhi"}));
	EXPECT_EQ(idsIn(zonclock({"list"}).out, 2), (std::vector<int>{214, 213, 65, 272}));

	// Not one city: a "not found" failure, one line naming what matched or came close, nothing on
	// standard output, the lists untouched.
	const struct { std::vector<std::string> args, said; } refused[] = {
		{{"add", "st. john's"}, {"282", "283", "Canada"}},
		{{"remove", "Kingston"}, {"Kingston (153, Canada)", "Kingston (154, Jamaica)"}},
		{{"add", "san"}, {"11 cities", "San Antonio (259", "3 more"}},
		{{"add", "Tokio"}, {"did you mean Tokyo (299"}}, {{"search", "Zuerich"}, {"did you mean Zurich (331"}},
		{{"search", "new dehli"}, {"New Delhi (213"}}, {{"search", "\xff\xfe"}, {}},
		{{"add", "korea"}, {"'korea'"}},
		{{"add", "332"}, {"1..331"}}, {{"add", "99999999999999999999"}, {}},
		{{"replace", "York", "San Jose"}, {"262", "263"}},
		{{"diff", "Atlantis"}, {}}, {{"sun", "0"}, {}}, {{"weather", "Tokyo", "Kingston"}, {}},
	};
	for (const auto& c : refused) {
		SCOPED_TRACE(c.args[0] + " " + c.args[1]);
		Outcome result = zonclock(c.args);
		expectRefusal(result, c.said);
		EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
	}
	EXPECT_EQ(idsIn(zonclock({"list"}).out, 2), (std::vector<int>{214, 213, 65, 272}));
}

} // namespace
