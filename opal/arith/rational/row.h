#ifndef OPAL_ARITH_RATIONAL_ROW_H
#define OPAL_ARITH_RATIONAL_ROW_H

#include <vector>

#include "opal/utils/qnumber.h"

namespace opal::host {

/// A coefficient of a row.
struct RowEntry {
  int var;
  QNumber coeff;
};

/// A linear equation sum(coeff * var) = 0 with integer coefficients.
///
/// Invariant (is_normal): variables strictly ascending, coefficients integers other than
/// zero without a common divisor. Where divisors are looked for only when they matter, rows
/// of small coefficients, below 2^31 in magnitude, may have one (is_small_or_normal):
/// products of such coefficients still fit in words.
using Row = std::vector<RowEntry>;

/// The coefficient of a variable, or null.
const QNumber* find_coeff(const Row& row, int var);
/// Divides by the greatest common divisor, and brings coefficients to words where they fit.
void make_coprime(Row& row);
/// The same unless all coefficients are small.
void make_small_or_coprime(Row& row);
/// The factors a, b without a common divisor for which a*x + b*y = 0. x must not be 0.
struct Cancellation {
  QNumber a;
  QNumber b;
};
Cancellation cancellation(const QNumber& x, const QNumber& y);
/// `row` with the variable, which `definition` has, taken out by means of `definition`.
Row eliminate(const Row& row, int var, const Row& definition);
bool is_normal(const Row& row);
bool is_small_or_normal(const Row& row);

}  // namespace opal::host

#endif
