/*
 * UiFixture.h - the toolkit with the host's watch theme, translations and screen reader.
 *
 * On top of ToolkitFixture: zon_host_toolkit_init() (the watch theme, so that the popups'
 * styles exist and no "Failed to set layout!" is logged), the text domains "zonvista" and
 * "korvath.zonvista" bound to the build's catalogues in English, and helpers to run the main
 * loop for a bounded time, to switch the screen reader and to find the popups of the window.
 *
 * Catalogues: the library translates in "zonvista"; the application's own domain
 * "korvath.zonvista" (what the toolkit re-translates with) gets a copy of the same catalogue
 * under the test's device root.
 */
#ifndef ZON_TESTS_UI_FIXTURE_H
#define ZON_TESTS_UI_FIXTURE_H

#include <libintl.h>
#include <locale.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <glib.h>

#include "ToolkitFixture.h"

extern "C" int _nl_msg_cat_cntr;

#ifndef ZON_LOCALE_DIR
#error "ZON_LOCALE_DIR must name the build's compiled catalogues"
#endif

class UiFixture : public ToolkitFixture {
protected:
	void SetUp() override
	{
		ToolkitFixture::SetUp();
		if (HasFatalFailure())
			return;
		ASSERT_EQ(0, zon_host_toolkit_init());
		// In the plain "C" locale glibc ignores LANGUAGE; C.UTF-8 honours it.
		ASSERT_NE(nullptr, setlocale(LC_ALL, "C.UTF-8"));
		std::string appLocale = rootPath("locale");
		for (std::string language : {"en", "xx"}) {
			std::string dir = appLocale + "/" + language + "/LC_MESSAGES";
			g_mkdir_with_parents(dir.c_str(), 0755);
			copyFile(std::string(ZON_LOCALE_DIR) + "/" + language + "/LC_MESSAGES/zonvista.mo", dir + "/korvath.zonvista.mo");
		}
		for (auto [domain, dir] : {std::pair<const char*, std::string>{"zonvista", ZON_LOCALE_DIR}, {"korvath.zonvista", appLocale}}) {
			ASSERT_NE(nullptr, bindtextdomain(domain, dir.c_str()));
			bind_textdomain_codeset(domain, "UTF-8");
		}
		setLanguage("en");
		setScreenReader(false);
	}

	// The catalogue language of dgettext(); changeLanguage() also has the toolkit re-translate
	// its translatable texts, as the platform's language-change event does.
	void setLanguage(const char* language)
	{
		setEnv("LANGUAGE", language);
		++_nl_msg_cat_cntr;
	}
	void changeLanguage(const char* language)
	{
		setLanguage(language);
		elm_language_set("C.UTF-8");
		pump(0.05);
	}

	void setScreenReader(bool on) { ASSERT_EQ(0, zon_host_set_screen_reader(on)); }

	// Runs the main loop until cond holds (true) or `seconds` ran out (false).
	static bool pumpUntil(const std::function<bool()>& cond, double seconds = 2.0)
	{
		return zon_host_toolkit_pump(seconds, [](void* data) { return (*static_cast<const std::function<bool()>*>(data))(); },
			const_cast<std::function<bool()>*>(&cond));
	}
	static void pump(double seconds) { zon_host_toolkit_pump(seconds, nullptr, nullptr); }

	// A button shown on the window.
	Evas_Object* shownButton(const char* label = nullptr) const
	{
		Evas_Object* b = elm_button_add(window());
		if (label)
			elm_object_text_set(b, label);
		evas_object_show(b);
		return b;
	}

	// The popups on the window's canvas, bottom to top.
	std::vector<Evas_Object*> popups() const
	{
		std::vector<Evas_Object*> found;
		for (Evas_Object* o = evas_object_bottom_get(evas()); o; o = evas_object_above_get(o))
			if (strcmp(evas_object_type_get(o), "elm_popup") == 0)
				found.push_back(o);
		return found;
	}
	Evas_Object* onlyPopup() const
	{
		std::vector<Evas_Object*> found = popups();
		EXPECT_EQ(1u, found.size());
		return found.empty() ? nullptr : found.back();
	}

	static std::string text(Evas_Object* obj, const char* part = "elm.text")
	{
		const char* t = elm_object_part_text_get(obj, part);
		return t ? t : "";
	}
	// What the screen reader would say; "" for nothing.
	static std::string readerText(Evas_Object* obj)
	{
		std::unique_ptr<char, void (*)(void*)> t(zon_host_screen_reader_text(obj), free);
		return t ? t.get() : "";
	}
	static std::string tr(const char* id) { return dgettext("zonvista", id); }

	std::string resourceDir() const { return rootPath("apps/" ZON_HOST_DEFAULT_APP_ID "/res/"); }
	static void copyFile(const std::string& from, const std::string& to)
	{
		gchar* bytes = nullptr;
		gsize size = 0;
		ASSERT_TRUE(g_file_get_contents(from.c_str(), &bytes, &size, nullptr)) << from;
		EXPECT_TRUE(g_file_set_contents(to.c_str(), bytes, size, nullptr)) << to;
		g_free(bytes);
	}
	// Puts one of the application's icons (the gallery's copies) into its resource directory.
	void provideIcon(const char* name)
	{
		g_mkdir_with_parents((resourceDir() + "images").c_str(), 0755);
		copyFile(std::string(ZON_SOURCE_DIR) + "/tools/gallery/images/" + name, resourceDir() + "images/" + name);
	}
	// The file an image widget shows; "" for none.
	static std::string imageFile(Evas_Object* image)
	{
		const char* file = nullptr;
		if (image)
			elm_image_file_get(image, &file, nullptr);
		return file ? file : "";
	}
};

// Tells whether an object has been deleted.
class DeletionWatch {
public:
	explicit DeletionWatch(Evas_Object* obj) : obj_(obj) { evas_object_event_callback_add(obj, EVAS_CALLBACK_DEL, onDel, this); }
	~DeletionWatch()
	{
		if (obj_)
			evas_object_event_callback_del_full(obj_, EVAS_CALLBACK_DEL, onDel, this);
	}
	DeletionWatch(const DeletionWatch&) = delete;
	bool gone() const { return !obj_; }

private:
	static void onDel(void* data, Evas*, Evas_Object*, void*) { static_cast<DeletionWatch*>(data)->obj_ = nullptr; }
	Evas_Object* obj_;   // nullptr once deleted
};

#endif /* ZON_TESTS_UI_FIXTURE_H */
