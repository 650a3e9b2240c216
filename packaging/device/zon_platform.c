/*
 * zon_platform.c - the device's side of the library's platform seam: device paths are real
 * paths there, so the path is handed back as it is.
 */
#include <stdlib.h>
#include <string.h>

#include "zon_platform.h"

char *zon_platform_path(const char *devicePath)
{
	if (!devicePath || devicePath[0] != '/')
		return NULL;
	return strdup(devicePath);
}
