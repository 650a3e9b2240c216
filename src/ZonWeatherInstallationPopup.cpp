#define LOG_TAG "zonvista"

#include "ZonWeatherInstallationPopup.h"

#include <stdio.h>
#include <stdlib.h>

#include <libintl.h>

#include <app_common.h>

#include "ZonCommonDefine.h"

#define ZON_TEXT_DOMAIN "zonvista"
#define ZON_INSTALL_TEXT_SIZE 256
#define ZON_INSTALL_PATH_SIZE 4096

ZonWeatherInstallationPopup::ZonWeatherInstallationPopup()
	: _isBtnClicked(false), _popup(nullptr), _leftBtn(nullptr), _rightBtn(nullptr)
{
}

ZonWeatherInstallationPopup::~ZonWeatherInstallationPopup()
{
	if (_popup) {
		evas_object_event_callback_del_full(_popup, EVAS_CALLBACK_DEL, _onPopupDelCb, this);
		evas_object_smart_callback_del(_popup, "block,clicked", _onBlockClickedCb);
		evas_object_smart_callback_del(_popup, "dismissed", _onDismissedCb);
		// The buttons' handlers were connected to the buttons, so these find nothing; the buttons
		// go with the popup.
		evas_object_smart_callback_del(_popup, "clicked", _onCancelBtnClickedCb);
		evas_object_smart_callback_del(_popup, "clicked", _onOkBtnClickedCb);
	}
}

void ZonWeatherInstallationPopup::setOkBtnClickedNotiCb(const std::function<void()>& cb)
{
	_okBtnClickedNotiCb = cb;
}

void ZonWeatherInstallationPopup::setCancelBtnClickedNotiCb(const std::function<void()>& cb)
{
	_cancelBtnClickedNotiCb = cb;
}

Evas_Object* ZonWeatherInstallationPopup::create(Evas_Object* parent)
{
	char* resourcePath = app_get_resource_path();

	Evas_Object* popup = elm_popup_add(parent);
	elm_object_style_set(popup, "circle");
	evas_object_size_hint_weight_set(popup, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
	evas_object_smart_callback_add(popup, "block,clicked", _onBlockClickedCb, nullptr);
	evas_object_smart_callback_add(popup, "dismissed", _onDismissedCb, this);
	// The widget may also go with its parent before this object does; the destructor must not
	// reach for it then.
	evas_object_event_callback_add(popup, EVAS_CALLBACK_DEL, _onPopupDelCb, this);

	Evas_Object* layout = elm_layout_add(popup);
	elm_layout_theme_set(layout, "layout", "popup", "content/circle/buttons2");
	// The sentence names the application through its "%s".
	const char* format = dgettext(ZON_TEXT_DOMAIN, "WDS_TPLATFORM_BODY_TO_USE_THIS_FUNCTION_DOWNLOAD_PS");
	char text[ZON_INSTALL_TEXT_SIZE] = {0};
	snprintf(text, sizeof(text), format, dgettext(ZON_TEXT_DOMAIN, "WDS_HS_BUTTON2_WEATHER_M_APPLICATION_NAME"));
	elm_object_part_text_set(layout, "elm.text", text);
	elm_object_content_set(popup, layout);

	Evas_Object* leftBtn = elm_button_add(popup);
	elm_object_style_set(leftBtn, "popup/circle/left");
	evas_object_size_hint_weight_set(leftBtn, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
	elm_object_part_content_set(popup, "button1", leftBtn);
	evas_object_smart_callback_add(leftBtn, "clicked", _onCancelBtnClickedCb, this);
	_leftBtn = leftBtn;

	Evas_Object* rightBtn = elm_button_add(popup);
	elm_object_style_set(rightBtn, "popup/circle/right");
	evas_object_size_hint_weight_set(rightBtn, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
	elm_object_part_content_set(popup, "button2", rightBtn);
	evas_object_smart_callback_add(rightBtn, "clicked", _onOkBtnClickedCb, this);
	_rightBtn = rightBtn;

	if (resourcePath) {
		char path[ZON_INSTALL_PATH_SIZE] = {0};
		Evas_Object* leftIcon = elm_image_add(leftBtn);
		snprintf(path, sizeof(path), "%s%s", resourcePath, "images/qz_ic_popup_btn_delete.png");
		elm_image_file_set(leftIcon, path, nullptr);
		elm_object_part_content_set(leftBtn, "elm.swallow.content", leftIcon);
		evas_object_show(leftIcon);

		Evas_Object* rightIcon = elm_image_add(rightBtn);
		snprintf(path, sizeof(path), "%s%s", resourcePath, "images/qz_ic_popup_btn_check.png");
		elm_image_file_set(rightIcon, path, nullptr);
		elm_object_part_content_set(rightBtn, "elm.swallow.content", rightIcon);
		evas_object_show(rightIcon);
		free(resourcePath);
	}

	evas_object_show(popup);
	_popup = popup;
	return popup;
}

void ZonWeatherInstallationPopup::_onButtonClicked(const std::function<void()>& cb)
{
	if (_isBtnClicked) {
		WERROR("Button was already clicked (_isBtnClicked = %d)", _isBtnClicked);
		return;
	}
	_isBtnClicked = true;
	if (cb)
		cb();
	// The callback may have deleted the prompt's widget (with its parent); then there is
	// nothing left to dismiss.
	if (_popup)
		elm_popup_dismiss(_popup);
}

void ZonWeatherInstallationPopup::_onOkBtnClickedCb(void* data, Evas_Object*, void*)
{
	ZonWeatherInstallationPopup* self = static_cast<ZonWeatherInstallationPopup*>(data);
	if (!self) {
		WERROR("data is nullptr !!");
		return;
	}
	self->_onButtonClicked(self->_okBtnClickedNotiCb);
}

void ZonWeatherInstallationPopup::_onCancelBtnClickedCb(void* data, Evas_Object*, void*)
{
	ZonWeatherInstallationPopup* self = static_cast<ZonWeatherInstallationPopup*>(data);
	if (!self) {
		WERROR("data is nullptr !!");
		return;
	}
	self->_onButtonClicked(self->_cancelBtnClickedNotiCb);
}

void ZonWeatherInstallationPopup::_onBlockClickedCb(void*, Evas_Object* obj, void*)
{
	if (!obj) {
		WERROR("obj is nullptr !!");
		return;
	}
	elm_popup_dismiss(obj);
}

void ZonWeatherInstallationPopup::_onDismissedCb(void* data, Evas_Object* obj, void*)
{
	if (!data) {
		WERROR("data is nullptr !!");
		return;
	}
	if (!obj) {
		WERROR("obj is nullptr !!");
		return;
	}
	evas_object_del(obj);
}

void ZonWeatherInstallationPopup::_onPopupDelCb(void* data, Evas*, Evas_Object*, void*)
{
	ZonWeatherInstallationPopup* self = static_cast<ZonWeatherInstallationPopup*>(data);
	self->_popup = nullptr;
	self->_leftBtn = nullptr;
	self->_rightBtn = nullptr;
}
