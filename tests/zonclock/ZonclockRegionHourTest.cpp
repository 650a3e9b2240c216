// zonclock reads a region's preferred hour from ICU's time data instead of building a pattern
// generator (most of a clock view's start-up otherwise); the answer must be the generator's for
// the "j" skeleton, for every locale ICU has and for the odd ones a device may hold.
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/udatpg.h>
#include <unicode/uloc.h>

#include "Settings.h"

namespace {

bool generatorPrefers24Hour(const char* locale)
{
	UErrorCode status = U_ZERO_ERROR;
	UDateTimePatternGenerator* generator = udatpg_open(locale, &status);
	UChar pattern[64];
	const UChar skeleton[] = {'j', 0};
	int32_t length = udatpg_getBestPattern(generator, skeleton, 1, pattern, 64, &status);
	udatpg_close(generator);
	for (int32_t i = 0; U_SUCCESS(status) && i < length; ++i) {
		if (pattern[i] == 'H' || pattern[i] == 'k')
			return true;
	}
	return false;
}

}

TEST(ZonclockRegionHour, AnswersAsThePatternGeneratorDoes)
{
#ifdef __SANITIZE_ADDRESS__
	const int32_t stride = 16;   // a generator per locale is slow under the sanitizers
#else
	const int32_t stride = 1;
#endif
	std::vector<std::string> locales{"", "C", "en", "de", "und_DE", "zh_Hant_TW", "sr_Latn", "xx_YY", "en_001"};
	for (int32_t i = 0; i < uloc_countAvailable(); i += stride)
		locales.push_back(uloc_getAvailable(i));
	for (const std::string& locale : locales)
		EXPECT_EQ(generatorPrefers24Hour(locale.c_str()), zonclock::regionUses24Hour(locale)) << "'" << locale << "'";
}
