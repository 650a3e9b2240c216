/*
 * efl_extension.h - the watch's extension of the toolkit: hardware keys, the circle surface of
 * round screens and rotary (bezel) events, as the device's library names them, implemented by
 * the host port on upstream EFL.
 *
 * Hardware keys. eext_object_event_callback_add(obj, EEXT_CALLBACK_BACK, cb, data) makes obj a
 * receiver of the back key. The key goes to one object only: the one that registered most
 * recently among the receivers that are visible; its callbacks run in the order they were
 * added. On the host the back key is Escape or BackSpace pressed in any window of the process
 * (and zon_host_back_key() for tests). Escape also reaches the desktop toolkit's own key
 * handling, which closes any popup by itself; BackSpace is the back key alone, as the watch's
 * hardware key is. Deleting an object drops its callbacks.
 *
 * Rotary events. Objects register rotary callbacks; of them, only the activated object gets
 * the events, and only one object is activated at a time in the process
 * (eext_rotary_object_event_activated_set(obj, EINA_TRUE) takes the activation from the one
 * before; deleting the activated object leaves none activated). Its callbacks run by priority,
 * lowest number first (eext_rotary_object_event_callback_add() uses priority 0), equal
 * priorities in the order of adding; a callback that returns EINA_FALSE stops the ones after
 * it. Handlers of eext_rotary_event_handler_add() see every event first. On the host, the mouse
 * wheel in any window of the process is the bezel: wheel down (towards the user) is clockwise,
 * wheel up counter-clockwise (and zon_host_rotary_event() for tests).
 *
 * Circle surfaces draw the circle objects of round screens; the host keeps the handle and its
 * owner but draws nothing. A surface goes with the object it was added to.
 *
 * Threading: main-loop thread only, like the toolkit.
 */
#ifndef __EFL_EXTENSION_H__
#define __EFL_EXTENSION_H__

#include <Elementary.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- hardware keys ---- */

typedef enum {
	EEXT_CALLBACK_BACK,
	EEXT_CALLBACK_MORE,
	EEXT_CALLBACK_LAST,
} Eext_Callback_Type;

typedef void (*Eext_Event_Cb)(void *data, Evas_Object *obj, void *event_info);

void eext_object_event_callback_add(Evas_Object *obj, Eext_Callback_Type type, Eext_Event_Cb func, void *data);
/* Removes the first callback of obj with that type and function; returns its data, or NULL. */
void *eext_object_event_callback_del(Evas_Object *obj, Eext_Callback_Type type, Eext_Event_Cb func);

/* Ready-made back callbacks: dismiss the popup (obj), pop the naviframe (obj). */
void eext_popup_back_cb(void *data, Evas_Object *obj, void *event_info);
void eext_naviframe_back_cb(void *data, Evas_Object *obj, void *event_info);

/* ---- circle surface ---- */

typedef struct _Eext_Circle_Surface Eext_Circle_Surface;

Eext_Circle_Surface *eext_circle_surface_conformant_add(Evas_Object *conformant);
Eext_Circle_Surface *eext_circle_surface_layout_add(Evas_Object *layout);
Eext_Circle_Surface *eext_circle_surface_naviframe_add(Evas_Object *naviframe);
void eext_circle_surface_del(Eext_Circle_Surface *surface);

/* ---- rotary events ---- */

typedef enum {
	EEXT_ROTARY_DIRECTION_CLOCKWISE,
	EEXT_ROTARY_DIRECTION_COUNTER_CLOCKWISE,
} Eext_Rotary_Event_Direction;

typedef struct _Eext_Rotary_Event_Info Eext_Rotary_Event_Info;
struct _Eext_Rotary_Event_Info {
	Eext_Rotary_Event_Direction direction;
	unsigned int time_stamp;   /* milliseconds, the toolkit's event time */
};

typedef Eina_Bool (*Eext_Rotary_Event_Cb)(void *data, Evas_Object *obj, Eext_Rotary_Event_Info *info);
typedef Eina_Bool (*Eext_Rotary_Handler_Cb)(void *data, Eext_Rotary_Event_Info *info);

Eina_Bool eext_rotary_object_event_callback_add(Evas_Object *obj, Eext_Rotary_Event_Cb func, void *data);
Eina_Bool eext_rotary_object_event_callback_priority_add(Evas_Object *obj, int priority, Eext_Rotary_Event_Cb func, void *data);
/* Removes the first callback of obj with that function; returns its data, or NULL. */
void *eext_rotary_object_event_callback_del(Evas_Object *obj, Eext_Rotary_Event_Cb func);
void eext_rotary_object_event_activated_set(Evas_Object *obj, Eina_Bool activated);

Eina_Bool eext_rotary_event_handler_add(Eext_Rotary_Handler_Cb func, void *data);
void *eext_rotary_event_handler_del(Eext_Rotary_Handler_Cb func);

#ifdef __cplusplus
}
#endif

#endif /* __EFL_EXTENSION_H__ */
