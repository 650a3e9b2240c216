// Fuzz target of the JSON wrappers. Every input is parsed after a known document: JSON-GLib's
// verdict (and the wrapper's nesting limit) decides whether the known answer survives, a refused
// text never disturbs it, and whatever is accepted can be read through every getter and written
// out the same way twice.

#include <algorithm>
#include <list>

#include <json-glib/json-glib.h>

#include "FuzzSupport.h"
#include "ZonJsonObject.h"
#include "ZonJsonParser.h"

namespace {

using fuzz::check;

const char kProbe[] = "zon-fuzz-probe";
const int kMaxNestingDepth = 1000;   // the wrapper's own limit, see ZonJsonParser.cpp

// Every getter on every member, whatever its type: mistyped reads are where the wrappers meet
// JSON-GLib's null and zero answers. Deeper than 16 levels only repeats the same reads.
void readAll(ZonJsonObject& object, int depth)
{
	if (depth > 16 || !object.getJsonObject())
		return;
	GList* names = json_object_get_members(object.getJsonObject());
	for (GList* it = names; it; it = it->next) {
		std::string name = static_cast<const char*>(it->data);
		std::string text;
		int integer = 0;
		bool boolean = false;
		unsigned long long wide = 0;
		check(object.hasMember(name), "a listed member is not found");
		object.getStringValue(name, text);
		object.getBooleanValue(name, boolean);
		object.getIntegerValue(name, integer);
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

int depthOf(JsonNode* node)
{
	GList* children = nullptr;
	if (JSON_NODE_HOLDS_OBJECT(node))
		children = json_object_get_values(json_node_get_object(node));
	else if (JSON_NODE_HOLDS_ARRAY(node))
		children = json_array_get_elements(json_node_get_array(node));
	else
		return 0;
	int deepest = 0;
	for (GList* it = children; it; it = it->next)
		deepest = std::max(deepest, depthOf(static_cast<JsonNode*>(it->data)));
	g_list_free(children);
	return deepest + 1;
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	// Mistyped reads make JSON-GLib warn by design, and rejected inputs are logged.
	[[maybe_unused]] static const guint quiet = g_log_set_handler("Json",
		static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION),
		[](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
	setenv("ZON_HOST_LOG", "/dev/null", 0);
	const std::string text(reinterpret_cast<const char*>(data), size);

	ZonJsonParser parser("{\"zon-fuzz-probe\":\"before\"}");
	fuzz::withoutLeakChecks([&] { parser.setJsonMessage(text); });
	std::string probe = "untouched";
	parser.getStringValue(kProbe, probe);
	ZonJsonParser copy(parser);
	int integer = 0;
	copy.getIntegerValue(kProbe, integer);

	// JSON-GLib recurses once per bracket level; past this many brackets asking it directly could
	// overflow the stack (the wrapper refuses such texts itself), so there is no reference.
	if (std::count(text.begin(), text.end(), '[') + std::count(text.begin(), text.end(), '{') > 20000)
		return 0;
	JsonParser* reference = json_parser_new();
	bool accepted = false;
	fuzz::withoutLeakChecks([&] {
		accepted = json_parser_load_from_data(reference, text.data(), static_cast<gssize>(text.size()), nullptr);
	});
	JsonNode* root = json_parser_get_root(reference);
	if (!accepted || (root && depthOf(root) > kMaxNestingDepth)) {
		check(probe == "before", "a refused text changed the answers");
	} else if (root && JSON_NODE_HOLDS_OBJECT(root)) {
		// A member that is not a string reads as an empty string; no member leaves the output alone.
		JsonNode* member = json_object_get_member(json_node_get_object(root), kProbe);
		bool isString = member && JSON_NODE_HOLDS_VALUE(member) && json_node_get_value_type(member) == G_TYPE_STRING;
		check(probe == (!member ? "untouched" : isString ? json_node_get_string(member) : ""),
			"an accepted text answers wrongly");

		ZonJsonObject object;
		object.setJsonObject(json_node_get_object(root));
		readAll(object, 0);
		std::string first;
		std::string second = "unset";
		object.getJsonMessage(first);
		object.getJsonMessage(second);
		check(!first.empty() && first == second, "serialisation is not stable");
		check(first.find('\n') == std::string::npos, "serialisation is not compact");
	} else {
		check(probe == "untouched", "an accepted text answers wrongly");
	}
	g_object_unref(reference);
	return 0;
}
