#include "opal/proofs/resolution/clause_proof.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "opal/proofs/resolution/rebuild.h"

namespace opal::resolution {

namespace {

// Ranges are kept as 32-bit numbers.
std::uint32_t index_of_end(std::size_t size) {
  if (size >= std::numeric_limits<std::uint32_t>::max())
    throw std::length_error(
        "the proof of the clauses has more than 2^32 steps or literals");
  return static_cast<std::uint32_t>(size);
}

}  // namespace

NodeIndex ClauseProof::add_leaf(NodeKind kind, LiteralSpan literals, Tag tag) {
  assert(kind != NodeKind::CHAIN);
  nodes_.push_back({kind, tag, index_of_end(literals_.size()),
                    static_cast<std::uint32_t>(literals.size())});
  for (const Literal literal : literals) {
    literals_.push_back(literal);
    note(literal);
  }
  return root();
}

NodeIndex ClauseProof::begin_chain(NodeIndex first) {
  assert(first < size());
  nodes_.push_back({NodeKind::CHAIN, first, index_of_end(steps_.size()), 0});
  return root();
}

void ClauseProof::add_step(Literal pivot, NodeIndex antecedent) {
  assert(!nodes_.empty() && nodes_.back().kind == NodeKind::CHAIN);
  assert(antecedent + 1 < size());
  steps_.push_back({pivot, antecedent});
  nodes_.back().size++;
  note(pivot);
}

void ClauseProof::note(Literal literal) {
  assert(literal.is_valid());
  variable_end_ = std::max(variable_end_, literal.variable() + 1);
}

bool ClauseProof::is_normal() const {
  for (NodeIndex node = 0; node < size(); node++) {
    const bool chain = kind(node) == NodeKind::CHAIN;
    if (end(node) > (chain ? steps_.size() : literals_.size())) return false;
    if (!chain) continue;
    if (first(node) >= node) return false;
    for (const Step& step : steps(node))
      if (step.antecedent >= node || step.pivot.variable() >= variable_end_) return false;
  }
  return true;
}

ClauseProof trimmed(const ClauseProof& proof, NodeIndex root) {
  assert(root < proof.size() && proof.is_normal());
  std::vector<bool> needed(proof.size(), false);
  needed[root] = true;
  for (NodeIndex node = root + 1; node-- > 0;) {
    if (!needed[node] || proof.kind(node) != NodeKind::CHAIN) continue;
    needed[proof.first(node)] = true;
    for (const Step& step : proof.steps(node))
      needed[step.antecedent] = true;
  }
  ClauseProof result;
  std::vector<NodeIndex> moved(proof.size(), 0);
  for (NodeIndex node = 0; node <= root; node++) {
    if (!needed[node]) continue;
    if (proof.kind(node) != NodeKind::CHAIN) {
      moved[node] =
          result.add_leaf(proof.kind(node), proof.literals(node), proof.tag(node));
      continue;
    }
    moved[node] = result.begin_chain(moved[proof.first(node)]);
    for (const Step& step : proof.steps(node))
      result.add_step(step.pivot, moved[step.antecedent]);
  }
  assert(result.is_normal());
  return result;
}

std::vector<Literal> conclusion(const ClauseProof& proof) {
  Rebuild rebuild(proof, nullptr);
  rebuild.run();
  return rebuild.clause(proof.root());
}

}  // namespace opal::resolution
