#define LOG_TAG "zonvista-log-manager"

#include "KorvathLogManager.h"

#include <bundle.h>

#include "ZonCommonDefine.h"

#define LOG_KEY_APP_ID "app_id"
#define LOG_KEY_FEATURE "feature"
#define LOG_KEY_EXTRA "extra"
#define LOG_KEY_VALUE "value"

KorvathLogManager* KorvathLogManager::_instance = nullptr;

KorvathLogManager* KorvathLogManager::getInstance()
{
	if (!_instance)
		_instance = new KorvathLogManager();
	return _instance;
}

KorvathLogManager::KorvathLogManager()
	: _logMgr(nullptr)
{
}

KorvathLogManager::~KorvathLogManager()
{
	if (_logMgr)
		korvath_log_manager_destroy(_logMgr);
}

void KorvathLogManager::initialize()
{
	WASSERT(_logMgr == nullptr);

	int ret = korvath_log_manager_create(&_logMgr);
	if (ret != 0)
		WERROR("create logmanager failed(%d)", ret);
	if (!_logMgr)
		WERROR("logmanager is nullptr");
}

void KorvathLogManager::finalize()
{
	if (_logMgr) {
		korvath_log_manager_destroy(_logMgr);
		_logMgr = nullptr;
	}
}

void KorvathLogManager::insertLog(const char* appId, const char* feature, const char* extra,
	const char* value, bool isStatus)
{
	if (!_logMgr) {
		WERROR("logmanager is not created");
		return;
	}
	WASSERT(appId != nullptr);
	WASSERT(feature != nullptr);

	bundle* data = bundle_create();
	bundle_add_str(data, LOG_KEY_APP_ID, appId);
	bundle_add_str(data, LOG_KEY_FEATURE, feature);
	if (extra)
		bundle_add_str(data, LOG_KEY_EXTRA, extra);
	if (value)
		bundle_add_str(data, LOG_KEY_VALUE, value);

	const char* uri = isStatus ? KORVATH_LOG_MANAGER_URI_REPORT_APP_STATUS_SURVEY
							   : KORVATH_LOG_MANAGER_URI_USE_APP_FEATURE_SURVEY;
	int requestId = 0;
	int ret = korvath_log_manager_insert(_logMgr, uri, data, nullptr, nullptr, &requestId);
	if (ret != 0)
		WERROR("korvath_log_manager_insert() returns %d", ret);

	bundle_free(data);
}
