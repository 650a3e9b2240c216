/*
 * RestoreCheck.h - the records of a zonclock backup file, read and checked before a restore.
 *
 * The records (keys, then the JSON members of the value):
 *   "manifest"        kind "zonclock.manifest", format 1, mainCount, secondCount
 *   "main.<n>"        kind "zonclock.city", format 1, list "main" or "second", position n
 *   "second.<n>"      (0-based within its list), cityId, englishName (the catalogue's, exactly),
 *                     weatherType (0..23), temperature, isCentigrade, lastUpdateTime
 *                     (seconds, as the database keeps it)
 * The manifest makes an empty list a list, not a lost one, and lets a restore tell a file that
 * lost records from a short list.
 *
 * A file passes only when it could have been written by a backup of real lists: every number a
 * JSON integer that fits an int (times not negative), each list a catalogue city at most once
 * and so no longer than the catalogue, positions without holes. Every problem is listed, the
 * first few holes of a damaged count by name and the rest by number. Problems quote the file's
 * text as it is; escape them before printing.
 *
 * Feed the records with add() in the order the service hands them over, then call check() once.
 */
#ifndef ZONCLOCK_RESTORE_CHECK_H
#define ZONCLOCK_RESTORE_CHECK_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zonclock {

struct CityRecord {
	bool second = false;
	int position = 0;
	int cityId = 0;
	std::string englishName;
	int weatherType = 0;
	int temperature = 0;
	bool isCentigrade = false;
	int lastUpdateTime = 0;
};

extern const char kManifestKind[];
extern const char kCityKind[];
extern const char kManifestKey[];
extern const int kBackupFormat;

const char* listName(bool second); // "main list", "second list"
std::string cityKey(const CityRecord& city); // "main.0"

class RestoreCheck {
public:
	// Reads record index (as the service numbers them) with its value, null when it has none.
	// Returns the key to give back to the service for it.
	std::string add(int index, const char* jsonStr);

	// How many records were handed over.
	int seen() const { return _seen; }

	// Checks the records as a whole. True when they make up both lists and no record had a
	// problem.
	bool check();

	// The cities read, main list first, each list in position order.
	std::vector<CityRecord> inListOrder() const;

	const std::vector<std::string>& problems() const { return _problems; }

private:
	static std::string unreadableKey(int index) { return "unreadable." + std::to_string(index); }
	std::string readManifest(const std::string& jsonStr, const std::string& where, int index);
	std::string readCity(const std::string& jsonStr, const std::string& where, int index);

	int _seen = 0;
	std::unique_ptr<std::pair<int, int>> _manifest; // main count, second count
	std::vector<CityRecord> _cities;
	std::vector<std::string> _problems;
};

} // namespace zonclock

#endif /* ZONCLOCK_RESTORE_CHECK_H */
