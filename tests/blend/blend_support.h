// Building blend models for the tests from small CSV-like tables, and reading their results by key.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tarn/blend.h"
#include "tarn/tarn.h"

namespace blendtest {

struct ModelFree {
  void operator()(tarnblend_model* m) const { tarnblend_model_free(m); }
};
using Model = std::unique_ptr<tarnblend_model, ModelFree>;

inline std::vector<std::string> cells(const std::string& line) {
  std::vector<std::string> out;
  std::stringstream in(line);
  for (std::string cell; std::getline(in, cell, ',');) out.push_back(cell);
  return out;
}

// A model from "NAME,VOLUME,KEY[unit],..." lines; an empty cell is missing.
inline Model build(int product, const std::string& table) {
  tarnblend_model* raw = nullptr;
  EXPECT_EQ(tarnblend_model_create(product, &raw), TARNBLEND_OK);
  Model model(raw);
  std::stringstream lines(table);
  std::string line;
  std::getline(lines, line);
  const std::vector<std::string> header = cells(line);
  while (std::getline(lines, line)) {
    if (line.empty()) continue;
    const std::vector<std::string> row = cells(line);
    int i = 0;
    EXPECT_EQ(tarnblend_model_add_component(raw, row[0].c_str(), &i), TARNBLEND_OK) << tarnblend_last_error();
    EXPECT_EQ(tarnblend_model_set_volume(raw, i, std::stod(row[1])), TARNBLEND_OK);
    for (std::size_t c = 2; c < header.size(); ++c) {
      const std::string& h = header[c];
      const auto open = h.find('[');
      const std::string key = h.substr(0, open);
      const std::string unit = open == std::string::npos ? "" : h.substr(open + 1, h.size() - open - 2);
      const double value = c < row.size() && !row[c].empty() ? std::stod(row[c]) : TARN_MISSING;
      EXPECT_EQ(tarnblend_model_set_property(raw, i, key.c_str(), value, unit.c_str()), TARNBLEND_OK)
          << key << ": " << tarnblend_last_error();
    }
  }
  return model;
}

struct Figure {
  double value = NAN;
  int status = -1;
  std::string reason, unit;
};

// The blended property key of the last evaluation.
inline Figure figure(tarnblend_model* m, const char* key) {
  Figure f;
  int k = -1;
  if (tarnblend_model_property_find(m, key, &k) != TARNBLEND_OK) return f;
  const char *reason = "", *unit = "";
  tarnblend_model_result(m, k, &f.value, &f.status, &reason, nullptr, nullptr);
  tarnblend_model_property_info(m, k, nullptr, nullptr, &unit, nullptr, nullptr, nullptr);
  f.reason = reason;
  f.unit = unit;
  return f;
}

// The notes of the last evaluation, one per line.
inline std::string notes(tarnblend_model* m) {
  int count = 0;
  tarnblend_model_note_count(m, &count);
  std::string all;
  for (int k = 0; k < count; ++k) {
    const char* note = "";
    tarnblend_model_note(m, k, &note);
    all += std::string(note) + "\n";
  }
  return all;
}

inline double value(tarnblend_model* m, const char* key) {
  const Figure f = figure(m, key);
  EXPECT_EQ(f.status, TARNBLEND_COMPUTED) << key << ": " << f.reason;
  return f.value;
}

// A refused call: its status, and a last error holding `words`.
inline void refused(int status, int expected, const std::string& words) {
  EXPECT_EQ(status, expected) << words;
  EXPECT_NE(std::string(tarnblend_last_error()).find(words), std::string::npos)
      << "message: " << tarnblend_last_error() << "\nexpected to contain: " << words;
}

// A model's values, statuses and (when asked) Jacobian, property-major, at the volumes given.
struct Evaluation {
  std::vector<double> values, jacobian;
  std::vector<int> statuses;
};

inline Evaluation evaluateAt(tarnblend_model* m, const std::vector<double>& volumes, bool derivatives = true) {
  int count = 0;
  tarnblend_model_property_count(m, &count);
  const auto c = static_cast<std::size_t>(count);
  Evaluation e{std::vector<double>(c), std::vector<double>(derivatives ? c * volumes.size() : 0), std::vector<int>(c)};
  EXPECT_EQ(tarnblend_model_evaluate_at(m, volumes.data(), static_cast<int>(volumes.size()), e.values.data(),
                                        derivatives ? e.jacobian.data() : nullptr),
            TARNBLEND_OK)
      << tarnblend_last_error();
  tarnblend_model_values(m, nullptr, e.statuses.data(), count);
  return e;
}

inline std::vector<double> volumesOf(tarnblend_model* m) {
  int n = 0;
  tarnblend_model_component_count(m, &n);
  std::vector<double> volumes(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) tarnblend_model_volume(m, i, &volumes[static_cast<std::size_t>(i)]);
  return volumes;
}

inline std::size_t at(tarnblend_model* m, const char* key) {
  int k = -1;
  EXPECT_EQ(tarnblend_model_property_find(m, key, &k), TARNBLEND_OK) << key;
  return static_cast<std::size_t>(k);
}

inline std::string keyOf(tarnblend_model* m, std::size_t k) {
  const char* key = "";
  tarnblend_model_property_info(m, static_cast<int>(k), &key, nullptr, nullptr, nullptr, nullptr, nullptr);
  return key;
}

// The tool's sample gasoline (F, psi); its 2.7 wt% oxygen stays inside CARB's range.
inline const char* kGasoline =
    "NAME,VOLUME,RVP[psi],IBP[F],T10[F],T30[F],T50[F],T70[F],T90[F],FBP[F],RON,MON,ARO[vol%],OLF[vol%],BNZ[vol%],"
    "SUL[ppm],EHO[wt%],ETOH[vol%],SPG\n"
    "Butane,300,51.6,30,30.5,31,31.5,32,32.5,33,93.8,89.6,0,0.5,0,5,0,0,0.584\n"
    "Light straight run,1500,11.5,88,108,122,138,154,176,205,70.5,68.2,3.5,1,1.2,8,0,0,0.665\n"
    "Reformate,3000,4.2,112,162,214,246,277,322,392,97.1,87.2,64,1.2,2.6,1,0,0,0.815\n"
    "FCC naphtha,3300,6.5,95,126,162,201,259,338,408,91.5,80.3,28,24,0.9,25,0,0,0.745\n"
    "Alkylate,1900,4.8,102,163,201,221,236,279,384,95.6,93.2,0.3,0.4,0,6,0,0,0.695\n"
    "Ethanol,500,18,172,172.5,173,173.3,173.6,174,175,108.6,89.7,0,0,0,5,34.7,100,0.794\n";

// A diesel of four streams, degrees C and kg/m3.
inline const char* kDiesel =
    "NAME,VOLUME,DEN[kg/m3],IBP[C],T10[C],T30[C],T50[C],T70[C],T90[C],FBP[C],FLASH[C],CLOUD[C],POUR[C],CFPP[C],"
    "VISC40[cSt],SUL[mg/kg],CN\n"
    "Straight-run gasoil,4000,845,180,215,245,270,300,335,360,70,-6,-12,-8,3.6,8,52\n"
    "Kerosene,1500,800,150,170,190,205,220,245,265,45,-45,-55,-40,1.4,5,44\n"
    "Hydrotreated LCO,1200,900,190,220,245,265,290,320,345,75,-10,-20,-12,3.1,9,28\n"
    "Hydrocracked diesel,2300,830,175,210,240,265,295,330,355,65,-12,-24,-16,3.0,3,58\n";

// A jet fuel of three streams, degrees C and specific gravity.
inline const char* kJet =
    "NAME,VOLUME,SPG,IBP[C],T10[C],T50[C],T90[C],FBP[C],FLASH[C],FREEZE[C],VISC40[cSt],SUL[ppm],ARO[vol%]\n"
    "Straight-run kerosene,500,0.80,150,168,200,240,265,45,-50,1.3,900,19\n"
    "Hydrotreated kerosene,300,0.79,145,165,195,235,260,43,-55,1.2,10,17\n"
    "Hydrocracked kerosene,200,0.81,155,172,205,245,270,50,-45,1.5,5,12\n";

}  // namespace blendtest
