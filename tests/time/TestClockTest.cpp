#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>

#include <glib.h>
#include <gtest/gtest.h>
#include <unicode/ucal.h>

#include "TestClock.h"

// Every way a library here reads the wall clock, in seconds.
static void expectEveryWallClockAt(time_t expected)
{
	struct timeval tv;
	gettimeofday(&tv, nullptr);
	struct timespec coarse;
	clock_gettime(CLOCK_REALTIME_COARSE, &coarse);
	EXPECT_EQ(expected, time(nullptr));
	EXPECT_EQ(expected, tv.tv_sec);
	EXPECT_EQ(expected, coarse.tv_sec);
	EXPECT_EQ(expected, static_cast<time_t>(ucal_getNow() / 1000));
	EXPECT_EQ(expected, g_get_real_time() / G_USEC_PER_SEC);
	EXPECT_EQ(expected, std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
}

// Also proves the override wins over the sanitizers' interceptors in that build.
TEST(TestClock, SetsEveryWallClockButNotTheMonotonicOne)
{
	const time_t at = 1768478400;
	TestClock::set(at);
	expectEveryWallClockAt(at);
	TestClock::advance(-90);
	expectEveryWallClockAt(at - 90);

	gint64 before = g_get_monotonic_time();
	usleep(2000);
	EXPECT_GE(g_get_monotonic_time() - before, 2000);

	TestClock::release();
	TestClock::advance(5);   // no effect on the real clock
	struct timespec kernel;   // asked of the kernel itself, past every override
	syscall(SYS_clock_gettime, CLOCK_REALTIME, &kernel);
	EXPECT_LE(kernel.tv_sec, time(nullptr));
	EXPECT_LE(time(nullptr) - kernel.tv_sec, 1);
}
