#include <limits.h>

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>
#include <glib.h>
#include <unicode/numfmt.h>

#include "TimeTestSupport.h"
#include "ZonStrUtil.h"

namespace {

std::string icuDecimal(const char* locale, int number)
{
	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::NumberFormat> format(icu::NumberFormat::createInstance(icu::Locale(locale), status));
	icu::UnicodeString text;
	format->format(number, text);
	std::string out;
	text.toUTF8String(out);
	return out;
}

}

class StrUtil : public TimeFixture {};

TEST_F(StrUtil, NumbersInTheRegionsDigits)
{
	setRegionFormat("ar_EG.UTF-8");
	EXPECT_EQ("\xD9\xA7", ZonStrUtil::convertNumberToString(7));          // ARABIC-INDIC DIGIT SEVEN
	EXPECT_EQ("\xD9\xA4\xD9\xA5", ZonStrUtil::convertNumberToString(45));
	setRegionFormat("fa_IR.UTF-8");
	EXPECT_EQ("\xDB\xB7", ZonStrUtil::convertNumberToString(7));          // EXTENDED ARABIC-INDIC SEVEN
	setRegionFormat("ar_AE.UTF-8");
	EXPECT_EQ(icuDecimal("ar_AE", 7), ZonStrUtil::convertNumberToString(7));
	setRegionFormat("en_US.UTF-8");
	EXPECT_EQ("7", ZonStrUtil::convertNumberToString(7));
	EXPECT_EQ("-12", ZonStrUtil::convertNumberToString(-12));
	// The decimal style groups.
	EXPECT_EQ("1,234", ZonStrUtil::convertNumberToString(1234));
	setRegionFormat("de_DE.UTF-8");
	EXPECT_EQ("1.234", ZonStrUtil::convertNumberToString(1234));
	// Without ".UTF-8" the value is the locale itself.
	setRegionFormat("ar_EG");
	EXPECT_EQ("\xD9\xA7", ZonStrUtil::convertNumberToString(7));
}

TEST_F(StrUtil, NumberWithoutRegionFormatIsAscii)
{
	setRegionFormat("ar_EG.UTF-8");
	ASSERT_EQ(0, zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR));
	EXPECT_EQ("7", ZonStrUtil::convertNumberToString(7));
	ASSERT_EQ(0, zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR));
	EXPECT_EQ("-2147483648", ZonStrUtil::convertNumberToString(INT_MIN));
}

TEST_F(StrUtil, LongNumbersAreCutOnWholeCharacters)
{
	// Eleven Arabic-Indic digits and separators need far more than the 19 bytes kept.
	setRegionFormat("ar_EG.UTF-8");
	std::string full = icuDecimal("ar_EG", INT_MIN);
	std::string got = ZonStrUtil::convertNumberToString(INT_MIN);
	ASSERT_GT(full.size(), 19u);
	EXPECT_LE(got.size(), 19u);
	EXPECT_GE(got.size(), 17u);
	EXPECT_EQ(full.substr(0, got.size()), got);
	EXPECT_TRUE(g_utf8_validate(got.c_str(), -1, nullptr));
}

TEST_F(StrUtil, UpperCaseByFullUnicodeMapping)
{
	EXPECT_EQ("STRASSE", ZonStrUtil::getUpperString("straße"));
	EXPECT_EQ("SÃO PAULO", ZonStrUtil::getUpperString("São Paulo"));
	EXPECT_EQ("ZÜRICH", ZonStrUtil::getUpperString("Zürich"));
	EXPECT_EQ("FIJI", ZonStrUtil::getUpperString("\xEF\xAC\x81ji"));    // the "fi" ligature opens up
	EXPECT_EQ("ΑΘΉΝΑ", ZonStrUtil::getUpperString("Αθήνα"));
	EXPECT_EQ("서울", ZonStrUtil::getUpperString("서울"));
	EXPECT_EQ("", ZonStrUtil::getUpperString(""));
	EXPECT_THROW(ZonStrUtil::getUpperString(nullptr), std::logic_error);
}
