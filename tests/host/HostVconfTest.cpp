#include <string>
#include <vector>

#include <vconf.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostVconf : public HostFixture {};

TEST_F(HostVconf, UnsetKeysFailAndTypedValuesPersist)
{
	int value = 7;
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/retailmode/enabled", &value));
	EXPECT_EQ(7, value);
	ASSERT_EQ(VCONF_OK, vconf_set_bool("db/setting/accessibility/tts", 5));
	EXPECT_EQ(0, zon_host_reset());
	EXPECT_EQ(VCONF_OK, vconf_get_bool("db/setting/accessibility/tts", &value));
	EXPECT_EQ(1, value) << "booleans read back as 0 or 1";
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/setting/accessibility/tts", &value));
	EXPECT_EQ(VCONF_ERROR_WRONG_TYPE, vconf_get_ext_errno());
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
