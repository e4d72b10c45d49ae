// The valid-range tables of the emission models. Values written with
// single() are single-precision constants of the models, held as doubles.
#include "emissions/model_limits.h"

#include "common/single_precision.h"

namespace tarn::emissions {

const double kCarbLower[kCarbInputCount] = {0, 0, 0, 0, 0, 0, 0, 0};
const double kCarbUpper[kCarbInputCount] = {20.0, 220.0, 330.0, 30.0, 10.0, single(2.7f), 80.0, single(1.2f)};

const double kCarb3Lower[kCarb3InputCount] = {single(6.4f), 0, 0, 0, 0, 0, 0, 0, 0};
const double kCarb3Upper[kCarb3InputCount] = {single(7.2f), 220.0, 330.0, 35.0, 10.0, 3.5, 3.5, 60.0, single(1.2f)};

namespace {
//                      MTO  ETO  EHO  TMO  SUL     RVP           E20  E30  ARO  OLF  BNZ
constexpr EpaRange kEpaRanges[3] = {
    {{0, 0, 0, 0, 0, single(6.4f), 30, 70, 0, 0, 0}, {4.0, 4.0, 4.0, 4.0, 500, 10, 70, 100, 50, 25, 2.0}},
    {{0, 0, 0, 0, 0, single(6.4f), 30, 70, 0, 0, 0}, {4.0, 4.0, 4.0, 4.0, 1000, 11, 70, 100, 55, 30, single(4.9f)}},
    {{0, 0, 0, 0, 0, single(6.6f), 0, 0, 0, 0, 0}, {3.5, 3.5, 3.5, 3.5, 10000, 9, 100, 100, 45, 100, 2.5}},
};
}  // namespace

const EpaRange& epaRange(EpaRangeTable table) { return kEpaRanges[static_cast<int>(table)]; }

EpaRange epaRangeInForce(EpaRangeTable table, bool winter) {
  EpaRange range = epaRange(table);
  if (winter) range.upper[kEpaRvpInput] = kEpaWinterRvpCeiling;
  return range;
}

}  // namespace tarn::emissions
