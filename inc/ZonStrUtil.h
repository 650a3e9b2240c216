/**
 * @class ZonStrUtil
 * ZonStrUtil.h - number and case conversion for display texts.
 *
 * convertNumberToString() writes an integer in the digits of the device's region format
 * ("db/menu_widget/regionformat", vconf), so that an Arabic or Persian region gets its own
 * numerals in the difference texts; without a region format it prints ASCII digits. The locale's
 * decimal style applies, grouping included.
 *
 * getUpperString() upper-cases UTF-8 by Unicode's full case mapping, so the text may grow
 * ("straße" gives "STRASSE"). A null text is a caller error: std::logic_error is thrown by the
 * string constructor.
 *
 * Ownership and threading: static functions, results by value; main-loop thread only, like the
 * rest of the library.
 *
 * Example:
 * @code
 *   std::string seven = ZonStrUtil::convertNumberToString(7);   // "٧" for ar_EG.UTF-8
 *   std::string city = ZonStrUtil::getUpperString("Zürich");     // "ZÜRICH"
 * @endcode
 */
#ifndef ZON_STR_UTIL_H
#define ZON_STR_UTIL_H

#include <string>

class ZonStrUtil {
public:
	/// `number` in the digits of the region format.
	static std::string convertNumberToString(int number);
	/// `text` (UTF-8, not null) upper-cased by full case mapping.
	static std::string getUpperString(const char* text);
};

#endif /* ZON_STR_UTIL_H */
