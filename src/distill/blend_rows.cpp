// Blends with one component changed, for the derivative rows of gfx_D86.
#include "distill/blend_rows.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::distill {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kAllEvaporated = 100.0;
// Pieces a search may look at before it reads every component instead.
constexpr int kMaxPieces = 8;

// The lines of a strictly increasing curve on a non-decreasing grid within
// [0, 100]. Below the IBP the first segment is extended down to 0 % (to the
// IBP itself when the grid starts at 0), above the FBP the last one up to
// 100 % (the FBP when the grid ends at 100).
PercentLines linesOf(const double* curve, const double* grid, const ComponentShape& shape) {
  PercentLines lines{};
  lines.intercept[kCurvePoints] = kAllEvaporated;
  for (int m = 0; m + 1 < kCurvePoints; ++m) {
    lines.slope[m + 1] = shape.slope[m];
    lines.intercept[m + 1] = grid[m] - shape.slope[m] * curve[m];
  }
  const double first = shape.slope[0], last = shape.slope[kCurvePoints - 2];
  lines.kink[0] = grid[0] > 0.0 ? (first > 0.0 ? curve[0] - grid[0] / first : -kInfinity) : curve[0];
  for (int m = 1; m + 1 < kCurvePoints; ++m) lines.kink[m] = curve[m];
  lines.kink[kFbp] = grid[kFbp] < kAllEvaporated
                         ? (last > 0.0 ? curve[kFbp - 1] + (kAllEvaporated - grid[kFbp - 1]) / last : kInfinity)
                         : curve[kFbp];
  for (int m = 0; m <= kCurvePoints; ++m) {
    lines.interceptSize += std::fabs(lines.intercept[m]);
    lines.slopeSize += std::fabs(lines.slope[m]);
  }
  return lines;
}

// The piece of a component's lines that holds t (kinks at -inf counted).
int pieceOf(const PercentLines& lines, double t) {
  int m = 0;
  while (m < kCurvePoints && lines.kink[m] < t) ++m;
  return m;
}

bool finite(const double* values, int count) {
  for (int k = 0; k < count; ++k) {
    if (!std::isfinite(values[k])) return false;
  }
  return true;
}

// Where a search stands on a row's sum of lines: piece j of the unperturbed
// sum, piece m of the changed component's old lines and piece mp of its new
// ones; between lower and upper the row's percent times the total of the
// fractions is intercept + slope t.
struct Cursor {
  int j, m, mp;
  double lower, upper, intercept, slope;
};

// The sum of the unperturbed components' lines with component i's old lines
// taken out and its new ones put in.
class RowSum {
 public:
  struct Sum {
    const Kink* kinks;  // sorted
    int count;
    const double* intercepts;  // piece j lies between kinks j - 1 and j
    const double* slopes;
  };
  RowSum(const Sum& sum, int i, double oldWeight, const PercentLines& oldLines, double weight,
         const PercentLines& lines, double total)
      : sum_(sum),
        i_(i),
        oldWeight_(oldWeight),
        oldLines_(oldLines),
        weight_(weight),
        lines_(lines),
        inverseTotal_(1.0 / total) {}

  Cursor at(double t) const {
    Cursor c;
    const auto below = [](const Kink& k, double x) { return k.t < x; };
    c.j = static_cast<int>(std::lower_bound(sum_.kinks, sum_.kinks + sum_.count, t, below) - sum_.kinks);
    // A component without weight is not in the sum: its old lines count for nothing.
    c.m = oldWeight_ != 0.0 ? pieceOf(oldLines_, t) : 0;
    c.mp = pieceOf(lines_, t);
    settle(c);
    return c;
  }

  // To the piece below (above): across every kink at the current end.
  void down(Cursor& c) const {
    const double x = c.lower;
    while (c.j > 0 && sum_.kinks[c.j - 1].t == x) {
      --c.j;
      if (sum_.kinks[c.j].component == i_) --c.m;
    }
    while (c.mp > 0 && lines_.kink[c.mp - 1] == x) --c.mp;
    settle(c);
  }
  void up(Cursor& c) const {
    const double x = c.upper;
    while (c.j < sum_.count && sum_.kinks[c.j].t == x) {
      if (sum_.kinks[c.j].component == i_) ++c.m;
      ++c.j;
    }
    while (c.mp < kCurvePoints && lines_.kink[c.mp] == x) ++c.mp;
    settle(c);
  }

  double percent(const Cursor& c, double t) const { return (c.intercept + c.slope * t) * inverseTotal_; }

 private:
  void settle(Cursor& c) const {
    c.lower = std::max(c.j > 0 ? sum_.kinks[c.j - 1].t : -kInfinity, c.mp > 0 ? lines_.kink[c.mp - 1] : -kInfinity);
    c.upper =
        std::min(c.j < sum_.count ? sum_.kinks[c.j].t : kInfinity, c.mp < kCurvePoints ? lines_.kink[c.mp] : kInfinity);
    c.intercept = sum_.intercepts[c.j] - oldWeight_ * oldLines_.intercept[c.m] + weight_ * lines_.intercept[c.mp];
    c.slope = sum_.slopes[c.j] - oldWeight_ * oldLines_.slope[c.m] + weight_ * lines_.slope[c.mp];
  }

  Sum sum_;
  int i_;
  double oldWeight_;
  const PercentLines& oldLines_;
  double weight_;
  const PercentLines& lines_;
  double inverseTotal_;
};

// The search for one point of a row's blend. Around the temperature where
// the unperturbed blend reached the target q, it takes the pieces of the
// row's sum that carry the percent from below q - tol to above q + tol;
// further out the percent, rising with temperature, is certainly below or
// above them. Inside, a reading is trusted where it is further than the
// rounding bound from q and from q +- tol, and read component by component
// (exact) elsewhere: every comparison the search makes comes out as it would
// with the exact reading.
class PointSearch {
 public:
  PointSearch(const RowSum& sum, const BlendPercent& exact, double bound, double q, double tol, double lo, double hi,
              double near)
      : sum_(sum), exact_(exact), bound_(bound), q_(q), tol_(tol) {
    piece_[first_] = sum.at(lo <= hi ? std::min(std::max(near, lo), hi) : lo);
    const double margin = 4.0 * bound;
    while (valid_ && piece_[first_].lower > lo &&
           !(sum.percent(piece_[first_], piece_[first_].lower) + margin < q - tol)) {
      valid_ = first_ > 0;
      if (!valid_) break;
      piece_[first_ - 1] = piece_[first_];
      --first_;
      sum.down(piece_[first_]);
    }
    while (valid_ && piece_[last_].upper < hi &&
           !(sum.percent(piece_[last_], piece_[last_].upper) - margin > q + tol)) {
      valid_ = last_ < kMaxPieces - 1;
      if (!valid_) break;
      piece_[last_ + 1] = piece_[last_];
      ++last_;
      sum.up(piece_[last_]);
    }
    if (piece_[first_].lower > lo) below_ = piece_[first_].lower;
    if (piece_[last_].upper < hi) above_ = piece_[last_].upper;
  }

  double operator()(double t) const {
    if (!valid_) return exact_(t);
    // Any value certainly below q - tol (above q + tol) steers the search
    // the same way.
    if (t < below_) return q_ - (2.0 * tol_ + 1.0);
    if (t > above_) return q_ + (2.0 * tol_ + 1.0);
    int k = first_;
    while (k < last_ && t > piece_[k].upper) ++k;
    const double p = sum_.percent(piece_[k], t);
    const double distance = std::fabs(p - q_);
    if (distance <= 2.0 * bound_ || std::fabs(distance - tol_) <= 2.0 * bound_) return exact_(t);
    return p;
  }

 private:
  const RowSum& sum_;
  const BlendPercent& exact_;
  double bound_, q_, tol_;
  Cursor piece_[kMaxPieces];
  int first_ = kMaxPieces / 2, last_ = kMaxPieces / 2;  // piece_[first_ .. last_]
  double below_ = -kInfinity, above_ = kInfinity;
  bool valid_ = true;
};

}  // namespace

BlendRows::BlendRows(int n, const double* curves, const double* fractions, ComponentShape* shapes,
                     const double* blended)
    : n_(n),
      curves_(curves),
      fractions_(fractions),
      shapes_(shapes),
      baseFractions_(static_cast<std::size_t>(n)),
      lines_(static_cast<std::size_t>(n)),
      kinks_(static_cast<std::size_t>(n) * kCurvePoints),
      intercepts_(static_cast<std::size_t>(n) * kCurvePoints + 1),
      slopes_(static_cast<std::size_t>(n) * kCurvePoints + 1) {
  std::copy(blended, blended + kCurvePoints, blended_);
  std::copy(percentGrid(), percentGrid() + kCurvePoints, grid_);
  allUsable_ = grid_[0] >= 0.0 && grid_[kFbp] <= kAllEvaporated && std::is_sorted(grid_, grid_ + kCurvePoints) &&
               finite(blended_, kCurvePoints);

  double intercept = 0.0, slope = 0.0;
  for (int k = 0; k < n; ++k) {
    const double w = fractions[k];
    const double* curve = curves + static_cast<long>(k) * kCurvePoints;
    baseFractions_[k] = w;
    allUsable_ = allUsable_ && std::isfinite(w) && shapes[k].increasing && finite(curve, kCurvePoints);
    negativeFractions_ += w < 0.0 ? 1 : 0;
    if (w > 0.0) total_ += w;
    if (widensLimits(w)) {
      if (curve[kIbp] < lowest_[1]) {
        lowest_[1] = curve[kIbp];
        if (lowest_[1] < lowest_[0]) {
          std::swap(lowest_[0], lowest_[1]);
          lowestComponent_ = k;
        }
      }
      if (curve[kFbp] > highest_[1]) {
        highest_[1] = curve[kFbp];
        if (highest_[1] > highest_[0]) {
          std::swap(highest_[0], highest_[1]);
          highestComponent_ = k;
        }
      }
    }
    if (!allUsable_) continue;
    for (int p = 0; p < kCurvePoints; ++p) {
      largestTemperature_ = std::max(largestTemperature_, std::fabs(curve[p]));
    }
    lines_[k] = linesOf(curve, grid_, shapes[k]);
    const PercentLines& lines = lines_[k];
    interceptSize_ += std::fabs(w) * lines.interceptSize;
    slopeSize_ += std::fabs(w) * lines.slopeSize;
    if (w == 0.0) continue;  // adds nothing to the sum
    const int start = pieceOf(lines, -kInfinity);
    intercept += w * lines.intercept[start];
    slope += w * lines.slope[start];
    for (int m = 0; m < kCurvePoints; ++m) {
      if (std::isfinite(lines.kink[m])) kinks_[kinkCount_++] = {lines.kink[m], k};
    }
  }
  if (!allUsable_) return;

  // The sum's pieces, from the left: crossing a kink moves its component to
  // its next line. Ties may come in any order (the pieces between them are
  // empty); one component's own kinks are strictly increasing.
  std::sort(kinks_.data(), kinks_.data() + kinkCount_, [](const Kink& a, const Kink& b) { return a.t < b.t; });
  ScratchArray<int, 64> piece(static_cast<std::size_t>(n));
  for (int k = 0; k < n; ++k) piece[k] = pieceOf(lines_[k], -kInfinity);
  intercepts_[0] = intercept;
  slopes_[0] = slope;
  for (int b = 0; b < kinkCount_; ++b) {
    const int k = kinks_[b].component;
    const PercentLines& lines = lines_[k];
    const int m = piece[k]++;
    intercept += fractions[k] * (lines.intercept[m + 1] - lines.intercept[m]);
    slope += fractions[k] * (lines.slope[m + 1] - lines.slope[m]);
    intercepts_[b + 1] = intercept;
    slopes_[b + 1] = slope;
  }
}

bool BlendRows::usable(int i, double fraction, const ComponentShape& shape) const {
  // The decisions far from a point follow from the blend's percent rising
  // with temperature: no negative fraction.
  const int negative = negativeFractions_ - (baseFractions_[i] < 0.0 ? 1 : 0);
  return allUsable_ && negative == 0 && fraction >= 0.0 && std::isfinite(fraction) && shape.increasing &&
         finite(curves_ + static_cast<long>(i) * kCurvePoints, kCurvePoints);
}

int BlendRows::blend(int i, double* out) {
  const double* curve = curves_ + static_cast<long>(i) * kCurvePoints;
  const double fraction = fractions_[i];
  const ComponentShape unperturbed = shapes_[i];
  describeShape(curve, grid_, shapes_[i]);
  struct RestoreShape {
    ComponentShape* target;
    ComponentShape shape;
    ~RestoreShape() { *target = shape; }
  } restore{&shapes_[i], unperturbed};

  // The search limits as searchLimits would find them, without reading the
  // other components again.
  SearchLimits limits;
  limits.low = lowestComponent_ == i ? lowest_[1] : lowest_[0];
  limits.high = highestComponent_ == i ? highest_[1] : highest_[0];
  if (widensLimits(fraction)) {
    limits.low = std::min(limits.low, curve[kIbp]);
    limits.high = std::max(limits.high, curve[kFbp]);
  }
  limits.total = total_;
  if (fraction != baseFractions_[i]) {  // summed in the same order
    limits.total = 0.0;
    for (int k = 0; k < n_; ++k) {
      if (fractions_[k] > 0.0) limits.total += fractions_[k];
    }
  }
  setTolerances(limits);
  if (!totalInWindow(limits.total)) return 1;

  if (!usable(i, fraction, shapes_[i])) {
    return blendCurvePoints(n_, curves_, fractions_, out, FractionRule::Normalised, shapes_);
  }

  const BlendPercent exact(n_, curves_, fractions_, grid_, limits.total, shapes_);
  const PercentLines lines = linesOf(curve, grid_, shapes_[i]);
  const double oldWeight = baseFractions_[i];
  const RowSum sum({kinks_.data(), kinkCount_, intercepts_.data(), slopes_.data()}, i, oldWeight, lines_[i], fraction,
                   lines, limits.total);
  // The most a reading of the sum can differ from the exact one: rounding
  // of the summed pieces, of the changed component's lines and of the
  // component-by-component reading, generously.
  double temperature = std::max({largestTemperature_, std::fabs(limits.low), std::fabs(limits.high)});
  for (int p = 0; p < kCurvePoints; ++p) temperature = std::max(temperature, std::fabs(curve[p]));
  const PercentLines& old = lines_[i];
  const double size = interceptSize_ + slopeSize_ * temperature +
                      std::fabs(oldWeight) * (old.interceptSize + old.slopeSize * temperature) +
                      std::fabs(fraction) * (lines.interceptSize + lines.slopeSize * temperature);
  const double bound = 16.0 * kEpsilon * (4.0 * kinkCount_ + n_ + 64.0) * size / std::fabs(limits.total) + 1e-13;

  const auto locate = [&](double q, double lo, double hi, int point) {
    const PointSearch percentAt(sum, exact, bound, q, limits.percentTol, lo, hi, blended_[point]);
    return bisectPercent(percentAt, q, lo, hi, limits.tol, limits.percentTol);
  };
  double points[kCurvePoints];
  searchBlendPoints(grid_, limits, locate, points);
  std::copy(points, points + kCurvePoints, out);
  return 0;
}

}  // namespace tarn::distill
