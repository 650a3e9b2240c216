// The definitions below take precedence over the C library's for every caller in the process
// (the executable comes first in symbol lookup), the shared libraries under test included. The
// sanitizer runtimes intercept the same functions; a definition in the executable wins over
// their interceptors too (TestClockTest checks it in both builds).
#include "TestClock.h"

#include <dlfcn.h>
#include <sys/time.h>

#include <atomic>

namespace {

std::atomic<time_t> gSetAt{-1};   // -1: not set

using ClockGettime = int (*)(clockid_t, struct timespec*);

// The C library's (or a sanitizer's) clock_gettime, for the real time and the other clocks.
int realClockGettime(clockid_t clock, struct timespec* out)
{
	static const ClockGettime next = reinterpret_cast<ClockGettime>(dlsym(RTLD_NEXT, "clock_gettime"));
	return next(clock, out);
}

}

namespace TestClock {

void set(time_t epoch) { gSetAt = epoch; }

void advance(long seconds)
{
	time_t at = gSetAt;
	if (at != -1)
		gSetAt = at + seconds;
}

void release() { gSetAt = -1; }

}

extern "C" int clock_gettime(clockid_t clock, struct timespec* out) noexcept
{
	time_t at = gSetAt;
	if (at == -1 || (clock != CLOCK_REALTIME && clock != CLOCK_REALTIME_COARSE))
		return realClockGettime(clock, out);
	out->tv_sec = at;
	out->tv_nsec = 0;
	return 0;
}

extern "C" int gettimeofday(struct timeval* out, void*) noexcept
{
	struct timespec now;
	clock_gettime(CLOCK_REALTIME, &now);
	out->tv_sec = now.tv_sec;
	out->tv_usec = now.tv_nsec / 1000;
	return 0;
}

extern "C" time_t time(time_t* out) noexcept
{
	struct timespec now;
	clock_gettime(CLOCK_REALTIME, &now);
	if (out)
		*out = now.tv_sec;
	return now.tv_sec;
}
