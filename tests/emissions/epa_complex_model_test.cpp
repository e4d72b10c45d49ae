// EPA complex model: the regulation's worked example, baselines, edges, winter rules, range count, conversions.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "emissions/catalogue_adapters.h"
#include "emissions/epa_complex_model.h"
#include "params/params.h"
#include "support/fixture.h"
#include "tarn/emissions.h"

namespace {

using Fuel = std::vector<double>;
using Values = std::vector<double>;

enum { MTO, ETO, EHO, TMO, SUL, RVP, E20, E30, ARO, OLF, BNZ };
enum { VOC, TOX, NOX, EXB, EXT };

// Worked example fuel of 40 CFR 80.45 (section 13), in the order of the enum above.
const Fuel kExampleFuel = {2.1, 0, 0, 0, 150, 6.7, 50, 85, 25, 10, 0.8};

class EpaComplexModelTest : public tarn::testing::LibraryTest {
 protected:
  std::vector<double> wepa(const std::string& options, const Fuel& fuel) {
    std::vector<double> out(5, -1.0);
    count = gfx_WEPA(0, options.c_str(), fuel.data(), out.data(), nullptr);
    return out;
  }
  double wepa(const std::string& options, Fuel fuel, int input, double value, int output) {
    fuel[input] = value;
    return wepa(options, fuel)[output];
  }
  int count = 0;
};

TEST_F(EpaComplexModelTest, ReproducesTheWorkedExampleAndTheBaselineFuels) {
  // Intermediate emissions of the worked example, mg/mile (its percent changes: catalogue_rows.csv).
  tarn::emissions::EpaOptions options;
  ASSERT_TRUE(tarn::emissions::decodeEpaOptions("B2S", &options));
  const auto e = tarn::emissions::evaluateEpaComplexModel(kExampleFuel.data(), options);
  const double detail[9] = {e.exhaustVoc,       e.nonExhaustVoc, e.nox,       e.exhaustBenzene,
                            e.formaldehyde,     e.acetaldehyde,  e.butadiene, e.polycyclicOrganicMatter,
                            e.nonExhaustBenzene};
  const double published[9] = {745.9157, 286.6071, 1244.6508, 32.7472, 10.8592, 3.8413, 8.3731, 2.5025, 1.8775};
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(detail[i], published[i], 1e-4) << i;

  // Baseline fuels (40 CFR 80.45 Table 2) give no change, summer to the published rounding; one per season.
  const Fuel summer = {0, 0, 0, 0, 339, 8.7, 41, 83, 32, 9.2, 1.53};
  const Fuel winter = {0, 0, 0, 0, 338, 11.5, 50, 83, 26.4, 11.9, 1.64};
  for (const char* o : {"B1S", "C1S", "B2S", "C2S", "B1S   C", "C2S   C"}) {
    for (double v : wepa(o, summer)) EXPECT_NEAR(v, 0.0, 0.01) << o;
  }
  for (const char* o : {"B1W", "C2W", "b2w   c"}) {
    for (double v : wepa(o, winter)) EXPECT_NEAR(v, 0.0, 1e-6) << o;
  }
  EXPECT_GT(std::fabs(wepa("B2W", summer)[EXB]), 1.0);
}

// One limit rule probed around its edge; `direction` +1 when it acts above the edge, -1 below.
enum class Beyond { Flat, Extrapolated, Frozen, NoRule };
struct Edge {
  const char* name;
  const char* options;
  int input;
  double edge;
  int output;
  Beyond beyond;
  double direction;
  int otherInput = -1;
  double otherValue = 0.0, slopeTolerance = 0.05;
};

TEST_F(EpaComplexModelTest, FlatLinesAndEdgesAreContinuousAndActOnTheirSideOnly) {
  const Edge edges[] = {
      {"E200 flat line, phase II", "B2S", E20, 65.52, VOC, Beyond::Flat, +1},
      {"E200 flat line, phase I", "B1S", E20, 65.83, VOC, Beyond::Flat, +1},
      {"E200 extrapolation", "B2S", E20, 33.0, VOC, Beyond::Extrapolated, -1},
      {"E300* flat line (ARO 25)", "B2S", E30, 79.75 + 0.385 * 25, VOC, Beyond::Flat, +1},
      {"E300* flat line, phase I", "B1S", E30, 80.32 + 0.390 * 25, VOC, Beyond::Flat, +1},
      {"E300 low extrapolation", "B2S", E30, 72.0, VOC, Beyond::Extrapolated, -1},
      // ARO 40 puts E300* above 94: extrapolation; printed slopes are rounded (0.00029 for 0.000287), so 15 %.
      {"E300 high extrapolation", "B2S", E30, 94.0, VOC, Beyond::Extrapolated, +1, ARO, 40.0, 0.15},
      {"E300 counted to 95 (VOC)", "B2S", E30, 95.0, VOC, Beyond::Frozen, +1, ARO, 40.0},
      {"E300 counted to 95 (NOx)", "B2S", E30, 95.0, NOX, Beyond::Frozen, +1},
      {"aromatics 18 (VOC)", "B2S", ARO, 18.0, VOC, Beyond::Extrapolated, -1},
      {"aromatics 18 (NOx)", "B2S", ARO, 18.0, NOX, Beyond::Extrapolated, -1},
      {"aromatics 46 (VOC)", "B1S", ARO, 46.0, VOC, Beyond::Extrapolated, +1},
      // Below E300* so that the E300 flat line does not move with aromatics.
      {"aromatics counted to 10 (VOC)", "B2S", ARO, 10.0, VOC, Beyond::Frozen, -1, E30, 80.0},
      {"aromatics counted to 10 (NOx)", "B2S", ARO, 10.0, NOX, Beyond::Frozen, -1},
      {"aromatics flat line (NOx, phase II)", "B2S", ARO, 36.8, NOX, Beyond::Flat, +1},
      {"aromatics flat line (NOx, phase I)", "B1S", ARO, 36.2, NOX, Beyond::Flat, +1},
      {"sulfur 10 (NOx)", "B2S", SUL, 10.0, NOX, Beyond::Extrapolated, -1},
      {"sulfur 450 (NOx)", "B1S", SUL, 450.0, NOX, Beyond::Extrapolated, +1},
      {"olefins flat line (NOx)", "B2S", OLF, 3.77, NOX, Beyond::Flat, -1},
      {"olefins 19 (NOx)", "B2S", OLF, 19.0, NOX, Beyond::Extrapolated, +1},
      // TAME oxygen acts through total oxygen only; 2.1 of MTBE oxygen is there.
      {"oxygen flat line (phase II)", "B2S", TMO, 1.9, VOC, Beyond::Flat, +1},
      // Rules of one model or phase that must not leak into another.
      {"no oxygen flat line in phase I", "B1S", TMO, 1.9, VOC, Beyond::NoRule, +1},
      {"no oxygen flat line for NOx", "B2S", TMO, 1.9, NOX, Beyond::NoRule, +1},
      {"no E200 flat line for NOx", "B2S", E20, 65.52, NOX, Beyond::NoRule, +1},
      {"no sulfur limit for toxics", "B2S", SUL, 450.0, TOX, Beyond::NoRule, +1},
  };
  for (const Edge& r : edges) {
    SCOPED_TRACE(r.name);
    Fuel fuel = kExampleFuel;
    if (r.otherInput >= 0) fuel[r.otherInput] = r.otherValue;
    auto f = [&](double x) { return wepa(r.options, fuel, r.input, x, r.output); };
    const double d = 1e-4, s = r.direction;
    EXPECT_NEAR(f(r.edge + 1e-9), f(r.edge - 1e-9), 1e-7);  // continuous
    const double inside = (f(r.edge) - f(r.edge - s * d)) / (s * d);
    const double outside = (f(r.edge + s * d) - f(r.edge)) / (s * d);
    const double far1 = f(r.edge + s * 1.0) - f(r.edge + s * 0.5);
    EXPECT_GT(std::fabs(inside), 1e-4);  // the rule has something to act on
    if (r.beyond == Beyond::Flat || r.beyond == Beyond::Frozen) {
      EXPECT_EQ(far1, 0.0);
      continue;
    }
    // No rule, or an extrapolation continuing the slope at the edge linearly.
    EXPECT_NE(far1, 0.0);
    EXPECT_NEAR(outside, inside, (r.beyond == Beyond::NoRule ? 1e-3 : r.slopeTolerance) * std::fabs(inside));
    if (r.beyond == Beyond::Extrapolated && !(r.input == E30 && r.edge == 94.0)) {  // 94: frozen from 95
      EXPECT_NEAR(far1, f(r.edge + s * 1.5) - f(r.edge + s * 1.0), 1e-9);
    }
  }
}

TEST_F(EpaComplexModelTest, CountsInputsOutsideTheRangesThatGetCorLimitsReports) {
  static std::string answers;  // fuel type, season
  auto answer = [](char* buffer, int, const int* question) {
    if (*question == 4) buffer[0] = answers[0];
    if (*question == 3) buffer[0] = answers[1];
  };
  for (const char* typeAndSeason : {"RS", "RW", "CS", "CW"}) {
    answers = typeAndSeason;
    double lower[11], upper[11];
    ASSERT_EQ(gfx_getCorLimits("EPA", answer, lower, upper, 11), 0);
    const std::string options = std::string("B2") + answers[1] + "C" + answers[0];
    SCOPED_TRACE(options);
    for (int j = 0; j < 11; ++j) {
      const double probes[4] = {lower[j], 1.00009 * upper[j], 1.0002 * upper[j], 0.9998 * lower[j] - 1e-6};
      for (int i = 0; i < 4; ++i) {  // two inside at the limits, two outside: still evaluated, and counted
        EXPECT_TRUE(std::isfinite(wepa(options, kExampleFuel, j, probes[i], VOC)));
        EXPECT_EQ(count, i < 2 ? 0 : 1) << j << " at " << probes[i];
      }
    }
  }
  wepa("B2SCR", kExampleFuel, RVP, 6.4, VOC);  // the single-precision limit holds 6.4 itself
  EXPECT_EQ(count, 0);
  wepa("B2S", kExampleFuel, SUL, 700.0, VOC);  // without position 4: the conventional ranges
  EXPECT_EQ(count, 0);
  Fuel bad = kExampleFuel;
  bad[SUL] = NAN;
  bad[BNZ] = 3.0;
  wepa("B2SCR", bad);
  EXPECT_EQ(count, 2);
}

TEST_F(EpaComplexModelTest, WinterAndOptionStringLettersAndRejects) {
  // Winter holds RVP, has no region dependence, reads the class letter in summer only, and has no non-exhaust toxics.
  Fuel fuel = kExampleFuel;
  const std::vector<double> a = wepa("B2W", fuel);
  fuel[RVP] = 11.0;
  for (const char* o : {"B2W", "C2W", "B2W   C"}) EXPECT_EQ(wepa(o, fuel), a) << o;
  EXPECT_DOUBLE_EQ(a[TOX], a[EXT]);
  const std::vector<double> reference = wepa("B2S", kExampleFuel);
  EXPECT_EQ(wepa("b2s?R?U", kExampleFuel), reference);
  // Position 6 only counts when present: the same letter at position 5 does not.
  EXPECT_NE(wepa("B2S   C", kExampleFuel)[EXB], reference[EXB]);
  EXPECT_EQ(wepa("B2S  C", kExampleFuel)[EXB], reference[EXB]);
  for (const char* bad : {"X2S", "B3S", "B2F", "B2"}) {
    std::vector<double> out(5, 0.0), deriv(55, 9.0);
    EXPECT_EQ(gfx_WEPA(1, bad, kExampleFuel.data(), out.data(), deriv.data()), -1) << bad;
    EXPECT_EQ(out, std::vector<double>(5, 1e30));
    EXPECT_EQ(deriv, std::vector<double>(55, 0.0));
  }
}

TEST_F(EpaComplexModelTest, SensitivitiesCountTheFuelItself) {
  // Sensitivities: the derivative walk. Sulfur 600 is beyond the reformulated ceiling.
  Fuel fuel = kExampleFuel;
  fuel[SUL] = 600.0;
  std::vector<double> out(5), rfg(55), untouched(55, 4.0);
  EXPECT_EQ(gfx_WEPA(1, "B2SCR", fuel.data(), out.data(), rfg.data()), 1);  // the caller's fuel counted
  EXPECT_EQ(out, wepa("B2SCR", fuel));                                      // the base results, not a perturbed one
  gfx_WEPA(0, "B2S", fuel.data(), out.data(), untouched.data());
  EXPECT_EQ(untouched, std::vector<double>(55, 4.0));  // no request, no write
}

TEST_F(EpaComplexModelTest, AdapterBuildsItsOptionsAndZeroesMissingInputs) {
  int* selectors = tarn::params().settings.epa;
  auto optionsFor = [&](std::vector<int> values) {
    std::copy(values.begin(), values.end(), selectors);
    char options[8];
    tarn::emissions::epaOptionsFromSelectors(options);
    return std::string(options);
  };
  EXPECT_EQ(optionsFor({2, 1, 2, 3, 2, 1, 2}), "C1WAC1C");
  EXPECT_EQ(optionsFor({0, 3, 0, 4, 3, 2, 1}), "       ");  // outside each list: blank
  selectors[0] = 5;  // the adapter returns 0 even when the model rejects the options
  Fuel in = kExampleFuel;
  std::vector<double> out(5), deriv(5 + 55, 3.0);
  EXPECT_EQ(gfx_tarnGenCalc(7, 0, 0, in.data(), out.data(), nullptr), 0);
  EXPECT_EQ(out[VOC], 1e30);

  // Intended: missing sulfur/benzene evaluated as 0 in the caller's array, TAME/olefin blocks cleared; guards in front.
  optionsFor({1, 2, 1, 1, 1, 0, 0});  // the start-up selectors, "B2SCR0U"
  in[MTO] = in[SUL] = in[BNZ] = 1e30;
  ASSERT_EQ(gfx_tarnGenCalc(7, 1, 0, in.data(), out.data(), deriv.data() + 5), 0);
  Fuel zeroed = kExampleFuel;
  zeroed[MTO] = zeroed[SUL] = zeroed[BNZ] = 0.0;
  EXPECT_EQ(in, zeroed);
  std::vector<double> direct(5), directDeriv(55);
  gfx_WEPA(1, "B2SCR0U", zeroed.data(), direct.data(), directDeriv.data());
  EXPECT_EQ(out, direct);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(deriv[i], 3.0);
  for (int j = 0; j < 55; ++j) {
    EXPECT_EQ(deriv[5 + j], (j / 5 == TMO || j / 5 == OLF) ? 0.0 : directDeriv[j]) << j;
  }
}

// Converts with option texts; each length travels after its text.
int convert(const std::string& region, const std::string& phase, const std::string& season, int direction,
            const std::string& cls, const double in[5], double out[5]) {
  return EPAPERCENT2ABS(region.c_str(), int(region.size()), phase.c_str(), int(phase.size()), season.c_str(),
                        int(season.size()), &direction, cls.c_str(), int(cls.size()), &in[0], &in[1], &in[2], &in[3],
                        &in[4], &out[0], &out[1], &out[2], &out[3], &out[4]);
}

TEST_F(EpaComplexModelTest, ConversionBaselineRowsRoundTripsAndRejects) {
  const double percent[5] = {-12.5, 3.25, -7.0, 40.0, -0.125}, zero[5] = {0, 0, 0, 0, 0};
  for (std::string row : {"B1SU", "C1Sc", "B2SC", "C2SU", "B1WX", "c2wU"}) {
    SCOPED_TRACE(row);
    const std::string r(1, row[0]), p(1, row[1]), s(1, row[2]), c(1, row[3]);
    double absolute[5], back[5], base[5];
    ASSERT_EQ(convert(r, p, s, 0, c, percent, absolute), 0);
    ASSERT_EQ(convert(r, p, s, 1, c, absolute, back), 0);
    ASSERT_EQ(convert(r, p, s, 0, c, zero, base), 0);
    for (int k = 0; k < 5; ++k) {
      EXPECT_NEAR(back[k], percent[k], 1e-12);
      EXPECT_NEAR(absolute[k], base[k] * (1.0 + percent[k] / 100.0), 1e-12 * base[k]);
    }
  }
  // Baselines, mg/mile (40 CFR 80.45 Tables 3-5); summer class 'C' adds non-exhaust benzene (26.10 + 9.6591).
  double out[5], u[5], c[5];
  ASSERT_EQ(convert("c", "2", "w", 0, "X", zero, out), 0);
  EXPECT_EQ(Values(out, out + 5), (Values{1341, 120.549055, 1540, 77.62, 120.549055}));
  ASSERT_EQ(convert("B", "1", "S", 0, "U", zero, u) + convert("B", "1", "S", 0, "C", zero, c), 0);
  EXPECT_EQ((Values{u[3], u[4], c[0], c[3]}), (Values{26.1, 38.9463, 1306.48, 35.7591}));
  ASSERT_EQ(convert("Bxx", "2nd", "Summer", 0, "Uxx", zero, out), 0);  // first letters only
  EXPECT_EQ(out[0], 1466.31373);

  // Rejected rows leave the outputs alone; a text of length 0 has no letter.
  for (double& v : out) v = -1.0;
  const char* rejects[][4] = {
      {"B", "1", "S", "X"}, {"A", "1", "W", "U"}, {"B", "3", "W", "U"}, {"B", "1", "F", "U"}, {"", "1", "S", "U"}};
  for (const auto& r : rejects) EXPECT_EQ(convert(r[0], r[1], r[2], 0, r[3], zero, out), -1) << r[0] << r[1] << r[2];
  EXPECT_EQ(Values(out, out + 5), Values(5, -1.0));
}

}  // namespace
