// WSignal listeners bound to the lifetime of real toolkit objects. The sanitizer builds are what
// make these bite: a deletion callback left on an object after its listener is gone is a
// use-after-free the moment the object is deleted.

#include <string>
#include <vector>

#include <WSignal.h>

#include "ToolkitFixture.h"

using app_trellis::WSignal;
using Signal = WSignal<void(int)>;
using Trace = std::vector<std::string>;

namespace {

Signal::Callback recorder(Trace& trace, const std::string& name, std::function<void(int)> action = nullptr)
{
	return [&trace, name, action](int event) {
		trace.push_back(name + std::to_string(event));
		if (action)
			action(event);
	};
}

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
