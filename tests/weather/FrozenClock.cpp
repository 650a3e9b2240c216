// The weather cache judges age by the wall clock, to the second. A test that read the real clock
// would fail whenever a second boundary fell between its setup and the library's own reading, so
// the suites pin the clock instead: this definition of time() takes precedence over the C
// library's for every caller in the process, the shared library under test included.
#include <time.h>

#include "WeatherTestSupport.h"

namespace {

time_t gPinnedAt = 0;   // 0: not pinned

}

void pinWallClock(time_t now)
{
	gPinnedAt = now;
}

void unpinWallClock()
{
	gPinnedAt = 0;
}

extern "C" time_t time(time_t* out) noexcept
{
	time_t now = gPinnedAt;
	if (!now) {
		timespec real;
		clock_gettime(CLOCK_REALTIME, &real);
		now = real.tv_sec;
	}
	if (out)
		*out = now;
	return now;
}
