/*
 * TestClock.h - the wall clock of the test process, set by the test.
 *
 * Linking TestClock.cpp into a test binary replaces time(), gettimeofday() and
 * clock_gettime(CLOCK_REALTIME, CLOCK_REALTIME_COARSE) for every caller in the process: the
 * library under test, ICU's "now" and GLib's wall clock all read the same instant. Other clocks
 * (CLOCK_MONOTONIC, on which GLib's main loop and timers run) pass through to the C library, so
 * pumping the main loop works as usual while the wall clock stands still.
 *
 * Until set() is called, and again after release(), the real clock is read.
 *
 *   TestClock::set(1768478400);   // 2026-01-15 12:00:00 UTC, standing still
 *   TestClock::advance(3600);     // an hour later, still standing
 *   TestClock::release();         // from the fixture's TearDown
 *
 * Threading: the instant is one atomic; set it from the test's thread.
 * Scope: this process only. A test that runs another program (tests/zonclock) cannot set that
 * program's clock this way; it needs a preloaded clock such as libfaketime.
 */
#ifndef ZON_TESTS_TEST_CLOCK_H
#define ZON_TESTS_TEST_CLOCK_H

#include <time.h>

namespace TestClock {

// From now on the wall clock reads `epoch` (seconds since 1970, no fraction) until moved.
void set(time_t epoch);
// Moves a set clock by `seconds` (negative: back); the real clock is left alone.
void advance(long seconds);
// The real clock again.
void release();

}

#endif /* ZON_TESTS_TEST_CLOCK_H */
