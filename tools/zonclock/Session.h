/*
 * Session.h - the simulated device that one zonclock run works on.
 *
 * Nothing is touched until a command first asks for the database: only then is the device root
 * chosen, the host state reset and the city database opened. Commands that fail on their operands
 * or only read the catalogue therefore never create or change a device. The destructor closes
 * the database again.
 *
 * The platform log (dlog) of a run goes to <root>/zonclock.log, rewritten by each run, unless
 * ZON_HOST_LOG names a file already.
 *
 * Opening the device also applies the run's setting overrides (restored by the destructor) and
 * makes gettext follow the device's display language.
 *
 * The device's own zone (its home zone) belongs to zon-host: its local-time link, which a new
 * device takes from the desktop (TZ when zonclock started, else /etc/localtime), and which the
 * C library and ICU take as local from the moment the device is open. On an existing device TZ
 * does not move it: openDevice() says so on stderr when TZ names another zone, and
 * setHomeZone() is the way to change it.
 */
#ifndef ZONCLOCK_SESSION_H
#define ZONCLOCK_SESSION_H

#include <string>

#include "Settings.h"

class ZonDBManager;

namespace zonclock {

class Session {
public:
	// root: the device root to use, empty for the host's default.
	explicit Session(std::string root, SettingOverrides overrides = SettingOverrides());
	~Session();
	Session(const Session&) = delete;
	Session& operator=(const Session&) = delete;

	// Chooses the root and resets the host, for commands that need the platform but not the
	// database. db() does this itself.
	void openDevice();
	ZonDBManager* db();

	// Where the platform log of this run goes; empty until the device is open.
	const std::string& logPath() const { return _logPath; }

	// The device's zone ("Asia/Seoul"; empty without a local-time link). Opens the device.
	std::string deviceZone();
	// deviceZone(), or "UTC" where the device has no link: the C library's answer then.
	std::string zoneOrUtc();
	// Makes `zone` (an Olson id) the device's zone; false, with the host's log line, if refused.
	bool setHomeZone(const std::string& zone);

private:
	std::string _root;
	SettingOverrides _overrides;
	std::string _logPath;
	bool _deviceOpen = false;
	ZonDBManager* _db = nullptr;
};

} // namespace zonclock

#endif /* ZONCLOCK_SESSION_H */
