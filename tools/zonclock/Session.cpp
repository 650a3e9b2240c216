#include "Session.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <vconf.h>
#include <zon-host/zon_host.h>

#include "ZonDBManager.h"

namespace zonclock {

Session::Session(std::string root, SettingOverrides overrides)
	: _root(std::move(root))
	, _overrides(std::move(overrides))
{
}

Session::~Session()
{
	if (_db)
		_db->finalize();
	if (_deviceOpen)
		_overrides.restore();
}

void Session::openDevice()
{
	if (_deviceOpen)
		return;
	if (!_root.empty())
		setenv("ZON_HOST_ROOT", _root.c_str(), 1);
	// The host takes the root from the environment anew after a reset.
	zon_host_reset();

	// The library logs errors that are routine on a desktop (a fresh device has no retail-mode
	// setting, for one); they would bury zonclock's own output. They go to a file of the device
	// instead, holding the last run only, unless the user asked for a log of their own.
	if (!getenv("ZON_HOST_LOG")) {
		_logPath = std::string(zon_host_root()) + "/zonclock.log";
		if (FILE* log = fopen(_logPath.c_str(), "w"))
			fclose(log);
		setenv("ZON_HOST_LOG", _logPath.c_str(), 1);
	} else {
		_logPath = getenv("ZON_HOST_LOG");
	}
	_deviceOpen = true;

	_overrides.apply();
	followDeviceLanguage();
	char* zone = vconf_get_str(VCONFKEY_SETAPPL_TIMEZONE_ID);
	if (zone)
		_deviceZone = zone;
	else if (const char* tz = getenv("TZ"))
		_deviceZone = tz;
	free(zone);
}

const std::string& Session::deviceZone()
{
	openDevice();
	return _deviceZone;
}

void Session::useDeviceZone()
{
	// Without a zone of its own the device is the system's, which is where the library leaves us.
	if (!deviceZone().empty()) {
		setenv("TZ", _deviceZone.c_str(), 1);
		tzset();
	}
}

ZonDBManager* Session::db()
{
	if (!_db) {
		openDevice();
		_db = ZonDBManager::getInstance();
		_db->initialize();
	}
	return _db;
}

} // namespace zonclock
