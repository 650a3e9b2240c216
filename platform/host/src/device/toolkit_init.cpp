/*
 * toolkit_init.cpp - what the host adds to a toolkit program: the watch theme overlay, and the
 * desktop's keyboard and mouse wheel as the watch's back key and bezel.
 */
#include "host_internal.h"

#include <dlfcn.h>

#include <string>

#include <Ecore_Input.h>

#include "dlog.h"
#include "toolkit_internal.h"

namespace zonhost {
namespace {

const char kTag[] = "ZON_HOST";

// Set while the toolkit's main loop that zon_host_toolkit_init() saw is alive; elm_shutdown()
// takes the loop, its event handlers and the theme's overlays with it.
Eo *g_loop = nullptr;
Ecore_Event_Handler *g_keyHandler = nullptr;
Ecore_Event_Handler *g_wheelHandler = nullptr;
std::string g_themePath;

void onLoopDel(void *, const Efl_Event *)
{
	g_loop = nullptr;
	g_keyHandler = nullptr;
	g_wheelHandler = nullptr;
}

Eina_Bool onKeyDown(void *, int, void *event)
{
	const Ecore_Event_Key *key = static_cast<const Ecore_Event_Key *>(event);
	if (key->keyname && (strcmp(key->keyname, "Escape") == 0 || strcmp(key->keyname, "BackSpace") == 0))
		sendBackKey();
	return ECORE_CALLBACK_PASS_ON;
}

Eina_Bool onWheel(void *, int, void *event)
{
	const Ecore_Event_Mouse_Wheel *wheel = static_cast<const Ecore_Event_Mouse_Wheel *>(event);
	if (wheel->direction == 0 && wheel->z != 0)
		sendRotary(wheel->z > 0 ? EEXT_ROTARY_DIRECTION_CLOCKWISE : EEXT_ROTARY_DIRECTION_COUNTER_CLOCKWISE,
				wheel->timestamp);
	return ECORE_CALLBACK_PASS_ON;
}

bool isFile(const std::string &path)
{
	return !path.empty() && g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR);
}

// $ZON_HOST_THEME; the installed theme beside the installed library; the build tree's.
std::string findTheme()
{
	const char *env = getenv("ZON_HOST_THEME");
	if (env && *env)
		return env;
	Dl_info self;
	if (dladdr(reinterpret_cast<void *>(&findTheme), &self) && self.dli_fname) {
		gchar *libDir = g_path_get_dirname(self.dli_fname);
		std::string installed = std::string(libDir) + "/" + ZON_HOST_THEME_FROM_LIBDIR;
		g_free(libDir);
		if (isFile(installed))
			return installed;
	}
	return ZON_HOST_THEME_BUILD_PATH;
}

bool overlayAdded(const std::string &path)
{
	const Eina_List *l;
	void *data;
	EINA_LIST_FOREACH(elm_theme_overlay_list_get(nullptr), l, data) {
		if (path == static_cast<const char *>(data))
			return true;
	}
	return false;
}

} // namespace
} // namespace zonhost

using namespace zonhost;

ZON_HOST_API int zon_host_toolkit_init(void)
{
	if (!g_loop) {
		g_loop = efl_main_loop_get();
		if (!g_loop) {
			platformLog(DLOG_ERROR, kTag, "zon_host_toolkit_init() called before elm_init()");
			return -1;
		}
		efl_event_callback_add(g_loop, EFL_EVENT_DEL, onLoopDel, nullptr);
		g_keyHandler = ecore_event_handler_add(ECORE_EVENT_KEY_DOWN, onKeyDown, nullptr);
		g_wheelHandler = ecore_event_handler_add(ECORE_EVENT_MOUSE_WHEEL, onWheel, nullptr);
	}
	g_themePath = findTheme();
	if (!isFile(g_themePath)) {
		platformLog(DLOG_ERROR, kTag, "watch theme %s not found", g_themePath.c_str());
		return -1;
	}
	if (!overlayAdded(g_themePath))
		elm_theme_overlay_add(nullptr, g_themePath.c_str());
	return 0;
}

ZON_HOST_API const char *zon_host_toolkit_theme_path(void)
{
	if (g_themePath.empty())
		g_themePath = findTheme();
	return g_themePath.c_str();
}

ZON_HOST_API Evas_Object *zon_host_back_key(void)
{
	return sendBackKey();
}

ZON_HOST_API bool zon_host_rotary_event(bool clockwise)
{
	return sendRotary(clockwise ? EEXT_ROTARY_DIRECTION_CLOCKWISE : EEXT_ROTARY_DIRECTION_COUNTER_CLOCKWISE,
			(unsigned int)(ecore_time_get() * 1000.0));
}

ZON_HOST_API Evas_Object *zon_host_rotary_activated_object(void)
{
	return rotaryActivated();
}

ZON_HOST_API Evas_Object *zon_host_circle_surface_owner(const Eext_Circle_Surface *surface)
{
	return circleSurfaceOwner(surface);
}

ZON_HOST_API bool zon_host_toolkit_pump(double max_seconds, bool (*done)(void *data), void *data)
{
	if (!efl_main_loop_get())
		return done && done(data);
	double deadline = ecore_time_get() + (max_seconds > 0.0 ? max_seconds : 0.0);
	// Wakes a loop that has nothing else to do, so the deadline is kept.
	bool woke = false;
	Ecore_Timer *alarm = ecore_timer_add(max_seconds > 0.0 ? max_seconds : 0.0, [](void *flag) -> Eina_Bool {
		*static_cast<bool *>(flag) = true;
		return ECORE_CALLBACK_CANCEL;
	}, &woke);
	bool reached = false;
	for (;;) {
		if (done && done(data)) {
			reached = true;
			break;
		}
		if (woke || ecore_time_get() >= deadline)
			break;
		for (int i = 0; i < 100 && g_main_context_iteration(nullptr, FALSE); ++i) {
		}
		ecore_main_loop_iterate_may_block(1);
	}
	if (!woke)
		ecore_timer_del(alarm);
	return reached;
}
