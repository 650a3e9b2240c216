#define LOG_TAG "zonvista"

#include "ToastPopup.h"

#include <stdlib.h>
#include <string.h>

#include <libintl.h>

#include <efl_extension.h>

#include "ScreenReaderHelper.h"
#include "ZonCommonDefine.h"

#define TOAST_TIMEOUT 2.0
#define TOAST_SCREEN_READER_TIMEOUT 10.0

// The toolkit's bottom position; toasts sit low on the round screen.
static_assert(ELM_POPUP_ORIENT_BOTTOM == 2, "bottom orientation");

ToastPopup::ToastPopup()
	: _popup(nullptr)
{
}

ToastPopup::~ToastPopup()
{
}

Evas_Object* ToastPopup::create(Evas_Object* parent, std::string text, bool isCheck, bool isSmall)
{
	Evas_Object* popup = elm_popup_add(parent);
	if (isCheck)
		elm_object_style_set(popup, "toast/circle/check");
	else if (isSmall)
		elm_object_style_set(popup, "toast/small/circle");
	else
		elm_object_style_set(popup, "toast/circle");
	elm_popup_orient_set(popup, ELM_POPUP_ORIENT_BOTTOM);
	evas_object_size_hint_weight_set(popup, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);

	eext_object_event_callback_add(popup, EEXT_CALLBACK_BACK, _popupHideCb, this);
	evas_object_smart_callback_add(popup, "dismissed", _popupDismissedCb, this);
	elm_object_part_text_set(popup, "elm.text", text.c_str());
	evas_object_smart_callback_add(popup, "block,clicked", _popupHideCb, this);

	bool screenReader = ScreenReaderHelper::isScreenReaderEnabled();
	elm_popup_timeout_set(popup, screenReader ? TOAST_SCREEN_READER_TIMEOUT : TOAST_TIMEOUT);
	evas_object_smart_callback_add(popup, "timeout", _popupHideCb, this);

	if (screenReader) {
		Evas_Object* textAccess = elm_object_part_access_object_get(popup, "elm.text");
		evas_object_smart_callback_add(textAccess, "atspi,highlighted", _onTextHighlightedCb, this);
		evas_object_smart_callback_add(popup, "access,read,stop", _popupScreenReaderStopCb, this);
		evas_object_smart_callback_add(popup, "access,read,cancel", _popupScreenReaderStopCb, this);
		ScreenReaderHelper::setInformationOnElmObj(textAccess, "zonvista", _popupTextCb, popup, nullptr, nullptr,
			nullptr, nullptr);
	}

	evas_object_show(popup);
	_popup = popup;
	return popup;
}

Evas_Object* ToastPopup::create(Evas_Object* parent, std::string text, std::string, bool isCheck, bool isSmall)
{
	return create(parent, text, isCheck, isSmall);
}

Evas_Object* ToastPopup::createShowWeatherUpdatingPopup(Evas_Object* parent)
{
	Evas_Object* popup = elm_popup_add(parent);
	if (!popup)
		WERROR("elm_popup_add()=NULL, return.");
	evas_object_size_hint_align_set(popup, EVAS_HINT_FILL, 1.0);
	elm_object_style_set(popup, "toast/circle");
	// Bound to the application's domain so that a language change re-translates it; shown in
	// the library's translation until then.
	elm_object_domain_translatable_part_text_set(popup, "elm.text", "korvath.zonvista", "WDS_ZON_BODY_UPDATING_ING");
	elm_object_part_text_set(popup, "elm.text", dgettext("zonvista", "WDS_ZON_BODY_UPDATING_ING"));

	eext_object_event_callback_add(popup, EEXT_CALLBACK_BACK, _updatingPopupHideCb, this);
	evas_object_smart_callback_add(popup, "dismissed", _popupDismissedCb, this);
	evas_object_smart_callback_add(popup, "show,finished", _onPopupShowFinishedCb, this);

	Evas_Object* progress = elm_progressbar_add(popup);
	elm_object_style_set(progress, "process/small");
	evas_object_size_hint_align_set(progress, EVAS_HINT_FILL, 0.5);
	evas_object_size_hint_weight_set(progress, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
	elm_progressbar_pulse_set(progress, EINA_TRUE);
	elm_progressbar_pulse(progress, EINA_TRUE);
	elm_object_part_content_set(popup, "toast,icon", progress);

	if (ScreenReaderHelper::isScreenReaderEnabled()) {
		elm_atspi_accessible_reading_info_type_set(popup, ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION);
		elm_atspi_accessible_description_cb_set(popup, _popupPlainTextCb, popup);
		Evas_Object* textAccess = elm_object_part_access_object_get(popup, "elm.text");
		elm_atspi_accessible_reading_info_type_set(textAccess, ELM_ACCESSIBLE_READING_INFO_TYPE_NAME);
		elm_atspi_accessible_name_cb_set(textAccess, _popupPlainTextCb, popup);
	}

	evas_object_show(popup);
	_popup = popup;
	return popup;
}

void ToastPopup::setDismissedNotiCb(const std::function<void()>& cb)
{
	_dismissedNotiCb = cb;
}

void ToastPopup::setHideNotiCb(const std::function<void()>& cb)
{
	_hideStartNotiCb = cb;
}

void ToastPopup::setPopupShowFinishedNotiCb(const std::function<void()>& cb)
{
	_ShowFinishedNotiCb = cb;
}

void ToastPopup::weatherUpdatingPopupDismissed()
{
	if (_popup) {
		evas_object_del(_popup);
		delete this;
	}
}

void ToastPopup::_popupHideCb(void* data, Evas_Object* obj, void*)
{
	ToastPopup* self = static_cast<ToastPopup*>(data);
	if (!obj) {
		WERROR("obj is nullptr");
		return;
	}
	eext_object_event_callback_del(obj, EEXT_CALLBACK_BACK, _popupHideCb);
	evas_object_smart_callback_del(obj, "block,clicked", _popupHideCb);
	evas_object_smart_callback_del(obj, "timeout", _popupHideCb);
	app_trellis::WTimer::destroy(self->_timeOutTimer);
	elm_popup_dismiss(obj);
	if (self->_hideStartNotiCb)
		self->_hideStartNotiCb();
}

void ToastPopup::_popupScreenReaderStopCb(void* data, Evas_Object*, void*)
{
	static_cast<ToastPopup*>(data)->_dismissByTimeOut();
}

bool ToastPopup::_popupTimeOutCb(void* data)
{
	static_cast<ToastPopup*>(data)->_dismissByTimeOut();
	return false;
}

// Reading finished or time ran out: the same end, whichever comes first. The widget still
// reports "dismissed", which deletes this object.
void ToastPopup::_dismissByTimeOut()
{
	if (!_popup) {
		WERROR("popup already destroyed");
		return;
	}
	elm_popup_dismiss(_popup);
	_popup = nullptr;
	if (_hideStartNotiCb)
		_hideStartNotiCb();
}

void ToastPopup::_popupDismissedCb(void* data, Evas_Object* obj, void*)
{
	ToastPopup* self = static_cast<ToastPopup*>(data);
	if (!obj) {
		WERROR("obj is nullptr");
		return;
	}
	evas_object_del(obj);
	if (self->_dismissedNotiCb)
		self->_dismissedNotiCb();
	delete self;
}

void ToastPopup::_onTextHighlightedCb(void* data, Evas_Object*, void*)
{
	ToastPopup* self = static_cast<ToastPopup*>(data);
	WINFO("set highlighted");
	// Focused by hand: the user wants it to stay while they listen, not vanish when reading stops.
	if (!self->_popup)
		return;
	evas_object_smart_callback_del_full(self->_popup, "access,read,stop", _popupScreenReaderStopCb, self);
	evas_object_smart_callback_del_full(self->_popup, "access,read,cancel", _popupScreenReaderStopCb, self);
}

void ToastPopup::_updatingPopupHideCb(void*, Evas_Object* obj, void*)
{
	elm_popup_dismiss(obj);
}

void ToastPopup::_onPopupShowFinishedCb(void* data, Evas_Object*, void*)
{
	ToastPopup* self = static_cast<ToastPopup*>(data);
	if (self->_ShowFinishedNotiCb)
		self->_ShowFinishedNotiCb();
}

char* ToastPopup::_popupTextCb(void* data, Evas_Object*)
{
	const char* text = elm_object_part_text_get(static_cast<Evas_Object*>(data), "elm.text");
	return text ? strdup(text) : nullptr;
}

char* ToastPopup::_popupPlainTextCb(void* data, Evas_Object*)
{
	const char* text = elm_object_part_text_get(static_cast<Evas_Object*>(data), "elm.text");
	return text ? elm_entry_markup_to_utf8(text) : nullptr;
}
