#ifndef OPAL_EXPLAIN_CLAUSE_DRAWING_H
#define OPAL_EXPLAIN_CLAUSE_DRAWING_H

#include <cstddef>
#include <iosfwd>
#include <string>

#include "opal/explain/clause_view.h"

namespace opal::host {

/// What a drawing shows of a refutation in one partition, beyond the refutation itself.
struct ClauseNotes {
  const AtomPlaces* places = nullptr;  // null: no sides are shown
  std::size_t root = 0;                // of the partition
  const Term_* answer = nullptr;       // the interpolant, shown at the empty clause
  std::string name_of_A;               // what the sides are made of, for the legend
  std::string name_of_B;
};

/// Refutations of more nodes are drawn without their chains.
constexpr std::size_t MOST_CLAUSES = 300;

/// Writes a refutation of formulas as a graph in the language DOT of Graphviz: clauses of
/// assertions and lemmas on top, arrows from clauses to what is resolved from them, the
/// empty clause at the bottom. Of a refutation of more than MOST_CLAUSES nodes only the
/// assertions, the most used ones first, and the lemmas, with as many arrows left out.
/// Colours as in proof_drawing.h. Deterministic and iterative.
void draw_refutation(std::ostream& out, const ClauseView& view, const ClauseNotes& notes);

}  // namespace opal::host

#endif
