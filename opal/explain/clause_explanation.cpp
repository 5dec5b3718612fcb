// What an interpolant of formulas is made of, in words:
//
//     refutation: 3 clauses of 3 assertions, 2 lemmas, 5 resolutions
//     strength strong; the smallest of strong 9, middle 12; size 9, as built 14
//       assertions by the use of their clauses:
//         A  4 * [a]
//         B  1 * x > 3
//       lemmas, of each of which one literal holds:
//         AB x ≤ 0 ∨ x ≥ 1

#include "opal/explain/clause_explanation.h"

#include <algorithm>
#include <ostream>
#include <string>

namespace opal::host {

using resolution::NodeIndex;

namespace {

constexpr std::size_t MOST_ASSERTIONS = 12;
constexpr std::size_t MOST_LEMMAS = 6;
constexpr std::size_t LONGEST = 100;  // of a formula

// "3 lemmas", "1 lemma"
std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// How many of a long list are shown; one more is shown, not counted.
std::size_t shown_of(std::size_t all, std::size_t most) {
  return all <= most + 1 ? all : most;
}

void print_rest(std::ostream& out, std::size_t all, std::size_t shown, const char* what) {
  if (all > shown) out << "    ... and " << counted(all - shown, what) << " more\n";
}

std::ostream& begin_line(std::ostream& out, Owner owner) {
  const std::string side = to_string(owner);
  return out << "    " << side << (side.size() < 2 ? "  " : " ");
}

}  // namespace

void print_refutation(std::ostream& out, const ClauseView& view,
                      const Interpolants& answer) {
  out << "refutation: " << counted(view.inputs().size(), "clause") << " of "
      << counted(view.uses().size(), "assertion") << ", "
      << counted(view.lemmas().size(), "lemma") << ", "
      << counted(view.resolutions(), "resolution") << '\n';
  out << "strength " << to_string(answer.strength);
  if (answer.candidates.size() > 1) {
    const char* separator = "; the smallest of ";
    for (const Interpolants::Candidate& candidate : answer.candidates) {
      out << separator << to_string(candidate.strength) << ' ' << candidate.size;
      separator = ", ";
    }
  }
  out << "; size " << answer.size << ", as built " << answer.raw_size << '\n';
}

void print_explanation(std::ostream& out, const ClauseView& view, const AtomPlaces& places,
                       std::size_t root) {
  const auto& uses = view.uses();
  std::size_t shown = shown_of(uses.size(), MOST_ASSERTIONS);
  out << "  assertions by the use of their clauses:\n";
  for (std::size_t i = 0; i < shown; ++i)
    begin_line(out, owner_of_assertion(places, uses[i].assertion, root))
        << uses[i].count << " * " << view.assertion_text(uses[i].assertion, LONGEST)
        << '\n';
  print_rest(out, uses.size(), shown, "assertion");
  const std::vector<NodeIndex>& lemmas = view.lemmas();
  if (lemmas.empty()) return;
  shown = shown_of(lemmas.size(), MOST_LEMMAS);
  out << "  lemmas, of each of which one literal holds:\n";
  for (std::size_t i = 0; i < shown; ++i) {
    const auto literals = view.proof().literals(lemmas[i]);
    begin_line(out, owner_of_clause(places, literals, root))
        << view.clause_text(literals, LONGEST) << '\n';
  }
  print_rest(out, lemmas.size(), shown, "lemma");
}

}  // namespace opal::host
