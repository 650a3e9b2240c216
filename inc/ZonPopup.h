/**
 * @class ZonPopup
 * ZonPopup.h - the application's standard notices: show and forget.
 *
 * Each function shows one toast over `parent` and keeps nothing: the widget deletes itself when
 * its time is up (at once, without an animation), and fades out and deletes itself when tapped.
 * A notice stays 2 seconds; with the screen reader on it stays its own, longer time, and goes
 * as soon as the reader has finished reading it.
 *
 * @verbatim
 *   notice                       text id (domain "zonvista")                      reader time
 *   showCityAddedPopup           IDS_ZON_POP_CITY_ADDED                                5 s
 *   showAlreadyExistPopup        WDS_ZON_TPOP_CITY_ALREADY_ADDED_ABB                   8 s  *
 *   showCityDeletedPopup         WDS_ZON_TPOP_DELETED                                  5 s
 *   showUpdateSuccessPopup       WDS_ZON_TPOP_WEATHER_UPDATED_ABB                      7 s
 *   showUpdateFailedPopup        WDS_ZON_TPOP_COULDNT_UPDATE_WEATHER_ABB               7 s
 *   showMaxNumberReachedPopup    PLURAL_ZERO_ZON_TPOP_CANT_ADD_MORE_THAN_PD_CITIES_ABB 10 s
 *   showCityChangedPopup         WDS_ZON_TPOP_CITY_CHANGED_ABB                        10 s  *
 *   showSelectItemPopup          WDS_TPLATFORM_TPOP_SELECT_ITEMS                       5 s  *
 *   noResultPopup                WDS_ZON_TPOP_NO_CITIES_FOUND_ABB                     10 s  *
 * @endverbatim
 * (*) bound to the application's text domain "korvath.zonvista": a language change while the
 * notice is shown translates it again. The others keep the text they were shown with.
 *
 * showMaxNumberReachedPopup() picks the singular or plural translation by `number` and puts
 * the number in. noResultPopup() also shows images/zonvista_ic_error.png of the application's
 * resource directory, and returns its popup.
 *
 * Threading: main-loop thread only. The class has no state.
 *
 * Example:
 * @code
 *   if (!ZonDBManager::getInstance()->isCityExist(cityId))
 *       ZonPopup::showCityAddedPopup(_naviframe);
 * @endcode
 */
#ifndef ZON_POPUP_H
#define ZON_POPUP_H

#include <Elementary.h>

class ZonPopup {
public:
	/// Shows the notice of the table above over `parent`.
	///@{
	static void showCityAddedPopup(Evas_Object* parent);
	static void showAlreadyExistPopup(Evas_Object* parent);
	static void showCityDeletedPopup(Evas_Object* parent);
	static void showUpdateSuccessPopup(Evas_Object* parent);
	static void showUpdateFailedPopup(Evas_Object* parent);
	static void showMaxNumberReachedPopup(Evas_Object* parent, int number);
	static void showCityChangedPopup(Evas_Object* parent);
	static void showSelectItemPopup(Evas_Object* parent);
	static Evas_Object* noResultPopup(Evas_Object* parent);
	///@}

private:
	ZonPopup() = delete;

	/// Builds a notice up to its text; the caller adds what else it shows, then _showPopup().
	/// textId: the id a translatable text is bound to; null binds the text itself.
	static Evas_Object* _createPopup(Evas_Object* parent, const char* style, const char* text, const char* textId,
		bool translatable);
	static void _showPopup(Evas_Object* popup, double screenReaderTimeout);
	static void _registerPopupTTS(Evas_Object* popup, bool dismissOnReadStop);

	static void _popupDeleteCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _popupDismissCb(void* data, Evas_Object* obj, void* eventInfo);
	static void _onTextHighlighted(void* data, Evas_Object* obj, void* eventInfo);
	static void _popupAccessTimeoutCb(void* data, Evas_Object* obj, void* eventInfo);
	static char* _popupTextCb(void* data, Evas_Object* obj);
};

#endif /* ZON_POPUP_H */
