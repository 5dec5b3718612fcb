#ifndef OPAL_TERMS_PRINT_INFIX_H
#define OPAL_TERMS_PRINT_INFIX_H

#include <cstddef>
#include <string>

#include "opal/interfaces/term.h"

namespace opal::host {

/// A term of host::Terms as a mathematician writes it, in UTF-8, for people:
///
///     (<= (+ x (* (- 1) y)) 3)       x - y ≤ 3
///     (<= 7 (* 2 x))                 2·x ≥ 7
///     (not (= (div x 2) 0))          ⌊x/2⌋ ≠ 0
///     (= (mod (- x y) 8) 3)          x ≡ y + 3 (mod 8)
///
/// Numerals are exact; to_real is not written. Cut after about `limit` characters, with an
/// ellipsis at its end, when longer: a term that is small as a DAG may be huge as a text.
/// Iterative.
std::string infix_text(const Term_* t, std::size_t limit = 1000);

/// The half of an equality, or of its denial the strict half, of which a sign tells the
/// direction, -1 at most, +1 at least:
///
///     (= x y), -1     x ≤ y              (distinct x y), 1     x > y
///
/// Any other literal is written whole.
std::string half_text(const Term_* literal, int sign, std::size_t limit = 1000);

/// The first `limit` characters of a text in UTF-8, the last one an ellipsis when there are
/// more.
std::string shortened(const std::string& text, std::size_t limit);

}  // namespace opal::host

#endif
