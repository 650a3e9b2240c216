#include <limits.h>

#include <stdexcept>

#include <glib.h>
#include <unicode/numfmt.h>

#include "TimeTestSupport.h"

#define LRM "\xE2\x80\x8E"
#define MINUS "\xE2\x88\x92"

namespace {

struct DiffTexts {
	double diff;
	const char* list;
	const char* read;
	const char* arc;
};

std::string icuDecimal(const char* locale, int number)
{
	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::NumberFormat> format(icu::NumberFormat::createInstance(icu::Locale(locale), status));
	icu::UnicodeString text;
	std::string out;
	format->format(number, text).toUTF8String(out);
	return out;
}

std::string fontSized(const std::string& text)
{
	return "<font_size=32>" + text + "</font_size>";
}

// All four texts of a city `c.diff` hours from this device.
void expectTexts(const DiffTexts& c)
{
	std::string zone = zoneWithDifference(c.diff);
	SCOPED_TRACE(zone);
	ASSERT_DOUBLE_EQ(c.diff, ZonTimeUtil::getGmtOffset(zone.c_str()));
	EXPECT_EQ(c.list, ZonTimeUtil::getTimeDiff(zone.c_str()));
	EXPECT_EQ(c.read, ZonTimeUtil::getTimeDiffToRead(zone.c_str()));
	EXPECT_EQ(*c.list ? fontSized(c.list) : "", ZonTimeUtil::getTimeDiffWithFontSize(zone.c_str()));
	EXPECT_EQ(c.arc, ZonTimeUtil::getTimeDiffOnWidgetArc(zone.c_str()));
}

}

class TimeDiffText : public TimeFixture {};

TEST_F(TimeDiffText, EnglishSentencesMessageIdsTranslatedOrderAndRegionDigits)
{
	const DiffTexts english[] = {
		{0, "", "", ""},
		{0.5, "30 mins ahead", "30 minutes ahead", LRM "+30 min"},
		{-0.25, "15 mins behind", "15 minutes behind", LRM MINUS "15 min"},
		{1.75, "1 hr 45 mins ahead", "One hour 45 minutes ahead", LRM "+1 h 45 min"},
		{-1.5, "1 hr 30 mins behind", "One hour 30 minutes behind", LRM MINUS "1 h 30 min"},
		{5.75, "5 hrs 45 mins ahead", "5 hours 45 minutes ahead", LRM "+5 h 45 min"},
		// A -3:30 city from a UTC device: -2.5, so two hours, not three.
		{-2.5, "2 hrs 30 mins behind", "2 hours 30 minutes behind", LRM MINUS "2 h 30 min"},
		// One minute is 0.0166 hours: one hundredth, then 0 minutes.
		{1.0 / 60, "0 mins ahead", "0 minutes ahead", LRM "+0 min"},
	};
	for (const DiffTexts& c : english)
		expectTexts(c);

	// With no catalogue for the language, dgettext answers the id itself: this pins every id,
	// the odd WDS_CLOUD one among them.
	setLanguage("fr");
	const DiffTexts ids[] = {
		{0.5, "WDS_ZON_BODY_PD_MINS_AHEAD_ABB", "WDS_ZON_TBOPT_PD_MINUTES_AHEAD", "WDS_ZON_BODY_PD_MINS"},
		{-0.5, "WDS_ZON_BODY_PD_MINS_BEHIND_ABB", "WDS_ZON_TBOPT_PD_MINUTES_BEHIND", "WDS_ZON_BODY_PD_MINS"},
		{1.0, "WDS_CLOCK_BODY_1_HR_AHEAD", "WDS_ZON_TBOPT_ONE_HOUR_AHEAD", LRM "+WDS_ALM_BODY_1_HR"},
		{-1.0, "WDS_CLOCK_BODY_1_HR_BEHIND", "WDS_ZON_TBOPT_ONE_HOUR_BEHIND", LRM MINUS "WDS_ALM_BODY_1_HR"},
		{1.5, "WDS_CLOCK_BODY_1_HR_PD_MINS_AHEAD", "WDS_ZON_TBOPT_ONE_HOUR_PD_MINUTES_AHEAD",
			LRM "+WDS_ZON_BODY_1_HR_PD_MINS"},
		{-1.5, "WDS_CLOCK_BODY_1_HR_PD_MINS_BEHIND", "WDS_ZON_TBOPT_ONE_HOUR_PD_MINUTES_BEHIND",
			LRM MINUS "WDS_ZON_BODY_1_HR_PD_MINS"},
		{4.0, "WDS_CLOUD_BODY_PD_HRS_AHEAD", "WDS_ZON_TBOPT_PD_HOURS_AHEAD", "WDS_ZON_BODY_PD_HRS"},
		{-4.0, "WDS_CLOCK_BODY_PD_HRS_BEHIND", "WDS_ZON_TBOPT_PD_HOURS_BEHIND", "WDS_ZON_BODY_PD_HRS"},
		{4.5, "WDS_CLOCK_BODY_P1SD_HRS_P2SD_MINS_AHEAD", "WDS_ZON_TBOPT_P1SD_HOURS_P2SD_MINUTES_AHEAD",
			"WDS_ZON_BODY_P1SD_HRS_P2SD_MINS"},
		{-4.5, "WDS_CLOCK_BODY_P1SD_HRS_P2SD_MINS_BEHIND", "WDS_ZON_TBOPT_P1SD_HOURS_P2SD_MINUTES_BEHIND",
			"WDS_ZON_BODY_P1SD_HRS_P2SD_MINS"},
	};
	for (const DiffTexts& c : ids)
		expectTexts(c);

	// The test language writes the minutes before the hours ("%2$d ... %1$d"); region digits appear
	// in the list and arc texts only.
	setLanguage("xx");
	std::string zone = zoneWithDifference(2.5);

	// The list and arc texts lose the positions: the hours land where the minutes stand.
	EXPECT_EQ("in 2 mins + 30 hrs", ZonTimeUtil::getTimeDiff(zone.c_str()));
	EXPECT_EQ(LRM "+2 min 30 h", ZonTimeUtil::getTimeDiffOnWidgetArc(zone.c_str()));
	// The integer forms keep them.
	EXPECT_EQ("in 30 minutes and 2 hours", ZonTimeUtil::getTimeDiffToRead(zone.c_str()));
	EXPECT_EQ(fontSized("in 30 mins + 2 hrs"), ZonTimeUtil::getTimeDiffWithFontSize(zone.c_str()));

	// One hour and minutes: the sign goes in front of the whole text.
	EXPECT_EQ(LRM MINUS "30 min 1 h", ZonTimeUtil::getTimeDiffOnWidgetArc(zoneWithDifference(-1.5).c_str()));

	// A literal "-1" elsewhere in an arc translation is replaced too.
	EXPECT_EQ(LRM "+30 min, not UTC" LRM "+30", ZonTimeUtil::getTimeDiffOnWidgetArc(zoneWithDifference(0.5).c_str()));

	setLanguage("en");
	setRegionFormat("ar_EG.UTF-8");
	zone = zoneWithDifference(-2.5);
	// Arabic-Indic two, three, zero.
	EXPECT_EQ("\xD9\xA2 hrs \xD9\xA3\xD9\xA0 mins behind", ZonTimeUtil::getTimeDiff(zone.c_str()));
	EXPECT_EQ(LRM MINUS "\xD9\xA2 h \xD9\xA3\xD9\xA0 min", ZonTimeUtil::getTimeDiffOnWidgetArc(zone.c_str()));
	EXPECT_EQ("2 hours 30 minutes behind", ZonTimeUtil::getTimeDiffToRead(zone.c_str()));
	EXPECT_EQ(fontSized("2 hrs 30 mins behind"), ZonTimeUtil::getTimeDiffWithFontSize(zone.c_str()));
}

// Numbers in the region's digits, as the list and arc texts above write them, cut on whole
// characters; upper case.
class StrUtil : public TimeFixture {};

TEST_F(StrUtil, NumbersInTheRegionsDigitsAndUpperCase)
{
	// Without ".UTF-8" the value is the locale itself.
	for (const char* region : {"ar_EG.UTF-8", "fa_IR.UTF-8", "ar_AE.UTF-8", "de_DE.UTF-8", "en_US.UTF-8", "ar_EG"}) {
		setRegionFormat(region);
		std::string locale = std::string(region).substr(0, 5);
		for (int n : {7, 45, -12, 1234})
			EXPECT_EQ(icuDecimal(locale.c_str(), n), ZonStrUtil::convertNumberToString(n)) << region << " " << n;
	}
	setRegionFormat("ar_EG.UTF-8");
	EXPECT_EQ("\xD9\xA7", ZonStrUtil::convertNumberToString(7));   // ARABIC-INDIC DIGIT SEVEN

	// No region format: ASCII.
	ASSERT_EQ(0, zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR));
	EXPECT_EQ("-2147483648", ZonStrUtil::convertNumberToString(INT_MIN));

	// Eleven Arabic-Indic digits and separators need far more than the 19 bytes kept.
	setRegionFormat("ar_EG.UTF-8");
	std::string full = icuDecimal("ar_EG", INT_MIN);
	std::string got = ZonStrUtil::convertNumberToString(INT_MIN);
	ASSERT_GT(full.size(), 19u);
	EXPECT_TRUE(got.size() >= 17u && got.size() <= 19u) << got;
	EXPECT_EQ(full.substr(0, got.size()), got);
	EXPECT_TRUE(g_utf8_validate(got.c_str(), -1, nullptr));

	// Upper case by the full Unicode mapping.
	EXPECT_EQ("STRASSE", ZonStrUtil::getUpperString("straße"));
	EXPECT_EQ("SÃO PAULO", ZonStrUtil::getUpperString("São Paulo"));
	EXPECT_EQ("FIJI", ZonStrUtil::getUpperString("\xEF\xAC\x81ji"));    // the "fi" ligature opens up
	EXPECT_EQ("ΑΘΉΝΑ", ZonStrUtil::getUpperString("Αθήνα"));
	EXPECT_EQ("서울", ZonStrUtil::getUpperString("서울"));
	EXPECT_THROW(ZonStrUtil::getUpperString(nullptr), std::logic_error);
}
