#include "table.h"

#include <algorithm>

namespace tarncli {
namespace {

// Characters on screen: UTF-8 continuation bytes take no column.
std::size_t width(const std::string& text) {
  std::size_t n = 0;
  for (unsigned char c : text) n += (c & 0xC0) != 0x80;
  return n;
}

}  // namespace

Table::Table(std::vector<std::string> headers) {
  for (std::string& h : headers) {
    const bool right = !h.empty() && h[0] == '>';
    right_.push_back(right);
    headers_.push_back(right ? h.substr(1) : h);
  }
}

void Table::add(std::vector<std::string> row) {
  row.resize(headers_.size());
  rows_.push_back(std::move(row));
}

std::string Table::render(int indent) const {
  std::vector<std::size_t> widths;
  for (const std::string& h : headers_) widths.push_back(width(h));
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width(row[i]));
  }
  auto line = [&](const std::vector<std::string>& cells) {
    std::string out(static_cast<std::size_t>(indent), ' ');
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const std::string pad(widths[i] - width(cells[i]), ' ');
      const bool last = i + 1 == cells.size();
      out += right_[i] ? pad + cells[i] : (last ? cells[i] : cells[i] + pad);
      if (!last) out += "  ";
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
    return out + "\n";
  };
  std::string out = line(headers_);
  std::vector<std::string> rule;
  for (std::size_t w : widths) rule.emplace_back(w, '-');
  out += line(rule);
  for (const auto& row : rows_) out += line(row);
  return out;
}

}  // namespace tarncli
