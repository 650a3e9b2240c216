/*
 * package_manager.cpp - the device's installed packages, kept in <root>/packages.ini.
 *
 * One group per package id, with its version, label and flags:
 *
 *   [korvath.weather]
 *   version=1.0.0
 *   label=Weather
 *   preload=true
 *
 * The file is read on every query, so a package installed by another process (zonclock, a test
 * playing the store) is seen at once. A device root without the file is a new device and gets
 * the packages a watch is sold with; removing every package leaves an empty file, not a new
 * device.
 */
#include "host_internal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>

#include "dlog.h"
#include "package_manager.h"

struct package_info_s {
	std::string package;
	std::string version;
	std::string label;
	bool preload;
};

namespace zonhost {
namespace {

const char kTag[] = "PKGMGR_INFO";
const char kHeader[] =
		" Packages installed on the simulated device (package_manager).\n"
		" One group per package id; written by zon_host_package_install() and\n"
		" zon_host_package_uninstall(), readable and editable by hand.";

struct FactoryPackage {
	const char *id;
	const char *label;
};
const FactoryPackage kFactoryPackages[] = {
	{ZON_HOST_DEFAULT_APP_ID, "World clock"},
	{ZON_HOST_WEATHER_PACKAGE_ID, "Weather"},
};
const char kFactoryVersion[] = "1.0.0";

std::string registryPath()
{
	return root() + "/packages.ini";
}

// Package ids are reverse domain names; anything else could not be a key-file group either.
bool validPackageId(const char *id)
{
	if (!id || !*id)
		return false;
	for (const char *p = id; *p; ++p) {
		if (!g_ascii_isalnum(*p) && *p != '.' && *p != '_' && *p != '-')
			return false;
	}
	return true;
}

using KeyFilePtr = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;

// Handles given out and not destroyed: a handle the caller lost stays reachable and countable,
// until the very end of the process (never destroyed, so a leak checker sees them held).
std::set<package_info_h> &g_liveInfos = *new std::set<package_info_h>;

package_info_h newInfo(const package_info_s &from)
{
	package_info_h info = new package_info_s(from);
	g_liveInfos.insert(info);
	return info;
}

void writePackage(GKeyFile *file, const char *id, const char *version, const char *label, bool preload)
{
	g_key_file_set_string(file, id, "version", version);
	g_key_file_set_string(file, id, "label", label);
	g_key_file_set_boolean(file, id, "preload", preload);
}

bool save(GKeyFile *file)
{
	GError *error = nullptr;
	if (!ensureDir(root()) || !g_key_file_save_to_file(file, registryPath().c_str(), &error)) {
		platformLog(DLOG_ERROR, kTag, "cannot write %s: %s", registryPath().c_str(),
				error ? error->message : "no device root");
		g_clear_error(&error);
		return false;
	}
	return true;
}

// The registry, made with the factory packages when the device has none. Null when the file
// exists but can't be read.
KeyFilePtr load()
{
	KeyFilePtr file(g_key_file_new(), g_key_file_free);
	std::string path = registryPath();
	GError *error = nullptr;
	if (g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_KEEP_COMMENTS, &error))
		return file;
	bool missing = g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT);
	if (!missing)
		platformLog(DLOG_ERROR, kTag, "cannot read %s: %s", path.c_str(), error->message);
	g_clear_error(&error);
	if (!missing)
		return KeyFilePtr(nullptr, g_key_file_free);

	g_key_file_set_comment(file.get(), nullptr, nullptr, kHeader, nullptr);
	for (const FactoryPackage &package : kFactoryPackages)
		writePackage(file.get(), package.id, kFactoryVersion, package.label, true);
	save(file.get());
	return file;
}

std::string stringOf(GKeyFile *file, const char *group, const char *key)
{
	gchar *value = g_key_file_get_string(file, group, key, nullptr);
	std::string result = value ? value : "";
	g_free(value);
	return result;
}

// A flag that is missing or not a boolean counts as false, as a hand edit most likely meant.
bool flagOf(GKeyFile *file, const char *group, const char *key)
{
	return g_key_file_get_boolean(file, group, key, nullptr);
}

int copyOut(const std::string &value, char **out)
{
	if (!out)
		return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
	char *copy = strdup(value.c_str());
	if (!copy)
		return PACKAGE_MANAGER_ERROR_OUT_OF_MEMORY;
	*out = copy;
	return PACKAGE_MANAGER_ERROR_NONE;
}

} // namespace
} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("package_manager_get_package_info", "package_info_get_package", "package_info_get_version",
		"package_info_get_label", "package_info_is_preload_package", "package_info_clone",
		"package_info_destroy");

ZON_HOST_API int package_manager_get_package_info(const char *package_id, package_info_h *package_info)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!package_id || !package_info)
		return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
	KeyFilePtr file = load();
	if (!file)
		return PACKAGE_MANAGER_ERROR_IO_ERROR;
	if (!validPackageId(package_id) || !g_key_file_has_group(file.get(), package_id)) {
		platformLog(DLOG_ERROR, kTag, "package info handle is not found: %s", package_id);
		return PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
	}
	package_info_s info;
	info.package = package_id;
	info.version = stringOf(file.get(), package_id, "version");
	info.label = stringOf(file.get(), package_id, "label");
	info.preload = flagOf(file.get(), package_id, "preload");
	*package_info = newInfo(info);
	return PACKAGE_MANAGER_ERROR_NONE;
}

ZON_HOST_API int package_info_get_package(package_info_h package_info, char **package)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!package_info)
		return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
	return copyOut(package_info->package, package);
}

ZON_HOST_API int package_info_get_version(package_info_h package_info, char **version)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!package_info)
		return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
	return copyOut(package_info->version, version);
}

ZON_HOST_API int package_info_get_label(package_info_h package_info, char **label)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!package_info)
		return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
	return copyOut(package_info->label, label);
}

ZON_HOST_API int package_info_is_preload_package(package_info_h package_info, bool *preload)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!package_info || !preload)
		return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
	*preload = package_info->preload;
	return PACKAGE_MANAGER_ERROR_NONE;
}

ZON_HOST_API int package_info_clone(package_info_h *clone, package_info_h package_info)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!clone || !package_info)
		return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
	*clone = newInfo(*package_info);
	return PACKAGE_MANAGER_ERROR_NONE;
}

ZON_HOST_API int package_info_destroy(package_info_h package_info)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!g_liveInfos.erase(package_info))
		return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
	delete package_info;
	return PACKAGE_MANAGER_ERROR_NONE;
}

ZON_HOST_API size_t zon_host_package_info_live(void)
{
	return g_liveInfos.size();
}

ZON_HOST_API int zon_host_package_install(const char *package_id, const char *version, bool preload)
{
	if (!validPackageId(package_id)) {
		platformLog(DLOG_ERROR, "ZON_HOST", "invalid package id \"%s\"", package_id ? package_id : "(null)");
		return -1;
	}
	KeyFilePtr file = load();
	if (!file)
		return -1;
	// The label of a package installed here is its id; a reinstall keeps a label edited by hand.
	std::string label = stringOf(file.get(), package_id, "label");
	writePackage(file.get(), package_id, version && *version ? version : kFactoryVersion,
			label.empty() ? package_id : label.c_str(), preload);
	return save(file.get()) ? 0 : -1;
}

ZON_HOST_API int zon_host_package_uninstall(const char *package_id)
{
	if (!validPackageId(package_id))
		return -1;
	KeyFilePtr file = load();
	if (!file)
		return -1;
	if (!g_key_file_remove_group(file.get(), package_id, nullptr))
		return 0;
	return save(file.get()) ? 0 : -1;
}

ZON_HOST_API bool zon_host_package_is_installed(const char *package_id)
{
	if (!validPackageId(package_id))
		return false;
	KeyFilePtr file = load();
	return file && g_key_file_has_group(file.get(), package_id);
}
