// What explanations and drawings of refutations of formulas have in common.

#include "opal/explain/clause_view.h"

#include <algorithm>
#include <cassert>
#include <map>
#include <utility>

#include "opal/terms/print/infix.h"

namespace opal::host {

using resolution::Literal;
using resolution::LiteralSpan;
using resolution::Meaning;
using resolution::NodeIndex;
using resolution::NodeKind;

const char* to_string(Owner owner) {
  switch (owner) {
    case Owner::NONE: break;
    case Owner::A: return "A";
    case Owner::B: return "B";
    case Owner::BOTH: return "AB";
  }
  return "";
}

ClauseView::ClauseView(Terms& terms, const resolution::ClauseRefutation& refutation,
                       std::vector<const Term_*> formulas, std::vector<std::string> names)
    : terms_(terms),
      refutation_(refutation),
      formulas_(std::move(formulas)),
      names_(std::move(names)) {
  assert(names_.size() == formulas_.size());
  std::map<std::uint32_t, std::size_t> counts;
  const auto use = [&](NodeIndex node) {
    if (proof().kind(node) == NodeKind::INPUT) ++counts[proof().tag(node)];
  };
  use(proof().root());
  for (NodeIndex node = 0; node < proof().size(); ++node) {
    switch (proof().kind(node)) {
      case NodeKind::INPUT: inputs_.push_back(node); break;
      case NodeKind::LEMMA: lemmas_.push_back(node); break;
      case NodeKind::CHAIN:
        use(proof().first(node));
        for (const resolution::Step& step : proof().steps(node))
          use(step.antecedent);
        break;
    }
  }
  for (const auto& [assertion, count] : counts)
    uses_.push_back({assertion, count});
  std::stable_sort(uses_.begin(), uses_.end(),
                   [](const Use& a, const Use& b) { return a.count > b.count; });
}

std::string ClauseView::assertion_text(std::uint32_t assertion, std::size_t limit) const {
  assert(assertion < formulas_.size());
  if (!names_[assertion].empty()) return "[" + names_[assertion] + "]";
  return infix_text(formulas_[assertion], limit);
}

std::string ClauseView::clause_text(LiteralSpan clause, std::size_t limit) const {
  const Term_* result = terms_.false_term();
  for (std::size_t i = 0; i < std::min(clause.size(), limit); ++i) {
    const Meaning& meaning = refutation_.meaning(clause[i].variable());
    const Term_* const formula =
        meaning.kind == Meaning::Kind::ATOM ? meaning.atom : meaning.formula;
    result = terms_.make_or(result,
                            clause[i].is_negative() ? terms_.make_not(formula) : formula);
  }
  return infix_text(result, limit);
}

Owner owner_of_assertion(const AtomPlaces& places, std::uint32_t assertion,
                         std::size_t root) {
  const bool is_of_A = places.symbols().in_subtree(places.group_of(assertion), root);
  return is_of_A ? Owner::A : Owner::B;
}

Owner owner_of_clause(const AtomPlaces& places, LiteralSpan clause, std::size_t root) {
  bool has_A = false;
  bool has_B = false;
  for (const Literal literal : clause) {
    const Side side = places.side(literal.variable(), root);
    has_A = has_A || side != Side::B;
    has_B = has_B || side != Side::A;
  }
  if (has_A && has_B) return Owner::BOTH;
  return has_A ? Owner::A : Owner::B;
}

}  // namespace opal::host
