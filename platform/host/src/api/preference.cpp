/*
 * preference.cpp - application preferences in <data dir>/.preference.
 *
 * The file is looked at on every call (read again when it changed), and each change is appended
 * to its journal (.preference.journal) under a lock, so that the application, its widget and
 * its service (separate processes on the device) see each other's writes. Change callbacks are
 * per process, as on the device.
 */
#include "host_internal.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

#include "app_preference.h"
#include "dlog.h"

namespace zonhost {
namespace {

const char kTag[] = "CAPI_APPFW_APPLICATION_PREFERENCE";

struct Registration {
	preference_changed_cb callback;
	void *userData;
	Serial serial;
};

// Keyed by store path and key: after zon_host_set_app_id() the process writes another
// application's store, whose changes must not reach this application's callbacks.
using RegistrationKey = std::pair<std::string, std::string>;
std::map<RegistrationKey, Registration> g_registrations;

std::string storePath()
{
	std::string dir = appDir("data/", false);
	return dir + ".preference";
}

KeptStore g_store;

KeyStore *loadStore()
{
	std::string header = std::string(" Preferences of ") + zon_host_app_id() +
			" (app_preference); one group per value type.";
	// Journaled: the list's change notification rewrites a key on every insert.
	return g_store.load(storePath(), header, true);
}

void notifyChanged(const std::string &path, const std::string &key)
{
	auto it = g_registrations.find(RegistrationKey(path, key));
	if (it == g_registrations.end())
		return;
	Serial serial = it->second.serial;
	deliverLater(serial, [path, key, serial]() {
		auto reg = g_registrations.find(RegistrationKey(path, key));
		if (reg == g_registrations.end() || reg->second.serial != serial)
			return;
		// Copied first: the callback may unset or replace its own registration.
		preference_changed_cb callback = reg->second.callback;
		void *userData = reg->second.userData;
		callback(key.c_str(), userData);
	});
}

int setValue(const char *key, const Value &value)
{
	if (!key || !*key)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	KeyStore *store = loadStore();
	if (!store)
		return PREFERENCE_ERROR_IO_ERROR;
	Value old;
	if (store->lookup(key, &old) == KeyStore::Lookup::Found && old == value)
		return PREFERENCE_ERROR_NONE;
	store->set(key, value);
	if (!store->save())
		return PREFERENCE_ERROR_IO_ERROR;
	notifyChanged(store->path(), key);
	return PREFERENCE_ERROR_NONE;
}

int getValue(const char *key, Type type, Value *out)
{
	if (!key || !*key)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	KeyStore *store = loadStore();
	if (!store)
		return PREFERENCE_ERROR_IO_ERROR;
	switch (store->lookup(key, out)) {
	case KeyStore::Lookup::Absent:
		return PREFERENCE_ERROR_NO_KEY;
	case KeyStore::Lookup::Corrupt:
		platformLog(DLOG_ERROR, kTag, "value of %s in %s is unreadable", key, store->path().c_str());
		return PREFERENCE_ERROR_IO_ERROR;
	case KeyStore::Lookup::Found:
		break;
	}
	if (out->type != type) {
		platformLog(DLOG_ERROR, kTag, "type of %s does not match the request", key);
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	}
	return PREFERENCE_ERROR_NONE;
}

} // namespace

int preferenceReset()
{
	int live = (int)g_registrations.size();
	for (const auto &entry : g_registrations)
		cancelDeliveries(entry.second.serial);
	g_registrations.clear();
	g_store.drop();
	return live;
}

} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("preference_set_int", "preference_get_int", "preference_set_double", "preference_get_double",
		"preference_set_string", "preference_get_string", "preference_set_boolean", "preference_get_boolean",
		"preference_remove", "preference_is_existing", "preference_remove_all", "preference_set_changed_cb",
		"preference_unset_changed_cb", "preference_foreach_item");

ZON_HOST_API int preference_set_int(const char *key, int value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setValue(key, Value::ofInt(value));
}

ZON_HOST_API int preference_get_int(const char *key, int *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!value)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	Value v;
	int ret = getValue(key, Type::Int, &v);
	if (ret == PREFERENCE_ERROR_NONE)
		*value = (int)v.i;
	return ret;
}

ZON_HOST_API int preference_set_double(const char *key, double value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setValue(key, Value::ofDouble(value));
}

ZON_HOST_API int preference_get_double(const char *key, double *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!value)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	Value v;
	int ret = getValue(key, Type::Double, &v);
	if (ret == PREFERENCE_ERROR_NONE)
		*value = v.d;
	return ret;
}

ZON_HOST_API int preference_set_string(const char *key, const char *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!value)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	return setValue(key, Value::ofString(value));
}

ZON_HOST_API int preference_get_string(const char *key, char **value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!value)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	Value v;
	int ret = getValue(key, Type::String, &v);
	if (ret != PREFERENCE_ERROR_NONE)
		return ret;
	char *copy = strdup(v.s.c_str());
	if (!copy)
		return PREFERENCE_ERROR_OUT_OF_MEMORY;
	*value = copy;
	return PREFERENCE_ERROR_NONE;
}

ZON_HOST_API int preference_set_boolean(const char *key, bool value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setValue(key, Value::ofBool(value));
}

ZON_HOST_API int preference_get_boolean(const char *key, bool *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!value)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	Value v;
	int ret = getValue(key, Type::Bool, &v);
	if (ret == PREFERENCE_ERROR_NONE)
		*value = v.b;
	return ret;
}

ZON_HOST_API int preference_remove(const char *key)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!key || !*key)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	KeyStore *store = loadStore();
	if (!store)
		return PREFERENCE_ERROR_IO_ERROR;
	if (!store->remove(key))
		return PREFERENCE_ERROR_NO_KEY;
	if (!store->save())
		return PREFERENCE_ERROR_IO_ERROR;
	notifyChanged(store->path(), key);
	return PREFERENCE_ERROR_NONE;
}

ZON_HOST_API int preference_is_existing(const char *key, bool *existing)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!key || !*key || !existing)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	KeyStore *store = loadStore();
	if (!store)
		return PREFERENCE_ERROR_IO_ERROR;
	*existing = store->lookup(key, nullptr) != KeyStore::Lookup::Absent;
	return PREFERENCE_ERROR_NONE;
}

ZON_HOST_API int preference_remove_all(void)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	KeyStore *store = loadStore();
	if (!store)
		return PREFERENCE_ERROR_IO_ERROR;
	std::vector<std::string> keys = store->keys();
	if (keys.empty())
		return PREFERENCE_ERROR_NONE;
	for (const std::string &key : keys)
		store->remove(key.c_str());
	if (!store->save())
		return PREFERENCE_ERROR_IO_ERROR;
	for (const std::string &key : keys)
		notifyChanged(store->path(), key);
	return PREFERENCE_ERROR_NONE;
}

ZON_HOST_API int preference_set_changed_cb(const char *key, preference_changed_cb callback, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!key || !*key || !callback)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	KeyStore *store = loadStore();
	if (!store)
		return PREFERENCE_ERROR_IO_ERROR;
	if (store->lookup(key, nullptr) == KeyStore::Lookup::Absent) {
		platformLog(DLOG_ERROR, kTag, "NO_KEY(0x%08x) : %s", (unsigned)PREFERENCE_ERROR_NO_KEY, key);
		return PREFERENCE_ERROR_NO_KEY;
	}
	auto inserted = g_registrations.emplace(RegistrationKey(store->path(), key),
			Registration{callback, user_data, 0});
	Registration &reg = inserted.first->second;
	// A replaced callback takes over the deliveries already queued for the key.
	if (inserted.second)
		reg.serial = newSerial();
	reg.callback = callback;
	reg.userData = user_data;
	return PREFERENCE_ERROR_NONE;
}

ZON_HOST_API int preference_unset_changed_cb(const char *key)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!key || !*key)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	auto it = g_registrations.find(RegistrationKey(storePath(), key));
	if (it != g_registrations.end()) {
		cancelDeliveries(it->second.serial);
		g_registrations.erase(it);
		return PREFERENCE_ERROR_NONE;
	}
	// Nothing registered: the device still reports a key that doesn't exist.
	KeyStore *store = loadStore();
	if (!store)
		return PREFERENCE_ERROR_IO_ERROR;
	return store->lookup(key, nullptr) == KeyStore::Lookup::Absent ? PREFERENCE_ERROR_NO_KEY : PREFERENCE_ERROR_NONE;
}

ZON_HOST_API int preference_foreach_item(preference_item_cb callback, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!callback)
		return PREFERENCE_ERROR_INVALID_PARAMETER;
	KeyStore *store = loadStore();
	if (!store)
		return PREFERENCE_ERROR_IO_ERROR;
	// A snapshot, so that the callback may change the preferences while we iterate.
	for (const std::string &key : store->keys()) {
		if (!callback(key.c_str(), user_data))
			break;
	}
	return PREFERENCE_ERROR_NONE;
}

ZON_HOST_MODULE("preference", ResetRank::State, preferenceReset);
