#ifndef OPAL_LINEAR_CONSTRAINT_TERMS_H
#define OPAL_LINEAR_CONSTRAINT_TERMS_H

#include "opal/interfaces/equation.h"

namespace opal::host {

/// What constraint ids stand for.
class ConstraintTerms {
 public:
  ConstraintTerms() = default;
  ConstraintTerms(const ConstraintTerms&) = delete;
  ConstraintTerms& operator=(const ConstraintTerms&) = delete;
  virtual ~ConstraintTerms() = default;

  /// The constraint of an id that this object handed out. The reference stays valid while
  /// the object lives.
  [[nodiscard]] virtual const la::LinearTerm& constraint_term(int constr_id) const = 0;
};

}  // namespace opal::host

#endif
