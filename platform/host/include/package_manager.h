/*
 * package_manager.h - information about the packages installed on the device.
 *
 * package_manager_get_package_info() answers a snapshot of one installed package; an id that is
 * not installed fails with PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE. The handle is the caller's
 * and is released with package_info_destroy() (a handle not given out, or destroyed already,
 * is PACKAGE_MANAGER_ERROR_INVALID_PARAMETER). Strings answered by the getters are malloc'd
 * copies that the caller frees. A getter that fails leaves its out-parameter untouched.
 *
 * On the host the installed packages are the groups of the key file packages.ini under the
 * device root (see zon-host/zon_host.h, which installs and removes them). A new device has the
 * world clock itself ("korvath.zonvista") and the weather application ("korvath.weather"),
 * both preloaded, as a watch out of the box.
 */
#ifndef __TIZEN_APPFW_PACKAGE_MANAGER_H
#define __TIZEN_APPFW_PACKAGE_MANAGER_H

#include <stdbool.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
	PACKAGE_MANAGER_ERROR_NONE = TIZEN_ERROR_NONE,
	PACKAGE_MANAGER_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	PACKAGE_MANAGER_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	PACKAGE_MANAGER_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
	PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE = TIZEN_ERROR_PACKAGE_MANAGER | 0x71,
	PACKAGE_MANAGER_ERROR_SYSTEM_ERROR = TIZEN_ERROR_PACKAGE_MANAGER | 0x72,
	PACKAGE_MANAGER_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
} package_manager_error_e;

typedef struct package_info_s *package_info_h;

int package_manager_get_package_info(const char *package_id, package_info_h *package_info);

int package_info_get_package(package_info_h package_info, char **package);
int package_info_get_version(package_info_h package_info, char **version);
int package_info_get_label(package_info_h package_info, char **label);
int package_info_is_preload_package(package_info_h package_info, bool *preload);
int package_info_clone(package_info_h *clone, package_info_h package_info);
int package_info_destroy(package_info_h package_info);

#ifdef __cplusplus
}
#endif

#endif /* __TIZEN_APPFW_PACKAGE_MANAGER_H */
