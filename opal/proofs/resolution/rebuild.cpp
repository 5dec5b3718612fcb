#include "opal/proofs/resolution/rebuild.h"

#include <algorithm>

namespace opal::resolution {

Rebuild::Rebuild(const ClauseProof& old, host::Limits* limits)
    : old_(old),
      limits_(limits),
      first_cut_(old.size(), 0),
      uses_(old.size(), 0),
      new_node_(old.size(), 0),
      units_(old.size()),
      marks_(std::size_t{2} * old.variable_end(), 0) {
  assert(!old.empty() && old.is_normal());
  std::size_t steps = 0;
  for (NodeIndex node = 0; node < old.size(); node++) {
    first_cut_[node] = steps;
    if (old.kind(node) != NodeKind::CHAIN) continue;
    steps += old.steps(node).size();
    uses_[old.first(node)]++;
    for (const Step& step : old.steps(node))
      uses_[step.antecedent]++;
  }
  uses_[old.root()]++;
}

void Rebuild::cut(NodeIndex node, std::size_t i, Cut cut) {
  assert(i < old_.steps(node).size());
  if (cuts_.empty()) cuts_.resize(old_.step_count(), Cut::NONE);
  cuts_[first_cut_[node] + i] = cut;
}

void Rebuild::run() {
  assert(made_.empty());
  for (NodeIndex node = 0; node < old_.size(); node++) {
    if (limits_ != nullptr) limits_->poll();
    if (old_.kind(node) == NodeKind::CHAIN)
      add_chain(node);
    else
      add_leaf(node);
    const NodeIndex made = new_node_[node];
    // Before the uses by this node end: it may be served by one of the nodes it uses.
    pending_[made] += uses_[node];
    if (clauses_[made].size() == 1) units_[node] = clauses_[made][0];
    if (old_.kind(node) != NodeKind::CHAIN) continue;
    end_use(old_.first(node));
    for (const Step& step : old_.steps(node))
      end_use(step.antecedent);
  }
  last_ = new_node_[old_.root()];
}

const std::vector<Literal>& Rebuild::clause(NodeIndex node) const {
  assert(pending_[new_node_[node]] > 0);
  return clauses_[new_node_[node]];
}

void Rebuild::append(NodeIndex first, const std::vector<Step>& steps) {
  assert(pending_[new_node_[first]] > 0);
  start(new_node_[first]);
  for (const Step& step : steps)
    resolve(step.pivot, new_node_[step.antecedent], Cut::NONE);
  last_ = finish();
}

ClauseProof Rebuild::result() const {
  assert(!made_.empty() && last_ < made_.size());
  return trimmed(made_, last_);
}

void Rebuild::add_leaf(NodeIndex node) {
  const LiteralSpan literals = old_.literals(node);
  new_node_[node] = made_.add_leaf(old_.kind(node), literals, old_.tag(node));
  clauses_.emplace_back(literals.begin(), literals.end());
  pending_.push_back(0);
}

void Rebuild::add_chain(NodeIndex node) {
  start(new_node_[old_.first(node)]);
  const StepSpan steps = old_.steps(node);
  for (std::size_t i = 0; i < steps.size(); i++)
    resolve(steps[i].pivot, new_node_[steps[i].antecedent],
            cuts_.empty() ? Cut::NONE : cuts_[first_cut_[node] + i]);
  new_node_[node] = finish();
}

// Begins the chain that is being built, or begins it again, with the new node `made`.
void Rebuild::start(NodeIndex made) {
  for (const Literal literal : running_)
    marks_[literal.code()] = 0;
  running_.clear();
  steps_.clear();
  start_ = made;
  for (const Literal literal : clauses_[made])
    add_literal(literal);
}

void Rebuild::resolve(Literal pivot, NodeIndex made, Cut cut) {
  const std::vector<Literal>& clause = clauses_[made];
  const auto has = [&](Literal literal) {
    return std::find(clause.begin(), clause.end(), literal) != clause.end();
  };
  // Cuts go first: whoever made them has not seen to it that the other premise may serve.
  if (cut == Cut::SKIP) return;
  if (cut == Cut::RESTART) {
    start(made);
    return;
  }
  if (marks_[(~pivot).code()] == 0) return;
  if (marks_[pivot.code()] != 0 || !has(pivot)) {
    start(made);
    return;
  }
  if (has(~pivot)) return;
  marks_[(~pivot).code()] = 0;
  for (const Literal literal : clause)
    if (literal != pivot) add_literal(literal);
  steps_.push_back({pivot, made});
}

// Ends the chain that is being built. A chain without steps is the node that it starts
// with.
NodeIndex Rebuild::finish() {
  NodeIndex made = start_;
  if (!steps_.empty()) {
    made = made_.begin_chain(start_);
    for (const Step& step : steps_)
      made_.add_step(step.pivot, step.antecedent);
    std::vector<Literal>& clause = clauses_.emplace_back();
    pending_.push_back(0);
    for (const Literal literal : running_) {
      if (marks_[literal.code()] == 0) continue;
      marks_[literal.code()] = 0;
      clause.push_back(literal);
    }
    std::sort(clause.begin(), clause.end());
    clause.shrink_to_fit();
  }
  for (const Literal literal : running_)
    marks_[literal.code()] = 0;
  running_.clear();
  steps_.clear();
  assert(clauses_.size() == made_.size() && pending_.size() == made_.size());
  return made;
}

void Rebuild::add_literal(Literal literal) {
  assert(literal.code() < marks_.size());
  if (marks_[literal.code()] != 0) return;
  marks_[literal.code()] = 1;
  running_.push_back(literal);
}

void Rebuild::end_use(NodeIndex node) {
  const NodeIndex made = new_node_[node];
  assert(pending_[made] > 0);
  if (--pending_[made] == 0) std::vector<Literal>().swap(clauses_[made]);
}

}  // namespace opal::resolution
