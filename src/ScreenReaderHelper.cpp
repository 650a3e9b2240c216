#define LOG_TAG "WAPP"

#include "ScreenReaderHelper.h"

#include <memory>

#include <WTimer.h>

#include "ZonCommonDefine.h"

// Who reads what, for one createPrimativeScreenReaderObject() overload: a text or a function
// for the name and the description (or no description), the role if any, and the reading kind.
struct ScreenReaderHelper::Reading {
	bool nameIsFunction;
	const char* name;
	Elm_Atspi_Reading_Info_Cb nameCb;
	const void* nameData;
	bool hasDescription;
	bool descriptionIsFunction;
	const char* description;
	Elm_Atspi_Reading_Info_Cb descriptionCb;
	const void* descriptionData;
	bool hasRole;
	Elm_Atspi_Role role;
	Elm_Accessible_Reading_Info_Type_Mask kind;
};

namespace {

const Elm_Accessible_Reading_Info_Type_Mask kName = ELM_ACCESSIBLE_READING_INFO_TYPE_NAME;
const Elm_Accessible_Reading_Info_Type_Mask kRole = ELM_ACCESSIBLE_READING_INFO_TYPE_ROLE;
const Elm_Accessible_Reading_Info_Type_Mask kDescription = ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION;

// A delayed highlight must not reach an object deleted while it waited. The timer and the
// object's deletion callback share this; whichever comes second frees it.
struct PendingHighlight {
	Evas_Object* obj;
};

void onPendingObjectDel(void* data, Evas*, Evas_Object*, void*)
{
	auto* holder = static_cast<std::shared_ptr<PendingHighlight>*>(data);
	(*holder)->obj = nullptr;
	delete holder;
}

}

bool ScreenReaderHelper::isScreenReaderEnabled()
{
	return elm_atspi_bridge_utils_is_screen_reader_enabled();
}

void ScreenReaderHelper::setInformationOnElmObj(Evas_Object* obj, const char* domain, const char* name,
	const char* description, Elm_Atspi_Gesture_Cb gestureCb, const void* data)
{
	Elm_Accessible_Reading_Info_Type_Mask kind;
	if (name && description)
		kind = kName | kDescription;
	else if (name)
		kind = kName;
	else if (description)
		kind = kDescription;
	else {
		WERROR("No data for set callbacks");
		return;
	}
	elm_atspi_accessible_name_set(obj, name);
	if (description)
		elm_atspi_accessible_description_set(obj, description);
	elm_atspi_accessible_gesture_cb_set(obj, gestureCb, data);
	elm_atspi_accessible_translation_domain_set(obj, domain);
	elm_atspi_accessible_reading_info_type_set(obj, kind);
}

void ScreenReaderHelper::setInformationOnElmObj(Evas_Object* obj, const char* domain, Elm_Atspi_Reading_Info_Cb nameCb,
	const void* nameData, Elm_Atspi_Reading_Info_Cb descriptionCb, const void* descriptionData,
	Elm_Atspi_Gesture_Cb gestureCb, const void* gestureData)
{
	Elm_Accessible_Reading_Info_Type_Mask kind;
	if (nameCb && descriptionCb)
		kind = kName | kDescription;
	else if (nameCb)
		kind = kName;
	else if (descriptionCb)
		kind = kDescription;
	else {
		WERROR("No data for set callbacks");
		return;
	}
	elm_atspi_accessible_name_cb_set(obj, nameCb, nameData);
	if (descriptionCb)
		elm_atspi_accessible_description_cb_set(obj, descriptionCb, descriptionData);
	elm_atspi_accessible_gesture_cb_set(obj, gestureCb, gestureData);
	elm_atspi_accessible_translation_domain_set(obj, domain);
	elm_atspi_accessible_reading_info_type_set(obj, kind);
}

void ScreenReaderHelper::setFocusableForElmObj(Evas_Object* obj, bool focusable)
{
	elm_atspi_accessible_can_highlight_set(obj, focusable ? EINA_TRUE : EINA_FALSE);
}

void ScreenReaderHelper::setRelationship(Evas_Object* a, Evas_Object* b, ChainDirection direction)
{
	switch (direction) {
	case BOTH:
		elm_atspi_accessible_relationship_append(a, ELM_ATSPI_RELATION_FLOWS_TO, b);
		elm_atspi_accessible_relationship_append(b, ELM_ATSPI_RELATION_FLOWS_FROM, a);
		break;
	case FORWARD:
		elm_atspi_accessible_relationship_append(a, ELM_ATSPI_RELATION_FLOWS_TO, b);
		break;
	case REVERSE:
		elm_atspi_accessible_relationship_append(b, ELM_ATSPI_RELATION_FLOWS_FROM, a);
		break;
	}
}

void ScreenReaderHelper::setRelationshipWithObjList(std::vector<Evas_Object*> list, ChainDirection direction)
{
	if (list.empty()) {
		WERROR("list size is 0");
		return;
	}
	for (size_t i = 0; i + 1 < list.size(); ++i)
		setRelationship(list[i], list[i + 1], direction);
}

void ScreenReaderHelper::unsetRelationShip(Evas_Object* obj, Evas_Object* previous, Evas_Object* next)
{
	if (previous)
		elm_atspi_accessible_relationship_remove(obj, ELM_ATSPI_RELATION_FLOWS_FROM, previous);
	if (next)
		elm_atspi_accessible_relationship_remove(obj, ELM_ATSPI_RELATION_FLOWS_TO, next);
}

void ScreenReaderHelper::setGenlistEditmodeChain(Evas_Object* genlist, Evas_Object* first, Evas_Object* second,
	Evas_Object* third)
{
	if (!genlist || !first || !second) {
		WERROR("object is not exist");
		return;
	}
	Elm_Object_Item* topItem = elm_genlist_first_item_get(genlist);
	if (!topItem) {
		WERROR("top item is not exist");
		return;
	}
	Elm_Object_Item* secondItem = elm_genlist_item_next_get(topItem);
	if (!secondItem) {
		WERROR("second item is not exist");
		return;
	}
	Elm_Object_Item* bottomItem = elm_genlist_last_item_get(genlist);
	if (!bottomItem) {
		WERROR("item bottom is not exist");
		return;
	}
	if (secondItem == bottomItem || topItem == bottomItem) {
		WERROR("at least 3 items have to be exist");
		return;
	}
	if (third) {
		setRelationshipWithObjList({topItem, first, third, second, secondItem}, BOTH);
	} else {
		setRelationshipWithObjList({topItem, first, second, secondItem}, BOTH);
	}
	setRelationship(bottomItem, topItem, BOTH);
}

void ScreenReaderHelper::setFocusOnObject(Evas_Object* obj, bool delayed, double seconds)
{
	if (!delayed) {
		elm_atspi_component_highlight_grab(obj);
		return;
	}
	if (!obj)
		return;
	auto pending = std::make_shared<PendingHighlight>(PendingHighlight{obj});
	auto* delHolder = new std::shared_ptr<PendingHighlight>(pending);
	evas_object_event_callback_add(obj, EVAS_CALLBACK_DEL, onPendingObjectDel, delHolder);
	app_trellis::WTimer::addTimer(seconds, [pending, delHolder](void*) {
		Evas_Object* target = pending->obj;
		if (target) {
			evas_object_event_callback_del_full(target, EVAS_CALLBACK_DEL, onPendingObjectDel, delHolder);
			delete delHolder;
			pending->obj = nullptr;
			elm_atspi_component_highlight_grab(target);
		}
		return false;
	}, nullptr, "ScreenReaderHelper::setFocusOnObject");
}

Evas_Object* ScreenReaderHelper::_registerPrimativeObject(Evas_Object* parent, const char* part, const char* domain)
{
	if (!parent) {
		WERROR("Invalid parent input");
		return nullptr;
	}
	if (!part) {
		WERROR("Invalid part input");
		return nullptr;
	}
	Evas_Object* partObj = const_cast<Evas_Object*>(edje_object_part_object_get(elm_layout_edje_get(parent), part));
	// A layout without that part has nothing to stand for; the toolkit would only complain.
	if (!partObj)
		return nullptr;
	Evas_Object* accessObj = elm_access_object_register(partObj, parent);
	if (accessObj && domain)
		elm_atspi_accessible_translation_domain_set(accessObj, domain);
	return accessObj;
}

Evas_Object* ScreenReaderHelper::_createPrimative(Evas_Object* parent, const char* part, const char* domain,
	const Reading& reading, Evas_Smart_Cb activatedCb, const void* data)
{
	Evas_Object* accessObj = _registerPrimativeObject(parent, part, domain);
	if (!accessObj) {
		WERROR("Invalid input");
		return nullptr;
	}
	if (reading.nameIsFunction) {
		if (!reading.nameCb)
			WERROR("NameCb is needed for setting name on object");
		else
			elm_atspi_accessible_name_cb_set(accessObj, reading.nameCb, reading.nameData);
	} else {
		if (!reading.name)
			WERROR("Name is needed for setting name on object");
		else
			elm_atspi_accessible_name_set(accessObj, reading.name);
	}
	if (reading.hasRole)
		elm_atspi_accessible_role_set(accessObj, reading.role);
	if (reading.hasDescription) {
		if (reading.descriptionIsFunction) {
			if (!reading.descriptionCb)
				WERROR("descriptionCb is needed for setting description on object");
			else
				elm_atspi_accessible_description_cb_set(accessObj, reading.descriptionCb, reading.descriptionData);
		} else {
			if (!reading.description)
				WERROR("description is needed for setting description on object");
			else
				elm_atspi_accessible_description_set(accessObj, reading.description);
		}
	}
	elm_atspi_accessible_reading_info_type_set(accessObj, reading.kind);
	if (activatedCb)
		evas_object_smart_callback_add(accessObj, "access,activated", activatedCb, data);
	return accessObj;
}

Evas_Object* ScreenReaderHelper::createPrimativeScreenReaderObject(Evas_Object* parent, const char* part,
	const char* domain, const char* name, Evas_Smart_Cb activatedCb, const void* data)
{
	Reading reading = {false, name, nullptr, nullptr, false, false, nullptr, nullptr, nullptr, false,
		ELM_ATSPI_ROLE_INVALID, kName};
	return _createPrimative(parent, part, domain, reading, activatedCb, data);
}

Evas_Object* ScreenReaderHelper::createPrimativeScreenReaderObject(Evas_Object* parent, const char* part,
	const char* domain, Elm_Atspi_Reading_Info_Cb nameCb, const void* nameData, Evas_Smart_Cb activatedCb,
	const void* data)
{
	Reading reading = {true, nullptr, nameCb, nameData, false, false, nullptr, nullptr, nullptr, false,
		ELM_ATSPI_ROLE_INVALID, kName};
	return _createPrimative(parent, part, domain, reading, activatedCb, data);
}

Evas_Object* ScreenReaderHelper::createPrimativeScreenReaderObject(Evas_Object* parent, const char* part,
	const char* domain, const char* name, const char* description, Evas_Smart_Cb activatedCb, const void* data)
{
	Reading reading = {false, name, nullptr, nullptr, true, false, description, nullptr, nullptr, false,
		ELM_ATSPI_ROLE_INVALID, kName | kDescription};
	return _createPrimative(parent, part, domain, reading, activatedCb, data);
}

Evas_Object* ScreenReaderHelper::createPrimativeScreenReaderObject(Evas_Object* parent, const char* part,
	const char* domain, Elm_Atspi_Reading_Info_Cb nameCb, const void* nameData,
	Elm_Atspi_Reading_Info_Cb descriptionCb, const void* descriptionData, Evas_Smart_Cb activatedCb,
	const void* data)
{
	Reading reading = {true, nullptr, nameCb, nameData, true, true, nullptr, descriptionCb, descriptionData, false,
		ELM_ATSPI_ROLE_INVALID, kName | kDescription};
	return _createPrimative(parent, part, domain, reading, activatedCb, data);
}

Evas_Object* ScreenReaderHelper::createPrimativeScreenReaderObject(Evas_Object* parent, const char* part,
	const char* domain, const char* name, Elm_Atspi_Role role, Evas_Smart_Cb activatedCb, const void* data)
{
	Reading reading = {false, name, nullptr, nullptr, false, false, nullptr, nullptr, nullptr, true, role,
		kName | kRole};
	return _createPrimative(parent, part, domain, reading, activatedCb, data);
}

Evas_Object* ScreenReaderHelper::createPrimativeScreenReaderObject(Evas_Object* parent, const char* part,
	const char* domain, Elm_Atspi_Reading_Info_Cb nameCb, const void* nameData, Elm_Atspi_Role role,
	Evas_Smart_Cb activatedCb, const void* data)
{
	Reading reading = {true, nullptr, nameCb, nameData, false, false, nullptr, nullptr, nullptr, true, role,
		kName | kRole};
	return _createPrimative(parent, part, domain, reading, activatedCb, data);
}

Evas_Object* ScreenReaderHelper::createPrimativeScreenReaderObject(Evas_Object* parent, const char* part,
	const char* domain, const char* name, const char* description, Elm_Atspi_Role role, Evas_Smart_Cb activatedCb,
	const void* data)
{
	Reading reading = {false, name, nullptr, nullptr, true, false, description, nullptr, nullptr, true, role,
		kName | kRole | kDescription};
	return _createPrimative(parent, part, domain, reading, activatedCb, data);
}

Evas_Object* ScreenReaderHelper::createPrimativeScreenReaderObject(Evas_Object* parent, const char* part,
	const char* domain, Elm_Atspi_Reading_Info_Cb nameCb, const void* nameData,
	Elm_Atspi_Reading_Info_Cb descriptionCb, const void* descriptionData, Elm_Atspi_Role role,
	Evas_Smart_Cb activatedCb, const void* data)
{
	Reading reading = {true, nullptr, nameCb, nameData, true, true, nullptr, descriptionCb, descriptionData, true, role,
		kName | kRole | kDescription};
	return _createPrimative(parent, part, domain, reading, activatedCb, data);
}
