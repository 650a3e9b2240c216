#define LOG_TAG "zonvista"

#include "ZonMapGmtInfoManager.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <utility>

#include <app_common.h>
#include <zon_platform.h>

#include "ZonCityList.h"
#include "ZonCommonDefine.h"

#define ZON_MAP_IMAGE_PREFIX "images/zonvista_dot_image/zonvista_dot_gmt_"
#define ZON_LOCALTIME_LINK "/opt/etc/localtime"
#define ZON_READLINK_BUFFER_SIZE 1024

namespace {

// The band count is part of the map artwork, not of the table: wrapping uses it as it is.
const int kBandCount = 29;
const int kLastBand = kBandCount - 1;

struct BandRow {
	const char* title;
	int startPosX;
	const char* gmt;
	const char* image;
};

const BandRow bandRows[kBandCount] = {
	{"-11", 0, "GMT-11", "minus_11.png"},
	{"-10", 13, "GMT-10", "minus_10.png"},
	{"-9", 29, "GMT-9", "minus_9.png"},
	{"-8", 95, "GMT-8", "minus_8.png"},
	{"-7", 134, "GMT-7", "minus_7.png"},
	{"-6", 145, "GMT-6", "minus_6.png"},
	{"-5", 197, "GMT-5", "minus_5.png"},
	{"-4", 216, "GMT-4", "minus_4.png"},
	{"-3", 255, "GMT-3", "minus_3.png"},
	{"-2", 274, "GMT-2", "minus_2.png"},
	{"-1", 310, "GMT-1", "minus_1.png"},
	{"0", 352, "GMT+0", "0.png"},
	{"+1", 387, "GMT+1", "plus_1.png"},
	{"+2", 450, "GMT+2", "plus_2.png"},
	{"+3", 468, "GMT+3", "plus_3.png"},
	{"+3.5", 483, "GMT+3:30", "plus_3.5.png"},
	{"+4", 503, "GMT+4", "plus_4.png"},
	{"+4.5", 521, "GMT+4:30", "plus_4.5.png"},
	{"+5", 533, "GMT+5", "plus_5.png"},
	{"+5.5", 541, "GMT+5:30", "plus_5.5.png"},
	{"+5.75", 549, "GMT+5:45", "plus_5.75.png"},
	{"+6", 558, "GMT+6", "plus_6.png"},
	{"+7", 610, "GMT+7", "plus_7.png"},
	{"+8", 629, "GMT+8", "plus_8.png"},
	{"+9", 680, "GMT+9", "plus_9.png"},
	{"+10", 717, "GMT+10", "plus_10.png"},
	{"+11", 747, "GMT+11", "plus_11.png"},
	{"+12", 779, "GMT+12", "plus_12.png"},
	{"+13", 798, "GMT+13", "plus_13.png"},
};

// Zones the map has no band for, shown on the whole hour nearer to zero.
const std::pair<const char*, const char*> gmtWithoutBand[] = {
	{"GMT+9:30", "GMT+9"},
	{"GMT-4:30", "GMT-4"},
	{"GMT-3:30", "GMT-3"},
	{"GMT+6:30", "GMT+6"},
};

// Fractional zones that do have a band of their own.
const char* const fractionalBands[] = {"GMT+3:30", "GMT+4:30", "GMT+5:30", "GMT+5:45"};

// "GMT-4:30" is left out on purpose: the map never shows a header for it.
const std::pair<const char*, const char*> headerIds[] = {
	{"GMT-11", "WDS_ZON_HEADER_GMT_11_C00_ABB"},
	{"GMT-10", "WDS_ZON_HEADER_GMT_10_C00_ABB"},
	{"GMT-9", "WDS_ZON_HEADER_GMT_09_C00_ABB"},
	{"GMT-8", "WDS_ZON_HEADER_GMT_08_C00_ABB"},
	{"GMT-7", "WDS_ZON_HEADER_GMT_07_C00_ABB"},
	{"GMT-6", "WDS_ZON_HEADER_GMT_06_C00_ABB"},
	{"GMT-5", "WDS_ZON_HEADER_GMT_05_C00_ABB"},
	{"GMT-4", "WDS_ZON_HEADER_GMT_04_C00_ABB"},
	{"GMT-3:30", "WDS_ZON_HEADER_GMT_03_C30_ABB"},
	{"GMT-3", "WDS_ZON_HEADER_GMT_03_C00_ABB"},
	{"GMT-2", "WDS_ZON_HEADER_GMT_02_C00_ABB"},
	{"GMT-1", "WDS_ZON_HEADER_GMT_01_C00_ABB"},
	{"GMT+0", "WDS_ZON_HEADER_GMTPLUS00_C00_ABB"},
	{"GMT+1", "WDS_ZON_HEADER_GMTPLUS01_C00_ABB"},
	{"GMT+2", "WDS_ZON_HEADER_GMTPLUS02_C00_ABB"},
	{"GMT+3", "WDS_ZON_HEADER_GMTPLUS03_C00_ABB"},
	{"GMT+3:30", "WDS_ZON_HEADER_GMTPLUS03_C30_ABB"},
	{"GMT+4", "WDS_ZON_HEADER_GMTPLUS04_C00_ABB"},
	{"GMT+4:30", "WDS_ZON_HEADER_GMTPLUS04_C30_ABB"},
	{"GMT+5", "WDS_ZON_HEADER_GMTPLUS05_C00_ABB"},
	{"GMT+5:30", "WDS_ZON_HEADER_GMTPLUS05_C30_ABB"},
	{"GMT+5:45", "WDS_ZON_HEADER_GMTPLUS05_C45_ABB"},
	{"GMT+6", "WDS_ZON_HEADER_GMTPLUS06_C00_ABB"},
	{"GMT+6:30", "WDS_ZON_HEADER_GMTPLUS06_C30_ABB"},
	{"GMT+7", "WDS_ZON_HEADER_GMTPLUS07_C00_ABB"},
	{"GMT+8", "WDS_ZON_HEADER_GMTPLUS08_C00_ABB"},
	{"GMT+9", "WDS_ZON_HEADER_GMTPLUS09_C00_ABB"},
	{"GMT+9:30", "WDS_ZON_HEADER_GMTPLUS09_C30_ABB"},
	{"GMT+10", "WDS_ZON_HEADER_GMTPLUS10_C00_ABB"},
	{"GMT+11", "WDS_ZON_HEADER_GMTPLUS11_C00_ABB"},
	{"GMT+12", "WDS_ZON_HEADER_GMTPLUS12_C00_ABB"},
	{"GMT+13", "WDS_ZON_HEADER_GMTPLUS13_C00_ABB"},
};

// The band whose left edge is nearest to posX; the lower band wins a tie. The last band is never
// looked at as a left neighbour, so a position outside the map on either side ends there.
int bandForPosX(const std::vector<ZonMapGmtInfoManager::GmtInfo>& bands, int posX)
{
	for (int i = 0; i < kLastBand; ++i) {
		int start = bands[i].startPosX;
		int nextStart = bands[i + 1].startPosX;
		if (start == posX)
			return i;
		if (start < posX && nextStart > posX)
			return (posX - start > nextStart - posX) ? i + 1 : i;
	}
	return kLastBand;
}

// Index of the first band carrying exactly this GMT text, or -1.
int bandForGmt(const std::vector<ZonMapGmtInfoManager::GmtInfo>& bands, const std::string& gmt)
{
	for (size_t i = 0; i < bands.size(); ++i) {
		if (bands[i].gmtOfCityinfo == gmt)
			return static_cast<int>(i);
	}
	return -1;
}

}

ZonMapGmtInfoManager* ZonMapGmtInfoManager::_instance = nullptr;

ZonMapGmtInfoManager::GmtInfo::GmtInfo(std::string titleGmt, int startPosX, std::string gmtOfCityinfo,
	std::string imgPath)
	: titleGmt(std::move(titleGmt))
	, startPosX(startPosX)
	, gmtOfCityinfo(std::move(gmtOfCityinfo))
	, imgPath(std::move(imgPath))
{
}

ZonMapGmtInfoManager* ZonMapGmtInfoManager::getInstance()
{
	if (!_instance)
		_instance = new ZonMapGmtInfoManager();
	return _instance;
}

ZonMapGmtInfoManager::ZonMapGmtInfoManager()
	: _gmtIndex(0)
{
	// Without a resource directory the paths are still built, relative; the view then simply
	// finds no image.
	std::string imageDir;
	char* resPath = app_get_resource_path();
	if (resPath) {
		imageDir = resPath;
		free(resPath);
	}
	imageDir += ZON_MAP_IMAGE_PREFIX;

	_gmtInfoTables.reserve(kBandCount);
	for (const BandRow& row : bandRows)
		_gmtInfoTables.emplace_back(row.title, row.startPosX, row.gmt, imageDir + row.image);

	_setCurrentTimezone();
	_createTranslatableCityInfoMap();
}

ZonMapGmtInfoManager::~ZonMapGmtInfoManager()
{
}

int ZonMapGmtInfoManager::size()
{
	return static_cast<int>(_gmtInfoTables.size());
}

std::string ZonMapGmtInfoManager::getTitleGmt()
{
	WINFO("_gmtIndex : %d", _gmtIndex);
	return _gmtInfoTables[_gmtIndex].titleGmt;
}

int ZonMapGmtInfoManager::getStartPosX()
{
	WINFO("_gmtIndex : %d", _gmtIndex);
	return _gmtInfoTables[_gmtIndex].startPosX;
}

std::string ZonMapGmtInfoManager::getGmtOfCityinfo()
{
	WINFO("_gmtIndex : %d", _gmtIndex);
	return _gmtInfoTables[_gmtIndex].gmtOfCityinfo;
}

std::string ZonMapGmtInfoManager::getImgPath()
{
	WINFO("_gmtIndex : %d", _gmtIndex);
	return _gmtInfoTables[_gmtIndex].imgPath;
}

void ZonMapGmtInfoManager::increaseIndex()
{
	_gmtIndex = (_gmtIndex + 1) % kBandCount;
}

void ZonMapGmtInfoManager::decreaseIndex()
{
	_gmtIndex = (_gmtIndex + kBandCount - 1) % kBandCount;
}

int ZonMapGmtInfoManager::getDetailedPosX(int posX)
{
	_gmtIndex = bandForPosX(_gmtInfoTables, posX);
	WINFO("_gmtIndex : %d", _gmtIndex);
	return _gmtInfoTables[_gmtIndex].startPosX;
}

void ZonMapGmtInfoManager::updateIndexOnScroll(int posX)
{
	_gmtIndex = bandForPosX(_gmtInfoTables, posX);
}

void ZonMapGmtInfoManager::setGmtIndex(const std::string& gmt)
{
	std::string target = gmt;
	for (const auto& substitution : gmtWithoutBand) {
		if (target == substitution.first) {
			target = substitution.second;
			break;
		}
	}

	int index = bandForGmt(_gmtInfoTables, target);
	if (index >= 0)
		_gmtIndex = index;
	WINFO("_gmtIndex : %d", _gmtIndex);
}

std::string ZonMapGmtInfoManager::getFormattedGmtOfCityinfo(std::string gmt)
{
	return _translatableCityInfo[gmt];
}

void ZonMapGmtInfoManager::_setCurrentTimezone()
{
	if (_currentGmt.empty()) {
		char target[ZON_READLINK_BUFFER_SIZE] = {0};
		char* linkPath = zon_platform_path(ZON_LOCALTIME_LINK);
		ssize_t length = linkPath ? readlink(linkPath, target, sizeof(target) - 1) : -1;
		free(linkPath);
		if (length > 0) {
			target[length] = '\0';
			_currentGmt = target;
		}
		WINFO("readlink > _currentGmt : %s", _currentGmt.c_str());
	}

	std::string curGmt;
	for (const Cityinfo& city : allCityList) {
		if (_currentGmt == city.timezone_path) {
			curGmt = city.timezone;
			WINFO("curGmt : %s", curGmt.c_str());
			break;
		}
	}

	bool keepWhole = false;
	for (const char* fractional : fractionalBands) {
		if (curGmt == fractional) {
			keepWhole = true;
			break;
		}
	}
	WINFO("curGmt : %s", curGmt.c_str());
	std::string result = keepWhole ? curGmt : curGmt.substr(0, curGmt.find(':'));
	WINFO("result : %s", result.c_str());

	int index = bandForGmt(_gmtInfoTables, result);
	if (index >= 0)
		_gmtIndex = index;
}

void ZonMapGmtInfoManager::_createTranslatableCityInfoMap()
{
	for (const auto& entry : headerIds)
		_translatableCityInfo[entry.first] = entry.second;
}
