#ifndef OPAL_ARITH_INTEGER_CUTS_H
#define OPAL_ARITH_INTEGER_CUTS_H

#include <cstddef>
#include <vector>

#include "opal/base/limits.h"
#include "opal/interfaces/equation.h"
#include "opal/linear/constraint_terms.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// A constraint of a cut with its integer multiplier: positive for an inequality; signed
/// for an equality, which counts as sum - constant.
struct CutPremise {
  int constraint_id;
  QNumber multiplier;
};

/// A rounded combination of constraints over integer variables.
///
/// The premises, `sum <= c` read as c - sum >= 0 and `sum >= c` as sum - c >= 0, add up to
///
///     divisor * t - (divisor * k - residue) >= 0        0 < residue < divisor
///
/// where t has coprime integer coefficients; the cut is t >= k. At least one premise is an
/// inequality. The premises' multipliers have no common divisor, and no id occurs twice.
///
/// Invariant (is_normal): these ranges; integer multipliers other than zero.
struct Cut {
  std::vector<CutPremise> premises;
  la::LinearTerm term;  // t >= k, of kind GEQ
  QNumber divisor;      // the greatest common divisor of the combined coefficients
  QNumber residue;      // how much the rounding took, in the combined scale

  [[nodiscard]] bool is_normal() const;
};

/// Cuts that a point violates, at most `most`, by ascending divisor, then by the number of
/// premises; no two with the same term.
///
/// `tight` are the ids of constraints that the point satisfies with equality: of kind LEQ,
/// GEQ or EQ, with integer coefficients and constants, all variables integer. Of several
/// ids for the same constraint the first is used. No cut is made of equalities alone: they
/// would be a contradiction by themselves.
std::vector<Cut> tight_cuts(const ConstraintTerms& terms, const std::vector<int>& tight,
                            std::size_t most, Limits& limits);

}  // namespace opal::host

#endif
