/*
 * TableTool.h - what the data-table generators under tools/ share: failing loudly with the
 * tool's name, file:line positions, tab-separated cells, and replacing an output file whole.
 */
#ifndef ZON_TOOLS_TABLE_TOOL_H
#define ZON_TOOLS_TABLE_TOOL_H

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace table_tool {

[[noreturn]] inline void fail(const char* tool, const std::string& message)
{
	std::cerr << tool << ": " << message << "\n";
	std::exit(EXIT_FAILURE);
}

inline std::string where(const std::string& path, int line)
{
	return path + ":" + std::to_string(line) + ": ";
}

inline std::vector<std::string> splitTabs(const std::string& line)
{
	std::vector<std::string> cells;
	size_t start = 0;
	for (;;) {
		size_t tab = line.find('\t', start);
		cells.push_back(line.substr(start, tab == std::string::npos ? std::string::npos : tab - start));
		if (tab == std::string::npos)
			return cells;
		start = tab + 1;
	}
}

// Calls row(at, lineNumber, cells) for every line of the table that is not a '#' comment, where
// `at` is the "path:line: " prefix for messages. Empty lines and CR line ends are refused.
template <typename Row>
void forEachRow(const char* tool, const std::string& path, Row row)
{
	std::ifstream in(path, std::ios::binary);
	if (!in)
		fail(tool, "cannot open " + path);
	std::string line;
	int lineNo = 0;
	while (std::getline(in, line)) {
		++lineNo;
		if (!line.empty() && line[0] == '#')
			continue;
		const std::string at = where(path, lineNo);
		if (line.empty())
			fail(tool, at + "empty line (only '#' comment lines may stand between rows)");
		if (line.find('\r') != std::string::npos)
			fail(tool, at + "carriage return: save the file with LF line ends");
		row(at, lineNo, splitTabs(line));
	}
	if (in.bad())
		fail(tool, "error reading " + path);
}

// Written beside the target and renamed over it, so a failed write leaves the old file whole.
inline void writeFile(const char* tool, const std::string& path, const std::string& text)
{
	const std::string temporary = path + ".tmp";
	{
		std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
		if (!out)
			fail(tool, "cannot create " + temporary);
		out << text;
		out.close();
		if (!out) {
			std::remove(temporary.c_str());
			fail(tool, "error writing " + temporary);
		}
	}
	if (std::rename(temporary.c_str(), path.c_str()) != 0) {
		std::remove(temporary.c_str());
		fail(tool, "cannot replace " + path);
	}
}

} // namespace table_tool

#endif // ZON_TOOLS_TABLE_TOOL_H
