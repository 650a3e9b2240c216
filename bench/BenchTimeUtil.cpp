// What a time text costs through ZonTimeUtil, beside the floor: the same ICU formatting with the
// pattern generator and the formatter made once and reused. The library makes them anew on every
// call and reads the settings (region format, 24-hour clock) each time, which is where the
// difference goes.
//
// "refresh four cities" is what the world clock does once a minute for a screen of four cities:
// clock, date, difference and GMT texts of each.
//
// The device is a fresh temporary root in en_US, 12-hour. When built with ZON_LOCALE_DIR the
// difference texts come from the English catalogue; otherwise they are the message ids.
#include <locale.h>
#include <libintl.h>
#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/alphaindex.h>
#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/ustring.h>

#include <system_settings.h>
#include <vconf.h>
#include <zon-host/zon_host.h>

#include "BenchDevice.h"
#include "ZonAlphabeticIndex.h"
#include "ZonTimeUtil.h"

namespace {

const char* const kCities[] = {"Asia/Seoul", "America/New_York", "Europe/London", "Asia/Kolkata"};
const char* const kLocale = "en_US";

// ---- the floor: formatters made once ----

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
	// Formats the present instant into UTF-8, as the library hands texts out.
	std::string now() const
	{
		UErrorCode status = U_ZERO_ERROR;
		UChar text[64];
		int32_t length = udat_format(_format, ucal_getNow(), text, 64, nullptr, &status);
		char out[64] = {0};
		u_strToUTF8(out, 63, nullptr, text, length, &status);
		return out;
	}

private:
	UDateFormat* _format = nullptr;
	bool _ok = false;
};

// ---- one text of one city ----

template <std::string (*Text)(const char*)>
void cityText(benchmark::State& state)
{
	for (auto _ : state)
		benchmark::DoNotOptimize(Text("America/New_York"));
}

void floorText(benchmark::State& state, const char* skeleton)
{
	ReusedFormatter format(skeleton, "America/New_York");
	if (!format.ok()) {
		state.SkipWithError("ICU formatter");
		return;
	}
	for (auto _ : state)
		benchmark::DoNotOptimize(format.now());
}

void gmtOffset(benchmark::State& state)
{
	for (auto _ : state)
		benchmark::DoNotOptimize(ZonTimeUtil::getGmtOffset("America/New_York"));
}

void sunRiseSet(benchmark::State& state)
{
	std::string sunrise, sunset;
	bool isDayTime = false;
	for (auto _ : state) {
		ZonTimeUtil::getSunRiseSetTime("GMT-5", 40.7128, -74.0060, sunrise, sunset, &isDayTime, "America/New_York");
		benchmark::DoNotOptimize(sunrise.data());
	}
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

void refreshFourCities(benchmark::State& state)
{
	for (auto _ : state) {
		for (const char* city : kCities) {
			benchmark::DoNotOptimize(ZonTimeUtil::getCurrentTime(city));
			benchmark::DoNotOptimize(ZonTimeUtil::getCurrentDate(city));
			benchmark::DoNotOptimize(ZonTimeUtil::getTimeDiff(city));
			benchmark::DoNotOptimize(ZonTimeUtil::getCurrentGMT(city));
		}
	}
	state.SetItemsProcessed(state.iterations() * 4);
}

// The floor has no difference text: it is gettext and printf around getGmtOffset, measured on its
// own above.
void refreshFourCitiesFloor(benchmark::State& state)
{
	std::vector<std::unique_ptr<ReusedFormatter>> formats;
	for (const char* city : kCities) {
		for (const char* skeleton : {"hh:mm", "EEEMMMd", "O"})
			formats.emplace_back(new ReusedFormatter(skeleton, city));
	}
	for (auto _ : state) {
		for (const auto& format : formats)
			benchmark::DoNotOptimize(format->now());
	}
	state.SetItemsProcessed(state.iterations() * 4);
}

void registerAll()
{
	benchmark::RegisterBenchmark("getCurrentTime", cityText<ZonTimeUtil::getCurrentTime>);
	benchmark::RegisterBenchmark("floor hh:mm", floorText, "hh:mm");
	benchmark::RegisterBenchmark("getCurrentTime24", cityText<ZonTimeUtil::getCurrentTime24>);
	benchmark::RegisterBenchmark("floor HH:mm", floorText, "HH:mm");
	benchmark::RegisterBenchmark("getCurrentTimeWithBestPattern", cityText<ZonTimeUtil::getCurrentTimeWithBestPattern>);
	benchmark::RegisterBenchmark("getCurrentDate", cityText<ZonTimeUtil::getCurrentDate>);
	benchmark::RegisterBenchmark("floor EEEMMMd", floorText, "EEEMMMd");
	benchmark::RegisterBenchmark("getTTSCurrentDate", cityText<ZonTimeUtil::getTTSCurrentDate>);
	benchmark::RegisterBenchmark("floor EEEEMMMd", floorText, "EEEEMMMd");
	benchmark::RegisterBenchmark("getCurrentGMT", cityText<ZonTimeUtil::getCurrentGMT>);
	benchmark::RegisterBenchmark("floor O", floorText, "O");
	benchmark::RegisterBenchmark("getGmtOffset", gmtOffset);
	benchmark::RegisterBenchmark("getTimeDiff", cityText<ZonTimeUtil::getTimeDiff>);
	benchmark::RegisterBenchmark("getTimeDiffToRead", cityText<ZonTimeUtil::getTimeDiffToRead>);
	benchmark::RegisterBenchmark("getTimeDiffWithFontSize", cityText<ZonTimeUtil::getTimeDiffWithFontSize>);
	benchmark::RegisterBenchmark("getTimeDiffOnWidgetArc", cityText<ZonTimeUtil::getTimeDiffOnWidgetArc>);
	benchmark::RegisterBenchmark("getSunRiseSetTime", sunRiseSet);
	benchmark::RegisterBenchmark("ZonAlphabeticIndex::getBucket", bucketLookup);
	benchmark::RegisterBenchmark("floor AlphabeticIndex::getBucketIndex", bucketLookupFloor);
	benchmark::RegisterBenchmark("ZonAlphabeticIndex construction", buildIndex);
	benchmark::RegisterBenchmark("refresh four cities", refreshFourCities);
	benchmark::RegisterBenchmark("floor refresh four cities (formatting only)", refreshFourCitiesFloor);
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
	vconf_set_str(VCONFKEY_REGIONFORMAT, "en_US.UTF-8");
	vconf_set_str(VCONFKEY_LANGSET, "en_US.UTF-8");
	system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, false);
#ifdef ZON_LOCALE_DIR
	setlocale(LC_ALL, "C.UTF-8");
	setenv("LANGUAGE", "en", 1);
	bindtextdomain("zonvista", ZON_LOCALE_DIR);
#endif

	registerAll();
	benchmark::RunSpecifiedBenchmarks();
	benchmark::Shutdown();
	return 0;
}
