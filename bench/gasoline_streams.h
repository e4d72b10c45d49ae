// Ten refinery gasoline streams with every property the gasoline blend model
// reads, shared by the blend model's and the optimiser's benchmarks.
#pragma once

#include <vector>

#include "tarn/blend.h"

namespace benchdata {

// Ten refinery streams: the six of the tool's sample and four more.
struct Stream {
  const char* name;
  double volume, rvp, curve[7], ron, mon, aro, olf, bnz, sul, eho, etoh, spg;
};
// One stream per row: kept as laid out by hand.
// clang-format off
const Stream kStreams[] = {
    {"Butane", 300, 51.6, {30, 30.5, 31, 31.5, 32, 32.5, 33}, 93.8, 89.6, 0, 0.5, 0, 5, 0, 0, 0.584},
    {"Light straight run", 1500, 11.5, {88, 108, 122, 138, 154, 176, 205}, 70.5, 68.2, 3.5, 1, 1.2, 8, 0, 0, 0.665},
    {"Reformate", 3000, 4.2, {112, 162, 214, 246, 277, 322, 392}, 97.1, 87.2, 64, 1.2, 2.6, 1, 0, 0, 0.815},
    {"FCC naphtha", 3300, 6.5, {95, 126, 162, 201, 259, 338, 408}, 91.5, 80.3, 28, 24, 0.9, 25, 0, 0, 0.745},
    {"Alkylate", 1900, 4.8, {102, 163, 201, 221, 236, 279, 384}, 95.6, 93.2, 0.3, 0.4, 0, 6, 0, 0, 0.695},
    {"Ethanol", 500, 18, {172, 172.5, 173, 173.3, 173.6, 174, 175}, 108.6, 89.7, 0, 0, 0, 5, 34.7, 100, 0.794},
    {"Isomerate", 800, 13.5, {80, 95, 104, 112, 122, 137, 165}, 87.5, 85.9, 0, 0.2, 0, 1, 0, 0, 0.655},
    {"Heavy reformate", 600, 1.5, {220, 260, 285, 300, 318, 345, 410}, 104.0, 93.0, 92, 0.5, 0.2, 1, 0, 0, 0.87},
    {"Light FCC naphtha", 900, 11.0, {80, 100, 120, 140, 165, 200, 260}, 93.0, 80.5, 10, 40, 0.8, 15, 0, 0, 0.68},
    {"Hydrocracked naphtha", 700, 3.0, {150, 190, 215, 235, 255, 290, 350}, 78.0, 76.0, 15, 0.5, 0.5, 1, 0, 0, 0.76},
};
// clang-format on

// A gasoline model of the ten streams at their volumes.
inline tarnblend_model* gasolineModel(std::vector<double>& volumes) {
  tarnblend_model* model = nullptr;
  tarnblend_model_create(TARNBLEND_GASOLINE, &model);
  const char* points[7] = {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"};
  for (const Stream& s : kStreams) {
    int i = 0;
    tarnblend_model_add_component(model, s.name, &i);
    tarnblend_model_set_volume(model, i, s.volume);
    volumes.push_back(s.volume);
    tarnblend_model_set_property(model, i, "RVP", s.rvp, "psi");
    for (int k = 0; k < 7; ++k) tarnblend_model_set_property(model, i, points[k], s.curve[k], "F");
    const struct {
      const char* key;
      double value;
      const char* unit;
    } values[] = {{"RON", s.ron, ""},     {"MON", s.mon, ""},       {"ARO", s.aro, "vol%"},
                  {"OLF", s.olf, "vol%"}, {"BNZ", s.bnz, "vol%"},   {"SUL", s.sul, "ppm"},
                  {"EHO", s.eho, "wt%"},  {"ETOH", s.etoh, "vol%"}, {"SPG", s.spg, ""}};
    for (const auto& v : values) tarnblend_model_set_property(model, i, v.key, v.value, v.unit);
  }
  return model;
}

}  // namespace benchdata
