/*
 * theme.cpp - the changeable UI theme: colour and font tables read from the application's
 * files (format in uxt_theme.h), loaded as Eina lists and applied per process.
 *
 * There is no toolkit theme to recolour on the host; "applied" is the state zon_host.h reports
 * (zon_host_theme_color(), zon_host_theme_font()), which is what an application can observe
 * of a device's theme too: the colour or font a code resolves to.
 */
#include "host_internal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include <dlfcn.h>

#include <Eina.h>

#include "dlog.h"
#include "uxt_theme.h"

namespace zonhost {
namespace {

const char kTag[] = "UXT_THEME";

enum class Kind { Color, Font };

struct ColorEntry {
	std::string id;
	int r, g, b, a;
};

struct FontEntry {
	std::string id;
	std::string style;
	int size;
};

struct Table {
	Kind kind;
	std::string path;
};

bool g_changeableUi = false;
int g_style = UXT_THEME_STYLE_DEFAULT;
// Loaded tables by handle; a handle is the head of its list and never changes after loading.
std::map<Eina_List *, Table> g_tables;
Eina_List *g_appliedColor = nullptr;
Eina_List *g_appliedFont = nullptr;

const char *kindName(Kind kind)
{
	return kind == Kind::Color ? "color" : "font";
}

// ---- parsing ----

struct ParseState {
	Kind kind;
	int depth = 0;
	bool rootSeen = false;
	std::set<std::string> ids;
	Eina_List *list = nullptr;
};

// The tables are Eina lists, as the device's service hands them out, but few programs ask for
// one: Eina (and the libraries it pulls in) is loaded at the first request instead of with every
// program that links the host port.
struct Eina {
	decltype(&eina_init) init = nullptr;
	decltype(&eina_list_append) append = nullptr;
	decltype(&eina_list_remove_list) removeList = nullptr;
};

const Eina *eina()
{
	static const Eina *loaded = []() -> const Eina * {
		// The soname of the library's 1.x series; the handle is never closed.
		void *handle = dlopen("libeina.so.1", RTLD_NOW | RTLD_LOCAL);
		if (!handle) {
			platformLog(DLOG_ERROR, "ZON_HOST", "cannot load Eina: %s", dlerror());
			return nullptr;
		}
		static Eina e;
		e.init = reinterpret_cast<decltype(e.init)>(dlsym(handle, "eina_init"));
		e.append = reinterpret_cast<decltype(e.append)>(dlsym(handle, "eina_list_append"));
		e.removeList = reinterpret_cast<decltype(e.removeList)>(dlsym(handle, "eina_list_remove_list"));
		// The service's lists live as long as the process, so its hold on Eina is never released.
		if (!e.init || !e.append || !e.removeList || e.init() <= 0) {
			platformLog(DLOG_ERROR, "ZON_HOST", "cannot initialise Eina");
			return nullptr;
		}
		return &e;
	}();
	return loaded;
}

void freeEntries(Kind kind, Eina_List *list)
{
	while (list) {
		void *data = eina_list_data_get(list);
		list = eina()->removeList(list, list);
		if (kind == Kind::Color)
			delete static_cast<ColorEntry *>(data);
		else
			delete static_cast<FontEntry *>(data);
	}
}

bool parseHex(const char *text, size_t digits, int *out)
{
	int value = 0;
	for (size_t i = 0; i < digits; ++i) {
		int d = g_ascii_xdigit_value(text[i]);
		if (d < 0)
			return false;
		value = value * 16 + d;
	}
	*out = value;
	return true;
}

bool parseRgba(const char *text, ColorEntry *entry)
{
	size_t len = strlen(text);
	if (text[0] != '#' || (len != 7 && len != 9))
		return false;
	entry->a = 0xFF;
	return parseHex(text + 1, 2, &entry->r) && parseHex(text + 3, 2, &entry->g) && parseHex(text + 5, 2, &entry->b) &&
			(len == 7 || parseHex(text + 7, 2, &entry->a));
}

bool parseSize(const char *text, int *size)
{
	if (!*text)
		return false;
	char *end = nullptr;
	errno = 0;
	long value = strtol(text, &end, 10);
	if (*end || errno || value < 1 || value > 999 || !g_ascii_isdigit(text[0]))
		return false;
	*size = (int)value;
	return true;
}

void startElement(GMarkupParseContext *, const gchar *name, const gchar **attrNames, const gchar **attrValues,
		gpointer userData, GError **error)
{
	auto *state = static_cast<ParseState *>(userData);
	const char *rootName = state->kind == Kind::Color ? "color_table" : "font_table";
	const char *entryName = kindName(state->kind);
	int depth = state->depth++;

	if (depth == 0) {
		if (state->rootSeen || strcmp(name, rootName) != 0 || attrNames[0])
			g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT,
					"the document must be one <%s> element", rootName);
		state->rootSeen = true;
		return;
	}
	if (depth > 1 || strcmp(name, entryName) != 0) {
		g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_UNKNOWN_ELEMENT, "unexpected element <%s>", name);
		return;
	}

	if (state->kind == Kind::Color) {
		const char *id = nullptr, *rgba = nullptr;
		if (!g_markup_collect_attributes(name, attrNames, attrValues, error, G_MARKUP_COLLECT_STRING, "id", &id,
					G_MARKUP_COLLECT_STRING, "rgba", &rgba, G_MARKUP_COLLECT_INVALID))
			return;
		auto *entry = new ColorEntry{id, 0, 0, 0, 0};
		if (!*id || !parseRgba(rgba, entry)) {
			g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "bad colour entry id=\"%s\" rgba=\"%s\"",
					id, rgba);
			delete entry;
			return;
		}
		if (!state->ids.insert(entry->id).second) {
			g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "id \"%s\" given twice", id);
			delete entry;
			return;
		}
		state->list = eina()->append(state->list, entry);
	} else {
		const char *id = nullptr, *style = nullptr, *size = nullptr;
		if (!g_markup_collect_attributes(name, attrNames, attrValues, error, G_MARKUP_COLLECT_STRING, "id", &id,
					G_MARKUP_COLLECT_STRING, "style", &style, G_MARKUP_COLLECT_STRING, "size", &size,
					G_MARKUP_COLLECT_INVALID))
			return;
		auto *entry = new FontEntry{id, style, 0};
		if (!*id || !*style || !parseSize(size, &entry->size)) {
			g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT,
					"bad font entry id=\"%s\" style=\"%s\" size=\"%s\"", id, style, size);
			delete entry;
			return;
		}
		if (!state->ids.insert(entry->id).second) {
			g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "id \"%s\" given twice", id);
			delete entry;
			return;
		}
		state->list = eina()->append(state->list, entry);
	}
}

void endElement(GMarkupParseContext *, const gchar *, gpointer userData, GError **)
{
	static_cast<ParseState *>(userData)->depth--;
}

void text(GMarkupParseContext *, const gchar *text, gsize length, gpointer, GError **error)
{
	for (gsize i = 0; i < length; ++i) {
		if (!g_ascii_isspace(text[i])) {
			g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "text outside of the entries");
			return;
		}
	}
}

// Loads a table; NULL with get_last_result() set when the file is not one.
Eina_List *loadTable(Kind kind, const char *path)
{
	if (!path || !*path) {
		platformLog(DLOG_ERROR, kTag, "file path is empty");
		set_last_result(UXT_THEME_ERROR_INVALID_PARAMETER);
		return nullptr;
	}
	gchar *contents = nullptr;
	gsize length = 0;
	GError *error = nullptr;
	if (!g_file_get_contents(path, &contents, &length, &error)) {
		bool missing = g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT) ||
				g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOTDIR) ||
				g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_ISDIR);
		platformLog(DLOG_ERROR, kTag, "cannot read %s table %s: %s", kindName(kind), path, error->message);
		g_clear_error(&error);
		set_last_result(missing ? UXT_THEME_ERROR_INVALID_PARAMETER : UXT_THEME_ERROR_IO_ERROR);
		return nullptr;
	}

	if (!eina()) {
		g_free(contents);
		set_last_result(UXT_THEME_ERROR_OUT_OF_MEMORY);
		return nullptr;
	}

	ParseState state;
	state.kind = kind;
	GMarkupParser parser = {startElement, endElement, text, nullptr, nullptr};
	GMarkupParseContext *context = g_markup_parse_context_new(&parser, G_MARKUP_PREFIX_ERROR_POSITION, &state, nullptr);
	bool ok = g_markup_parse_context_parse(context, contents, (gssize)length, &error) &&
			g_markup_parse_context_end_parse(context, &error);
	g_markup_parse_context_free(context);
	g_free(contents);

	if (ok && !state.list) {
		// The handle is the list itself: an empty table could not be told from a failure.
		g_set_error(&error, G_MARKUP_ERROR, G_MARKUP_ERROR_EMPTY, "the table has no entry");
		ok = false;
	}
	if (!ok) {
		platformLog(DLOG_ERROR, kTag, "malformed %s table %s: %s", kindName(kind), path, error->message);
		g_clear_error(&error);
		freeEntries(kind, state.list);
		set_last_result(UXT_THEME_ERROR_INVALID_PARAMETER);
		return nullptr;
	}
	g_tables[state.list] = Table{kind, path};
	set_last_result(UXT_THEME_ERROR_NONE);
	return state.list;
}

bool knownTable(Eina_List *list, Kind kind)
{
	auto it = g_tables.find(list);
	return list && it != g_tables.end() && it->second.kind == kind;
}

int applyTable(Kind kind, Eina_List *list)
{
	if (!knownTable(list, kind)) {
		platformLog(DLOG_ERROR, kTag, "%s table %p is not loaded", kindName(kind), (void *)list);
		return UXT_THEME_ERROR_INVALID_PARAMETER;
	}
	(kind == Kind::Color ? g_appliedColor : g_appliedFont) = list;
	return UXT_THEME_ERROR_NONE;
}

int deleteTable(Kind kind, Eina_List *list)
{
	if (!knownTable(list, kind)) {
		platformLog(DLOG_ERROR, kTag, "%s table %p is not loaded", kindName(kind), (void *)list);
		return UXT_THEME_ERROR_INVALID_PARAMETER;
	}
	Eina_List *&applied = kind == Kind::Color ? g_appliedColor : g_appliedFont;
	if (applied == list)
		applied = nullptr;
	g_tables.erase(list);
	freeEntries(kind, list);
	return UXT_THEME_ERROR_NONE;
}

} // namespace
} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("uxt_theme_set_changeable_ui_enabled", "uxt_theme_set_style", "uxt_theme_add_color_table",
		"uxt_theme_set_color_table", "uxt_theme_delete_color_table", "uxt_theme_add_font_table",
		"uxt_theme_set_font_table", "uxt_theme_delete_font_table");

ZON_HOST_API int uxt_theme_set_changeable_ui_enabled(bool enabled)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	g_changeableUi = enabled;
	return UXT_THEME_ERROR_NONE;
}

ZON_HOST_API int uxt_theme_set_style(int style)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (style < 0)
		return UXT_THEME_ERROR_INVALID_PARAMETER;
	g_style = style;
	return UXT_THEME_ERROR_NONE;
}

ZON_HOST_API Eina_List *uxt_theme_add_color_table(const char *file_path)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return loadTable(Kind::Color, file_path);
}

ZON_HOST_API int uxt_theme_set_color_table(Eina_List *color_table)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return applyTable(Kind::Color, color_table);
}

ZON_HOST_API int uxt_theme_delete_color_table(Eina_List *color_table)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return deleteTable(Kind::Color, color_table);
}

ZON_HOST_API Eina_List *uxt_theme_add_font_table(const char *file_path)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return loadTable(Kind::Font, file_path);
}

ZON_HOST_API int uxt_theme_set_font_table(Eina_List *font_table)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return applyTable(Kind::Font, font_table);
}

ZON_HOST_API int uxt_theme_delete_font_table(Eina_List *font_table)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return deleteTable(Kind::Font, font_table);
}

// ---- control API ----

ZON_HOST_API bool zon_host_theme_changeable_ui_enabled(void)
{
	return g_changeableUi;
}

ZON_HOST_API int zon_host_theme_style(void)
{
	return g_style;
}

ZON_HOST_API int zon_host_theme_table_count(void)
{
	return (int)g_tables.size();
}

ZON_HOST_API const char *zon_host_theme_applied_path(bool font)
{
	auto it = g_tables.find(font ? g_appliedFont : g_appliedColor);
	return it != g_tables.end() ? it->second.path.c_str() : nullptr;
}

ZON_HOST_API bool zon_host_theme_color(const char *id, int *r, int *g, int *b, int *a)
{
	if (!id || !g_appliedColor)
		return false;
	Eina_List *node;
	void *data;
	EINA_LIST_FOREACH(g_appliedColor, node, data) {
		auto *entry = static_cast<ColorEntry *>(data);
		if (entry->id == id) {
			if (r) *r = entry->r;
			if (g) *g = entry->g;
			if (b) *b = entry->b;
			if (a) *a = entry->a;
			return true;
		}
	}
	return false;
}

ZON_HOST_API bool zon_host_theme_font(const char *id, const char **style, int *size)
{
	if (!id || !g_appliedFont)
		return false;
	Eina_List *node;
	void *data;
	EINA_LIST_FOREACH(g_appliedFont, node, data) {
		auto *entry = static_cast<FontEntry *>(data);
		if (entry->id == id) {
			if (style) *style = entry->style.c_str();
			if (size) *size = entry->size;
			return true;
		}
	}
	return false;
}
