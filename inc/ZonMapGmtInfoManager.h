/**
 * @class ZonMapGmtInfoManager
 * ZonMapGmtInfoManager.h - the 29 GMT bands of the world-map screen.
 *
 * Each band has a short title ("-11", "0", "+5.75"), the x coordinate of its left edge on the
 * map, the GMT text the city catalogue uses for it ("GMT+5:45") and the path of the image that
 * highlights it. The manager keeps one current band, which the map view moves with the bezel
 * (increaseIndex/decreaseIndex, wrapping around), by scrolling (getDetailedPosX,
 * updateIndexOnScroll) or by a city's GMT text (setGmtIndex). At construction the current band
 * is the device's own, found from the target of the local-time link /opt/etc/localtime.
 *
 * Behaviour callers may trip over:
 *   - A scroll position picks the band whose left edge is nearest, the lower band on a tie;
 *     positions left of the first band and right of the last both end on the last band (28).
 *   - "GMT+9:30", "GMT-4:30", "GMT-3:30" and "GMT+6:30" have no band; they select the band of
 *     the whole hour nearer to zero. Any other text without a band leaves the current band.
 *   - The local-time link target is compared with the catalogue's zone names as it is, so only
 *     a link whose target reads like "Asia/Kathmandu" selects a band; a link to a full zone file
 *     path, or no link, leaves band 0.
 *   - getFormattedGmtOfCityinfo() knows 32 GMT texts; "GMT-4:30" is not among them and, like
 *     any unknown text, yields an empty string id (and is remembered as such).
 *
 * Ownership and threading: a process-wide singleton, never deleted. Main-loop thread only.
 *
 * Example:
 * @code
 *   ZonMapGmtInfoManager* map = ZonMapGmtInfoManager::getInstance();
 *   map->setGmtIndex(city.timezone);                  // "GMT+5:30"
 *   int x = map->getStartPosX();                      // 541
 *   map->increaseIndex();
 *   std::string id = map->getFormattedGmtOfCityinfo(map->getGmtOfCityinfo());
 *   // "WDS_ZON_HEADER_GMTPLUS05_C45_ABB"
 * @endcode
 */
#ifndef ZON_MAP_GMT_INFO_MANAGER_H
#define ZON_MAP_GMT_INFO_MANAGER_H

#include <map>
#include <string>
#include <vector>

class ZonMapGmtInfoManager {
public:
	/// One band of the map.
	struct GmtInfo {
		/// Fills the four fields.
		GmtInfo(std::string titleGmt, int startPosX, std::string gmtOfCityinfo, std::string imgPath);

		std::string titleGmt;      ///< short title on the map, "-11", "+5.75"
		int startPosX;             ///< left edge of the band, in map pixels
		std::string gmtOfCityinfo; ///< the catalogue's GMT text, "GMT+5:45"
		std::string imgPath;       ///< full path of the highlight image
	};

	/// The manager, created on the first call with the device's own band current; never null.
	static ZonMapGmtInfoManager* getInstance();

	/// The number of bands, 29.
	int size();

	/// Fields of the current band.
	///@{
	std::string getTitleGmt();
	int getStartPosX();
	std::string getGmtOfCityinfo();
	std::string getImgPath();
	///@}

	/// Next and previous band, wrapping around at either end.
	///@{
	void increaseIndex();
	void decreaseIndex();
	///@}

	/// Selects the band for a scroll position and returns its left edge.
	int getDetailedPosX(int posX);
	/// The same selection, without answer and without a log line (called on every scroll step).
	void updateIndexOnScroll(int posX);
	/// Selects the band of a catalogue GMT text.
	void setGmtIndex(const std::string& gmt);

	/// String id of the header label for a GMT text; empty when there is none.
	std::string getFormattedGmtOfCityinfo(std::string gmt);

	virtual ~ZonMapGmtInfoManager();

private:
	ZonMapGmtInfoManager();
	ZonMapGmtInfoManager(const ZonMapGmtInfoManager&) = delete;
	ZonMapGmtInfoManager& operator=(const ZonMapGmtInfoManager&) = delete;

	void _setCurrentTimezone();
	void _createTranslatableCityInfoMap();

	static ZonMapGmtInfoManager* _instance;
	std::vector<GmtInfo> _gmtInfoTables;
	int _gmtIndex;
	std::string _currentGmt;
	std::map<std::string, std::string> _translatableCityInfo;
};

#endif /* ZON_MAP_GMT_INFO_MANAGER_H */
