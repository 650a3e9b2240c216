/*
 * bezel.cpp - the kind of rotating bezel the simulated device has, as platform features.
 */
#include "host_internal.h"

ZON_HOST_API int zon_host_set_bezel(zon_host_bezel_e bezel)
{
	if (bezel < ZON_HOST_BEZEL_NONE || bezel > ZON_HOST_BEZEL_VIRTUAL)
		return -1;
	if (zon_host_set_feature_bool(ZON_HOST_FEATURE_ROTATING_BEZEL, bezel != ZON_HOST_BEZEL_NONE) != 0)
		return -1;
	return zon_host_set_feature_bool(ZON_HOST_FEATURE_VIRTUAL_ROTATING_BEZEL, bezel == ZON_HOST_BEZEL_VIRTUAL);
}
