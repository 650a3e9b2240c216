#define LOG_TAG "WAPP"

#include "ZonJsonObject.h"

#include "ZonCommonDefine.h"

ZonJsonObject::ZonJsonObject()
	: _jsonObject(nullptr)
{
}

ZonJsonObject::ZonJsonObject(const ZonJsonObject& other)
	: _jsonObject(other._jsonObject ? json_object_ref(other._jsonObject) : nullptr)
{
}

ZonJsonObject& ZonJsonObject::operator=(const ZonJsonObject& other)
{
	// The reference on the previous object is deliberately kept (leaked): code built on this
	// class may still use the old object through a pointer from getJsonObject(), and releasing it
	// here would free it under that code.
	if (this != &other)
		_jsonObject = other._jsonObject ? json_object_ref(other._jsonObject) : nullptr;
	return *this;
}

ZonJsonObject::~ZonJsonObject()
{
	if (_jsonObject)
		json_object_unref(_jsonObject);
}

void ZonJsonObject::setJsonObject(JsonObject* jsonObject)
{
	// Reference the new object before releasing the old one: when both are the same object and
	// this wrapper held its last reference, releasing first would free it under our feet.
	JsonObject* old = _jsonObject;
	_jsonObject = jsonObject ? json_object_ref(jsonObject) : nullptr;
	if (old)
		json_object_unref(old);
}

JsonObject* ZonJsonObject::getJsonObject()
{
	return _jsonObject;
}

bool ZonJsonObject::hasMember(const std::string& name)
{
	if (!_jsonObject)
		return false;
	return json_object_has_member(_jsonObject, name.c_str());
}

void ZonJsonObject::getStringValue(const std::string& name, std::string& value)
{
	if (!hasMember(name))
		return;
	// JSON-GLib answers null for a null or non-string member; a std::string cannot hold null.
	const char* text = json_object_get_string_member(_jsonObject, name.c_str());
	value = text ? text : "";
}

void ZonJsonObject::getIntegerValue(const std::string& name, int& value)
{
	if (!hasMember(name))
		return;
	value = static_cast<int>(json_object_get_int_member(_jsonObject, name.c_str()));
}

void ZonJsonObject::getBooleanValue(const std::string& name, bool& value)
{
	if (!hasMember(name))
		return;
	value = json_object_get_boolean_member(_jsonObject, name.c_str()) != FALSE;
}

void ZonJsonObject::getUnsignedLongLongValue(const std::string& name, unsigned long long& value)
{
	if (!hasMember(name))
		return;
	value = static_cast<unsigned long long>(json_object_get_int_member(_jsonObject, name.c_str()));
}

void ZonJsonObject::getObjectValue(const std::string& name, ZonJsonObject& value)
{
	if (!hasMember(name))
		return;
	value.setJsonObject(json_object_get_object_member(_jsonObject, name.c_str()));
}

void ZonJsonObject::getArrayObject(const std::string& name, std::list<ZonJsonObject>& value)
{
	if (!hasMember(name))
		return;

	JsonArray* array = json_object_get_array_member(_jsonObject, name.c_str());
	if (!array) {
		WERROR("json_object_get_array_member(%s) failed.", name.c_str());
		return;
	}

	guint length = json_array_get_length(array);
	for (guint i = 0; i < length; ++i) {
		ZonJsonObject element;
		element.setJsonObject(json_array_get_object_element(array, i));
		value.push_back(element);
	}
}

void ZonJsonObject::addStringMember(const std::string& name, const std::string& value)
{
	WASSERT(_jsonObject != nullptr);
	json_object_set_string_member(_jsonObject, name.c_str(), value.c_str());
}

void ZonJsonObject::addBooleanMember(const std::string& name, bool value)
{
	WASSERT(_jsonObject != nullptr);
	json_object_set_boolean_member(_jsonObject, name.c_str(), value ? TRUE : FALSE);
}

void ZonJsonObject::addIntegerMember(const std::string& name, int value)
{
	WASSERT(_jsonObject != nullptr);
	json_object_set_int_member(_jsonObject, name.c_str(), static_cast<gint64>(value));
}

void ZonJsonObject::addUnsignedLongLongMember(const std::string& name, unsigned long long value)
{
	WASSERT(_jsonObject != nullptr);
	// JSON-GLib has no unsigned integers; the bits go in unchanged and only a reader that reads
	// them back as unsigned sees the original value above INT64_MAX.
	json_object_set_int_member(_jsonObject, name.c_str(), static_cast<gint64>(value));
}

void ZonJsonObject::addObjectMember(const std::string& name, const ZonJsonObject& value)
{
	WASSERT(_jsonObject != nullptr);
	// The member takes over the reference taken here; an empty wrapper becomes a JSON null.
	JsonObject* member = value._jsonObject ? json_object_ref(value._jsonObject) : nullptr;
	json_object_set_object_member(_jsonObject, name.c_str(), member);
}

void ZonJsonObject::addArrayMember(const std::string& name, const std::list<ZonJsonObject>& value)
{
	WASSERT(_jsonObject != nullptr);
	JsonArray* array = json_array_new();
	for (const ZonJsonObject& element : value) {
		// The array takes over this reference; an empty wrapper becomes a JSON null element.
		JsonObject* object = element._jsonObject ? json_object_ref(element._jsonObject) : nullptr;
		json_array_add_object_element(array, object);
	}
	json_object_set_array_member(_jsonObject, name.c_str(), array);
}

void ZonJsonObject::removeMember(const std::string& name)
{
	if (!_jsonObject)
		return;
	json_object_remove_member(_jsonObject, name.c_str());
}

void ZonJsonObject::getJsonMessage(std::string& message)
{
	// JSON-GLib's generator dereferences the object of an object node unchecked.
	if (!_jsonObject)
		return;

	JsonGenerator* generator = json_generator_new();
	JsonNode* node = json_node_new(JSON_NODE_OBJECT);
	json_node_set_object(node, _jsonObject);
	json_generator_set_root(generator, node);

	gchar* text = json_generator_to_data(generator, nullptr);
	if (text) {
		message = text;
		g_free(text);
	}

	json_node_free(node);
	g_object_unref(generator);
}
