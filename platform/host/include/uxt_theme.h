/*
 * uxt_theme.h - the device's changeable UI theme: colour and font tables an application loads
 * from its resources and applies over the toolkit's theme.
 *
 * An application switches the changeable UI on once, selects a theme style, then loads a table
 * from a file (uxt_theme_add_*_table: the answer is the table's handle, an Eina_List owned by the
 * service) and applies it (uxt_theme_set_*_table). A table stays loaded until
 * uxt_theme_delete_*_table(); deleting the applied table takes it off the screen again.
 * uxt_theme_add_*_table() answers NULL on failure and leaves the reason in get_last_result():
 * UXT_THEME_ERROR_INVALID_PARAMETER for a NULL path or a file that is missing or not a table,
 * UXT_THEME_ERROR_IO_ERROR for a file that exists but can't be read. The other functions
 * return the error; a handle the service does not know (NULL, deleted, of the other kind) is
 * UXT_THEME_ERROR_INVALID_PARAMETER.
 *
 * Host file format. A table is a small XML document, one element per entry:
 *
 *   <?xml version="1.0" encoding="UTF-8"?>
 *   <color_table>
 *     <color id="B011" rgba="#FAFAFAFF"/>     rgba: "#RRGGBB" or "#RRGGBBAA", hex digits
 *     <color id="B012" rgba="#2A7BE4"/>       (alpha FF when left out)
 *   </color_table>
 *
 *   <font_table>
 *     <font id="T011" style="Regular" size="30"/>   style: non-empty; size: 1..999 (pixels)
 *   </font_table>
 *
 * The root element names the kind of table. A table with no entry, an unknown element or
 * attribute, a missing attribute, an id given twice or a value out of its form makes the whole
 * file malformed; nothing of it is loaded. Comments and blanks are allowed anywhere.
 * The state of the service (switch, style, loaded and applied tables) belongs to the process,
 * as the toolkit's theme does; zon-host/zon_host.h shows what is applied.
 */
#ifndef __UXT_THEME_H__
#define __UXT_THEME_H__

#include <stdbool.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

/* As the toolkit declares it (a repeated identical typedef is allowed). */
typedef struct _Eina_List Eina_List;

typedef enum {
	UXT_THEME_ERROR_NONE = TIZEN_ERROR_NONE,
	UXT_THEME_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	UXT_THEME_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	UXT_THEME_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
	UXT_THEME_ERROR_NOT_SUPPORTED = TIZEN_ERROR_NOT_SUPPORTED,
} uxt_theme_error_e;

/* Theme styles are numbered from 0, the device's default look. */
#define UXT_THEME_STYLE_DEFAULT 0

int uxt_theme_set_changeable_ui_enabled(bool enabled);
int uxt_theme_set_style(int style);

Eina_List *uxt_theme_add_color_table(const char *file_path);
int uxt_theme_set_color_table(Eina_List *color_table);
int uxt_theme_delete_color_table(Eina_List *color_table);

Eina_List *uxt_theme_add_font_table(const char *file_path);
int uxt_theme_set_font_table(Eina_List *font_table);
int uxt_theme_delete_font_table(Eina_List *font_table);

#ifdef __cplusplus
}
#endif

#endif /* __UXT_THEME_H__ */
