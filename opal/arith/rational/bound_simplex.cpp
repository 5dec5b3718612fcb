#include "opal/arith/rational/bound_simplex.h"

#include <algorithm>
#include <cassert>
#include <utility>

// The search for values within all bounds (Dutertre and de Moura, "A fast linear-arithmetic
// solver for DPLL(T)", 2006).
//
// Variables that are not basic are kept within their bounds. While a basic variable
// violates a bound, it leaves the basis at that bound, and a variable of its row that can
// move in the right direction enters. If none can, the row is the contradiction:
//
//     row     s - 2x + y = 0       s >= 5   x <= 1   y >= 0
//     so      s = 2x - y <= 2
//
// The values of the last consistent check are saved when they change, and put back when the
// bounds turn out to be contradictory: then they still satisfy whatever bounds are left
// after the search has gone back. The basis stays as it is, since any basis fits any values
// that solve the rows.
//
// Choices go by sparsity at first, and by the smallest index after a while: by sparsity
// they may go round in circles, by index (Bland, 1977) they do not.

namespace opal::host {

int BoundSimplex::make_variable() {
  const auto var = static_cast<int>(variables_.size());
  variables_.emplace_back();
  tableau_.make_variables(var);
  return var;
}

int BoundSimplex::make_slack(const Row& form) {
  assert(form.size() >= 2 && host::is_normal(form));
  assert(form.back().var < static_cast<int>(variables_.size()));
  const int var = make_variable();
  variable(var).expected = true;
  slacks_.push_back({var, form});
  if (is_intact_) {
    Row row = form;
    row.push_back({var, QNumber(-1)});
    add_row(var, std::move(row));
  }
  return var;
}

void BoundSimplex::expect_bounds(int var) {
  Variable& v = variable(var);
  v.expected = true;
  if (v.definition == NONE || !is_intact_) return;
  Definition& definition = definitions_[static_cast<std::size_t>(v.definition)];
  assert(definition.var == var);
  Row row = std::exchange(definition, {NONE, {}}).row;
  v.definition = NONE;
  add_row(var, std::move(row));
}

BoundSimplex::Outcome BoundSimplex::set_bound(int var, Side side, const DeltaNumber& value,
                                              Reason reason) {
  Variable& v = variable(var);
  assert(v.expected);
  const bool upper = side == Side::UPPER;
  int& own = upper ? v.upper : v.lower;
  if (const DeltaNumber* old = limit(v, side))
    if (upper ? *old <= value : *old >= value) return Outcome::WEAKER;
  if (const DeltaNumber* other = limit(v, upper ? Side::LOWER : Side::UPPER))
    if (upper ? value < *other : *other < value) return Outcome::CONTRADICTION;
  bounds_.push_back({value, var, own, reason, side});
  own = static_cast<int>(bounds_.size()) - 1;
  if (upper ? value < v.value : v.value < value) touch(var);
  return Outcome::SET;
}

void BoundSimplex::renew_bound(int var, Side side, Reason reason) {
  Variable& v = variable(var);
  int& own = side == Side::UPPER ? v.upper : v.lower;
  assert(own != NONE);
  const DeltaNumber value = bounds_[static_cast<std::size_t>(own)].value;
  bounds_.push_back({value, var, own, reason, side});
  own = static_cast<int>(bounds_.size()) - 1;
}

void BoundSimplex::touch(int var) {
  if (std::exchange(variable(var).touched, true)) return;
  touched_.push_back(var);
}

void BoundSimplex::retract(std::size_t n) {
  assert(n <= height());
  while (bounds_.size() > n) {
    const Bound& bound = bounds_.back();
    assert(this->bound(bound.var, bound.side) == &bound);
    Variable& v = variable(bound.var);
    (bound.side == Side::UPPER ? v.upper : v.lower) = bound.previous;
    bounds_.pop_back();
  }
  derived_from_ = std::min(derived_from_, n);
}

const BoundSimplex::Bound* BoundSimplex::bound(int var, Side side) const {
  const Variable& v = variable(var);
  const int bound = side == Side::LOWER ? v.lower : v.upper;
  return bound == NONE ? nullptr : &bounds_[static_cast<std::size_t>(bound)];
}

bool BoundSimplex::check() {
  if (!is_intact_) rebuild();
  if (touched_.empty()) return true;
  bool consistent = false;
  is_intact_ = false;
  try {
    consistent = search();
  } catch (const LimitReached&) {  // thrown between changes
    restore();
    is_intact_ = true;
    throw;
  }
  is_intact_ = true;
  if (!consistent) {
    assert(!conflict_.empty());
    restore();
    return false;
  }
  assert(candidates_.empty());
  saved_.clear();
  for (const int var : touched_)
    variable(var).touched = false;
  touched_.clear();
  assert(is_normal());
  return true;
}

// Puts back the values that the present check has changed.
void BoundSimplex::restore() {
  for (Saved& saved : saved_)
    variable(saved.var).value = std::move(saved.value);
  saved_.clear();
  for (const int var : candidates_)
    variable(var).is_candidate = false;
  candidates_.clear();
}

bool BoundSimplex::search() {
  begin();
  const std::size_t by_sparsity = 200 + 4 * tableau_.num_rows();
  for (std::size_t steps = 0;; ++steps) {
    limits_.look();
    const bool by_index = steps >= by_sparsity;
    const Violation violated = choose_row(by_index);
    if (violated.row == NONE) return true;
    const int entering = choose_entering(violated, by_index);
    if (entering == NONE) {
      explain(violated);
      return false;
    }
    repair(violated, entering);
  }
}

// Brings touched variables that are not basic within their bounds; the others are looked
// at.
void BoundSimplex::begin() {
  ++check_;
  assert(saved_.empty() && candidates_.empty());
  for (const int var : touched_) {
    if (tableau_.row_of(var) != NONE) {
      note(var);
      continue;
    }
    const Variable& v = variable(var);
    const DeltaNumber* target = violated_limit(v);
    if (target == nullptr) continue;
    DeltaNumber step = *target;
    step -= v.value;
    change(var, *target);
    move(var, step, NONE);
  }
}

// Gives a variable a value; the one of the last consistent check is kept.
void BoundSimplex::change(int var, DeltaNumber value) {
  Variable& v = variable(var);
  if (v.saved != check_) {
    v.saved = check_;
    saved_.push_back({var, std::move(v.value)});
  }
  v.value = std::move(value);
}

// Has the basic variables follow a step of `var`, but for that of one row.
void BoundSimplex::move(int var, const DeltaNumber& step, int except) {
  assert(tableau_.row_of(var) == NONE);
  for (const int row : tableau_.column(var)) {
    if (row == except) continue;
    const Row& r = tableau_.row(row);
    const int basic = tableau_.basic(row);
    const QNumber& own = *find_coeff(r, basic);
    QNumber ratio = find_coeff(r, var)->neg();
    if (own != QNumber(1)) ratio /= own;
    DeltaNumber value = variable(basic).value;
    value.add_product(ratio, step);
    change(basic, std::move(value));
    note(basic);
  }
}

void BoundSimplex::note(int basic) {
  Variable& v = variable(basic);
  assert(v.definition == NONE);
  if (v.is_candidate || (v.lower == NONE && v.upper == NONE)) return;
  v.is_candidate = true;
  candidates_.push_back(basic);
}

// The bound that excludes the variable's value, or null.
const DeltaNumber* BoundSimplex::violated_limit(const Variable& v) const {
  const DeltaNumber* const lower = limit(v, Side::LOWER);
  if (lower != nullptr && v.value < *lower) return lower;
  const DeltaNumber* const upper = limit(v, Side::UPPER);
  return upper != nullptr && *upper < v.value ? upper : nullptr;
}

BoundSimplex::Violation BoundSimplex::violation(int row) const {
  const Variable& v = variable(tableau_.basic(row));
  const DeltaNumber* const violated = violated_limit(v);
  if (violated == nullptr) return {};
  return {row, violated == limit(v, Side::LOWER)};
}

// The shortest row that is violated, or that of the smallest variable. Candidates that
// violate nothing are struck off.
BoundSimplex::Violation BoundSimplex::choose_row(bool by_index) {
  Violation best;
  std::size_t kept = 0;
  for (const int var : candidates_) {
    const int row = tableau_.row_of(var);
    const Violation found = row == NONE ? Violation() : violation(row);
    if (found.row == NONE) {
      variable(var).is_candidate = false;
      continue;
    }
    candidates_[kept++] = var;
    if (best.row != NONE) {
      const std::size_t length = tableau_.row(row).size();
      const std::size_t best_length = tableau_.row(best.row).size();
      const bool smaller = var < tableau_.basic(best.row);
      if (by_index || length == best_length ? !smaller : length > best_length) continue;
    }
    best = found;
  }
  candidates_.resize(kept);
  return best;
}

int BoundSimplex::choose_entering(Violation violated, bool by_index) const {
  const int basic = tableau_.basic(violated.row);
  const Row& row = tableau_.row(violated.row);
  const int basic_sign = find_coeff(row, basic)->sign();
  const RowEntry* best = nullptr;
  const auto better = [&](const RowEntry& a, const RowEntry& b) {
    const bool free_a = !variable(a.var).expected;
    const bool free_b = !variable(b.var).expected;
    if (free_a != free_b) return free_a;
    if (tableau_.count(a.var) != tableau_.count(b.var))
      return tableau_.count(a.var) < tableau_.count(b.var);
    return a.coeff.num_bits() < b.coeff.num_bits();
  };
  for (const RowEntry& entry : row) {
    if (entry.var == basic) continue;
    // basic = -(coeff / own coeff) * variable + ...
    const bool raise = (entry.coeff.sign() != basic_sign) == violated.below;
    const Variable& v = variable(entry.var);
    const DeltaNumber* stop = limit(v, raise ? Side::UPPER : Side::LOWER);
    if (stop != nullptr && !(raise ? v.value < *stop : *stop < v.value)) continue;
    if (best == nullptr || (!by_index && better(entry, *best))) best = &entry;
    if (by_index) break;
  }
  return best == nullptr ? NONE : best->var;
}

// Moves the violated variable to its bound, and makes the entering one basic.
void BoundSimplex::repair(Violation violated, int entering) {
  const int leaving = tableau_.basic(violated.row);
  assert(leaving != NONE && entering != leaving);
  const Row& row = tableau_.row(violated.row);
  const DeltaNumber target =
      *limit(variable(leaving), violated.below ? Side::LOWER : Side::UPPER);
  DeltaNumber step = target;
  step -= variable(leaving).value;
  step *= (*find_coeff(row, leaving) / *find_coeff(row, entering)).neg();
  change(leaving, target);
  move(entering, step, violated.row);
  change(entering, variable(entering).value + step);
  tableau_.pivot(violated.row, entering);
  ++pivots_;
  assert(tableau_.basic(violated.row) == entering);
  if (variable(entering).expected)
    note(entering);
  else
    define(violated.row);
}

void BoundSimplex::explain(Violation violated) {
  conflict_.clear();
  const int basic = tableau_.basic(violated.row);
  const Row& row = tableau_.row(violated.row);
  const int basic_sign = find_coeff(row, basic)->sign();
  for (const RowEntry& entry : row) {
    const bool upper = entry.var == basic
                           ? !violated.below
                           : (entry.coeff.sign() != basic_sign) == violated.below;
    const Variable& v = variable(entry.var);
    const int bound = upper ? v.upper : v.lower;
    assert(bound != NONE);
    conflict_.push_back(bounds_[static_cast<std::size_t>(bound)].reason);
  }
}

}  // namespace opal::host
