#define LOG_TAG "WAPP"

#include "ZonJsonParser.h"

#include "ZonCommonDefine.h"
#include "ZonJsonObject.h"

namespace {

// JSON-GLib's parser recurses once per level of nesting and has no limit of its own: a text of a
// few hundred kilobytes of brackets exhausts the stack and kills the application. Our messages
// are flat; deeper texts are refused before JSON-GLib sees them.
const int kMaxNestingDepth = 1000;

// Whether arrays and objects nest deeper than `limit`, skipping what JSON-GLib's scanner takes
// for strings and comments: "..." with backslash escapes, '...' read literally, and /* ... */.
bool nestsDeeperThan(const std::string& text, int limit)
{
	int depth = 0;
	const size_t size = text.size();
	for (size_t i = 0; i < size; ++i) {
		switch (text[i]) {
		case '[':
		case '{':
			if (++depth > limit)
				return true;
			break;
		case ']':
		case '}':
			if (depth > 0)
				--depth;
			break;
		case '"':
			for (++i; i < size && text[i] != '"'; ++i) {
				if (text[i] == '\\')
					++i;
			}
			break;
		case '\'':
			for (++i; i < size && text[i] != '\''; ++i) {
			}
			break;
		case '/':
			if (i + 1 < size && text[i + 1] == '*') {
				size_t end = text.find("*/", i + 2);
				i = end == std::string::npos ? size : end + 1;
			}
			break;
		default:
			break;
		}
	}
	return false;
}

}

ZonJsonParser::ZonJsonParser()
	: _jsonParser(json_parser_new())
	, _jsonRootNode(nullptr)
{
}

ZonJsonParser::ZonJsonParser(const std::string& message)
	: _jsonParser(json_parser_new())
	, _jsonRootNode(nullptr)
{
	_prepare(message);
}

// Nothing ever changes a parsed tree, so a copy may share it; it gets a parser of its own for the
// texts it is given later.
ZonJsonParser::ZonJsonParser(const ZonJsonParser& other)
	: _jsonMessage(other._jsonMessage)
	, _jsonParser(json_parser_new())
	, _jsonRootNode(nullptr)
	, _cityList(other._cityList)
{
	_setRootNode(other._jsonRootNode);
}

ZonJsonParser& ZonJsonParser::operator=(const ZonJsonParser& other)
{
	if (this != &other) {
		_jsonMessage = other._jsonMessage;
		_cityList = other._cityList;
		_setRootNode(other._jsonRootNode);
	}
	return *this;
}

ZonJsonParser::~ZonJsonParser()
{
	_setRootNode(nullptr);
	g_object_unref(_jsonParser);
}

void ZonJsonParser::setJsonMessage(const std::string& message)
{
	_prepare(message);
}

void ZonJsonParser::_prepare(const std::string& message)
{
	if (nestsDeeperThan(message, kMaxNestingDepth)) {
		WERROR("JSON text nested deeper than %d levels is not parsed.", kMaxNestingDepth);
		return;
	}

	GError* error = nullptr;
	if (json_parser_load_from_data(_jsonParser, message.data(), static_cast<gssize>(message.size()), &error)) {
		_setRootNode(json_parser_get_root(_jsonParser));
		return;
	}
	WERROR("%s", error ? error->message : "");
	if (error)
		g_error_free(error);
}

void ZonJsonParser::_setRootNode(JsonNode* rootNode)
{
	// JSON-GLib frees its root at the start of every load, a failed one included, so the tree of
	// the last accepted text survives a rejected one only through a reference of our own.
	JsonNode* old = _jsonRootNode;
	_jsonRootNode = rootNode ? json_node_ref(rootNode) : nullptr;
	if (old)
		json_node_unref(old);
}

JsonObject* ZonJsonParser::_rootObject()
{
	if (!_jsonRootNode || !JSON_NODE_HOLDS_OBJECT(_jsonRootNode))
		return nullptr;
	return json_node_get_object(_jsonRootNode);
}

void ZonJsonParser::getStringValue(const std::string& name, std::string& value)
{
	ZonJsonObject root;
	root.setJsonObject(_rootObject());
	root.getStringValue(name, value);
}

void ZonJsonParser::getIntegerValue(const std::string& name, int& value)
{
	ZonJsonObject root;
	root.setJsonObject(_rootObject());
	root.getIntegerValue(name, value);
}

void ZonJsonParser::getBooleanValue(const std::string& name, bool& value)
{
	ZonJsonObject root;
	root.setJsonObject(_rootObject());
	root.getBooleanValue(name, value);
}
