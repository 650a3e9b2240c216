/*
 * JsonOnDemand.cpp - the JSON-GLib functions zonclock calls, each opening the library on its
 * first call. zonclock does not link JSON-GLib: loading it, with GObject, GIO and the system
 * libraries GIO brings, would cost every run more than a clock view's own work, and only
 * --format json, backup and restore need it. zon-common does the same for its own calls, out of
 * sight (its copies are internal to the library); the two find the same library in a process.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include <json-glib/json-glib.h>

namespace {

const char kJsonGlib[] = "libjson-glib-1.0.so.0";

void* symbol(const char* name)
{
	static void* library = dlopen(kJsonGlib, RTLD_NOW | RTLD_LOCAL);
	void* found = library ? dlsym(library, name) : nullptr;
	if (!found) {
		// A package installed without its dependency: the loader would have refused to start us.
		const char* why = dlerror();
		fprintf(stderr, "zonclock: cannot use %s: %s\n", kJsonGlib, why ? why : name);
		exit(1);
	}
	return found;
}

}

// Definitions that must match JSON-GLib's declarations (included above): a changed prototype
// fails to compile instead of calling with the wrong arguments.
#define ZONCLOCK_JSON(Result, name, params, args) \
	extern "C" Result name params \
	{ \
		static Result(*real) params = reinterpret_cast<Result(*) params>(symbol(#name)); \
		return real args; \
	}

ZONCLOCK_JSON(void, g_object_unref, (gpointer object), (object))
ZONCLOCK_JSON(JsonParser*, json_parser_new, (void), ())
ZONCLOCK_JSON(gboolean, json_parser_load_from_data,
	(JsonParser* parser, const gchar* data, gssize length, GError** error), (parser, data, length, error))
ZONCLOCK_JSON(JsonNode*, json_parser_get_root, (JsonParser* parser), (parser))
ZONCLOCK_JSON(JsonNodeType, json_node_get_node_type, (JsonNode* node), (node))
ZONCLOCK_JSON(GType, json_node_get_value_type, (JsonNode* node), (node))
ZONCLOCK_JSON(JsonObject*, json_node_get_object, (JsonNode* node), (node))
ZONCLOCK_JSON(const gchar*, json_node_get_string, (JsonNode* node), (node))
ZONCLOCK_JSON(gint64, json_node_get_int, (JsonNode* node), (node))
ZONCLOCK_JSON(gdouble, json_node_get_double, (JsonNode* node), (node))
ZONCLOCK_JSON(gboolean, json_node_get_boolean, (JsonNode* node), (node))
ZONCLOCK_JSON(void, json_node_unref, (JsonNode* node), (node))
ZONCLOCK_JSON(JsonNode*, json_object_get_member, (JsonObject* object, const gchar* name), (object, name))
ZONCLOCK_JSON(JsonBuilder*, json_builder_new, (void), ())
ZONCLOCK_JSON(JsonNode*, json_builder_get_root, (JsonBuilder* builder), (builder))
ZONCLOCK_JSON(JsonBuilder*, json_builder_begin_object, (JsonBuilder* builder), (builder))
ZONCLOCK_JSON(JsonBuilder*, json_builder_end_object, (JsonBuilder* builder), (builder))
ZONCLOCK_JSON(JsonBuilder*, json_builder_begin_array, (JsonBuilder* builder), (builder))
ZONCLOCK_JSON(JsonBuilder*, json_builder_end_array, (JsonBuilder* builder), (builder))
ZONCLOCK_JSON(JsonBuilder*, json_builder_set_member_name, (JsonBuilder* builder, const gchar* name), (builder, name))
ZONCLOCK_JSON(JsonBuilder*, json_builder_add_string_value, (JsonBuilder* builder, const gchar* value),
	(builder, value))
ZONCLOCK_JSON(JsonBuilder*, json_builder_add_int_value, (JsonBuilder* builder, gint64 value), (builder, value))
ZONCLOCK_JSON(JsonBuilder*, json_builder_add_boolean_value, (JsonBuilder* builder, gboolean value), (builder, value))
ZONCLOCK_JSON(JsonBuilder*, json_builder_add_null_value, (JsonBuilder* builder), (builder))
ZONCLOCK_JSON(JsonGenerator*, json_generator_new, (void), ())
ZONCLOCK_JSON(void, json_generator_set_root, (JsonGenerator* generator, JsonNode* node), (generator, node))
ZONCLOCK_JSON(void, json_generator_set_pretty, (JsonGenerator* generator, gboolean pretty), (generator, pretty))
ZONCLOCK_JSON(gchar*, json_generator_to_data, (JsonGenerator* generator, gsize* length), (generator, length))

#undef ZONCLOCK_JSON
