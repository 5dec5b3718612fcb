// Formulas as graphs, for interpolants that are large and share much.
//
// A node is a truth value, a literal, or a conjunction or disjunction of two or more nodes;
// negation stands in literals only. Equal nodes are one node. A literal is a bound on a
// form (atoms.h), so that literals over one sum meet: x <= 3 and 2x <= 10 are together x
// <= 3.
//
//     FormulaGraph graph(terms);
//     Node n = graph.conjunction({graph.formula(f), graph.negation(graph.formula(g))});
//     graph.term(graph.simplified(n))                     // a term again
//
// Building a node folds truth values, takes equal operands once and merges literals over
// one form. Nodes live as long as the graph; what is built on the way makes no terms.
//
// simplified() is for formulas that simplify() would be too slow for, or would take the
// sharing from: each round takes time linear in the graph, but for a constant that bounds
// how many literals are remembered on the way down.

#ifndef OPAL_SIMPLIFY_FORMULA_GRAPH_H
#define OPAL_SIMPLIFY_FORMULA_GRAPH_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "opal/simplify/atoms.h"
#include "opal/simplify/connective.h"
#include "opal/simplify/region.h"
#include "opal/terms/terms.h"

namespace opal::host {

class FormulaGraph {
 public:
  using Node = std::uint32_t;
  using Nodes = std::vector<Node>;
  using Connective = host::Connective;

  static constexpr Node FALSE_NODE = 0;
  static constexpr Node TRUE_NODE = 1;

  /// Keeps the reference.
  explicit FormulaGraph(Terms& terms);

  // --- construction; iterative
  /// A formula; `and`, `or` and `not` are taken apart, all else is an atom.
  Node formula(const Term_* t);
  Node conjunction(Nodes operands) { return join(Connective::AND, std::move(operands)); }
  Node disjunction(Nodes operands) { return join(Connective::OR, std::move(operands)); }
  Node join(Connective connective, Nodes operands);
  /// if_true where the condition holds, if_false elsewhere.
  Node choice(Node condition, Node if_true, Node if_false);
  Node negation(Node n);

  /// An equivalent node over a subset of the symbols: literals that follow from, or are
  /// excluded by, what stands beside them on every way down are left out, operands that are
  /// implied by others too, and what operands have in common is taken out. Iterative.
  Node simplified(Node root);

  /// The node as a term. Iterative.
  const Term_* term(Node n);

  /// The literals and binary connectives that the node has, each once.
  [[nodiscard]] std::size_t weight(Node root) const;

 private:
  enum class NodeKind : std::uint8_t { TRUTH, LITERAL, AND, OR };
  struct Entry {
    NodeKind kind;
    std::uint32_t begin;  // of the operands, or the number of the literal
    std::uint32_t count;  // of operands, ascending
  };
  // The literals that hold wherever a node counts, ascending, by what stands around it; and
  // the number of nodes that have it as an operand.
  struct Surroundings {
    Nodes literals;
    std::size_t parents = 0;
  };
  using Regions = std::unordered_map<std::size_t, Region>;

  static NodeKind kind_of(Connective c) {
    return c == Connective::AND ? NodeKind::AND : NodeKind::OR;
  }
  static Node neutral(Connective c) {
    return c == Connective::AND ? TRUE_NODE : FALSE_NODE;
  }
  [[nodiscard]] bool is_literal(Node n) const {
    assert(n < nodes_.size());
    return nodes_[n].kind == NodeKind::LITERAL;
  }
  [[nodiscard]] bool is(Node n, Connective c) const {
    assert(n < nodes_.size());
    return nodes_[n].kind == kind_of(c);
  }
  [[nodiscard]] bool is_compound(Node n) const {
    return is(n, Connective::AND) || is(n, Connective::OR);
  }
  [[nodiscard]] const BoundLiteral& literal_of(Node n) const {
    assert(is_literal(n));
    return literals_[nodes_[n].begin];
  }
  [[nodiscard]] const Node* begin(Node n) const {
    assert(is_compound(n));
    return operands_.data() + nodes_[n].begin;
  }
  [[nodiscard]] const Node* end(Node n) const { return begin(n) + nodes_[n].count; }
  /// The literal as it counts in a conjunction, or, in a disjunction, in the negated one.
  [[nodiscard]] BoundLiteral signed_literal(Connective c, Node n) const;

  // --- formula_graph.cpp
  Node atom(const Term_* t);
  Node literal(const BoundLiteral& literal);
  Node compound(Connective c, const Nodes& operands);
  bool merge_literals(Connective c, Nodes& operands);
  [[nodiscard]] Nodes reachable(Node root) const;

  // --- graph_rules.cpp
  Node simplified_once(Node root);
  [[nodiscard]] std::unordered_map<Node, Surroundings> surroundings(Node root,
                                                                    const Nodes& order);
  Nodes rewritten_operands(Node n, const Surroundings& around,
                           const std::unordered_map<Node, Node>& results,
                           const std::unordered_map<Node, Surroundings>& all);
  [[nodiscard]] Regions regions_for(Node n, const Nodes& known) const;
  void absorb(Connective c, Nodes& operands) const;
  void factor(Connective c, Nodes& operands);

  Terms& terms_;
  AtomForms forms_;
  std::vector<Entry> nodes_;
  Nodes operands_;                      // of all nodes
  std::vector<BoundLiteral> literals_;  // of all literal nodes
  Nodes negations_;                     // by node; itself where it is not known yet
  std::vector<const Term_*> written_;   // by node; null where it is not known yet
  std::unordered_multimap<std::uint64_t, Node> by_hash_;
  std::unordered_map<const Term_*, Node> read_;
};

}  // namespace opal::host

#endif
