// The parameter block's storage and its defaults.
#include "params/params.h"

#include <algorithm>
#include <iterator>

namespace tarn {

namespace {

// The settings reached through coefficients: every unit flag Fahrenheit,
// every method setting 0, the emission-model selectors at their usual
// choices, CARBOB3's own ethanol properties and every ethanol content 5 vol %.
constexpr CorrelationSettings defaultCorrelationSettings() {
  CorrelationSettings s{};
  for (int& flag : s.corf) flag = 1;
  for (int& method : s.typcor) method = 0;
  for (int& selector : s.carb) selector = 1;
  for (int& selector : s.carb3) selector = 1;
  for (int& selector : s.carb3m) selector = 1;
  const int epa[7] = {1, 2, 1, 1, 1, 0, 0};  // AREA PHASE SEASON EQUATION FUELTYPE CTYPE COUNTRY
  for (int i = 0; i < 7; ++i) s.epa[i] = epa[i];
  s.carbobEstrm = 0;
  s.driveabilityEohvol = 5.0;
  s.carbob2 = CorrelationSettings::EthanolSwitches{5.0, 1, 0, 0, 0, 0};
  s.carbob3 = CorrelationSettings::EthanolSwitches{5.0, 1, 0, 0, 0, 0};
  s.carbob3Blend = EthanolBlendParams{1.7, 0.06, 0.5, 34.7, 10.0, 0.718, 0.788};
  s.rbobEohvol = 5.0;
  return s;
}

// The block before start-up: zeros, except the seven-point percent grid and
// the CARB temperature unit, which hold their values from load time, and the
// coefficient settings, which hold their defaults so that a host that starts
// with TARNInitialize alone still computes in Fahrenheit.
constexpr ParameterBlock staticParameterBlock() {
  ParameterBlock block{};
  block.settings = defaultCorrelationSettings();
  const double grid[7] = {0.0, 10.0, 30.0, 50.0, 70.0, 90.0, 100.0};
  for (int i = 0; i < 7; ++i) block.d86PercentGrid[i] = grid[i];
  block.carbUnit = 'F';
  return block;
}

template <class T, std::size_t N, class... Values>
void assign(T (&field)[N], Values... values) {
  static_assert(sizeof...(Values) == N, "default count must match the field");
  const T list[] = {static_cast<T>(values)...};
  std::copy(std::begin(list), std::end(list), field);
}

void writeCetaneImproverDefaults(CetaneImproverParams& group) {
  assign(group.p, 0.17402, 10.0, 1.444, 100.0, 1.0052, 1.0, 17.5523);
}

void writeEthanolDefaults(EthanolBlendParams& group) {
  group.aro = 1.7;
  group.bnz = 0.06;
  group.olf = 0.5;
  group.eho = 34.7;
  group.sul = 10.0;
  group.gasspg = 0.718;
  group.etohspg = 0.788;
}

// The ratio is stored as its literal, (P2 - P1)/(P3 - P1) of the defaults.
void writeT20GaussianDefaults(T20GaussianParams& g) {
  g.p1 = -1.281551566;
  g.p2 = -0.841621234;
  g.p3 = -0.524400513;
  g.ratio = 0.5810337716059414;
}

}  // namespace

namespace detail {
ParameterBlock parameterBlock = staticParameterBlock();
}

void writeParameterDefaults(bool isReset) {
  ParameterBlock& b = params();

  b.rvpExponent = 1.25;
  b.changeData = false;
  if (isReset) b.carbUnit = 'F';

  writeCetaneImproverDefaults(b.cetaneImprover);
  writeCetaneImproverDefaults(b.cetaneImprover2);
  assign(b.tvl20, 114.6, 4.1, 0.2, 0.17);
  b.driveability.p1 = 1.5;
  b.driveability.p2 = 3.0;
  b.driveability.ef = 2.4;
  assign(b.cfppImprover, 0.95, -1.0, -1.39);

  assign(b.t10Index.p, 2.0, 4.0, -238.1, 4.545, -0.0169, 2.0, 2.296e-5, 3.0, -0.018, -1623.0,
         80600.0, 2.0, 9.381);
  assign(b.t50Index.p, 2.0, 4.0, 260.6, -4.217, 0.02652, 2.0, -3.642e-5, 3.0, -0.03424, -2123.0,
         99260.0, 2.0, 15.23);
  assign(b.t90Index.p, 2.0, 4.0, 260.9, 0.7815, -0.009082, 2.0, 2.291e-5, 3.0, 0.05184, 4037.0,
         -211200.0, 2.0, -25.17);
  b.t10Index.n1 = b.t50Index.n1 = b.t90Index.n1 = 0.0018;

  assign(b.mtm, 0.02, 0.0388, 0.0031, -0.0008, 0.0006, -0.0016, 0.0002, -0.0027, 0.03, -0.0075,
         90.0, 90.0);
  b.mtmPerturb = 0.001;
  assign(b.vaporLockIndex, 68.94757, 7.0);
  assign(b.d86TempPoints, 30.0, 70.0, 100.0, 140.0, 180.0, 250.0, 330.0, 360.0, 390.0, 450.0);

  b.nd86.npoff = 10;
  std::fill(std::begin(b.nd86.p), std::end(b.nd86.p), 0.0);
  std::copy(std::begin(b.d86TempPoints), std::end(b.d86TempPoints), b.nd86.p);
  b.nd86.ntemp = 7;
  std::fill(std::begin(b.nd86.t), std::end(b.nd86.t), 0.0);
  const double percents[7] = {0.0, 10.0, 30.0, 50.0, 70.0, 90.0, 100.0};
  std::copy(std::begin(percents), std::end(percents), b.nd86.t);

  assign(b.d86PercentGrid, 0.0, 10.0, 30.0, 50.0, 70.0, 90.0, 100.0);  // MnVolIBP 0, MxVolFBP 100
  b.genericD86.minVol = 0.0;
  b.genericD86.dDelta = 0.001;
  b.genericD86.bTol = 1e-7;
  b.genericD86.dPure = 0.0;

  assign(b.hc94.a, 0.8718, 0.11798, 3.0419, 2.5282, 3.0305, 4.9004, 7.4012);
  assign(b.hc94.b, 1.0258, 1.6606, 0.75497, 0.82002, 0.80076, 0.71644, 0.60244);
  assign(b.hc94.x, 100.0, 100.0, 150.0, 250.0, 250.0, 100.0);
  b.hc94.n1 = 0.0018;

  std::fill(std::begin(b.evaporative.p), std::end(b.evaporative.p), 1e30);
  b.evaporative.npts = 0;

  writeEthanolDefaults(b.carbob2);
  b.carbob2Altoxy = 0;
  writeEthanolDefaults(b.rbob);
  assign(b.rbobP, 147.91, 0.49, 155.47, 0.22, 0.0, 1.0);
  assign(b.e200e300, 147.91, 0.49, 155.47, 0.22);

  writeT20GaussianDefaults(b.t20Gaussian);

  assign(b.pourPoint1, -73.0883, 12.885, 460.0);
  assign(b.pourPoint2, 2.197062, 0.0354662);
  assign(b.viscosity1, 0.08);
  assign(b.viscosity2, 0.8);
  assign(b.viscosity3, 41.10743, 49.08258, 0.8);
  assign(b.d86one10Index, 0.01535, 250.0);
  assign(b.d86one90Index, 0.030701, 185.0);
  assign(b.d86one10Blend, 250.0, 0.01535);
  assign(b.d86one90Blend, 185.0, 32.5719);
  assign(b.cetaneIndex2, -420.34, 0.016, 0.192, 65.01, 0.0001809);
  assign(b.cetaneIndex4, 0.85, -3.5, 1.0, 419.0, 500.0, 590.0, 45.2, 0.0892, 0.131, 0.901, 0.0523,
         0.42, 0.00049, 107.0, 60.0);
  assign(b.cetaneIndex5, -386.26, 0.09668, 0.06751, 0.01028, 291.83);
  assign(b.octaneIndex, 76.85, 43.196, 0.00137, 2.1, 95.937, 50.896, 6.1e-9, 4.75, -103.32,
         17.3621, 0.5);
  assign(b.healy, 0.05411, 0.00098, -0.00074, 0.03908, 0.0, -0.00703);
  assign(b.chesapeakF, 0.0018, -0.2506, 58.0, -0.6068, 29.0, -0.716, 17.0, 0.957648, 2.603229,
         0.228, 2.0, 0.05, 5.0, -0.285, 11.5);
  assign(b.chesapeakR, -0.2506, 58.0, -0.6068, 29.0, -0.716, 17.0, 0.927648, 4.603229, 0.46, 15.0,
         0.05, 5.0, -0.285, 11.5);
  assign(b.threeA11, 0.9167, 0.5277, 0.7429, 0.892, 0.8705, 0.949, 0.8008, 1.0019, 1.09, 1.0425,
         1.0176, 1.0226, 1.011, 1.0355, 0.0018);
  assign(b.tvl2, 0.390244, 1.46519, 0.125, 217.147, 16.9527, 0.822909, 0.01668, 54.0436, 9.66363,
         0.91054, 0.022326, 0.000178314, 0.823553, 1.1246, 1.2413, 0.23887, 0.012675, 10.5273,
         4.245, 0.00525449, 0.0532486, 0.01709, 0.0009677, 1.95828e-5, 0.0704753, 0.549224,
         0.00961619, 0.000910603, 0.00203879);
}

void writeCorrelationSettingDefaults() { params().settings = defaultCorrelationSettings(); }

int storeT20GaussianQuantile(double& quantile, double value) {
  quantile = value;
  T20GaussianParams& g = params().t20Gaussian;
  const double upper = g.p3 - g.p1;
  const double middle = g.p2 - g.p1;
  if (upper > 0.0 && middle > 0.0) {
    g.ratio = middle / upper;
    return 0;
  }
  writeT20GaussianDefaults(g);
  return 1;
}

}  // namespace tarn
