/*
 * message_port.h - named ports on which an application receives bundles from other
 * applications (or from itself).
 *
 * A port is known by the application that registered it and its name; trusted ports (only
 * applications signed with the same certificate may send to them) form a separate name space.
 *
 * Behaviour worth knowing:
 * - Registering returns a local port id > 0, or a negative error. Registering a name the
 *   application already has returns the same id and replaces the callback.
 * - Sending to a port nobody registered fails at once with MESSAGE_PORT_ERROR_PORT_NOT_FOUND;
 *   nothing is queued. A message to a registered port is copied at send time and delivered on
 *   the main loop, never inside the send call. The callback gets the sender's app id and, when
 *   the message was sent with message_port_send_message_with_local_port(), the sender's port
 *   name (NULL otherwise). The message bundle belongs to the platform: do not free it.
 * - Unregistering a port also drops the messages still queued for it.
 *
 * On the host every application is in the same process and signed alike, so trusted ports
 * accept every sender.
 */
#ifndef __TIZEN_APPFW_MESSAGE_PORT_H__
#define __TIZEN_APPFW_MESSAGE_PORT_H__

#include <stdbool.h>
#include <bundle.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
	MESSAGE_PORT_ERROR_NONE = TIZEN_ERROR_NONE,
	MESSAGE_PORT_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
	MESSAGE_PORT_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	MESSAGE_PORT_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	MESSAGE_PORT_ERROR_PORT_NOT_FOUND = TIZEN_ERROR_MESSAGE_PORT | 0x01,
	MESSAGE_PORT_ERROR_CERTIFICATE_NOT_MATCH = TIZEN_ERROR_MESSAGE_PORT | 0x02,
	MESSAGE_PORT_ERROR_MAX_EXCEEDED = TIZEN_ERROR_MESSAGE_PORT | 0x03,
	MESSAGE_PORT_ERROR_RESOURCE_UNAVAILABLE = TIZEN_ERROR_MESSAGE_PORT | 0x04,
	MESSAGE_PORT_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
} message_port_error_e;

typedef void (*message_port_message_cb)(int local_port_id, const char *remote_app_id, const char *remote_port,
		bool trusted_remote_port, bundle *message, void *user_data);
typedef void (*message_port_trusted_message_cb)(int trusted_local_port_id, const char *remote_app_id,
		const char *remote_port, bool trusted_remote_port, bundle *message, void *user_data);

int message_port_register_local_port(const char *local_port, message_port_message_cb callback, void *user_data);
int message_port_register_trusted_local_port(const char *trusted_local_port,
		message_port_trusted_message_cb callback, void *user_data);
/* MESSAGE_PORT_ERROR_INVALID_PARAMETER for an id <= 0, MESSAGE_PORT_ERROR_PORT_NOT_FOUND for one
 * this application does not hold. */
int message_port_unregister_local_port(int local_port_id);
int message_port_unregister_trusted_local_port(int trusted_local_port_id);

int message_port_send_message(const char *remote_app_id, const char *remote_port, bundle *message);
int message_port_send_trusted_message(const char *remote_app_id, const char *remote_port, bundle *message);
/* The receiver learns local_port_id's name, so it can answer there. */
int message_port_send_message_with_local_port(const char *remote_app_id, const char *remote_port, bundle *message,
		int local_port_id);
int message_port_send_trusted_message_with_local_port(const char *remote_app_id, const char *remote_port,
		bundle *message, int local_port_id);

int message_port_check_remote_port(const char *remote_app_id, const char *remote_port, bool *exist);
int message_port_check_trusted_remote_port(const char *remote_app_id, const char *remote_port, bool *exist);

#ifdef __cplusplus
}
#endif

#endif /* __TIZEN_APPFW_MESSAGE_PORT_H__ */
