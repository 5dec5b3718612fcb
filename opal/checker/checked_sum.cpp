// The arithmetic of the proof checker, written a second time on purpose: a fault in the
// solver's linear forms or in its rounding must not be repeated by what checks them.
//
// Example: the atom 2*(x + y) <= 7 + x has the difference x + 2y - 7. With Int variables,
// -(x + 2y - 7) >= 0 is tight already; of 7 - 2x - 4y >= 0 the coefficients are divided by
// 2 and the constant 7/2 rounded: 3 - x - 2y >= 0.
//
// The terms of a sum wait in a heap by descending id, so that a shared one is met once,
// with its whole weight. Cost: n log n for n sub-terms.

#include "opal/checker/checked_sum.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

#include "opal/terms/evaluator.h"
#include "opal/terms/sub_terms.h"
#include "opal/terms/terms.h"

namespace opal::host {

namespace {

bool is_constant(const Term_* t) {
  const SubTerms parts({t});
  return std::none_of(parts.begin(), parts.end(), [](const Term_* part) {
    return Terms::kind_of(part) == Kind::VARIABLE || Terms::kind_of(part) == Kind::FLOOR;
  });
}

// Which factor of a product is constant; 2 for none. A numeral is found without a walk.
std::size_t constant_factor(const Term_* product) {
  assert(Terms::kind_of(product) == Kind::TIMES);
  if (Terms::is_numeral(product->arg(0))) return 0;
  if (Terms::is_numeral(product->arg(1))) return 1;
  if (is_constant(product->arg(0))) return 0;
  return is_constant(product->arg(1)) ? 1 : 2;
}

// The terms that still have to be added, the one with the greatest id on top. A term's
// entries come out together, since every term that it is an argument of has a greater id.
class Agenda {
 public:
  void push(const Term_* t, QNumber weight) {
    entries_.emplace_back(t, std::move(weight));
    std::push_heap(entries_.begin(), entries_.end(), earlier);
  }
  [[nodiscard]] bool empty() const { return entries_.empty(); }
  // The top term, and what all its entries weigh.
  std::pair<const Term_*, QNumber> pop() {
    assert(!empty());
    std::pair<const Term_*, QNumber> result = pop_entry();
    while (!entries_.empty() && entries_.front().first == result.first)
      result.second += pop_entry().second;
    assert(empty() || entries_.front().first->id() < result.first->id());
    return result;
  }

 private:
  using Entry = std::pair<const Term_*, QNumber>;
  static bool earlier(const Entry& a, const Entry& b) {
    return a.first->id() < b.first->id();
  }
  Entry pop_entry() {
    std::pop_heap(entries_.begin(), entries_.end(), earlier);
    Entry entry = std::move(entries_.back());
    entries_.pop_back();
    return entry;
  }

  std::vector<Entry> entries_;
};

}  // namespace

bool CheckedSum::is_normal() const {
  return std::none_of(coefficients.begin(), coefficients.end(), [](const auto& entry) {
    return entry.first == nullptr || entry.second.is_zero();
  });
}

void CheckedSum::add(const Term_* variable, const QNumber& coefficient) {
  assert(variable != nullptr);
  if (coefficient.is_zero()) return;
  const auto [it, is_new] = coefficients.emplace(variable, coefficient);
  if (is_new) return;
  it->second += coefficient;
  if (it->second.is_zero()) coefficients.erase(it);
}

void CheckedSum::add(const QNumber& factor, const CheckedSum& other) {
  assert(&other != this);
  constant += factor * other.constant;
  for (const auto& [variable, coefficient] : other.coefficients)
    add(variable, factor * coefficient);
}

void CheckedSum::scale(const QNumber& factor) {
  assert(!factor.is_zero() && is_normal());
  constant *= factor;
  for (auto& entry : coefficients)
    entry.second *= factor;
}

void CheckedSum::tighten(Relation relation) {
  assert(!coefficients.empty() && first_real() == nullptr);
  scale(content().inv());
  // With an integer s, s + c > 0 is s >= floor(-c) + 1.
  constant = relation == Relation::ABOVE_ZERO ? constant.neg().floor().neg() - QNumber(1)
                                              : constant.floor();
  assert(has_integer_coefficients() && constant.is_integer());
}

const Term_* CheckedSum::first_variable() const {
  const Term_* first = nullptr;
  for (const auto& entry : coefficients)
    if (first == nullptr || entry.first->id() < first->id()) first = entry.first;
  return first;
}

const Term_* CheckedSum::first_real() const {
  const Term_* first = nullptr;
  for (const auto& entry : coefficients) {
    if (Terms::sort_of(entry.first) == Sort::INT) continue;
    if (first == nullptr || entry.first->id() < first->id()) first = entry.first;
  }
  return first;
}

bool CheckedSum::has_integer_coefficients() const {
  return std::all_of(coefficients.begin(), coefficients.end(),
                     [](const auto& entry) { return entry.second.is_integer(); });
}

QNumber CheckedSum::content() const {
  QNumber numerators;
  QNumber denominators(1);
  for (const auto& entry : coefficients) {
    numerators = gcd(numerators, entry.second.get_num());
    denominators = lcm(denominators, entry.second.get_den());
  }
  assert(coefficients.empty() == numerators.is_zero() && denominators.sign() > 0);
  return numerators / denominators;
}

std::optional<QNumber> CheckedSum::coefficient_ratio_to(const CheckedSum& other) const {
  QNumber factor(1);
  if (const Term_* variable = first_variable()) {
    const auto match = other.coefficients.find(variable);
    if (match == other.coefficients.end()) return std::nullopt;
    factor = match->second / coefficients.at(variable);
  }
  assert(!factor.is_zero());
  CheckedSum rest = other;
  rest.add(factor.neg(), *this);
  const bool equal = rest.coefficients.empty();
  return equal && factor.sign() > 0 ? std::optional<QNumber>(factor) : std::nullopt;
}

std::optional<QNumber> CheckedSum::ratio_to(const CheckedSum& other) const {
  assert(is_normal() && other.is_normal());
  std::optional<QNumber> factor = coefficient_ratio_to(other);
  if (factor && coefficients.empty() && !constant.is_zero())
    factor = other.constant / constant;
  const bool equal = factor && factor->sign() > 0 && other.constant == *factor * constant;
  return equal ? factor : std::nullopt;
}

namespace {

// The sum of the weighted terms on the agenda.
std::optional<CheckedSum> sum_of(Agenda agenda) {
  CheckedSum sum;
  while (!agenda.empty()) {
    const auto [t, weight] = agenda.pop();
    switch (Terms::kind_of(t)) {
      case Kind::VARIABLE:
      case Kind::FLOOR: sum.add(t, weight); break;
      case Kind::NUMERAL: sum.constant += weight * Terms::symbol_of(t).value; break;
      case Kind::TO_REAL: agenda.push(t->arg(0), weight); break;
      case Kind::PLUS:
        agenda.push(t->arg(0), weight);
        agenda.push(t->arg(1), weight);
        break;
      case Kind::TIMES: {
        const std::size_t factor = constant_factor(t);
        if (factor == 2) return std::nullopt;
        agenda.push(t->arg(1 - factor), weight * evaluate(t->arg(factor), Model()));
        break;
      }
      default: return std::nullopt;
    }
  }
  assert(sum.is_normal());
  return sum;
}

}  // namespace

std::optional<CheckedSum> checked_form(const Term_* t) {
  assert(Terms::sort_of(t) != Sort::BOOL);
  Agenda agenda;
  agenda.push(t, QNumber(1));
  return sum_of(std::move(agenda));
}

std::optional<CheckedSum> checked_difference(const Term_* atom) {
  if (Terms::kind_of(atom) == Kind::FALSE) {
    CheckedSum sum;
    sum.constant = QNumber(1);
    return sum;
  }
  assert(atom->num_args() == 2);
  Agenda agenda;
  agenda.push(atom->arg(0), QNumber(1));
  agenda.push(atom->arg(1), QNumber(-1));
  return sum_of(std::move(agenda));
}

}  // namespace opal::host
