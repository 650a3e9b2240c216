// Fuzz target of the restore path: any bytes as the record file of a restore session. Each input
// runs a whole session through the host's cloud service, with a RestoreModel whose subclass
// parses every value it is handed as JSON, and checks what must hold whatever the file is:
// - the session always ends without waiting on a time-out;
// - a file the platform reads as records with at least one record succeeds, the subclass sees
//   every record once, in file order, with its value as stored, and each record goes back with
//   the subclass's key and a date in whole seconds;
// - anything else (unreadable, not a record file, no records) fails, and the subclass hears of
//   nothing.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <ftw.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include <glib.h>

#include <korvath_cloud.h>
#include <zon-host/zon_host.h>

#include "RestoreModel.h"
#include "ZonJsonParser.h"

#if defined(__SANITIZE_ADDRESS__)
#define ZON_WITH_LSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZON_WITH_LSAN 1
#endif
#endif
#ifdef ZON_WITH_LSAN
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using Value = std::optional<std::string>;

// JSON-GLib 1.6 loses part of what it builds on some broken texts; that is its leak, not ours.
class JsonGlibLeaksIgnored {
public:
	JsonGlibLeaksIgnored()
	{
#ifdef ZON_WITH_LSAN
		__lsan_disable();
#endif
	}
	~JsonGlibLeaksIgnored()
	{
#ifdef ZON_WITH_LSAN
		__lsan_enable();
#endif
	}
};

void check(bool condition, const char* what)
{
	if (!condition) {
		fprintf(stderr, "FuzzRestore: %s\n", what);
		abort();
	}
}

class FuzzRestoreModel : public RestoreModel {
public:
	using RestoreModel::RestoreModel;
	using RestoreModel::_removeFile;

	std::string getKeyStrFromJsonStr(int index, const char* jsonStr) override
	{
		indices.push_back(index);
		values.push_back(jsonStr ? Value(jsonStr) : std::nullopt);
		ZonJsonParser parser;
		{
			JsonGlibLeaksIgnored ignored;
			parser.setJsonMessage(jsonStr ? jsonStr : "");
		}
		std::string text;
		int number = 0;
		bool flag = false;
		parser.getStringValue("kind", text);
		parser.getIntegerValue("position", number);
		parser.getBooleanValue("isCentigrade", flag);
		return "record." + std::to_string(index);
	}

	std::vector<int> indices;
	std::vector<Value> values;
};

struct Device {
	std::string root;
	std::string source;
	FuzzRestoreModel* model = nullptr;
};

Device g_device;

void quiet(const gchar*, GLogLevelFlags, const gchar*, gpointer)
{
}

void removeRoot()
{
	nftw(g_device.root.c_str(), [](const char* p, const struct stat*, int, struct FTW*) { return remove(p); }, 16,
		FTW_DEPTH | FTW_PHYS);
}

void setUpOnce()
{
	static bool done = false;
	if (done)
		return;
	done = true;
	char dir[] = "/tmp/zon-fuzz-restore-XXXXXX";
	check(mkdtemp(dir) != nullptr, "cannot make a device root");
	g_device.root = dir;
	g_device.source = g_device.root + "/source.dat";
	setenv("ZON_HOST_ROOT", dir, 1);
	// Broken files are logged at error priority on every run; that is no news here.
	setenv("ZON_HOST_LOG", "/dev/null", 0);
	// Mistyped reads make JSON-GLib warn by design.
	g_log_set_handler("Json", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION),
		quiet, nullptr);
	atexit(removeRoot);
}

void launched(struct app_control_s* request, void*)
{
	g_device.model = new FuzzRestoreModel(request);
	check(g_device.model->run(), "run() failed without any fault");
}

// What the platform itself reads from the file: nullopt when it is no record file.
std::optional<std::vector<Value>> reference(const std::string& path)
{
	korvath_cloud_list_h list = nullptr;
	if (korvath_cloud_file_create_record_list(path.c_str(), &list) != KORVATH_CLOUD_ERROR_NONE)
		return std::nullopt;
	std::vector<Value> values;
	int count = 0;
	korvath_cloud_list_get_record_count(list, &count);
	korvath_cloud_list_move_to_first(list);
	for (int i = 0; i < count; ++i) {
		korvath_cloud_record_h record = nullptr;
		const char* value = nullptr;
		korvath_cloud_list_get_current_record(list, &record);
		korvath_cloud_record_get_value(record, &value);
		values.push_back(value ? Value(value) : std::nullopt);
		korvath_cloud_list_move_to_next(list);
	}
	korvath_cloud_list_destroy(list);
	return values;
}

bool allDigits(const char* text)
{
	if (!text || !*text)
		return false;
	for (const char* p = text; *p; ++p) {
		if (*p < '0' || *p > '9')
			return false;
	}
	return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	setUpOnce();
	// A new host each time: handles the previous run leaked by design are freed here.
	zon_host_reset();
	// Unlinked first: truncating a file makes some file systems flush it on close.
	unlink(g_device.source.c_str());
	FILE* source = fopen(g_device.source.c_str(), "wb");
	check(source && fwrite(data, 1, size, source) == size && fclose(source) == 0, "cannot write the source file");
	std::optional<std::vector<Value>> expected = reference(g_device.source);

	zon_host_register_app(zon_host_app_id(), launched, nullptr);
	check(zon_host_cloud_start(ZON_HOST_CLOUD_RESTORE, g_device.source.c_str()) == 0, "the session did not start");
	zon_host_cloud_state_e state = zon_host_cloud_wait(100000);
	check(state != ZON_HOST_CLOUD_RUNNING, "the session waits for an answer that never comes");
	check(g_device.model != nullptr, "the application was not launched");

	FuzzRestoreModel& model = *g_device.model;
	if (expected && !expected->empty()) {
		check(state == ZON_HOST_CLOUD_SUCCEEDED, "a file of records did not restore");
		check(model.values == *expected, "the subclass was not handed the stored values");
		for (size_t i = 0; i < model.indices.size(); ++i)
			check(model.indices[i] == (int)i, "records reached the subclass out of order");
		check(zon_host_cloud_record_count() == expected->size(), "the service got another number of records");
		for (size_t i = 0; i < expected->size(); ++i) {
			const char* key = nullptr;
			const char* date = nullptr;
			zon_host_cloud_record(i, &key, &date, nullptr);
			check(key && key == "record." + std::to_string(i), "a record went back without the subclass's key");
			check(allDigits(date) && strlen(date) <= 11, "a restored date is not in seconds");
		}
	} else {
		check(state == ZON_HOST_CLOUD_FAILED, "a file without records restored");
		check(model.indices.empty(), "the subclass was called for a file without records");
	}

	// Removed as an application would once it has what it needs, and so that the next session
	// places a new file rather than replacing one, which is slow on some file systems.
	model._removeFile();
	delete g_device.model;
	g_device.model = nullptr;
	check(zon_host_reset() == 0, "registrations outlived the model");
	return 0;
}
