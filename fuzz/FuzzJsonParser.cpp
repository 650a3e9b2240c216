// Fuzz target of the JSON wrappers. Every input is parsed after a known document, so each run
// checks what callers rely on: JSON-GLib's verdict (and the wrapper's nesting limit) decides
// whether the known answers survive, a refused text never disturbs them, and whatever is accepted
// can be read through every getter and written out, the same way twice.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <list>
#include <string>

#include <json-glib/json-glib.h>

#include "ZonJsonObject.h"
#include "ZonJsonParser.h"

#if defined(__SANITIZE_ADDRESS__)
#define ZON_WITH_LSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZON_WITH_LSAN 1
#endif
#endif
#ifdef ZON_WITH_LSAN
#include <sanitizer/lsan_interface.h>
#endif

namespace {

const char kProbeName[] = "zon-fuzz-probe";
const char kProbeDocument[] = "{\"zon-fuzz-probe\":\"before\"}";
// The wrapper's own limit, see ZonJsonParser.cpp.
const int kMaxNestingDepth = 1000;
const long kMaxReferenceBrackets = 20000;
// How deep readAll() follows members; deeper ones only repeat the same reads.
const int kMaxReadDepth = 16;

// JSON-GLib 1.6 loses part of what it built on some texts (broken surrogate escapes, a second
// top-level value); LeakSanitizer sees that once GLib's slices are plain mallocs
// (G_SLICE=always-malloc). Parsing runs under this, so that those leaks of JSON-GLib's are not
// reported; what the wrappers do with the parsed tree is still leak-checked.
class JsonGlibLeaksIgnored {
public:
	JsonGlibLeaksIgnored()
	{
#ifdef ZON_WITH_LSAN
		__lsan_disable();
#endif
	}
	~JsonGlibLeaksIgnored()
	{
#ifdef ZON_WITH_LSAN
		__lsan_enable();
#endif
	}
};

void check(bool condition, const char* what)
{
	if (!condition) {
		fprintf(stderr, "FuzzJsonParser: %s\n", what);
		abort();
	}
}

// Every getter on every member, whatever its type: mistyped reads are where the wrappers meet
// JSON-GLib's null and zero answers.
void readAll(ZonJsonObject& object, int depth)
{
	if (depth > kMaxReadDepth || !object.getJsonObject())
		return;
	GList* names = json_object_get_members(object.getJsonObject());
	for (GList* it = names; it; it = it->next) {
		std::string name = static_cast<const char*>(it->data);
		check(object.hasMember(name), "a listed member is not found");
		std::string text;
		int integer = 0;
		bool boolean = false;
		unsigned long long wide = 0;
		object.getStringValue(name, text);
		object.getIntegerValue(name, integer);
		object.getBooleanValue(name, boolean);
		object.getUnsignedLongLongValue(name, wide);
		check(integer == static_cast<int>(wide), "int and 64-bit readings disagree");

		ZonJsonObject member;
		object.getObjectValue(name, member);
		readAll(member, depth + 1);
		std::list<ZonJsonObject> elements;
		object.getArrayObject(name, elements);
		for (ZonJsonObject& element : elements)
			readAll(element, depth + 1);
	}
	g_list_free(names);
}

// Levels of arrays and objects in a parsed tree.
int depthOf(JsonNode* node)
{
	int deepest = 0;
	if (JSON_NODE_HOLDS_OBJECT(node)) {
		GList* members = json_object_get_values(json_node_get_object(node));
		for (GList* it = members; it; it = it->next)
			deepest = std::max(deepest, depthOf(static_cast<JsonNode*>(it->data)));
		g_list_free(members);
		return deepest + 1;
	}
	if (JSON_NODE_HOLDS_ARRAY(node)) {
		JsonArray* array = json_node_get_array(node);
		for (guint i = 0; i < json_array_get_length(array); ++i)
			deepest = std::max(deepest, depthOf(json_array_get_element(array, i)));
		return deepest + 1;
	}
	return 0;
}

// What JSON-GLib itself says of the text: accepted or not, how deep, and the probe's value in its
// root.
bool referenceVerdict(const std::string& text, int& depth, std::string& probe)
{
	JsonParser* parser = json_parser_new();
	bool accepted = json_parser_load_from_data(parser, text.data(), static_cast<gssize>(text.size()), nullptr);
	JsonNode* root = json_parser_get_root(parser);
	depth = accepted && root ? depthOf(root) : 0;
	if (accepted && root && JSON_NODE_HOLDS_OBJECT(root)) {
		// A member that is not a string reads as an empty string.
		JsonNode* member = json_object_get_member(json_node_get_object(root), kProbeName);
		if (member) {
			bool isString = JSON_NODE_HOLDS_VALUE(member) && json_node_get_value_type(member) == G_TYPE_STRING;
			probe = isString ? json_node_get_string(member) : "";
		}
	}
	g_object_unref(parser);
	return accepted;
}

void quiet(const gchar*, GLogLevelFlags, const gchar*, gpointer)
{
}

void setUpOnce()
{
	static bool done = false;
	if (done)
		return;
	done = true;
	// Mistyped reads make JSON-GLib warn by design, and every rejected input is logged; neither
	// is news, and both would bury libFuzzer's own output.
	g_log_set_handler("Json", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION),
		quiet, nullptr);
	setenv("ZON_HOST_LOG", "/dev/null", 0);
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	setUpOnce();
	const std::string text(reinterpret_cast<const char*>(data), size);

	// JSON-GLib recurses once per bracket level; past this many brackets asking it directly could
	// overflow the stack (the wrapper refuses such texts itself), so there is no reference.
	const long brackets = std::count(text.begin(), text.end(), '[') + std::count(text.begin(), text.end(), '{');
	const bool judged = brackets <= kMaxReferenceBrackets;
	std::string expected = "untouched";
	bool accepted = false;
	int depth = 0;
	if (judged) {
		JsonGlibLeaksIgnored ignored;
		accepted = referenceVerdict(text, depth, expected);
	}
	const bool refused = !accepted || depth > kMaxNestingDepth;

	ZonJsonParser parser(kProbeDocument);
	{
		JsonGlibLeaksIgnored ignored;
		parser.setJsonMessage(text);
	}
	std::string probe = "untouched";
	parser.getStringValue(kProbeName, probe);
	ZonJsonParser copy(parser);
	int integer = 0;
	bool boolean = false;
	copy.getIntegerValue(kProbeName, integer);
	copy.getBooleanValue(kProbeName, boolean);
	if (!judged)
		return 0;

	if (refused)
		expected = "before";
	check(probe == expected, refused ? "a refused text changed the answers" : "an accepted text answers wrongly");
	if (refused)
		return 0;

	// The parser keeps its root to itself; read the same tree through the object wrapper.
	JsonParser* reference = json_parser_new();
	{
		JsonGlibLeaksIgnored ignored;
		json_parser_load_from_data(reference, text.data(), static_cast<gssize>(text.size()), nullptr);
	}
	JsonNode* root = json_parser_get_root(reference);
	if (root && JSON_NODE_HOLDS_OBJECT(root)) {
		ZonJsonObject object;
		object.setJsonObject(json_node_get_object(root));
		readAll(object, 0);
		std::string first;
		std::string second = "unset";
		object.getJsonMessage(first);
		object.getJsonMessage(second);
		check(!first.empty() && first == second, "serialisation is not stable");
		check(first.find('\n') == std::string::npos, "serialisation is not compact");
	}
	g_object_unref(reference);
	return 0;
}
