/**
 * @file
 * zon_platform.h - the one place where the library asks the platform for a fixed device path.
 *
 * The library names device paths as they are on the watch ("/tmp/.zonvista_ldu"). On the watch
 * zon_platform_path() returns a copy of the path; on the host it returns the same path below the
 * device root (see zon-host/zon_host.h), so a test can create or remove such files.
 */
#ifndef ZON_PLATFORM_H
#define ZON_PLATFORM_H

#ifdef __cplusplus
extern "C" {
#endif

/** Returns a malloc'd path for the absolute device path, or NULL when devicePath is NULL or not
 * absolute. The caller frees it. On the host the parent directory is created. */
char *zon_platform_path(const char *devicePath);

#ifdef __cplusplus
}
#endif

#endif /* ZON_PLATFORM_H */
