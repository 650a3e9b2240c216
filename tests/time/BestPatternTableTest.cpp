// The build-time table of best patterns (tools/bestpatterns) against pattern generators made now:
// every entry, under a default locale that is none of them, and the texts that use it.
#include <cstring>
#include <set>

#include <unicode/udatpg.h>
#include <unicode/uloc.h>

#include "TimeTestSupport.h"
#include "ZonBestPatternTable.h"
#include "ZonIcuCache.h"

namespace {

std::vector<std::string> packedTexts(const char* packed, size_t count)
{
	std::vector<std::string> texts;
	for (size_t i = 0; i < count; ++i, packed += strlen(packed) + 1)
		texts.push_back(packed);
	return texts;
}

std::u16string generatorAnswer(UDateTimePatternGenerator* generator, const std::string& skeleton)
{
	std::u16string skeletonText(skeleton.begin(), skeleton.end());
	UChar pattern[128] = {0};
	UErrorCode status = U_ZERO_ERROR;
	udatpg_getBestPattern(generator, skeletonText.c_str(), -1, pattern, 127, &status);
	EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
	return pattern;
}

}

class BestPatternTable : public TimeFixture {
protected:
	void SetUp() override
	{
		TimeFixture::SetUp();
		ZonIcuCache::clear();
	}
	void TearDown() override
	{
		ZonTimeUtilTestPeer::forgetPatternCaches();
		TimeFixture::TearDown();
	}
};

TEST_F(BestPatternTable, EveryEntryIsWhatAGeneratorAnswersUnderAnyDefault)
{
	using namespace zon_best_patterns;
	// Built against the ICU the tests run on, the table must be in use.
	ASSERT_TRUE(matchesRunningIcu());
	std::vector<std::string> locales = packedTexts(kLocales, kLocaleCount);
	std::vector<std::string> skeletons = packedTexts(kSkeletons, kSkeletonCount);
	for (size_t i = 0; i < kLocaleCount; ++i)
		ASSERT_EQ(kLocales + kLocaleOffsets[i], locales[i]) << "offset of row " << i;
	ASSERT_TRUE(std::is_sorted(locales.begin(), locales.end()));
	ASSERT_EQ(locales.size(), std::set<std::string>(locales.begin(), locales.end()).size());

	// Every locale ICU has data of its own for is a row; a locale that borrows the default's is not.
	std::set<std::string> rows(locales.begin(), locales.end());
	for (int32_t i = 0; i < uloc_countAvailable(); ++i) {
		UErrorCode status = U_ZERO_ERROR;
		ures_close(ures_open(nullptr, uloc_getAvailable(i), &status));
		EXPECT_EQ(status != U_USING_DEFAULT_WARNING, rows.count(uloc_getAvailable(i)) == 1) << uloc_getAvailable(i);
	}

	const std::string previousDefault = uloc_getDefault();
	UErrorCode status = U_ZERO_ERROR;
	uloc_setDefault("ar_EG", &status);
	long differences = 0;
	for (const std::string& locale : locales) {
		status = U_ZERO_ERROR;
		UDateTimePatternGenerator* generator = udatpg_open(locale.c_str(), &status);
		ASSERT_TRUE(U_SUCCESS(status)) << locale;
		for (const std::string& skeleton : skeletons) {
			const char16_t* kept = find(locale.c_str(), skeleton.c_str());
			ASSERT_NE(nullptr, kept) << locale << " " << skeleton;
			if (generatorAnswer(generator, skeleton) != kept && ++differences <= 20)
				ADD_FAILURE() << locale << " " << skeleton;
		}
		udatpg_close(generator);
	}
	EXPECT_EQ(0, differences) << "entries differ";
	status = U_ZERO_ERROR;
	uloc_setDefault(previousDefault.c_str(), &status);
	EXPECT_GT(locales.size(), 500u);

	// Only ICU's own spelling of a listed locale, and only the listed skeletons.
	for (const char* other : {"en_us", "en_US.UTF-8", "en_US@calendar=buddhist", "", "qq_QQ", "zz"})
		EXPECT_EQ(nullptr, find(other, "hh:mm")) << other;
	EXPECT_EQ(nullptr, find(nullptr, "hh:mm"));
	EXPECT_EQ(nullptr, find("en_US", "yMd"));
	EXPECT_EQ(nullptr, find("en_US", nullptr));
}

// The texts of a listed locale take every pattern from the table; any other locale still has a
// generator made for it.
TEST_F(BestPatternTable, TextsOfAListedLocaleMakeNoGenerator)
{
	const time_t kWinter = 1768478400;   // 2026-01-15 12:00 UTC
	TestClock::set(kWinter);
	setRegion("ko_KR");
	for (bool is24 : {false, true}) {
		set24Hour(is24);
		ZonTimeUtil::getCurrentTime("Asia/Seoul");
		ZonTimeUtil::getCurrentTimeWithBestPattern("Asia/Seoul");
		ZonTimeUtil::getBestPatternForTime();
		std::string sunrise, sunset;
		bool day = false;
		ZonTimeUtil::getSunRiseSetTime("GMT+9", 37.5665, 126.9780, sunrise, sunset, &day, "Asia/Seoul");
	}
	ZonTimeUtil::getBestPatternForDate();
	ZonTimeUtil::getCurrentDate("Asia/Seoul");
	ZonTimeUtil::getTTSCurrentDate("Asia/Seoul");
	ZonTimeUtil::getCurrentGMT("Asia/Seoul");
	EXPECT_EQ(0u, ZonIcuCache::counts().generators);
	EXPECT_EQ(5u, ZonIcuCache::counts().patterns);

	setRegionFormat("qq_QQ.UTF-8");
	EXPECT_EQ(icuFormat("qq_QQ", "EEEMMMd", "Asia/Seoul", kWinter * 1000.0), ZonTimeUtil::getCurrentDate("Asia/Seoul"));
	EXPECT_EQ(1u, ZonIcuCache::counts().generators);
}
