#define LOG_TAG "zonvista"

#include "ZonTextDomain.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <libintl.h>

#include <glib.h>

#include "ZonCommonDefine.h"

// Where the catalogues are, set by the build (po/CMakeLists.txt); the defaults are the usual
// layout of an installation.
#ifndef ZON_LOCALE_DIR_FROM_LIB
#define ZON_LOCALE_DIR_FROM_LIB "../share/locale"
#endif
#ifndef ZON_INSTALL_LOCALE_DIR
#define ZON_INSTALL_LOCALE_DIR "/usr/share/locale"
#endif

const char* const ZonTextDomain::DOMAIN_NAME = "zonvista";

namespace {

// The directory libzon-common was loaded from, with its links resolved; empty if unknown.
std::string libraryDir()
{
	Dl_info self = {};
	if (!dladdr(reinterpret_cast<void*>(&ZonTextDomain::getLocaleDir), &self) || !self.dli_fname)
		return std::string();
	char* real = realpath(self.dli_fname, nullptr);
	if (!real)
		return std::string();
	gchar* dir = g_path_get_dirname(real);
	std::string result = dir;
	g_free(dir);
	free(real);
	return result;
}

bool isDir(const std::string& path)
{
	return !path.empty() && g_file_test(path.c_str(), G_FILE_TEST_IS_DIR);
}

// "lib/../share/locale" as the plain path it names.
std::string canonical(const std::string& path)
{
	char* real = realpath(path.c_str(), nullptr);
	std::string result = real ? real : path;
	free(real);
	return result;
}

} // namespace

std::string ZonTextDomain::getLocaleDir()
{
	std::string lib = libraryDir();
#ifdef ZON_BUILD_DIR
	// A library still in its build tree uses that tree's catalogues, not an older installation.
	const std::string tree = ZON_BUILD_DIR "/";
	if ((lib + "/").compare(0, tree.size(), tree) == 0 && isDir(ZON_BUILD_LOCALE_DIR))
		return ZON_BUILD_LOCALE_DIR;
#endif
	if (!lib.empty() && isDir(lib + "/" + ZON_LOCALE_DIR_FROM_LIB))
		return canonical(lib + "/" + ZON_LOCALE_DIR_FROM_LIB);
	if (isDir(ZON_INSTALL_LOCALE_DIR))
		return ZON_INSTALL_LOCALE_DIR;
	return std::string();
}

bool ZonTextDomain::bind()
{
	std::string dir = getLocaleDir();
	if (dir.empty()) {
		WERROR("no message catalogues of %s beside the library", DOMAIN_NAME);
		return false;
	}
	if (!bindtextdomain(DOMAIN_NAME, dir.c_str())) {
		WERROR("bindtextdomain(%s, %s) failed", DOMAIN_NAME, dir.c_str());
		return false;
	}
	bind_textdomain_codeset(DOMAIN_NAME, "UTF-8");
	return true;
}
