/*
 * vconf.cpp - the device's settings in <root>/vconf.ini, with the desktop's defaults for the
 * few keys that an unconfigured device has anyway.
 */
#include "host_internal.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

#include <unicode/ures.h>
#include <unicode/uloc.h>

#include "dlog.h"
#include "vconf.h"

namespace zonhost {
namespace {

const char kTag[] = "VCONF";

thread_local int t_extErrno = 0;

struct Registration {
	vconf_callback_fn callback;
	void *userData;
	Serial serial;
};
std::map<std::string, std::vector<Registration>> g_registrations;

int fail(int detail)
{
	t_extErrno = detail;
	return VCONF_ERROR;
}

int succeed()
{
	t_extErrno = 0;
	return VCONF_OK;
}

bool validKey(const char *key)
{
	if (!key)
		return false;
	for (const char *prefix : {"db/", "memory/", "file/"}) {
		if (strncmp(key, prefix, strlen(prefix)) == 0 && key[strlen(prefix)])
			return true;
	}
	return false;
}

// Every text call of the library reads several settings: parse the file once, not per read, and
// let the kernel tell when it changed rather than looking at it each time.
KeptStore g_store;

KeyStore *loadStore()
{
	// Every settings read comes here: the path is built again only for a new device root.
	static std::string seenRoot;
	static std::string path;
	if (path.empty() || seenRoot != root()) {
		seenRoot = root();
		path = seenRoot + "/vconf.ini";
	}
	static const std::string header =
			" Settings of the simulated device (vconf); one group per value type.\n"
			" Keys missing here are unset, except the region format, the language and the\n"
			" time zone, which follow the desktop until they are set, and the 12/24-hour\n"
			" clock, which follows the region format until it is set.";
	return g_store.load(path, header, false, true);
}

// "de_DE.UTF-8" out of the first non-empty variable; the device only knows UTF-8 locales. A
// fresh device reads its region this way for every text.
std::string desktopLocale(std::initializer_list<EnvVariable *> variables)
{
	const char *chosen = "";
	for (EnvVariable *variable : variables) {
		const char *v = variable->get();
		if (v && *v) {
			chosen = v;
			break;
		}
	}
	thread_local std::string lastChosen, lastLocale;
	if (!lastLocale.empty() && lastChosen == chosen)
		return lastLocale;
	std::string value(chosen);
	value = value.substr(0, value.find_first_of(".@"));
	lastChosen = chosen;
	lastLocale = value.empty() || value == "C" || value == "POSIX" ? "en_US.UTF-8" : value + ".UTF-8";
	return lastLocale;
}

std::string deviceTimeZone()
{
	std::string link = root() + "/fs/opt/etc/localtime";
	if (gchar *target = g_file_read_link(link.c_str(), nullptr)) {
		std::string zone = zoneFromPath(target);
		g_free(target);
		if (!zone.empty())
			return zone;
	}
	return desktopTimeZone();
}

// Whether a region ("de_DE.UTF-8") shows the 24-hour clock: the hour ICU's pattern generator
// gives the "j" skeleton, read from the data it reads (supplemental timeData: "lang_COUNTRY",
// then "COUNTRY", then the world, "001") rather than by building a generator, which costs more
// than a whole clock view besides. The host tests compare it with a generator for every locale.
bool computeRegionPrefers24Hour(const std::string &region)
{
	std::string name = region.substr(0, region.find('.'));
	UErrorCode status = U_ZERO_ERROR;
	char full[ULOC_FULLNAME_CAPACITY] = "";
	uloc_addLikelySubtags(name.c_str(), full, sizeof full, &status);
	char language[ULOC_LANG_CAPACITY] = "";
	char country[ULOC_COUNTRY_CAPACITY] = "";
	uloc_getLanguage(U_SUCCESS(status) ? full : name.c_str(), language, sizeof language, &status);
	uloc_getCountry(U_SUCCESS(status) ? full : name.c_str(), country, sizeof country, &status);
	if (U_FAILURE(status))
		return false;
	UResourceBundle *data = ures_openDirect(nullptr, "supplementalData", &status);
	UResourceBundle *timeData = ures_getByKey(data, "timeData", nullptr, &status);
	UChar preferred = 'H';   // the generator's choice when no row answers
	const std::string keys[] = {std::string(language) + "_" + country, country, "001"};
	for (const std::string &row : keys) {
		UErrorCode rowStatus = U_ZERO_ERROR;
		UResourceBundle *entry = ures_getByKey(timeData, row.c_str(), nullptr, &rowStatus);
		int32_t length = 0;
		const UChar *text = ures_getStringByKey(entry, "preferred", &length, &rowStatus);
		ures_close(entry);
		if (U_SUCCESS(rowStatus) && length > 0) {
			preferred = text[0];
			break;
		}
	}
	ures_close(timeData);
	ures_close(data);
	return preferred == 'H' || preferred == 'k';
}

// Every text of the library reads the clock format: the answer for the last region is kept.
bool regionPrefers24Hour(const std::string &region)
{
	static std::string lastRegion;
	static bool lastAnswer = false;
	static bool known = false;
	if (!known || region != lastRegion) {
		lastAnswer = computeRegionPrefers24Hour(region);
		lastRegion = region;
		known = true;
	}
	return lastAnswer;
}

bool defaultValue(KeyStore &store, const char *key, Value *out)
{
	thread_local EnvVariable lcAll("LC_ALL"), lcTime("LC_TIME"), lcMessages("LC_MESSAGES"), lang("LANG");
	if (strcmp(key, VCONFKEY_REGIONFORMAT_TIME1224) == 0) {
		// A device is set up with its region's clock; the host's follows the region until set.
		Value region;
		if (store.lookup(VCONFKEY_REGIONFORMAT, &region) != KeyStore::Lookup::Found || region.type != Type::String)
			defaultValue(store, VCONFKEY_REGIONFORMAT, &region);
		*out = Value::ofInt(regionPrefers24Hour(region.s) ? VCONFKEY_TIME_FORMAT_24 : VCONFKEY_TIME_FORMAT_12);
	} else if (strcmp(key, VCONFKEY_REGIONFORMAT) == 0)
		*out = Value::ofString(desktopLocale({&lcAll, &lcTime, &lang}).c_str());
	else if (strcmp(key, VCONFKEY_LANGSET) == 0)
		*out = Value::ofString(desktopLocale({&lcAll, &lcMessages, &lang}).c_str());
	else if (strcmp(key, VCONFKEY_SETAPPL_TIMEZONE_ID) == 0)
		*out = Value::ofString(deviceTimeZone().c_str());
	else
		return false;
	return true;
}

// The value a reader sees: stored, else the default. Returns VCONF_OK or a VCONF_ERROR_* detail.
int effectiveValue(KeyStore &store, const char *key, Value *out)
{
	switch (store.lookup(key, out)) {
	case KeyStore::Lookup::Found:
		return VCONF_OK;
	case KeyStore::Lookup::Corrupt:
		platformLog(DLOG_ERROR, kTag, "value of %s in %s is unreadable", key, store.path().c_str());
		return VCONF_ERROR_FILE_FREAD;
	case KeyStore::Lookup::Absent:
		break;
	}
	return defaultValue(store, key, out) ? VCONF_OK : VCONF_ERROR_FILE_NO_ENT;
}

struct Node {
	std::string name;
	Value value;
};

void notifyChanged(const char *key, const Value &value)
{
	auto it = g_registrations.find(key);
	if (it == g_registrations.end())
		return;
	auto node = std::make_shared<Node>(Node{key, value});
	for (const Registration &reg : it->second) {
		Serial serial = reg.serial;
		deliverLater(serial, [node, serial]() {
			auto regs = g_registrations.find(node->name);
			if (regs == g_registrations.end())
				return;
			for (const Registration &r : regs->second) {
				if (r.serial != serial)
					continue;
				keynode_t keynode = {};
				keynode.keyname = const_cast<char *>(node->name.c_str());
				switch (node->value.type) {
				case Type::Int: keynode.type = VCONF_TYPE_INT; keynode.value.i = (int)node->value.i; break;
				case Type::Bool: keynode.type = VCONF_TYPE_BOOL; keynode.value.b = node->value.b; break;
				case Type::Double: keynode.type = VCONF_TYPE_DOUBLE; keynode.value.d = node->value.d; break;
				case Type::String:
					keynode.type = VCONF_TYPE_STRING;
					keynode.value.s = const_cast<char *>(node->value.s.c_str());
					break;
				case Type::None: keynode.type = VCONF_TYPE_NONE; break;
				}
				// Copied first: the callback may ignore itself, which edits the vector.
				vconf_callback_fn callback = r.callback;
				void *userData = r.userData;
				callback(&keynode, userData);
				return;
			}
		});
	}
}

int setValue(const char *key, const Value &value)
{
	if (!validKey(key))
		return fail(key ? VCONF_ERROR_WRONG_PREFIX : VCONF_ERROR_WRONG_VALUE);
	KeyStore *store = loadStore();
	if (!store)
		return fail(VCONF_ERROR_FILE_FREAD);
	Value old;
	KeyStore::Lookup stored = store->lookup(key, &old);
	if (stored == KeyStore::Lookup::Found && old == value)
		return succeed();
	// A value set equal to the desktop's default is still kept: it no longer follows the desktop.
	// Nothing changed for a reader, so nobody is told.
	bool unchanged = effectiveValue(*store, key, &old) == VCONF_OK && old == value;
	store->set(key, value);
	if (!store->save())
		return fail(VCONF_ERROR_FILE_WRITE);
	if (!unchanged)
		notifyChanged(key, value);
	return succeed();
}

int getValue(const char *key, Type type, Value *out)
{
	if (!validKey(key))
		return fail(key ? VCONF_ERROR_WRONG_PREFIX : VCONF_ERROR_WRONG_VALUE);
	KeyStore *store = loadStore();
	if (!store)
		return fail(VCONF_ERROR_FILE_FREAD);
	int detail = effectiveValue(*store, key, out);
	if (detail != VCONF_OK)
		return fail(detail);
	if (out->type != type)
		return fail(VCONF_ERROR_WRONG_TYPE);
	return succeed();
}

} // namespace

int vconfReset()
{
	int live = 0;
	for (const auto &entry : g_registrations) {
		for (const Registration &reg : entry.second) {
			cancelDeliveries(reg.serial);
			++live;
		}
	}
	g_registrations.clear();
	g_store.drop();
	return live;
}

} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("vconf_set_int", "vconf_set_bool", "vconf_set_dbl", "vconf_set_str", "vconf_get_int", "vconf_get_bool",
		"vconf_get_dbl", "vconf_get_str", "vconf_notify_key_changed", "vconf_ignore_key_changed",
		"vconf_keynode_get_name", "vconf_keynode_get_type", "vconf_keynode_get_int", "vconf_keynode_get_bool",
		"vconf_keynode_get_dbl", "vconf_keynode_get_str");

ZON_HOST_API int vconf_set_int(const char *in_key, const int intval)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setValue(in_key, Value::ofInt(intval));
}

ZON_HOST_API int vconf_set_bool(const char *in_key, const int boolval)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setValue(in_key, Value::ofBool(boolval != 0));
}

ZON_HOST_API int vconf_set_dbl(const char *in_key, const double dblval)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setValue(in_key, Value::ofDouble(dblval));
}

ZON_HOST_API int vconf_set_str(const char *in_key, const char *strval)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!strval)
		return fail(VCONF_ERROR_WRONG_VALUE);
	return setValue(in_key, Value::ofString(strval));
}

ZON_HOST_API int vconf_get_int(const char *in_key, int *intval)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!intval)
		return fail(VCONF_ERROR_WRONG_VALUE);
	Value v;
	int ret = getValue(in_key, Type::Int, &v);
	if (ret == VCONF_OK)
		*intval = (int)v.i;
	return ret;
}

ZON_HOST_API int vconf_get_bool(const char *in_key, int *boolval)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!boolval)
		return fail(VCONF_ERROR_WRONG_VALUE);
	Value v;
	int ret = getValue(in_key, Type::Bool, &v);
	if (ret == VCONF_OK)
		*boolval = v.b ? 1 : 0;
	return ret;
}

ZON_HOST_API int vconf_get_dbl(const char *in_key, double *dblval)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!dblval)
		return fail(VCONF_ERROR_WRONG_VALUE);
	Value v;
	int ret = getValue(in_key, Type::Double, &v);
	if (ret == VCONF_OK)
		*dblval = v.d;
	return ret;
}

ZON_HOST_API char *vconf_get_str(const char *in_key)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	Value v;
	if (getValue(in_key, Type::String, &v) != VCONF_OK)
		return nullptr;
	char *copy = strdup(v.s.c_str());
	if (!copy)
		fail(VCONF_ERROR_NO_MEM);
	return copy;
}

ZON_HOST_API int vconf_get_ext_errno(void)
{
	return t_extErrno;
}

ZON_HOST_API int vconf_notify_key_changed(const char *in_key, vconf_callback_fn cb, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!validKey(in_key))
		return fail(in_key ? VCONF_ERROR_WRONG_PREFIX : VCONF_ERROR_WRONG_VALUE);
	if (!cb)
		return fail(VCONF_ERROR_WRONG_VALUE);
	std::vector<Registration> &regs = g_registrations[in_key];
	for (const Registration &reg : regs) {
		if (reg.callback == cb) {
			platformLog(DLOG_ERROR, kTag, "callback already registered for %s", in_key);
			return fail(VCONF_ERROR);
		}
	}
	regs.push_back(Registration{cb, user_data, newSerial()});
	return succeed();
}

ZON_HOST_API int vconf_ignore_key_changed(const char *in_key, vconf_callback_fn cb)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!validKey(in_key))
		return fail(in_key ? VCONF_ERROR_WRONG_PREFIX : VCONF_ERROR_WRONG_VALUE);
	auto it = g_registrations.find(in_key);
	if (it != g_registrations.end()) {
		std::vector<Registration> &regs = it->second;
		for (auto reg = regs.begin(); reg != regs.end(); ++reg) {
			if (reg->callback != cb)
				continue;
			cancelDeliveries(reg->serial);
			regs.erase(reg);
			if (regs.empty())
				g_registrations.erase(it);
			return succeed();
		}
	}
	platformLog(DLOG_ERROR, kTag, "no such callback registered for %s", in_key);
	return fail(VCONF_ERROR);
}

ZON_HOST_API char *vconf_keynode_get_name(keynode_t *keynode)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return keynode ? keynode->keyname : nullptr;
}

ZON_HOST_API int vconf_keynode_get_type(keynode_t *keynode)
{
	ZON_HOST_FAULT_RETURN(-1);
	return keynode ? keynode->type : -1;
}

ZON_HOST_API int vconf_keynode_get_int(const keynode_t *keynode)
{
	ZON_HOST_FAULT_RETURN(-1);
	return keynode && keynode->type == VCONF_TYPE_INT ? keynode->value.i : -1;
}

ZON_HOST_API int vconf_keynode_get_bool(const keynode_t *keynode)
{
	ZON_HOST_FAULT_RETURN(-1);
	return keynode && keynode->type == VCONF_TYPE_BOOL ? keynode->value.b : -1;
}

ZON_HOST_API double vconf_keynode_get_dbl(const keynode_t *keynode)
{
	ZON_HOST_FAULT_RETURN(-1.0);
	return keynode && keynode->type == VCONF_TYPE_DOUBLE ? keynode->value.d : -1.0;
}

ZON_HOST_API char *vconf_keynode_get_str(const keynode_t *keynode)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	return keynode && keynode->type == VCONF_TYPE_STRING ? keynode->value.s : nullptr;
}

ZON_HOST_API int zon_host_vconf_unset(const char *key)
{
	if (!validKey(key))
		return -1;
	KeyStore *store = loadStore();
	if (!store)
		return -1;
	if (!store->remove(key))
		return 0;
	return store->save() ? 0 : -1;
}

ZON_HOST_MODULE("vconf", ResetRank::State, vconfReset);
