#include <algorithm>
#include <cassert>
#include <cstddef>
#include <utility>

#include "opal/simplify/rules.h"

// rule subsumed-disjunct
// match:  (or ... (and a b) ... (and a' b' c) ...), a' at least as strong as a, b' as b
// result: the `or` without the latter
// (y = 0 mod 2 and x >= 1) or (y = 0 mod 4 and x >= 3 and z >= 0) is the former. Of
// disjuncts that are equivalent the first one stays.
//
// Cost: quadratic in the disjuncts, so it is left out when there are many.

namespace opal::host {

namespace {

constexpr std::size_t MAX_CUBES = 256;

}  // namespace

// A disjunct, or the negation of a clause.
OperandRules::Cube OperandRules::read_cube(Connective c, const Term_* operand) {
  Cube cube{operand, {}, {}, {}, false};
  for (const Term_* t : operands_of(dual(c), operand)) {
    Member member = read(dual(c), t);
    if (!member.is_literal) {
      cube.others.insert(t);
    } else {
      const std::size_t form = member.literal.form;
      cube.regions.try_emplace(form, forms_.is_integral(form))
          .first->second.add(member.literal);
    }
    cube.members.push_back(std::move(member));
  }
  assert(cube.regions.size() + cube.others.size() <= cube.members.size());
  for (auto& [form, region] : cube.regions)
    region.settle();
  return cube;
}

// Whether the members of `small` imply each member of `large`.
bool OperandRules::is_within(const Cube& small, const Cube& large) const {
  return std::all_of(large.members.begin(), large.members.end(), [&](const Member& m) {
    if (!m.is_literal) return small.others.count(m.term) != 0;
    const auto region = small.regions.find(m.literal.form);
    return region != small.regions.end() &&
           region->second.excludes(forms_.negation(m.literal));
  });
}

void OperandRules::drop_subsumed(Connective c, Operands& operands) {
  const auto is_cube = [&](const Term_* t) {
    return Terms::kind_of(t) == (c == Connective::AND ? Kind::OR : Kind::AND);
  };
  const auto count = std::count_if(operands.begin(), operands.end(), is_cube);
  if (count < 2 || static_cast<std::size_t>(count) > MAX_CUBES) return;
  std::vector<Cube> cubes;
  for (const Term_* t : operands) {
    if (is_cube(t)) cubes.push_back(read_cube(c, t));
  }
  std::unordered_set<const Term_*> subsumed;
  for (std::size_t i = 0; i < cubes.size(); ++i) {
    for (std::size_t j = 0; j < cubes.size() && !cubes[i].subsumed; ++j) {
      if (i == j || cubes[j].subsumed || !is_within(cubes[i], cubes[j])) continue;
      // Of two that are equivalent the later one goes.
      const std::size_t gone = j > i && is_within(cubes[j], cubes[i]) ? j : i;
      assert(!cubes[gone].subsumed);
      cubes[gone].subsumed = true;
      subsumed.insert(cubes[gone].term);
    }
  }
  assert(subsumed.size() < cubes.size());  // one that implies all others stays
  const auto is_subsumed = [&](const Term_* t) { return subsumed.count(t) != 0; };
  operands.erase(std::remove_if(operands.begin(), operands.end(), is_subsumed),
                 operands.end());
}

}  // namespace opal::host
