// Terms in SMT-LIB's notation.
//
// A term is walked as a tree with a stack of open nodes, each with the children that are
// still to be written (shapes.cpp says how a node is written). A term whose tree is much
// larger than its DAG gets names for its shared parts instead, one `let` for each level of
// parts that refer to one another:
//
//     f(g(x, x), g(x, x)) with x = h(y)      (let (($1 (h y))) (let (($2 (g $1 $1)))
//                                              (f $2 $2)))
//
// Cost: linear in the text. Terms of up to SMALL nodes are written at once; for larger ones
// the DAG is counted first.

#include "opal/terms/print/printer.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <ostream>
#include <unordered_map>
#include <utility>

#include "opal/terms/print/shapes.h"

namespace opal::host {

namespace {

using printing::is_integer_remainder;
using printing::Node;
using printing::Place;
using printing::Shape;
using printing::shape_of;

using Names = std::unordered_map<std::uint64_t, std::string>;  // of bound nodes, by key

// Replaces a first child of the same associative kind by its own arguments.
void flatten_left(const Term_* t, const Names& names, std::vector<Node>& children) {
  const Kind kind = Terms::kind_of(t);
  if (kind != Kind::AND && kind != Kind::OR && kind != Kind::PLUS) return;
  if (children.size() < 2) return;  // a remainder
  assert(children.size() == t->num_args());
  const Place place = children.front().place;
  std::vector<Node> reversed(children.rbegin(), children.rend());
  while (Terms::kind_of(reversed.back().term) == kind &&
         !is_integer_remainder(reversed.back().term) &&
         names.count(reversed.back().key()) == 0) {
    const Term_* nested = reversed.back().term;
    reversed.back() = {nested->arg(1), place};
    reversed.push_back({nested->arg(0), place});
  }
  children.assign(reversed.rbegin(), reversed.rend());
}

// Appends terms to a text until that is longer than a limit.
class Writer {
 public:
  Writer(std::string& text, bool real, std::size_t limit = std::string::npos)
      : text_(text), real_(real), limit_(limit) {}

  Names names;

  // Writes a node; its own name, if it has one, is not used.
  void write(const Node& root) {
    assert(open_.empty());
    open(root);
    while (!open_.empty() && text_.size() <= limit_) {
      Open& top = open_.back();
      assert(!top.children.empty() && top.next <= top.children.size());
      if (top.next == top.children.size()) {
        text_ += top.tail;
        open_.pop_back();
        continue;
      }
      if (top.next > 0) text_ += ' ';
      const Node child = top.children[top.next++];
      const auto name = names.find(child.key());
      if (name != names.end()) {
        text_ += name->second;
      } else {
        open(child);
      }
    }
    open_.clear();
  }

 private:
  struct Open {
    std::vector<Node> children;
    std::size_t next;
    std::string tail;
  };

  void open(const Node& node) {
    Shape shape = shape_of(node, real_);
    text_ += shape.head;
    if (shape.children.empty()) {
      text_ += shape.tail;
      return;
    }
    flatten_left(node.term, names, shape.children);
    open_.push_back({std::move(shape.children), 0, std::move(shape.tail)});
  }

  std::string& text_;
  const bool real_;
  const std::size_t limit_;
  std::vector<Open> open_;
};

// Whether the tree below a node has at most so many nodes.
bool tree_within(const Node& root, bool real, std::size_t budget) {
  std::vector<Node> stack{root};
  while (!stack.empty()) {
    if (budget-- == 0) return false;
    const Node node = stack.back();
    stack.pop_back();
    for (const Node& child : shape_of(node, real).children)
      stack.push_back(child);
  }
  return true;
}

// The nodes below a root, each once, children first, with what is needed to choose the
// bound ones.
class SharedNodes {
 public:
  struct Entry {
    Node node;
    std::vector<std::size_t> children;
    double tree = 1;             // nodes of the tree below
    std::size_t references = 0;  // from other nodes
    std::size_t level = 0;       // bound nodes one below another in the DAG below
  };

  SharedNodes(const Node& root, bool real) : real_(real) { collect(root); }

  [[nodiscard]] std::vector<Entry>& entries() { return entries_; }
  [[nodiscard]] bool tree_is_much_larger() const {
    assert(entries_.back().tree >= static_cast<double>(entries_.size()));
    return entries_.back().tree > 4.0 * static_cast<double>(entries_.size());
  }
  [[nodiscard]] static bool is_bound(const Entry& entry) {
    return entry.references > 1 && !entry.children.empty();
  }
  void compute_levels() {
    for (Entry& entry : entries_) {
      for (const std::size_t child : entry.children) {
        const Entry& below = entries_[child];
        assert(&below < &entry && below.references > 0);
        entry.level = std::max(entry.level, below.level + (is_bound(below) ? 1 : 0));
      }
    }
  }

 private:
  void collect(const Node& root) {
    std::vector<std::pair<Node, bool>> stack{{root, false}};
    while (!stack.empty()) {
      const auto [node, children_done] = stack.back();
      if (index_.count(node.key()) != 0) {
        stack.pop_back();
        continue;
      }
      const std::vector<Node> children = shape_of(node, real_).children;
      if (children_done) {
        stack.pop_back();
        enter(node, children);
      } else {
        stack.back().second = true;
        for (const Node& child : children)
          stack.emplace_back(child, false);
      }
    }
  }

  void enter(const Node& node, const std::vector<Node>& children) {
    Entry entry{node, {}};
    for (const Node& child : children) {
      const std::size_t index = index_.at(child.key());
      assert(index < entries_.size() && entries_[index].node.key() == child.key());
      entry.children.push_back(index);
      entry.tree += entries_[index].tree;
      ++entries_[index].references;
    }
    index_.emplace(node.key(), entries_.size());
    entries_.push_back(std::move(entry));
    assert(index_.size() == entries_.size());
  }

  const bool real_;
  std::vector<Entry> entries_;
  std::unordered_map<std::uint64_t, std::size_t> index_;
};

// A start of names that no variable of the term has.
std::string unused_prefix(const Term_* t) {
  std::string prefix = "$";
  for (const Term_* v : variables_of({t})) {
    const std::string& name = Terms::symbol_of(v).name;
    while (name.compare(0, prefix.size(), prefix) == 0)
      prefix += '$';
  }
  return prefix;
}

// Writes a term whose shared parts are bound, one `let` for each level.
void write_with_lets(Writer& writer, std::string& text, SharedNodes& shared) {
  shared.compute_levels();
  std::vector<std::vector<Node>> levels;
  for (const SharedNodes::Entry& entry : shared.entries()) {
    if (!SharedNodes::is_bound(entry)) continue;
    if (levels.size() <= entry.level) levels.resize(entry.level + 1);
    levels[entry.level].push_back(entry.node);
  }
  const Node root = shared.entries().back().node;
  const std::string prefix = unused_prefix(root.term);
  Names& names = writer.names;
  assert(names.empty());
  for (const std::vector<Node>& level : levels) {
    assert(!level.empty());  // a bound node of level n has one of level n - 1 below it
    const char* separator = "(let (";
    for (const Node& node : level) {
      const std::string name = prefix + std::to_string(names.size() + 1);
      text.append(separator).append("(").append(name).append(" ");
      names[node.key()] = name;
      writer.write(node);
      text += ')';
      separator = " ";
    }
    text += ") ";
  }
  writer.write(root);
  text.append(levels.size(), ')');
}

Place root_place(const Term_* t, bool real) {
  if (Terms::sort_of(t) == Sort::BOOL) return Place::FORMULA;
  if (Terms::sort_of(t) == Sort::REAL) return Place::REAL;
  return Terms::is_numeral(t) && real ? Place::REAL : Place::INTEGER;
}

void append_term(std::string& text, const Term_* t, bool real) {
  constexpr std::size_t SMALL = 500;
  const Node root{t, root_place(t, real)};
  Writer writer(text, real);
  if (!tree_within(root, real, SMALL)) {
    SharedNodes shared(root, real);
    if (shared.tree_is_much_larger()) return write_with_lets(writer, text, shared);
  }
  writer.write(root);
}

}  // namespace

void print_term(std::ostream& out, const Term_* t, bool real) {
  std::string text;
  append_term(text, t, real);
  out << text;
}

std::string term_text(const Term_* t, std::size_t limit) {
  std::string text;
  Writer(text, true, limit).write({t, root_place(t, true)});
  if (text.size() > limit) {
    text.resize(limit);
    text += "...";
  }
  assert(text.size() <= limit || text.size() == limit + 3);
  return text;
}

}  // namespace opal::host
