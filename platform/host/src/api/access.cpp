/*
 * access.cpp - the watch toolkit's accessibility calls (declared in the host's Elementary.h)
 * and the simulated screen reader of zon_host.h.
 *
 * Properties upstream knows (names, descriptions, translation domains, roles, reading types,
 * relations) live in upstream's accessibility properties; what only the watch has (name and
 * description functions, gestures, can-highlight, part access objects, the highlight) lives
 * here, per object, until the object is deleted.
 */
#define EFL_BETA_API_SUPPORT 1
// The reading type, relations and role names are "protected" upstream: for the object's own
// implementation. The host is that implementation.
#define EFL_ACCESS_OBJECT_PROTECTED 1

#include "host_internal.h"

#include <cstdlib>
#include <map>
#include <string>
#include <unordered_map>

#include "dlog.h"
#include "toolkit_internal.h"
#include "vconf-keys.h"
#include "vconf.h"

static_assert((int)ELM_ATSPI_RELATION_FLOWS_TO == (int)EFL_ACCESS_RELATION_TYPE_FLOWS_TO
		&& (int)ELM_ATSPI_RELATION_FLOWS_FROM == (int)EFL_ACCESS_RELATION_TYPE_FLOWS_FROM
		&& (int)ELM_ATSPI_RELATION_LAST_DEFINED == (int)EFL_ACCESS_RELATION_TYPE_LAST_DEFINED,
		"relations are upstream's");
static_assert((int)ELM_ATSPI_ROLE_PUSH_BUTTON == (int)EFL_ACCESS_ROLE_PUSH_BUTTON
		&& (int)ELM_ATSPI_ROLE_LAST_DEFINED == (int)EFL_ACCESS_ROLE_LAST_DEFINED,
		"roles are upstream's");
static_assert((int)ELM_ACCESSIBLE_READING_INFO_TYPE_NAME == (int)EFL_ACCESS_READING_INFO_TYPE_NAME
		&& (int)ELM_ACCESSIBLE_READING_INFO_TYPE_ROLE == (int)EFL_ACCESS_READING_INFO_TYPE_ROLE
		&& (int)ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION == (int)EFL_ACCESS_READING_INFO_TYPE_DESCRIPTION
		&& (int)ELM_ACCESSIBLE_READING_INFO_TYPE_STATE == (int)EFL_ACCESS_READING_INFO_TYPE_STATE,
		"reading types are upstream's");

// Exported by Elementary, declared only in its Eo API headers, which Elementary.h leaves out.
extern "C" const Efl_Class *efl_ui_widget_class_get(void);
extern "C" const Efl_Class *efl_ui_layout_base_class_get(void);

namespace zonhost {
namespace {

const char kTag[] = "ELM-ACCESS";

const Elm_Accessible_Reading_Info_Type_Mask kReadEverything = ELM_ACCESSIBLE_READING_INFO_TYPE_NAME
		| ELM_ACCESSIBLE_READING_INFO_TYPE_ROLE | ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION
		| ELM_ACCESSIBLE_READING_INFO_TYPE_STATE;

struct Info {
	Elm_Atspi_Reading_Info_Cb nameCb = nullptr;
	const void *nameData = nullptr;
	Elm_Atspi_Reading_Info_Cb descriptionCb = nullptr;
	const void *descriptionData = nullptr;
	Elm_Atspi_Gesture_Cb gestureCb = nullptr;
	const void *gestureData = nullptr;
	bool canHighlight = true;
	std::map<std::string, Evas_Object *> parts;
	// The widget whose part this access object stands for, so that deleting it first (which
	// the toolkit allows) makes the widget make a new one.
	Evas_Object *partOwner = nullptr;
	std::string partName;
};

std::unordered_map<const Eo *, Info> g_info;
Evas_Object *g_highlighted = nullptr;

void onDel(void *, const Efl_Event *event)
{
	const Eo *obj = event->object;
	auto it = g_info.find(obj);
	if (it != g_info.end()) {
		if (it->second.partOwner) {
			auto owner = g_info.find(it->second.partOwner);
			if (owner != g_info.end())
				owner->second.parts.erase(it->second.partName);
		}
		g_info.erase(it);
	}
	if (g_highlighted == obj)
		g_highlighted = nullptr;
}

bool isObject(const Eo *obj)
{
	return obj && efl_isa(obj, EFL_OBJECT_CLASS);
}

// Watched for deletion from its first entry on.
Info &infoOf(const Eo *obj)
{
	auto it = g_info.find(obj);
	if (it != g_info.end())
		return it->second;
	efl_event_callback_add(const_cast<Eo *>(obj), EFL_EVENT_DEL, onDel, nullptr);
	return g_info[obj];
}

const Info *findInfo(const Eo *obj)
{
	auto it = g_info.find(obj);
	return it == g_info.end() ? nullptr : &it->second;
}

bool accessible(const Eo *obj, const char *function)
{
	if (obj && efl_isa(obj, EFL_ACCESS_OBJECT_MIXIN))
		return true;
	platformLog(DLOG_ERROR, kTag, "%s: %p is not an accessible object", function, (const void *)obj);
	return false;
}

// Only smart objects (widgets, access objects) have signals; items and plain objects don't.
void emitSignal(Evas_Object *obj, const char *signal)
{
	if (obj && efl_isa(obj, EFL_CANVAS_GROUP_CLASS))
		evas_object_smart_callback_call(obj, signal, nullptr);
}

void unhighlight()
{
	Evas_Object *before = g_highlighted;
	g_highlighted = nullptr;
	emitSignal(before, "atspi,unhighlighted");
}

bool highlight(Evas_Object *obj)
{
	if (!screenReaderEnabled() || !isObject(obj))
		return false;
	const Info *info = findInfo(obj);
	if (info && !info->canHighlight)
		return false;
	if (g_highlighted == obj)
		return true;
	if (g_highlighted)
		unhighlight();
	infoOf(obj);
	g_highlighted = obj;
	emitSignal(obj, "atspi,highlighted");
	return true;
}

std::string ownedText(char *text)
{
	std::string result = text ? text : "";
	free(text);
	return result;
}

} // namespace

bool screenReaderEnabled()
{
	int on = 0;
	return vconf_get_bool(VCONFKEY_SETAPPL_ACCESSIBILITY_TTS, &on) == VCONF_OK && on;
}

} // namespace zonhost

using namespace zonhost;

ZON_HOST_API Eina_Bool elm_atspi_bridge_utils_is_screen_reader_enabled(void)
{
	return screenReaderEnabled() ? EINA_TRUE : EINA_FALSE;
}

ZON_HOST_API void elm_atspi_accessible_name_set(Evas_Object *obj, const char *name)
{
	if (accessible(obj, __func__))
		efl_access_object_i18n_name_set(obj, name);
}

ZON_HOST_API void elm_atspi_accessible_description_set(Evas_Object *obj, const char *description)
{
	if (accessible(obj, __func__))
		efl_access_object_description_set(obj, description);
}

ZON_HOST_API void elm_atspi_accessible_name_cb_set(Evas_Object *obj, Elm_Atspi_Reading_Info_Cb name_cb, const void *data)
{
	if (!isObject(obj))
		return;
	Info &info = infoOf(obj);
	info.nameCb = name_cb;
	info.nameData = data;
}

ZON_HOST_API void elm_atspi_accessible_description_cb_set(Evas_Object *obj, Elm_Atspi_Reading_Info_Cb description_cb,
		const void *data)
{
	if (!isObject(obj))
		return;
	Info &info = infoOf(obj);
	info.descriptionCb = description_cb;
	info.descriptionData = data;
}

ZON_HOST_API void elm_atspi_accessible_translation_domain_set(Evas_Object *obj, const char *domain)
{
	if (accessible(obj, __func__))
		efl_access_object_translation_domain_set(obj, domain);
}

ZON_HOST_API void elm_atspi_accessible_reading_info_type_set(Evas_Object *obj, Elm_Accessible_Reading_Info_Type_Mask reading_info)
{
	if (accessible(obj, __func__))
		efl_access_object_reading_info_type_set(obj, (Efl_Access_Reading_Info_Type)reading_info);
}

ZON_HOST_API Elm_Accessible_Reading_Info_Type_Mask elm_atspi_accessible_reading_info_type_get(const Evas_Object *obj)
{
	if (!obj || !efl_isa(obj, EFL_ACCESS_OBJECT_MIXIN))
		return kReadEverything;
	int mask = (int)efl_access_object_reading_info_type_get(obj);
	return mask ? mask : kReadEverything;
}

ZON_HOST_API void elm_atspi_accessible_role_set(Evas_Object *obj, Elm_Atspi_Role role)
{
	if (accessible(obj, __func__))
		efl_access_object_role_set(obj, (Efl_Access_Role)role);
}

ZON_HOST_API Elm_Atspi_Role elm_atspi_accessible_role_get(const Evas_Object *obj)
{
	if (!obj || !efl_isa(obj, EFL_ACCESS_OBJECT_MIXIN))
		return ELM_ATSPI_ROLE_INVALID;
	return (Elm_Atspi_Role)efl_access_object_role_get(obj);
}

ZON_HOST_API Eina_Bool elm_atspi_accessible_relationship_append(Evas_Object *obj, Elm_Atspi_Relation_Type type,
		const Evas_Object *relation_object)
{
	if (!accessible(obj, __func__) || !accessible(relation_object, __func__))
		return EINA_FALSE;
	return efl_access_object_relationship_append(obj, (Efl_Access_Relation_Type)type, relation_object);
}

ZON_HOST_API void elm_atspi_accessible_relationship_remove(Evas_Object *obj, Elm_Atspi_Relation_Type type,
		const Evas_Object *relation_object)
{
	if (accessible(obj, __func__))
		efl_access_object_relationship_remove(obj, (Efl_Access_Relation_Type)type, relation_object);
}

ZON_HOST_API void elm_atspi_accessible_gesture_cb_set(Evas_Object *obj, Elm_Atspi_Gesture_Cb gesture_cb, const void *data)
{
	if (!isObject(obj))
		return;
	Info &info = infoOf(obj);
	info.gestureCb = gesture_cb;
	info.gestureData = data;
}

ZON_HOST_API void elm_atspi_accessible_can_highlight_set(Evas_Object *obj, Eina_Bool can_highlight)
{
	if (!isObject(obj))
		return;
	infoOf(obj).canHighlight = can_highlight;
	if (!can_highlight && g_highlighted == obj)
		unhighlight();
}

ZON_HOST_API Eina_Bool elm_atspi_accessible_can_highlight_get(const Evas_Object *obj)
{
	const Info *info = findInfo(obj);
	return !info || info->canHighlight ? EINA_TRUE : EINA_FALSE;
}

ZON_HOST_API Eina_Bool elm_atspi_component_highlight_grab(Evas_Object *obj)
{
	return highlight(obj) ? EINA_TRUE : EINA_FALSE;
}

ZON_HOST_API Eina_Bool elm_atspi_component_highlight_clear(Evas_Object *obj)
{
	if (!obj || g_highlighted != obj)
		return EINA_FALSE;
	unhighlight();
	return EINA_TRUE;
}

ZON_HOST_API Evas_Object *elm_object_part_access_object_get(const Evas_Object *obj, const char *part)
{
	if (!obj || !part || !efl_isa(obj, efl_ui_widget_class_get()))
		return nullptr;
	Evas_Object *widget = const_cast<Evas_Object *>(obj);
	Info &info = infoOf(widget);
	auto it = info.parts.find(part);
	if (it != info.parts.end())
		return it->second;
	Evas_Object *target = nullptr;
	if (efl_isa(widget, efl_ui_layout_base_class_get())) {
		Evas_Object *edje = elm_layout_edje_get(widget);
		if (edje)
			target = const_cast<Evas_Object *>(edje_object_part_object_get(edje, part));
	}
	// Widgets that keep a part's text in an inner object (a popup's text is a label inside
	// it) have no edje part of that name; the widget's area stands for the part then.
	if (!target)
		target = widget;
	Evas_Object *ao = elm_access_object_register(target, widget);
	if (!ao)
		return nullptr;
	info.parts[part] = ao;
	Info &aoInfo = infoOf(ao);
	aoInfo.partOwner = widget;
	aoInfo.partName = part;
	return ao;
}

/* ---- the simulated screen reader (zon_host.h) ---- */

ZON_HOST_API char *zon_host_screen_reader_text(const Evas_Object *obj)
{
	if (!isObject(obj))
		return nullptr;
	Evas_Object *o = const_cast<Evas_Object *>(obj);
	bool isAccessible = efl_isa(obj, EFL_ACCESS_OBJECT_MIXIN);
	const Info *info = findInfo(obj);
	int mask = elm_atspi_accessible_reading_info_type_get(obj);
	std::string pieces[3];
	if (mask & ELM_ACCESSIBLE_READING_INFO_TYPE_NAME) {
		if (info && info->nameCb)
			pieces[0] = ownedText(info->nameCb(const_cast<void *>(info->nameData), o));
		else if (isAccessible && efl_access_object_i18n_name_get(obj))
			pieces[0] = efl_access_object_i18n_name_get(obj);
	}
	if ((mask & ELM_ACCESSIBLE_READING_INFO_TYPE_ROLE) && isAccessible) {
		Efl_Access_Role role = efl_access_object_role_get(obj);
		const char *roleName = efl_access_object_role_name_get(obj);
		if (role != EFL_ACCESS_ROLE_INVALID && role != EFL_ACCESS_ROLE_UNKNOWN && roleName)
			pieces[1] = roleName;
	}
	if (mask & ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION) {
		// Looked up again: the name function may have run code that changed the object.
		info = findInfo(obj);
		if (info && info->descriptionCb)
			pieces[2] = ownedText(info->descriptionCb(const_cast<void *>(info->descriptionData), o));
		else if (isAccessible && efl_access_object_description_get(obj))
			pieces[2] = efl_access_object_description_get(obj);
	}
	std::string text;
	for (const std::string &piece : pieces) {
		if (piece.empty())
			continue;
		if (!text.empty())
			text += ", ";
		text += piece;
	}
	return text.empty() ? nullptr : strdup(text.c_str());
}

ZON_HOST_API Evas_Object *zon_host_screen_reader_highlighted(void)
{
	return g_highlighted;
}

ZON_HOST_API int zon_host_screen_reader_highlight(Evas_Object *obj)
{
	return highlight(obj) ? 0 : -1;
}

ZON_HOST_API int zon_host_screen_reader_finish_reading(Evas_Object *obj, bool cancelled)
{
	if (!screenReaderEnabled() || !obj || !efl_isa(obj, EFL_CANVAS_GROUP_CLASS))
		return -1;
	emitSignal(obj, cancelled ? "access,read,cancel" : "access,read,stop");
	return 0;
}

ZON_HOST_API int zon_host_screen_reader_activate(Evas_Object *obj)
{
	if (!screenReaderEnabled() || !obj || !efl_isa(obj, EFL_CANVAS_GROUP_CLASS))
		return -1;
	emitSignal(obj, "access,activated");
	return 0;
}

ZON_HOST_API int zon_host_screen_reader_gesture(Evas_Object *obj, int gesture)
{
	const Info *info = findInfo(obj);
	if (!screenReaderEnabled() || !info || !info->gestureCb)
		return -1;
	Elm_Atspi_Gesture_Info gestureInfo = {};
	gestureInfo.type = (Elm_Atspi_Gesture_Type)gesture;
	gestureInfo.state = ELM_ATSPI_GESTURE_STATE_ENDED;
	return info->gestureCb(const_cast<void *>(info->gestureData), gestureInfo, obj) ? 1 : 0;
}

ZON_HOST_API size_t zon_host_access_relations(const Evas_Object *obj, int relation, Evas_Object **targets, size_t max)
{
	if (!obj || !efl_isa(obj, EFL_ACCESS_OBJECT_MIXIN))
		return 0;
	size_t count = 0;
	Eina_Iterator *it = efl_access_object_relations_get(obj);
	void *data;
	EINA_ITERATOR_FOREACH(it, data) {
		const Efl_Access_Relation *rel = static_cast<const Efl_Access_Relation *>(data);
		if ((int)rel->type != relation)
			continue;
		Eina_List *l;
		void *target;
		EINA_LIST_FOREACH(rel->objects, l, target) {
			if (targets && count < max)
				targets[count] = static_cast<Evas_Object *>(target);
			++count;
		}
	}
	eina_iterator_free(it);
	return count;
}

ZON_HOST_API int zon_host_set_screen_reader(bool on)
{
	return vconf_set_bool(VCONFKEY_SETAPPL_ACCESSIBILITY_TTS, on ? 1 : 0) == VCONF_OK ? 0 : -1;
}
