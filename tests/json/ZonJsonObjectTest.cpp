// The object wrapper and the builder: what callers get back for absent and mistyped members, the
// 64-bit conversions, shared members, the text written, and the lifetime rules (JSON-GLib's own
// warnings and ASan watch the references).
#include <climits>
#include <iterator>
#include <list>
#include <string>

#include <json-glib/json-glib.h>

#include "JsonFixture.h"
#include "ZonJsonBuilder.h"
#include "ZonJsonObject.h"

namespace {

ZonJsonObject wrap(JsonObject* object)
{
	ZonJsonObject wrapper;
	wrapper.setJsonObject(object);
	json_object_unref(object);
	return wrapper;
}

ZonJsonObject fresh() { return wrap(json_object_new()); }

// What an object or a builder writes over a stale text.
template <class Writer> std::string text(Writer& writer)
{
	std::string message = "stale";
	writer.getJsonMessage(message);
	return message;
}

class ZonJsonObjectTest : public JsonFixture {};

TEST_F(ZonJsonObjectTest, AbsentMembersAreNoAnswerEmptyWrappersTakeNoneMembersAndCopiesShare)
{
	ZonJsonObject sentinel = fresh();
	ZonJsonObject empty;
	ZonJsonObject present = fresh();
	present.addIntegerMember("other", 1);
	for (ZonJsonObject* object : {&empty, &present}) {
		EXPECT_FALSE(object->hasMember("missing"));
		EXPECT_EQ("default", fetch(*object, &ZonJsonObject::getStringValue, "missing", "default"));
		EXPECT_EQ(-7, fetch(*object, &ZonJsonObject::getIntegerValue, "missing", -7));
		EXPECT_TRUE(fetch(*object, &ZonJsonObject::getBooleanValue, "missing", true));
		EXPECT_EQ(42u, fetch(*object, &ZonJsonObject::getUnsignedLongLongValue, "missing", 42));
		EXPECT_EQ(sentinel.getJsonObject(),
			fetch(*object, &ZonJsonObject::getObjectValue, "missing", sentinel).getJsonObject());
		std::list<ZonJsonObject> l = fetch(*object, &ZonJsonObject::getArrayObject, "missing", {sentinel});
		EXPECT_TRUE(l.size() == 1 && l.front().getJsonObject() == sentinel.getJsonObject());
	}
	EXPECT_EQ("stale", text(empty)) << "an empty wrapper has nothing to write";
	empty.removeMember("missing");
	EXPECT_EQ(0u, zon_host_log_count());
	EXPECT_DEATH(empty.addStringMember("a", "b"), "_jsonObject != nullptr") << "adding is a programming error";

	// Object and array members are shared, not copied.
	ZonJsonObject parent = fresh();
	ZonJsonObject child = fresh();
	parent.addObjectMember("child", child);
	child.addStringMember("late", "seen");

	std::list<ZonJsonObject> items;
	for (int n = 0; n < 3; ++n) {
		items.push_back(fresh());
		items.back().addIntegerMember("n", n);
	}
	parent.addArrayMember("items", items);
	parent.addArrayMember("none", {});
	items.front().addBooleanMember("late", true);
	EXPECT_EQ(R"({"child":{"late":"seen"},"items":[{"n":0,"late":true},{"n":1},{"n":2}],"none":[]})", text(parent));

	ZonJsonObject readBack = fetch(parent, &ZonJsonObject::getObjectValue, "child");
	EXPECT_EQ(child.getJsonObject(), readBack.getJsonObject());
	std::list<ZonJsonObject> listed(1);
	parent.getArrayObject("items", listed);
	parent.getArrayObject("none", listed);
	ASSERT_EQ(4u, listed.size()) << "appended after what the list held; an empty array adds nothing";
	int n = -1;
	for (auto it = std::next(listed.begin()); it != listed.end(); ++it)
		EXPECT_EQ(++n, fetch(*it, &ZonJsonObject::getIntegerValue, "n", -1));
	listed.back().removeMember("n");
	parent.addStringMember("child", "replaced");

	// Members outlive the parent through the wrappers' references.
	JsonObject* last = listed.back().getJsonObject();
	parent.setJsonObject(nullptr);
	items.clear();
	EXPECT_EQ(0u, json_object_get_size(last));
	EXPECT_EQ(R"({"late":"seen"})", text(readBack));

	// Assignment keeps every object it held.
	JsonObject* firstRaw = nullptr;
	ZonJsonObject second = fresh();
	{
		ZonJsonObject first = fresh();
		first.addStringMember("tag", "first");
		firstRaw = first.getJsonObject();
		ZonJsonObject target;
		ZonJsonObject& alias = target;
		target = first;
		target = second;
		target = alias;
		EXPECT_EQ(second.getJsonObject(), target.getJsonObject());
	}
	// Both wrappers are gone; only the reference the assignment never gave back keeps it alive.
	// Giving it back frees the object: had a second reference leaked, the leak checker would
	// report the object; had none, this release would be one too many and JSON-GLib would warn.
	EXPECT_STREQ("first", json_object_get_string_member(firstRaw, "tag"));
	json_object_unref(firstRaw);
	EXPECT_EQ(0u, json_object_get_size(second.getJsonObject()));

	// setJsonObject() is the non-leaking replacement, and survives being given its own object.
	ZonJsonObject only = fresh();
	only.setJsonObject(only.getJsonObject());
	only.addStringMember("still", "alive");
	EXPECT_EQ(R"({"still":"alive"})", text(only));

	// The builder writes compact text, and its copies share what they build.
	ZonJsonBuilder builder;
	EXPECT_EQ("{}", text(builder));

	builder.addStringMember("name", "a \"quoted\"\nline\t/ü");
	builder.addBooleanMember("on", true);
	builder.addIntegerMember("n", -3);
	builder.addUnsignedLongLongMember("t", 1700000000123ULL);
	builder.addIntegerMember("n", 4);
	ZonJsonBuilder copy(builder);
	copy.addBooleanMember("copy", false);
	ZonJsonBuilder assigned;
	ZonJsonBuilder& alias = assigned;
	assigned = copy;
	assigned = alias;
	EXPECT_EQ(R"({"name":"a \"quoted\"\nline\t/ü","on":true,"n":4,"t":1700000000123,"copy":false})",
		text(builder));
	EXPECT_EQ(text(builder), text(assigned));
}

TEST_F(ZonJsonObjectTest, IntegersAreSixtyFourBitsInsideTruncatedToIntAndMistypedReadsAnswerAsJsonGlib)
{
	JsonObject* raw = json_object_new();
	json_object_set_int_member(raw, "big", (G_GINT64_CONSTANT(1) << 32) + 5);
	ZonJsonObject object = wrap(raw);
	object.addIntegerMember("min", INT_MIN);
	object.addUnsignedLongLongMember("max", ULLONG_MAX);
	object.addUnsignedLongLongMember("high", 1ULL << 63);

	EXPECT_EQ(5, fetch(object, &ZonJsonObject::getIntegerValue, "big"));
	EXPECT_EQ((1ULL << 32) + 5, fetch(object, &ZonJsonObject::getUnsignedLongLongValue, "big"));
	EXPECT_EQ(ULLONG_MAX, fetch(object, &ZonJsonObject::getUnsignedLongLongValue, "max"));
	EXPECT_EQ(-1, fetch(object, &ZonJsonObject::getIntegerValue, "max"));
	EXPECT_EQ(G_MININT64, json_object_get_int_member(raw, "high")) << "a signed reader sees the sign bit";
	EXPECT_EQ(R"({"big":4294967301,"min":-2147483648,"max":-1,"high":-9223372036854775808})", text(object));

	// Mistyped members read as JSON-GLib answers them. It warns once for reading a number as an
	// object, once for reading it as an array.
	expectJsonGlibWarnings(2);
	object.addStringMember("text", "12");
	object.addObjectMember("nothing", ZonJsonObject());
	EXPECT_EQ("", fetch(object, &ZonJsonObject::getStringValue, "min", "default"))
		<< "JSON-GLib's null string must not reach std::string";
	EXPECT_EQ(0, fetch(object, &ZonJsonObject::getIntegerValue, "text", -1));
	EXPECT_EQ(nullptr, fetch(object, &ZonJsonObject::getObjectValue, "min", fresh()).getJsonObject());
	for (const char* name : {"min", "nothing"})
		EXPECT_EQ(2u, fetch(object, &ZonJsonObject::getArrayObject, name, std::list<ZonJsonObject>(2)).size())
			<< name;
	EXPECT_TRUE(zon_host_log_contains("\033[0;31m* Critical * json_object_get_array_member(min) failed.\033[0;m"));
	EXPECT_TRUE(zon_host_log_contains("json_object_get_array_member(nothing) failed."));
}
}
