// The application event hub and its listener base class. The hub is a process-wide singleton,
// so every test removes what it registered. Its delivery rules when listeners change it during
// an event are WSignal's, tested there.

#include <memory>
#include <string>
#include <vector>

#include "AppEventListener.h"
#include "AppEventManager.h"
#include "HostFixture.h"

using Events = std::vector<std::string>;
using Event = AppEventManager::EventType;

namespace {

class NamedListener : public AppEventListener {
public:
	NamedListener(Events& log, std::string name) : _log(&log), _name(std::move(name)) {}
	void onEvent(Event event) override { _log->push_back(_name + std::to_string(event)); }

private:
	Events* _log;
	std::string _name;
};

}

class AppEventHub : public HostFixture {
protected:
	AppEventManager* hub = AppEventManager::getInstance();
	Events log;
};

TEST_F(AppEventHub, FunctionsAndListenerObjectsInOrderOfRegistrationAndCopies)
{
	WSignal_ListenerId first = hub->addListener([&](Event e) { log.push_back("fn" + std::to_string(e)); });
	{
		NamedListener object(log, "obj");
		WSignal_ListenerId last = hub->addListener([&](Event e) { log.push_back("last" + std::to_string(e)); });
		hub->propagateEvent(AppEventManager::WEATHER_PACKAGE_STATE_CHANGED);
		EXPECT_EQ((Events{"fn7", "obj7", "last7"}), log);
		hub->removeListener(last);
	}
	log.clear();
	hub->propagateEvent(AppEventManager::FONT_CHANGED);
	EXPECT_EQ((Events{"fn0"}), log);
	hub->removeListener(first);
	log.clear();

	// A copy has its own registration; an assigned one takes the name and keeps its own.
	auto original = std::make_unique<NamedListener>(log, "a");
	NamedListener copy(*original);
	NamedListener assigned(log, "b");
	assigned = copy;
	original.reset();
	hub->propagateEvent(AppEventManager::LANGUAGE_CHANGED);
	EXPECT_EQ((Events{"a3", "a3"}), log);
	EXPECT_EQ(0u, zon_host_log_count_matching("Already removed listener"));
}
