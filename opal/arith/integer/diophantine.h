#ifndef OPAL_ARITH_INTEGER_DIOPHANTINE_H
#define OPAL_ARITH_INTEGER_DIOPHANTINE_H

#include <cstddef>
#include <utility>
#include <vector>

#include "opal/arith/rational/row.h"
#include "opal/base/limits.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// An equation sum(coeff * var) = constant over integer variables.
///
/// Invariant (is_normal): variables strictly ascending, coefficients integers other than
/// zero, the constant an integer. The coefficients may have a common divisor.
struct IntegerRow {
  Row sum;
  QNumber constant;

  [[nodiscard]] bool is_normal() const;
};

/// Why equations have no integer solution: rational multipliers other than zero, by
/// ascending index of the row, under which the weighted sum of the rows has integer
/// coefficients and a constant that is no integer.
using Certificate = std::vector<std::pair<std::size_t, QNumber>>;

/// Certificates against equations over the integers, at most `most`, each over rows of its
/// own choice. None when the equations have an integer solution; at least one when they
/// have a rational but no integer solution and `most` is not 0. A contradiction over the
/// rationals gives none by itself: callers decide the rational relaxation first.
///
/// Multipliers lie in [-1/2, 1/2), and the certificates are shortened().
std::vector<Certificate> integer_contradictions(const std::vector<IntegerRow>& rows,
                                                std::size_t most, Limits& limits);
/// The same before they are shortened: with larger denominators and more rows. Derived rows
/// with a coefficient of more than `bits` bits are left out, which bounds the cost and
/// loses certificates.
std::vector<Certificate> derived_contradictions(const std::vector<IntegerRow>& rows,
                                                std::size_t most, std::size_t bits,
                                                Limits& limits);

/// A multiple of a certificate that is one as well, with a small denominator: a power of
/// the smallest prime that the constant's denominator has, if it is easily found. Rows
/// whose multiplier becomes an integer disappear; the others lie in [-1/2, 1/2).
Certificate shortened(const std::vector<IntegerRow>& rows, const Certificate& certificate);

}  // namespace opal::host

#endif
