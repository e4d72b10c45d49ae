// One evaluation of a blend model: the volumes and fractions, the component
// values gathered per input, and the blending rules shared by every product
// (linear by volume or mass, index blending, the D86 curve blend and reading
// the blended curve), each giving a value in base units and its derivatives
// with respect to every component's volume by the chain rule through
// libtarn's own derivatives. gasoline.cpp and distillate.cpp build the
// products' figures from these; evaluate.cpp runs them and turns the results
// into the recipe's units.
#pragma once

#include <cmath>
#include <initializer_list>
#include <string>
#include <vector>

#include "model.h"

namespace tarnblend {

// A blended quantity used as an input of another correlation: its property
// row and the factor from its base unit to the unit the correlation takes.
struct Operand {
  Property property;
  double scale = 1.0;
};

class Engine {
 public:
  Engine(Model& model, bool derivatives);

  Model& model() { return m_; }
  bool derivatives() const { return derivatives_; }
  int count() const { return n_; }
  bool present(int i) const { return w_[static_cast<std::size_t>(i)] > 0.0; }
  double fraction(int i) const { return w_[static_cast<std::size_t>(i)] / total_; }
  // d(fraction-weighted mean)/d(volume) carries this factor: 1 / total volume.
  double perVolume() const { return perVolume_; }
  const std::string& name(int i) const { return m_.component(i).name; }

  // ---- Results, in base units while evaluating ----
  // Whether the evaluation computes p (every property unless the model was
  // asked for some only); a step runs when its outputs are wanted.
  bool wanted(Property p) const { return m_.wanted(p); }
  bool ok(Property p) const { return m_.result(p).status == TARNBLEND_COMPUTED; }
  double value(Property p) const { return m_.result(p).value; }
  double* row(Property p) { return m_.gradient(p); }
  void set(Property p, double value);
  void fail(Property p, const std::string& reason);
  void omit(Property p, const std::string& reason);  // an optional figure the recipe has no inputs for
  void failLike(Property p, Property failed);        // p fails for the reason failed did
  void note(const std::string& text) { m_.notes().push_back(text); }
  // True when every property given is computed; otherwise fails out with the
  // reason of the first that is not.
  bool needs(Property out, std::initializer_list<Property> inputs);
  // out's derivatives = sum over j of d[j * stride] * scale_j * row_j.
  void chain(Property out, const double* d, int stride, std::initializer_list<Operand> inputs);
  void chain(Property out, const double* d, int stride, const Operand* inputs, int count);
  // Every derivative of out set to a constant (0 for a quantity the volumes do not move).
  void constantRow(Property out, double value);

  // ---- Component values ----
  // The values of input for every component, into out (base units). False,
  // with the reason, when the recipe has no such input or a component with a
  // volume lacks it; components without volume may lack it.
  bool gather(Input input, std::vector<double>& out, std::string& reason);

  // ---- Blending rules; each sets out, or fails it with the reason ----
  // Volume-weighted mean of input (gfx_LinearByVolume).
  void linearByVolume(Property out, Input input);
  // Mass-weighted mean of input, mass = volume x density (gfx_LinearByMass).
  void linearByMass(Property out, Input input);
  // Mean of values (weights: null for volume, else the densities) into out;
  // values and weights are per component, missing where a component lacks
  // them. check: hold the mean to the range of out (not for an index).
  bool mean(Property out, const std::vector<double>& values, const std::vector<double>* weights, bool check = true);
  // Index blending: each component's value through forward(value) to an
  // index, the indices blended by volume or by mass, the blend back through
  // reverse(index, &derivative). indexName names the index in reasons.
  template <class Forward, class Reverse>
  void indexBlend(Property out, Input input, bool byMass, const char* indexName, Forward forward, Reverse reverse);

  // The D86 curve blend into IBP..FBP (degrees F), by gfx_D86 with the
  // model's method and pure-component threshold.
  void blendCurve();
  // Percent evaporated at a temperature (degrees F) read off the blended curve.
  void evaporatedAt(Property out, double fahrenheit);
  // Temperature at a percent evaporated read off the blended curve.
  void temperatureAt(Property out, double percent);

 private:
  bool curveFalls(const double* curve, std::string& where) const;
  void blendedCurve(double curve[7]) const;  // IBP..FBP of the blend, degrees F

  Model& m_;
  Workspace& work_;
  bool derivatives_;
  int n_;
  std::vector<double>& w_;  // volumes scaled by the largest
  double total_ = 0.0, perVolume_ = 0.0;
  std::vector<double> zeros_;
};

// The catalogue index of a built-in correlation by identifier (cached), or -1.
int catalogueIndex(const char* id);

// The current value of a catalogue correlation's coefficient by name, or
// the missing value.
double catalogueCoefficient(const char* id, const char* name);

// "'A', 'B' and 3 more" for reasons.
std::string nameList(const std::vector<std::string>& names);

void evaluateGasoline(Engine& engine);
void evaluateDistillate(Engine& engine);

// ---- Template definition ----

template <class Forward, class Reverse>
void Engine::indexBlend(Property out, Input input, bool byMass, const char* indexName, Forward forward,
                        Reverse reverse) {
  std::vector<double>& values = work_.values;
  std::string reason;
  if (!gather(input, values, reason)) return fail(out, reason);
  std::vector<double>* weights = nullptr;
  if (byMass) {
    if (!gather(Input::DEN, work_.weights, reason))
      return fail(out, reason + " (" + inputInfo(input).key + " blends by mass)");
    weights = &work_.weights;
  }
  std::vector<std::string> outside;
  std::vector<double>& indices = work_.indices;
  indices.assign(values.size(), kMissing);
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (isMissing(values[i])) continue;
    const double index = forward(values[i]);
    if (isMissing(index) || !std::isfinite(index)) {
      if (present(static_cast<int>(i))) outside.push_back(name(static_cast<int>(i)));
      continue;
    }
    indices[i] = index;
  }
  if (!outside.empty()) {
    return fail(out, std::string(inputInfo(input).key) + " of " + nameList(outside) +
                         " lies outside the range of the " + indexName);
  }
  if (!mean(out, indices, weights, false)) return;
  double slope = 0.0;
  const double blended = reverse(value(out), &slope);
  if (isMissing(blended) || !std::isfinite(blended)) {
    return fail(out, std::string("the blended ") + indexName + " has no " + inputInfo(input).description);
  }
  set(out, blended);
  if (derivatives_ && ok(out)) {
    double* g = row(out);
    for (int i = 0; i < n_; ++i) {
      if (!isMissing(g[i])) g[i] *= slope;
    }
  }
}

}  // namespace tarnblend
