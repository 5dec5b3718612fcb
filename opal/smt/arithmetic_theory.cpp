#include "opal/smt/arithmetic_theory.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/smt/arithmetic_impl.h"

// Asserting and taking back.
//
// A literal becomes a bound of its form at once, and contradicts at once the bound on the
// other side of the same form; everything else waits for propagate(). There bounds imply
// other atoms of their forms first, since the clauses may find a conflict of their own from
// that; when nothing new comes of it, the simplex looks at all bounds together; last, the
// rows imply bounds.
//
// A bound at the value of a disequality moves beyond it:
//
//     x <= 3 and x /= 3      is  x < 3, over integers x <= 2, and so on

namespace opal::smt {

using host::BoundSimplex;
using host::DeltaNumber;
using la::LinearTerm;

namespace {

// Whether a constraint without variables, 0 <relation> constant, holds.
bool trivially_holds(const LinearTerm& term) {
  const int sign = term.constant.sign();
  switch (term.kind) {
    case LinearTerm::LT: return sign > 0;
    case LinearTerm::LEQ: return sign >= 0;
    case LinearTerm::EQ: return sign == 0;
    case LinearTerm::NEQ: return sign != 0;
    case LinearTerm::GEQ: return sign <= 0;
    default: return sign < 0;
  }
}

Meaning::Kind kind_of(int relation, bool is_reversed) {
  const auto upper = is_reversed ? Meaning::Kind::LOWER : Meaning::Kind::UPPER;
  const auto lower = is_reversed ? Meaning::Kind::UPPER : Meaning::Kind::LOWER;
  switch (relation) {
    case LinearTerm::LT:
    case LinearTerm::LEQ: return upper;
    case LinearTerm::EQ: return Meaning::Kind::EQUAL;
    case LinearTerm::NEQ: return Meaning::Kind::UNEQUAL;
    default: return lower;
  }
}

// Makes a bound of an integer an integer.
void round(Meaning& meaning) {
  DeltaNumber& value = meaning.value;
  const QNumber floor = value.real.floor();
  switch (meaning.kind) {
    case Meaning::Kind::UPPER:
      if (value.strict.sign() < 0 && floor == value.real) value.real -= QNumber(1);
      value = {value.real.floor(), {}};
      return;
    case Meaning::Kind::LOWER:
      if (value.strict.sign() > 0 || floor != value.real) value.real = floor + QNumber(1);
      value.strict = QNumber();
      return;
    case Meaning::Kind::EQUAL:
      if (floor != value.real) meaning.kind = Meaning::Kind::ABSURD;
      return;
    default:
      if (floor != value.real) meaning.kind = Meaning::Kind::NOTHING;
  }
}

}  // namespace

ArithmeticTheory::Impl::Impl(host::Mapper& mapper, host::Limits& limits, BoundAtoms& atoms)
    : mapper_(mapper),
      limits_(limits),
      atoms_(atoms),
      simplex_(limits),
      forms_(mapper, simplex_) {}

Meaning ArithmeticTheory::Impl::meaning_of(int constraint) {
  Meaning meaning;
  meaning.constraint = constraint;
  if (constraint == host::Mapper::ZERO_CONSTRAINT) return meaning;
  const LinearTerm& term = mapper_.constraint_term(constraint);
  if (!term.vars.has_vars()) {
    if (!trivially_holds(term)) meaning.kind = Meaning::Kind::ABSURD;
    return meaning;
  }
  const LinearForms::Scaled form = forms_.variable_of(term.vars);
  meaning.kind = kind_of(term.kind, form.scale.sign() < 0);
  meaning.var = form.var;
  assert(!form.scale.is_zero());
  meaning.value.real = term.constant / form.scale;
  if (term.kind == LinearTerm::LT || term.kind == LinearTerm::GT)
    meaning.value.strict = QNumber(meaning.kind == Meaning::Kind::UPPER ? -1 : 1);
  if (forms_.is_integer(form.var)) round(meaning);
  return meaning;
}

void ArithmeticTheory::Impl::add_atom(sat::Variable variable, int positive, int negative) {
  assert(!table_.has(variable));
  const Meaning says = meaning_of(positive);
  const Meaning denies = meaning_of(negative);
  table_.make_variables(forms_.size());
  table_.add(variable, says, denies);
  if (variable >= sides_.size()) {
    implied_by_.resize(2 * (std::size_t{variable} + 1), 0);
    sides_.resize(variable + 1);
    is_asserted_.resize(2 * (std::size_t{variable} + 1), 0);
  }
  fresh_.push_back(variable);
}

void ArithmeticTheory::Impl::push_level() { levels_.push_back(height()); }

void ArithmeticTheory::Impl::backtrack(std::uint32_t level) {
  if (level >= levels_.size()) return;
  retract(levels_[level]);
  levels_.resize(level);
  if (conflict_level_ > level) conflict_.clear();
}

void ArithmeticTheory::Impl::retract(const Level& level) {
  assert(level.asserted <= asserted_.size() && level.grounds <= grounds_.size());
  for (std::size_t i = asserted_.size(); i > level.asserted; --i)
    is_asserted_[asserted_[i - 1].code()] = 0;
  asserted_.resize(level.asserted);
  equalities_.resize(level.equalities);
  equalities_head_ = std::min(equalities_head_, level.equalities);
  disequalities_.resize(level.disequalities);
  simplex_.retract(level.bounds);
  propagated_ = std::min(propagated_, level.bounds);
  grounds_.resize(level.grounds);
  ground_literals_.resize(level.ground_literals);
}

// A new ground without literals.
ArithmeticTheory::Impl::Ground ArithmeticTheory::Impl::begin_ground() {
  const auto begin = static_cast<std::uint32_t>(ground_literals_.size());
  grounds_.push_back({begin, begin});
  return static_cast<Ground>(grounds_.size()) - 1;
}

ArithmeticTheory::Impl::Ground ArithmeticTheory::Impl::make_ground(Literal literal) {
  const Ground ground = begin_ground();
  ground_literals_.push_back(literal);
  ++grounds_.back().end;
  return ground;
}

// Adds a ground's literals to those of the ground that was made last.
void ArithmeticTheory::Impl::extend_ground(Ground ground) {
  assert(!grounds_.empty() && ground + 1 < grounds_.size());
  const Span span = grounds_[ground];
  for (std::uint32_t i = span.begin; i < span.end; ++i)
    ground_literals_.push_back(ground_literals_[i]);
  grounds_.back().end = static_cast<std::uint32_t>(ground_literals_.size());
}

void ArithmeticTheory::Impl::assert_literal(Literal literal) {
  assert(is_asserted_[literal.code()] == 0 && is_asserted_[(~literal).code()] == 0);
  asserted_.push_back(literal);
  is_asserted_[literal.code()] = 1;
  const Meaning& meaning = table_.meaning(literal);
  if (!conflict_.empty() || meaning.kind == Meaning::Kind::NOTHING) return;
  if (meaning.kind == Meaning::Kind::UNEQUAL) return deny(meaning, literal);
  if (meaning.kind == Meaning::Kind::EQUAL) {
    equalities_.push_back(literal);
    if (!sides_[literal.variable()].at_most.is_valid()) set_both_bounds(literal);
    return;
  }
  const Ground ground = make_ground(literal);
  switch (meaning.kind) {
    case Meaning::Kind::ABSURD: fail({ground}); break;
    case Meaning::Kind::UPPER:
      set_bound(meaning.var, Side::UPPER, meaning.value, ground);
      break;
    case Meaning::Kind::LOWER:
      set_bound(meaning.var, Side::LOWER, meaning.value, ground);
      break;
    default: assert(false);
  }
}

void ArithmeticTheory::Impl::set_both_bounds(Literal equality) {
  const Meaning& meaning = table_.meaning(equality);
  assert(meaning.kind == Meaning::Kind::EQUAL && is_asserted_[equality.code()] != 0);
  const Ground ground = make_ground(equality);
  set_bound(meaning.var, Side::UPPER, meaning.value, ground);
  if (conflict_.empty()) set_bound(meaning.var, Side::LOWER, meaning.value, ground);
}

// The next value on the inner side of a bound at `value`.
DeltaNumber ArithmeticTheory::Impl::beyond(const DeltaNumber& value, Side side,
                                           bool is_integer) {
  DeltaNumber result = value;
  QNumber& part = is_integer ? result.real : result.strict;
  part += QNumber(side == Side::UPPER ? -1 : 1);
  return result;
}

void ArithmeticTheory::Impl::set_bound(int var, Side side, DeltaNumber value,
                                       Ground ground) {
  for (;;) {
    switch (simplex_.set_bound(var, side, value, ground)) {
      case BoundSimplex::Outcome::WEAKER: return prefer(var, side, value, ground);
      case BoundSimplex::Outcome::CONTRADICTION:
        ++statistics.bound_conflicts;
        return fail(
            {ground,
             simplex_.bound(var, side == Side::UPPER ? Side::LOWER : Side::UPPER)->reason});
      case BoundSimplex::Outcome::SET: break;
    }
    const Literal denied = denied_at(var, value);
    if (!denied.is_valid()) return;
    const Ground without = ground;
    ground = make_ground(denied);
    extend_ground(without);
    value = beyond(value, side, forms_.is_integer(var));
  }
}

// Makes `ground` that of a bound at the same value which took more literals.
void ArithmeticTheory::Impl::prefer(int var, Side side, const DeltaNumber& value,
                                    Ground ground) {
  const BoundSimplex::Bound& bound = *simplex_.bound(var, side);
  if (!(bound.value == value) || length(bound.reason) <= length(ground)) return;
  simplex_.renew_bound(var, side, ground);
}

// A disequality between a variable and a value that is asserted, or no literal.
sat::Literal ArithmeticTheory::Impl::denied_at(int var, const DeltaNumber& value) const {
  for (const AtomTable::Point& point : table_.points_at(var, value))
    if (is_asserted_[(~point.equal).code()] != 0) return ~point.equal;
  return {};
}

void ArithmeticTheory::Impl::deny(const Meaning& meaning, Literal literal) {
  assert(meaning.kind == Meaning::Kind::UNEQUAL && meaning.value.strict.is_zero());
  disequalities_.push_back(literal);
  for (const Side side : {Side::LOWER, Side::UPPER}) {
    const BoundSimplex::Bound* const bound = simplex_.bound(meaning.var, side);
    if (bound == nullptr || !(bound->value == meaning.value)) continue;
    const Ground old = bound->reason;
    const Ground ground = make_ground(literal);
    extend_ground(old);
    set_bound(meaning.var, side,
              beyond(meaning.value, side, forms_.is_integer(meaning.var)), ground);
    if (!conflict_.empty()) return;
  }
}

// Keeps a contradiction until propagate() is called.
void ArithmeticTheory::Impl::fail(const std::vector<Ground>& grounds) {
  assert(conflict_.empty());
  for (const Ground ground : grounds) {
    const Span span = grounds_[ground];
    conflict_.insert(conflict_.end(), ground_literals_.begin() + span.begin,
                     ground_literals_.begin() + span.end);
  }
  assert(are_asserted(conflict_));
  conflict_level_ = levels_.size();
}

bool ArithmeticTheory::Impl::are_asserted(const std::vector<Literal>& literals) const {
  return std::all_of(literals.begin(), literals.end(),
                     [&](Literal l) { return is_asserted_[l.code()] != 0; });
}

void ArithmeticTheory::Impl::give_conflict(Consequences& consequences) {
  assert(!conflict_.empty() && are_asserted(conflict_));
  std::sort(conflict_.begin(), conflict_.end());
  conflict_.erase(std::unique(conflict_.begin(), conflict_.end()), conflict_.end());
  clause_.clear();
  for (const Literal literal : conflict_)
    clause_.push_back(~literal);
  consequences.add_conflict(clause_, TAG);
}

void ArithmeticTheory::Impl::propagate(Consequences& consequences) {
  if (!conflict_.empty()) return give_conflict(consequences);
  bool implied = propagate_fresh(consequences);
  implied |= propagate_sides(consequences);
  if (!conflict_.empty()) return give_conflict(consequences);
  if (propagate_bounds(consequences) || implied) return;
  ++statistics.checks;
  if (!simplex_.check()) {
    ++statistics.row_conflicts;
    fail(simplex_.conflict());
    return give_conflict(consequences);
  }
  propagate_rows(consequences);
}

const ArithmeticTheory::Statistics& ArithmeticTheory::Impl::current_statistics() {
  statistics.pivots = simplex_.pivots();
  statistics.rows = simplex_.rows();
  return statistics;
}

void ArithmeticTheory::Impl::explain(Literal literal, std::vector<Literal>& clause) {
  ++statistics.explanations;
  clause.push_back(literal);
  assert(implied_by_[literal.code()] < grounds_.size());
  const Span span = grounds_[implied_by_[literal.code()]];
  for (std::uint32_t i = span.begin; i < span.end; ++i)
    clause.push_back(~ground_literals_[i]);
}

ArithmeticTheory::ArithmeticTheory(host::Mapper& mapper, host::Limits& limits,
                                   BoundAtoms& atoms)
    : impl_(std::make_unique<Impl>(mapper, limits, atoms)) {}
ArithmeticTheory::~ArithmeticTheory() = default;

void ArithmeticTheory::add_atom(sat::Variable variable, int positive_constraint,
                                int negative_constraint) {
  impl_->add_atom(variable, positive_constraint, negative_constraint);
}
void ArithmeticTheory::push_level() { impl_->push_level(); }
void ArithmeticTheory::backtrack(std::uint32_t level) { impl_->backtrack(level); }
void ArithmeticTheory::assert_literal(sat::Literal literal) {
  impl_->assert_literal(literal);
}
void ArithmeticTheory::propagate(sat::Consequences& consequences) {
  impl_->propagate(consequences);
}
sat::FinalCheck ArithmeticTheory::final_check(sat::Consequences& consequences) {
  return impl_->final_check(consequences);
}
sat::Tag ArithmeticTheory::explain(sat::Literal literal,
                                   std::vector<sat::Literal>& clause) {
  impl_->explain(literal, clause);
  return TAG;
}
std::string ArithmeticTheory::reason_unknown() const { return impl_->reason_unknown; }
QNumber ArithmeticTheory::value(int mapper_variable) const {
  const auto index = static_cast<std::size_t>(mapper_variable);
  return index < impl_->model.size() ? impl_->model[index] : QNumber();
}
const ArithmeticTheory::Statistics& ArithmeticTheory::statistics() const {
  return impl_->current_statistics();
}

}  // namespace opal::smt
