// What reading the city list costs through ZonDBManager, beside the floor: a bare prepared
// SELECT of the same rows through SQLite's C API. The three benchmarks of one list size run
// one after the other, so their ratio reads straight off one run. Then adding 100 cities one
// insert() at a time (each its own transaction, as a user adds them), beside the floor of 100
// bare INSERTs prepared once, each its own transaction on the same file; the median of five
// repetitions is the figure.
//
// The device is a fresh temporary root; the list is filled through ZonDBManager::insert with
// catalogue cities, cycling through the catalogue past 331 rows (a list may hold a city twice).
#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <iterator>
#include <string>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <app_common.h>
#include <zon-host/zon_host.h>

#include "BenchDevice.h"
#include "ZonCityList.h"
#include "ZonDBManager.h"

namespace {

const int kListSizes[] = {10, 100, 1000};

// The benchmark's own connection to the file, as another process of the application would
// have one.
sqlite3* gDirect = nullptr;
int gRowsInList = -1;

std::string databasePath()
{
	char* dir = app_get_data_path();
	std::string path = std::string(dir ? dir : "") + "zonvista.db";
	free(dir);
	return path;
}

const Cityinfo& cityOfRow(int row)
{
	return allCityList[row % std::size(allCityList)];
}

// Google Benchmark calls a benchmark function several times per size, so refill only on a
// change of size.
bool fillMainList(int rows)
{
	if (gRowsInList == rows)
		return true;
	if (sqlite3_exec(gDirect, "DELETE FROM added_city2;", nullptr, nullptr, nullptr) != SQLITE_OK)
		return false;
	ZonDBManager* db = ZonDBManager::getInstance();
	for (int i = 0; i < rows; ++i)
		db->insert(cityOfRow(i).id, cityOfRow(i).cityname_eng, false);
	gRowsInList = rows;
	return static_cast<int>(db->getAllCityList(false).size()) == rows;
}

void getAllCityList(benchmark::State& state)
{
	int rows = static_cast<int>(state.range(0));
	if (!fillMainList(rows)) {
		state.SkipWithError("the list could not be filled");
		return;
	}
	ZonDBManager* db = ZonDBManager::getInstance();
	for (auto _ : state) {
		const std::vector<Cityinfo>& list = db->getAllCityList(false);
		benchmark::DoNotOptimize(list.data());
	}
	state.SetItemsProcessed(state.iterations() * rows);
}

// The floor: the library's statement, prepared once and reset per pass, reading the three columns
// the library reads (row id, city id, English name) and nothing else.
void bareSelect(benchmark::State& state)
{
	int rows = static_cast<int>(state.range(0));
	if (!fillMainList(rows)) {
		state.SkipWithError("the list could not be filled");
		return;
	}
	sqlite3_stmt* stmt = nullptr;
	if (sqlite3_prepare_v2(gDirect, "SELECT * FROM added_city2 WHERE is_external = 0;", -1, &stmt,
			nullptr) != SQLITE_OK) {
		state.SkipWithError(sqlite3_errmsg(gDirect));
		return;
	}
	int read = 0;
	for (auto _ : state) {
		read = 0;
		while (sqlite3_step(stmt) == SQLITE_ROW) {
			benchmark::DoNotOptimize(sqlite3_column_int(stmt, 0));
			benchmark::DoNotOptimize(sqlite3_column_int(stmt, 1));
			benchmark::DoNotOptimize(sqlite3_column_text(stmt, 2));
			++read;
		}
		sqlite3_reset(stmt);
	}
	// Finalized before the next size's refill, which writes through the library's connection.
	sqlite3_finalize(stmt);
	if (read != rows)
		state.SkipWithError("the bare SELECT read another number of rows");
	state.SetItemsProcessed(state.iterations() * rows);
}

// isExist() reads the whole list before it looks for the city; the city asked for is the one added
// last, so the search runs far into the list too.
void isExist(benchmark::State& state)
{
	int rows = static_cast<int>(state.range(0));
	if (!fillMainList(rows)) {
		state.SkipWithError("the list could not be filled");
		return;
	}
	ZonDBManager* db = ZonDBManager::getInstance();
	const Cityinfo* city = &cityOfRow(rows - 1);
	if (!db->isExist(city, false)) {
		state.SkipWithError("the city added last is not found");
		return;
	}
	for (auto _ : state)
		benchmark::DoNotOptimize(db->isExist(city, false));
	state.SetItemsProcessed(state.iterations() * rows);
}

const int kInserts = 100;

// Empties the table outside the timed part, so that every pass adds to the same short list.
bool emptyList(benchmark::State& state)
{
	state.PauseTiming();
	gRowsInList = -1;
	bool ok = sqlite3_exec(gDirect, "DELETE FROM added_city2;", nullptr, nullptr, nullptr) == SQLITE_OK;
	state.ResumeTiming();
	return ok;
}

void insertOneByOne(benchmark::State& state)
{
	ZonDBManager* db = ZonDBManager::getInstance();
	for (auto _ : state) {
		if (!emptyList(state)) {
			state.SkipWithError("the list could not be emptied");
			return;
		}
		for (int i = 0; i < kInserts; ++i)
			db->insert(cityOfRow(i).id, cityOfRow(i).cityname_eng, false);
	}
	if (db->getAllCityList(false).size() != static_cast<size_t>(kInserts))
		state.SkipWithError("not every insert landed");
	state.SetItemsProcessed(state.iterations() * kInserts);
}

void bareInserts(benchmark::State& state)
{
	sqlite3_stmt* stmt = nullptr;
	if (sqlite3_prepare_v2(gDirect, "INSERT INTO added_city2 VALUES(null, ?, ?, 0, 0, 0, 0, 0);", -1, &stmt,
			nullptr) != SQLITE_OK) {
		state.SkipWithError(sqlite3_errmsg(gDirect));
		return;
	}
	for (auto _ : state) {
		if (!emptyList(state)) {
			state.SkipWithError("the list could not be emptied");
			break;
		}
		for (int i = 0; i < kInserts; ++i) {
			sqlite3_bind_int(stmt, 1, cityOfRow(i).id);
			sqlite3_bind_text(stmt, 2, cityOfRow(i).cityname_eng, -1, SQLITE_STATIC);
			sqlite3_step(stmt);
			sqlite3_reset(stmt);
		}
	}
	sqlite3_finalize(stmt);
	state.SetItemsProcessed(state.iterations() * kInserts);
}

} // namespace

int main(int argc, char** argv)
{
	benchmark::Initialize(&argc, argv);
	if (benchmark::ReportUnrecognizedArguments(argc, argv))
		return 1;

	BenchDevice device;
	if (!device.open())
		return 1;
	ZonDBManager::getInstance()->initialize();

	int result = 0;
	if (sqlite3_open(databasePath().c_str(), &gDirect) != SQLITE_OK) {
		fprintf(stderr, "zon-bench: cannot open %s: %s\n", databasePath().c_str(),
			sqlite3_errmsg(gDirect));
		result = 1;
	} else {
		// The floor pays for durability what the library's connection pays.
		sqlite3_exec(gDirect, "PRAGMA synchronous=NORMAL;", nullptr, nullptr, nullptr);
		for (int rows : kListSizes) {
			benchmark::RegisterBenchmark("ZonDBManager::getAllCityList", getAllCityList)->Arg(rows);
			benchmark::RegisterBenchmark("sqlite3 bare SELECT", bareSelect)->Arg(rows);
			benchmark::RegisterBenchmark("ZonDBManager::isExist", isExist)->Arg(rows);
		}
		for (auto [name, function] : {std::pair{"ZonDBManager::insert x100", insertOneByOne},
				 {"sqlite3 bare INSERT x100", bareInserts}}) {
			benchmark::RegisterBenchmark(name, function)
				->Unit(benchmark::kMillisecond)
				->Iterations(10)
				->Repetitions(5)
				->ReportAggregatesOnly(true);
		}
		benchmark::RunSpecifiedBenchmarks();
	}

	sqlite3_close(gDirect);
	ZonDBManager::getInstance()->finalize();
	benchmark::Shutdown();
	return result;
}
