// ZonPopup: each notice's text, style and display time, how notices go away, the plural notice,
// re-translation of the translatable ones and the no-result icon.

#include <ZonPopup.h>

#include "UiFixture.h"

namespace {

// name: the text id.
struct Notice {
	std::function<void(Evas_Object*)> show;
	const char *name, *style;
	bool translatable;
	double readerTimeout;
};

const Notice kNotices[] = {
	{ZonPopup::showCityAddedPopup, "IDS_ZON_POP_CITY_ADDED", "toast/circle/check", false, 5.0},
	{ZonPopup::showAlreadyExistPopup, "WDS_ZON_TPOP_CITY_ALREADY_ADDED_ABB", "toast/circle/check", true, 8.0},
	{ZonPopup::showCityDeletedPopup, "WDS_ZON_TPOP_DELETED", "toast/circle/check", false, 5.0},
	{ZonPopup::showUpdateSuccessPopup, "WDS_ZON_TPOP_WEATHER_UPDATED_ABB", "toast/circle", false, 7.0},
	{ZonPopup::showUpdateFailedPopup, "WDS_ZON_TPOP_COULDNT_UPDATE_WEATHER_ABB", "toast/circle", false, 7.0},
	{ZonPopup::showCityChangedPopup, "WDS_ZON_TPOP_CITY_CHANGED_ABB", "toast/circle/check", true, 10.0},
	{ZonPopup::showSelectItemPopup, "WDS_TPLATFORM_TPOP_SELECT_ITEMS", "toast/small/circle", true, 5.0},
	{[](Evas_Object* parent) { ZonPopup::noResultPopup(parent); }, "WDS_ZON_TPOP_NO_CITIES_FOUND_ABB", "toast/circle", true, 10.0},
};

}

class ZonPopupTest : public UiFixture {};

TEST_F(ZonPopupTest, EachNoticeHasItsTextStyleTimeAndIconAndGoesWhenReadToTheEnd)
{
	for (bool reader : {false, true}) {
		setScreenReader(reader);
		for (const Notice& notice : kNotices) {
			SCOPED_TRACE(notice.name);
			notice.show(window());
			Evas_Object* popup = onlyPopup();
			ASSERT_NE(nullptr, popup);
			EXPECT_EQ(tr(notice.name), text(popup));
			EXPECT_NE(notice.name, text(popup)) << "untranslated";
			EXPECT_STREQ(notice.style, elm_object_style_get(popup));
			EXPECT_DOUBLE_EQ(reader ? notice.readerTimeout : 2.0, elm_popup_timeout_get(popup));
			if (!reader) {
				evas_object_del(popup);
				continue;
			}
			Evas_Object* textAccess = elm_object_part_access_object_get(popup, "elm.text");
			// Registered for the description, then the name: the name is what is read.
			EXPECT_EQ(ELM_ACCESSIBLE_READING_INFO_TYPE_NAME, elm_atspi_accessible_reading_info_type_get(textAccess));
			EXPECT_EQ(tr(notice.name), readerText(textAccess));
			// Only a finished reading removes it, not an interrupted one.
			DeletionWatch watch(popup);
			ASSERT_EQ(0, zon_host_screen_reader_finish_reading(popup, true));
			pump(0.01);
			EXPECT_FALSE(watch.gone());
			ASSERT_EQ(0, zon_host_screen_reader_finish_reading(popup, false));
			pump(0.01);
			EXPECT_TRUE(watch.gone());
		}
	}

	// The reader gets at most 255 bytes of the text.
	ZonPopup::showCityChangedPopup(window());
	elm_object_part_text_set(onlyPopup(), "elm.text", std::string(300, 'x').c_str());
	EXPECT_EQ(std::string(255, 'x'), readerText(elm_object_part_access_object_get(onlyPopup(), "elm.text")));
	evas_object_del(onlyPopup());

	// The no-result notice shows the error icon of the resource directory.
	provideIcon("zonvista_ic_error.png");
	Evas_Object* popup = ZonPopup::noResultPopup(window());
	EXPECT_EQ(popup, onlyPopup());
	EXPECT_EQ(resourceDir() + "images/zonvista_ic_error.png", imageFile(elm_object_part_content_get(popup, "toast,icon")));
	evas_object_del(popup);

	// Without a resource directory the icon shows nothing, and the notice still works.
	ASSERT_EQ(0, zon_host_fault_inject("app_get_resource_path", 1, -1));
	popup = ZonPopup::noResultPopup(window());
	Evas_Object* image = elm_object_part_content_get(popup, "toast,icon");
	ASSERT_NE(nullptr, image);
	int w = -1;
	elm_image_object_size_get(image, &w, nullptr);
	EXPECT_EQ(0, w);
	EXPECT_EQ(tr("WDS_ZON_TPOP_NO_CITIES_FOUND_ABB"), text(popup));
}

TEST_F(ZonPopupTest, MaxNumberPicksSingularOrPluralAndATimeOutDeletesAtOnceATapFadesOut)
{
	for (int number : {1, 20}) {
		setLanguage("xx");
		std::string format = dngettext("zonvista", "PLURAL_ZERO_ZON_TPOP_CANT_ADD_MORE_THAN_PD_CITIES_ABB",
			"PLURAL_ZERO_ZON_TPOP_CANT_ADD_MORE_THAN_PD_CITIES_ABB", number);
		char expected[128];
		snprintf(expected, sizeof(expected), format.c_str(), number);
		ZonPopup::showMaxNumberReachedPopup(window(), number);
		EXPECT_EQ(expected, text(onlyPopup()));
		evas_object_del(onlyPopup());
		setLanguage("en");
		ZonPopup::showMaxNumberReachedPopup(window(), number);
		EXPECT_EQ(number == 1 ? "You can't add more than 1 city." : "You can't add more than 20 cities.", text(onlyPopup()));
		EXPECT_STREQ("toast/circle", elm_object_style_get(onlyPopup()));
		evas_object_del(onlyPopup());
	}

	for (auto [show, signal] : {std::pair{ZonPopup::showCityDeletedPopup, "timeout"},
			 {ZonPopup::showUpdateSuccessPopup, "block,clicked"}}) {
		show(window());
		DeletionWatch watch(onlyPopup());
		evas_object_smart_callback_call(onlyPopup(), signal, nullptr);
		pump(0.01);
		EXPECT_EQ(signal == std::string("timeout"), watch.gone()) << signal;
		EXPECT_TRUE(pumpUntil([&] { return watch.gone(); }));
	}
}

TEST_F(ZonPopupTest, LanguageChangeRetranslatesOnlyTranslatableNotices)
{
	std::vector<std::string> english;
	for (const Notice& notice : kNotices) {
		notice.show(window());
		english.push_back(text(popups().back()));
	}
	changeLanguage("xx");
	std::vector<Evas_Object*> shown = popups();
	ASSERT_EQ(english.size(), shown.size());
	for (size_t i = 0; i < shown.size(); ++i) {
		const Notice& notice = kNotices[i];
		EXPECT_EQ(notice.translatable ? tr(notice.name) : english[i], text(shown[i])) << notice.name;
		EXPECT_EQ(notice.translatable, english[i] != text(shown[i])) << notice.name;
	}
}
