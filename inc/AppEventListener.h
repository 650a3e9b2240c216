/*
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
 *   class CityListView : public AppEventListener {
 *   public:
 *       void onEvent(AppEventManager::EventType event) override
 *       {
 *           if (event == AppEventManager::TIME_CHANGED)
 *               _refreshTimes();
 *       }
 *   };
 */
#ifndef APP_EVENT_LISTENER_H
#define APP_EVENT_LISTENER_H

#include "AppEventManager.h"

class AppEventListener {
public:
	AppEventListener();
	AppEventListener(const AppEventListener& other);
	AppEventListener& operator=(const AppEventListener& other);
	virtual ~AppEventListener();

	virtual void onEvent(AppEventManager::EventType event);

private:
	void _register();

	WSignal_ListenerId _signalId;
};

#endif /* APP_EVENT_LISTENER_H */
