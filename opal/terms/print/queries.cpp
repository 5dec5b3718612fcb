// Scripts of queries for outside solvers: one declaration of each variable for all queries,
// and each query between a push and a pop, so that one run of a solver answers all of them.
//
//     (set-logic QF_LIA)
//     (declare-fun x () Int)
//     (push 1)
//     (assert (<= x 3))
//     (assert (<= 4 x))
//     (check-sat)
//     (pop 1)
//
// Cost: linear in the text but for finding the variables (sub_terms.cpp).

#include <algorithm>
#include <cassert>
#include <ostream>

#include "opal/terms/print/printer.h"
#include "opal/terms/print/script_printer.h"
#include "opal/terms/sub_terms.h"

namespace opal::host {

std::vector<const Term_*> variables_of(const std::vector<const Term_*>& terms) {
  std::vector<const Term_*> variables;
  for (const Term_* t : SubTerms(terms))
    if (Terms::kind_of(t) == Kind::VARIABLE) variables.push_back(t);
  return variables;
}

void print_queries(std::ostream& out,
                   const std::vector<std::vector<const Term_*>>& queries) {
  std::vector<const Term_*> all;
  for (const auto& query : queries)
    all.insert(all.end(), query.begin(), query.end());
  assert(std::all_of(all.begin(), all.end(),
                     [](const Term_* t) { return Terms::sort_of(t) == Sort::BOOL; }));
  const NumberSorts sorts = number_sorts(all);
  out << "(set-logic " << logic_for("", sorts) << ")\n";
  for (const Term_* v : variables_of(all))
    print_declaration(out, v);
  for (const auto& query : queries) {
    out << "(push 1)\n";
    for (const Term_* formula : query) {
      out << "(assert ";
      print_term(out, formula, is_real(sorts));
      out << ")\n";
    }
    out << "(check-sat)\n(pop 1)\n";
  }
}

}  // namespace opal::host
