#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

#include "opal/simplify/formula_graph.h"

// How formulas that are graphs become smaller. The rules are written for a conjunction; for
// a disjunction the dual ones apply.
//
// rule surroundings
// match:  (and l ... F ...) with m anywhere inside of F, on every way from the root to m
// result: m is true in F where l and what is known from further above implies it, false
//         where they exclude it
// (and (<= x 3) (or (<= x 5) F)) is (<= x 3); a node that several formulas share is
// rewritten by what all of them know.
//
// rule absorb
// match:  (and a ... (or a ...) ...),   (and ... (or a b) ... (or a b c))
// result: (and a ...),                  (and ... (or a b))
//
// rule factor
// match:  (and ... (or a b1) ... (or a bn))
// result: (and ... (or a (and b1 ... bn)))
//
// rule flatten
// match:  (and ... (and a b) ...), where nothing else uses the latter
// result: (and ... a b ...)
//
// A round that makes the formula larger, by copies of what was shared, is taken back.
//
// Cost: a round is linear in the graph; at most MAX_KNOWN literals are carried down, and
// operands are compared pairwise only where there are few.

namespace opal::host {

namespace {

constexpr std::size_t MAX_KNOWN = 96;
constexpr std::size_t MAX_PAIRWISE = 48;
constexpr int MAX_ROUNDS = 6;

using Nodes = FormulaGraph::Nodes;

}  // namespace

FormulaGraph::Node FormulaGraph::simplified(Node root) {
  for (int round = 0; round < MAX_ROUNDS && is_compound(root); ++round) {
    const Node next = simplified_once(root);
    assert(next < nodes_.size());
    if (next == root || weight(next) > weight(root)) break;
    root = next;
  }
  return root;
}

std::size_t FormulaGraph::weight(Node root) const {
  std::size_t sum = 0;
  for (const Node n : reachable(root))
    sum += is_compound(n) ? nodes_[n].count - 1 : 1;
  return sum;
}

// What is known around each compound node, from the root down.
std::unordered_map<FormulaGraph::Node, FormulaGraph::Surroundings>
FormulaGraph::surroundings(Node root, const Nodes& order) {
  std::unordered_map<Node, Surroundings> around;
  around[root].parents = 1;
  for (const Node n : order) {
    if (!is_compound(n)) continue;
    assert(around[n].parents > 0);  // operands come after their nodes
    Nodes known = around[n].literals;
    Nodes own;
    for (const Node* operand = begin(n); operand != end(n); ++operand)
      if (is_literal(*operand) && own.size() < MAX_KNOWN) own.push_back(*operand);
    // negation() may move operands_, so it is not called while they are walked
    if (is(n, Connective::OR))
      for (Node& l : own)
        l = negation(l);
    for (const Node l : own)
      if (known.size() < MAX_KNOWN) known.push_back(l);
    std::sort(known.begin(), known.end());
    known.erase(std::unique(known.begin(), known.end()), known.end());
    for (const Node* operand = begin(n); operand != end(n); ++operand) {
      if (!is_compound(*operand)) continue;
      Surroundings& below = around[*operand];
      if (below.parents++ == 0) {
        below.literals = known;
        continue;
      }
      Nodes both;
      std::set_intersection(known.begin(), known.end(), below.literals.begin(),
                            below.literals.end(), std::back_inserter(both));
      below.literals = std::move(both);
    }
  }
  return around;
}

FormulaGraph::Regions FormulaGraph::regions_for(Node n, const Nodes& known) const {
  Regions regions;
  if (known.empty()) return regions;
  for (const Node* operand = begin(n); operand != end(n); ++operand) {
    if (!is_literal(*operand)) continue;
    const std::size_t form = literal_of(*operand).form;
    regions.try_emplace(form, forms_.is_integral(form));
  }
  for (const Node l : known) {
    assert(is_literal(l));
    const auto region = regions.find(literal_of(l).form);
    if (region != regions.end()) region->second.add(literal_of(l));
  }
  for (auto& entry : regions)
    entry.second.settle();
  return regions;
}

FormulaGraph::Nodes FormulaGraph::rewritten_operands(
    Node n, const Surroundings& around, const std::unordered_map<Node, Node>& results,
    const std::unordered_map<Node, Surroundings>& all) {
  constexpr std::size_t SMALL = 3;
  const Connective c = is(n, Connective::AND) ? Connective::AND : Connective::OR;
  const Regions regions = regions_for(n, around.literals);
  Nodes operands;
  for (const Node* operand = begin(n); operand != end(n); ++operand) {
    assert(*operand < n);
    if (is_compound(*operand)) {
      const Node result = results.at(*operand);
      const bool flat =
          is(result, c) && (all.at(*operand).parents == 1 || nodes_[result].count <= SMALL);
      if (flat)
        operands.insert(operands.end(), begin(result), end(result));
      else
        operands.push_back(result);
      continue;
    }
    if (is_literal(*operand) && !regions.empty()) {
      const Region& region = regions.at(literal_of(*operand).form);
      if (region.excludes(literal_of(*operand))) {
        operands.push_back(FALSE_NODE);
        continue;
      }
      if (region.excludes(forms_.negation(literal_of(*operand)))) {
        operands.push_back(TRUE_NODE);
        continue;
      }
    }
    operands.push_back(*operand);
  }
  return operands;
}

void FormulaGraph::absorb(Connective c, Nodes& operands) const {
  const Connective other = dual(c);
  std::sort(operands.begin(), operands.end());
  operands.erase(std::unique(operands.begin(), operands.end()), operands.end());
  const auto has_operand_beside = [&](Node n) {
    return is(n, other) && std::any_of(begin(n), end(n), [&](Node inner) {
             return std::binary_search(operands.begin(), operands.end(), inner);
           });
  };
  Nodes kept;
  for (const Node n : operands)
    if (!has_operand_beside(n)) kept.push_back(n);
  Nodes result;
  const auto compounds = static_cast<std::size_t>(
      std::count_if(kept.begin(), kept.end(), [&](Node n) { return is(n, other); }));
  for (const Node n : kept) {
    const bool implied = compounds <= MAX_PAIRWISE && is(n, other) &&
                         std::any_of(kept.begin(), kept.end(), [&](Node small) {
                           return small != n && is(small, other) &&
                                  nodes_[small].count < nodes_[n].count &&
                                  std::includes(begin(n), end(n), begin(small), end(small));
                         });
    if (!implied) result.push_back(n);
  }
  assert(result.size() <= operands.size());
  operands = std::move(result);
}

// Takes out the operand that most of the compound operands have, as long as there is one.
void FormulaGraph::factor(Connective c, Nodes& operands) {
  const Connective other = dual(c);
  for (;;) {
    std::unordered_map<Node, std::size_t> count;
    std::size_t compounds = 0;
    for (const Node n : operands) {
      if (!is(n, other)) continue;
      if (++compounds > MAX_PAIRWISE) return;
      for (const Node* inner = begin(n); inner != end(n); ++inner)
        ++count[*inner];
    }
    std::pair<std::size_t, Node> most{1, 0};
    for (const auto& [inner, times] : count)
      if (times > most.first || (times == most.first && times > 1 && inner < most.second))
        most = {times, inner};
    if (most.first < 2) return;
    assert(most.first <= compounds);
    Nodes parts;
    Nodes rest;
    for (const Node n : operands) {
      if (!is(n, other) || !std::binary_search(begin(n), end(n), most.second)) {
        rest.push_back(n);
        continue;
      }
      Nodes without(begin(n), end(n));
      without.erase(std::find(without.begin(), without.end(), most.second));
      parts.push_back(join(other, std::move(without)));
    }
    assert(parts.size() == most.first && parts.size() + rest.size() == operands.size());
    rest.push_back(join(other, {most.second, join(c, std::move(parts))}));
    operands = std::move(rest);
  }
}

FormulaGraph::Node FormulaGraph::simplified_once(Node root) {
  const Nodes order = reachable(root);
  const std::unordered_map<Node, Surroundings> around = surroundings(root, order);
  std::unordered_map<Node, Node> results;
  for (auto n = order.rbegin(); n != order.rend(); ++n) {
    if (!is_compound(*n)) continue;
    const Connective c = is(*n, Connective::AND) ? Connective::AND : Connective::OR;
    Nodes operands = rewritten_operands(*n, around.at(*n), results, around);
    absorb(c, operands);
    factor(c, operands);
    results.emplace(*n, join(c, std::move(operands)));
  }
  return results.at(root);
}

}  // namespace opal::host
