// ZonRotaryManager: the stack of objects and handlers, activation, removal when an object is
// deleted, the priority before the widgets' own callbacks, and finalize().
//
// The manager is a process-wide singleton: ctest runs every test in a process of its own, and
// each test starts with initialize(). FinalizeStopsRemovalForGood stays last, for runs of the
// whole binary in one process.

#include <stdint.h>
#include <stdio.h>

#include <string>
#include <vector>

#include <ZonRotaryManager.h>

#include "UiFixture.h"

namespace {

using Trace = std::vector<std::string>;

std::function<void(Eext_Rotary_Event_Direction)> recorder(Trace& trace, const std::string& name)
{
	return [&trace, name](Eext_Rotary_Event_Direction direction) {
		trace.push_back(name + (direction == EEXT_ROTARY_DIRECTION_CLOCKWISE ? "+" : "-"));
	};
}

// How the manager names an object in its log.
std::string logged(const char* format, Evas_Object* obj, int index = -1)
{
	char line[128];
	snprintf(line, sizeof(line), format, static_cast<unsigned int>(reinterpret_cast<uintptr_t>(obj)), index);
	return line;
}

}

class ZonRotaryManagerTest : public UiFixture {
protected:
	void SetUp() override
	{
		UiFixture::SetUp();
		conformant_ = elm_conformant_add(window());
		manager()->initialize(conformant_);
	}

	static ZonRotaryManager* manager() { return ZonRotaryManager::getInstance(); }
	Evas_Object* object() { return elm_button_add(window()); }

	Evas_Object* conformant_ = nullptr;
};

TEST_F(ZonRotaryManagerTest, InitializeMakesTheConformantsSurfaceAndEmptiesTheStack)
{
	Trace trace;
	manager()->setOnRotary(object(), recorder(trace, "old"));
	manager()->initialize(conformant_);
	Eext_Circle_Surface* surface = manager()->getCircleSurface();
	ASSERT_NE(nullptr, surface);
	EXPECT_EQ(conformant_, zon_host_circle_surface_owner(surface));
	// The object keeps its callback, but the stack has no handler for it any more.
	zon_host_rotary_event(true);
	EXPECT_TRUE(trace.empty());
}

TEST_F(ZonRotaryManagerTest, LastRegisteredObjectGetsTheEventsUntilItIsDeleted)
{
	Trace trace;
	Evas_Object* a = object();
	Evas_Object* b = object();
	manager()->setOnRotary(a, recorder(trace, "A"));
	EXPECT_EQ(a, zon_host_rotary_activated_object());
	manager()->setOnRotary(b, recorder(trace, "B"));
	EXPECT_EQ(b, zon_host_rotary_activated_object());
	EXPECT_TRUE(zon_host_log_contains(logged("Added Object [%x]", b).c_str()));
	EXPECT_TRUE(zon_host_log_contains(logged("activate last Object [%x]", b).c_str()));
	EXPECT_TRUE(zon_host_rotary_event(true));
	EXPECT_TRUE(zon_host_rotary_event(false));
	EXPECT_EQ((Trace{"B+", "B-"}), trace);

	evas_object_del(b);
	EXPECT_TRUE(zon_host_log_contains(logged("Added Object [%x],i =%d", b, 1).c_str()));
	EXPECT_EQ(a, zon_host_rotary_activated_object());
	trace.clear();
	EXPECT_TRUE(zon_host_rotary_event(true));
	EXPECT_EQ(Trace{"A+"}, trace);

	// Deleting one below the top leaves the top where it is.
	Evas_Object* c = object();
	manager()->setOnRotary(c, recorder(trace, "C"));
	evas_object_del(a);
	EXPECT_TRUE(zon_host_log_contains(logged("Added Object [%x],i =%d", a, 0).c_str()));
	EXPECT_EQ(c, zon_host_rotary_activated_object());
	evas_object_del(c);
	EXPECT_EQ(nullptr, zon_host_rotary_activated_object());
	EXPECT_FALSE(zon_host_rotary_event(true));
	EXPECT_EQ(Trace{"A+"}, trace);
}

TEST_F(ZonRotaryManagerTest, SameObjectTwiceIsTwoEntries)
{
	Trace trace;
	Evas_Object* a = object();
	Evas_Object* b = object();
	manager()->setOnRotary(a, recorder(trace, "A"));
	manager()->setOnRotary(b, recorder(trace, "B1"));
	manager()->setOnRotary(b, recorder(trace, "B2"));
	// Both entries put a callback on b: the event runs the top handler once per callback.
	zon_host_rotary_event(true);
	EXPECT_EQ((Trace{"B2+", "B2+"}), trace);

	// Each deletion watch removes one entry, the first one first.
	evas_object_del(b);
	EXPECT_TRUE(zon_host_log_contains(logged("Added Object [%x],i =%d", b, 1).c_str()));
	EXPECT_EQ(a, zon_host_rotary_activated_object());
	trace.clear();
	zon_host_rotary_event(false);
	EXPECT_EQ(Trace{"A-"}, trace);
}

TEST_F(ZonRotaryManagerTest, ItsHandlerRunsBeforeTheWidgetsOwnAndAnEmptyOneStops)
{
	Trace trace;
	Evas_Object* list = object();
	eext_rotary_object_event_callback_add(list, [](void* data, Evas_Object*, Eext_Rotary_Event_Info*) {
		static_cast<Trace*>(data)->push_back("widget");
		return EINA_TRUE;
	}, &trace);
	manager()->setOnRotary(list, recorder(trace, "screen"));
	zon_host_rotary_event(true);
	EXPECT_EQ((Trace{"screen+", "widget"}), trace);

	// An empty handler on top stops the event before the widget sees it.
	manager()->setOnRotary(list, nullptr);
	trace.clear();
	zon_host_rotary_event(true);
	EXPECT_TRUE(trace.empty());
}

TEST_F(ZonRotaryManagerTest, ActiveAndInactiveSwitchTheTopObject)
{
	manager()->active();
	manager()->inactive();
	EXPECT_FALSE(zon_host_log_contains("active Object"));

	Trace trace;
	Evas_Object* a = object();
	manager()->setOnRotary(a, recorder(trace, "A"));
	manager()->inactive();
	EXPECT_TRUE(zon_host_log_contains(logged("inactive Object [%x]", a).c_str()));
	EXPECT_EQ(nullptr, zon_host_rotary_activated_object());
	EXPECT_FALSE(zon_host_rotary_event(true));
	manager()->active();
	EXPECT_TRUE(zon_host_log_contains(logged("active Object [%x]", a).c_str()));
	EXPECT_TRUE(zon_host_rotary_event(true));
	EXPECT_EQ(Trace{"A+"}, trace);

	manager()->setOnRotary(nullptr, recorder(trace, "none"));
	EXPECT_TRUE(zon_host_log_contains("object is nullptr!"));
}

TEST_F(ZonRotaryManagerTest, FinalizeStopsRemovalForGood)
{
	Trace trace;
	Evas_Object* a = object();
	Evas_Object* b = object();
	manager()->setOnRotary(a, recorder(trace, "A"));
	manager()->setOnRotary(b, recorder(trace, "B"));
	manager()->finalize();
	zon_host_log_clear();
	evas_object_del(b);
	EXPECT_FALSE(zon_host_log_contains("Added Object"));
	EXPECT_FALSE(zon_host_log_contains("activate last Object"));
	EXPECT_NE(a, zon_host_rotary_activated_object());
	EXPECT_FALSE(zon_host_rotary_event(true));
	EXPECT_TRUE(trace.empty());

	// Registered after finalize(): the stack works, deletions are no longer watched.
	Evas_Object* c = object();
	manager()->setOnRotary(c, recorder(trace, "C"));
	zon_host_rotary_event(true);
	EXPECT_EQ(Trace{"C+"}, trace);
	evas_object_del(c);
	EXPECT_FALSE(zon_host_log_contains(logged("Added Object [%x],i", c).c_str()));
}
