/*
 * The zone rules ICU reads on the host against the C library's and against the rules Unicode
 * publishes. Rule sets other than the machine's are read by zone_probe, in processes of its own.
 */

#include "TimeTestSupport.h"

namespace {

const std::string kTestDir = ZON_TZ_TEST_DIR;
const std::string kTzdataDir = std::string(ZON_SOURCE_DIR) + "/tools/tzdata";

std::string output(const std::string& command, int* status = nullptr)
{
	std::string out;
	FILE* pipe = popen(command.c_str(), "r");
	if (!pipe)
		return out;
	char buffer[4096];
	size_t n;
	while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
		out.append(buffer, n);
	int rc = pclose(pipe);
	if (status)
		*status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
	return out;
}

std::string catalogueZones()
{
	std::set<std::string> zones;
	for (const Cityinfo& city : allCityList)
		zones.insert(city.timezone_path);
	std::string args;
	for (const auto& z : zones)
		args += " " + z;
	return args;
}

// zone_probe's "offsets" listing: id -> its offset changes, and the version it read.
std::map<std::string, std::string> offsetsOf(const std::string& icuDir, std::string& version)
{
	std::istringstream lines(output(std::string(ZONE_PROBE_PATH) + " offsets " + icuDir));
	std::map<std::string, std::string> byId;
	std::string line;
	std::getline(lines, version);
	while (std::getline(lines, line)) {
		size_t space = line.find(' ');
		byId[line.substr(0, space)] = line.substr(space + 1);
	}
	return byId;
}

bool contains(const std::string& path, const std::string& text)
{
	return (std::stringstream() << std::ifstream(path).rdbuf()).str().find(text) != std::string::npos;
}

// zone_probe's "agree" disagreements that are not only a different name for the same offsets.
// The published rules never have a negative saving; the tz source gives Dublin (and any zone like
// it) its winter as the saving. Where only the daylight flag differs and the C library's daylight
// offsets are below its standard ones, both say the same clock time.
std::string realDisagreements(const std::string& report)
{
	struct Zone {
		std::string lines;
		bool sameOffsets = true;
		int cDaylightMax = INT32_MIN, cStandardMin = INT32_MAX;
	};
	std::map<std::string, Zone> zones;
	std::istringstream lines(report);
	std::string line;
	std::getline(lines, line);  // version
	while (std::getline(lines, line)) {
		size_t icuAt = line.find(": ICU "), cAt = line.find(", C library ");
		if (icuAt == std::string::npos || cAt == std::string::npos) {
			zones[line].lines = line + "\n";
			zones[line].sameOffsets = false;
			continue;
		}
		Zone& z = zones[line.substr(0, line.find(" at "))];
		z.lines += line + "\n";
		long icu = strtol(line.c_str() + icuAt + 6, nullptr, 10);
		long c = strtol(line.c_str() + cAt + 12, nullptr, 10);
		z.sameOffsets = z.sameOffsets && icu == c;
		if (line.compare(line.size() - 9, 9, " daylight") == 0)
			z.cDaylightMax = std::max<long>(z.cDaylightMax, c);
		else
			z.cStandardMin = std::min<long>(z.cStandardMin, c);
	}
	std::string real;
	for (const auto& z : zones)
		if (!z.second.sameOffsets || z.second.cDaylightMax >= z.second.cStandardMin)
			real += z.second.lines;
	return real;
}

} // namespace

// Generated from a 2025b tz source, the rules give the same UTC offset as Unicode's 2025b rules
// at every instant from 1970 to 2037, for every zone id. (Which of two equal offsets counts as
// daylight time may differ: ours follow the C library, where Dublin's winter is the saving.)
TEST(ZoneRules, GeneratedRulesMatchThePublishedOnesAndTheCLibraryAgrees)
{
	std::string genVersion, pubVersion;
	auto generated = offsetsOf(kTestDir + "/generated-2025b", genVersion);
	auto published = offsetsOf(kTestDir + "/published-2025b", pubVersion);
	ASSERT_EQ("version 2025b", genVersion);
	ASSERT_EQ("version 2025b", pubVersion);
	ASSERT_GT(published.size(), 600u);

	const std::string source = kTzdataDir + "/tzdata-2025b.zi";
	const std::string reference = kTzdataDir + "/published/2025b/zoneinfo64.txt";
	int compared = 0;
	for (const auto& entry : published) {
		const std::string& id = entry.first;
		auto ours = generated.find(id);
		if (ours == generated.end()) {
			// ICU's own legacy ids have no tz source to come from.
			EXPECT_EQ(0u, id.rfind("SystemV/", 0)) << id << " is missing";
			continue;
		}
		if (ours->second == entry.second) {
			++compared;
			continue;
		}
		// Debian's tzdata keeps a few old ids as zones of their own where upstream made them
		// links; the published rules follow upstream.
		bool ownZoneHere = contains(source, "\nZ " + id + " ");
		bool linkThere = contains(reference, "/* " + id + " */ :int");
		EXPECT_TRUE(ownZoneHere && linkThere) << id << "\n generated: " << ours->second.substr(0, 400)
						      << "\n published: " << entry.second.substr(0, 400);
	}
	EXPECT_GT(compared, 600);

	// The same agreement for Unicode's published rules, ICU and the C library reading one version:
	// for 2025b the C library reads the tz source compiled by zic; no 2026a tz source exists here,
	// so for 2026a it reads zone files written from the published rules' own transitions.
	const std::string probe = ZONE_PROBE_PATH;
	const std::string zones = catalogueZones();
	const std::string now = std::to_string(time(nullptr));
	int status = -1;
	std::string report = output(probe + " agree " + kTestDir + "/published-2025b " + kTestDir + "/zic-2025b " + now + zones, &status);
	EXPECT_EQ("", realDisagreements(report));
	EXPECT_EQ(0u, report.find("version 2025b\n")) << report;

	const std::string tzdir = kTestDir + "/tzif-2026a";
	report = output(probe + " tzif " + kTestDir + "/published-2026a " + tzdir + zones, &status);
	ASSERT_EQ(0, status) << report;
	report = output(probe + " agree " + kTestDir + "/published-2026a " + tzdir + " " + now + zones, &status);
	EXPECT_EQ(0, status) << report;
	EXPECT_EQ(0u, report.find("version 2026a\n")) << report;
}

// When the tz source cannot be converted, the build ships the newest published rules.
TEST(ZoneRules, UnconvertibleSourceFallsBackToThePublishedRules)
{
	const std::string out = kTestDir + "/fallback";
	int status = -1;
	std::string log = output(std::string(ZON_CMAKE) + " -DZIC=" + ZON_ZIC + " -DGEN=" + ZON_GEN_ZONEINFO64 +
			" -DGENRB=" + ZON_GENRB + " -DSOURCE=" + kTzdataDir + "/README.md -DREFERENCE=" + kTzdataDir +
			"/published/2026a/zoneinfo64.txt -DFALLBACK=" + kTzdataDir + "/published/2026a/zoneinfo64.txt -DWORK=" +
			out + ".work -DOUT_DIR=" + out + " -P " + kTzdataDir + "/build_zoneinfo.cmake 2>&1",
			&status);
	ASSERT_EQ(0, status) << log;
	EXPECT_NE(std::string::npos, log.find("could not be converted")) << log;
	std::string version;
	offsetsOf(out, version);
	EXPECT_EQ("version 2026a", version);
}

class MachineZoneRules : public TimeFixture {};

// The rules this library's ICU reads are the machine's (zon-host's own tests check the version):
// for every catalogue zone, ICU and the C library give the same offset and daylight flag at 24
// instants over the year before and after now, and isDstOn() agrees with tm_isdst.
TEST_F(MachineZoneRules, CatalogueZonesAgreeWithTheCLibrary)
{
	const time_t now = time(nullptr);
	const time_t year = 365 * 86400;
	for (const Cityinfo& city : allCityList) {
		const char* id = city.timezone_path;
		std::unique_ptr<icu::TimeZone> tz(icu::TimeZone::createTimeZone(id));
		ASSERT_NE(icu::TimeZone::getUnknown(), *tz) << id;
		setenv("TZ", id, 1);
		tzset();
		for (int k = 0; k < 24; ++k) {
			time_t t = now - year + k * (2 * year / 23);
			struct tm local;
			localtime_r(&t, &local);
			int32_t raw, dst;
			UErrorCode status = U_ZERO_ERROR;
			tz->getOffset(t * 1000.0, false, raw, dst, status);
			EXPECT_EQ(local.tm_gmtoff, (raw + dst) / 1000) << id << " at " << t;
			EXPECT_EQ(local.tm_isdst > 0, dst != 0) << id << " at " << t;
		}
		struct tm nowLocal;
		localtime_r(&now, &nowLocal);
		unsetenv("TZ");
		tzset();
		EXPECT_EQ(nowLocal.tm_isdst > 0, ZonTimeUtil::isDstOn(id)) << id;
	}
}
