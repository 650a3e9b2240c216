#include <map>

#include <app_control.h>
#include <bundle.h>
#include <message_port.h>

#include "HostFixture.h"

namespace {

using Answer = std::map<std::string, std::string>;

const char kPort[] = "zonvista_base_weather_port";
const char kAsk[] = "REQUEST_WEATHER_INFO_WITH_GEO_POSITION";
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

	// The request as the weather handler builds it; `positions` alternates lat and lon.
	void request(std::vector<const char *> positions, const char *message = kAsk, const char *port = kPort)
	{
		app_control_h h = nullptr;
		app_control_create(&h);
		app_control_set_app_id(h, ZON_HOST_WEATHER_AGENT_APP_ID);
		if (port)
			app_control_add_extra_data(h, "PORT_ID", port);
		app_control_add_extra_data(h, "max", std::to_string(positions.size() / 2).c_str());
		for (size_t i = 0; i < positions.size(); i += 2) {
			app_control_add_extra_data(h, ("lat_" + std::to_string(i / 2)).c_str(), positions[i]);
			app_control_add_extra_data(h, ("lon_" + std::to_string(i / 2)).c_str(), positions[i + 1]);
		}
		app_control_add_extra_data(h, "MESSAGE", message);
		EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, nullptr, nullptr));
		app_control_destroy(h);
		zon_host_pump(100);
	}

	Answer ask(const char *lat, const char *lon, long long date, bool fahrenheit = false)
	{
		zon_host_weather_agent_config config = {};
		config.date = date;
		config.fahrenheit = fahrenheit;
		zon_host_install_weather_agent(&config);
		answers.clear();
		request({lat, lon});
		EXPECT_EQ(1u, answers.size());
		return answers.empty() ? Answer() : answers[0];
	}

	static int temperature(const Answer &a) { return atoi(a.at("currentTemperature").c_str()); }

	std::vector<Answer> answers;
	std::string sender;

private:
	static void onMessage(int, const char *app, const char *, bool, bundle *msg, void *self)
	{
		auto *t = static_cast<HostWeatherAgent *>(self);
		t->answers.emplace_back();
		bundle_foreach(msg, [](const char *key, const int, const bundle_keyval_t *kv, void *out) {
			void *val = nullptr;
			size_t size = 0;
			bundle_keyval_get_basic_val(const_cast<bundle_keyval_t *>(kv), &val, &size);
			(*static_cast<Answer *>(out))[key] = static_cast<const char *>(val);
		}, &t->answers.back());
		t->sender = app;
	}

	int portId_ = -1;
};

TEST_F(HostWeatherAgent, AnswerFollowsPlaceSeasonAndUnitOthersAreRefusedAndResetDropsLateOnes)
{
	Answer berlin = ask("52.507542", "13.426142", kJuly);
	EXPECT_EQ(ZON_HOST_WEATHER_AGENT_APP_ID, sender);
	EXPECT_EQ(berlin, ask("52.507542", "13.426142", kJuly)) << "same place and day, same weather";
	int summer = temperature(berlin);
	berlin.erase("iconID");
	berlin.erase("currentTemperature");
	EXPECT_EQ((Answer{{"result", "0"}, {"lat", "52.507542"}, {"lon", "13.426142"}, {"temperatureUnit", "c"},
			{"showCurrentLocation", "on"}, {"refreshedTime", std::to_string(kJuly)}}), berlin);
	// Seasons are the other way round in the south.
	EXPECT_LT(temperature(ask("52.507542", "13.426142", kJanuary)) + 5, summer);
	EXPECT_GT(temperature(ask("-33.868820", "151.209296", kJanuary)),
			temperature(ask("-33.868820", "151.209296", kJuly)) + 5);

	Answer fahrenheit = ask("52.507542", "13.426142", kJuly, true);
	EXPECT_EQ("f", fahrenheit["temperatureUnit"]);
	EXPECT_NEAR(summer * 9.0 / 5 + 32, temperature(fahrenheit), 1.0);

	answers.clear();
	zon_host_install_weather_agent(nullptr);
	request({"52.507542", "13.426142"}, "REQUEST_SOMETHING_ELSE");
	request({"52.507542", "13.426142"}, kAsk, nullptr);
	EXPECT_TRUE(answers.empty());
	EXPECT_TRUE(zon_host_log_contains("names no PORT_ID"));

	// A comma decimal separator is not a position: the error form, which echoes the texts.
	request({"51,5", "-0,12"});
	ASSERT_EQ(1u, answers.size());
	EXPECT_EQ((Answer{{"result", "1"}, {"lat", "51,5"}, {"lon", "-0,12"}}), answers[0]);
	zon_host_weather_agent_config config = {};
	config.mode = ZON_HOST_WEATHER_FIXED;
	const char *badKeys[] = {""};
	config.fixed_keys = config.fixed_values = badKeys;
	config.fixed_count = 1;
	EXPECT_EQ(-1, zon_host_install_weather_agent(&config));

	// An answer to a port that is gone is lost, and says so.
	request({"52.507542", "13.426142"}, kAsk, "zonvista_widget_weather_port");
	EXPECT_EQ(1u, answers.size());
	EXPECT_TRUE(zon_host_log_contains("answer to korvath.zonvista port zonvista_widget_weather_port failed"));

	// Several places in one request: one message each, in order.
	request({"1.000000", "2.000000", "3.000000", "4.000000"});
	ASSERT_EQ(3u, answers.size());
	EXPECT_EQ("1.000000", answers[1]["lat"]);
	EXPECT_EQ("3.000000", answers[2]["lat"]);

	// Answers still waiting for their delay go with a reset.
	config = {};
	config.delay_ms = 60000;
	zon_host_install_weather_agent(&config);
	request({"39.938884", "116.397459"});
	EXPECT_EQ(1u, zon_host_weather_agent_pending());
	EXPECT_EQ(1, zon_host_reset()) << "only the test's port is live";
	EXPECT_EQ(0u, zon_host_weather_agent_pending());
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_EQ(3u, answers.size());
}

} // namespace
