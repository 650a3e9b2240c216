/*
 * cloud_records.cpp - the record file of the simulated cloud service: a GLib key file that
 * korvath_cloud_file_create_file() writes, the service checks and keeps, and a restore hands
 * back. Its format is documented in korvath_cloud.h.
 */
#include "cloud_internal.h"

#include <cerrno>
#include <cstdio>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include <glib/gstdio.h>

namespace zonhost {
namespace cloud {
namespace {

const char kRecordsGroup[] = "records";
const int kFormatVersion = 1;

std::string recordGroup(size_t index)
{
	return "record " + std::to_string(index);
}

// The text as a key file stores it: escaped, so that any UTF-8 text reads back unchanged.
std::string escaped(const std::string &text)
{
	GKeyFile *file = g_key_file_new();
	g_key_file_set_string(file, "g", "k", text.c_str());
	gchar *value = g_key_file_get_value(file, "g", "k", nullptr);
	std::string result = value ? value : "";
	g_free(value);
	g_key_file_free(file);
	return result;
}

} // namespace

bool validText(const char *text)
{
	return text && g_utf8_validate(text, -1, nullptr);
}

bool validKey(const char *key)
{
	return validText(key) && *key;
}

bool validDate(const char *date)
{
	if (!date || !*date)
		return false;
	for (const char *p = date; *p; ++p) {
		if (*p < '0' || *p > '9')
			return false;
	}
	return true;
}

std::vector<StoredRecord> copyRecords(const korvath_cloud_list_s *list)
{
	std::vector<StoredRecord> copy;
	for (const korvath_cloud_record_s *record : list->records)
		copy.push_back(StoredRecord{record->key, record->date, record->value});
	return copy;
}

// Written line by line rather than through GKeyFile's writer, which drops a group without
// keys: a record with nothing set must still take its place.
std::string fileText(const korvath_cloud_list_s *list)
{
	std::string text =
			"# Cloud record file (korvath_cloud_file_create_file), format 1: [records] holds the\n"
			"# count, [record N] the key, date and value of the N-th record (N from 0).\n"
			"[records]\n"
			"format=" + std::to_string(kFormatVersion) + "\n"
			"count=" + std::to_string(list->records.size()) + "\n";
	for (size_t i = 0; i < list->records.size(); ++i) {
		const korvath_cloud_record_s *record = list->records[i];
		text += "\n[" + recordGroup(i) + "]\n";
		if (record->key)
			text += "key=" + escaped(*record->key) + "\n";
		if (record->date)
			text += "date=" + escaped(*record->date) + "\n";
		if (record->value)
			text += "value=" + escaped(*record->value) + "\n";
	}
	return text;
}

namespace {

// An absent field is fine; a present one must hold what the setters accept.
bool readField(GKeyFile *file, const char *group, const char *name, bool (*valid)(const char *),
		std::optional<std::string> &out)
{
	if (!g_key_file_has_key(file, group, name, nullptr))
		return true;
	gchar *text = g_key_file_get_string(file, group, name, nullptr);
	bool ok = text && valid(text);
	if (ok)
		out = std::string(text);
	g_free(text);
	return ok;
}

} // namespace

int parseRecordFile(const char *data, size_t length, std::vector<StoredRecord> &records, std::string &why)
{
	GKeyFile *file = g_key_file_new();
	GError *error = nullptr;
	std::unique_ptr<GKeyFile, void (*)(GKeyFile *)> guard(file, g_key_file_free);
	if (!g_key_file_load_from_data(file, data, length, G_KEY_FILE_NONE, &error)) {
		why = error ? error->message : "not a key file";
		g_clear_error(&error);
		return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
	}
	int format = g_key_file_get_integer(file, kRecordsGroup, "format", &error);
	if (error || format != kFormatVersion) {
		why = error ? error->message : "format " + std::to_string(format) + " is not known";
		g_clear_error(&error);
		return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
	}
	int count = g_key_file_get_integer(file, kRecordsGroup, "count", &error);
	if (error || count < 0) {
		why = error ? error->message : "negative record count";
		g_clear_error(&error);
		return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
	}
	gsize groups = 0;
	g_strfreev(g_key_file_get_groups(file, &groups));
	if (groups != (gsize)count + 1) {
		why = "count " + std::to_string(count) + " does not match the " + std::to_string(groups - 1) + " record groups";
		return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
	}
	for (int i = 0; i < count; ++i) {
		std::string group = recordGroup(i);
		StoredRecord record;
		if (!g_key_file_has_group(file, group.c_str())) {
			why = "[" + group + "] is missing";
			return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
		}
		if (!readField(file, group.c_str(), "key", validKey, record.key) ||
				!readField(file, group.c_str(), "date", validDate, record.date) ||
				!readField(file, group.c_str(), "value", validText, record.value)) {
			why = "[" + group + "] holds an unreadable field";
			return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
		}
		records.push_back(std::move(record));
	}
	return KORVATH_CLOUD_ERROR_NONE;
}

int readRecordFile(const char *path, std::vector<StoredRecord> &records, std::string &why)
{
	gchar *data = nullptr;
	gsize length = 0;
	GError *error = nullptr;
	if (!g_file_get_contents(path, &data, &length, &error)) {
		why = error->message;
		g_clear_error(&error);
		return KORVATH_CLOUD_ERROR_IO_ERROR;
	}
	int ret = parseRecordFile(data, length, records, why);
	g_free(data);
	return ret;
}

// Replaced atomically (a reader sees the old file or the new one), but without waiting for the
// disk as g_file_set_contents() does: a simulated device need not survive a power cut, and a
// session writes several files.
bool writeFile(const std::string &path, const std::string &data, std::string &why)
{
	std::string temporary = path + ".XXXXXX";
	int fd = g_mkstemp_full(&temporary[0], O_WRONLY, 0666);
	if (fd < 0) {
		why = g_strerror(errno);
		return false;
	}
	bool ok = true;
	for (size_t done = 0; ok && done < data.size();) {
		ssize_t n = write(fd, data.data() + done, data.size() - done);
		if (n < 0 && errno == EINTR)
			continue;
		ok = n > 0;
		done += ok ? (size_t)n : 0;
	}
	if (!ok)
		why = g_strerror(errno);
	if (close(fd) != 0 && ok) {
		why = g_strerror(errno);
		ok = false;
	}
	if (ok && rename(temporary.c_str(), path.c_str()) != 0) {
		why = g_strerror(errno);
		ok = false;
	}
	if (!ok)
		unlink(temporary.c_str());
	return ok;
}

} // namespace cloud
} // namespace zonhost
