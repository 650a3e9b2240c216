/**
 * @class ZonAlphabeticIndex
 * ZonAlphabeticIndex.h - index buckets (A, B, C... or the script's own letters) of city names.
 *
 * An instance is built for the region format of the moment (ZonTimeUtil::getLocale(): the first
 * "_" piece is the language, the second the country; further pieces are dropped) over ICU's
 * AlphabeticIndex. Labels are stored in ICU's order without ICU's leading underflow bucket, so a
 * name that ICU files before the first letter has no bucket: index -1, label "nullptr". Names
 * past the last letter go to the overflow bucket, the last label.
 *
 * When the LANG environment variable starts with "zh", the cities with the ids
 * "WDS_ZON_MBODY_CHANGCHUN_M_CITY" and "WDS_ZON_MBODY_CHONGJING_M_CITY" are filed under the third
 * label (C in the pinyin index) whatever their translated text: their first characters have two
 * readings and ICU picks the other one.
 *
 * A change of language or region needs a new instance. If ICU cannot build the index, the
 * instance still exists and every lookup answers -1 / "nullptr" (the failure is logged).
 *
 * Ownership and threading: the instance owns its ICU index; not copyable. Main-loop thread only.
 *
 * Example:
 * @code
 *   ZonAlphabeticIndex index;
 *   std::string label = index.getBucket("Seoul", "WDS_ZON_MBODY_SEOUL_M_CITY");  // "S" for en_US
 *   if (label != "nullptr")
 *       addToSection(label, city);
 * @endcode
 */
#ifndef ZON_ALPHABETIC_INDEX_H
#define ZON_ALPHABETIC_INDEX_H

#include <string>
#include <vector>

/// The platform's handle of an alphabetic index.
typedef void* i18n_alpha_idx_h;

class ZonAlphabeticIndex {
public:
	/// Builds the ICU index for the region format of the moment; a failure is logged and leaves
	/// an index that answers -1.
	ZonAlphabeticIndex();
	virtual ~ZonAlphabeticIndex();

	/// 0-based position of the name's label among the stored labels, or -1 (null name, no
	/// index, or ICU's underflow bucket). citynameString is the city's message id, may be null.
	int getBucketIndex(const char* citynameTranslated, const char* citynameString);
	/// The label, or the text "nullptr" when the name has none.
	std::string getBucket(const char* citynameTranslated, const char* citynameString);
	/// getBucket() without a message id.
	std::string getBucket(const char* citynameTranslated);

private:
	/// A copy builds its own ICU index for the region format of the moment.
	ZonAlphabeticIndex(const ZonAlphabeticIndex&);
	ZonAlphabeticIndex& operator=(const ZonAlphabeticIndex&) = delete;

	bool _initialize();
	bool _finalize();

	std::string _locale;
	std::string _country;
	std::string _language;
	std::vector<std::string> _buckets;
	i18n_alpha_idx_h _alphaIndex;
};

#endif /* ZON_ALPHABETIC_INDEX_H */
