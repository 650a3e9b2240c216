/*
 * Elementary.h - the toolkit as the watch has it: upstream Elementary, plus the accessibility
 * calls of the watch's toolkit that upstream lacks or names differently.
 *
 * The library is written against the watch's toolkit header; on the host this header stands in
 * for it by including upstream Elementary.h (found further down the include path) and then
 * declaring the watch's additions, which zon-host implements:
 *
 * - names, descriptions, translation domains, roles, reading-information types and relations
 *   of accessible objects: stored in upstream's own accessibility properties (efl_access_*),
 *   so upstream's tools see them too;
 * - name and description functions, gesture callbacks, whether an object can take the screen
 *   reader's highlight, the highlight itself and the access object of a layout part: kept by
 *   the host, which has no screen reader; zon-host/zon_host.h tells what the reader would read
 *   and lets a test play the user of the reader.
 *
 * Whether the screen reader is on is the device's setting "db/setting/accessibility/tts"
 * (VCONFKEY_SETAPPL_ACCESSIBILITY_TTS). An object that is not accessible (a plain rectangle,
 * an image part) accepts the host-kept properties only; the others are logged and ignored.
 *
 * Threading: main-loop thread only, like the toolkit.
 */
#ifndef ZON_HOST_ELEMENTARY_H
#define ZON_HOST_ELEMENTARY_H

#include_next <Elementary.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The values are upstream's (Efl_Access_Role, Efl_Access_Relation_Type), as on the watch. */
typedef enum {
	ELM_ATSPI_ROLE_INVALID = 0, ELM_ATSPI_ROLE_ACCELERATOR_LABEL, ELM_ATSPI_ROLE_ALERT,
	ELM_ATSPI_ROLE_ANIMATION, ELM_ATSPI_ROLE_ARROW, ELM_ATSPI_ROLE_CALENDAR, ELM_ATSPI_ROLE_CANVAS,
	ELM_ATSPI_ROLE_CHECK_BOX, ELM_ATSPI_ROLE_CHECK_MENU_ITEM, ELM_ATSPI_ROLE_COLOR_CHOOSER,
	ELM_ATSPI_ROLE_COLUMN_HEADER, ELM_ATSPI_ROLE_COMBO_BOX, ELM_ATSPI_ROLE_DATE_EDITOR,
	ELM_ATSPI_ROLE_DESKTOP_ICON, ELM_ATSPI_ROLE_DESKTOP_FRAME, ELM_ATSPI_ROLE_DIAL,
	ELM_ATSPI_ROLE_DIALOG, ELM_ATSPI_ROLE_DIRECTORY_PANE, ELM_ATSPI_ROLE_DRAWING_AREA,
	ELM_ATSPI_ROLE_FILE_CHOOSER, ELM_ATSPI_ROLE_FILLER, ELM_ATSPI_ROLE_FOCUS_TRAVERSABLE,
	ELM_ATSPI_ROLE_FONT_CHOOSER, ELM_ATSPI_ROLE_FRAME, ELM_ATSPI_ROLE_GLASS_PANE,
	ELM_ATSPI_ROLE_HTML_CONTAINER, ELM_ATSPI_ROLE_ICON, ELM_ATSPI_ROLE_IMAGE,
	ELM_ATSPI_ROLE_INTERNAL_FRAME, ELM_ATSPI_ROLE_LABEL, ELM_ATSPI_ROLE_LAYERED_PANE,
	ELM_ATSPI_ROLE_LIST, ELM_ATSPI_ROLE_LIST_ITEM, ELM_ATSPI_ROLE_MENU, ELM_ATSPI_ROLE_MENU_BAR,
	ELM_ATSPI_ROLE_MENU_ITEM, ELM_ATSPI_ROLE_OPTION_PANE, ELM_ATSPI_ROLE_PAGE_TAB,
	ELM_ATSPI_ROLE_PAGE_TAB_LIST, ELM_ATSPI_ROLE_PANEL, ELM_ATSPI_ROLE_PASSWORD_TEXT,
	ELM_ATSPI_ROLE_POPUP_MENU, ELM_ATSPI_ROLE_PROGRESS_BAR, ELM_ATSPI_ROLE_PUSH_BUTTON,
	ELM_ATSPI_ROLE_RADIO_BUTTON, ELM_ATSPI_ROLE_RADIO_MENU_ITEM, ELM_ATSPI_ROLE_ROOT_PANE,
	ELM_ATSPI_ROLE_ROW_HEADER, ELM_ATSPI_ROLE_SCROLL_BAR, ELM_ATSPI_ROLE_SCROLL_PANE,
	ELM_ATSPI_ROLE_SEPARATOR, ELM_ATSPI_ROLE_SLIDER, ELM_ATSPI_ROLE_SPIN_BUTTON,
	ELM_ATSPI_ROLE_SPLIT_PANE, ELM_ATSPI_ROLE_STATUS_BAR, ELM_ATSPI_ROLE_TABLE,
	ELM_ATSPI_ROLE_TABLE_CELL, ELM_ATSPI_ROLE_TABLE_COLUMN_HEADER, ELM_ATSPI_ROLE_TABLE_ROW_HEADER,
	ELM_ATSPI_ROLE_TEAROFF_MENU_ITEM, ELM_ATSPI_ROLE_TERMINAL, ELM_ATSPI_ROLE_TEXT,
	ELM_ATSPI_ROLE_TOGGLE_BUTTON, ELM_ATSPI_ROLE_TOOL_BAR, ELM_ATSPI_ROLE_TOOL_TIP,
	ELM_ATSPI_ROLE_TREE, ELM_ATSPI_ROLE_TREE_TABLE, ELM_ATSPI_ROLE_UNKNOWN, ELM_ATSPI_ROLE_VIEWPORT,
	ELM_ATSPI_ROLE_WINDOW, ELM_ATSPI_ROLE_EXTENDED, ELM_ATSPI_ROLE_HEADER, ELM_ATSPI_ROLE_FOOTER,
	ELM_ATSPI_ROLE_PARAGRAPH, ELM_ATSPI_ROLE_RULER, ELM_ATSPI_ROLE_APPLICATION,
	ELM_ATSPI_ROLE_AUTOCOMPLETE, ELM_ATSPI_ROLE_EDITBAR, ELM_ATSPI_ROLE_EMBEDDED,
	ELM_ATSPI_ROLE_ENTRY, ELM_ATSPI_ROLE_CHART, ELM_ATSPI_ROLE_CAPTION, ELM_ATSPI_ROLE_DOCUMENT_FRAME,
	ELM_ATSPI_ROLE_HEADING, ELM_ATSPI_ROLE_PAGE, ELM_ATSPI_ROLE_SECTION,
	ELM_ATSPI_ROLE_REDUNDANT_OBJECT, ELM_ATSPI_ROLE_FORM, ELM_ATSPI_ROLE_LINK,
	ELM_ATSPI_ROLE_INPUT_METHOD_WINDOW, ELM_ATSPI_ROLE_TABLE_ROW, ELM_ATSPI_ROLE_TREE_ITEM,
	ELM_ATSPI_ROLE_DOCUMENT_SPREADSHEET, ELM_ATSPI_ROLE_DOCUMENT_PRESENTATION,
	ELM_ATSPI_ROLE_DOCUMENT_TEXT, ELM_ATSPI_ROLE_DOCUMENT_WEB, ELM_ATSPI_ROLE_DOCUMENT_EMAIL,
	ELM_ATSPI_ROLE_COMMENT, ELM_ATSPI_ROLE_LIST_BOX, ELM_ATSPI_ROLE_GROUPING,
	ELM_ATSPI_ROLE_IMAGE_MAP, ELM_ATSPI_ROLE_NOTIFICATION, ELM_ATSPI_ROLE_INFO_BAR,
	ELM_ATSPI_ROLE_LAST_DEFINED,
} Elm_Atspi_Role;

typedef enum {
	ELM_ATSPI_RELATION_NULL = 0, ELM_ATSPI_RELATION_LABEL_FOR, ELM_ATSPI_RELATION_LABELLED_BY,
	ELM_ATSPI_RELATION_CONTROLLER_FOR, ELM_ATSPI_RELATION_CONTROLLED_BY, ELM_ATSPI_RELATION_MEMBER_OF,
	ELM_ATSPI_RELATION_TOOLTIP_FOR, ELM_ATSPI_RELATION_NODE_CHILD_OF,
	ELM_ATSPI_RELATION_NODE_PARENT_OF, ELM_ATSPI_RELATION_EXTENDED, ELM_ATSPI_RELATION_FLOWS_TO,
	ELM_ATSPI_RELATION_FLOWS_FROM, ELM_ATSPI_RELATION_SUBWINDOW_OF, ELM_ATSPI_RELATION_EMBEDS,
	ELM_ATSPI_RELATION_EMBEDDED_BY, ELM_ATSPI_RELATION_POPUP_FOR, ELM_ATSPI_RELATION_PARENT_WINDOW_OF,
	ELM_ATSPI_RELATION_DESCRIPTION_FOR, ELM_ATSPI_RELATION_DESCRIBED_BY,
	ELM_ATSPI_RELATION_LAST_DEFINED,
} Elm_Atspi_Relation_Type;

typedef enum {
	ELM_ACCESSIBLE_READING_INFO_TYPE_NAME = 1 << 0,
	ELM_ACCESSIBLE_READING_INFO_TYPE_ROLE = 1 << 1,
	ELM_ACCESSIBLE_READING_INFO_TYPE_DESCRIPTION = 1 << 2,
	ELM_ACCESSIBLE_READING_INFO_TYPE_STATE = 1 << 3,
} Elm_Accessible_Reading_Info_Type;

/* A sum (bitwise or) of Elm_Accessible_Reading_Info_Type values. */
typedef int Elm_Accessible_Reading_Info_Type_Mask;

/* Returns a malloc'd text, which the toolkit frees; NULL reads nothing. */
typedef char *(*Elm_Atspi_Reading_Info_Cb)(void *data, Evas_Object *obj);

typedef enum {
	ELM_ATSPI_GESTURE_ONE_FINGER_HOVER,
	ELM_ATSPI_GESTURE_TWO_FINGERS_HOVER,
	ELM_ATSPI_GESTURE_THREE_FINGERS_HOVER,
	ELM_ATSPI_GESTURE_ONE_FINGER_FLICK_LEFT,
	ELM_ATSPI_GESTURE_ONE_FINGER_FLICK_RIGHT,
	ELM_ATSPI_GESTURE_ONE_FINGER_FLICK_UP,
	ELM_ATSPI_GESTURE_ONE_FINGER_FLICK_DOWN,
	ELM_ATSPI_GESTURE_TWO_FINGERS_FLICK_LEFT,
	ELM_ATSPI_GESTURE_TWO_FINGERS_FLICK_RIGHT,
	ELM_ATSPI_GESTURE_TWO_FINGERS_FLICK_UP,
	ELM_ATSPI_GESTURE_TWO_FINGERS_FLICK_DOWN,
	ELM_ATSPI_GESTURE_THREE_FINGERS_FLICK_LEFT,
	ELM_ATSPI_GESTURE_THREE_FINGERS_FLICK_RIGHT,
	ELM_ATSPI_GESTURE_THREE_FINGERS_FLICK_UP,
	ELM_ATSPI_GESTURE_THREE_FINGERS_FLICK_DOWN,
	ELM_ATSPI_GESTURE_ONE_FINGER_SINGLE_TAP,
	ELM_ATSPI_GESTURE_ONE_FINGER_DOUBLE_TAP,
	ELM_ATSPI_GESTURE_ONE_FINGER_TRIPLE_TAP,
	ELM_ATSPI_GESTURE_TWO_FINGERS_SINGLE_TAP,
	ELM_ATSPI_GESTURE_TWO_FINGERS_DOUBLE_TAP,
	ELM_ATSPI_GESTURE_TWO_FINGERS_TRIPLE_TAP,
	ELM_ATSPI_GESTURE_THREE_FINGERS_SINGLE_TAP,
	ELM_ATSPI_GESTURE_THREE_FINGERS_DOUBLE_TAP,
	ELM_ATSPI_GESTURE_THREE_FINGERS_TRIPLE_TAP,
	ELM_ATSPI_GESTURE_ONE_FINGER_FLICK_LEFT_RETURN,
	ELM_ATSPI_GESTURE_ONE_FINGER_FLICK_RIGHT_RETURN,
	ELM_ATSPI_GESTURE_ONE_FINGER_FLICK_UP_RETURN,
	ELM_ATSPI_GESTURE_ONE_FINGER_FLICK_DOWN_RETURN,
	ELM_ATSPI_GESTURE_TWO_FINGERS_FLICK_LEFT_RETURN,
	ELM_ATSPI_GESTURE_TWO_FINGERS_FLICK_RIGHT_RETURN,
	ELM_ATSPI_GESTURE_TWO_FINGERS_FLICK_UP_RETURN,
	ELM_ATSPI_GESTURE_TWO_FINGERS_FLICK_DOWN_RETURN,
	ELM_ATSPI_GESTURE_THREE_FINGERS_FLICK_LEFT_RETURN,
	ELM_ATSPI_GESTURE_THREE_FINGERS_FLICK_RIGHT_RETURN,
	ELM_ATSPI_GESTURE_THREE_FINGERS_FLICK_UP_RETURN,
	ELM_ATSPI_GESTURE_THREE_FINGERS_FLICK_DOWN_RETURN,
	ELM_ATSPI_GESTURE_ONE_FINGER_DOUBLE_TAP_N_HOLD,
	ELM_ATSPI_GESTURE_TWO_FINGERS_DOUBLE_TAP_N_HOLD,
	ELM_ATSPI_GESTURE_THREE_FINGERS_DOUBLE_TAP_N_HOLD,
	ELM_ATSPI_GESTURE_TYPE_MAX,
} Elm_Atspi_Gesture_Type;

typedef enum {
	ELM_ATSPI_GESTURE_STATE_BEGIN,
	ELM_ATSPI_GESTURE_STATE_ONGOING,
	ELM_ATSPI_GESTURE_STATE_ENDED,
	ELM_ATSPI_GESTURE_STATE_ABORTED,
} Elm_Atspi_Gesture_State;

typedef struct {
	Elm_Atspi_Gesture_Type type;
	int x_beg, y_beg, x_end, y_end;
	Elm_Atspi_Gesture_State state;
	unsigned int event_time;
} Elm_Atspi_Gesture_Info;

/* EINA_TRUE: the object consumed the gesture, the reader does nothing more with it. */
typedef Eina_Bool (*Elm_Atspi_Gesture_Cb)(void *data, Elm_Atspi_Gesture_Info gesture_info, Evas_Object *obj);

Eina_Bool elm_atspi_bridge_utils_is_screen_reader_enabled(void);

/* Translated through the object's translation domain when the reader reads it. */
void elm_atspi_accessible_name_set(Evas_Object *obj, const char *name);
void elm_atspi_accessible_description_set(Evas_Object *obj, const char *description);
/* A function wins over the text; NULL removes it. */
void elm_atspi_accessible_name_cb_set(Evas_Object *obj, Elm_Atspi_Reading_Info_Cb name_cb, const void *data);
void elm_atspi_accessible_description_cb_set(Evas_Object *obj, Elm_Atspi_Reading_Info_Cb description_cb, const void *data);
void elm_atspi_accessible_translation_domain_set(Evas_Object *obj, const char *domain);
void elm_atspi_accessible_reading_info_type_set(Evas_Object *obj, Elm_Accessible_Reading_Info_Type_Mask reading_info);
/* Name, role, description and state when never set. */
Elm_Accessible_Reading_Info_Type_Mask elm_atspi_accessible_reading_info_type_get(const Evas_Object *obj);
void elm_atspi_accessible_role_set(Evas_Object *obj, Elm_Atspi_Role role);
Elm_Atspi_Role elm_atspi_accessible_role_get(const Evas_Object *obj);
/* Appending a relation the object already has changes nothing (and answers EINA_TRUE). */
Eina_Bool elm_atspi_accessible_relationship_append(Evas_Object *obj, Elm_Atspi_Relation_Type type, const Evas_Object *relation_object);
void elm_atspi_accessible_relationship_remove(Evas_Object *obj, Elm_Atspi_Relation_Type type, const Evas_Object *relation_object);
void elm_atspi_accessible_gesture_cb_set(Evas_Object *obj, Elm_Atspi_Gesture_Cb gesture_cb, const void *data);
/* Objects can take the highlight unless set otherwise. */
void elm_atspi_accessible_can_highlight_set(Evas_Object *obj, Eina_Bool can_highlight);
Eina_Bool elm_atspi_accessible_can_highlight_get(const Evas_Object *obj);

/* Moves the reader's highlight to obj: EINA_FALSE, and nothing happens, when the reader is off
 * or obj can't take it. The object that gets the highlight emits "atspi,highlighted", the one
 * that loses it "atspi,unhighlighted". */
Eina_Bool elm_atspi_component_highlight_grab(Evas_Object *obj);
Eina_Bool elm_atspi_component_highlight_clear(Evas_Object *obj);

/* The access object that stands for a part of a widget (its text, say) before the reader:
 * made on first request, with the widget as its parent, and the same object afterwards. NULL
 * when obj is NULL or not a widget, or part is NULL. */
Evas_Object *elm_object_part_access_object_get(const Evas_Object *obj, const char *part);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ELEMENTARY_H */
