#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/alphaindex.h>

#include "TimeTestSupport.h"
#include "ZonAlphabeticIndex.h"
#include "ZonCityList.h"

namespace {

// ICU's own answer for a name: bucket number k (0 is the underflow) and its label.
struct IcuBucket {
	int number;
	std::string label;
};

class IcuIndex {
public:
	IcuIndex(const char* language, const char* country)
	{
		UErrorCode status = U_ZERO_ERROR;
		icu::AlphabeticIndex index(icu::Locale(language, country), status);
		immutable_.reset(index.buildImmutableIndex(status));
		EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
	}
	IcuBucket bucketOf(const char* name) const
	{
		UErrorCode status = U_ZERO_ERROR;
		int number = immutable_->getBucketIndex(icu::UnicodeString::fromUTF8(name), status);
		std::string label;
		immutable_->getBucket(number)->getLabel().toUTF8String(label);
		return {number, label};
	}
	std::string lastLabel() const
	{
		std::string label;
		immutable_->getBucket(immutable_->getBucketCount() - 1)->getLabel().toUTF8String(label);
		return label;
	}

private:
	std::unique_ptr<icu::AlphabeticIndex::ImmutableIndex> immutable_;
};

bool isChineseCBucketCity(const char* id)
{
	return !strcmp(id, "WDS_ZON_MBODY_CHANGCHUN_M_CITY") || !strcmp(id, "WDS_ZON_MBODY_CHONGJING_M_CITY");
}

}

class AlphabeticIndex : public TimeFixture {
protected:
	void useLocale(const char* locale, const char* lang)
	{
		setRegionFormat((std::string(locale) + ".UTF-8").c_str());
		setEnv("LANG", lang);
	}
};

TEST_F(AlphabeticIndex, CatalogueNamesFileAsIcuFilesThem)
{
	struct Setting {
		const char* locale;
		const char* language;
		const char* country;
	};
	const Setting settings[] = {
		{"en_US", "en", "US"}, {"ko_KR", "ko", "KR"}, {"ja_JP", "ja", "JP"}, {"zh_CN", "zh", "CN"}, {"ru_RU", "ru", "RU"},
	};
	for (const Setting& s : settings) {
		SCOPED_TRACE(s.locale);
		useLocale(s.locale, (std::string(s.locale) + ".UTF-8").c_str());
		ZonAlphabeticIndex index;
		IcuIndex icu(s.language, s.country);
		int filed = 0;
		for (const Cityinfo& city : allCityList) {
			IcuBucket expected = icu.bucketOf(city.cityname_eng);
			if (!strcmp(s.language, "zh") && isChineseCBucketCity(city.cityname_string))
				expected = {3, "C"};
			EXPECT_EQ(expected.number - 1, index.getBucketIndex(city.cityname_eng, city.cityname_string))
				<< city.cityname_eng;
			EXPECT_EQ(expected.number == 0 ? "nullptr" : expected.label,
				index.getBucket(city.cityname_eng, city.cityname_string))
				<< city.cityname_eng;
			filed += expected.number != 0;
		}
		// Latin names have letters of their own in English and Chinese (pinyin) only.
		if (!strcmp(s.language, "en") || !strcmp(s.language, "zh")) {
			EXPECT_EQ(331, filed);
		}
	}
}

TEST_F(AlphabeticIndex, NamesInTheirOwnScript)
{
	useLocale("en_US", "en_US.UTF-8");
	{
		ZonAlphabeticIndex index;
		EXPECT_EQ("Z", index.getBucket("Zürich"));
		EXPECT_EQ("A", index.getBucket("Århus"));
		EXPECT_EQ(25, index.getBucketIndex("zagreb", nullptr));
	}
	useLocale("ko_KR", "ko_KR.UTF-8");
	{
		ZonAlphabeticIndex index;
		EXPECT_EQ("ㅅ", index.getBucket("서울"));
		EXPECT_EQ("ㅂ", index.getBucket("부산"));
		EXPECT_EQ(0, index.getBucketIndex("고양", nullptr));
	}
	useLocale("ru_RU", "ru_RU.UTF-8");
	{
		ZonAlphabeticIndex index;
		EXPECT_EQ("М", index.getBucket("Москва"));
	}
	useLocale("ja_JP", "ja_JP.UTF-8");
	{
		ZonAlphabeticIndex index;
		EXPECT_EQ("た", index.getBucket("とうきょう"));
	}
	useLocale("zh_CN", "zh_CN.UTF-8");
	{
		ZonAlphabeticIndex index;
		EXPECT_EQ("B", index.getBucket("北京"));
		EXPECT_EQ("S", index.getBucket("上海"));
	}
}

TEST_F(AlphabeticIndex, TwoChineseCitiesGoUnderC)
{
	useLocale("zh_CN", "zh_CN.UTF-8");
	IcuIndex icu("zh", "CN");
	ZonAlphabeticIndex index;
	// With their ids they are C whatever the text; without, ICU's reading stands.
	EXPECT_EQ(2, index.getBucketIndex("重庆", "WDS_ZON_MBODY_CHONGJING_M_CITY"));
	EXPECT_EQ("C", index.getBucket("重庆", "WDS_ZON_MBODY_CHONGJING_M_CITY"));
	EXPECT_EQ("C", index.getBucket("长春", "WDS_ZON_MBODY_CHANGCHUN_M_CITY"));
	EXPECT_EQ("C", index.getBucket("anything", "WDS_ZON_MBODY_CHANGCHUN_M_CITY"));
	EXPECT_EQ(icu.bucketOf("重庆").label, index.getBucket("重庆"));
	EXPECT_EQ(icu.bucketOf("长春").label, index.getBucket("长春", "WDS_ZON_MBODY_SHANGHAI_M_CITY"));

	// The rule follows LANG, not the region format.
	setEnv("LANG", "en_US.UTF-8");
	EXPECT_EQ(icu.bucketOf("重庆").number - 1, index.getBucketIndex("重庆", "WDS_ZON_MBODY_CHONGJING_M_CITY"));
	setEnv("LANG", nullptr);
	EXPECT_EQ(icu.bucketOf("重庆").number - 1, index.getBucketIndex("重庆", "WDS_ZON_MBODY_CHONGJING_M_CITY"));
	setEnv("LANG", "zh_TW.UTF-8");
	EXPECT_EQ(2, index.getBucketIndex("重庆", "WDS_ZON_MBODY_CHONGJING_M_CITY"));
}

TEST_F(AlphabeticIndex, UnderflowHasNoBucketOverflowIsTheLastLabel)
{
	useLocale("en_US", "en_US.UTF-8");
	ZonAlphabeticIndex index;
	IcuIndex icu("en", "US");
	ASSERT_EQ(0, icu.bucketOf("1st Street").number);
	EXPECT_EQ(-1, index.getBucketIndex("1st Street", nullptr));
	EXPECT_EQ("nullptr", index.getBucket("1st Street"));

	// Hangul is past Z in an English index.
	EXPECT_EQ(icu.lastLabel(), index.getBucket("서울"));
	EXPECT_EQ(26, index.getBucketIndex("서울", nullptr));

	EXPECT_EQ(-1, index.getBucketIndex(nullptr, "WDS_ZON_BODY_SEOUL_M_CITY"));
	EXPECT_EQ("nullptr", index.getBucket(nullptr));
	EXPECT_TRUE(zon_host_log_contains("cityname_translated is nullptr!"));
}

TEST_F(AlphabeticIndex, ThirdLocalePieceIsDropped)
{
	// "sr_Latn_RS": language sr, "country" Latn; RS is logged and dropped.
	useLocale("sr_Latn_RS", "sr_RS.UTF-8");
	ZonAlphabeticIndex index;
	EXPECT_TRUE(zon_host_log_contains("unknown .... : RS"));
	IcuIndex icu("sr", "Latn");
	for (const char* name : {"Beograd", "Београд", "Ниш", "Zagreb"}) {
		IcuBucket expected = icu.bucketOf(name);
		EXPECT_EQ(expected.number == 0 ? "nullptr" : expected.label, index.getBucket(name)) << name;
	}
}
