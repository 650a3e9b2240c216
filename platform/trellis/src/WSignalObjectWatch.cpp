#include "WSignalObjectWatch.h"

#include <dlfcn.h>

namespace app_trellis {

namespace {

struct Evas {
	decltype(&evas_object_event_callback_add) add = nullptr;
	decltype(&evas_object_event_callback_del_full) del = nullptr;
};

// The caller holds a toolkit object, so the library is already in the process and dlopen() only
// finds it; the handle is kept for the life of the process.
const Evas& evas()
{
	static const Evas loaded = [] {
		Evas e;
		void* handle = dlopen("libevas.so.1", RTLD_NOW | RTLD_GLOBAL);
		if (!handle) {
			WTRELLIS_ERROR("cannot find the toolkit: %s", dlerror());
			return e;
		}
		e.add = reinterpret_cast<decltype(e.add)>(dlsym(handle, "evas_object_event_callback_add"));
		e.del = reinterpret_cast<decltype(e.del)>(dlsym(handle, "evas_object_event_callback_del_full"));
		return e;
	}();
	return loaded;
}

}

void WSignalObjectWatch::add(Evas_Object* obj, Evas_Object_Event_Cb cb, const void* data)
{
	if (evas().add)
		evas().add(obj, EVAS_CALLBACK_DEL, cb, data);
}

void WSignalObjectWatch::del(Evas_Object* obj, Evas_Object_Event_Cb cb, const void* data)
{
	if (evas().del)
		evas().del(obj, EVAS_CALLBACK_DEL, cb, data);
}

}
