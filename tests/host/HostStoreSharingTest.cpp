#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <app_preference.h>
#include <vconf.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostStoreSharing : public HostFixture {
protected:
	int intOf(const char *key)
	{
		int value = -1;
		EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int(key, &value)) << key;
		return value;
	}
	std::string textOf(const char *key)
	{
		char *value = nullptr;
		if (preference_get_string(key, &value) != PREFERENCE_ERROR_NONE)
			return "(none)";
		std::string text = value;
		free(value);
		return text;
	}
	std::string journal() const { return rootPath("apps/korvath.zonvista/data/.preference.journal"); }
};

TEST_F(HostStoreSharing, AnotherProcessSeesChangesAndNoneIsLost)
{
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("a", 1));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_string("s", " padded text "));
	pid_t child = fork();
	ASSERT_GE(child, 0);
	if (child == 0) {
		zon_host_reset();
		bool ok = preference_set_int("a", 2) == PREFERENCE_ERROR_NONE &&
				preference_set_string("b", "from the widget") == PREFERENCE_ERROR_NONE &&
				preference_remove("s") == PREFERENCE_ERROR_NONE;
		_exit(ok ? 0 : 1);
	}
	int status = 0;
	ASSERT_EQ(child, waitpid(child, &status, 0));
	ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

	// Seen by the next read, and kept under this process's own next change.
	EXPECT_EQ(2, intOf("a"));
	EXPECT_EQ("from the widget", textOf("b"));
	EXPECT_EQ("(none)", textOf("s"));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("c", 3));
	zon_host_reset();
	EXPECT_EQ(2, intOf("a"));
	EXPECT_EQ("from the widget", textOf("b"));
	EXPECT_EQ(3, intOf("c"));
}

TEST_F(HostStoreSharing, TornTailIsSkippedAndTheJournalStaysBounded)
{
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("a", 1));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("a", 2));
	// What a crash in the middle of an append leaves: a line without its end, or with a wrong sum.
	std::ofstream(journal(), std::ios::app) << "00000000 set int a 7\n0badf00d set int a";
	EXPECT_EQ(2, intOf("a"));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("d", 4));
	zon_host_reset();
	EXPECT_EQ(2, intOf("a"));
	EXPECT_EQ(4, intOf("d"));

	// A busy key: the journal is folded into the file now and then, never growing without end.
	for (int i = 0; i < 600; ++i)
		ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", i));
	struct stat st;
	ASSERT_EQ(0, stat(journal().c_str(), &st));
	EXPECT_LT(st.st_size, 16 * 1024);
	zon_host_reset();
	EXPECT_EQ(599, intOf("ZonDBChanged"));
	EXPECT_EQ(2, intOf("a"));
	EXPECT_EQ(4, intOf("d"));
}

// The settings store learns of changes from the kernel; a child forked from a process that
// watches must not take the parent's news by reading its own write back.
TEST_F(HostStoreSharing, SettingsWrittenByAForkedChildReachTheParent)
{
	const char *key = "db/setting/clock/lap";
	ASSERT_EQ(VCONF_OK, vconf_set_str(key, "parent"));
	free(vconf_get_str(key));
	pid_t child = fork();
	ASSERT_GE(child, 0);
	if (child == 0) {
		char *mine = vconf_set_str(key, "child") == VCONF_OK ? vconf_get_str(key) : nullptr;
		_exit(mine && std::string(mine) == "child" ? 0 : 1);
	}
	int status = 0;
	ASSERT_EQ(child, waitpid(child, &status, 0));
	ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
	char *seen = vconf_get_str(key);
	EXPECT_STREQ("child", seen);
	free(seen);
}

} // namespace
