#ifndef OPAL_CHECKER_CHECKED_CONSTRAINT_H
#define OPAL_CHECKER_CHECKED_CONSTRAINT_H

#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <unordered_set>

#include "opal/checker/checked_sum.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/term_mapper.h"

namespace opal::host {

/// What a check stumbles over: thrown where it is found, and caught by ProofChecker.
struct Broken {
  std::string what;
};

template <typename... Parts>
[[noreturn]] void refuse(const Parts&... parts) {
  std::ostringstream text;
  (text << ... << parts);
  throw Broken{text.str()};
}

/// A constraint as the mapper hands it out: sum rel 0, the sum being left - right. The sum
/// keeps its own invariant.
struct CheckedConstraint {
  int kind;  // a relation of la::LinearTerm
  CheckedSum sum;
  bool of_branch;

  [[nodiscard]] bool is_equality() const { return kind == la::LinearTerm::EQ; }
  [[nodiscard]] bool is_disequality() const { return kind == la::LinearTerm::NEQ; }
  /// Whether its half, or the constraint itself, is strict.
  [[nodiscard]] bool is_strict() const;
  /// 1 when `sum rel 0` bounds the sum from below, -1 when from above, 0 for the others.
  [[nodiscard]] int direction() const;
};

/// Reads the constraints of a proof. What the mapper says of an id is compared with the
/// atom that was asserted, or with the branch that the proof states.
class CheckedConstraints {
 public:
  /// Keeps references to both.
  CheckedConstraints(la::ItpLinearTermMapper& mapper,
                     const std::unordered_set<const Term_*>& asserted)
      : mapper_(mapper), asserted_(asserted) {}

  [[nodiscard]] la::ItpLinearTermMapper& mapper() const { return mapper_; }

  /// The constraint of an asserted atom. Refused, in the name of `rule`: an id without a
  /// positive literal of an asserted atom, a linear term that does not follow from it.
  [[nodiscard]] CheckedConstraint asserted(int id, const std::string& rule) const;
  /// The same, or the constraint of a branch that was entered.
  [[nodiscard]] CheckedConstraint any(int id, const std::string& rule) const;
  /// Refuses a node whose branches leave a gap, are not over an integer term, or have ids
  /// or atoms that stand for something else; else enters both.
  void enter_branches(const laz::LaZInternalBBProof& node);
  /// The variables of the atoms that were asserted and of the branches that were entered.
  [[nodiscard]] std::unordered_set<const Term_*> variables() const;

 private:
  [[nodiscard]] const Term_* asserted_atom(int id, const std::string& rule) const;
  [[nodiscard]] CheckedSum sum_of(const la::LinearTerm& term, const std::string& at) const;
  void enter_branch(int id, const la::LinearTerm& branch);

  la::ItpLinearTermMapper& mapper_;
  const std::unordered_set<const Term_*>& asserted_;
  std::map<int, la::LinearTerm> branches_;
};

}  // namespace opal::host

#endif
