// The world map's GMT bands: navigation, scroll positions, GMT texts, header ids, and the band
// the device starts on. The manager is a singleton built once per process, so what depends on
// construction (the local-time link, the resource directory) runs in a fresh process each.
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "HostFixture.h"
#include "ZonMapGmtInfoManager.h"

namespace {

// Left edges of the bands as the map artwork has them.
const std::vector<int> kStarts = {0, 13, 29, 95, 134, 145, 197, 216, 255, 274, 310, 352, 387, 450, 468,
	483, 503, 521, 533, 541, 549, 558, 610, 629, 680, 717, 747, 779, 798};

using MapGmtInfoManagerTest = HostFixture;

TEST_F(MapGmtInfoManagerTest, BandsKeepTheirOrderTitlesImagesAndHeaderIdsWrapAroundAndAreFoundByPositionOrGmtText)
{
	ZonMapGmtInfoManager* map = ZonMapGmtInfoManager::getInstance();
	// Puts the current band at index by its left edge.
	auto selectBand = [map](int index) { map->getDetailedPosX(kStarts[index]); };
	auto currentBand = [map] {
		auto at = std::find(kStarts.begin(), kStarts.end(), map->getStartPosX());
		return at == kStarts.end() ? -1 : static_cast<int>(at - kStarts.begin());
	};
	ASSERT_EQ(29, map->size());
	selectBand(20);
	EXPECT_EQ("+5.75", map->getTitleGmt());
	EXPECT_EQ("GMT+5:45", map->getGmtOfCityinfo());
	const std::string image = map->getImgPath(), suffix = "/res/images/zonvista_dot_image/zonvista_dot_gmt_plus_5.75.png";
	EXPECT_TRUE(image[0] == '/' && image.rfind(suffix) == image.size() - suffix.size()) << image;

	// The index wraps around at both ends.
	selectBand(28);
	map->increaseIndex();
	EXPECT_EQ(0, currentBand());
	map->decreaseIndex();
	EXPECT_EQ(28, currentBand());

	// A scroll position picks the nearest left edge, worked out here over all bands: ties go to
	// the lower band (21 lies 8 from 13 and 29), and off the map on either side is the last band.
	for (int x = -5; x <= 900; ++x) {
		const bool onMap = x >= 0 && x <= kStarts.back();
		int nearest = onMap ? 0 : 28;
		for (int i = 1; onMap && i < 29; ++i) {
			if (abs(kStarts[i] - x) < abs(kStarts[nearest] - x))
				nearest = i;
		}
		EXPECT_EQ(kStarts[nearest], map->getDetailedPosX(x)) << "posX " << x;
		selectBand(3);
		map->updateIndexOnScroll(x);
		EXPECT_EQ(nearest, currentBand()) << "posX " << x;
	}

	// Header ids cover the bands, but not GMT-4:30.
	for (int i = 0; i < 29; ++i) {
		selectBand(i);
		EXPECT_NE("", map->getFormattedGmtOfCityinfo(map->getGmtOfCityinfo())) << "band " << i;
	}
	for (auto [gmt, id] : {std::pair{"GMT-3:30", "WDS_ZON_HEADER_GMT_03_C30_ABB"},
			 {"GMT+5:45", "WDS_ZON_HEADER_GMTPLUS05_C45_ABB"}, {"GMT-4:30", ""}, {"GMT+14", ""}})
		EXPECT_EQ(id, map->getFormattedGmtOfCityinfo(gmt)) << gmt;

	// A GMT text selects its band, or the whole hour nearer to zero.
	const std::pair<const char*, int> cases[] = {
		{"GMT+9:30", 24}, {"GMT-4:30", 7}, {"GMT-3:30", 8}, {"GMT+6:30", 21}, {"GMT+5:45", 20},
		{"GMT-11", 0}, {"GMT+13", 28},
		// No band of their own: the index stays where it was.
		{"GMT+14", 3}, {"gmt+5", 3}, {"GMT+5 ", 3}, {"GMT+5:00", 3}, {"", 3}, {"GMT+9:3", 3},
	};
	for (const auto& c : cases) {
		selectBand(3);
		map->setGmtIndex(c.first);
		EXPECT_EQ(c.second, currentBand()) << "'" << c.first << "'";
	}

	// Only the text and the detailed selection log the index; a plain scroll does not.
	zon_host_log_clear();
	map->setGmtIndex("GMT+14");
	map->updateIndexOnScroll(370);
	map->getDetailedPosX(370);
	EXPECT_EQ(1u, zon_host_log_count_matching("_gmtIndex : 3"));
	EXPECT_EQ(1u, zon_host_log_count_matching("_gmtIndex : 12"));
}

// ---- construction, each in a new process ----

using MapDeviceBandTest = HostFixture;

TEST_F(MapDeviceBandTest, DeviceZoneFromTheLocalTimeLinkWithOrWithoutResources)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	// Error lines of the child go to its standard error, where the expectation reads them.
	setEnv("ZON_HOST_LOG", nullptr);
	const std::string link = rootPath("fs/opt/etc/localtime");
	zon_host_root(); // a new device gets its link here
	// nullptr: no link at all.
	auto pointLinkAt = [&link](const char* target) {
		unlink(link.c_str());
		ASSERT_TRUE(!target || symlink(target, link.c_str()) == 0);
	};
	// Builds the manager and reports the band it starts on, then leaves the child's device.
	auto reportStartBand = [this] {
		ZonMapGmtInfoManager* fresh = ZonMapGmtInfoManager::getInstance();
		fprintf(stderr, "start=%d image=%s;\n", fresh->getStartPosX(), fresh->getImgPath().c_str());
		removeTree(root());
		exit(0);
	};
	const std::pair<const char*, int> cases[] = {
		{"Asia/Kathmandu", 549},     // GMT+5:45, a band of its own
		{"Asia/Rangoon", 558},       // GMT+6:30, cut to GMT+6
		{"America/St_Johns", 255},   // GMT-3:30, cut to GMT-3
		{"Pacific/Tongatapu", 798},
		// The link as a device has it, to the zone file: the target names no catalogue city.
		{"/usr/share/zoneinfo/Asia/Kathmandu", 0},
		{"Mars/Olympus_Mons", 0}, {nullptr, 0},
	};
	for (const auto& c : cases) {
		pointLinkAt(c.first);
		EXPECT_EXIT(reportStartBand(), ::testing::ExitedWithCode(0), "start=" + std::to_string(c.second) + " ")
			<< (c.first ? c.first : "no link");
	}

	// Without a resource directory the map still works, with relative image paths.
	pointLinkAt("Asia/Kathmandu");
	EXPECT_EXIT(
		{
			zon_host_fault_inject("app_get_resource_path", 1, -12);
			reportStartBand();
		},
		::testing::ExitedWithCode(0), "start=549 image=images/zonvista_dot_image/zonvista_dot_gmt_plus_5.75.png;");
}

} // namespace
