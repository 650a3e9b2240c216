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
 * The device's own zone is its local-time link, which a new device takes from the desktop (TZ
 * when zonclock started, else /etc/localtime). The library sets and removes TZ around every
 * conversion, which would leave the process in /etc/localtime's zone after the first one;
 * useDeviceZone() puts the device's zone back before a call that measures against it.
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

	// The device's zone ("Asia/Seoul"), and making it the process's zone again. Opens the device.
	const std::string& deviceZone();
	void useDeviceZone();

private:
	std::string _root;
	SettingOverrides _overrides;
	std::string _logPath;
	std::string _deviceZone;
	bool _deviceOpen = false;
	ZonDBManager* _db = nullptr;
};

} // namespace zonclock

#endif /* ZONCLOCK_SESSION_H */
