/**
 * @file
 * zon_host_faults.h - injected failures of the platform's functions.
 *
 * Fault injection, in the manner of a VFS test shim: the nth call from now (1 = the next one)
 * of the named platform function fails with `error` and has no effect; later calls work again.
 * `function` is the C name ("preference_set_int", "vconf_get_int", "app_get_data_path", ...).
 * nth = 0 clears the fault of that function. Returns 0, or -1 for a function the host does not
 * know (or a negative nth). zon_host_reset() clears every fault.
 * Functions that answer a pointer (app_get_data_path, vconf_get_str, zon_platform_path, ...)
 * answer NULL instead and leave the error in get_last_result(). Every platform function of the
 * host is a fault point, the vconf_keynode_get_*() accessors and zon_platform_path() included;
 * get_last_result(), set_last_result(), get_error_message() and vconf_get_ext_errno() are not.
 * Every source of the host declares its fault points (src/device/host_internal.h says how);
 * an undeclared one logs an error when it is first reached.
 *
 * Ownership: `function` is copied.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example:
 *   zon_host_fault_inject("preference_set_int", 1, PREFERENCE_ERROR_IO_ERROR);
 *   preference_set_int("k", 2);               // fails once with that error, stores nothing
 *   preference_set_int("k", 2);               // works again
 */
#ifndef ZON_HOST_ZON_HOST_FAULTS_H
#define ZON_HOST_ZON_HOST_FAULTS_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Makes the nth call from now of `function` fail with `error` (see above). */
int zon_host_fault_inject(const char *function, int nth, int error);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_FAULTS_H */
