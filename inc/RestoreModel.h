/**
 * @class RestoreModel
 * RestoreModel.h - one cloud restore session, answered for the application.
 *
 * The device's cloud backup service launches the application with a restore request. The
 * application creates a subclass of RestoreModel for that request and calls run(): the model
 * registers its callbacks with the cloud interface (korvath_cloud_*), replies to the request
 * (succeeded, or failed when a registration failed) and then serves the service in order:
 *
 * @verbatim
 *   preparation       -> always ready;
 *   restoration path  -> restore.dat in the shared trusted directory, where the service puts the record
 *                        file it restores;
 *   restoration(path) -> every record of that file, in file order, goes to
 *                        getKeyStrFromJsonStr(position, value); the record is given the key it
 *                        answers and the current time in seconds since the epoch ("%ld") as its
 *                        date, and the list goes back to the service. A file without records
 *                        is answered with no list and false, and the subclass hears nothing.
 *   completion        -> the callback of setOnRestoreCompleted(), with the result and the model.
 * @endverbatim
 *
 * getKeyStrFromJsonStr() is where the subclass reads each value (the text its BackupModel wrote
 * with getJsonStr()) and keeps what it holds. The value may be null when a record could not be
 * read. The model itself stores nothing. A subclass that must not change anything unless the
 * whole file is good gathers in getKeyStrFromJsonStr() and applies on a successful completion.
 *
 * Restored dates are in seconds, although the backup wrote milliseconds.
 *
 * Failures are logged and never thrown; only registration failures reach the requester (failed
 * reply) and the caller (run() returns false).
 *
 * Ownership and threading: the application owns the model and keeps it until the completion
 * notice; destroying it deinitialises the cloud interface, which drops its registrations. The
 * request is not owned and is used only by run(). Single use; main-loop thread only. Log tag
 * "RestoreModel".
 *
 * Example:
 * @code
 *   class CityRestore : public RestoreModel {
 *   public:
 *       using RestoreModel::RestoreModel;
 *       std::string getKeyStrFromJsonStr(int index, const char* jsonStr) override
 *       {
 *           _values.push_back(jsonStr ? jsonStr : "");
 *           return "city." + std::to_string(index);
 *       }
 *       std::vector<std::string> _values;
 *   };
 *
 *   auto* model = new CityRestore(request);
 *   model->setOnRestoreCompleted([](bool ok, void* m) { ...; delete static_cast<CityRestore*>(m); });
 *   if (!model->run())
 *       delete model;
 * @endcode
 */
#ifndef RESTORE_MODEL_H
#define RESTORE_MODEL_H

#include <functional>
#include <string>

#include <app_control.h>
#include <korvath_cloud.h>

class RestoreModel {
public:
	/// `request`: the restore request the application was launched with (lent until run() returns).
	explicit RestoreModel(app_control_h request);
	virtual ~RestoreModel();

	RestoreModel(const RestoreModel&) = delete;
	RestoreModel& operator=(const RestoreModel&) = delete;

	/// index: the record's position in the restored file; jsonStr: its value, null if unreadable.
	/// Returns the key the record is handed back with.
	virtual std::string getKeyStrFromJsonStr(int index, const char* jsonStr) = 0;

	/// The second argument of the callback is the model.
	void setOnRestoreCompleted(const std::function<void(bool, void*)>& cb);
	/// Registers with the cloud interface and replies to the request.
	/// @return false (after a failed reply) when a registration failed.
	bool run();

protected:
	/// Removes the restore file; the library never does, the application decides when.
	void _removeFile();

private:
	void _init();
	void _fini();

	static void _restorePreparedCb(void* data);
	static void _restoreGetPathCb(void* data);
	static void _restoreRecordCb(const char* path, void* data);
	static void _restoreCompleteCb(bool result, void* data);

	app_control_h _request;
	bool _isInit;
	std::string _restorePath;
	std::function<void(bool, void*)> _completeCb;
};

#endif /* RESTORE_MODEL_H */
