/*
 * message_port.cpp - local ports of the applications in this process and the messages sent
 * to them.
 *
 * A port belongs to the application id that was current when it was registered, so a test
 * can register a port "as" another application with zon_host_set_app_id(). Sending checks
 * the port at once, as the device asks the bus whether the remote port exists before it
 * sends; a message is then copied and delivered on the main loop.
 */
#include "app_framework.h"

#include <map>

#include "dlog.h"
#include "message_port.h"

namespace zonhost {
namespace {

const char kTag[] = "MESSAGE_PORT";

struct Port {
	std::string appId;
	std::string name;
	bool trusted;
	message_port_message_cb callback;
	void *userData;
	Serial serial;
};
std::map<int, Port> g_ports;
// Never reused, so that a stale id can't reach a later port.
int g_nextPortId = 1;

std::map<int, Port>::iterator findPort(const std::string &appId, const char *name, bool trusted)
{
	for (auto it = g_ports.begin(); it != g_ports.end(); ++it) {
		if (it->second.appId == appId && it->second.name == name && it->second.trusted == trusted)
			return it;
	}
	return g_ports.end();
}

int registerPort(const char *name, message_port_message_cb callback, void *userData, bool trusted)
{
	if (!name || !*name || !callback)
		return MESSAGE_PORT_ERROR_INVALID_PARAMETER;
	auto existing = findPort(zon_host_app_id(), name, trusted);
	if (existing != g_ports.end()) {
		existing->second.callback = callback;
		existing->second.userData = userData;
		return existing->first;
	}
	int id = g_nextPortId++;
	g_ports[id] = Port{zon_host_app_id(), name, trusted, callback, userData, newSerial()};
	return id;
}

int unregisterPort(int id, bool trusted)
{
	if (id <= 0)
		return MESSAGE_PORT_ERROR_INVALID_PARAMETER;
	auto it = g_ports.find(id);
	if (it == g_ports.end() || it->second.trusted != trusted || it->second.appId != zon_host_app_id())
		return MESSAGE_PORT_ERROR_PORT_NOT_FOUND;
	cancelDeliveries(it->second.serial);
	g_ports.erase(it);
	return MESSAGE_PORT_ERROR_NONE;
}

int sendFromLocalPort(const char *remoteAppId, const char *remotePort, bundle *message, int localPortId,
		bool trusted)
{
	if (localPortId <= 0)
		return MESSAGE_PORT_ERROR_INVALID_PARAMETER;
	auto local = g_ports.find(localPortId);
	if (local == g_ports.end() || local->second.appId != zon_host_app_id())
		return MESSAGE_PORT_ERROR_PORT_NOT_FOUND;
	return sendPortMessage(zon_host_app_id(), local->second.name.c_str(), local->second.trusted, remoteAppId,
			remotePort, trusted, message);
}

int checkRemotePort(const char *remoteAppId, const char *remotePort, bool *exist, bool trusted)
{
	if (!remoteAppId || !*remoteAppId || !remotePort || !*remotePort || !exist)
		return MESSAGE_PORT_ERROR_INVALID_PARAMETER;
	*exist = findPort(remoteAppId, remotePort, trusted) != g_ports.end();
	return MESSAGE_PORT_ERROR_NONE;
}

} // namespace

int sendPortMessage(const std::string &senderAppId, const char *senderPort, bool senderTrusted,
		const char *remoteAppId, const char *remotePort, bool trusted, bundle *message)
{
	if (!remoteAppId || !*remoteAppId || !remotePort || !*remotePort || !message)
		return MESSAGE_PORT_ERROR_INVALID_PARAMETER;
	auto port = findPort(remoteAppId, remotePort, trusted);
	if (port == g_ports.end()) {
		platformLog(DLOG_ERROR, kTag, "remote port %s of %s is not found", remotePort, remoteAppId);
		return MESSAGE_PORT_ERROR_PORT_NOT_FOUND;
	}
	int id = port->first;
	Serial serial = port->second.serial;
	BundlePtr copy = shareBundle(message->clone());
	std::optional<std::string> fromPort;
	if (senderPort)
		fromPort = std::string(senderPort);
	deliverLater(serial, [id, serial, copy, senderAppId, fromPort, senderTrusted]() {
		auto it = g_ports.find(id);
		if (it == g_ports.end() || it->second.serial != serial)
			return;
		// Copied first: the callback may unregister its own port.
		message_port_message_cb callback = it->second.callback;
		void *userData = it->second.userData;
		callback(id, senderAppId.c_str(), fromPort ? fromPort->c_str() : nullptr, senderTrusted, copy.get(),
				userData);
	});
	return MESSAGE_PORT_ERROR_NONE;
}

int messagePortReset()
{
	int live = (int)g_ports.size();
	for (const auto &entry : g_ports)
		cancelDeliveries(entry.second.serial);
	g_ports.clear();
	return live;
}

ZON_HOST_MODULE("message_port", ResetRank::State, messagePortReset);

} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("message_port_register_local_port", "message_port_register_trusted_local_port",
		"message_port_unregister_local_port", "message_port_unregister_trusted_local_port",
		"message_port_send_message", "message_port_send_trusted_message",
		"message_port_send_message_with_local_port", "message_port_send_trusted_message_with_local_port",
		"message_port_check_remote_port", "message_port_check_trusted_remote_port");

ZON_HOST_API int message_port_register_local_port(const char *local_port, message_port_message_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerPort(local_port, callback, user_data, false);
}

ZON_HOST_API int message_port_register_trusted_local_port(const char *trusted_local_port,
		message_port_trusted_message_cb callback, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerPort(trusted_local_port, callback, user_data, true);
}

ZON_HOST_API int message_port_unregister_local_port(int local_port_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return unregisterPort(local_port_id, false);
}

ZON_HOST_API int message_port_unregister_trusted_local_port(int trusted_local_port_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return unregisterPort(trusted_local_port_id, true);
}

ZON_HOST_API int message_port_send_message(const char *remote_app_id, const char *remote_port, bundle *message)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return sendPortMessage(zon_host_app_id(), nullptr, false, remote_app_id, remote_port, false, message);
}

ZON_HOST_API int message_port_send_trusted_message(const char *remote_app_id, const char *remote_port,
		bundle *message)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return sendPortMessage(zon_host_app_id(), nullptr, false, remote_app_id, remote_port, true, message);
}

ZON_HOST_API int message_port_send_message_with_local_port(const char *remote_app_id, const char *remote_port,
		bundle *message, int local_port_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return sendFromLocalPort(remote_app_id, remote_port, message, local_port_id, false);
}

ZON_HOST_API int message_port_send_trusted_message_with_local_port(const char *remote_app_id,
		const char *remote_port, bundle *message, int local_port_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return sendFromLocalPort(remote_app_id, remote_port, message, local_port_id, true);
}

ZON_HOST_API int message_port_check_remote_port(const char *remote_app_id, const char *remote_port, bool *exist)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return checkRemotePort(remote_app_id, remote_port, exist, false);
}

ZON_HOST_API int message_port_check_trusted_remote_port(const char *remote_app_id, const char *remote_port,
		bool *exist)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return checkRemotePort(remote_app_id, remote_port, exist, true);
}
