/*
 * WNaviframeController.h - a view controller whose view is a naviframe of view controllers.
 *
 * Each pushed WViewController becomes one naviframe item, its view the item's content. The
 * views belong to their items: popping or deleting an item deletes its view and controller.
 * The back key (the platform's hardware back event on the naviframe) pops the top view; on the
 * last view it calls the last-item handler instead, which decides through its bool* whether the
 * last view is popped too (false by default: the application usually hides or ends instead).
 *
 * Threading: main-loop thread only.
 *
 * Example:
 *   auto* navi = new WNaviframeController();
 *   navi->create(conformant, nullptr);
 *   elm_object_content_set(conformant, navi->getEvasObject());
 *   navi->setOnLastItemPop([](bool* popOut) { *popOut = false; elm_win_lower(win); });
 *   navi->push(new CityListView(), "city-list");
 */
#ifndef _APP_TRELLIS_WNAVIFRAME_CONTROLLER_H_
#define _APP_TRELLIS_WNAVIFRAME_CONTROLLER_H_

#include <functional>

#include "WViewController.h"

namespace app_trellis {

class WAPP_TRELLIS_API WNaviframeController : public WViewController {
public:
	WNaviframeController();
	~WNaviframeController() override;

	// Creates the view under the naviframe (viewParam goes to its onCreateView()) and pushes it
	// with the item style (null: the default). On failure the view is deleted and false returned.
	bool push(WViewController* view, const char* viewName = nullptr, void* viewParam = nullptr,
		const char* itemStyle = nullptr);
	// Pops the top view, asking it first (onPop()). The last view goes only through the last-item
	// handler.
	void pop();
	// Pops views above the one named viewName; false (nothing popped) when no view has that name.
	bool popTo(const char* viewName);
	int getViewCount() const;

	void setOnLastItemPop(const std::function<void(bool* popOut)>& handler);

	Evas_Object* getNaviframe() const;

protected:
	Evas_Object* onCreateView(Evas_Object* parent, void* viewParam) override;

private:
	static Eina_Bool _onItemPopCb(void* data, Elm_Object_Item* item);
	static void _onBackKeyCb(void* data, Evas_Object* obj, void* eventInfo);

	std::function<void(bool* popOut)> _onLastItemPop;
};

}

#endif /* _APP_TRELLIS_WNAVIFRAME_CONTROLLER_H_ */
