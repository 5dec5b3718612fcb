#ifndef OPAL_ARITH_INTEGER_INTEGER_SEARCH_H
#define OPAL_ARITH_INTEGER_INTEGER_SEARCH_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "opal/arith/integer/diophantine.h"
#include "opal/arith/integer/search_constraints.h"
#include "opal/arith/rational/decider.h"
#include "opal/base/limits.h"
#include "opal/interfaces/proof.h"
#include "opal/linear/mapper.h"

namespace opal::host {

/// Decides constraints of which some variables are integers, on top of a decider of their
/// rational relaxation: equalities first, then branch-and-cut.
class IntegerSearch {
 public:
  enum class Verdict : std::uint8_t { SAT, UNSAT, UNKNOWN };

  /// What is to be decided. The decider holds the convex constraints, and nothing else.
  struct Problem {
    const std::vector<int>* convex;
    const std::vector<int>* disequalities;
    Decider* decider;
    bool cuts;             // whether the decider takes cuts
    std::size_t branches;  // the most nodes to look at; 0 for no limit

    /// Everything is given, and the decider's stack is as described.
    [[nodiscard]] bool is_normal() const {
      return convex != nullptr && disequalities != nullptr && decider != nullptr &&
             decider->size() == convex->size();
    }
  };

  /// Work done since construction.
  struct Statistics {
    std::uint64_t nodes = 0;  // of trees of branches
    std::uint64_t cuts = 0;
  };

  /// Keeps references to all. The decider of every problem reads `constraints`.
  IntegerSearch(Mapper& mapper, SearchConstraints& constraints, Limits& limits);

  /// SAT leaves the decider with a model in which the integers have integer values, UNSAT
  /// leaves refutation(). UNKNOWN comes when the number of nodes reaches the limit, and
  /// for problems that leave an integer variable unbounded and need deep branches. Problems
  /// whose integer variables are bounded are decided. Throws LimitReached.
  Verdict decide(const Problem& problem);
  /// After UNSAT, once.
  proof::ProofRef take_refutation() { return std::move(refutation_); }
  [[nodiscard]] const Statistics& statistics() const { return statistics_; }

 private:
  /// A refutation of a node of the tree, and the branches above that it needs, ascending.
  struct Refuted {
    proof::ProofRef proof;
    std::vector<int> uses;
  };
  /// What looking at a node gives: a refutation, two branches to try in this order, or
  /// (neither) a model.
  struct Branches {
    int first;
    int second;
  };
  /// Which of the branches t <= c and t >= c + 1 is tried first.
  enum class FirstBranch : std::uint8_t { AT_MOST, AT_LEAST };
  /// Disequalities over integers alone, or those with a real variable.
  enum class Disequalities : std::uint8_t { INTEGRAL, MIXED };
  struct Step {
    std::optional<Refuted> refuted;
    std::optional<Branches> branches;
  };
  /// A branching above the current node.
  struct Frame {
    Branches branches;
    std::size_t height;            // of the decider below the branches
    bool in_second;                // whether the current node is under the second branch
    std::optional<Refuted> first;  // the refutation of the first branch, if it has one

    /// Two branches, and no refutation of the first before the second is looked at.
    [[nodiscard]] bool is_normal() const {
      return branches.first != branches.second && (in_second || !first.has_value());
    }
  };
  enum class Descent : std::uint8_t { SAT, UNSAT, TOO_DEEP, TOO_MANY };

  // integer_search.cpp: the tree
  void collect_integers();
  struct Equalities {
    std::vector<int> ids;
    std::vector<IntegerRow> rows;
  };
  [[nodiscard]] Equalities integral_equalities() const;
  bool refute(const Equalities& equalities);
  Descent descend(std::size_t depth);
  bool backtrack(std::optional<Refuted>& refuted);
  Refuted join(Frame& frame, Refuted second);

  // integer_points.cpp: a guess
  using Guess = std::vector<QNumber>;
  bool guess_model(const std::vector<IntegerRow>& equalities);
  [[nodiscard]] std::vector<Guess> guesses(const std::vector<IntegerRow>& equalities,
                                           const std::vector<int>& vars) const;
  bool is_model(const std::vector<int>& vars, const Guess& values);

  // integer_nodes.cpp: one node of the tree
  Step examine();
  bool add_cuts();
  [[nodiscard]] std::optional<int> fractional_variable() const;
  [[nodiscard]] Step branch_on(int var);
  [[nodiscard]] Branches branches_at(const la::Equation& vars, const QNumber& floor,
                                     FirstBranch first);
  Step separate();
  [[nodiscard]] std::optional<int> violated_disequality(Disequalities which) const;
  Step separate_integral(int id);
  Step refuted_disequality(int id);
  [[nodiscard]] Refuted refuted(FarkasCombination combination);
  [[nodiscard]] bool holds_with_equality(const la::LinearTerm& term) const;
  [[nodiscard]] bool is_integral(const la::LinearTerm& term) const;

  Mapper& mapper_;
  SearchConstraints& constraints_;
  Limits& limits_;
  Statistics statistics_;

  // The current problem.
  Problem problem_{};
  std::vector<int> integers_;       // its integer variables
  std::vector<int> integral_rows_;  // its convex constraints over integers only
  std::vector<Frame> frames_;
  std::size_t nodes_ = 0;
  proof::ProofRef refutation_;
};

}  // namespace opal::host

#endif
