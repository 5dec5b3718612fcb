#ifndef OPAL_TERMS_PRINT_PRINTER_H
#define OPAL_TERMS_PRINT_PRINTER_H

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "opal/terms/terms.h"

namespace opal::host {

/// Writes SMT-LIB 2.6. Everything is iterative. A numeral takes the sort of its place: 3.0,
/// (- 3.0), (/ 1.0 2.0) among Reals; 3, (- 3) among Ints. An Int term that stands among
/// Reals is wrapped in to_real. Connectives and sums nested on the left are written with
/// all their operands in one pair of parentheses, which SMT-LIB reads as the same term.

/// A symbol, between bars where its name needs them. SMT-LIB has no way to write a name
/// with a bar or a backslash.
std::string symbol_text(std::string_view name);
/// A string literal, quotes doubled.
std::string string_literal(std::string_view text);
std::string number_text(const QNumber& value, Sort sort);

/// `t` as a tree; when the tree is much larger than the DAG, shared sub-terms are bound by
/// `let`. A bare numeral, and an atom between numerals, is printed over the Reals if `real`
/// is set.
void print_term(std::ostream& out, const Term_* t, bool real = true);
/// The text of `t` as a tree, cut at about `limit` characters with "..." when longer.
std::string term_text(const Term_* t, std::size_t limit = 1000);

/// A complete script for an outside solver: the logic (widened to what the formulas need),
/// the declarations of all their variables, then for each query push, its assertions,
/// check-sat, pop. Several formulas of one query are asserted one by one.
void print_queries(std::ostream& out,
                   const std::vector<std::vector<const Term_*>>& queries);

/// The variables of the terms, ascending by id, each once.
std::vector<const Term_*> variables_of(const std::vector<const Term_*>& terms);

}  // namespace opal::host

#endif
