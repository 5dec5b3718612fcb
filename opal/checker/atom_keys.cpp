#include "opal/checker/atom_keys.h"

#include <algorithm>
#include <cassert>

namespace opal::checker {

using host::CheckedSum;
using host::Kind;
using host::Sort;
using host::Terms;

bool AtomKeys::Earlier::operator()(const Key& a, const Key& b) const {
  if (a.shape != b.shape) return a.shape < b.shape;
  if (a.bound != b.bound) return a.bound < b.bound;
  return std::lexicographical_compare(a.summands.begin(), a.summands.end(),
                                      b.summands.begin(), b.summands.end(),
                                      [](const auto& left, const auto& right) {
                                        if (left.first != right.first)
                                          return left.first < right.first;
                                        return left.second < right.second;
                                      });
}

std::size_t AtomKeys::number_of(Key key) {
  const auto [entry, is_new] = linear_.emplace(std::move(key), size_);
  if (is_new) ++size_;
  return entry->second;
}

std::optional<KeyedAtom> AtomKeys::keyed(const Term_* atom) {
  const Kind kind = Terms::kind_of(atom);
  if (kind == Kind::VARIABLE && Terms::sort_of(atom) == Sort::BOOL) {
    const auto [entry, is_new] = boolean_.emplace(atom->id(), size_);
    if (is_new) ++size_;
    return KeyedAtom{std::nullopt, entry->second, false};
  }
  if (kind == Kind::TRUE || kind == Kind::FALSE)
    return KeyedAtom{kind == Kind::TRUE, 0, false};
  const bool compares =
      kind == Kind::LEQ || kind == Kind::LT || kind == Kind::EQ || kind == Kind::NEQ;
  if (!compares || Terms::sort_of(atom->arg(0)) == Sort::BOOL) return std::nullopt;
  std::optional<CheckedSum> difference = host::checked_difference(atom);
  if (!difference) return std::nullopt;
  return keyed(std::move(*difference), kind);
}

KeyedAtom AtomKeys::keyed(CheckedSum sum, Kind relation) {
  if (relation == Kind::NEQ) {
    KeyedAtom result = keyed(std::move(sum), Kind::EQ);
    if (result.truth) result.truth = !*result.truth;
    result.negated = !result.negated;
    return result;
  }
  const Term_* const first = sum.first_variable();
  if (first == nullptr) {
    const int sign = sum.constant.sign();
    return {relation == Kind::EQ   ? sign == 0
            : relation == Kind::LT ? sign < 0
                                   : sign <= 0,
            0, false};
  }
  sum.scale(sum.content().inv());
  const bool mirrored = sum.coefficients.at(first).sign() < 0;
  if (mirrored) sum.scale(QNumber(-1));
  // Now the sum without its constant is at most, less than, or equal to `bound`; mirrored:
  // at least, more than.
  Key key{Shape::AT_MOST, {}, sum.constant.neg()};
  for (const auto& [variable, coefficient] : sum.coefficients)
    key.summands.emplace_back(variable->id(), coefficient);
  std::sort(key.summands.begin(), key.summands.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  const bool integers = sum.first_real() == nullptr;
  if (relation == Kind::EQ) {
    if (integers && !key.bound.is_integer()) return {false, 0, false};
    key.shape = Shape::EQUAL;
    return {std::nullopt, number_of(std::move(key)), false};
  }
  const bool strict = relation == Kind::LT;
  bool negated = false;
  if (integers) {
    // sum <= b: floor(b); sum < b: ceil(b) - 1; sum >= b: not sum <= ceil(b) - 1;
    // sum > b: not sum <= floor(b)
    negated = mirrored;
    const bool down = strict == mirrored;
    key.bound = down ? key.bound.floor() : key.bound.neg().floor().neg() - QNumber(1);
  } else {
    // sum < b is not sum >= b; sum > b is not sum <= b
    negated = strict;
    key.shape = strict == mirrored ? Shape::AT_MOST : Shape::AT_LEAST;
  }
  return {std::nullopt, number_of(std::move(key)), negated};
}

}  // namespace opal::checker
