// ScreenReaderHelper: what the reader says for objects set up by it, reading-order relations and
// the list edit-mode chain, the highlight (at once and delayed), and the eight overloads that make
// an access object out of a layout part.

#include <string>
#include <vector>

#include <ScreenReaderHelper.h>
#include <WTimer.h>

#include "UiFixture.h"

namespace {

const int kFlowsTo = ELM_ATSPI_RELATION_FLOWS_TO;
const int kFlowsFrom = ELM_ATSPI_RELATION_FLOWS_FROM;

std::vector<Evas_Object*> related(Evas_Object* obj, int relation)
{
	Evas_Object* targets[16];
	size_t count = zon_host_access_relations(obj, relation, targets, 16);
	return std::vector<Evas_Object*>(targets, targets + (count < 16 ? count : 16));
}

char* nameOf(void* data, Evas_Object*)
{
	return strdup(static_cast<const char*>(data));
}

Eina_Bool countGesture(void* data, Elm_Atspi_Gesture_Info, Evas_Object*)
{
	++*static_cast<int*>(data);
	return EINA_TRUE;
}

void countActivation(void* data, Evas_Object*, void*)
{
	++*static_cast<int*>(data);
}

}

class ScreenReaderHelperTest : public UiFixture {
protected:
	void SetUp() override
	{
		UiFixture::SetUp();
		setScreenReader(true);
	}

	Evas_Object* button(const char* label = nullptr)
	{
		Evas_Object* b = elm_button_add(window());
		if (label)
			elm_object_text_set(b, label);
		evas_object_show(b);
		return b;
	}

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
		static Elm_Genlist_Item_Class itc = [] {
			Elm_Genlist_Item_Class c = {};
			c.item_style = "default";
			return c;
		}();
		Evas_Object* list = elm_genlist_add(window());
		for (int i = 0; i < items; ++i)
			elm_genlist_item_append(list, &itc, nullptr, nullptr, ELM_GENLIST_ITEM_NONE, nullptr, nullptr);
		return list;
	}
};

TEST_F(ScreenReaderHelperTest, InformationFromTextsOrFunctionsPicksTheReadingKind)
{
	Evas_Object* both = button();
	int gestures = 0;
	ScreenReaderHelper::setInformationOnElmObj(both, "zonvista", "WDS_ZON_TPOP_DELETED", "IDS_ZON_POP_CITY_ADDED",
		countGesture, &gestures);
	EXPECT_EQ(ELM_ACCESSIBLE_READING_INFO_TYPE_NAME | ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION,
		elm_atspi_accessible_reading_info_type_get(both));
	EXPECT_EQ("Deleted., City added.", readerText(both));
	EXPECT_EQ(1, zon_host_screen_reader_gesture(both, ELM_ATSPI_GESTURE_ONE_FINGER_DOUBLE_TAP));
	EXPECT_EQ(1, gestures);

	Evas_Object* nameOnly = button();
	ScreenReaderHelper::setInformationOnElmObj(nameOnly, nullptr, "Paris", nullptr, nullptr, nullptr);
	EXPECT_EQ(ELM_ACCESSIBLE_READING_INFO_TYPE_NAME, elm_atspi_accessible_reading_info_type_get(nameOnly));
	EXPECT_EQ("Paris", readerText(nameOnly));

	Evas_Object* descriptionOnly = button("Label");
	ScreenReaderHelper::setInformationOnElmObj(descriptionOnly, nullptr, nullptr, "Double tap to edit", nullptr, nullptr);
	EXPECT_EQ(ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION, elm_atspi_accessible_reading_info_type_get(descriptionOnly));
	EXPECT_EQ("Double tap to edit", readerText(descriptionOnly));

	// Functions are asked when the reader reads.
	Evas_Object* functions = button();
	ScreenReaderHelper::setInformationOnElmObj(functions, nullptr, nameOf, const_cast<char*>("Seoul"), nameOf,
		const_cast<char*>("4 hours ahead"), nullptr, nullptr);
	EXPECT_EQ("Seoul, 4 hours ahead", readerText(functions));

	Evas_Object* untouched = button("Untouched");
	std::string before = readerText(untouched);
	ScreenReaderHelper::setInformationOnElmObj(untouched, "zonvista", static_cast<const char*>(nullptr), nullptr,
		countGesture, &gestures);
	ScreenReaderHelper::setInformationOnElmObj(untouched, nullptr, static_cast<Elm_Atspi_Reading_Info_Cb>(nullptr),
		nullptr, nullptr, nullptr, countGesture, &gestures);
	EXPECT_EQ(2u, zon_host_log_count_matching("No data for set callbacks"));
	EXPECT_EQ(before, readerText(untouched));
	EXPECT_EQ(-1, zon_host_screen_reader_gesture(untouched, ELM_ATSPI_GESTURE_ONE_FINGER_DOUBLE_TAP));
}

TEST_F(ScreenReaderHelperTest, HighlightAtOnceOrOnceAfterTheDelay)
{
	Evas_Object* a = button("a");
	ScreenReaderHelper::setFocusableForElmObj(a, false);
	ScreenReaderHelper::setFocusOnObject(a, false, 0.0);
	EXPECT_EQ(nullptr, zon_host_screen_reader_highlighted());
	ScreenReaderHelper::setFocusableForElmObj(a, true);
	ScreenReaderHelper::setFocusOnObject(a, false, 0.0);
	EXPECT_EQ(a, zon_host_screen_reader_highlighted());

	Evas_Object* target = button("target");
	double start = ecore_time_get();
	ScreenReaderHelper::setFocusOnObject(target, true, 0.5);
	EXPECT_EQ(a, zon_host_screen_reader_highlighted());
	EXPECT_EQ(1u, app_trellis::WTimer::getCount());
	ASSERT_TRUE(pumpUntil([&] { return zon_host_screen_reader_highlighted() == target; }, 2.0));
	EXPECT_GE(ecore_time_get() - start, 0.45);
	// Once: its timer has ended, the highlight is not taken back later.
	EXPECT_EQ(0u, app_trellis::WTimer::getCount());
	zon_host_screen_reader_highlight(a);
	pump(0.6);
	EXPECT_EQ(a, zon_host_screen_reader_highlighted());

	// An object deleted while it waits is left alone.
	Evas_Object* doomed = button("doomed");
	ScreenReaderHelper::setFocusOnObject(doomed, true, 0.1);
	evas_object_del(doomed);
	pump(0.3);
	EXPECT_EQ(a, zon_host_screen_reader_highlighted());
	EXPECT_EQ(0u, app_trellis::WTimer::getCount());
}

TEST_F(ScreenReaderHelperTest, RelationsInEachDirectionAndAlongLists)
{
	Evas_Object* a = button();
	Evas_Object* b = button();
	ScreenReaderHelper::setRelationship(a, b, ScreenReaderHelper::BOTH);
	EXPECT_EQ(std::vector<Evas_Object*>{b}, related(a, kFlowsTo));
	EXPECT_EQ(std::vector<Evas_Object*>{a}, related(b, kFlowsFrom));

	Evas_Object* c = button();
	Evas_Object* d = button();
	ScreenReaderHelper::setRelationship(c, d, ScreenReaderHelper::FORWARD);
	EXPECT_EQ(std::vector<Evas_Object*>{d}, related(c, kFlowsTo));
	EXPECT_TRUE(related(d, kFlowsFrom).empty());
	ScreenReaderHelper::setRelationship(c, d, ScreenReaderHelper::REVERSE);
	EXPECT_EQ(std::vector<Evas_Object*>{c}, related(d, kFlowsFrom));
	EXPECT_TRUE(related(d, kFlowsTo).empty());

	ScreenReaderHelper::unsetRelationShip(b, a, nullptr);
	EXPECT_TRUE(related(b, kFlowsFrom).empty());
	ScreenReaderHelper::unsetRelationShip(a, nullptr, b);
	EXPECT_TRUE(related(a, kFlowsTo).empty());

	// A list: each neighbouring pair.
	Evas_Object* x = button();
	Evas_Object* y = button();
	Evas_Object* z = button();
	ScreenReaderHelper::setRelationshipWithObjList({x, y, z}, ScreenReaderHelper::FORWARD);
	EXPECT_EQ(std::vector<Evas_Object*>{y}, related(x, kFlowsTo));
	EXPECT_EQ(std::vector<Evas_Object*>{z}, related(y, kFlowsTo));
	size_t flowsTo = 0, flowsFrom = 0;
	for (Evas_Object* o : {x, y, z}) {
		flowsTo += related(o, kFlowsTo).size();
		flowsFrom += related(o, kFlowsFrom).size();
	}
	EXPECT_EQ(2u, flowsTo);
	EXPECT_EQ(0u, flowsFrom);

	Evas_Object* alone = button();
	ScreenReaderHelper::setRelationshipWithObjList({alone}, ScreenReaderHelper::BOTH);
	EXPECT_TRUE(related(alone, kFlowsTo).empty());
	EXPECT_FALSE(zon_host_log_contains("list size is 0"));
	ScreenReaderHelper::setRelationshipWithObjList({}, ScreenReaderHelper::BOTH);
	EXPECT_TRUE(zon_host_log_contains("list size is 0"));
}

TEST_F(ScreenReaderHelperTest, EditModeChainThreadsTheControlsBetweenTheFirstItems)
{
	Evas_Object* first = button("select all");
	Evas_Object* second = button("delete");
	Evas_Object* third = button("cancel");
	Evas_Object* list = genlist(4);
	Elm_Object_Item* top = elm_genlist_first_item_get(list);
	Elm_Object_Item* next = elm_genlist_item_next_get(top);
	Elm_Object_Item* bottom = elm_genlist_last_item_get(list);
	ScreenReaderHelper::setGenlistEditmodeChain(list, first, second, third);
	EXPECT_EQ(std::vector<Evas_Object*>{first}, related(top, kFlowsTo));
	EXPECT_EQ(std::vector<Evas_Object*>{third}, related(first, kFlowsTo));
	EXPECT_EQ(std::vector<Evas_Object*>{second}, related(third, kFlowsTo));
	EXPECT_EQ(std::vector<Evas_Object*>{next}, related(second, kFlowsTo));
	EXPECT_EQ(std::vector<Evas_Object*>{second}, related(next, kFlowsFrom));
	EXPECT_EQ(std::vector<Evas_Object*>{top}, related(bottom, kFlowsTo));
	EXPECT_EQ(std::vector<Evas_Object*>{bottom}, related(top, kFlowsFrom));

	Evas_Object* otherList = genlist(3);
	Evas_Object* a = button();
	Evas_Object* b = button();
	ScreenReaderHelper::setGenlistEditmodeChain(otherList, a, b, nullptr);
	EXPECT_EQ(std::vector<Evas_Object*>{b}, related(a, kFlowsTo));
	EXPECT_EQ(std::vector<Evas_Object*>{elm_genlist_item_next_get(elm_genlist_first_item_get(otherList))},
		related(b, kFlowsTo));
}

TEST_F(ScreenReaderHelperTest, EditModeChainNeedsThreeItemsAndItsObjects)
{
	Evas_Object* a = button();
	Evas_Object* b = button();
	struct Case {
		int items;
		bool withObjects;
		const char* message;
	};
	for (const Case& c : {Case{2, true, "at least 3 items have to be exist"}, Case{1, true, "second item is not exist"},
			 Case{0, true, "top item is not exist"}, Case{3, false, "object is not exist"}}) {
		zon_host_log_clear();
		Evas_Object* list = genlist(c.items);
		ScreenReaderHelper::setGenlistEditmodeChain(list, c.withObjects ? a : nullptr, b, nullptr);
		EXPECT_TRUE(zon_host_log_contains(c.message)) << c.message;
		EXPECT_TRUE(related(a, kFlowsTo).empty()) << c.message;
		EXPECT_TRUE(related(b, kFlowsFrom).empty()) << c.message;
		for (Elm_Object_Item* item = elm_genlist_first_item_get(list); item; item = elm_genlist_item_next_get(item))
			EXPECT_TRUE(related(item, kFlowsTo).empty()) << c.message;
	}
}

TEST_F(ScreenReaderHelperTest, PrimitiveObjectsOfEachOverload)
{
	const char* name = "Time";
	const char* description = "Double tap to change";
	char* nameData = const_cast<char*>("Time of Paris");
	char* descriptionData = const_cast<char*>("Tap twice");
	const int N = ELM_ACCESSIBLE_READING_INFO_TYPE_NAME;
	const int R = ELM_ACCESSIBLE_READING_INFO_TYPE_ROLE;
	const int D = ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION;
	const Elm_Atspi_Role role = ELM_ATSPI_ROLE_PUSH_BUTTON;
	struct Case {
		std::function<Evas_Object*(Evas_Object*, Evas_Smart_Cb, int*)> make;
		int kind;
		bool hasRole;
		std::string reads;
	};
	using H = ScreenReaderHelper;
	std::vector<Case> cases = {
		{[&](Evas_Object* p, Evas_Smart_Cb cb, int* d) { return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, name, cb, d); },
			N, false, "Time"},
		{[&](Evas_Object* p, Evas_Smart_Cb cb, int* d) { return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, nameOf, nameData, cb, d); },
			N, false, "Time of Paris"},
		{[&](Evas_Object* p, Evas_Smart_Cb cb, int* d) { return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, name, description, cb, d); },
			N | D, false, "Time, Double tap to change"},
		{[&](Evas_Object* p, Evas_Smart_Cb cb, int* d) {
			 return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, nameOf, nameData, nameOf, descriptionData, cb, d);
		 },
			N | D, false, "Time of Paris, Tap twice"},
		{[&](Evas_Object* p, Evas_Smart_Cb cb, int* d) { return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, name, role, cb, d); },
			N | R, true, "Time, push button"},
		{[&](Evas_Object* p, Evas_Smart_Cb cb, int* d) { return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, nameOf, nameData, role, cb, d); },
			N | R, true, "Time of Paris, push button"},
		{[&](Evas_Object* p, Evas_Smart_Cb cb, int* d) {
			 return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, name, description, role, cb, d);
		 },
			N | R | D, true, "Time, push button, Double tap to change"},
		{[&](Evas_Object* p, Evas_Smart_Cb cb, int* d) {
			 return H::createPrimativeScreenReaderObject(p, "elm.text", nullptr, nameOf, nameData, nameOf, descriptionData, role, cb, d);
		 },
			N | R | D, true, "Time of Paris, push button, Tap twice"},
	};
	for (size_t i = 0; i < cases.size(); ++i) {
		const Case& c = cases[i];
		int activations = 0;
		Evas_Object* ao = c.make(layout(), countActivation, &activations);
		ASSERT_NE(nullptr, ao) << "overload " << i;
		EXPECT_EQ(c.kind, elm_atspi_accessible_reading_info_type_get(ao)) << "overload " << i;
		EXPECT_EQ(c.hasRole, elm_atspi_accessible_role_get(ao) == ELM_ATSPI_ROLE_PUSH_BUTTON) << "overload " << i;
		EXPECT_EQ(c.reads, readerText(ao)) << "overload " << i;
		ASSERT_EQ(0, zon_host_screen_reader_activate(ao));
		EXPECT_EQ(1, activations) << "overload " << i;

		// Without an activation callback nothing is connected.
		Evas_Object* quiet = c.make(layout(), nullptr, nullptr);
		ASSERT_NE(nullptr, quiet);
		EXPECT_EQ(0, zon_host_screen_reader_activate(quiet));
	}
}

TEST_F(ScreenReaderHelperTest, PrimitiveObjectsWithMissingPieces)
{
	using H = ScreenReaderHelper;
	Evas_Object* ao = H::createPrimativeScreenReaderObject(layout(), "elm.text", "zonvista",
		static_cast<const char*>(nullptr), static_cast<const char*>(nullptr), ELM_ATSPI_ROLE_LABEL, nullptr, nullptr);
	ASSERT_NE(nullptr, ao);
	EXPECT_TRUE(zon_host_log_contains("Name is needed for setting name on object"));
	EXPECT_TRUE(zon_host_log_contains("description is needed for setting description on object"));
	EXPECT_EQ(ELM_ATSPI_ROLE_LABEL, elm_atspi_accessible_role_get(ao));

	ao = H::createPrimativeScreenReaderObject(layout(), "elm.text", nullptr, static_cast<Elm_Atspi_Reading_Info_Cb>(nullptr),
		nullptr, static_cast<Elm_Atspi_Reading_Info_Cb>(nullptr), nullptr, nullptr, nullptr);
	ASSERT_NE(nullptr, ao);
	EXPECT_TRUE(zon_host_log_contains("NameCb is needed for setting name on object"));
	EXPECT_TRUE(zon_host_log_contains("descriptionCb is needed for setting description on object"));

	// The domain translates a name text.
	ao = H::createPrimativeScreenReaderObject(layout(), "elm.text", "zonvista", "WDS_ZON_TPOP_DELETED", nullptr, nullptr);
	EXPECT_EQ("Deleted.", readerText(ao));

	zon_host_log_clear();
	EXPECT_EQ(nullptr, H::createPrimativeScreenReaderObject(nullptr, "elm.text", nullptr, "x", nullptr, nullptr));
	EXPECT_TRUE(zon_host_log_contains("Invalid parent input"));
	EXPECT_TRUE(zon_host_log_contains("Invalid input"));
	zon_host_log_clear();
	EXPECT_EQ(nullptr, H::createPrimativeScreenReaderObject(layout(), nullptr, nullptr, "x", nullptr, nullptr));
	EXPECT_TRUE(zon_host_log_contains("Invalid part input"));
	EXPECT_TRUE(zon_host_log_contains("Invalid input"));
	zon_host_log_clear();
	EXPECT_EQ(nullptr, H::createPrimativeScreenReaderObject(layout(), "no.such.part", nullptr, "x", nullptr, nullptr));
	EXPECT_TRUE(zon_host_log_contains("Invalid input"));
}
