#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <glib.h>

#include <app_preference.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostPreference : public HostFixture {};

struct Calls {
	std::vector<std::string> keys;
	static void record(const char *key, void *self) { static_cast<Calls *>(self)->keys.push_back(key); }
};

void writeFile(const std::string &path, const std::string &text)
{
	std::ofstream(path) << text;
}

TEST_F(HostPreference, TypedValuesSurviveANewProcess)
{
	const std::string oddKey = "widget=1 [main] #1";
	const std::string oddText = "  two\nlines\twith \\ and trailing  ";
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", -7));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_double("ratio", 0.1));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_double("third", 1.0 / 3));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_string(oddKey.c_str(), oddText.c_str()));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_boolean(".weatherPackageAvailable", true));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_string("empty", ""));

	EXPECT_EQ(0, zon_host_reset());

	int i = 0;
	double d = 0;
	bool b = false;
	char *s = nullptr;
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int("ZonDBChanged", &i));
	EXPECT_EQ(-7, i);
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_double("ratio", &d));
	EXPECT_EQ(0.1, d);
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_double("third", &d));
	EXPECT_EQ(1.0 / 3, d);
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_boolean(".weatherPackageAvailable", &b));
	EXPECT_TRUE(b);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_get_string(oddKey.c_str(), &s));
	EXPECT_EQ(oddText, s);
	free(s);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_get_string("empty", &s));
	EXPECT_STREQ("", s);
	free(s);

	std::set<std::string> keys;
	preference_foreach_item([](const char *key, void *out) {
		static_cast<std::set<std::string> *>(out)->insert(key);
		return true;
	}, &keys);
	EXPECT_EQ((std::set<std::string>{"ZonDBChanged", "ratio", "third", oddKey, ".weatherPackageAvailable", "empty"}), keys);
	EXPECT_TRUE(g_file_test(rootPath("apps/korvath.zonvista/data/.preference").c_str(), G_FILE_TEST_IS_REGULAR));
}

TEST_F(HostPreference, MissingKeysAndTypeMismatchLeaveTheOutputAlone)
{
	int i = 42;
	char *s = nullptr;
	bool exists = true;
	EXPECT_EQ(PREFERENCE_ERROR_NO_KEY, preference_get_int("nothing", &i));
	EXPECT_EQ(PREFERENCE_ERROR_NO_KEY, preference_remove("nothing"));
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_is_existing("nothing", &exists));
	EXPECT_FALSE(exists);

	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_string("ZonDBStatus", "ZON_DB_STATUS_NONE"));
	EXPECT_EQ(PREFERENCE_ERROR_INVALID_PARAMETER, preference_get_int("ZonDBStatus", &i));
	EXPECT_EQ(42, i);

	// Setting another type replaces the value and its type.
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBStatus", 3));
	EXPECT_EQ(PREFERENCE_ERROR_INVALID_PARAMETER, preference_get_string("ZonDBStatus", &s));
	EXPECT_EQ(nullptr, s);
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int("ZonDBStatus", &i));
	EXPECT_EQ(3, i);

	EXPECT_EQ(PREFERENCE_ERROR_INVALID_PARAMETER, preference_set_int(nullptr, 1));
	EXPECT_EQ(PREFERENCE_ERROR_INVALID_PARAMETER, preference_set_string("k", nullptr));
	EXPECT_EQ(PREFERENCE_ERROR_INVALID_PARAMETER, preference_get_int("ZonDBStatus", nullptr));
}

TEST_F(HostPreference, StoreIsReadOnEveryGetAndACorruptStoreIsNotOverwritten)
{
	char *dir = nullptr;
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 0));
	const std::string store = rootPath("apps/korvath.zonvista/data/.preference");

	// Another process of the application wrote meanwhile.
	writeFile(store, "[int]\nZonDBChanged=1\n[string]\nZonDBStatus=ZON_DB_STATUS_CHANGE\n");
	int i = -1;
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int("ZonDBChanged", &i));
	EXPECT_EQ(1, i);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_get_string("ZonDBStatus", &dir));
	EXPECT_STREQ("ZON_DB_STATUS_CHANGE", dir);
	free(dir);

	writeFile(store, "[int\nZonDBChanged=1\n");
	EXPECT_EQ(PREFERENCE_ERROR_IO_ERROR, preference_get_int("ZonDBChanged", &i));
	EXPECT_EQ(PREFERENCE_ERROR_IO_ERROR, preference_set_int("ZonDBChanged", 5));
	std::ifstream in(store);
	std::string first;
	std::getline(in, first);
	EXPECT_EQ("[int", first);
}

TEST_F(HostPreference, ChangeCallbackFiresOnceOnMainLoop)
{
	Calls calls;
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 0));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("ZonDBChanged", Calls::record, &calls));

	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 1));
	EXPECT_TRUE(calls.keys.empty()) << "delivered inside the setter";
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{"ZonDBChanged"}, calls.keys);

	// The same value again is no change; nothing is queued.
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 1));
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_EQ(1u, calls.keys.size());

	// Each change is one delivery, even before the loop runs; so is a change of type.
	preference_set_int("ZonDBChanged", 0);
	preference_set_int("ZonDBChanged", 1);
	preference_set_string("ZonDBChanged", "1");
	zon_host_pump(100);
	EXPECT_EQ(4u, calls.keys.size());

	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_remove("ZonDBChanged"));
	zon_host_pump(100);
	EXPECT_EQ(5u, calls.keys.size());

	// The registration outlives the key; unsetting it still works.
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_unset_changed_cb("ZonDBChanged"));
	EXPECT_EQ(PREFERENCE_ERROR_NO_KEY, preference_unset_changed_cb("ZonDBChanged"));
}

TEST_F(HostPreference, UnsetCancelsPendingDelivery)
{
	Calls calls;
	preference_set_int("timeout", 0);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("timeout", Calls::record, &calls));
	preference_set_int("timeout", 1);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_unset_changed_cb("timeout"));
	zon_host_pump(100);
	EXPECT_TRUE(calls.keys.empty());

	// A callback that unregisters itself stops the deliveries queued behind it.
	struct SelfUnset {
		int calls = 0;
		static void cb(const char *key, void *self)
		{
			static_cast<SelfUnset *>(self)->calls++;
			EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_unset_changed_cb(key));
		}
	} selfUnset;
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("timeout", SelfUnset::cb, &selfUnset));
	preference_set_int("timeout", 2);
	preference_set_int("timeout", 3);
	zon_host_pump(100);
	EXPECT_EQ(1, selfUnset.calls);
}

TEST_F(HostPreference, CallbacksNeedAnExistingKeyAndOneReplacesTheOther)
{
	Calls first, second;
	EXPECT_EQ(PREFERENCE_ERROR_NO_KEY, preference_set_changed_cb("later", Calls::record, &first));
	EXPECT_EQ(PREFERENCE_ERROR_INVALID_PARAMETER, preference_set_changed_cb("later", nullptr, &first));

	preference_set_int("later", 0);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("later", Calls::record, &first));
	preference_set_int("later", 1);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("later", Calls::record, &second));
	zon_host_pump(100);
	EXPECT_TRUE(first.keys.empty());
	EXPECT_EQ(1u, second.keys.size());
	EXPECT_EQ(1, zon_host_reset()) << "one registration per key";
}

TEST_F(HostPreference, RemoveAllNotifiesAndForeachStops)
{
	Calls calls;
	preference_set_int("a", 1);
	preference_set_int("b", 2);
	preference_set_int("c", 3);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("b", Calls::record, &calls));

	int visited = 0;
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_foreach_item([](const char *, void *n) {
		return ++*static_cast<int *>(n) < 2;
	}, &visited));
	EXPECT_EQ(2, visited);

	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_remove_all());
	bool exists = true;
	preference_is_existing("c", &exists);
	EXPECT_FALSE(exists);
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{"b"}, calls.keys);
	preference_unset_changed_cb("b");
}

TEST_F(HostPreference, EachApplicationHasItsOwnStoreAndCallbacks)
{
	Calls calls;
	preference_set_int("shared", 0);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("shared", Calls::record, &calls));

	zon_host_set_app_id("korvath.zonvista-service");
	bool exists = true;
	preference_is_existing("shared", &exists);
	EXPECT_FALSE(exists);
	preference_set_int("shared", 1);
	zon_host_pump(100);
	EXPECT_TRUE(calls.keys.empty());

	zon_host_set_app_id(nullptr);
	int i = -1;
	preference_get_int("shared", &i);
	EXPECT_EQ(0, i);
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_unset_changed_cb("shared"));
}

} // namespace
