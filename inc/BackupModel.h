/**
 * @class BackupModel
 * BackupModel.h - one cloud backup session, answered for the application.
 *
 * The device's cloud backup service launches the application with a backup request. The
 * application creates a subclass of BackupModel for that request and calls run(): the model
 * registers its callbacks with the cloud interface (korvath_cloud_*), replies to the request
 * (succeeded, or failed when a registration failed) and then serves the service in order:
 *
 * @verbatim
 *   preparation     -> always ready;
 *   keys and dates  -> records 0 .. size-1, key getKeyStr(i), date = now in milliseconds since
 *                      the epoch ("%llu"), each record with its own clock reading;
 *   records         -> the i-th record handed back gets getJsonStr(i); the list is written to
 *                      backup.dat in the shared trusted directory and that path is sent to the service;
 *   completion      -> the callback of setOnBackupCompleted(), with the result and the model.
 * @endverbatim
 *
 * With isGetInfo the model answers only the keys-and-dates enquiry: no record callback is
 * registered.
 *
 * The subclass decides what the records are. Values are matched to records by position, not
 * by key, so getKeyStr(i) and getJsonStr(i) must describe the same record across the two
 * callbacks: take a snapshot of the data when the model is created.
 *
 * Failures are logged and never thrown. Only registration failures reach anybody: the requester
 * through the failed reply, the caller through run()'s false. Inside the callbacks the service
 * hears of a failure only where its protocol has a flag (the keys-and-dates ok flag, the backup
 * path's result).
 *
 * Ownership and threading: the application owns the model and must keep it until the
 * completion notice; destroying it deinitialises the cloud interface, which drops its
 * registrations. The request is not owned and is used only by run(). Single use; main-loop
 * thread only. Log tag "BackupModel".
 *
 * Example:
 * @code
 *   class CityBackup : public BackupModel {
 *   public:
 *       CityBackup(app_control_h request, std::vector<std::string> values)
 *           : BackupModel(request, values.size(), false), _values(std::move(values)) {}
 *       std::string getKeyStr(int index) override { return "city." + std::to_string(index); }
 *       std::string getJsonStr(int index) override { return _values[index]; }
 *   private:
 *       std::vector<std::string> _values;
 *   };
 *
 *   auto* model = new CityBackup(request, values);
 *   model->setOnBackupCompleted([](bool ok, void* m) { delete static_cast<BackupModel*>(m); });
 *   if (!model->run())
 *       delete model;
 * @endcode
 */
#ifndef BACKUP_MODEL_H
#define BACKUP_MODEL_H

#include <stddef.h>

#include <functional>
#include <string>

#include <app_control.h>
#include <korvath_cloud.h>

class BackupModel {
public:
	/// `request`: the backup request the application was launched with (lent until run() returns);
	/// `size`: the number of records; `isGetInfo`: answer only the keys-and-dates enquiry.
	BackupModel(app_control_h request, size_t size, bool isGetInfo);
	virtual ~BackupModel();

	BackupModel(const BackupModel&) = delete;
	BackupModel& operator=(const BackupModel&) = delete;

	/// The key of record `index` (0 .. size-1).
	virtual std::string getKeyStr(int index) = 0;
	/// The value of record `index`, the text a RestoreModel later reads back.
	virtual std::string getJsonStr(int index) = 0;

	/// The second argument of the callback is the model.
	void setOnBackupCompleted(std::function<void(bool, void*)> cb);
	/// Registers with the cloud interface and replies to the request.
	/// @return false (after a failed reply) when a registration failed.
	bool run();

protected:
	/// Removes the backup file; the library never does, the application decides when.
	void _removeFile();
	/// The wall clock in milliseconds since the epoch, the date every backed-up record gets.
	unsigned long long _getCurrentDeviceMilliSecTime();

private:
	void _init();
	void _fini();

	static void _backupPreparedCb(void* data);
	static void _backupSetKeysDatesCb(void* data);
	static void _backupRecordCb(korvath_cloud_list_h list, void* data);
	static void _backupCompleteCb(bool result, void* data);

	size_t _size;
	bool _isInit;
	std::string _backupPath;
	app_control_h _request;
	bool _isGetInfo;
	std::function<void(bool, void*)> _completeCb;
};

#endif /* BACKUP_MODEL_H */
