// The application's colour and font tables in the device's changeable theme, loaded from real
// files in the shared resource directory. Theme state belongs to the process, so every test
// leaves both tables detached.
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include <app_common.h>
#include <uxt_theme.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"
#include "ZonUtil.h"

namespace {

const char kColors[] =
	"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
	"<!-- world clock colours -->\n"
	"<color_table>\n"
	"  <color id=\"B011\" rgba=\"#FAFAFA80\"/>\n"
	"  <color id=\"T022\" rgba=\"#2a7be4\"/>\n"
	"</color_table>\n";

const char kNightColors[] =
	"<color_table><color id=\"B011\" rgba=\"#000000FF\"/></color_table>";

const char kFonts[] = "<font_table>\n  <font id=\"T011\" style=\"Condensed\" size=\"30\"/>\n</font_table>\n";

class DeviceThemeTest : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		char* dir = app_get_shared_resource_path();
		ASSERT_NE(nullptr, dir);
		sharedRes = dir;
		free(dir);
		mkdir((sharedRes + "tables").c_str(), 0755);
		baseline = zon_host_theme_table_count();
	}

	void TearDown() override
	{
		zonUtilDetachChangeableColors();
		zonUtilDetachChangeableFonts();
		EXPECT_EQ(baseline + orphans, zon_host_theme_table_count()) << "the library lost a table";
		HostFixture::TearDown();
	}

	// Writes a table file under the shared resource directory and returns its relative path.
	std::string writeTable(const char* name, const std::string& content)
	{
		std::string relative = std::string("tables/") + name;
		std::ofstream(sharedRes + relative) << content;
		return relative;
	}

	static std::string colorOf(const char* id)
	{
		int r = -1, g = -1, b = -1, a = -1;
		if (!zon_host_theme_color(id, &r, &g, &b, &a))
			return "none";
		char text[32];
		snprintf(text, sizeof text, "%d,%d,%d,%d", r, g, b, a);
		return text;
	}

	std::string sharedRes;
	// Tables left loaded by earlier tests of this process, and by this one on purpose.
	int baseline = 0;
	int orphans = 0;
};

TEST_F(DeviceThemeTest, AttachLoadsAppliesAndReplacesTables)
{
	uxt_theme_set_style(5);
	zonUtilAttachChangeableColors(writeTable("colors.xml", kColors).c_str());
	EXPECT_TRUE(zon_host_theme_changeable_ui_enabled());
	EXPECT_EQ(UXT_THEME_STYLE_DEFAULT, zon_host_theme_style());
	EXPECT_EQ("250,250,250,128", colorOf("B011"));
	EXPECT_EQ("42,123,228,255", colorOf("T022"));

	// Again: the earlier table is deleted, not leaked, and the new one applied.
	zonUtilAttachChangeableColors(writeTable("night.xml", kNightColors).c_str());
	EXPECT_EQ(baseline + 1, zon_host_theme_table_count());
	EXPECT_EQ("0,0,0,255", colorOf("B011"));
	EXPECT_EQ("none", colorOf("T022"));

	zonUtilAttachChangeableFonts(writeTable("fonts.xml", kFonts).c_str());
	EXPECT_EQ(baseline + 2, zon_host_theme_table_count());
	EXPECT_TRUE(zon_host_theme_font("T011", nullptr, nullptr));
	EXPECT_FALSE(zon_host_log_contains("failed.("));
}

TEST_F(DeviceThemeTest, InitialisationIsSharedByColoursAndFonts)
{
	std::string colors = writeTable("colors.xml", kColors);
	std::string fonts = writeTable("fonts.xml", kFonts);
	zonUtilAttachChangeableColors(colors.c_str());
	zonUtilAttachChangeableFonts(fonts.c_str());

	// With fonts still attached the changeable UI stays initialised: no style is re-selected.
	zonUtilDetachChangeableColors();
	EXPECT_EQ("none", colorOf("B011"));
	EXPECT_TRUE(zon_host_theme_font("T011", nullptr, nullptr));
	uxt_theme_set_style(3);
	zonUtilAttachChangeableColors(colors.c_str());
	EXPECT_EQ(3, zon_host_theme_style());

	// Both detached: the next attach initialises again. Detaching never switches the UI off.
	zonUtilDetachChangeableFonts();
	zonUtilDetachChangeableColors();
	EXPECT_EQ(baseline, zon_host_theme_table_count());
	EXPECT_TRUE(zon_host_theme_changeable_ui_enabled());
	zonUtilDetachChangeableColors();
	EXPECT_FALSE(zon_host_log_contains("delete_color_table failed")) << "nothing to delete";
	zonUtilAttachChangeableFonts(fonts.c_str());
	EXPECT_EQ(UXT_THEME_STYLE_DEFAULT, zon_host_theme_style());
}

TEST_F(DeviceThemeTest, MissingOrMalformedFileOrDirectoryIsLoggedWhenApplying)
{
	std::string code = std::to_string(UXT_THEME_ERROR_INVALID_PARAMETER);
	zonUtilAttachChangeableColors("tables/absent.xml");
	zonUtilAttachChangeableColors(
		writeTable("bad.xml", "<color_table><color id=\"A\" rgba=\"#FF0000\"/><color id=\"A\" rgba=\"#00FF00\"/>").c_str());
	EXPECT_EQ(2u, zon_host_log_count_matching(("uxt_theme_set_color_table failed.(" + code + ")").c_str()));
	EXPECT_EQ(baseline, zon_host_theme_table_count());

	zon_host_fault_inject("app_get_shared_resource_path", 1, -12);
	zonUtilAttachChangeableFonts(writeTable("fonts.xml", kFonts).c_str());
	EXPECT_TRUE(zon_host_log_contains(("uxt_theme_set_font_table failed.(" + code + ")").c_str()));
	EXPECT_FALSE(zon_host_theme_font("T011", nullptr, nullptr));

	// A table the service refuses to delete is forgotten all the same: it stays loaded, and
	// nobody holds its handle any more.
	zonUtilAttachChangeableFonts("tables/fonts.xml");
	zon_host_fault_inject("uxt_theme_delete_font_table", 1, UXT_THEME_ERROR_IO_ERROR);
	zonUtilAttachChangeableFonts("tables/fonts.xml");
	EXPECT_TRUE(zon_host_log_contains(
		("uxt_theme_delete_font_table failed.(" + std::to_string(UXT_THEME_ERROR_IO_ERROR) + ")").c_str()));
	EXPECT_EQ(baseline + 2, zon_host_theme_table_count());
	EXPECT_TRUE(zon_host_theme_font("T011", nullptr, nullptr));
	orphans = 1;
}

} // namespace
