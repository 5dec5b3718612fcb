#ifndef OPAL_LINEAR_LINEAR_FORM_H
#define OPAL_LINEAR_LINEAR_FORM_H

#include <string>
#include <utility>
#include <vector>

#include "opal/base/error.h"
#include "opal/interfaces/term.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

class Terms;

/// A sum of coefficient * variable, plus a constant; a variable is a variable term or a
/// floor term.
///
/// Invariant (is_normal): the summands are strictly ascending by the id of their variable,
/// and no coefficient is zero.
struct LinearForm {
  using Summand = std::pair<const Term_*, QNumber>;

  std::vector<Summand> summands;
  QNumber constant;

  [[nodiscard]] bool is_constant() const { return summands.empty(); }
  [[nodiscard]] bool is_normal() const;
  /// Restores the invariant: sorts the summands, and adds up those of one variable.
  void merge_summands();
};

/// An arithmetic term that is not linear; `term` is the product or other term at fault.
class NotLinear : public Error {
 public:
  NotLinear(const std::string& what, const Term_* t) : Error(what), term(t) {}

  const Term_* const term;
};

/// The linear form of an arithmetic term: numerals, variables, sums, products with one
/// constant factor, to_real. A floor term counts as a variable, whatever is inside of it.
/// Iterative; a term that is a large DAG with shared parts takes time linear in the number
/// of its nodes, not of its tree.
/// Throws NotLinear for a product of two non-constant terms and for other terms.
LinearForm linear_form(const Term_* t);

/// left - right
LinearForm linear_difference(const Term_* left, const Term_* right);

/// The sum as a term, summand by summand, with the constant, if there is one, at the end.
/// An Int among Reals is wrapped in to_real.
const Term_* sum_term(Terms& terms, const LinearForm& form);

}  // namespace opal::host

#endif
