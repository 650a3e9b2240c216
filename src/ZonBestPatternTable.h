/*
 * ZonBestPatternTable.h - the best patterns of the time texts' skeletons, worked out when the
 * library was built. Internal to the library.
 *
 * A pattern generator costs ICU about a millisecond to make: more than the rest of a clock view
 * that shows four cities. Its answer depends on nothing but the locale's data, the skeleton and
 * ICU's code, so tools/bestpatterns/gen_best_patterns asks it at build time, for every locale ICU
 * has data of its own for and every skeleton the texts use, and the cache (ZonIcuCache) takes the
 * answer from here instead of making a generator:
 *
 *   - only while the running ICU is the one the table came from (same ICU, data and CLDR
 *     versions; checked once per process), and
 *   - only for a locale text spelled as ICU lists it ("en_US", not "en_us" or "en_US.UTF-8"),
 *     whose data ICU then finds without falling back to the default locale.
 *
 * Anything else is answered by a generator, as before; the library's tests compare every entry
 * with a generator's answer.
 *
 *   const char16_t* pattern = zon_best_patterns::find("ko_KR", "hh:mm");   // u"a h:mm"
 *
 * Threading: the table is constant; the version check runs once, on the main-loop thread.
 */
#ifndef ZON_BEST_PATTERN_TABLE_H
#define ZON_BEST_PATTERN_TABLE_H

#include <stddef.h>
#include <stdint.h>

namespace zon_best_patterns {

// The generated table (tools/bestpatterns). Texts are NUL-terminated and packed one after another.
extern const char kIcuVersion[];        // u_getVersion() of the ICU that answered
extern const char kDataVersion[];       // u_getDataVersion()
extern const char kCldrVersion[];       // ulocdata_getCLDRVersion()
extern const size_t kSkeletonCount;
extern const char kSkeletons[];         // kSkeletonCount skeletons, the columns
extern const size_t kLocaleCount;
extern const char kLocales[];           // kLocaleCount locale ids, in strcmp() order
extern const uint32_t kLocaleOffsets[]; // where each locale id starts in kLocales
extern const char16_t kPatterns[];      // each distinct pattern once
extern const uint16_t kPatternOffsets[]; // [locale * kSkeletonCount + skeleton]: start in kPatterns

// Whether the running ICU is the one the table was made with.
bool matchesRunningIcu();

// The best pattern of `skeleton` for `locale` (NUL-terminated, owned by the table), or null when
// the table has none: another ICU, or a locale or skeleton it does not hold.
const char16_t* find(const char* locale, const char* skeleton);

} // namespace zon_best_patterns

#endif /* ZON_BEST_PATTERN_TABLE_H */
