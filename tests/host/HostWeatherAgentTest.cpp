#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <glib.h>

#include <app_control.h>
#include <bundle.h>
#include <message_port.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

using Answer = std::map<std::string, std::string>;

const char kPort[] = "zonvista_base_weather_port";
// 15 January and 15 July 2024, noon UTC.
const long long kJanuary = 1705320000;
const long long kJuly = 1721044800;

class HostWeatherAgent : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		portId_ = message_port_register_local_port(kPort, onMessage, this);
		ASSERT_GT(portId_, 0);
	}

	void TearDown() override
	{
		message_port_unregister_local_port(portId_);
		HostFixture::TearDown();
	}

	// The request exactly as the weather handler builds it.
	int request(const char *lat, const char *lon, const char *message = "REQUEST_WEATHER_INFO_WITH_GEO_POSITION",
			const char *port = kPort)
	{
		app_control_h h = nullptr;
		app_control_create(&h);
		app_control_set_app_id(h, ZON_HOST_WEATHER_AGENT_APP_ID);
		if (port)
			app_control_add_extra_data(h, "PORT_ID", port);
		app_control_add_extra_data(h, "max", "1");
		app_control_add_extra_data(h, "lon_0", lon);
		app_control_add_extra_data(h, "lat_0", lat);
		app_control_add_extra_data(h, "MESSAGE", message);
		int ret = app_control_send_launch_request(h, nullptr, nullptr);
		app_control_destroy(h);
		return ret;
	}

	Answer ask(const char *lat, const char *lon, long long date, bool fahrenheit = false)
	{
		zon_host_weather_agent_config config = {};
		config.date = date;
		config.fahrenheit = fahrenheit;
		zon_host_install_weather_agent(&config);
		answers.clear();
		EXPECT_EQ(APP_CONTROL_ERROR_NONE, request(lat, lon));
		zon_host_pump(100);
		EXPECT_EQ(1u, answers.size());
		return answers.empty() ? Answer() : answers[0];
	}

	static int temperature(const Answer &a) { return atoi(a.at("currentTemperature").c_str()); }

	std::vector<Answer> answers;
	std::vector<std::string> senders;

private:
	static void onMessage(int, const char *app, const char *, bool, bundle *msg, void *self)
	{
		auto *t = static_cast<HostWeatherAgent *>(self);
		Answer a;
		bundle_foreach(msg, [](const char *key, const int, const bundle_keyval_t *kv, void *out) {
			void *val = nullptr;
			size_t size = 0;
			bundle_keyval_get_basic_val(const_cast<bundle_keyval_t *>(kv), &val, &size);
			(*static_cast<Answer *>(out))[key] = static_cast<const char *>(val);
		}, &a);
		t->answers.push_back(a);
		t->senders.push_back(app);
	}

	int portId_ = -1;
};

TEST_F(HostWeatherAgent, AnswersPlausibleWeatherAndEchoesThePosition)
{
	Answer berlinJan = ask("52.507542", "13.426142", kJanuary);
	EXPECT_EQ(ZON_HOST_WEATHER_AGENT_APP_ID, senders[0]);
	EXPECT_EQ("0", berlinJan["result"]);
	EXPECT_EQ("52.507542", berlinJan["lat"]);
	EXPECT_EQ("13.426142", berlinJan["lon"]);
	EXPECT_EQ("c", berlinJan["temperatureUnit"]);
	EXPECT_EQ("on", berlinJan["showCurrentLocation"]);
	EXPECT_EQ(std::to_string(kJanuary), berlinJan["refreshedTime"]);
	int icon = atoi(berlinJan["iconID"].c_str());
	EXPECT_TRUE(icon >= 1 && icon <= 23) << icon;
	EXPECT_EQ(berlinJan, ask("52.507542", "13.426142", kJanuary)) << "same place and day, same weather";

	Answer berlinJul = ask("52.507542", "13.426142", kJuly);
	EXPECT_TRUE(temperature(berlinJan) >= -10 && temperature(berlinJan) <= 8) << temperature(berlinJan);
	EXPECT_TRUE(temperature(berlinJul) >= 15 && temperature(berlinJul) <= 32) << temperature(berlinJul);

	// Seasons are the other way round in the south; the tropics barely have any.
	EXPECT_GT(temperature(ask("-33.868820", "151.209296", kJanuary)),
			temperature(ask("-33.868820", "151.209296", kJuly)) + 5);
	for (long long date : {kJanuary, kJuly}) {
		int abidjan = temperature(ask("5.348542", "-3.979863", date));
		EXPECT_TRUE(abidjan >= 22 && abidjan <= 32) << abidjan;
	}

	// Frost comes with wintry conditions, never with a thunderstorm or heat.
	Answer arctic = ask("78.223172", "15.626723", kJanuary);
	EXPECT_LT(temperature(arctic), 0);
	EXPECT_TRUE(std::string("12 10 11 13 14 16 3 18 ").find(arctic["iconID"] + " ") != std::string::npos)
			<< arctic["iconID"];

	Answer fahrenheit = ask("52.507542", "13.426142", kJuly, true);
	EXPECT_EQ("f", fahrenheit["temperatureUnit"]);
	EXPECT_NEAR(temperature(berlinJul) * 9.0 / 5 + 32, temperature(fahrenheit), 1.0);
}

TEST_F(HostWeatherAgent, SilentErrorAndFixedModes)
{
	zon_host_weather_agent_config config = {};
	config.mode = ZON_HOST_WEATHER_SILENT;
	ASSERT_EQ(0, zon_host_install_weather_agent(&config));
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, request("37.757700", "-122.437600")) << "launched all the same";
	zon_host_pump(100);
	EXPECT_TRUE(answers.empty());

	config.mode = ZON_HOST_WEATHER_ERROR;
	config.error_result = "7";
	zon_host_install_weather_agent(&config);
	request("37.757700", "-122.437600");
	zon_host_pump(100);
	ASSERT_EQ(1u, answers.size());
	EXPECT_EQ((Answer{{"result", "7"}, {"lat", "37.757700"}, {"lon", "-122.437600"}}), answers[0]);

	const char *keys[] = {"result", "iconID", "currentTemperature", "temperatureUnit", "lat"};
	const char *values[] = {"0", "21", "-3", "C", "47.377456"};
	config = {};
	config.mode = ZON_HOST_WEATHER_FIXED;
	config.fixed_keys = keys;
	config.fixed_values = values;
	config.fixed_count = 5;
	zon_host_install_weather_agent(&config);
	request("47.377455", "8.536715");
	zon_host_pump(100);
	ASSERT_EQ(2u, answers.size());
	EXPECT_EQ((Answer{{"result", "0"}, {"iconID", "21"}, {"currentTemperature", "-3"}, {"temperatureUnit", "C"},
			{"lat", "47.377456"}, {"lon", "8.536715"}}), answers[1]) << "a fixed lat wins over the echo";

	const char *badKeys[] = {""};
	config.fixed_keys = badKeys;
	config.fixed_count = 1;
	EXPECT_EQ(-1, zon_host_install_weather_agent(&config));
}

TEST_F(HostWeatherAgent, DelayedAnswersWaitForTheirTimeout)
{
	zon_host_weather_agent_config config = {};
	config.delay_ms = 60000;
	zon_host_install_weather_agent(&config);
	request("39.938884", "116.397459");
	zon_host_pump(100);
	EXPECT_TRUE(answers.empty());
	EXPECT_EQ(1u, zon_host_weather_agent_pending());
	EXPECT_EQ(1, zon_host_weather_agent_flush());
	EXPECT_EQ(0u, zon_host_weather_agent_pending());
	zon_host_pump(100);
	ASSERT_EQ(1u, answers.size());

	// A short delay is a real timer: the answer comes by itself once the loop waits for it.
	config.delay_ms = 20;
	zon_host_install_weather_agent(&config);
	gint64 start = g_get_monotonic_time();
	request("39.938884", "116.397459");
	gint64 deadline = start + 5 * G_USEC_PER_SEC;
	while (answers.size() < 2 && g_get_monotonic_time() < deadline)
		g_main_context_iteration(nullptr, TRUE);
	ASSERT_EQ(2u, answers.size());
	EXPECT_GE(g_get_monotonic_time() - start, 20 * 1000);

	// Uninstalling or resetting drops what is still waiting.
	config.delay_ms = 60000;
	zon_host_install_weather_agent(&config);
	request("39.938884", "116.397459");
	zon_host_pump(100);
	EXPECT_EQ(0, zon_host_unregister_app(ZON_HOST_WEATHER_AGENT_APP_ID));
	EXPECT_EQ(0u, zon_host_weather_agent_pending());
	zon_host_install_weather_agent(&config);
	request("39.938884", "116.397459");
	zon_host_pump(100);
	EXPECT_EQ(1, zon_host_reset()) << "only the test's port is live";
	EXPECT_EQ(0u, zon_host_weather_agent_pending());
	EXPECT_EQ(2u, answers.size());
}

TEST_F(HostWeatherAgent, RequestsItCannotAnswerAsked)
{
	zon_host_install_weather_agent(nullptr);
	request("52.507542", "13.426142", "REQUEST_SOMETHING_ELSE");
	request("52.507542", "13.426142", "REQUEST_WEATHER_INFO_WITH_GEO_POSITION", nullptr);
	zon_host_pump(100);
	EXPECT_TRUE(answers.empty());
	EXPECT_TRUE(zon_host_log_contains("names no PORT_ID"));

	// A comma decimal separator is not a position; the texts still come back.
	request("51,5", "-0,12");
	zon_host_pump(100);
	ASSERT_EQ(1u, answers.size());
	EXPECT_EQ((Answer{{"result", "1"}, {"lat", "51,5"}, {"lon", "-0,12"}}), answers[0]);

	// An answer to a port that is gone is lost, and says so.
	request("52.507542", "13.426142", "REQUEST_WEATHER_INFO_WITH_GEO_POSITION", "zonvista_widget_weather_port");
	zon_host_pump(100);
	EXPECT_EQ(1u, answers.size());
	EXPECT_TRUE(zon_host_log_contains("answer to korvath.zonvista port zonvista_widget_weather_port failed"));

	// Several places in one request: one message each.
	app_control_h h = nullptr;
	app_control_create(&h);
	app_control_set_app_id(h, ZON_HOST_WEATHER_AGENT_APP_ID);
	app_control_add_extra_data(h, "PORT_ID", kPort);
	app_control_add_extra_data(h, "max", "2");
	app_control_add_extra_data(h, "lat_0", "1.000000");
	app_control_add_extra_data(h, "lon_0", "2.000000");
	app_control_add_extra_data(h, "lat_1", "3.000000");
	app_control_add_extra_data(h, "lon_1", "4.000000");
	app_control_add_extra_data(h, "MESSAGE", "REQUEST_WEATHER_INFO_WITH_GEO_POSITION");
	app_control_send_launch_request(h, nullptr, nullptr);
	app_control_destroy(h);
	zon_host_pump(100);
	ASSERT_EQ(3u, answers.size());
	EXPECT_EQ("1.000000", answers[1]["lat"]);
	EXPECT_EQ("3.000000", answers[2]["lat"]);
}

} // namespace
