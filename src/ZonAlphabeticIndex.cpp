#define LOG_TAG "zonvista"

#include "ZonAlphabeticIndex.h"

#include <stdlib.h>
#include <string.h>

#include <memory>

#include <glib.h>
#include <unicode/alphaindex.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include "ZonCommonDefine.h"
#include "ZonTimeUtil.h"

namespace {

// Ids of the cities whose first character ICU reads otherwise than the device's Chinese list.
const char* const kChineseCBucketCities[] = {
	"WDS_ZON_MBODY_CHANGCHUN_M_CITY",
	"WDS_ZON_MBODY_CHONGJING_M_CITY",
};
// The third stored label, "C" of the pinyin index.
const int kChineseCBucket = 2;

icu::AlphabeticIndex* asIndex(i18n_alpha_idx_h handle)
{
	return static_cast<icu::AlphabeticIndex*>(handle);
}

bool isChineseLanguage()
{
	const char* lang = getenv("LANG");
	return lang && !strncmp(lang, "zh", 2);
}

}

ZonAlphabeticIndex::ZonAlphabeticIndex()
	: _alphaIndex(nullptr)
{
	_initialize();
}

ZonAlphabeticIndex::ZonAlphabeticIndex(const ZonAlphabeticIndex&)
	: _alphaIndex(nullptr)
{
	_initialize();
}

ZonAlphabeticIndex::~ZonAlphabeticIndex()
{
	_finalize();
}

bool ZonAlphabeticIndex::_initialize()
{
	ZonTimeUtil::getLocale(_locale);

	// "sr_Latn_RS" has three pieces; only language and the second piece are given to ICU.
	gchar** pieces = g_strsplit(_locale.c_str(), "_", -1);
	int kept = 0;
	for (int i = 0; pieces && pieces[i]; ++i) {
		if (!pieces[i][0])
			continue;
		if (kept == 0)
			_language = pieces[i];
		else if (kept == 1)
			_country = pieces[i];
		else
			WINFO("unknown .... : %s", pieces[i]);
		++kept;
	}
	g_strfreev(pieces);

	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::AlphabeticIndex> index(
		new icu::AlphabeticIndex(icu::Locale(_language.c_str(), _country.c_str()), status));
	if (U_FAILURE(status)) {
		WERROR("i18n_alpha_idx_create failed(%d)", status);
		return false;
	}
	_alphaIndex = index.release();
	icu::AlphabeticIndex* alphaIndex = asIndex(_alphaIndex);

	int32_t count = alphaIndex->getBucketCount(status);
	if (U_FAILURE(status)) {
		WERROR("i18n_alpha_idx_get_bucket_count failed(%d)", status);
		return false;
	}
	if (count < 1)
		return true;

	// The first bucket is ICU's underflow ("before A"); the application has no section for it.
	alphaIndex->nextBucket(status);

	for (int32_t j = 0; j < count; ++j) {
		alphaIndex->nextBucket(status);
		if (j == count - 1)
			break;
		if (U_FAILURE(status)) {
			WERROR("i18n_alpha_idx_get_bucket_count failed(%d)", status);
			return false;
		}
		int32_t bucketIndex = alphaIndex->getBucketIndex();
		WDEBUG("bucket[%d]", bucketIndex);

		// A label ICU could not produce is left out; the labels after it move up one place.
		const icu::UnicodeString& label = alphaIndex->getBucketLabel();
		if (label.isBogus())
			continue;
		std::string text;
		label.toUTF8String(text);
		_buckets.push_back(text);
	}
	return true;
}

bool ZonAlphabeticIndex::_finalize()
{
	if (_alphaIndex) {
		delete asIndex(_alphaIndex);
		_alphaIndex = nullptr;
	}
	return true;
}

int ZonAlphabeticIndex::getBucketIndex(const char* citynameTranslated, const char* citynameString)
{
	if (!citynameTranslated) {
		WERROR("cityname_translated is nullptr!");
		return -1;
	}

	if (isChineseLanguage() && citynameString) {
		for (const char* id : kChineseCBucketCities) {
			if (!strcmp(citynameString, id))
				return kChineseCBucket;
		}
	}

	if (!_alphaIndex) {
		WERROR("i18n_alpha_idx_get_bucket_index failed(%d)", U_ILLEGAL_ARGUMENT_ERROR);
		return -1;
	}
	UErrorCode status = U_ZERO_ERROR;
	int32_t bucket = asIndex(_alphaIndex)->getBucketIndex(icu::UnicodeString::fromUTF8(citynameTranslated), status);
	if (U_FAILURE(status)) {
		WERROR("i18n_alpha_idx_get_bucket_index failed(%d)", status);
		return -1;
	}
	return bucket - 1;
}

std::string ZonAlphabeticIndex::getBucket(const char* citynameTranslated, const char* citynameString)
{
	int index = getBucketIndex(citynameTranslated, citynameString);
	if (index != -1 && index < static_cast<int>(_buckets.size()))
		return _buckets[index];
	// A real text: callers compare against it.
	return "nullptr";
}

std::string ZonAlphabeticIndex::getBucket(const char* citynameTranslated)
{
	return getBucket(citynameTranslated, nullptr);
}
