#ifndef OPAL_ARITH_RATIONAL_DECIDER_H
#define OPAL_ARITH_RATIONAL_DECIDER_H

#include <cstddef>
#include <optional>
#include <vector>

#include "opal/arith/rational/delta_number.h"
#include "opal/interfaces/equation.h"
#include "opal/proofs/farkas.h"

namespace opal::host {

/// One of the inequalities that make up a constraint: sum <= constant (`upper`) or
/// sum >= constant, strictly or not. `sign` is that of its FarkasLeaf.
struct Half {
  bool upper;
  bool strict;
  int sign;
};

/// The halves of a relation, all of which hold. Of a disequality the one that `side` names
/// is taken: -1 at most, +1 at least.
inline std::vector<Half> halves(int relation, int side) {
  switch (relation) {
    case la::LinearTerm::LT: return {{true, true, 0}};
    case la::LinearTerm::LEQ: return {{true, false, 0}};
    case la::LinearTerm::EQ: return {{true, false, -1}, {false, false, 1}};
    case la::LinearTerm::NEQ: return {{side < 0, true, side}};
    case la::LinearTerm::GEQ: return {{false, false, 0}};
    default: return {{false, true, 0}};
  }
}

/// Decides a stack of convex constraints, each with at least one variable.
class Decider {
 public:
  Decider() = default;
  Decider(const Decider&) = delete;
  Decider& operator=(const Decider&) = delete;
  virtual ~Decider() = default;

  /// Adds a constraint on top of the stack. `side` chooses the strict half of a
  /// disequality, and counts for nothing else.
  virtual void add(int constr_id, int side) = 0;
  /// The height of the stack.
  [[nodiscard]] virtual std::size_t size() const = 0;
  /// Keeps the first `n` constraints, n <= size().
  virtual void retract(std::size_t n) = 0;

  /// A refutation of the constraints, or nothing when they are satisfiable. Throws
  /// LimitReached, after which every operation is possible.
  virtual std::optional<FarkasCombination> check() = 0;
  /// After a check() that found the constraints satisfiable, until the next add or
  /// retract: a variable's value in a model.
  [[nodiscard]] virtual DeltaNumber value(int var) const = 0;
};

}  // namespace opal::host

#endif
