/*
 * app_control.cpp - app-control handles and the application side of launch requests.
 */
#include "app_framework.h"

#include <cstdlib>
#include <cstring>

#include "dlog.h"

namespace {

const char kTag[] = "CAPI_APPFW_APP_CONTROL";
// The framework keeps its own fields in the same dictionary on the device.
const char kReservedPrefix[] = "__APP_SVC_";

int copyOut(const std::optional<std::string> &value, char **out)
{
	if (!out)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	if (!value) {
		*out = nullptr;
		return APP_CONTROL_ERROR_NONE;
	}
	*out = strdup(value->c_str());
	return *out ? APP_CONTROL_ERROR_NONE : APP_CONTROL_ERROR_OUT_OF_MEMORY;
}

int setField(app_control_h app_control, std::optional<std::string> app_control_s::*field, const char *value)
{
	if (!app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	if (value)
		app_control->*field = std::string(value);
	else
		(app_control->*field).reset();
	return APP_CONTROL_ERROR_NONE;
}

int checkKey(app_control_h app_control, const char *key)
{
	if (!app_control || !key || !*key)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	if (strncmp(key, kReservedPrefix, strlen(kReservedPrefix)) == 0) {
		zonhost::platformLog(DLOG_ERROR, kTag, "key %s is reserved", key);
		return APP_CONTROL_ERROR_KEY_REJECTED;
	}
	return APP_CONTROL_ERROR_NONE;
}

int findExtra(app_control_h app_control, const char *key, keyval_t **out)
{
	int ret = checkKey(app_control, key);
	if (ret != APP_CONTROL_ERROR_NONE)
		return ret;
	*out = app_control->data->find(key);
	return *out ? APP_CONTROL_ERROR_NONE : APP_CONTROL_ERROR_KEY_NOT_FOUND;
}

} // namespace

// ---- the shared structure (app_framework.h) ----

app_control_s::app_control_s() : data(new _bundle_t) {}

app_control_s::~app_control_s()
{
	delete data;
}

app_control_s *app_control_s::clone() const
{
	auto *copy = new app_control_s;
	delete copy->data;
	copy->data = data->clone();
	copy->operation = operation;
	copy->uri = uri;
	copy->mime = mime;
	copy->appId = appId;
	copy->caller = caller;
	copy->requestId = requestId;
	copy->replyRequested = replyRequested;
	return copy;
}

const char *app_control_s::extra(const char *key) const
{
	return data->str(key);
}

namespace zonhost {

AppControlPtr shareAppControl(app_control_s *handle)
{
	return AppControlPtr(handle, [](app_control_s *p) { delete p; });
}

} // namespace zonhost

ZON_HOST_FAULT_POINTS("app_control_create", "app_control_destroy", "app_control_clone", "app_control_set_operation",
		"app_control_get_operation", "app_control_set_uri", "app_control_get_uri", "app_control_set_mime",
		"app_control_get_mime", "app_control_set_app_id", "app_control_get_app_id", "app_control_get_caller",
		"app_control_is_reply_requested", "app_control_add_extra_data", "app_control_add_extra_data_array",
		"app_control_remove_extra_data", "app_control_get_extra_data", "app_control_get_extra_data_array",
		"app_control_is_extra_data_array", "app_control_foreach_extra_data", "app_control_send_launch_request",
		"app_control_reply_to_launch_request");

ZON_HOST_API int app_control_create(app_control_h *app_control)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	*app_control = new app_control_s;
	return APP_CONTROL_ERROR_NONE;
}

ZON_HOST_API int app_control_destroy(app_control_h app_control)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	delete app_control;
	return APP_CONTROL_ERROR_NONE;
}

ZON_HOST_API int app_control_clone(app_control_h *clone, app_control_h app_control)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!clone || !app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	*clone = app_control->clone();
	return APP_CONTROL_ERROR_NONE;
}

ZON_HOST_API int app_control_set_operation(app_control_h app_control, const char *operation)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setField(app_control, &app_control_s::operation, operation);
}

ZON_HOST_API int app_control_get_operation(app_control_h app_control, char **operation)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	return copyOut(app_control->operation, operation);
}

ZON_HOST_API int app_control_set_uri(app_control_h app_control, const char *uri)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setField(app_control, &app_control_s::uri, uri);
}

ZON_HOST_API int app_control_get_uri(app_control_h app_control, char **uri)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	return copyOut(app_control->uri, uri);
}

ZON_HOST_API int app_control_set_mime(app_control_h app_control, const char *mime)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setField(app_control, &app_control_s::mime, mime);
}

ZON_HOST_API int app_control_get_mime(app_control_h app_control, char **mime)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	return copyOut(app_control->mime, mime);
}

ZON_HOST_API int app_control_set_app_id(app_control_h app_control, const char *app_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setField(app_control, &app_control_s::appId, app_id);
}

ZON_HOST_API int app_control_get_app_id(app_control_h app_control, char **app_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	return copyOut(app_control->appId, app_id);
}

ZON_HOST_API int app_control_get_caller(app_control_h app_control, char **id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control || !id || app_control->requestId == 0)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	return copyOut(app_control->caller, id);
}

ZON_HOST_API int app_control_is_reply_requested(app_control_h app_control, bool *requested)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control || !requested || app_control->requestId == 0)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	*requested = app_control->replyRequested;
	return APP_CONTROL_ERROR_NONE;
}

ZON_HOST_API int app_control_add_extra_data(app_control_h app_control, const char *key, const char *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	int ret = checkKey(app_control, key);
	if (ret != APP_CONTROL_ERROR_NONE)
		return ret;
	if (!value)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	app_control->data->putStr(key, value);
	return APP_CONTROL_ERROR_NONE;
}

ZON_HOST_API int app_control_add_extra_data_array(app_control_h app_control, const char *key, const char *value[],
		int length)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	int ret = checkKey(app_control, key);
	if (ret != APP_CONTROL_ERROR_NONE)
		return ret;
	if (!value || length <= 0)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	std::vector<std::string> items;
	for (int i = 0; i < length; ++i) {
		if (!value[i])
			return APP_CONTROL_ERROR_INVALID_PARAMETER;
		items.emplace_back(value[i]);
	}
	auto entry = std::make_shared<keyval_t>();
	entry->key = key;
	entry->type = BUNDLE_TYPE_STR_ARRAY;
	entry->setItems(std::move(items));
	app_control->data->remove(key);
	app_control->data->add(std::move(entry));
	return APP_CONTROL_ERROR_NONE;
}

ZON_HOST_API int app_control_remove_extra_data(app_control_h app_control, const char *key)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	int ret = checkKey(app_control, key);
	if (ret != APP_CONTROL_ERROR_NONE)
		return ret;
	return app_control->data->remove(key) ? APP_CONTROL_ERROR_NONE : APP_CONTROL_ERROR_KEY_NOT_FOUND;
}

ZON_HOST_API int app_control_get_extra_data(app_control_h app_control, const char *key, char **value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!value)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	keyval_t *kv = nullptr;
	int ret = findExtra(app_control, key, &kv);
	if (ret != APP_CONTROL_ERROR_NONE)
		return ret;
	if (kv->type != BUNDLE_TYPE_STR)
		return APP_CONTROL_ERROR_INVALID_DATA_TYPE;
	*value = strdup(kv->value.c_str());
	return *value ? APP_CONTROL_ERROR_NONE : APP_CONTROL_ERROR_OUT_OF_MEMORY;
}

ZON_HOST_API int app_control_get_extra_data_array(app_control_h app_control, const char *key, char ***value,
		int *length)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!value || !length)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	keyval_t *kv = nullptr;
	int ret = findExtra(app_control, key, &kv);
	if (ret != APP_CONTROL_ERROR_NONE)
		return ret;
	if (kv->type != BUNDLE_TYPE_STR_ARRAY)
		return APP_CONTROL_ERROR_INVALID_DATA_TYPE;
	auto **array = static_cast<char **>(calloc(kv->items.size() + 1, sizeof(char *)));
	if (!array)
		return APP_CONTROL_ERROR_OUT_OF_MEMORY;
	for (size_t i = 0; i < kv->items.size(); ++i)
		array[i] = strdup(kv->items[i].c_str());
	*value = array;
	*length = (int)kv->items.size();
	return APP_CONTROL_ERROR_NONE;
}

ZON_HOST_API int app_control_is_extra_data_array(app_control_h app_control, const char *key, bool *array)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!array)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	keyval_t *kv = nullptr;
	int ret = findExtra(app_control, key, &kv);
	if (ret == APP_CONTROL_ERROR_NONE)
		*array = (kv->type & BUNDLE_TYPE_ARRAY) != 0;
	return ret;
}

ZON_HOST_API int app_control_foreach_extra_data(app_control_h app_control, app_control_extra_data_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control || !callback)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	// Keys copied first: the callback may remove the extra data it is shown.
	std::vector<std::string> keys;
	for (const auto &entry : app_control->data->entries)
		keys.push_back(entry->key);
	for (const std::string &key : keys) {
		if (!callback(app_control, key.c_str(), user_data))
			break;
	}
	return APP_CONTROL_ERROR_NONE;
}

ZON_HOST_API int app_control_send_launch_request(app_control_h app_control, app_control_reply_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	int ret = zonhost::launch(*app_control, zon_host_app_id(), callback, user_data, false);
	if (ret != APP_CONTROL_ERROR_NONE) {
		zonhost::platformLog(DLOG_ERROR, kTag, "launch request to %s failed (%d)",
				app_control->appId ? app_control->appId->c_str() : "(no app id)", ret);
	}
	return ret;
}

ZON_HOST_API int app_control_reply_to_launch_request(app_control_h reply, app_control_h request,
		app_control_result_e result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!reply || !request || request->requestId == 0 || result == APP_CONTROL_RESULT_APP_STARTED)
		return APP_CONTROL_ERROR_INVALID_PARAMETER;
	zonhost::reply(*reply, *request, result);
	return APP_CONTROL_ERROR_NONE;
}
