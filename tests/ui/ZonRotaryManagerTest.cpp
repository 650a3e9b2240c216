// ZonRotaryManager: the stack of objects and handlers, activation, removal when an object is
// deleted, the priority before the widgets' own callbacks, and finalize().
//
// The manager is a process-wide singleton: each test starts with initialize(). finalize() is for
// good, so its test runs in a child process and leaves the others' manager alone, in whatever
// order a run of the whole binary takes.

#include <stdint.h>

#include <ZonRotaryManager.h>

#include "UiFixture.h"

namespace {

using Trace = std::vector<std::string>;

// The removal message says "Added", and names the object and its index.
bool loggedRemoval(Evas_Object* obj, int index)
{
	char line[128];
	snprintf(line, sizeof(line), "Added Object [%x],i =%d", static_cast<unsigned int>(reinterpret_cast<uintptr_t>(obj)), index);
	return zon_host_log_contains(line);
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
	Evas_Object* add(const std::string& name, Evas_Object* obj = nullptr)
	{
		obj = obj ? obj : elm_button_add(window());
		manager()->setOnRotary(obj, [this, name](Eext_Rotary_Event_Direction d) {
			trace_.push_back(name + (d == EEXT_ROTARY_DIRECTION_CLOCKWISE ? "+" : "-"));
		});
		return obj;
	}

	Evas_Object* conformant_ = nullptr;
	Trace trace_;
};

TEST_F(ZonRotaryManagerTest, InitializeEmptiesTheStackTheLastObjectGetsTheEventsBeforeTheWidgetsOwn)
{
	add("old");
	manager()->initialize(conformant_);
	Eext_Circle_Surface* surface = manager()->getCircleSurface();
	ASSERT_NE(nullptr, surface);
	EXPECT_EQ(conformant_, zon_host_circle_surface_owner(surface));
	// The object keeps its callback, but the stack has no handler for it any more.
	zon_host_rotary_event(true);
	EXPECT_TRUE(trace_.empty());

	Evas_Object* a = add("A");
	EXPECT_EQ(a, zon_host_rotary_activated_object());
	Evas_Object* b = add("B");
	EXPECT_EQ(b, zon_host_rotary_activated_object());
	EXPECT_TRUE(zon_host_rotary_event(true));
	EXPECT_TRUE(zon_host_rotary_event(false));
	EXPECT_EQ((Trace{"B+", "B-"}), trace_);

	evas_object_del(b);
	EXPECT_TRUE(loggedRemoval(b, 1));
	EXPECT_EQ(a, zon_host_rotary_activated_object());
	EXPECT_TRUE(zon_host_rotary_event(true));
	EXPECT_EQ((Trace{"B+", "B-", "A+"}), trace_);

	// The same object twice is two entries, each with a callback on it: the event runs the top
	// handler once per callback; each deletion watch removes one entry, the first one first.
	Evas_Object* c = add("C2", add("C1"));
	trace_.clear();
	zon_host_rotary_event(true);
	EXPECT_EQ((Trace{"C2+", "C2+"}), trace_);
	evas_object_del(c);
	EXPECT_TRUE(loggedRemoval(c, 1));
	EXPECT_EQ(a, zon_host_rotary_activated_object());
	zon_host_rotary_event(false);
	EXPECT_EQ((Trace{"C2+", "C2+", "A-"}), trace_);

	// Deleting one below the top leaves the top, and its handler, where they are.
	Evas_Object* d = add("D");
	evas_object_del(a);
	EXPECT_TRUE(loggedRemoval(a, 0));
	EXPECT_EQ(d, zon_host_rotary_activated_object());
	zon_host_rotary_event(true);
	EXPECT_EQ("D+", trace_.back());
	evas_object_del(d);
	EXPECT_EQ(nullptr, zon_host_rotary_activated_object());
	EXPECT_FALSE(zon_host_rotary_event(true));
	EXPECT_EQ(4u, trace_.size());

	// The handler runs before the widget's own; active() and inactive() switch the top, and on an
	// empty stack both are harmless.
	trace_.clear();
	manager()->active();
	manager()->inactive();
	Evas_Object* list = elm_button_add(window());
	eext_rotary_object_event_callback_add(list, [](void* data, Evas_Object*, Eext_Rotary_Event_Info*) {
		static_cast<Trace*>(data)->push_back("widget");
		return EINA_TRUE;
	}, &trace_);
	add("screen", list);
	manager()->inactive();
	EXPECT_EQ(nullptr, zon_host_rotary_activated_object());
	EXPECT_FALSE(zon_host_rotary_event(true));
	manager()->active();
	EXPECT_TRUE(zon_host_rotary_event(true));
	EXPECT_EQ((Trace{"screen+", "widget"}), trace_);

	// An empty handler stops the event.
	manager()->setOnRotary(list, nullptr);
	trace_.clear();
	zon_host_rotary_event(true);
	EXPECT_TRUE(trace_.empty());

	manager()->setOnRotary(nullptr, [](Eext_Rotary_Event_Direction) {});
	EXPECT_TRUE(zon_host_log_contains("object is nullptr!"));
}

TEST_F(ZonRotaryManagerTest, FinalizeStopsRemovalForGood)
{
	EXPECT_EXIT(
		{
			Evas_Object* a = add("A");
			Evas_Object* b = add("B");
			manager()->finalize();
			zon_host_log_clear();
			evas_object_del(b);
			EXPECT_FALSE(zon_host_log_contains("Added Object"));
			EXPECT_NE(a, zon_host_rotary_activated_object());
			EXPECT_FALSE(zon_host_rotary_event(true));
			EXPECT_TRUE(trace_.empty());

			// Registered after finalize(): the stack works, deletions are no longer watched.
			Evas_Object* c = add("C");
			zon_host_rotary_event(true);
			EXPECT_EQ(Trace{"C+"}, trace_);
			evas_object_del(c);
			EXPECT_FALSE(zon_host_log_contains(",i ="));
			// _exit: the child leaves the parent's device root and toolkit to the parent.
			_exit(HasFailure() ? 1 : 0);
		},
		::testing::ExitedWithCode(0), "");
}
