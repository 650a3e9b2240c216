// The application event hub (a process-wide singleton, so its test removes what it registered),
// then WSignal under it: its delivery rules when listeners change the signal they are called from,
// the ids behind them, and listeners bound to the lifetime of real toolkit objects. The sanitizer
// builds are what make the bindings bite: a deletion callback left on an object after its listener
// is gone is a use-after-free the moment the object is deleted.

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <WSignal.h>
#include <WSignalIdGenerator.h>

#include "AppEventListener.h"
#include "AppEventManager.h"
#include "ToolkitFixture.h"

using app_trellis::WSignal;
using Signal = WSignal<void(int)>;
using Trace = std::vector<std::string>;
using Action = std::function<void(int)>;
using Event = AppEventManager::EventType;

namespace {

// A listener that records "<name><event>" into the trace, then runs an optional action; the
// event hub's listener objects record the same way.
Signal::Callback recorder(Trace& trace, const std::string& name, Action action = nullptr)
{
	return [&trace, name, action](int event) {
		trace.push_back(name + std::to_string(event));
		if (action)
			action(event);
	};
}

class NamedListener : public AppEventListener {
public:
	NamedListener(Trace& log, std::string name) : _log(&log), _name(std::move(name)) {}
	void onEvent(Event event) override { _log->push_back(_name + std::to_string(event)); }

private:
	Trace* _log;
	std::string _name;
};

// An action for one event only.
Action only(int event, std::function<void()> action)
{
	return [event, action](int received) {
		if (received == event)
			action();
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

template <class Base>
class SignalFixture : public Base {
protected:
	WSignal_ListenerId add(const std::string& name, Action action = nullptr, Evas_Object* obj = nullptr)
	{
		return signal.addListener(recorder(trace, name, action), obj);
	}
	// The trace of one emission alone.
	Trace fire(int event)
	{
		trace.clear();
		signal.emit(event);
		return trace;
	}
	Signal signal;
	Trace trace;
};

using SignalReentrancy = SignalFixture<HostFixture>;

TEST_F(SignalReentrancy, HubInOrderRemovalAtOnceAdditionAtTheNextEventDestructionOrThrowEnds)
{
	// The application event hub calls functions and listener objects in order of registration.
	AppEventManager* hub = AppEventManager::getInstance();
	WSignal_ListenerId fn = hub->addListener([&](Event e) { trace.push_back("fn" + std::to_string(e)); });
	{
		NamedListener object(trace, "obj");
		WSignal_ListenerId last = hub->addListener([&](Event e) { trace.push_back("last" + std::to_string(e)); });
		hub->propagateEvent(AppEventManager::WEATHER_PACKAGE_STATE_CHANGED);
		EXPECT_EQ((Trace{"fn7", "obj7", "last7"}), trace);
		hub->removeListener(last);
	}
	trace.clear();
	hub->propagateEvent(AppEventManager::FONT_CHANGED);
	EXPECT_EQ((Trace{"fn0"}), trace);
	hub->removeListener(fn);
	trace.clear();

	// A copy has its own registration; an assigned one takes the name and keeps its own.
	auto original = std::make_unique<NamedListener>(trace, "a");
	NamedListener copy(*original);
	NamedListener assigned(trace, "b");
	assigned = copy;
	original.reset();
	hub->propagateEvent(AppEventManager::LANGUAGE_CHANGED);
	EXPECT_EQ((Trace{"a3", "a3"}), trace);
	EXPECT_EQ(0u, zon_host_log_count_matching("Already removed listener"));

	WSignal_ListenerId self = 0, first = 0, later = 0;
	add("a");
	self = add("self", [&](int) {
		signal.removeListener(self);
		EXPECT_FALSE(signal.isValid(self));
		// Emitting again from inside must not reach the removed listener either (else this
		// would never end).
		signal.emit(9);
	});
	add("c");
	EXPECT_EQ((Trace{"a1", "self1", "a9", "c9", "c1"}), fire(1));
	EXPECT_EQ(2, signal.getListenerCount());
	EXPECT_EQ((Trace{"a2", "c2"}), fire(2));
	EXPECT_FALSE(loggedAlreadyRemoved(self));
	signal.removeListener(self);
	EXPECT_TRUE(loggedAlreadyRemoved(self));

	signal.removeAllListeners();
	first = add("first");
	add("remover", [&](int) {
		signal.removeListener(later);
		signal.removeListener(first);   // already called in this emission
	});
	later = add("later");
	add("last");
	EXPECT_EQ((Trace{"first1", "remover1", "last1"}), fire(1));
	EXPECT_FALSE(signal.isValid(first) || signal.isValid(later));
	EXPECT_EQ((Trace{"remover2", "last2"}), fire(2));
	EXPECT_TRUE(loggedAlreadyRemoved(later));

	// Call order follows the ids, whatever the removals and re-adds.
	signal.removeAllListeners();
	WSignal_ListenerId ids[] = {add("a"), add("b"), add("c"), add("d"), add("e")};
	signal.removeListener(ids[3]);
	signal.removeListener(ids[1]);
	WSignal_ListenerId f = add("f");
	signal.removeListener(ids[0]);
	EXPECT_TRUE(ids[4] < f && f < add("g"));
	EXPECT_EQ((Trace{"c0", "e0", "f0", "g0"}), fire(0));

	// Adding during an emission waits for the next event.
	signal.removeAllListeners();
	WSignal_ListenerId added = 0;
	add("adder", only(1, [&] {
		added = add("added");
		EXPECT_TRUE(signal.isValid(added));
		EXPECT_EQ(3, signal.getListenerCount());
		// Not active yet, so out of removeListener()'s reach: logged and kept.
		signal.removeListener(added);
		EXPECT_TRUE(loggedAlreadyRemoved(added));
		EXPECT_TRUE(signal.isValid(added));
	}));
	add("b");
	EXPECT_EQ((Trace{"adder1", "b1"}), fire(1));
	EXPECT_EQ((Trace{"adder2", "b2", "added2"}), fire(2));
	signal.removeListener(added);
	EXPECT_EQ(2, signal.getListenerCount());

	// Clearing from inside drops even what was added during the emission, but not what follows.
	signal.removeAllListeners();
	add("clear", only(1, [&] {
		add("dropped");
		signal.removeAllListeners();
		EXPECT_EQ(0, signal.getListenerCount());
		add("afterClear");
	}));
	add("skipped");
	EXPECT_EQ((Trace{"clear1"}), fire(1));
	EXPECT_EQ((Trace{"afterClear2"}), fire(2));

	// A nested emission defers its bookkeeping to the outermost one.
	signal.removeAllListeners();
	WSignal_ListenerId victim = 0;
	add("nest", only(1, [&] { signal.emit(2); }));
	add("mid", only(2, [&] {
		signal.removeListener(victim);
		add("inner");
	}));
	victim = add("victim");
	add("tail");
	// The removal inside the nested emission holds for the rest of the outer one; the addition
	// waits until the outer one is over.
	EXPECT_EQ((Trace{"nest1", "nest2", "mid2", "tail2", "mid1", "tail1"}), fire(1));
	EXPECT_EQ((Trace{"nest3", "mid3", "tail3", "inner3"}), fire(3));

	// A signal destroyed by its own listener, or a throwing listener, still ends the emission.
	signal.removeAllListeners();
	for (int depth : {1, 2}) {
		SCOPED_TRACE(depth == 1 ? "plain emission" : "nested emission");
		auto* doomed = new Signal;
		Trace seen;
		auto captured = std::make_shared<int>(0);
		std::weak_ptr<int> watch = captured;
		doomed->addListener(recorder(seen, "nest", [doomed, depth](int event) {
			if (event < depth)
				doomed->emit(event + 1);
		}));
		doomed->addListener(recorder(seen, "killer", [doomed, captured, watch](int) {
			delete doomed;
			// Its own callable, and what it captured, outlive the call.
			EXPECT_FALSE(watch.expired());
		}));
		captured.reset();
		doomed->addListener(recorder(seen, "never"));
		doomed->emit(1);
		EXPECT_TRUE(watch.expired());
		EXPECT_EQ(depth == 1 ? (Trace{"nest1", "killer1"}) : (Trace{"nest1", "nest2", "killer2"}), seen);
	}

	WSignal_ListenerId removed = 0;
	add("a", only(1, [&] {
		signal.removeListener(removed);
		added = add("added");
	}));
	WSignal_ListenerId empty = signal.addListener(Signal::Callback());
	removed = add("removed");
	EXPECT_THROW(signal.emit(1), std::bad_function_call);
	signal.removeListener(empty);
	EXPECT_FALSE(signal.isValid(removed));
	EXPECT_TRUE(signal.isValid(added));
	EXPECT_EQ((Trace{"a2", "added2"}), fire(2));
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
	for (WSignal_ListenerId id : {3u, 0u, 7u})
		pool.release(id);
	EXPECT_EQ(3u, pool.generate());   // after the wrap, 1 and 2 are still held
	pool.release(1);
	pool.release(4);
	EXPECT_EQ(4u, pool.generate());
	EXPECT_EQ(1u, pool.generate());
	EXPECT_EQ(4u, pool.getInUseCount());
}

class SignalObjectBinding : public SignalFixture<ToolkitFixture> {
protected:
	Evas_Object* button() { return elm_button_add(window()); }
	Evas_Object* rectangle() { return evas_object_rectangle_add(evas()); }
};

TEST_F(SignalObjectBinding, ObjectsDeletedDuringEmissionOrOutsideAndListenersAndSignalsLetGoOfThem)
{
	Evas_Object *own = button(), *later = rectangle(), *earlier = rectangle();
	add("earlier", nullptr, earlier);
	WSignal_ListenerId self = add("deleter", only(1, [&] {
		evas_object_del(later);
		evas_object_del(earlier);
		evas_object_del(own);   // the object of the listener that is running
	}), own);
	WSignal_ListenerId skipped = add("later", nullptr, later);
	add("tail");
	EXPECT_EQ((Trace{"earlier1", "deleter1", "tail1"}), fire(1));
	EXPECT_FALSE(signal.isValid(self) || signal.isValid(skipped));
	EXPECT_EQ((Trace{"tail2"}), fire(2));
	EXPECT_EQ(1, signal.getListenerCount());

	// Deleted before the listener added for it became active.
	Evas_Object* object = button();
	add("adder", only(3, [&] {
		WSignal_ListenerId pending = add("pending", nullptr, object);
		evas_object_del(object);
		EXPECT_FALSE(signal.isValid(pending));
	}));
	EXPECT_EQ((Trace{"tail3", "adder3"}), fire(3));
	EXPECT_EQ((Trace{"tail4", "adder4"}), fire(4));
	EXPECT_EQ(2, signal.getListenerCount());

	// Listeners, signals and their objects let go of each other.
	signal.removeAllListeners();
	zon_host_log_clear();
	Evas_Object* shared = button();
	add("free");
	WSignal_ListenerId first = add("first", nullptr, shared);
	WSignal_ListenerId second = add("second", nullptr, shared);
	add("other", nullptr, rectangle());
	evas_object_del(shared);
	EXPECT_FALSE(signal.isValid(first) || signal.isValid(second));
	EXPECT_EQ(2, signal.getListenerCount());
	EXPECT_EQ((Trace{"free1", "other1"}), fire(1));
	signal.removeListener(first);
	EXPECT_TRUE(loggedAlreadyRemoved(first));

	zon_host_log_clear();
	signal.removeAllListeners();
	Evas_Object *outside = rectangle(), *during = rectangle(), *cleared = button();
	WSignal_ListenerId removedOutside = add("outside", nullptr, outside);
	WSignal_ListenerId removedDuring = 0;
	add("remover", [&](int) { signal.removeListener(removedDuring); });
	removedDuring = add("during", nullptr, during);
	signal.removeListener(removedOutside);
	EXPECT_EQ((Trace{"remover1"}), fire(1));
	add("cleared", nullptr, cleared);
	signal.removeAllListeners();
	// Each listener is freed by now; a deletion callback still on its object would run on it.
	for (Evas_Object* obj : {outside, during, cleared})
		evas_object_del(obj);
	EXPECT_EQ(0u, zon_host_log_count_matching("Already removed listener"));

	// A destroyed signal leaves its objects alone.
	Evas_Object *active = button(), *waiting = rectangle();
	auto* doomed = new Signal;
	doomed->addListener([](int) {}, active);
	doomed->addListener([&](int) {
		doomed->addListener([](int) {}, waiting);
		delete doomed;
	});
	doomed->emit(1);
	signal.addListener([](int) {}, active);
	std::make_unique<Signal>()->addListener([](int) {}, active);   // a signal gone at once
	evas_object_del(active);
	evas_object_del(waiting);
	EXPECT_EQ(0, signal.getListenerCount());
}
