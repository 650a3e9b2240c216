// The C library's broken-down clock of a zone at an instant, leaving TZ unset as it found it
// (the device's zone then stays the local one).
#ifndef ZON_TESTS_ZONE_CLOCK_H
#define ZON_TESTS_ZONE_CLOCK_H

#include <stdlib.h>
#include <time.h>

inline struct tm zoneClock(const char *zone, time_t t)
{
	setenv("TZ", zone, 1);
	tzset();
	struct tm local;
	localtime_r(&t, &local);
	unsetenv("TZ");
	tzset();
	return local;
}

#endif // ZON_TESTS_ZONE_CLOCK_H
