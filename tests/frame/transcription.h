// The compact published-catalogue lists: "P{1..3}" is P1 P2 P3, "P{00..11}" keeps widths, suffixes kept.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace tarn::testing {

inline std::vector<std::string> expandList(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream in(text);
  for (std::string word; in >> word;) {
    const auto open = word.find('{'), dots = word.find(".."), close = word.find('}');
    if (open == std::string::npos) {
      words.push_back(word);
      continue;
    }
    const std::string first = word.substr(open + 1, dots - open - 1);
    for (int n = std::stoi(first); n <= std::stoi(word.substr(dots + 2, close - dots - 2)); ++n) {
      const std::string number = std::to_string(n);
      const std::string padding(first.size() > number.size() ? first.size() - number.size() : 0, '0');
      words.push_back(word.substr(0, open) + padding + number + word.substr(close + 1));
    }
  }
  return words;
}

}  // namespace tarn::testing
