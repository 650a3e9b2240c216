#include "Table.h"

#include <algorithm>

#include <glib.h>

namespace zonclock {

Table::Table(std::vector<Column> columns)
	: _columns(std::move(columns))
{
}

void Table::addRow(std::vector<std::string> cells)
{
	cells.resize(_columns.size());
	_rows.push_back(std::move(cells));
}

size_t Table::displayWidth(const std::string& text)
{
	size_t width = 0;
	const char* p = text.c_str();
	const char* end = p + text.size();
	while (p < end) {
		gunichar c = g_utf8_get_char_validated(p, end - p);
		if (c == static_cast<gunichar>(-1) || c == static_cast<gunichar>(-2)) {
			++width;
			++p;
			continue;
		}
		if (g_unichar_iszerowidth(c))
			;
		else if (g_unichar_iswide(c))
			width += 2;
		else
			width += 1;
		p = g_utf8_next_char(p);
	}
	return width;
}

void Table::print(FILE* out) const
{
	std::vector<size_t> widths;
	for (const Column& column : _columns)
		widths.push_back(displayWidth(column.title));
	for (const auto& row : _rows) {
		for (size_t i = 0; i < row.size(); ++i)
			widths[i] = std::max(widths[i], displayWidth(row[i]));
	}

	auto printLine = [&](const std::vector<std::string>& cells) {
		std::string line;
		for (size_t i = 0; i < cells.size(); ++i) {
			bool last = i + 1 == cells.size();
			std::string pad(widths[i] - displayWidth(cells[i]), ' ');
			if (i > 0)
				line += "  ";
			if (_columns[i].align == Right)
				line += pad + cells[i];
			else
				line += last ? cells[i] : cells[i] + pad;
		}
		// Empty cells at the end of a row would otherwise leave blanks at the end of the line.
		line.erase(line.find_last_not_of(' ') + 1);
		fprintf(out, "%s\n", line.c_str());
	};

	std::vector<std::string> titles;
	std::vector<std::string> rules;
	for (size_t i = 0; i < _columns.size(); ++i) {
		titles.push_back(_columns[i].title);
		rules.push_back(std::string(widths[i], '-'));
	}
	printLine(titles);
	printLine(rules);
	for (const auto& row : _rows)
		printLine(row);
}

} // namespace zonclock
