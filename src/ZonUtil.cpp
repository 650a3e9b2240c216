#define LOG_TAG "zonvista"

#include "ZonUtil.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <app_common.h>
#include <app_preference.h>
#include <package_manager.h>
#include <system_info.h>
#include <uxt_theme.h>
#include <vconf.h>

#include "ZonCommonDefine.h"

#define ZON_THEME_PATH_SIZE 4096
#define ZON_REGION_FORMAT_SIZE 512
#define ZON_DEFAULT_REGION_FORMAT "en_US"

#define ZON_VCONF_CSC_COUNTRY_ISO "db/csc/country_iso"
#define ZON_VCONF_ACCESSIBILITY_TTS "db/setting/accessibility/tts"
#define ZON_VCONF_REGION_FORMAT "db/menu_widget/regionformat"
#define ZON_VCONF_ROTARY_EVENT_ENABLED "db/setting/rotary_event_enabled"

// The platform takes the bezel feature in its short form and the virtual bezel in its full one.
#define ZON_FEATURE_ROTATING_BEZEL "tizen.org/feature/input.rotating_bezel"
#define ZON_FEATURE_VIRTUAL_ROTATING_BEZEL "http://tizen.org/feature/input.rotating_bezel.virtual"

#define ZON_WEATHER_PACKAGE_ID "korvath.weather"
#define ZON_WEATHER_PACKAGE_PREFERENCE ".weatherPackageAvailable"

#define ZON_DEVICE_THEME_ENV "ELM_DEVICE_PROD_THEME"
#define ZON_VOREL_DEVICE_THEME "vorel"

// The theme service hands out one list per loaded table; we keep at most one of each kind.
static bool gIsInit = false;
static Eina_List* gColorTable = nullptr;
static Eina_List* gFontTable = nullptr;

namespace {

// Markets where, for Israel's time zone, only Jerusalem may be offered.
const char* const jerusalemOnlyCountries[] = {
	"AE", "SA", "IQ", "BH", "LB", "QA", "OM", "KW", "SY", "JO",
	"PK", "IR", "TR", "MA", "DZ", "TN", "LY", "EG", "SN",
};

// Region formats written right to left, by their language's two letters.
const char* const rtlLanguages[] = {"ar", "he", "fa", "ur"};

void buildThemePath(const char* xmlPath, char* path, size_t size)
{
	char* sharedRes = app_get_shared_resource_path();
	if (sharedRes) {
		snprintf(path, size, "%s%s", sharedRes, xmlPath ? xmlPath : "");
		free(sharedRes);
	}
}

void initChangeableUi()
{
	if (gIsInit)
		return;
	uxt_theme_set_changeable_ui_enabled(true);
	uxt_theme_set_style(UXT_THEME_STYLE_DEFAULT);
	gIsInit = true;
}

// The region format's locale name without ".UTF-8"; false when the setting can't be read.
bool readRegionFormat(char* locale, size_t size)
{
	char* region = vconf_get_str(ZON_VCONF_REGION_FORMAT);
	if (!region)
		return false;
	snprintf(locale, size, "%s", region);
	free(region);
	char* encoding = strstr(locale, ".UTF-8");
	if (encoding)
		*encoding = '\0';
	return true;
}

// A read that fails counts as "no such bezel".
void readBezelFeatures(bool& hasBezel, bool& hasSoftBezel)
{
	hasBezel = false;
	hasSoftBezel = false;
	int ret = system_info_get_platform_bool(ZON_FEATURE_ROTATING_BEZEL, &hasBezel);
	if (ret != SYSTEM_INFO_ERROR_NONE) {
		WERROR("system_info_get_platform_bool fail %d", ret);
		hasBezel = false;
	}
	ret = system_info_get_platform_bool(ZON_FEATURE_VIRTUAL_ROTATING_BEZEL, &hasSoftBezel);
	if (ret != SYSTEM_INFO_ERROR_NONE) {
		WERROR("system_info_get_platform_bool fail %d", ret);
		hasSoftBezel = false;
	}
	WINFO("hasBezel[%d]", hasBezel);
	WINFO("hasSoftBezel[%d]", hasSoftBezel);
}

}

void zonUtilAttachChangeableColors(const char* xmlPath)
{
	char path[ZON_THEME_PATH_SIZE] = {0};
	buildThemePath(xmlPath, path, sizeof(path));

	initChangeableUi();

	if (gColorTable) {
		int ret = uxt_theme_delete_color_table(gColorTable);
		if (ret != UXT_THEME_ERROR_NONE)
			WERROR("uxt_theme_delete_color_table failed.(%d)", ret);
		gColorTable = nullptr;
	}

	gColorTable = uxt_theme_add_color_table(path);
	int ret = uxt_theme_set_color_table(gColorTable);
	if (ret != UXT_THEME_ERROR_NONE)
		WERROR("uxt_theme_set_color_table failed.(%d)", ret);
}

void zonUtilAttachChangeableFonts(const char* xmlPath)
{
	char path[ZON_THEME_PATH_SIZE] = {0};
	buildThemePath(xmlPath, path, sizeof(path));

	initChangeableUi();

	if (gFontTable) {
		int ret = uxt_theme_delete_font_table(gFontTable);
		if (ret != UXT_THEME_ERROR_NONE)
			WERROR("uxt_theme_delete_font_table failed.(%d)", ret);
		gFontTable = nullptr;
	}

	gFontTable = uxt_theme_add_font_table(path);
	int ret = uxt_theme_set_font_table(gFontTable);
	if (ret != UXT_THEME_ERROR_NONE)
		WERROR("uxt_theme_set_font_table failed.(%d)", ret);
}

void zonUtilDetachChangeableColors()
{
	if (gColorTable) {
		int ret = uxt_theme_delete_color_table(gColorTable);
		if (ret != UXT_THEME_ERROR_NONE)
			WERROR("uxt_theme_delete_color_table failed.(%d)", ret);
		gColorTable = nullptr;
	}
	// The fonts may still need the changeable UI; only the last detach resets the style choice.
	if (!gFontTable)
		gIsInit = false;
}

void zonUtilDetachChangeableFonts()
{
	if (gFontTable) {
		int ret = uxt_theme_delete_font_table(gFontTable);
		if (ret != UXT_THEME_ERROR_NONE)
			WERROR("uxt_theme_delete_font_table failed.(%d)", ret);
		gFontTable = nullptr;
	}
	if (!gColorTable)
		gIsInit = false;
}

bool zonUtilCheckShowOnlyJerusalem()
{
	char* country = vconf_get_str(ZON_VCONF_CSC_COUNTRY_ISO);
	if (!country) {
		WERROR("vconf_get_str(VCONF_CSC_COUNTRY_ISO) is failed.");
		return false;
	}

	bool onlyJerusalem = false;
	for (const char* code : jerusalemOnlyCountries) {
		if (strcmp(country, code) == 0) {
			onlyJerusalem = true;
			break;
		}
	}
	free(country);
	return onlyJerusalem;
}

bool zonUtilIsScreenReaderOn()
{
	int isOn = 0;
	if (vconf_get_bool(ZON_VCONF_ACCESSIBILITY_TTS, &isOn) != VCONF_OK)
		return false;
	return isOn != 0;
}

bool zonUtilIsRTL()
{
	char locale[ZON_REGION_FORMAT_SIZE] = {0};
	if (!readRegionFormat(locale, sizeof(locale))) {
		WERROR("vconf_get_str() failed : region format");
		snprintf(locale, sizeof(locale), "%s", ZON_DEFAULT_REGION_FORMAT);
	}

	for (const char* language : rtlLanguages) {
		if (strncmp(locale, language, 2) == 0)
			return true;
	}
	return false;
}

bool zonUtilIsArabic()
{
	char locale[ZON_REGION_FORMAT_SIZE] = {0};
	if (!readRegionFormat(locale, sizeof(locale))) {
		WERROR("vconf_get_str() failed : region format");
		snprintf(locale, sizeof(locale), "%s", ZON_DEFAULT_REGION_FORMAT);
	}
	return strncmp(locale, "ar", 2) == 0;
}

bool zonUtilIsPkgPreloaded(const char* packageId)
{
	package_info_h packageInfo = nullptr;
	if (package_manager_get_package_info(packageId, &packageInfo) != PACKAGE_MANAGER_ERROR_NONE)
		return false;

	bool isPreloaded = false;
	int ret = package_info_is_preload_package(packageInfo, &isPreloaded);
	if (ret != PACKAGE_MANAGER_ERROR_NONE)
		WERROR("package_info_is_preload_package is failed[%d]", ret);
	else
		WINFO("isPreloaded = %d", isPreloaded);

	ret = package_info_destroy(packageInfo);
	if (ret != PACKAGE_MANAGER_ERROR_NONE)
		WERROR("package_info_destroy is failed[%d]", ret);
	return isPreloaded;
}

void zonUtilSetWeatherPkgState()
{
	package_info_h packageInfo = nullptr;
	bool isAvailable = true;
	int ret = package_manager_get_package_info(ZON_WEATHER_PACKAGE_ID, &packageInfo);
	if (ret != PACKAGE_MANAGER_ERROR_NONE) {
		WERROR("package_manager_get_package_info is failed[%d]", ret);
		isAvailable = false;
	}

	ret = preference_set_boolean(ZON_WEATHER_PACKAGE_PREFERENCE, isAvailable);
	if (ret != PREFERENCE_ERROR_NONE)
		WERROR("preference_set_boolean is failed[%d]", ret);

	if (packageInfo) {
		ret = package_info_destroy(packageInfo);
		if (ret != PACKAGE_MANAGER_ERROR_NONE)
			WERROR("package_info_destroy is failed[%d]", ret);
	}
}

bool zonUtilIsVorelDevice()
{
	const char* theme = getenv(ZON_DEVICE_THEME_ENV);
	if (theme && strcmp(theme, ZON_VOREL_DEVICE_THEME) == 0) {
		WINFO("This is a VOREL device.");
		return true;
	}
	return false;
}

bool zonUtilHasBezel()
{
	bool hasBezel = false;
	bool hasSoftBezel = false;
	readBezelFeatures(hasBezel, hasSoftBezel);
	if (!hasBezel)
		return false;
	if (!hasSoftBezel)
		return true;

	// A virtual bezel is one the user can switch off in the settings.
	int hasSoftBezelEnable = 0;
	int ret = vconf_get_bool(ZON_VCONF_ROTARY_EVENT_ENABLED, &hasSoftBezelEnable);
	if (ret != VCONF_OK) {
		WERROR("vconf_get_bool fail %d", ret);
		hasSoftBezelEnable = 0;
	}
	WINFO("hasSoftBezelEnable[%d]", hasSoftBezelEnable);
	return hasSoftBezelEnable != 0;
}

bool zonUtilHasPhysicalBezel()
{
	bool hasBezel = false;
	bool hasSoftBezel = false;
	readBezelFeatures(hasBezel, hasSoftBezel);
	return hasBezel && !hasSoftBezel;
}
