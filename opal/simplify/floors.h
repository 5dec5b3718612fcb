#ifndef OPAL_SIMPLIFY_FLOORS_H
#define OPAL_SIMPLIFY_FLOORS_H

#include <cassert>
#include <unordered_map>
#include <vector>

#include "opal/linear/linear_form.h"
#include "opal/terms/terms.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// Floor terms in normal form, in which they are variables like others.
///
/// A normal floor term is floor(n/d) with an integer d > 1 and a sum n of Int variables
/// whose coefficients are integers, coprime to d together, in (-d/2, d/2], the first one
/// positive, and whose constant is in 0 .. d-1; or it is floor(s) with a Real variable in
/// s, where the coefficients of Int variables are in (-1/2, 1/2] and the constant in [0,
/// 1).
class FloorForms {
 public:
  struct Floor {
    LinearForm numerator;  // its floor terms are normal
    QNumber divisor;       // 1 if a variable is Real
    bool over_integers = false;

    /// The normal form described above.
    [[nodiscard]] bool is_normal() const;
  };

  /// Keeps the reference.
  explicit FloorForms(Terms& terms) : terms_(terms) {}

  /// Writes a linear form with normal floor terms. Throws NotLinear.
  void normalize(LinearForm& form);
  /// What a normal floor term that normalize() has written is the floor of.
  [[nodiscard]] const Floor& floor_of(const Term_* normal) const {
    assert(floors_.count(normal) == 1);
    return floors_.at(normal);
  }

 private:
  void replace(LinearForm& form) const;
  LinearForm floor_form(LinearForm u);
  bool fold_nested(LinearForm& u, const QNumber& divisor) const;
  const Term_* write(Floor f);

  Terms& terms_;
  std::unordered_map<const Term_*, LinearForm> normal_;  // by floor term
  std::unordered_map<const Term_*, Floor> floors_;       // by normal floor term
};

bool is_floor(const LinearForm::Summand& summand);
/// Whether all variables are Ints.
bool is_over_integers(const std::vector<LinearForm::Summand>& summands);

}  // namespace opal::host

#endif
