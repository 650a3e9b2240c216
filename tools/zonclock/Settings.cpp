#include "Settings.h"

#include <libintl.h>
#include <limits.h>
#include <locale.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <glib.h>
#include <unicode/uloc.h>
#include <unicode/ulocdata.h>

#include <system_settings.h>
#include <vconf.h>
#include <zon-host/zon_host.h>

// glibc's counter of loaded catalogues: raising it makes gettext look its cache up anew.
extern "C" int _nl_msg_cat_cntr;

namespace zonclock {

namespace {

const char kDomain[] = "zonvista";
const char kOwnDomain[] = "zonclock";

// The device keeps only UTF-8 locales; the encoding part says nothing about the locale itself.
std::string withoutEncoding(const std::string& name)
{
	return name.substr(0, name.find('.'));
}

bool isDirectory(const char* path)
{
	return g_file_test(path, G_FILE_TEST_IS_DIR);
}

std::string executable()
{
	char exe[PATH_MAX];
	ssize_t length = readlink("/proc/self/exe", exe, sizeof exe - 1);
	if (length <= 0)
		return std::string();
	return std::string(exe, static_cast<size_t>(length));
}

// In the order to try them; the first that exists is bound.
std::vector<std::string> catalogueDirectories()
{
	std::string exe = executable();
	std::string tree = std::string(ZON_BUILD_DIR) + "/";
	std::vector<std::string> dirs;
	if (exe.compare(0, tree.size(), tree) == 0)
		dirs.push_back(ZON_BUILD_LOCALE_DIR);
	if (!exe.empty())
		dirs.push_back(exe.substr(0, exe.rfind('/') + 1) + ZON_LOCALE_DIR_FROM_BIN);
	dirs.push_back(ZON_INSTALL_LOCALE_DIR);
	dirs.push_back(ZON_BUILD_LOCALE_DIR);
	return dirs;
}

// Whether the device's store holds the key itself. vconf can't tell: for the region format and
// the language it answers the desktop's default when they were never set.
bool isStored(const char* key)
{
	GKeyFile* store = g_key_file_new();
	std::string path = std::string(zon_host_root()) + "/vconf.ini";
	bool found = false;
	if (g_key_file_load_from_file(store, path.c_str(), G_KEY_FILE_NONE, nullptr)) {
		for (const char* group : {"string", "int", "bool", "double"})
			found = found || g_key_file_has_key(store, group, key, nullptr);
	}
	g_key_file_free(store);
	return found;
}

} // namespace

std::string availableLocale(const std::string& text)
{
	std::string name = withoutEncoding(text);
	for (char& c : name) {
		if (c == '-')
			c = '_';
	}
	if (name.empty())
		return std::string();
	for (int32_t i = 0, count = uloc_countAvailable(); i < count; ++i) {
		if (name == uloc_getAvailable(i))
			return name;
	}
	return std::string();
}

void bindMessageCatalogue()
{
	// The terminal's character set and the messages come from the environment; numbers and dates
	// stay the C library's own, so that JSON and TSV, and the library's strtod() of GMT texts, read
	// the same in every locale (and the other categories' files are never loaded).
	const char* ctype = setlocale(LC_CTYPE, "");
	const char* messages = setlocale(LC_MESSAGES, "");
	if (!ctype || !messages || strcmp(messages, "C") == 0 || strcmp(messages, "POSIX") == 0) {
		setlocale(LC_CTYPE, "C.UTF-8");
		setlocale(LC_MESSAGES, "C.UTF-8");
	}

	std::vector<std::string> dirs = catalogueDirectories();
	std::string chosen = dirs.front();
	for (const std::string& dir : dirs) {
		if (isDirectory(dir.c_str())) {
			chosen = dir;
			break;
		}
	}
	// The catalogues are UTF-8 and so is every terminal the device's languages need.
	for (const char* domain : {kDomain, kOwnDomain}) {
		bindtextdomain(domain, chosen.c_str());
		bind_textdomain_codeset(domain, "UTF-8");
	}
}

bool hasCatalogues(const std::string& locale)
{
	std::string language = locale.substr(0, locale.find('_'));
	if (language == "en")
		return true;
	const char* dir = bindtextdomain(kDomain, nullptr);
	for (const char* domain : {kDomain, kOwnDomain}) {
		bool found = false;
		for (const std::string& name : {locale, language}) {
			std::string path = std::string(dir ? dir : "") + "/" + name + "/LC_MESSAGES/" + domain + ".mo";
			found = found || g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR);
		}
		if (!found)
			return false;
	}
	return true;
}

bool regionUsesFahrenheit(const std::string& region)
{
	UErrorCode status = U_ZERO_ERROR;
	UMeasurementSystem system = ulocdata_getMeasurementSystem(region.c_str(), &status);
	return U_SUCCESS(status) && system == UMS_US;
}

std::string deviceRegion()
{
	char* value = vconf_get_str(VCONFKEY_REGIONFORMAT);
	std::string region = withoutEncoding(value ? value : "");
	free(value);
	return region;
}

std::string gettextLanguage(const std::string& deviceLanguage)
{
	std::string name = withoutEncoding(deviceLanguage);
	std::string language = name.substr(0, name.find_first_of("_@"));
	if (language.empty() || language == "C" || language == "POSIX")
		return "en";
	std::string list = name;
	if (language != name)
		list += ":" + language;
	if (language != "en")
		list += ":en";
	return list;
}

void followDeviceLanguage()
{
	char* language = vconf_get_str(VCONFKEY_LANGSET);
	setenv("LANGUAGE", gettextLanguage(language ? language : "").c_str(), 1);
	free(language);
	// Names looked up before the device was open (a city search) must not keep the old language.
	++_nl_msg_cat_cntr;
}

void SettingOverrides::apply()
{
	auto saveString = [this](const char* key) {
		char* value = vconf_get_str(key);
		_saved.push_back({key, isStored(key) && value, false, value ? value : "", 0});
		free(value);
	};

	if (!region.empty()) {
		saveString(VCONFKEY_REGIONFORMAT);
		vconf_set_str(VCONFKEY_REGIONFORMAT, (region + ".UTF-8").c_str());
	}
	if (!language.empty()) {
		saveString(VCONFKEY_LANGSET);
		vconf_set_str(VCONFKEY_LANGSET, (language + ".UTF-8").c_str());
	}
	// The setting lives in this vconf key; a device that never set it shows its region's clock.
	if (clock != ClockAsSet) {
		int value = 0;
		vconf_get_int(VCONFKEY_REGIONFORMAT_TIME1224, &value);
		_saved.push_back({VCONFKEY_REGIONFORMAT_TIME1224, isStored(VCONFKEY_REGIONFORMAT_TIME1224), true,
			std::string(), value});
		system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, clock == Clock24);
	}
}

void SettingOverrides::restore()
{
	for (const Saved& saved : _saved) {
		if (!saved.wasSet)
			zon_host_vconf_unset(saved.key.c_str());
		else if (saved.isInt)
			vconf_set_int(saved.key.c_str(), saved.number);
		else
			vconf_set_str(saved.key.c_str(), saved.text.c_str());
	}
	_saved.clear();
}

} // namespace zonclock
