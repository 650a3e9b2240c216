/*
 * tizen.h - umbrella header of the platform's common C API definitions.
 */
#ifndef __TIZEN_H__
#define __TIZEN_H__

#include <tizen_type.h>
#include <tizen_error.h>

#endif /* __TIZEN_H__ */
