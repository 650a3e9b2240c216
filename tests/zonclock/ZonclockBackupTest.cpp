// zonclock backup and restore end to end, on a device whose lists this test writes and reads
// through the library itself, so duplicates, order and weather go beyond what zonclock's own
// commands can make.
#include <tuple>

#include "ZonCityList.h"
#include "ZonDBManager.h"
#include "ZonclockRun.h"

namespace {

// id, name, weather type, temperature, centigrade, last update: printed by gtest on a mismatch.
using Row = std::tuple<int, std::string, int, int, bool, int>;
using Lists = std::pair<std::vector<Row>, std::vector<Row>>;    // main, second

class ZonclockBackupTest : public ZonclockFixture {
protected:
	void SetUp() override
	{
		ZonclockFixture::SetUp();
		_file = _tmp + "/cities.backup";
	}

	void TearDown() override
	{
		if (_db)
			_db->finalize();
		ZonclockFixture::TearDown();
	}

	// Opened anew for every use so that zonclock's changes are read from the file.
	ZonDBManager* db()
	{
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
		manager->finalize();
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
		manager->finalize();
		return result;
	}

	std::string _file;
	ZonDBManager* _db = nullptr;
};

TEST_F(ZonclockBackupTest, RestoreReproducesBothListsWithDuplicatesOrderAndWeather)
{
	// Tokyo twice in the main list and once in the second; Cairo's catalogue name ends in a blank.
	setLists({299, 35, 299, 54}, {39, 299});
	ZonDBManager* manager = db();
	manager->updateWeatherInfo(299, SUNNY, 21, true, 1700000000);
	manager->updateWeatherInfo(35, RAIN, -3, false, 1700000100);
	manager->updateWeatherInfo(39, SNOW, -7, true, 1700000200);
	manager->finalize();
	const Lists before = lists();
	ASSERT_EQ((Row{299, "Tokyo", SUNNY, 21, true, 1700000000}), before.second.at(1));
	ASSERT_EQ((Row{54, "Cairo ", 0, 0, false, 0}), before.first.at(3));

	Outcome backup = zonclock({"backup", _file});
	EXPECT_EQ("Backed up 4 cities of the main list and 2 of the second list to " + _file + ".\n", backup.out);
	setLists({11}, {11, 35});
	manager = db();
	manager->updateWeatherInfo(35, CLOUDY, 30, true, 1800000000);
	manager->finalize();
	Outcome restore = zonclock({"restore", _file});
	EXPECT_EQ("Restored 4 cities to the main list and 2 to the second list from " + _file + ".\n", restore.out);
	EXPECT_EQ(before, lists());
	// Neither session leaves its file in the application's trusted directory.
	for (const char* name : {"backup.dat", "restore.dat"})
		EXPECT_FALSE(std::filesystem::exists(_root + "/apps/" ZON_HOST_DEFAULT_APP_ID "/shared/trusted/" + name));

	// Empty lists are backed up too, and restoring them empties the device.
	setLists({}, {});
	EXPECT_SUCCESS(zonclock({"backup", _file}));
	setLists({1, 2}, {3});
	EXPECT_SUCCESS(zonclock({"restore", _file}));
	EXPECT_EQ(Lists(), lists());
}

TEST_F(ZonclockBackupTest, DamagedFileChangesNothingAndSaysWhy)
{
	setLists({299, 35, 54}, {39});
	EXPECT_SUCCESS(zonclock({"backup", _file}));
	const std::string good = readFile(_file);
	setLists({11, 35}, {});
	const Lists current = lists();

	auto replaced = [&good](const std::string& from, const std::string& to) {
		std::string text = good;
		size_t at = text.find(from);
		EXPECT_NE(std::string::npos, at) << from;
		return at == std::string::npos ? text : text.replace(at, from.size(), to);
	};
	// The last record dropped, and the count made to agree: the file is sound, the set is not.
	std::string shortened = good.substr(0, good.find("\n[record 4]")) + "\n";
	shortened = shortened.replace(shortened.find("count=5"), 7, "count=4");

	const std::pair<std::string, std::vector<std::string>> cases[] = {
		{replaced("\"list\":\"main\",\"position\":1", "\"list\":\"main\",\"posi"),
			{"[record 2]: it is not a record of a zonclock backup", "main list position 2 is missing"}},
		{replaced("\"cityId\":35,", "\"cityId\":36,"),
			{"[record 2]: city 36 \"Beijing\" is not in the catalogue", "main list position 2 is missing"}},
		{replaced("\"temperature\":0,", ""), {"[record 1]: the city has no valid temperature"}},
		{shortened, {"second list position 1 is missing"}},
		{replaced("\"kind\":\"zonclock.city\"", "\"kind\":\"zonclock.manifest\""),
			{"[record 1]: the manifest has no valid city counts"}},
		{replaced("\"format\":1,\"list\"", "\"format\":2,\"list\""), {"[record 1]: its format is not 1"}},
		{"[records]\nformat=1\ncount=7\n", {"holds no records that can be read"}},
		{"", {"holds no records that can be read"}},
	};
	for (const auto& [text, said] : cases) {
		SCOPED_TRACE(said[0]);
		std::ofstream(_file, std::ios::trunc) << text;
		Outcome restore = zonclock({"restore", _file});
		EXPECT_EQ(1, restore.exitCode);
		EXPECT_EQ("", restore.out);
		EXPECT_TRUE(contains(restore.err, "nothing was changed")) << restore.err;
		for (const std::string& part : said)
			EXPECT_TRUE(contains(restore.err, part)) << restore.err;
		EXPECT_EQ(current, lists());
	}

	Outcome missing = zonclock({"restore", _tmp + "/no-such-file"});
	EXPECT_EQ(1, missing.exitCode);
	EXPECT_TRUE(contains(missing.err, "No such file or directory")) << missing.err;
	EXPECT_EQ(current, lists());
}

} // namespace
