/*
 * The planning commands: a local time of one place seen everywhere else ('at'), the coming
 * changes of the listed cities' clocks ('changes'), and where the catalogue's fixed GMT texts
 * no longer match the machine's zone rules ('audit').
 *
 * Every offset comes from ICU's zone rules, the rules the library formats its texts with, so
 * these answers agree with the clock view. Times are written in the device's region format and
 * 12/24-hour setting, with the skeletons the library uses for the current time and date.
 */
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <glib.h>
#include <system_settings.h>
#include <unicode/datefmt.h>
#include <unicode/dtptngen.h>
#include <unicode/smpdtfmt.h>

#include "Catalogue.h"
#include "CityOperand.h"
#include "Command.h"
#include "DatabaseFailure.h"
#include "Output.h"
#include "Session.h"
#include "Texts.h"
#include "ZonDBManager.h"
#include "ZonTimeUtil.h"
#include "ZoneRules.h"

namespace zonclock {

namespace {

const int64_t kDay = 86400;

// The instant in zone, in the device's region format: skeleton "HH:mm"/"hh:mm" or "EEEMMMd".
std::string formatAt(int64_t at, const std::string& zone, const char* skeleton)
{
	std::string region;
	ZonTimeUtil::getLocale(region);
	icu::Locale locale(region.c_str());
	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::DateTimePatternGenerator> generator(
		icu::DateTimePatternGenerator::createInstance(locale, status));
	if (U_FAILURE(status))
		return std::string();
	icu::UnicodeString pattern = generator->getBestPattern(icu::UnicodeString(skeleton), status);
	icu::SimpleDateFormat format(pattern, locale, status);
	if (U_FAILURE(status))
		return std::string();
	format.adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
	icu::UnicodeString text;
	std::string result;
	format.format(static_cast<UDate>(at) * 1000.0, text).toUTF8String(result);
	return result;
}

std::string timeAt(int64_t at, const std::string& zone)
{
	bool is24 = false;
	system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24);
	return formatAt(at, zone, is24 ? "HH:mm" : "hh:mm");
}

// Days from the calendar date of `from` to that of `to` (wall seconds of each).
int dayShift(int64_t fromWall, int64_t toWall)
{
	auto day = [](int64_t wall) { return wall >= 0 ? wall / kDay : (wall - kDay + 1) / kDay; };
	return static_cast<int>(day(toWall) - day(fromWall));
}

std::string dayShiftText(int shift)
{
	if (shift == 0)
		return std::string();
	if (shift == 1)
		return tr("tomorrow");
	if (shift == -1)
		return tr("yesterday");
	char text[64];
	snprintf(text, sizeof text, shift > 0 ? tr("%d days later") : tr("%d days earlier"), shift > 0 ? shift : -shift);
	return text;
}

// "09:30", "2026-03-29T02:30" or "2026-03-29 02:30" -> wall seconds; date defaults to today
// in the zone.
bool parseWallTime(const std::string& text, const std::string& zone, int64_t now, int64_t& wall)
{
	int year = 0, month = 0, day = 0, hour = -1, minute = -1, used = 0;
	char separator = 0;
	if (sscanf(text.c_str(), "%2d:%2d%n", &hour, &minute, &used) == 2 && static_cast<size_t>(used) == text.size()) {
		int64_t today = now + zoneOffset(zone, now);
		wall = today - ((today % kDay) + kDay) % kDay;
	} else if (sscanf(text.c_str(), "%4d-%2d-%2d%c%2d:%2d%n", &year, &month, &day, &separator, &hour, &minute,
				   &used) == 6 && static_cast<size_t>(used) == text.size() && (separator == 'T' || separator == ' ')) {
		if (!g_date_valid_dmy(static_cast<GDateDay>(day), static_cast<GDateMonth>(month), static_cast<GDateYear>(year)))
			return false;
		GDate date;
		g_date_clear(&date, 1);
		g_date_set_dmy(&date, static_cast<GDateDay>(day), static_cast<GDateMonth>(month), static_cast<GDateYear>(year));
		GDate epoch;
		g_date_clear(&epoch, 1);
		g_date_set_dmy(&epoch, 1, G_DATE_JANUARY, 1970);
		wall = static_cast<int64_t>(g_date_days_between(&epoch, &date)) * kDay;
	} else {
		return false;
	}
	if (hour < 0 || hour > 23 || minute < 0 || minute > 59)
		return false;
	wall += hour * 3600 + minute * 60;
	return true;
}

// The main list's cities, or the operands'.
int listedCities(Session& session, std::vector<Cityinfo>& cities)
{
	ZonDBManager* db = session.db();
	cities = db->getAllCityList(false);
	if (db->lastError())
		return failure("cannot read the main list: %s", databaseFailure(db).c_str());
	return kExitOk;
}

int resolveOperands(const std::vector<std::string>& operands, size_t first, std::vector<Cityinfo>& cities)
{
	for (size_t i = first; i < operands.size(); ++i) {
		int exitCode = kExitOk;
		const Cityinfo* city = resolveCity(operands[i], exitCode);
		if (!city)
			return exitCode;
		cities.push_back(*city);
	}
	return kExitOk;
}

int runAt(const Invocation& invocation, Session& session)
{
	std::vector<Cityinfo> given;
	if (int exitCode = resolveOperands(invocation.operands, 1, given))
		return exitCode;
	int64_t now = time(nullptr);
	int64_t wall = 0;
	// Checked before the device is opened; "today" then needs the device's zone.
	if (!parseWallTime(invocation.operands[0], "UTC", now, wall))
		return usageError(tr("'%s' is no time: give HH:MM, or YYYY-MM-DDTHH:MM"), invocation.operands[0].c_str());
	std::string sourceZone = given.empty() ? session.zoneOrUtc() : given[0].timezone_path;
	parseWallTime(invocation.operands[0], sourceZone, now, wall);
	std::vector<Cityinfo> cities;
	if (int exitCode = listedCities(session, cities))
		return exitCode;

	LocalTime local = fromLocalTime(sourceZone, wall);
	if (local.kind == LocalTime::Skipped && invocation.format == Format::Text)
		fprintf(stderr, tr("zonclock: %s does not exist in %s (the clocks go forward); shown: the same moment "
			"as the offset before the change would give it, %s.\n"), invocation.operands[0].c_str(), sourceZone.c_str(),
			isoInstant(local.at, sourceZone).c_str());
	if (local.kind == LocalTime::Repeated && invocation.format == Format::Text)
		fprintf(stderr, tr("zonclock: %s happens twice in %s (the clocks go back); shown: the first, %s.\n"),
			invocation.operands[0].c_str(), sourceZone.c_str(), isoInstant(local.at, sourceZone).c_str());

	static const char* const kKinds[] = {"unique", "skipped", "repeated"};
	Records rows({{"role", nullptr}, {"city", tr("Where")}, {"zone", tr("Zone")}, {"time", tr("Time")},
		{"date", tr("Date")}, {"day", tr("Day")}, {"dayShift", nullptr}, {"localTime", nullptr},
		{"offsetSeconds", nullptr}, {"offset", nullptr}, {"localTimeKind", nullptr}});
	auto add = [&](const char* role, const std::string& name, const std::string& zone) {
		int offset = zoneOffset(zone, local.at);
		int shift = dayShift(wall, local.at + offset);
		rows.add({Value::text(role), Value::text(name), Value::text(zone), Value::text(timeAt(local.at, zone)),
			Value::text(formatAt(local.at, zone, "EEEMMMd")), Value::textOrNone(dayShiftText(shift)),
			Value::number(shift), Value::text(isoInstant(local.at, zone)), Value::number(offset),
			Value::text(offsetText(offset)), Value::text(kKinds[local.kind])});
	};
	if (!given.empty())
		add("given", displayName(given[0]), sourceZone);
	add("device", tr("this device"), session.zoneOrUtc());
	for (const Cityinfo& city : cities)
		add("listed", displayName(city), city.timezone_path);
	emit(invocation.format, stdout, "times", rows);
	return kExitOk;
}

int parseDays(const Invocation& invocation, int64_t& days)
{
	days = 365;
	if (!invocation.has("--days"))
		return kExitOk;
	std::string text = invocation.value("--days");
	char* end = nullptr;
	long long value = strtoll(text.c_str(), &end, 10);
	if (*end || value < 1 || value > 36500)
		return usageError(tr("--days: '%s' is not a number of days from 1 to 36500"), text.c_str());
	days = value;
	return kExitOk;
}

int runChanges(const Invocation& invocation, Session& session)
{
	int64_t days = 0;
	std::vector<Cityinfo> cities;
	if (int exitCode = parseDays(invocation, days))
		return exitCode;
	if (int exitCode = resolveOperands(invocation.operands, 0, cities))
		return exitCode;
	if (invocation.operands.empty()) {
		if (int exitCode = listedCities(session, cities))
			return exitCode;
	} else {
		session.openDevice();
	}

	int64_t now = time(nullptr);
	Records rows({{"cityId", nullptr}, {"city", tr("City")}, {"zone", tr("Zone")}, {"change", tr("Next change")},
		{"in", tr("In")}, {"at", nullptr}, {"offsetBeforeSeconds", nullptr}, {"offsetBefore", nullptr},
		{"offsetAfterSeconds", nullptr}, {"offsetAfter", nullptr}});
	for (const Cityinfo& city : cities) {
		std::vector<Value> row = {Value::number(city.id), Value::text(displayName(city)), Value::text(city.timezone_path)};
		OffsetChange change;
		if (nextOffsetChange(city.timezone_path, now, now + days * kDay, change)) {
			char in[64];
			int64_t hours = (change.at - now) / 3600;
			snprintf(in, sizeof in, hours < 48 ? tr("%lld h") : tr("%lld days"),
				static_cast<long long>(hours < 48 ? hours : hours / 24));
			row.insert(row.end(), {Value::text(changeText(change)), Value::text(in),
				Value::text(isoInstant(change.at, city.timezone_path)), Value::number(change.before),
				Value::text(offsetText(change.before)), Value::number(change.after), Value::text(offsetText(change.after))});
		}
		rows.add(row);
	}
	if (cities.empty() && invocation.format == Format::Text) {
		printf("%s\n", tr("The main list is empty."));
		return kExitOk;
	}
	emit(invocation.format, stdout, "changes", rows);
	return kExitOk;
}

int runAudit(const Invocation& invocation, Session& session)
{
	session.openDevice();
	int64_t now = time(nullptr);
	Records rows({{"cityId", tr("Id"), Table::Right}, {"city", tr("City")}, {"zone", tr("Zone")},
		{"catalogueGmt", tr("Catalogue")}, {"catalogueOffsetSeconds", nullptr},
		{"standardOffset", tr("Standard now")}, {"standardOffsetSeconds", nullptr}, {"offset", tr("Offset now")},
		{"offsetSeconds", nullptr}, {"nextChange", tr("Next change")}, {"nextChangeAt", nullptr},
		{"nextOffset", nullptr}, {"nextOffsetSeconds", nullptr}});
	for (int id = 1; id <= catalogueSize(); ++id) {
		const Cityinfo& city = *catalogueCity(id);
		int catalogue = 0;
		int standard = standardOffset(city.timezone_path, now);
		bool readable = parseGmtText(city.timezone, catalogue);
		if (readable && catalogue == standard)
			continue;
		int offset = zoneOffset(city.timezone_path, now);
		std::vector<Value> row = {Value::number(city.id), Value::text(displayName(city)), Value::text(city.timezone_path),
			Value::text(city.timezone), readable ? Value::number(catalogue) : Value::none(),
			Value::text(offsetText(standard)), Value::number(standard), Value::text(offsetText(offset)),
			Value::number(offset)};
		OffsetChange change;
		if (nextOffsetChange(city.timezone_path, now, now + 100 * 365 * kDay, change)) {
			row.insert(row.end(), {Value::text(changeText(change)), Value::text(isoInstant(change.at, city.timezone_path)),
				Value::text(offsetText(change.after)), Value::number(change.after)});
		}
		rows.add(row);
	}
	if (rows.size() == 0 && invocation.format == Format::Text) {
		printf("%s\n", tr("Every catalogue city's GMT text matches its zone's standard offset."));
		return kExitOk;
	}
	emit(invocation.format, stdout, "cities", rows);
	return kExitOk;
}

} // namespace

void registerPlanningCommands(CommandSet& commands)
{
	static const std::string atHelp = std::string(N_(
		"Shows the moment TIME in CITY (by default on the device) as the device and every city\n"
		"of the main list see it: local time and date, and 'tomorrow' or 'yesterday' where the\n"
		"date is not the one of TIME. TIME is HH:MM (today in CITY) or YYYY-MM-DDTHH:MM.\n"
		"A time the clocks skip (02:30 on a night they go forward) is taken with the offset\n"
		"before the change, so it shows as 03:30; a time that happens twice (the clocks go back)\n"
		"is the first of the two. Either is said on standard error; the JSON and TSV field\n"
		"localTimeKind says unique, skipped or repeated.")) + "\n\n" + kCityHelp;
	const Option kDays = {"--days", "N", "look N days ahead (default 365)"};
	for (const char* name : {"at", "convert"}) {
		commands.add({name, "TIME [CITY]", 1, 2, {kFormatOption},
			name[0] == 'a' ? N_("Show a local time of a city on the device and in the list")
						   : N_("The same as 'at'"),
			atHelp.c_str(), runAt});
	}
	commands.add({"changes", "[CITY...]", 0, 1000, {kDays, kFormatOption},
		N_("Show the next change of each listed city's clock"),
		N_("Shows for each city of the main list, or each CITY given, the next change of its\n"
		"offset from UTC within N days (a year by default): the wall time it happens at, the\n"
		"offset before and after, and how long until then. Taken from the machine's zone rules."),
		runChanges});
	commands.add({"audit", "", 0, 0, {kFormatOption},
		N_("Show catalogue cities whose GMT text disagrees with their zone"),
		N_("Lists every catalogue city whose fixed GMT text is not its zone's standard offset\n"
		"today in the machine's zone rules, with the zone's current offset and its next change.\n"
		"The catalogue is not changed: this says what its data says today."),
		runAudit});
}

} // namespace zonclock
