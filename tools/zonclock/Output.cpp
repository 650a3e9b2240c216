#include "Output.h"

#include <memory>

#include <glib.h>
#include <json-glib/json-glib.h>

#include "Texts.h"
#include "WeatherText.h"

namespace zonclock {

const Option kFormatOption = {"--format", "FORMAT", "text (default), json or tsv: data for scripts, see 'zonclock --help'"};

bool formatNamed(const std::string& name, Format& format)
{
	static const std::pair<const char*, Format> kNames[] = {
		{"text", Format::Text}, {"json", Format::Json}, {"tsv", Format::Tsv}};
	for (const auto& [known, value] : kNames) {
		if (name == known) {
			format = value;
			return true;
		}
	}
	return false;
}

Value Value::text(std::string text)
{
	return Value(Text, std::move(text), 0);
}

Value Value::number(int64_t number)
{
	return Value(Number, std::to_string(number), number);
}

Value Value::flag(bool flag)
{
	return Value(Flag, flag ? "true" : "false", flag);
}

Value Value::none()
{
	return Value(None, "", 0);
}

Value Value::textOrNone(const std::string& text)
{
	return text.empty() ? none() : Value::text(text);
}

std::string Value::display() const
{
	return _kind == None ? std::string(kNone) : _text;
}

Records::Records(std::vector<Field> fields)
	: _fields(std::move(fields))
{
}

void Records::add(std::vector<Value> row)
{
	row.resize(_fields.size());
	_rows.push_back(std::move(row));
}

void Records::printTable(FILE* out) const
{
	std::vector<Table::Column> columns;
	for (const Field& field : _fields) {
		if (field.title)
			columns.push_back({field.title, field.align});
	}
	Table table(columns);
	for (const auto& row : _rows) {
		std::vector<std::string> cells;
		for (size_t i = 0; i < _fields.size(); ++i) {
			if (_fields[i].title)
				cells.push_back(row[i].display());
		}
		table.addRow(cells);
	}
	table.print(out);
}

std::string plainText(const std::string& text)
{
	std::string plain;
	if (!g_utf8_validate(text.c_str(), text.size(), nullptr))
		return text;
	for (const char* p = text.c_str(); *p; p = g_utf8_next_char(p)) {
		gunichar c = g_utf8_get_char(p);
		int digit = g_unichar_digit_value(c);
		if (c < 0x80 && c >= 0x20)
			plain += static_cast<char>(c);
		else if (digit >= 0)
			plain += static_cast<char>('0' + digit);
		else if (g_unichar_isspace(c) || g_unichar_type(c) == G_UNICODE_SPACE_SEPARATOR)
			plain += ' ';
		else if (g_unichar_type(c) != G_UNICODE_FORMAT && g_unichar_type(c) != G_UNICODE_CONTROL)
			plain.append(p, g_utf8_next_char(p) - p);
	}
	return plain;
}

void Records::printTsv(FILE* out) const
{
	std::string line;
	bool first = true;
	for (const Field& field : _fields) {
		if (field.key)
			line += (first ? "" : "\t") + std::string(field.key);
		first = first && !field.key;
	}
	fprintf(out, "%s\n", line.c_str());
	for (const auto& row : _rows) {
		line.clear();
		first = true;
		for (size_t i = 0; i < row.size(); ++i) {
			if (_fields[i].key)
				line += (first ? "" : "\t") + plainText(row[i].string());
			first = first && !_fields[i].key;
		}
		fprintf(out, "%s\n", line.c_str());
	}
}

namespace {

void addRow(JsonBuilder* builder, const Records& records, const std::vector<Value>& row)
{
	json_builder_begin_object(builder);
	for (size_t i = 0; i < row.size(); ++i) {
		if (!records.fields()[i].key)
			continue;
		json_builder_set_member_name(builder, records.fields()[i].key);
		switch (row[i].kind()) {
		case Value::Text:
			json_builder_add_string_value(builder, row[i].string().c_str());
			break;
		case Value::Number:
			json_builder_add_int_value(builder, row[i].integer());
			break;
		case Value::Flag:
			json_builder_add_boolean_value(builder, row[i].integer() != 0);
			break;
		case Value::None:
			json_builder_add_null_value(builder);
			break;
		}
	}
	json_builder_end_object(builder);
}

} // namespace

void printData(Format format, FILE* out, const char* key, const Records& rows, const std::vector<Section>& sections)
{
	if (format == Format::Tsv) {
		rows.printTsv(out);
		return;
	}
	std::unique_ptr<JsonBuilder, decltype(&g_object_unref)> builder(json_builder_new(), g_object_unref);
	json_builder_begin_object(builder.get());
	for (const auto& [name, section] : sections) {
		if (section->size() == 0)
			continue;
		json_builder_set_member_name(builder.get(), name);
		addRow(builder.get(), *section, section->rows().front());
	}
	json_builder_set_member_name(builder.get(), key);
	json_builder_begin_array(builder.get());
	for (const auto& row : rows.rows())
		addRow(builder.get(), rows, row);
	json_builder_end_array(builder.get());
	json_builder_end_object(builder.get());

	JsonNode* root = json_builder_get_root(builder.get());
	JsonGenerator* generator = json_generator_new();
	json_generator_set_root(generator, root);
	json_generator_set_pretty(generator, TRUE);
	gchar* text = json_generator_to_data(generator, nullptr);
	fprintf(out, "%s\n", text);
	g_free(text);
	g_object_unref(generator);
	json_node_unref(root);
}

void emit(Format format, FILE* out, const char* key, const Records& rows)
{
	if (format == Format::Text)
		rows.printTable(out);
	else
		printData(format, out, key, rows);
}

} // namespace zonclock
