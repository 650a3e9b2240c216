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

struct Seen {
	std::vector<std::string> names;
	std::vector<int> types;
	std::vector<std::string> texts;
	static void record(keynode_t *node, void *self)
	{
		auto *seen = static_cast<Seen *>(self);
		seen->names.push_back(vconf_keynode_get_name(node));
		seen->types.push_back(vconf_keynode_get_type(node));
		const char *s = vconf_keynode_get_str(node);
		seen->texts.push_back(s ? s : std::to_string(vconf_keynode_get_int(node)));
	}
	static void other(keynode_t *node, void *self) { record(node, self); }
};

TEST_F(HostVconf, UnsetKeysAndBadKeysFail)
{
	int value = 7;
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/retailmode/enabled", &value));
	EXPECT_EQ(VCONF_ERROR_FILE_NO_ENT, vconf_get_ext_errno());
	EXPECT_EQ(7, value);
	EXPECT_EQ(nullptr, vconf_get_str("db/csc/country_iso"));

	EXPECT_EQ(VCONF_ERROR, vconf_set_int("retailmode/enabled", 1));
	EXPECT_EQ(VCONF_ERROR_WRONG_PREFIX, vconf_get_ext_errno());
	EXPECT_EQ(VCONF_ERROR, vconf_set_int("db/", 1));
	EXPECT_EQ(VCONF_ERROR, vconf_get_int(nullptr, &value));

	ASSERT_EQ(VCONF_OK, vconf_set_int("db/retailmode/enabled", 1));
	EXPECT_EQ(VCONF_OK, vconf_get_int("db/retailmode/enabled", &value));
	EXPECT_EQ(1, value);
	EXPECT_EQ(0, vconf_get_ext_errno());
	EXPECT_EQ(0, zon_host_vconf_unset("db/retailmode/enabled"));
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/retailmode/enabled", &value));
}

TEST_F(HostVconf, TypedValuesPersistAndMismatchFails)
{
	ASSERT_EQ(VCONF_OK, vconf_set_bool("db/setting/accessibility/tts", 5));
	ASSERT_EQ(VCONF_OK, vconf_set_int("memory/private/lnkp/conn_type", 0x11));
	ASSERT_EQ(VCONF_OK, vconf_set_dbl("db/test/ratio", -2.5));
	ASSERT_EQ(VCONF_OK, vconf_set_str("db/csc/country_iso", "IL"));
	EXPECT_EQ(0, zon_host_reset());

	int b = -1, i = -1;
	double d = 0;
	EXPECT_EQ(VCONF_OK, vconf_get_bool("db/setting/accessibility/tts", &b));
	EXPECT_EQ(1, b) << "booleans read back as 0 or 1";
	EXPECT_EQ(VCONF_OK, vconf_get_int("memory/private/lnkp/conn_type", &i));
	EXPECT_EQ(0x11, i);
	EXPECT_EQ(VCONF_OK, vconf_get_dbl("db/test/ratio", &d));
	EXPECT_EQ(-2.5, d);
	EXPECT_EQ("IL", str("db/csc/country_iso"));

	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/setting/accessibility/tts", &i));
	EXPECT_EQ(VCONF_ERROR_WRONG_TYPE, vconf_get_ext_errno());
	EXPECT_EQ("<null>", str("memory/private/lnkp/conn_type"));
}

TEST_F(HostVconf, LocaleDefaultsFollowTheDesktop)
{
	setEnv("LC_ALL", nullptr);
	setEnv("LC_TIME", nullptr);
	setEnv("LC_MESSAGES", nullptr);
	setEnv("LANG", nullptr);
	EXPECT_EQ("en_US.UTF-8", str(VCONFKEY_REGIONFORMAT));

	setEnv("LANG", "de_DE.UTF-8");
	EXPECT_EQ("de_DE.UTF-8", str(VCONFKEY_REGIONFORMAT));
	EXPECT_EQ("de_DE.UTF-8", str(VCONFKEY_LANGSET));

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
	std::string zone = str(VCONFKEY_SETAPPL_TIMEZONE_ID);
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

TEST_F(HostVconf, NotifiesEveryCallbackOnTheMainLoopOnlyOnChange)
{
	Seen a, b;
	setEnv("LANG", "en_GB.UTF-8");
	ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(VCONFKEY_REGIONFORMAT, Seen::record, &a));
	ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(VCONFKEY_REGIONFORMAT, Seen::other, &b));
	EXPECT_EQ(VCONF_ERROR, vconf_notify_key_changed(VCONFKEY_REGIONFORMAT, Seen::record, &b));

	// The default is already the value: no change.
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "en_GB.UTF-8"));
	EXPECT_EQ(0, zon_host_pump(100));

	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "he_IL.UTF-8"));
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "ar_AE.UTF-8"));
	EXPECT_TRUE(a.names.empty());
	zon_host_pump(100);
	EXPECT_EQ((std::vector<std::string>{"he_IL.UTF-8", "ar_AE.UTF-8"}), a.texts);
	EXPECT_EQ(a.texts, b.texts);
	EXPECT_EQ(std::vector<int>(2, VCONF_TYPE_STRING), a.types);
	EXPECT_EQ(VCONFKEY_REGIONFORMAT, a.names[0]);

	// Ignoring one callback cancels what is queued for it, not for the other.
	ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, "ur_PK.UTF-8"));
	ASSERT_EQ(VCONF_OK, vconf_ignore_key_changed(VCONFKEY_REGIONFORMAT, Seen::record));
	zon_host_pump(100);
	EXPECT_EQ(2u, a.texts.size());
	EXPECT_EQ(3u, b.texts.size());
	EXPECT_EQ(VCONF_ERROR, vconf_ignore_key_changed(VCONFKEY_REGIONFORMAT, Seen::record));

	// A change of type is a change; the node tells the new type.
	ASSERT_EQ(VCONF_OK, vconf_set_int(VCONFKEY_REGIONFORMAT, 3));
	zon_host_pump(100);
	EXPECT_EQ(VCONF_TYPE_INT, b.types.back());
	EXPECT_EQ("3", b.texts.back());
	EXPECT_EQ(VCONF_OK, vconf_ignore_key_changed(VCONFKEY_REGIONFORMAT, Seen::other));
}

} // namespace
