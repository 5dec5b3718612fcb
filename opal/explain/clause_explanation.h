#ifndef OPAL_EXPLAIN_CLAUSE_EXPLANATION_H
#define OPAL_EXPLAIN_CLAUSE_EXPLANATION_H

#include <cstddef>
#include <iosfwd>

#include "opal/explain/clause_view.h"
#include "opal/interpolate/interpolation.h"

namespace opal::host {

/// Prints what holds for all interpolants of an answer: the counts of the refutation, the
/// strength that was used, and sizes.
void print_refutation(std::ostream& out, const ClauseView& view,
                      const Interpolants& answer);

/// Prints what one interpolant, in the partition of `root`, rests on, in lines that are
/// indented: the assertions whose clauses are used most, and some lemmas, each with its
/// side. Long lists are cut short.
void print_explanation(std::ostream& out, const ClauseView& view, const AtomPlaces& places,
                       std::size_t root);

}  // namespace opal::host

#endif
