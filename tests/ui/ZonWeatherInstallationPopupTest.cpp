// ZonWeatherInstallationPopup: its sentence and buttons, the one-press guard, dismissal without a
// choice, and the prompt without a resource directory.

#include <string>
#include <vector>

#include <ZonWeatherInstallationPopup.h>

#include "UiFixture.h"

namespace {

using Trace = std::vector<std::string>;

}

class InstallPromptTest : public UiFixture {
protected:
	void SetUp() override
	{
		UiFixture::SetUp();
		provideIcon("qz_ic_popup_btn_delete.png");
		provideIcon("qz_ic_popup_btn_check.png");
	}

	Evas_Object* create(ZonWeatherInstallationPopup& prompt, Trace& trace)
	{
		prompt.setOkBtnClickedNotiCb([&trace] { trace.push_back("ok"); });
		prompt.setCancelBtnClickedNotiCb([&trace] { trace.push_back("cancel"); });
		return prompt.create(window());
	}

	static Evas_Object* cancelButton(Evas_Object* popup) { return elm_object_part_content_get(popup, "button1"); }
	static Evas_Object* okButton(Evas_Object* popup) { return elm_object_part_content_get(popup, "button2"); }
	static void press(Evas_Object* button) { evas_object_smart_callback_call(button, "clicked", nullptr); }

	static std::string iconFile(Evas_Object* button)
	{
		Evas_Object* icon = elm_object_part_content_get(button, "elm.swallow.content");
		const char* file = nullptr;
		if (icon)
			elm_image_file_get(icon, &file, nullptr);
		return file ? file : "";
	}
};

TEST_F(InstallPromptTest, SentenceAndButtons)
{
	ZonWeatherInstallationPopup prompt;
	Trace trace;
	Evas_Object* popup = create(prompt, trace);
	ASSERT_NE(nullptr, popup);
	EXPECT_STREQ("circle", elm_object_style_get(popup));
	EXPECT_TRUE(evas_object_visible_get(popup));
	Evas_Object* layout = elm_object_content_get(popup);
	ASSERT_NE(nullptr, layout);
	EXPECT_EQ("To use this function, download Weather.", text(layout));

	Evas_Object* cancel = cancelButton(popup);
	Evas_Object* ok = okButton(popup);
	ASSERT_NE(nullptr, cancel);
	ASSERT_NE(nullptr, ok);
	EXPECT_STREQ("popup/circle/left", elm_object_style_get(cancel));
	EXPECT_STREQ("popup/circle/right", elm_object_style_get(ok));
	EXPECT_EQ(resourceDir() + "images/qz_ic_popup_btn_delete.png", iconFile(cancel));
	EXPECT_EQ(resourceDir() + "images/qz_ic_popup_btn_check.png", iconFile(ok));
	EXPECT_TRUE(trace.empty());
}

TEST_F(InstallPromptTest, OnlyTheFirstPressCounts)
{
	ZonWeatherInstallationPopup prompt;
	Trace trace;
	Evas_Object* popup = create(prompt, trace);
	DeletionWatch widget(popup);
	Evas_Object* ok = okButton(popup);
	Evas_Object* cancel = cancelButton(popup);
	press(ok);
	press(ok);
	press(cancel);
	EXPECT_EQ(Trace{"ok"}, trace);
	EXPECT_EQ(2u, zon_host_log_count_matching("Button was already clicked (_isBtnClicked = 1)"));

	// Dismissed after the choice: the widget goes, the prompt object stays its owner's.
	EXPECT_TRUE(pumpUntil([&] { return widget.gone(); }));
	EXPECT_EQ(Trace{"ok"}, trace);
}

TEST_F(InstallPromptTest, CancelFirstIgnoresTheConfirmButton)
{
	auto* prompt = new ZonWeatherInstallationPopup();
	Trace trace;
	Evas_Object* popup = create(*prompt, trace);
	DeletionWatch widget(popup);
	press(cancelButton(popup));
	press(okButton(popup));
	EXPECT_EQ(Trace{"cancel"}, trace);
	EXPECT_TRUE(pumpUntil([&] { return widget.gone(); }));
	// Deleted after its widget is gone.
	delete prompt;
}

TEST_F(InstallPromptTest, TapOutsideDismissesWithoutAChoice)
{
	ZonWeatherInstallationPopup prompt;
	Trace trace;
	Evas_Object* popup = create(prompt, trace);
	DeletionWatch widget(popup);
	evas_object_smart_callback_call(popup, "block,clicked", nullptr);
	EXPECT_TRUE(pumpUntil([&] { return widget.gone(); }));
	EXPECT_TRUE(trace.empty());
}

TEST_F(InstallPromptTest, WithoutResourceDirectoryButtonsWorkWithoutIcons)
{
	ASSERT_EQ(0, zon_host_fault_inject("app_get_resource_path", 1, -1));
	ZonWeatherInstallationPopup prompt;
	Trace trace;
	Evas_Object* popup = create(prompt, trace);
	EXPECT_EQ(nullptr, elm_object_part_content_get(cancelButton(popup), "elm.swallow.content"));
	EXPECT_EQ(nullptr, elm_object_part_content_get(okButton(popup), "elm.swallow.content"));
	press(okButton(popup));
	EXPECT_EQ(Trace{"ok"}, trace);
}

TEST_F(InstallPromptTest, DeletedWhileShownTheWidgetNoLongerCallsIt)
{
	auto* prompt = new ZonWeatherInstallationPopup();
	Trace trace;
	Evas_Object* popup = create(*prompt, trace);
	delete prompt;
	// Its own handlers are gone from the widget: tapping outside reaches nothing.
	evas_object_smart_callback_call(popup, "block,clicked", nullptr);
	evas_object_smart_callback_call(popup, "dismissed", nullptr);
	pump(0.05);
	EXPECT_TRUE(evas_object_visible_get(popup));
	evas_object_del(popup);
}
