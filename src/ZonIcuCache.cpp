#include "ZonIcuCache.h"

#include "ZonBestPatternTable.h"

#include <string.h>

#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/timezone.h>
#include <unicode/tzfmt.h>
#include <unicode/udatpg.h>
#include <unicode/uloc.h>
#include <unicode/ures.h>
#include <unicode/ustring.h>

namespace {

typedef std::basic_string<UChar> UText;

const size_t kMaxLocalesSeen = 32;

// Least recently used entries beyond the capacity are dropped (and their ICU objects closed by
// Value's destructor).
template <typename Value>
class Lru {
public:
	explicit Lru(size_t capacity) : _capacity(capacity) {}

	Value* find(const std::string& key)
	{
		auto found = _index.find(key);
		if (found == _index.end())
			return nullptr;
		_order.splice(_order.begin(), _order, found->second);
		return &found->second->second;
	}

	// `key` is not in the cache (find() said so).
	Value* insert(const std::string& key, Value value)
	{
		_order.emplace_front(key, std::move(value));
		_index[key] = _order.begin();
		if (_order.size() > _capacity) {
			_index.erase(_order.back().first);
			_order.pop_back();
		}
		return &_order.front().second;
	}

	void clear()
	{
		_index.clear();
		_order.clear();
	}

	size_t size() const { return _order.size(); }

private:
	typedef std::list<std::pair<std::string, Value>> Order;
	size_t _capacity;
	Order _order;
	std::unordered_map<std::string, typename Order::iterator> _index;
};

template <typename T, void (*Close)(T*)>
struct Closer {
	void operator()(T* object) const { Close(object); }
};

typedef std::unique_ptr<UDateTimePatternGenerator, Closer<UDateTimePatternGenerator, udatpg_close>> Generator;
typedef std::unique_ptr<UDateFormat, Closer<UDateFormat, udat_close>> DateFormat;
typedef std::unique_ptr<UNumberFormat, Closer<UNumberFormat, unum_close>> NumberFormat;
typedef std::unique_ptr<UCalendar, Closer<UCalendar, ucal_close>> Calendar;
typedef std::unique_ptr<icu::TimeZone> Zone;
typedef std::unique_ptr<icu::TimeZoneFormat> ZoneFormat;

// Keys are the arguments' bytes, each behind its length, so that no two argument lists share one.
void appendField(std::string& key, const void* data, size_t bytes)
{
	uint32_t length = static_cast<uint32_t>(bytes);
	key.append(reinterpret_cast<const char*>(&length), sizeof(length));
	key.append(static_cast<const char*>(data), bytes);
}

void appendText(std::string& key, const char* text)
{
	// A null locale (ICU's default) is kept apart from every text, the empty one included.
	if (!text) {
		key.push_back('\xff');
		return;
	}
	appendField(key, text, strlen(text));
}

void appendText(std::string& key, const UChar* text, int32_t length)
{
	appendField(key, text, static_cast<size_t>(length) * sizeof(UChar));
}

// A formatter and the zone it was last given (the zone's key), so that a formatter asked again for
// the same zone is not given a copy of it again.
struct KeptFormat {
	DateFormat format;
	std::string zoneKey;
};

struct State {
	// Key buffers, reused so that a lookup allocates nothing.
	std::string key;
	std::string zoneKey;

	// What every entry was made under; see the header.
	std::string defaultLocale;
	std::string zoneRulesVersion;

	// Whether ICU finds data of its own for a locale text; see keyLocale().
	std::unordered_map<std::string, bool> selfContained;

	Lru<Generator> generators{ZonIcuCache::kMaxGenerators};
	Lru<UText> patterns{ZonIcuCache::kMaxPatterns};
	Lru<KeptFormat> dateFormats{ZonIcuCache::kMaxDateFormats};
	Lru<Zone> zones{ZonIcuCache::kMaxZones};
	Lru<NumberFormat> numberFormats{ZonIcuCache::kMaxNumberFormats};
	Lru<Calendar> calendars{ZonIcuCache::kMaxCalendars};
	Lru<ZoneFormat> zoneFormats{ZonIcuCache::kMaxZoneFormats};

	void clear()
	{
		generators.clear();
		patterns.clear();
		dateFormats.clear();
		zones.clear();
		numberFormats.clear();
		calendars.clear();
		zoneFormats.clear();
		selfContained.clear();
	}
};

// Lives as long as the process, like the library's singletons: closing ICU objects while the
// process exits buys nothing.
State& state()
{
	static State* instance = new State;
	return *instance;
}

// The state, emptied first if the zone rules are no longer those its entries were made under.
State& current()
{
	State& s = state();
	const char* defaultLocale = uloc_getDefault();
	UErrorCode status = U_ZERO_ERROR;
	const char* version = ucal_getTZDataVersion(&status);
	if (U_FAILURE(status) || !version)
		version = "";
	if (s.zoneRulesVersion != version) {
		s.clear();
		s.zoneRulesVersion = version;
	}
	if (!defaultLocale)
		defaultLocale = "";
	if (s.defaultLocale != defaultLocale)
		s.defaultLocale = defaultLocale;
	return s;
}

// Appends the locale to a key. ICU falls back to the default locale only for a locale it has no
// data of its own for (its bundle opens with U_USING_DEFAULT_WARNING, or not at all); such a
// locale, and the null one that means the default, is keyed with the default locale too, so a
// new default makes new entries. Every other entry stays valid when the default changes, which
// _getFormattedDateString() does on each call: the texts before it keep their generator.
// Returns whether the locale has data of its own.
bool keyLocale(State& s, std::string& key, const char* locale)
{
	appendText(key, locale);
	bool own = false;
	if (locale) {
		auto known = s.selfContained.find(locale);
		if (known == s.selfContained.end()) {
			UErrorCode status = U_ZERO_ERROR;
			UResourceBundle* bundle = ures_open(nullptr, locale, &status);
			ures_close(bundle);
			if (s.selfContained.size() >= kMaxLocalesSeen)
				s.selfContained.clear();
			known = s.selfContained.emplace(locale, U_SUCCESS(status) && status != U_USING_DEFAULT_WARNING).first;
		}
		own = known->second;
	}
	if (!own)
		appendText(key, s.defaultLocale.c_str());
	return own;
}

// The zone of `zone` (terminated), keyed by `zoneKey`; null, with *status set, when it cannot be
// made.
const icu::TimeZone* zoneFor(State& s, const std::string& zoneKey, const UChar* zone, UErrorCode* status)
{
	if (Zone* kept = s.zones.find(zoneKey))
		return kept->get();
	Zone made(icu::TimeZone::createTimeZone(icu::UnicodeString(true, zone, -1)));
	if (!made) {
		*status = U_MEMORY_ALLOCATION_ERROR;
		return nullptr;
	}
	return s.zones.insert(zoneKey, std::move(made))->get();
}

UDateTimePatternGenerator* generatorFor(State& s, const char* locale, UErrorCode* status)
{
	std::string key;   // s.key holds the pattern's key meanwhile
	keyLocale(s, key, locale);
	if (Generator* found = s.generators.find(key))
		return found->get();
	UErrorCode openStatus = U_ZERO_ERROR;
	Generator generator(udatpg_open(locale, &openStatus));
	if (U_FAILURE(openStatus) || !generator) {
		*status = U_FAILURE(openStatus) ? openStatus : U_MEMORY_ALLOCATION_ERROR;
		return nullptr;
	}
	return s.generators.insert(key, std::move(generator))->get();
}

}

bool ZonIcuCache::getBestPattern(const char* locale, const char* skeleton, UChar* pattern, int32_t capacity,
	UErrorCode* status)
{
	memset(pattern, 0, capacity * sizeof(UChar));
	*status = U_ZERO_ERROR;
	State& s = current();

	std::string& key = s.key;
	key.clear();
	bool own = keyLocale(s, key, locale);
	appendText(key, skeleton);
	const UText* best = s.patterns.find(key);
	// The build-time table answers as a generator would, for a locale that does not depend on the
	// default one (ZonBestPatternTable.h).
	if (!best && own) {
		if (const char16_t* built = zon_best_patterns::find(locale, skeleton))
			best = s.patterns.insert(key, UText(built));
	}
	if (!best) {
		UDateTimePatternGenerator* generator = generatorFor(s, locale, status);
		if (!generator)
			return false;
		UErrorCode patternStatus = U_ZERO_ERROR;
		UText skeletonText(strlen(skeleton) + 1, 0);
		u_strFromUTF8(&skeletonText[0], static_cast<int32_t>(skeletonText.size()), nullptr, skeleton, -1,
			&patternStatus);
		int32_t length = udatpg_getBestPattern(generator, skeletonText.c_str(), -1, nullptr, 0, &patternStatus);
		UText text(length, 0);
		patternStatus = U_ZERO_ERROR;
		udatpg_getBestPattern(generator, skeletonText.c_str(), -1, &text[0], length, &patternStatus);
		// A generator that cannot answer leaves the caller's buffer as it was, zeros.
		if (U_FAILURE(patternStatus))
			return true;
		best = s.patterns.insert(key, text);
	}
	// ICU copies nothing when the pattern does not fit.
	if (static_cast<int32_t>(best->size()) <= capacity - 1)
		u_memcpy(pattern, best->data(), static_cast<int32_t>(best->size()));
	return true;
}

// udat_open() makes the formatter for the locale and the pattern, then gives it the zone made
// from the id; a formatter of the same locale and pattern given another zone is the same object.
// So one formatter serves every zone, and the zones (small) are kept apart.
UDateFormat* ZonIcuCache::getDateFormat(const char* locale, const UChar* pattern, const UChar* zone, UErrorCode* status)
{
	State& s = current();
	*status = U_ZERO_ERROR;
	std::string& formatKey = s.key;
	formatKey.clear();
	keyLocale(s, formatKey, locale);
	appendText(formatKey, pattern, u_strlen(pattern));
	KeptFormat* kept = s.dateFormats.find(formatKey);
	if (!kept) {
		DateFormat made(udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, nullptr, -1, pattern, -1, status));
		if (U_FAILURE(*status) || !made)
			return nullptr;
		kept = s.dateFormats.insert(formatKey, KeptFormat{std::move(made), std::string()});
	}

	std::string& zoneKey = s.zoneKey;
	zoneKey.clear();
	appendText(zoneKey, zone, u_strlen(zone));
	if (kept->zoneKey == zoneKey)
		return kept->format.get();
	const icu::TimeZone* keptZone = zoneFor(s, zoneKey, zone, status);
	if (!keptZone)
		return nullptr;
	reinterpret_cast<icu::DateFormat*>(kept->format.get())->setTimeZone(*keptZone);
	kept->zoneKey = zoneKey;
	return kept->format.get();
}

int32_t ZonIcuCache::formatDate(UDateFormat* format, UDate when, UChar* out, int32_t capacity, UErrorCode* status)
{
	if (U_FAILURE(*status))
		return -1;
	if (out == nullptr ? capacity != 0 : capacity < 0) {
		*status = U_ILLEGAL_ARGUMENT_ERROR;
		return -1;
	}
	// udat_format() has the formatter write from a copy of its calendar (and of the calendar's
	// zone) set to the instant, made and destroyed for every text. The formatter's own calendar,
	// set to the instant, gives it the same fields and zone: nothing else reads that calendar's
	// time (every text of udat_format() starts from a copy set anew, and a parse clears it first).
	auto* formatter = reinterpret_cast<icu::DateFormat*>(format);
	auto* calendar = const_cast<icu::Calendar*>(formatter->getCalendar());
	if (!calendar)
		return udat_format(format, when, out, capacity, nullptr, status);
	icu::UnicodeString text;
	if (out)
		text.setTo(out, 0, capacity);
	icu::FieldPosition position;
	UErrorCode timeStatus = U_ZERO_ERROR;
	calendar->setTime(when, timeStatus);
	if (U_SUCCESS(timeStatus))
		formatter->format(*calendar, text, position);
	return text.extract(out, capacity, *status);
}

int32_t ZonIcuCache::formatShortGmt(const char* locale, const UChar* zone, UDate when, UChar* out, int32_t capacity,
	UErrorCode* status)
{
	State& s = current();
	*status = U_ZERO_ERROR;
	std::string& key = s.key;
	key.clear();
	keyLocale(s, key, locale);
	ZoneFormat* kept = s.zoneFormats.find(key);
	if (!kept) {
		// udat_open() reads a null locale as the default one.
		ZoneFormat made(icu::TimeZoneFormat::createInstance(locale ? icu::Locale(locale) : icu::Locale(), *status));
		if (U_FAILURE(*status) || !made) {
			if (U_SUCCESS(*status))
				*status = U_MEMORY_ALLOCATION_ERROR;
			return -1;
		}
		kept = s.zoneFormats.insert(key, std::move(made));
	}
	std::string& zoneKey = s.zoneKey;
	zoneKey.clear();
	appendText(zoneKey, zone, u_strlen(zone));
	const icu::TimeZone* rules = zoneFor(s, zoneKey, zone, status);
	if (!rules)
		return -1;
	icu::UnicodeString text;
	(*kept)->format(UTZFMT_STYLE_LOCALIZED_GMT_SHORT, *rules, when, text, nullptr);
	return text.extract(out, capacity, *status);
}

UNumberFormat* ZonIcuCache::getDecimalFormat(const char* locale, UErrorCode* status)
{
	State& s = current();
	std::string& key = s.key;
	key.clear();
	keyLocale(s, key, locale);
	if (NumberFormat* found = s.numberFormats.find(key)) {
		*status = U_ZERO_ERROR;
		return found->get();
	}
	*status = U_ZERO_ERROR;
	NumberFormat format(unum_open(UNUM_DECIMAL, nullptr, -1, locale, nullptr, status));
	if (U_FAILURE(*status) || !format)
		return nullptr;
	return s.numberFormats.insert(key, std::move(format))->get();
}

UCalendar* ZonIcuCache::getCalendar(const UChar* zone, int32_t zoneLength, const char* locale, UErrorCode* status)
{
	State& s = current();
	std::string& key = s.key;
	key.clear();
	appendText(key, zone, zoneLength);
	keyLocale(s, key, locale);
	*status = U_ZERO_ERROR;
	if (Calendar* found = s.calendars.find(key)) {
		ucal_setMillis(found->get(), ucal_getNow(), status);
		return U_SUCCESS(*status) ? found->get() : nullptr;
	}
	Calendar calendar(ucal_open(zone, zoneLength, locale, UCAL_TRADITIONAL, status));
	if (U_FAILURE(*status) || !calendar)
		return nullptr;
	return s.calendars.insert(key, std::move(calendar))->get();
}

void ZonIcuCache::clear()
{
	state().clear();
}

ZonIcuCache::Counts ZonIcuCache::counts()
{
	State& s = state();
	return Counts{s.generators.size(), s.patterns.size(), s.dateFormats.size(), s.zones.size(),
		s.numberFormats.size(), s.calendars.size(), s.zoneFormats.size()};
}
