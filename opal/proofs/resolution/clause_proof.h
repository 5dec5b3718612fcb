// A refutation by resolution, by itself: what remains of a search when its answer is known.
//
//   leaf          an input clause or a lemma of a theory: its literals and its tag
//   chain         c0, (p1, c1), ..., (pn, cn): start with clause c0, then resolve with each
//                 ci in turn on the literal pi, which ci has and the clause so far has
//                 negated. What is left at the end is the chain's clause.
//
// Nodes stand in topological order, what a chain uses before the chain; the last node is
// what the proof proves. Clauses of chains are not kept; they follow from the leaves.
//
//   node 0   input  {a, b}   tag 7            ClauseProof p;
//   node 1   input  {~a}     tag 8            p.add_leaf(INPUT, {a, b}, 7);
//   node 2   lemma  {~b}     tag 0            p.add_leaf(INPUT, {~a}, 8);
//   node 3   chain  0, (~a, 1), (~b, 2)       p.add_leaf(LEMMA, {~b}, 0);
//                                             p.begin_chain(0);
//   proves the empty clause.                  p.add_step(~a, 1); p.add_step(~b, 2);
//
// Memory: 16 bytes a node, 4 a literal of a leaf, 8 a step.

#ifndef OPAL_PROOFS_RESOLUTION_CLAUSE_PROOF_H
#define OPAL_PROOFS_RESOLUTION_CLAUSE_PROOF_H

#include <vector>

#include "opal/proofs/resolution/literal.h"

namespace opal::resolution {

/// The number of a node in a ClauseProof.
using NodeIndex = std::uint32_t;

enum class NodeKind : std::uint8_t { INPUT, LEMMA, CHAIN };

/// One resolution of a chain: `antecedent` has `pivot`, the clause so far its negation.
struct Step {
  Literal pivot;
  NodeIndex antecedent = 0;
};

/// A view of the steps of one chain.
class StepSpan {
 public:
  StepSpan(const Step* steps, std::size_t size) : steps_(steps), size_(size) {}
  [[nodiscard]] const Step* begin() const { return steps_; }
  [[nodiscard]] const Step* end() const { return steps_ + size_; }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool empty() const { return size_ == 0; }
  const Step& operator[](std::size_t i) const {
    assert(i < size_);
    return steps_[i];
  }

 private:
  const Step* steps_;
  std::size_t size_;
};

class ClauseProof {
 public:
  /// Appends a leaf, of kind INPUT or LEMMA.
  NodeIndex add_leaf(NodeKind kind, LiteralSpan literals, Tag tag);
  /// Appends a chain that starts with node `first`; its steps follow by add_step().
  NodeIndex begin_chain(NodeIndex first);
  /// Appends a step to the last node, which is a chain.
  void add_step(Literal pivot, NodeIndex antecedent);

  [[nodiscard]] bool empty() const { return nodes_.empty(); }
  /// The number of nodes; the last one is the root.
  [[nodiscard]] NodeIndex size() const { return static_cast<NodeIndex>(nodes_.size()); }
  [[nodiscard]] NodeIndex root() const {
    assert(!nodes_.empty());
    return size() - 1;
  }
  [[nodiscard]] NodeKind kind(NodeIndex node) const { return at(node).kind; }
  /// The tag of a leaf.
  [[nodiscard]] Tag tag(NodeIndex node) const {
    assert(kind(node) != NodeKind::CHAIN);
    return at(node).tag_or_first;
  }
  /// The literals of a leaf.
  [[nodiscard]] LiteralSpan literals(NodeIndex node) const {
    assert(kind(node) != NodeKind::CHAIN);
    return {literals_.data() + at(node).begin, end(node) - at(node).begin};
  }
  /// The node with which a chain starts.
  [[nodiscard]] NodeIndex first(NodeIndex node) const {
    assert(kind(node) == NodeKind::CHAIN);
    return at(node).tag_or_first;
  }
  [[nodiscard]] StepSpan steps(NodeIndex node) const {
    assert(kind(node) == NodeKind::CHAIN);
    return {steps_.data() + at(node).begin, end(node) - at(node).begin};
  }
  [[nodiscard]] std::size_t step_count() const { return steps_.size(); }
  /// One more than the largest variable that occurs; 0 when none does.
  [[nodiscard]] Variable variable_end() const { return variable_end_; }

  /// Whether every chain uses earlier nodes only and every node's range lies within bounds.
  [[nodiscard]] bool is_normal() const;

 private:
  // begin: where the node's literals (leaf) or steps (chain) begin; they end `size` later.
  struct Node {
    NodeKind kind;
    std::uint32_t tag_or_first;
    std::uint32_t begin;
    std::uint32_t size;
  };

  [[nodiscard]] const Node& at(NodeIndex node) const {
    assert(node < nodes_.size());
    return nodes_[node];
  }
  [[nodiscard]] std::size_t end(NodeIndex node) const {
    return std::size_t{at(node).begin} + at(node).size;
  }
  void note(Literal literal);

  std::vector<Node> nodes_;        // in topological order
  std::vector<Literal> literals_;  // of all leaves
  std::vector<Step> steps_;        // of all chains
  Variable variable_end_ = 0;
};

/// The nodes that `root` needs, itself last, in the order in which they stood.
[[nodiscard]] ClauseProof trimmed(const ClauseProof& proof, NodeIndex root);

/// The clause that the root of `proof` proves, sorted.
[[nodiscard]] std::vector<Literal> conclusion(const ClauseProof& proof);

}  // namespace opal::resolution

#endif
