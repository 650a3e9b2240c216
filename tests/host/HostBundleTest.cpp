#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <bundle.h>

#include "HostFixture.h"

namespace {

class HostBundle : public HostFixture {};

TEST_F(HostBundle, StringsKeepTheirFirstValueAndMissesLeaveTheOutputAlone)
{
	bundle *b = bundle_create();
	ASSERT_NE(nullptr, b);
	EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_add_str(b, "lat", "52.507542"));
	EXPECT_EQ(BUNDLE_ERROR_KEY_EXISTS, bundle_add_str(b, "lat", "0.0"));
	EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_add_str(b, "", "x"));
	EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_add_str(b, "k", nullptr));

	char *value = nullptr;
	EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_get_str(b, "lat", &value));
	EXPECT_STREQ("52.507542", value);
	char *untouched = const_cast<char *>("sentinel");
	EXPECT_EQ(BUNDLE_ERROR_KEY_NOT_AVAILABLE, bundle_get_str(b, "LAT", &untouched)) << "keys are case-sensitive";
	EXPECT_STREQ("sentinel", untouched);

	const char *items[] = {"a", nullptr, "c"};
	ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_add_str_array(b, "list", items, 3));
	EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_get_str(b, "list", &untouched)) << "another type";
	EXPECT_EQ(nullptr, bundle_get_val(b, "list"));
	EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, get_last_result());
	int len = 0;
	const char **array = bundle_get_str_array(b, "list", &len);
	ASSERT_EQ(3, len);
	EXPECT_STREQ("", array[1]) << "a NULL element is stored as an empty string";
	EXPECT_EQ(BUNDLE_TYPE_STR_ARRAY, bundle_get_type(b, "list"));
	EXPECT_EQ(BUNDLE_TYPE_NONE, bundle_get_type(b, "none"));
	EXPECT_EQ(BUNDLE_ERROR_KEY_NOT_AVAILABLE, get_last_result());

	// Replacing a value takes a delete first.
	EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_del(b, "lat"));
	EXPECT_EQ(BUNDLE_ERROR_KEY_NOT_AVAILABLE, bundle_del(b, "lat"));
	EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_add(b, "lat", "-0.25"));
	EXPECT_STREQ("-0.25", bundle_get_val(b, "lat"));
	EXPECT_EQ(2, bundle_get_count(b));
	EXPECT_EQ(0, bundle_get_count(nullptr));
	EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_free(b));
}

struct Seen {
	std::string key;
	int type;
	std::string value;
	size_t size;
};

void collect(const char *key, const int type, const bundle_keyval_t *kv, void *out)
{
	auto *seen = static_cast<std::vector<Seen> *>(out);
	auto *entry = const_cast<bundle_keyval_t *>(kv);
	EXPECT_EQ(type, bundle_keyval_get_type(entry));
	void *val = nullptr;
	size_t size = 0;
	if (bundle_keyval_type_is_array(entry)) {
		void **items = nullptr;
		unsigned int n = 0;
		size_t *sizes = nullptr;
		EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, bundle_keyval_get_basic_val(entry, &val, &size));
		ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_keyval_get_array_val(entry, &items, &n, &sizes));
		std::string joined;
		for (unsigned i = 0; i < n; ++i)
			joined += std::string(static_cast<char *>(items[i]), sizes[i] - 1) + ";";
		seen->push_back({key, type, joined, n});
		return;
	}
	ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_keyval_get_basic_val(entry, &val, &size));
	seen->push_back({key, type, std::string(static_cast<char *>(val), size), size});
}

TEST_F(HostBundle, ForeachShowsEveryTypeInInsertionOrder)
{
	bundle *b = bundle_create();
	const char bytes[] = {'x', '\0', 'y'};
	const char *items[] = {"one", "two"};
	bundle_add_str(b, "result", "0");
	bundle_add_byte(b, "raw", bytes, sizeof bytes);
	bundle_add_str_array(b, "names", items, 2);
	bundle_add_str(b, "empty", "");

	std::vector<Seen> seen;
	bundle_foreach(b, collect, &seen);
	ASSERT_EQ(4u, seen.size());
	EXPECT_EQ("result", seen[0].key);
	EXPECT_EQ(BUNDLE_TYPE_STR, seen[0].type);
	EXPECT_EQ(std::string("0\0", 2), seen[0].value) << "a string's size counts its NUL";
	EXPECT_EQ(BUNDLE_TYPE_BYTE, seen[1].type);
	EXPECT_EQ(std::string(bytes, 3), seen[1].value);
	EXPECT_EQ(BUNDLE_TYPE_STR_ARRAY, seen[2].type);
	EXPECT_EQ("one;two;", seen[2].value);
	EXPECT_EQ(1u, seen[3].size);

	// An iterator may delete entries, the one it is shown included.
	int visited = 0;
	struct Ctx { bundle *b; int *visited; } ctx{b, &visited};
	bundle_foreach(b, [](const char *key, const int type, const bundle_keyval_t *kv, void *p) {
		auto *c = static_cast<Ctx *>(p);
		++*c->visited;
		EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_del(c->b, key));
		EXPECT_EQ(type, bundle_keyval_get_type(const_cast<bundle_keyval_t *>(kv))) << "still readable";
	}, &ctx);
	EXPECT_EQ(4, visited);
	EXPECT_EQ(0, bundle_get_count(b));
	bundle_free(b);
}

TEST_F(HostBundle, CopiesAndEncodingsOwnTheirData)
{
	bundle *b = bundle_create();
	const char *items[] = {"Seoul", "Zurich"};
	const unsigned char bytes[] = {0, 255, 10};
	bundle_add_str(b, "lon", "13.426142");
	bundle_add_str_array(b, "cities", items, 2);
	bundle_add_byte(b, "raw", bytes, sizeof bytes);

	bundle *copy = bundle_dup(b);
	bundle_raw *raw = nullptr;
	int len = 0;
	ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_encode(b, &raw, &len));
	bundle_free(b);

	for (bundle *x : {copy, bundle_decode(raw, len)}) {
		ASSERT_NE(nullptr, x);
		EXPECT_STREQ("13.426142", bundle_get_val(x, "lon"));
		int n = 0;
		const char **array = bundle_get_str_array(x, "cities", &n);
		ASSERT_EQ(2, n);
		EXPECT_STREQ("Zurich", array[1]);
		void *got = nullptr;
		size_t size = 0;
		ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_get_byte(x, "raw", &got, &size));
		EXPECT_EQ(0, memcmp(bytes, got, sizeof bytes));
		EXPECT_EQ(sizeof bytes, size);
		bundle_free(x);
	}

	// Cut short or not base64 at all: refused, not half-read.
	EXPECT_EQ(nullptr, bundle_decode(raw, len - 4));
	EXPECT_EQ(BUNDLE_ERROR_INVALID_PARAMETER, get_last_result());
	const char junk[] = "not a bundle!";
	EXPECT_EQ(nullptr, bundle_decode(reinterpret_cast<const bundle_raw *>(junk), (int)strlen(junk)));
	EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_free_encoded_rawdata(&raw));
	EXPECT_EQ(nullptr, raw);
}

} // namespace
