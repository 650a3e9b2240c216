// The application's colour and font tables in the device's changeable theme, loaded from real
// files in the shared resource directory. Theme state belongs to the process, so every test
// leaves both tables detached.
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

const char kColors[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
						"<color_table><color id=\"B011\" rgba=\"#FAFAFA80\"/></color_table>\n";

const char kFonts[] = "<font_table>\n  <font id=\"T011\" style=\"Condensed\" size=\"30\"/>\n</font_table>\n";

class DeviceThemeTest : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		sharedRes = takeText(app_get_shared_resource_path());
		ASSERT_NE("<null>", sharedRes);
		mkdir((sharedRes + "tables").c_str(), 0755);
		baseline = zon_host_theme_table_count();
	}

	void TearDown() override
	{
		zonUtilDetachChangeableColors();
		zonUtilDetachChangeableFonts();
		EXPECT_EQ(baseline, zon_host_theme_table_count()) << "the library lost a table";
		HostFixture::TearDown();
	}

	// Writes a table file under the shared resource directory and returns its relative path.
	std::string writeTable(const char* name, const std::string& content)
	{
		std::string relative = std::string("tables/") + name;
		std::ofstream(sharedRes + relative) << content;
		return relative;
	}


	std::string sharedRes;
	// Tables left loaded by earlier tests of this process.
	int baseline = 0;
};

TEST_F(DeviceThemeTest, InitialisationIsSharedByColoursAndFontsAndAMalformedFileIsLogged)
{
	uxt_theme_set_style(5);
	std::string colors = writeTable("colors.xml", kColors);
	std::string fonts = writeTable("fonts.xml", kFonts);
	zonUtilAttachChangeableColors(colors.c_str());
	EXPECT_TRUE(zon_host_theme_changeable_ui_enabled());
	EXPECT_EQ(UXT_THEME_STYLE_DEFAULT, zon_host_theme_style());
	EXPECT_TRUE(zon_host_theme_color("B011", nullptr, nullptr, nullptr, nullptr));
	zonUtilAttachChangeableColors(colors.c_str()); // the earlier table is deleted, not leaked
	zonUtilAttachChangeableFonts(fonts.c_str());
	EXPECT_EQ(baseline + 2, zon_host_theme_table_count());

	// With fonts still attached the changeable UI stays initialised: no style is re-selected.
	zonUtilDetachChangeableColors();
	EXPECT_FALSE(zon_host_theme_color("B011", nullptr, nullptr, nullptr, nullptr));
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

	// A malformed file is logged when applied, and leaves no colour table beside the fonts'.
	zonUtilAttachChangeableColors(
		writeTable("bad.xml", "<color_table><color id=\"A\" rgba=\"#FF0000\"/><color id=\"A\" rgba=\"#00FF00\"/>").c_str());
	EXPECT_TRUE(zon_host_log_contains(
		("uxt_theme_set_color_table failed.(" + std::to_string(UXT_THEME_ERROR_INVALID_PARAMETER) + ")").c_str()));
	EXPECT_EQ(baseline + 1, zon_host_theme_table_count());
}

} // namespace
