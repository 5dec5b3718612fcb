#ifndef OPAL_ARITH_RATIONAL_DELTA_NUMBER_H
#define OPAL_ARITH_RATIONAL_DELTA_NUMBER_H

#include <utility>

#include "opal/utils/qnumber.h"

namespace opal::host {

/// The number real + strict * e for a positive e that is smaller than every positive
/// rational: x < 3 is x <= 3 - e. Ordered by the real part, then by the strict part.
struct DeltaNumber {
  QNumber real;
  QNumber strict;

  DeltaNumber& operator+=(const DeltaNumber& x) {
    real += x.real;
    strict += x.strict;
    return *this;
  }
  DeltaNumber& operator-=(const DeltaNumber& x) {
    real -= x.real;
    strict -= x.strict;
    return *this;
  }
  DeltaNumber& operator*=(const QNumber& q) {
    real *= q;
    if (!strict.is_zero()) strict *= q;
    return *this;
  }
  /// Adds q * x.
  void add_product(const QNumber& q, const DeltaNumber& x) {
    if (!x.real.is_zero()) real += q * x.real;
    if (!x.strict.is_zero()) strict += q * x.strict;
  }
  [[nodiscard]] int sign() const { return real.is_zero() ? strict.sign() : real.sign(); }

  friend DeltaNumber operator+(DeltaNumber a, const DeltaNumber& b) { return a += b; }
  friend DeltaNumber operator-(DeltaNumber a, const DeltaNumber& b) { return a -= b; }
  friend bool operator==(const DeltaNumber& a, const DeltaNumber& b) {
    return a.real == b.real && a.strict == b.strict;
  }
  friend bool operator<(const DeltaNumber& a, const DeltaNumber& b) {
    return a.real == b.real ? a.strict < b.strict : a.real < b.real;
  }
  friend bool operator>(const DeltaNumber& a, const DeltaNumber& b) { return b < a; }
  friend bool operator<=(const DeltaNumber& a, const DeltaNumber& b) { return !(b < a); }
  friend bool operator>=(const DeltaNumber& a, const DeltaNumber& b) { return !(a < b); }
};

}  // namespace opal::host

#endif
