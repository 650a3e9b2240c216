// WSignal's delivery rules when listeners change the signal they are called from, the ids behind
// them, and listeners bound to the lifetime of real toolkit objects. The sanitizer builds are what
// make the bindings bite: a deletion callback left on an object after its listener is gone is a
// use-after-free the moment the object is deleted.

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <WSignal.h>
#include <WSignalIdGenerator.h>

#include "HostFixture.h"
#include "ToolkitFixture.h"

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
		if (std::string(zon_host_log_line(i, nullptr, &tag)).find(needle) != std::string::npos)
			return std::string(tag) == "WAPP";
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

class SignalObjectBinding : public ToolkitFixture {
protected:
	Evas_Object* button() { return elm_button_add(window()); }
	Evas_Object* rectangle() { return evas_object_rectangle_add(evas()); }
};

TEST_F(SignalObjectBinding, DeletingTheObjectRemovesItsListeners)
{
	Signal signal;
	Trace trace;
	Evas_Object* shared = button();
	signal.addListener(recorder(trace, "free"));
	WSignal_ListenerId first = signal.addListener(recorder(trace, "first"), shared);
	WSignal_ListenerId second = signal.addListener(recorder(trace, "second"), shared);
	Evas_Object* other = rectangle();
	signal.addListener(recorder(trace, "other"), other);

	evas_object_del(shared);
	EXPECT_FALSE(signal.isValid(first));
	EXPECT_FALSE(signal.isValid(second));
	EXPECT_EQ(2, signal.getListenerCount());
	signal.emit(1);
	EXPECT_EQ((Trace{"free1", "other1"}), trace);

	signal.removeListener(first);
	EXPECT_TRUE(zon_host_log_contains(("Already removed listener! =" + std::to_string(first)).c_str()));
}

TEST_F(SignalObjectBinding, ObjectsDeletedDuringEmission)
{
	Signal signal;
	Trace trace;
	Evas_Object* own = button();
	Evas_Object* later = rectangle();
	Evas_Object* earlier = rectangle();
	signal.addListener(recorder(trace, "earlier"), earlier);
	WSignal_ListenerId self = signal.addListener(recorder(trace, "deleter", [&](int event) {
		if (event != 1)
			return;
		evas_object_del(later);
		evas_object_del(earlier);
		evas_object_del(own);   // the object of the listener that is running
	}), own);
	WSignal_ListenerId skipped = signal.addListener(recorder(trace, "later"), later);
	signal.addListener(recorder(trace, "tail"));

	signal.emit(1);
	EXPECT_EQ((Trace{"earlier1", "deleter1", "tail1"}), trace);
	EXPECT_FALSE(signal.isValid(self));
	EXPECT_FALSE(signal.isValid(skipped));

	trace.clear();
	signal.emit(2);
	EXPECT_EQ((Trace{"tail2"}), trace);
	EXPECT_EQ(1, signal.getListenerCount());
}

TEST_F(SignalObjectBinding, ObjectDeletedBeforeItsListenerBecameActive)
{
	Signal signal;
	Trace trace;
	Evas_Object* object = button();
	WSignal_ListenerId pending = 0;
	signal.addListener(recorder(trace, "adder", [&](int event) {
		if (event != 1)
			return;
		pending = signal.addListener(recorder(trace, "pending"), object);
		evas_object_del(object);
		EXPECT_FALSE(signal.isValid(pending));
	}));

	signal.emit(1);
	signal.emit(2);
	EXPECT_EQ((Trace{"adder1", "adder2"}), trace);
	EXPECT_EQ(1, signal.getListenerCount());
}

TEST_F(SignalObjectBinding, RemovedListenerNoLongerWatchesItsObject)
{
	Signal signal;
	Trace trace;
	Evas_Object* outside = rectangle();
	Evas_Object* during = rectangle();
	Evas_Object* cleared = button();
	WSignal_ListenerId removedOutside = signal.addListener(recorder(trace, "outside"), outside);
	WSignal_ListenerId removedDuring = 0;
	signal.addListener(recorder(trace, "remover", [&](int) { signal.removeListener(removedDuring); }));
	removedDuring = signal.addListener(recorder(trace, "during"), during);
	signal.removeListener(removedOutside);
	signal.emit(1);

	signal.addListener(recorder(trace, "cleared"), cleared);
	signal.removeAllListeners();

	// Each listener is freed by now; a deletion callback still on its object would run on it.
	evas_object_del(outside);
	evas_object_del(during);
	evas_object_del(cleared);
	EXPECT_EQ((Trace{"remover1"}), trace);
	EXPECT_EQ(0u, zon_host_log_count_matching("Already removed listener"));
}

TEST_F(SignalObjectBinding, DestroyedSignalLeavesItsObjectsAlone)
{
	Evas_Object* active = button();
	Evas_Object* waiting = rectangle();
	auto* signal = new Signal;
	signal->addListener([](int) {}, active);
	signal->addListener([&](int) {
		signal->addListener([](int) {}, waiting);
		delete signal;
	});
	signal->emit(1);

	Signal idle;
	idle.addListener([](int) {}, active);
	{
		Signal shortLived;
		shortLived.addListener([](int) {}, active);
	}
	evas_object_del(active);
	evas_object_del(waiting);
	EXPECT_EQ(0, idle.getListenerCount());
}
