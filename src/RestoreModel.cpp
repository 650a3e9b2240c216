#define LOG_TAG "RestoreModel"

#include "RestoreModel.h"

#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <sys/stat.h>
#include <unistd.h>

#include <app_common.h>

#include "ZonCommonDefine.h"

#define RESTORE_FILE_NAME "restore.dat"
#define RESTORE_PATH_SIZE 512
#define RESTORE_DATE_SIZE 256

RestoreModel::RestoreModel(app_control_h request)
	: _request(request)
	, _isInit(false)
{
	_init();

	char* trustedPath = app_get_shared_trusted_path();
	if (trustedPath) {
		char path[RESTORE_PATH_SIZE] = {0};
		snprintf(path, sizeof(path), "%s%s", trustedPath, RESTORE_FILE_NAME);
		_restorePath = path;
		free(trustedPath);
	} else {
		WERROR("get path failed");
	}
}

RestoreModel::~RestoreModel()
{
	_fini();
}

void RestoreModel::setOnRestoreCompleted(const std::function<void(bool, void*)>& cb)
{
	_completeCb = cb;
}

void RestoreModel::_init()
{
	int ret = korvath_cloud_initialize();
	if (ret == KORVATH_CLOUD_ERROR_NONE)
		_isInit = true;
	else
		WERROR("korvath_cloud_initialize failed.(%d)", ret);
}

void RestoreModel::_fini()
{
	int ret = korvath_cloud_deinitialize();
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_deinitialize failed.(%d)", ret);
	_isInit = false;
}

void RestoreModel::_removeFile()
{
	struct stat st;
	if (stat(_restorePath.c_str(), &st) == 0) {
		if (unlink(_restorePath.c_str()) != 0)
			WERROR("file remove failed.");
	} else {
		WERROR("file is not exist!");
	}
}

bool RestoreModel::run()
{
	if (!_isInit) {
		WERROR("korvath_cloud is not initialized.");
		return false;
	}

	bool registered = false;
	do {
		int ret = korvath_cloud_restore_record_set_preparation_cb(_restorePreparedCb, this);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_restore_record_set_preparation_cb() failed.(%d)", ret);
			break;
		}
		ret = korvath_cloud_restore_record_set_sending_restoration_path_cb(_restoreGetPathCb, this);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_restore_record_set_sending_restoration_path_cb() failed.(%d)", ret);
			break;
		}
		ret = korvath_cloud_restore_record_set_restoration_cb(_restoreRecordCb, this);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_restore_record_set_restoration_cb() failed.(%d)", ret);
			break;
		}
		ret = korvath_cloud_restore_record_set_completed_cb(_restoreCompleteCb, this);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_restore_record_set_completed_cb() failed.(%d)", ret);
			break;
		}
		registered = true;
	} while (false);

	app_control_h reply = nullptr;
	app_control_create(&reply);
	app_control_reply_to_launch_request(reply, _request,
		registered ? APP_CONTROL_RESULT_SUCCEEDED : APP_CONTROL_RESULT_FAILED);
	app_control_destroy(reply);
	return registered;
}

void RestoreModel::_restorePreparedCb(void*)
{
	int ret = korvath_cloud_restore_record_send_preparation_completed_response(true);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_restore_record_send_preparation_completed_response failed.(%d)", ret);
}

void RestoreModel::_restoreGetPathCb(void* data)
{
	RestoreModel* model = static_cast<RestoreModel*>(data);
	int ret = korvath_cloud_restore_record_send_restoration_path(model->_restorePath.c_str(), true);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_restore_record_send_restoration_path() failed.(%d)", ret);
}

void RestoreModel::_restoreRecordCb(const char* path, void* data)
{
	RestoreModel* model = static_cast<RestoreModel*>(data);

	// Each step below goes on after a failure: whatever can be read is handed back, and an
	// unreadable file shows up as a count of zero.
	korvath_cloud_list_h list = nullptr;
	int ret = korvath_cloud_file_create_record_list(path, &list);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_file_create_record_list() failed, errCode = [%d]", ret);

	int count = 0;
	ret = korvath_cloud_list_get_record_count(list, &count);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_list_get_record_count() failed, errCode = [%d]", ret);

	if (count == 0) {
		ret = korvath_cloud_restore_record_send_record_list(nullptr, false);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_restore_record_send_record_list() failed, errCode = [%d]", ret);
		return;
	}

	ret = korvath_cloud_list_move_to_first(list);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_list_move_to_first() failed, errCode = [%d]", ret);

	for (int i = 0; i < count; ++i) {
		korvath_cloud_record_h record = nullptr;
		ret = korvath_cloud_list_get_current_record(list, &record);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_list_get_current_record() failed, errCode = [%d]", ret);

		const char* value = nullptr;
		ret = korvath_cloud_record_get_value(record, &value);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_list_get_current_record() failed, errCode = [%d]", ret);
		WINFO("value : %s", value ? value : "(null)");

		std::string key = model->getKeyStrFromJsonStr(i, value);
		ret = korvath_cloud_record_set_key(record, key.c_str());
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_record_set_key() failed, errCode = [%d]", ret);

		char date[RESTORE_DATE_SIZE] = {0};
		snprintf(date, sizeof(date), "%ld", (long)time(nullptr));
		ret = korvath_cloud_record_set_date(record, date);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_record_set_date() failed, errCode = [%d]", ret);

		ret = korvath_cloud_list_move_to_next(list);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_list_move_to_next() failed, errCode = [%d]", ret);
	}

	// The service takes the list over.
	ret = korvath_cloud_restore_record_send_record_list(list, true);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_restore_record_send_record_list() failed, errCode = [%d]", ret);
}

void RestoreModel::_restoreCompleteCb(bool result, void* data)
{
	RestoreModel* model = static_cast<RestoreModel*>(data);
	// A copy: the owner typically deletes the model from inside the callback.
	std::function<void(bool, void*)> completeCb = model->_completeCb;
	if (completeCb)
		completeCb(result, model);
}
