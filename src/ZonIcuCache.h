/*
 * ZonIcuCache.h - the ICU services behind the time texts, built once and reused. Internal to the
 * library: not installed, not part of any class's contract.
 *
 * Making ICU's pattern generator costs a few hundred microseconds and a date formatter tens of
 * them, while formatting with a ready one costs about one. The time texts ask for the same few
 * (locale, skeleton, zone) triples every minute, so they borrow them from here instead of
 * building and destroying them per call. Every answer is what a fresh object would give:
 *
 *   - An object is keyed by every argument it was made from (locale text, pattern or skeleton,
 *     zone id, as the caller would have passed them to ICU). A date formatter is the exception
 *     that proves it: udat_open() itself makes it without a zone and then gives it one, so a
 *     formatter per (locale, pattern) is given the caller's zone on every use.
 *   - ICU falls back to the default locale when it has no data for a requested one: an entry for
 *     such a locale (or for the null one) is keyed with the default locale as well, while an
 *     entry for a locale with data of its own survives a change of the default. ICU reads the
 *     zone rules (whose version it reports) once; all entries belong to one zone-rules version
 *     and are dropped when it differs from what it was when they were made. That check runs on
 *     every call. Rules read anew need u_cleanup(), after which no ICU object may be used:
 *     whoever calls it calls clear() first.
 *   - The default time zone does not reach any object kept here: formatters and calendars are
 *     only kept for an explicit zone id. A formatter for ICU's default zone is not offered.
 *   - Failures are never kept: a call that cannot make an object fails again the next time, with
 *     the same status, so callers log and assert exactly as they would without the cache.
 *   - A best pattern not kept yet is taken from the table made when the library was built
 *     (ZonBestPatternTable.h) for a locale with data of its own, while the ICU that made it runs;
 *     a generator is made only for the rest.
 *
 * Bounds (a watch has little memory): least recently used entries are dropped beyond
 * kMaxGenerators pattern generators, kMaxPatterns best patterns, kMaxDateFormats date formatters
 * (tens of kilobytes each, so one per locale and pattern, not per zone), kMaxZones time zones
 * (a few hundred bytes each), kMaxNumberFormats number formatters, kMaxCalendars calendars and
 * kMaxZoneFormats zone formats.
 * Generators are only needed for a skeleton not yet seen, so few are kept. Peak heap of 1000
 * four-city refreshes moving through seven locales, measured with heaptrack: see README.md.
 *
 * Ownership: returned objects stay owned by the cache and are valid until the next call into it;
 * callers use them at once and never close them. Formatting with them does not change what they
 * give next (ICU formats from the instant alone).
 *
 * Threading: unguarded static state, main-loop thread only, like the rest of the library.
 */
#ifndef ZON_ICU_CACHE_H
#define ZON_ICU_CACHE_H

#include <stddef.h>

#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/unum.h>

class ZonIcuCache {
public:
	static constexpr size_t kMaxGenerators = 2;
	static constexpr size_t kMaxPatterns = 64;
	static constexpr size_t kMaxDateFormats = 6;
	static constexpr size_t kMaxZones = 64;
	static constexpr size_t kMaxNumberFormats = 2;
	static constexpr size_t kMaxZoneFormats = 2;
	static constexpr size_t kMaxCalendars = 8;

	// The best pattern of `skeleton` (UTF-8) for `locale`, written as udatpg_getBestPattern()
	// writes it into `pattern` with capacity - 1 units: the pattern, zero-filled to `capacity`
	// units, or only zeros when it is longer than capacity - 1. False, with *status the error of
	// udatpg_open(), when no generator can be made for the locale (pattern then all zeros).
	static bool getBestPattern(const char* locale, const char* skeleton, UChar* pattern, int32_t capacity,
		UErrorCode* status);

	// udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, zone, -1, pattern, -1, status), shared: the
	// formatter of (locale, pattern), given `zone` for this use. `zone` and `pattern` are
	// terminated and not null. Null, with *status the failure, when ICU cannot make it.
	static UDateFormat* getDateFormat(const char* locale, const UChar* pattern, const UChar* zone, UErrorCode* status);
	// udat_format(format, when, out, capacity, nullptr, status): the same length, text and status,
	// without the copy of the formatter's calendar and zone that udat_format() makes for each text.
	// Sets the time of the formatter's calendar (which only parsing would read).
	static int32_t formatDate(UDateFormat* format, UDate when, UChar* out, int32_t capacity, UErrorCode* status);

	// What a formatter of the pattern "O" alone (getDateFormat(locale, u"O", zone)) writes for
	// `when` into a buffer of `capacity` units: its length (more than `capacity` when it does not
	// fit, as udat_format() reports), the text in `out`. ICU writes that field with its zone
	// format's short localized GMT style; the zone format is made, and kept, without the rest of
	// a date formatter (calendar, symbols, number formats: most of a first GMT text's cost).
	// -1, with *status the failure, when ICU cannot make it.
	static int32_t formatShortGmt(const char* locale, const UChar* zone, UDate when, UChar* out, int32_t capacity,
		UErrorCode* status);

	// unum_open(UNUM_DECIMAL, nullptr, -1, locale, nullptr, status), shared.
	static UNumberFormat* getDecimalFormat(const char* locale, UErrorCode* status);

	// ucal_open(zone, zoneLength, locale, UCAL_TRADITIONAL, status), shared, set to the present
	// instant as ucal_open() would set it. `locale` may be null (ICU's default).
	static UCalendar* getCalendar(const UChar* zone, int32_t zoneLength, const char* locale, UErrorCode* status);

	// Drops every entry (memory pressure, or a test that wants a first call).
	static void clear();

	struct Counts {
		size_t generators;
		size_t patterns;
		size_t dateFormats;
		size_t zones;
		size_t numberFormats;
		size_t calendars;
		size_t zoneFormats;
	};
	static Counts counts();
};

#endif /* ZON_ICU_CACHE_H */
