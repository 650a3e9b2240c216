/*
 * JsonFixture.h - fixture of the JSON suites.
 *
 * A fresh host per test (HostFixture), and every warning or critical of JSON-GLib and GLib
 * counted. JSON-GLib reports a misused reference (a count dropping below one, a node freed twice)
 * only with such a warning, from inside a library that AddressSanitizer does not instrument, so a
 * test fails on any it did not announce with expectJsonGlibWarnings().
 *
 * fetch() returns what a getter of either wrapper leaves in a variable that held `start`:
 *   EXPECT_EQ(-1, fetch(parser, &ZonJsonParser::getIntegerValue, "absent", -1));
 */
#ifndef ZON_TESTS_JSON_FIXTURE_H
#define ZON_TESTS_JSON_FIXTURE_H

#include <string>
#include <type_traits>
#include <vector>

#include <glib.h>

#include "HostFixture.h"

template <class Object, class Value>
Value fetch(Object& object, void (Object::*getter)(const std::string&, Value&), const std::string& name,
	std::common_type_t<Value> start = Value())
{
	(object.*getter)(name, start);
	return start;
}

class JsonFixture : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		const auto levels = static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING);
		for (const char* domain : {"Json", "GLib", "GLib-GObject"})
			handlers_.emplace_back(domain, g_log_set_handler(domain, levels, record, &warnings_));
	}

	void TearDown() override
	{
		for (const auto& handler : handlers_)
			g_log_remove_handler(handler.first, handler.second);
		EXPECT_EQ(expected_, warnings_.size()) << "JSON-GLib and GLib warned: " << testing::PrintToString(warnings_);
		HostFixture::TearDown();
	}

	void expectJsonGlibWarnings(size_t count) { expected_ = count; }

private:
	static void record(const gchar* domain, GLogLevelFlags, const gchar* message, gpointer warnings)
	{
		static_cast<std::vector<std::string>*>(warnings)->push_back(std::string(domain) + ": " + message);
	}

	std::vector<std::pair<const char*, guint>> handlers_;
	std::vector<std::string> warnings_;
	size_t expected_ = 0;
};

#endif /* ZON_TESTS_JSON_FIXTURE_H */
