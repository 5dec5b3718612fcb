// Groups of a get-interpolants command, read as a forest in post-order.
//
// A list opens a level. Each level holds the trees in it that no group has adopted yet, by
// their leftmost group; a group becomes the root of all of them, and is then the only tree
// of its level. When a level ends, its trees join those of the level around it:
//
//     p1 p2 (p3 p4) p5      after p2: [p1-p2]; in the list: [p3-p4]; after the list:
//                           [p1-p2] [p3-p4]; p5 adopts both
//
// Cost: linear in the command.

#include "opal/smtlib/group_parser.h"

#include <cassert>

namespace opal::smtlib {

using Node = Sexpr::Node;

namespace {

// A level of parentheses: where it ends, and the leftmost group of each tree in it that
// no group has adopted yet.
struct Level {
  Node list;
  Node end;
  std::vector<std::size_t> open_trees;
};

bool is_group(const Sexpr& source, Node n) {
  return source.is_symbol(n) ||
         (source.is_list(n) && source.end(n) > n + 1 && source.is_word(n + 1, "and"));
}

std::vector<std::string> names_of(const Sexpr& source, Node group) {
  assert(is_group(source, group));
  if (source.is_symbol(group)) return {std::string(source.text(group))};
  std::vector<std::string> names;
  const std::vector<Node> parts = source.children(group);
  for (std::size_t i = 1; i < parts.size(); ++i) {
    if (!source.is_symbol(parts[i]))
      fail_at(source, parts[i],
              "expected the name of an assertion, found " + source.shortened(parts[i]));
    names.emplace_back(source.text(parts[i]));
  }
  if (names.empty()) fail_at(source, group, "a group needs a name");
  return names;
}

void add_group(const Sexpr& source, Node n, Level& level, GroupTree& tree) {
  assert(level.list < n && n < level.end);
  const std::size_t number = tree.names.size();
  tree.names.push_back(names_of(source, n));
  tree.nodes.push_back(n);
  tree.first.push_back(level.open_trees.empty() ? number : level.open_trees.front());
  level.open_trees.assign(1, tree.first.back());
  assert(tree.first.back() <= number);
}

}  // namespace

bool GroupTree::is_normal() const {
  if (names.size() != first.size() || names.size() != nodes.size()) return false;
  for (std::size_t g = 0; g < first.size(); ++g) {
    // The sub-trees of the children lie side by side, from the leftmost group to g.
    std::size_t child = g;
    while (child > first[g])
      child = first[child - 1];
    if (names[g].empty() || first[g] > g || child != first[g]) return false;
  }
  return true;
}

GroupTree parse_groups(const Sexpr& source, Node command) {
  assert(source.is_list(command));
  GroupTree tree;
  std::vector<Level> levels{{command, source.end(command), {}}};
  for (Node n = command + 2;;) {
    while (n == levels.back().end) {
      const Level done = std::move(levels.back());
      levels.pop_back();
      if (done.open_trees.empty() && !levels.empty())
        fail_at(source, done.list, "a sub-tree needs a group");
      if (levels.empty()) {
        if (done.open_trees.size() > 1)
          fail_at(source, done.list,
                  "the last operand must be a group, the root of the tree");
        assert(tree.is_normal());
        return tree;
      }
      std::vector<std::size_t>& open = levels.back().open_trees;
      open.insert(open.end(), done.open_trees.begin(), done.open_trees.end());
    }
    if (is_group(source, n)) {
      add_group(source, n, levels.back(), tree);
      n = source.end(n);
    } else if (source.is_list(n)) {
      levels.push_back({n, source.end(n), {}});
      ++n;
    } else {
      fail_at(source, n,
              "expected a name or a list of groups, found " + source.shortened(n));
    }
  }
}

std::vector<std::string> parse_group(const Sexpr& source, Node group) {
  if (!is_group(source, group))
    fail_at(source, group,
            "expected a name or (and name ...), found " + source.shortened(group));
  return names_of(source, group);
}

}  // namespace opal::smtlib
