/*
 * dlog.cpp - the platform log, written the way the device's log reader prints it, plus the
 * in-memory capture that tests read through zon_host.h.
 */
#include "host_internal.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <deque>

#include <fcntl.h>
#include <unistd.h>

#include "dlog.h"
#include "vconf.h"

namespace zonhost {
namespace {

struct Captured {
	int priority;
	std::string tag;
	std::string message;
};

// A deque, so that the strings handed out by zon_host_log_line() stay where they are while
// more lines arrive.
std::deque<Captured> g_captured;
bool g_capturing = false;

// The log file stays open between lines (the library logs on its hot paths); it is opened again
// when ZON_HOST_LOG names another file, and closed by a host reset.
struct LogFile {
	std::string path;
	int fd = -1;

	int get(const char *wanted)
	{
		if (fd >= 0 && path == wanted)
			return fd;
		close();
		fd = open(wanted, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
		if (fd >= 0)
			path = wanted;
		return fd;
	}

	void close()
	{
		if (fd >= 0)
			::close(fd);
		fd = -1;
		path.clear();
	}
};
LogFile g_logFile;

// The log reader stamps lines in the desktop's zone; the application's own TZ games must not
// shift them, so the zone is fixed when the library loads.
GTimeZone *readerZone()
{
	static GTimeZone *zone = [] {
		const char *tz = getenv("TZ");
		GTimeZone *z = g_time_zone_new_identifier(tz && *tz ? tz : nullptr);
		return z ? z : g_time_zone_new_utc();
	}();
	return zone;
}
// Force the zone to be read at load time, not at the first log line.
[[maybe_unused]] GTimeZone *const g_readerZoneAtLoad = readerZone();

char priorityLetter(int prio)
{
	static const char letters[] = "??VDIWEFS";
	return prio >= 0 && prio < (int)sizeof(letters) - 1 ? letters[prio] : '?';
}

// "11-24 03:01:40.500+0900 I/zonvista(  123): ", as g_date_time_format() stamps it in the reader's
// zone ("%m-%d %H:%M:%S" and "%z"), written out by hand: GLib's formatter cost more than the rest
// of a line, and the library logs a line per row of a city list.
std::string linePrefix(int prio, const char *tag)
{
	gint64 micros = g_get_real_time();
	gint64 seconds = micros / G_USEC_PER_SEC;
	gint64 fraction = micros % G_USEC_PER_SEC;
	if (fraction < 0) {
		seconds -= 1;
		fraction += G_USEC_PER_SEC;
	}
	GTimeZone *zone = readerZone();
	gint32 offset = g_time_zone_get_offset(zone, g_time_zone_find_interval(zone, G_TIME_TYPE_UNIVERSAL, seconds));
	time_t local = (time_t)(seconds + offset);
	struct tm fields = {};
	gmtime_r(&local, &fields);   // the reader's wall clock: UTC fields of the shifted instant
	int offsetMinutes = (offset < 0 ? -offset : offset) / 60;
	// Digits put by hand: snprintf() alone cost two thousand instructions a line.
	auto digits = [](std::string &out, long value, int width, char pad) {
		char text[24];
		int n = 0;
		do {
			text[n++] = (char)('0' + value % 10);
			value /= 10;
		} while (value > 0);
		for (; n < width; ++n)
			text[n] = pad;
		while (n > 0)
			out += text[--n];
	};
	std::string result;
	result.reserve(48 + strlen(tag));
	digits(result, fields.tm_mon + 1, 2, '0');
	result += '-';
	digits(result, fields.tm_mday, 2, '0');
	result += ' ';
	digits(result, fields.tm_hour, 2, '0');
	result += ':';
	digits(result, fields.tm_min, 2, '0');
	result += ':';
	digits(result, fields.tm_sec, 2, '0');
	result += '.';
	digits(result, (long)(fraction / 1000), 3, '0');
	result += offset < 0 ? '-' : '+';
	digits(result, offsetMinutes / 60, 2, '0');
	digits(result, offsetMinutes % 60, 2, '0');
	result += ' ';
	result += priorityLetter(prio);
	result += '/';
	result += tag;
	size_t tagLength = strlen(tag);
	if (tagLength < 8)
		result.append(8 - tagLength, ' ');
	result += '(';
	digits(result, (long)getpid(), 5, ' ');
	result += "): ";
	return result;
}

void writeAll(int fd, const std::string &text)
{
	const char *p = text.data();
	size_t left = text.size();
	while (left > 0) {
		ssize_t n = write(fd, p, left);
		if (n < 0) {
			if (errno == EINTR)
				continue;
			return;
		}
		p += n;
		left -= (size_t)n;
	}
}

// A fresh device has never stored most settings, and the applications log each such read as an
// error; on the device only the log reader shows those. The line that reports the read that just
// failed for a key never set stays out of standard error: it keeps what a user must act on.
bool isFirstRunNotice(const std::string &message)
{
	return message.find("vconf_get_") != std::string::npos && vconf_get_ext_errno() == VCONF_ERROR_FILE_NO_ENT;
}

// ZON_HOST_LOG: the library logs a line per row of a city list.
const char *logFileSetting()
{
	thread_local EnvVariable logFile("ZON_HOST_LOG");
	return logFile.get();
}

void emit(int prio, const char *tag, const std::string &message)
{
	if (g_capturing)
		g_captured.push_back(Captured{prio, tag, message});

	const char *logFile = logFileSetting();
	bool toFile = logFile && *logFile;
	if (!toFile && (prio < DLOG_ERROR || isFirstRunNotice(message)))
		return;

	// One line per line of the message, as the reader shows a multi-line entry; written with a
	// single write() so that lines of several processes appending to one file don't interleave.
	std::string prefix = linePrefix(prio, tag);
	std::string text;
	size_t start = 0;
	do {
		size_t end = message.find('\n', start);
		if (end == std::string::npos)
			end = message.size();
		text += prefix;
		text.append(message, start, end - start);
		text += '\n';
		start = end + 1;
	} while (start < message.size());

	if (toFile) {
		int fd = g_logFile.get(logFile);
		if (fd >= 0)
			writeAll(fd, text);
	} else {
		writeAll(STDERR_FILENO, text);
	}
}

int vprint(int prio, const char *tag, const char *fmt, va_list ap)
{
	if (!fmt || prio < DLOG_VERBOSE || prio > DLOG_SILENT)
		return DLOG_ERROR_INVALID_PARAMETER;
	// Most lines go nowhere on the host (informational, no log file, no capture): don't pay for
	// formatting them; the library logs on its hot paths.
	if (!g_capturing && prio < DLOG_ERROR) {
		const char *logFile = logFileSetting();
		if (!logFile || !*logFile)
			return 0;
	}
	// Most lines fit on the stack; a longer one is formatted again into a string of its length.
	char line[512];
	va_list again;
	va_copy(again, ap);
	int length = vsnprintf(line, sizeof line, fmt, ap);
	std::string message;
	if (length >= 0 && (size_t)length < sizeof line) {
		message.assign(line, (size_t)length);
	} else if (length >= 0) {
		message.resize((size_t)length);
		vsnprintf(&message[0], (size_t)length + 1, fmt, again);
	}
	va_end(again);
	// A line ends at its first NUL ("%c" of zero), as a C string would.
	message.resize(strlen(message.c_str()));
	length = (int)message.size();
	if (prio != DLOG_SILENT)
		emit(prio, tag ? tag : "", message);
	return length;
}

} // namespace

void logReset()
{
	g_captured.clear();
	g_capturing = false;
	g_logFile.close();
}

void platformLog(int prio, const char *tag, const char *fmt, ...)
{
	va_list ap;
	va_start(ap, fmt);
	vprint(prio, tag, fmt, ap);
	va_end(ap);
}

} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("dlog_print", "dlog_vprint", "__dlog_print", "__dlog_vprint");

ZON_HOST_API int dlog_print(log_priority prio, const char *tag, const char *fmt, ...)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	va_list ap;
	va_start(ap, fmt);
	int ret = vprint(prio, tag, fmt, ap);
	va_end(ap);
	return ret;
}

ZON_HOST_API int dlog_vprint(log_priority prio, const char *tag, const char *fmt, va_list ap)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return vprint(prio, tag, fmt, ap);
}

ZON_HOST_API int __dlog_print(log_id_t log_id, int prio, const char *tag, const char *fmt, ...)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (log_id <= LOG_ID_INVALID || log_id >= LOG_ID_MAX)
		return DLOG_ERROR_INVALID_PARAMETER;
	va_list ap;
	va_start(ap, fmt);
	int ret = vprint(prio, tag, fmt, ap);
	va_end(ap);
	return ret;
}

ZON_HOST_API int __dlog_vprint(log_id_t log_id, int prio, const char *tag, const char *fmt, va_list ap)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (log_id <= LOG_ID_INVALID || log_id >= LOG_ID_MAX)
		return DLOG_ERROR_INVALID_PARAMETER;
	return vprint(prio, tag, fmt, ap);
}

ZON_HOST_API void zon_host_log_capture(bool on)
{
	if (on)
		g_captured.clear();
	g_capturing = on;
}

ZON_HOST_API size_t zon_host_log_count(void)
{
	return g_captured.size();
}

ZON_HOST_API const char *zon_host_log_line(size_t i, int *priority, const char **tag)
{
	if (i >= g_captured.size())
		return nullptr;
	const Captured &line = g_captured[i];
	if (priority)
		*priority = line.priority;
	if (tag)
		*tag = line.tag.c_str();
	return line.message.c_str();
}

ZON_HOST_API size_t zon_host_log_count_matching(const char *needle)
{
	if (!needle)
		return 0;
	size_t count = 0;
	for (const Captured &line : g_captured) {
		if (line.message.find(needle) != std::string::npos)
			++count;
	}
	return count;
}

ZON_HOST_API bool zon_host_log_contains(const char *needle)
{
	return zon_host_log_count_matching(needle) > 0;
}

ZON_HOST_API void zon_host_log_clear(void)
{
	g_captured.clear();
}

ZON_HOST_MODULE("log", ResetRank::Log, [] {
	logReset();
	return 0;
});
