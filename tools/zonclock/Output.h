/*
 * Output.h - one set of rows, printed for a person or for a script.
 *
 * A data command builds Records once: each field has a stable key (JSON member, TSV column) and,
 * when a person sees it, a title (a column of the text table). --format picks the form:
 *
 *   text  the aligned table of the titled fields; a missing value shows "\u2014".
 *   json  one object written by JSON-GLib's generator: {"<key>": [ {field: value, ...}, ... ]},
 *         beside it the single-row sections the command adds (the device, for the clock).
 *         A missing value is null; numbers and booleans are JSON numbers and booleans.
 *   tsv   a header line of keys, then one line per row, fields split by tabs. Texts are
 *         flattened to plain ASCII digits and spaces (U+202F, no-break spaces and the region's
 *         digits included, direction marks dropped); a missing value is an empty field.
 *
 * Keys never change with the language; instants are ISO 8601 with their offset
 * ("2026-03-29T01:00:00+01:00"), offsets both in seconds and as "+09:00" (ZoneRules.h).
 */
#ifndef ZONCLOCK_OUTPUT_H
#define ZONCLOCK_OUTPUT_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "Command.h"
#include "Table.h"

namespace zonclock {

// The --format option of a data command.
extern const Option kFormatOption;
// "json" -> Format::Json; false for a name that is no format.
bool formatNamed(const std::string& name, Format& format);

class Value {
public:
	Value() = default;  // none
	static Value text(std::string text);
	static Value number(int64_t number);
	static Value flag(bool flag);
	static Value none();
	// An empty text is a missing value.
	static Value textOrNone(const std::string& text);

	enum Kind { Text, Number, Flag, None };
	Kind kind() const { return _kind; }
	// As a person reads it: "\u2014" for none.
	std::string display() const;
	const std::string& string() const { return _text; }
	int64_t integer() const { return _number; }

private:
	Value(Kind kind, std::string text, int64_t number) : _kind(kind), _text(std::move(text)), _number(number) {}

	Kind _kind = None;
	std::string _text;
	int64_t _number = 0;
};

struct Field {
	const char* key;            // JSON member and TSV column, never translated; nullptr: text only
	const char* title;          // column title of the text table (tr()-ed); nullptr: data only
	Table::Align align = Table::Left;
};

class Records {
public:
	explicit Records(std::vector<Field> fields);
	// Missing values at the end are none.
	void add(std::vector<Value> row);
	size_t size() const { return _rows.size(); }
	const std::vector<Field>& fields() const { return _fields; }
	const std::vector<std::vector<Value>>& rows() const { return _rows; }

	void printTable(FILE* out) const;
	void printTsv(FILE* out) const;

private:
	std::vector<Field> _fields;
	std::vector<std::vector<Value>> _rows;
};

// A single-row section of the JSON object: {"device": {...}}.
using Section = std::pair<const char*, const Records*>;

// rows in the format: the text table, or as printData() writes them.
void emit(Format format, FILE* out, const char* key, const Records& rows);
// JSON or TSV of rows (key: the member holding them); text is the caller's to print.
void printData(Format format, FILE* out, const char* key, const Records& rows,
	const std::vector<Section>& sections = {});

// text with ASCII digits and plain spaces, the way the TSV writes it.
std::string plainText(const std::string& text);

} // namespace zonclock

#endif /* ZONCLOCK_OUTPUT_H */
