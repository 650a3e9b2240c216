/*
 * toolkit_internal.h - what the toolkit parts of the host port (eext.cpp, access.cpp,
 * toolkit_init.cpp) share. Not installed.
 */
#ifndef ZON_HOST_TOOLKIT_INTERNAL_H
#define ZON_HOST_TOOLKIT_INTERNAL_H

#include "efl_extension.h"

namespace zonhost {

// ---- eext.cpp ----

// The back key as the device delivers it; returns the object that received it, or null.
Evas_Object *sendBackKey();
// A turn of the bezel; true when some handler or callback ran.
bool sendRotary(Eext_Rotary_Event_Direction direction, unsigned int timestamp);
Evas_Object *rotaryActivated();
// The object a live surface was added to; null for a surface that is gone.
Evas_Object *circleSurfaceOwner(const Eext_Circle_Surface *surface);

// ---- access.cpp ----

bool screenReaderEnabled();

} // namespace zonhost

#endif // ZON_HOST_TOOLKIT_INTERNAL_H
