/**
 * @class ZonSyncUtil
 * ZonSyncUtil.h - the watch's connection to the companion application on the phone.
 *
 * When the user changes the city list on the watch, the application calls requestWatchUpdate()
 * so that the phone's side of the world clock can pull the new list. The request goes as a
 * launch of "korvath.zonvista-consumer" with the extra data "change_request" = "watch_change",
 * and only while the phone is connected over Bluetooth with its companion manager running;
 * otherwise nothing is sent (the phone catches up when it connects).
 *
 * Settings read: "memory/private/lnkp/conn_type" (bit 0: Bluetooth), "memory/hmx/hmanager_connected",
 * "db/hmx/host_status/vendor", "db/setup_wizard/standalone". An unreadable setting counts as
 * false; failures are logged, never reported.
 *
 * A class of static functions without state. Main-loop thread only.
 */
#ifndef ZON_SYNC_UTIL_H
#define ZON_SYNC_UTIL_H

class ZonSyncUtil {
public:
	/// Whether the phone is connected over Bluetooth with its companion manager running.
	static bool isBtConnected();
	/// Asks the phone to pull the city list, when connected; otherwise does nothing.
	static void requestWatchUpdate();

	/// Whether the connected phone is one of our own make.
	static bool _isConnectedWithOurCompany();
	/// Whether the watch was set up to work without a phone.
	static bool _isWPCMode();
};

#endif /* ZON_SYNC_UTIL_H */
