/**
 * @class KorvathLogManager
 * KorvathLogManager.h - reports of feature use and application status to the device's
 * usage-survey log service.
 *
 * Each report is a record of "app_id" and "feature", plus "extra" and "value" when given,
 * inserted under the feature-use survey, or under the application-status survey when isStatus
 * is true. Reports made before initialize() (or after finalize()) are logged and dropped.
 *
 * Programming errors abort, in every build: initialize() on an initialised manager, and
 * insertLog() without an application id or a feature name. Service errors are logged and the
 * report dropped; nothing is retried.
 *
 * Ownership and threading: a process-wide singleton, never deleted by the library. Main-loop
 * thread only.
 *
 * Example:
 * @code
 *   KorvathLogManager* log = KorvathLogManager::getInstance();
 *   log->initialize();
 *   log->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);     // feature used
 *   log->insertLog("korvath.zonvista", "ZV50", nullptr, "3", true);          // status: 3 cities
 *   log->finalize();
 * @endcode
 */
#ifndef KORVATH_LOG_MANAGER_CLASS_H
#define KORVATH_LOG_MANAGER_CLASS_H

#include <korvath_log_manager.h>

class KorvathLogManager {
public:
	/// The manager, created on the first call; never null.
	static KorvathLogManager* getInstance();

	/// Connects to the survey service; a second call without finalize() aborts.
	void initialize();
	/// Disconnects; later reports are dropped until initialize().
	void finalize();
	/// Reports a feature use, or with `isStatus` an application status. `appId` and `feature` are
	/// required (abort when null); `extra` and `value` may be null. Failures are logged only.
	void insertLog(const char* appId, const char* feature, const char* extra, const char* value,
		bool isStatus);

	virtual ~KorvathLogManager();

private:
	KorvathLogManager();
	KorvathLogManager(const KorvathLogManager&) = delete;
	KorvathLogManager& operator=(const KorvathLogManager&) = delete;

	static KorvathLogManager* _instance;
	korvath_log_manager_h _logMgr;
};

#endif /* KORVATH_LOG_MANAGER_CLASS_H */
