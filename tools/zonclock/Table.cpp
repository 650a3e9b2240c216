#include "Table.h"

#include <algorithm>

#include <cstdlib>

#include <glib.h>
#include <sys/ioctl.h>
#include <unistd.h>

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

size_t Table::outputWidth(FILE* out)
{
	struct winsize size;
	if (isatty(fileno(out)) && ioctl(fileno(out), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
		return size.ws_col;
	const char* columns = getenv("COLUMNS");
	long value = columns ? strtol(columns, nullptr, 10) : 0;
	return value > 0 ? static_cast<size_t>(value) : 0;
}

std::string Table::fit(const std::string& text, size_t width)
{
	if (displayWidth(text) <= width)
		return text;
	std::string kept;
	size_t used = 0;
	for (const char* p = text.c_str(); *p; p = g_utf8_next_char(p)) {
		const char* next = g_utf8_next_char(p);
		std::string character(p, next - p);
		size_t more = displayWidth(character);
		if (used + more + 1 > width)
			break;
		kept += character;
		used += more;
	}
	return kept + "\u2026";
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
	// Narrowest loss first: the widest column gives up a column at a time, down to a few
	// characters, so that short columns (ids, times) stay whole.
	if (size_t limit = outputWidth(out)) {
		const size_t kNarrowest = 4;
		for (;;) {
			size_t total = 2 * (widths.size() - 1);
			for (size_t width : widths)
				total += width;
			auto widest = std::max_element(widths.begin(), widths.end());
			if (total <= limit || *widest <= kNarrowest)
				break;
			--*widest;
		}
	}

	auto printLine = [&](const std::vector<std::string>& row) {
		std::string line;
		for (size_t i = 0; i < row.size(); ++i) {
			std::string cell = fit(row[i], widths[i]);
			bool last = i + 1 == row.size();
			std::string pad(widths[i] - displayWidth(cell), ' ');
			if (i > 0)
				line += "  ";
			if (_columns[i].align == Right)
				line += pad + cell;
			else
				line += last ? cell : cell + pad;
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
