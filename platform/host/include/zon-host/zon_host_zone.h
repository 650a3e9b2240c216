/**
 * @file
 * zon_host_zone.h - the device's own time zone and the zone rules ICU reads.
 *
 * The device's own time zone. The link fs/opt/etc/localtime under the root is the one place it
 * lives: from the first use of a device (and after every zon_host_reset()), it is what the C
 * library and ICU take as local, as /opt/etc/localtime is on the watch. The desktop's TZ only
 * chooses the zone of a new device; it is removed from the environment when the device opens.
 * Programs linked with zon-host have tzset(), localtime() and mktime() wrapped so that an unset
 * TZ means the device's zone, not /etc/localtime, while TZ stays unset.
 *
 * zon_host_set_device_zone() sets it, all together: the link, the vconf key
 * VCONFKEY_SETAPPL_TIMEZONE_ID (its change callbacks fire) and the local zone of the C library
 * and ICU. `zone` is an Olson id with a file under /usr/share/zoneinfo ("Asia/Kolkata");
 * anything else is refused with an error log line. Returns 0, or -1 when nothing or not all
 * could be set.
 *
 * Ownership: the answered strings belong to the host.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example:
 *   zon_host_set_device_zone("Asia/Kolkata");
 *   time_t now = time(NULL);
 *   struct tm local;
 *   localtime_r(&now, &local);                // in Kolkata now, as ICU's default zone is
 */
#ifndef ZON_HOST_ZON_HOST_ZONE_H
#define ZON_HOST_ZON_HOST_ZONE_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Sets the device's zone (see above). */
int zon_host_set_device_zone(const char *zone);

/** The zone id the device's link names ("Europe/Berlin"); "" when the device has no link (the
 * C library and ICU then take UTC). Valid until the next call. */
const char *zon_host_device_zone(void);

/** The directory of the zone rules ICU reads: built at build time from the machine's tzdata
 * (tools/tzdata), installed beside the library as share/zon-host/icu-tz. A program that uses
 * the library cannot bypass it: the library points ICU there while it loads. When the machine's
 * tzdata (the version line of /usr/share/zoneinfo/tzdata.zi, or of the file $ZON_HOST_TZDATA
 * names) is not what these rules were built from, opening a device logs a warning; rebuilding
 * picks the new tzdata up. */
const char *zon_host_icu_zone_dir(void);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_ZONE_H */
