/*
 * zone.cpp - the device's own time zone and the zone rules ICU reads.
 *
 * On the device, ICU and the C library read the same zone rules, and /opt/etc/localtime is what
 * both take as local. The host keeps that in two ways:
 *
 * - ICU is pointed at rules built from the machine's tzdata (tools/tzdata) by a constructor of
 *   this library, so no program linked with it can load zone data before the redirection.
 *
 * - The device's zone is <root>/fs/opt/etc/localtime. The time utilities set TZ to a city, work,
 *   then unset TZ and call tzset(), and callers rely on TZ being unset afterwards. With TZ unset
 *   the C library reads /etc/localtime, the desktop's zone, not the device's. Programs linked
 *   with zon-host are linked with --wrap for tzset, localtime and mktime (the calls that reload
 *   the zone from the environment): while TZ is unset, those run with TZ naming the device's link
 *   for the length of the call and unset again, so the C library's zone is the device's and TZ
 *   stays unset as the caller left it. Every other time function uses what the last of them
 *   loaded. Keeping TZ set to the device's zone instead would break the "TZ unset afterwards"
 *   that the time utilities promise; defining tzset() here for the dynamic loader to find would
 *   only win when it happens to search this library before the C library, while --wrap binds
 *   the calls when the program or library is linked. The device's zone holds from the first use
 *   of a device (root()), which also removes the desktop's TZ from the environment.
 */
#include "host_internal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <unicode/putil.h>
#include <unicode/timezone.h>

#include "dlog.h"
#include "vconf.h"
#include "zon_platform.h"

namespace zonhost {

namespace {

const char kTag[] = "ZON_HOST";
const char kZoneInfo[] = "/usr/share/zoneinfo/";

bool isFile(const std::string &path)
{
	struct stat st;
	return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Beside the installed library first (share/zon-host/icu-tz), else the build tree's.
std::string icuZoneDir()
{
	std::string installed = besideHostLibrary(ZON_HOST_ICU_TZ_FROM_LIBDIR);
	if (!installed.empty() && isFile(installed + "/zoneinfo64.res"))
		return installed;
	return ZON_HOST_ICU_TZ_BUILD_DIR;
}

const std::string &icuZoneDirInUse()
{
	static const std::string dir = icuZoneDir();
	return dir;
}

__attribute__((constructor)) void pointIcuAtMachineRules()
{
	UErrorCode status = U_ZERO_ERROR;
	u_setTimeZoneFilesDirectory(icuZoneDirInUse().c_str(), &status);
}

std::string linkPath()
{
	return root() + "/fs/opt/etc/localtime";
}

// Runs `call` with the C library's zone being the device's: TZ names the device's link for the
// length of the call when the caller left it unset.
template <typename Call>
auto inDeviceZone(Call call) -> decltype(call())
{
	// No device open yet: the process is still the desktop's, and a time call must not create one.
	if (getenv("TZ") || !deviceOpen())
		return call();
	std::string deviceTz = ":" + linkPath();
	setenv("TZ", deviceTz.c_str(), 1);
	auto result = call();
	unsetenv("TZ");
	return result;
}

// Read at every device open; stdio, as a file stream would set up its locale for one line.
std::string firstLine(const std::string &path)
{
	std::string line;
	FILE *in = fopen(path.c_str(), "re");
	if (!in)
		return line;
	char part[256];
	while (fgets(part, sizeof part, in)) {
		line += part;
		if (!line.empty() && line.back() == '\n') {
			line.pop_back();
			break;
		}
	}
	fclose(in);
	return line;
}

} // namespace

bool isZoneName(const std::string &zone)
{
	if (zone.empty() || zone[0] == '/' || zone.find("..") != std::string::npos)
		return false;
	return isFile(kZoneInfo + zone);
}

bool linkDeviceZone(const std::string &zone)
{
	std::string etc = root() + "/fs/opt/etc";
	if (!ensureDir(etc))
		return false;
	std::string link = linkPath();
	std::string temporary = link + ".new";
	unlink(temporary.c_str());
	if (symlink((kZoneInfo + zone).c_str(), temporary.c_str()) != 0 || rename(temporary.c_str(), link.c_str()) != 0) {
		platformLog(DLOG_ERROR, kTag, "cannot link %s to %s: %s", link.c_str(), zone.c_str(), g_strerror(errno));
		unlink(temporary.c_str());
		return false;
	}
	return true;
}

std::string deviceZoneId()
{
	gchar *target = g_file_read_link(linkPath().c_str(), nullptr);
	if (!target)
		return std::string();
	std::string zone = zoneFromPath(target);
	g_free(target);
	return zone;
}

void applyDeviceZone()
{
	// The same TZ text as the last load would not make the C library read the link again.
	setenv("TZ", "UTC0", 1);
	::tzset();
	unsetenv("TZ");
	inDeviceZone([] {
		::tzset();
		return 0;
	});
	std::string zone = deviceZoneId();
	// A device without its link is on UTC, as the C library is then.
	icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone(zone.empty() ? "Etc/UTC" : zone.c_str()));
}

std::string besideHostLibrary(const char *relative)
{
	Dl_info self;
	if (!dladdr(reinterpret_cast<void *>(&besideHostLibrary), &self) || !self.dli_fname)
		return std::string();
	gchar *libDir = g_path_get_dirname(self.dli_fname);
	std::string path = std::string(libDir) + "/" + relative;
	g_free(libDir);
	return path;
}

void deviceLocalTime(time_t t, struct tm *out)
{
	inDeviceZone([t, out] {
		::tzset();
		return ::localtime_r(&t, out);
	});
}

void checkZoneRules()
{
	UErrorCode status = U_ZERO_ERROR;
	const char *icuVersion = icu::TimeZone::getTZDataVersion(status);
	// ZON_HOST_TZDATA names another tz source to compare with (tests play an upgrade with it).
	const char *source = getenv("ZON_HOST_TZDATA");
	std::string machine = firstLine(source && *source ? source : ZON_HOST_TZDATA_SOURCE);
	const char kPrefix[] = "# version ";
	if (machine.compare(0, sizeof(kPrefix) - 1, kPrefix) == 0)
		machine.erase(0, sizeof(kPrefix) - 1);
	if (U_FAILURE(status) || !isFile(icuZoneDirInUse() + "/zoneinfo64.res")) {
		platformLog(DLOG_ERROR, kTag, "no zone rules in %s: ICU uses its own copy (tz %s)", icuZoneDirInUse().c_str(),
				U_FAILURE(status) ? "?" : icuVersion);
		return;
	}
	if (!machine.empty() && machine != icuVersion)
		platformLog(DLOG_WARN, kTag,
				"the machine's tzdata is %s but ICU's zone rules in %s were built from %s: rebuild zon-host "
				"(target zon-icu-tz) to use the new rules",
				machine.c_str(), icuZoneDirInUse().c_str(), icuVersion);
}

} // namespace zonhost

using namespace zonhost;

ZON_HOST_API int zon_host_set_device_zone(const char *zone)
{
	if (!zone || !isZoneName(zone)) {
		platformLog(DLOG_ERROR, kTag, "unknown time zone \"%s\"", zone ? zone : "(null)");
		return -1;
	}
	// The setting first: its unset value follows the link, and a change is only notified as one
	// while the link still names the old zone.
	int rc = vconf_set_str(VCONFKEY_SETAPPL_TIMEZONE_ID, zone);
	if (!linkDeviceZone(zone))
		return -1;
	applyDeviceZone();
	return rc == 0 ? 0 : -1;
}

ZON_HOST_API const char *zon_host_device_zone(void)
{
	static std::string zone;
	zone = deviceZoneId();
	return zone.c_str();
}

ZON_HOST_API const char *zon_host_icu_zone_dir(void)
{
	return icuZoneDirInUse().c_str();
}

ZON_HOST_API void __wrap_tzset(void)
{
	inDeviceZone([] {
		::tzset();
		return 0;
	});
}

ZON_HOST_API struct tm *__wrap_localtime(const time_t *t)
{
	return inDeviceZone([t] { return ::localtime(t); });
}

ZON_HOST_API time_t __wrap_mktime(struct tm *tm)
{
	return inDeviceZone([tm] { return ::mktime(tm); });
}
