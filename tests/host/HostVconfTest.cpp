#include <cstdlib>
#include <string>
#include <vector>

#include <glib.h>
#include <unistd.h>

#include <vconf.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostVconf : public HostFixture {
protected:
	std::string str(const char *key)
	{
		char *value = vconf_get_str(key);
		std::string result = value ? value : "<null>";
		free(value);
		return result;
	}
};

TEST_F(HostVconf, UnsetKeysFailAndTypedValuesPersist)
{
	int value = 7;
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/retailmode/enabled", &value));
	EXPECT_EQ(VCONF_ERROR_FILE_NO_ENT, vconf_get_ext_errno());
	EXPECT_EQ(7, value);
	EXPECT_EQ(VCONF_ERROR, vconf_set_int("retailmode/enabled", 1));
	EXPECT_EQ(VCONF_ERROR_WRONG_PREFIX, vconf_get_ext_errno());

	ASSERT_EQ(VCONF_OK, vconf_set_bool("db/setting/accessibility/tts", 5));
	EXPECT_EQ(0, zon_host_reset());
	EXPECT_EQ(VCONF_OK, vconf_get_bool("db/setting/accessibility/tts", &value));
	EXPECT_EQ(1, value) << "booleans read back as 0 or 1";
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/setting/accessibility/tts", &value));
	EXPECT_EQ(VCONF_ERROR_WRONG_TYPE, vconf_get_ext_errno());
}

TEST_F(HostVconf, LocaleDefaultsFollowTheDesktop)
{
	for (const char *name : {"LC_ALL", "LC_TIME", "LC_MESSAGES", "LANG"})
		setEnv(name, nullptr);
	EXPECT_EQ("en_US.UTF-8", str(VCONFKEY_REGIONFORMAT));
	setEnv("LANG", "de_DE.UTF-8");
	setEnv("LC_TIME", "ar_AE.utf8");
	EXPECT_EQ("ar_AE.UTF-8", str(VCONFKEY_REGIONFORMAT));
	EXPECT_EQ("de_DE.UTF-8", str(VCONFKEY_LANGSET)) << "LC_TIME is not the language";
	setEnv("LC_ALL", "fr_FR@euro");
	EXPECT_EQ("fr_FR.UTF-8", str(VCONFKEY_REGIONFORMAT));
	EXPECT_EQ("fr_FR.UTF-8", str(VCONFKEY_LANGSET));
	for (const char *plain : {"C", "POSIX", "C.UTF-8"}) {
		setEnv("LC_ALL", plain);
		EXPECT_EQ("en_US.UTF-8", str(VCONFKEY_REGIONFORMAT)) << plain;
	}

	// An explicit setting wins; unsetting it goes back to the desktop's.
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "ko_KR.UTF-8"));
	EXPECT_EQ("ko_KR.UTF-8", str(VCONFKEY_REGIONFORMAT));
	zon_host_vconf_unset(VCONFKEY_REGIONFORMAT);
	EXPECT_EQ("en_US.UTF-8", str(VCONFKEY_REGIONFORMAT));
}

TEST_F(HostVconf, TimeZoneDefaultIsTheDeviceLink)
{
	const std::string link = rootPath("fs/opt/etc/localtime");
	const std::string zone = str(VCONFKEY_SETAPPL_TIMEZONE_ID);   // a new device gets its link here
	gchar *target = g_file_read_link(link.c_str(), nullptr);
	ASSERT_NE(nullptr, target);
	EXPECT_EQ("/usr/share/zoneinfo/" + zone, target);
	g_free(target);
	ASSERT_EQ(0, unlink(link.c_str()));
	ASSERT_EQ(0, symlink("/usr/share/zoneinfo/Asia/Seoul", link.c_str()));
	EXPECT_EQ("Asia/Seoul", str(VCONFKEY_SETAPPL_TIMEZONE_ID));

	// A device whose link was removed stays without it.
	ASSERT_EQ(0, unlink(link.c_str()));
	zon_host_reset();
	zon_host_root();
	EXPECT_FALSE(g_file_test(link.c_str(), G_FILE_TEST_IS_SYMLINK));
}

TEST_F(HostVconf, NotifiesOnTheMainLoopOnlyOnChange)
{
	static std::vector<std::string> seen;
	seen.clear();
	vconf_callback_fn record = [](keynode_t *node, void *) {
		const char *s = vconf_keynode_get_str(node);
		seen.push_back(s ? s : "int " + std::to_string(vconf_keynode_get_int(node)));
	};
	setEnv("LANG", "en_GB.UTF-8");
	ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(VCONFKEY_REGIONFORMAT, record, nullptr));
	EXPECT_EQ(VCONF_ERROR, vconf_notify_key_changed(VCONFKEY_REGIONFORMAT, record, &seen)) << "once per callback";
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "en_GB.UTF-8"));
	EXPECT_EQ(0, zon_host_pump(100)) << "the default is already the value: no change";
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
}

} // namespace
