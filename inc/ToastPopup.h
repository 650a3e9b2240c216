/**
 * @class ToastPopup
 * ToastPopup.h - a short notice at the bottom of the round screen that goes away by itself.
 *
 * create() shows a toast with a text. It hides after 2 seconds, or 10 with the screen reader
 * on; a tap or the back key hides it at once. With the screen reader on, the toast also hides
 * as soon as the reader has finished (or was interrupted) reading it, unless the user has put
 * the reader's highlight on its text by hand: then only the time-out, a tap or the back key
 * hide it.
 *
 * createShowWeatherUpdatingPopup() shows the "updating" notice with a busy indicator. It stays
 * until weatherUpdatingPopupDismissed() or the back key.
 *
 * Callbacks: the hide callback runs when hiding starts (for the updating notice: never), the
 * dismissed callback when the dismissal animation has ended, the show-finished callback when
 * the updating notice's show animation has ended.
 *
 * Ownership: create with new and never delete it: a toast deletes itself, with its widget,
 * right after the dismissed callback. The updating notice deletes itself in
 * weatherUpdatingPopupDismissed(), or after being dismissed with the back key; the caller must
 * not touch the object afterwards. Log tag "zonvista".
 *
 * Threading: main-loop thread only.
 *
 * Example:
 * @code
 *   ToastPopup* toast = new ToastPopup();
 *   toast->setDismissedNotiCb([this]() { _toast = nullptr; });
 *   toast->create(_naviframe, dgettext("zonvista", "WDS_ZON_TPOP_DELETED"), true, false);
 * @endcode
 */
#ifndef TOAST_POPUP_H
#define TOAST_POPUP_H

#include <functional>
#include <string>

#include <Elementary.h>
#include <WTimer.h>

class ToastPopup {
public:
	/// Shows nothing yet; create with new, the toast deletes itself (see above).
	ToastPopup();
	virtual ~ToastPopup();

	///@{
	/// Shows the toast over `parent` and returns its popup (null when it could not be made).
	/// Style "toast/circle/check" with isCheck (whatever isSmall says), else "toast/small/circle"
	/// with isSmall, else "toast/circle". `second` is not shown.
	Evas_Object* create(Evas_Object* parent, std::string text, bool isCheck, bool isSmall);
	Evas_Object* create(Evas_Object* parent, std::string text, std::string second, bool isCheck, bool isSmall);
	///@}
	/// Null when the widget could not be made.
	Evas_Object* createShowWeatherUpdatingPopup(Evas_Object* parent);

	/// Called when the dismissal animation has ended, just before the toast deletes itself.
	void setDismissedNotiCb(const std::function<void()>& cb);
	/// Called when hiding starts; never for the updating notice.
	void setHideNotiCb(const std::function<void()>& cb);
	/// Called when the updating notice's show animation has ended.
	void setPopupShowFinishedNotiCb(const std::function<void()>& cb);

	/// Ends the updating notice: deletes its widget and this object.
	void weatherUpdatingPopupDismissed();

private:
	ToastPopup(const ToastPopup&) = delete;
	ToastPopup& operator=(const ToastPopup&) = delete;

	static void _popupHideCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _popupScreenReaderStopCb(void* data, Evas_Object* obj, void* eventInfo);
	static bool _popupTimeOutCb(void* data);
	static void _popupDismissedCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _onTextHighlightedCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _updatingPopupHideCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _onPopupShowFinishedCb(void* data, Evas_Object* obj, void* eventInfo);
	static char* _popupTextCb(void* data, Evas_Object* obj);
	static char* _popupPlainTextCb(void* data, Evas_Object* obj);

	void _dismissByTimeOut();

	Evas_Object* _popup;
	std::string _text;
	std::function<void()> _dismissedNotiCb;
	std::function<void()> _hideStartNotiCb;
	std::function<void()> _ShowFinishedNotiCb;
	app_trellis::WTimerWeakPtr _timeOutTimer;
};

#endif /* TOAST_POPUP_H */
