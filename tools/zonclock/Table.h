/*
 * Table.h - plain aligned text tables for zonclock's output.
 *
 * Columns are separated by two blanks and padded by display width, not bytes, so translated
 * names in other scripts (wide CJK characters, combining marks) still line up in a terminal.
 * The last column is never padded, so lines carry no trailing blanks. On a terminal (or with
 * COLUMNS set) a table wider than the screen has its widest cells cut, marked with "\u2026"; a
 * table written to a pipe or a file is never cut. Tables carry no colour.
 *
 *   Table table({{"Id", Table::Right}, {"City"}});
 *   table.addRow({"283", "St. John's"});
 *   table.print(stdout);
 */
#ifndef ZONCLOCK_TABLE_H
#define ZONCLOCK_TABLE_H

#include <cstdio>
#include <string>
#include <vector>

namespace zonclock {

class Table {
public:
	enum Align { Left, Right };
	struct Column {
		std::string title;
		Align align = Left;
	};

	explicit Table(std::vector<Column> columns);

	// Missing cells print empty; extra cells are dropped.
	void addRow(std::vector<std::string> cells);
	size_t rowCount() const { return _rows.size(); }
	void print(FILE* out) const;

	// Terminal columns that a UTF-8 text occupies. Bytes that are not valid UTF-8 count one each.
	static size_t displayWidth(const std::string& text);
	// Columns of the terminal `out` is, else $COLUMNS; 0 for no limit.
	static size_t outputWidth(FILE* out);
	// text cut to width display columns, "\u2026" marking the cut.
	static std::string fit(const std::string& text, size_t width);

private:
	std::vector<Column> _columns;
	std::vector<std::vector<std::string>> _rows;
};

} // namespace zonclock

#endif /* ZONCLOCK_TABLE_H */
