#include "CitySearch.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include <glib.h>
#include <libintl.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/translit.h>
#include <unicode/tznames.h>
#include <unicode/unistr.h>

#include "Catalogue.h"

namespace zonclock {

namespace {

// The languages whose names a city is also known by. The library's catalogues carry no city or
// country names, so ICU's names for the zone's exemplar city and region stand in for them.
const char* const kNameLanguages[] = {"en", "ko", "ar"};

struct IndexedCity {
	const Cityinfo* city;
	std::vector<std::string> names;     // folded
	std::vector<std::string> countries; // folded
};

std::string toUtf8(const icu::UnicodeString& text)
{
	std::string out;
	text.toUTF8String(out);
	return out;
}

void addUnique(std::vector<std::string>& to, const std::string& text)
{
	if (!text.empty() && std::find(to.begin(), to.end(), text) == to.end())
		to.push_back(text);
}

// The words of a folded name: split at anything that is not a letter or digit, so "St. John's"
// has the words "st", "john" and "s" and "Severo-Kurilsk" the word "kurilsk".
std::vector<std::string> wordsOf(const std::string& name)
{
	std::vector<std::string> words;
	std::string word;
	for (const char* p = name.c_str(); *p; p = g_utf8_next_char(p)) {
		gunichar c = g_utf8_get_char(p);
		if (g_unichar_isalnum(c)) {
			word.append(p, g_utf8_next_char(p) - p);
		} else if (!word.empty()) {
			words.push_back(word);
			word.clear();
		}
	}
	if (!word.empty())
		words.push_back(word);
	return words;
}

bool startsWith(const std::string& text, const std::string& prefix)
{
	return text.compare(0, prefix.size(), prefix) == 0;
}

bool anyWordStartsWith(const std::string& name, const std::string& prefix)
{
	for (const std::string& word : wordsOf(name)) {
		if (startsWith(word, prefix))
			return true;
	}
	// "san j" is a prefix of the words "san jose" together, not of any word alone.
	size_t blank = name.find(' ');
	while (blank != std::string::npos) {
		if (startsWith(name.substr(blank + 1), prefix))
			return true;
		blank = name.find(' ', blank + 1);
	}
	return false;
}

// ICU's exemplar city of a zone is a translation of the catalogue city only when its English
// form is the city itself: EST5EDT stands for Boston, and Asia/Srednekolymsk for Severo-Kurilsk.
// ICU's zone names of one language, made once for the whole index (each is a resource load).
struct ZoneNames {
	icu::Locale locale;
	std::unique_ptr<icu::TimeZoneNames> names; // null when ICU has none
};

std::vector<ZoneNames> zoneNamesOfLanguages()
{
	std::vector<ZoneNames> all;
	for (const char* language : kNameLanguages) {
		icu::Locale locale(language);
		UErrorCode status = U_ZERO_ERROR;
		std::unique_ptr<icu::TimeZoneNames> names(icu::TimeZoneNames::createInstance(locale, status));
		all.push_back({locale, U_SUCCESS(status) ? std::move(names) : nullptr});
	}
	return all;
}

void addZoneNames(IndexedCity& entry, const std::string& englishName, const std::vector<ZoneNames>& languages)
{
	icu::UnicodeString zone = icu::UnicodeString::fromUTF8(entry.city->timezone_path);
	UErrorCode status = U_ZERO_ERROR;
	char region[8] = "";
	icu::TimeZone::getRegion(zone, region, sizeof region, status);
	bool hasRegion = U_SUCCESS(status) && strcmp(region, "001") != 0 && region[0];
	bool sameCity = false;
	for (const ZoneNames& language : languages) {
		const icu::Locale& locale = language.locale;
		if (language.names) {
			icu::UnicodeString exemplar;
			language.names->getExemplarLocationName(zone, exemplar);
			std::string folded = foldText(toUtf8(exemplar));
			if (strcmp(locale.getLanguage(), "en") == 0)
				sameCity = folded == englishName;
			if (sameCity)
				addUnique(entry.names, folded);
		}
		if (hasRegion) {
			icu::UnicodeString country;
			icu::Locale("", region).getDisplayCountry(locale, country);
			addUnique(entry.countries, foldText(toUtf8(country)));
		}
	}
}

const std::vector<IndexedCity>& index()
{
	static const std::vector<IndexedCity> cities = [] {
		std::vector<IndexedCity> all;
		const std::vector<ZoneNames> languages = zoneNamesOfLanguages();
		for (int id = 1; id <= catalogueSize(); ++id) {
			const Cityinfo* city = catalogueCity(id);
			IndexedCity entry{city, {}, {}};
			std::string english = foldText(displayName(*city));
			addUnique(entry.names, english);
			// The library's catalogue in the language gettext follows now, should it translate names.
			const char* translated = dgettext("zonvista", city->cityname_string);
			if (strcmp(translated, city->cityname_string) != 0)
				addUnique(entry.names, foldText(translated));
			addUnique(entry.countries, foldText(displayCountry(*city)));
			const char* country = dgettext("zonvista", city->country_string);
			if (strcmp(country, city->country_string) != 0)
				addUnique(entry.countries, foldText(country));
			addZoneNames(entry, english, languages);
			all.push_back(std::move(entry));
		}
		return all;
	}();
	return cities;
}

CityMatch::Tier nameTier(const std::string& name, const std::string& wanted)
{
	if (name == wanted)
		return CityMatch::Exact;
	if (startsWith(name, wanted))
		return CityMatch::Prefix;
	if (anyWordStartsWith(name, wanted))
		return CityMatch::WordPrefix;
	if (name.find(wanted) != std::string::npos)
		return CityMatch::Substring;
	return static_cast<CityMatch::Tier>(0);
}

} // namespace

std::string foldText(const std::string& text)
{
	static const std::unique_ptr<icu::Transliterator> unaccent = [] {
		UErrorCode status = U_ZERO_ERROR;
		std::unique_ptr<icu::Transliterator> t(icu::Transliterator::createInstance(
			"NFD; [:Nonspacing Mark:] Remove; NFC", UTRANS_FORWARD, status));
		return U_SUCCESS(status) ? std::move(t) : nullptr;
	}();
	icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
	if (unaccent)
		unaccent->transliterate(unicode);
	unicode.foldCase();
	return toUtf8(unicode);
}

std::vector<CityMatch> findCities(const std::string& text)
{
	std::string wanted = foldText(trim(text));
	std::vector<CityMatch> found;
	for (const IndexedCity& entry : index()) {
		int best = 0;
		for (const std::string& name : entry.names) {
			int tier = wanted.empty() ? CityMatch::Prefix : nameTier(name, wanted);
			if (tier && (!best || tier < best))
				best = tier;
		}
		for (size_t i = 0; !best && i < entry.countries.size(); ++i) {
			if (anyWordStartsWith(entry.countries[i], wanted) || entry.countries[i] == wanted)
				best = CityMatch::Country;
		}
		if (best)
			found.push_back({entry.city, static_cast<CityMatch::Tier>(best)});
	}
	std::stable_sort(found.begin(), found.end(),
		[](const CityMatch& a, const CityMatch& b) { return a.tier < b.tier; });
	return found;
}

size_t editDistance(const std::string& a, const std::string& b)
{
	icu::UnicodeString ua = icu::UnicodeString::fromUTF8(a), ub = icu::UnicodeString::fromUTF8(b);
	std::vector<UChar32> x, y;
	for (int32_t i = 0; i < ua.length(); i = ua.moveIndex32(i, 1))
		x.push_back(ua.char32At(i));
	for (int32_t i = 0; i < ub.length(); i = ub.moveIndex32(i, 1))
		y.push_back(ub.char32At(i));
	std::vector<size_t> row(y.size() + 1);
	for (size_t j = 0; j <= y.size(); ++j)
		row[j] = j;
	for (size_t i = 1; i <= x.size(); ++i) {
		size_t diagonal = row[0];
		row[0] = i;
		for (size_t j = 1; j <= y.size(); ++j) {
			size_t above = row[j];
			row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (x[i - 1] == y[j - 1] ? 0 : 1)});
			diagonal = above;
		}
	}
	return row[y.size()];
}

std::vector<const Cityinfo*> suggestCities(const std::string& text, size_t count)
{
	std::string wanted = foldText(trim(text));
	size_t length = static_cast<size_t>(g_utf8_strlen(wanted.c_str(), -1));
	size_t limit = std::max<size_t>(1, length / 3);
	std::vector<std::pair<size_t, const Cityinfo*>> near;
	for (const IndexedCity& entry : index()) {
		size_t best = limit + 1;
		for (const std::string& name : entry.names) {
			best = std::min(best, editDistance(name, wanted));
			for (const std::string& word : wordsOf(name))
				best = std::min(best, editDistance(word, wanted));
		}
		if (best <= limit)
			near.emplace_back(best, entry.city);
	}
	std::stable_sort(near.begin(), near.end(),
		[](const auto& a, const auto& b) { return a.first < b.first; });
	std::vector<const Cityinfo*> cities;
	for (size_t i = 0; i < near.size() && i < count; ++i)
		cities.push_back(near[i].second);
	return cities;
}

} // namespace zonclock
