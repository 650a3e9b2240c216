/*
 * The clock commands: the world clock of a list, and the difference and sun texts of one city.
 *
 * Every text is the library's, made from the device's settings (region format, 24-hour clock,
 * display language); zonclock only lays them out. Differences and the date the sun is reckoned
 * for depend on the device's own zone, so the process is put back into it before each such call
 * (see Session::useDeviceZone()).
 */
#include <cmath>
#include <string>
#include <vector>

#include "Catalogue.h"
#include "CityOperand.h"
#include "Command.h"
#include "DatabaseFailure.h"
#include "Session.h"
#include "Table.h"
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

Sun sunOf(Session& session, const Cityinfo& city)
{
	Sun sun;
	const double* point = allCityPoints[city.id - 1];
	// The library reckons the sun for the device's date.
	session.useDeviceZone();
	ZonTimeUtil::getSunRiseSetTime(city.timezone, point[0], point[1], sun.sunrise, sun.sunset, &sun.daytime,
		city.timezone_path);
	return sun;
}

std::string differenceOf(Session& session, const char* zone)
{
	session.useDeviceZone();
	return ZonTimeUtil::getTimeDiff(zone);
}

std::string dayOrNight(bool daytime)
{
	return daytime ? "day" : "night";
}

// "10:15 AM, Tue, May 5 in UTC (GMT+0)": what every difference is measured from.
std::string deviceLine(Session& session)
{
	const char* zone = session.deviceZone().c_str();
	return ZonTimeUtil::getCurrentTime(zone) + ", " + ZonTimeUtil::getCurrentDate(zone) + " in " + zone + " (" +
		ZonTimeUtil::getCurrentGMT(zone) + ")";
}

int runClock(const Invocation& invocation, Session& session)
{
	bool second = invocation.has("--second");
	ZonDBManager* db = session.db();
	// getAllCityList() refills its buffer on every call, getWeatherInfo() does not touch it.
	std::vector<Cityinfo> cities = db->getAllCityList(second);
	if (db->lastError())
		return failure("cannot read the %s: %s", second ? "second list" : "main list", databaseFailure(db).c_str());

	printf("Device: %s\n\n", deviceLine(session).c_str());
	if (cities.empty()) {
		printf("The %s is empty. Add a city with 'zonclock add%s CITY'; 'zonclock search PREFIX'\n"
			   "finds its name or id.\n",
			second ? "second list" : "main list", second ? " --second" : "");
		return kExitOk;
	}

	Table table({{"City"}, {"Time"}, {"Date"}, {"Difference"}, {"GMT"}, {"Sunrise"}, {"Sunset"}, {"Now"},
		{"Weather"}});
	for (const Cityinfo& city : cities) {
		const char* zone = city.timezone_path;
		std::string difference = differenceOf(session, zone);
		Sun sun = sunOf(session, city);
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
	session.useDeviceZone();
	double offset = ZonTimeUtil::getGmtOffset(zone);
	std::string row = differenceOf(session, zone);
	session.useDeviceZone();
	std::string spoken = ZonTimeUtil::getTimeDiffToRead(zone);
	session.useDeviceZone();
	std::string markup = ZonTimeUtil::getTimeDiffWithFontSize(zone);
	session.useDeviceZone();
	std::string arc = ZonTimeUtil::getTimeDiffOnWidgetArc(zone);

	printf("%s in %s; the device is in %s.\n", describeCity(*city).c_str(), zone, session.deviceZone().c_str());
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
	Sun sun = sunOf(session, *city);
	const double* point = allCityPoints[city->id - 1];
	printf("%s in %s, at %.4f %c %.4f %c.\n", describeCity(*city).c_str(), city->timezone_path, std::fabs(point[0]),
		point[0] < 0 ? 'S' : 'N', std::fabs(point[1]), point[1] < 0 ? 'W' : 'E');
	printf("Sunrise: %s\n", sun.sunrise.c_str());
	printf("Sunset:  %s\n", sun.sunset.c_str());
	printf("Now:     %s\n", dayOrNight(sun.daytime).c_str());
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

	commands.add({"clock", "", 0, 0, {kSecondList},
		"Show the world clock of the main list, or the second list",
		"Shows the device's time, then for each city of the main list (or the second list) its\n"
		"local time and date, its difference from the device, its GMT offset, today's sunrise\n"
		"and sunset, whether it is day or night there, and the weather cached for it: condition,\n"
		"temperature and how old the answer is ('stale' past three hours, when the next request\n"
		"goes to the weather agent). '\u2014' marks no difference and no weather.\n"
		"The device's zone is its local-time link, which a new device takes from the desktop\n"
		"(TZ, else /etc/localtime).\n"
		"Texts follow the device's region format, display language and 12/24-hour setting; see\n"
		"the global options to change them for one run.",
		runClock});
	commands.add({"diff", "CITY", 1, 1, {},
		"Show the difference texts between a city and the device", diffHelp.c_str(), runDiff});
	commands.add({"sun", "CITY", 1, 1, {},
		"Show today's sunrise and sunset of a city", sunHelp.c_str(), runSun});
}

} // namespace zonclock
