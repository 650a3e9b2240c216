/*
 * JsonFixture.h - fixture of the JSON suites.
 *
 * A fresh host per test (HostFixture), and every warning or critical of JSON-GLib and GLib
 * counted. JSON-GLib reports a misused reference (a count dropping below one, a node freed twice)
 * only with such a warning, from inside a library that AddressSanitizer does not instrument, so a
 * test fails on any it did not announce with expectJsonGlibWarnings().
 */
#ifndef ZON_TESTS_JSON_FIXTURE_H
#define ZON_TESTS_JSON_FIXTURE_H

#include <string>
#include <vector>

#include <glib.h>

#include "HostFixture.h"

class JsonFixture : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		for (const char* domain : {"Json", "GLib", "GLib-GObject"}) {
			guint id = g_log_set_handler(domain,
				static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING), record, &warnings_);
			handlers_.emplace_back(domain, id);
		}
	}

	void TearDown() override
	{
		for (const auto& handler : handlers_)
			g_log_remove_handler(handler.first, handler.second);
		handlers_.clear();
		std::string all;
		for (const std::string& warning : warnings_)
			all += "\n  " + warning;
		EXPECT_EQ(expected_, warnings_.size()) << "JSON-GLib and GLib warned:" << all;
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
