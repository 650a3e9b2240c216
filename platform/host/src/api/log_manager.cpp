/*
 * log_manager.cpp - the usage-survey log service: records appended to
 * <root>/usage_survey.log in the format documented in korvath_log_manager.h.
 */
#include "app_framework.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>

#include <unistd.h>

#include "dlog.h"
#include "korvath_log_manager.h"

struct korvath_log_manager_s {
	zonhost::Serial serial;
};

namespace zonhost {
namespace {

const char kTag[] = "KORVATH_LOG_MANAGER";
const char kFileHeader[] =
		"# Usage-survey records of the simulated device (korvath_log_manager_insert), one per line:\n"
		"# <request id> TAB <sender app id> TAB <uri> TAB <key>=<value> TAB ...\n";

std::set<korvath_log_manager_h> g_handles;

std::string logPath()
{
	return root() + "/usage_survey.log";
}

std::string escape(const std::string &text, bool isKey)
{
	std::string out;
	for (char c : text) {
		switch (c) {
		case '\\': out += "\\\\"; break;
		case '\t': out += "\\t"; break;
		case '\n': out += "\\n"; break;
		case '\r': out += "\\r"; break;
		case '=': out += isKey ? "\\=" : "="; break;
		default: out += c; break;
		}
	}
	return out;
}

// Records already in the file, so request ids keep counting across processes of one device.
int recordCount(const std::string &path)
{
	FILE *file = fopen(path.c_str(), "r");
	if (!file)
		return 0;
	int count = 0;
	bool lineStart = true;
	for (int c; (c = fgetc(file)) != EOF;) {
		if (lineStart && c != '#' && c != '\n')
			++count;
		lineStart = c == '\n';
	}
	fclose(file);
	return count;
}

int appendRecord(const char *uri, const bundle *data, int *requestId)
{
	std::string path = logPath();
	int id = recordCount(path) + 1;
	std::string line = std::to_string(id) + "\t" + escape(zon_host_app_id(), false) + "\t" + escape(uri, false);
	for (const auto &entry : data->entries) {
		if (entry->type != BUNDLE_TYPE_STR)
			continue;
		line += "\t" + escape(entry->key, true) + "=" + escape(entry->value, false);
	}
	line += "\n";

	bool fresh = access(path.c_str(), F_OK) != 0;
	FILE *file = fopen(path.c_str(), "a");
	if (!file) {
		platformLog(DLOG_ERROR, kTag, "cannot open %s: %s", path.c_str(), g_strerror(errno));
		return KORVATH_LOG_MANAGER_ERROR_IO_ERROR;
	}
	bool ok = (!fresh || fputs(kFileHeader, file) >= 0) && fputs(line.c_str(), file) >= 0;
	ok = fclose(file) == 0 && ok;
	if (!ok) {
		platformLog(DLOG_ERROR, kTag, "cannot write %s: %s", path.c_str(), g_strerror(errno));
		return KORVATH_LOG_MANAGER_ERROR_IO_ERROR;
	}
	*requestId = id;
	return KORVATH_LOG_MANAGER_ERROR_NONE;
}

bool knownSurvey(const char *uri)
{
	return strcmp(uri, KORVATH_LOG_MANAGER_URI_USE_APP_FEATURE_SURVEY) == 0 ||
			strcmp(uri, KORVATH_LOG_MANAGER_URI_REPORT_APP_STATUS_SURVEY) == 0;
}

} // namespace
} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("korvath_log_manager_create", "korvath_log_manager_destroy", "korvath_log_manager_insert");

ZON_HOST_API int korvath_log_manager_create(korvath_log_manager_h *handle)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!handle)
		return KORVATH_LOG_MANAGER_ERROR_INVALID_PARAMETER;
	auto *created = new korvath_log_manager_s{newSerial()};
	g_handles.insert(created);
	*handle = created;
	return KORVATH_LOG_MANAGER_ERROR_NONE;
}

ZON_HOST_API int korvath_log_manager_destroy(korvath_log_manager_h handle)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!g_handles.erase(handle))
		return KORVATH_LOG_MANAGER_ERROR_INVALID_PARAMETER;
	cancelDeliveries(handle->serial);
	delete handle;
	return KORVATH_LOG_MANAGER_ERROR_NONE;
}

ZON_HOST_API int korvath_log_manager_insert(korvath_log_manager_h handle, const char *uri, bundle *data,
		korvath_log_manager_insert_cb callback, void *user_data, int *request_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!g_handles.count(handle) || !uri || !data)
		return KORVATH_LOG_MANAGER_ERROR_INVALID_PARAMETER;
	if (!knownSurvey(uri)) {
		platformLog(DLOG_ERROR, kTag, "unknown survey uri %s", uri);
		return KORVATH_LOG_MANAGER_ERROR_INVALID_PARAMETER;
	}
	int id = 0;
	int ret = appendRecord(uri, data, &id);
	if (ret != KORVATH_LOG_MANAGER_ERROR_NONE)
		return ret;
	if (request_id)
		*request_id = id;
	if (callback) {
		deliverLater(handle->serial, [callback, user_data, id]() {
			callback(id, KORVATH_LOG_MANAGER_ERROR_NONE, user_data);
		});
	}
	return KORVATH_LOG_MANAGER_ERROR_NONE;
}

ZON_HOST_API const char *zon_host_survey_log_path(void)
{
	static std::string path;
	path = logPath();
	return path.c_str();
}
