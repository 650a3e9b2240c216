/*
 * host.cpp - the simulated device itself: its root directory, the running application's id,
 * device paths, features, resetting and pumping, and fault injection.
 */
#include "host_internal.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <glib/gstdio.h>

#include "dlog.h"
#include "zon_platform.h"

namespace zonhost {

std::string featureKey(const char *key)
{
	static const char kScheme[] = "http://";
	if (strncmp(key, kScheme, sizeof(kScheme) - 1) == 0)
		return key + sizeof(kScheme) - 1;
	return key;
}

namespace {

std::string g_root;
bool g_rootReady = false;
std::string g_appId = ZON_HOST_DEFAULT_APP_ID;

// Captured while the library loads, before the application can play with TZ (the time
// utilities set and unset it around every conversion).
const std::string g_tzAtLoad = [] {
	const char *tz = getenv("TZ");
	return std::string(tz ? tz : "");
}();

std::string resolveRoot()
{
	std::string path;
	const char *env = getenv("ZON_HOST_ROOT");
	if (env && *env) {
		path = env;
	} else {
		const char *xdg = getenv("XDG_DATA_HOME");
		// XDG base directories are absolute by definition; a relative value is ignored.
		if (xdg && xdg[0] == '/') {
			path = std::string(xdg) + "/zon-host";
		} else {
			const char *home = getenv("HOME");
			if (!home || !*home)
				home = g_get_home_dir();
			path = std::string(home) + "/.local/share/zon-host";
		}
	}
	gchar *canonical = g_canonicalize_filename(path.c_str(), nullptr);
	std::string result = canonical;
	g_free(canonical);
	return result;
}

// A new device comes with its local-time link. Seeded only when the device never had /opt/etc,
// so that a test that removes the link keeps a device without one.
void seedDevice(const std::string &root)
{
	std::string etc = root + "/fs/opt/etc";
	if (g_file_test(etc.c_str(), G_FILE_TEST_IS_DIR))
		return;
	linkDeviceZone(desktopTimeZone());
}

bool validAppId(const char *id)
{
	return id && *id && !strchr(id, '/') && strcmp(id, ".") != 0 && strcmp(id, "..") != 0;
}

KeyStore *openFeatures()
{
	return new KeyStore(root() + "/system_info.ini",
			" Features and properties of the simulated device (system_info).\n"
			" Written by zon_host_set_feature_*(); one group per value type.");
}

int setFeature(const char *key, const Value &value)
{
	if (!key || !*key)
		return -1;
	std::unique_ptr<KeyStore> store(openFeatures());
	if (!store->load())
		return -1;
	store->set(featureKey(key).c_str(), value);
	return store->save() ? 0 : -1;
}

// ---- fault injection ----

struct Fault {
	int remaining;
	int error;
};
// Looked up by every platform call while a fault is armed: transparent comparison finds a C
// string without building a std::string.
std::map<std::string, Fault, std::less<>> g_faults;

// Names are the functions' own __func__ texts and the literals of ZON_HOST_FAULT_POINTS, which
// live as long as the process: views of them, so that declaring two hundred at load time
// copies none. Every program linked with zon-host declares them all while it loads, and most
// only ever look a few up: they are appended as declared and sorted at the first lookup (a
// tree built at load time cost a hundred thousand instructions of every start).
struct FaultPointNames {
	std::vector<std::string_view> names;
	bool sorted = true;

	void add(std::string_view name)
	{
		names.push_back(name);
		sorted = false;
	}

	bool contains(std::string_view name)
	{
		if (!sorted) {
			std::sort(names.begin(), names.end());
			names.erase(std::unique(names.begin(), names.end()), names.end());
			sorted = true;
		}
		return std::binary_search(names.begin(), names.end(), name);
	}
};

FaultPointNames &faultPoints()
{
	static FaultPointNames points;
	return points;
}

} // namespace

const char *EnvVariable::get()
{
	if (environ && environ == _scanned) {
		if (_value ? environ[_at] == _mark : !environ[_at] && (_at == 0 || environ[_at - 1] == _mark))
			return _value;
	}
	_scanned = environ;
	_value = nullptr;
	_at = 0;
	_mark = nullptr;
	if (!environ)
		return nullptr;
	for (; environ[_at]; ++_at) {
		if (strncmp(environ[_at], _name, _length) == 0 && environ[_at][_length] == '=') {
			_mark = environ[_at];
			_value = _mark + _length + 1;
			return _value;
		}
	}
	_mark = _at ? environ[_at - 1] : nullptr;
	return nullptr;
}

// "Europe/Berlin" out of "/usr/share/zoneinfo/Europe/Berlin" or a relative "../zoneinfo/...".
std::string zoneFromPath(const std::string &path)
{
	auto at = path.rfind("zoneinfo/");
	if (at == std::string::npos)
		return std::string();
	std::string zone = path.substr(at + strlen("zoneinfo/"));
	for (const char *sub : {"posix/", "right/"}) {
		if (zone.compare(0, strlen(sub), sub) == 0)
			zone.erase(0, strlen(sub));
	}
	return zone;
}

bool declareFaultPoints(std::initializer_list<const char *> names)
{
	for (const char *name : names)
		faultPoints().add(name);
	return true;
}

std::size_t g_armedFaults = 0;

bool faultPointReached(const char *function)
{
	if (!faultPoints().contains(function)) {
		// Declared now, so the complaint comes once: the point works, only inject() missed it.
		faultPoints().add(function);
		platformLog(DLOG_ERROR, "ZON_HOST", "fault point %s is not declared with ZON_HOST_FAULT_POINTS", function);
	}
	return true;
}

bool faultCheck(const char *function, int *error)
{
	auto it = g_faults.find(function);
	if (it == g_faults.end())
		return false;
	if (--it->second.remaining > 0)
		return false;
	if (error)
		*error = it->second.error;
	g_faults.erase(it);
	g_armedFaults = g_faults.size();
	return true;
}

bool ensureDir(const std::string &path)
{
	if (g_mkdir_with_parents(path.c_str(), 0755) == 0)
		return true;
	platformLog(DLOG_ERROR, "ZON_HOST", "cannot create directory %s: %s", path.c_str(), g_strerror(errno));
	return false;
}

bool deviceOpen()
{
	return g_rootReady;
}

const std::string &root()
{
	if (!g_rootReady) {
		g_root = resolveRoot();
		g_rootReady = true;
		if (ensureDir(g_root))
			seedDevice(g_root);
		// From here on the device's link is the local zone; the desktop's TZ only chose the
		// zone of a new device (desktopTimeZone() keeps it).
		unsetenv("TZ");
		applyDeviceZone();
		checkZoneRules();
	}
	return g_root;
}

std::string appDir(const char *sub, bool create)
{
	std::string dir = root() + "/apps/" + g_appId + "/" + sub;
	if (create && !ensureDir(dir))
		return std::string();
	return dir;
}

std::string desktopTimeZone()
{
	if (!g_tzAtLoad.empty()) {
		std::string tz = g_tzAtLoad[0] == ':' ? g_tzAtLoad.substr(1) : g_tzAtLoad;
		std::string zone = tz[0] == '/' ? zoneFromPath(tz) : tz;
		if (isZoneName(zone))
			return zone;
	}
	if (gchar *target = g_file_read_link("/etc/localtime", nullptr)) {
		std::string zone = zoneFromPath(target);
		g_free(target);
		if (isZoneName(zone))
			return zone;
	}
	gchar *contents = nullptr;
	if (g_file_get_contents("/etc/timezone", &contents, nullptr, nullptr)) {
		std::string zone = g_strstrip(contents);
		g_free(contents);
		if (isZoneName(zone))
			return zone;
	}
	return "UTC";
}

} // namespace zonhost

using namespace zonhost;

ZON_HOST_MODULE("faults", ResetRank::Faults, [] {
	g_faults.clear();
	g_armedFaults = 0;
	return 0;
});
// Re-read from the environment at the next use: a new root is a new device.
ZON_HOST_MODULE("device", ResetRank::Device, [] {
	g_appId = ZON_HOST_DEFAULT_APP_ID;
	g_rootReady = false;
	g_root.clear();
	return 0;
});

ZON_HOST_FAULT_POINTS("zon_platform_path");

ZON_HOST_API int zon_host_reset(void)
{
	return resetModules();
}

ZON_HOST_API const char *zon_host_root(void)
{
	return root().c_str();
}

ZON_HOST_API void zon_host_set_app_id(const char *app_id)
{
	if (!app_id) {
		g_appId = ZON_HOST_DEFAULT_APP_ID;
		return;
	}
	if (!validAppId(app_id)) {
		platformLog(DLOG_ERROR, "ZON_HOST", "invalid application id \"%s\" ignored", app_id);
		return;
	}
	g_appId = app_id;
}

ZON_HOST_API const char *zon_host_app_id(void)
{
	return g_appId.c_str();
}

ZON_HOST_API int zon_host_pump(int max_dispatches)
{
	int dispatched = 0;
	for (int i = 0; i < max_dispatches; ++i) {
		if (!g_main_context_iteration(nullptr, FALSE))
			break;
		++dispatched;
	}
	return dispatched;
}

ZON_HOST_API int zon_host_set_feature_bool(const char *key, bool value)
{
	return setFeature(key, Value::ofBool(value));
}

ZON_HOST_API int zon_host_set_feature_int(const char *key, int value)
{
	return setFeature(key, Value::ofInt(value));
}

ZON_HOST_API int zon_host_set_feature_double(const char *key, double value)
{
	return setFeature(key, Value::ofDouble(value));
}

ZON_HOST_API int zon_host_set_feature_string(const char *key, const char *value)
{
	if (!value)
		return -1;
	return setFeature(key, Value::ofString(value));
}

ZON_HOST_API int zon_host_unset_feature(const char *key)
{
	if (!key || !*key)
		return -1;
	std::unique_ptr<KeyStore> store(openFeatures());
	if (!store->load())
		return -1;
	if (!store->remove(featureKey(key).c_str()))
		return 0;
	return store->save() ? 0 : -1;
}

ZON_HOST_API int zon_host_fault_inject(const char *function, int nth, int error)
{
	if (!function || nth < 0 || !faultPoints().contains(function))
		return -1;
	if (nth == 0)
		g_faults.erase(function);
	else
		g_faults[function] = Fault{nth, error};
	g_armedFaults = g_faults.size();
	return 0;
}


ZON_HOST_API char *zon_platform_path(const char *devicePath)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	if (!devicePath || devicePath[0] != '/')
		return nullptr;

	// Resolved lexically and clamped at the device's "/", as a chroot would: "/../x" is "/x".
	std::vector<std::string> parts;
	gchar **pieces = g_strsplit(devicePath, "/", -1);
	for (gchar **p = pieces; *p; ++p) {
		if (!**p || strcmp(*p, ".") == 0)
			continue;
		if (strcmp(*p, "..") == 0) {
			if (!parts.empty())
				parts.pop_back();
			continue;
		}
		parts.emplace_back(*p);
	}
	g_strfreev(pieces);

	std::string parent = root() + "/fs";
	for (size_t i = 0; i + 1 < parts.size(); ++i)
		parent += "/" + parts[i];
	ensureDir(parent);

	std::string path = parent;
	if (!parts.empty())
		path += "/" + parts.back();
	size_t len = strlen(devicePath);
	if (devicePath[len - 1] == '/')
		path += '/';
	return strdup(path.c_str());
}
