// Valid input ranges of the regression emission models. One copy of each
// table serves both the models (which count inputs outside their range) and
// gfx_getCorLimits (which reports the ranges to a caller).
#pragma once

namespace tarn::emissions {

// CARB predictive model: RVP, T50, T90, aromatics, olefins, oxygen, sulfur,
// benzene.
inline constexpr int kCarbInputCount = 8;
extern const double kCarbLower[kCarbInputCount];
extern const double kCarbUpper[kCarbInputCount];

// CARB Phase 3 model: RVP, T50, T90, aromatics, olefins, oxygen, oxygen
// (second value), sulfur, benzene.
inline constexpr int kCarb3InputCount = 9;
extern const double kCarb3Lower[kCarb3InputCount];
extern const double kCarb3Upper[kCarb3InputCount];

// EPA complex model: MTO, ETO, EHO, TMO, SUL, RVP, E20, E30, ARO, OLF, BNZ.
inline constexpr int kEpaInputCount = 11;
enum class EpaRangeTable {
  Reformulated = 0,  // table 1: reformulated gasoline
  Conventional = 1,  // table 2: conventional gasoline
  Extended = 2,      // table 3: the wider range answered for option question 5 = "S"
};
struct EpaRange {
  double lower[kEpaInputCount];
  double upper[kEpaInputCount];
};
const EpaRange& epaRange(EpaRangeTable table);

// The ranges in force for one evaluation: the table, with the RVP ceiling
// lifted to 100 psi in winter, when the model holds RVP at 8.7 psi and the
// caller's RVP has no effect. gfx_getCorLimits reports exactly this and
// gfx_WEPA counts against it.
EpaRange epaRangeInForce(EpaRangeTable table, bool winter);

// Position of RVP in the EPA input order.
inline constexpr int kEpaRvpInput = 5;
inline constexpr double kEpaWinterRvpCeiling = 100.0;

}  // namespace tarn::emissions
