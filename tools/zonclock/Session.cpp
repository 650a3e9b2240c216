#include "Session.h"

#include <cstdio>
#include <cstdlib>

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
	// The host removes TZ from the environment once it stands for the device's zone.
	const char* tz = getenv("TZ");
	std::string desktopZone = tz ? (tz[0] == ':' ? tz + 1 : tz) : "";
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
	std::string home = zon_host_device_zone();
	if (!desktopZone.empty() && desktopZone != home)
		fprintf(stderr,
			"zonclock: TZ=%s is not used: the device's home zone is %s ('zonclock home %s' changes it)\n",
			desktopZone.c_str(), home.empty() ? "UTC (no local-time link)" : home.c_str(), desktopZone.c_str());
}

std::string Session::deviceZone()
{
	openDevice();
	return zon_host_device_zone();
}

bool Session::setHomeZone(const std::string& zone)
{
	openDevice();
	return zon_host_set_device_zone(zone.c_str()) == 0;
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

std::string Session::zoneOrUtc()
{
	std::string zone = deviceZone();
	return zone.empty() ? "UTC" : zone;
}

} // namespace zonclock
