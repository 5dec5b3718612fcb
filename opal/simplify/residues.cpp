// Integers in one residue class and in none of some others, in normal form.
//
//     x = 1 modulo 2, x /= 1 modulo 4           x = 3 modulo 4
//     x /= 0 modulo 3, x /= 1 modulo 3          x = 2 modulo 3
//     x = 0 modulo 2, x /= 0 modulo 6           stays as it is
//
// An excluded class is looked at relative to the class that is kept: x = 1 + 2y with x /= 1
// modulo 4 is y /= 0 modulo 2, and of two residues one is left. Where the common period of
// the excluded classes is small, the set is written down residue by residue and described
// anew, so that equal sets have equal descriptions.
//
// Cost: quadratic in the number of classes, and linear in PERIOD_PER_CLASS periods.

#include "opal/simplify/residues.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <optional>
#include <utility>

namespace opal::host {

namespace {

// The period up to which sets are described residue by residue, for each class excluded.
constexpr std::size_t PERIOD_PER_CLASS = 64;

using Classes = std::vector<ResidueClass>;

// A set of integers with a small period, given by its residues.
using Pattern = std::vector<bool>;

QNumber number(std::size_t n) { return {static_cast<long>(n)}; }

void sort_and_unite(Classes& classes) {
  std::sort(classes.begin(), classes.end());
  classes.erase(std::unique(classes.begin(), classes.end()), classes.end());
}

// The common period of the classes, if it is small.
std::optional<std::size_t> small_period(const Classes& classes) {
  const QNumber limit = number(PERIOD_PER_CLASS * classes.size());
  QNumber period(1);
  for (const ResidueClass& c : classes) {
    period = lcm(period, c.modulus);
    if (period > limit) return std::nullopt;
  }
  return static_cast<std::size_t>(*period.to_long());
}

Pattern without(const Classes& classes, std::size_t period) {
  assert(period > 0);
  Pattern members(period, true);
  for (const ResidueClass& c : classes) {
    assert(c.is_normal());
    const auto step = static_cast<std::size_t>(*c.modulus.to_long());
    assert(period % step == 0);
    for (auto i = static_cast<std::size_t>(*c.residue.to_long()); i < period; i += step)
      members[i] = false;
  }
  return members;
}

// The smallest class around the members, of a modulus that divides the period. There is a
// member.
ResidueClass hull(const Pattern& members) {
  assert(std::find(members.begin(), members.end(), true) != members.end());
  QNumber modulus = number(members.size());
  std::optional<std::size_t> first;
  for (std::size_t i = 0; i < members.size(); ++i) {
    if (!members[i]) continue;
    if (!first) first = i;
    modulus = gcd(modulus, number(i - *first));
  }
  return {remainder(number(*first), modulus), modulus};
}

// Classes without members that cover all residues that are no members: by ascending
// modulus, and only where a class covers a residue that those before it do not. The result
// depends on the set of members only.
Classes gaps(const Pattern& members) {
  Classes result;
  Pattern uncovered(members);
  uncovered.flip();
  auto left =
      static_cast<std::size_t>(std::count(uncovered.begin(), uncovered.end(), true));
  for (std::size_t m = 1; left > 0; ++m) {
    assert(m <= members.size());
    if (members.size() % m != 0) continue;
    Pattern has_member(m), has_uncovered(m);
    for (std::size_t i = 0; i < members.size(); ++i) {
      if (members[i]) has_member[i % m] = true;
      if (uncovered[i]) has_uncovered[i % m] = true;
    }
    for (std::size_t r = 0; r < m; ++r) {
      if (has_member[r] || !has_uncovered[r]) continue;
      result.push_back({number(r), number(m)});
      for (std::size_t i = r; i < members.size(); i += m) {
        if (uncovered[i]) --left;
        uncovered[i] = false;
      }
    }
  }
  return result;
}

}  // namespace

void Residues::restrict_to(const ResidueClass& c) {
  assert(c.is_normal());
  if (empty_) return;
  const auto common = common_class(class_, c);
  if (common) {
    class_ = *common;
  } else {
    empty_ = true;
  }
}

// The class of the integers y for which all().residue + all().modulus * y is in c, which
// has a common integer with all().
ResidueClass Residues::relative(const ResidueClass& c) const {
  const auto common = common_class(class_, c);
  assert(common);
  return {(common->residue - class_.residue) / class_.modulus,
          common->modulus / class_.modulus};
}

// The inverse of relative(). Several classes meet all() in the same integers; this is the
// one of the least modulus. That modulus is c's times the part of all()'s modulus whose
// prime divisors c's has too.
ResidueClass Residues::absolute(const ResidueClass& c) const {
  assert(c.is_normal());
  QNumber part(1);
  QNumber rest = class_.modulus;
  for (QNumber g = gcd(rest, c.modulus); g != QNumber(1); g = gcd(rest, c.modulus)) {
    part *= g;
    rest /= g;
  }
  const QNumber modulus = part * c.modulus;
  assert(part * rest == class_.modulus && gcd(rest, modulus) == QNumber(1));
  return {remainder(class_.residue + class_.modulus * c.residue, modulus), modulus};
}

// rule excluded-half
// match:  x = 1 modulo 2 and x /= 1 modulo 4
// result: x = 3 modulo 4
// Drops the excluded classes outside of all(). Whether all() has changed.
bool Residues::rebase() {
  Classes kept;
  bool changed = false;
  for (const ResidueClass& c : excluded_) {
    if (empty_ || c.contains(class_)) {
      empty_ = true;
      return false;
    }
    if (!common_class(class_, c)) continue;
    const ResidueClass y = relative(c);
    assert(QNumber(1) < y.modulus);
    if (y.modulus == QNumber(2)) {
      class_.residue += class_.modulus * (QNumber(1) - y.residue);
      class_.modulus += class_.modulus;
      changed = true;
      continue;
    }
    kept.push_back(absolute(y));
  }
  excluded_ = std::move(kept);
  sort_and_unite(excluded_);
  return changed;
}

// rule excluded-residues
// match:  x /= 0 modulo 3 and x /= 1 modulo 3,   x /= 1 modulo 4 and x /= 3 modulo 4
// result: x = 2 modulo 3,                        x = 0 modulo 2
// Whether all() has changed.
bool Residues::describe_by_period() {
  assert(!empty_ && class_.is_normal());
  if (excluded_.size() < 2) return false;
  Classes classes;
  for (const ResidueClass& c : excluded_)
    classes.push_back(relative(c));
  const auto period = small_period(classes);
  if (!period) return false;
  const Pattern members = without(classes, *period);
  if (std::find(members.begin(), members.end(), true) == members.end()) {
    empty_ = true;
    return false;
  }
  const ResidueClass around = hull(members);
  if (around.modulus != QNumber(1)) {
    class_.residue += class_.modulus * around.residue;
    class_.modulus *= around.modulus;
    return true;
  }
  excluded_.clear();
  for (const ResidueClass& c : gaps(members))
    excluded_.push_back(absolute(c));
  sort_and_unite(excluded_);
  return false;
}

void Residues::settle() {
  do {
    while (rebase()) {
    }
  } while (!empty_ && describe_by_period());
  assert(is_normal());
}

bool Residues::is_normal() const {
  if (!class_.is_normal()) return false;
  if (empty_) return true;
  return std::is_sorted(excluded_.begin(), excluded_.end()) &&
         std::all_of(excluded_.begin(), excluded_.end(), [this](const ResidueClass& c) {
           return c.is_normal() && !c.contains(class_) && common_class(class_, c) &&
                  relative(c).modulus > QNumber(2);
         });
}

bool Residues::drop_outside(const QNumber& low, const QNumber& high) {
  assert(low <= high && class_.contains(low) && class_.contains(high));
  const auto outside = [&](const ResidueClass& c) {
    const auto common = common_class(class_, c);
    return !common || low + remainder(common->residue - low, common->modulus) > high;
  };
  const auto end = std::remove_if(excluded_.begin(), excluded_.end(), outside);
  const bool dropped = end != excluded_.end();
  excluded_.erase(end, excluded_.end());
  return dropped;
}

bool Residues::contains(const QNumber& x) const {
  return class_.contains(x) &&
         std::none_of(excluded_.begin(), excluded_.end(),
                      [&](const ResidueClass& c) { return c.contains(x); });
}

bool Residues::is_disjoint(const ResidueClass& c) const {
  const auto common = common_class(class_, c);
  return !common || std::any_of(excluded_.begin(), excluded_.end(),
                                [&](const ResidueClass& e) { return e.contains(*common); });
}

QNumber Residues::round_up(const QNumber& x) const {
  assert(class_.is_normal());
  return x + remainder(class_.residue - x, class_.modulus);
}

QNumber Residues::round_down(const QNumber& x) const {
  return x - remainder(x - class_.residue, class_.modulus);
}

std::optional<QNumber> Residues::next_member(QNumber x, const QNumber& step) const {
  assert(class_.contains(x) && abs(step) == class_.modulus);
  constexpr int STEPS = 100;
  for (int i = 0; i < STEPS; ++i, x += step) {
    if (contains(x)) return x;
  }
  return std::nullopt;
}

std::optional<QNumber> Residues::member_above(const QNumber& x) const {
  return next_member(x, class_.modulus);
}

std::optional<QNumber> Residues::member_below(const QNumber& x) const {
  return next_member(x, class_.modulus.neg());
}

}  // namespace opal::host
