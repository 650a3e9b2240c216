/**
 * @class ZonJsonObject
 * ZonJsonObject.h - a JSON-GLib object with std::string keys and values.
 *
 * Wraps one JsonObject and holds one JSON-GLib reference on it; an empty wrapper (default
 * constructed) holds none and answers every query as if the member were absent.
 *
 * Getters never fail loudly: when the member is absent, the out-parameter keeps the value the
 * caller put there, so callers pre-set their defaults. A member of another type is read the way
 * JSON-GLib's typed accessors read it (a critical warning from JSON-GLib, then zero, false, an
 * empty string or an empty object). getIntegerValue() truncates the stored 64-bit integer to int
 * (2^32 + 5 reads as 5). addUnsignedLongLongMember() stores through the signed 64-bit setter, so a
 * value above INT64_MAX reads back negative to any reader that reads it as signed, and unchanged
 * through getUnsignedLongLongValue().
 *
 * Sharing: copies, getObjectValue(), getArrayObject(), addObjectMember() and addArrayMember() never
 * copy JSON data; both sides refer to the same JsonObject, so a change made through one is seen
 * through the other.
 *
 * Assignment takes a reference on the other's object and does NOT release the object held
 * before: the old object is leaked. Existing callers depend on that lifetime, so it stays; use
 * setJsonObject() to replace the object without leaking.
 *
 * Adders require a non-empty wrapper (asserted). Adding an existing name replaces that member.
 * getJsonMessage() writes the compact form: no spaces, no newlines.
 *
 * Ownership and threading: the caller owns the wrapper; JSON-GLib objects are not thread-safe,
 * so use a wrapper and every wrapper sharing its object on one thread (the main loop's).
 *
 * Example:
 * @code
 *   ZonJsonObject record;
 *   record.setJsonObject(obj);                  // obj: a JsonObject*, e.g. from json_object_new()
 *   record.addStringMember("city", "Tokyo");
 *   record.addIntegerMember("order", 3);
 *   int order = -1;
 *   record.getIntegerValue("order", order);     // 3; stays -1 if "order" were absent
 *   std::string text;
 *   record.getJsonMessage(text);                // {"city":"Tokyo","order":3}
 * @endcode
 */
#ifndef ZON_JSON_OBJECT_H
#define ZON_JSON_OBJECT_H

#include <list>
#include <string>

#include <json-glib/json-glib.h>

class ZonJsonObject {
public:
	ZonJsonObject();
	/// Shares `other`'s object, taking a reference.
	ZonJsonObject(const ZonJsonObject& other);
	/// Leaks the object held before; see the header comment.
	ZonJsonObject& operator=(const ZonJsonObject& other);
	virtual ~ZonJsonObject();

	/// Releases the current object and holds a reference on `jsonObject` (null empties the wrapper).
	void setJsonObject(JsonObject* jsonObject);
	/// No reference is taken: the pointer is valid while this wrapper holds it.
	JsonObject* getJsonObject();

	/// Whether the object has a member `name`; false for an empty wrapper.
	bool hasMember(const std::string& name);

	/// Reads the member `name` into `value`; an absent member leaves `value` unchanged.
	///@{
	void getStringValue(const std::string& name, std::string& value);
	void getIntegerValue(const std::string& name, int& value);
	void getBooleanValue(const std::string& name, bool& value);
	void getUnsignedLongLongValue(const std::string& name, unsigned long long& value);
	///@}
	/// `value` then shares the member object.
	void getObjectValue(const std::string& name, ZonJsonObject& value);
	/// Appends one wrapper per array element, in array order, to what `value` already holds.
	void getArrayObject(const std::string& name, std::list<ZonJsonObject>& value);

	/// Adds the member `name`, replacing one of that name. Asserts a non-empty wrapper.
	///@{
	void addStringMember(const std::string& name, const std::string& value);
	void addBooleanMember(const std::string& name, bool value);
	void addIntegerMember(const std::string& name, int value);
	void addUnsignedLongLongMember(const std::string& name, unsigned long long value);
	///@}
	/// The member shares `value`'s object.
	void addObjectMember(const std::string& name, const ZonJsonObject& value);
	/// The array's elements share the objects of the list; an empty list gives an empty array.
	void addArrayMember(const std::string& name, const std::list<ZonJsonObject>& value);

	/// Removes the member `name`, if any.
	void removeMember(const std::string& name);

	/// Leaves `message` unchanged when nothing could be generated (an empty wrapper).
	void getJsonMessage(std::string& message);

private:
	JsonObject* _jsonObject;
};

#endif /* ZON_JSON_OBJECT_H */
