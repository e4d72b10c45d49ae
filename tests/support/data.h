// The tables of tests/data: CSV with # comments and a header; the last column takes the rest of its line.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tarn::testing {

inline std::vector<std::vector<std::string>> dataTable(const std::string& name, int columns) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream file(std::string(TARN_TEST_DATA) + "/" + name);
  std::string line;
  while (std::getline(file, line) && line.rfind('#', 0) == 0) {
  }
  while (std::getline(file, line)) {
    std::istringstream in(line);
    std::vector<std::string> cells(static_cast<std::size_t>(columns));
    for (int c = 0; c + 1 < columns; ++c) std::getline(in, cells[c], ',');
    std::getline(in, cells.back());
    rows.push_back(cells);
  }
  return rows;
}

}  // namespace tarn::testing
