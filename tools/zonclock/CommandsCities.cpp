/*
 * The city commands: show the lists, change them, search the catalogue.
 *
 * The library's calls report no failure, so each is followed by a look at lastError(): a list
 * that could not be read is an error, not an empty list. A change is one write transaction
 * from the check ("already in the list") to the read-back that proves it, so two zonclock runs
 * (or the widget) adding the same city cannot both succeed, and a change that did not happen is
 * reported as a failure instead of a success message.
 */
#include <string>
#include <vector>

#include "Catalogue.h"
#include "CitySearch.h"
#include "CityOperand.h"
#include "Command.h"
#include "DatabaseFailure.h"
#include "Output.h"
#include "Session.h"
#include "Table.h"
#include "Texts.h"
#include "ZonDBManager.h"
#include "ZonTimeUtil.h"

namespace zonclock {

namespace {

const Option kSecondList = {"--second", nullptr,
	"work on the second list (rows with is_external set) instead of the main list"};

const char* listName(bool second)
{
	return second ? tr("second list") : tr("main list");
}

// The row of the city added last, or nullptr. Catalogue ids identify a city in a list: a row
// whose name no longer matches its id never makes it into the list the library returns.
const Cityinfo* findLast(const std::vector<Cityinfo>& list, int cityId)
{
	for (auto it = list.rbegin(); it != list.rend(); ++it) {
		if (it->id == cityId)
			return &*it;
	}
	return nullptr;
}

// isExist() finds the catalogue row by name string and GMT text, so for a city with a twin in
// those it answers for the twin; only the list itself tells the two apart.
// Whether the list holds the city's id; the caller checks db->lastError() afterwards.
bool listHoldsId(ZonDBManager* db, int cityId, bool second)
{
	return findLast(db->getAllCityList(second), cityId) != nullptr;
}

bool isListed(ZonDBManager* db, const Cityinfo& city, bool second)
{
	if (hasDisplayTwin(city))
		return listHoldsId(db, city.id, second);
	return db->isExist(&city, second);
}

// The end of a command whose database call failed.
int databaseError(ZonDBManager* db, const std::string& doing)
{
	return failure("cannot %s: %s", doing.c_str(), databaseFailure(db).c_str());
}

int runList(const Invocation& invocation, Session& session)
{
	bool second = invocation.has("--second");
	ZonDBManager* db = session.db();
	const std::vector<Cityinfo>& cities = db->getAllCityList(second);
	if (db->lastError())
		return databaseError(db, std::string("read the ") + listName(second));
	if (cities.empty() && invocation.format == Format::Text) {
		printf(tr("The %s is empty.\n"), listName(second));
		return kExitOk;
	}

	Records rows({{"position", "#", Table::Right}, {"rowId", tr("Row"), Table::Right}, {"cityId", tr("Id"), Table::Right},
		{"city", tr("City")}, {"country", tr("Country")}, {"gmt", "GMT"}, {"catalogueGmt", tr("Catalogue GMT")},
		{"zone", tr("Zone")}});
	int position = 0;
	for (const Cityinfo& city : cities) {
		rows.add({Value::number(++position), Value::number(city.dbId), Value::number(city.id),
			Value::text(displayName(city)), Value::text(displayCountry(city)),
			Value::text(ZonTimeUtil::getCurrentGMT(city.timezone_path)), Value::text(city.timezone),
			Value::text(city.timezone_path)});
	}
	emit(invocation.format, stdout, "cities", rows);
	return kExitOk;
}

int runAdd(const Invocation& invocation, Session& session)
{
	bool second = invocation.has("--second");
	int exitCode = kExitOk;
	const Cityinfo* city = resolveCity(invocation.operands[0], exitCode);
	if (!city)
		return exitCode;

	ZonDBManager* db = session.db();
	std::string name = describeCity(*city);
	std::string doing = "add " + name + " to the " + listName(second);
	DatabaseTransaction transaction(db);
	if (!transaction.begun())
		return databaseError(db, doing);
	// insert() itself adds a second row for a city already listed.
	bool listed = isListed(db, *city, second);
	if (db->lastError())
		return databaseError(db, doing);
	if (listed)
		return failure(tr("%s is already in the %s"), name.c_str(), listName(second));
	size_t count = db->getAllCityList(second).size();
	if (db->lastError())
		return databaseError(db, doing);
	if (count >= static_cast<size_t>(kListLimit))
		return failure(tr("%s (the %s holds %zu); %s was not added"), listLimitNotice().c_str(), listName(second),
			count, name.c_str());

	db->insert(city->id, city->cityname_eng, second);
	if (db->lastError())
		return databaseError(db, doing);
	const Cityinfo* added = findLast(db->getAllCityList(second), city->id);
	if (db->lastError())
		return databaseError(db, doing);
	if (!added)
		return failure("could not %s (see %s)", doing.c_str(), session.logPath().c_str());
	int row = added->dbId;
	if (!transaction.commit())
		return databaseError(db, doing);
	printf(tr("Added %s to the %s as row %d.\n"), name.c_str(), listName(second), row);
	return kExitOk;
}

int runRemove(const Invocation& invocation, Session& session)
{
	bool second = invocation.has("--second");
	int exitCode = kExitOk;
	const Cityinfo* city = resolveCity(invocation.operands[0], exitCode);
	if (!city)
		return exitCode;

	ZonDBManager* db = session.db();
	std::string name = describeCity(*city);
	std::string doing = "remove " + name + " from the " + listName(second);
	DatabaseTransaction transaction(db);
	if (!transaction.begun())
		return databaseError(db, doing);
	bool listed = listHoldsId(db, city->id, second);
	if (db->lastError())
		return databaseError(db, doing);
	if (!listed)
		return failure(tr("%s is not in the %s"), name.c_str(), listName(second));

	db->remove(city->id, city->cityname_eng, second, true, true);
	if (db->lastError())
		return databaseError(db, doing);
	listed = listHoldsId(db, city->id, second);
	if (db->lastError())
		return databaseError(db, doing);
	if (listed)
		return failure("could not %s (see %s)", doing.c_str(), session.logPath().c_str());
	if (!transaction.commit())
		return databaseError(db, doing);
	// remove() keeps quiet; the widget and the service must still learn of it, once it is there
	// to be read.
	db->setPreferenceAfterDbChange();
	printf(tr("Removed %s from the %s.\n"), name.c_str(), listName(second));
	return kExitOk;
}

int runReplace(const Invocation& invocation, Session& session)
{
	bool second = invocation.has("--second");
	int exitCode = kExitOk;
	const Cityinfo* oldCity = resolveCity(invocation.operands[0], exitCode);
	if (!oldCity)
		return exitCode;
	const Cityinfo* newCity = resolveCity(invocation.operands[1], exitCode);
	if (!newCity)
		return exitCode;

	ZonDBManager* db = session.db();
	std::string oldName = describeCity(*oldCity);
	std::string newName = describeCity(*newCity);
	std::string doing = "replace " + oldName + " in the " + listName(second);
	DatabaseTransaction transaction(db);
	if (!transaction.begun())
		return databaseError(db, doing);
	bool oldListed = listHoldsId(db, oldCity->id, second);
	if (db->lastError())
		return databaseError(db, doing);
	if (!oldListed)
		return failure("%s is not in the %s", oldName.c_str(), listName(second));
	bool newListed = isListed(db, *newCity, second);
	if (db->lastError())
		return databaseError(db, doing);
	if (newListed)
		return failure("%s is already in the %s", newName.c_str(), listName(second));

	db->update(oldCity->id, newCity->id, newCity->cityname_eng, second);
	if (db->lastError())
		return databaseError(db, doing);
	const std::vector<Cityinfo>& cities = db->getAllCityList(second);
	if (db->lastError())
		return databaseError(db, doing);
	if (findLast(cities, oldCity->id) || !findLast(cities, newCity->id))
		return failure("could not %s (see %s)", doing.c_str(), session.logPath().c_str());
	if (!transaction.commit())
		return databaseError(db, doing);
	printf(tr("Replaced %s by %s in the %s.\n"), oldName.c_str(), newName.c_str(), listName(second));
	return kExitOk;
}

int runSearch(const Invocation& invocation, Session&)
{
	std::string text = invocation.operands.empty() ? std::string() : invocation.operands[0];
	std::vector<CityMatch> found = findCities(text);
	if (found.empty())
		return notFound(tr("no catalogue city matches '%s'%s"), text.c_str(), didYouMean(text).c_str());

	Records rows({{"cityId", tr("Id"), Table::Right}, {"city", tr("City")}, {"country", tr("Country")},
		{"catalogueGmt", "GMT"}, {"zone", tr("Zone")}});
	for (const CityMatch& match : found) {
		const Cityinfo* city = match.city;
		rows.add({Value::number(city->id), Value::text(displayName(*city)), Value::text(displayCountry(*city)),
			Value::text(city->timezone), Value::text(city->timezone_path)});
	}
	emit(invocation.format, stdout, "cities", rows);
	return kExitOk;
}

std::string withCityHelp(const char* text)
{
	return std::string(text) + "\n\n" + kCityHelp;
}

} // namespace

void registerCityCommands(CommandSet& commands)
{
	// Command descriptions are plain C strings; these live as long as the program.
	static const std::string addHelp = withCityHelp(
		"Adds CITY at the end of the main list, or of the second list. A city is in a list at\n"
		"most once.");
	static const std::string removeHelp = withCityHelp(
		"Removes CITY from the main list, or from the second list, and tells the widget and\n"
		"the service that the list changed.");
	static const std::string replaceHelp = withCityHelp(
		"Puts the city NEW in the place of the city OLD, in the main list or in the second\n"
		"list. The weather cached for OLD is dropped.");

	commands.add({"list", "", 0, 0, {kSecondList, kFormatOption},
		"Show the main list, or the second list",
		"Shows the cities of the main list, or of the second list, in the order they were added:\n"
		"position, row id in the database, catalogue id, name, country, GMT offset and time zone.",
		runList});
	commands.add({"add", "CITY", 1, 1, {kSecondList},
		"Add a city to a list", addHelp.c_str(), runAdd});
	commands.add({"remove", "CITY", 1, 1, {kSecondList},
		"Remove a city from a list", removeHelp.c_str(), runRemove});
	commands.add({"replace", "OLD NEW", 2, 2, {kSecondList},
		"Replace a city of a list by another in its place", replaceHelp.c_str(), runReplace});
	commands.add({"search", "[TEXT]", 0, 1, {kFormatOption},
		"Find catalogue cities by any part of their name or country",
		"Lists the catalogue cities whose name (English, Korean or Arabic) or country contains\n"
		"TEXT, in any case and with or without accents, with the catalogue id that the other\n"
		"commands accept: exact names first, then names that start with TEXT, names with a word\n"
		"that starts with it, names that contain it, and last the cities of a country that\n"
		"matches. Without TEXT, lists all of them. Exits with 1, with the names that come\n"
		"close, when no city matches.",
		runSearch});
}

} // namespace zonclock
