#include <string>
#include <vector>

#include <bundle.h>

#include "HostFixture.h"

namespace {

class HostBundle : public HostFixture {};

// The weather reply is read this way: a string's size counts its NUL, and the iterator may
// delete what it is shown.
TEST_F(HostBundle, ForeachSizesCountTheNulAndTheIteratorMayDelete)
{
	bundle *b = bundle_create();
	EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_add_str(b, "result", "0"));
	EXPECT_EQ(BUNDLE_ERROR_KEY_EXISTS, bundle_add_str(b, "result", "1"));
	bundle_add_str(b, "empty", "");
	struct Ctx {
		bundle *b;
		std::vector<std::string> seen;
	} ctx{b, {}};
	bundle_foreach(b, [](const char *key, const int, const bundle_keyval_t *kv, void *p) {
		auto *c = static_cast<Ctx *>(p);
		EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_del(c->b, key));
		void *val = nullptr;
		size_t size = 0;
		ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_keyval_get_basic_val(const_cast<bundle_keyval_t *>(kv), &val, &size));
		c->seen.push_back(std::string(key) + "=" + std::string(static_cast<char *>(val), size));
	}, &ctx);
	EXPECT_EQ((std::vector<std::string>{std::string("result=0\0", 9), std::string("empty=\0", 7)}), ctx.seen);
	EXPECT_EQ(0, bundle_get_count(b));
	bundle_free(b);
}

} // namespace
