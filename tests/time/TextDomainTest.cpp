/*
 * The "zonvista" catalogues: ZonTextDomain binds them, and every id the library can look up is
 * translated in each of them with the arguments the library passes.
 */

#include <algorithm>
#include <filesystem>
#include <regex>

#include "TimeTestSupport.h"
#include "ZonTextDomain.h"

namespace {

class TextDomain : public TimeFixture {};

// The arguments a text consumes: argument number and conversion, "%2$d" and the second "%d" alike.
std::set<std::string> conversions(const std::string& text)
{
	static const std::regex conversion(R"(%(?:(\d+)\$)?[-+ #0]*\d*(?:\.\d+)?([a-zA-Z%]))");
	std::set<std::string> found;
	int next = 0;
	for (std::sregex_iterator it(text.begin(), text.end(), conversion), end; it != end; ++it) {
		if ((*it)[2] == "%")
			continue;
		found.insert(((*it)[1].matched ? (*it)[1].str() : std::to_string(++next)) + (*it)[2].str());
	}
	return found;
}

// Every string id in the library's sources, except the city and country names of the catalogue,
// which the applications translate in their own domain.
std::set<std::string> idsInSources()
{
	static const std::regex idLiteral(R"re("((?:WDS|IDS|PLURAL)_[A-Z0-9_]+)")re");
	std::set<std::string> ids;
	for (const auto& entry : std::filesystem::directory_iterator(ZON_SOURCE_DIR "/src")) {
		if (entry.path().extension() != ".cpp")
			continue;
		std::string source = (std::stringstream() << std::ifstream(entry.path()).rdbuf()).str();
		for (std::sregex_iterator it(source.begin(), source.end(), idLiteral), end; it != end; ++it) {
			std::string id = (*it)[1];
			if (!std::regex_search(id, std::regex("_M_(CITY|COUNTRY)$")))
				ids.insert(id);
		}
	}
	return ids;
}

// Every compiled catalogue answers every id, with the arguments the library passes (a missing
// entry answers the id itself); ZonTextDomain binds the catalogues beside the library.
TEST_F(TextDomain, EveryIdTheLibraryLooksUpIsInEveryCatalogueBoundBesideIt)
{
	std::set<std::string> ids = idsInSources();
	ASSERT_GE(ids.size(), 70u) << "the scan of src/ lost the difference texts, notices or map headers";
	ASSERT_TRUE(ids.count("WDS_ZON_HEADER_GMTPLUS05_C45_ABB") && ids.count("WDS_ZON_TPOP_DELETED"));
	auto lookUp = [](const std::string& id, bool isPlural, unsigned long n) {
		return std::string(isPlural ? dngettext("zonvista", id.c_str(), id.c_str(), n) : dgettext("zonvista", id.c_str()));
	};
	std::map<std::string, std::set<std::string>> english;
	for (const std::string& id : ids)
		english[id] = conversions(lookUp(id, id.rfind("PLURAL_", 0) == 0, 2));

	int languages = 0;
	for (const auto& entry : std::filesystem::directory_iterator(ZON_LOCALE_DIR)) {
		const std::string language = entry.path().filename();
		++languages;
		setLanguage(language.c_str());
		for (const std::string& id : ids) {
			const bool isPlural = id.rfind("PLURAL_", 0) == 0;
			for (unsigned long n : isPlural ? std::vector<unsigned long>{0, 1, 2, 3, 11, 100} : std::vector<unsigned long>{1}) {
				const std::string text = lookUp(id, isPlural, n);
				if (text == id) {
					ADD_FAILURE() << language << " lacks " << id;
					break;
				}
				std::set<std::string> used = conversions(text);
				const std::set<std::string>& given = english[id];
				// A plural form may leave the number out ("one city"), never take another argument.
				if (isPlural)
					EXPECT_TRUE(std::includes(given.begin(), given.end(), used.begin(), used.end())) << language << ": " << text;
				else
					EXPECT_EQ(given, used) << language << ": " << text;
			}
		}
	}
	EXPECT_GE(languages, 3);

	const char* domain = ZonTextDomain::DOMAIN_NAME;
	ASSERT_NE(nullptr, bindtextdomain(domain, "/nonexistent"));
	ASSERT_TRUE(ZonTextDomain::bind());
	char* expected = realpath(ZON_LOCALE_DIR, nullptr);
	ASSERT_NE(nullptr, expected);
	EXPECT_STREQ(expected, bindtextdomain(domain, nullptr)) << "a library in its build tree uses the tree's catalogues";
	free(expected);

	setLanguage("ko");
	EXPECT_STREQ("삭제했습니다.", dgettext(domain, "WDS_ZON_TPOP_DELETED"));
	// Arabic has six plural forms; a wrong rule picks the wrong noun.
	setLanguage("ar");
	const char* id = "PLURAL_ZERO_ZON_TPOP_CANT_ADD_MORE_THAN_PD_CITIES_ABB";
	std::vector<std::string> forms;
	for (unsigned long n : {0ul, 1ul, 2ul, 3ul, 11ul, 100ul, 103ul})
		forms.push_back(dngettext(domain, id, id, n));
	EXPECT_NE(forms[0], forms[1]);
	EXPECT_NE(forms[1], forms[2]);
	EXPECT_NE(std::string::npos, forms[3].find("مدن."));
	EXPECT_NE(std::string::npos, forms[4].find("مدينةً."));
	EXPECT_EQ(forms[3], forms[6]);
	EXPECT_NE(std::string::npos, forms[5].find(" مدينة.")) << "100 takes the last form";
}

} // namespace
