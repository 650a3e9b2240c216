/*
 * The device commands: the world map's GMT bands, and what the library's device queries answer
 * on this device.
 *
 * The map manager exposes only its current band, so the band table is read by stepping through
 * all 29 bands once (which brings the index back where it was), and the band a GMT text selects
 * is told apart from "no band" by selecting it from both ends of the map.
 *
 * The device queries answer yes or no; next to each answer zonclock shows the settings it was
 * made from, read directly, so that a surprising answer can be traced to the device.
 */
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <app_preference.h>
#include <package_manager.h>
#include <system_info.h>
#include <vconf.h>
#include <zon-host/zon_host.h>
#include <zon_platform.h>

#include "Catalogue.h"
#include "Command.h"
#include "Output.h"
#include "Session.h"
#include "Texts.h"
#include "Table.h"
#include "ZonMapGmtInfoManager.h"
#include "ZonSyncUtil.h"
#include "ZonUtil.h"

namespace zonclock {

namespace {

struct Band {
	std::string title;
	int startPosX = 0;
	std::string gmt;
	std::string imgPath;
};

Band currentBand(ZonMapGmtInfoManager* map)
{
	return {map->getTitleGmt(), map->getStartPosX(), map->getGmtOfCityinfo(), map->getImgPath()};
}

// All bands in map order; the current band is where it was afterwards.
std::vector<Band> readBands(ZonMapGmtInfoManager* map)
{
	std::vector<Band> bands;
	for (int i = 0; i < map->size(); ++i) {
		map->increaseIndex();
		bands.push_back(currentBand(map));
	}
	std::sort(bands.begin(), bands.end(), [](const Band& a, const Band& b) { return a.startPosX < b.startPosX; });
	return bands;
}

int indexOf(const std::vector<Band>& bands, int startPosX)
{
	for (size_t i = 0; i < bands.size(); ++i) {
		if (bands[i].startPosX == startPosX)
			return static_cast<int>(i);
	}
	return -1;
}

std::string describeBand(const std::vector<Band>& bands, int startPosX)
{
	int index = indexOf(bands, startPosX);
	return "band " + std::to_string(index) + " (" + bands[index].title + ", " + bands[index].gmt + ")";
}

std::string localTimeLinkTarget()
{
	char* path = zon_platform_path("/opt/etc/localtime");
	std::string target;
	char buffer[1024];
	ssize_t length = path ? readlink(path, buffer, sizeof buffer - 1) : -1;
	if (length > 0)
		target.assign(buffer, static_cast<size_t>(length));
	free(path);
	return target;
}

// The catalogue city whose zone the device's link names; nullptr when there is none.
const Cityinfo* deviceCity(const std::string& target)
{
	for (int id = 1; id <= catalogueSize(); ++id) {
		const Cityinfo* city = catalogueCity(id);
		if (target == city->timezone_path)
			return city;
	}
	return nullptr;
}

// Why the map started where it did, in words. The library finds the device's city only when the
// link's target is exactly a catalogue zone name; otherwise it leaves the map on the band it
// starts from, which says nothing about the device's zone.
std::string deviceZoneLine(const std::vector<Band>& bands, int deviceStartPosX)
{
	std::string target = localTimeLinkTarget();
	std::string band = describeBand(bands, deviceStartPosX);
	if (const Cityinfo* city = target.empty() ? nullptr : deviceCity(target))
		return "Device zone: " + target + " (" + city->timezone + "), " + band + ".";
	const std::string notTheDevices = "the map merely opens on " + band + ", which is not the device's band.";
	if (target.empty())
		return "Device zone: UTC (no local-time link), which has no catalogue city: " + notTheDevices;
	size_t at = target.rfind("zoneinfo/");
	std::string zone = at == std::string::npos ? target : target.substr(at + strlen("zoneinfo/"));
	if (const Cityinfo* city = deviceCity(zone))
		return "Device zone: " + zone + ", the zone of " + describeCity(*city) + " (" + city->timezone +
			"). The library looks the link's target " + target + " up as it stands and finds no city: " +
			notTheDevices;
	return "Device zone: " + zone + ", which has no catalogue city: " + notTheDevices;
}

bool parseInt(const std::string& text, int& value)
{
	if (text.empty())
		return false;
	char* end = nullptr;
	errno = 0;
	long parsed = strtol(text.c_str(), &end, 10);
	if (*end || errno || parsed < INT_MIN || parsed > INT_MAX)
		return false;
	value = static_cast<int>(parsed);
	return true;
}

int runMap(const Invocation& invocation, Session& session)
{
	bool byGmt = invocation.has("--gmt");
	bool byX = invocation.has("--x");
	bool header = invocation.has("--header");
	if (byGmt && byX)
		return usageError("--gmt and --x select a band each; give one of them");
	int posX = 0;
	if (byX && !parseInt(invocation.value("--x"), posX))
		return usageError("--x needs a whole number of map pixels, got '%s'", invocation.value("--x").c_str());

	session.openDevice();
	ZonMapGmtInfoManager* map = ZonMapGmtInfoManager::getInstance();

	if (header && !byGmt && !byX) {
		std::string gmt = invocation.value("--header");
		std::string id = map->getFormattedGmtOfCityinfo(gmt);
		if (id.empty())
			return failure("%s has no header label", gmt.c_str());
		printf("%s\n", id.c_str());
		return kExitOk;
	}

	int deviceStartPosX = map->getStartPosX();
	std::vector<Band> bands = readBands(map);
	std::string selection;

	if (byGmt) {
		std::string gmt = invocation.value("--gmt");
		// Selected from either end: a text without a band leaves the two ends where they were.
		map->getDetailedPosX(bands.front().startPosX);
		map->setGmtIndex(gmt);
		int fromFirst = map->getStartPosX();
		map->getDetailedPosX(bands.back().startPosX);
		map->setGmtIndex(gmt);
		if (map->getStartPosX() != fromFirst)
			return failure("no band carries %s (see 'zonclock map')", gmt.c_str());
		const Band& band = bands[indexOf(bands, fromFirst)];
		selection = band.gmt == gmt ? gmt + " is " + describeBand(bands, fromFirst) + "."
									: gmt + " has no band of its own; it is shown on " +
					describeBand(bands, fromFirst) + ".";
	} else if (byX) {
		int start = map->getDetailedPosX(posX);
		selection = "x " + std::to_string(posX) + " selects " + describeBand(bands, start) +
			", which starts at x " + std::to_string(start) + ".";
	}

	// '*' marks the selected band, else the device's; a device without a catalogue city has none.
	std::string target = localTimeLinkTarget();
	bool deviceHasBand = !target.empty() && deviceCity(target);
	int current = selection.empty() && !deviceHasBand ? -1 : indexOf(bands, map->getStartPosX());
	Records rows({{nullptr, ""}, {"index", "#", Table::Right}, {"title", tr("Title")},
		{"x", "X", Table::Right}, {"gmt", "GMT"}, {"headerId", tr("Header id")}, {"current", nullptr}});
	for (size_t i = 0; i < bands.size(); ++i) {
		const Band& band = bands[i];
		bool marked = static_cast<int>(i) == current;
		rows.add({Value::text(marked ? "*" : ""), Value::number(i), Value::text(band.title),
			Value::number(band.startPosX), Value::text(band.gmt), Value::text(map->getFormattedGmtOfCityinfo(band.gmt)),
			Value::flag(marked)});
	}
	if (invocation.format != Format::Text) {
		emit(invocation.format, stdout, "bands", rows);
		return kExitOk;
	}
	rows.printTable(stdout);
	printf("\n%s\n", deviceZoneLine(bands, deviceStartPosX).c_str());
	if (!selection.empty())
		printf("%s\n", selection.c_str());
	if (header) {
		std::string gmt = invocation.value("--header");
		std::string id = map->getFormattedGmtOfCityinfo(gmt);
		printf("Header of %s: %s\n", gmt.c_str(), id.empty() ? "(none)" : id.c_str());
	}
	return kExitOk;
}

// ---- device ----

const char* yesNo(bool value)
{
	return value ? "yes" : "no";
}

std::string vconfString(const char* key)
{
	char* value = vconf_get_str(key);
	if (!value)
		return "not set";
	std::string text = std::string("\"") + value + "\"";
	free(value);
	return text;
}

std::string vconfBool(const char* key, const char* on, const char* off)
{
	int value = 0;
	if (vconf_get_bool(key, &value) != VCONF_OK)
		return "not set";
	return value ? on : off;
}

std::string featureText(const char* key)
{
	bool value = false;
	if (system_info_get_platform_bool(key, &value) != SYSTEM_INFO_ERROR_NONE)
		return "not declared";
	return value ? "yes" : "no";
}

std::string bezelBasis()
{
	return "rotating bezel " + featureText(ZON_HOST_FEATURE_ROTATING_BEZEL) + ", virtual " +
		featureText(ZON_HOST_FEATURE_VIRTUAL_ROTATING_BEZEL) + ", rotary input " +
		vconfBool(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED, "on", "off");
}

std::string companionBasis()
{
	int type = 0;
	std::string bluetooth = vconf_get_int("memory/private/lnkp/conn_type", &type) != VCONF_OK
		? "not set"
		: (type & 1 ? "yes" : "no");
	return "Bluetooth " + bluetooth + ", companion manager " +
		vconfBool("memory/hmx/hmanager_connected", "connected", "disconnected");
}

std::string standaloneBasis()
{
	int value = 0;
	if (vconf_get_int("db/setup_wizard/standalone", &value) != VCONF_OK)
		return "setup mode not set";
	return "setup mode " + std::to_string(value);
}

std::string packageBasis(const char* packageId)
{
	package_info_h info = nullptr;
	if (package_manager_get_package_info(packageId, &info) != PACKAGE_MANAGER_ERROR_NONE)
		return std::string(packageId) + " not installed";
	char* version = nullptr;
	std::string text = packageId;
	if (package_info_get_version(info, &version) == PACKAGE_MANAGER_ERROR_NONE) {
		text += std::string(" ") + version;
		free(version);
	}
	package_info_destroy(info);
	return text;
}

// One query's row: its key for scripts, its name, the answer and what the answer comes from.
std::vector<Value> row(const char* key, const char* query, const std::string& answer, const std::string& basis)
{
	return {Value::text(key), Value::text(query), Value::text(answer), Value::text(basis)};
}

int runDevice(const Invocation& invocation, Session& session)
{
	session.openDevice();

	std::string region = "region format " + vconfString("db/menu_widget/regionformat");
	const char* theme = getenv("ELM_DEVICE_PROD_THEME");

	// What the application's screens would read after the check at their start.
	zonUtilSetWeatherPkgState();
	bool weatherAvailable = false;
	bool weatherKnown =
		preference_get_boolean(".weatherPackageAvailable", &weatherAvailable) == PREFERENCE_ERROR_NONE;
	std::string weather = !weatherKnown ? "unknown"
		: !weatherAvailable             ? "not installed"
		: zonUtilIsPkgPreloaded(ZON_HOST_WEATHER_PACKAGE_ID) ? "installed, preloaded"
															 : "installed";

	Records table({{"query", nullptr}, {nullptr, tr("Query")}, {"answer", tr("Answer")}, {"basis", tr("From")}});
	table.add(row("rtl", tr("Right-to-left"), yesNo(zonUtilIsRTL()), region));
	table.add(row("arabic", tr("Arabic"), yesNo(zonUtilIsArabic()), region));
	table.add(row("screenReader", tr("Screen reader"), zonUtilIsScreenReaderOn() ? "on" : "off",
		"accessibility setting " + vconfBool("db/setting/accessibility/tts", "on", "off")));
	table.add(row("bezel", tr("Bezel"), yesNo(zonUtilHasBezel()), bezelBasis()));
	table.add(row("physicalBezel", tr("Physical bezel"), yesNo(zonUtilHasPhysicalBezel()), bezelBasis()));
	table.add(row("jerusalemOnly", tr("Jerusalem only"), yesNo(zonUtilCheckShowOnlyJerusalem()),
		"country code " + vconfString("db/csc/country_iso")));
	table.add(row("companionConnected", tr("Companion connected"), yesNo(ZonSyncUtil::isBtConnected()), companionBasis()));
	table.add(row("companionOfOurMake", tr("Companion of our make"), yesNo(ZonSyncUtil::_isConnectedWithOurCompany()),
		"phone vendor " + vconfString("db/hmx/host_status/vendor")));
	table.add(row("standalone", tr("Standalone watch"), yesNo(ZonSyncUtil::_isWPCMode()), standaloneBasis()));
	table.add(row("vorelDevice", tr("Vorel device"), yesNo(zonUtilIsVorelDevice()),
		std::string("ELM_DEVICE_PROD_THEME ") + (theme ? "\"" + std::string(theme) + "\"" : "not set")));
	table.add(row("weatherPackage", tr("Weather package"), weather, packageBasis(ZON_HOST_WEATHER_PACKAGE_ID)));
	emit(invocation.format, stdout, "queries", table);
	return kExitOk;
}

} // namespace

void registerDeviceCommands(CommandSet& commands)
{
	commands.add({"map", "", 0, 0,
		{{"--gmt", "GMT", "select the band of a catalogue GMT text, e.g. GMT+5:45"},
			{"--x", "POS", "select the band nearest to a map position in pixels"},
			{"--header", "GMT", "show the string id of the header label for a GMT text"}, kFormatOption},
		"Show the world map's GMT bands and the device's own",
		"Shows the 29 GMT bands of the world map: index, title, left edge in map pixels, the\n"
		"catalogue's GMT text and the string id of its header label. '*' marks the current\n"
		"band: the device's own (from its local-time link), or the one --gmt or --x selects.\n"
		"A GMT text of a zone without a band of its own (GMT+9:30, GMT-4:30, GMT-3:30,\n"
		"GMT+6:30) selects the whole hour nearer to zero; one that no band carries is an error.\n"
		"With only --header, prints just the string id, and exits with 1 when there is none.",
		runMap});
	commands.add({"device", "", 0, 0, {kFormatOption},
		"Show what the device queries answer on this device",
		"Shows the answers of the library's device and environment queries - right-to-left and\n"
		"Arabic region format, screen reader, bezel and physical bezel, the Jerusalem-only\n"
		"market, the companion phone's connection, the weather package - and the settings each\n"
		"answer comes from. Checking the weather package records the result in the\n"
		"application's preference \".weatherPackageAvailable\", as the application does.",
		runDevice});
}

} // namespace zonclock
