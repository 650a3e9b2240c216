/*
 * zone_probe - asks ICU about zone rules from a given directory, in a process of its own (ICU
 * reads one zone rule directory per process, and zon-host fixes it in every program linked with
 * it, so this tool is not).
 *
 *   zone_probe offsets ICU_DIR
 *     Every zone id, then each instant in 1970-2037 where its UTC offset changes:
 *     "<id> <offset before 1970> <seconds>:<offset> ..." (offsets in seconds).
 *   zone_probe tzif ICU_DIR OUT_DIR ID...
 *     Writes OUT_DIR/<id> as a zone file the C library reads (every transition from 1900 to
 *     2037, daylight flag as ICU has it), so both can be asked about the same rules.
 *   zone_probe agree ICU_DIR TZDIR NOW ID...
 *     For each id and 24 instants over the year before and after NOW: ICU's offset and
 *     daylight flag against the C library's reading TZDIR. One line per disagreement; exits 1
 *     when there is any.
 * The first line of every output is "version <tz version ICU reads>".
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <unicode/basictz.h>
#include <unicode/putil.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>

namespace {

const double kMs = 1000.0;
const double kEnd = 2145916800;   // 2038

std::unique_ptr<icu::BasicTimeZone> zone(const char* id)
{
	std::unique_ptr<icu::TimeZone> tz(icu::TimeZone::createTimeZone(id));
	auto* basic = dynamic_cast<icu::BasicTimeZone*>(tz.get());
	if (!basic || *tz == icu::TimeZone::getUnknown())
		return nullptr;
	tz.release();
	return std::unique_ptr<icu::BasicTimeZone>(basic);
}

// The zone's total offset at `seconds`, in milliseconds; whether it is daylight time.
int32_t offsetAt(const icu::TimeZone& tz, double seconds, bool* daylight = nullptr)
{
	UErrorCode status = U_ZERO_ERROR;
	int32_t raw = 0, dst = 0;
	tz.getOffset(seconds * kMs, false, raw, dst, status);
	if (daylight)
		*daylight = dst != 0;
	return raw + dst;
}

// Calls `at` with each transition (seconds) after `from` and before `to`.
template <typename At>
void forEachTransition(const icu::BasicTimeZone& tz, double from, double to, At at)
{
	icu::TimeZoneTransition tr;
	UDate t = from * kMs;
	while (tz.getNextTransition(t, false, tr) && tr.getTime() < to * kMs) {
		t = tr.getTime();
		at(t / kMs);
	}
}

int offsets()
{
	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::StringEnumeration> ids(icu::TimeZone::createEnumeration(status));
	const char* id;
	int32_t length;
	while (ids && (id = ids->next(&length, status))) {
		auto tz = zone(id);
		if (!tz)
			continue;
		// The offset before 1970, then the instants up to 2038 where it changes.
		int32_t last = offsetAt(*tz, -1);
		printf("%s %d", id, last / 1000);
		forEachTransition(*tz, -1, kEnd, [&](double t) {
			int32_t offset = offsetAt(*tz, t);
			if (offset != last)
				printf(" %.0f:%d", t, offset / 1000);
			last = offset;
		});
		printf("\n");
	}
	return 0;
}

void put32(std::string& out, int64_t v)
{
	for (int shift = 24; shift >= 0; shift -= 8)
		out += static_cast<char>((v >> shift) & 0xff);
}

// Version 2 zone file: an empty version 1 block, then every transition with 64-bit times.
bool writeTzif(const icu::BasicTimeZone& tz, const std::string& path)
{
	struct Type {
		int32_t utoff;
		bool isdst;
		bool operator<(const Type& o) const { return utoff != o.utoff ? utoff < o.utoff : isdst < o.isdst; }
	};
	std::map<Type, int> index;
	std::vector<Type> types;
	auto typeOf = [&](double seconds) {
		Type t;
		t.utoff = offsetAt(tz, seconds, &t.isdst) / 1000;
		auto it = index.find(t);
		if (it != index.end())
			return it->second;
		types.push_back(t);
		return index[t] = static_cast<int>(types.size() - 1);
	};
	const double from1900 = -2208988800.0;
	std::vector<std::pair<int64_t, int>> trans;
	typeOf(from1900 - 1);  // before 1900: type 0
	forEachTransition(tz, from1900, kEnd,
		[&](double t) { trans.emplace_back(static_cast<int64_t>(t), typeOf(t)); });
	auto header = [](std::string& out, uint32_t timecnt, uint32_t typecnt, uint32_t charcnt) {
		out += "TZif2";
		out.append(15, '\0');
		for (uint32_t c : {0u, 0u, 0u, timecnt, typecnt, charcnt})
			put32(out, c);
	};
	std::string out;
	header(out, 0, 1, 4);
	put32(out, 0);
	out.append(2, '\0');  // not daylight, abbreviation 0
	out += std::string("ZZZ\0", 4);
	header(out, trans.size(), types.size(), 4);
	for (auto& tr : trans) {
		put32(out, tr.first >> 32);
		put32(out, tr.first & 0xffffffff);
	}
	for (auto& tr : trans)
		out += static_cast<char>(tr.second);
	for (auto& type : types) {
		put32(out, type.utoff);
		out += static_cast<char>(type.isdst);
		out += '\0';
	}
	out += std::string("ZZZ\0", 4);
	out += "\n\n";
	std::ofstream file(path, std::ios::binary);
	file << out;
	return static_cast<bool>(file);
}

int tzif(const std::string& dir, int count, char** ids)
{
	int failures = 0;
	for (int i = 0; i < count; ++i) {
		auto tz = zone(ids[i]);
		std::string path = dir + "/" + ids[i];
		std::string parent = path.substr(0, path.rfind('/'));
		std::string mkdir = "mkdir -p '" + parent + "'";
		if (!tz || system(mkdir.c_str()) != 0 || !writeTzif(*tz, path)) {
			printf("cannot write %s\n", ids[i]);
			++failures;
		}
	}
	return failures ? 1 : 0;
}

int agree(const char* tzdir, time_t now, int count, char** ids)
{
	setenv("TZDIR", tzdir, 1);
	int disagreements = 0;
	for (int i = 0; i < count; ++i) {
		auto tz = zone(ids[i]);
		if (!tz) {
			printf("%s: unknown to ICU\n", ids[i]);
			++disagreements;
			continue;
		}
		setenv("TZ", ids[i], 1);
		tzset();
		const time_t year = 365 * 86400;
		for (int k = 0; k < 24; ++k) {
			time_t t = now - year + k * (2 * year / 23);
			struct tm local;
			localtime_r(&t, &local);
			bool dst = false;
			int32_t offset = offsetAt(*tz, static_cast<double>(t), &dst) / 1000;
			if (offset != local.tm_gmtoff || dst != (local.tm_isdst > 0)) {
				printf("%s at %lld: ICU %d%s, C library %ld%s\n", ids[i], static_cast<long long>(t), offset,
						dst ? " daylight" : "", local.tm_gmtoff, local.tm_isdst > 0 ? " daylight" : "");
				++disagreements;
			}
		}
	}
	return disagreements ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv)
{
	if (argc < 3) {
		fprintf(stderr, "usage: zone_probe offsets|tzif|agree ICU_DIR ...\n");
		return 2;
	}
	UErrorCode status = U_ZERO_ERROR;
	u_setTimeZoneFilesDirectory(argv[2], &status);
	printf("version %s\n", icu::TimeZone::getTZDataVersion(status));
	std::string mode = argv[1];
	if (mode == "offsets")
		return offsets();
	if (mode == "tzif" && argc >= 4)
		return tzif(argv[3], argc - 4, argv + 4);
	if (mode == "agree" && argc >= 5)
		return agree(argv[3], static_cast<time_t>(atoll(argv[4])), argc - 5, argv + 5);
	fprintf(stderr, "zone_probe: bad arguments\n");
	return 2;
}
