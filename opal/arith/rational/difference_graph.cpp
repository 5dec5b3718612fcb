#include "opal/arith/rational/difference_graph.h"

#include <algorithm>
#include <cassert>
#include <utility>

// Incremental detection of negative cycles.
//
// An edge that the potential does not fit, potential(to) > potential(from) + weight, starts
// a search along the out-edges of `to`, in the manner of Dijkstra: the node that has to
// come down most is settled first, and every node is settled once. If the search asks
// `from` to come down too, the edges of its path and the new one are a negative cycle.
// The mirror image, raising `from` along in-edges, is as good; the direction in which the
// first node has fewer edges is taken, so that a new bound on one variable does not go
// through the bounds of all others.
//
// Example: potentials x = 0, y = 0 and x --0--> y; the new edge y --(-1)--> x has
// slack -1. Forward: x comes down by 1, then y = -1 + 0 - 0 must come down, which is the
// start of the new edge: the cycle x -> y -> x has weight -1.
//
// Cost: an edge between components costs its share of n*log(n) moves of nodes, all in all;
// an edge inside one that does not fit, a search in O(m + n*log(n)).

namespace opal::host {

namespace {

// The greatest integer that is not above x, strictly below it if x is an integer minus an
// infinitesimal.
QNumber floor_below(const DeltaNumber& x) {
  QNumber result = x.real.floor();
  if (x.real.is_integer() && x.strict.sign() < 0) result -= QNumber(1);
  return result;
}

}  // namespace

DifferenceGraph::DifferenceGraph(const ConstraintTerms& terms, Limits& limits)
    : terms_(terms), limits_(limits) {
  make_nodes(ZERO);
}

bool DifferenceGraph::is_difference(const la::LinearTerm& term) {
  const auto& coeffs = term.vars.coeffs();
  if (coeffs.size() == 2) return (coeffs[0].second + coeffs[1].second).is_zero();
  return coeffs.size() == 1;
}

void DifferenceGraph::add(int constr_id, int side) {
  const la::LinearTerm& term = terms_.constraint_term(constr_id);
  assert(is_difference(term));
  first_edge_.push_back(static_cast<int>(edges_.size()));
  const auto& coeffs = term.vars.coeffs();
  // term is scale * (left - right)
  int left = coeffs[0].first;
  int right = coeffs.size() == 2 ? coeffs[1].first : ZERO;
  const QNumber& scale = coeffs[0].second;
  if (scale.sign() < 0) std::swap(left, right);
  make_nodes(std::max(left, right));
  const QNumber magnitude = abs(scale);
  const QNumber bound = magnitude == QNumber(1) ? term.constant : term.constant / magnitude;
  for (const Half& half : halves(term.kind, side)) {
    const QNumber strict(half.strict ? -1 : 0);
    if (half.upper)
      add_edge(right, left, {bound, strict}, constr_id, half.sign);
    else
      add_edge(left, right, {bound.neg(), strict}, constr_id, half.sign);
  }
}

void DifferenceGraph::add_edge(int from, int to, DeltaNumber weight, int constr_id,
                               int sign) {
  edges_.push_back(
      {from, to, constr_id, NONE, NONE, static_cast<signed char>(sign), std::move(weight)});
}

void DifferenceGraph::make_nodes(int last) {
  for (int node = static_cast<int>(nodes_.size()); node <= last; ++node) {
    nodes_.push_back({{}, node, node});
    components_.emplace_back();
  }
}

void DifferenceGraph::retract(std::size_t n) {
  if (n == size()) return;
  const int count = first_edge_[n];
  while (linked_ > count)
    unlink(--linked_);
  edges_.erase(edges_.begin() + count, edges_.end());
  first_edge_.resize(n);
}

DeltaNumber DifferenceGraph::potential(int node) const {
  const Node& n = nodes_[static_cast<std::size_t>(node)];
  return n.local + components_[static_cast<std::size_t>(n.component)].shift;
}

// What is left of an edge's weight; negative when the potential does not fit.
DeltaNumber DifferenceGraph::slack(const Edge& edge) const {
  const Node& from = nodes_[static_cast<std::size_t>(edge.from)];
  const Node& to = nodes_[static_cast<std::size_t>(edge.to)];
  DeltaNumber result = edge.weight;
  result += from.local;
  result -= to.local;
  if (from.component != to.component) {
    result += components_[static_cast<std::size_t>(from.component)].shift;
    result -= components_[static_cast<std::size_t>(to.component)].shift;
  }
  return result;
}

std::optional<FarkasCombination> DifferenceGraph::check() {
  while (linked_ < static_cast<int>(edges_.size())) {
    limits_.poll();
    const int closing = integrate(linked_);
    if (closing != NONE) return cycle(linked_, closing);
    link(linked_++);
  }
  return std::nullopt;
}

int DifferenceGraph::integrate(int edge) {
  const Edge& e = edges_[static_cast<std::size_t>(edge)];
  const DeltaNumber gap = slack(e);
  const Node& from = nodes_[static_cast<std::size_t>(e.from)];
  const Node& to = nodes_[static_cast<std::size_t>(e.to)];
  if (from.component != to.component) {
    // An equality is met exactly. Otherwise there is room to keep potentials integers.
    DeltaNumber shift;
    if (is_equality(e))
      shift = gap;
    else if (gap.sign() < 0)
      shift.real = floor_below(gap);
    join(e.from, e.to, shift);
    return NONE;
  }
  if (gap.sign() >= 0) return NONE;
  return search(edge, gap, to.out_degree <= from.in_degree);
}

// Makes one component of two, `to`'s shifted by `shift` relative to `from`'s.
void DifferenceGraph::join(int from, int to, const DeltaNumber& shift) {
  Node& from_node = nodes_[static_cast<std::size_t>(from)];
  Node& to_node = nodes_[static_cast<std::size_t>(to)];
  Component* large = &components_[static_cast<std::size_t>(from_node.component)];
  Component* small = &components_[static_cast<std::size_t>(to_node.component)];
  DeltaNumber move = small->shift - large->shift;
  move += shift;
  int start = to;
  int target = from_node.component;
  if (large->size < small->size) {
    std::swap(large, small);
    move *= QNumber(-1);
    start = from;
    target = to_node.component;
  }
  const bool moves = !(move == DeltaNumber());
  int node = start;
  do {
    Node& n = nodes_[static_cast<std::size_t>(node)];
    if (moves) n.local += move;
    n.component = target;
    node = n.next;
  } while (node != start);
  large->size += small->size;
  std::swap(from_node.next, to_node.next);
}

bool DifferenceGraph::comes_later(const Candidate& a, const Candidate& b) {
  return b.change == a.change ? b.node < a.node : b.change < a.change;
}

DifferenceGraph::Visit& DifferenceGraph::visit(int node) {
  Visit& v = visits_[static_cast<std::size_t>(node)];
  if (v.search != search_) {
    v.change = {};
    v.edge = NONE;
    v.search = search_;
    v.settled = false;
  }
  return v;
}

// Makes room for an edge that lacks -gap, by lowering potentials along out-edges or by
// raising them along in-edges. Returns the edge that closes a negative cycle, if any, and
// then changes nothing.
int DifferenceGraph::search(int edge, const DeltaNumber& gap, bool forward) {
  const Edge& e = edges_[static_cast<std::size_t>(edge)];
  const int start = forward ? e.to : e.from;
  const int end = forward ? e.from : e.to;
  visits_.resize(nodes_.size());
  ++search_;
  forward_ = forward;
  settled_.clear();
  heap_.clear();
  visit(start).change = gap;
  heap_.push_back({gap, start});
  while (!heap_.empty()) {
    std::pop_heap(heap_.begin(), heap_.end(), comes_later);
    const int node = heap_.back().node;
    heap_.pop_back();
    Visit& here = visit(node);
    if (here.settled) continue;
    here.settled = true;
    settled_.push_back(node);
    const int closing = relax(node, end);
    if (closing != NONE) return closing;
  }
  for (const int node : settled_) {
    DeltaNumber& local = nodes_[static_cast<std::size_t>(node)].local;
    if (forward)
      local += visits_[static_cast<std::size_t>(node)].change;
    else
      local -= visits_[static_cast<std::size_t>(node)].change;
  }
  relaxations_ += settled_.size();
  assert(slack(e).sign() >= 0);
  return NONE;
}

// Passes the change of a settled node on; returns the edge that asks `end` to change.
int DifferenceGraph::relax(int node, int end) {
  const Visit& here = visit(node);
  const Node& n = nodes_[static_cast<std::size_t>(node)];
  for (int next = forward_ ? n.first_out : n.first_in; next != NONE;) {
    limits_.poll();
    const int edge = next;
    const Edge& e = edges_[static_cast<std::size_t>(edge)];
    next = forward_ ? e.next_out : e.next_in;
    DeltaNumber change = slack(e);
    change += here.change;
    if (change.sign() >= 0) continue;
    const int other = forward_ ? e.to : e.from;
    if (other == end) return edge;
    Visit& there = visit(other);
    if (there.settled || there.change <= change) continue;
    there.change = change;
    there.edge = edge;
    heap_.push_back({std::move(change), other});
    std::push_heap(heap_.begin(), heap_.end(), comes_later);
  }
  return NONE;
}

void DifferenceGraph::link(int edge) {
  Edge& e = edges_[static_cast<std::size_t>(edge)];
  Node& from = nodes_[static_cast<std::size_t>(e.from)];
  Node& to = nodes_[static_cast<std::size_t>(e.to)];
  e.next_out = std::exchange(from.first_out, edge);
  e.next_in = std::exchange(to.first_in, edge);
  ++from.out_degree;
  ++to.in_degree;
}

void DifferenceGraph::unlink(int edge) {
  const Edge& e = edges_[static_cast<std::size_t>(edge)];
  Node& from = nodes_[static_cast<std::size_t>(e.from)];
  Node& to = nodes_[static_cast<std::size_t>(e.to)];
  assert(from.first_out == edge && to.first_in == edge);
  from.first_out = e.next_out;
  to.first_in = e.next_in;
  --from.out_degree;
  --to.in_degree;
}

// The leaves of the cycle through `edge` that the last search closed by `closing`.
FarkasCombination DifferenceGraph::cycle(int edge, int closing) const {
  FarkasCombination leaves{leaf(edges_[static_cast<std::size_t>(edge)])};
  for (int next = closing; next != NONE;) {
    const Edge& e = edges_[static_cast<std::size_t>(next)];
    leaves.push_back(leaf(e));
    next = visits_[static_cast<std::size_t>(forward_ ? e.from : e.to)].edge;
  }
  return leaves;
}

FarkasLeaf DifferenceGraph::leaf(const Edge& edge) const {
  const la::LinearTerm& term = terms_.constraint_term(edge.constraint);
  return {edge.constraint, edge.sign, abs(term.vars.coeffs()[0].second).inv()};
}

DeltaNumber DifferenceGraph::value(int var) const {
  assert(linked_ == static_cast<int>(edges_.size()));
  if (var >= static_cast<int>(nodes_.size())) return {};
  return potential(var) - potential(ZERO);
}

}  // namespace opal::host
