#include <string>

#include <gtest/gtest.h>

#include "TimeTestSupport.h"
#include "ZonTimeUtil.h"

using namespace zontest;

#define LRM "\xE2\x80\x8E"
#define MINUS "\xE2\x88\x92"

namespace {

struct DiffTexts {
	double diff;
	const char* list;
	const char* read;
	const char* arc;
};

std::string fontSized(const std::string& text)
{
	return "<font_size=32>" + text + "</font_size>";
}

}

class TimeDiffText : public TimeFixture {};

TEST_F(TimeDiffText, EnglishSentencesForEveryCase)
{
	const DiffTexts cases[] = {
		{0.5, "30 mins ahead", "30 minutes ahead", LRM "+30 min"},
		{-0.25, "15 mins behind", "15 minutes behind", LRM MINUS "15 min"},
		{1.0, "1 hr ahead", "One hour ahead", LRM "+1 h"},
		{-1.0, "1 hr behind", "One hour behind", LRM MINUS "1 h"},
		{1.75, "1 hr 45 mins ahead", "One hour 45 minutes ahead", LRM "+1 h 45 min"},
		{-1.5, "1 hr 30 mins behind", "One hour 30 minutes behind", LRM MINUS "1 h 30 min"},
		{3.0, "3 hrs ahead", "3 hours ahead", LRM "+3 h"},
		{-12.0, "12 hrs behind", "12 hours behind", LRM MINUS "12 h"},
		{5.75, "5 hrs 45 mins ahead", "5 hours 45 minutes ahead", LRM "+5 h 45 min"},
		// A -3:30 city from a UTC device: -2.5, so two hours, not three.
		{-2.5, "2 hrs 30 mins behind", "2 hours 30 minutes behind", LRM MINUS "2 h 30 min"},
		// One minute is 0.0166 hours: one hundredth, then 0 minutes.
		{1.0 / 60, "0 mins ahead", "0 minutes ahead", LRM "+0 min"},
	};
	for (const DiffTexts& c : cases) {
		std::string zone = zoneWithDifference(c.diff);
		SCOPED_TRACE(zone);
		ASSERT_DOUBLE_EQ(c.diff, ZonTimeUtil::getGmtOffset(zone.c_str()));
		EXPECT_EQ(c.list, ZonTimeUtil::getTimeDiff(zone.c_str()));
		EXPECT_EQ(c.read, ZonTimeUtil::getTimeDiffToRead(zone.c_str()));
		EXPECT_EQ(fontSized(c.list), ZonTimeUtil::getTimeDiffWithFontSize(zone.c_str()));
		EXPECT_EQ(c.arc, ZonTimeUtil::getTimeDiffOnWidgetArc(zone.c_str()));
	}

	std::string behind = zoneWithDifference(-2.5);
	zon_host_log_clear();
	ZonTimeUtil::getTimeDiff(behind.c_str());
	EXPECT_TRUE(zon_host_log_contains(("gmt[-250], timezone[" + behind + "]").c_str()));
	EXPECT_TRUE(zon_host_log_contains("hourText[2], minuteText[30]"));
}

TEST_F(TimeDiffText, SameZoneAsTheDeviceSaysNothing)
{
	std::string same = zoneWithDifference(0);
	EXPECT_EQ("", ZonTimeUtil::getTimeDiff(same.c_str()));
	EXPECT_EQ("", ZonTimeUtil::getTimeDiffToRead(same.c_str()));
	EXPECT_EQ("", ZonTimeUtil::getTimeDiffWithFontSize(same.c_str()));
	EXPECT_EQ("", ZonTimeUtil::getTimeDiffOnWidgetArc(same.c_str()));
}

// With no catalogue for the language, dgettext answers the id itself: this pins every id.
TEST_F(TimeDiffText, MessageIdsOfEveryCase)
{
	setLanguage("fr");
	struct Ids {
		double diff;
		const char* list;
		const char* read;
		const char* arc;
	};
	const Ids cases[] = {
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
	for (const Ids& c : cases) {
		std::string zone = zoneWithDifference(c.diff);
		SCOPED_TRACE(zone);
		EXPECT_EQ(c.list, ZonTimeUtil::getTimeDiff(zone.c_str()));
		EXPECT_EQ(c.read, ZonTimeUtil::getTimeDiffToRead(zone.c_str()));
		EXPECT_EQ(fontSized(c.list), ZonTimeUtil::getTimeDiffWithFontSize(zone.c_str()));
		EXPECT_EQ(c.arc, ZonTimeUtil::getTimeDiffOnWidgetArc(zone.c_str()));
	}
}

TEST_F(TimeDiffText, KoreanSentences)
{
	setLanguage("ko");
	std::string ahead = zoneWithDifference(9);
	std::string behind = zoneWithDifference(-2.5);
	EXPECT_EQ("9시간 빠름", ZonTimeUtil::getTimeDiff(ahead.c_str()));
	EXPECT_EQ("2시간 30분 느림", ZonTimeUtil::getTimeDiff(behind.c_str()));
	EXPECT_EQ(fontSized("2시간 30분 느림"), ZonTimeUtil::getTimeDiffWithFontSize(behind.c_str()));
	EXPECT_EQ(LRM MINUS "2시간 30분", ZonTimeUtil::getTimeDiffOnWidgetArc(behind.c_str()));
	EXPECT_EQ(LRM "+9시간", ZonTimeUtil::getTimeDiffOnWidgetArc(ahead.c_str()));
}

// The test language writes the minutes before the hours ("%2$d ... %1$d").
TEST_F(TimeDiffText, MinutesBeforeHoursInTheTranslation)
{
	setLanguage("xx");
	std::string zone = zoneWithDifference(2.5);

	// The list text loses the positions: the hours land where the minutes stand.
	EXPECT_EQ("in 2 mins + 30 hrs", ZonTimeUtil::getTimeDiff(zone.c_str()));
	EXPECT_EQ(LRM "+2 min 30 h", ZonTimeUtil::getTimeDiffOnWidgetArc(zone.c_str()));
	// The integer forms keep them.
	EXPECT_EQ("in 30 minutes and 2 hours", ZonTimeUtil::getTimeDiffToRead(zone.c_str()));
	EXPECT_EQ(fontSized("in 30 mins + 2 hrs"), ZonTimeUtil::getTimeDiffWithFontSize(zone.c_str()));

	// One hour and minutes: the sign goes in front of the whole text.
	std::string oneAndHalf = zoneWithDifference(-1.5);
	EXPECT_EQ(LRM MINUS "30 min 1 h", ZonTimeUtil::getTimeDiffOnWidgetArc(oneAndHalf.c_str()));
	EXPECT_EQ("30 mins + 1 hr ago", ZonTimeUtil::getTimeDiff(oneAndHalf.c_str()));
}

TEST_F(TimeDiffText, LiteralMinusOneInAnArcTranslationIsReplacedToo)
{
	setLanguage("xx");
	std::string zone = zoneWithDifference(0.5);
	EXPECT_EQ(LRM "+30 min, not UTC" LRM "+30", ZonTimeUtil::getTimeDiffOnWidgetArc(zone.c_str()));
}

TEST_F(TimeDiffText, RegionDigitsOnlyInListAndArcTexts)
{
	setRegionFormat("ar_EG.UTF-8");
	std::string zone = zoneWithDifference(-2.5);
	// Arabic-Indic two, three, zero.
	EXPECT_EQ("\xD9\xA2 hrs \xD9\xA3\xD9\xA0 mins behind", ZonTimeUtil::getTimeDiff(zone.c_str()));
	EXPECT_EQ(LRM MINUS "\xD9\xA2 h \xD9\xA3\xD9\xA0 min", ZonTimeUtil::getTimeDiffOnWidgetArc(zone.c_str()));
	EXPECT_EQ("2 hours 30 minutes behind", ZonTimeUtil::getTimeDiffToRead(zone.c_str()));
	EXPECT_EQ(fontSized("2 hrs 30 mins behind"), ZonTimeUtil::getTimeDiffWithFontSize(zone.c_str()));
}
