// The blend model: derivatives, blending identities, published reference points, units, bad input.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "blend_support.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using namespace blendtest;

using BlendTest = tarn::testing::LibraryTest;

// Each derivative against a central difference (one-sided at zero volume); returns how many were compared.
int expectDerivativesMatchDifferences(tarnblend_model* m, double relative, const std::string& prefix = "") {
  const std::vector<double> volumes = volumesOf(m);
  const std::size_t n = volumes.size();
  double total = 0.0;
  for (double v : volumes) total += v;
  const Evaluation here = evaluateAt(m, volumes);
  int compared = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double h = 1e-4 * total;
    const bool oneSided = volumes[i] == 0.0;
    std::vector<double> up = volumes, down = volumes;
    up[i] += h;
    down[i] -= oneSided ? 0.0 : h;
    const Evaluation plus = evaluateAt(m, up, false), minus = evaluateAt(m, down, false);
    for (std::size_t k = 0; k < here.values.size(); ++k) {
      const std::string key = keyOf(m, k);
      if (plus.statuses[k] != TARNBLEND_COMPUTED || minus.statuses[k] != TARNBLEND_COMPUTED ||
          here.values[k] == TARN_MISSING || key.compare(0, prefix.size(), prefix) != 0) {
        continue;
      }
      const double difference = (plus.values[k] - minus.values[k]) / (oneSided ? h : 2.0 * h);
      const double reported = here.jacobian[k * n + i], scale = (std::fabs(here.values[k]) + 1.0) / total;
      EXPECT_NEAR(reported, difference, relative * std::max(std::fabs(difference), std::fabs(reported)) + 1e-4 * scale)
          << key << " by the volume of component " << i;
      ++compared;
    }
  }
  EXPECT_EQ(tarnblend_model_set_volumes(m, volumes.data(), static_cast<int>(n)), TARNBLEND_OK);
  return compared;
}

// Each product in both unit systems; emission slopes beyond the models' ranges (butane: RVP, reformate: ARO).
TEST_F(BlendTest, DerivativesAgreeWithCentralDifferencesInBothUnitSystems) {
  const std::string gasoline =
      std::string(kGasoline) + "Isomerate,0,13.5,80,95,104,112,122,137,165,87.5,85.9,0,0.2,0,1,0,0,0.655\n";
  using Units = std::vector<std::pair<const char*, const char*>>;
  const Units metric = {{"T50", "degC"}, {"IBP", "C"}, {"T10", "C"},   {"T30", "C"},    {"T70", "C"},
                        {"T90", "C"},    {"FBP", "C"}, {"RVP", "kPa"}, {"DEN", "g/mL"}, {"SUL", "wt%"}};
  const Units imperial = {{"T50", "F"}, {"IBP", "F"},   {"T10", "F"},   {"T30", "F"},  {"T70", "F"},  {"T90", "F"},
                          {"FBP", "F"}, {"FLASH", "F"}, {"CLOUD", "F"}, {"POUR", "F"}, {"CFPP", "F"}, {"DEN", "API"}};
  struct Case {
    int product;
    std::string table;
    Units units;  // set after building
    int minimumCompared;
    int component = -1;  // given `volume`, taking a model beyond its valid range
    double volume = 0, tolerance = 0.02;
    const char *prefix = "", *outside = "";
  };
  const Case cases[] = {
      {TARNBLEND_GASOLINE, gasoline, {}, 30 * 7},
      {TARNBLEND_GASOLINE, gasoline, metric, 30 * 7},
      {TARNBLEND_DIESEL, kDiesel, {}, 22 * 4},
      {TARNBLEND_DIESEL, kDiesel, imperial, 22 * 4},
      {TARNBLEND_JET, kJet, {}, 14 * 3},
      {TARNBLEND_GASOLINE,
       kGasoline,
       {},
       6 * 3,
       0,
       1100,
       0.005,
       "EPA.",
       "EPA model inputs outside its valid range: RVP"},
      {TARNBLEND_GASOLINE,
       kGasoline,
       {},
       6 * 3,
       2,
       7000,
       0.005,
       "CARB.",
       "CARB model inputs outside its valid range: ARO"},
  };
  Model reference = build(TARNBLEND_GASOLINE, gasoline);
  ASSERT_EQ(tarnblend_model_evaluate(reference.get(), 0), TARNBLEND_OK);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.table.substr(0, 60) + (c.units.empty() ? "" : " in other units") + c.prefix);
    Model model = build(c.product, c.table);
    for (const auto& [key, unit] : c.units) ASSERT_EQ(tarnblend_model_set_unit(model.get(), key, unit), TARNBLEND_OK);
    if (c.component >= 0) {
      ASSERT_EQ(tarnblend_model_set_volume(model.get(), c.component, c.volume), TARNBLEND_OK);
    }
    ASSERT_EQ(tarnblend_model_evaluate(model.get(), 0), TARNBLEND_OK);
    EXPECT_NE(notes(model.get()).find(c.outside), std::string::npos) << notes(model.get());
    if (c.units == metric) {
      // value in the second unit = scale * value in the first + offset.
      const struct {
        const char* key;
        double scale, offset;
      } conversions[] = {
          {"T50", 1 / 1.8, -32 / 1.8},
          {"FBP", 1 / 1.8, -32 / 1.8},
          {"TVL20", 1 / 1.8, -32 / 1.8},
          {"RVP", 6.894757, 0},
          {"SUL", 1e-4, 0},
          {"DEN", 0.999016, 0},
          {"E70", 1, 0},
          {"RON", 1, 0},
          {"EPA.NOX", 1, 0},
          {"DI", 1 / 1.8, -176 / 1.8},  // the drivability index in C is its own published form
      };
      for (const auto& v : conversions) {
        EXPECT_NEAR(value(model.get(), v.key), v.scale * value(reference.get(), v.key) + v.offset,
                    1e-9 * (1 + std::fabs(value(model.get(), v.key))))
            << v.key;
      }
      EXPECT_EQ(figure(model.get(), "TVL20").unit, "C");
      EXPECT_EQ(figure(model.get(), "DEN").unit, "g/mL");
    }
    EXPECT_GE(expectDerivativesMatchDifferences(model.get(), c.tolerance, c.prefix), c.minimumCompared);
  }
}

// Properties flagged linear keep their value when two recipes of that value mix; Healy, E100, T90, CI4 do not.
TEST_F(BlendTest, MixingRecipesOfEqualValueKeepsItExactlyWhenLimitsAreLinear) {
  const struct {
    int product;
    const char* table;
    std::set<std::string> controls;  // not flagged
  } cases[] = {{TARNBLEND_GASOLINE, kGasoline, {"AKI", "T90", "E100"}}, {TARNBLEND_DIESEL, kDiesel, {"T90", "CI4"}}};
  for (const auto& c : cases) {
    Model m = build(c.product, c.table);
    const std::vector<double> a = volumesOf(m.get()), b(a.rbegin(), a.rend());
    int checked = 0;
    for (std::size_t k = 0; k < evaluateAt(m.get(), a, false).values.size(); ++k) {
      auto valueAt = [&](const std::vector<double>& v) { return evaluateAt(m.get(), v, false).values[k]; };
      int flags = 0;
      tarnblend_model_property_info(m.get(), static_cast<int>(k), nullptr, nullptr, nullptr, nullptr, nullptr, &flags);
      const bool linear = (flags & TARNBLEND_FLAG_LINEAR_LIMITS) != 0;
      const double target = valueAt(a);
      if ((!linear && !c.controls.count(keyOf(m.get(), k))) || target == TARN_MISSING) continue;
      // The reversed recipe brought back to the value by the component furthest on the other side.
      const double side = valueAt(b) > target ? 1.0 : -1.0;
      std::size_t pick = 0;
      double furthest = 0.0;
      for (std::size_t j = 0; j < a.size(); ++j) {
        std::vector<double> alone(a.size(), 0.0);
        alone[j] = 1.0;
        const double own = valueAt(alone);
        if (own != TARN_MISSING && side * (target - own) > furthest) furthest = side * (target - own), pick = j;
      }
      auto above = [&](double volume) {
        std::vector<double> t = b;
        t[pick] += volume;
        return side * (valueAt(t) - target) > 0;
      };
      double low = 0.0, high = 1e4;
      while (above(high) && high < 1e12) high *= 10;
      for (int step = 0; step < 100; ++step) (above((low + high) / 2) ? low : high) = (low + high) / 2;
      std::vector<double> mix = b;
      mix[pick] += high;
      for (std::size_t i = 0; i < a.size(); ++i) mix[i] += a[i];
      const double moved = std::fabs(valueAt(mix) - target), tolerance = 1e-8 * (1.0 + std::fabs(target));
      EXPECT_TRUE(linear ? moved < tolerance : moved > 100 * tolerance)
          << keyOf(m.get(), k) << (linear ? " moved " : " kept ") << moved;
      ++checked;
    }
    EXPECT_GE(checked, 9);
  }
}

// Asked for a few properties, a model computes those (and their inputs) exactly, flags the rest not asked for.
TEST_F(BlendTest, AModelAskedForSomePropertiesComputesThoseAndTheirInputs) {
  Model whole = build(TARNBLEND_GASOLINE, kGasoline), part = build(TARNBLEND_GASOLINE, kGasoline);
  const std::vector<double> volumes = {300, 1500, 3000, 3300, 1900, 500};
  const Evaluation w = evaluateAt(whole.get(), volumes);
  // VLI reads RVP and E70 (the curve); EPA.NOX reads E200, E300, oxygen and comes with its four siblings.
  const int count = static_cast<int>(w.values.size()),
            asked[] = {static_cast<int>(at(part.get(), "VLI")), static_cast<int>(at(part.get(), "EPA.NOX"))};
  ASSERT_EQ(tarnblend_model_set_needed(part.get(), asked, 2), TARNBLEND_OK);
  const Evaluation p = evaluateAt(part.get(), volumes);
  for (const char* key : {"VLI", "RVP", "E70", "IBP", "FBP", "EPA.VOC", "E300", "T90", "EHO", "SUL"}) {
    const std::size_t k = at(part.get(), key);
    EXPECT_TRUE(p.values[k] == w.values[k] &&
                std::equal(&p.jacobian[k * 6], &p.jacobian[k * 6 + 6], &w.jacobian[k * 6]))
        << key;
  }
  for (const char* key : {"RON", "TVL20", "E100", "DI", "CARB.THC"}) {
    EXPECT_EQ(figure(part.get(), key).reason, "not evaluated: the model was asked for other properties only");
  }
  const int bad[] = {0, count};
  EXPECT_EQ(tarnblend_model_set_needed(part.get(), bad, 2), TARNBLEND_ERROR_ARGUMENT);
  EXPECT_EQ(tarnblend_model_set_needed(part.get(), nullptr, 1), TARNBLEND_ERROR_ARGUMENT);
  ASSERT_EQ(tarnblend_model_evaluate(part.get(), 0), TARNBLEND_OK);
  EXPECT_TRUE(figure(part.get(), "EPA.NOX").status == TARNBLEND_COMPUTED &&
              figure(part.get(), "DEN").status != TARNBLEND_COMPUTED);
  ASSERT_EQ(tarnblend_model_set_product(part.get(), TARNBLEND_DIESEL), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_evaluate(part.get(), 0), TARNBLEND_OK);
  EXPECT_EQ(figure(part.get(), "DEN").status, TARNBLEND_COMPUTED);
}

// One component, or identical ones, blend to that component; published reference points give published figures.
TEST_F(BlendTest, IdentitiesAndPublishedReferencePoints) {
  const std::string header =
      "NAME,VOLUME,RVP[psi],IBP[F],T10[F],T30[F],T50[F],T70[F],T90[F],FBP[F],RON,MON,ARO[vol%],OLF[vol%],BNZ[vol%],"
      "SUL[ppm],SPG\n";
  const std::string reformate = "112,162,214,246,277,322,392,97.1,87.2,64,1.2,2.6,1,0.815\n";
  Model one = build(TARNBLEND_GASOLINE, header + "A,7,4.2," + reformate);
  Model three =
      build(TARNBLEND_GASOLINE, header + "A,1,4.2," + reformate + "B,5,4.2," + reformate + "C,0.5,4.2," + reformate);
  const double curve[7] = {112, 162, 214, 246, 277, 322, 392};
  for (tarnblend_model* m : {one.get(), three.get()}) {
    ASSERT_EQ(tarnblend_model_evaluate(m, 0), TARNBLEND_OK);
    const struct {
      const char* key;
      double expected, tolerance;
    } same[] = {{"RVP", 4.2, 1e-9},
                {"RON", 97.1, 1e-9},
                {"MON", 87.2, 1e-9},
                {"ARO", 64, 1e-9},
                {"SUL", 1, 1e-9},
                {"DEN", 0.815, 1e-9},
                {"IBP", 112, 0.01},
                {"T50", 246, 0.01},
                {"FBP", 392, 0.01},
                {"AKI", 92.15, 1e-9},
                {"E70", gfx_DistillCurve(curve, 1, 158.0), 0.01}};
    for (const auto& s : same) EXPECT_NEAR(value(m, s.key), s.expected, s.tolerance) << s.key;
  }

  // Published values: D4737 A is 45.2 at 850 kg/m3, T10/50/90 215/260/310 C; VBN 60 % 5 cSt + 40 % 20 cSt = 8.1085 cSt.
  Model diesel = build(TARNBLEND_DIESEL,
                       "NAME,VOLUME,DEN[g/mL],IBP[C],T10[C],T50[C],T90[C],FBP[C],VISC40[mm2/s],FLASH[C],POUR[C]\n"
                       "Light,60,0.85,180,215,260,310,350,5,60,-12\n"
                       "Heavy,40,0.85,180,215,260,310,350,20,60,-12\n");
  ASSERT_EQ(tarnblend_model_evaluate(diesel.get(), 0), TARNBLEND_OK);
  EXPECT_NEAR(value(diesel.get(), "CI4"), 45.2, 0.05);
  EXPECT_NEAR(value(diesel.get(), "VISC40"), 8.1085, 5e-4);
  EXPECT_NEAR(value(diesel.get(), "FLASH"), 60, 1e-9);
  EXPECT_NEAR(value(diesel.get(), "POUR"), -12, 1e-9);
  EXPECT_EQ(figure(diesel.get(), "VISC40").unit, "cSt");
  EXPECT_EQ(figure(diesel.get(), "CFPP").unit, "C");  // no CFPP column: the recipe's temperatures are in C

  // By mass: volume = mass / SG (water 999.016 kg/m3); density is total mass over total volume.
  Model byMass = build(TARNBLEND_DIESEL, "NAME,VOLUME,DEN[g/mL],VISC40[cSt]\nLight,0,0.80,5\nHeavy,0,0.90,20\n");
  ASSERT_EQ(tarnblend_model_set_mass(byMass.get(), 0, 0.80 * 60), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_set_mass(byMass.get(), 1, 0.90 * 40), TARNBLEND_OK);
  double light = 0;
  tarnblend_model_volume(byMass.get(), 0, &light);
  EXPECT_NEAR(light, 0.80 * 60 / (800 / 999.016), 1e-9);
  ASSERT_EQ(tarnblend_model_evaluate(byMass.get(), 0), TARNBLEND_OK);
  EXPECT_NEAR(value(byMass.get(), "DEN"), 0.84, 1e-12);

  // ASTM D4814 DI: T10 52, T50 95, T90 165 C with 10 % ethanol give 541.3 (C form), 1150.4 (F form).
  const std::string di = "NAME,VOLUME,IBP[C],T10[C],T50[C],T90[C],FBP[C],ETOH[vol%]\nE10,1,35,52,95,165,200,10\n";
  Model celsius = build(TARNBLEND_GASOLINE, di), fahrenheit = build(TARNBLEND_GASOLINE, di);
  for (const char* t : {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"})
    tarnblend_model_set_unit(fahrenheit.get(), t, "F");
  ASSERT_EQ(tarnblend_model_evaluate(celsius.get(), 0), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_evaluate(fahrenheit.get(), 0), TARNBLEND_OK);
  EXPECT_NEAR(value(celsius.get(), "DI"), 541.3, 0.05);
  EXPECT_NEAR(value(fahrenheit.get(), "DI"), 1150.4, 0.05);
}

// THREEA11 makes butane's and ethanol's flat curves fall: refused without DPure, kept with the default 10 F.
TEST_F(BlendTest, Threea11SampleIsNotComputedWithTheRemedy) {
  Model m = build(TARNBLEND_GASOLINE, kGasoline);
  ASSERT_EQ(tarnblend_model_set_option(m.get(), "D86METHOD", 1), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_set_option(m.get(), "dpure", 0), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_evaluate(m.get(), 1), TARNBLEND_OK);
  for (const char* key : {"T50", "E70", "DI", "EPA.VOC", "CARB.THC"}) {
    const Figure f = figure(m.get(), key);
    EXPECT_EQ(f.status, TARNBLEND_NOT_COMPUTED) << key;
    EXPECT_EQ(f.value, TARN_MISSING);
    EXPECT_NE(f.reason.find("THREEA11 gives a falling curve for narrow-boiling components such as 'Butane', 'Ethanol'"),
              std::string::npos)
        << f.reason;
    EXPECT_NE(f.reason.find("use HC94"), std::string::npos);
  }
  EXPECT_EQ(figure(m.get(), "RON").status, TARNBLEND_COMPUTED);
  // libtarn's own threshold is the caller's and stays as it was.
  EXPECT_EQ(gfx_getCorParms("GENERICD86", "DPure"), 0.0);

  ASSERT_EQ(tarnblend_model_set_option(m.get(), "DPURE", 10), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_evaluate(m.get(), 0), TARNBLEND_OK);
  double previous = -1e9;
  for (const char* key : {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"}) {
    EXPECT_GT(value(m.get(), key), previous) << key;
    previous = value(m.get(), key);
  }
  const char* note = "";
  ASSERT_EQ(tarnblend_model_note(m.get(), 0, &note), TARNBLEND_OK);
  EXPECT_NE(std::string(note).find("'Butane', 'Ethanol' boil within 10 F"), std::string::npos) << note;
}

// A missing cell drops only its figures (component named); no oxygenate columns: none, emissions still run.
TEST_F(BlendTest, MissingInputsProductsAndOxygenates) {
  Model m = build(
      TARNBLEND_GASOLINE,
      "NAME,VOLUME,RVP[psi],IBP[F],T10[F],T50[F],T90[F],FBP[F],RON,MON,ARO[vol%],OLF[vol%],BNZ[vol%],SUL[ppm],SPG\n"
      "A,60,9,95,120,200,320,400,92,82,30,10,1,10,0.74\n"
      "B,40,,100,130,210,330,410,94,84,20,5,0.5,20,0.73\n"
      "C,0,,,,,,,,,,,,,\n");
  ASSERT_EQ(tarnblend_model_evaluate(m.get(), 1), TARNBLEND_OK);
  const struct {
    const char* key;
    int status;
    const char* reason;
  } expected[] = {
      {"RVP", TARNBLEND_NOT_COMPUTED, "RVP is missing for 'B'"},
      {"TVL20", TARNBLEND_NOT_COMPUTED, "no blended RVP (RVP is missing for 'B')"},
      {"EPA.NOX", TARNBLEND_NOT_COMPUTED, "no blended RVP (RVP is missing for 'B')"},
      {"T50", TARNBLEND_COMPUTED, ""},
      {"OXY", TARNBLEND_COMPUTED, ""},
      {"ETOH", TARNBLEND_COMPUTED, ""},
      {"EHO", TARNBLEND_NOT_GIVEN, "the recipe has no EHO"},
      {"CARB.CNX", TARNBLEND_NOT_COMPUTED, "no blended RVP (RVP is missing for 'B')"},
  };
  for (const auto& e : expected) {
    const Figure f = figure(m.get(), e.key);
    EXPECT_EQ(f.status, e.status) << e.key;
    EXPECT_EQ(f.reason, e.reason) << e.key;
  }
  EXPECT_EQ(value(m.get(), "OXY"), 0.0);
  // The component without volume lacks RON: no derivative with respect to it.
  const Evaluation e = evaluateAt(m.get(), {60, 40, 0});
  EXPECT_EQ(e.jacobian[at(m.get(), "RON") * 3 + 2], TARN_MISSING);
  EXPECT_NE(e.jacobian[at(m.get(), "RON") * 3 + 1], TARN_MISSING);

  // With RVP given the EPA model runs on an oxygen-free gasoline, and says so.
  ASSERT_EQ(tarnblend_model_set_property(m.get(), 1, "RVP", 60, "kPa"), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_evaluate(m.get(), 0), TARNBLEND_OK);
  EXPECT_EQ(figure(m.get(), "EPA.NOX").status, TARNBLEND_COMPUTED);
  const std::string all = notes(m.get());
  EXPECT_NE(all.find("The recipe has no oxygenate column"), std::string::npos) << all;
  EXPECT_NE(all.find("T30/T70 estimated for 'A', 'B'"), std::string::npos) << all;

  // No gasoline figures for a distillate and no distillate figures for a gasoline.
  int k = 0;
  for (const auto& [product, others] : {std::pair{TARNBLEND_DIESEL, "RON,E200,DI,EPA.VOC,RVP"},
                                        std::pair{TARNBLEND_GASOLINE, "CI4,CFPP,T95,FREEZE,VISC40"}}) {
    ASSERT_EQ(tarnblend_model_set_product(m.get(), product), TARNBLEND_OK);
    for (const std::string& key : cells(others)) {
      EXPECT_EQ(tarnblend_model_property_find(m.get(), key.c_str(), &k), TARNBLEND_ERROR_PROPERTY) << key;
    }
  }
}

// Bad input gets its status and a one-line message, and changes nothing.
TEST_F(BlendTest, BadInputIsRefusedWithItsStatus) {
  Model m = build(TARNBLEND_GASOLINE, "NAME,VOLUME,RVP[psi],ARO[vol%]\nA,1,9,30\nB,2,8,20\n");
  tarnblend_model* model = m.get();
  const double nan = std::nan("");
  refused(tarnblend_model_set_volume(model, 0, -1), TARNBLEND_ERROR_VALUE, "volume of 'A' is negative");
  refused(tarnblend_model_set_volume(model, 0, nan), TARNBLEND_ERROR_VALUE, "volume of 'A' is not finite");
  refused(tarnblend_model_set_volume(model, 5, 1), TARNBLEND_ERROR_ARGUMENT, "component 5 is not in the model");
  refused(tarnblend_model_add_component(model, "A", nullptr), TARNBLEND_ERROR_DUPLICATE, "component 'A' appears twice");
  refused(tarnblend_model_add_component(model, "", nullptr), TARNBLEND_ERROR_VALUE, "a component has no name");
  refused(tarnblend_model_set_property(model, 0, "ARO", 30, "wt%"), TARNBLEND_ERROR_UNIT, "which is not vol%");
  refused(tarnblend_model_set_property(model, 0, "T50", -500, "F"), TARNBLEND_ERROR_VALUE, "T50 of 'A' (-500 F)");
  refused(tarnblend_model_set_property(model, 0, "RVP", INFINITY, "psi"), TARNBLEND_ERROR_VALUE, "not finite");
  refused(tarnblend_model_set_property(model, 0, "OCTANE", 90, ""), TARNBLEND_ERROR_PROPERTY,
          "unknown property 'OCTANE'");
  refused(tarnblend_model_set_property(model, 0, "RVP", 9, "furlong"), TARNBLEND_ERROR_UNIT, "unknown unit 'furlong'");
  refused(tarnblend_model_set_property(model, 0, nullptr, 9, "psi"), TARNBLEND_ERROR_ARGUMENT, "property key is null");
  refused(tarnblend_model_set_option(model, "D86METHOD", 6), TARNBLEND_ERROR_VALUE, "D86METHOD must be 0 to 5");
  refused(tarnblend_model_set_option(model, "SPEED", 1), TARNBLEND_ERROR_NOT_FOUND, "unknown option 'SPEED'");
  refused(tarnblend_model_set_mass(model, 0, 5), TARNBLEND_ERROR_VALUE, "DEN of 'A' is missing");
  refused(tarnblend_model_set_volumes(model, nullptr, 2), TARNBLEND_ERROR_ARGUMENT, "volumes is null");
  refused(tarnblend_model_create(7, nullptr), TARNBLEND_ERROR_ARGUMENT, "model pointer is null");
  refused(tarnblend_model_evaluate(nullptr, 0), TARNBLEND_ERROR_ARGUMENT, "model is null");
  refused(tarnblend_model_set_property(model, 0, "ARO", 130, "vol%"), TARNBLEND_ERROR_VALUE,
          "ARO of 'A' (130 vol%) must lie between 0 vol% and 100 vol%");
  refused(tarnblend_model_set_unit(model, "RVP", "C"), TARNBLEND_ERROR_UNIT, "RVP takes psi, kPa, bar");
  double volume = 0;
  tarnblend_model_volume(model, 0, &volume);
  EXPECT_EQ(volume, 1.0);

  // Volumes of 1e308 add up without overflowing; volumes adding up to nothing answer with a status, never a NaN.
  const Evaluation huge = evaluateAt(model, {1e308, 1e308});
  EXPECT_NEAR(value(model, "ARO"), 25.0, 1e-9);
  EXPECT_EQ(figure(model, "RVP").status, TARNBLEND_COMPUTED);
  for (double d : huge.jacobian) EXPECT_FALSE(std::isnan(d));
  std::vector<double> none = {0, 0}, values(huge.values.size(), 0.0);
  EXPECT_EQ(tarnblend_model_evaluate_at(model, none.data(), 2, values.data(), nullptr), TARNBLEND_ERROR_STATE);
  EXPECT_STREQ(tarnblend_last_error(), "the components' volumes add up to nothing");
  for (double v : values) EXPECT_EQ(v, TARN_MISSING);
  EXPECT_EQ(figure(model, "ARO").reason, "the components' volumes add up to nothing");
}

// The unit vocabulary against published conversions, and the spellings labs use.
TEST_F(BlendTest, UnitVocabularyConvertsAsPublished) {
  const struct {
    double value;
    const char* from;
    const char* to;
    double expected;
  } conversions[] = {
      {100,
       "\xC2\xB0"
       "C",
       "degF", 212},
      {-40, "C", "F", -40},
      {1, "psi", "kPa", 6.894757},
      {1, "bar", "kPa", 100},
      {1, "% m/m", "mg/kg", 10000},
      {15, "ppmw", "wt%", 0.0015},
      {1.0, "SPG", "API", 10},
      {0.85, "g/mL", "kg/m3", 850},
      {850, "kg/m\xC2\xB3", "kg/L", 0.85},
      {2.5, "mm2/s", "cSt", 2.5},
      {273.15, "K", "C", 0},
      {35, "% V/V", "vol%", 35},
  };
  for (const auto& c : conversions) {
    double result = 0;
    ASSERT_EQ(tarnblend_unit_convert(c.value, c.from, c.to, &result), TARNBLEND_OK) << c.from << tarnblend_last_error();
    EXPECT_NEAR(result, c.expected, 1e-9 * (1 + std::fabs(c.expected))) << c.from << " -> " << c.to;
  }
  double result = 0;
  EXPECT_EQ(tarnblend_unit_convert(1, "psi", "C", &result), TARNBLEND_ERROR_UNIT);
  EXPECT_EQ(tarnblend_unit_convert(1, "furlong", "psi", &result), TARNBLEND_ERROR_UNIT);
  EXPECT_NE(std::string(tarnblend_last_error()).find("psi, kPa, bar"), std::string::npos);
  const char* canonical = "";
  int dimension = -1, k = -1;
  ASSERT_EQ(tarnblend_unit_parse(" DEGc ", &canonical, &dimension), TARNBLEND_OK);
  EXPECT_STREQ(canonical, "C");
  EXPECT_EQ(dimension, TARNBLEND_TEMPERATURE);
  ASSERT_EQ(tarnblend_input_find("spg", &k, &canonical), TARNBLEND_OK);
  EXPECT_STREQ(canonical, "SPG");
  const char* key = "";
  tarnblend_input_info(k, &key, nullptr, &dimension, nullptr);
  EXPECT_STREQ(key, "DEN");
  EXPECT_EQ(dimension, TARNBLEND_DENSITY);
}

}  // namespace
