#include <bundle.h>
#include <message_port.h>

#include "HostFixture.h"

namespace {

class HostMessagePort : public HostFixture {};

// "<port id> <sender>:<sender port> <result>" for every message received.
void receive(int port, const char *app, const char *remotePort, bool, bundle *msg, void *self)
{
	const char *v = bundle_get_val(msg, "result");
	static_cast<std::vector<std::string> *>(self)->push_back(std::to_string(port) + " " + app + ":" +
			(remotePort ? remotePort : "-") + " " + (v ? v : "-"));
}

TEST_F(HostMessagePort, MessageArrivesAsACopyOnTheMainLoopAndBundleSizesCountTheNul)
{
	std::vector<std::string> inbox;
	const char port[] = "zonvista_base_weather_port";
	int id = message_port_register_local_port(port, receive, &inbox);
	ASSERT_GT(id, 0);
	bundle *b = bundle_create();
	bundle_add_str(b, "result", "0");
	ASSERT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_send_message(ZON_HOST_DEFAULT_APP_ID, port, b));
	bundle_del(b, "result");
	EXPECT_TRUE(inbox.empty()) << "delivered inside the send";
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{std::to_string(id) + " " ZON_HOST_DEFAULT_APP_ID ":- 0"}, inbox);

	// Unknown ports fail at send time; trusted ports are a name space of their own.
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND, message_port_send_message("korvath.weather-agent", port, b));
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND, message_port_send_trusted_message(ZON_HOST_DEFAULT_APP_ID, port, b));
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_unregister_local_port(id));

	// The weather reply is read this way: a string's size counts its NUL, and the iterator may
	// delete what it is shown. The bundle is empty again.
	EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_add_str(b, "result", "0"));
	EXPECT_EQ(BUNDLE_ERROR_KEY_EXISTS, bundle_add_str(b, "result", "1"));
	bundle_add_str(b, "empty", "");
	static std::vector<std::string> seen;
	seen.clear();
	bundle_foreach(b, [](const char *key, const int, const bundle_keyval_t *kv, void *self) {
		EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_del(static_cast<bundle *>(self), key));
		void *val = nullptr;
		size_t size = 0;
		ASSERT_EQ(BUNDLE_ERROR_NONE, bundle_keyval_get_basic_val(const_cast<bundle_keyval_t *>(kv), &val, &size));
		seen.push_back(std::string(key) + "=" + std::string(static_cast<char *>(val), size));
	}, b);
	EXPECT_EQ((std::vector<std::string>{std::string("result=0\0", 9), std::string("empty=\0", 7)}), seen);
	EXPECT_EQ(0, bundle_get_count(b));
	bundle_free(b);
}

} // namespace
