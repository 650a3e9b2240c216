#include <unicode/alphaindex.h>

#include "TimeTestSupport.h"
#include "ZonAlphabeticIndex.h"

namespace {

// ICU's own index for a language and country: the bucket number of a name (0 is the underflow)
// and the label the library is expected to give (none for the underflow).
class IcuIndex {
public:
	IcuIndex(const char* language, const char* country)
	{
		UErrorCode status = U_ZERO_ERROR;
		icu::AlphabeticIndex index(icu::Locale(language, country), status);
		immutable_.reset(index.buildImmutableIndex(status));
		EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
	}
	int number(const char* name) const
	{
		UErrorCode status = U_ZERO_ERROR;
		return immutable_->getBucketIndex(icu::UnicodeString::fromUTF8(name), status);
	}
	std::string label(const char* name) const { return labelAt(number(name)); }
	std::string labelAt(int k) const
	{
		if (k <= 0)
			return "nullptr";
		std::string label;
		immutable_->getBucket(k)->getLabel().toUTF8String(label);
		return label;
	}
	int count() const { return immutable_->getBucketCount(); }

private:
	std::unique_ptr<icu::AlphabeticIndex::ImmutableIndex> immutable_;
};

const char kChongqing[] = "WDS_ZON_MBODY_CHONGJING_M_CITY";
const char kChangchun[] = "WDS_ZON_MBODY_CHANGCHUN_M_CITY";

}

class AlphabeticIndex : public TimeFixture {
protected:
	void useLocale(const char* locale)
	{
		setRegionFormat((std::string(locale) + ".UTF-8").c_str());
		setEnv("LANG", (std::string(locale) + ".UTF-8").c_str());
	}
};

TEST_F(AlphabeticIndex, NamesFileAsIcuFilesThemAndTwoChineseCitiesUnderC)
{
	for (auto [locale, language, country] : {std::tuple<const char*, const char*, const char*>{"en_US", "en", "US"},
			 {"ko_KR", "ko", "KR"}, {"ja_JP", "ja", "JP"}, {"zh_CN", "zh", "CN"}, {"ru_RU", "ru", "RU"}}) {
		SCOPED_TRACE(locale);
		useLocale(locale);
		ZonAlphabeticIndex index;
		IcuIndex icu(language, country);
		bool chinese = !strcmp(language, "zh");
		int filed = 0;
		for (const Cityinfo& city : allCityList) {
			const char* id = city.cityname_string;
			int k = chinese && (!strcmp(id, kChongqing) || !strcmp(id, kChangchun)) ? 3 : icu.number(city.cityname_eng);
			EXPECT_EQ(k - 1, index.getBucketIndex(city.cityname_eng, id)) << city.cityname_eng;
			EXPECT_EQ(icu.labelAt(k), index.getBucket(city.cityname_eng, id)) << city.cityname_eng;
			filed += k != 0;
		}
		// Latin names have letters of their own in English and Chinese (pinyin) only.
		if (chinese || !strcmp(language, "en")) {
			EXPECT_EQ(331, filed);
		}
	}

	useLocale("zh_CN");
	IcuIndex icu("zh", "CN");
	ZonAlphabeticIndex index;
	// With their ids they are C whatever the text; without, ICU's reading stands.
	EXPECT_EQ(2, index.getBucketIndex("重庆", kChongqing));
	EXPECT_EQ("C", index.getBucket("长春", kChangchun));
	EXPECT_EQ("C", index.getBucket("anything", kChangchun));
	EXPECT_EQ(icu.label("重庆"), index.getBucket("重庆"));
	EXPECT_EQ(icu.label("长春"), index.getBucket("长春", "WDS_ZON_MBODY_SHANGHAI_M_CITY"));

	// The rule follows LANG, not the region format.
	for (auto [lang, k] : {std::pair<const char*, int>{"en_US.UTF-8", icu.number("重庆")}, {nullptr, icu.number("重庆")},
			 {"zh_TW.UTF-8", 3}}) {
		setEnv("LANG", lang);
		EXPECT_EQ(k - 1, index.getBucketIndex("重庆", kChongqing)) << (lang ? lang : "no LANG");
	}

	for (auto [locale, name, label] : {std::tuple<const char*, const char*, const char*>{"en_US", "Zürich", "Z"},
			 {"en_US", "Århus", "A"}, {"ko_KR", "서울", "ㅅ"}, {"ru_RU", "Москва", "М"}, {"ja_JP", "とうきょう", "た"},
			 {"zh_CN", "北京", "B"}}) {
		useLocale(locale);
		EXPECT_EQ(label, ZonAlphabeticIndex().getBucket(name)) << locale << " " << name;
	}

	useLocale("en_US");
	ZonAlphabeticIndex english;
	IcuIndex englishIcu("en", "US");
	ASSERT_EQ(0, englishIcu.number("1st Street"));
	EXPECT_EQ(-1, english.getBucketIndex("1st Street", nullptr));
	EXPECT_EQ("nullptr", english.getBucket("1st Street"));

	// Hangul is past Z in an English english.
	EXPECT_EQ(englishIcu.labelAt(englishIcu.count() - 1), english.getBucket("서울"));
	EXPECT_EQ(26, english.getBucketIndex("서울", nullptr));

	EXPECT_EQ(-1, english.getBucketIndex(nullptr, "WDS_ZON_BODY_SEOUL_M_CITY"));
	EXPECT_EQ("nullptr", english.getBucket(nullptr));

	// "sr_Latn_RS": language sr, "country" Latn; RS is logged and dropped.
	setRegionFormat("sr_Latn_RS.UTF-8");
	ZonAlphabeticIndex serbian;
	EXPECT_TRUE(zon_host_log_contains("unknown .... : RS"));
	IcuIndex serbianIcu("sr", "Latn");
	for (const char* name : {"Beograd", "Београд", "Ниш", "Zagreb"})
		EXPECT_EQ(serbianIcu.label(name), serbian.getBucket(name)) << name;
}
