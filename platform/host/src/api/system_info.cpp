/*
 * system_info.cpp - the device's features, answered from <root>/system_info.ini.
 *
 * The device's list of features is fixed at build time; here it is whatever the tests or the
 * user wrote with zon_host_set_feature_*(). Platform and custom keys share the store: they
 * can't collide, the custom ones being in the device maker's own namespace.
 */
#include "host_internal.h"

#include <cstring>

#include "dlog.h"
#include "system_info.h"

namespace zonhost {
namespace {

const char kTag[] = "SYSTEM_INFO";

int getValue(const char *key, Type type, Value *out)
{
	if (!key || !*key)
		return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
	KeyStore store(root() + "/system_info.ini");
	if (!store.load())
		return SYSTEM_INFO_ERROR_IO_ERROR;
	switch (store.lookup(featureKey(key).c_str(), out)) {
	case KeyStore::Lookup::Absent:
		platformLog(DLOG_ERROR, kTag, "Invalid key (%s)", key);
		return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
	case KeyStore::Lookup::Corrupt:
		return SYSTEM_INFO_ERROR_IO_ERROR;
	case KeyStore::Lookup::Found:
		break;
	}
	if (type != Type::None && out->type != type) {
		platformLog(DLOG_ERROR, kTag, "Invalid return type for key (%s)", key);
		return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
	}
	return SYSTEM_INFO_ERROR_NONE;
}

int getBool(const char *key, bool *value)
{
	Value v;
	if (!value)
		return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
	int ret = getValue(key, Type::Bool, &v);
	if (ret == SYSTEM_INFO_ERROR_NONE)
		*value = v.b;
	return ret;
}

int getInt(const char *key, int *value)
{
	Value v;
	if (!value)
		return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
	int ret = getValue(key, Type::Int, &v);
	if (ret == SYSTEM_INFO_ERROR_NONE)
		*value = (int)v.i;
	return ret;
}

int getDouble(const char *key, double *value)
{
	Value v;
	if (!value)
		return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
	int ret = getValue(key, Type::Double, &v);
	if (ret == SYSTEM_INFO_ERROR_NONE)
		*value = v.d;
	return ret;
}

int getString(const char *key, char **value)
{
	Value v;
	if (!value)
		return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
	int ret = getValue(key, Type::String, &v);
	if (ret != SYSTEM_INFO_ERROR_NONE)
		return ret;
	*value = strdup(v.s.c_str());
	return *value ? SYSTEM_INFO_ERROR_NONE : SYSTEM_INFO_ERROR_OUT_OF_MEMORY;
}

int getType(const char *key, system_info_type_e *type)
{
	Value v;
	if (!type)
		return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
	int ret = getValue(key, Type::None, &v);
	if (ret != SYSTEM_INFO_ERROR_NONE)
		return ret;
	switch (v.type) {
	case Type::Bool: *type = SYSTEM_INFO_BOOL; break;
	case Type::Int: *type = SYSTEM_INFO_INT; break;
	case Type::Double: *type = SYSTEM_INFO_DOUBLE; break;
	case Type::String:
	case Type::None: *type = SYSTEM_INFO_STRING; break;
	}
	return SYSTEM_INFO_ERROR_NONE;
}

} // namespace
} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("system_info_get_platform_bool", "system_info_get_platform_int", "system_info_get_platform_double",
		"system_info_get_platform_string", "system_info_get_platform_type", "system_info_get_custom_bool",
		"system_info_get_custom_int", "system_info_get_custom_double", "system_info_get_custom_string",
		"system_info_get_custom_type");

ZON_HOST_API int system_info_get_platform_bool(const char *key, bool *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getBool(key, value);
}

ZON_HOST_API int system_info_get_platform_int(const char *key, int *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getInt(key, value);
}

ZON_HOST_API int system_info_get_platform_double(const char *key, double *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getDouble(key, value);
}

ZON_HOST_API int system_info_get_platform_string(const char *key, char **value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getString(key, value);
}

ZON_HOST_API int system_info_get_platform_type(const char *key, system_info_type_e *type)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getType(key, type);
}

ZON_HOST_API int system_info_get_custom_bool(const char *key, bool *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getBool(key, value);
}

ZON_HOST_API int system_info_get_custom_int(const char *key, int *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getInt(key, value);
}

ZON_HOST_API int system_info_get_custom_double(const char *key, double *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getDouble(key, value);
}

ZON_HOST_API int system_info_get_custom_string(const char *key, char **value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getString(key, value);
}

ZON_HOST_API int system_info_get_custom_type(const char *key, system_info_type_e *type)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getType(key, type);
}
