// Drawings, explanations and check files for formulas that are no conjunctions.

#include <sstream>

#include "opal/explain/clause_drawing.h"
#include "opal/explain/clause_explanation.h"
#include "opal/session/session_impl.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

ClauseView Session::Impl::formula_view() {
  need(Verdict::UNSAT);
  std::vector<std::string> names(stack.size() + last.assumptions.size());
  for (std::size_t i = 0; i < stack.size(); ++i) {
    const std::string& name = stack.assertions()[i].name;
    if (!name.empty()) names[i] = symbol_text(name);
  }
  return {terms, formula.refutation(), formulas(), std::move(names)};
}

void Session::Impl::draw_formulas(std::ostream& out) {
  draw_refutation(out, formula_view(), {});
}

void Session::Impl::draw_formulas(const InterpolationQuery& query,
                                  const Interpolants& answer,
                                  const std::function<void(const std::string&)>& take) {
  const AtomPlaces places = formula.places(resolved(query, answer));
  const ClauseView view = formula_view();
  for (std::size_t root = 0; root < answer.terms.size(); ++root) {
    limits.look();
    std::ostringstream out;
    draw_refutation(
        out, view,
        {&places, root, answer.terms[root], names_of_side(query, root, SideOfQuery::A),
         names_of_side(query, root, SideOfQuery::B)});
    take(out.str());
  }
}

void Session::Impl::explain_formulas(std::ostream& out, const InterpolationQuery& query,
                                     const Interpolants& answer) {
  const ResolvedQuery found = resolved(query, answer);
  const AtomPlaces places = formula.places(found);
  const ClauseView view = formula_view();
  print_refutation(out, view, answer);
  for (std::size_t i = 0; i < answer.terms.size(); ++i) {
    limits.look();
    print_heading(out, answer, i, found.first[i]);
    print_explanation(out, view, places, i);
  }
}

Sides Session::Impl::sides_of_formulas(const ResolvedQuery& query, std::size_t root) {
  Sides sides;
  for (std::size_t i = 0; i < query.formulas.size(); ++i) {
    const std::size_t place = query.places[i];
    const bool is_in_all = place == Grouping::BACKGROUND;
    const bool is_of_A = query.first[root] <= place && place <= root;
    if (is_of_A || is_in_all) sides.of_A.push_back(query.formulas[i]);
    if (!is_of_A || is_in_all) sides.of_B.push_back(query.formulas[i]);
  }
  return sides;
}

}  // namespace opal::host
