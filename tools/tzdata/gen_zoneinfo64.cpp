/*
 * gen_zoneinfo64.cpp - ICU's zone rule resource (zoneinfo64, text form) from the machine's tz
 * source, so that ICU and the C library answer from the same rules.
 *
 *   gen_zoneinfo64 TZDATA_ZI ZIC_DIR REFERENCE_TXT OUT_TXT
 *
 * TZDATA_ZI is the tz source (its first line names the version; its Z and L lines name the zones
 * and links). ZIC_DIR holds that source compiled by `zic -b fat`, whose binary files list every
 * transition up to 2037 and end with a POSIX TZ string for the years after. REFERENCE_TXT is a
 * published zoneinfo64.txt: it supplies what the tz source does not carry (ICU's own aliases such
 * as "AET", and the region of each id); rules never come from it.
 *
 * Daylight saving follows the C library: a period is daylight time when the compiled file marks it
 * so, and its saving is the difference from the standard offset around it (negative in the few
 * zones whose winter is the "daylight" period), so ICU's inDaylightTime() matches tm_isdst. A final
 * rule ICU cannot express (negative saving, a day that leaves the month) is left out and the
 * explicit transitions up to 2037 stand instead.
 *
 * Exits non-zero, writing nothing, when any input is unusable; the build then ships the published
 * file instead.
 */
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "../common/TableTool.h"

namespace {

const char kTool[] = "gen_zoneinfo64";

using table_tool::fail;

// ---- calendar helpers (proleptic Gregorian, UTC) ----

int64_t daysFromCivil(int64_t y, unsigned m, unsigned d)
{
	y -= m <= 2;
	const int64_t era = (y >= 0 ? y : y - 399) / 400;
	const unsigned yoe = static_cast<unsigned>(y - era * 400);
	const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
	const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
	return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

bool isLeap(int y)
{
	return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int monthLength(int y, int m)
{
	static const int kLen[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
	return m == 2 && isLeap(y) ? 29 : kLen[m - 1];
}

// 0 = Sunday.
int weekday(int64_t days)
{
	return static_cast<int>(((days % 7) + 11) % 7);
}

int64_t yearStart(int y)
{
	return daysFromCivil(y, 1, 1) * 86400;
}

// ---- compiled zone files ----

struct Period {
	int64_t start;   // seconds since the epoch (UTC); the first period starts at INT64_MIN
	int32_t utoff;   // seconds east of UTC
	bool isdst;
};

struct ZoneFile {
	std::vector<Period> periods;  // in time order; periods[0] is the type before any transition
	std::string footer;           // POSIX TZ string for the time after the last transition
};

uint32_t be32(const unsigned char *p)
{
	return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

int64_t be64(const unsigned char *p)
{
	return static_cast<int64_t>((uint64_t(be32(p)) << 32) | be32(p + 4));
}

bool readZoneFile(const std::string &path, ZoneFile &out, std::string &why)
{
	std::ifstream in(path, std::ios::binary);
	if (!in) {
		why = "cannot open " + path;
		return false;
	}
	std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
	const auto *data = reinterpret_cast<const unsigned char *>(bytes.data());
	const size_t size = bytes.size();
	auto counts = [&](size_t at, uint32_t c[6]) {
		if (at + 44 > size || bytes.compare(at, 4, "TZif") != 0)
			return false;
		for (int i = 0; i < 6; ++i)
			c[i] = be32(data + at + 20 + 4 * i);
		return true;
	};
	uint32_t c[6];
	if (!counts(0, c) || data[4] < '2') {
		why = path + ": not a version 2+ zone file";
		return false;
	}
	// Counts: isut, isstd, leap, time, type, char. Skip the 32-bit block.
	size_t at = 44 + c[3] * 5 + c[4] * 6 + c[5] + c[2] * 8 + c[1] + c[0];
	if (!counts(at, c)) {
		why = path + ": no 64-bit block";
		return false;
	}
	at += 44;
	const size_t need = c[3] * 9 + c[4] * 6 + c[5] + c[2] * 12 + c[1] + c[0];
	if (c[4] == 0 || at + need > size) {
		why = path + ": truncated";
		return false;
	}
	const unsigned char *times = data + at;
	const unsigned char *idx = times + c[3] * 8;
	const unsigned char *types = idx + c[3];
	auto type = [&](unsigned i) {
		return Period{0, static_cast<int32_t>(be32(types + 6 * i)), types[6 * i + 4] != 0};
	};
	out.periods.clear();
	Period first = type(0);
	first.start = INT64_MIN;
	out.periods.push_back(first);
	for (uint32_t i = 0; i < c[3]; ++i) {
		if (idx[i] >= c[4]) {
			why = path + ": bad type index";
			return false;
		}
		Period p = type(idx[i]);
		p.start = be64(times + 8 * i);
		out.periods.push_back(p);
	}
	size_t foot = at + need;
	if (foot < size && data[foot] == '\n') {
		size_t end = bytes.find('\n', foot + 1);
		if (end != std::string::npos)
			out.footer = bytes.substr(foot + 1, end - foot - 1);
	}
	return true;
}

// ---- POSIX TZ strings ----

struct DateRule {
	char kind = 0;      // 'M' (month.week.day), 'J' (Julian, no leap day) or 'n' (zero-based day)
	int month = 0, week = 0, day = 0, yday = 0;
	int32_t time = 7200; // seconds after local midnight; may be negative or past 24 h
};

struct PosixTz {
	int32_t stdoff = 0;  // seconds east of UTC
	bool hasDst = false;
	int32_t dstoff = 0;
	DateRule start, end;
};

class PosixParser {
public:
	explicit PosixParser(const std::string &s) : _s(s) {}

	bool parse(PosixTz &tz)
	{
		if (!name() || !offset(tz.stdoff))
			return false;
		tz.stdoff = -tz.stdoff;  // POSIX counts west of UTC
		if (_at == _s.size())
			return true;
		if (!name())
			return false;
		tz.hasDst = true;
		tz.dstoff = tz.stdoff + 3600;
		if (_at < _s.size() && _s[_at] != ',') {
			int32_t off;
			if (!offset(off))
				return false;
			tz.dstoff = -off;
		}
		return eat(',') && date(tz.start) && eat(',') && date(tz.end) && _at == _s.size();
	}

private:
	bool eat(char ch)
	{
		if (_at < _s.size() && _s[_at] == ch) {
			++_at;
			return true;
		}
		return false;
	}

	bool name()
	{
		if (eat('<')) {
			size_t close = _s.find('>', _at);
			if (close == std::string::npos)
				return false;
			_at = close + 1;
			return true;
		}
		size_t from = _at;
		while (_at < _s.size() && isalpha(static_cast<unsigned char>(_s[_at])))
			++_at;
		return _at - from >= 3;
	}

	bool number(int &n)
	{
		size_t from = _at;
		n = 0;
		while (_at < _s.size() && isdigit(static_cast<unsigned char>(_s[_at])))
			n = n * 10 + (_s[_at++] - '0');
		return _at > from;
	}

	// [+-]hh[:mm[:ss]], in seconds.
	bool offset(int32_t &secs)
	{
		int sign = 1;
		if (eat('-'))
			sign = -1;
		else
			eat('+');
		int h, m = 0, s = 0;
		if (!number(h))
			return false;
		if (eat(':') && !number(m))
			return false;
		if (eat(':') && !number(s))
			return false;
		secs = sign * (h * 3600 + m * 60 + s);
		return true;
	}

	bool date(DateRule &r)
	{
		if (eat('M')) {
			r.kind = 'M';
			if (!number(r.month) || !eat('.') || !number(r.week) || !eat('.') || !number(r.day))
				return false;
			if (r.month < 1 || r.month > 12 || r.week < 1 || r.week > 5 || r.day > 6)
				return false;
		} else {
			r.kind = eat('J') ? 'J' : 'n';
			if (!number(r.yday))
				return false;
		}
		if (eat('/'))
			return offset(r.time);
		return true;
	}

	const std::string &_s;
	size_t _at = 0;
};

// Local midnight (as days since the epoch) of the rule's date in `year`.
int64_t ruleDay(const DateRule &r, int year)
{
	if (r.kind == 'J')
		return daysFromCivil(year, 1, 1) + r.yday - 1 + (isLeap(year) && r.yday >= 60);
	if (r.kind == 'n')
		return daysFromCivil(year, 1, 1) + r.yday;
	int64_t first = daysFromCivil(year, r.month, 1);
	int64_t day = first + (r.day - weekday(first) + 7) % 7 + 7 * (r.week - 1);
	while (day >= first + monthLength(year, r.month))
		day -= 7;
	return day;
}

// The two transitions of `year`, in time order, with the offset each one starts.
std::vector<Period> ruleTransitions(const PosixTz &tz, int year)
{
	Period on{ruleDay(tz.start, year) * 86400 + tz.start.time - tz.stdoff, tz.dstoff, true};
	Period off{ruleDay(tz.end, year) * 86400 + tz.end.time - tz.dstoff, tz.stdoff, false};
	if (off.start < on.start)
		return {off, on};
	return {on, off};
}

// ICU's SimpleTimeZone rule for one end of the saving period: month (0-based), day, day of week,
// time in ms, time mode (0 = wall). Fails when the date cannot be said in ICU's terms.
bool icuDateRule(const DateRule &r, int32_t out[5])
{
	if (r.kind != 'M')
		return false;
	int32_t t = r.time;
	int shift = 0;
	while (t < 0) {
		t += 86400;
		--shift;
	}
	while (t > 86400) {
		t -= 86400;
		++shift;
	}
	const int dow = ((r.day + shift) % 7 + 7) % 7 + 1;  // ICU counts Sunday as 1
	out[0] = r.month - 1;
	out[3] = t;  // ICU keeps rule times in seconds
	out[4] = 0;
	if (shift == 0) {
		out[1] = r.week == 5 ? -1 : r.week;
		out[2] = dow;
		return true;
	}
	if (r.week == 5) {
		// "last <dow> on or before the month's last day, moved by shift days"
		if (r.month == 2 || shift > 0)
			return false;
		out[1] = -(monthLength(2001, r.month) + shift);
		out[2] = -dow;
		return true;
	}
	const int onOrAfter = 1 + 7 * (r.week - 1) + shift;
	if (onOrAfter < 1 || onOrAfter > 28 - 6)
		return false;
	out[1] = onOrAfter;
	out[2] = -dow;
	return true;
}

// ---- one zone in ICU's terms ----

struct IcuZone {
	std::vector<int64_t> trans;
	std::vector<std::pair<int32_t, int32_t>> types;  // raw, dst
	std::vector<int> typeMap;
	std::vector<int32_t> finalRule;  // 11 values, empty when there is none
	int32_t finalRaw = 0;
	int finalYear = 0;
};

// Splits each period's offset into standard and saving, taking the standard offset from the
// nearest standard period before it (after it, when there is none before).
std::vector<std::pair<int32_t, int32_t>> splitOffsets(const std::vector<Period> &p)
{
	std::vector<std::pair<int32_t, int32_t>> out(p.size());
	for (size_t i = 0; i < p.size(); ++i) {
		if (!p[i].isdst) {
			out[i] = {p[i].utoff, 0};
			continue;
		}
		int32_t raw = p[i].utoff - 3600;
		bool found = false;
		for (size_t j = i; j-- > 0 && !found;) {
			if (!p[j].isdst && p[j].utoff != p[i].utoff) {
				raw = p[j].utoff;
				found = true;
			}
		}
		for (size_t j = i + 1; j < p.size() && !found; ++j) {
			if (!p[j].isdst && p[j].utoff != p[i].utoff) {
				raw = p[j].utoff;
				found = true;
			}
		}
		out[i] = {raw, p[i].utoff - raw};
	}
	return out;
}

// The first year from which the footer rule alone gives every transition (checked up to 2037,
// where the compiled file ends), or 0 when there is no such year.
int finalYearOf(const ZoneFile &z, const PosixTz &tz)
{
	const int kLast = 2037;
	int found = 0;
	for (int y = kLast - 1; y >= 1900; --y) {
		const int64_t from = yearStart(y), to = yearStart(kLast);
		std::vector<Period> expected;
		for (int yy = y; yy < kLast; ++yy)
			for (const Period &p : ruleTransitions(tz, yy))
				if (p.start >= from && p.start < to)
					expected.push_back(p);
		std::vector<Period> actual;
		const Period *before = &z.periods[0];
		for (size_t i = 1; i < z.periods.size(); ++i) {
			const Period &p = z.periods[i];
			if (p.start < from)
				before = &p;
			else if (p.start < to)
				actual.push_back(p);
		}
		bool same = expected.size() == actual.size();
		for (size_t i = 0; same && i < expected.size(); ++i)
			same = expected[i].start == actual[i].start && expected[i].utoff == actual[i].utoff &&
			       expected[i].isdst == actual[i].isdst;
		// The state entering the year must be the one the rule implies.
		const bool dstAtStart = expected.empty() ? false : !expected.front().isdst;
		same = same && before->isdst == dstAtStart && before->utoff == (dstAtStart ? tz.dstoff : tz.stdoff);
		if (!same)
			break;
		found = y;
	}
	return found;
}

IcuZone convert(const ZoneFile &z)
{
	IcuZone out;
	PosixTz tz;
	int32_t start[5], end[5];
	const bool rule = !z.footer.empty() && PosixParser(z.footer).parse(tz) && tz.hasDst &&
	                  tz.dstoff > tz.stdoff && icuDateRule(tz.start, start) && icuDateRule(tz.end, end);
	int64_t cut = INT64_MAX;
	if (rule) {
		out.finalYear = finalYearOf(z, tz);
		if (out.finalYear) {
			cut = yearStart(out.finalYear);
			out.finalRaw = tz.stdoff;
			out.finalRule.assign(start, start + 5);
			out.finalRule.insert(out.finalRule.end(), end, end + 5);
			out.finalRule.push_back(tz.dstoff - tz.stdoff);
		}
	}
	const auto split = splitOffsets(z.periods);
	auto typeOf = [&](size_t i) {
		auto it = std::find(out.types.begin(), out.types.end(), split[i]);
		if (it != out.types.end())
			return static_cast<int>(it - out.types.begin());
		out.types.push_back(split[i]);
		return static_cast<int>(out.types.size() - 1);
	};
	typeOf(0);
	for (size_t i = 1; i < z.periods.size() && z.periods[i].start < cut; ++i) {
		out.trans.push_back(z.periods[i].start);
		out.typeMap.push_back(typeOf(i));
	}
	return out;
}

// ---- inputs ----

struct Source {
	std::string version;
	std::vector<std::string> zones;
	std::map<std::string, std::string> links;  // alias -> target (as written)
};

Source readSource(const std::string &path)
{
	Source src;
	std::ifstream in(path);
	if (!in)
		fail(kTool, "cannot open " + path);
	std::string line;
	if (!std::getline(in, line) || line.compare(0, 10, "# version ") != 0)
		fail(kTool, path + ": no version line");
	src.version = line.substr(10);
	while (std::getline(in, line)) {
		std::istringstream words(line);
		std::string kind, a, b;
		words >> kind >> a >> b;
		if (kind == "Z")
			src.zones.push_back(a);
		else if (kind == "L")
			src.links[b] = a;
	}
	if (src.version.empty() || src.zones.empty())
		fail(kTool, path + ": no zones");
	return src;
}

struct Reference {
	std::map<std::string, std::string> region;    // id -> region
	std::map<std::string, std::string> aliasTo;   // alias -> canonical id
};

// The published file: the Names list, the Regions list (same order) and which ids are aliases.
Reference readReference(const std::string &path)
{
	std::ifstream in(path);
	if (!in)
		fail(kTool, "cannot open " + path);
	std::vector<std::string> names, regions;
	std::vector<int> aliasIndex;  // -1 for a zone
	std::string line, section;
	while (std::getline(in, line)) {
		if (line.compare(0, 7, " Zones:") == 0 || line.compare(0, 7, " Names ") == 0 ||
		    line.compare(0, 9, " Regions:") == 0 || line.compare(0, 7, " Rules ") == 0) {
			section = line.substr(1, 5);
			continue;
		}
		if (section == "Zones" && line.compare(0, 5, "  /* ") == 0) {
			size_t at = line.find(":int { ");
			aliasIndex.push_back(at == std::string::npos ? -1 : std::stoi(line.substr(at + 7)));
		} else if (section == "Names" || section == "Regio") {
			for (size_t q = line.find('"'); q != std::string::npos; q = line.find('"', q)) {
				size_t e = line.find('"', q + 1);
				if (line.find("//") < q)
					break;
				(section == "Names" ? names : regions).push_back(line.substr(q + 1, e - q - 1));
				q = e + 1;
			}
		}
	}
	if (names.empty() || names.size() != regions.size() || names.size() != aliasIndex.size())
		fail(kTool, path + ": not a zoneinfo64 text file");
	Reference ref;
	for (size_t i = 0; i < names.size(); ++i) {
		ref.region[names[i]] = regions[i];
		if (aliasIndex[i] >= 0 && static_cast<size_t>(aliasIndex[i]) < names.size())
			ref.aliasTo[names[i]] = names[aliasIndex[i]];
	}
	return ref;
}

// ---- output ----

std::string intList(const std::vector<int64_t> &v)
{
	std::ostringstream s;
	for (size_t i = 0; i < v.size(); ++i)
		s << (i ? ", " : "") << v[i];
	return s.str();
}

void writeZone(std::ostream &o, const IcuZone &z, const std::string &ruleName, const std::vector<int64_t> &links)
{
	std::vector<int64_t> pre, mid, post;
	for (int64_t t : z.trans) {
		if (t < INT32_MIN || t > INT32_MAX) {
			auto &v = t < INT32_MIN ? pre : post;
			v.push_back(static_cast<int32_t>(static_cast<uint64_t>(t) >> 32));
			v.push_back(static_cast<int32_t>(static_cast<uint32_t>(t)));
		} else {
			mid.push_back(t);
		}
	}
	o << ":table {\n";
	if (!pre.empty())
		o << "    transPre32:intvector { " << intList(pre) << " }\n";
	if (!mid.empty())
		o << "    trans:intvector { " << intList(mid) << " }\n";
	if (!post.empty())
		o << "    transPost32:intvector { " << intList(post) << " }\n";
	std::vector<int64_t> offsets;
	for (auto &t : z.types) {
		offsets.push_back(t.first);
		offsets.push_back(t.second);
	}
	o << "    typeOffsets:intvector { " << intList(offsets) << " }\n";
	if (!z.typeMap.empty()) {
		o << "    typeMap:bin { \"";
		char hex[3];
		for (int t : z.typeMap) {
			snprintf(hex, sizeof hex, "%02x", t);
			o << hex;
		}
		o << "\" }\n";
	}
	if (!z.finalRule.empty())
		o << "    finalRule { \"" << ruleName << "\" }\n    finalRaw:int { " << z.finalRaw
		  << " }\n    finalYear:int { " << z.finalYear << " }\n";
	if (links.size() > 1)
		o << "    links:intvector { " << intList(links) << " }\n";
	o << "  }";
}

}  // namespace

int main(int argc, char **argv)
{
	if (argc != 5)
		fail(kTool, "usage: gen_zoneinfo64 TZDATA_ZI ZIC_DIR REFERENCE_TXT OUT_TXT");
	const Source src = readSource(argv[1]);
	const Reference ref = readReference(argv[3]);

	// Every id and the zone it is: tz zones, tz links (chains followed), then ICU's own aliases
	// whose target exists.
	std::map<std::string, std::string> canonical;
	for (const auto &z : src.zones)
		canonical[z] = z;
	for (const auto &l : src.links) {
		std::string target = l.second;
		for (int hops = 0; hops < 8 && !canonical.count(target) && src.links.count(target); ++hops)
			target = src.links.at(target);
		if (!canonical.count(target))
			fail(kTool, "link " + l.first + " leads to no zone");
		canonical[l.first] = target;
	}
	for (const auto &a : ref.aliasTo) {
		if (canonical.count(a.first))
			continue;
		auto target = canonical.find(a.second);
		if (target != canonical.end())
			canonical[a.first] = target->second;
	}
	// ICU looks ids up by binary search, so Names is in byte order (std::map's).
	std::vector<std::string> names;
	std::map<std::string, int64_t> index;
	for (const auto &c : canonical) {
		index[c.first] = static_cast<int64_t>(names.size());
		names.push_back(c.first);
	}
	std::map<std::string, std::vector<int64_t>> members;
	for (const auto &c : canonical)
		members[c.second].push_back(index[c.first]);

	std::map<std::string, IcuZone> zones;
	for (const auto &z : src.zones) {
		ZoneFile file;
		std::string why;
		if (!readZoneFile(std::string(argv[2]) + "/" + z, file, why))
			fail(kTool, why);
		zones[z] = convert(file);
	}

	std::map<std::vector<int32_t>, std::string> rules;
	for (const auto &z : zones)
		if (!z.second.finalRule.empty() && !rules.count(z.second.finalRule))
			rules.emplace(z.second.finalRule, "R" + std::to_string(rules.size()));

	std::ostringstream o;
	o << "// Generated by tools/tzdata/gen_zoneinfo64 from tz " << src.version << ". Do not edit.\n"
	  << "zoneinfo64:table(nofallback) {\n TZVersion { \"" << src.version << "\" }\n Zones:array {\n";
	for (size_t i = 0; i < names.size(); ++i) {
		const std::string &id = names[i];
		o << "  /* " << id << " */ ";
		const std::string &zone = canonical[id];
		if (zone != id) {
			o << ":int { " << index[zone] << " }";
		} else {
			const IcuZone &z = zones[id];
			writeZone(o, z, z.finalRule.empty() ? "" : rules[z.finalRule], members[id]);
		}
		o << " //Z#" << i << "\n";
	}
	o << " }\n Names {\n";
	for (const auto &n : names)
		o << "  \"" << n << "\",\n";
	o << " }\n Rules {\n";
	for (const auto &r : rules) {
		std::vector<int64_t> v(r.first.begin(), r.first.end());
		o << "  " << r.second << ":intvector { " << intList(v) << " }\n";
	}
	o << " }\n Regions:array {\n";
	for (const auto &n : names) {
		auto it = ref.region.find(n);
		if (it == ref.region.end())
			it = ref.region.find(canonical[n]);
		o << "  \"" << (it == ref.region.end() ? "001" : it->second) << "\",\n";
	}
	o << " }\n}\n";
	table_tool::writeFile(kTool, argv[4], o.str());
	return 0;
}
