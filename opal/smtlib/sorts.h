#ifndef OPAL_SMTLIB_SORTS_H
#define OPAL_SMTLIB_SORTS_H

#include <cstdint>

#include "opal/terms/terms.h"

namespace opal::smtlib {

/// The numbers of a logic. A numeral without a point is a Real among REALS, else an Int;
/// one with a point is always a Real.
enum class Numbers : std::uint8_t { REALS, INTEGERS, BOTH };

/// A term with the sort that it has in the script, which numerals do not tell: 1.0 and 1
/// are one term.
///
/// Invariant (is_well_sorted): the sort is the term's own, but that an integer numeral may
/// be a Real.
struct TypedTerm {
  const Term_* term = nullptr;
  host::Sort sort = host::Sort::BOOL;

  [[nodiscard]] bool is_well_sorted() const {
    const host::Sort own = host::Terms::sort_of(term);
    return sort == own || (sort == host::Sort::REAL && host::Terms::is_numeral(term));
  }
};

/// `t` where a term of the sort `expected` stands: an Int is read as a Real there. Any
/// other difference stays, for the caller to refuse.
inline TypedTerm read_as(host::Terms& terms, host::Sort expected, TypedTerm t) {
  if (expected != host::Sort::REAL || t.sort != host::Sort::INT) return t;
  return {terms.make_to_real(t.term), host::Sort::REAL};
}

}  // namespace opal::smtlib

#endif
