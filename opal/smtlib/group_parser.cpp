#include "opal/smtlib/group_parser.h"

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

std::vector<std::string> names_of(const Sexpr& source, Node group) {
  if (source.is_symbol(group)) return {std::string(source.text(group))};
  std::vector<std::string> names;
  const std::vector<Node> parts = source.children(group);
  for (std::size_t i = 1; i < parts.size(); ++i) {
    if (!source.is_symbol(parts[i]))
      throw Error(source.position(parts[i]),
                  "expected the name of an assertion, found " + source.shortened(parts[i]));
    names.emplace_back(source.text(parts[i]));
  }
  if (names.empty()) throw Error(source.position(group), "a group needs a name");
  return names;
}

bool is_group(const Sexpr& source, Node n) {
  return source.is_symbol(n) ||
         (source.is_list(n) && source.end(n) > n + 1 && source.is_word(n + 1, "and"));
}

void add_group(const Sexpr& source, Node n, Level& level, GroupTree& tree) {
  const std::size_t number = tree.names.size();
  tree.names.push_back(names_of(source, n));
  tree.nodes.push_back(n);
  tree.first.push_back(level.open_trees.empty() ? number : level.open_trees.front());
  level.open_trees.assign(1, tree.first.back());
}

}  // namespace

GroupTree parse_groups(const Sexpr& source, Node command) {
  GroupTree tree;
  std::vector<Level> levels{{command, source.end(command), {}}};
  for (Node n = command + 2;;) {
    while (n == levels.back().end) {
      const Level done = std::move(levels.back());
      levels.pop_back();
      if (done.open_trees.empty() && !levels.empty())
        throw Error(source.position(done.list), "a sub-tree needs a group");
      if (levels.empty()) {
        if (done.open_trees.size() > 1)
          throw Error(source.position(done.list),
                      "the last operand must be a group, the root of the tree");
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
      throw Error(source.position(n),
                  "expected a name or a list of groups, found " + source.shortened(n));
    }
  }
}

std::vector<std::string> parse_group(const Sexpr& source, Node group) {
  if (!is_group(source, group))
    throw Error(source.position(group),
                "expected a name or (and name ...), found " + source.shortened(group));
  return names_of(source, group);
}

}  // namespace opal::smtlib
