// Aligned text tables for the terminal.
#pragma once

#include <string>
#include <vector>

namespace tarncli {

class Table {
 public:
  // Column headers; a header starting with '>' is right-aligned (the '>' is
  // not printed).
  explicit Table(std::vector<std::string> headers);
  void add(std::vector<std::string> row);
  // The table with a rule under the headers, each line indented by `indent`.
  std::string render(int indent = 0) const;

 private:
  std::vector<std::string> headers_;
  std::vector<bool> right_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace tarncli
