#ifndef OPAL_ARITH_RATIONAL_DIFFERENCE_GRAPH_H
#define OPAL_ARITH_RATIONAL_DIFFERENCE_GRAPH_H

#include <cstdint>
#include <vector>

#include "opal/arith/rational/decider.h"
#include "opal/base/limits.h"
#include "opal/linear/constraint_terms.h"

namespace opal::host {

/// Decides constraints between differences: x - y, x or -x, with any common factor, against
/// a constant. They are edges of a graph with a node for every variable and node ZERO,
///
///     u - v <= w    is    v --w--> u
///
/// and contradictory exactly when there is a cycle of negative weight. A potential with
///
///     potential(to) <= potential(from) + weight
///
/// on every edge looked at so far proves that there is none, and is a model. Taking edges
/// away leaves it a model. It is kept as
///
///     potential(v) = nodes_[v].local + components_[nodes_[v].component].shift
///
/// where all edges are within components: an edge between two components shifts the smaller
/// one as a whole, and only an edge within one starts a search.
class DifferenceGraph final : public Decider {
 public:
  /// Keeps references to both.
  DifferenceGraph(const ConstraintTerms& terms, Limits& limits);

  /// Whether a constraint is of this form.
  static bool is_difference(const la::LinearTerm& term);

  void add(int constr_id, int side) override;
  [[nodiscard]] std::size_t size() const override { return first_edge_.size(); }
  void retract(std::size_t n) override;
  std::optional<FarkasCombination> check() override;
  [[nodiscard]] DeltaNumber value(int var) const override;

  /// Nodes whose potential a search changed, since construction.
  [[nodiscard]] std::uint64_t relaxations() const { return relaxations_; }

 private:
  static constexpr int ZERO = 0;  // the node of the constant 0; others are variable ids
  static constexpr int NONE = -1;

  struct Edge {
    int from;
    int to;
    int constraint;
    int next_out = NONE;  // the next edge with the same `from`
    int next_in = NONE;   // the next edge with the same `to`
    signed char sign;
    DeltaNumber weight;
  };
  struct Node {
    DeltaNumber local;
    int component;
    int next;  // in the circle of the component's nodes
    int first_out = NONE;
    int first_in = NONE;
    int out_degree = 0;
    int in_degree = 0;
  };
  struct Component {
    DeltaNumber shift;
    int size = 1;
  };
  // What a search knows of a node.
  struct Visit {
    DeltaNumber change;  // of the potential: minus this, or plus this when backward
    int edge = NONE;     // by which it was reached
    unsigned search = 0;
    bool settled = false;
  };
  struct Candidate {
    DeltaNumber change;
    int node;
  };

  void add_edge(int from, int to, DeltaNumber weight, int constr_id, int sign);
  void make_nodes(int last);
  [[nodiscard]] DeltaNumber potential(int node) const;
  [[nodiscard]] DeltaNumber slack(const Edge& edge) const;
  [[nodiscard]] bool is_equality(const Edge& edge) const {
    return edge.sign != 0 && edge.weight.strict.is_zero();
  }

  // Makes the potential fit an edge, or returns the closing edge of a negative cycle.
  int integrate(int edge);
  void join(int from, int to, const DeltaNumber& shift);
  int search(int edge, const DeltaNumber& gap, bool forward);
  int relax(int node, int end);
  static bool comes_later(const Candidate& a, const Candidate& b);
  Visit& visit(int node);
  void link(int edge);
  void unlink(int edge);
  [[nodiscard]] FarkasCombination cycle(int edge, int closing) const;
  [[nodiscard]] FarkasLeaf leaf(const Edge& edge) const;

  const ConstraintTerms& terms_;
  Limits& limits_;
  std::vector<int> first_edge_;  // by constraint on the stack
  std::vector<Edge> edges_;
  int linked_ = 0;  // edges_[0..linked_) are in the graph and fit the potential
  std::vector<Node> nodes_;
  std::vector<Component> components_;  // by the id of the node they began with
  std::vector<Visit> visits_;          // by node, for the search with number search_
  std::vector<Candidate> heap_;
  std::vector<int> settled_;
  unsigned search_ = 0;
  bool forward_ = true;  // direction of the last search
  std::uint64_t relaxations_ = 0;
};

}  // namespace opal::host

#endif
