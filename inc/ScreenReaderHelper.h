/**
 * @class ScreenReaderHelper
 * ScreenReaderHelper.h - the screen-reader (accessibility) chores of the application's screens.
 *
 * What the reader says for an object is chosen by its reading kind: its name, its role, its
 * description, or a sum of them. The helpers here set those, turn a part of a layout into an
 * object the reader can focus, chain objects into a reading order (each pair related as
 * "flows to" / "flows from") and move the reader's highlight.
 *
 * Failures are only logged (tag "WAPP"): a missing object makes the call do nothing or answer
 * null; a missing name or description is logged and the rest is still set up.
 *
 * Highlight: setFocusOnObject() with a delay grabs the highlight once, after the given seconds,
 * unless the object has been deleted meanwhile. The toolkit grants the highlight only while
 * the reader is on.
 *
 * Threading: main-loop thread only. The class has no state.
 *
 * Example:
 * @code
 *   Evas_Object* ao = ScreenReaderHelper::createPrimativeScreenReaderObject(layout, "elm.text.time",
 *       "zonvista", _timeNameCb, this, ELM_ATSPI_ROLE_PUSH_BUTTON, _timeActivatedCb, this);
 *   ScreenReaderHelper::setRelationshipWithObjList({title, ao, moreButton}, ScreenReaderHelper::BOTH);
 *   if (ScreenReaderHelper::isScreenReaderEnabled())
 *       ScreenReaderHelper::setFocusOnObject(ao, true, 0.5);
 * @endcode
 */
#ifndef SCREEN_READER_HELPER_H
#define SCREEN_READER_HELPER_H

#include <vector>

#include <Elementary.h>

class ScreenReaderHelper {
public:
	/// How setRelationship() relates two objects in the reading order.
	enum ChainDirection {
		BOTH = 0,   ///< a flows to b, b flows from a
		FORWARD,    ///< a flows to b
		REVERSE,    ///< b flows from a
	};

	/// Whether the screen reader is on (the platform's accessibility setting).
	static bool isScreenReaderEnabled();

	/// Reading kind: name and description, name only or description only, by what is given.
	///@{
	static void setInformationOnElmObj(Evas_Object* obj, const char* domain, const char* name,
		const char* description, Elm_Atspi_Gesture_Cb gestureCb, const void* data);
	static void setInformationOnElmObj(Evas_Object* obj, const char* domain, Elm_Atspi_Reading_Info_Cb nameCb,
		const void* nameData, Elm_Atspi_Reading_Info_Cb descriptionCb, const void* descriptionData,
		Elm_Atspi_Gesture_Cb gestureCb, const void* gestureData);
	///@}

	/// Whether the object can take the reader's highlight.
	static void setFocusableForElmObj(Evas_Object* obj, bool focusable);

	/// Relates `a` and `b` as `direction` says; nothing when either is null.
	static void setRelationship(Evas_Object* a, Evas_Object* b, ChainDirection direction);
	/// Relates each neighbouring pair of the list, in order.
	static void setRelationshipWithObjList(std::vector<Evas_Object*> list, ChainDirection direction);
	/// Removes obj's "flows from" previous and "flows to" next, each when given.
	static void unsetRelationShip(Evas_Object* obj, Evas_Object* previous, Evas_Object* next);

	/// Threads a list's edit-mode controls into the reading order: first item, first, (third,)
	/// second, second item, and from the last item back to the first. Needs at least 3 items.
	static void setGenlistEditmodeChain(Evas_Object* genlist, Evas_Object* first, Evas_Object* second,
		Evas_Object* third);

	/// Grabs the reader's highlight on obj now, or `seconds` later with `delayed`.
	static void setFocusOnObject(Evas_Object* obj, bool delayed, double seconds);

	///@{
	/// An access object for `part` of the layout `parent` (translated in `domain` when given),
	/// with the reading information of its overload and, when activatedCb is given, that callback
	/// on its "access,activated" signal. Null, logged, when parent or part is missing.
	/// Reading kind: name (1), name and description (5), name and role (3), all three (7).
	static Evas_Object* createPrimativeScreenReaderObject(Evas_Object* parent, const char* part, const char* domain,
		const char* name, Evas_Smart_Cb activatedCb, const void* data);
	static Evas_Object* createPrimativeScreenReaderObject(Evas_Object* parent, const char* part, const char* domain,
		Elm_Atspi_Reading_Info_Cb nameCb, const void* nameData, Evas_Smart_Cb activatedCb, const void* data);
	static Evas_Object* createPrimativeScreenReaderObject(Evas_Object* parent, const char* part, const char* domain,
		const char* name, const char* description, Evas_Smart_Cb activatedCb, const void* data);
	static Evas_Object* createPrimativeScreenReaderObject(Evas_Object* parent, const char* part, const char* domain,
		Elm_Atspi_Reading_Info_Cb nameCb, const void* nameData, Elm_Atspi_Reading_Info_Cb descriptionCb,
		const void* descriptionData, Evas_Smart_Cb activatedCb, const void* data);
	static Evas_Object* createPrimativeScreenReaderObject(Evas_Object* parent, const char* part, const char* domain,
		const char* name, Elm_Atspi_Role role, Evas_Smart_Cb activatedCb, const void* data);
	static Evas_Object* createPrimativeScreenReaderObject(Evas_Object* parent, const char* part, const char* domain,
		Elm_Atspi_Reading_Info_Cb nameCb, const void* nameData, Elm_Atspi_Role role, Evas_Smart_Cb activatedCb,
		const void* data);
	static Evas_Object* createPrimativeScreenReaderObject(Evas_Object* parent, const char* part, const char* domain,
		const char* name, const char* description, Elm_Atspi_Role role, Evas_Smart_Cb activatedCb, const void* data);
	static Evas_Object* createPrimativeScreenReaderObject(Evas_Object* parent, const char* part, const char* domain,
		Elm_Atspi_Reading_Info_Cb nameCb, const void* nameData, Elm_Atspi_Reading_Info_Cb descriptionCb,
		const void* descriptionData, Elm_Atspi_Role role, Evas_Smart_Cb activatedCb, const void* data);
	///@}

private:
	ScreenReaderHelper() = delete;

	struct Reading;
	static Evas_Object* _registerPrimativeObject(Evas_Object* parent, const char* part, const char* domain);
	static Evas_Object* _createPrimative(Evas_Object* parent, const char* part, const char* domain,
		const Reading& reading, Evas_Smart_Cb activatedCb, const void* data);
};

#endif /* SCREEN_READER_HELPER_H */
