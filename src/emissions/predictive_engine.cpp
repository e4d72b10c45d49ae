// The predictive-model engine: one evaluation of a model described by
// ModelData, and its central-difference sensitivities.
#include "emissions/predictive_engine.h"

#include <cmath>

#include "common/missing.h"

namespace tarn::emissions::predictive {
namespace {

// Out-of-range tests widen the valid range by these factors.
constexpr double kLowerTolerance = 0.9999;
constexpr double kUpperTolerance = 1.0001;

// Relative step of the sensitivities: h = (|x| + 1) * kRelativeStep.
constexpr double kRelativeStep = 1e-6;

WorkingState theWorkingState;

void expandTerms(const ModelData& model, const StandardizationSet& set, const double* fuel, double* terms) {
  double z[kMaxProperties];
  for (int i = 0; i < model.propertyCount; ++i) {
    z[i] = set.fixed[i] ? set.fixedZ[i] : (fuel[i] - set.mean[i]) / set.sd[i];
  }
  for (int t = 0; t < model.termCount; ++t) {
    const Term& term = model.terms[t];
    terms[t] = term.second < 0 ? z[term.first] : z[term.first] * z[term.second];
  }
}

double regression(const ModelData& model, int r, const double* terms) {
  const int n = model.regressionCount;
  double y = model.intercepts[r];
  for (int part = 1; part < model.interceptPartCount; ++part) y += model.intercepts[part * n + r];
  for (int t = 0; t < model.termCount; ++t) y += model.coefficients[t * n + r] * terms[t];
  return y;
}

double floorValue(const Floor& floor, const double* candidate) {
  double value = floor.constant;
  for (int k = 0; k < floor.inputCount; ++k) value += floor.coefficient[k] * candidate[floor.input[k]];
  return value;
}

void countOutOfRange(const ModelData& model, const Limits& limits, WorkingState& s) {
  s.outOfRangeCount = 0;
  for (int i = 0; i < model.propertyCount; ++i) {
    const double p = s.properties[i];
    s.outOfRange[i] = (p < limits.testedLower[i] || p > limits.testedUpper[i]) ? 1 : 0;
    s.outOfRangeCount += s.outOfRange[i];
  }
}

void chooseReference(const ModelData& model, WorkingState& s) {
  for (int i = 0; i < model.propertyCount; ++i) {
    s.reference[i] = s.flag[i] == 'A' ? model.averagingReference[i] : model.flatReference[i];
  }
}

void adjustCandidate(const ModelData& model, WorkingState& s) {
  for (int i = 0; i < model.propertyCount; ++i) s.candidate[i] = s.properties[i];
  for (int k = 0; k < model.snapCount; ++k) {
    const Snap& snap = model.snap[k];
    double& x = s.candidate[snap.property];
    if (x >= snap.low && x <= snap.high) x = snap.value;
  }
  double floors[kMaxFloors];
  for (int f = 0; f < model.floorCount; ++f) floors[f] = floorValue(model.floor[f], s.candidate);
  for (int v = 0; v < model.variantCount; ++v) {
    double* fuel = s.variantFuel[v];
    for (int i = 0; i < model.propertyCount; ++i) fuel[i] = s.candidate[i];
    for (int k = 0; k < model.variant[v].floorCount; ++k) {
      const int f = model.variant[v].floor[k];
      const int property = model.floor[f].property;
      if (s.candidate[property] < floors[f]) fuel[property] = floors[f];
    }
  }
}

void combineResults(const ModelData& model, WorkingState& s) {
  const double* P = s.percentChange;
  const TechnologyGroup* groups = model.groups;
  for (int k = 0; k < kExhaustResultCount; ++k) {
    double result = groups[0].exhaustWeight[k] * P[groups[0].exhaustRegression[k]];
    for (int g = 1; g < model.groupCount; ++g) {
      result += groups[g].exhaustWeight[k] * P[groups[g].exhaustRegression[k]];
    }
    s.results[k] = result;
  }

  // Potency-weighted toxic emissions of one group for one fuel.
  auto weighted = [&](const TechnologyGroup& group, const double* emission) {
    double w = model.potency[0] * emission[group.toxicRegression[0]];
    for (int sp = 1; sp < model.toxicSpeciesCount; ++sp) {
      w += model.potency[sp] * emission[group.toxicRegression[sp]];
    }
    return w;
  };
  double candidate = 0.0, reference = 0.0;
  for (int g = 0; g < model.groupCount; ++g) {
    const double wCand = weighted(groups[g], s.candidateEmission);
    const double wRef = weighted(groups[g], s.referenceEmission);
    s.groupToxicsChange[g] = (wCand / wRef - 1.0) * 100.0;
    if (g == 0) {
      candidate = groups[g].toxicsWeight * wCand;
      reference = groups[g].toxicsWeight * wRef;
    } else {
      candidate += groups[g].toxicsWeight * wCand;
      reference += groups[g].toxicsWeight * wRef;
    }
  }
  s.results[2] = (candidate / reference - 1.0) * 100.0;
}

// The reference fuel depends only on the model and the flags: within one
// set of sensitivities its terms and emissions are worked out once
// (referenceKnown), the candidate's at every evaluation.
void runRegressions(const ModelData& model, WorkingState& s, bool referenceKnown) {
  if (!referenceKnown) {
    chooseReference(model, s);
    for (int set = 0; set < model.setCount; ++set) {
      expandTerms(model, model.sets[set], s.reference, s.referenceTerms[set]);
    }
    for (int r = 0; r < model.regressionCount; ++r) {
      const Regression& reg = model.regressions[r];
      s.referenceEmission[r] = std::exp(regression(model, r, s.referenceTerms[reg.standardization]));
    }
  }
  adjustCandidate(model, s);
  for (int set = 0; set < model.setCount; ++set) {
    for (int v = 0; v < model.variantCount; ++v) {
      expandTerms(model, model.sets[set], s.variantFuel[v], s.candidateTerms[set][v]);
    }
  }
  for (int r = 0; r < model.regressionCount; ++r) {
    const Regression& reg = model.regressions[r];
    s.candidateEmission[r] =
        std::exp(regression(model, r, s.candidateTerms[reg.standardization][reg.candidateVariant]));
    s.percentChange[r] = (s.candidateEmission[r] - s.referenceEmission[r]) / s.referenceEmission[r] * 100.0;
  }
  combineResults(model, s);
}

}  // namespace

WorkingState& workingState() { return theWorkingState; }

Limits limitsFromTable(const ModelData& model, const double* lower, const double* upper) {
  Limits limits{};
  for (int i = 0; i < model.propertyCount; ++i) {
    limits.lower[i] = lower[i];
    limits.upper[i] = upper[i];
    limits.testedLower[i] = kLowerTolerance * lower[i];
    limits.testedUpper[i] = kUpperTolerance * upper[i];
  }
  for (int k = 0; k < model.boundOverrideCount; ++k) {
    const TestedBound& bound = model.boundOverride[k];
    limits.testedLower[bound.property] = bound.lower;
    limits.testedUpper[bound.property] = bound.upper;
  }
  return limits;
}

void setFlags(const ModelData& model, const char* flags, WorkingState& state) {
  for (int i = 0; i < kMaxProperties; ++i) state.flag[i] = ' ';
  for (int k = 0; k < kFlagLetters; ++k) state.flag[model.flaggedProperty[k]] = 'F';
  if (flags == nullptr) return;
  for (int k = 0; k < kFlagLetters && flags[k] != '\0'; ++k) {
    state.flag[model.flaggedProperty[k]] = flags[k];
  }
}

namespace {

void evaluateFuel(const ModelData& model, const Limits& limits, WorkingState& s, bool referenceKnown) {
  const int n = model.propertyCount;
  // The per-property adjustment has no source of rows: it stays at 1 and 0,
  // but is applied and undone so that a source can be added.
  for (int i = 0; i < n; ++i) {
    s.multiplier[i] = 1.0;
    s.offset[i] = 0.0;
  }
  for (int i = 0; i < n; ++i) s.properties[i] = s.properties[i] * s.multiplier[i] + s.offset[i];

  countOutOfRange(model, limits, s);
  if (model.coefficients != nullptr) {
    runRegressions(model, s, referenceKnown);
  } else {
    for (double& r : s.results) r = kMissing;
  }

  for (int i = 0; i < n; ++i) s.properties[i] = (s.properties[i] - s.offset[i]) / s.multiplier[i];
}

}  // namespace

void evaluate(const ModelData& model, const Limits& limits, WorkingState& s) { evaluateFuel(model, limits, s, false); }

void evaluateWithSensitivities(const ModelData& model, const Limits& limits, WorkingState& s, double* deriv) {
  evaluate(model, limits, s);
  s.baseOutOfRangeCount = s.outOfRangeCount;
  for (int i = 0; i < model.propertyCount; ++i) s.baseOutOfRange[i] = s.outOfRange[i];
  if (deriv == nullptr) return;

  const int n = model.propertyCount;
  for (int i = 0; i < n * kResultCount; ++i) deriv[i] = 0.0;
  if (model.coefficients == nullptr) return;

  double base[kResultCount];
  for (int k = 0; k < kResultCount; ++k) base[k] = s.results[k];
  for (int j = 0; j < n; ++j) {
    if (!model.perturbed[j]) continue;
    const double x = s.properties[j];
    const double h = (std::fabs(x) + 1.0) * kRelativeStep;
    const double upper = std::fmin(limits.upper[j], x + h);
    const double lower = std::fmax(limits.lower[j], x - h);
    s.properties[j] = lower;
    evaluateFuel(model, limits, s, true);
    double atLower[kResultCount];
    for (int k = 0; k < kResultCount; ++k) atLower[k] = s.results[k];
    s.properties[j] = upper;
    evaluateFuel(model, limits, s, true);
    for (int k = 0; k < kResultCount; ++k) {
      // A property exactly one step beyond a limit leaves no interval.
      deriv[kResultCount * j + k] = upper != lower ? (s.results[k] - atLower[k]) / (upper - lower) : 0.0;
    }
    s.properties[j] = x;
  }
  for (int k = 0; k < kResultCount; ++k) s.results[k] = base[k];
}

}  // namespace tarn::emissions::predictive
