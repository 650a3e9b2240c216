#include <sys/stat.h>

#include <fstream>

#include <app_preference.h>

#include "HostFixture.h"

namespace {

class HostPreference : public HostFixture {
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

void record(const char *key, void *keys) { static_cast<std::vector<std::string> *>(keys)->push_back(key); }

TEST_F(HostPreference, ValuesSurviveANewProcessAndMismatchesLeaveTheOutputAlone)
{
	// Key and text that a naive key-file writer would mangle.
	const std::string oddKey = "widget=1 [main] #1";
	const std::string oddText = "  two\nlines\twith \\ and trailing  ";
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_string(oddKey.c_str(), oddText.c_str()));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", -7));
	EXPECT_EQ(0, zon_host_reset());
	EXPECT_EQ(oddText, textOf(oddKey.c_str()));

	int i = 42;
	EXPECT_EQ(PREFERENCE_ERROR_INVALID_PARAMETER, preference_get_int(oddKey.c_str(), &i));
	EXPECT_EQ(42, i);

	// Another process of the application may write meanwhile; a corrupt store is not overwritten.
	const std::string store = rootPath("apps/korvath.zonvista/data/.preference");
	std::ofstream(store) << "[int]\nZonDBChanged=1\n";
	EXPECT_EQ(1, intOf("ZonDBChanged"));
	std::ofstream(store) << "[int\nZonDBChanged=1\n";
	EXPECT_EQ(PREFERENCE_ERROR_IO_ERROR, preference_set_int("ZonDBChanged", 5));
	std::string first;
	EXPECT_EQ("[int", std::getline(std::ifstream(store), first) ? first : "(unreadable)");
}

TEST_F(HostPreference, ChangesAreNotifiedOncePerChangeAndAnotherProcessLosesNone)
{
	std::vector<std::string> calls;
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 0));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("ZonDBChanged", record, &calls));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 1));
	EXPECT_TRUE(calls.empty()) << "delivered inside the setter";
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{"ZonDBChanged"}, calls);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 1));
	EXPECT_EQ(0, zon_host_pump(100)) << "the same value again is no change";

	// Each change is one delivery, even before the loop runs; so are a change of type and removal.
	preference_set_int("ZonDBChanged", 0);
	preference_set_string("ZonDBChanged", "0");
	preference_remove("ZonDBChanged");
	zon_host_pump(100);
	EXPECT_EQ(4u, calls.size());

	// Unsetting cancels what is queued; the registration outlived the key.
	preference_set_int("ZonDBChanged", 2);
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_unset_changed_cb("ZonDBChanged"));
	zon_host_pump(100);
	EXPECT_EQ(4u, calls.size());

	// So does a callback that unsets itself: the changes queued behind it are dropped.
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("ZonDBChanged", [](const char *key, void *self) {
		record(key, self);
		EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_unset_changed_cb(key));
	}, &calls));
	preference_set_int("ZonDBChanged", 3);
	preference_set_int("ZonDBChanged", 4);
	zon_host_pump(100);
	EXPECT_EQ(5u, calls.size());

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
