/**
 * @class AppEventManager
 * AppEventManager.h - the process-wide hub for application events.
 *
 * The application's lifecycle and system-event handlers call propagateEvent(); every object that
 * cares about a font, colour, time, language or region-format change, a pause or resume, or the
 * weather application being installed or removed, listens here instead of subscribing to the
 * platform itself. Objects either add a function (addListener) or derive from AppEventListener.
 *
 * Delivery rules are those of app_trellis::WSignal (see WSignal.h): listeners are called in the
 * order they were added; one added while an event is being delivered gets the next event, not
 * the current one; one removed while an event is being delivered is not called again. A listener
 * may itself propagate an event, add or remove listeners, or destroy AppEventListeners.
 *
 * Failures: removing an id that is not registered only logs "Already removed listener! =<id>";
 * removing the id 0 (no listener) does nothing.
 *
 * Ownership and threading: a singleton created on first use and never destroyed. Listeners are
 * copied in. Main-loop thread only, no locking.
 *
 * Example:
 * @code
 *   WSignal_ListenerId id = AppEventManager::getInstance()->addListener(
 *       [this](AppEventManager::EventType event) {
 *           if (event == AppEventManager::LANGUAGE_CHANGED)
 *               _updateTexts();
 *       });
 *   ...
 *   AppEventManager::getInstance()->propagateEvent(AppEventManager::LANGUAGE_CHANGED);
 *   ...
 *   AppEventManager::getInstance()->removeListener(id);
 * @endcode
 */
#ifndef APP_EVENT_MANAGER_H
#define APP_EVENT_MANAGER_H

#include <functional>

#include <WSignal.h>

class AppEventManager {
public:
	/// The events, in the order of their values 0..7.
	enum EventType {
		FONT_CHANGED = 0,
		COLOR_CHANGED,
		TIME_CHANGED,
		LANGUAGE_CHANGED,
		REGION_FORMAT_CHANGED,
		APP_PAUSED,
		APP_RESUMED,
		WEATHER_PACKAGE_STATE_CHANGED,
	};

	/// The hub, created on the first call; never null.
	static AppEventManager* getInstance();

	/// Adds `cb` (copied) after the listeners already there.
	/// @return the id that removes it; never 0.
	WSignal_ListenerId addListener(const std::function<void(AppEventManager::EventType)>& cb);
	/// Removes the listener `id`; an unknown id only logs, 0 does nothing.
	void removeListener(WSignal_ListenerId id);
	/// Calls every listener with `event`, synchronously, in the order they were added.
	void propagateEvent(AppEventManager::EventType event);

	virtual ~AppEventManager();

private:
	AppEventManager();
	AppEventManager(const AppEventManager&) = delete;
	AppEventManager& operator=(const AppEventManager&) = delete;

	app_trellis::WSignal<void(AppEventManager::EventType)> _eventSignal;

	static AppEventManager* _instance;
};

#endif /* APP_EVENT_MANAGER_H */
