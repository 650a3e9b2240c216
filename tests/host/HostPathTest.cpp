#include <libintl.h>
#include <fstream>

#include <glib.h>

#include <app_common.h>
#include <zon_platform.h>

#include "HostFixture.h"

namespace {

class HostPath : public HostFixture {};

TEST_F(HostPath, PathsEndInSlashAndStayInsideTheRootThatTheEnvironmentGives)
{
	const std::string app = root() + "/apps/korvath.zonvista/";
	const struct { char *(*get)(void); const char *sub; } dirs[] = {
		{app_get_data_path, "data/"}, {app_get_resource_path, "res/"},
		{app_get_shared_resource_path, "shared/res/"}, {app_get_shared_trusted_path, "shared/trusted/"},
		{app_get_shared_data_path, "shared/data/"}, {app_get_cache_path, "cache/"},
	};
	for (const auto &dir : dirs) {
		std::string path = takeText(dir.get());
		EXPECT_EQ(app + dir.sub, path);
		EXPECT_TRUE(g_file_test(path.c_str(), G_FILE_TEST_IS_DIR)) << path;
	}

	zon_host_set_app_id("korvath.zonvista-service");
	EXPECT_EQ(root() + "/apps/korvath.zonvista-service/data/", takeText(app_get_data_path()));
	for (const char *bad : {"", "..", "../x", "a/b"}) {
		zon_host_set_app_id(bad);
		EXPECT_STREQ("korvath.zonvista-service", zon_host_app_id()) << bad;
	}

	std::ofstream(rootPath("apps/korvath.blocked")) << "not a directory";
	zon_host_set_app_id("korvath.blocked");
	EXPECT_EQ("<null>", takeText(app_get_shared_trusted_path()));
	EXPECT_EQ(APP_ERROR_IO_ERROR, get_last_result());

	// Device paths map below the root.
	const std::string fs = root() + "/fs";
	EXPECT_EQ(fs + "/tmp/.zonvista_ldu", takeText(zon_platform_path("/tmp/.zonvista_ldu")));
	EXPECT_TRUE(g_file_test((fs + "/tmp").c_str(), G_FILE_TEST_IS_DIR)) << "parent is created";
	EXPECT_FALSE(g_file_test((fs + "/tmp/.zonvista_ldu").c_str(), G_FILE_TEST_EXISTS)) << "the file is not";
	EXPECT_EQ(fs + "/opt/etc/localtime", takeText(zon_platform_path("//opt/./etc//localtime")));
	EXPECT_EQ(fs + "/etc/passwd", takeText(zon_platform_path("/../../etc/passwd"))) << "cannot leave the device";
	EXPECT_EQ("<null>", takeText(zon_platform_path("tmp/.zonvista_ldu")));
	EXPECT_EQ("<null>", takeText(zon_platform_path(nullptr)));

	EXPECT_EQ(root(), zon_host_root());
	setEnv("ZON_HOST_ROOT", nullptr);
	setEnv("XDG_DATA_HOME", rootPath("xdg/").c_str());
	zon_host_reset();
	EXPECT_STREQ(rootPath("xdg/zon-host").c_str(), zon_host_root());
	// A relative XDG_DATA_HOME is to be ignored.
	setEnv("XDG_DATA_HOME", "relative");
	setEnv("HOME", rootPath("home").c_str());
	zon_host_reset();
	EXPECT_STREQ(rootPath("home/.local/share/zon-host").c_str(), zon_host_root());

	// As the application framework does on the watch, the host binds the library's text domain
	// before the program runs: here, to the build tree's catalogues (the program never bound it).
	EXPECT_STREQ(ZON_BUILD_LOCALE_DIR, bindtextdomain("zonvista", nullptr));
}

} // namespace
