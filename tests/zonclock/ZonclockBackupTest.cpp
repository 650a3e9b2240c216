// zonclock backup and restore end to end, on a device whose lists this test writes and reads
// through the library itself, so duplicates, order and weather go beyond what zonclock's own
// commands can make.
#include <climits>
#include <numeric>
#include <tuple>

#include <sqlite3.h>

#include "ZonCityList.h"
#include "ZonDBManager.h"
#include "ZonclockRun.h"

namespace {

// id, name, weather type, temperature, centigrade, last update: printed by gtest on a mismatch.
using Row = std::tuple<int, std::string, int, int, bool, int>;
using Lists = std::pair<std::vector<Row>, std::vector<Row>>;    // main, second

class ZonclockBackupTest : public ZonclockFixture {
protected:
	std::string file() const { return _tmp + "/cities.backup"; }

	void TearDown() override
	{
		if (_db)
			_db->finalize();
		ZonclockFixture::TearDown();
	}

	// Opened anew for every use so that zonclock's changes are read from the file.
	ZonDBManager* db()
	{
		if (_db)
			_db->finalize();
		openDevice();
		_db = ZonDBManager::getInstance();
		_db->initialize();
		return _db;
	}

	void setLists(const std::vector<int>& main, const std::vector<int>& second)
	{
		ZonDBManager* manager = db();
		for (bool isSecond : {false, true}) {
			for (const Cityinfo& city : manager->getAllCityList(isSecond))
				manager->remove(city.id, city.cityname_eng, isSecond, true, true);
			for (int id : isSecond ? second : main)
				manager->insert(id, allCityList[id - 1].cityname_eng, isSecond);
		}
	}

	Lists lists()
	{
		ZonDBManager* manager = db();
		Lists result;
		for (bool isSecond : {false, true}) {
			for (const Cityinfo& city : manager->getAllCityList(isSecond)) {
				Row row{city.id, city.cityname_eng, 0, 0, false, 0};
				manager->getWeatherInfo(
					city.id, std::get<2>(row), std::get<3>(row), std::get<4>(row), std::get<5>(row), isSecond);
				(isSecond ? result.second : result.first).push_back(row);
			}
		}
		return result;
	}

	// A restore that must fail, change nothing and name each part of what is wrong.
	void expectRefusedRestore(const std::string& text, const std::vector<std::string>& said)
	{
		const Lists current = lists();
		std::ofstream(file(), std::ios::trunc) << text;
		Outcome restore = zonclock({"restore", file()});
		expectRefusal(restore, said);
		EXPECT_TRUE(contains(restore.err, "nothing was changed")) << restore.err;
		EXPECT_EQ(current, lists());
	}

	ZonDBManager* _db = nullptr;
};

TEST_F(ZonclockBackupTest, RestoreReproducesBothListsWithOrderAndWeather)
{
	// Tokyo in both lists; Cairo's catalogue name ends in a blank.
	setLists({299, 35, 54}, {39, 299});
	db()->updateWeatherInfo(299, SUNNY, 21, true, 1700000000);
	_db->updateWeatherInfo(35, RAIN, INT_MIN, false, 1700000100);
	_db->updateWeatherInfo(39, SNOW, -7, true, 1700000200);
	const Lists before = lists();
	ASSERT_EQ((Row{299, "Tokyo", SUNNY, 21, true, 1700000000}), before.second.at(1));
	ASSERT_EQ((Row{54, "Cairo ", 0, 0, false, 0}), before.first.at(2));

	Outcome backup = zonclock({"backup", file()});
	EXPECT_EQ("Backed up 3 cities of the main list and 2 of the second list to " + file() + ".\n", backup.out);
	setLists({11}, {11, 35});
	db()->updateWeatherInfo(35, CLOUDY, 30, true, 1800000000);
	Outcome restore = zonclock({"restore", file()});
	EXPECT_EQ("Restored 3 cities to the main list and 2 to the second list from " + file() + ".\n", restore.out);
	EXPECT_EQ(before, lists());
	// Neither session leaves its file in the application's trusted directory.
	for (const char* name : {"backup.dat", "restore.dat"})
		EXPECT_FALSE(std::filesystem::exists(_root + "/apps/" ZON_HOST_DEFAULT_APP_ID "/shared/trusted/" + name));

	// Empty lists are backed up too, and restoring them empties the device.
	setLists({}, {});
	EXPECT_SUCCESS(zonclock({"backup", file()}));
	setLists({1, 2}, {3});
	EXPECT_SUCCESS(zonclock({"restore", file()}));
	EXPECT_EQ(Lists(), lists());
}

TEST_F(ZonclockBackupTest, NeitherAddNorRestoreGoesPastTheApplicationsLimitOfTwentyCities)
{
	std::vector<int> cities(21);
	std::iota(cities.begin(), cities.end(), 1);
	setLists(cities, {});
	EXPECT_SUCCESS(zonclock({"backup", file()}));
	const std::string tooMany = readFile(file());
	cities.pop_back();
	setLists(cities, {});
	const Lists full = lists();

	// The library's notice.
	expectRefusal(zonclock({"--language", "ko_KR", "add", "Tokyo"}), {"\uB3C4\uC2DC\uB294 \uCD5C\uB300 20\uAC1C"});
	EXPECT_EQ(full, lists());
	expectRefusedRestore(tooMany, {"You can't add more than 20 cities.", "main list holds 21"});
	// The limit is per list.
	EXPECT_SUCCESS(zonclock({"add", "--second", "Tokyo"}));
}

TEST_F(ZonclockBackupTest, DamagedOrImplausibleFileChangesNothingAndListsEveryProblem)
{
	setLists({299, 35, 54}, {39});
	EXPECT_SUCCESS(zonclock({"backup", file()}));
	const std::string good = readFile(file());
	setLists({11, 35}, {});

	auto replaced = [&good](std::vector<std::pair<std::string, std::string>> edits) {
		std::string text = good;
		for (const auto& [from, to] : edits) {
			size_t at = text.find(from);
			EXPECT_NE(std::string::npos, at) << from;
			if (at != std::string::npos)
				text.replace(at, from.size(), to);
		}
		return text;
	};
	// The last record dropped, and the count made to agree: the file is sound, the set is not.
	std::string shortened = good.substr(0, good.find("\n[record 4]")) + "\n";
	shortened = shortened.replace(shortened.find("count=5"), 7, "count=4");

	const std::pair<std::string, std::vector<std::string>> cases[] = {
		{replaced({{"\"list\":\"main\",\"position\":1", "\"list\":\"main\",\"posi"}}),
			{"[record 2]: it is not a record of a zonclock backup", "main list position 2 is missing"}},
		{replaced({{"\"cityId\":35,", "\"cityId\":36,"}}),
			{"[record 2]: city 36 \"Beijing\" is not in the catalogue", "main list position 2 is missing"}},
		{replaced({{"\"temperature\":0,", ""}}), {"[record 1]: the city is not valid: temperature is missing"}},
		{shortened, {"second list position 1 is missing"}},
		{replaced({{"\"kind\":\"zonclock.city\"", "\"kind\":\"zonclock.manifest\""}}),
			{"[record 1]: the manifest has no valid city counts: mainCount is missing"}},
		{replaced({{"\"format\":1,\"list\"", "\"format\":2,\"list\""}}), {"[record 1]: its format is not 1"}},
		{"[records]\nformat=1\ncount=7\n", {"holds no records that can be read"}},
		{"", {"holds no records that can be read"}},
		// Tokyo three times over; every problem of every record is named.
		{replaced({{"\"cityId\":35,\"englishName\":\"Beijing\"", "\"cityId\":299,\"englishName\":\"Tokyo\""},
			 {"\"cityId\":54,\"englishName\":\"Cairo \"", "\"cityId\":299,\"englishName\":\"Tokyo\""}}),
			{"main list position 2: city 299 \"Tokyo\" is already at position 1",
				"main list position 3: city 299 \"Tokyo\" is already at position 1"}},
		{replaced({{"\"cityId\":299", "\"cityId\":4294967595"}, {"\"temperature\":0,", "\"temperature\":1e308,"},
			 {"\"lastUpdateTime\":0", "\"lastUpdateTime\":-1"}}),
			{"[record 1]: the city is not valid: cityId is outside -2147483648..2147483647",
				"temperature is outside -2147483648..2147483647", "lastUpdateTime is outside 0..2147483647"}},
		{replaced({{"\"lastUpdateTime\":0", "\"lastUpdateTime\":1.5"}, {"\"temperature\":0,", "\"temperature\":1e999,"},
			 {"\"isCentigrade\":false", "\"isCentigrade\":0"}}),
			{"lastUpdateTime is not an integer", "temperature is not a finite number", "isCentigrade is not true or false"}},
		{replaced({{"\"mainCount\":3", "\"mainCount\":332"}}),
			{"mainCount is outside 0..331"}},
	};
	for (const auto& [text, said] : cases) {
		SCOPED_TRACE(said[0]);
		expectRefusedRestore(text, said);
	}
}

TEST_F(ZonclockBackupTest, ARestoreCutShortLeavesTheOldListsAndAnUnreadableListIsNotBackedUp)
{
	setLists({299, 35, 54}, {39});
	EXPECT_SUCCESS(zonclock({"backup", file()}));
	setLists({11}, {12});
	// The third city cannot be written, as on a full disk: the two before it must not stay.
	std::string dbFile = _root + "/apps/" ZON_HOST_DEFAULT_APP_ID "/data/zonvista.db";
	sqlite3* handle = nullptr;
	ASSERT_EQ(SQLITE_OK, sqlite3_open(dbFile.c_str(), &handle));
	EXPECT_EQ(SQLITE_OK, sqlite3_exec(handle, "CREATE TRIGGER full BEFORE INSERT ON added_city2 WHEN NEW.city_id = 54 "
		"BEGIN SELECT RAISE(FAIL, 'disk full'); END;", nullptr, nullptr, nullptr)) << sqlite3_errmsg(handle);
	sqlite3_close(handle);
	expectRefusal(zonclock({"restore", file()}), {"nothing was changed: cannot write main.2"});
	EXPECT_EQ(Lists({{11, "Amsterdam", 0, 0, false, 0}}, {{12, "Anadyr", 0, 0, false, 0}}), lists());

	// A file that is no database: no backup is written, and the reason is given.
	std::ofstream(dbFile, std::ios::trunc) << std::string(4096, 'x');
	std::filesystem::remove(file());
	expectRefusal(zonclock({"backup", file()}), {"nothing was written: the city database file is not a database"});
	EXPECT_FALSE(std::filesystem::exists(file()));
	for (const std::vector<std::string>& args : {std::vector<std::string>{"list"}, {"list", "--second"}, {"remove", "11"}, {}}) {
		Outcome result = zonclock(args);
		expectRefusal(result, {"not a database"});
		EXPECT_FALSE(contains(result.err, "empty")) << result.err;
	}
}

TEST_F(ZonclockBackupTest, ControlCharactersAndHugeArgumentsAreNotEchoedRaw)
{
	setLists({299}, {});
	std::string odd = _tmp + "/a\x1b[2Jb\nc";
	Outcome backup = zonclock({"backup", odd});
	EXPECT_SUCCESS(backup);
	EXPECT_TRUE(contains(backup.out, "a\\x1B[2Jb\\nc.\n")) << backup.out;
	expectRefusal(zonclock({"restore", odd + "\x7f"}), {"b\\nc\\x7F: No such file or directory"});

	std::string huge(100000, 'y');
	for (const std::vector<std::string>& args : {std::vector<std::string>{"add", huge}, {"restore", huge}, {huge}}) {
		Outcome result = zonclock(args);
		EXPECT_NE(0, result.exitCode);
		EXPECT_LT(result.err.size(), 1000u);
		EXPECT_TRUE(contains(result.err, "bytes)...")) << result.err.substr(0, 200);
	}
}

} // namespace
