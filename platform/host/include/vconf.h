/*
 * vconf.h - the platform's settings store.
 *
 * Keys are paths that start with "db/", "memory/" or "file/"; any other key fails with
 * VCONF_ERROR (vconf_get_ext_errno() tells VCONF_ERROR_WRONG_PREFIX). Every function returns
 * VCONF_OK or VCONF_ERROR; the precise reason of the last failure is vconf_get_ext_errno().
 *
 * - A key that was never set fails to read (VCONF_ERROR, ext errno VCONF_ERROR_FILE_NO_ENT);
 *   vconf_get_str() answers NULL. Reading a key that holds another type fails too
 *   (VCONF_ERROR_WRONG_TYPE). Setting a key with another type replaces its type.
 * - vconf_get_str() returns a malloc'd copy; the caller frees it.
 * - vconf_notify_key_changed() may install several callbacks on one key (each callback at most
 *   once per key). They are called on the main loop, never from inside the setter, once per
 *   set that changed the value; the keynode holds the value that was set and is valid only
 *   during the call. vconf_ignore_key_changed() removes a callback and the deliveries to it
 *   not yet made.
 *
 * On the host the store is the GLib key file vconf.ini under the device root, read again
 * whenever it changed (another process's writes included). A few keys that an unconfigured device has anyway answer the desktop's values until
 * they are set: VCONFKEY_REGIONFORMAT (from LC_ALL, LC_TIME, LANG), VCONFKEY_LANGSET (from
 * LC_ALL, LC_MESSAGES, LANG) - the first non-empty variable, made "<lang>_<TERRITORY>.UTF-8",
 * with "C"/"POSIX"/none giving "en_US.UTF-8" - and VCONFKEY_SETAPPL_TIMEZONE_ID (the device's
 * /opt/etc/localtime link, which a new device root points at the desktop's zone).
 * VCONFKEY_REGIONFORMAT_TIME1224 answers the clock of the region format in effect (ICU's
 * preferred hour for it) until it is set, as a device set up in that region holds; a change of
 * the region format is notified on its own key only.
 */
#ifndef __VCONF_H__
#define __VCONF_H__

#include <vconf-keys.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VCONF_OK 0
#define VCONF_ERROR -1
#define VCONF_ERROR_WRONG_PREFIX -2
#define VCONF_ERROR_WRONG_TYPE -3
#define VCONF_ERROR_WRONG_VALUE -4
#define VCONF_ERROR_NOT_INITIALIZED -5
#define VCONF_ERROR_NO_MEM -6
#define VCONF_ERROR_FILE_PERM -11
#define VCONF_ERROR_FILE_BUSY -12
#define VCONF_ERROR_FILE_NO_MEM -13
#define VCONF_ERROR_FILE_NO_ENT -14
#define VCONF_ERROR_FILE_OPEN -21
#define VCONF_ERROR_FILE_FREAD -22
#define VCONF_ERROR_FILE_FGETS -23
#define VCONF_ERROR_FILE_WRITE -24
#define VCONF_ERROR_FILE_SYNC -25
#define VCONF_ERROR_FILE_CLOSE -26
#define VCONF_ERROR_FILE_ACCESS -27
#define VCONF_ERROR_FILE_CHMOD -28
#define VCONF_ERROR_FILE_LOCK -29
#define VCONF_ERROR_FILE_REMOVE -30
#define VCONF_ERROR_FILE_SEEK -31
#define VCONF_ERROR_FILE_TRUNCATE -32
#define VCONF_ERROR_NOT_SUPPORTED -33

#define VCONF_TYPE_NONE 0
#define VCONF_TYPE_STRING 40
#define VCONF_TYPE_INT 41
#define VCONF_TYPE_DOUBLE 42
#define VCONF_TYPE_BOOL 43
#define VCONF_TYPE_DIR 44

typedef struct _keynode_t {
	char *keyname;
	int type;
	union {
		int i;
		int b;
		double d;
		char *s;
	} value;
	struct _keynode_t *next;
} keynode_t;

typedef void (*vconf_callback_fn)(keynode_t *node, void *user_data);

int vconf_set_int(const char *in_key, const int intval);
int vconf_set_bool(const char *in_key, const int boolval);
int vconf_set_dbl(const char *in_key, const double dblval);
int vconf_set_str(const char *in_key, const char *strval);

int vconf_get_int(const char *in_key, int *intval);
int vconf_get_bool(const char *in_key, int *boolval);
int vconf_get_dbl(const char *in_key, double *dblval);
char *vconf_get_str(const char *in_key);

/* Detail of the last failure of this thread (a VCONF_ERROR_* code, 0 after success). */
int vconf_get_ext_errno(void);

int vconf_notify_key_changed(const char *in_key, vconf_callback_fn cb, void *user_data);
int vconf_ignore_key_changed(const char *in_key, vconf_callback_fn cb);

/* Accessors of the node handed to a vconf_callback_fn. A getter of the wrong type answers -1
 * (NULL for the string). */
char *vconf_keynode_get_name(keynode_t *keynode);
int vconf_keynode_get_type(keynode_t *keynode);
int vconf_keynode_get_int(const keynode_t *keynode);
int vconf_keynode_get_bool(const keynode_t *keynode);
double vconf_keynode_get_dbl(const keynode_t *keynode);
char *vconf_keynode_get_str(const keynode_t *keynode);

#ifdef __cplusplus
}
#endif

#endif /* __VCONF_H__ */
