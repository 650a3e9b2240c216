/*
 * app_preference.h - the application's persistent key-value preferences.
 *
 * Preferences belong to the running application and survive restarts. Each key holds one
 * value of one type (int, double, string or boolean); setting a key with another type
 * replaces both.
 *
 * Behaviour worth knowing:
 * - Getting a key that holds another type fails with PREFERENCE_ERROR_INVALID_PARAMETER;
 *   getting a missing key with PREFERENCE_ERROR_NO_KEY.
 * - preference_get_string() returns a malloc'd copy; the caller frees it.
 * - A change callback can be installed only on an existing key (PREFERENCE_ERROR_NO_KEY
 *   otherwise); one callback per key, a second call replaces it. It is called on the main
 *   loop, never from inside the setter, once for every set that changed the stored value and
 *   for the removal of the key. Setting the value the key already holds calls nothing.
 *   preference_unset_changed_cb() also cancels deliveries not yet made.
 *
 * On the host the store is the GLib key file <data dir>/.preference, read on every get so
 * that several processes of the application see each other's writes.
 */
#ifndef __TIZEN_APPFW_PREFERENCE_H__
#define __TIZEN_APPFW_PREFERENCE_H__

#include <stdbool.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
	PREFERENCE_ERROR_NONE = TIZEN_ERROR_NONE,
	PREFERENCE_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	PREFERENCE_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	PREFERENCE_ERROR_NO_KEY = TIZEN_ERROR_APPLICATION | 0x30,
	PREFERENCE_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
} preference_error_e;

typedef void (*preference_changed_cb)(const char *key, void *user_data);

/* Return false to stop the iteration. */
typedef bool (*preference_item_cb)(const char *key, void *user_data);

int preference_set_int(const char *key, int value);
int preference_get_int(const char *key, int *value);
int preference_set_double(const char *key, double value);
int preference_get_double(const char *key, double *value);
int preference_set_string(const char *key, const char *value);
int preference_get_string(const char *key, char **value);
int preference_set_boolean(const char *key, bool value);
int preference_get_boolean(const char *key, bool *value);

int preference_remove(const char *key);
int preference_is_existing(const char *key, bool *existing);
int preference_remove_all(void);

int preference_set_changed_cb(const char *key, preference_changed_cb callback, void *user_data);
int preference_unset_changed_cb(const char *key);

int preference_foreach_item(preference_item_cb callback, void *user_data);

#ifdef __cplusplus
}
#endif

#endif /* __TIZEN_APPFW_PREFERENCE_H__ */
