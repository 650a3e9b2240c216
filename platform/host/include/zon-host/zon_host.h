/**
 * @file
 * zon_host.h - control API of the host port, all of it.
 *
 * zon-host implements the watch platform's C APIs (dlog, app_common, app_preference, vconf,
 * system_info, ...) on desktop Linux. The control API is what tests and zonclock use to play
 * the rest of the device. It comes in one header per area, each documented at its top; this
 * one includes them all:
 *   zon_host_device.h    the device root, zon_host_reset(), the application id, the main loop,
 *                        platform features, unsetting settings
 *   zon_host_zone.h      the device's own time zone, the zone rules ICU reads
 *   zon_host_log.h       capturing dlog lines
 *   zon_host_faults.h    injecting failures into platform functions
 *   zon_host_apps.h      stand-in applications, recorded launches and replies
 *   zon_host_alarms.h    pending alarms, firing one now
 *   zon_host_standins.h  the shipped stand-ins: weather agent, service, phone companion
 *   zon_host_services.h  installed packages, the changeable theme, the usage log, the bezel
 *   zon_host_cloud.h     cloud backup and restore sessions
 *   zon_host_toolkit.h   the toolkit's theme, back key, bezel and screen reader (in
 *                        libzon-host-toolkit)
 *
 * Threading: like the platform APIs it stands in for, everything runs on the thread of GLib's
 * default main context only.
 *
 * Example (a test):
 *   setenv("ZON_HOST_ROOT", tmpdir, 1);
 *   zon_host_reset();
 *   zon_host_log_capture(true);
 *   preference_set_int("k", 1);
 *   zon_host_pump(100);                       // delivers the change callbacks
 *   zon_host_fault_inject("preference_set_int", 1, PREFERENCE_ERROR_IO_ERROR);
 *   preference_set_int("k", 2);               // fails once with that error
 */
#ifndef ZON_HOST_ZON_HOST_H
#define ZON_HOST_ZON_HOST_H

#include "zon_host_device.h"
#include "zon_host_zone.h"
#include "zon_host_log.h"
#include "zon_host_faults.h"
#include "zon_host_apps.h"
#include "zon_host_alarms.h"
#include "zon_host_standins.h"
#include "zon_host_services.h"
#include "zon_host_cloud.h"
#include "zon_host_toolkit.h"

#endif /* ZON_HOST_ZON_HOST_H */
