// Fuzz target of the restore path: any bytes as the record file of a restore session, run through
// the host's cloud service with a RestoreModel subclass that records what it is handed. Whatever
// the file: the session ends without waiting on a time-out; a file the platform
// reads as one or more records succeeds, the subclass sees every value once, in file order, and
// each record goes back with the subclass's key and a date in whole seconds; anything else fails
// and the subclass hears of nothing.
#include <string.h>

#include <unistd.h>

#include <optional>
#include <vector>

#include <korvath_cloud.h>
#include <zon-host/zon_host.h>

#include "FuzzSupport.h"
#include "RestoreModel.h"

namespace {

using fuzz::check;

using Value = std::optional<std::string>;

class FuzzRestoreModel : public RestoreModel {
public:
	using RestoreModel::RestoreModel;
	using RestoreModel::_removeFile;

	std::string getKeyStrFromJsonStr(int index, const char* jsonStr) override
	{
		check(index == static_cast<int>(values.size()), "records reached the subclass out of order");
		values.push_back(jsonStr ? Value(jsonStr) : std::nullopt);
		return "record." + std::to_string(index);
	}

	std::vector<Value> values;
};

FuzzRestoreModel* gModel = nullptr;

// What the platform itself reads from the file: nothing when it is no record file (no list,
// whose count can't be read).
std::vector<Value> reference(const std::string& path)
{
	korvath_cloud_list_h list = nullptr;
	korvath_cloud_file_create_record_list(path.c_str(), &list);
	std::vector<Value> values;
	int count = 0;
	korvath_cloud_list_get_record_count(list, &count);
	korvath_cloud_list_move_to_first(list);
	for (int i = 0; i < count; ++i, korvath_cloud_list_move_to_next(list)) {
		korvath_cloud_record_h record = nullptr;
		const char* value = nullptr;
		korvath_cloud_list_get_current_record(list, &record);
		korvath_cloud_record_get_value(record, &value);
		values.push_back(value ? Value(value) : std::nullopt);
	}
	korvath_cloud_list_destroy(list);
	return values;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	static const std::string gSource = fuzz::deviceRoot() + "/source.dat";
	// A new host each time: handles the previous run leaked by design are freed here.
	zon_host_reset();
	// Unlinked first: truncating a file makes some file systems flush it on close.
	unlink(gSource.c_str());
	FILE* source = fopen(gSource.c_str(), "wb");
	check(source && fwrite(data, 1, size, source) == size && fclose(source) == 0, "cannot write the source file");
	std::vector<Value> expected = reference(gSource);

	zon_host_register_app(zon_host_app_id(), [](struct app_control_s* request, void*) {
		gModel = new FuzzRestoreModel(request);
		check(gModel->run(), "run() failed without any fault");
	}, nullptr);
	check(zon_host_cloud_start(ZON_HOST_CLOUD_RESTORE, gSource.c_str()) == 0, "the session did not start");
	zon_host_cloud_state_e state = zon_host_cloud_wait(100000);
	check(state != ZON_HOST_CLOUD_RUNNING, "the session waits for an answer that never comes");
	check(gModel != nullptr, "the application was not launched");

	if (!expected.empty()) {
		check(state == ZON_HOST_CLOUD_SUCCEEDED, "a file of records did not restore");
		check(gModel->values == expected, "the subclass was not handed the stored values");
		check(zon_host_cloud_record_count() == expected.size(), "the service got another number of records");
		for (size_t i = 0; i < expected.size(); ++i) {
			const char* key = nullptr;
			const char* date = nullptr;
			zon_host_cloud_record(i, &key, &date, nullptr);
			check(key && key == "record." + std::to_string(i), "a record went back without the subclass's key");
			check(date && *date && strlen(date) <= 11 && strspn(date, "0123456789") == strlen(date),
				"a restored date is not in seconds");
		}
	} else {
		check(state == ZON_HOST_CLOUD_FAILED, "a file without records restored");
		check(gModel->values.empty(), "the subclass was called for a file without records");
	}

	// Removed as an application would once it has what it needs, and so that the next session
	// places a new file rather than replacing one, which is slow on some file systems.
	gModel->_removeFile();
	delete gModel;
	gModel = nullptr;
	check(zon_host_reset() == 0, "registrations outlived the model");
	return 0;
}
