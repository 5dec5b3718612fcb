// All values of the cuts in a sum.
//
//     R + b1*t1 + ... + bn*tn >= 0       ti stands for a cut with the bound Ui and A's
//     -------------------------------    part Ei (tightening.cpp)
//          OR over t1 = v1 in 0 .. U1, ..., tn = vn in 0 .. Un of
//             (Ei may be vi, for each vi < Ui)  and  R + b1*v1 + ... + bn*vn >= 0
//
// Ei may be vi: the shared part of Ei satisfies the congruence, or equality, that the other
// variables leave behind (modular_patterns.cpp). A value that no integers give, since the
// coefficients have a common divisor, makes the whole combination impossible. Ui says that
// Ei is at least Ui, which is not stated: it is not needed to contradict B.
//
// Sound: A fixes every ti, to Ei or to Ui, and so implies the disjunct of these values. B
// contradicts each disjunct by the same proof, as tightening.cpp explains.
//
// Example: t stands for a cut with the bound 1 and A's part 2x + 3y + 1, where B knows y
// only. The sum z - t + 1 >= 0 becomes
//
//     (3y = -1 mod 2  and  0 <= z + 1)  or  1 <= z + 1.
//
// Cost: as many disjuncts as there are possible combinations, in the worst case the product
// of all Ui + 1. Whether a value is possible depends on nothing else, so all combinations
// that share impossible first values are skipped at once; no term is built for them. The
// engine's memory does not grow with the number of combinations.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "opal/la/interpolator.h"

namespace opal::la {

const Term_* Interpolator::build_term_without_cuts(const Equation& sum) {
  assert(!tight_vars_.empty() && sum.is_normal());
  Equation remainder;
  LaZCutValues values;
  Strictness strictness = NON_STRICT;
  for (const auto& [var, coeff] : sum.coeffs()) {
    if (tight_vars_.contains(var))
      values.push_back({var, {coeff, QNumber()}});
    else if (var == delta_var_)
      strictness = coeff.sign() < 0 ? STRICT : NON_STRICT;
    else
      remainder.add_var(coeff, var);
  }
  if (values.empty()) return build_leq_term(&sum, true);
  if (sum.constant() != nullptr) remainder.add_const(*sum.constant());
  assert(remainder.is_normal() && remainder.coeff(delta_var_).is_zero());
  const LaZLeqPattern leq = build_laz_leq_pattern(&remainder);
  std::vector<LaZModEqPattern> patterns;
  patterns.reserve(values.size());
  for (const auto& value : values)
    patterns.push_back(build_laz_mod_eq_pattern(tight_vars_[value.first].second));
  const Term_* result = nullptr;
  do {
    mgr_->poll();
    ++combinations_visited_;
    const std::size_t impossible = first_impossible_value(patterns, values);
    if (impossible < values.size()) {
      skip_laz_tvar_values(values, impossible);
      continue;
    }
    ++combinations_survived_;
    const Term_* const t = build_laz_tight_subterm(leq, patterns, values, strictness);
    assert(t != nullptr);
    result = result == nullptr ? t : mgr_->make_or(result, t);
  } while (get_laz_next_tvar_values(values));
  assert(result != nullptr);  // the bounds themselves are always possible
  return result;
}

const Term_* Interpolator::build_laz_tight_subterm(
    const LaZLeqPattern& leq, const std::vector<LaZModEqPattern>& patterns,
    const LaZCutValues& values, Strictness strictness) {
  assert(leq.first != nullptr && !leq.second.is_zero());
  assert(!values.empty() && patterns.size() == values.size());
  if (first_impossible_value(patterns, values) < values.size()) return nullptr;
  std::optional<BuildingFlagScope> as_asked_for(std::in_place, *mgr_, std::uint8_t{0});
  QNumber sum;
  const Term_* conditions = nullptr;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto& [coeff, value] = values[i].second;
    sum += coeff * value;
    const LaZModEqPattern& pattern = patterns[i];
    const bool is_bound = !(value < bound_of(values[i].first));
    if (is_bound || mgr_->is_number(pattern.term_->symbol(), nullptr)) continue;
    const QNumber residue = value * pattern.scale_ + pattern.neg_const_;
    const Term_* const atom =
        mgr_->make_term(pattern.symbol_, {pattern.term_, mgr_->make_number(residue)});
    conditions = conditions == nullptr ? atom : mgr_->make_and(conditions, atom);
  }
  const QNumber bound = (sum * leq.second).neg();
  const Term_* const inequality = bounded_below(leq.first, bound, strictness);
  as_asked_for.reset();  // the whole may be simplified where the caller lets it be
  return conditions == nullptr ? inequality : mgr_->make_and(conditions, inequality);
}

const Term_* Interpolator::bounded_below(const Term_* t, const QNumber& bound,
                                         Strictness strictness) {
  assert(t != nullptr);
  QNumber known;
  if (mgr_->is_number(t->symbol(), &known)) {
    const bool holds = strictness == STRICT ? bound < known : bound <= known;
    return holds ? mgr_->true_term() : mgr_->false_term();
  }
  if (strictness == NON_STRICT) return mgr_->make_leq(mgr_->make_number(bound), t);
  return mgr_->make_not(mgr_->make_leq(t, mgr_->make_number(bound)));
}

bool Interpolator::get_laz_next_tvar_values(LaZCutValues& values) {
  assert(!values.empty());
  for (std::size_t i = values.size(); i > 0; --i) {
    const QNumber& bound = bound_of(values[i - 1].first);
    QNumber& value = values[i - 1].second.second;
    assert(value.sign() >= 0 && value <= bound);
    if (value < bound) {
      value += QNumber(1);
      return true;
    }
    value -= bound;
  }
  return false;
}

void Interpolator::skip_laz_tvar_values(LaZCutValues& values, std::size_t last) {
  assert(last < values.size());
  for (std::size_t i = last + 1; i < values.size(); ++i)
    values[i].second.second = bound_of(values[i].first);
}

std::size_t Interpolator::first_impossible_value(
    const std::vector<LaZModEqPattern>& patterns, const LaZCutValues& values) {
  assert(patterns.size() == values.size());
  std::size_t i = 0;
  for (; i < values.size(); ++i) {
    const QNumber& value = values[i].second.second;
    if (value < bound_of(values[i].first) && !is_possible(patterns[i], value)) break;
  }
  return i;
}

bool Interpolator::is_possible(const LaZModEqPattern& pattern, const QNumber& value) {
  assert(pattern.term_ != nullptr && pattern.symbol_ != nullptr);
  assert(pattern.coeff_gcd_.sign() >= 0 && pattern.scale_.sign() > 0);
  const QNumber residue = value * pattern.scale_ + pattern.neg_const_;
  const QNumber& divisor = pattern.coeff_gcd_;
  if (divisor.is_zero() ? !residue.is_zero() : !divisor.divides(residue)) return false;
  QNumber known, modulus;
  if (!mgr_->is_number(pattern.term_->symbol(), &known)) return true;
  return mgr_->is_int_modular_congruence(pattern.symbol_, &modulus)
             ? modulus.divides(known - residue)
             : known == residue;
}

const QNumber& Interpolator::bound_of(int tight_var) {
  const auto it = tight_vars_.find(tight_var);
  assert(it != tight_vars_.end() && it->second.first.sign() >= 0);
  return it->second.first;
}

}  // namespace opal::la
