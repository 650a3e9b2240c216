// WSignal's delivery rules when listeners change the signal they are called from, and the ids
// behind them. Binding to toolkit objects is in SignalObjectTest.cpp.

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <WSignal.h>
#include <WSignalIdGenerator.h>

#include "HostFixture.h"

using app_trellis::WSignal;
using Signal = WSignal<void(int)>;
using Trace = std::vector<std::string>;

namespace {

// A listener that records "<name><event>" into the trace, then runs an optional action.
Signal::Callback recorder(Trace& trace, const std::string& name, std::function<void(int)> action = nullptr)
{
	return [&trace, name, action](int event) {
		trace.push_back(name + std::to_string(event));
		if (action)
			action(event);
	};
}

bool loggedAlreadyRemoved(WSignal_ListenerId id)
{
	std::string needle = "Already removed listener! =" + std::to_string(id);
	for (size_t i = 0; i < zon_host_log_count(); ++i) {
		const char* tag = nullptr;
		const char* line = zon_host_log_line(i, nullptr, &tag);
		if (std::string(line).find(needle) != std::string::npos && std::string(tag) == "WAPP")
			return true;
	}
	return false;
}

}

class SignalReentrancy : public HostFixture {};

TEST_F(SignalReentrancy, SelfRemovalDuringEmission)
{
	Signal signal;
	Trace trace;
	WSignal_ListenerId self = 0;
	signal.addListener(recorder(trace, "a"));
	self = signal.addListener(recorder(trace, "self", [&](int) {
		signal.removeListener(self);
		EXPECT_FALSE(signal.isValid(self));
		// Emitting again from inside must not reach the removed listener either (else this
		// would never end).
		signal.emit(9);
	}));
	signal.addListener(recorder(trace, "c"));

	signal.emit(1);
	EXPECT_EQ((Trace{"a1", "self1", "a9", "c9", "c1"}), trace);
	EXPECT_EQ(2, signal.getListenerCount());

	trace.clear();
	signal.emit(2);
	EXPECT_EQ((Trace{"a2", "c2"}), trace);
	EXPECT_FALSE(loggedAlreadyRemoved(self));
	signal.removeListener(self);
	EXPECT_TRUE(loggedAlreadyRemoved(self));
}

TEST_F(SignalReentrancy, RemovalOfOtherListenersDuringEmission)
{
	Signal signal;
	Trace trace;
	WSignal_ListenerId first = 0, later = 0;
	first = signal.addListener(recorder(trace, "first"));
	signal.addListener(recorder(trace, "remover", [&](int) {
		signal.removeListener(later);
		signal.removeListener(first);   // already called in this emission
	}));
	later = signal.addListener(recorder(trace, "later"));
	signal.addListener(recorder(trace, "last"));

	signal.emit(1);
	EXPECT_EQ((Trace{"first1", "remover1", "last1"}), trace);
	EXPECT_FALSE(signal.isValid(first));
	EXPECT_FALSE(signal.isValid(later));

	trace.clear();
	signal.emit(2);
	EXPECT_EQ((Trace{"remover2", "last2"}), trace);
	EXPECT_TRUE(loggedAlreadyRemoved(later));
}

TEST_F(SignalReentrancy, AddingDuringEmissionWaitsForTheNextEvent)
{
	Signal signal;
	Trace trace;
	WSignal_ListenerId added = 0;
	signal.addListener(recorder(trace, "adder", [&](int event) {
		if (event != 1)
			return;
		added = signal.addListener(recorder(trace, "added"));
		EXPECT_TRUE(signal.isValid(added));
		EXPECT_EQ(3, signal.getListenerCount());
		// Not active yet, so out of removeListener()'s reach: logged and kept.
		signal.removeListener(added);
		EXPECT_TRUE(loggedAlreadyRemoved(added));
		EXPECT_TRUE(signal.isValid(added));
	}));
	signal.addListener(recorder(trace, "b"));

	signal.emit(1);
	EXPECT_EQ((Trace{"adder1", "b1"}), trace);

	trace.clear();
	signal.emit(2);
	EXPECT_EQ((Trace{"adder2", "b2", "added2"}), trace);
	signal.removeListener(added);
	EXPECT_EQ(2, signal.getListenerCount());
}

TEST_F(SignalReentrancy, CallOrderFollowsIdsWhateverTheRemovalsAndReadds)
{
	Signal signal;
	Trace trace;
	std::vector<WSignal_ListenerId> ids;
	for (const char* name : {"a", "b", "c", "d", "e"})
		ids.push_back(signal.addListener(recorder(trace, name)));
	signal.removeListener(ids[3]);
	signal.removeListener(ids[1]);
	WSignal_ListenerId f = signal.addListener(recorder(trace, "f"));
	signal.removeListener(ids[0]);
	WSignal_ListenerId g = signal.addListener(recorder(trace, "g"));
	EXPECT_LT(ids[4], f);
	EXPECT_LT(f, g);
	for (WSignal_ListenerId id : ids)
		EXPECT_NE(0u, id);

	signal.emit(0);
	EXPECT_EQ((Trace{"c0", "e0", "f0", "g0"}), trace);
}

TEST_F(SignalReentrancy, NestedEmissionDefersBookkeepingToTheOutermost)
{
	Signal signal;
	Trace trace;
	WSignal_ListenerId victim = 0, inner = 0;
	signal.addListener(recorder(trace, "nest", [&](int event) {
		if (event == 1)
			signal.emit(2);
	}));
	signal.addListener(recorder(trace, "mid", [&](int event) {
		if (event != 2)
			return;
		signal.removeListener(victim);
		inner = signal.addListener(recorder(trace, "inner"));
	}));
	victim = signal.addListener(recorder(trace, "victim"));
	signal.addListener(recorder(trace, "tail"));

	signal.emit(1);
	// The removal inside the nested emission holds for the rest of the outer one; the addition
	// waits until the outer one is over.
	EXPECT_EQ((Trace{"nest1", "nest2", "mid2", "tail2", "mid1", "tail1"}), trace);

	trace.clear();
	signal.emit(3);
	EXPECT_EQ((Trace{"nest3", "mid3", "tail3", "inner3"}), trace);
}

TEST_F(SignalReentrancy, RemoveAllDuringEmission)
{
	Signal signal;
	Trace trace;
	signal.addListener(recorder(trace, "clear", [&](int event) {
		if (event != 1)
			return;
		signal.addListener(recorder(trace, "dropped"));
		signal.removeAllListeners();
		EXPECT_EQ(0, signal.getListenerCount());
		signal.addListener(recorder(trace, "afterClear"));
	}));
	signal.addListener(recorder(trace, "skipped"));

	signal.emit(1);
	EXPECT_EQ((Trace{"clear1"}), trace);
	trace.clear();
	signal.emit(2);
	EXPECT_EQ((Trace{"afterClear2"}), trace);
}

TEST_F(SignalReentrancy, DestroyedByItsOwnListener)
{
	for (int depth : {1, 2}) {
		SCOPED_TRACE(depth == 1 ? "plain emission" : "nested emission");
		auto* signal = new Signal;
		Trace trace;
		auto captured = std::make_shared<int>(0);
		std::weak_ptr<int> watch = captured;
		signal->addListener([signal, depth, &trace](int event) {
			trace.push_back("nest" + std::to_string(event));
			if (event < depth)
				signal->emit(event + 1);
		});
		signal->addListener([signal, captured, watch, &trace](int event) {
			trace.push_back("killer" + std::to_string(event));
			delete signal;
			// Its own callable, and what it captured, outlive the call.
			EXPECT_FALSE(watch.expired());
		});
		captured.reset();
		signal->addListener(recorder(trace, "never"));

		signal->emit(1);
		EXPECT_TRUE(watch.expired());
		EXPECT_EQ(depth == 1 ? (Trace{"nest1", "killer1"}) : (Trace{"nest1", "nest2", "killer2"}), trace);
	}
}

TEST_F(SignalReentrancy, ThrowingListenerStillEndsTheEmission)
{
	Signal signal;
	Trace trace;
	WSignal_ListenerId removed = 0, added = 0;
	signal.addListener(recorder(trace, "a", [&](int event) {
		if (event == 1) {
			signal.removeListener(removed);
			added = signal.addListener(recorder(trace, "added"));
		}
	}));
	WSignal_ListenerId empty = signal.addListener(Signal::Callback());
	removed = signal.addListener(recorder(trace, "removed"));

	EXPECT_THROW(signal.emit(1), std::bad_function_call);
	signal.removeListener(empty);
	EXPECT_FALSE(signal.isValid(removed));
	EXPECT_TRUE(signal.isValid(added));

	trace.clear();
	signal.emit(2);
	EXPECT_EQ((Trace{"a2", "added2"}), trace);
	EXPECT_FALSE(loggedAlreadyRemoved(empty));
}

TEST(SignalIdGenerator, NeverZeroNeverAnIdInUse)
{
	app_trellis::WSignalIdPool full(0xFFFFFFFFu);
	EXPECT_EQ(0xFFFFFFFFu, full.generate());
	EXPECT_EQ(1u, full.generate());

	app_trellis::WSignalIdPool pool(1, 4);
	for (WSignal_ListenerId expected = 1; expected <= 4; ++expected)
		EXPECT_EQ(expected, pool.generate());
	EXPECT_EQ(0u, pool.generate());   // exhausted
	pool.release(3);
	pool.release(0);
	pool.release(7);
	EXPECT_EQ(3u, pool.generate());   // after the wrap, 1 and 2 are still held
	pool.release(1);
	pool.release(4);
	EXPECT_EQ(4u, pool.generate());
	EXPECT_EQ(1u, pool.generate());
	EXPECT_EQ(4u, pool.getInUseCount());
}
