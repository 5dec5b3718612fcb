#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/arith/rational/bound_simplex.h"

// Bounds that rows imply.
//
//     row     2x + y - s = 0       x <= 1   y <= 3        so   s <= 5
//                                  x <= 1   s >= 4        so   y >= 2
//
// The sum of a row's entries is 0. When every entry has an upper limit, their sum S bounds
// each entry from below: entry >= -(S - its own limit). When one entry has none, only that
// one is bounded. So a row is looked at twice: how many entries lack a limit, which is
// mostly more than one and ends it; then the sums.

namespace opal::host {

const std::vector<BoundSimplex::Derived>& BoundSimplex::derive_bounds(std::size_t rows) {
  assert(touched_.empty() && derived_from_ <= height());
  derived_.clear();
  collect_rows(rows);
  for (const int row : rows_to_derive_) {
    limits_.poll();
    derive_from(row);
  }
  return derived_;
}

void BoundSimplex::collect_rows(std::size_t rows) {
  rows_to_derive_.clear();
  row_stamps_.resize(static_cast<std::size_t>(tableau_.row_limit()), 0);
  ++row_stamp_;
  const auto add = [&](int row) {
    if (std::exchange(row_stamps_[static_cast<std::size_t>(row)], row_stamp_) == row_stamp_)
      return;
    rows_to_derive_.push_back(row);
  };
  for (; derived_from_ < bounds_.size(); ++derived_from_) {
    const int var = bounds_[derived_from_].var;
    const int own = tableau_.row_of(var);
    if (own != NONE) {
      add(own);
    } else {
      for (const int row : tableau_.column(var)) {
        if (rows_to_derive_.size() >= rows) break;
        add(row);
      }
    }
  }
}

BoundSimplex::Extent BoundSimplex::extent(const Row& row, Side side) const {
  Extent result;
  for (const RowEntry& entry : row) {
    if (limit(variable(entry.var), side_of(entry, side)) != nullptr) continue;
    result.last = entry.var;
    if (++result.unbounded > 1) return result;
  }
  for (const RowEntry& entry : row)
    if (const DeltaNumber* bound = limit(variable(entry.var), side_of(entry, side)))
      result.sum.add_product(entry.coeff, *bound);
  return result;
}

void BoundSimplex::derive_from(int row) {
  for (const Side side : {Side::LOWER, Side::UPPER}) {
    const Extent found = extent(tableau_.row(row), side);
    if (found.unbounded <= 1) derive_from(row, side, found);
  }
}

// From the upper limits of the entries follow lower bounds of the entries, and the other
// way round.
void BoundSimplex::derive_from(int row, Side side, const Extent& extent) {
  assert(extent.unbounded == 0 || (extent.unbounded == 1 && extent.last != NONE));
  for (const RowEntry& entry : tableau_.row(row)) {
    if (extent.unbounded == 1 && entry.var != extent.last) continue;
    const Variable& v = variable(entry.var);
    if (!v.expected) continue;
    const Side own_side = side_of(entry, side);
    const Side side_derived = own_side == Side::UPPER ? Side::LOWER : Side::UPPER;
    DeltaNumber value = extent.sum;
    if (const DeltaNumber* own = limit(v, own_side))
      value.add_product(entry.coeff.neg(), *own);
    value *= entry.coeff.inv().neg();
    if (const DeltaNumber* known = limit(v, side_derived))
      if (side_derived == Side::UPPER ? *known <= value : value <= *known) continue;
    derived_.push_back({std::move(value), row, entry.var, side_derived});
  }
}

void BoundSimplex::explain(const Derived& derived, std::vector<Reason>& reasons) const {
  const Row& row = tableau_.row(derived.row);
  assert(find_coeff(row, derived.var) != nullptr);
  // The limits of which side make the bound: the upper ones a lower bound of the entry.
  const RowEntry own{derived.var, *find_coeff(row, derived.var)};
  const Side opposite = derived.side == Side::UPPER ? Side::LOWER : Side::UPPER;
  const Side side = side_of(own, opposite);
  for (const RowEntry& entry : row) {
    if (entry.var == derived.var) continue;
    const Variable& v = variable(entry.var);
    const int bound = side_of(entry, side) == Side::UPPER ? v.upper : v.lower;
    assert(bound != NONE);
    reasons.push_back(bounds_[static_cast<std::size_t>(bound)].reason);
  }
}

}  // namespace opal::host
