#include "opal/arith/rational/simplex.h"

#include <algorithm>
#include <cassert>
#include <utility>

// The search: while a basic variable violates a bound, it leaves the basis at that bound,
// and a variable of its row that can move in the right direction enters. If none can, all
// variables of the row stand at bounds, and the row is a contradiction between these:
//
//     row     s - 2x + y = 0       s >= 5   x <= 1   y >= 0
//     so      s = 2x - y <= 2      5 * ... : 1*(s - 5) + 2*(1 - x) + 1*(y - 0) = -3
//
// The multiplier of a bound is its variable's coefficient in the row.

namespace opal::host {

namespace {

constexpr std::size_t ROWS_FOR_SHORTCUT = 6;

}  // namespace

Simplex::Simplex(const ConstraintTerms& terms, Limits& limits, Effort effort)
    : terms_(terms), limits_(limits), effort_(effort) {}

int Simplex::new_variable(State state) {
  const auto var = static_cast<int>(variables_.size());
  variables_.emplace_back();
  variables_.back().state = state;
  tableau_.make_variables(var);
  return var;
}

int Simplex::structural(int mapper_var) {
  const auto id = static_cast<std::size_t>(mapper_var);
  if (id >= structural_.size()) structural_.resize(id + 1, NONE);
  if (structural_[id] == NONE) structural_[id] = new_variable(State::LIVE);
  return structural_[id];
}

// The variable and factor for which the term is scale * variable.
Simplex::Scaled Simplex::slack(const la::LinearTerm& term) {
  const auto& coeffs = term.vars.coeffs();
  if (coeffs.size() == 1) return {structural(coeffs[0].first), coeffs[0].second};
  Row form;
  form.reserve(coeffs.size() + 1);
  QNumber denominator(1);
  for (const auto& pair : coeffs) {
    form.push_back({structural(pair.first), pair.second});
    if (!pair.second.is_integer()) denominator = lcm(denominator, pair.second.get_den());
  }
  const auto by_var = [](const RowEntry& a, const RowEntry& b) { return a.var < b.var; };
  std::sort(form.begin(), form.end(), by_var);
  const QNumber original = form.front().coeff;
  if (original.sign() < 0) denominator = denominator.neg();
  if (denominator != QNumber(1))
    for (RowEntry& entry : form)
      entry.coeff *= denominator;
  make_coprime(form);
  std::size_t hash = form.size();
  for (const RowEntry& entry : form) {
    const std::size_t one = entry.coeff.hash() * 31 + static_cast<std::size_t>(entry.var);
    hash = (hash ^ one) * 0x9e3779b97f4a7c15U;
  }
  const QNumber scale = original / form.front().coeff;
  const auto equal = [](const RowEntry& a, const RowEntry& b) {
    return a.var == b.var && a.coeff == b.coeff;
  };
  const auto [begin, end] = forms_.equal_range(hash);
  for (auto it = begin; it != end; ++it) {
    const Row& other = variable(it->second).form;
    if (std::equal(form.begin(), form.end(), other.begin(), other.end(), equal))
      return {it->second, scale};
  }
  const int var = new_variable(State::ABSENT);
  variable(var).form = std::move(form);
  forms_.emplace(hash, var);
  return {var, scale};
}

void Simplex::add(int constr_id, int side) {
  const la::LinearTerm& term = terms_.constraint_term(constr_id);
  positions_.push_back(trail_.size());
  const Scaled slack_var = slack(term);
  const bool positive = slack_var.scale.sign() > 0;
  for (const Half& half : halves(term.kind, side)) {
    const bool upper = half.upper == positive;
    Bound bound;
    bound.value.real = term.constant / slack_var.scale;
    if (half.strict) bound.value.strict = QNumber(upper ? -1 : 1);
    bound.multiplier = abs(slack_var.scale).inv();
    bound.constraint = constr_id;
    bound.sign = half.sign;
    set_bound(slack_var.var, upper, std::move(bound));
  }
}

void Simplex::set_bound(int var, bool upper, Bound bound) {
  Variable& v = variable(var);
  Bound& old = upper ? v.upper : v.lower;
  if (old.exists() && (upper ? old.value <= bound.value : old.value >= bound.value)) return;
  trail_.push_back({var, upper, std::exchange(old, std::move(bound))});
  if (v.state != State::LIVE && !v.waiting) {
    v.waiting = true;
    waiting_.push_back(var);
  }
  if (!bound_conflict_ && v.lower.exists() && v.upper.exists() &&
      v.lower.value > v.upper.value)
    bound_conflict_ = {positions_.size() - 1, var};
}

void Simplex::retract(std::size_t n) {
  if (n == size()) return;
  for (std::size_t i = trail_.size(); i > positions_[n]; --i) {
    Change& change = trail_[i - 1];
    Variable& v = variable(change.var);
    (change.upper ? v.upper : v.lower) = std::move(change.old);
  }
  trail_.erase(trail_.begin() + static_cast<std::ptrdiff_t>(positions_[n]), trail_.end());
  positions_.resize(n);
  if (bound_conflict_ && bound_conflict_->position >= n) bound_conflict_.reset();
}

FarkasLeaf Simplex::leaf(const Bound& bound, const QNumber& multiplier) {
  assert(bound.exists());
  return {bound.constraint, bound.sign, bound.multiplier * abs(multiplier)};
}

std::optional<FarkasCombination> Simplex::check() {
  if (bound_conflict_) {
    const Variable& v = variable(bound_conflict_->var);
    return FarkasCombination{leaf(v.lower, QNumber(1)), leaf(v.upper, QNumber(1))};
  }
  bring_in_rows();
  eliminate_unbounded();
  settle();
  if (auto refutation = solve()) return refutation;
  recover();
  return std::nullopt;
}

// Moves variables that are not basic between their bounds, and computes the basic ones.
void Simplex::settle() {
  for (int var = 0; var < static_cast<int>(variables_.size()); ++var) {
    Variable& v = variable(var);
    if (v.state != State::LIVE || tableau_.row_of(var) != NONE) continue;
    if (v.lower.exists() && v.value < v.lower.value) v.value = v.lower.value;
    if (v.upper.exists() && v.value > v.upper.value) v.value = v.upper.value;
  }
  for (int row = 0; row < tableau_.row_limit(); ++row) {
    const int basic = tableau_.basic(row);
    if (basic == NONE) continue;
    limits_.poll();
    variable(basic).value = solved_value(tableau_.row(row), basic);
  }
}

std::optional<FarkasCombination> Simplex::solve() {
  bool violated = false;
  for (int row = 0; row < tableau_.row_limit(); ++row) {
    if (tableau_.basic(row) == NONE) continue;
    limits_.poll();
    const Violation candidate = violation(row);
    if (candidate.row == NONE) continue;
    violated = true;
    if (is_contradictory(candidate)) return conflict(candidate);
  }
  if (!violated) return std::nullopt;
  if (effort_ == Effort::NORMAL && tableau_.num_rows() >= ROWS_FOR_SHORTCUT)
    if (auto answer = take_shortcut()) return std::move(*answer);
  return search();
}

std::optional<FarkasCombination> Simplex::search() {
  // Choices by sparsity are fast but may go round in circles; choices by index do not.
  const std::size_t by_sparsity = 200 + 4 * tableau_.num_rows();
  for (std::size_t steps = 0;; ++steps) {
    limits_.look();
    const bool by_index = steps >= by_sparsity;
    const Violation violated = choose_row(by_index);
    if (violated.row == NONE) return std::nullopt;
    const int entering = choose_entering(violated, by_index);
    if (entering == NONE) return conflict(violated);
    repair(violated, entering);
  }
}

Simplex::Violation Simplex::violation(int row) const {
  const Variable& v = variable(tableau_.basic(row));
  if (v.lower.exists() && v.value < v.lower.value) return {row, true};
  if (v.upper.exists() && v.value > v.upper.value) return {row, false};
  return {};
}

Simplex::Violation Simplex::choose_row(bool by_index) const {
  Violation best;
  for (int row = 0; row < tableau_.row_limit(); ++row) {
    if (tableau_.basic(row) == NONE) continue;
    const Violation candidate = violation(row);
    if (candidate.row == NONE) continue;
    if (best.row != NONE) {
      const std::size_t length = tableau_.row(row).size();
      const std::size_t best_length = tableau_.row(best.row).size();
      const bool smaller = tableau_.basic(row) < tableau_.basic(best.row);
      if (by_index || length == best_length ? !smaller : length > best_length) continue;
    }
    best = candidate;
  }
  return best;
}

// Whether a variable of a row can move so that the row's basic variable rises (or falls);
// `raise` tells whether the variable itself has to rise for that.
bool Simplex::may_enter(const RowEntry& entry, bool raise) const {
  const Variable& v = variable(entry.var);
  const Bound& limit = raise ? v.upper : v.lower;
  return !limit.exists() || (raise ? v.value < limit.value : v.value > limit.value);
}

int Simplex::choose_entering(Violation violated, bool by_index) const {
  const int basic = tableau_.basic(violated.row);
  const Row& row = tableau_.row(violated.row);
  const int basic_sign = find_coeff(row, basic)->sign();
  const RowEntry* best = nullptr;
  const auto better = [&](const RowEntry& a, const RowEntry& b) {
    const bool free_a = !variable(a.var).bounded();
    const bool free_b = !variable(b.var).bounded();
    if (free_a != free_b) return free_a;
    if (tableau_.count(a.var) != tableau_.count(b.var))
      return tableau_.count(a.var) < tableau_.count(b.var);
    return a.coeff.num_bits() < b.coeff.num_bits();
  };
  for (const RowEntry& entry : row) {
    if (entry.var == basic) continue;
    // basic = -(coeff / own coeff) * variable + ...
    const bool same_direction = entry.coeff.sign() != basic_sign;
    if (!may_enter(entry, same_direction == violated.below)) continue;
    if (best == nullptr || (!by_index && better(entry, *best))) best = &entry;
    if (by_index) break;
  }
  return best == nullptr ? NONE : best->var;
}

// Moves the violated variable to its bound, and makes the entering one basic.
void Simplex::repair(Violation violated, int entering) {
  const int leaving = tableau_.basic(violated.row);
  Variable& out = variable(leaving);
  const Row& row = tableau_.row(violated.row);
  const DeltaNumber& target = violated.below ? out.lower.value : out.upper.value;
  DeltaNumber step = target - out.value;
  step *= (*find_coeff(row, leaving) / *find_coeff(row, entering)).neg();
  out.value = target;
  variable(entering).value += step;
  for (const int other : tableau_.column(entering)) {
    if (other == violated.row) continue;
    const Row& r = tableau_.row(other);
    const int basic = tableau_.basic(other);
    const QNumber ratio = *find_coeff(r, entering) / *find_coeff(r, basic);
    variable(basic).value.add_product(ratio.neg(), step);
  }
  pivot(violated.row, entering);
  if (!variable(entering).bounded()) define(violated.row);
}

// The bound that an entry of a violated row meets when it moves to the row's repair, and of
// the basic variable the violated bound.
const Simplex::Bound& Simplex::limit(const RowEntry& entry, Violation violated) const {
  const Variable& v = variable(entry.var);
  const int basic = tableau_.basic(violated.row);
  const int basic_sign = find_coeff(tableau_.row(violated.row), basic)->sign();
  if (entry.var == basic) return violated.below ? v.lower : v.upper;
  return (entry.coeff.sign() != basic_sign) == violated.below ? v.upper : v.lower;
}

// Whether the bounds of a row's variables rule out a repair, wherever their values are.
bool Simplex::is_contradictory(Violation violated) const {
  const Row& row = tableau_.row(violated.row);
  const auto exists = [&](const RowEntry& entry) {
    return limit(entry, violated).exists();
  };
  if (!std::all_of(row.begin(), row.end(), exists)) return false;
  DeltaNumber sum;
  for (const RowEntry& entry : row)
    sum.add_product(entry.coeff, limit(entry, violated).value);
  // The basic variable is at the violated bound in the sum, which therefore is
  // own coefficient * (violated bound - what it could be at most, or at least).
  const int basic_sign = find_coeff(row, tableau_.basic(violated.row))->sign();
  return sum.sign() * basic_sign * (violated.below ? 1 : -1) > 0;
}

FarkasCombination Simplex::conflict(Violation violated) const {
  const Row& row = tableau_.row(violated.row);
  FarkasCombination leaves;
  leaves.reserve(row.size());
  for (const RowEntry& entry : row)
    leaves.push_back(leaf(limit(entry, violated), entry.coeff));
  return leaves;
}

DeltaNumber Simplex::value(int var) const {
  const auto id = static_cast<std::size_t>(var);
  if (id >= structural_.size() || structural_[id] == NONE) return {};
  return variable(structural_[id]).value;
}

}  // namespace opal::host
