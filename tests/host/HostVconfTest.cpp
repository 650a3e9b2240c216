#include <fstream>

#include <system_settings.h>
#include <unicode/udatpg.h>
#include <unicode/uloc.h>
#include <vconf.h>

#include "HostFixture.h"

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

bool shows24Hour()
{
	bool on = false;
	EXPECT_EQ(SYSTEM_SETTINGS_ERROR_NONE, system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &on));
	return on;
}

class HostVconf : public HostFixture {};

TEST_F(HostVconf, TypedValuesPersistChangesAreNotifiedAndReadsSeeChangesBehindTheStore)
{
	setEnv("LANG", "en_GB.UTF-8");
	int value = 7;
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/retailmode/enabled", &value));
	EXPECT_EQ(7, value);
	ASSERT_EQ(VCONF_OK, vconf_set_bool("db/setting/accessibility/tts", 5));
	EXPECT_EQ(0, zon_host_reset());
	EXPECT_EQ(VCONF_OK, vconf_get_bool("db/setting/accessibility/tts", &value));
	EXPECT_EQ(1, value) << "booleans read back as 0 or 1";
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/setting/accessibility/tts", &value));
	EXPECT_EQ(VCONF_ERROR_WRONG_TYPE, vconf_get_ext_errno());

	// Notified on the main loop, only on change.
	static std::vector<std::string> seen;
	seen.clear();
	vconf_callback_fn record = [](keynode_t *node, void *) {
		const char *s = vconf_keynode_get_str(node);
		seen.push_back(s ? s : "int " + std::to_string(vconf_keynode_get_int(node)));
	};
	ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(VCONFKEY_REGIONFORMAT, record, nullptr));
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "en_GB.UTF-8"));
	EXPECT_EQ(0, zon_host_pump(100)) << "the default is already the value: no change";
	setEnv("LANG", "de_DE.UTF-8");
	EXPECT_EQ("en_GB.UTF-8", takeText(vconf_get_str(VCONFKEY_REGIONFORMAT))) << "set, so kept";
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "he_IL.UTF-8"));
	ASSERT_EQ(VCONF_OK, vconf_set_int(VCONFKEY_REGIONFORMAT, 3));
	EXPECT_TRUE(seen.empty());
	zon_host_pump(100);
	EXPECT_EQ((std::vector<std::string>{"he_IL.UTF-8", "int 3"}), seen) << "a change of type is a change";

	// Ignoring the callback cancels what is still queued for it.
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "ur_PK.UTF-8"));
	EXPECT_EQ(VCONF_OK, vconf_ignore_key_changed(VCONFKEY_REGIONFORMAT, record));
	zon_host_pump(100);
	EXPECT_EQ(2u, seen.size());

	// The store is kept in memory between reads and learns of changes from the kernel; whatever
	// changed the file since must still show in the next read, however close in time the change
	// was. A child forked from a process that watches must not take the parent's news by reading its
	// own write back.
	const char *key = "db/setting/clock/lap";
	const std::string file = rootPath("vconf.ini");
	auto text = [key]() { return takeText(vconf_get_str(key)); };
	ASSERT_EQ(VCONF_OK, vconf_set_str(key, "aaaa"));
	ASSERT_EQ("aaaa", text());

	// Rewritten in place at once: same inode, same size, quite possibly the same timestamps.
	std::string stored;
	std::getline(std::ifstream(file), stored, '\0');
	stored.replace(stored.find("aaaa"), 4, "bbbb");
	std::ofstream(file, std::ios::trunc) << stored;
	EXPECT_EQ("bbbb", text());

	// Another process of the device.
	inChild([&] { return vconf_set_str(key, "cccc") == VCONF_OK && text() == "cccc"; });
	EXPECT_EQ("cccc", text());

	// Removed, then unparsable: unset, then an error that leaves nothing stale behind.
	ASSERT_EQ(0, std::remove(file.c_str()));
	EXPECT_EQ("<null>", text());
	std::ofstream(file) << "[string\n" << key << "=dddd\n";
	EXPECT_EQ("<null>", text());
	EXPECT_EQ(VCONF_ERROR_FILE_FREAD, vconf_get_ext_errno());
	EXPECT_EQ(VCONF_ERROR, vconf_set_str(key, "eeee")) << "a file we cannot read is not overwritten";
	std::ofstream(file, std::ios::trunc) << "[string]\n" << key << "=ffff\n";
	EXPECT_EQ("ffff", text());
}

// Until the clock is set, it is the region format's: the hour ICU's pattern generator prefers for
// it, for every locale ICU has and some a device may hold. Set, it stays whatever the region.
TEST_F(HostVconf, TheClockFollowsTheRegionUntilSet)
{
#ifdef __SANITIZE_ADDRESS__
	const int32_t stride = 16;   // a generator per locale is slow under the sanitizers
#else
	const int32_t stride = 1;
#endif
	std::vector<std::string> locales{"C", "en", "de", "und_DE", "zh_Hant_TW", "sr_Latn", "xx_YY", "en_001"};
	for (int32_t i = 0; i < uloc_countAvailable(); i += stride)
		locales.push_back(uloc_getAvailable(i));
	for (const std::string& locale : locales) {
		ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, (locale + ".UTF-8").c_str()));
		EXPECT_EQ(generatorPrefers24Hour(locale.c_str()), shows24Hour()) << "'" << locale << "'";
	}

	// The desktop's region while the device has none.
	ASSERT_EQ(0, zon_host_vconf_unset(VCONFKEY_REGIONFORMAT));
	setEnv("LC_ALL", "de_DE.UTF-8");
	EXPECT_TRUE(shows24Hour());
	setEnv("LC_ALL", "en_US.UTF-8");
	EXPECT_FALSE(shows24Hour());

	ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE, system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, true));
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "en_US.UTF-8"));
	EXPECT_TRUE(shows24Hour());
	ASSERT_EQ(0, zon_host_vconf_unset(VCONFKEY_REGIONFORMAT_TIME1224));
	EXPECT_FALSE(shows24Hour());
}

} // namespace
