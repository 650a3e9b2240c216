// app_trellis::WTimer: repetition until the handler says no, ending from outside and from inside
// the handler, firing at once, and what the weak pointers see.

#include <WTimer.h>

#include "UiFixture.h"

using app_trellis::WTimer;
using app_trellis::WTimerWeakPtr;

class WTimerTest : public UiFixture {};

TEST_F(WTimerTest, RepeatsUntilTheHandlerSaysNoFiresAtOnceRefusesBadTimersAndIsDestroyedAnywhere)
{
	int calls = 0, data = 7, seen = 0;
	WTimerWeakPtr timer = WTimer::addTimer(0.02, [&](void* d) {
		seen = *static_cast<int*>(d);
		return ++calls < 3;
	}, &data, "three");
	ASSERT_FALSE(timer.expired());
	EXPECT_EQ("three", timer.lock()->getName());
	EXPECT_EQ(1u, WTimer::getCount());
	ASSERT_TRUE(pumpUntil([&] { return timer.expired(); }));
	pump(0.1);
	EXPECT_EQ(3, calls);
	EXPECT_EQ(7, seen);

	EXPECT_TRUE(WTimer::addTimer(-1.0, [](void*) { return false; }).expired());
	EXPECT_TRUE(WTimer::addTimer(1.0, WTimer::Handler()).expired());
	EXPECT_EQ(0u, WTimer::getCount());
	EXPECT_EQ(2u, zon_host_log_count_matching("invalid timer"));

	// fire() runs the handler now and restarts the interval.
	calls = 0;
	bool again = true;
	timer = WTimer::addTimer(30.0, [&](void*) {
		++calls;
		return again;
	});
	EXPECT_TRUE(timer.lock()->fire());
	EXPECT_GT(timer.lock()->getPending(), 29.0);
	again = false;
	EXPECT_FALSE(timer.lock()->fire());
	EXPECT_EQ(2, calls);
	EXPECT_TRUE(timer.expired());

	// Destroyed from outside, or by its own handler.
	auto captured = std::make_shared<int>(0);
	std::weak_ptr<int> watch = captured;
	bool ran = false;
	timer = WTimer::addTimer(0.01, [captured, &ran](void*) { return ran = true; });
	captured.reset();
	WTimerWeakPtr other = timer;
	WTimer::destroy(timer);
	// It releases its handler at once and never runs.
	EXPECT_TRUE(other.expired() && watch.expired());
	// Destroying again, or an empty pointer, is harmless.
	WTimer::destroy(other);
	WTimerWeakPtr empty;
	WTimer::destroy(empty);

	calls = 0;
	auto self = std::make_shared<WTimerWeakPtr>();
	*self = WTimer::addTimer(0.01, [self, &calls](void*) {
		++calls;
		WTimerWeakPtr mine = *self;
		WTimer::destroy(mine);
		return true;
	});
	ASSERT_TRUE(pumpUntil([&] { return self->expired(); }));
	pump(0.05);
	EXPECT_EQ(1, calls);
	EXPECT_FALSE(ran);
}
