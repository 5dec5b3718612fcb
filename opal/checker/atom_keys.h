#ifndef OPAL_CHECKER_ATOM_KEYS_H
#define OPAL_CHECKER_ATOM_KEYS_H

#include <cstddef>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "opal/checker/checked_sum.h"
#include "opal/terms/terms.h"

namespace opal::checker {

/// An atom by what it says: a truth value, or a key, negated or not. Atoms that say the
/// same have one key, whatever their spelling: 2x <= 7 and not x >= 4 over integers.
struct KeyedAtom {
  std::optional<bool> truth;
  std::size_t key = 0;
  bool negated = false;
};

/// Hands out keys. Over integers each inequality is read as sum <= c or its negation, over
/// reals as sum <= c, sum >= c or the negation of one, with coprime integer coefficients of
/// which the first, by the order of terms, is positive.
class AtomKeys {
 public:
  /// The atom of kind LEQ, LT, EQ or NEQ over numbers, or a Boolean variable; nothing for
  /// what is neither, or is not linear.
  std::optional<KeyedAtom> keyed(const Term_* atom);
  /// The atom `sum relation 0`; LEQ, LT, EQ or NEQ.
  KeyedAtom keyed(host::CheckedSum sum, host::Kind relation);
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  enum class Shape : std::uint8_t { AT_MOST, AT_LEAST, EQUAL };
  using Summands = std::vector<std::pair<std::uint64_t, QNumber>>;  // by id of the variable
  struct Key {
    Shape shape;
    Summands summands;
    QNumber bound;
  };
  struct Earlier {
    bool operator()(const Key& a, const Key& b) const;
  };

  std::size_t number_of(Key key);

  std::map<Key, std::size_t, Earlier> linear_;
  std::map<std::uint64_t, std::size_t> boolean_;  // by the id of the variable
  std::size_t size_ = 0;
};

}  // namespace opal::checker

#endif
