// The derivative contract of evaluation by index. Every derivative entry of
// every built-in correlation, in both temperature units and at several point
// counts, is compared with a central difference of the outputs that
// gfx_tarnGenCalc itself evaluates, and falls in exactly one class: exact,
// a forward difference by design (checked against the forward difference
// with the correlation's own step), or a deliberate difference, each checked
// against what that difference predicts. An entry that leaves its class
// fails. The same walk writes docs/derivatives.md, which must be current.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "frame/catalogue.h"
#include "frame/evaluation.h"
#include "support/derivatives.h"
#include "tarn/emissions.h"
#include "tarn/tarn.h"

namespace {

using namespace tarn::testing;
using Vector = std::vector<double>;

enum Class { kExact, kForward, kLayout, kNoSlopeToOwnValue, kOneMinusVolume, kEthanolSource,
             kHeldInRange, kEthanolSwitch, kEndSegment, kClassCount };

// The deliberate differences, as the page explains them.
const char* const kClassText[kClassCount][2] = {
    {"exact", ""},
    {"forward difference", ""},
    {"MTMF's own order",
     "MTMF's eight entries are, in order, dTRON/dRON, dTMON/dOLE, dTMON/dRON, dTRON/dOLE, "
     "dTRON/dARO, dTMON/dARO, dTRON/dMON, dTMON/dMON (tarn.h says so), not input-major: hosts "
     "of MTMF read this order. Each entry is the slope found at its place."},
    {"no slope to the oxygenate's own value",
     "CT10BLEND, CT50BLEND, CT90BLEND, CD86ONE90BLEND and CRVP report 0 for the oxygenate's own "
     "value, and CD86FROMPERCENTOFF for the oxygenate's own percents, though the oxygenate-free "
     "result moves with them: the host treats the oxygenate's properties as fixed data."},
    {"volume slope divided by 1 - volume",
     "CD86ONE90BLEND and CRVP divide the slope to the oxygenate volume by 1.0 - volume where the "
     "removal divides by 100 - volume; hosts rely on this value. The entry is the slope times "
     "(100 - volume)/(1 - volume)."},
    {"oxygenate volume taken from the first oxygenate percent",
     "CD86FROMPERCENTOFF removes the oxygenate with its first own percent (input 11) standing "
     "for the volume, while its derivatives use the volume input (10): the blend's rows are "
     "scaled by 100/(100 - volume) and the volume row is the chain rule through a removal that "
     "the value does not make. The entries are those of that chain rule."},
    {"held inside the valid range",
     "The emission models' sensitivities are central differences whose two points are held "
     "inside the model's valid range: at or beyond a limit the entry is the chord from the "
     "limit, not the slope."},
    {"T50 equation switch at 9 vol % ethanol",
     "CARBOB's T50 changes equation at 9 vol % ethanol; at the switch the slope to the ethanol "
     "content is that of the equation in force, where the value jumps."},
    {"end segment extended beyond the curve",
     "EVAPORATIVE holds the percent evaporated at 0 below the IBP and 100 above the FBP, but "
     "reports the slopes of the end segment extended to the temperature."},
};

// How each correlation obtains its derivatives, and the relative step of the
// forward differences of those that use them: h = (|x| + 1) step.
struct Method {
  std::vector<int> indices;
  const char* how;
  double forwardStep;
};
const Method kMethods[] = {
    {{2, 3, 4, 7}, "central differences of the model, step (|x| + 1) x 1e-6, both points held inside the valid range", 0},
    {{5, 42}, "forward differences, step (|x| + 1) x 0.0001 on each percent", 1e-4},
    {{6, 41}, "forward differences, step (|x| + 1) x 0.001 on each curve point", 1e-3},
    {{35, 36, 37}, "forward differences, step (|x| + 1) x 0.001 on each point", 1e-3},
    {{39}, "analytic, in MTMF's own order", 0},
    {{43}, "analytic, of the equations in force", 0},
    {{44, 45, 46}, "analytic (the oxygenate removed)", 0},
    {{47, 48}, "analytic: the property's slope times the removal's", 0},
    {{49}, "forward differences of D86FROMPERCENTOFF on the oxygenate-free percents, step (|y| + 1) x 0.0001, chained through the removal", 1e-4},
    {{53}, "analytic (linear interpolation on the curve)", 0},
};
const Method kAnalytic = {{}, "analytic", 0};

const Method& methodOf(int index) {
  for (const Method& m : kMethods) {
    if (std::count(m.indices.begin(), m.indices.end(), index) != 0) return m;
  }
  return kAnalytic;
}

// Rows beyond the dispatch tests' ones, each taking a deliberate difference
// or a branch those rows miss.
const std::multimap<int, Vector> kMoreRows = {
    {2, {7.5, 200, 300, 32, 6, 2.3, 40, 0.9}},                  // aromatics above the range
    {7, {0, 0, 3.5, 0, 600, 7.2, 50, 85, 52, 6, 0.7}},          // sulfur and aromatics above
    {43, {7.5, 210, 320, 9}},                                   // at the T50 switch
    {49, {0.5, 2, 6, 18, 36, 60, 87, 93, 97, 99.5, 10,          // with 10 vol % ethanol
          0.2, 0.5, 1, 2, 60, 100, 100, 100, 100, 100}},
};

// Configurable point sets: the default ones and the largest, with method 4
// (the conversions work on seven points only).
struct Counts {
  int curvePoints, percentPoints, evaporativePoints;
};
const Counts kCounts[] = {{7, 10, 3}, {13, 25, 12}};

double coefficient(int index, int k) {
  double value = 0.0;
  EXPECT_EQ(gfx_tarnGetCoef(index, k, nullptr, &value), 0);
  return value;
}

// Starts from the default coefficients in the unit given (every CORF), at
// the counts given.
void configure(char unit, const Counts& c) {
  ASSERT_EQ(gfx_tarnInitializeCoefs(), 0);
  for (int index = 0; index < 57; ++index) {
    char name[TARN_COEF_NAME_SIZE] = "";
    for (int k = 0; gfx_tarnGetCoef(index, k, name, nullptr) == 0; ++k) {
      if (std::string(name) == "CORF") {
        ASSERT_EQ(gfx_tarnSetCoefValue(index, k, unit == 'F'), 0);
      }
    }
  }
  ASSERT_EQ(gfx_tarnSetCoefValue(41, 0, c.curvePoints == 7 ? 0.0 : 4.0), 0);
  ASSERT_EQ(gfx_tarnSetCoefValue(42, 0, c.curvePoints == 7 ? 0.0 : 4.0), 0);
  // P1..P25 temperatures 30..750 F, T1..T13 percents 0..100; NTEMP, NPOFF.
  for (int k = 0; k < 25 && c.curvePoints != 7; ++k) ASSERT_EQ(gfx_tarnSetCoefValue(41, 2 + k, 30.0 + 30 * k), 0);
  for (int k = 0; k < 13 && c.curvePoints != 7; ++k) ASSERT_EQ(gfx_tarnSetCoefValue(41, 27 + k, 100.0 * k / 12), 0);
  ASSERT_EQ(gfx_tarnSetCoefValue(41, 40, c.curvePoints), 0);
  ASSERT_EQ(gfx_tarnSetCoefValue(41, 41, c.percentPoints), 0);
  // EVAPORATIVE: 150, 215, 300 F, or twelve from 60 to 500 F (some beyond the curve).
  for (int k = 0; k < c.evaporativePoints; ++k) {
    const double t = c.evaporativePoints == 3 ? (k == 0 ? 150.0 : k == 1 ? 215.0 : 300.0) : 60.0 + 40 * k;
    ASSERT_EQ(gfx_tarnSetCoefValue(53, k, t), 0);
  }
  ASSERT_EQ(gfx_tarnSetCoefValue(53, 12, c.evaporativePoints), 0);
}

// The inputs of a correlation at the configured counts: the curve and
// percent rows of the N-point conversions rebuilt for their point counts.
Vector inputsFor(int index, Vector x) {
  const int curvePoints = static_cast<int>(coefficient(41, 40));
  const int percentPoints = static_cast<int>(coefficient(41, 41));
  if (index == 41 && curvePoints == 13) {
    for (int k = 0; k < 13; ++k) x[k] = 95.0 + 305.0 * std::pow(k / 12.0, 1.3);
  }
  if (index == 42 && percentPoints == 25) {
    for (int k = 0; k < 25; ++k) x[k] = 100.0 / (1.0 + std::exp(-(30.0 + 30 * k - 250.0) / 60.0));
  }
  return x;
}

bool hasOxygenate(double volume) { return volume > 0.101 && volume < 100.0; }

// Valid range of the emission models, in the order of their inputs.
struct Range {
  Vector lower, upper;
};
void answerSummerReformulated(char* buffer, int, const int* question) {
  buffer[0] = *question == 4 ? 'R' : *question == 3 ? 'S' : 'N';
}
Range rangeOf(int index) {
  Range r{Vector(11), Vector(11)};
  const char* model = index == 2 ? "CARB" : index == 7 ? "EPA" : "CARB3";
  EXPECT_EQ(gfx_getCorLimits(model, answerSummerReformulated, r.lower.data(), r.upper.data(), 11), 0);
  if (index == 4) {  // CARB3M has no second oxygen value, and a 30 psi RVP ceiling by default
    r.lower.erase(r.lower.begin() + 6);
    r.upper.erase(r.upper.begin() + 6);
    r.upper[0] = 30.0;
  }
  return r;
}

// One evaluation point of the walk.
struct Walk {
  int index;
  Vector x;          // the inputs given
  Vector after;      // the inputs as the call left them
  Vector out, d;     // outputs and reported derivatives
  Vector central;    // central differences, input-major
  std::size_t outputs;
  std::vector<bool> used;  // inputs with derivatives (not missing, within the configured count)
  // The outputs at x with input j moved to v.
  Vector at(int j, double v) const {
    Vector y = x;
    y[j] = v;
    return genCalc(index, y, 0).out;
  }
};

double step(double x) { return centralStep(x); }

bool close(double a, double b, double scale, double relative = 1e-6) {
  return std::fabs(a - b) <= relative * std::max({std::fabs(a), std::fabs(b)}) + 1e-8 * scale;
}

// The class an entry must fall in.
Class classOf(const Walk& w, int j, int k) {
  const Vector& x = w.x;
  switch (w.index) {
    case 2: case 3: case 4: case 7: {
      const Range r = rangeOf(w.index);
      const double h = step(x[j]);
      return x[j] - h < r.lower[j] || x[j] + h > r.upper[j] ? kHeldInRange : kExact;
    }
    case 39: return j == 0 && k == 0 ? kExact : kLayout;
    case 43: return j == 3 && k == 1 && std::fabs(x[3] - 9.0) < step(x[3]) ? kEthanolSwitch : kExact;
    case 44: case 45: case 46: return hasOxygenate(x[1]) && j == 2 ? kNoSlopeToOwnValue : kExact;
    case 47: case 48:
      if (!hasOxygenate(x[1]) || j == 0) return kExact;
      return j == 1 ? kOneMinusVolume : kNoSlopeToOwnValue;
    case 49:
      if (!hasOxygenate(x[10])) return kForward;
      return j <= 10 ? kEthanolSource : kNoSlopeToOwnValue;
    case 53: {
      const double t = coefficient(53, k);
      const bool beyond = t < x[0] ? j <= 1 : t >= x[6] && j >= 5;
      return beyond ? kEndSegment : kExact;
    }
    default: return methodOf(w.index).forwardStep > 0 ? kForward : kExact;
  }
}

// Whether entry (j, k) is what its class predicts.
bool holds(Class c, const Walk& w, int j, int k) {
  const std::size_t m = w.outputs, e = j * m + k;
  const double r = w.d[e], central = w.central[e], x = w.x[j];
  const double scale = (1.0 + std::fabs(w.out[k])) / (1.0 + std::fabs(x));
  switch (c) {
    case kExact: return close(r, central, scale);
    case kForward: {
      const double h = (std::fabs(x) + 1.0) * methodOf(w.index).forwardStep;
      return close(r, (w.at(j, x + h)[k] - w.out[k]) / h, scale, 1e-9);
    }
    case kLayout: {
      // Where each entry of gfx_MTMF's order sits in the input-major layout.
      const int inputMajor[8] = {0, 5, 1, 4, 6, 7, 2, 3};
      return close(r, w.central[inputMajor[e]], scale);
    }
    case kNoSlopeToOwnValue: return r == 0.0;
    case kOneMinusVolume: return close(r * (1.0 - x) / (100.0 - x), central, scale);
    case kEthanolSource: {
      const double volume = w.x[10], removed = w.x[11];
      if (j == 10) {  // the chain rule through the removal, from the blend's own rows
        double chained = 0.0;
        for (int i = 0; i < 10; ++i) chained += (w.after[i] - w.x[11 + i]) * w.d[i * m + k] / 100.0;
        return close(r, chained, scale);
      }
      // A step moving the oxygenate-free percent by (|y| + 1) x 0.0001.
      const double h = (std::fabs(w.after[j]) + 1.0) * 1e-4 * (100.0 - removed) / 100.0;
      const double forward = (w.at(j, x + h)[k] - w.out[k]) / h;
      return close(r * (100.0 - volume) / (100.0 - removed), forward, scale);
    }
    case kHeldInRange: {
      const Range range = rangeOf(w.index);
      const double h = step(x), up = std::min(range.upper[j], x + h), down = std::max(range.lower[j], x - h);
      if (up == down) return r == 0.0;
      return close(r, (w.at(j, up)[k] - w.at(j, down)[k]) / (up - down), scale);
    }
    case kEthanolSwitch: {
      const double h = step(x);
      return close(r, x >= 9.0 ? (w.at(j, x + h)[k] - w.out[k]) / h : (w.out[k] - w.at(j, x - h)[k]) / h, scale);
    }
    case kEndSegment: {
      // The slope of the end segment's line through (c_s, g_s), (c_s+1, g_s+1) at T.
      const double t = coefficient(53, k);
      const int s = j <= 1 ? 0 : 5;
      const double grid[7] = {0, 10, 30, 50, 70, 90, 100};
      const double width = w.x[s + 1] - w.x[s], rise = grid[s + 1] - grid[s];
      const double slope = j == s ? rise * ((t - w.x[s]) - width) / (width * width)
                                  : -rise * (t - w.x[s]) / (width * width);
      return close(r, slope, scale);
    }
    default: return false;
  }
}

Walk evaluate(int index, const Vector& x) {
  Walk w{index, x, {}, {}, {}, {}, 0, {}};
  const int actual = tarn_GetActualNumberOutput(index);
  const Result r = genCalc(index, x);
  EXPECT_EQ(r.status, 0) << index;
  w.after = r.x;
  w.out = r.out;
  w.d = r.d;
  w.outputs = actual > 0 ? actual : r.out.size();
  const int usedInputs = index == 41   ? static_cast<int>(coefficient(41, 40))
                         : index == 42 ? static_cast<int>(coefficient(41, 41))
                                       : static_cast<int>(x.size());
  w.central.assign(x.size() * w.outputs, 0.0);
  for (int j = 0; j < static_cast<int>(x.size()); ++j) {
    w.used.push_back(j < usedInputs && std::fabs(x[j]) < 1e29);
    if (!w.used.back()) continue;
    const double h = step(x[j]);
    const Vector up = w.at(j, x[j] + h), down = w.at(j, x[j] - h);
    for (std::size_t k = 0; k < w.outputs; ++k) w.central[j * w.outputs + k] = (up[k] - down[k]) / (2 * h);
  }
  return w;
}

// Entries per correlation and class, and the units and counts walked.
struct Tally {
  long entries[kClassCount] = {};
  bool celsius = false;
};

class DerivativeContract : public EvaluationTest {
 protected:
  // Walks the correlations given (all when none are) that compute in the
  // unit given.
  void walk(char unit, std::map<int, Tally>& tally, const std::vector<int>& only) {
    std::multimap<int, Vector> rows = kMoreRows;
    for (const Wrapped& w : wrappedCalls()) rows.emplace(w.index, w.x);
    for (const auto& [index, given] : rows) {
      if (!only.empty() && std::count(only.begin(), only.end(), index) == 0) continue;
      // CD86FROMPERCENTOFF computes in the unit of D86FROMPERCENTOFF.
      if (tarn::frame::unitFlag(tarn::frame::catalogue()[index == 49 ? 5 : index]) != unit) continue;
      const Walk w = evaluate(index, inputsFor(index, given));
      tally[index].celsius = tally[index].celsius || unit == 'C';
      for (int j = 0; j < static_cast<int>(w.x.size()); ++j) {
        for (std::size_t k = 0; k < w.outputs && w.used[j]; ++k) {
          const Class c = classOf(w, j, static_cast<int>(k));
          ++tally[index].entries[c];
          EXPECT_TRUE(holds(c, w, j, static_cast<int>(k)))
              << "correlation " << index << " (" << unit << ") input " << j << " output " << k << ": not "
              << kClassText[c][0] << "; reported " << w.d[j * w.outputs + k] << ", central difference "
              << w.central[j * w.outputs + k];
        }
      }
    }
  }
};

std::string page(const std::map<int, Tally>& tally);

TEST_F(DerivativeContract, EveryEntryKeepsItsClassAndThePageIsCurrent) {
  std::map<int, Tally> tally;
  for (const char unit : {'F', 'C'}) {
    for (const Counts& counts : kCounts) {
      configure(unit, counts);
      walk(unit, tally, counts.curvePoints == 7 ? std::vector<int>{} : std::vector<int>{41, 42, 53});
    }
  }
  const std::string generated = page(tally);
  if (const char* path = std::getenv("TARN_WRITE_DERIVATIVE_PAGE")) std::ofstream(path) << generated;
  std::ifstream file(TARN_SOURCE_DIR "/docs/derivatives.md");
  std::stringstream checkedIn;
  checkedIn << file.rdbuf();
  EXPECT_TRUE(checkedIn.str() == generated)
      << "docs/derivatives.md is out of date; regenerate it with\n  TARN_WRITE_DERIVATIVE_PAGE=$PWD/docs/derivatives.md "
         "build/tests/tarn_unit_tests --gtest_filter=DerivativeContract.*";
}

std::string page(const std::map<int, Tally>& tally) {
  std::ostringstream out;
  out << "# Derivatives of the built-in correlations\n\n"
         "<!-- Generated by the derivative-contract test (tests/frame/derivative_contract_test.cpp) from the\n"
         "     entries it checks; do not edit. The test fails when this page and the library disagree. -->\n\n"
         "Evaluation by index (`gfx_tarnGenCalc` with a non-zero derivative flag) returns the derivatives\n"
         "of a correlation's outputs with respect to its inputs, input-major: entry (input j, output k) at\n"
         "j x outputCount + k (MTMF excepted, below). The derivative-contract test evaluates every\n"
         "correlation on realistic inputs in degrees F and, where it has a unit flag (CORF), in degrees C,\n"
         "and the configurable-count ones (ND86TOPERCENTOFF, ND86FROMPERCENTOFF, EVAPORATIVE) at their\n"
         "default counts and at their largest, and compares every entry with a central difference of\n"
         "the evaluated outputs (step (|x| + 1) x 1e-6). Each entry is in one class:\n\n"
         "- *exact*: within 1e-6 relative of the central difference;\n"
         "- *forward difference*: the correlation differentiates by forward differences of its own\n"
         "  evaluation, with the step given below; the entry is that difference, which differs from the\n"
         "  slope by the curvature over the step (and by the kinks of piecewise-linear curves);\n"
         "- *deliberate*: a difference from the slope that the correlation keeps on purpose, listed\n"
         "  under the table with its reason.\n\n"
         "Inputs holding the missing value 1e30 (CARBOB2's slack values not given) have no derivatives.\n\n"
         "| Index | Correlation | Units | How the derivatives are obtained | Entries | Exact | Forward difference | Deliberate |\n"
         "|---:|---|---|---|---:|---:|---:|---|\n";
  for (const auto& [index, t] : tally) {
    char id[TARN_ID_SIZE] = "";
    gfx_tarnGetCorrelationId(index, id);
    long all = 0;
    std::string deliberate;
    for (int c = 0; c < kClassCount; ++c) {
      all += t.entries[c];
      if (c >= kLayout && t.entries[c] > 0) {
        deliberate += (deliberate.empty() ? "" : "; ") + std::to_string(t.entries[c]) + " " + kClassText[c][0];
      }
    }
    out << "| " << index << " | " << id << " | " << (t.celsius ? "F, C" : "F") << " | " << methodOf(index).how
        << " | " << all << " | " << t.entries[kExact] << " | " << t.entries[kForward] << " | "
        << (deliberate.empty() ? "–" : deliberate) << " |\n";
  }
  out << "\n## Deliberate differences\n";
  for (int c = kLayout; c < kClassCount; ++c) out << "\n**" << kClassText[c][0] << ".** " << kClassText[c][1] << "\n";
  return out.str();
}

}  // namespace
