#include "opal/arith/integer/solution_lattice.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>

// The integer solutions of equations, as a point and a basis.
//
// Row by row, starting with all integer vectors: Euclid's algorithm on the values that a
// row's sum takes on the basis leaves one vector with the greatest common divisor g and
// makes the others 0. The others are the new basis; the one, taken (constant - value) / g
// times, moves the solution onto the row.
//
// Example: 3x + 5y = 11. The basis (1, 0), (0, 1) has the values 3 and 5; Euclid ends with
// (2, -1) of value 1 and (-5, 3) of value 0. The solution is 11 * (2, -1) = (22, -11), and
// near (0, 0) it is (22, -11) + 4 * (-5, 3) = (2, 1).
//
// The basis is reduced by the algorithm of Lenstra, Lenstra and Lovasz ("Factoring
// polynomials with rational coefficients", 1982) with the orthogonal parts in floating
// point, and the nearest plane of each vector is taken in turn (Babai, "On Lovasz' lattice
// reduction and the nearest lattice point problem", 1986). Rounding can spoil how short the
// vectors are, never what they satisfy.

namespace opal::host {

namespace {

constexpr std::size_t MOST_SWAPS = 5000;

QNumber nearest(double x) {
  constexpr double LARGEST = 4e18;
  if (std::isnan(x)) return {};
  return {std::lround(std::clamp(x, -LARGEST, LARGEST))};
}

// x += q * y
void add(SolutionLattice::Vector& x, const QNumber& q, const SolutionLattice::Vector& y) {
  assert(x.size() == y.size() && q.is_integer());
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i] += q * y[i];
    x[i].shrink();
  }
}

QNumber value(const Row& sum, const SolutionLattice::Vector& x) {
  assert(sum.empty() || static_cast<std::size_t>(sum.back().var) < x.size());
  QNumber result;
  for (const RowEntry& entry : sum)
    result += entry.coeff * x[static_cast<std::size_t>(entry.var)];
  return result;
}

double product(const std::vector<double>& x, const std::vector<double>& y) {
  assert(x.size() == y.size());
  double sum = 0;
  for (std::size_t i = 0; i < x.size(); ++i)
    sum += x[i] * y[i];
  return sum;
}

}  // namespace

SolutionLattice::SolutionLattice(const std::vector<IntegerRow>& rows,
                                 std::vector<double> widths, Limits& limits)
    : widths_(std::move(widths)), limits_(limits), solution_(Vector(widths_.size())) {
  assert(std::all_of(widths_.begin(), widths_.end(), [](double w) { return w > 0; }));
  for (std::size_t i = 0; i < widths_.size(); ++i) {
    basis_.emplace_back(widths_.size());
    basis_.back()[i] = QNumber(1);
  }
  for (const IntegerRow& row : rows) {
    if (restrict_to(row)) continue;
    solution_.reset();
    return;
  }
  reduce();
  assert(is_normal());
  assert(std::all_of(rows.begin(), rows.end(), [this](const IntegerRow& row) {
    return value(row.sum, *solution_) == row.constant;
  }));
}

bool SolutionLattice::is_normal() const {
  const auto is_integral = [this](const Vector& x) {
    return x.size() == widths_.size() &&
           std::all_of(x.begin(), x.end(), [](const QNumber& q) { return q.is_integer(); });
  };
  return (!solution_ || is_integral(*solution_)) && basis_.size() <= widths_.size() &&
         std::all_of(basis_.begin(), basis_.end(), is_integral);
}

// False when no integer solution so far satisfies the row.
bool SolutionLattice::restrict_to(const IntegerRow& row) {
  assert(row.is_normal() && solution_);
  const QNumber missing = row.constant - value(row.sum, *solution_);
  std::vector<QNumber> values;
  for (const Vector& x : basis_)
    values.push_back(value(row.sum, x));
  std::size_t pivot = basis_.size();
  for (std::size_t k = 0; k < basis_.size(); ++k) {
    if (values[k].is_zero()) continue;
    if (pivot == basis_.size()) pivot = k;
    while (k != pivot && !values[k].is_zero()) {
      limits_.look();
      const QNumber q = (values[pivot] / values[k]).floor().neg();
      add(basis_[pivot], q, basis_[k]);
      values[pivot] += q * values[k];
      std::swap(basis_[pivot], basis_[k]);
      std::swap(values[pivot], values[k]);
    }
  }
  if (pivot == basis_.size()) return missing.is_zero();
  // Euclid's algorithm has left a value at the pivot alone.
  assert(static_cast<std::size_t>(std::count(values.begin(), values.end(), QNumber())) +
             1 ==
         values.size());
  const QNumber q = missing / values[pivot];
  if (!q.is_integer()) return false;
  add(*solution_, q, basis_[pivot]);
  assert(value(row.sum, *solution_) == row.constant);
  basis_.erase(basis_.begin() + static_cast<std::ptrdiff_t>(pivot));
  return true;
}

SolutionLattice::Image SolutionLattice::image(const Vector& x) const {
  Image result;
  for (std::size_t i = 0; i < x.size(); ++i)
    result.push_back(x[i].to_double() / widths_[i]);
  return result;
}

// How often x has the orthogonal part of a basis vector.
double SolutionLattice::share(const Image& x, std::size_t j) const {
  assert(j < orthogonal_.size());
  return product(x, orthogonal_[j]) / product(orthogonal_[j], orthogonal_[j]);
}

void SolutionLattice::orthogonalise(std::size_t k) {
  assert(k < basis_.size() && orthogonal_.size() == basis_.size());
  Image rest = image(basis_[k]);
  for (std::size_t j = 0; j < k; ++j) {
    const double q = share(rest, j);
    for (std::size_t i = 0; i < rest.size(); ++i)
      rest[i] -= q * orthogonal_[j][i];
  }
  orthogonal_[k] = std::move(rest);
}

// Takes multiples of the basis vectors before number k from it; whether there were any.
bool SolutionLattice::shorten(std::size_t k) {
  bool changed = false;
  for (std::size_t j = k; j-- > 0;) {
    const QNumber q = nearest(share(image(basis_[k]), j)).neg();
    if (q.is_zero()) continue;
    add(basis_[k], q, basis_[j]);
    changed = true;
  }
  return changed;
}

void SolutionLattice::reduce() {
  constexpr double DELTA = 0.75;
  orthogonal_.resize(basis_.size());
  std::size_t swaps = 0;
  for (std::size_t k = 0; k < basis_.size();) {
    limits_.look();
    for (int round = 0; round < 10 && shorten(k); ++round) {
    }
    orthogonalise(k);
    if (k > 0 && swaps < MOST_SWAPS) {
      const double before = product(orthogonal_[k - 1], orthogonal_[k - 1]);
      const double mu = share(image(basis_[k]), k - 1);
      const double after = product(orthogonal_[k], orthogonal_[k]);
      if (after < (DELTA - mu * mu) * before) {
        std::swap(basis_[k - 1], basis_[k]);
        ++swaps;
        --k;
        continue;
      }
    }
    ++k;
  }
}

SolutionLattice::Vector SolutionLattice::near(const std::vector<double>& point) const {
  assert(has_solution() && point.size() == widths_.size());
  Vector x = *solution_;
  // The second round mends what rounding took from a long way.
  for (int round = 0; round < 2; ++round) {
    for (std::size_t j = basis_.size(); j-- > 0;) {
      Image way = image(x);
      for (std::size_t i = 0; i < way.size(); ++i)
        way[i] = point[i] / widths_[i] - way[i];
      add(x, nearest(share(way, j)), basis_[j]);
    }
  }
  assert(x.size() == widths_.size());
  return x;
}

}  // namespace opal::host
