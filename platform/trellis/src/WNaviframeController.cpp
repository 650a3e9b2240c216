#include "WNaviframeController.h"

#include <efl_extension.h>

namespace app_trellis {

WNaviframeController::WNaviframeController()
{
}

WNaviframeController::~WNaviframeController()
{
}

Evas_Object* WNaviframeController::onCreateView(Evas_Object* parent, void*)
{
	Evas_Object* naviframe = elm_naviframe_add(parent);
	if (!naviframe)
		return nullptr;
	eext_object_event_callback_add(naviframe, EEXT_CALLBACK_BACK, _onBackKeyCb, this);
	return naviframe;
}

bool WNaviframeController::push(WViewController* view, const char* viewName, void* viewParam,
	const char* itemStyle)
{
	Evas_Object* naviframe = getEvasObject();
	if (!view || !naviframe) {
		WTRELLIS_ERROR("nothing to push (view %p, naviframe %p)", view, naviframe);
		return false;
	}
	view->setName(viewName);
	if (!view->create(naviframe, viewParam)) {
		delete view;
		return false;
	}
	Elm_Object_Item* item = elm_naviframe_item_push(naviframe, nullptr, nullptr, nullptr,
		view->getEvasObject(), itemStyle);
	if (!item) {
		WTRELLIS_ERROR("elm_naviframe_item_push() failed for %s", view->getName());
		view->destroy();
		return false;
	}
	// Round screens have no room for a title bar.
	elm_naviframe_item_title_enabled_set(item, EINA_FALSE, EINA_FALSE);
	elm_naviframe_item_pop_cb_set(item, _onItemPopCb, view);
	view->_naviItem = item;
	view->_naviController = this;
	view->onPushed(item);
	return true;
}

void WNaviframeController::pop()
{
	Evas_Object* naviframe = getEvasObject();
	if (!naviframe)
		return;
	if (getViewCount() <= 1) {
		bool popOut = false;
		if (_onLastItemPop)
			_onLastItemPop(&popOut);
		if (popOut && elm_naviframe_top_item_get(naviframe))
			elm_naviframe_item_pop(naviframe);
		return;
	}
	Elm_Object_Item* before = elm_naviframe_top_item_get(naviframe);
	elm_naviframe_item_pop(naviframe);
	Elm_Object_Item* top = elm_naviframe_top_item_get(naviframe);
	if (top == before)
		return;
	WViewController* view = getInstanceFromEvasObj(elm_object_item_part_content_get(top, nullptr));
	if (view)
		view->onBecomeTop();
}

bool WNaviframeController::popTo(const char* viewName)
{
	Evas_Object* naviframe = getEvasObject();
	if (!naviframe || !viewName)
		return false;
	Eina_List* items = elm_naviframe_items_get(naviframe);
	Elm_Object_Item* target = nullptr;
	Eina_List* l;
	void* data;
	EINA_LIST_FOREACH(items, l, data) {
		Elm_Object_Item* item = static_cast<Elm_Object_Item*>(data);
		WViewController* view = getInstanceFromEvasObj(elm_object_item_part_content_get(item, nullptr));
		if (view && view->_name == viewName)
			target = item;
	}
	eina_list_free(items);
	if (!target)
		return false;
	if (target != elm_naviframe_top_item_get(naviframe)) {
		elm_naviframe_item_pop_to(target);
		WViewController* view = getInstanceFromEvasObj(elm_object_item_part_content_get(target, nullptr));
		if (view)
			view->onBecomeTop();
	}
	return true;
}

int WNaviframeController::getViewCount() const
{
	Evas_Object* naviframe = getEvasObject();
	if (!naviframe)
		return 0;
	Eina_List* items = elm_naviframe_items_get(naviframe);
	int count = static_cast<int>(eina_list_count(items));
	eina_list_free(items);
	return count;
}

void WNaviframeController::setOnLastItemPop(const std::function<void(bool* popOut)>& handler)
{
	_onLastItemPop = handler;
}

Evas_Object* WNaviframeController::getNaviframe() const
{
	return getEvasObject();
}

Eina_Bool WNaviframeController::_onItemPopCb(void* data, Elm_Object_Item*)
{
	WViewController* view = static_cast<WViewController*>(data);
	return view->onPop() ? EINA_TRUE : EINA_FALSE;
}

void WNaviframeController::_onBackKeyCb(void* data, Evas_Object*, void*)
{
	static_cast<WNaviframeController*>(data)->pop();
}

}
