/**
 * @file
 * ZonUtil.h - device and environment queries shared by the application, widget and service.
 *
 * Every query reads the platform afresh; nothing is cached. A setting or feature that can't be
 * read is logged and counts as false (the region format as "en_US"); no function reports an
 * error to its caller.
 *
 * Theme tables: the application's colour and font tables (files in its shared resource
 * directory) are loaded into the device's changeable theme. Attaching again replaces the
 * table loaded before; colours and fonts are attached and detached independently. The first
 * attach switches the changeable UI on and selects theme style 0; once both tables are
 * detached, the next attach does that again. (Detaching never switches the changeable UI off.)
 *
 * Settings read:
 * @code
 *   "db/csc/country_iso"             zonUtilCheckShowOnlyJerusalem
 *   "db/setting/accessibility/tts"   zonUtilIsScreenReaderOn
 *   "db/menu_widget/regionformat"    zonUtilIsRTL, zonUtilIsArabic
 *   "db/setting/rotary_event_enabled" zonUtilHasBezel (virtual bezels only)
 *   ELM_DEVICE_PROD_THEME (environment) zonUtilIsVorelDevice
 * @endcode
 * and the platform features of a rotating bezel and of a virtual (touch) rotating bezel.
 *
 * Threading: main-loop thread only; the theme-table state is unguarded.
 *
 * Example:
 * @code
 *   zonUtilAttachChangeableColors("tables/zonvista_color_table.xml");
 *   if (zonUtilIsRTL())
 *       elm_config_mirrored_set(EINA_TRUE);
 *   if (zonUtilHasBezel())
 *       ...                              // offer rotary navigation
 * @endcode
 */
#ifndef ZON_UTIL_H
#define ZON_UTIL_H

/// Load (attach) or drop (detach) the theme's changeable colour and font tables for the
/// application's widgets; xmlPath is relative to the application's shared resource directory.
/// Failures are logged only.
///@{
void zonUtilAttachChangeableColors(const char* xmlPath);
void zonUtilAttachChangeableFonts(const char* xmlPath);
void zonUtilDetachChangeableColors();
void zonUtilDetachChangeableFonts();
///@}

/// Whether the device is sold in a market where, of Israel's time zone, only Jerusalem is
/// offered (by the device's sales-country code).
bool zonUtilCheckShowOnlyJerusalem();
/// Whether the screen reader is on; false when the setting cannot be read.
bool zonUtilIsScreenReaderOn();
/// Region formats written right to left (Arabic, Hebrew, Persian, Urdu) and Arabic alone. Only
/// the first two letters of the locale count, so "arn_CL" is taken for Arabic too.
///@{
bool zonUtilIsRTL();
bool zonUtilIsArabic();
///@}

/// Whether the package came with the device; false also when it is not installed.
bool zonUtilIsPkgPreloaded(const char* packageId);
/// Records in the preference ".weatherPackageAvailable" whether the weather application
/// ("korvath.weather") is installed, for the application's screens to read.
void zonUtilSetWeatherPkgState();

/// Whether the device runs the "vorel" product theme (environment ELM_DEVICE_PROD_THEME).
bool zonUtilIsVorelDevice();

/// Whether the user has a bezel to rotate: a physical one, or a virtual one that the user has
/// not switched off.
bool zonUtilHasBezel();
/// Whether the device has a physical rotating bezel.
bool zonUtilHasPhysicalBezel();

#endif /* ZON_UTIL_H */
