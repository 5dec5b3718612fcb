#ifndef OPAL_EXPLAIN_EXPLANATION_H
#define OPAL_EXPLAIN_EXPLANATION_H

#include <cstddef>
#include <iosfwd>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "opal/interfaces/proof.h"
#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/mapper.h"

namespace opal::host {

/// What the proof behind an interpolant did, step by step, with the sides of one partition.
struct Explanation {
  using Side = Grouping::status;  // A_LOCAL, B_LOCAL, or SHARED for two groups' background

  /// A constraint of a step. `sign` is that of a hypothesis (see la::LaHyp).
  struct Use {
    int constraint = 0;
    int sign = 0;
    QNumber multiplier;
    Side side = Side::B_LOCAL;
  };
  /// The part of a sum that the kept side contributes, scaled to integer coefficients; the
  /// variables in it that only this side has; and what divides all their coefficients: the
  /// divisor of a cut in the floor style, else their common divisor (0 without variables).
  struct Part {
    la::LinearTerm sum;
    std::vector<int> own;
    QNumber divisor;
  };
  struct Branch {
    int left = 0;
    int right = 0;
    Side side = Side::B_LOCAL;
  };
  /// Constraints added up, divided by the common divisor of the coefficients, and rounded.
  struct Cut {
    std::vector<Use> uses;
    la::LinearTerm sum;
    QNumber divisor;
    la::LinearTerm rounded;
    Part kept;
    [[nodiscard]] bool has_both_sides() const;
  };
  /// A refutation at the end of the branches: constraints and cuts (by their positions)
  /// that add up to a contradiction, perhaps for one side of a disequality only.
  struct Sum {
    int disequality = 0;  // 0: none
    std::vector<Use> uses;
    std::vector<std::pair<QNumber, std::size_t>> cuts;
  };
  /// Equalities whose sum has integer coefficients and a constant that is no integer.
  struct Equalities {
    std::vector<Use> uses;
    la::LinearTerm sum;
    Part kept;
  };

  Side kept_side =
      Side::A_LOCAL;  // whose part the interpolant is made of; B's in dual mode
  std::vector<Branch> branches;
  std::vector<Cut> cuts;
  std::vector<Sum> sums;
  std::vector<Equalities> equalities;
  /// Variables that only the kept side has, of its constraints that were used, ascending.
  std::vector<int> summed_away;
};

/// The explanation of the partition of `root` for a proof that was trimmed for all
/// partitions of `grouping`. Iterative, linear in the proof up to a logarithm.
Explanation explanation(proof::Proof& proof, const Grouping& grouping, std::size_t root,
                        Mapper& mapper, Mode mode, Cuts cuts);

/// The names of assertions that provide atoms; atoms of assertions without a name are not
/// in it.
using AtomNames = std::unordered_map<const Term_*, std::string>;

/// Prints the explanation of one interpolant of an answer, in lines that are indented; long
/// lists are cut short.
void print_explanation(std::ostream& out, const Explanation& explanation, Mapper& mapper,
                       const AtomNames& names, const Interpolants& answer,
                       const Term_* interpolant);

}  // namespace opal::host

#endif
