#define LOG_TAG "WAPP"

#include "AppEventManager.h"

#include "ZonCommonDefine.h"

AppEventManager* AppEventManager::_instance = nullptr;

AppEventManager* AppEventManager::getInstance()
{
	if (!_instance)
		_instance = new AppEventManager();
	return _instance;
}

AppEventManager::AppEventManager()
{
}

AppEventManager::~AppEventManager()
{
}

WSignal_ListenerId AppEventManager::addListener(const std::function<void(AppEventManager::EventType)>& cb)
{
	return _eventSignal.addListener(cb);
}

void AppEventManager::removeListener(WSignal_ListenerId id)
{
	// 0 is what AppEventListener and callers hold when nothing is registered.
	if (id == 0)
		return;
	_eventSignal.removeListener(id);
}

void AppEventManager::propagateEvent(AppEventManager::EventType event)
{
	WDEBUG("event=%d", event);
	_eventSignal.emit(event);
}
