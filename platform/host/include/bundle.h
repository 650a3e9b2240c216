/*
 * bundle.h - a small dictionary of typed values, the platform's currency for passing data
 * between applications (app-control extra data, message-port messages).
 *
 * Each key holds one value of one type: a string, an array of strings or a block of bytes.
 *
 * Behaviour worth knowing:
 * - Keys are non-empty strings matched exactly. Adding a key that is already there fails with
 *   BUNDLE_ERROR_KEY_EXISTS and keeps the old value; delete it first to replace it.
 * - Reading a missing key fails with BUNDLE_ERROR_KEY_NOT_AVAILABLE, reading a key of another
 *   type with BUNDLE_ERROR_INVALID_PARAMETER; the output is left alone in both cases.
 * - Strings and arrays handed out by bundle_get_str(), bundle_get_val(), bundle_get_str_array(),
 *   bundle_get_byte() and the keyval accessors point into the bundle: do not free them; they
 *   stay valid until the key is deleted or the bundle freed.
 * - bundle_foreach() visits the entries in the order they were added. Functions answering a
 *   pointer or a count (bundle_create, bundle_dup, bundle_get_val, bundle_get_count, ...) leave
 *   their error in get_last_result().
 * - The size of a string value, as bundle_keyval_get_basic_val() reports it, counts the
 *   terminating NUL.
 * - bundle_encode() gives a NUL-terminated base64 text that bundle_decode() turns back into an
 *   equal bundle. On the host the bytes under the base64 are the host's own layout, not the
 *   device's: an encoded bundle is for the same platform only.
 */
#ifndef __BUNDLE_H__
#define __BUNDLE_H__

#include <stddef.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _bundle_t bundle;
typedef unsigned char bundle_raw;
typedef struct keyval_t bundle_keyval_t;

typedef enum {
	BUNDLE_ERROR_NONE = TIZEN_ERROR_NONE,
	BUNDLE_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	BUNDLE_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	BUNDLE_ERROR_KEY_NOT_AVAILABLE = TIZEN_ERROR_KEY_NOT_AVAILABLE,
	BUNDLE_ERROR_KEY_EXISTS = TIZEN_ERROR_BUNDLE | 0x01,
	BUNDLE_ERROR_INDEX_OUT_OF_BOUNDS = TIZEN_ERROR_BUNDLE | 0x02,
} bundle_error_e;

typedef enum bundle_type_property {
	BUNDLE_TYPE_PRIMITIVE = 0x0100,
	BUNDLE_TYPE_ARRAY = 0x0200,
	BUNDLE_TYPE_MEASURABLE = 0x0400,
} bundle_type_property;

typedef enum bundle_type_t {
	BUNDLE_TYPE_NONE = -1,
	BUNDLE_TYPE_ANY = 0,
	BUNDLE_TYPE_STR = 1 | BUNDLE_TYPE_MEASURABLE,
	BUNDLE_TYPE_STR_ARRAY = 1 | BUNDLE_TYPE_ARRAY | BUNDLE_TYPE_MEASURABLE,
	BUNDLE_TYPE_BYTE = 2,
	BUNDLE_TYPE_BYTE_ARRAY = 2 | BUNDLE_TYPE_ARRAY,
} bundle_type;

/* Called for every entry; `type` is one of bundle_type. */
typedef void (*bundle_iterator_t)(const char *key, const int type, const bundle_keyval_t *kv, void *user_data);

bundle *bundle_create(void);
int bundle_free(bundle *b);
bundle *bundle_dup(bundle *b_from);
int bundle_get_count(bundle *b);
int bundle_del(bundle *b, const char *key);
/* The type of the key's value; BUNDLE_TYPE_NONE (and the error in get_last_result()) when the
 * key is missing. */
int bundle_get_type(bundle *b, const char *key);

int bundle_add_str(bundle *b, const char *key, const char *str);
int bundle_get_str(bundle *b, const char *key, char **str);
/* Older names of the string calls: bundle_add() answers like bundle_add_str(); bundle_get_val()
 * answers the string or NULL. */
int bundle_add(bundle *b, const char *key, const char *val);
const char *bundle_get_val(bundle *b, const char *key);

/* NULL elements, or a NULL str_array, are stored as empty strings. */
int bundle_add_str_array(bundle *b, const char *key, const char **str_array, const int len);
const char **bundle_get_str_array(bundle *b, const char *key, int *len);

int bundle_add_byte(bundle *b, const char *key, const void *bytes, const size_t size);
int bundle_get_byte(bundle *b, const char *key, void **bytes, size_t *size);

void bundle_foreach(bundle *b, bundle_iterator_t iter, void *user_data);
int bundle_keyval_get_type(bundle_keyval_t *kv);
int bundle_keyval_type_is_array(bundle_keyval_t *kv);
int bundle_keyval_type_is_measurable(bundle_keyval_t *kv);
/* For a string or byte entry; an array entry fails with BUNDLE_ERROR_INVALID_PARAMETER. */
int bundle_keyval_get_basic_val(bundle_keyval_t *kv, void **val, size_t *size);
/* For an array entry; array_element_size may be NULL. */
int bundle_keyval_get_array_val(bundle_keyval_t *kv, void ***array_val, unsigned int *array_len,
		size_t **array_element_size);

/* *r is malloc'd (free it with free() or bundle_free_encoded_rawdata()); *len excludes the NUL. */
int bundle_encode(bundle *b, bundle_raw **r, int *len);
int bundle_free_encoded_rawdata(bundle_raw **r);
/* NULL, with BUNDLE_ERROR_INVALID_PARAMETER in get_last_result(), for text that is not an
 * encoded bundle. */
bundle *bundle_decode(const bundle_raw *r, const int len);

#ifdef __cplusplus
}
#endif

#endif /* __BUNDLE_H__ */
