#include "WViewController.h"

namespace app_trellis {

namespace {

// The object's data key under which its controller is found.
const char kControllerKey[] = "__WViewController";

}

WViewController::WViewController()
	: _evasObj(nullptr), _naviItem(nullptr), _naviController(nullptr)
{
}

WViewController::~WViewController()
{
	// Deleted by hand while bound: the object must not call back into freed memory.
	if (_evasObj) {
		evas_object_event_callback_del_full(_evasObj, EVAS_CALLBACK_DEL, _onObjectDelCb, this);
		evas_object_data_del(_evasObj, kControllerKey);
	}
}

bool WViewController::create(Evas_Object* parent, void* viewParam)
{
	if (_evasObj) {
		WTRELLIS_ERROR("view %s already created", _name.c_str());
		return false;
	}
	Evas_Object* obj = onCreateView(parent, viewParam);
	if (!obj) {
		WTRELLIS_ERROR("onCreateView() of %s made no view", _name.c_str());
		return false;
	}
	_evasObj = obj;
	evas_object_data_set(obj, kControllerKey, this);
	evas_object_event_callback_add(obj, EVAS_CALLBACK_DEL, _onObjectDelCb, this);
	onCreated();
	return true;
}

void WViewController::destroy()
{
	if (_naviItem)
		elm_object_item_del(_naviItem);
	else if (_evasObj)
		evas_object_del(_evasObj);
}

Evas_Object* WViewController::getEvasObject() const
{
	return _evasObj;
}

const char* WViewController::getName() const
{
	return _name.c_str();
}

void WViewController::setName(const char* name)
{
	_name = name ? name : "";
}

Elm_Object_Item* WViewController::getNaviframeItem() const
{
	return _naviItem;
}

WNaviframeController* WViewController::getNaviframeController() const
{
	return _naviController;
}

WViewController* WViewController::getInstanceFromEvasObj(const Evas_Object* obj)
{
	if (!obj)
		return nullptr;
	return static_cast<WViewController*>(evas_object_data_get(obj, kControllerKey));
}

void WViewController::onCreated()
{
}

void WViewController::onDestroy()
{
}

void WViewController::onPushed(Elm_Object_Item*)
{
}

void WViewController::onBecomeTop()
{
}

bool WViewController::onPop()
{
	return true;
}

void WViewController::_onObjectDelCb(void* data, Evas*, Evas_Object* obj, void*)
{
	WViewController* self = static_cast<WViewController*>(data);
	self->onDestroy();
	evas_object_data_del(obj, kControllerKey);
	self->_evasObj = nullptr;
	self->_naviItem = nullptr;
	delete self;
}

}
