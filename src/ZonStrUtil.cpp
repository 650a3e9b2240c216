#define LOG_TAG "zonvista"

#include "ZonStrUtil.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <glib.h>
#include <unicode/unum.h>
#include <unicode/ustring.h>

#include <vconf.h>

#include "ZonCommonDefine.h"
#include "ZonIcuCache.h"

#define ZON_REGION_FORMAT_KEY "db/menu_widget/regionformat"

std::string ZonStrUtil::convertNumberToString(int number)
{
	char* regionFormat = vconf_get_str(ZON_REGION_FORMAT_KEY);
	if (!regionFormat) {
		char text[128] = {0};
		snprintf(text, sizeof(text), "%d", number);
		return text;
	}

	char locale[33] = {0};
	strncpy(locale, regionFormat, 32);
	free(regionFormat);
	char* codeset = strstr(locale, ".UTF-8");
	if (codeset)
		*codeset = '\0';

	// Results are not checked one by one: ICU leaves every later call alone once the status has
	// failed, so a formatter that could not be made ends as an empty text.
	UErrorCode status = U_ZERO_ERROR;
	UNumberFormat* format = ZonIcuCache::getDecimalFormat(locale, &status);
	UChar formatted[20] = {0};
	int32_t length = unum_format(format, number, formatted, 20, nullptr, &status);
	if (U_FAILURE(status))
		length = 0;

	char text[20] = {0};
	UErrorCode convertStatus = U_ZERO_ERROR;
	u_strToUTF8(text, 19, nullptr, formatted, length, &convertStatus);
	return text;
}

std::string ZonStrUtil::getUpperString(const char* text)
{
	gchar* upper = g_utf8_strup(text, -1);
	std::string result(upper);
	g_free(upper);
	return result;
}
