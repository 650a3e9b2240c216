/*
 * WViewController.h - a controller bound to the toolkit object that is its view.
 *
 * A derived class builds its view in onCreateView(). create() binds the controller to that
 * object for the object's whole life: getInstanceFromEvasObj() finds the controller from the
 * object, and deleting the object (directly, with its parent, or by popping its naviframe item)
 * calls onDestroy() and deletes the controller. So a view controller is created with new and,
 * once create() succeeded, never deleted by hand: destroy() deletes the view instead.
 * A controller whose create() failed (or that was never created) is still the caller's.
 *
 * Threading: main-loop thread only.
 *
 * Example:
 *   class CityListView : public WViewController {
 *       Evas_Object* onCreateView(Evas_Object* parent, void*) override { return elm_genlist_add(parent); }
 *   };
 *   navi->push(new CityListView(), "city-list");
 */
#ifndef _APP_TRELLIS_WVIEW_CONTROLLER_H_
#define _APP_TRELLIS_WVIEW_CONTROLLER_H_

#include <Elementary.h>

#include <string>

#include "WDefine.h"

namespace app_trellis {

class WNaviframeController;

class WAPP_TRELLIS_API WViewController {
public:
	WViewController();
	virtual ~WViewController();

	// Builds the view under parent and binds this controller to it. False (logged) when the
	// controller already has a view or onCreateView() made none.
	bool create(Evas_Object* parent, void* viewParam);
	// Deletes the view, and with it this controller. Without a view, does nothing.
	void destroy();

	Evas_Object* getEvasObject() const;
	const char* getName() const;
	void setName(const char* name);

	// The naviframe item and controller of a pushed view; null otherwise.
	Elm_Object_Item* getNaviframeItem() const;
	WNaviframeController* getNaviframeController() const;

	// The controller bound to obj by create(), or null.
	static WViewController* getInstanceFromEvasObj(const Evas_Object* obj);

protected:
	virtual Evas_Object* onCreateView(Evas_Object* parent, void* viewParam) = 0;
	virtual void onCreated();
	// The view is being deleted; the object is still valid here.
	virtual void onDestroy();
	virtual void onPushed(Elm_Object_Item* naviItem);
	// The view came back on top of its naviframe because the view above it was popped.
	virtual void onBecomeTop();
	// The back key or pop() is about to remove this view; false keeps it.
	virtual bool onPop();

private:
	friend class WNaviframeController;

	WViewController(const WViewController&) = delete;
	WViewController& operator=(const WViewController&) = delete;

	static void _onObjectDelCb(void* data, Evas* e, Evas_Object* obj, void* eventInfo);

	Evas_Object* _evasObj;
	std::string _name;
	Elm_Object_Item* _naviItem;
	WNaviframeController* _naviController;
};

}

#endif /* _APP_TRELLIS_WVIEW_CONTROLLER_H_ */
