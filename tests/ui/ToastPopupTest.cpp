// ToastPopup: how a toast ends (time-out, tap, back key, screen reader), that it deletes itself
// exactly once and after its dismissed callback, and the updating notice.

#include <ToastPopup.h>

#include "UiFixture.h"

namespace {

using Trace = std::vector<std::string>;

// Records its own deletion, so that the self-deletion can be seen in order with the callbacks.
class TrackedToast : public ToastPopup {
public:
	explicit TrackedToast(Trace& trace) : trace_(trace)
	{
		setHideNotiCb([this] { trace_.push_back("hide"); });
		setDismissedNotiCb([this] { trace_.push_back("dismissed"); });
		setPopupShowFinishedNotiCb([this] { trace_.push_back("shown"); });
	}
	~TrackedToast() override { trace_.push_back("deleted"); }

private:
	Trace& trace_;
};

void tap(Evas_Object* p) { evas_object_smart_callback_call(p, "block,clicked", nullptr); }
void timeOut(Evas_Object* p) { evas_object_smart_callback_call(p, "timeout", nullptr); }

}

class ToastPopupTest : public UiFixture {
protected:
	// Runs until the toast has deleted itself, then checks the whole trace.
	void expectEnds(const Trace& expected = {"hide", "dismissed", "deleted"})
	{
		EXPECT_TRUE(pumpUntil([&] { return !trace.empty() && trace.back() == "deleted"; }));
		EXPECT_EQ(expected, trace);
	}
	Evas_Object* create(const char* text, bool isCheck = false, bool isSmall = false)
	{
		trace.clear();
		return (new TrackedToast(trace))->create(window(), text, isCheck, isSmall);
	}
	Trace trace;
};

TEST_F(ToastPopupTest, CheckStyleWinsOverSmallEachEndsAfterTwoSecondsOrByTapBackKeyOrTimeOut)
{
	double start = ecore_time_get();
	struct Case { bool isCheck, isSmall; const char* style; };
	for (const Case& c : {Case{false, false, "toast/circle"}, Case{false, true, "toast/small/circle"},
			 Case{true, false, "toast/circle/check"}, Case{true, true, "toast/circle/check"}}) {
		Evas_Object* p = (new ToastPopup())->create(window(), "City added.", "unused", c.isCheck, c.isSmall);
		EXPECT_STREQ(c.style, elm_object_style_get(p));
		EXPECT_EQ("City added.", text(p));
		EXPECT_EQ(ELM_POPUP_ORIENT_BOTTOM, elm_popup_orient_get(p));
		EXPECT_DOUBLE_EQ(2.0, elm_popup_timeout_get(p));
	}
	ASSERT_TRUE(pumpUntil([&] { return popups().empty(); }, 4.0));
	EXPECT_GE(ecore_time_get() - start, 1.9);

	// Whatever hides it, the toast deletes itself once.
	const std::vector<std::function<void(Evas_Object*)>> triggers = {
		tap, [](Evas_Object* p) { EXPECT_EQ(p, zon_host_back_key()); }, timeOut};
	for (size_t i = 0; i < triggers.size(); ++i) {
		Evas_Object* popup = create("Deleted.", true);
		DeletionWatch widget(popup);
		triggers[i](popup);
		// Hiding takes the key and the other triggers away: nothing hides it a second time.
		EXPECT_EQ(nullptr, zon_host_back_key());
		tap(popup);
		timeOut(popup);
		EXPECT_EQ(Trace{"hide"}, trace) << "trigger " << i;
		expectEnds();
		EXPECT_TRUE(widget.gone());
	}
}

TEST_F(ToastPopupTest, UpdatingNoticeStaysUntilDismissedAndTheReadersEndClosesAToast)
{
	auto* toast = new TrackedToast(trace);
	Evas_Object* popup = toast->createShowWeatherUpdatingPopup(window());
	ASSERT_NE(nullptr, popup);
	EXPECT_EQ("Updating...", text(popup));
	EXPECT_DOUBLE_EQ(0.0, elm_popup_timeout_get(popup));
	Evas_Object* busy = elm_object_part_content_get(popup, "toast,icon");
	ASSERT_NE(nullptr, busy);
	EXPECT_TRUE(elm_progressbar_pulse_get(busy));
	// Upstream never reports the end of the show animation; the device's toolkit does.
	evas_object_smart_callback_call(popup, "show,finished", nullptr);
	DeletionWatch widget(popup);
	toast->weatherUpdatingPopupDismissed();
	EXPECT_EQ((Trace{"shown", "deleted"}), trace);
	EXPECT_TRUE(widget.gone());

	// For the screen reader, in another language, closed by the back key.
	setScreenReader(true);
	trace.clear();
	popup = (new TrackedToast(trace))->createShowWeatherUpdatingPopup(window());
	EXPECT_EQ(ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION, elm_atspi_accessible_reading_info_type_get(popup));
	EXPECT_EQ("Updating...", readerText(popup));
	Evas_Object* textAccess = elm_object_part_access_object_get(popup, "elm.text");
	EXPECT_EQ(ELM_ACCESSIBLE_READING_INFO_TYPE_NAME, elm_atspi_accessible_reading_info_type_get(textAccess));
	// The reader gets plain text, not markup.
	elm_object_part_text_set(popup, "elm.text", "Rain &amp; wind<br>soon");
	EXPECT_EQ("Rain & wind\nsoon", readerText(popup));
	EXPECT_EQ("Rain & wind\nsoon", readerText(textAccess));
	changeLanguage("xx");
	EXPECT_EQ("updating", text(popup));
	EXPECT_EQ(popup, zon_host_back_key());
	// Its back key only dismisses: no hide callback.
	expectEnds({"dismissed", "deleted"});

	// The screen reader reads the text, and the end of its reading closes the toast.
	for (bool cancelled : {false, true}) {
		popup = create("City changed.");
		EXPECT_DOUBLE_EQ(10.0, elm_popup_timeout_get(popup));
		textAccess = elm_object_part_access_object_get(popup, "elm.text");
		// The name follows the text as it is now.
		elm_object_part_text_set(popup, "elm.text", "City changed again.");
		EXPECT_EQ("City changed again.", readerText(textAccess));
		ASSERT_EQ(0, zon_host_screen_reader_finish_reading(popup, cancelled));
		EXPECT_EQ(Trace{"hide"}, trace);
		expectEnds();
	}

	// Highlighted by hand, it outlasts the reading.
	popup = create("Select items.", false, true);
	ASSERT_EQ(0, zon_host_screen_reader_highlight(elm_object_part_access_object_get(popup, "elm.text")));
	EXPECT_TRUE(zon_host_log_contains("set highlighted"));
	ASSERT_EQ(0, zon_host_screen_reader_finish_reading(popup, false));
	ASSERT_EQ(0, zon_host_screen_reader_finish_reading(popup, true));
	pump(0.3);
	EXPECT_TRUE(trace.empty() && evas_object_visible_get(popup));
	timeOut(popup);
	expectEnds();

	// A tap leaves the reader's handlers in place: the reading end hides once more, and the
	// toast is still deleted once.
	popup = create("Deleted.", true);
	tap(popup);
	ASSERT_EQ(0, zon_host_screen_reader_finish_reading(popup, false));
	expectEnds({"hide", "hide", "dismissed", "deleted"});
}
