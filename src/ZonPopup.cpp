#define LOG_TAG "zonvista"

#include "ZonPopup.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <libintl.h>

#include <app_common.h>

#include "ScreenReaderHelper.h"
#include "ZonCommonDefine.h"

#define ZON_TEXT_DOMAIN "zonvista"
#define ZON_APP_TEXT_DOMAIN "korvath.zonvista"
#define ZON_POPUP_TIMEOUT 2.0
#define ZON_POPUP_TEXT_SIZE 128
#define ZON_POPUP_TTS_TEXT_SIZE 256
#define ZON_POPUP_PATH_SIZE 4096

#define STYLE_TOAST "toast/circle"
#define STYLE_TOAST_CHECK "toast/circle/check"
#define STYLE_TOAST_SMALL "toast/small/circle"

void ZonPopup::showCityAddedPopup(Evas_Object* parent)
{
	const char* id = "IDS_ZON_POP_CITY_ADDED";
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST_CHECK, dgettext(ZON_TEXT_DOMAIN, id), id, false);
	_showPopup(popup, 5.0);
}

void ZonPopup::showAlreadyExistPopup(Evas_Object* parent)
{
	const char* id = "WDS_ZON_TPOP_CITY_ALREADY_ADDED_ABB";
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST_CHECK, dgettext(ZON_TEXT_DOMAIN, id), id, true);
	_showPopup(popup, 8.0);
}

void ZonPopup::showCityDeletedPopup(Evas_Object* parent)
{
	const char* id = "WDS_ZON_TPOP_DELETED";
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST_CHECK, dgettext(ZON_TEXT_DOMAIN, id), id, false);
	_showPopup(popup, 5.0);
}

void ZonPopup::showUpdateSuccessPopup(Evas_Object* parent)
{
	const char* id = "WDS_ZON_TPOP_WEATHER_UPDATED_ABB";
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST, dgettext(ZON_TEXT_DOMAIN, id), id, false);
	_showPopup(popup, 7.0);
}

void ZonPopup::showUpdateFailedPopup(Evas_Object* parent)
{
	const char* id = "WDS_ZON_TPOP_COULDNT_UPDATE_WEATHER_ABB";
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST, dgettext(ZON_TEXT_DOMAIN, id), id, false);
	_showPopup(popup, 7.0);
}

void ZonPopup::showMaxNumberReachedPopup(Evas_Object* parent, int number)
{
	const char* id = "PLURAL_ZERO_ZON_TPOP_CANT_ADD_MORE_THAN_PD_CITIES_ABB";
	char text[ZON_POPUP_TEXT_SIZE] = {0};
	const char* format = dngettext(ZON_TEXT_DOMAIN, id, id, number);
	snprintf(text, sizeof(text), format, number);
	// The number is in the text, so the text itself is what a language change looks up.
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST, text, nullptr, true);
	_showPopup(popup, 10.0);
}

void ZonPopup::showCityChangedPopup(Evas_Object* parent)
{
	const char* id = "WDS_ZON_TPOP_CITY_CHANGED_ABB";
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST_CHECK, dgettext(ZON_TEXT_DOMAIN, id), id, true);
	_showPopup(popup, 10.0);
}

void ZonPopup::showSelectItemPopup(Evas_Object* parent)
{
	const char* id = "WDS_TPLATFORM_TPOP_SELECT_ITEMS";
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST_SMALL, dgettext(ZON_TEXT_DOMAIN, id), id, true);
	_showPopup(popup, 5.0);
}

Evas_Object* ZonPopup::noResultPopup(Evas_Object* parent)
{
	const char* id = "WDS_ZON_TPOP_NO_CITIES_FOUND_ABB";
	Evas_Object* popup = _createPopup(parent, STYLE_TOAST, dgettext(ZON_TEXT_DOMAIN, id), id, true);

	char path[ZON_POPUP_PATH_SIZE] = {0};
	char* resourcePath = app_get_resource_path();
	if (resourcePath) {
		snprintf(path, sizeof(path), "%s%s", resourcePath, "images/zonvista_ic_error.png");
		free(resourcePath);
	}
	Evas_Object* icon = elm_image_add(popup);
	elm_image_file_set(icon, path, nullptr);
	elm_object_part_content_set(popup, "toast,icon", icon);

	_showPopup(popup, 10.0);
	return popup;
}

Evas_Object* ZonPopup::_createPopup(Evas_Object* parent, const char* style, const char* text, const char* textId,
	bool translatable)
{
	Evas_Object* popup = elm_popup_add(parent);
	elm_object_style_set(popup, style);
	evas_object_smart_callback_add(popup, "dismissed", _popupDeleteCb, nullptr);
	evas_object_smart_callback_add(popup, "block,clicked", _popupDismissCb, nullptr);
	// Bound by its id to the application's domain, the toolkit translates the text again when
	// the language changes; until then it shows the library's translation.
	if (translatable)
		elm_object_domain_translatable_part_text_set(popup, "elm.text", ZON_APP_TEXT_DOMAIN, textId ? textId : text);
	elm_object_part_text_set(popup, "elm.text", text);
	return popup;
}

void ZonPopup::_showPopup(Evas_Object* popup, double screenReaderTimeout)
{
	if (ScreenReaderHelper::isScreenReaderEnabled()) {
		elm_popup_timeout_set(popup, screenReaderTimeout);
		_registerPopupTTS(popup, true);
	} else {
		elm_popup_timeout_set(popup, ZON_POPUP_TIMEOUT);
	}
	evas_object_smart_callback_add(popup, "timeout", _popupDeleteCb, nullptr);
	evas_object_show(popup);
}

void ZonPopup::_registerPopupTTS(Evas_Object* popup, bool dismissOnReadStop)
{
	Evas_Object* textAccess = elm_object_part_access_object_get(popup, "elm.text");
	if (textAccess) {
		elm_atspi_accessible_reading_info_type_set(textAccess, ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION);
		elm_atspi_accessible_description_cb_set(textAccess, _popupTextCb, popup);
		// The later kind wins: the reader says the name, which is the same text.
		elm_atspi_accessible_reading_info_type_set(textAccess, ELM_ACCESSIBLE_READING_INFO_TYPE_NAME);
		elm_atspi_accessible_name_cb_set(textAccess, _popupTextCb, popup);
	}
	if (dismissOnReadStop)
		evas_object_smart_callback_add(popup, "access,read,stop", _popupDeleteCb, nullptr);
}

void ZonPopup::_popupDeleteCb(void*, Evas_Object* obj, void*)
{
	if (obj)
		evas_object_del(obj);
}

void ZonPopup::_popupDismissCb(void*, Evas_Object* obj, void*)
{
	if (obj)
		elm_popup_dismiss(obj);
}

// Never connected: the deletion on reading stop is _popupDeleteCb, which this does not match.
void ZonPopup::_onTextHighlighted(void* data, Evas_Object*, void*)
{
	Evas_Object* popup = static_cast<Evas_Object*>(data);
	if (!popup)
		return;
	evas_object_smart_callback_del(popup, "access,read,stop", _popupAccessTimeoutCb);
	evas_object_smart_callback_del(popup, "access,read,cancel", _popupAccessTimeoutCb);
}

void ZonPopup::_popupAccessTimeoutCb(void*, Evas_Object*, void*)
{
}

char* ZonPopup::_popupTextCb(void* data, Evas_Object*)
{
	const char* text = elm_object_part_text_get(static_cast<Evas_Object*>(data), "elm.text");
	if (!text)
		return nullptr;
	char buffer[ZON_POPUP_TTS_TEXT_SIZE] = {0};
	snprintf(buffer, sizeof(buffer), "%s", text);
	return strdup(buffer);
}
