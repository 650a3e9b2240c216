#define LOG_TAG "zonvista"

#include "WNaviframeControllerEx.h"

#include "ZonCommonDefine.h"

using app_trellis::WViewController;

namespace {

WViewController* viewOfItem(Elm_Object_Item* item)
{
	if (!item)
		return nullptr;
	Evas_Object* content = elm_object_item_part_content_get(item, "elm.swallow.content");
	if (!content)
		return nullptr;
	return WViewController::getInstanceFromEvasObj(content);
}

}

WNaviframeControllerEx::~WNaviframeControllerEx()
{
}

WViewController* WNaviframeControllerEx::getTopView()
{
	return viewOfItem(elm_naviframe_top_item_get(getEvasObject()));
}

WViewController* WNaviframeControllerEx::getBottomView()
{
	return viewOfItem(elm_naviframe_bottom_item_get(getEvasObject()));
}

void WNaviframeControllerEx::deleteTop()
{
	Elm_Object_Item* top = elm_naviframe_top_item_get(getEvasObject());
	if (top)
		elm_object_item_del(top);
}
