#define LOG_TAG "zonvista"

#include "ZonRotaryManager.h"

#include <stdint.h>

#include "ZonCommonDefine.h"

// Registered before the widgets' own rotary callbacks (which use the default priority 0), so
// that the screen's handler sees the event first.
#define ZON_ROTARY_PRIORITY -100

// Objects are logged by the low 32 bits of their address, as the log has always shown them.
#define ZON_OBJ_LOG(obj) static_cast<unsigned int>(reinterpret_cast<uintptr_t>(obj))

ZonRotaryManager* ZonRotaryManager::_instance = nullptr;

ZonRotaryManager* ZonRotaryManager::getInstance()
{
	if (!_instance)
		_instance = new ZonRotaryManager();
	return _instance;
}

ZonRotaryManager::ZonRotaryManager()
	: _circleSurface(nullptr), _isFinalized(false)
{
}

ZonRotaryManager::~ZonRotaryManager()
{
}

void ZonRotaryManager::initialize(Evas_Object* conformant)
{
	_circleSurface = eext_circle_surface_conformant_add(conformant);
	_objects.clear();
	_handlers.clear();
}

Eext_Circle_Surface* ZonRotaryManager::getCircleSurface()
{
	return _circleSurface;
}

void ZonRotaryManager::setOnRotary(Evas_Object* obj, const std::function<void(Eext_Rotary_Event_Direction)>& handler)
{
	if (!obj) {
		WERROR("object is nullptr!");
		return;
	}
	_addObject(obj, handler);
	evas_object_event_callback_add(obj, EVAS_CALLBACK_DEL, _onObjectDeleted, this);
	_activateLastObject();
}

void ZonRotaryManager::active()
{
	if (_objects.empty())
		return;
	WINFO("active Object [%x]", ZON_OBJ_LOG(_objects.back()));
	eext_rotary_object_event_activated_set(_objects.back(), EINA_TRUE);
}

void ZonRotaryManager::inactive()
{
	if (_objects.empty())
		return;
	WINFO("inactive Object [%x]", ZON_OBJ_LOG(_objects.back()));
	eext_rotary_object_event_activated_set(_objects.back(), EINA_FALSE);
}

void ZonRotaryManager::reset()
{
	_objects.clear();
	_handlers.clear();
}

void ZonRotaryManager::finalize()
{
	_isFinalized = true;
	reset();
}

void ZonRotaryManager::_addObject(Evas_Object* obj, const std::function<void(Eext_Rotary_Event_Direction)>& handler)
{
	WINFO("Added Object [%x]", ZON_OBJ_LOG(obj));
	_objects.push_back(obj);
	_handlers.push_back(handler);
	eext_rotary_object_event_callback_priority_add(obj, ZON_ROTARY_PRIORITY, _onRotary, this);
}

void ZonRotaryManager::_removeObject(Evas_Object* obj)
{
	for (size_t i = 0; i < _objects.size(); ++i) {
		if (_objects[i] != obj)
			continue;
		// The wording is the one the log has always had, although this is a removal.
		WINFO("Added Object [%x],i =%d", ZON_OBJ_LOG(obj), static_cast<int>(i));
		_objects.erase(_objects.begin() + i);
		_handlers.erase(_handlers.begin() + i);
		return;
	}
}

void ZonRotaryManager::_activateLastObject()
{
	if (_objects.empty())
		return;
	WINFO("activate last Object [%x]", ZON_OBJ_LOG(_objects.back()));
	eext_rotary_object_event_activated_set(_objects.back(), EINA_TRUE);
}

void ZonRotaryManager::_onObjectDeleted(void* data, Evas*, Evas_Object* obj, void*)
{
	ZonRotaryManager* self = static_cast<ZonRotaryManager*>(data);
	if (!self) {
		WERROR("data is nullptr");
		return;
	}
	if (self->_isFinalized)
		return;
	self->_removeObject(obj);
	self->_activateLastObject();
}

Eina_Bool ZonRotaryManager::_onRotary(void* data, Evas_Object*, Eext_Rotary_Event_Info* info)
{
	ZonRotaryManager* self = static_cast<ZonRotaryManager*>(data);
	// Whatever object the event came to: the stack's top handler belongs to the active object.
	if (self->_handlers.empty() || !self->_handlers.back())
		return EINA_FALSE;
	// A copy: the handler may register or delete objects and so reshape the vector under it.
	std::function<void(Eext_Rotary_Event_Direction)> handler = self->_handlers.back();
	handler(info->direction);
	return EINA_TRUE;
}
