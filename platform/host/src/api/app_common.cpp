/*
 * app_common.cpp - the running application's id and directories under the device root.
 */
#include "host_internal.h"

#include <cstdlib>
#include <cstring>

#include "app_common.h"

namespace {

// The framework creates an application's directories at install time; here they appear when
// first asked for. NULL when the directory can't be made, as when the device's is missing.
char *directory(const char *sub)
{
	std::string dir = zonhost::appDir(sub, true);
	if (dir.empty()) {
		set_last_result(APP_ERROR_IO_ERROR);
		return nullptr;
	}
	return strdup(dir.c_str());
}

} // namespace

ZON_HOST_FAULT_POINTS("app_get_id", "app_get_data_path", "app_get_cache_path", "app_get_resource_path",
		"app_get_shared_data_path", "app_get_shared_resource_path", "app_get_shared_trusted_path");

ZON_HOST_API int app_get_id(char **id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!id)
		return APP_ERROR_INVALID_PARAMETER;
	*id = strdup(zon_host_app_id());
	return *id ? APP_ERROR_NONE : APP_ERROR_OUT_OF_MEMORY;
}

ZON_HOST_API char *app_get_data_path(void)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return directory("data/");
}

ZON_HOST_API char *app_get_cache_path(void)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return directory("cache/");
}

ZON_HOST_API char *app_get_resource_path(void)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return directory("res/");
}

ZON_HOST_API char *app_get_shared_data_path(void)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return directory("shared/data/");
}

ZON_HOST_API char *app_get_shared_resource_path(void)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return directory("shared/res/");
}

ZON_HOST_API char *app_get_shared_trusted_path(void)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return directory("shared/trusted/");
}
