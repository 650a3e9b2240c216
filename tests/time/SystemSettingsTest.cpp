#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <system_settings.h>
#include <vconf.h>

#include "HostFixture.h"

class SystemSettings24Hour : public HostFixture {};

TEST_F(SystemSettings24Hour, KeptInVconfAsTheDeviceKeepsIt)
{
	bool is24 = true;
	// A new device shows the 12-hour clock.
	ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24));
	EXPECT_FALSE(is24);

	ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
		system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, true));
	int format = 0;
	ASSERT_EQ(VCONF_OK, vconf_get_int(VCONFKEY_REGIONFORMAT_TIME1224, &format));
	EXPECT_EQ(VCONFKEY_TIME_FORMAT_24, format);

	std::ifstream file(rootPath("vconf.ini"));
	std::stringstream contents;
	contents << file.rdbuf();
	EXPECT_NE(std::string::npos, contents.str().find("regionformat_time1224")) << contents.str();

	// Survives a restart of the host state.
	zon_host_reset();
	ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24));
	EXPECT_TRUE(is24);

	// Whoever writes the vconf key changes the setting.
	ASSERT_EQ(VCONF_OK, vconf_set_int(VCONFKEY_REGIONFORMAT_TIME1224, VCONFKEY_TIME_FORMAT_12));
	ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24));
	EXPECT_FALSE(is24);
}

TEST_F(SystemSettings24Hour, OtherKeysAndBadArguments)
{
	bool value = true;
	EXPECT_EQ(SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, nullptr));
	EXPECT_EQ(SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, &value));
	EXPECT_EQ(SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER,
		system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_MAX, true));
	EXPECT_EQ(SYSTEM_SETTINGS_ERROR_NOT_SUPPORTED,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_SOUND_SILENT_MODE, &value));
	EXPECT_TRUE(value);
	EXPECT_EQ(14, SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR);
}

TEST_F(SystemSettings24Hour, InjectedFaults)
{
	ASSERT_EQ(VCONF_OK, vconf_set_int(VCONFKEY_REGIONFORMAT_TIME1224, VCONFKEY_TIME_FORMAT_24));
	ASSERT_EQ(0, zon_host_fault_inject("system_settings_set_value_bool", 1, SYSTEM_SETTINGS_ERROR_IO_ERROR));
	EXPECT_EQ(SYSTEM_SETTINGS_ERROR_IO_ERROR,
		system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, false));

	bool is24 = false;
	ASSERT_EQ(0, zon_host_fault_inject("system_settings_get_value_bool", 1, SYSTEM_SETTINGS_ERROR_PERMISSION_DENIED));
	EXPECT_EQ(SYSTEM_SETTINGS_ERROR_PERMISSION_DENIED,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24));
	EXPECT_FALSE(is24);
	// The failed set changed nothing.
	ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24));
	EXPECT_TRUE(is24);

	// A store that cannot be read is an I/O error, not "never set".
	ASSERT_EQ(0, zon_host_fault_inject("vconf_get_int", 1, VCONF_ERROR));
	EXPECT_NE(SYSTEM_SETTINGS_ERROR_NONE,
		system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24));
}
