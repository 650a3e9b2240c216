/*
 * The clock commands: the world clock of a list, and the difference and sun texts of one city.
 *
 * Every text is the library's, made from the device's settings (region format, 24-hour clock,
 * display language); zonclock only lays them out. Differences and the date the sun is reckoned
 * for depend on the device's own zone, which zon-host keeps as the process's local zone.
 */
#include <cmath>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "Catalogue.h"
#include "CityOperand.h"
#include "Command.h"
#include "DatabaseFailure.h"
#include "Session.h"
#include "Table.h"
#include "Texts.h"
#include "WeatherText.h"
#include "ZonDBManager.h"
#include "ZonTimeUtil.h"

// The only file of zonclock that includes the coordinates: each includer gets its own copy.
#include "ZonCityPoints.h"

namespace zonclock {

namespace {

const Option kSecondList = {"--second", nullptr, "show the second list instead of the main list"};

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
	// Without its link the device, like the C library, is on UTC.
	const char* zone = home.empty() ? "UTC" : home.c_str();
	return ZonTimeUtil::getCurrentTime(zone) + ", " + ZonTimeUtil::getCurrentDate(zone) + " in " +
		(home.empty() ? "UTC (no local-time link)" : home) + " (" + ZonTimeUtil::getCurrentGMT(zone) + ")";
}

int runClock(const Invocation& invocation, Session& session)
{
	bool second = invocation.has("--second");
	std::vector<Cityinfo> cities;
	for (const std::string& operand : invocation.operands) {
		int exitCode = kExitOk;
		const Cityinfo* city = resolveCity(operand, exitCode);
		if (!city)
			return exitCode;
		cities.push_back(*city);
	}
	if (!invocation.operands.empty() && second)
		return usageError("--second chooses a list; cities given by name need none");
	ZonDBManager* db = session.db();
	// getAllCityList() refills its buffer on every call, getWeatherInfo() does not touch it.
	if (invocation.operands.empty()) {
		cities = db->getAllCityList(second);
		if (db->lastError())
			return failure("cannot read the %s: %s", second ? "second list" : "main list", databaseFailure(db).c_str());
	}

	printf(tr("Device: %s\n\n"), deviceLine(session).c_str());
	if (cities.empty()) {
		printf(tr("The %s is empty. Add a city with 'zonclock add%s CITY'; 'zonclock search NAME'\n"
				  "finds its name or id.\n"),
			second ? tr("second list") : tr("main list"), second ? " --second" : "");
		return kExitOk;
	}

	Table table({{tr("City")}, {tr("Time")}, {tr("Date")}, {tr("Difference")}, {"GMT"}, {tr("Sunrise")},
		{tr("Sunset")}, {tr("Now")}, {tr("Weather")}});
	for (const Cityinfo& city : cities) {
		const char* zone = city.timezone_path;
		std::string difference = ZonTimeUtil::getTimeDiff(zone);
		Sun sun = sunOf(city);
		table.addRow({displayName(city), ZonTimeUtil::getCurrentTime(zone), ZonTimeUtil::getCurrentDate(zone),
			difference.empty() ? kNone : difference, ZonTimeUtil::getCurrentGMT(zone), sun.sunrise, sun.sunset,
			dayOrNight(sun.daytime), cachedWeatherText(cachedWeather(db, city.id, second))});
	}
	table.print(stdout);
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

	commands.add({"clock", "[CITY...]", 0, 1000, {kSecondList},
		"Show the world clock of the main list, the second list, or the cities given",
		"Shows the device's time, then for each city of the main list (or the second list, or\n"
		"each CITY given, by id or English name, in that order) its\n"
		"local time and date, its difference from the device, its GMT offset, today's sunrise\n"
		"and sunset, whether it is day or night there, and the weather cached for it: condition,\n"
		"temperature and how old the answer is ('stale' past three hours, when the next request\n"
		"goes to the weather agent). '\u2014' marks no difference and no weather.\n"
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
	commands.add({"diff", "CITY", 1, 1, {},
		"Show the difference texts between a city and the device", diffHelp.c_str(), runDiff});
	commands.add({"sun", "CITY", 1, 1, {},
		"Show today's sunrise and sunset of a city", sunHelp.c_str(), runSun});
}

} // namespace zonclock
