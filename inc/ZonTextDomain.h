/**
 * @class ZonTextDomain
 * ZonTextDomain.h - binds the library's text domain "zonvista" to its installed catalogues.
 *
 * The library looks its texts up with dgettext("zonvista", id); until the domain is bound to
 * the directory its catalogues were installed in, those lookups answer the raw ids. A program
 * calls bind() once at start, after setlocale(), and gets translated texts without knowing
 * where the library was installed:
 *
 * @code
 *   setlocale(LC_ALL, "");
 *   ZonTextDomain::bind();
 *   std::string text = ZonTimeUtil::getTimeDiff("Asia/Seoul");  // "9시간 빠름" (ko, UTC device)
 * @endcode
 *
 * The directory is found from where libzon-common itself was loaded from (so an installation
 * moved by `cmake --install --prefix` still finds its catalogues): the build tree's catalogues
 * when the library runs from its build tree, else PREFIX/share/locale beside the library's
 * PREFIX/lib, else the directory configured at build time.
 *
 * A class of static functions without state. Main-loop thread only (like the rest of the
 * library: bindtextdomain() itself is thread-safe, but the lookups it affects are not ordered
 * with other threads' gettext calls).
 */
#ifndef ZON_TEXT_DOMAIN_H
#define ZON_TEXT_DOMAIN_H

#include <string>

class ZonTextDomain {
public:
	/// The text domain of every text the library looks up: "zonvista".
	static const char* const DOMAIN_NAME;

	/// Binds DOMAIN_NAME to getLocaleDir() with the UTF-8 codeset.
	/// @return false, after logging an error, when no catalogue directory exists; the domain's
	///         binding is then left as it was.
	static bool bind();

	/// The first existing directory of the search order above (the one holding
	/// LANG/LC_MESSAGES/zonvista.mo for each language LANG); empty when none exists.
	static std::string getLocaleDir();
};

#endif /* ZON_TEXT_DOMAIN_H */
