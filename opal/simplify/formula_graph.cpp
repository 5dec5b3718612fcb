// Building formula graphs, and writing them as terms.
//
// Example: (and (<= x 3) (or (<= y 1) (<= (* 2 x) 10))) has nodes for x <= 3, y <= 1 and
// x <= 5, then one for the `or` and one for the `and`. Nodes are found by a hash of their
// literal, or of their connective and operands, so equal ones are one.
//
// Operands have smaller numbers than their node, so that walks go by number, without
// recursion. Cost: linear in the nodes, but for sorting operands.

#include "opal/simplify/formula_graph.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace opal::host {

namespace {

std::uint64_t mixed(std::uint64_t h, std::uint64_t value) {
  h = (h ^ value) * 0x9E3779B97F4A7C15U;
  return h ^ (h >> 29U);
}

std::uint64_t hash_of(const BoundLiteral& literal) {
  std::uint64_t h = mixed(1, literal.form);
  h = mixed(h, static_cast<std::uint64_t>(literal.relation));
  h = mixed(h, literal.bound.hash());
  return mixed(h, literal.modulus.hash());
}

bool is_same(const BoundLiteral& a, const BoundLiteral& b) {
  return a.form == b.form && a.relation == b.relation && a.bound == b.bound &&
         a.modulus == b.modulus;
}

}  // namespace

FormulaGraph::FormulaGraph(Terms& terms)
    : terms_(terms),
      forms_(terms),
      nodes_{{NodeKind::TRUTH, 0, 0}, {NodeKind::TRUTH, 0, 0}},
      negations_{TRUE_NODE, FALSE_NODE},
      written_{terms.false_term(), terms.true_term()} {}

BoundLiteral FormulaGraph::signed_literal(Connective c, Node n) const {
  return c == Connective::AND ? literal_of(n) : forms_.negation(literal_of(n));
}

FormulaGraph::Node FormulaGraph::literal(const BoundLiteral& literal) {
  assert(literal.is_normal());
  const std::uint64_t h = hash_of(literal);
  const auto [begin, end] = by_hash_.equal_range(h);
  for (auto entry = begin; entry != end; ++entry)
    if (is_literal(entry->second) && is_same(literal_of(entry->second), literal))
      return entry->second;
  const auto n = static_cast<Node>(nodes_.size());
  nodes_.push_back({NodeKind::LITERAL, static_cast<std::uint32_t>(literals_.size()), 0});
  literals_.push_back(literal);
  negations_.push_back(n);
  written_.push_back(nullptr);
  by_hash_.emplace(h, n);
  return n;
}

FormulaGraph::Node FormulaGraph::compound(Connective c, const Nodes& operands) {
  assert(operands.size() >= 2 && std::is_sorted(operands.begin(), operands.end()));
  assert(operands.front() > TRUE_NODE && operands.back() < nodes_.size());
  std::uint64_t h = mixed(2, static_cast<std::uint64_t>(c));
  for (const Node operand : operands)
    h = mixed(h, operand);
  const auto [first, last] = by_hash_.equal_range(h);
  for (auto entry = first; entry != last; ++entry) {
    const Node n = entry->second;
    if (is(n, c) && std::equal(begin(n), end(n), operands.begin(), operands.end()))
      return n;
  }
  const auto n = static_cast<Node>(nodes_.size());
  nodes_.push_back({kind_of(c), static_cast<std::uint32_t>(operands_.size()),
                    static_cast<std::uint32_t>(operands.size())});
  operands_.insert(operands_.end(), operands.begin(), operands.end());
  negations_.push_back(n);
  written_.push_back(nullptr);
  by_hash_.emplace(h, n);
  assert(nodes_.size() == negations_.size() && nodes_.size() == written_.size());
  return n;
}

FormulaGraph::Node FormulaGraph::atom(const Term_* t) {
  const BuildingFlagScope exact(terms_, 0);
  const AtomReading reading = forms_.read(TheoryLit(t));
  if (reading.truth) return *reading.truth ? TRUE_NODE : FALSE_NODE;
  return literal(reading.literal);
}

FormulaGraph::Node FormulaGraph::formula(const Term_* t) {
  assert(Terms::sort_of(t) == Sort::BOOL);
  std::vector<const Term_*> stack{t};
  while (!stack.empty()) {
    const Term_* const top = stack.back();
    const Kind kind = Terms::kind_of(top);
    const bool is_connective = kind == Kind::AND || kind == Kind::OR || kind == Kind::NOT;
    const std::size_t below = stack.size();
    if (is_connective && read_.count(top) == 0)
      for (const Term_* argument : *top)
        if (read_.count(argument) == 0) stack.push_back(argument);
    if (stack.size() > below) continue;
    stack.pop_back();
    if (read_.count(top) != 0) continue;
    Nodes operands;
    for (std::size_t i = 0; is_connective && i < top->num_args(); ++i)
      operands.push_back(read_.at(top->arg(i)));
    Node n = TRUE_NODE;
    switch (kind) {
      case Kind::AND: n = conjunction(std::move(operands)); break;
      case Kind::OR: n = disjunction(std::move(operands)); break;
      case Kind::NOT: n = negation(operands.front()); break;
      default: n = atom(top); break;
    }
    read_.emplace(top, n);
  }
  return read_.at(t);
}

// The literals over one form among the operands become the fewest with the same meaning.
// Answers false when they decide the whole: when no value of the form satisfies them.
bool FormulaGraph::merge_literals(Connective c, Nodes& operands) {
  std::vector<std::pair<std::size_t, Node>> by_form;
  for (const Node n : operands)
    if (is_literal(n)) by_form.emplace_back(literal_of(n).form, n);
  std::sort(by_form.begin(), by_form.end());
  const auto same_form = [](const auto& a, const auto& b) { return a.first == b.first; };
  auto at = std::adjacent_find(by_form.begin(), by_form.end(), same_form);
  if (at == by_form.end()) return true;
  Nodes merged;
  Nodes gone;
  while (at != by_form.end()) {
    const std::size_t form = at->first;
    Region region(forms_.is_integral(form));
    auto last = at;
    for (; last != by_form.end() && last->first == form; ++last) {
      region.add(signed_literal(c, last->second));
      gone.push_back(last->second);
    }
    region.settle();
    if (region.empty()) return false;
    for (const BoundLiteral& l : region.literals(form))
      merged.push_back(literal(c == Connective::AND ? l : forms_.negation(l)));
    at = std::adjacent_find(last, by_form.end(), same_form);
  }
  std::sort(gone.begin(), gone.end());
  const auto is_gone = [&](Node n) {
    return std::binary_search(gone.begin(), gone.end(), n);
  };
  operands.erase(std::remove_if(operands.begin(), operands.end(), is_gone), operands.end());
  operands.insert(operands.end(), merged.begin(), merged.end());
  std::sort(operands.begin(), operands.end());
  return true;
}

FormulaGraph::Node FormulaGraph::join(Connective c, Nodes operands) {
  const Node decisive = neutral(dual(c));
  std::sort(operands.begin(), operands.end());
  operands.erase(std::unique(operands.begin(), operands.end()), operands.end());
  assert(operands.empty() || operands.back() < nodes_.size());
  if (std::binary_search(operands.begin(), operands.end(), decisive)) return decisive;
  operands.erase(std::remove(operands.begin(), operands.end(), neutral(c)), operands.end());
  if (operands.size() > 1 && !merge_literals(c, operands)) return decisive;
  if (operands.empty()) return neutral(c);
  return operands.size() == 1 ? operands.front() : compound(c, operands);
}

FormulaGraph::Node FormulaGraph::choice(Node condition, Node if_true, Node if_false) {
  if (if_true == if_false) return if_true;
  return conjunction(
      {disjunction({negation(condition), if_true}), disjunction({condition, if_false})});
}

FormulaGraph::Node FormulaGraph::negation(Node root) {
  Nodes stack{root};
  while (!stack.empty()) {
    const Node n = stack.back();
    const std::size_t below = stack.size();
    if (is_compound(n) && negations_[n] == n)
      for (const Node* operand = begin(n); operand != end(n); ++operand)
        if (negations_[*operand] == *operand) stack.push_back(*operand);
    if (stack.size() > below) continue;
    stack.pop_back();
    if (negations_[n] != n) continue;
    Node result = n;
    if (is_literal(n)) {
      result = literal(forms_.negation(literal_of(n)));
    } else {
      Nodes operands;
      for (const Node* operand = begin(n); operand != end(n); ++operand)
        operands.push_back(negations_[*operand]);
      result = join(is(n, Connective::AND) ? Connective::OR : Connective::AND,
                    std::move(operands));
    }
    assert(result != n);
    negations_[n] = result;
    if (negations_[result] == result) negations_[result] = n;
  }
  return negations_[root];
}

// Descending: a node comes before its operands.
FormulaGraph::Nodes FormulaGraph::reachable(Node root) const {
  std::vector<bool> seen(root + 1, false);
  Nodes result;
  Nodes stack{root};
  while (!stack.empty()) {
    const Node n = stack.back();
    stack.pop_back();
    assert(n <= root);
    if (seen[n]) continue;
    seen[n] = true;
    result.push_back(n);
    if (is_compound(n)) stack.insert(stack.end(), begin(n), end(n));
  }
  std::sort(result.rbegin(), result.rend());
  return result;
}

const Term_* FormulaGraph::term(Node root) {
  const BuildingFlagScope exact(terms_, 0);
  Nodes order = reachable(root);
  for (auto n = order.rbegin(); n != order.rend(); ++n) {
    if (written_[*n] != nullptr) continue;
    if (is_literal(*n)) {
      written_[*n] = forms_.write(literal_of(*n));
      continue;
    }
    const Term_* result = nullptr;
    for (const Node* operand = begin(*n); operand != end(*n); ++operand) {
      const Term_* const t = written_[*operand];
      assert(t != nullptr);
      if (result == nullptr)
        result = t;
      else
        result = is(*n, Connective::AND) ? terms_.make_and(result, t)
                                         : terms_.make_or(result, t);
    }
    written_[*n] = result;
  }
  assert(written_[root] != nullptr);
  return written_[root];
}

}  // namespace opal::host
