#include "ZonBestPatternTable.h"

#include <string.h>

#include <unicode/icudataver.h>
#include <unicode/ulocdata.h>
#include <unicode/uversion.h>

namespace zon_best_patterns {

namespace {

bool sameVersion(const UVersionInfo version, const char* expected)
{
	char text[U_MAX_VERSION_STRING_LENGTH] = "";
	u_versionToString(version, text);
	return strcmp(text, expected) == 0;
}

bool runningIcuMatches()
{
	// A table generated without ICU to ask (a cross build) is empty.
	if (kLocaleCount == 0)
		return false;
	UErrorCode status = U_ZERO_ERROR;
	UVersionInfo icu, data, cldr;
	u_getVersion(icu);
	u_getDataVersion(data, &status);
	ulocdata_getCLDRVersion(cldr, &status);
	return U_SUCCESS(status) && sameVersion(icu, kIcuVersion) && sameVersion(data, kDataVersion) &&
		sameVersion(cldr, kCldrVersion);
}

int skeletonColumn(const char* skeleton)
{
	const char* at = kSkeletons;
	for (size_t column = 0; column < kSkeletonCount; ++column) {
		if (strcmp(at, skeleton) == 0)
			return static_cast<int>(column);
		at += strlen(at) + 1;
	}
	return -1;
}

long localeRow(const char* locale)
{
	size_t low = 0;
	size_t high = kLocaleCount;
	while (low < high) {
		size_t middle = low + (high - low) / 2;
		int order = strcmp(kLocales + kLocaleOffsets[middle], locale);
		if (order == 0)
			return static_cast<long>(middle);
		if (order < 0)
			low = middle + 1;
		else
			high = middle;
	}
	return -1;
}

} // namespace

bool matchesRunningIcu()
{
	static const bool matches = runningIcuMatches();
	return matches;
}

const char16_t* find(const char* locale, const char* skeleton)
{
	if (!locale || !skeleton || !matchesRunningIcu())
		return nullptr;
	int column = skeletonColumn(skeleton);
	if (column < 0)
		return nullptr;
	long row = localeRow(locale);
	if (row < 0)
		return nullptr;
	return kPatterns + kPatternOffsets[static_cast<size_t>(row) * kSkeletonCount + column];
}

} // namespace zon_best_patterns
