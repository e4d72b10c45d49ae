// Every derivative of every correlation against central differences, in its class; writes docs/derivatives.md.
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

namespace {

using namespace tarn::testing;
using Vector = std::vector<double>;

enum Class {
  kExact,
  kForward,
  kLayout,
  kNoOwnSlope,
  kOneMinusVolume,
  kEthanolSource,
  kHeldInRange,
  kEthanolSwitch,
  kEndSegment,
  kClassCount
};

// Name and reason of each class, as the page gives them.
const char* const kClasses[kClassCount][2] = {
    {"exact", ""},
    {"forward difference", ""},
    {"MTMF's own order",
     "MTMF's entries are dTRON/dRON, dTMON/dOLE, dTMON/dRON, dTRON/dOLE, dTRON/dARO, "
     "dTMON/dARO, dTRON/dMON, dTMON/dMON (tarn.h), the order its hosts read."},
    {"no slope to the oxygenate's own value",
     "The oxygenate corrections (CT10BLEND .. CRVP, CD86FROMPERCENTOFF) "
     "treat the oxygenate's own properties as fixed data: 0."},
    {"volume slope divided by 1 - volume",
     "CD86ONE90BLEND and CRVP divide the slope to the oxygenate volume by "
     "1.0 - volume, not 100 - volume; hosts rely on this value."},
    {"oxygenate volume taken from the first oxygenate percent",
     "CD86FROMPERCENTOFF removes the oxygenate with input 11 standing for its volume, but differentiates the "
     "removal with the volume input 10."},
    {"held inside the valid range",
     "The emission models' central differences keep both points inside the "
     "valid range: at or beyond a limit, the chord from the limit."},
    {"T50 equation switch at 9 vol % ethanol",
     "CARBOB's T50 changes equation at 9 vol % ethanol, where the "
     "value jumps; the slope is that of the equation in force."},
    {"end segment extended beyond the curve",
     "EVAPORATIVE holds 0 % below the IBP and 100 % above the FBP, but "
     "reports the slopes of the end segment extended."},
};

// How a correlation obtains its derivatives; the forward differences' relative step: h = (|x| + 1) step.
struct Method {
  std::vector<int> indices;
  const char* how;
  double forwardStep;
};
const Method kMethods[] = {
    {{2, 3, 4, 7}, "central differences of the model, step (|x| + 1) x 1e-6, held inside the valid range", 0},
    {{5, 42}, "forward differences, step (|x| + 1) x 0.0001 on each percent", 1e-4},
    {{6, 41, 35, 36, 37}, "forward differences, step (|x| + 1) x 0.001 on each point", 1e-3},
    {{39}, "analytic, in MTMF's own order", 0},
    {{43}, "analytic, of the equations in force", 0},
    {{47, 48}, "analytic: the property's slope times the removal's", 0},
    {{49},
     "forward differences of D86FROMPERCENTOFF on the oxygenate-free percents, step (|y| + 1) x "
     "0.0001, chained through the removal",
     1e-4},
};
const Method& methodOf(int index) {
  static const Method analytic{{}, "analytic", 0};
  for (const Method& m : kMethods) {
    if (std::count(m.indices.begin(), m.indices.end(), index) != 0) return m;
  }
  return analytic;
}

// Rows beyond the realistic ones of tests/data/catalogue_rows.csv, each taking a deliberate difference.
const std::multimap<int, Vector> kMoreRows = {
    {2, {7.5, 200, 300, 32, 6, 2.3, 40, 0.9}},          // aromatics above the range
    {7, {0, 0, 3.5, 0, 600, 7.2, 50, 85, 52, 6, 0.7}},  // sulfur and aromatics above
    {43, {7.5, 210, 320, 9}},                           // at the T50 switch
    {43, {7.5, 210, 320, 6}},                           // below it
    {49, {0.5, 2, 6, 18, 36, 60, 87, 93, 97, 99.5, 10, 0.2, 0.5, 1, 2, 60, 100, 100, 100, 100, 100}},
};

// Default coefficients in one unit; default point counts, or fewer percent points and 12 temperatures 60-500 F.
void configure(char unit, bool otherCounts) {
  ASSERT_EQ(gfx_tarnInitializeCoefs(), 0);
  setEveryUnitFlag(unit == 'F' ? 1.0 : 0.0);
  ASSERT_EQ(gfx_tarnSetCoefValue(41, 41, otherCounts ? 6 : 10), 0);  // NPOFF
  const int temperatures = otherCounts ? 12 : 3;
  for (int k = 0; k < temperatures; ++k) {
    const double t = otherCounts ? 60.0 + 40 * k : k == 0 ? 150 : k == 1 ? 215 : 300;
    ASSERT_EQ(gfx_tarnSetCoefValue(53, k, t), 0);
  }
  ASSERT_EQ(gfx_tarnSetCoefValue(53, 12, temperatures), 0);  // NPTS
}

bool hasOxygenate(double volume) { return volume > 0.101 && volume < 100.0; }

// A model's valid range (EPA summer, reformulated), in the order of its inputs.
void answer(char* buffer, int, const int* question) { buffer[0] = *question == 4 ? 'R' : *question == 3 ? 'S' : 'N'; }
std::pair<double, double> rangeOf(int index, int j) {
  Vector lower(11), upper(11);
  EXPECT_EQ(gfx_getCorLimits(index == 2 ? "CARB" : "EPA", answer, lower.data(), upper.data(), 11), 0);
  return {lower[j], upper[j]};
}

double step(double x) { return centralStep(x); }

// One evaluation of the walk, and its central differences (input-major).
struct Walk {
  int index;
  Vector x, after, out, d, central;  // after: the inputs as the call left them
  std::size_t outputs = 0;
  std::vector<bool> used;  // inputs with derivatives: not missing, within the configured count
  Vector at(int j, double v) const {
    Vector y = x;
    y[j] = v;
    return genCalc(index, y, 0).out;
  }
};

Walk evaluate(int index, const Vector& x) {
  const Result r = genCalc(index, x);
  EXPECT_EQ(r.status, 0) << index;
  const int actual = tarn_GetActualNumberOutput(index);
  Walk w{index, x, r.x, r.out, r.d, {}, actual > 0 ? static_cast<std::size_t>(actual) : r.out.size(), {}};
  const int counted = index == 41   ? static_cast<int>(coefficient(41, 40))  // NTEMP
                      : index == 42 ? static_cast<int>(coefficient(41, 41))  // NPOFF
                                    : 99;
  w.central.assign(x.size() * w.outputs, 0.0);
  for (int j = 0; j < static_cast<int>(x.size()); ++j) {
    w.used.push_back(j < counted && std::fabs(x[j]) < 1e29);
    if (!w.used.back()) continue;
    const Vector up = w.at(j, x[j] + step(x[j])), down = w.at(j, x[j] - step(x[j]));
    for (std::size_t k = 0; k < w.outputs; ++k) {
      w.central[j * w.outputs + k] = (up[k] - down[k]) / (2 * step(x[j]));
    }
  }
  return w;
}

// The class entry (j, k) must be in.
Class classOf(const Walk& w, int j, int k) {
  const Vector& x = w.x;
  switch (w.index) {
    case 2:
    case 7: {  // CARB3 and CARB3M rows lie inside their ranges
      const auto [lower, upper] = rangeOf(w.index, j);
      return x[j] - step(x[j]) < lower || x[j] + step(x[j]) > upper ? kHeldInRange : kExact;
    }
    case 39:
      return j + k == 0 ? kExact : kLayout;
    case 43:
      return j == 3 && k == 1 && std::fabs(x[3] - 9.0) < step(x[3]) ? kEthanolSwitch : kExact;
    case 44:
    case 45:
    case 46:
      return hasOxygenate(x[1]) && j == 2 ? kNoOwnSlope : kExact;
    case 47:
    case 48:
      return !hasOxygenate(x[1]) || j == 0 ? kExact : j == 1 ? kOneMinusVolume : kNoOwnSlope;
    case 49:
      return !hasOxygenate(x[10]) ? kForward : j <= 10 ? kEthanolSource : kNoOwnSlope;
    case 53: {
      const double t = coefficient(53, k);
      return (t < x[0] && j <= 1) || (t >= x[6] && j >= 5) ? kEndSegment : kExact;
    }
    default:
      return methodOf(w.index).forwardStep > 0 ? kForward : kExact;
  }
}

// Whether entry (j, k) is what its class predicts.
bool holds(Class c, const Walk& w, int j, int k) {
  const std::size_t m = w.outputs, e = j * m + k;
  const double r = w.d[e], x = w.x[j], scale = (1.0 + std::fabs(w.out[k])) / (1.0 + std::fabs(x));
  const auto near = [scale](double a, double b, double relative = 1e-6) {
    return std::fabs(a - b) <= relative * std::max(std::fabs(a), std::fabs(b)) + 1e-8 * scale;
  };
  const auto forward = [&](double h) { return (w.at(j, x + h)[k] - w.out[k]) / h; };
  switch (c) {
    case kExact:
      return near(r, w.central[e]);
    case kForward:
      return near(r, forward((std::fabs(x) + 1.0) * methodOf(w.index).forwardStep), 1e-9);
    case kLayout: {  // where each of MTMF's entries sits in the input-major layout
      const int inputMajor[8] = {0, 5, 1, 4, 6, 7, 2, 3};
      return near(r, w.central[inputMajor[e]]);
    }
    case kNoOwnSlope:
      return r == 0.0;
    case kOneMinusVolume:
      return near(r * (1.0 - x) / (100.0 - x), w.central[e]);
    case kEthanolSource: {
      const double volume = w.x[10], removed = w.x[11];
      if (j == 10) {  // the chain rule through the removal, from the blend's own rows
        double chained = 0.0;
        for (int i = 0; i < 10; ++i) chained += (w.after[i] - w.x[11 + i]) * w.d[i * m + k] / 100.0;
        return near(r, chained);
      }
      // The step that moves the oxygenate-free percent by (|y| + 1) x 0.0001.
      const double h = (std::fabs(w.after[j]) + 1.0) * 1e-4 * (100.0 - removed) / 100.0;
      return near(r * (100.0 - volume) / (100.0 - removed), forward(h));
    }
    case kHeldInRange: {
      const auto [lower, upper] = rangeOf(w.index, j);
      const double up = std::min(upper, x + step(x)), down = std::max(lower, x - step(x));
      return up == down ? r == 0.0 : near(r, (w.at(j, up)[k] - w.at(j, down)[k]) / (up - down));
    }
    case kEthanolSwitch:
      return near(r, forward(x >= 9.0 ? step(x) : -step(x)));
    case kEndSegment: {  // the slope of the line through (c_s, g_s), (c_s+1, g_s+1) at T
      const double t = coefficient(53, k), grid[7] = {0, 10, 30, 50, 70, 90, 100};
      const int s = j <= 1 ? 0 : 5;
      const double width = w.x[s + 1] - w.x[s], rise = grid[s + 1] - grid[s];
      return near(r, (j == s ? (t - w.x[s]) - width : -(t - w.x[s])) * rise / (width * width));
    }
    default:
      return false;
  }
}

struct Tally {
  long entries[kClassCount] = {};
  bool celsius = false;
};

std::string page(const std::map<int, Tally>& tally);

TEST_F(EvaluationTest, EveryDerivativeEntryKeepsItsClassAndThePageIsCurrent) {
  std::multimap<int, Vector> rows = kMoreRows;
  for (const CatalogueRow& row : realisticRows()) rows.emplace(row.index, row.inputs);
  std::map<int, Tally> tally;
  for (const char unit : {'F', 'C'}) {
    for (const bool otherCounts : {false, true}) {
      configure(unit, otherCounts);
      for (const auto& [index, x] : rows) {
        if (tarn::frame::unitOf(tarn::frame::catalogue()[index]) != unit) continue;
        if (otherCounts && index != 41 && index != 42 && index != 53) continue;
        const Walk w = evaluate(index, x);
        tally[index].celsius = tally[index].celsius || unit == 'C';
        for (int j = 0; j < static_cast<int>(x.size()); ++j) {
          for (int k = 0; w.used[j] && k < static_cast<int>(w.outputs); ++k) {
            const Class c = classOf(w, j, k);
            ++tally[index].entries[c];
            EXPECT_TRUE(holds(c, w, j, k)) << "correlation " << index << " (" << unit << ") input " << j << " output "
                                           << k << ": not " << kClasses[c][0] << "; reported " << w.d[j * w.outputs + k]
                                           << ", slope " << w.central[j * w.outputs + k];
          }
        }
      }
    }
  }
  const std::string generated = page(tally);
  if (const char* path = std::getenv("TARN_WRITE_DERIVATIVE_PAGE")) std::ofstream(path) << generated;
  std::stringstream checkedIn;
  checkedIn << std::ifstream(TARN_SOURCE_DIR "/docs/derivatives.md").rdbuf();
  EXPECT_TRUE(checkedIn.str() == generated)
      << "docs/derivatives.md is out of date; regenerate it with\n  TARN_WRITE_DERIVATIVE_PAGE=$PWD/docs/"
         "derivatives.md build/tests/tarn_unit_tests --gtest_filter='*EveryDerivativeEntry*'";
}

std::string page(const std::map<int, Tally>& tally) {
  std::ostringstream out;
  out << "# Derivatives of the built-in correlations\n\n"
         "<!-- Generated by tests/frame/derivative_contract_test.cpp from the entries it checks;\n"
         "     do not edit. -->\n\n"
         "Evaluation by index returns derivatives input-major (entry (input j, output k) at j x outputCount + k;\n"
         "MTMF excepted). The test evaluates every correlation on realistic inputs, in degrees F and, where it\n"
         "has a unit flag, in degrees C (the configurable-count ones at two counts), and compares each entry\n"
         "with a central difference of the outputs (step (|x| + 1) x 1e-6): it is *exact* (within 1e-6\n"
         "relative), the correlation's own *forward difference* (step in the table), or a *deliberate* one.\n"
         "Inputs holding the missing value 1e30 have no derivatives.\n\n"
         "| Index | Correlation | Units | How the derivatives are obtained | Entries | Exact "
         "| Forward difference | Deliberate |\n"
         "|---:|---|---|---|---:|---:|---:|---|\n";
  for (const auto& [index, t] : tally) {
    char id[TARN_ID_SIZE] = "";
    gfx_tarnGetCorrelationId(index, id);
    long all = 0;
    std::string deliberate;
    for (int c = 0; c < kClassCount; ++c) {
      all += t.entries[c];
      if (c < kLayout || t.entries[c] == 0) continue;
      deliberate += (deliberate.empty() ? "" : "; ") + std::to_string(t.entries[c]) + " " + kClasses[c][0];
    }
    std::string how = methodOf(index).how;  // a bar inside a table cell is escaped
    for (std::size_t at = how.find('|'); at != std::string::npos; at = how.find('|', at + 2)) {
      how.insert(at, "\\");
    }
    out << "| " << index << " | " << id << " | " << (t.celsius ? "F, C" : "F") << " | " << how << " | " << all << " | "
        << t.entries[kExact] << " | " << t.entries[kForward] << " | " << (deliberate.empty() ? "–" : deliberate)
        << " |\n";
  }
  out << "\n## Deliberate differences\n";
  for (int c = kLayout; c < kClassCount; ++c) {
    out << "\n**" << kClasses[c][0] << ".** " << kClasses[c][1] << "\n";
  }
  return out.str();
}

}  // namespace
