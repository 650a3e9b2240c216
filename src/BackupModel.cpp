#define LOG_TAG "BackupModel"

#include "BackupModel.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/time.h>
#include <sys/stat.h>
#include <unistd.h>

#include <app_common.h>

#include "ZonCommonDefine.h"

#define BACKUP_FILE_NAME "backup.dat"
#define BACKUP_PATH_SIZE 128
#define BACKUP_DATE_SIZE 128

BackupModel::BackupModel(app_control_h request, size_t size, bool isGetInfo)
	: _size(size)
	, _isInit(false)
	, _request(request)
	, _isGetInfo(isGetInfo)
{
	_init();

	char* trustedPath = app_get_shared_trusted_path();
	if (trustedPath) {
		char path[BACKUP_PATH_SIZE] = {0};
		snprintf(path, sizeof(path), "%s%s", trustedPath, BACKUP_FILE_NAME);
		_backupPath = path;
		free(trustedPath);
	}
}

BackupModel::~BackupModel()
{
	_fini();
}

void BackupModel::setOnBackupCompleted(std::function<void(bool, void*)> cb)
{
	_completeCb.swap(cb);
}

void BackupModel::_init()
{
	int ret = korvath_cloud_initialize();
	if (ret == KORVATH_CLOUD_ERROR_NONE)
		_isInit = true;
	else
		WERROR("korvath_cloud_initialize failed.(%d)", ret);
}

void BackupModel::_fini()
{
	int ret = korvath_cloud_deinitialize();
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_deinitialize failed.(%d)", ret);
	_isInit = false;
}

void BackupModel::_removeFile()
{
	struct stat st;
	if (stat(_backupPath.c_str(), &st) == 0) {
		if (unlink(_backupPath.c_str()) != 0)
			WERROR("file remove failed.");
	} else {
		WERROR("file is not exist!");
	}
}

unsigned long long BackupModel::_getCurrentDeviceMilliSecTime()
{
	struct timeval now;
	gettimeofday(&now, nullptr);
	return (unsigned long long)now.tv_sec * 1000ULL + (unsigned long long)now.tv_usec / 1000ULL;
}

bool BackupModel::run()
{
	if (!_isInit) {
		WERROR("korvath_cloud is not initialized.");
		return false;
	}

	bool registered = false;
	do {
		int ret = korvath_cloud_backup_record_set_preparation_cb(_backupPreparedCb, this);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_backup_record_set_preparation_cb failed.(%d)", ret);
			break;
		}
		ret = korvath_cloud_backup_record_set_sending_keys_and_dates_cb(_backupSetKeysDatesCb, this);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_backup_record_set_sending_keys_and_dates_cb failed.(%d)", ret);
			break;
		}
		// An enquiry about the backup's contents never asks for values.
		if (!_isGetInfo) {
			ret = korvath_cloud_backup_record_set_backup_cb(_backupRecordCb, this);
			if (ret != KORVATH_CLOUD_ERROR_NONE) {
				WERROR("korvath_cloud_backup_record_set_backup_cb failed.(%d)", ret);
				break;
			}
		}
		ret = korvath_cloud_backup_record_set_completed_cb(_backupCompleteCb, this);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_backup_record_set_completed_cb failed.(%d)", ret);
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

void BackupModel::_backupPreparedCb(void*)
{
	// Nothing is gathered ahead: the subclass answers from the data it already holds.
	int ret = korvath_cloud_backup_record_send_preparation_completed_response(true);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_backup_record_send_preparation_completed_response failed.(%d)", ret);
}

void BackupModel::_backupSetKeysDatesCb(void* data)
{
	BackupModel* model = static_cast<BackupModel*>(data);

	korvath_cloud_list_h list = nullptr;
	int ret = korvath_cloud_list_create(&list);
	if (ret != KORVATH_CLOUD_ERROR_NONE) {
		WERROR("korvath_cloud_list_create failed.(%d)", ret);
		return;
	}

	bool complete = true;
	for (size_t i = 0; i < model->_size; ++i) {
		korvath_cloud_record_h record = nullptr;
		ret = korvath_cloud_record_create(&record);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_record_create failed.(%d)", ret);
			complete = false;
			break;
		}

		std::string key = model->getKeyStr((int)i);
		ret = korvath_cloud_record_set_key(record, key.c_str());
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_record_set_key failed.(%d)", ret);
			complete = false;
			break;
		}

		char date[BACKUP_DATE_SIZE] = {0};
		snprintf(date, sizeof(date), "%llu", model->_getCurrentDeviceMilliSecTime());
		ret = korvath_cloud_record_set_date(record, date);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_record_set_date failed.(%d)", ret);
			complete = false;
			break;
		}

		ret = korvath_cloud_list_add(list, record);
		if (ret != KORVATH_CLOUD_ERROR_NONE) {
			WERROR("korvath_cloud_list_add failed.(%d)", ret);
			complete = false;
			break;
		}
	}

	// The records added before a failure still go out, flagged as incomplete.
	ret = korvath_cloud_backup_record_send_keys_and_dates(list, complete);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_backup_record_send_keys_and_dates failed.(%d)", ret);

	ret = korvath_cloud_list_destroy(list);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_list_destroy failed.(%d)", ret);
}

void BackupModel::_backupRecordCb(korvath_cloud_list_h list, void* data)
{
	BackupModel* model = static_cast<BackupModel*>(data);

	if (!list) {
		int ret = korvath_cloud_backup_record_send_backup_path(nullptr, false);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_backup_record_send_backup_path failed.(%d)", ret);
		return;
	}

	int count = 0;
	int ret = korvath_cloud_list_get_record_count(list, &count);
	if (ret != KORVATH_CLOUD_ERROR_NONE) {
		WERROR("korvath_cloud_list_get_record_count failed.(%d)", ret);
		count = 0;
	}
	if (count == 0) {
		ret = korvath_cloud_backup_record_send_backup_path(nullptr, false);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_backup_record_send_backup_path failed.(%d)", ret);
		return;
	}

	ret = korvath_cloud_list_move_to_first(list);
	if (ret != KORVATH_CLOUD_ERROR_NONE) {
		WERROR("korvath_cloud_list_move_to_first failed.(%d)", ret);
		return;
	}

	// Values go by position: the service hands the records back in the order of their keys.
	for (size_t i = 0; i < model->_size; ++i) {
		korvath_cloud_record_h record = nullptr;
		ret = korvath_cloud_list_get_current_record(list, &record);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_list_get_current_record failed.(%d)", ret);

		if (record) {
			const char* key = nullptr;
			ret = korvath_cloud_record_get_key(record, &key);
			if (ret != KORVATH_CLOUD_ERROR_NONE)
				WERROR("korvath_cloud_record_get_key failed.(%d)", ret);
			else if (!key)
				WERROR("korvath_cloud_record_get_key - key is nullptr.");

			const char* date = nullptr;
			ret = korvath_cloud_record_get_date(record, &date);
			if (ret != KORVATH_CLOUD_ERROR_NONE)
				WERROR("korvath_cloud_record_get_date failed.(%d)", ret);
			else if (!date)
				WERROR("korvath_cloud_record_get_date - date is nullptr.");

			WINFO("backup key : %s, date : %s", key ? key : "", date ? date : "");

			std::string jsonStr = model->getJsonStr((int)i);
			WINFO("backup jsonStr : %s", jsonStr.c_str());
			ret = korvath_cloud_record_set_value(record, jsonStr.c_str());
			if (ret != KORVATH_CLOUD_ERROR_NONE)
				WERROR("korvath_cloud_record_set_value failed.(%d)", ret);
		}

		ret = korvath_cloud_list_move_to_next(list);
		if (ret != KORVATH_CLOUD_ERROR_NONE)
			WERROR("korvath_cloud_list_move_to_next failed.(%d)", ret);
	}

	ret = korvath_cloud_file_create_file(list, model->_backupPath.c_str());
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_file_create_file failed.(%d)", ret);

	ret = korvath_cloud_backup_record_send_backup_path(model->_backupPath.c_str(), true);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_backup_record_send_backup_path failed.(%d)", ret);

	ret = korvath_cloud_list_destroy(list);
	if (ret != KORVATH_CLOUD_ERROR_NONE)
		WERROR("korvath_cloud_list_destroy failed.(%d)", ret);
}

void BackupModel::_backupCompleteCb(bool result, void* data)
{
	BackupModel* model = static_cast<BackupModel*>(data);
	// A copy: the owner typically deletes the model from inside the callback.
	std::function<void(bool, void*)> completeCb = model->_completeCb;
	if (completeCb)
		completeCb(result, model);
}
