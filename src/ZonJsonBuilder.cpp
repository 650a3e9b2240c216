#define LOG_TAG "WAPP"

#include "ZonJsonBuilder.h"

#include "ZonCommonDefine.h"

namespace {

// A root node of the object kind holding `object`; the node takes its own reference.
JsonNode* newObjectNode(JsonObject* object)
{
	JsonNode* node = json_node_new(JSON_NODE_OBJECT);
	json_node_set_object(node, object);
	return node;
}

}

ZonJsonBuilder::ZonJsonBuilder()
	: _jsonNode(json_node_new(JSON_NODE_OBJECT))
{
	JsonObject* object = json_object_new();
	json_node_set_object(_jsonNode, object);
	_jsonObject.setJsonObject(object);
	json_object_unref(object);
}

// Copies share the object, as ZonJsonObject copies do, but each has its own node: the node is
// freed by its builder.
ZonJsonBuilder::ZonJsonBuilder(const ZonJsonBuilder& other)
	: _jsonNode(newObjectNode(json_node_get_object(other._jsonNode)))
	, _jsonObject(other._jsonObject)
{
}

ZonJsonBuilder& ZonJsonBuilder::operator=(const ZonJsonBuilder& other)
{
	if (this == &other)
		return *this;
	JsonObject* object = json_node_get_object(other._jsonNode);
	JsonNode* node = newObjectNode(object);
	json_node_free(_jsonNode);
	_jsonNode = node;
	// Not ZonJsonObject's assignment, which would leak the object this builder held.
	_jsonObject.setJsonObject(object);
	return *this;
}

ZonJsonBuilder::~ZonJsonBuilder()
{
	json_node_free(_jsonNode);
}

void ZonJsonBuilder::addStringMember(const std::string& name, const std::string& value)
{
	_jsonObject.addStringMember(name, value);
}

void ZonJsonBuilder::addBooleanMember(const std::string& name, bool value)
{
	_jsonObject.addBooleanMember(name, value);
}

void ZonJsonBuilder::addIntegerMember(const std::string& name, int value)
{
	_jsonObject.addIntegerMember(name, value);
}

void ZonJsonBuilder::addUnsignedLongLongMember(const std::string& name, unsigned long long value)
{
	_jsonObject.addUnsignedLongLongMember(name, value);
}

void ZonJsonBuilder::getJsonMessage(std::string& message)
{
	_jsonObject.getJsonMessage(message);
}
