/*
 * vconf-internal-keys.h - setting names of platform components. The ones the host knows are
 * all in vconf-keys.h.
 */
#ifndef __VCONF_INTERNAL_KEYS_H__
#define __VCONF_INTERNAL_KEYS_H__

#include <vconf-keys.h>

#endif /* __VCONF_INTERNAL_KEYS_H__ */
