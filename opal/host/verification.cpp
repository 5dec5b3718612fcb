#include "opal/host/verification.h"

#include <algorithm>
#include <cassert>
#include <unordered_map>
#include <unordered_set>

#include "opal/host/printer.h"

namespace opal::host {

std::vector<std::vector<const Term_*>> verification_steps(
    Terms& terms, const InterpolationAnswer& answer) {
  const std::size_t groups = answer.groups.size();
  assert(groups == answer.grouping->num_groups());
  assert(answer.interpolants.size() + 1 == groups);
  std::vector<std::vector<const Term_*>> steps;
  for (std::size_t g = 0; g < groups; ++g) {
    std::vector<const Term_*> step = answer.background;
    step.insert(step.end(), answer.groups[g].begin(), answer.groups[g].end());
    for (const std::size_t child : answer.grouping->children(g)) {
      step.push_back(answer.interpolants[child]);
    }
    if (g + 1 < groups) step.push_back(terms.make_not(answer.interpolants[g]));
    steps.push_back(std::move(step));
  }
  return steps;
}

std::vector<std::vector<const Term_*>> foreign_symbols(const InterpolationAnswer& answer) {
  const std::vector<const Term_*> common = variables_of(answer.background);
  const std::unordered_set<const Term_*> background(common.begin(), common.end());
  std::unordered_map<const Term_*, std::vector<std::size_t>> groups_of;  // ascending
  for (std::size_t g = 0; g < answer.groups.size(); ++g) {
    for (const Term_* v : variables_of(answer.groups[g]))
      groups_of[v].push_back(g);
  }
  std::vector<std::vector<const Term_*>> result;
  for (std::size_t g = 0; g < answer.interpolants.size(); ++g) {
    std::vector<const Term_*> foreign;
    for (const Term_* v : variables_of({answer.interpolants[g]})) {
      const std::vector<std::size_t>& groups = groups_of[v];
      const auto inside = static_cast<std::size_t>(std::count_if(
          groups.begin(), groups.end(),
          [&](std::size_t group) { return answer.grouping->in_subtree(group, g); }));
      const bool shared = inside > 0 && inside < groups.size();
      if (!shared && background.count(v) == 0) foreign.push_back(v);
    }
    result.push_back(std::move(foreign));
  }
  return result;
}

}  // namespace opal::host
