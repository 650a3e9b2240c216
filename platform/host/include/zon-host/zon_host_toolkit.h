/**
 * @file
 * zon_host_toolkit.h - the toolkit: the watch theme, the back key, the bezel and the screen reader
 * (efl_extension.h and the accessibility calls of the host's Elementary.h).
 *
 * Objects are toolkit objects (Evas_Object *, Elm_Object_Item *); this header names them by
 * the toolkit's underlying type, struct _Eo_Opaque, so that it needs no toolkit header.
 * Everything here runs on the toolkit's main loop (after elm_init()).
 * The toolkit's calls are not fault points of zon_host_fault_inject(), and the state behind
 * them belongs to the toolkit's objects (it goes with each object), not to zon_host_reset().
 * These functions are in libzon-host-toolkit (pkg-config zon-host-toolkit), which a program
 * without a display need not load.
 *
 * Ownership: objects belong to the toolkit; zon_host_screen_reader_text() answers a malloc'd
 * text the caller frees.
 *
 * Example:
 *   elm_init(argc, argv);
 *   zon_host_toolkit_init();                  // the watch's popup styles, keys and bezel
 *   zon_host_rotary_event(true);              // one detent clockwise
 */
#ifndef ZON_HOST_ZON_HOST_TOOLKIT_H
#define ZON_HOST_ZON_HOST_TOOLKIT_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

struct _Eo_Opaque;
struct _Eext_Circle_Surface;

/**
 * Call once after each elm_init(). Adds the watch theme as an overlay of the toolkit's theme:
 * the styles the watch's toolkit has and upstream lacks (popups "toast/circle",
 * "toast/small/circle", "toast/circle/check" and "circle", the layout "popup" with style
 * "content/circle/buttons2", the buttons "popup/circle/left" and "popup/circle/right", the
 * progress bar "process/small"); without it such a popup logs a critical "Failed to set
 * layout!" and falls back to the default look. Also makes Escape and BackSpace the back key
 * and the mouse wheel the bezel, in every window of the process (see efl_extension.h).
 * The theme file is $ZON_HOST_THEME, else the one installed beside the library
 * (share/zon-host/zon-host-theme.edj), else the build tree's.
 * Returns 0; -1 when called before elm_init() or when the theme file is missing (logged).
 * Calling it again in the same toolkit session changes nothing.
 */
int zon_host_toolkit_init(void);
/** The theme file zon_host_toolkit_init() uses. Valid until the next call of either. */
const char *zon_host_toolkit_theme_path(void);

/**
 * Runs the toolkit's main loop (and dispatches GLib's default context, where the host's own
 * deliveries wait) until done(data) returns true or max_seconds have passed. done is checked
 * before every iteration, so a condition that already holds returns at once; NULL runs the
 * whole time. Returns whether done became true. For what only time brings about: animations,
 * the toolkit's own timers. Never waits longer than max_seconds.
 */
bool zon_host_toolkit_pump(double max_seconds, bool (*done)(void *data), void *data);

/** Presses the back key: the receiving object's back callbacks run now. Returns the receiving
 * object, NULL when no shown object has a back callback. */
struct _Eo_Opaque *zon_host_back_key(void);
/** Turns the bezel by one detent: the rotary handlers and the activated object's rotary
 * callbacks run now. Returns true when at least one of them ran. */
bool zon_host_rotary_event(bool clockwise);
/** The object whose rotary events are activated, NULL when none is. */
struct _Eo_Opaque *zon_host_rotary_activated_object(void);
/** The object a circle surface was added to; NULL when the surface is gone (deleted, or its
 * object deleted). */
struct _Eo_Opaque *zon_host_circle_surface_owner(const struct _Eext_Circle_Surface *surface);

/**
 * The screen reader. It is on when the device's setting "db/setting/accessibility/tts" is
 * true; zon_host_set_screen_reader() sets it (0, or -1 when vconf fails). The toolkit asks
 * every time, so a change takes effect at once.
 *
 * zon_host_screen_reader_text() is what the reader says for obj, as a malloc'd text (NULL
 * when it would say nothing): of the pieces its reading-information type selects, in this
 * order, the non-empty ones joined by ", ":
 *   name         its name function's result, else its name (translated in its translation
 *                domain; for a widget without a name, upstream's, such as a label's text);
 *   role         upstream's role name ("push button"), unless the role is invalid or unknown;
 *   description  its description function's result, else its description (translated).
 * The state is not read on the host. The functions run during the call.
 *
 * The highlight is the reader's cursor. zon_host_screen_reader_highlight() is the user
 * touching obj: like elm_atspi_component_highlight_grab(), it fails (-1) when the reader is
 * off or obj can't take the highlight; otherwise the object that loses the highlight emits
 * "atspi,unhighlighted" and obj emits "atspi,highlighted". The highlight goes with its
 * object's deletion.
 *
 * The reader's other events are played by the test; each returns 0, or -1 when the reader is
 * off or obj is no widget (or has no gesture callback):
 *   finish_reading  the reader is done reading obj: "access,read,stop" on obj, or with
 *                   cancelled "access,read,cancel" (it was interrupted);
 *   activate        a double tap on the highlighted obj: "access,activated" on obj;
 *   gesture         a gesture (Elm_Atspi_Gesture_Type) over obj reaches its gesture
 *                   callback; returns what the callback answered (1 consumed, 0 not).
 *
 * zon_host_access_relations() lists obj's relations of one type (Elm_Atspi_Relation_Type,
 * e.g. ELM_ATSPI_RELATION_FLOWS_TO, 10): stores up to max targets in order of appending and
 * returns how many there are. Relations to a deleted object are dropped with it.
 */
/** @{ */
int zon_host_set_screen_reader(bool on);
char *zon_host_screen_reader_text(const struct _Eo_Opaque *obj);
struct _Eo_Opaque *zon_host_screen_reader_highlighted(void);
int zon_host_screen_reader_highlight(struct _Eo_Opaque *obj);
int zon_host_screen_reader_finish_reading(struct _Eo_Opaque *obj, bool cancelled);
int zon_host_screen_reader_activate(struct _Eo_Opaque *obj);
int zon_host_screen_reader_gesture(struct _Eo_Opaque *obj, int gesture);
size_t zon_host_access_relations(const struct _Eo_Opaque *obj, int relation, struct _Eo_Opaque **targets,
		size_t max);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_TOOLKIT_H */
