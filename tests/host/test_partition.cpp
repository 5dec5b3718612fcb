// The colours of symbols and atoms in the partitions of a tree of groups.

#include "opal/interpolate/partition.h"

#include <map>
#include <memory>

#include "tests/host/fixture.h"

namespace opal::host {
namespace {

using status = Grouping::status;
using Places = std::vector<std::size_t>;

// The tree by its definition: the groups that are reached through children().
std::vector<bool> subtree(const Grouping& grouping, std::size_t root) {
  std::vector<bool> in(grouping.num_groups(), false);
  Places stack{root};
  while (!stack.empty()) {
    const std::size_t group = stack.back();
    stack.pop_back();
    in[group] = true;
    for (const std::size_t child : grouping.children(group))
      stack.push_back(child);
  }
  return in;
}

// The colour of what lies in some places, by definition.
status colour(const Places& places, const std::vector<bool>& in_a) {
  bool a = false, b = false;
  for (const std::size_t place : places) {
    const bool everywhere = place == Grouping::BACKGROUND;
    a = a || everywhere || in_a[place];
    b = b || everywhere || !in_a[place];
  }
  if (a && b) return status::SHARED;
  return a ? status::A_LOCAL : b ? status::B_LOCAL : status::UNKNOWN;
}

status joint(status a, status b) {
  if (a == status::UNKNOWN || b == status::UNKNOWN) return status::UNKNOWN;
  if (a == status::SHARED || a == b) return b;
  return b == status::SHARED ? a : status::AB_MIXED;
}

TEST_F(HostTest, ColoursAreThoseOfTheTree) {
  const Atoms vars{x, y, z, i};
  std::map<status, int> seen;
  for (int round = 0; round < 300; ++round) {
    Places first, open;  // sub-trees without a parent yet
    const std::size_t groups = 2 + random() % 6;
    for (std::size_t g = 0; g < groups; ++g) {
      const std::size_t taken =
          g + 1 == groups ? open.size() : random() % (open.size() + 1);
      first.push_back(taken == 0 ? g : first[open[open.size() - taken]]);
      open.resize(open.size() - taken);
      open.push_back(g);
    }
    auto grouping = std::make_shared<Grouping>(first);
    std::map<const Term_*, Places> places;
    for (long k = pick(1, 7); k > 0; --k) {
      const Term_ *a = any(vars), *b = any(vars);
      const std::size_t g = one_in(5) ? Grouping::BACKGROUND : random() % groups;
      const Term_* atom = leq(plus(a, one_in(2) ? b : floor(b)), num(pick(0, 1)));
      grouping->add(atom, g);
      for (const Term_* term : {atom, a, b})
        places[term].push_back(g);
    }
    for (std::size_t root = 0; root + 1 < groups; ++root) {
      const std::vector<bool> in_a = subtree(*grouping, root);
      const Partition partition(grouping, root);
      for (const auto& [term, where] : places)
        if (term->num_args() > 0) {
          std::size_t place = *std::max_element(where.begin(), where.end());
          if (place == Grouping::BACKGROUND && groups > 2) place = groups - 1;  // the root
          EXPECT_EQ(partition.atom_colour(term), colour({place}, in_a));
        }
      for (const Term_* a : vars)
        for (const Term_* b : vars) {
          const status both = joint(colour(places[a], in_a), colour(places[b], in_a));
          EXPECT_EQ(partition.term_colour(lt(plus(a, 7), floor(b))), both);
          ++seen[both];
        }
    }
  }
  EXPECT_EQ(seen.size(), 5U);
}

}  // namespace
}  // namespace opal::host
