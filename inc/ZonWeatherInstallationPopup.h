/**
 * @class ZonWeatherInstallationPopup
 * ZonWeatherInstallationPopup.h - asks whether to download the weather application.
 *
 * One sentence and two round buttons: cancel on the left, confirm on the right. Only the first
 * press of either button counts: it calls its callback and dismisses the prompt; later presses
 * are logged and ignored. Tapping outside dismisses it without a callback. When dismissed, the
 * prompt deletes its widget; the object itself stays the caller's, who deletes it (also before
 * or after the widget is gone). Button icons come from the application's resource directory
 * (images/qz_ic_popup_btn_delete.png, images/qz_ic_popup_btn_check.png); without one, the
 * buttons show no icon but work. Log tag "zonvista".
 *
 * Threading: main-loop thread only.
 *
 * Example:
 * @code
 *   _installPopup = new ZonWeatherInstallationPopup();
 *   _installPopup->setOkBtnClickedNotiCb([this]() { _openStore(); });
 *   _installPopup->create(_window);
 * @endcode
 */
#ifndef ZON_WEATHER_INSTALLATION_POPUP_H
#define ZON_WEATHER_INSTALLATION_POPUP_H

#include <functional>

#include <Elementary.h>

class ZonWeatherInstallationPopup {
public:
	/// Shows nothing until create().
	ZonWeatherInstallationPopup();
	virtual ~ZonWeatherInstallationPopup();

	/// Called on the first press of the confirm button.
	void setOkBtnClickedNotiCb(const std::function<void()>& cb);
	/// Called on the first press of the cancel button.
	void setCancelBtnClickedNotiCb(const std::function<void()>& cb);

	/// Builds and shows the prompt; returns its popup.
	Evas_Object* create(Evas_Object* parent);

private:
	ZonWeatherInstallationPopup(const ZonWeatherInstallationPopup&) = delete;
	ZonWeatherInstallationPopup& operator=(const ZonWeatherInstallationPopup&) = delete;

	static void _onBlockClickedCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _onDismissedCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _onOkBtnClickedCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _onCancelBtnClickedCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _onPopupDelCb(void* data, Evas* e, Evas_Object* obj, void* eventInfo);

	void _onButtonClicked(const std::function<void()>& cb);

	bool _isBtnClicked;
	Evas_Object* _popup;
	Evas_Object* _leftBtn;
	Evas_Object* _rightBtn;
	std::function<void()> _okBtnClickedNotiCb;
	std::function<void()> _cancelBtnClickedNotiCb;
};

#endif /* ZON_WEATHER_INSTALLATION_POPUP_H */
