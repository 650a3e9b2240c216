// ScreenReaderHelper: what the reader says for objects set up by it, reading-order relations and
// the list edit-mode chain, the highlight (at once and delayed), and the eight overloads that make
// an access object out of a layout part.

#include <tuple>

#include <ScreenReaderHelper.h>
#include <WTimer.h>

#include "UiFixture.h"

namespace {

using H = ScreenReaderHelper;
using Objects = std::vector<Evas_Object*>;
const int kTo = ELM_ATSPI_RELATION_FLOWS_TO;
const int kFrom = ELM_ATSPI_RELATION_FLOWS_FROM;
const int N = ELM_ACCESSIBLE_READING_INFO_TYPE_NAME, R = ELM_ACCESSIBLE_READING_INFO_TYPE_ROLE, D = ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION;

Objects related(Evas_Object* obj, int relation)
{
	Evas_Object* targets[16];
	size_t count = zon_host_access_relations(obj, relation, targets, 16);
	return Objects(targets, targets + (count < 16 ? count : 16));
}

char* nameOf(void* data, Evas_Object*) { return strdup(static_cast<const char*>(data)); }
Eina_Bool countGesture(void* data, Elm_Atspi_Gesture_Info, Evas_Object*) { return ++*static_cast<int*>(data) > 0; }
void countActivation(void* data, Evas_Object*, void*) { ++*static_cast<int*>(data); }

}

class ScreenReaderHelperTest : public UiFixture {
protected:
	// A layout with a text part, "elm.text".
	Evas_Object* layout()
	{
		Evas_Object* l = elm_layout_add(window());
		EXPECT_TRUE(elm_layout_theme_set(l, "layout", "popup", "content/circle/buttons2"));
		evas_object_show(l);
		return l;
	}

	Evas_Object* genlist(int items)
	{
		static Elm_Genlist_Item_Class itc = {};
		itc.item_style = "default";
		Evas_Object* list = elm_genlist_add(window());
		for (int i = 0; i < items; ++i)
			elm_genlist_item_append(list, &itc, nullptr, nullptr, ELM_GENLIST_ITEM_NONE, nullptr, nullptr);
		return list;
	}
};

TEST_F(ScreenReaderHelperTest, InformationAndPrimitiveObjectsFromTextsOrFunctionsPickTheReadingKind)
{
	setScreenReader(true);
	int gestures = 0;
	Evas_Object* both = shownButton();
	H::setInformationOnElmObj(both, "zonvista", "WDS_ZON_TPOP_DELETED", "IDS_ZON_POP_CITY_ADDED", countGesture, &gestures);
	Evas_Object* nameOnly = shownButton();
	H::setInformationOnElmObj(nameOnly, nullptr, "Paris", nullptr, nullptr, nullptr);
	Evas_Object* descriptionOnly = shownButton("Label");
	H::setInformationOnElmObj(descriptionOnly, nullptr, nullptr, "Double tap to edit", nullptr, nullptr);
	// Functions are asked when the reader reads.
	Evas_Object* functions = shownButton();
	H::setInformationOnElmObj(functions, nullptr, nameOf, const_cast<char*>("Seoul"), nameOf, const_cast<char*>("4 hours ahead"), nullptr, nullptr);
	using Case = std::tuple<Evas_Object*, int, const char*>;
	for (auto [obj, kind, reads] : {Case{both, N | D, "Deleted., City added."}, Case{nameOnly, N, "Paris"},
			 Case{descriptionOnly, D, "Double tap to edit"}, Case{functions, N | D, "Seoul, 4 hours ahead"}}) {
		EXPECT_EQ(kind, elm_atspi_accessible_reading_info_type_get(obj)) << reads;
		EXPECT_EQ(reads, readerText(obj));
	}
	EXPECT_EQ(1, zon_host_screen_reader_gesture(both, ELM_ATSPI_GESTURE_ONE_FINGER_DOUBLE_TAP));
	EXPECT_EQ(1, gestures);

	Evas_Object* untouched = shownButton("Untouched");
	std::string before = readerText(untouched);
	H::setInformationOnElmObj(untouched, "zonvista", static_cast<const char*>(nullptr), nullptr, countGesture, &gestures);
	H::setInformationOnElmObj(untouched, nullptr, static_cast<Elm_Atspi_Reading_Info_Cb>(nullptr), nullptr, nullptr, nullptr, countGesture, &gestures);
	EXPECT_EQ(2u, zon_host_log_count_matching("No data for set callbacks"));
	EXPECT_EQ(before, readerText(untouched));
	EXPECT_EQ(-1, zon_host_screen_reader_gesture(untouched, ELM_ATSPI_GESTURE_ONE_FINGER_DOUBLE_TAP));

	// The eight overloads that make an access object out of a layout part, and missing pieces.
	const char *name = "Time", *description = "Double tap to change";
	char *nameData = const_cast<char*>("Time of Paris"), *descriptionData = const_cast<char*>("Tap twice");
	const Elm_Atspi_Role role = ELM_ATSPI_ROLE_PUSH_BUTTON;
	using Overload = std::tuple<std::function<Evas_Object*(Evas_Object*, Evas_Smart_Cb, int*)>, int, std::string>;
#define OVERLOAD(...) [&](Evas_Object* p, Evas_Smart_Cb cb, int* d) { return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, __VA_ARGS__, cb, d); }
	std::vector<Overload> cases = {
		{OVERLOAD(name), N, "Time"},
		{OVERLOAD(nameOf, nameData), N, "Time of Paris"},
		{OVERLOAD(name, description), N | D, "Time, Double tap to change"},
		{OVERLOAD(nameOf, nameData, nameOf, descriptionData), N | D, "Time of Paris, Tap twice"},
		{OVERLOAD(name, role), N | R, "Time, push button"},
		{OVERLOAD(nameOf, nameData, role), N | R, "Time of Paris, push button"},
		{OVERLOAD(name, description, role), N | R | D, "Time, push button, Double tap to change"},
		{OVERLOAD(nameOf, nameData, nameOf, descriptionData, role), N | R | D, "Time of Paris, push button, Tap twice"},
	};
#undef OVERLOAD
	for (const auto& [make, kind, reads] : cases) {
		int activations = 0;
		Evas_Object* ao = make(layout(), countActivation, &activations);
		ASSERT_NE(nullptr, ao) << reads;
		EXPECT_EQ(kind, elm_atspi_accessible_reading_info_type_get(ao)) << reads;
		EXPECT_EQ((kind & R) != 0, elm_atspi_accessible_role_get(ao) == role) << reads;
		EXPECT_EQ(reads, readerText(ao));
		ASSERT_EQ(0, zon_host_screen_reader_activate(ao));
		EXPECT_EQ(1, activations) << reads;
		// Without an activation callback nothing is connected.
		Evas_Object* quiet = make(layout(), nullptr, nullptr);
		ASSERT_NE(nullptr, quiet);
		EXPECT_EQ(0, zon_host_screen_reader_activate(quiet));
	}

	// Missing pieces are logged, and the object is still made.
	Evas_Object* ao = H::createPrimativeScreenReaderObject(layout(), "elm.text", "zonvista",
		static_cast<const char*>(nullptr), static_cast<const char*>(nullptr), ELM_ATSPI_ROLE_LABEL, nullptr, nullptr);
	EXPECT_EQ(ELM_ATSPI_ROLE_LABEL, ao ? elm_atspi_accessible_role_get(ao) : ELM_ATSPI_ROLE_INVALID);
	EXPECT_NE(nullptr, H::createPrimativeScreenReaderObject(layout(), "elm.text", nullptr, static_cast<Elm_Atspi_Reading_Info_Cb>(nullptr),
		nullptr, static_cast<Elm_Atspi_Reading_Info_Cb>(nullptr), nullptr, nullptr, nullptr));
	for (const char* message : {"Name is needed for setting name on object", "description is needed for setting description on object",
			 "NameCb is needed for setting name on object", "descriptionCb is needed for setting description on object"})
		EXPECT_TRUE(zon_host_log_contains(message)) << message;

	// The domain translates a name text.
	EXPECT_EQ("Deleted.", readerText(H::createPrimativeScreenReaderObject(layout(), "elm.text", "zonvista", "WDS_ZON_TPOP_DELETED", nullptr, nullptr)));

	using Bad = std::tuple<Evas_Object*, const char*, const char*>;
	for (auto [parent, part, message] : {Bad{nullptr, "elm.text", "Invalid parent input"}, Bad{layout(), nullptr, "Invalid part input"},
			 Bad{layout(), "no.such.part", "Invalid input"}}) {
		zon_host_log_clear();
		EXPECT_EQ(nullptr, H::createPrimativeScreenReaderObject(parent, part, nullptr, "x", nullptr, nullptr));
		EXPECT_TRUE(zon_host_log_contains(message)) << message;
		EXPECT_TRUE(zon_host_log_contains("Invalid input")) << message;
	}
}

TEST_F(ScreenReaderHelperTest, HighlightAtOnceOrOnceAfterTheDelayAndRelations)
{
	setScreenReader(true);
	Evas_Object* a = shownButton("a");
	for (bool focusable : {false, true}) {
		H::setFocusableForElmObj(a, focusable);
		H::setFocusOnObject(a, false, 0.0);
		EXPECT_EQ(focusable ? a : nullptr, zon_host_screen_reader_highlighted());
	}

	Evas_Object* target = shownButton("target");
	double start = ecore_time_get();
	H::setFocusOnObject(target, true, 0.5);
	EXPECT_EQ(a, zon_host_screen_reader_highlighted());
	ASSERT_TRUE(pumpUntil([&] { return zon_host_screen_reader_highlighted() == target; }, 2.0));
	EXPECT_GE(ecore_time_get() - start, 0.45);
	// Once: its timer has ended, the highlight is not taken back later.
	EXPECT_EQ(0u, app_trellis::WTimer::getCount());
	zon_host_screen_reader_highlight(a);
	pump(0.6);
	EXPECT_EQ(a, zon_host_screen_reader_highlighted());

	// An object deleted while it waits is left alone.
	Evas_Object* doomed = shownButton("doomed");
	H::setFocusOnObject(doomed, true, 0.1);
	evas_object_del(doomed);
	pump(0.3);
	EXPECT_EQ(a, zon_host_screen_reader_highlighted());
	EXPECT_EQ(0u, app_trellis::WTimer::getCount());

	// Reading-order relations in each direction, along lists and in the edit-mode chain.
	Evas_Object* b = nullptr;
	for (auto direction : {H::BOTH, H::FORWARD, H::REVERSE}) {
		a = shownButton(), b = shownButton();
		H::setRelationship(a, b, direction);
		EXPECT_EQ(direction != H::REVERSE ? Objects{b} : Objects{}, related(a, kTo)) << direction;
		EXPECT_EQ(direction != H::FORWARD ? Objects{a} : Objects{}, related(b, kFrom)) << direction;
		EXPECT_TRUE(related(a, kFrom).empty() && related(b, kTo).empty()) << direction;
	}
	H::setRelationship(a, b, H::BOTH);
	H::unsetRelationShip(b, a, nullptr);
	EXPECT_TRUE(related(b, kFrom).empty());
	H::unsetRelationShip(a, nullptr, b);
	EXPECT_TRUE(related(a, kTo).empty());

	// A list relates each neighbouring pair, and only those.
	Evas_Object *x = shownButton(), *y = shownButton(), *z = shownButton();
	H::setRelationshipWithObjList({x, y, z}, H::FORWARD);
	for (auto [from, to] : {std::pair{x, Objects{y}}, std::pair{y, Objects{z}}, std::pair{z, Objects{}}}) {
		EXPECT_EQ(to, related(from, kTo));
		EXPECT_TRUE(related(from, kFrom).empty());
	}

	H::setRelationshipWithObjList({a}, H::BOTH);
	EXPECT_TRUE(related(a, kTo).empty());
	EXPECT_FALSE(zon_host_log_contains("list size is 0"));
	H::setRelationshipWithObjList({}, H::BOTH);
	EXPECT_TRUE(zon_host_log_contains("list size is 0"));

	// The edit-mode chain threads the controls between the first items. Each neighbour in the
	// chain flows both ways; the last item closes the loop to the first.
	auto expectChain = [](const Objects& chain) {
		for (size_t i = 0; i + 1 < chain.size(); ++i) {
			EXPECT_EQ(Objects{chain[i + 1]}, related(chain[i], kTo)) << i;
			EXPECT_EQ(Objects{chain[i]}, related(chain[i + 1], kFrom)) << i;
		}
	};
	Evas_Object *first = shownButton("select all"), *second = shownButton("delete"), *third = shownButton("cancel");
	Evas_Object* list = genlist(4);
	Elm_Object_Item* top = elm_genlist_first_item_get(list);
	H::setGenlistEditmodeChain(list, first, second, third);
	expectChain({top, first, third, second, elm_genlist_item_next_get(top)});
	expectChain({elm_genlist_last_item_get(list), top});

	Evas_Object* otherList = genlist(3);
	a = shownButton(), b = shownButton();
	H::setGenlistEditmodeChain(otherList, a, b, nullptr);
	expectChain({a, b, elm_genlist_item_next_get(elm_genlist_first_item_get(otherList))});

	// Too short a list or a missing object: a message and no relation at all.
	using Case = std::tuple<int, bool, const char*>;
	a = shownButton(), b = shownButton();
	for (auto [items, withObjects, message] : {Case{2, true, "at least 3 items have to be exist"}, Case{1, true, "second item is not exist"},
			 Case{0, true, "top item is not exist"}, Case{3, false, "object is not exist"}}) {
		zon_host_log_clear();
		list = genlist(items);
		H::setGenlistEditmodeChain(list, withObjects ? a : nullptr, b, nullptr);
		EXPECT_TRUE(zon_host_log_contains(message)) << message;
		EXPECT_TRUE(related(a, kTo).empty() && related(b, kFrom).empty()) << message;
		for (Elm_Object_Item* item = elm_genlist_first_item_get(list); item; item = elm_genlist_item_next_get(item))
			EXPECT_TRUE(related(item, kTo).empty()) << message;
	}
}
