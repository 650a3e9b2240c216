// zonclock backup and restore, end to end: the built program backs up and restores a device
// whose lists this test writes and reads through the library itself, so duplicates, order and
// weather are set and checked beyond what zonclock's own commands can make.
#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zon-host/zon_host.h>

#include "ZonCityList.h"
#include "ZonDBManager.h"

extern char** environ;

namespace {

struct Row {
	int id;
	std::string name;
	int weatherType;
	int temperature;
	bool isCentigrade;
	int lastUpdateTime;

	bool operator==(const Row& o) const
	{
		return id == o.id && name == o.name && weatherType == o.weatherType && temperature == o.temperature
			&& isCentigrade == o.isCentigrade && lastUpdateTime == o.lastUpdateTime;
	}
};

std::ostream& operator<<(std::ostream& out, const Row& row)
{
	return out << row.id << " '" << row.name << "' w" << row.weatherType << " t" << row.temperature
			   << (row.isCentigrade ? "C" : "F") << " @" << row.lastUpdateTime;
}

struct Lists {
	std::vector<Row> main;
	std::vector<Row> second;
	bool operator==(const Lists& o) const { return main == o.main && second == o.second; }
};

std::ostream& operator<<(std::ostream& out, const Lists& lists)
{
	out << "main:";
	for (const Row& row : lists.main)
		out << " [" << row << "]";
	out << " second:";
	for (const Row& row : lists.second)
		out << " [" << row << "]";
	return out;
}

std::string readFile(const std::string& path)
{
	std::ifstream in(path);
	std::stringstream text;
	text << in.rdbuf();
	return text.str();
}

const char* catalogueName(int id)
{
	return allCityList[id - 1].cityname_eng;
}

class ZonclockBackupTest : public ::testing::Test {
protected:
	void SetUp() override
	{
		char dir[] = "/tmp/zonclock-backup-test-XXXXXX";
		ASSERT_NE(mkdtemp(dir), nullptr);
		_tmp = dir;
		_root = _tmp + "/device";
		_file = _tmp + "/cities.backup";
	}

	void TearDown() override
	{
		if (_db)
			_db->finalize();
		std::filesystem::remove_all(_tmp);
	}

	// The library on this test's device, opened anew for every use so that zonclock's changes
	// are read from the file.
	ZonDBManager* db()
	{
		setenv("ZON_HOST_ROOT", _root.c_str(), 1);
		zon_host_reset();
		_db = ZonDBManager::getInstance();
		_db->initialize();
		return _db;
	}

	void setLists(const std::vector<int>& main, const std::vector<int>& second)
	{
		ZonDBManager* manager = db();
		for (bool isSecond : {false, true}) {
			std::vector<Cityinfo> current = manager->getAllCityList(isSecond);
			for (const Cityinfo& city : current)
				manager->remove(city.id, city.cityname_eng, isSecond, true, true);
		}
		for (int id : main)
			manager->insert(id, catalogueName(id), false);
		for (int id : second)
			manager->insert(id, catalogueName(id), true);
		manager->finalize();
	}

	Lists lists()
	{
		ZonDBManager* manager = db();
		Lists result;
		for (bool isSecond : {false, true}) {
			std::vector<Cityinfo> cities = manager->getAllCityList(isSecond);
			for (const Cityinfo& city : cities) {
				Row row{city.id, city.cityname_eng, 0, 0, false, 0};
				manager->getWeatherInfo(city.id, row.weatherType, row.temperature, row.isCentigrade, row.lastUpdateTime,
					isSecond);
				(isSecond ? result.second : result.main).push_back(row);
			}
		}
		manager->finalize();
		return result;
	}

	struct Outcome {
		int exitCode = -1;
		std::string out;
		std::string err;
	};

	Outcome zonclock(const std::vector<std::string>& args)
	{
		Outcome result;
		std::string outPath = _tmp + "/out";
		std::string errPath = _tmp + "/err";
		posix_spawn_file_actions_t actions;
		posix_spawn_file_actions_init(&actions);
		posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
		posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
		std::vector<std::string> all = {ZONCLOCK_PATH, "--root", _root};
		all.insert(all.end(), args.begin(), args.end());
		std::vector<char*> argv;
		for (std::string& arg : all)
			argv.push_back(arg.data());
		argv.push_back(nullptr);
		pid_t pid;
		int status = 0;
		if (posix_spawn(&pid, ZONCLOCK_PATH, &actions, nullptr, argv.data(), environ) == 0
			&& waitpid(pid, &status, 0) == pid && WIFEXITED(status))
			result.exitCode = WEXITSTATUS(status);
		posix_spawn_file_actions_destroy(&actions);
		result.out = readFile(outPath);
		result.err = readFile(errPath);
		return result;
	}

	// Backs the device up into _file and returns what the lists were.
	Lists backUp()
	{
		Lists before = lists();
		Outcome backup = zonclock({"backup", _file});
		EXPECT_EQ(0, backup.exitCode) << backup.err;
		return before;
	}

	std::string _tmp;
	std::string _root;
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

	Lists before = lists();
	ASSERT_EQ(4u, before.main.size());
	ASSERT_EQ(2u, before.second.size());
	ASSERT_EQ((Row{299, "Tokyo", SUNNY, 21, true, 1700000000}), before.second[1]);
	ASSERT_EQ((Row{54, "Cairo ", 0, 0, false, 0}), before.main[3]);
	Outcome backup = zonclock({"backup", _file});
	ASSERT_EQ(0, backup.exitCode) << backup.err;
	EXPECT_EQ("Backed up 4 cities of the main list and 2 of the second list to " + _file + ".\n", backup.out);

	// Something else entirely in the meantime, weather included.
	setLists({11}, {11, 35});
	manager = db();
	manager->updateWeatherInfo(35, CLOUDY, 30, true, 1800000000);
	manager->finalize();

	Outcome restore = zonclock({"restore", _file});
	ASSERT_EQ(0, restore.exitCode) << restore.err;
	EXPECT_EQ("Restored 4 cities to the main list and 2 to the second list from " + _file + ".\n", restore.out);
	EXPECT_EQ(before, lists());

	// Neither session leaves its file in the application's trusted directory.
	EXPECT_FALSE(std::filesystem::exists(_root + "/apps/" ZON_HOST_DEFAULT_APP_ID "/shared/trusted/backup.dat"));
	EXPECT_FALSE(std::filesystem::exists(_root + "/apps/" ZON_HOST_DEFAULT_APP_ID "/shared/trusted/restore.dat"));
}

TEST_F(ZonclockBackupTest, BackupOfEmptyListsEmptiesThemOnRestore)
{
	setLists({}, {});
	Outcome backup = zonclock({"backup", _file});
	ASSERT_EQ(0, backup.exitCode) << backup.err;
	EXPECT_EQ("Backed up 0 cities of the main list and 0 of the second list to " + _file + ".\n", backup.out);

	setLists({1, 2}, {3});
	Outcome restore = zonclock({"restore", _file});
	ASSERT_EQ(0, restore.exitCode) << restore.err;
	EXPECT_EQ(Lists(), lists());
}

TEST_F(ZonclockBackupTest, DamagedFileChangesNothingAndSaysWhy)
{
	setLists({299, 35, 54}, {39});
	backUp();
	const std::string good = readFile(_file);
	// What the device holds when the restores are tried.
	setLists({11, 35}, {});
	const Lists current = lists();

	auto replaced = [&good](const std::string& from, const std::string& to) {
		std::string text = good;
		size_t at = text.find(from);
		EXPECT_NE(std::string::npos, at) << from;
		if (at != std::string::npos)
			text.replace(at, from.size(), to);
		return text;
	};
	// The last record dropped, and the count made to agree: the file is sound, the set is not.
	std::string shortened = good.substr(0, good.find("\n[record 4]")) + "\n";
	shortened = shortened.replace(shortened.find("count=5"), 7, "count=4");

	struct Case {
		const char* name;
		std::string text;
		std::vector<std::string> said;
	};
	const Case cases[] = {
		{"broken JSON", replaced("\"list\":\"main\",\"position\":1", "\"list\":\"main\",\"posi"),
			{"[record 2]: it is not a record of a zonclock backup", "main list position 2 is missing"}},
		{"unknown city", replaced("\"cityId\":35,", "\"cityId\":36,"),
			{"[record 2]: city 36 \"Beijing\" is not in the catalogue", "main list position 2 is missing"}},
		{"missing member", replaced("\"temperature\":0,", ""), {"[record 1]: the city has no valid temperature"}},
		{"lost record", shortened, {"second list position 1 is missing"}},
		{"two manifests", replaced("\"kind\":\"zonclock.city\"", "\"kind\":\"zonclock.manifest\""),
			{"[record 1]: the manifest has no valid city counts"}},
		{"newer format", replaced("\"format\":1,\"list\"", "\"format\":2,\"list\""),
			{"[record 1]: its format is not 1"}},
		{"not a record file", "[records]\nformat=1\ncount=7\n", {"holds no records that can be read"}},
		{"empty file", "", {"holds no records that can be read"}},
	};
	for (const Case& c : cases) {
		SCOPED_TRACE(c.name);
		std::ofstream(_file, std::ios::trunc) << c.text;
		Outcome restore = zonclock({"restore", _file});
		EXPECT_EQ(1, restore.exitCode);
		EXPECT_EQ("", restore.out);
		EXPECT_NE(std::string::npos, restore.err.find("nothing was changed")) << restore.err;
		for (const std::string& text : c.said)
			EXPECT_NE(std::string::npos, restore.err.find(text)) << restore.err;
		EXPECT_EQ(current, lists());
	}

	Outcome missing = zonclock({"restore", _tmp + "/no-such-file"});
	EXPECT_EQ(1, missing.exitCode);
	EXPECT_NE(std::string::npos, missing.err.find("No such file or directory")) << missing.err;
	EXPECT_EQ(current, lists());
}

} // namespace
