/*
 * zon-gallery - every toast, notice and prompt of zon-common on a 360x360 window, on demand.
 *
 * A list names them; click one, press its key, or turn the mouse wheel (the bezel) to move
 * through the list and press Return. BackSpace is the watch's back key: a toast closes on it;
 * notices and the prompt leave it to the screen below, where it ends the gallery once no popup
 * is left. Escape is the back key too, but the desktop toolkit also closes any popup on Escape
 * by itself. The line at the top tells what the popups reported (hide, dismissed, a button
 * pressed) and whether the screen reader is on.
 *
 *   zon-gallery [--show NAME]...   shows the named entries at start (see --list)
 *   zon-gallery --list             prints the entries
 *
 * It plays the world-clock application on the host's device (ZON_HOST_ROOT): it puts the
 * application's icons and its copy of the catalogue into the application's resource directory
 * before it starts. Texts follow LANGUAGE / LC_MESSAGES ("en" when unset), as on the host.
 * Under Xvfb: xvfb-run -a -s "-screen 0 640x480x24" zon-gallery --show install-prompt
 */
#include <libintl.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <functional>
#include <string>
#include <vector>

#include <glib.h>

#include <Elementary.h>
#include <app_common.h>
#include <efl_extension.h>
#include <zon-host/zon_host.h>

#include <ScreenReaderHelper.h>
#include <ToastPopup.h>
#include <WNaviframeControllerEx.h>
#include <ZonPopup.h>
#include <ZonRotaryManager.h>
#include <ZonWeatherInstallationPopup.h>

namespace {

struct Entry {
	const char* name;    // for --show
	const char* key;     // keyname that shows it
	const char* label;
	std::function<void()> show;
};

// Copies a file unless the copy is there already.
bool provide(const std::string& source, const std::string& target)
{
	if (g_file_test(target.c_str(), G_FILE_TEST_EXISTS))
		return true;
	gchar* dir = g_path_get_dirname(target.c_str());
	g_mkdir_with_parents(dir, 0755);
	g_free(dir);
	gchar* bytes = nullptr;
	gsize size = 0;
	bool ok = g_file_get_contents(source.c_str(), &bytes, &size, nullptr)
		&& g_file_set_contents(target.c_str(), bytes, size, nullptr);
	g_free(bytes);
	if (!ok)
		fprintf(stderr, "zon-gallery: cannot copy %s to %s\n", source.c_str(), target.c_str());
	return ok;
}

// The application's resources as the device would have them installed.
void installResources()
{
	char* res = app_get_resource_path();
	if (!res)
		return;
	std::string dir = res;
	free(res);
	for (const char* icon : {"zonvista_ic_error.png", "qz_ic_popup_btn_delete.png", "qz_ic_popup_btn_check.png"})
		provide(std::string(ZON_GALLERY_IMAGES) + "/" + icon, dir + "images/" + icon);
	for (const char* language : {"en", "ko", "ar", "xx"}) {
		std::string catalogue = std::string(ZON_LOCALE_DIR) + "/" + language + "/LC_MESSAGES/zonvista.mo";
		if (g_file_test(catalogue.c_str(), G_FILE_TEST_EXISTS))
			provide(catalogue, dir + "locale/" + language + "/LC_MESSAGES/korvath.zonvista.mo");
	}
	bindtextdomain("zonvista", ZON_LOCALE_DIR);
	bind_textdomain_codeset("zonvista", "UTF-8");
	bindtextdomain("korvath.zonvista", (dir + "locale").c_str());
	bind_textdomain_codeset("korvath.zonvista", "UTF-8");
}

class MenuView : public app_trellis::WViewController {
public:
	explicit MenuView(std::vector<Entry>& entries)
		: _entries(entries)
	{
	}

	Evas_Object* status() const { return _status; }
	Evas_Object* list() const { return _list; }

	// The bezel moves the selection one entry.
	void step(bool forward)
	{
		Elm_Object_Item* item = elm_list_selected_item_get(_list);
		Elm_Object_Item* next = !item ? elm_list_first_item_get(_list)
			: forward ? elm_list_item_next(item) : elm_list_item_prev(item);
		if (!next)
			return;
		// Selecting is what a click does; the bezel only moves the selection.
		_stepping = true;
		elm_list_item_selected_set(next, EINA_TRUE);
		_stepping = false;
		elm_list_item_bring_in(next);
	}

	void showSelected()
	{
		Elm_Object_Item* item = elm_list_selected_item_get(_list);
		if (item)
			static_cast<Entry*>(elm_object_item_data_get(item))->show();
	}

protected:
	Evas_Object* onCreateView(Evas_Object* parent, void*) override
	{
		Evas_Object* box = elm_box_add(parent);
		_status = elm_label_add(box);
		evas_object_size_hint_weight_set(_status, EVAS_HINT_EXPAND, 0.0);
		evas_object_size_hint_align_set(_status, EVAS_HINT_FILL, 0.5);
		elm_label_line_wrap_set(_status, ELM_WRAP_MIXED);
		elm_box_pack_end(box, _status);
		evas_object_show(_status);

		_list = elm_list_add(box);
		evas_object_size_hint_weight_set(_list, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
		evas_object_size_hint_align_set(_list, EVAS_HINT_FILL, EVAS_HINT_FILL);
		// Every click shows its entry, also on the entry already selected.
		elm_list_select_mode_set(_list, ELM_OBJECT_SELECT_MODE_ALWAYS);
		for (Entry& entry : _entries) {
			std::string label = std::string("[") + entry.key + "]  " + entry.label;
			Elm_Object_Item* item = elm_list_item_append(_list, label.c_str(), nullptr, nullptr, _onItemClicked, this);
			elm_object_item_data_set(item, &entry);
		}
		elm_list_go(_list);
		elm_box_pack_end(box, _list);
		evas_object_show(_list);
		return box;
	}

private:
	static void _onItemClicked(void* data, Evas_Object*, void* eventInfo)
	{
		if (static_cast<MenuView*>(data)->_stepping)
			return;
		static_cast<Entry*>(elm_object_item_data_get(static_cast<Elm_Object_Item*>(eventInfo)))->show();
	}

	std::vector<Entry>& _entries;
	bool _stepping = false;
	Evas_Object* _status = nullptr;
	Evas_Object* _list = nullptr;
};

class Gallery {
public:
	bool create()
	{
		_window = elm_win_util_standard_add("zon-gallery", "zon-gallery");
		if (!_window)
			return false;
		elm_win_autodel_set(_window, EINA_TRUE);
		evas_object_smart_callback_add(_window, "delete,request", [](void*, Evas_Object*, void*) { elm_exit(); }, nullptr);
		evas_object_resize(_window, 360, 360);

		Evas_Object* conformant = elm_conformant_add(_window);
		evas_object_size_hint_weight_set(conformant, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
		elm_win_resize_object_add(_window, conformant);
		evas_object_show(conformant);
		ZonRotaryManager::getInstance()->initialize(conformant);

		_entries = makeEntries();
		_navi = new WNaviframeControllerEx();
		_navi->create(conformant, nullptr);
		elm_object_content_set(conformant, _navi->getEvasObject());
		_navi->setOnLastItemPop([this](bool*) {
			if (!anyPopupShown())
				elm_exit();
		});
		_menu = new MenuView(_entries);
		_navi->push(_menu, "menu");
		ZonRotaryManager::getInstance()->setOnRotary(_menu->list(), [this](Eext_Rotary_Event_Direction direction) {
			_menu->step(direction == EEXT_ROTARY_DIRECTION_CLOCKWISE);
		});
		_keyHandler = ecore_event_handler_add(ECORE_EVENT_KEY_DOWN, _onKeyDown, this);
		report("ready");
		evas_object_show(_window);
		return true;
	}

	~Gallery()
	{
		if (_keyHandler)
			ecore_event_handler_del(_keyHandler);
		delete _prompt;
	}

	std::vector<Entry>& entries() { return _entries; }

	void report(const std::string& what)
	{
		std::string line = "<font_size=13>" + what + (ScreenReaderHelper::isScreenReaderEnabled() ? " · reader on" : "")
			+ "</font_size>";
		elm_object_text_set(_menu->status(), line.c_str());
		printf("zon-gallery: %s\n", what.c_str());
		fflush(stdout);
	}

private:
	bool anyPopupShown() const
	{
		for (Evas_Object* o = evas_object_bottom_get(evas_object_evas_get(_window)); o; o = evas_object_above_get(o)) {
			if (strcmp(evas_object_type_get(o), "elm_popup") == 0 && evas_object_visible_get(o))
				return true;
		}
		return false;
	}

	ToastPopup* toast()
	{
		auto* toast = new ToastPopup();
		toast->setHideNotiCb([this] { report("toast: hide"); });
		toast->setDismissedNotiCb([this] { report("toast: dismissed"); });
		return toast;
	}

	void toggleUpdating()
	{
		if (_updating) {
			_updating->weatherUpdatingPopupDismissed();
			_updating = nullptr;
			report("updating: ended");
			return;
		}
		_updating = new ToastPopup();
		_updating->setDismissedNotiCb([this] {
			_updating = nullptr;
			report("updating: dismissed");
		});
		_updating->createShowWeatherUpdatingPopup(_window);
		report("updating: shown (its key again ends it)");
	}

	void showPrompt()
	{
		delete _prompt;
		_prompt = new ZonWeatherInstallationPopup();
		_prompt->setOkBtnClickedNotiCb([this] { report("prompt: confirm"); });
		_prompt->setCancelBtnClickedNotiCb([this] { report("prompt: cancel"); });
		_prompt->create(_window);
	}

	std::vector<Entry> makeEntries()
	{
		Evas_Object*& w = _window;
		return {
			{"toast", "1", "Toast", [this] { toast()->create(_window, "Weather updated.", false, false); }},
			{"toast-check", "2", "Toast with check", [this] { toast()->create(_window, "Saved.", true, false); }},
			{"toast-small", "3", "Small toast", [this] { toast()->create(_window, "Select items.", false, true); }},
			{"updating", "u", "Updating notice", [this] { toggleUpdating(); }},
			{"city-added", "4", "City added", [&w] { ZonPopup::showCityAddedPopup(w); }},
			{"already-exist", "5", "City already added", [&w] { ZonPopup::showAlreadyExistPopup(w); }},
			{"city-deleted", "6", "City deleted", [&w] { ZonPopup::showCityDeletedPopup(w); }},
			{"update-success", "7", "Weather updated", [&w] { ZonPopup::showUpdateSuccessPopup(w); }},
			{"update-failed", "8", "Weather not updated", [&w] { ZonPopup::showUpdateFailedPopup(w); }},
			{"max-number", "9", "Too many cities (20)", [&w] { ZonPopup::showMaxNumberReachedPopup(w, 20); }},
			{"city-changed", "c", "City changed", [&w] { ZonPopup::showCityChangedPopup(w); }},
			{"select-item", "s", "Select items", [&w] { ZonPopup::showSelectItemPopup(w); }},
			{"no-result", "n", "No cities found", [&w] { ZonPopup::noResultPopup(w); }},
			{"install-prompt", "i", "Weather install prompt", [this] { showPrompt(); }},
			{"screen-reader", "r", "Screen reader on/off", [this] {
				 zon_host_set_screen_reader(!ScreenReaderHelper::isScreenReaderEnabled());
				 report("screen reader switched");
			 }},
		};
	}

	static Eina_Bool _onKeyDown(void* data, int, void* event)
	{
		Gallery* self = static_cast<Gallery*>(data);
		const Ecore_Event_Key* key = static_cast<const Ecore_Event_Key*>(event);
		if (!key->keyname)
			return ECORE_CALLBACK_PASS_ON;
		if (strcmp(key->keyname, "Return") == 0 || strcmp(key->keyname, "KP_Enter") == 0) {
			self->_menu->showSelected();
			return ECORE_CALLBACK_PASS_ON;
		}
		for (Entry& entry : self->_entries) {
			if (strcmp(entry.key, key->keyname) == 0) {
				entry.show();
				break;
			}
		}
		return ECORE_CALLBACK_PASS_ON;
	}

	Evas_Object* _window = nullptr;
	WNaviframeControllerEx* _navi = nullptr;
	MenuView* _menu = nullptr;
	std::vector<Entry> _entries;
	ToastPopup* _updating = nullptr;
	ZonWeatherInstallationPopup* _prompt = nullptr;
	Ecore_Event_Handler* _keyHandler = nullptr;
};

}

int main(int argc, char** argv)
{
	std::vector<std::string> shows;
	bool list = false;
	for (int i = 1; i < argc; ++i) {
		if (strcmp(argv[i], "--list") == 0) {
			list = true;
		} else if (strcmp(argv[i], "--show") == 0 && i + 1 < argc) {
			shows.push_back(argv[++i]);
		} else {
			fprintf(stderr, "usage: zon-gallery [--list] [--show NAME]...\n");
			return 2;
		}
	}

	// The gallery needs none of the desktop session's services the toolkit would look for, and
	// their absence (under Xvfb) is no fault worth a backtrace.
	setenv("ECORE_NO_SYSTEM_MODULES", "1", 0);
	setenv("EINA_LOG_BACKTRACE", "-1", 0);
	elm_init(argc, argv);
	// After the toolkit set the locale up from the environment: the C locale would ignore
	// LANGUAGE; the gallery shows English then.
	const char* messages = setlocale(LC_MESSAGES, nullptr);
	if (!messages || strcmp(messages, "C") == 0 || strcmp(messages, "POSIX") == 0) {
		setlocale(LC_MESSAGES, "C.UTF-8");
		if (!getenv("LANGUAGE"))
			setenv("LANGUAGE", "en", 1);
	}
	int status = 0;
	{
		// Windows that no window manager maps (Xvfb) are drawn all the same.
		elm_config_agressive_withdrawn_set(EINA_FALSE);
		if (zon_host_toolkit_init() != 0)
			fprintf(stderr, "zon-gallery: no watch theme (%s): popups fall back to the default look\n",
				zon_host_toolkit_theme_path());
		installResources();
		Gallery gallery;
		if (!gallery.create()) {
			fprintf(stderr, "zon-gallery: cannot open a window (is there a display?)\n");
			status = 1;
		} else if (list) {
			for (const Entry& entry : gallery.entries())
				printf("%-16s [%s] %s\n", entry.name, entry.key, entry.label);
		} else {
			for (const std::string& name : shows) {
				bool found = false;
				for (Entry& entry : gallery.entries()) {
					if (name == entry.name) {
						entry.show();
						found = true;
					}
				}
				if (!found)
					fprintf(stderr, "zon-gallery: no entry %s (see --list)\n", name.c_str());
			}
			elm_run();
		}
		ZonRotaryManager::getInstance()->finalize();
	}
	elm_shutdown();
	return status;
}
