/**
 * @class ZonRotaryManager
 * ZonRotaryManager.h - routes the bezel (rotary) events of the whole application to one screen
 * at a time.
 *
 * Screens register an object with a handler; the most recently registered object is the
 * active one, and every rotary event goes to the handler registered last, like a stack. When a
 * registered object is deleted, its (first) entry is popped and the object registered before
 * it becomes active again. initialize() makes the circle surface of the window's conformant
 * (for the circle widgets of the screens) and empties the stack; finalize() empties it and
 * stops watching deletions for good.
 *
 * The same object may be registered twice; each registration is an entry of its own.
 * Log tag "zonvista". The singleton is never destroyed.
 *
 * Threading: main-loop thread only.
 *
 * Example:
 * @code
 *   ZonRotaryManager::getInstance()->initialize(conformant);
 *   ZonRotaryManager::getInstance()->setOnRotary(genlist, [this](Eext_Rotary_Event_Direction direction) {
 *       _scroll(direction == EEXT_ROTARY_DIRECTION_CLOCKWISE ? 1 : -1);
 *   });
 * @endcode
 */
#ifndef ZON_ROTARY_MANAGER_H
#define ZON_ROTARY_MANAGER_H

#include <functional>
#include <vector>

#include <efl_extension.h>

class ZonRotaryManager {
public:
	/// The manager, created on the first call; never null.
	static ZonRotaryManager* getInstance();

	/// Makes the circle surface of `conformant` and empties the stack.
	void initialize(Evas_Object* conformant);
	/// The surface made by initialize(); null before.
	Eext_Circle_Surface* getCircleSurface();

	/// Pushes `obj` with its handler: it becomes the active object and gets every rotary event
	/// until another is pushed or it is deleted.
	void setOnRotary(Evas_Object* obj, const std::function<void(Eext_Rotary_Event_Direction)>& handler);
	/// Turn rotary events of the active object on or off (a screen being paused and resumed).
	///@{
	void active();
	void inactive();
	///@}
	/// Empties the stack; the objects keep their rotary callbacks.
	void reset();
	/// Empties the stack and stops watching deletions for good.
	void finalize();

	virtual ~ZonRotaryManager();

private:
	ZonRotaryManager();
	ZonRotaryManager(const ZonRotaryManager&) = delete;
	ZonRotaryManager& operator=(const ZonRotaryManager&) = delete;

	void _addObject(Evas_Object* obj, const std::function<void(Eext_Rotary_Event_Direction)>& handler);
	void _removeObject(Evas_Object* obj);
	void _activateLastObject();
	static void _onObjectDeleted(void* data, Evas* e, Evas_Object* obj, void* eventInfo);
	static Eina_Bool _onRotary(void* data, Evas_Object* obj, Eext_Rotary_Event_Info* info);

	static ZonRotaryManager* _instance;

	Eext_Circle_Surface* _circleSurface;
	std::vector<Evas_Object*> _objects;
	std::vector<std::function<void(Eext_Rotary_Event_Direction)>> _handlers;
	bool _isFinalized;
};

#endif /* ZON_ROTARY_MANAGER_H */
