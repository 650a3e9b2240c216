/*
 * eext.cpp - the watch's toolkit extension on upstream EFL: the back key, rotary (bezel)
 * events and circle surfaces. The rules are in efl_extension.h.
 *
 * State is kept per object and dropped when the object is deleted, so it follows the toolkit
 * through elm_shutdown() and a new elm_init() without a reset of its own.
 */
// For the class of canvas objects, the only sure test that a pointer is one.
#define EFL_BETA_API_SUPPORT 1

#include "host_internal.h"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "dlog.h"
#include "efl_extension.h"
#include "toolkit_internal.h"

// The host draws no circle objects: a surface only remembers what it was added to.
struct _Eext_Circle_Surface {
	Evas_Object *owner;
};

namespace zonhost {
namespace {

const char kTag[] = "EFL-EXT";

struct KeyCallback {
	Eext_Callback_Type type;
	Eext_Event_Cb func;
	void *data;
	unsigned long long serial;   // order of adding, over all objects
};

struct RotaryCallback {
	Eext_Rotary_Event_Cb func;
	void *data;
	int priority;
	unsigned long long serial;
};

struct ObjectState {
	std::vector<KeyCallback> keys;
	std::vector<RotaryCallback> rotary;
};

struct RotaryHandler {
	Eext_Rotary_Handler_Cb func;
	void *data;
};

std::unordered_map<Evas_Object *, ObjectState> g_objects;
std::vector<RotaryHandler> g_rotaryHandlers;
Evas_Object *g_activated = nullptr;
unsigned long long g_serial = 0;

void onObjectDel(void *, Evas *, Evas_Object *obj, void *)
{
	g_objects.erase(obj);
	if (g_activated == obj)
		g_activated = nullptr;
}

ObjectState &stateOf(Evas_Object *obj)
{
	auto it = g_objects.find(obj);
	if (it != g_objects.end())
		return it->second;
	evas_object_event_callback_add(obj, EVAS_CALLBACK_DEL, onObjectDel, nullptr);
	return g_objects[obj];
}

void forgetIfEmpty(Evas_Object *obj)
{
	auto it = g_objects.find(obj);
	if (it == g_objects.end() || !it->second.keys.empty() || !it->second.rotary.empty())
		return;
	if (g_activated == obj)
		return;
	evas_object_event_callback_del(obj, EVAS_CALLBACK_DEL, onObjectDel);
	g_objects.erase(it);
}

// Shown on screen: the object and every smart parent up to its window.
bool isShown(Evas_Object *obj)
{
	for (Evas_Object *o = obj; o; o = evas_object_smart_parent_get(o)) {
		if (!evas_object_visible_get(o))
			return false;
	}
	return true;
}

bool validObject(const Evas_Object *obj, const char *function)
{
	if (obj && efl_isa(obj, EFL_CANVAS_OBJECT_CLASS))
		return true;
	platformLog(DLOG_ERROR, kTag, "%s: %p is not a toolkit object", function, (const void *)obj);
	return false;
}

std::set<Eext_Circle_Surface *> g_surfaces;

void onSurfaceOwnerDel(void *data, Evas *, Evas_Object *, void *)
{
	Eext_Circle_Surface *surface = static_cast<Eext_Circle_Surface *>(data);
	g_surfaces.erase(surface);
	delete surface;
}

Eext_Circle_Surface *addSurface(Evas_Object *owner, const char *function)
{
	if (!validObject(owner, function))
		return nullptr;
	Eext_Circle_Surface *surface = new Eext_Circle_Surface{owner};
	g_surfaces.insert(surface);
	evas_object_event_callback_add(owner, EVAS_CALLBACK_DEL, onSurfaceOwnerDel, surface);
	return surface;
}

} // namespace

Evas_Object *sendBackKey()
{
	Evas_Object *receiver = nullptr;
	unsigned long long newest = 0;
	for (auto &entry : g_objects) {
		for (const KeyCallback &cb : entry.second.keys) {
			if (cb.type == EEXT_CALLBACK_BACK && cb.serial >= newest && isShown(entry.first)) {
				newest = cb.serial;
				receiver = entry.first;
			}
		}
	}
	if (!receiver)
		return nullptr;
	// Callbacks may remove callbacks or delete the receiver: each is looked up again first.
	std::vector<unsigned long long> serials;
	for (const KeyCallback &cb : g_objects[receiver].keys) {
		if (cb.type == EEXT_CALLBACK_BACK)
			serials.push_back(cb.serial);
	}
	for (unsigned long long serial : serials) {
		auto it = g_objects.find(receiver);
		if (it == g_objects.end())
			break;
		auto &keys = it->second.keys;
		auto cb = std::find_if(keys.begin(), keys.end(), [serial](const KeyCallback &k) { return k.serial == serial; });
		if (cb == keys.end())
			continue;
		KeyCallback call = *cb;
		call.func(call.data, receiver, nullptr);
	}
	return receiver;
}

bool sendRotary(Eext_Rotary_Event_Direction direction, unsigned int timestamp)
{
	Eext_Rotary_Event_Info info = {direction, timestamp};
	bool delivered = false;
	std::vector<RotaryHandler> handlers = g_rotaryHandlers;
	for (const RotaryHandler &handler : handlers) {
		delivered = true;
		if (!handler.func(handler.data, &info))
			return true;
	}
	Evas_Object *target = g_activated;
	if (!target)
		return delivered;
	auto it = g_objects.find(target);
	if (it == g_objects.end())
		return delivered;
	std::vector<RotaryCallback> order = it->second.rotary;
	std::stable_sort(order.begin(), order.end(),
			[](const RotaryCallback &a, const RotaryCallback &b) { return a.priority < b.priority; });
	for (const RotaryCallback &planned : order) {
		it = g_objects.find(target);
		if (it == g_objects.end())
			break;
		auto &list = it->second.rotary;
		auto cb = std::find_if(list.begin(), list.end(),
				[&planned](const RotaryCallback &r) { return r.serial == planned.serial; });
		if (cb == list.end())
			continue;
		delivered = true;
		if (!planned.func(planned.data, target, &info))
			break;
	}
	return delivered;
}

Evas_Object *rotaryActivated()
{
	return g_activated;
}

Evas_Object *circleSurfaceOwner(const Eext_Circle_Surface *surface)
{
	auto it = g_surfaces.find(const_cast<Eext_Circle_Surface *>(surface));
	return it == g_surfaces.end() ? nullptr : surface->owner;
}

} // namespace zonhost

using namespace zonhost;

ZON_HOST_API void eext_object_event_callback_add(Evas_Object *obj, Eext_Callback_Type type, Eext_Event_Cb func, void *data)
{
	if (!validObject(obj, __func__) || !func || type < EEXT_CALLBACK_BACK || type >= EEXT_CALLBACK_LAST) {
		platformLog(DLOG_ERROR, kTag, "%s: invalid callback (type %d)", __func__, (int)type);
		return;
	}
	stateOf(obj).keys.push_back(KeyCallback{type, func, data, ++g_serial});
}

ZON_HOST_API void *eext_object_event_callback_del(Evas_Object *obj, Eext_Callback_Type type, Eext_Event_Cb func)
{
	auto it = g_objects.find(obj);
	if (it == g_objects.end())
		return nullptr;
	auto &keys = it->second.keys;
	auto cb = std::find_if(keys.begin(), keys.end(),
			[type, func](const KeyCallback &k) { return k.type == type && k.func == func; });
	if (cb == keys.end())
		return nullptr;
	void *data = cb->data;
	keys.erase(cb);
	forgetIfEmpty(obj);
	return data;
}

ZON_HOST_API void eext_popup_back_cb(void *, Evas_Object *obj, void *)
{
	elm_popup_dismiss(obj);
}

ZON_HOST_API void eext_naviframe_back_cb(void *, Evas_Object *obj, void *)
{
	elm_naviframe_item_pop(obj);
}

ZON_HOST_API Eext_Circle_Surface *eext_circle_surface_conformant_add(Evas_Object *conformant)
{
	return addSurface(conformant, __func__);
}

ZON_HOST_API Eext_Circle_Surface *eext_circle_surface_layout_add(Evas_Object *layout)
{
	return addSurface(layout, __func__);
}

ZON_HOST_API Eext_Circle_Surface *eext_circle_surface_naviframe_add(Evas_Object *naviframe)
{
	return addSurface(naviframe, __func__);
}

ZON_HOST_API void eext_circle_surface_del(Eext_Circle_Surface *surface)
{
	if (!surface)
		return;
	if (!g_surfaces.erase(surface)) {
		platformLog(DLOG_ERROR, kTag, "%s: unknown surface %p", __func__, (void *)surface);
		return;
	}
	evas_object_event_callback_del_full(surface->owner, EVAS_CALLBACK_DEL, onSurfaceOwnerDel, surface);
	delete surface;
}

ZON_HOST_API Eina_Bool eext_rotary_object_event_callback_priority_add(Evas_Object *obj, int priority, Eext_Rotary_Event_Cb func, void *data)
{
	if (!validObject(obj, __func__) || !func)
		return EINA_FALSE;
	stateOf(obj).rotary.push_back(RotaryCallback{func, data, priority, ++g_serial});
	return EINA_TRUE;
}

ZON_HOST_API Eina_Bool eext_rotary_object_event_callback_add(Evas_Object *obj, Eext_Rotary_Event_Cb func, void *data)
{
	return eext_rotary_object_event_callback_priority_add(obj, 0, func, data);
}

ZON_HOST_API void *eext_rotary_object_event_callback_del(Evas_Object *obj, Eext_Rotary_Event_Cb func)
{
	auto it = g_objects.find(obj);
	if (it == g_objects.end())
		return nullptr;
	auto &list = it->second.rotary;
	auto cb = std::find_if(list.begin(), list.end(), [func](const RotaryCallback &r) { return r.func == func; });
	if (cb == list.end())
		return nullptr;
	void *data = cb->data;
	list.erase(cb);
	forgetIfEmpty(obj);
	return data;
}

ZON_HOST_API void eext_rotary_object_event_activated_set(Evas_Object *obj, Eina_Bool activated)
{
	if (!validObject(obj, __func__))
		return;
	if (activated) {
		Evas_Object *before = g_activated;
		stateOf(obj);   // watched for deletion from now on
		g_activated = obj;
		if (before && before != obj)
			forgetIfEmpty(before);
	} else if (g_activated == obj) {
		g_activated = nullptr;
		forgetIfEmpty(obj);
	}
}

ZON_HOST_API Eina_Bool eext_rotary_event_handler_add(Eext_Rotary_Handler_Cb func, void *data)
{
	if (!func)
		return EINA_FALSE;
	g_rotaryHandlers.push_back(RotaryHandler{func, data});
	return EINA_TRUE;
}

ZON_HOST_API void *eext_rotary_event_handler_del(Eext_Rotary_Handler_Cb func)
{
	auto it = std::find_if(g_rotaryHandlers.begin(), g_rotaryHandlers.end(),
			[func](const RotaryHandler &h) { return h.func == func; });
	if (it == g_rotaryHandlers.end())
		return nullptr;
	void *data = it->data;
	g_rotaryHandlers.erase(it);
	return data;
}
