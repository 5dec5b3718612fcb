#ifndef OPAL_SMTLIB_ARITHMETIC_H
#define OPAL_SMTLIB_ARITHMETIC_H

#include "opal/smtlib/operators.h"

namespace opal::smtlib {

// Terms of the arithmetic functions. The arguments have been checked for their number and
// their sorts, and are of one sort. All throw OperatorError.

const Term_* sum(host::Terms& terms, Arguments args);
const Term_* difference(host::Terms& terms, Arguments args);
const Term_* product(host::Terms& terms, Arguments args, Products allowed);
/// Of Reals, by numerals other than 0.
const Term_* quotient(host::Terms& terms, Arguments args);

// Integer division rounds towards the side on which the remainder is not negative:
//
//      t    k   div  mod           div t k = floor(t/k)         for k > 0
//      7    2    3    1            div t k = -floor(t/|k|)      for k < 0
//     -7    2   -4    1            mod t k = t - |k|*floor(t/|k|)
//      7   -2   -3    1
//     -7   -2    4    1

/// From the left: (t div k1) div k2 ...; by numerals other than 0.
const Term_* integer_quotient(host::Terms& terms, Arguments args);
const Term_* remainder(host::Terms& terms, Arguments args);
/// Of a numeral.
const Term_* absolute(host::Terms& terms, Arguments args);
/// n divides the argument; n > 0.
const Term_* divisible(host::Terms& terms, Arguments args, const QNumber& n);

/// The greatest integer that is not above `t`; `t` itself if it is an Int read as a Real.
const Term_* floor_of(host::Terms& terms, const Term_* t);
const Term_* is_integer(host::Terms& terms, const Term_* t);

}  // namespace opal::smtlib

#endif
