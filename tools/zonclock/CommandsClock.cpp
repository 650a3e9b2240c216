/*
 * The clock commands: the world clock of a list, and the difference and sun texts of one city.
 *
 * Every text is the library's, made from the device's settings (region format, 24-hour clock,
 * display language); zonclock only lays them out. Differences and the date the sun is reckoned
 * for depend on the device's own zone, which zon-host keeps as the process's local zone.
 */
#include <cmath>
#include <ctime>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "Catalogue.h"
#include "CityOperand.h"
#include "Command.h"
#include "DatabaseFailure.h"
#include "Output.h"
#include "Session.h"
#include "Table.h"
#include "Texts.h"
#include "WeatherText.h"
#include "ZoneRules.h"
#include "ZonDBManager.h"
#include "ZonTimeUtil.h"

// The only file of zonclock that includes the coordinates: each includer gets its own copy.
#include "ZonCityPoints.h"

namespace zonclock {

namespace {

const Option kSecondList = {"--second", nullptr, "show the second list instead of the main list"};

// How far ahead the clock view looks for a change of a city's offset.
const int64_t kClockChangeHorizon = 7 * 86400;

struct Sun {
	std::string sunrise;
	std::string sunset;
	bool daytime = false;
};

Sun sunOf(const Cityinfo& city)
{
	Sun sun;
	const double* point = allCityPoints[city.id - 1];
	ZonTimeUtil::getSunRiseSetTime(city.timezone, point[0], point[1], sun.sunrise, sun.sunset, &sun.daytime,
		city.timezone_path);
	return sun;
}

std::string dayOrNight(bool daytime)
{
	return daytime ? tr("day") : tr("night");
}

// The catalogue city of a zone, for the device's zone; nullptr when none has it.
const Cityinfo* cityOfZone(const std::string& zone)
{
	for (int id = 1; id <= catalogueSize(); ++id) {
		if (zone == catalogueCity(id)->timezone_path)
			return catalogueCity(id);
	}
	return nullptr;
}

// "10:15 AM, Tue, May 5 in UTC (GMT+0)": what every difference is measured from.
std::string deviceLine(Session& session)
{
	std::string home = session.deviceZone();
	std::string zone = session.zoneOrUtc();
	return ZonTimeUtil::getCurrentTime(zone.c_str()) + ", " + ZonTimeUtil::getCurrentDate(zone.c_str()) + " in " +
		(home.empty() ? "UTC (no local-time link)" : home) + " (" + ZonTimeUtil::getCurrentGMT(zone.c_str()) + ")";
}

Value weatherValue(const std::string& text)
{
	return text == kNone ? Value::none() : Value::text(text);
}

// The fields of "what time is it there" that the clock view and 'now' share.
std::vector<Field> nowFields()
{
	return {{"cityId", nullptr, Table::Right}, {"city", tr("City")}, {"zone", nullptr}, {"time", tr("Time")},
		{"date", tr("Date")}, {"localTime", nullptr}, {"offsetSeconds", nullptr}, {"offset", nullptr},
		{"gmt", "GMT"}};
}

std::vector<Value> nowValues(const Cityinfo& city, int64_t now)
{
	const char* zone = city.timezone_path;
	int offset = zoneOffset(zone, now);
	return {Value::number(city.id), Value::text(displayName(city)), Value::text(zone),
		Value::text(ZonTimeUtil::getCurrentTime(zone)), Value::text(ZonTimeUtil::getCurrentDate(zone)),
		Value::text(isoInstant(now, zone)), Value::number(offset), Value::text(offsetText(offset)),
		Value::text(ZonTimeUtil::getCurrentGMT(zone))};
}

// Before the device is opened: every operand must name a city.
int resolveAll(const std::vector<std::string>& operands, std::vector<Cityinfo>& cities)
{
	for (const std::string& operand : operands) {
		int exitCode = kExitOk;
		const Cityinfo* city = resolveCity(operand, exitCode);
		if (!city)
			return exitCode;
		cities.push_back(*city);
	}
	return kExitOk;
}

int runClock(const Invocation& invocation, Session& session)
{
	bool second = invocation.has("--second");
	Format format = invocation.format;
	std::vector<Cityinfo> cities;
	if (int exitCode = resolveAll(invocation.operands, cities))
		return exitCode;
	if (!invocation.operands.empty() && second)
		return usageError("--second chooses a list; cities given by name need none");
	ZonDBManager* db = session.db();
	// getAllCityList() refills its buffer on every call, getWeatherInfo() does not touch it.
	if (invocation.operands.empty()) {
		cities = db->getAllCityList(second);
		if (db->lastError())
			return failure("cannot read the %s: %s", second ? "second list" : "main list", databaseFailure(db).c_str());
	}

	int64_t now = time(nullptr);
	std::string deviceZone = session.zoneOrUtc();
	int deviceOffset = zoneOffset(deviceZone, now);
	Records device({{"zone", nullptr}, {"linked", nullptr}, {"time", nullptr}, {"date", nullptr},
		{"localTime", nullptr}, {"offsetSeconds", nullptr}, {"offset", nullptr}, {"gmt", nullptr}});
	device.add({Value::text(deviceZone), Value::flag(!session.deviceZone().empty()),
		Value::text(ZonTimeUtil::getCurrentTime(deviceZone.c_str())),
		Value::text(ZonTimeUtil::getCurrentDate(deviceZone.c_str())), Value::text(isoInstant(now, deviceZone)),
		Value::number(deviceOffset), Value::text(offsetText(deviceOffset)),
		Value::text(ZonTimeUtil::getCurrentGMT(deviceZone.c_str()))});

	// The change column only shows when a clock changes within the week.
	std::vector<OffsetChange> changes(cities.size());
	std::vector<bool> changing(cities.size());
	bool anyChange = false;
	for (size_t i = 0; i < cities.size(); ++i) {
		changing[i] = nextOffsetChange(cities[i].timezone_path, now, now + kClockChangeHorizon, changes[i]);
		anyChange = anyChange || changing[i];
	}
	// The difference before the GMT text, as the list row on the watch reads.
	std::vector<Field> fields = nowFields();
	fields.insert(fields.end() - 1, {{"difference", tr("Difference")}, {"differenceSeconds", nullptr}});
	fields.insert(fields.end(), {{"sunrise", tr("Sunrise")}, {"sunset", tr("Sunset")}, {"daytime", nullptr}, {nullptr, tr("Now")},
		{"weather", tr("Weather")}, {"weatherSimulated", nullptr}, {"clockChange", anyChange ? tr("Clock change") : nullptr},
		{"nextChange", nullptr}, {"nextOffsetSeconds", nullptr}, {"nextOffset", nullptr}});
	Records rows(fields);
	for (size_t i = 0; i < cities.size(); ++i) {
		const Cityinfo& city = cities[i];
		Sun sun = sunOf(city);
		std::vector<Value> row = nowValues(city, now);
		CachedWeather weather = cachedWeather(db, city.id, second);
		const OffsetChange& change = changes[i];
		row.insert(row.end() - 1, {Value::textOrNone(ZonTimeUtil::getTimeDiff(city.timezone_path)),
			Value::number(zoneOffset(city.timezone_path, now) - deviceOffset)});
		row.insert(row.end(), {Value::text(sun.sunrise),
			Value::text(sun.sunset), Value::flag(sun.daytime), Value::text(dayOrNight(sun.daytime)),
			weatherValue(cachedWeatherText(weather)), weather.known ? Value::flag(true) : Value::none()});
		if (changing[i]) {
			row.insert(row.end(), {Value::text(changeText(change)),
				Value::text(isoInstant(change.at, city.timezone_path)), Value::number(change.after),
				Value::text(offsetText(change.after))});
		}
		rows.add(row);
	}
	if (format != Format::Text) {
		printData(format, stdout, "cities", rows, {{"device", &device}});
		return kExitOk;
	}

	printf(tr("Device: %s\n\n"), deviceLine(session).c_str());
	if (cities.empty()) {
		printf(tr("The %s is empty. Add a city with 'zonclock add%s CITY'; 'zonclock search NAME'\n"
				  "finds its name or id.\n"),
			second ? tr("second list") : tr("main list"), second ? " --second" : "");
		return kExitOk;
	}
	rows.printTable(stdout);
	return kExitOk;
}

// One line per city, for a status bar or a prompt: "Tokyo 7:15 PM".
int runNow(const Invocation& invocation, Session& session)
{
	Format format = invocation.format;
	std::vector<Cityinfo> cities;
	if (int exitCode = resolveAll(invocation.operands, cities))
		return exitCode;
	session.openDevice();
	int64_t now = time(nullptr);
	Records rows(nowFields());
	for (const Cityinfo& city : cities)
		rows.add(nowValues(city, now));
	if (format != Format::Text) {
		emit(format, stdout, "cities", rows);
		return kExitOk;
	}
	for (const Cityinfo& city : cities)
		printf("%s %s\n", displayName(city).c_str(), ZonTimeUtil::getCurrentTime(city.timezone_path).c_str());
	return kExitOk;
}

std::string quoted(const std::string& text)
{
	return "\"" + text + "\"";
}

int runDiff(const Invocation& invocation, Session& session)
{
	int exitCode = kExitOk;
	const Cityinfo* city = resolveCity(invocation.operands[0], exitCode);
	if (!city)
		return exitCode;

	const char* zone = city->timezone_path;
	std::string home = session.deviceZone();
	double offset = ZonTimeUtil::getGmtOffset(zone);
	std::string row = ZonTimeUtil::getTimeDiff(zone);
	std::string spoken = ZonTimeUtil::getTimeDiffToRead(zone);
	std::string markup = ZonTimeUtil::getTimeDiffWithFontSize(zone);
	std::string arc = ZonTimeUtil::getTimeDiffOnWidgetArc(zone);

	if (invocation.format != Format::Text) {
		Records rows({{"cityId", nullptr}, {"city", nullptr}, {"zone", nullptr}, {"deviceZone", nullptr},
			{"differenceSeconds", nullptr}, {"listRow", nullptr}, {"screenReader", nullptr}, {"fontMarkup", nullptr},
			{"widgetArc", nullptr}});
		int64_t now = time(nullptr);
		std::string device = session.zoneOrUtc();
		rows.add({Value::number(city->id), Value::text(displayName(*city)), Value::text(zone), Value::text(device),
			Value::number(zoneOffset(zone, now) - zoneOffset(device, now)), Value::text(row), Value::text(spoken),
			Value::text(markup), Value::text(arc)});
		emit(invocation.format, stdout, "cities", rows);
		return kExitOk;
	}
	printf("%s in %s; the device is in %s.\n", describeCity(*city).c_str(), zone,
		home.empty() ? "UTC (no local-time link)" : home.c_str());
	printf("Offset:        %+g h\n", offset);
	printf("List row:      %s\n", quoted(row).c_str());
	printf("Screen reader: %s\n", quoted(spoken).c_str());
	printf("Font markup:   %s\n", quoted(markup).c_str());
	printf("Widget arc:    %s\n", quoted(arc).c_str());
	if (row.empty() && spoken.empty() && markup.empty() && arc.empty())
		printf("Same time as the device: every text is empty.\n");
	return kExitOk;
}

int runSun(const Invocation& invocation, Session& session)
{
	int exitCode = kExitOk;
	const Cityinfo* city = resolveCity(invocation.operands[0], exitCode);
	if (!city)
		return exitCode;

	session.openDevice();
	Sun sun = sunOf(*city);
	const double* point = allCityPoints[city->id - 1];
	if (invocation.format != Format::Text) {
		char latitude[32], longitude[32];
		snprintf(latitude, sizeof latitude, "%.4f", point[0]);
		snprintf(longitude, sizeof longitude, "%.4f", point[1]);
		Records rows({{"cityId", nullptr}, {"city", nullptr}, {"zone", nullptr}, {"latitude", nullptr},
			{"longitude", nullptr}, {"sunrise", nullptr}, {"sunset", nullptr}, {"daytime", nullptr}});
		rows.add({Value::number(city->id), Value::text(displayName(*city)), Value::text(city->timezone_path),
			Value::text(latitude), Value::text(longitude), Value::text(sun.sunrise), Value::text(sun.sunset),
			Value::flag(sun.daytime)});
		emit(invocation.format, stdout, "cities", rows);
		return kExitOk;
	}
	printf("%s in %s, at %.4f %c %.4f %c.\n", describeCity(*city).c_str(), city->timezone_path, std::fabs(point[0]),
		point[0] < 0 ? 'S' : 'N', std::fabs(point[1]), point[1] < 0 ? 'W' : 'E');
	printf(tr("Sunrise: %s\n"), sun.sunrise.c_str());
	printf(tr("Sunset:  %s\n"), sun.sunset.c_str());
	printf(tr("Now:     %s\n"), dayOrNight(sun.daytime).c_str());
	return kExitOk;
}

// A city operand, else an Olson zone id: the city's zone, or the id itself.
bool homeZoneOf(const std::string& operand, std::string& zone, int& exitCode)
{
	CityLookup lookup = lookupCity(operand);
	std::string path = "/usr/share/zoneinfo/" + operand;
	struct stat info;
	if (lookup.status == CityLookup::UnknownName && operand.find("..") == std::string::npos &&
		stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
		zone = operand;
		return true;
	}
	const Cityinfo* city = resolveCity(operand, exitCode);
	if (!city)
		return false;
	zone = city->timezone_path;
	return true;
}

int runHome(const Invocation& invocation, Session& session)
{
	if (!invocation.operands.empty()) {
		std::string zone;
		int exitCode = kExitOk;
		if (!homeZoneOf(invocation.operands[0], zone, exitCode))
			return exitCode;
		if (!session.setHomeZone(zone))
			return failure("the device refused %s as its zone (see %s)", zone.c_str(), session.logPath().c_str());
	}
	printf("Home zone: %s\n", deviceLine(session).c_str());
	const Cityinfo* city = cityOfZone(session.deviceZone());
	if (city)
		printf("Catalogue city: %s, the first of this zone (catalogue GMT text %s)\n", describeCity(*city).c_str(), city->timezone);
	else
		printf("Catalogue city: none has this zone; the map cannot show the device's band.\n");
	return kExitOk;
}

std::string withCityHelp(const char* text)
{
	return std::string(text) + "\n\n" + kCityHelp;
}

} // namespace

void registerClockCommands(CommandSet& commands)
{
	static const std::string diffHelp = withCityHelp(
		"Prints the four texts the library gives for the difference between CITY and the device:\n"
		"for a list row, for the screen reader, with the font-size markup of the round screen,\n"
		"and for the widget's arc, each in quotes, after the offset in hours they are made from.\n"
		"A city that keeps the device's time gets four empty texts, and a line that says so.\n"
		"The texts come from the \"zonvista\" catalogue in the display language (--language) with\n"
		"digits of the region format (--region).");
	static const std::string sunHelp = withCityHelp(
		"Prints today's sunrise and sunset of CITY as its local clock times, in the region\n"
		"format and 12- or 24-hour clock of the device, and whether it is day or night there now.\n"
		"\"Today\" is the device's date. In a polar night or day the library's reckoning gives\n"
		"clock times that mean nothing.");

	commands.add({"now", "CITY...", 1, 1000, {kFormatOption},
		N_("Show the time of cities, one line each"),
		N_("Prints one line per CITY: its name and its local time, as the clock view shows it;\n"
		"short enough for a status bar or a prompt. With --format json or tsv, the fields of the\n"
		"clock view's time columns."),
		runNow});
	commands.add({"clock", "[CITY...]", 0, 1000, {kSecondList, kFormatOption},
		"Show the world clock of the main list, the second list, or the cities given",
		"Shows the device's time, then for each city of the main list (or the second list, or\n"
		"each CITY given, by id or English name, in that order) its\n"
		"local time and date, its difference from the device, its GMT offset, today's sunrise\n"
		"and sunset, whether it is day or night there, and the weather cached for it: condition,\n"
		"temperature and how old the answer is ('stale' past three hours, when the next request\n"
		"goes to the weather agent). '\u2014' marks no difference and no weather. A city whose\n"
		"clocks change within 7 days shows when and to which offset ('zonclock changes').\n"
		"Differences are measured from the device's home zone (see 'zonclock help home').\n"
		"Texts follow the device's region format, display language and 12/24-hour setting; see\n"
		"the global options to change them for one run.",
		runClock});
	static const std::string homeHelp = withCityHelp(
		"Shows the device's home zone, its time and its catalogue city; with an operand, first\n"
		"makes the zone of CITY, or the zone id ZONE (\"Asia/Kolkata\", \"UTC\"), the home zone.\n"
		"The home zone is the device's own setting: its local-time link, its time-zone setting,\n"
		"and what the C library and ICU take as local, changed together.\n"
		"A new device takes the desktop's zone: TZ when zonclock starts, else /etc/localtime.\n"
		"After that the device's zone wins: TZ=Asia/Kolkata on an existing device is not used\n"
		"(zonclock says so); 'zonclock home Asia/Kolkata' moves the device there.");
	commands.add({"home", "[CITY|ZONE]", 0, 1, {},
		"Show or set the device's home zone", homeHelp.c_str(), runHome});
	commands.add({"diff", "CITY", 1, 1, {kFormatOption},
		"Show the difference texts between a city and the device", diffHelp.c_str(), runDiff});
	commands.add({"sun", "CITY", 1, 1, {kFormatOption},
		"Show today's sunrise and sunset of a city", sunHelp.c_str(), runSun});
}

} // namespace zonclock
