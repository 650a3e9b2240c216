/*
 * The "zonvista" catalogues: ZonTextDomain binds them, and every id the library can look up is
 * translated in each of them with the arguments the library passes.
 */
#include <dirent.h>
#include <libintl.h>
#include <stdlib.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "TimeTestSupport.h"
#include "ZonTextDomain.h"

namespace {

class TextDomain : public TimeFixture {};

TEST_F(TextDomain, BindsTheCataloguesBesideTheLibrary)
{
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

struct Entry {
	std::vector<std::string> translations;
	bool plural = false;
};

std::string unquote(const std::string& line)
{
	size_t open = line.find('"');
	std::string out;
	for (size_t i = open + 1; i < line.size() && line[i] != '"'; ++i) {
		if (line[i] == '\\' && i + 1 < line.size())
			out += line[++i] == 'n' ? '\n' : line[i];
		else
			out += line[i];
	}
	return out;
}

// Enough of the .po format for our catalogues: one entry per msgid, continuation lines appended.
std::map<std::string, Entry> readCatalogue(const std::string& path)
{
	std::map<std::string, Entry> entries;
	std::ifstream in(path);
	std::string line, id;
	std::string* last = nullptr;
	while (std::getline(in, line)) {
		if (line.rfind("msgid_plural ", 0) == 0) {
			entries[id].plural = true;
			last = nullptr;
		} else if (line.rfind("msgid ", 0) == 0) {
			id = unquote(line);
			last = &id;
		} else if (line.rfind("msgstr", 0) == 0) {
			entries[id].translations.push_back(unquote(line));
			last = &entries[id].translations.back();
		} else if (!line.empty() && line[0] == '"' && last) {
			*last += unquote(line);
		}
	}
	return entries;
}

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
	std::string dir = std::string(ZON_SOURCE_DIR) + "/src/";
	DIR* listing = opendir(dir.c_str());
	for (dirent* file; listing && (file = readdir(listing));) {
		std::string name = file->d_name;
		if (name.size() < 4 || name.compare(name.size() - 4, 4, ".cpp") != 0)
			continue;
		std::ifstream in(dir + name);
		std::stringstream text;
		text << in.rdbuf();
		std::string source = text.str();
		for (std::sregex_iterator it(source.begin(), source.end(), idLiteral), end; it != end; ++it) {
			std::string id = (*it)[1];
			if (!std::regex_search(id, std::regex("_M_(CITY|COUNTRY)$")))
				ids.insert(id);
		}
	}
	if (listing)
		closedir(listing);
	return ids;
}

TEST(TextCatalogue, EveryIdTheLibraryLooksUpIsInEveryCatalogue)
{
	std::set<std::string> ids = idsInSources();
	ASSERT_GE(ids.size(), 70u) << "the scan of src/ lost the difference texts, notices or map headers";
	ASSERT_TRUE(ids.count("WDS_ZON_HEADER_GMTPLUS05_C45_ABB") && ids.count("WDS_ZON_TPOP_DELETED"));

	std::string poDir = std::string(ZON_SOURCE_DIR) + "/po/";
	std::map<std::string, Entry> english = readCatalogue(poDir + "en.po");
	for (const char* language : {"en", "ko", "ar", "xx"}) {
		SCOPED_TRACE(language);
		std::map<std::string, Entry> catalogue = readCatalogue(poDir + language + ".po");
		std::smatch forms;
		const std::string header = catalogue[""].translations.at(0);
		ASSERT_TRUE(std::regex_search(header, forms, std::regex(R"(Plural-Forms: nplurals=(\d+);)"))) << header;
		const size_t nplurals = std::stoul(forms[1]);
		for (const std::string& id : ids) {
			SCOPED_TRACE(id);
			auto entry = catalogue.find(id);
			ASSERT_NE(catalogue.end(), entry) << "missing";
			const Entry& source = english.at(id);
			EXPECT_EQ(entry->second.plural ? nplurals : 1u, entry->second.translations.size());
			for (const std::string& text : entry->second.translations) {
				EXPECT_FALSE(text.empty());
				std::set<std::string> used = conversions(text), given = conversions(source.translations.back());
				// A plural form may leave the number out ("one city"), never take another argument.
				if (entry->second.plural)
					EXPECT_TRUE(std::includes(given.begin(), given.end(), used.begin(), used.end())) << text;
				else
					EXPECT_EQ(given, used) << text;
			}
		}
	}
}

} // namespace
