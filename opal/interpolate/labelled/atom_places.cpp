#include "opal/interpolate/labelled/atom_places.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace opal::host {

using resolution::ClauseProof;
using resolution::Meaning;
using resolution::NodeIndex;
using resolution::NodeKind;
using resolution::Variable;

AtomPlaces::AtomPlaces(const resolution::ClauseRefutation& refutation,
                       std::shared_ptr<const Grouping> symbols,
                       std::vector<std::size_t> group_of, std::vector<std::size_t> places)
    : symbols_(std::move(symbols)),
      group_of_(std::move(group_of)),
      places_(std::move(places)),
      groups_(refutation.proof.variable_end()) {
  assert(places_.size() >= groups_.size());
  collect_groups(refutation.proof);
}

AtomPlaces::AtomPlaces(const resolution::ClauseRefutation& refutation,
                       std::shared_ptr<const Grouping> symbols,
                       std::vector<std::size_t> group_of)
    : AtomPlaces(refutation, std::move(symbols), std::move(group_of),
                 std::vector<std::size_t>(refutation.proof.variable_end(), NO_PLACE)) {
  for (Variable variable = 0; variable < places_.size(); ++variable) {
    const std::vector<std::size_t>& groups = groups_[variable];
    const Meaning& meaning = refutation.meaning(variable);
    if (!groups.empty())
      places_[variable] = symbols_->lowest_common(groups.front(), groups.back());
    else if (meaning.kind == Meaning::Kind::ATOM)
      places_[variable] = symbols_->place_by_symbols(meaning.atom).value_or(NO_PLACE);
    assert(meaning.kind != Meaning::Kind::AUXILIARY || groups.empty() ||
           places_[variable] == group_of_[meaning.assertion]);
  }
}

void AtomPlaces::collect_groups(const ClauseProof& proof) {
  for (NodeIndex node = 0; node < proof.size(); ++node) {
    if (proof.kind(node) != NodeKind::INPUT) continue;
    assert(proof.tag(node) < group_of_.size());
    const std::size_t group = group_of_[proof.tag(node)];
    assert(group < symbols_->num_groups());
    for (const resolution::Literal literal : proof.literals(node)) {
      std::vector<std::size_t>& groups = groups_[literal.variable()];
      const auto at = std::lower_bound(groups.begin(), groups.end(), group);
      if (at == groups.end() || *at != group) groups.insert(at, group);
    }
  }
}

Side AtomPlaces::side(Variable variable, std::size_t root) const {
  const std::size_t place = places_[variable];
  if (place == NO_PLACE) return Side::B;
  if (symbols_->in_subtree(place, root)) return Side::A;
  const std::vector<std::size_t>& groups = groups_[variable];
  const auto inside = std::lower_bound(groups.begin(), groups.end(), symbols_->first(root));
  return inside != groups.end() && *inside <= root ? Side::BOTH : Side::B;
}

}  // namespace opal::host
