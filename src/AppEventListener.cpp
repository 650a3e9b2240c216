#include "AppEventListener.h"

AppEventListener::AppEventListener()
	: _signalId(0)
{
	_register();
}

AppEventListener::AppEventListener(const AppEventListener&)
	: _signalId(0)
{
	// Sharing the other object's id would remove its registration twice.
	_register();
}

AppEventListener& AppEventListener::operator=(const AppEventListener&)
{
	return *this;
}

AppEventListener::~AppEventListener()
{
	if (_signalId != 0)
		AppEventManager::getInstance()->removeListener(_signalId);
}

void AppEventListener::onEvent(AppEventManager::EventType)
{
}

void AppEventListener::_register()
{
	_signalId = AppEventManager::getInstance()->addListener(
		[this](AppEventManager::EventType event) { onEvent(event); });
}
