/**
 * @file
 * ZonCityinfo.h - the city record and the weather conditions.
 *
 * `Cityinfo` is a plain record copied by value. The catalogue of the 331 selectable cities
 * (allCityList) is made of these records; the city database builds one per stored row from the
 * catalogue. Text fields are NUL-terminated within their 128 bytes. The last eight fields are
 * display and weather state filled at run time; they are zero in the catalogue.
 *
 * The header does not pull in the toolkit: the two toolkit types it names are declared here
 * exactly as the toolkit declares them (repeating an identical typedef is allowed), so a file
 * may include it before or after <Elementary.h>.
 */
#ifndef ZON_CITYINFO_H
#define ZON_CITYINFO_H

#include <stdint.h>

/// The toolkit's types, as the toolkit declares them.
///@{
typedef unsigned char Eina_Bool;
typedef struct _Eo_Opaque Eo;
typedef Eo Evas_Object;
///@}

/// The platform's i18n wrapper passes UTF-16 code units as i18n_uchar.
typedef uint16_t i18n_uchar;

/// The weather conditions of the agent's answers and the cache; the values are stored.
typedef enum {
	UNDEFINED_WEATHER = 0,
	SUNNY,
	PARTLY_SUNNY,
	CLOUDY,
	RAIN,
	FOG,
	SHOWERS,
	PARTLY_SUNNY_WITH_SHOWERS,
	THUNDERSTORMS,
	PARTLY_SUNNY_WITH_THUNDER_SHOWER,
	FLURRIES,
	PARTLY_SUNNY_WITH_FLURRIES,
	SNOW,
	RAIN_AND_SNOW_MIXED,
	ICE_SLEET_FREEZING_RAIN,
	HOT,
	COLD,
	WINDY,
	CLEAR,
	MOSTLY_CLEAR,
	HEAVY_RAIN,
	HAIL,
	SANDSTORM,
	HURRICANE,
	WEATHER_STATE_MAX ///< count of the values above, not a condition
} WeatherType;

#define CITYINFO_TEXT_SIZE 128 ///< bytes of every text field, NUL included

/// One city: the catalogue's fixed fields, then display and weather state.
typedef struct _Cityinfo {
	int id;                                         ///< catalogue id, 1..331
	int chinese_index;                              ///< position in Chinese collation order, 1..331
	char cityname_string[CITYINFO_TEXT_SIZE];       ///< translation id of the city name
	char cityname_eng[CITYINFO_TEXT_SIZE];          ///< English name; with id, the city's key
	char country_string[CITYINFO_TEXT_SIZE];        ///< translation id of the country name
	char country_name[CITYINFO_TEXT_SIZE];          ///< English country key, e.g. "REPUBLIC_OF_KOREA"
	char timezone[CITYINFO_TEXT_SIZE];              ///< fixed offset text, "GMT+9", "GMT-3:30"
	char timezone_path[CITYINFO_TEXT_SIZE];         ///< time-zone database name, "Asia/Seoul"
	char* cityname_translated;                      ///< translated display name; not owned here
	i18n_uchar* compare_name;                       ///< collation key; not owned here
	int dbId;                                       ///< row id in the added-city table, 0 if never added
	Evas_Object* checkIcon;                         ///< check mark of the list item
	Eina_Bool isChecked;                            ///< checked in a selection list
	int currentTemperature;                         ///< degrees, in the unit isCentegrade says
	bool isCentegrade;                              ///< true: Celsius
	WeatherType currentWeatherType;                 ///< last known condition
} Cityinfo; ///< The city record, copied by value.

#endif /* ZON_CITYINFO_H */
