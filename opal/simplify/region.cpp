// The values that literals over one form leave.
//
//     x <= 5, x >= 1, x /= 5, x = 0 modulo 2      over Ints
//     [1, 5] without 5, even                      x >= 2, x <= 4, x = 0 modulo 2
//
// Bounds are taken in as they come, and brought into normal form once, by settle():
// excluded points at a bound move it, bounds are rounded to the residue class, and excluded
// points or classes outside are dropped. Bounds that move may drop classes, and these may
// move bounds: so the steps for integers are repeated until no class is dropped.
//
// Cost: sorting the excluded points, and for each moved bound a step; stepping over
// excluded classes ends after some steps (residues.cpp).

#include "opal/simplify/region.h"

#include <algorithm>
#include <cassert>

namespace opal::host {

using Relation = BoundLiteral::Relation;

Residues& Region::residues() {
  if (!residues_) residues_ = std::make_unique<Residues>();
  return *residues_;
}

const ResidueClass& Region::all() const {
  static const ResidueClass integers;
  return residues_ ? residues_->all() : integers;
}

// Whether a value of an integral form is in none of the excluded classes.
bool Region::has(const QNumber& c) const {
  assert(integral_);
  return residues_ ? residues_->contains(c) : c.is_integer();
}

// Whether a value of an integral form is in its residue class.
bool Region::in_class(const QNumber& c) const {
  assert(integral_);
  return residues_ ? residues_->all().contains(c) : c.is_integer();
}

void Region::add_lower(const Bound& bound) {
  if (!lower_ || lower_->value < bound.value ||
      (lower_->value == bound.value && bound.strict)) {
    lower_ = bound;
  }
}

void Region::add_upper(const Bound& bound) {
  if (!upper_ || bound.value < upper_->value ||
      (upper_->value == bound.value && bound.strict)) {
    upper_ = bound;
  }
}

void Region::add(const BoundLiteral& literal) {
  assert(literal.is_normal() && (integral_ || !literal.is_class()));
  const QNumber& c = literal.bound;
  switch (literal.relation) {
    case Relation::LEQ: return add_upper({c, false});
    case Relation::LT: return add_upper({c, true});
    case Relation::GEQ: return add_lower({c, false});
    case Relation::GT: return add_lower({c, true});
    case Relation::EQ:
      add_lower({c, false});
      add_upper({c, false});
      return;
    case Relation::NEQ: excluded_.push_back(c); return;
    case Relation::CONGRUENT: residues().restrict_to({c, literal.modulus}); return;
    case Relation::INCONGRUENT: residues().exclude({c, literal.modulus}); return;
  }
}

// rule exclude-border
// match:  f <= c and f != c
// result: f < c; excluded points above c are dropped
void Region::settle_upper() {
  assert(!integral_ && !residues_);
  while (upper_ && !excluded_.empty() && excluded_.back() >= upper_->value) {
    if (excluded_.back() == upper_->value) upper_->strict = true;
    excluded_.pop_back();
  }
}

void Region::settle_lower() {
  assert(!integral_ && std::is_sorted(excluded_.begin(), excluded_.end()));
  auto first = excluded_.begin();
  for (; lower_ && first != excluded_.end() && *first <= lower_->value; ++first) {
    if (*first == lower_->value) lower_->strict = true;
  }
  excluded_.erase(excluded_.begin(), first);
}

// rule round-to-residue
// match:  f >= 3 and f = 0 modulo 2,   f <= 5 and f != 5
// result: f >= 4 and f = 0 modulo 2,   f <= 4
// The excluded classes may cover all integers, so a bound steps over a limited number of
// their members only (Residues::member_below).
void Region::settle_integral_upper() {
  assert(integral_ && std::is_sorted(excluded_.begin(), excluded_.end()));
  if (!upper_) return;
  QNumber& value = upper_->value;
  value = residues_ ? residues_->round_down(value) : value.floor();
  for (;;) {
    if (residues_) value = residues_->member_below(value).value_or(value);
    while (!excluded_.empty() && excluded_.back() > value)
      excluded_.pop_back();
    assert(in_class(value));
    if (excluded_.empty() || excluded_.back() != value) return;
    value -= all().modulus;
  }
}

void Region::settle_integral_lower() {
  assert(integral_);
  if (!lower_) return;
  QNumber& value = lower_->value;
  value = residues_ ? residues_->round_up(value) : value.neg().floor().neg();
  auto first = excluded_.begin();
  for (;;) {
    if (residues_) value = residues_->member_above(value).value_or(value);
    while (first != excluded_.end() && *first < value)
      ++first;
    assert(in_class(value));
    if (first == excluded_.end() || *first != value) break;
    value += all().modulus;
  }
  excluded_.erase(excluded_.begin(), first);
}

void Region::settle() {
  std::sort(excluded_.begin(), excluded_.end());
  excluded_.erase(std::unique(excluded_.begin(), excluded_.end()), excluded_.end());
  if (!integral_) {
    settle_upper();
    settle_lower();
    assert(is_settled());
    return;
  }
  do {
    if (residues_) residues_->settle();
    if (residues_ && residues_->empty()) return;
    const auto elsewhere = [&](const QNumber& c) { return !has(c); };
    excluded_.erase(std::remove_if(excluded_.begin(), excluded_.end(), elsewhere),
                    excluded_.end());
    settle_integral_upper();
    settle_integral_lower();
  } while (residues_ && lower_ && upper_ && !empty() &&
           residues_->drop_outside(lower_->value, upper_->value));
  assert(is_settled());
}

bool Region::is_settled() const {
  if (integral_ && ((lower_ && lower_->strict) || (upper_ && upper_->strict))) return false;
  if (empty()) return true;
  if (integral_ && lower_ && !in_class(lower_->value)) return false;
  if (integral_ && upper_ && !in_class(upper_->value)) return false;
  for (std::size_t i = 0; i < excluded_.size(); ++i) {
    if (i > 0 && excluded_[i] <= excluded_[i - 1]) return false;
    if (lower_ && excluded_[i] <= lower_->value) return false;
    if (upper_ && excluded_[i] >= upper_->value) return false;
  }
  return true;
}

bool Region::empty() const {
  return (residues_ && residues_->empty()) ||
         (lower_ && upper_ && is_empty(*lower_, *upper_));
}

bool Region::is_point() const {
  return !empty() && lower_ && upper_ && lower_->value == upper_->value;
}

bool Region::excludes(const BoundLiteral& literal) const {
  assert(literal.is_normal());
  if (empty()) return true;
  const Bound c{literal.bound, false};
  const Bound strict{literal.bound, true};
  switch (literal.relation) {
    case Relation::LEQ: return lower_ && is_empty(*lower_, c);
    case Relation::LT: return lower_ && is_empty(*lower_, strict);
    case Relation::GEQ: return upper_ && is_empty(c, *upper_);
    case Relation::GT: return upper_ && is_empty(strict, *upper_);
    case Relation::EQ:
      return (lower_ && is_empty(*lower_, c)) || (upper_ && is_empty(c, *upper_)) ||
             (integral_ && !has(c.value)) ||
             std::binary_search(excluded_.begin(), excluded_.end(), c.value);
    case Relation::CONGRUENT: return excludes_class({literal.bound, literal.modulus});
    case Relation::INCONGRUENT: {
      const ResidueClass c_mod_m{literal.bound, literal.modulus};
      return c_mod_m.contains(all()) || (is_point() && c_mod_m.contains(lower_->value));
    }
    case Relation::NEQ: break;
  }
  return is_point() && lower_->value == literal.bound;
}

bool Region::excludes_class(const ResidueClass& c) const {
  if (residues_ && residues_->is_disjoint(c)) return true;
  if (!lower_ || !upper_) return false;
  assert(c.is_normal() && common_class(all(), c));
  const ResidueClass both = *common_class(all(), c);
  return lower_->value + remainder(both.residue - lower_->value, both.modulus) >
         upper_->value;
}

std::vector<BoundLiteral> Region::literals(std::size_t form) const {
  assert(!empty() && is_settled());
  if (is_point()) return {{form, Relation::EQ, lower_->value, {}}};
  std::vector<BoundLiteral> result;
  const auto add = [&](Relation relation, const QNumber& c, const QNumber& modulus = {}) {
    result.push_back({form, relation, c, modulus});
  };
  if (all().modulus != QNumber(1)) add(Relation::CONGRUENT, all().residue, all().modulus);
  if (lower_) add(lower_->strict ? Relation::GT : Relation::GEQ, lower_->value);
  if (upper_) add(upper_->strict ? Relation::LT : Relation::LEQ, upper_->value);
  for (const QNumber& c : excluded_)
    add(Relation::NEQ, c);
  if (!residues_) return result;
  for (const ResidueClass& c : residues_->excluded())
    add(Relation::INCONGRUENT, c.residue, c.modulus);
  return result;
}

}  // namespace opal::host
