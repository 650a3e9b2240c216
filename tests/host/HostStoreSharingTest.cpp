#include <sys/stat.h>

#include <fstream>
#include <string>

#include <app_preference.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostStoreSharing : public HostFixture {
protected:
	static int intOf(const char *key)
	{
		int value = -1;
		EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int(key, &value)) << key;
		return value;
	}
	static std::string textOf(const char *key)
	{
		char *value = nullptr;
		return preference_get_string(key, &value) == PREFERENCE_ERROR_NONE ? takeText(value) : "(none)";
	}
	// What this process, then a new one, reads back.
	void expectNowAndAfterReset(int a, const char *b, int c)
	{
		for (int pass = 0; pass < 2; ++pass, zon_host_reset()) {
			EXPECT_EQ(a, intOf("a"));
			EXPECT_EQ(b, textOf("b"));
			EXPECT_EQ(c, intOf("c"));
		}
	}
};

TEST_F(HostStoreSharing, AnotherProcessSeesChangesAndNoneIsLost)
{
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("a", 1));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_string("s", " padded text "));
	inChild([] {
		zon_host_reset();
		return preference_set_int("a", 2) == PREFERENCE_ERROR_NONE &&
				preference_set_string("b", "from the widget") == PREFERENCE_ERROR_NONE &&
				preference_remove("s") == PREFERENCE_ERROR_NONE;
	});
	// Seen by the next read, and kept under this process's own next change.
	EXPECT_EQ("(none)", textOf("s"));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("c", 3));
	expectNowAndAfterReset(2, "from the widget", 3);

	// What a crash in the middle of an append leaves: a line without its end, or with a wrong sum.
	const std::string journal = rootPath("apps/korvath.zonvista/data/.preference.journal");
	std::ofstream(journal, std::ios::app) << "00000000 set int a 7\n0badf00d set int a";
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("c", 4));
	expectNowAndAfterReset(2, "from the widget", 4);

	// A busy key: the journal is folded into the file now and then, never growing without end.
	for (int i = 0; i < 600; ++i)
		ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", i));
	struct stat st;
	ASSERT_EQ(0, stat(journal.c_str(), &st));
	EXPECT_LT(st.st_size, 16 * 1024);
	zon_host_reset();
	EXPECT_EQ(599, intOf("ZonDBChanged"));
	expectNowAndAfterReset(2, "from the widget", 4);
}

} // namespace
