/**
 * @class ZonJsonBuilder
 * ZonJsonBuilder.h - composes a flat JSON object and writes it as compact text.
 *
 * A builder starts with an empty object under its own root node; the adders put members into it
 * (an existing name is replaced) and getJsonMessage() writes it without spaces or newlines. A
 * builder with no members writes "{}". For nested members, wrap a JsonObject in a ZonJsonObject
 * and use its adders instead.
 *
 * Values are stored as ZonJsonObject stores them: int and unsigned long long both go in as
 * 64-bit signed integers, so 2^64 - 1 is written as -1.
 *
 * Copies share the object: a member added through a copy is written by the original too.
 *
 * Ownership and threading: the caller owns the builder, the builder owns its node and object.
 * One thread (the main loop's), like every JSON-GLib object.
 *
 * Example:
 * @code
 *   ZonJsonBuilder builder;
 *   builder.addStringMember("key", "city_1");
 *   builder.addBooleanMember("external", false);
 *   std::string text;
 *   builder.getJsonMessage(text);          // {"key":"city_1","external":false}
 * @endcode
 */
#ifndef ZON_JSON_BUILDER_H
#define ZON_JSON_BUILDER_H

#include <string>

#include <json-glib/json-glib.h>

#include "ZonJsonObject.h"

class ZonJsonBuilder {
public:
	/// Starts with an empty object.
	ZonJsonBuilder();
	/// Shares `other`'s object: members added through either are written by both.
	ZonJsonBuilder(const ZonJsonBuilder& other);
	/// Shares `other`'s object from now on.
	ZonJsonBuilder& operator=(const ZonJsonBuilder& other);
	virtual ~ZonJsonBuilder();

	/// Adds the member `name`, replacing one of that name.
	///@{
	void addStringMember(const std::string& name, const std::string& value);
	void addBooleanMember(const std::string& name, bool value);
	void addIntegerMember(const std::string& name, int value);
	void addUnsignedLongLongMember(const std::string& name, unsigned long long value);
	///@}

	/// The object as compact text, "{}" without members.
	void getJsonMessage(std::string& message);

private:
	JsonNode* _jsonNode;
	ZonJsonObject _jsonObject;
};

#endif /* ZON_JSON_BUILDER_H */
