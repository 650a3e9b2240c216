/*
 * WSignalObjectWatch.h - ties a WSignal listener to the lifetime of a toolkit object.
 *
 * Contract: add() registers `cb` for the deletion of `obj` with `data`; del() removes exactly that
 * registration. They are evas_object_event_callback_add()/_del_full() for EVAS_CALLBACK_DEL,
 * reached through the toolkit library that the process has loaded: a program that has toolkit
 * objects has loaded the toolkit, and a program that only uses signals without objects (a
 * service, a command-line tool) never loads it.
 *
 * Threading: the toolkit's main thread, like the objects themselves.
 */
#ifndef _APP_TRELLIS_WSIGNAL_OBJECT_WATCH_H_
#define _APP_TRELLIS_WSIGNAL_OBJECT_WATCH_H_

#include <Evas.h>

#include "WDefine.h"

namespace app_trellis {

class WAPP_TRELLIS_API WSignalObjectWatch {
public:
	static void add(Evas_Object* obj, Evas_Object_Event_Cb cb, const void* data);
	static void del(Evas_Object* obj, Evas_Object_Event_Cb cb, const void* data);
};

}

#endif /* _APP_TRELLIS_WSIGNAL_OBJECT_WATCH_H_ */
