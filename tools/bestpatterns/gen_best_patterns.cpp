/*
 * gen_best_patterns - writes the table of best patterns the library's time texts start from.
 *
 *   gen_best_patterns <skeletons.txt> <output.cpp>
 *
 * For every locale ICU has data of its own for (uloc_getAvailable(), each opening its resource
 * bundle without falling back to the default locale) and every skeleton of skeletons.txt, the
 * output holds what udatpg_getBestPattern() answers with a generator made for that locale, and
 * the versions of the ICU that answered. The library consults it only when it runs on that same
 * ICU (src/ZonBestPatternTable.h): building a pattern generator costs more than a whole clock
 * view besides, and a process that shows a few texts once pays it on its first one.
 *
 * The table is generated at build time from the ICU the library is built against, so it is never
 * edited or committed. Nothing in the output holds a pointer (offsets only): loading the library
 * relocates none of it. A skeleton or locale the generator cannot answer stops the run, and
 * nothing is written.
 */
#include "../common/TableTool.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <unicode/icudataver.h>
#include <unicode/udatpg.h>
#include <unicode/uloc.h>
#include <unicode/ulocdata.h>
#include <unicode/ures.h>
#include <unicode/ustring.h>
#include <unicode/uversion.h>

namespace {

const char kTool[] = "gen_best_patterns";

[[noreturn]] void fail(const std::string& message) { table_tool::fail(kTool, message); }

typedef std::basic_string<UChar> UText;

std::string versionText(const UVersionInfo version)
{
	char text[U_MAX_VERSION_STRING_LENGTH] = "";
	u_versionToString(version, text);
	return text;
}

std::vector<std::string> readSkeletons(const std::string& path)
{
	std::vector<std::string> skeletons;
	table_tool::forEachRow(kTool, path, [&](const std::string& at, int, const std::vector<std::string>& cells) {
		if (cells.size() != 1 || cells[0].find_first_of(" \t") != std::string::npos)
			fail(at + "one skeleton per line, without spaces");
		for (char c : cells[0]) {
			if (c < 0x21 || c > 0x7e || c == '"' || c == '\\')
				fail(at + "a skeleton is printable ASCII, without quotes or backslashes");
		}
		if (std::find(skeletons.begin(), skeletons.end(), cells[0]) != skeletons.end())
			fail(at + "skeleton \"" + cells[0] + "\" is listed twice");
		skeletons.push_back(cells[0]);
	});
	if (skeletons.empty())
		fail(path + ": no skeleton");
	return skeletons;
}

// Whether ICU opens the locale's bundle from data of its own: only then does a generator for it
// not depend on the default locale of the process.
bool selfContained(const char* locale)
{
	UErrorCode status = U_ZERO_ERROR;
	UResourceBundle* bundle = ures_open(nullptr, locale, &status);
	ures_close(bundle);
	return U_SUCCESS(status) && status != U_USING_DEFAULT_WARNING;
}

UText bestPattern(UDateTimePatternGenerator* generator, const std::string& locale, const std::string& skeleton)
{
	UText skeletonText(skeleton.begin(), skeleton.end());
	UErrorCode status = U_ZERO_ERROR;
	int32_t length = udatpg_getBestPattern(generator, skeletonText.c_str(), -1, nullptr, 0, &status);
	if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status))
		fail("no best pattern of \"" + skeleton + "\" for " + locale + ": " + u_errorName(status));
	UText pattern(length, 0);
	status = U_ZERO_ERROR;
	udatpg_getBestPattern(generator, skeletonText.c_str(), -1, &pattern[0], length, &status);
	if (U_FAILURE(status))
		fail("no best pattern of \"" + skeleton + "\" for " + locale + ": " + u_errorName(status));
	if (pattern.find(UChar(0)) != UText::npos)
		fail("the best pattern of \"" + skeleton + "\" for " + locale + " holds a NUL");
	return pattern;
}

std::string quoted(const std::string& text)
{
	std::string out = "\"";
	for (char c : text) {
		if (c == '"' || c == '\\')
			out += '\\';
		out += c;
	}
	return out + "\"";
}

// Texts packed one after another, each behind its NUL: one literal per text, so that no escape
// runs into the next text.
std::string packedTexts(const std::vector<std::string>& texts)
{
	std::string out;
	for (const std::string& text : texts)
		out += "\n\t\"" + text + "\\0\"";
	return out;
}

// `values` as a brace-enclosed list, sixteen to a line.
template <typename T>
std::string numberList(const std::vector<T>& values, bool hex)
{
	std::ostringstream out;
	out << "{";
	for (size_t i = 0; i < values.size(); ++i) {
		out << (i % 16 == 0 ? "\n\t" : " ");
		if (hex)
			out << "0x" << std::hex << static_cast<unsigned>(values[i]) << std::dec;
		else
			out << static_cast<unsigned long>(values[i]);
		out << ",";
	}
	out << "\n}";
	return out.str();
}

} // namespace

int main(int argc, char** argv)
{
	if (argc != 3)
		fail("usage: gen_best_patterns <skeletons.txt> <output.cpp>");
	const std::vector<std::string> skeletons = readSkeletons(argv[1]);

	std::vector<std::string> locales;
	for (int32_t i = 0, count = uloc_countAvailable(); i < count; ++i) {
		const char* locale = uloc_getAvailable(i);
		if (strspn(locale, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_") != strlen(locale))
			fail(std::string("unexpected locale id from ICU: ") + locale);
		if (selfContained(locale))
			locales.push_back(locale);
	}
	std::sort(locales.begin(), locales.end());
	locales.erase(std::unique(locales.begin(), locales.end()), locales.end());
	if (locales.empty())
		fail("ICU lists no locale with data of its own");

	// Patterns are shared by many locales: each distinct one is stored once, behind a NUL.
	std::vector<char16_t> pool;
	std::map<UText, size_t> pooled;
	std::vector<uint16_t> patternAt;
	size_t localeBytes = 0;
	std::vector<uint32_t> localeAt;
	for (const std::string& locale : locales) {
		localeAt.push_back(static_cast<uint32_t>(localeBytes));
		localeBytes += locale.size() + 1;
		UErrorCode status = U_ZERO_ERROR;
		UDateTimePatternGenerator* generator = udatpg_open(locale.c_str(), &status);
		if (U_FAILURE(status) || !generator)
			fail("no pattern generator for " + locale + ": " + u_errorName(status));
		for (const std::string& skeleton : skeletons) {
			UText pattern = bestPattern(generator, locale, skeleton);
			auto found = pooled.find(pattern);
			if (found == pooled.end()) {
				found = pooled.emplace(pattern, pool.size()).first;
				pool.insert(pool.end(), pattern.begin(), pattern.end());
				pool.push_back(0);
			}
			if (found->second > UINT16_MAX)
				fail("more patterns than 16-bit offsets reach");
			patternAt.push_back(static_cast<uint16_t>(found->second));
		}
		udatpg_close(generator);
	}

	UErrorCode status = U_ZERO_ERROR;
	UVersionInfo icu, data, cldr;
	u_getVersion(icu);
	u_getDataVersion(data, &status);
	ulocdata_getCLDRVersion(cldr, &status);
	if (U_FAILURE(status))
		fail(std::string("cannot read ICU's data versions: ") + u_errorName(status));


	std::ostringstream out;
	out << "// Generated by tools/bestpatterns/gen_best_patterns from skeletons.txt with ICU " << versionText(icu)
	    << "\n// (data " << versionText(data) << ", CLDR " << versionText(cldr) << "): "
	    << locales.size() << " locales, " << skeletons.size() << " skeletons, " << pooled.size()
	    << " distinct patterns. Do not edit.\n"
	    << "#include \"ZonBestPatternTable.h\"\n\n"
	    << "namespace zon_best_patterns {\n\n"
	    << "const char kIcuVersion[] = " << quoted(versionText(icu)) << ";\n"
	    << "const char kDataVersion[] = " << quoted(versionText(data)) << ";\n"
	    << "const char kCldrVersion[] = " << quoted(versionText(cldr)) << ";\n\n"
	    << "const size_t kSkeletonCount = " << skeletons.size() << ";\n"
	    << "const char kSkeletons[] =" << packedTexts(skeletons) << ";\n\n"
	    << "const size_t kLocaleCount = " << locales.size() << ";\n"
	    << "const char kLocales[] =" << packedTexts(locales) << ";\n"
	    << "const uint32_t kLocaleOffsets[] = " << numberList(localeAt, false) << ";\n\n"
	    << "const char16_t kPatterns[] = " << numberList(pool, true) << ";\n"
	    << "const uint16_t kPatternOffsets[] = " << numberList(patternAt, false) << ";\n\n"
	    << "} // namespace zon_best_patterns\n";
	table_tool::writeFile(kTool, argv[2], out.str());
	return 0;
}
