#include <algorithm>
#include <cassert>
#include <optional>

#include "opal/smt/arithmetic_impl.h"

// Atoms that bounds imply.
//
// A bound x <= 3 implies the atoms x <= 3, x <= 5, ... of its form and denies x >= 4, x
// = 7. The atoms of a form stand in order, so those that a new bound implies and the one
// before it did not are a range:
//
//     at_most of cuts:     x<=1   x<=3   x<=5   x<=8
//     before, x <= 6:                           true
//     now, x <= 3:                true   true              <- the range
//
// Two bounds at one value imply the equality with it. A bound that a row derives is not
// kept: it implies the first atom of its range, and with that atom the others follow.

namespace opal::smt {

using host::BoundSimplex;
using host::DeltaNumber;

bool ArithmeticTheory::Impl::imply(Literal literal, Ground ground,
                                   Consequences& consequences) {
  switch (consequences.value(literal)) {
    case sat::Value::TRUE: return false;
    case sat::Value::FALSE:
      if (is_asserted_[(~literal).code()] == 0) return false;
      break;
    case sat::Value::UNASSIGNED: break;
  }
  assert(ground < grounds_.size() && length(ground) > 0);
  implied_by_[literal.code()] = ground;
  consequences.imply(literal);
  return true;
}

// Implies what bounds say that were set since the last call.
bool ArithmeticTheory::Impl::propagate_bounds(Consequences& consequences) {
  assert(propagated_ <= simplex_.height());
  bool implied = false;
  for (; propagated_ < simplex_.height(); ++propagated_) {
    const BoundSimplex::Bound& bound = simplex_.bound(propagated_);
    const DeltaNumber* const previous =
        bound.previous == BoundSimplex::NONE
            ? nullptr
            : &simplex_.bound(static_cast<std::size_t>(bound.previous)).value;
    implied |= imply_beyond(bound.var, bound.side, bound.value, previous, bound.reason,
                            consequences);
    implied |= imply_equal(bound.var, consequences);
  }
  return implied;
}

// Implies what a bound says and the one before it did not.
bool ArithmeticTheory::Impl::imply_beyond(int var, Side side, const DeltaNumber& value,
                                          const DeltaNumber* previous, Ground ground,
                                          Consequences& consequences) {
  bool implied = false;
  const auto imply_all = [&](Literal literal) {
    if (!imply(literal, ground, consequences)) return;
    implied = true;
    ++statistics.unate_propagations;
  };
  const auto& cuts = table_.cuts(var);
  const auto& points = table_.points(var);
  if (side == Side::UPPER) {
    for (std::size_t i = table_.first_cut_above(var, value); i < cuts.size(); ++i) {
      if (previous != nullptr && *previous < cuts[i].lower) break;
      imply_all(cuts[i].at_most);
    }
    for (std::size_t i = points.size(); i > 0 && value < points[i - 1].value; --i)
      if (previous == nullptr || points[i - 1].value <= *previous)
        imply_all(~points[i - 1].equal);
  } else {
    for (std::size_t i = table_.cuts_below(var, value); i > 0; --i) {
      if (previous != nullptr && cuts[i - 1].upper < *previous) break;
      imply_all(cuts[i - 1].at_least);
    }
    for (std::size_t i = 0; i < points.size() && points[i].value < value; ++i)
      if (previous == nullptr || *previous <= points[i].value) imply_all(~points[i].equal);
  }
  return implied;
}

bool ArithmeticTheory::Impl::imply_equal(int var, Consequences& consequences) {
  const BoundSimplex::Bound* const lower = simplex_.bound(var, Side::LOWER);
  const BoundSimplex::Bound* const upper = simplex_.bound(var, Side::UPPER);
  if (lower == nullptr || upper == nullptr || !(lower->value == upper->value)) return false;
  bool implied = false;
  std::optional<Ground> ground;
  for (const AtomTable::Point& point : table_.points_at(var, lower->value)) {
    if (consequences.value(point.equal) == sat::Value::TRUE) continue;
    if (!ground) ground = joint_ground(lower->reason, upper->reason);
    if (!imply(point.equal, *ground, consequences)) continue;
    ++statistics.unate_propagations;
    implied = true;
  }
  return implied;
}

// A ground with the literals of both.
ArithmeticTheory::Impl::Ground ArithmeticTheory::Impl::joint_ground(Ground a, Ground b) {
  if (a == b) return a;
  const Ground ground = begin_ground();
  extend_ground(a);
  extend_ground(b);
  return ground;
}

// Atoms that were added while there were bounds already.
bool ArithmeticTheory::Impl::propagate_fresh(Consequences& consequences) {
  bool implied = false;
  for (std::size_t i = 0; i < fresh_.size(); ++i) {  // making sides adds to them
    make_sides(fresh_[i], consequences);
    const Meaning& meaning = table_.meaning(Literal(fresh_[i]));
    if (meaning.kind == Meaning::Kind::NOTHING || meaning.kind == Meaning::Kind::ABSURD)
      continue;
    for (const Side side : {Side::LOWER, Side::UPPER})
      if (const BoundSimplex::Bound* const bound = simplex_.bound(meaning.var, side))
        implied |= imply_beyond(meaning.var, side, bound->value, nullptr, bound->reason,
                                consequences);
    implied |= imply_equal(meaning.var, consequences);
  }
  fresh_.clear();
  return implied;
}

void ArithmeticTheory::Impl::propagate_rows(Consequences& consequences) {
  const std::vector<BoundSimplex::Derived>& derived = simplex_.derive_bounds(MAX_ROWS);
  for (const BoundSimplex::Derived& one : derived) {
    use(one, consequences);
    if (!table_.points_at(one.var, one.value).empty())
      use_with_opposite(one, derived, consequences);
  }
}

// Implies the next atoms that a derived bound says; others follow from these.
void ArithmeticTheory::Impl::use(const BoundSimplex::Derived& derived,
                                 Consequences& consequences) {
  std::optional<Ground> ground;
  const auto imply_one = [&](Literal literal) {
    if (consequences.value(literal) != sat::Value::UNASSIGNED) return;
    if (!ground) ground = explain(derived);
    ++statistics.row_propagations;
    static_cast<void>(imply(literal, *ground, consequences));
  };
  const auto& cuts = table_.cuts(derived.var);
  const auto& points = table_.points(derived.var);
  if (derived.side == Side::UPPER) {
    const std::size_t cut = table_.first_cut_above(derived.var, derived.value);
    if (cut < cuts.size()) imply_one(cuts[cut].at_most);
    for (std::size_t i = points.size(); i > 0 && derived.value < points[i - 1].value; --i)
      imply_one(~points[i - 1].equal);
  } else {
    const std::size_t end = table_.cuts_below(derived.var, derived.value);
    if (end > 0) imply_one(cuts[end - 1].at_least);
    for (std::size_t i = 0; i < points.size() && points[i].value < derived.value; ++i)
      imply_one(~points[i].equal);
  }
}

// Implies the equality with the value of a derived bound when the bound on the other side,
// set or derived, has the same value.
void ArithmeticTheory::Impl::use_with_opposite(
    const BoundSimplex::Derived& one, const std::vector<BoundSimplex::Derived>& derived,
    Consequences& consequences) {
  const Side opposite = one.side == Side::UPPER ? Side::LOWER : Side::UPPER;
  const BoundSimplex::Bound* const bound = simplex_.bound(one.var, opposite);
  const bool is_set = bound != nullptr && bound->value == one.value;
  const auto other =
      std::find_if(derived.begin(), derived.end(), [&](const BoundSimplex::Derived& d) {
        return d.var == one.var && d.side == opposite && d.value == one.value;
      });
  if (!is_set && other == derived.end()) return;
  for (const AtomTable::Point& point : table_.points_at(one.var, one.value)) {
    if (consequences.value(point.equal) != sat::Value::UNASSIGNED) continue;
    const Ground own = explain(one);
    const Ground ground = joint_ground(own, is_set ? bound->reason : explain(*other));
    ++statistics.row_propagations;
    static_cast<void>(imply(point.equal, ground, consequences));
  }
}

ArithmeticTheory::Impl::Ground ArithmeticTheory::Impl::explain(
    const BoundSimplex::Derived& derived) {
  reasons_.clear();
  simplex_.explain(derived, reasons_);
  const Ground ground = begin_ground();
  for (const Ground reason : reasons_)
    extend_ground(reason);
  assert(ground + 1 == grounds_.size());
  return ground;
}

}  // namespace opal::smt
