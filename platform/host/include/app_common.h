/*
 * app_common.h - what an application asks the framework about itself: its id and directories.
 *
 * The path functions return a malloc'd absolute directory path that ends in '/', or NULL on
 * failure; the caller frees it. On the host the directory is created if missing (see
 * zon-host/zon_host.h for the layout under the device root).
 */
#ifndef __TIZEN_APPFW_APP_COMMON_H__
#define __TIZEN_APPFW_APP_COMMON_H__

#include <app_types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The running application's id (malloc'd copy). */
int app_get_id(char **id);

char *app_get_data_path(void);            /* private, writable data */
char *app_get_cache_path(void);           /* private cache, may be cleared by the platform */
char *app_get_resource_path(void);        /* read-only resources of the package */
char *app_get_shared_data_path(void);     /* data readable by other applications */
char *app_get_shared_resource_path(void); /* resources readable by other applications */
char *app_get_shared_trusted_path(void);  /* data shared with trusted (same-signature) apps */

#ifdef __cplusplus
}
#endif

#endif /* __TIZEN_APPFW_APP_COMMON_H__ */
