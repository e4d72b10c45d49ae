// The catalogue's reference rows (catalogue_rows.csv): realistic inputs and worked values with sources.
#pragma once

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "support/data.h"
#include "tarn/tarn.h"

namespace tarn::testing {

struct CatalogueRow {
  int index = 0;
  char unit = '-';       // 'F', 'C' (every CORF set to 0) or '-' (no unit flag)
  std::string settings;  // coefficients of the row, "NAME=value ..."
  std::vector<double> inputs;
  std::vector<double> expected;  // NaN where not checked; empty for a realistic row alone
  double tolerance = 0.0;        // relative
  std::string source;
};

inline std::vector<double> numbersOf(const std::string& text) {
  std::vector<double> numbers;
  std::istringstream in(text);
  for (std::string word; in >> word;) numbers.push_back(word == "-" ? NAN : std::stod(word));
  return numbers;
}

// Every row of the file, in its order.
inline const std::vector<CatalogueRow>& catalogueRows() {
  static const std::vector<CatalogueRow> rows = [] {
    std::vector<CatalogueRow> all;
    for (const auto& cell : dataTable("catalogue_rows.csv", 7)) {
      all.push_back({std::stoi(cell[0]), cell[1][0], cell[2], numbersOf(cell[3]), numbersOf(cell[4]),
                     cell[5].empty() ? 0.0 : std::stod(cell[5]), cell[6]});
    }
    return all;
  }();
  return rows;
}

// The first row of each correlation, by index.
inline const std::vector<CatalogueRow>& realisticRows() {
  static const std::vector<CatalogueRow> rows = [] {
    std::vector<CatalogueRow> first;
    for (const CatalogueRow& row : catalogueRows()) {
      if (row.index == static_cast<int>(first.size())) first.push_back(row);
    }
    return first;
  }();
  return rows;
}

// Sets the coefficients a row names; false when one is unknown or refused.
inline bool applySettings(const CatalogueRow& row) {
  std::istringstream in(row.settings);
  for (std::string setting; in >> setting;) {
    const auto equals = setting.find('=');
    int count = 0, k = 0;
    gfx_tarnGetCoefCount(row.index, &count);
    for (char name[TARN_COEF_NAME_SIZE]; k < count; ++k) {
      if (gfx_tarnGetCoef(row.index, k, name, nullptr) == 0 && setting.substr(0, equals) == name) {
        break;
      }
    }
    const double value = std::stod(setting.substr(equals + 1));
    if (k == count || gfx_tarnSetCoefValue(row.index, k, value) != 0) return false;
  }
  return true;
}

// A coefficient's value; NaN when it cannot be read.
inline double coefficient(int index, int k) {
  double value = NAN;
  return gfx_tarnGetCoef(index, k, nullptr, &value) == 0 ? value : NAN;
}

// Every temperature unit flag to Celsius (0) or Fahrenheit (1).
inline void setEveryUnitFlag(double value) {
  for (int index = 0; index < TARN_CORRELATION_COUNT; ++index) {
    int count = 0;
    gfx_tarnGetCoefCount(index, &count);
    char name[TARN_COEF_NAME_SIZE];
    for (int k = 0; k < count; ++k) {
      if (gfx_tarnGetCoef(index, k, name, nullptr) == 0 && std::string(name) == "CORF") {
        gfx_tarnSetCoefValue(index, k, value);
      }
    }
  }
}

}  // namespace tarn::testing
