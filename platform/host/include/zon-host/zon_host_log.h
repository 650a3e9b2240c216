/**
 * @file
 * zon_host_log.h - the dlog lines a test reads back.
 *
 * Log capture. While capture is on, every dlog line (any priority) is kept in memory besides
 * being written as usual. Starting a capture clears what was captured before.
 * zon_host_log_line() returns the formatted message (without tag and priority) of line i, and
 * its priority and tag through the optional out-parameters; NULL when i is out of range.
 * The strings stay valid until the captured lines are cleared (zon_host_log_clear(),
 * zon_host_log_capture(true), zon_host_reset()).
 *
 * Ownership: answered strings belong to the host.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example:
 *   zon_host_log_capture(true);
 *   dlog_print(DLOG_WARN, "TAG", "%d cities", 3);
 *   EXPECT_TRUE(zon_host_log_contains("3 cities"));   // also zon_host_log_line(0, &prio, &tag)
 */
#ifndef ZON_HOST_ZON_HOST_LOG_H
#define ZON_HOST_ZON_HOST_LOG_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** @{ */
void zon_host_log_capture(bool on);
size_t zon_host_log_count(void);
const char *zon_host_log_line(size_t i, int *priority, const char **tag);
bool zon_host_log_contains(const char *needle);   /**< any captured message contains needle */
size_t zon_host_log_count_matching(const char *needle);
void zon_host_log_clear(void);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_LOG_H */
