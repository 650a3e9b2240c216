// ZonWeatherInstallationPopup: its sentence and buttons (with and without a resource directory),
// the one-press guard, and dismissal without a choice.

#include <ZonWeatherInstallationPopup.h>

#include "UiFixture.h"

using Trace = std::vector<std::string>;

class InstallPromptTest : public UiFixture {
protected:
	Evas_Object* create(ZonWeatherInstallationPopup& prompt)
	{
		prompt.setOkBtnClickedNotiCb([this] { trace_.push_back("ok"); });
		prompt.setCancelBtnClickedNotiCb([this] { trace_.push_back("cancel"); });
		return prompt.create(window());
	}
	// button1 cancels, button2 confirms.
	static Evas_Object* button(Evas_Object* popup, int i) { return elm_object_part_content_get(popup, i ? "button2" : "button1"); }
	static void press(Evas_Object* button) { evas_object_smart_callback_call(button, "clicked", nullptr); }
	static Evas_Object* icon(Evas_Object* button) { return elm_object_part_content_get(button, "elm.swallow.content"); }

	Trace trace_;
};

TEST_F(InstallPromptTest, SentenceIconsOrNoneATapOutsideDismissesAndOnlyTheFirstPressCounts)
{
	for (const char* icon : {"qz_ic_popup_btn_delete.png", "qz_ic_popup_btn_check.png"})
		provideIcon(icon);
	ZonWeatherInstallationPopup prompt;
	Evas_Object* popup = create(prompt);
	ASSERT_NE(nullptr, popup);
	EXPECT_TRUE(evas_object_visible_get(popup));
	EXPECT_EQ("To use this function, download Weather.", text(elm_object_content_get(popup)));
	EXPECT_EQ(resourceDir() + "images/qz_ic_popup_btn_delete.png", imageFile(icon(button(popup, 0))));
	EXPECT_EQ(resourceDir() + "images/qz_ic_popup_btn_check.png", imageFile(icon(button(popup, 1))));

	DeletionWatch widget(popup);
	evas_object_smart_callback_call(popup, "block,clicked", nullptr);
	EXPECT_TRUE(pumpUntil([&] { return widget.gone(); }));
	EXPECT_TRUE(trace_.empty());

	// Without a resource directory the buttons work without icons.
	ASSERT_EQ(0, zon_host_fault_inject("app_get_resource_path", 1, -1));
	ZonWeatherInstallationPopup bare;
	popup = create(bare);
	EXPECT_TRUE(icon(button(popup, 0)) == nullptr && icon(button(popup, 1)) == nullptr);
	press(button(popup, 1));
	EXPECT_EQ(Trace{"ok"}, trace_);

	for (int first : {1, 0}) {
		trace_.clear();
		zon_host_log_clear();
		// Outlives its widget, as its owner keeps it.
		auto prompt = std::make_unique<ZonWeatherInstallationPopup>();
		Evas_Object* popup = create(*prompt);
		DeletionWatch widget(popup);
		press(button(popup, first));
		press(button(popup, first));
		press(button(popup, 1 - first));
		EXPECT_EQ(Trace{first ? "ok" : "cancel"}, trace_);
		EXPECT_EQ(2u, zon_host_log_count_matching("Button was already clicked (_isBtnClicked = 1)"));
		EXPECT_TRUE(pumpUntil([&] { return widget.gone(); }));
		EXPECT_EQ(1u, trace_.size());
	}

	// Deleted while shown, the widget no longer calls it.
	auto* doomed = new ZonWeatherInstallationPopup();
	popup = create(*doomed);
	delete doomed;
	// Its own handlers are gone from the widget: tapping outside reaches nothing.
	evas_object_smart_callback_call(popup, "block,clicked", nullptr);
	evas_object_smart_callback_call(popup, "dismissed", nullptr);
	pump(0.05);
	EXPECT_TRUE(evas_object_visible_get(popup));
	evas_object_del(popup);
}
