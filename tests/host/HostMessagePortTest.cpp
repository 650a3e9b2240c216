#include <string>
#include <vector>

#include <bundle.h>
#include <message_port.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostMessagePort : public HostFixture {};

struct Inbox {
	struct Message {
		int port;
		std::string sender, senderPort, value;
		bool trusted;
	};
	std::vector<Message> messages;

	static void onMessage(int port, const char *app, const char *remotePort, bool trusted, bundle *msg, void *self)
	{
		const char *v = bundle_get_val(msg, "result");
		static_cast<Inbox *>(self)->messages.push_back(
				{port, app ? app : "(null)", remotePort ? remotePort : "(null)", v ? v : "(null)", trusted});
	}
};

bundle *message(const char *result)
{
	bundle *b = bundle_create();
	bundle_add_str(b, "result", result);
	return b;
}

TEST_F(HostMessagePort, MessageArrivesAsACopyOnTheMainLoop)
{
	Inbox inbox;
	int id = message_port_register_local_port("zonvista_base_weather_port", Inbox::onMessage, &inbox);
	ASSERT_GT(id, 0);
	bool exists = false;
	EXPECT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_check_remote_port(ZON_HOST_DEFAULT_APP_ID,
			"zonvista_base_weather_port", &exists));
	EXPECT_TRUE(exists);

	bundle *b = message("0");
	ASSERT_EQ(MESSAGE_PORT_ERROR_NONE,
			message_port_send_message(ZON_HOST_DEFAULT_APP_ID, "zonvista_base_weather_port", b));
	bundle_free(b);
	EXPECT_TRUE(inbox.messages.empty()) << "delivered inside the send";
	zon_host_pump(100);
	ASSERT_EQ(1u, inbox.messages.size());
	EXPECT_EQ(id, inbox.messages[0].port);
	EXPECT_EQ(ZON_HOST_DEFAULT_APP_ID, inbox.messages[0].sender);
	EXPECT_EQ("(null)", inbox.messages[0].senderPort) << "sent without a local port";
	EXPECT_EQ("0", inbox.messages[0].value);

	// Unknown ports fail at send time; nothing is queued.
	b = message("1");
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND,
			message_port_send_message(ZON_HOST_DEFAULT_APP_ID, "zonvista_detail_weather_port", b));
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND,
			message_port_send_message("korvath.weather-agent", "zonvista_base_weather_port", b));
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND,
			message_port_send_trusted_message(ZON_HOST_DEFAULT_APP_ID, "zonvista_base_weather_port", b))
			<< "trusted ports are a name space of their own";
	EXPECT_EQ(MESSAGE_PORT_ERROR_INVALID_PARAMETER,
			message_port_send_message(ZON_HOST_DEFAULT_APP_ID, "zonvista_base_weather_port", nullptr));
	bundle_free(b);
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_unregister_local_port(id));
}

TEST_F(HostMessagePort, PortsBelongToTheApplicationThatRegisteredThem)
{
	Inbox agentInbox, appInbox;
	zon_host_set_app_id("korvath.weather-agent");
	int agentPort = message_port_register_local_port("agent", Inbox::onMessage, &agentInbox);
	zon_host_set_app_id(nullptr);
	int appPort = message_port_register_local_port("reply", Inbox::onMessage, &appInbox);
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND, message_port_unregister_local_port(agentPort)) << "not ours";

	bundle *b = message("0");
	ASSERT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_send_message_with_local_port("korvath.weather-agent", "agent", b,
			appPort));
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND,
			message_port_send_message_with_local_port("korvath.weather-agent", "agent", b, agentPort));
	EXPECT_EQ(MESSAGE_PORT_ERROR_INVALID_PARAMETER,
			message_port_send_message_with_local_port("korvath.weather-agent", "agent", b, -1));
	bundle_free(b);
	zon_host_pump(100);
	ASSERT_EQ(1u, agentInbox.messages.size());
	EXPECT_EQ(ZON_HOST_DEFAULT_APP_ID, agentInbox.messages[0].sender);
	EXPECT_EQ("reply", agentInbox.messages[0].senderPort);

	zon_host_set_app_id("korvath.weather-agent");
	EXPECT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_unregister_local_port(agentPort));
	zon_host_set_app_id(nullptr);
	EXPECT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_unregister_local_port(appPort));
}

TEST_F(HostMessagePort, ReRegisteringReplacesAndUnregisteringDropsTheQueue)
{
	Inbox first, second;
	int id = message_port_register_local_port("p", Inbox::onMessage, &first);
	bundle *b = message("queued");
	message_port_send_message(ZON_HOST_DEFAULT_APP_ID, "p", b);
	EXPECT_EQ(id, message_port_register_local_port("p", Inbox::onMessage, &second));
	zon_host_pump(100);
	EXPECT_TRUE(first.messages.empty());
	EXPECT_EQ(1u, second.messages.size()) << "the new callback takes over queued messages";

	int trusted = message_port_register_trusted_local_port("p", Inbox::onMessage, &first);
	EXPECT_GT(trusted, 0);
	EXPECT_NE(id, trusted);
	message_port_send_trusted_message(ZON_HOST_DEFAULT_APP_ID, "p", b);
	message_port_send_message(ZON_HOST_DEFAULT_APP_ID, "p", b);
	EXPECT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_unregister_local_port(id));
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND, message_port_unregister_local_port(id));
	EXPECT_EQ(MESSAGE_PORT_ERROR_INVALID_PARAMETER, message_port_unregister_local_port(0));
	EXPECT_EQ(MESSAGE_PORT_ERROR_PORT_NOT_FOUND, message_port_unregister_local_port(trusted)) << "other kind";
	zon_host_pump(100);
	EXPECT_EQ(1u, second.messages.size()) << "the queued message died with the port";
	ASSERT_EQ(1u, first.messages.size());
	EXPECT_TRUE(first.messages[0].port == trusted);

	// A port that is re-registered after unregistering is a new port.
	int again = message_port_register_local_port("p", Inbox::onMessage, &second);
	EXPECT_NE(id, again);
	EXPECT_EQ(2, zon_host_reset()) << "ports left registered are counted";
	bool exists = true;
	message_port_check_remote_port(ZON_HOST_DEFAULT_APP_ID, "p", &exists);
	EXPECT_FALSE(exists);
	bundle_free(b);
}

TEST_F(HostMessagePort, InjectedFaultsFailWithTheChosenError)
{
	Inbox inbox;
	zon_host_fault_inject("message_port_register_local_port", 1, MESSAGE_PORT_ERROR_IO_ERROR);
	EXPECT_EQ(MESSAGE_PORT_ERROR_IO_ERROR, message_port_register_local_port("p", Inbox::onMessage, &inbox));
	int id = message_port_register_local_port("p", Inbox::onMessage, &inbox);
	ASSERT_GT(id, 0);

	bundle *b = message("0");
	zon_host_fault_inject("message_port_send_message", 1, MESSAGE_PORT_ERROR_MAX_EXCEEDED);
	EXPECT_EQ(MESSAGE_PORT_ERROR_MAX_EXCEEDED, message_port_send_message(ZON_HOST_DEFAULT_APP_ID, "p", b));
	zon_host_pump(100);
	EXPECT_TRUE(inbox.messages.empty());
	EXPECT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_send_message(ZON_HOST_DEFAULT_APP_ID, "p", b));
	bundle_free(b);
	zon_host_pump(100);
	EXPECT_EQ(1u, inbox.messages.size());
	message_port_unregister_local_port(id);
}

} // namespace
