/**
 * @class WNaviframeControllerEx
 * WNaviframeControllerEx.h - the framework's naviframe controller with access to its top and
 * bottom views and deletion of the top page.
 *
 * A view is found through the content of its naviframe item ("elm.swallow.content"); an item
 * without content, or whose content is no view controller's, counts as no view.
 *
 * Threading: main-loop thread only.
 *
 * Example:
 * @code
 *   auto* navi = new WNaviframeControllerEx();
 *   navi->create(conformant, nullptr);
 *   ...
 *   if (dynamic_cast<CityListView*>(navi->getTopView()))
 *       navi->deleteTop();
 * @endcode
 */
#ifndef W_NAVIFRAME_CONTROLLER_EX_H
#define W_NAVIFRAME_CONTROLLER_EX_H

#include <WNaviframeController.h>
#include <WViewController.h>

class WNaviframeControllerEx : public app_trellis::WNaviframeController {
public:
	/// The view of the top item, null without items.
	virtual app_trellis::WViewController* getTopView();
	/// The view of the bottom item, null without items.
	virtual app_trellis::WViewController* getBottomView();
	virtual ~WNaviframeControllerEx();

	/// Deletes the top item, its view with it, without a transition; nothing without items.
	void deleteTop();
};

#endif /* W_NAVIFRAME_CONTROLLER_EX_H */
