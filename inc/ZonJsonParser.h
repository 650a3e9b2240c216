/**
 * @class ZonJsonParser
 * ZonJsonParser.h - parses a JSON text and reads members of its root object.
 *
 * setJsonMessage() (and the message constructor) parse with JSON-GLib. A text JSON-GLib rejects is
 * logged with JSON-GLib's own error message and otherwise ignored: the parser keeps answering
 * from the last text it accepted, or, before any, as if every member were absent. A text that is
 * accepted but whose root is not an object (an array, a number, an empty text) also answers as
 * if every member were absent. A text whose arrays and objects nest deeper than 1000 levels is
 * refused the same way without being parsed ("JSON text nested deeper than 1000 levels is not
 * parsed." is logged): JSON-GLib's parser recurses per level and would exhaust the stack.
 *
 * The getters follow ZonJsonObject's rules: an absent member leaves the out-parameter as the
 * caller set it, and getIntegerValue() truncates 64-bit integers to int. There are no getters for
 * 64-bit, object or array members: for those, parse with JSON-GLib and wrap its root object in a
 * ZonJsonObject.
 *
 * Ownership and threading: the caller owns the parser; the parsed tree lives as long as the
 * parser or until the next accepted text. One thread (the main loop's).
 *
 * Example:
 * @code
 *   ZonJsonParser parser("{\"city\":\"Tokyo\",\"order\":3}");
 *   std::string city = "unknown";
 *   int order = 0;
 *   parser.getStringValue("city", city);   // "Tokyo"
 *   parser.getIntegerValue("order", order); // 3
 *   parser.setJsonMessage("{broken");      // logged; still answers "Tokyo" and 3
 * @endcode
 */
#ifndef ZON_JSON_PARSER_H
#define ZON_JSON_PARSER_H

#include <string>
#include <vector>

#include <json-glib/json-glib.h>

#include "ZonCityinfo.h"

class ZonJsonParser {
public:
	/// Answers every member as absent until setJsonMessage().
	ZonJsonParser();
	/// Parses `message` as setJsonMessage() does.
	ZonJsonParser(const std::string& message);
	/// A copy answers as the original does until either is given a new text.
	ZonJsonParser(const ZonJsonParser& other);
	/// Answers as `other` does from now on.
	ZonJsonParser& operator=(const ZonJsonParser& other);
	virtual ~ZonJsonParser();

	/// Parses `message`; a refused text is logged and the last accepted one stays.
	void setJsonMessage(const std::string& message);

	/// Reads the root object's member `name` into `value`; an absent member leaves `value` unchanged.
	///@{
	void getStringValue(const std::string& name, std::string& value);
	void getIntegerValue(const std::string& name, int& value);
	void getBooleanValue(const std::string& name, bool& value);
	///@}

private:
	void _prepare(const std::string& message);
	void _setRootNode(JsonNode* rootNode);
	/// The root object, or null when nothing usable was parsed.
	JsonObject* _rootObject();

	std::string _jsonMessage; ///< never written: the text is not kept
	JsonParser* _jsonParser;
	/// Root of the last accepted text; this parser holds its own reference on it.
	JsonNode* _jsonRootNode;
	std::vector<Cityinfo> _cityList; ///< never filled
};

#endif /* ZON_JSON_PARSER_H */
