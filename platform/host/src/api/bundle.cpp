/*
 * bundle.cpp - the platform's typed dictionary.
 */
#include "app_framework.h"

#include <cstdlib>
#include <cstring>

#include "dlog.h"

namespace {

const char kTag[] = "BUNDLE";

bool validKey(const char *key)
{
	return key && *key;
}

std::shared_ptr<keyval_t> makeEntry(const char *key, int type)
{
	auto entry = std::make_shared<keyval_t>();
	entry->key = key;
	entry->type = type;
	return entry;
}

// The value a reader asks for, or the error that the device answers instead.
int lookup(bundle *b, const char *key, int type, keyval_t **out)
{
	if (!b || !validKey(key))
		return BUNDLE_ERROR_INVALID_PARAMETER;
	keyval_t *kv = b->find(key);
	if (!kv)
		return BUNDLE_ERROR_KEY_NOT_AVAILABLE;
	if (kv->type != type)
		return BUNDLE_ERROR_INVALID_PARAMETER;
	*out = kv;
	return BUNDLE_ERROR_NONE;
}

// ---- encoded form: base64 of "ZHB1" and, per entry, type, key and items, each item (and the
// key) as a 32-bit little-endian length followed by its bytes ----

const char kMagic[] = "ZHB1";

void putU32(std::string &out, uint32_t v)
{
	for (int i = 0; i < 4; ++i)
		out += (char)((v >> (8 * i)) & 0xff);
}

void putChunk(std::string &out, const std::string &chunk)
{
	putU32(out, (uint32_t)chunk.size());
	out += chunk;
}

class Reader {
public:
	Reader(const guchar *data, size_t size) : p_(data), left_(size) {}
	bool u32(uint32_t *v)
	{
		if (left_ < 4)
			return false;
		*v = (uint32_t)p_[0] | (uint32_t)p_[1] << 8 | (uint32_t)p_[2] << 16 | (uint32_t)p_[3] << 24;
		p_ += 4;
		left_ -= 4;
		return true;
	}
	bool chunk(std::string *s)
	{
		uint32_t n;
		if (!u32(&n) || n > left_)
			return false;
		s->assign(reinterpret_cast<const char *>(p_), n);
		p_ += n;
		left_ -= n;
		return true;
	}
	bool done() const { return left_ == 0; }

private:
	const guchar *p_;
	size_t left_;
};

bool parseEncoded(const guchar *data, size_t size, bundle *b)
{
	if (size < 4 || memcmp(data, kMagic, 4) != 0)
		return false;
	Reader in(data + 4, size - 4);
	while (!in.done()) {
		uint32_t type, count;
		std::string key;
		if (!in.u32(&type) || !in.chunk(&key) || key.empty() || key.find('\0') != std::string::npos ||
				!in.u32(&count))
			return false;
		auto entry = makeEntry(key.c_str(), (int)type);
		std::vector<std::string> items;
		for (uint32_t i = 0; i < count; ++i) {
			std::string item;
			if (!in.chunk(&item))
				return false;
			if (type != BUNDLE_TYPE_BYTE && item.find('\0') != std::string::npos)
				return false;
			items.push_back(std::move(item));
		}
		switch (type) {
		case BUNDLE_TYPE_STR:
		case BUNDLE_TYPE_BYTE:
			if (count != 1)
				return false;
			entry->value = std::move(items[0]);
			break;
		case BUNDLE_TYPE_STR_ARRAY:
			entry->setItems(std::move(items));
			break;
		default:
			return false;
		}
		if (b->add(entry) != BUNDLE_ERROR_NONE)
			return false;
	}
	return true;
}

} // namespace

// ---- the shared structures (app_framework.h) ----

void keyval_t::setItems(std::vector<std::string> list)
{
	items = std::move(list);
	itemPtrs.clear();
	itemSizes.clear();
	for (const std::string &item : items) {
		itemPtrs.push_back(item.c_str());
		itemSizes.push_back(item.size() + 1);
	}
}

keyval_t *_bundle_t::find(const char *key) const
{
	for (const auto &entry : entries) {
		if (entry->key == key)
			return entry.get();
	}
	return nullptr;
}

int _bundle_t::add(std::shared_ptr<keyval_t> entry)
{
	if (find(entry->key.c_str()))
		return BUNDLE_ERROR_KEY_EXISTS;
	entries.push_back(std::move(entry));
	return BUNDLE_ERROR_NONE;
}

bool _bundle_t::remove(const char *key)
{
	for (auto it = entries.begin(); it != entries.end(); ++it) {
		if ((*it)->key == key) {
			entries.erase(it);
			return true;
		}
	}
	return false;
}

const char *_bundle_t::str(const char *key) const
{
	keyval_t *kv = find(key);
	return kv && kv->type == BUNDLE_TYPE_STR ? kv->value.c_str() : nullptr;
}

void _bundle_t::putStr(const char *key, const char *value)
{
	remove(key);
	auto entry = makeEntry(key, BUNDLE_TYPE_STR);
	entry->value = value;
	entries.push_back(std::move(entry));
}

bundle *_bundle_t::clone() const
{
	auto *copy = new _bundle_t;
	for (const auto &entry : entries) {
		auto dup = std::make_shared<keyval_t>(*entry);
		// The views must point into the copy, not into the original.
		dup->setItems(entry->items);
		copy->entries.push_back(std::move(dup));
	}
	return copy;
}

namespace zonhost {

BundlePtr shareBundle(bundle *b)
{
	return BundlePtr(b, [](bundle *p) { delete p; });
}

} // namespace zonhost

ZON_HOST_FAULT_POINTS("bundle_create", "bundle_free", "bundle_dup", "bundle_get_count", "bundle_del",
		"bundle_get_type", "bundle_add_str", "bundle_get_str", "bundle_add", "bundle_get_val",
		"bundle_add_str_array", "bundle_get_str_array", "bundle_add_byte", "bundle_get_byte", "bundle_foreach",
		"bundle_keyval_get_type", "bundle_keyval_type_is_array", "bundle_keyval_type_is_measurable",
		"bundle_keyval_get_basic_val", "bundle_keyval_get_array_val", "bundle_encode",
		"bundle_free_encoded_rawdata", "bundle_decode");

ZON_HOST_API bundle *bundle_create(void)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	set_last_result(BUNDLE_ERROR_NONE);
	return new _bundle_t;
}

ZON_HOST_API int bundle_free(bundle *b)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!b) {
		zonhost::platformLog(DLOG_ERROR, kTag, "invalid bundle");
		return BUNDLE_ERROR_INVALID_PARAMETER;
	}
	delete b;
	return BUNDLE_ERROR_NONE;
}

ZON_HOST_API bundle *bundle_dup(bundle *b_from)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	if (!b_from) {
		set_last_result(BUNDLE_ERROR_INVALID_PARAMETER);
		return nullptr;
	}
	set_last_result(BUNDLE_ERROR_NONE);
	return b_from->clone();
}

ZON_HOST_API int bundle_get_count(bundle *b)
{
	ZON_HOST_FAULT_RETURN(0);
	set_last_result(b ? BUNDLE_ERROR_NONE : BUNDLE_ERROR_INVALID_PARAMETER);
	return b ? (int)b->entries.size() : 0;
}

ZON_HOST_API int bundle_del(bundle *b, const char *key)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!b || !validKey(key))
		return BUNDLE_ERROR_INVALID_PARAMETER;
	return b->remove(key) ? BUNDLE_ERROR_NONE : BUNDLE_ERROR_KEY_NOT_AVAILABLE;
}

ZON_HOST_API int bundle_get_type(bundle *b, const char *key)
{
	ZON_HOST_FAULT_RETURN(BUNDLE_TYPE_NONE);
	if (!b || !validKey(key)) {
		set_last_result(BUNDLE_ERROR_INVALID_PARAMETER);
		return BUNDLE_TYPE_NONE;
	}
	keyval_t *kv = b->find(key);
	set_last_result(kv ? BUNDLE_ERROR_NONE : BUNDLE_ERROR_KEY_NOT_AVAILABLE);
	return kv ? kv->type : BUNDLE_TYPE_NONE;
}

ZON_HOST_API int bundle_add_str(bundle *b, const char *key, const char *str)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!b || !validKey(key) || !str)
		return BUNDLE_ERROR_INVALID_PARAMETER;
	auto entry = makeEntry(key, BUNDLE_TYPE_STR);
	entry->value = str;
	return b->add(std::move(entry));
}

ZON_HOST_API int bundle_get_str(bundle *b, const char *key, char **str)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!str)
		return BUNDLE_ERROR_INVALID_PARAMETER;
	keyval_t *kv = nullptr;
	int ret = lookup(b, key, BUNDLE_TYPE_STR, &kv);
	if (ret == BUNDLE_ERROR_NONE)
		*str = const_cast<char *>(kv->value.c_str());
	return ret;
}

ZON_HOST_API int bundle_add(bundle *b, const char *key, const char *val)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!b || !validKey(key) || !val)
		return BUNDLE_ERROR_INVALID_PARAMETER;
	auto entry = makeEntry(key, BUNDLE_TYPE_STR);
	entry->value = val;
	return b->add(std::move(entry));
}

ZON_HOST_API const char *bundle_get_val(bundle *b, const char *key)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	keyval_t *kv = nullptr;
	int ret = lookup(b, key, BUNDLE_TYPE_STR, &kv);
	set_last_result(ret);
	return ret == BUNDLE_ERROR_NONE ? kv->value.c_str() : nullptr;
}

ZON_HOST_API int bundle_add_str_array(bundle *b, const char *key, const char **str_array, const int len)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!b || !validKey(key) || len < 0)
		return BUNDLE_ERROR_INVALID_PARAMETER;
	std::vector<std::string> items;
	for (int i = 0; i < len; ++i)
		items.emplace_back(str_array && str_array[i] ? str_array[i] : "");
	auto entry = makeEntry(key, BUNDLE_TYPE_STR_ARRAY);
	entry->setItems(std::move(items));
	return b->add(std::move(entry));
}

ZON_HOST_API const char **bundle_get_str_array(bundle *b, const char *key, int *len)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	keyval_t *kv = nullptr;
	int ret = lookup(b, key, BUNDLE_TYPE_STR_ARRAY, &kv);
	set_last_result(ret);
	if (ret != BUNDLE_ERROR_NONE)
		return nullptr;
	if (len)
		*len = (int)kv->items.size();
	return kv->itemPtrs.empty() ? nullptr : const_cast<const char **>(kv->itemPtrs.data());
}

ZON_HOST_API int bundle_add_byte(bundle *b, const char *key, const void *bytes, const size_t size)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!b || !validKey(key) || (!bytes && size > 0))
		return BUNDLE_ERROR_INVALID_PARAMETER;
	auto entry = makeEntry(key, BUNDLE_TYPE_BYTE);
	if (size > 0)
		entry->value.assign(static_cast<const char *>(bytes), size);
	return b->add(std::move(entry));
}

ZON_HOST_API int bundle_get_byte(bundle *b, const char *key, void **bytes, size_t *size)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!bytes || !size)
		return BUNDLE_ERROR_INVALID_PARAMETER;
	keyval_t *kv = nullptr;
	int ret = lookup(b, key, BUNDLE_TYPE_BYTE, &kv);
	if (ret == BUNDLE_ERROR_NONE) {
		*bytes = kv->value.empty() ? nullptr : &kv->value[0];
		*size = kv->value.size();
	}
	return ret;
}

ZON_HOST_API void bundle_foreach(bundle *b, bundle_iterator_t iter, void *user_data)
{
	ZON_HOST_FAULT_RETURN();
	if (!b || !iter) {
		zonhost::platformLog(DLOG_ERROR, kTag, "invalid parameter");
		set_last_result(BUNDLE_ERROR_INVALID_PARAMETER);
		return;
	}
	set_last_result(BUNDLE_ERROR_NONE);
	// A snapshot: the iterator may add or delete entries.
	std::vector<std::shared_ptr<keyval_t>> entries = b->entries;
	for (const auto &entry : entries)
		iter(entry->key.c_str(), entry->type, entry.get(), user_data);
}

ZON_HOST_API int bundle_keyval_get_type(bundle_keyval_t *kv)
{
	ZON_HOST_FAULT_RETURN(-1);
	set_last_result(kv ? BUNDLE_ERROR_NONE : BUNDLE_ERROR_INVALID_PARAMETER);
	return kv ? kv->type : -1;
}

ZON_HOST_API int bundle_keyval_type_is_array(bundle_keyval_t *kv)
{
	ZON_HOST_FAULT_RETURN(-1);
	set_last_result(kv ? BUNDLE_ERROR_NONE : BUNDLE_ERROR_INVALID_PARAMETER);
	return kv ? (kv->type & BUNDLE_TYPE_ARRAY ? 1 : 0) : -1;
}

ZON_HOST_API int bundle_keyval_type_is_measurable(bundle_keyval_t *kv)
{
	ZON_HOST_FAULT_RETURN(-1);
	set_last_result(kv ? BUNDLE_ERROR_NONE : BUNDLE_ERROR_INVALID_PARAMETER);
	return kv ? (kv->type & BUNDLE_TYPE_MEASURABLE ? 1 : 0) : -1;
}

ZON_HOST_API int bundle_keyval_get_basic_val(bundle_keyval_t *kv, void **val, size_t *size)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!kv || !val || (kv->type & BUNDLE_TYPE_ARRAY))
		return BUNDLE_ERROR_INVALID_PARAMETER;
	*val = const_cast<char *>(kv->value.c_str());
	if (size)
		*size = kv->value.size() + (kv->type == BUNDLE_TYPE_STR ? 1 : 0);
	return BUNDLE_ERROR_NONE;
}

ZON_HOST_API int bundle_keyval_get_array_val(bundle_keyval_t *kv, void ***array_val, unsigned int *array_len,
		size_t **array_element_size)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!kv || !array_val || !array_len || !(kv->type & BUNDLE_TYPE_ARRAY))
		return BUNDLE_ERROR_INVALID_PARAMETER;
	*array_val = kv->itemPtrs.empty() ? nullptr : reinterpret_cast<void **>(const_cast<char **>(kv->itemPtrs.data()));
	*array_len = (unsigned int)kv->items.size();
	if (array_element_size)
		*array_element_size = kv->itemSizes.empty() ? nullptr : kv->itemSizes.data();
	return BUNDLE_ERROR_NONE;
}

ZON_HOST_API int bundle_encode(bundle *b, bundle_raw **r, int *len)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!b || !r || !len)
		return BUNDLE_ERROR_INVALID_PARAMETER;
	std::string raw(kMagic, 4);
	for (const auto &entry : b->entries) {
		putU32(raw, (uint32_t)entry->type);
		putChunk(raw, entry->key);
		if (entry->type & BUNDLE_TYPE_ARRAY) {
			putU32(raw, (uint32_t)entry->items.size());
			for (const std::string &item : entry->items)
				putChunk(raw, item);
		} else {
			putU32(raw, 1);
			putChunk(raw, entry->value);
		}
	}
	gchar *text = g_base64_encode(reinterpret_cast<const guchar *>(raw.data()), raw.size());
	*len = (int)strlen(text);
	*r = reinterpret_cast<bundle_raw *>(text);
	return BUNDLE_ERROR_NONE;
}

ZON_HOST_API int bundle_free_encoded_rawdata(bundle_raw **r)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!r || !*r)
		return BUNDLE_ERROR_INVALID_PARAMETER;
	g_free(*r);
	*r = nullptr;
	return BUNDLE_ERROR_NONE;
}

ZON_HOST_API bundle *bundle_decode(const bundle_raw *r, const int len)
{
	ZON_HOST_FAULT_RETURN(nullptr);
	if (!r || len <= 0) {
		set_last_result(BUNDLE_ERROR_INVALID_PARAMETER);
		return nullptr;
	}
	std::string text(reinterpret_cast<const char *>(r), (size_t)len);
	// g_base64_decode() skips what is not base64; such text was not made by bundle_encode().
	for (char c : text) {
		if (!g_ascii_isalnum(c) && c != '+' && c != '/' && c != '=') {
			set_last_result(BUNDLE_ERROR_INVALID_PARAMETER);
			return nullptr;
		}
	}
	gsize size = 0;
	guchar *data = g_base64_decode(text.c_str(), &size);
	auto *b = new _bundle_t;
	bool ok = parseEncoded(data, size, b);
	g_free(data);
	if (!ok) {
		zonhost::platformLog(DLOG_ERROR, kTag, "cannot decode a bundle of %d bytes", len);
		delete b;
		set_last_result(BUNDLE_ERROR_INVALID_PARAMETER);
		return nullptr;
	}
	set_last_result(BUNDLE_ERROR_NONE);
	return b;
}
