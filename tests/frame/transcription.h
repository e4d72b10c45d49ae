// Reading the compact lists in which the frame tests transcribe the published
// catalogue: space-separated words, where "P{1..3}" stands for P1 P2 P3,
// "P{00..11}" keeps the width of its first number, and text after the braces
// is kept ("POFF{1..2}_No_Ethanol").
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace tarn::testing {

inline std::vector<std::string> expandList(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream in(text);
  std::string word;
  while (in >> word) {
    const auto open = word.find('{');
    if (open == std::string::npos) {
      words.push_back(word);
      continue;
    }
    const auto dots = word.find("..", open);
    const auto close = word.find('}', dots);
    const std::string first = word.substr(open + 1, dots - open - 1);
    const int from = std::stoi(first);
    const int to = std::stoi(word.substr(dots + 2, close - dots - 2));
    for (int n = from; n <= to; ++n) {
      std::string number = std::to_string(n);
      while (number.size() < first.size()) number.insert(0, "0");
      words.push_back(word.substr(0, open) + number + word.substr(close + 1));
    }
  }
  return words;
}

}  // namespace tarn::testing
