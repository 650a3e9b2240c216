// The host's stand-ins for the watch's toolkit extension: who gets the back key, how rotary
// callbacks are ordered and stopped, the desktop's keys and wheel, and the theme overlay.

#include <efl_extension.h>

#include "UiFixture.h"

namespace {

using Trace = std::vector<std::string>;

struct Recorder { Trace* trace; std::string name; Eina_Bool result; };

void onBack(void* data, Evas_Object*, void*) { static_cast<Recorder*>(data)->trace->push_back(static_cast<Recorder*>(data)->name); }

Eina_Bool onRotary(void* data, Evas_Object*, Eext_Rotary_Event_Info* info)
{
	auto* r = static_cast<Recorder*>(data);
	r->trace->push_back(r->name + (info->direction == EEXT_ROTARY_DIRECTION_CLOCKWISE ? "+" : "-"));
	return r->result;
}

}

using HostToolkitTest = UiFixture;

TEST_F(HostToolkitTest, BackKeyToTheNewestShownReceiverRotaryByPriorityAndTheDesktopsKeysAndWheel)
{
	Trace trace;
	Recorder a{&trace, "a", EINA_TRUE}, b{&trace, "b", EINA_TRUE}, b2{&trace, "b2", EINA_TRUE};
	Evas_Object* first = shownButton();
	Evas_Object* second = shownButton();
	eext_object_event_callback_add(first, EEXT_CALLBACK_BACK, onBack, &a);
	eext_object_event_callback_add(second, EEXT_CALLBACK_BACK, onBack, &b);
	eext_object_event_callback_add(second, EEXT_CALLBACK_MORE, onBack, &b2);
	EXPECT_EQ(second, zon_host_back_key());
	EXPECT_EQ(Trace{"b"}, trace);

	evas_object_hide(second);
	EXPECT_EQ(first, zon_host_back_key());
	evas_object_show(second);
	EXPECT_EQ(&b, eext_object_event_callback_del(second, EEXT_CALLBACK_BACK, onBack));
	EXPECT_EQ(nullptr, eext_object_event_callback_del(second, EEXT_CALLBACK_BACK, onBack));
	EXPECT_EQ(first, zon_host_back_key());
	evas_object_del(first);
	EXPECT_EQ(nullptr, zon_host_back_key());
	EXPECT_EQ((Trace{"b", "a", "a"}), trace);

	// Rotary callbacks run by priority until one stops the event.
	trace.clear();
	Recorder early{&trace, "early", EINA_TRUE}, normal{&trace, "normal", EINA_FALSE}, late{&trace, "late", EINA_TRUE};
	Evas_Object* obj = shownButton();
	eext_rotary_object_event_callback_priority_add(obj, 10, onRotary, &late);
	eext_rotary_object_event_callback_add(obj, onRotary, &normal);
	eext_rotary_object_event_callback_priority_add(obj, -100, onRotary, &early);
	EXPECT_FALSE(zon_host_rotary_event(true)) << "not activated yet";
	eext_rotary_object_event_activated_set(obj, EINA_TRUE);
	EXPECT_TRUE(zon_host_rotary_event(true));
	EXPECT_EQ((Trace{"early+", "normal+"}), trace);

	// Removal takes the first callback of that function in the order of adding: "late".
	EXPECT_EQ(&late, eext_rotary_object_event_callback_del(obj, onRotary));
	normal.result = EINA_TRUE;
	trace.clear();
	zon_host_rotary_event(false);
	EXPECT_EQ((Trace{"early-", "normal-"}), trace);

	Evas_Object* other = shownButton();
	eext_rotary_object_event_activated_set(other, EINA_TRUE);
	EXPECT_EQ(other, zon_host_rotary_activated_object());
	eext_rotary_object_event_activated_set(obj, EINA_FALSE);
	EXPECT_EQ(other, zon_host_rotary_activated_object());
	evas_object_del(other);
	EXPECT_EQ(nullptr, zon_host_rotary_activated_object());

	// The desktop's keys and wheel are the back key and the bezel.
	trace.clear();
	Recorder back{&trace, "back", EINA_TRUE}, bezel{&trace, "bezel", EINA_TRUE};
	obj = shownButton();
	eext_object_event_callback_add(obj, EEXT_CALLBACK_BACK, onBack, &back);
	eext_rotary_object_event_callback_add(obj, onRotary, &bezel);
	eext_rotary_object_event_activated_set(obj, EINA_TRUE);
	auto freeEvent = [](void*, void* event) { free(event); };
	for (const char* name : {"Escape", "BackSpace", "Return"}) {
		auto* key = static_cast<Ecore_Event_Key*>(calloc(1, sizeof(Ecore_Event_Key)));
		key->keyname = key->key = name;
		ecore_event_add(ECORE_EVENT_KEY_DOWN, key, freeEvent, nullptr);
	}
	for (int z : {1, -1, 0}) {
		auto* wheel = static_cast<Ecore_Event_Mouse_Wheel*>(calloc(1, sizeof(Ecore_Event_Mouse_Wheel)));
		wheel->z = z;
		ecore_event_add(ECORE_EVENT_MOUSE_WHEEL, wheel, freeEvent, nullptr);
	}
	EXPECT_TRUE(pumpUntil([&] { return trace.size() >= 4; }));
	pump(0.05);
	EXPECT_EQ((Trace{"back", "back", "bezel+", "bezel-"}), trace);
}
