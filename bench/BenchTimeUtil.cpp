// What a time text costs through ZonTimeUtil, beside two yardsticks in the same run:
//   - "literal": the same call as the library made it before it kept ICU objects (a pattern
//     generator and a formatter made and destroyed per call; tests/time/LiteralTimeUtil.cpp);
//   - "floor": the same ICU formatting with objects made once, outside the timed loop.
// The library still reads the settings (region format, 24-hour clock) on every call, as it must;
// on the host port a read parses the settings file, which is most of what separates it from the
// floor. "refresh four cities/floor+settings" adds exactly those reads to the floor.
//
// "refresh four cities" is what the world clock does once a minute for a screen of four cities:
// clock, date, difference and GMT texts of each. Its floor keeps the work the contract fixes
// besides the formatting: the TZ switching of getGmtOffset() and the catalogue sentence of the
// difference.
//
// Extra modes, given as the only argument:
//   --first-refresh=library|literal   time one refresh in this new process and print nanoseconds
//                                     (what "first refresh in a new process" spawns);
//   --heap-refreshes=N[:literal]      N refreshes (by the library, or the literal pipeline), the
//                                     region format moving through seven locales, for a heap
//                                     profiler (heaptrack, valgrind's massif).
//
// The device is a fresh temporary root in en_US, 12-hour. When built with ZON_LOCALE_DIR the
// difference texts come from the English catalogue; otherwise they are the message ids.
#include <locale.h>
#include <libintl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/alphaindex.h>
#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/unum.h>
#include <unicode/ustring.h>

#include <system_settings.h>
#include <vconf.h>
#include <zon-host/zon_host.h>

#include "BenchDevice.h"
#include "LiteralTimeUtil.h"
#include "ZonAlphabeticIndex.h"
#include "ZonStrUtil.h"
#include "ZonTimeUtil.h"

extern char** environ;

namespace {

const char* const kCities[] = {"Asia/Seoul", "America/New_York", "Europe/London", "Asia/Kolkata"};
const char* const kCity = "America/New_York";
const char* const kLocale = "en_US";
const time_t kInstant = 1768478400;   // 2026-01-15 12:00 UTC

// ---- the floor: ICU objects made once ----

// The library hands texts out in UTF-8.
std::string utf8(const UChar* text, int32_t length, UErrorCode status)
{
	char out[64] = {0};
	u_strToUTF8(out, 63, nullptr, text, length, &status);
	return out;
}

class ReusedFormatter {
public:
	ReusedFormatter(const char* skeleton, const char* zone)
	{
		UErrorCode status = U_ZERO_ERROR;
		UChar skeletonText[32];
		u_uastrcpy(skeletonText, skeleton);
		UDateTimePatternGenerator* generator = udatpg_open(kLocale, &status);
		UChar pattern[64] = {0};
		udatpg_getBestPattern(generator, skeletonText, -1, pattern, 63, &status);
		udatpg_close(generator);
		UChar zoneText[64];
		u_uastrcpy(zoneText, zone);
		_format = udat_open(UDAT_PATTERN, UDAT_PATTERN, kLocale, zoneText, -1, pattern, -1, &status);
		_ok = U_SUCCESS(status);
	}
	~ReusedFormatter() { udat_close(_format); }
	ReusedFormatter(const ReusedFormatter&) = delete;
	ReusedFormatter& operator=(const ReusedFormatter&) = delete;

	bool ok() const { return _ok; }
	std::string at(UDate when) const
	{
		UErrorCode status = U_ZERO_ERROR;
		UChar text[64];
		icu::UnicodeString written;
		written.setTo(text, 0, 64);
		// Written from the formatter's own calendar, as the library does (udat_format() would copy
		// the calendar and its zone for every text).
		icu::FieldPosition position;
		auto* calendar = const_cast<icu::Calendar*>(formatter()->getCalendar());
		calendar->setTime(when, status);
		formatter()->format(*calendar, written, position);
		return utf8(text, written.extract(text, 64, status), status);
	}
	std::string now() const { return at(ucal_getNow()); }

private:
	icu::DateFormat* formatter() const { return reinterpret_cast<icu::DateFormat*>(_format); }

	UDateFormat* _format = nullptr;
	bool _ok = false;
};

class ReusedDigits {
public:
	ReusedDigits()
	{
		UErrorCode status = U_ZERO_ERROR;
		_format = unum_open(UNUM_DECIMAL, nullptr, -1, kLocale, nullptr, &status);
	}
	~ReusedDigits() { unum_close(_format); }
	ReusedDigits(const ReusedDigits&) = delete;
	ReusedDigits& operator=(const ReusedDigits&) = delete;

	std::string of(int number) const
	{
		UErrorCode status = U_ZERO_ERROR;
		UChar text[20];
		return utf8(text, unum_format(_format, number, text, 20, nullptr, &status), status);
	}

private:
	UNumberFormat* _format = nullptr;
};

// ---- one text of one city ----

template <std::string (*Text)(const char*)>
void cityText(benchmark::State& state)
{
	for (auto _ : state)
		benchmark::DoNotOptimize(Text(kCity));
}

template <std::string (*Text)(const char*, int, int)>
void cityMarkup(benchmark::State& state)
{
	for (auto _ : state)
		benchmark::DoNotOptimize(Text(kCity, 60, 30));
}

template <bool (*Format)(time_t, const char*, const char*, std::string&)>
void formattedAt(benchmark::State& state)
{
	std::string out;
	for (auto _ : state)
		benchmark::DoNotOptimize(Format(kInstant, nullptr, kCity, out));
}

template <void (*SunRiseSet)(const char*, double, double, std::string&, std::string&, bool*, const char*)>
void sunRiseSet(benchmark::State& state)
{
	std::string sunrise, sunset;
	bool isDayTime = false;
	for (auto _ : state) {
		SunRiseSet("GMT-5", 40.7128, -74.0060, sunrise, sunset, &isDayTime, kCity);
		benchmark::DoNotOptimize(sunrise.data());
	}
}

template <bool (*IsDstOn)(const char*)>
void dstOn(benchmark::State& state)
{
	for (auto _ : state)
		benchmark::DoNotOptimize(IsDstOn(kCity));
}

template <std::string (*Convert)(int)>
void digits(benchmark::State& state)
{
	for (auto _ : state)
		benchmark::DoNotOptimize(Convert(7));
}

void digitsFloor(benchmark::State& state)
{
	ReusedDigits digits;
	for (auto _ : state)
		benchmark::DoNotOptimize(digits.of(7));
}

void floorText(benchmark::State& state, const char* skeleton, bool atInstant)
{
	ReusedFormatter format(skeleton, kCity);
	if (!format.ok()) {
		state.SkipWithError("ICU formatter");
		return;
	}
	for (auto _ : state)
		benchmark::DoNotOptimize(atInstant ? format.at(kInstant * 1000.0) : format.now());
}

void gmtOffset(benchmark::State& state)
{
	for (auto _ : state)
		benchmark::DoNotOptimize(ZonTimeUtil::getGmtOffset(kCity));
}

// ---- alphabetic index ----

void bucketLookup(benchmark::State& state)
{
	ZonAlphabeticIndex index;
	for (auto _ : state)
		benchmark::DoNotOptimize(index.getBucket("Seoul", "WDS_ZON_BODY_SEOUL_M_CITY"));
}

void bucketLookupFloor(benchmark::State& state)
{
	UErrorCode status = U_ZERO_ERROR;
	icu::AlphabeticIndex index(icu::Locale("en", "US"), status);
	index.getBucketCount(status);
	icu::UnicodeString name = icu::UnicodeString::fromUTF8("Seoul");
	for (auto _ : state)
		benchmark::DoNotOptimize(index.getBucketIndex(name, status));
	if (U_FAILURE(status))
		state.SkipWithError(u_errorName(status));
}

void buildIndex(benchmark::State& state)
{
	for (auto _ : state) {
		ZonAlphabeticIndex index;
		benchmark::DoNotOptimize(&index);
	}
}

// ---- a screen of four cities ----

template <typename Util>
void refreshOnce()
{
	for (const char* city : kCities) {
		benchmark::DoNotOptimize(Util::getCurrentTime(city));
		benchmark::DoNotOptimize(Util::getCurrentDate(city));
		benchmark::DoNotOptimize(Util::getTimeDiff(city));
		benchmark::DoNotOptimize(Util::getCurrentGMT(city));
	}
}

template <typename Util>
void refreshFourCities(benchmark::State& state)
{
	for (auto _ : state)
		refreshOnce<Util>();
	state.SetItemsProcessed(state.iterations() * 4);
}

void readRegionFormat()
{
	free(vconf_get_str(VCONFKEY_REGIONFORMAT));
}

// Formatting with ready objects, the TZ switching and the catalogue sentence of the difference
// (hours-only and hours-and-minutes are the cases of these cities); with `readSettings`, also the
// settings reads the library makes: the region format for each of the four texts and for each of
// the two numbers, the 24-hour clock for the time.
class FloorRefresh {
public:
	explicit FloorRefresh(bool readSettings) : _readSettings(readSettings)
	{
		for (const char* city : kCities) {
			for (const char* skeleton : {"hh:mm", "EEEMMMd", "O"})
				_formats.emplace_back(new ReusedFormatter(skeleton, city));
		}
	}

	void once()
	{
		for (size_t c = 0; c < 4; ++c) {
			if (_readSettings) {
				for (int i = 0; i < 5; ++i)
					readRegionFormat();
				bool is24 = false;
				system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24);
			}
			for (size_t f = 0; f < 3; ++f)
				benchmark::DoNotOptimize(_formats[c * 3 + f]->now());

			int gmt = static_cast<int>(ZonTimeUtil::getGmtOffset(kCities[c]) * 100.0);
			int hours = abs(gmt / 100);
			int minutes = abs((gmt % 100) * 60 / 100);
			std::string text = dgettext("zonvista",
				minutes ? "WDS_CLOCK_BODY_P1SD_HRS_P2SD_MINS_AHEAD" : "WDS_CLOUD_BODY_PD_HRS_AHEAD");
			for (auto mark : {std::make_pair("%1$d", hours), {"%2$d", minutes}, {"%d", hours}}) {
				size_t at = text.find(mark.first);
				if (at != std::string::npos)
					text.replace(at, strlen(mark.first), _digits.of(mark.second));
			}
			benchmark::DoNotOptimize(text);
		}
	}

private:
	bool _readSettings;
	std::vector<std::unique_ptr<ReusedFormatter>> _formats;
	ReusedDigits _digits;
};

void refreshFourCitiesFloor(benchmark::State& state, bool readSettings)
{
	FloorRefresh floor(readSettings);
	for (auto _ : state)
		floor.once();
	state.SetItemsProcessed(state.iterations() * 4);
}

double threadSeconds()
{
	struct timespec now;
	clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
	return now.tv_sec + now.tv_nsec / 1e9;
}

// The library's refresh and the floor's in turns, so that both see the same machine (a shared
// virtual machine drifts by tens of percent between benchmarks run one after the other): the
// iteration time is the library's; "floor_us" and "ratio" are the medians of the floor's time and
// of each pair's ratio.
void refreshOverFloorInTurns(benchmark::State& state)
{
	FloorRefresh floor(false);
	refreshOnce<ZonTimeUtil>();
	floor.once();
	std::vector<double> floors, ratios;
	for (auto _ : state) {
		double start = threadSeconds();
		refreshOnce<ZonTimeUtil>();
		double between = threadSeconds();
		floor.once();
		double end = threadSeconds();
		floors.push_back(end - between);
		ratios.push_back((between - start) / (end - between));
		state.SetIterationTime(between - start);
	}
	auto median = [](std::vector<double> values) {
		std::sort(values.begin(), values.end());
		return values.empty() ? 0.0 : values[values.size() / 2];
	};
	state.counters["floor_us"] = median(floors) * 1e6;
	state.counters["ratio"] = median(ratios);
}

// ---- the first refresh of a new process ----

int64_t nowNanoseconds()
{
	struct timespec t;
	clock_gettime(CLOCK_MONOTONIC, &t);
	return static_cast<int64_t>(t.tv_sec) * 1000000000 + t.tv_nsec;
}

// In the spawned process.
int timeFirstRefresh(const char* which)
{
	int64_t start = nowNanoseconds();
	if (!strcmp(which, "literal"))
		refreshOnce<LiteralTimeUtil>();
	else
		refreshOnce<ZonTimeUtil>();
	printf("%lld\n", static_cast<long long>(nowNanoseconds() - start));
	return 0;
}

// Spawns this program once per iteration and takes the time the new process reports.
void firstRefresh(benchmark::State& state, const char* which)
{
	std::string mode = std::string("--first-refresh=") + which;
	for (auto _ : state) {
		int out[2];
		if (pipe(out) != 0) {
			state.SkipWithError("pipe");
			return;
		}
		posix_spawn_file_actions_t actions;
		posix_spawn_file_actions_init(&actions);
		posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
		posix_spawn_file_actions_addclose(&actions, out[0]);
		char* argv[] = {const_cast<char*>("/proc/self/exe"), const_cast<char*>(mode.c_str()), nullptr};
		pid_t pid = 0;
		int spawned = posix_spawn(&pid, "/proc/self/exe", &actions, nullptr, argv, environ);
		posix_spawn_file_actions_destroy(&actions);
		close(out[1]);
		char text[64] = {0};
		ssize_t length = spawned == 0 ? read(out[0], text, sizeof(text) - 1) : -1;
		close(out[0]);
		int status = 0;
		if (spawned == 0)
			waitpid(pid, &status, 0);
		if (length <= 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
			state.SkipWithError("the spawned refresh failed");
			return;
		}
		state.SetIterationTime(atoll(text) / 1e9);
	}
}

// ---- peak heap ----

int heapRefreshes(int count, bool literal)
{
	const char* const locales[] = {"en_US", "ko_KR", "ar_AE", "de_DE", "zh_CN", "ja_JP", "hi_IN"};
	for (int i = 0; i < count; ++i) {
		vconf_set_str(VCONFKEY_REGIONFORMAT, (std::string(locales[i % 7]) + ".UTF-8").c_str());
		literal ? refreshOnce<LiteralTimeUtil>() : refreshOnce<ZonTimeUtil>();
	}
	return 0;
}

void registerText(const char* name, void (*library)(benchmark::State&), void (*literal)(benchmark::State&))
{
	benchmark::RegisterBenchmark((std::string(name) + "/library").c_str(), library);
	if (literal)
		benchmark::RegisterBenchmark((std::string(name) + "/literal").c_str(), literal);
}

void registerFloor(const char* name, const char* skeleton, bool atInstant = false)
{
	benchmark::RegisterBenchmark((std::string(name) + "/floor").c_str(), floorText, skeleton, atInstant);
}

#define ZON_TEXT(name, shape) registerText(#name, shape<ZonTimeUtil::name>, shape<LiteralTimeUtil::name>)

void registerAll()
{
	ZON_TEXT(getCurrentTime, cityText);
	registerFloor("getCurrentTime", "hh:mm");
	ZON_TEXT(getCurrentTime24, cityText);
	registerFloor("getCurrentTime24", "HH:mm");
	ZON_TEXT(getCurrentDate, cityText);
	registerFloor("getCurrentDate", "EEEMMMd");
	ZON_TEXT(getTTSCurrentDate, cityText);
	registerFloor("getTTSCurrentDate", "EEEEMMMd");
	ZON_TEXT(getCurrentGMT, cityText);
	registerFloor("getCurrentGMT", "O");
	ZON_TEXT(getCurrentTimeWithBestPattern, cityText);
	ZON_TEXT(getCurrentDateWithBestPattern, cityText);
	ZON_TEXT(getCurrentTimeWithFontSize, cityMarkup);
	ZON_TEXT(getCurrentTimeWithFontSizeandDefaultFontName, cityMarkup);
	ZON_TEXT(_getFormattedDateString, formattedAt);
	registerFloor("_getFormattedDateString", "hh:mm", true);
	ZON_TEXT(getSunRiseSetTime, sunRiseSet);
	ZON_TEXT(isDstOn, dstOn);
	registerText("getGmtOffset", gmtOffset, nullptr);
	ZON_TEXT(getTimeDiff, cityText);
	ZON_TEXT(getTimeDiffToRead, cityText);
	ZON_TEXT(getTimeDiffWithFontSize, cityText);
	ZON_TEXT(getTimeDiffOnWidgetArc, cityText);
	registerText("convertNumberToString", digits<ZonStrUtil::convertNumberToString>,
		digits<LiteralTimeUtil::convertNumberToString>);
	benchmark::RegisterBenchmark("convertNumberToString/floor", digitsFloor);
	benchmark::RegisterBenchmark("ZonAlphabeticIndex::getBucket", bucketLookup);
	benchmark::RegisterBenchmark("AlphabeticIndex::getBucketIndex/floor", bucketLookupFloor);
	benchmark::RegisterBenchmark("ZonAlphabeticIndex construction", buildIndex);
	registerText("refresh four cities", refreshFourCities<ZonTimeUtil>, refreshFourCities<LiteralTimeUtil>);
	benchmark::RegisterBenchmark("refresh four cities/floor", refreshFourCitiesFloor, false);
	benchmark::RegisterBenchmark("refresh four cities/floor+settings", refreshFourCitiesFloor, true);
	benchmark::RegisterBenchmark("refresh four cities/library over floor in turns", refreshOverFloorInTurns)
		->UseManualTime()
		->Iterations(2000)
		->Repetitions(3)
		->ReportAggregatesOnly();
	for (const char* which : {"library", "literal"}) {
		benchmark::RegisterBenchmark((std::string("first refresh in a new process/") + which).c_str(), firstRefresh,
			which)
			->UseManualTime()
			->Iterations(20)
			->Unit(benchmark::kMillisecond);
	}
}

#undef ZON_TEXT

} // namespace

int main(int argc, char** argv)
{
	const char* firstRefreshMode = nullptr;
	int heapCount = 0;
	if (argc == 2 && !strncmp(argv[1], "--first-refresh=", 16))
		firstRefreshMode = argv[1] + 16;
	if (argc == 2 && !strncmp(argv[1], "--heap-refreshes=", 17))
		heapCount = atoi(argv[1] + 17);

	// A spawned process works on its parent's device, already set up.
	BenchDevice device;
	if (!firstRefreshMode) {
		if (!device.open())
			return 1;
		vconf_set_str(VCONFKEY_REGIONFORMAT, "en_US.UTF-8");
		vconf_set_str(VCONFKEY_LANGSET, "en_US.UTF-8");
		system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, false);
	}
#ifdef ZON_LOCALE_DIR
	setlocale(LC_ALL, "C.UTF-8");
	setenv("LANGUAGE", "en", 1);
	bindtextdomain("zonvista", ZON_LOCALE_DIR);
#endif
	if (firstRefreshMode)
		return timeFirstRefresh(firstRefreshMode);
	if (heapCount > 0)
		return heapRefreshes(heapCount, strstr(argv[1], ":literal") != nullptr);

	benchmark::Initialize(&argc, argv);
	if (benchmark::ReportUnrecognizedArguments(argc, argv))
		return 1;
	registerAll();
	benchmark::RunSpecifiedBenchmarks();
	benchmark::Shutdown();
	return 0;
}
