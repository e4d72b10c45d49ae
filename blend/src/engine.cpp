#include "engine.h"

#include <algorithm>
#include <cmath>

#include "tarn/blending.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"
#include "tarn/tarn.h"

namespace tarnblend {
namespace {

constexpr double kCurveTolerance = 1e-12;  // bisection tolerance of the curve blend
constexpr const char* kMethodNames[] = {"HC94", "THREEA11", "SIXORDER", "ETHYLS", "none", "ETHYLS-EXACT"};

// Sets a libtarn parameter for the length of a scope and puts the caller's
// value back afterwards, so that the blend's choice does not leak into the
// host's settings.
class ScopedParameter {
 public:
  ScopedParameter(const char* group, const char* name, double value, bool active)
      : group_(group), name_(name), saved_(gfx_getCorParms(group, name)), active_(active) {
    if (active_) gfx_setCorParms(group_, name_, value);
  }
  ~ScopedParameter() {
    if (active_) gfx_setCorParms(group_, name_, saved_);
  }
  double saved() const { return saved_; }
  ScopedParameter(const ScopedParameter&) = delete;
  ScopedParameter& operator=(const ScopedParameter&) = delete;

 private:
  const char* group_;
  const char* name_;
  double saved_;
  bool active_;
};

// The percentages of the seven curve points.
void percentGrid(double grid[7]) {
  const double inner[5] = {10, 30, 50, 70, 90};
  grid[0] = gfx_getCorParms("GENERICD86", "MnVolIBP");
  for (int k = 0; k < 5; ++k) grid[k + 1] = inner[k];
  grid[6] = gfx_getCorParms("GENERICD86", "MxVolFBP");
}

const char* pointName(int k) { return inputInfo(kCurvePoints[k]).key; }

// The blended curve's seven points, as properties and as operands of a chain.
constexpr Property kPoints[7] = {Property::IBP, Property::T10, Property::T30, Property::T50,
                                 Property::T70, Property::T90, Property::FBP};
constexpr Operand kPointOperands[7] = {{kPoints[0]}, {kPoints[1]}, {kPoints[2]}, {kPoints[3]},
                                       {kPoints[4]}, {kPoints[5]}, {kPoints[6]}};

}  // namespace

std::string nameList(const std::vector<std::string>& names) {
  constexpr std::size_t kShown = 6;
  std::string out;
  for (std::size_t i = 0; i < names.size() && i < kShown; ++i) {
    out += (i ? ", " : "") + names[i];
  }
  if (names.size() > kShown) out += " and " + std::to_string(names.size() - kShown) + " more";
  return out;
}

int catalogueIndex(const char* id) {
  static std::vector<std::string> ids;
  if (ids.empty()) {
    int count = 0;
    gfx_tarnGetCorrelationCount(&count);
    for (int i = 0; i < count; ++i) {
      char found[TARN_ID_SIZE] = "";
      gfx_tarnGetCorrelationId(i, found);
      ids.emplace_back(found);
    }
  }
  const auto at = std::find(ids.begin(), ids.end(), id);
  return at == ids.end() ? -1 : static_cast<int>(at - ids.begin());
}

double catalogueCoefficient(const char* id, const char* name) {
  const int index = catalogueIndex(id);
  int count = 0;
  gfx_tarnGetCoefCount(index, &count);
  for (int k = 0; k < count; ++k) {
    char found[TARN_COEF_NAME_SIZE] = "";
    double value = kMissing;
    if (gfx_tarnGetCoef(index, k, found, &value) == TARN_STATUS_OK && std::string(found) == name) return value;
  }
  return kMissing;
}

Engine::Engine(Model& model, bool derivatives)
    : m_(model), work_(model.workspace()), derivatives_(derivatives), n_(model.componentCount()), w_(work_.w) {
  w_.resize(static_cast<std::size_t>(n_));
  double largest = 0.0;
  for (int i = 0; i < n_; ++i) largest = std::max(largest, model.component(i).volume);
  // Volumes are scaled by the largest so that huge ones (1e308) add up
  // without overflowing; fractions and derivatives come out the same.
  for (int i = 0; i < n_; ++i) {
    w_[static_cast<std::size_t>(i)] = largest > 0.0 ? model.component(i).volume / largest : 0.0;
    total_ += w_[static_cast<std::size_t>(i)];
  }
  perVolume_ = largest > 0.0 ? 1.0 / (largest * total_) : 0.0;
  zeros_.assign(static_cast<std::size_t>(n_), 0.0);
}

void Engine::set(Property p, double value) {
  const PropertyInfo& info = propertyInfo(p);
  if (isMissing(value) || !std::isfinite(value)) return fail(p, "libtarn gave no value");
  if (value < info.low || value > info.high) {
    // A figure no real blend can have is not passed on as one.
    const Unit& unit = m_.propertyUnit(p);
    const std::string suffix = unit.name[0] ? std::string(" ") + unit.name : "";
    const bool converted = info.unitSource != UnitSource::CurveLabel;
    auto shown = [&](double v) { return shortNumber(converted ? fromBase(unit, v) : v); };
    return fail(p, std::string(info.key) + " comes out at " + shown(value) + suffix + ", outside what it can be (" +
                       shown(info.low) + " to " + shown(info.high) + suffix + ")");
  }
  Result& r = m_.result(p);
  r.status = TARNBLEND_COMPUTED;
  r.value = value;
  r.reason.clear();
}

void Engine::fail(Property p, const std::string& reason) {
  Result& r = m_.result(p);
  r.status = TARNBLEND_NOT_COMPUTED;
  r.value = kMissing;
  r.reason = reason;
  r.cause.clear();
  std::fill(row(p), row(p) + n_, kMissing);
}

void Engine::failLike(Property p, Property failed) {
  const Result& other = m_.result(failed);
  fail(p, other.reason);
  m_.result(p).cause = other.cause;
}

void Engine::omit(Property p, const std::string& reason) {
  fail(p, reason);
  m_.result(p).status = TARNBLEND_NOT_GIVEN;
}

bool Engine::needs(Property out, std::initializer_list<Property> inputs) {
  for (Property p : inputs) {
    if (ok(p)) continue;
    // Name the input and the first failure behind it, not the whole chain.
    const Result& missing = m_.result(p);
    const std::string cause = missing.cause.empty() ? missing.reason : missing.cause;
    const bool curvePoint = p >= Property::IBP && p <= Property::FBP;
    const std::string what = curvePoint ? "D86 curve" : propertyInfo(p).key;
    fail(out, "no blended " + what + (cause.empty() ? "" : " (" + cause + ")"));
    m_.result(out).cause = cause;
    return false;
  }
  return true;
}

void Engine::chain(Property out, const double* d, int stride, const Operand* inputs, int count) {
  if (!derivatives_ || !ok(out)) return;
  double* g = row(out);
  for (int i = 0; i < n_; ++i) {
    double sum = 0.0;
    for (int j = 0; j < count; ++j) {
      // A slope that could not be computed leaves the entry missing.
      const double slope = d[j * stride];
      if (isMissing(slope)) {
        sum = kMissing;
        break;
      }
      const double factor = slope * inputs[j].scale;
      if (factor == 0.0) continue;
      const double entry = row(inputs[j].property)[i];
      if (isMissing(entry)) {
        sum = kMissing;
        break;
      }
      sum += factor * entry;
    }
    g[i] = sum;
  }
}

void Engine::chain(Property out, const double* d, int stride, std::initializer_list<Operand> inputs) {
  chain(out, d, stride, inputs.begin(), static_cast<int>(inputs.size()));
}

void Engine::constantRow(Property out, double value) {
  if (derivatives_ && ok(out)) std::fill(row(out), row(out) + n_, value);
}

bool Engine::gather(Input input, std::vector<double>& out, std::string& reason) {
  out.resize(static_cast<std::size_t>(n_));
  const char* key = inputInfo(input).key;
  if (!m_.given(input)) {
    reason = std::string("the recipe has no ") + key;
    return false;
  }
  std::vector<std::string> lacking;
  for (int i = 0; i < n_; ++i) {
    out[static_cast<std::size_t>(i)] = m_.value(i, input);
    if (present(i) && isMissing(out[static_cast<std::size_t>(i)])) lacking.push_back(quoted(name(i)));
  }
  if (!lacking.empty()) {
    reason = std::string(key) + " is missing for " + nameList(lacking);
    return false;
  }
  return true;
}

bool Engine::mean(Property out, const std::vector<double>& values, const std::vector<double>* weights, bool check) {
  std::vector<double>& volumes = work_.packedVolumes;
  std::vector<double>& packed = work_.packedValues;
  std::vector<double>& packedWeights = work_.packedWeights;
  volumes.clear();
  packed.clear();
  packedWeights.clear();
  auto usable = [&](int i) {
    return !isMissing(values[static_cast<std::size_t>(i)]) &&
           (weights == nullptr || !isMissing((*weights)[static_cast<std::size_t>(i)]));
  };
  for (int i = 0; i < n_; ++i) {
    if (!present(i) || !usable(i)) continue;
    volumes.push_back(w_[static_cast<std::size_t>(i)]);
    packed.push_back(values[static_cast<std::size_t>(i)]);
    if (weights) packedWeights.push_back((*weights)[static_cast<std::size_t>(i)]);
  }
  const int count = static_cast<int>(volumes.size());
  const double blended = weights ? gfx_LinearByMass(volumes.data(), count, packedWeights.data(), packed.data())
                                 : gfx_LinearByVolume(volumes.data(), count, packed.data());
  if (count == 0 || isMissing(blended) || !std::isfinite(blended)) {
    fail(out, "the components with a volume give no blend");
    return false;
  }
  if (check) {
    set(out, blended);
    if (!ok(out)) return false;
  } else {
    Result& r = m_.result(out);
    r.status = TARNBLEND_COMPUTED;
    r.value = blended;
  }
  if (derivatives_) {
    // d(sum v x / sum v)/d v_i = (x_i - mean) / V; by mass each term carries
    // the component's density over the blend's mean density.
    double meanWeight = 1.0;
    if (weights) {
      double mass = 0.0;
      for (int k = 0; k < count; ++k)
        mass += volumes[static_cast<std::size_t>(k)] * packedWeights[static_cast<std::size_t>(k)];
      meanWeight = mass / total_;
    }
    double* g = row(out);
    for (int i = 0; i < n_; ++i) {
      if (!usable(i)) continue;
      const double weight = weights ? (*weights)[static_cast<std::size_t>(i)] / meanWeight : 1.0;
      g[i] = weight * (values[static_cast<std::size_t>(i)] - blended) * perVolume_;
    }
  }
  return true;
}

void Engine::linearByVolume(Property out, Input input) {
  std::string reason;
  if (!gather(input, work_.values, reason)) return fail(out, reason);
  mean(out, work_.values, nullptr);
}

void Engine::linearByMass(Property out, Input input) {
  std::string reason;
  if (!gather(input, work_.values, reason)) return fail(out, reason);
  if (!gather(Input::DEN, work_.weights, reason)) {
    return fail(out, reason + " (" + inputInfo(input).key + " blends by mass)");
  }
  mean(out, work_.values, &work_.weights);
}

bool Engine::curveFalls(const double* curve, std::string& where) const {
  double previous = -kMissing;
  int previousPoint = -1;
  for (int k = 0; k < 7; ++k) {
    if (isMissing(curve[k])) continue;
    if (curve[k] < previous) {
      where = std::string(pointName(k)) + " below " + pointName(previousPoint);
      return true;
    }
    previous = curve[k];
    previousPoint = k;
  }
  return false;
}

void Engine::blendCurve() {
  auto failAll = [&](const std::string& reason) {
    for (Property p : kPoints) fail(p, reason);
  };
  std::vector<std::string> absent;
  for (int k : {0, 1, 3, 5, 6}) {
    if (!m_.given(kCurvePoints[k])) absent.push_back(pointName(k));
  }
  if (!absent.empty()) return failAll("the recipe has no " + nameList(absent));

  std::vector<double>& curves = work_.curves;
  curves.resize(static_cast<std::size_t>(n_) * 7);
  std::vector<std::string> lacking, estimated, falling, pure;
  std::vector<int>& members = work_.members;
  members.clear();
  std::vector<char> usable(static_cast<std::size_t>(n_), 0);
  for (int i = 0; i < n_; ++i) {
    double* curve = &curves[static_cast<std::size_t>(i) * 7];
    bool complete = true, partial = false;
    for (int k = 0; k < 7; ++k) {
      curve[k] = m_.value(i, kCurvePoints[k]);
      if (!isMissing(curve[k])) continue;
      // The 30 % and 70 % points may be left out: the curve blend estimates them.
      if (k == 2 || k == 4) {
        partial = true;
      } else {
        complete = false;
        if (present(i)) lacking.push_back(std::string(pointName(k)) + " of " + quoted(name(i)));
      }
    }
    std::string where;
    if (complete && curveFalls(curve, where)) {
      complete = false;
      if (present(i)) falling.push_back("the D86 curve of " + quoted(name(i)) + " falls (" + where + ")");
    }
    usable[static_cast<std::size_t>(i)] = complete;
    if (present(i) && complete) {
      members.push_back(i);
      if (partial) estimated.push_back(quoted(name(i)));
    }
  }
  if (!lacking.empty()) return failAll("missing " + nameList(lacking));
  if (!falling.empty()) return failAll(falling.front());

  const int count = static_cast<int>(members.size());
  std::vector<double>& fractions = work_.fractions;
  std::vector<double>& packed = work_.packedValues;
  fractions.resize(static_cast<std::size_t>(count) + 1);
  packed.resize(static_cast<std::size_t>(count + 1) * 7);
  for (int j = 0; j < count; ++j) {
    const int i = members[static_cast<std::size_t>(j)];
    fractions[static_cast<std::size_t>(j)] = fraction(i);
    std::copy_n(&curves[static_cast<std::size_t>(i) * 7], 7, &packed[static_cast<std::size_t>(j) * 7]);
  }
  const int method = m_.d86Method();
  const bool ownPure = m_.dpure() >= 0.0;
  ScopedParameter dpure("GENERICD86", "DPure", m_.dpure(), ownPure);
  // The fraction derivatives are differences over a step of a thousandth of
  // the fraction: the curve search must be much finer than that step for a
  // small component's derivatives to hold, so it runs to a tighter tolerance
  // than libtarn's default (BTol 1e-7).
  const double tolerance = gfx_getCorParms("GENERICD86", "BTol");
  ScopedParameter fine("GENERICD86", "BTol", kCurveTolerance, !(tolerance <= kCurveTolerance));
  const double pureSpan = ownPure ? m_.dpure() : dpure.saved();
  for (int i : members) {
    const double* curve = &curves[static_cast<std::size_t>(i) * 7];
    if (curve[6] - curve[0] < pureSpan) pure.push_back(quoted(name(i)));
  }

  double out[7];
  std::vector<double>& shifted = work_.shifted;  // gfx_D86 fills T30/T70 in place: blend copies
  shifted.assign(packed.begin(), packed.begin() + count * 7);
  const int status = gfx_D86(count, fractions.data(), shifted.data(), out, nullptr, method, 0, 'F');
  if (status != 0) {
    return failAll("the D86 curve blend (" + std::string(kMethodNames[method]) + ") failed with status " +
                   std::to_string(status));
  }
  for (double t : out) {
    if (isMissing(t) || !std::isfinite(t)) return failAll("the D86 curve blend gave no curve");
  }
  std::string where;
  if (curveFalls(out, where)) {
    // Name the narrow-boiling components (or the narrowest): the conversion
    // methods fitted to refinery streams turn a nearly flat curve into a
    // falling one.
    constexpr double kNarrow = 20.0;  // degrees F from IBP to FBP
    std::vector<std::string> narrow;
    int narrowest = members.front();
    for (int i : members) {
      const double* c = &curves[static_cast<std::size_t>(i) * 7];
      const double* best = &curves[static_cast<std::size_t>(narrowest) * 7];
      if (c[6] - c[0] < best[6] - best[0]) narrowest = i;
      if (c[6] - c[0] < kNarrow) narrow.push_back(quoted(name(i)));
    }
    if (narrow.empty()) narrow.push_back(quoted(name(narrowest)));
    std::string reason = "the blended D86 curve falls (" + where + ")";
    if (method != 0) {
      reason += ": " + std::string(kMethodNames[method]) +
                " gives a falling curve for narrow-boiling components such as " + nameList(narrow) +
                ": use HC94, or a pure-component threshold DPure (degrees F) above their " +
                "boiling range so they keep their curves";
    }
    return failAll(reason);
  }
  for (int k = 0; k < 7; ++k) set(kPoints[k], out[k]);
  if (!pure.empty()) {
    // The threshold is in degrees F; a report in another unit says it in its own first.
    const Unit& shown = m_.propertyUnit(Property::T50);
    const std::string span = shown.name == std::string("F") ? shortNumber(pureSpan) + " F"
                                                            : shortNumber(pureSpan / shown.scale) + " " + shown.name +
                                                                  " (" + shortNumber(pureSpan) + " F)";
    note(nameList(pure) + (pure.size() == 1 ? " boils" : " boil") + " within " + span +
         " from IBP to FBP: taken as pure compounds, their D86 curves pass the TBP conversion unchanged (DPure)");
  }
  if (!estimated.empty()) note("T30/T70 estimated for " + nameList(estimated) + " (log-linear curve model)");
  if (!derivatives_) return;

  // The slope with respect to a component's volume is gfx_D86's fraction
  // row: the blend with that component's fraction raised by |fraction x
  // DDelta| (by DDelta where that is below 1e-7) and the others kept, which
  // the blend reads as more of that component, so the change per unit of
  // fraction is the change per unit volume times the total volume. gfx_D86
  // would also difference every point of every curve, which the volumes do
  // not move: the rows are formed from its values alone, the same blends
  // without that work. (shifted now holds the curves as gfx_D86 completed
  // them, so each call reads the same curves.)
  const double step = std::max(1e-7, gfx_getCorParms("GENERICD86", "DDelta"));
  double moved[7];
  for (int j = 0; j < count; ++j) {
    const int i = members[static_cast<std::size_t>(j)];
    double& f = fractions[static_cast<std::size_t>(j)];
    const double base = f;
    const double h = std::fabs(base * step) < 1e-7 ? step : std::fabs(base * step);
    f = base + h;
    const int moveStatus = gfx_D86(count, fractions.data(), shifted.data(), moved, nullptr, method, 0, 'F');
    f = base;
    // A step that takes the fractions' sum out of gfx_D86's window (a blend
    // of one component) leaves the blend as it was: the slope is 0.
    const bool outsideWindow = moveStatus != 0 && !(1.0 + h < 1.001);
    for (int k = 0; k < 7; ++k) {
      const bool blended = moveStatus == 0 && !isMissing(moved[k]) && std::isfinite(moved[k]);
      row(kPoints[k])[i] = outsideWindow ? 0.0 : blended ? (moved[k] - out[k]) / h * perVolume_ : kMissing;
    }
  }
  // A component without volume gets a one-sided difference: the blend with a
  // little of it added (the step gfx_D86 takes for a fraction).
  for (int i = 0; i < n_; ++i) {
    if (present(i) || !usable[static_cast<std::size_t>(i)]) continue;
    for (int j = 0; j < count; ++j)
      fractions[static_cast<std::size_t>(j)] = fraction(members[static_cast<std::size_t>(j)]) / (1.0 + step);
    fractions[static_cast<std::size_t>(count)] = step / (1.0 + step);
    std::vector<double>& widened = work_.widened;
    widened.assign(shifted.begin(), shifted.begin() + count * 7);
    widened.insert(widened.end(), &curves[static_cast<std::size_t>(i) * 7],
                   &curves[static_cast<std::size_t>(i) * 7] + 7);
    if (gfx_D86(count + 1, fractions.data(), widened.data(), moved, nullptr, method, 0, 'F') != 0) continue;
    for (int k = 0; k < 7; ++k) row(kPoints[k])[i] = (moved[k] - out[k]) * perVolume_ / step;
  }
}

void Engine::blendedCurve(double curve[7]) const {
  for (int k = 0; k < 7; ++k) curve[k] = value(kPoints[k]);
}

void Engine::evaporatedAt(Property out, double fahrenheit) {
  if (!needs(out, {Property::IBP})) return;
  double c[7], g[7];
  blendedCurve(c);
  const double percent = gfx_DistillCurve(c, 1, fahrenheit);
  if (isMissing(percent)) return fail(out, "the blended curve has a flat stretch, so it gives no single percent");
  set(out, percent);
  if (!derivatives_) return;
  // Derivative of the straight line through the two points the reading
  // uses (the end segments are extended past IBP and FBP, then held in 0..100).
  percentGrid(g);
  int upper = 1;
  if (fahrenheit >= c[6]) {
    upper = 6;
  } else if (fahrenheit >= c[0]) {
    while (upper < 6 && fahrenheit > c[upper]) ++upper;
  }
  const int lower = upper - 1;
  const double a = c[lower], b = c[upper], rise = g[upper] - g[lower];
  const double raw = g[lower] + rise * (fahrenheit - a) / (b - a);
  double d[7] = {0, 0, 0, 0, 0, 0, 0};
  if (raw >= 0.0 && raw <= 100.0) {
    d[lower] = rise * (fahrenheit - b) / ((b - a) * (b - a));
    d[upper] = -rise * (fahrenheit - a) / ((b - a) * (b - a));
  }
  chain(out, d, 1, kPointOperands, 7);
}

void Engine::temperatureAt(Property out, double percent) {
  if (!needs(out, {Property::IBP})) return;
  double c[7], g[7];
  blendedCurve(c);
  const double t = gfx_DistillCurve(c, 2, percent);
  if (isMissing(t)) return fail(out, "the blended curve has a flat stretch");
  set(out, t);
  if (!derivatives_) return;
  percentGrid(g);
  double d[7] = {0, 0, 0, 0, 0, 0, 0};
  if (percent < g[0]) {
    d[0] = 1.0;
  } else if (percent >= g[6]) {
    d[6] = 1.0;
  } else {
    int upper = 1;
    while (upper < 6 && percent > g[upper]) ++upper;
    const double share = g[upper] > g[upper - 1] ? (percent - g[upper - 1]) / (g[upper] - g[upper - 1]) : 1.0;
    d[upper - 1] = 1.0 - share;
    d[upper] = share;
  }
  chain(out, d, 1, kPointOperands, 7);
}

}  // namespace tarnblend
