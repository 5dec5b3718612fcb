#ifndef OPAL_BASE_MODULAR_ARITHMETIC_H
#define OPAL_BASE_MODULAR_ARITHMETIC_H

#include <optional>

#include "opal/utils/qnumber.h"

namespace opal::host {

/// The remainder of an integer, or a fraction, in [0, m); m is a positive integer.
QNumber remainder(const QNumber& a, const QNumber& m);
/// The remainder nearest to 0: in (-m/2, m/2].
QNumber balanced_remainder(const QNumber& a, const QNumber& m);
/// The inverse of a modulo m, in [0, m). The integers a and m > 0 are coprime.
QNumber inverse_modulo(const QNumber& a, const QNumber& m);

/// The integers x with x = residue modulo `modulus`.
///
/// Invariant (is_normal): both are integers, and 0 <= residue < modulus.
struct ResidueClass {
  QNumber residue;
  QNumber modulus = QNumber(1);

  [[nodiscard]] bool is_normal() const;
  [[nodiscard]] bool contains(const QNumber& x) const;
  [[nodiscard]] bool contains(const ResidueClass& other) const;
  friend bool operator==(const ResidueClass& a, const ResidueClass& b) {
    return a.modulus == b.modulus && a.residue == b.residue;
  }
  /// By modulus, then by residue.
  friend bool operator<(const ResidueClass& a, const ResidueClass& b) {
    return a.modulus == b.modulus ? a.residue < b.residue : a.modulus < b.modulus;
  }
};

/// The integers in both classes, which are a class again, or none.
std::optional<ResidueClass> common_class(const ResidueClass& a, const ResidueClass& b);

}  // namespace opal::host

#endif
