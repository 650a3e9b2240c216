/*
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
 *   KorvathLogManager* log = KorvathLogManager::getInstance();
 *   log->initialize();
 *   log->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);     // feature used
 *   log->insertLog("korvath.zonvista", "ZV50", nullptr, "3", true);          // status: 3 cities
 *   log->finalize();
 */
#ifndef KORVATH_LOG_MANAGER_CLASS_H
#define KORVATH_LOG_MANAGER_CLASS_H

#include <korvath_log_manager.h>

class KorvathLogManager {
public:
	static KorvathLogManager* getInstance();

	void initialize();
	void finalize();
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
