#define LOG_TAG "WAPP"

#include "ZonJsonGlib.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <json-glib/json-glib.h>

#include "ZonCommonDefine.h"

namespace {

// The library's soname, as the device and Debian ship it.
const char kJsonGlib[] = "libjson-glib-1.0.so.0";

void* library()
{
	static void* handle = [] {
		void* opened = dlopen(kJsonGlib, RTLD_NOW | RTLD_LOCAL);
		if (!opened) {
			const char* why = dlerror();
			WERROR("cannot load %s: %s", kJsonGlib, why ? why : "unknown error");
			abort();
		}
		return opened;
	}();
	return handle;
}

}

void* ZonJsonGlib::symbol(const char* name)
{
	void* found = dlsym(library(), name);
	if (!found) {
		const char* why = dlerror();
		WERROR("%s has no %s: %s", kJsonGlib, name, why ? why : "unknown error");
		abort();
	}
	return found;
}

// Each forwarder looks the real function up on its first call. The definitions must match
// JSON-GLib's declarations (included above), so a changed prototype fails to compile.
#define ZON_FORWARD(Result, name, params, args) \
	extern "C" Result name params \
	{ \
		static Result(*real) params = reinterpret_cast<Result(*) params>(ZonJsonGlib::symbol(#name)); \
		return real args; \
	}

ZON_FORWARD(void, g_object_unref, (gpointer object), (object))

ZON_FORWARD(JsonArray*, json_array_new, (void), ())
ZON_FORWARD(guint, json_array_get_length, (JsonArray* array), (array))
ZON_FORWARD(JsonObject*, json_array_get_object_element, (JsonArray* array, guint index), (array, index))
ZON_FORWARD(void, json_array_add_object_element, (JsonArray* array, JsonObject* value), (array, value))

ZON_FORWARD(JsonNode*, json_node_new, (JsonNodeType type), (type))
ZON_FORWARD(JsonNode*, json_node_ref, (JsonNode* node), (node))
ZON_FORWARD(void, json_node_unref, (JsonNode* node), (node))
ZON_FORWARD(void, json_node_free, (JsonNode* node), (node))
ZON_FORWARD(JsonNodeType, json_node_get_node_type, (JsonNode* node), (node))
ZON_FORWARD(GType, json_node_get_value_type, (JsonNode* node), (node))
ZON_FORWARD(JsonObject*, json_node_get_object, (JsonNode* node), (node))
ZON_FORWARD(void, json_node_set_object, (JsonNode* node, JsonObject* object), (node, object))
ZON_FORWARD(const gchar*, json_node_get_string, (JsonNode* node), (node))
ZON_FORWARD(gint64, json_node_get_int, (JsonNode* node), (node))
ZON_FORWARD(gdouble, json_node_get_double, (JsonNode* node), (node))
ZON_FORWARD(gboolean, json_node_get_boolean, (JsonNode* node), (node))

ZON_FORWARD(JsonObject*, json_object_new, (void), ())
ZON_FORWARD(JsonObject*, json_object_ref, (JsonObject* object), (object))
ZON_FORWARD(void, json_object_unref, (JsonObject* object), (object))
ZON_FORWARD(gboolean, json_object_has_member, (JsonObject* object, const gchar* name), (object, name))
ZON_FORWARD(JsonNode*, json_object_get_member, (JsonObject* object, const gchar* name), (object, name))
ZON_FORWARD(const gchar*, json_object_get_string_member, (JsonObject* object, const gchar* name), (object, name))
ZON_FORWARD(gint64, json_object_get_int_member, (JsonObject* object, const gchar* name), (object, name))
ZON_FORWARD(gboolean, json_object_get_boolean_member, (JsonObject* object, const gchar* name), (object, name))
ZON_FORWARD(JsonObject*, json_object_get_object_member, (JsonObject* object, const gchar* name), (object, name))
ZON_FORWARD(JsonArray*, json_object_get_array_member, (JsonObject* object, const gchar* name), (object, name))
ZON_FORWARD(void, json_object_set_string_member, (JsonObject* object, const gchar* name, const gchar* value),
	(object, name, value))
ZON_FORWARD(void, json_object_set_int_member, (JsonObject* object, const gchar* name, gint64 value),
	(object, name, value))
ZON_FORWARD(void, json_object_set_boolean_member, (JsonObject* object, const gchar* name, gboolean value),
	(object, name, value))
ZON_FORWARD(void, json_object_set_object_member, (JsonObject* object, const gchar* name, JsonObject* value),
	(object, name, value))
ZON_FORWARD(void, json_object_set_array_member, (JsonObject* object, const gchar* name, JsonArray* value),
	(object, name, value))
ZON_FORWARD(void, json_object_remove_member, (JsonObject* object, const gchar* name), (object, name))

ZON_FORWARD(JsonParser*, json_parser_new, (void), ())
ZON_FORWARD(gboolean, json_parser_load_from_data,
	(JsonParser* parser, const gchar* data, gssize length, GError** error), (parser, data, length, error))
ZON_FORWARD(JsonNode*, json_parser_get_root, (JsonParser* parser), (parser))

ZON_FORWARD(JsonGenerator*, json_generator_new, (void), ())
ZON_FORWARD(void, json_generator_set_root, (JsonGenerator* generator, JsonNode* node), (generator, node))
ZON_FORWARD(void, json_generator_set_pretty, (JsonGenerator* generator, gboolean pretty), (generator, pretty))
ZON_FORWARD(gchar*, json_generator_to_data, (JsonGenerator* generator, gsize* length), (generator, length))

ZON_FORWARD(JsonBuilder*, json_builder_new, (void), ())
ZON_FORWARD(JsonNode*, json_builder_get_root, (JsonBuilder* builder), (builder))
ZON_FORWARD(JsonBuilder*, json_builder_begin_object, (JsonBuilder* builder), (builder))
ZON_FORWARD(JsonBuilder*, json_builder_end_object, (JsonBuilder* builder), (builder))
ZON_FORWARD(JsonBuilder*, json_builder_begin_array, (JsonBuilder* builder), (builder))
ZON_FORWARD(JsonBuilder*, json_builder_end_array, (JsonBuilder* builder), (builder))
ZON_FORWARD(JsonBuilder*, json_builder_set_member_name, (JsonBuilder* builder, const gchar* name), (builder, name))
ZON_FORWARD(JsonBuilder*, json_builder_add_string_value, (JsonBuilder* builder, const gchar* value), (builder, value))
ZON_FORWARD(JsonBuilder*, json_builder_add_int_value, (JsonBuilder* builder, gint64 value), (builder, value))
ZON_FORWARD(JsonBuilder*, json_builder_add_boolean_value, (JsonBuilder* builder, gboolean value), (builder, value))
ZON_FORWARD(JsonBuilder*, json_builder_add_null_value, (JsonBuilder* builder), (builder))

#undef ZON_FORWARD
