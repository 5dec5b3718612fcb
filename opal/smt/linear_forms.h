#ifndef OPAL_SMT_LINEAR_FORMS_H
#define OPAL_SMT_LINEAR_FORMS_H

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "opal/arith/rational/bound_simplex.h"
#include "opal/arith/rational/row.h"
#include "opal/interfaces/equation.h"
#include "opal/linear/mapper.h"

namespace opal::smt {

/// The variables of the simplex that stand for the mapper's variables and for linear forms.
/// Forms are coprime integers with a positive first coefficient, so that x + y <= 3 and
/// 2x + 2y >= 1 are bounds of one variable; it is an integer's when all variables are.
class LinearForms {
 public:
  /// Keeps references to both.
  LinearForms(const host::Mapper& mapper, host::BoundSimplex& simplex)
      : mapper_(mapper), simplex_(simplex) {}

  /// The variable and factor with which the sum, which is not empty, is scale * variable.
  /// Made at first sight; bounds of it are expected.
  struct Scaled {
    int var;
    QNumber scale;
  };
  Scaled variable_of(const la::Equation& sum);
  [[nodiscard]] bool is_integer(int var) const {
    return is_integer_[static_cast<std::size_t>(var)];
  }

  /// The mapper's variables that occur in forms, in the order of first sight.
  struct Structural {
    int mapper_var;
    int var;
  };
  [[nodiscard]] const std::vector<Structural>& structurals() const { return structurals_; }
  [[nodiscard]] std::size_t size() const { return is_integer_.size(); }

 private:
  int structural(int mapper_var);
  int slack(host::Row form);
  [[nodiscard]] int find(const host::Row& form, std::size_t hash) const;

  const host::Mapper& mapper_;
  host::BoundSimplex& simplex_;
  std::vector<int> by_mapper_var_;  // NONE where there is none
  std::vector<Structural> structurals_;
  std::vector<bool> is_integer_;  // by the simplex's variable
  std::vector<host::Row> forms_;  // by the simplex's variable; empty for structural ones
  std::unordered_multimap<std::size_t, int> slacks_;  // by hash of the form
};

}  // namespace opal::smt

#endif
