// WNaviframeControllerEx and the framework's naviframe and view controllers under it: top and
// bottom views, deleting the top page, popping by the back key, and views bound to their objects.

#include <WNaviframeControllerEx.h>

#include "UiFixture.h"

using app_trellis::WViewController;
using Trace = std::vector<std::string>;

namespace {

class PageView : public WViewController {
public:
	PageView(Trace& trace, std::string name, bool keep) : trace_(trace), name_(std::move(name)), keep_(keep) {}

protected:
	Evas_Object* onCreateView(Evas_Object* parent, void*) override { return elm_label_add(parent); }
	void onDestroy() override { trace_.push_back("destroy " + name_); }
	void onBecomeTop() override { trace_.push_back("top " + name_); }
	bool onPop() override
	{
		trace_.push_back("pop " + name_);
		return !keep_;
	}

private:
	Trace& trace_;
	std::string name_;
	bool keep_;
};

}

class NaviframeTest : public UiFixture {
protected:
	void SetUp() override
	{
		UiFixture::SetUp();
		navi_ = new WNaviframeControllerEx();
		ASSERT_TRUE(navi_->create(window(), nullptr));
		evas_object_resize(navi_->getEvasObject(), 360, 360);
		evas_object_show(navi_->getEvasObject());
	}

	PageView* push(const std::string& name, bool keep = false)
	{
		auto* view = new PageView(trace_, name, keep);
		EXPECT_TRUE(navi_->push(view, name.c_str()));
		return view;
	}

	WNaviframeControllerEx* navi_ = nullptr;
	Trace trace_;
};

TEST_F(NaviframeTest, TopAndBottomViewsDeletingTheTopPoppingToANamedViewAndByTheBackKey)
{
	EXPECT_TRUE(!navi_->getTopView() && !navi_->getBottomView());
	PageView* first = push("first");
	EXPECT_TRUE(navi_->getTopView() == first && navi_->getBottomView() == first);
	PageView* second = push("second");
	EXPECT_TRUE(navi_->getTopView() == second && navi_->getBottomView() == first);
	EXPECT_EQ(second, WViewController::getInstanceFromEvasObj(second->getEvasObject()));

	DeletionWatch secondObject(second->getEvasObject());
	navi_->deleteTop();
	EXPECT_TRUE(secondObject.gone());
	EXPECT_EQ(first, navi_->getTopView());
	EXPECT_EQ(1, navi_->getViewCount());
	navi_->deleteTop();
	EXPECT_EQ(nullptr, navi_->getTopView());
	// On an empty naviframe it does nothing.
	navi_->deleteTop();
	EXPECT_EQ((Trace{"destroy second", "destroy first"}), trace_);

	for (const char* name : {"first", "second", "third"})
		push(name);
	pump(0.6);
	EXPECT_FALSE(navi_->popTo("nowhere"));
	EXPECT_TRUE(navi_->popTo("first"));
	EXPECT_TRUE(pumpUntil([&] { return navi_->getViewCount() == 1; }));
	EXPECT_STREQ("first", navi_->getTopView()->getName());

	// The back key pops down to the last page, unless a view refuses.
	push("second");
	// The naviframe ignores pops while a page is still sliding in.
	pump(0.6);
	trace_.clear();
	int lastPops = 0;
	navi_->setOnLastItemPop([&](bool* popOut) {
		++lastPops;
		*popOut = false;
	});
	EXPECT_EQ(navi_->getEvasObject(), zon_host_back_key());
	EXPECT_EQ((Trace{"pop second", "top first"}), trace_);
	ASSERT_TRUE(pumpUntil([&] { return navi_->getViewCount() == 1 && trace_.size() == 3; }));
	EXPECT_EQ("destroy second", trace_.back());
	// The last page asks the application instead.
	zon_host_back_key();
	EXPECT_EQ(1, lastPops);
	EXPECT_EQ(1, navi_->getViewCount());

	push("editor", true);
	pump(0.6);
	navi_->pop();
	pump(0.5);
	EXPECT_EQ(2, navi_->getViewCount());
	EXPECT_STREQ("editor", navi_->getTopView()->getName());
}
