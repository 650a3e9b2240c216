/**
 * @class AppEventListener
 * AppEventListener.h - a base class that receives the application events of AppEventManager.
 *
 * Derive from it and override onEvent(): the object is registered with the hub from the end of
 * this base class's constructor to the start of its destructor, and every event propagated in
 * that time reaches the most derived override. Events propagated while the derived parts are
 * still being built or already torn down reach whatever override the object has at that moment
 * (the default one does nothing), as with any virtual call.
 *
 * A copy is registered on its own and gets its own events; assignment leaves each object's
 * registration as it is.
 *
 * Threading: main-loop thread only, like the hub.
 *
 * Example:
 * @code
 *   class CityListView : public AppEventListener {
 *   public:
 *       void onEvent(AppEventManager::EventType event) override
 *       {
 *           if (event == AppEventManager::TIME_CHANGED)
 *               _refreshTimes();
 *       }
 *   };
 * @endcode
 */
#ifndef APP_EVENT_LISTENER_H
#define APP_EVENT_LISTENER_H

#include "AppEventManager.h"

class AppEventListener {
public:
	/// Registers the object with AppEventManager.
	AppEventListener();
	/// Registers the new object on its own; `other` keeps its registration.
	AppEventListener(const AppEventListener& other);
	/// Leaves both objects registered as they were.
	AppEventListener& operator=(const AppEventListener& other);
	/// Unregisters the object.
	virtual ~AppEventListener();

	/// Called for every event propagated while the object is registered. The default does nothing.
	virtual void onEvent(AppEventManager::EventType event);

private:
	void _register();

	WSignal_ListenerId _signalId;
};

#endif /* APP_EVENT_LISTENER_H */
