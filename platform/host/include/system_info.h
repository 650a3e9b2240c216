/*
 * system_info.h - the device's fixed features and properties.
 *
 * Platform keys are the published "http://tizen.org/feature/..." and
 * "http://tizen.org/system/..." names; custom keys are the device maker's own. A key the
 * device does not know fails with SYSTEM_INFO_ERROR_INVALID_PARAMETER, and so does asking for
 * a key with the wrong type.
 *
 * On the host the answers come from system_info.ini under the device root (written through
 * zon_host_set_feature_*() of zon-host/zon_host.h); platform and custom keys share that store.
 */
#ifndef __TIZEN_SYSTEM_SYSTEM_INFO_H__
#define __TIZEN_SYSTEM_SYSTEM_INFO_H__

#include <stdbool.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
	SYSTEM_INFO_ERROR_NONE = TIZEN_ERROR_NONE,
	SYSTEM_INFO_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	SYSTEM_INFO_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	SYSTEM_INFO_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
	SYSTEM_INFO_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
	SYSTEM_INFO_ERROR_NOT_SUPPORTED = TIZEN_ERROR_NOT_SUPPORTED,
} system_info_error_e;

typedef enum {
	SYSTEM_INFO_BOOL,
	SYSTEM_INFO_INT,
	SYSTEM_INFO_DOUBLE,
	SYSTEM_INFO_STRING,
} system_info_type_e;

int system_info_get_platform_bool(const char *key, bool *value);
int system_info_get_platform_int(const char *key, int *value);
int system_info_get_platform_double(const char *key, double *value);
int system_info_get_platform_string(const char *key, char **value); /* malloc'd */
int system_info_get_platform_type(const char *key, system_info_type_e *type);

int system_info_get_custom_bool(const char *key, bool *value);
int system_info_get_custom_int(const char *key, int *value);
int system_info_get_custom_double(const char *key, double *value);
int system_info_get_custom_string(const char *key, char **value); /* malloc'd */
int system_info_get_custom_type(const char *key, system_info_type_e *type);

#ifdef __cplusplus
}
#endif

#endif /* __TIZEN_SYSTEM_SYSTEM_INFO_H__ */
