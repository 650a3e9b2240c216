/*
 * text_domain.cpp - the library's text domain bound when the host port loads.
 *
 * On the watch the application framework binds the application's text domains before the
 * application's code runs, so the library's dgettext("zonvista", id) lookups answer translated
 * texts from the first call. The host port does the same for "zonvista" while it loads: a program
 * that uses the library gets its texts without knowing where the catalogues were installed. A
 * program that binds the domain itself afterwards (zonclock, the tests) simply replaces this
 * binding.
 */
#include <libintl.h>
#include <sys/stat.h>

#include <string>

#include "host_internal.h"

namespace {

bool isDir(const std::string &path)
{
	struct stat st;
	return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Beside the installed library first (PREFIX/share/locale from PREFIX/lib), else the build tree's.
std::string catalogueDir()
{
	std::string installed = zonhost::besideHostLibrary(ZON_HOST_LOCALE_FROM_LIBDIR);
	if (!installed.empty() && isDir(installed))
		return installed;
	return isDir(ZON_HOST_LOCALE_BUILD_DIR) ? ZON_HOST_LOCALE_BUILD_DIR : std::string();
}

__attribute__((constructor)) void bindLibraryTextDomain()
{
	std::string dir = catalogueDir();
	if (dir.empty())
		return;
	bindtextdomain("zonvista", dir.c_str());
	bind_textdomain_codeset("zonvista", "UTF-8");
}

} // namespace
