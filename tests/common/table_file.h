#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace velmora::test {

/// The cells of one row.
using Row = std::vector<std::string>;

/// The rows of a table of tests/data/tables: a line "[name]" begins a table, each other line is a
/// row of cells with | between them, in which \xNN stands for an octet. Lines that begin with # are
/// comments.
inline std::vector<Row> tableOf(const std::string& file, const std::string& name) {
  std::ifstream in(VELMORA_SOURCE_DIR "/tests/data/tables/" + file + ".txt");
  std::vector<Row> rows;
  bool isHere = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with('[')) isHere = line == '[' + name + ']';
    if (!isHere || line.empty() || line[0] == '[' || line[0] == '#') continue;
    Row& row = rows.emplace_back(1);
    for (size_t at = 0; at < line.size(); ++at) {
      const bool isOctet = line.compare(at, 2, "\\x") == 0;
      if (line[at] == '|') {
        row.emplace_back();
      } else {
        row.back() +=
            isOctet ? static_cast<char>(std::stoi(line.substr(at + 2, 2), nullptr, 16)) : line[at];
      }
      if (isOctet) at += 3;
    }
  }
  EXPECT_FALSE(rows.empty()) << "no table " << name << " in " << file;
  return rows;
}

}  // namespace velmora::test
