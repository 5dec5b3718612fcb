#include "opal/checker/resolution_checker.h"

#include <algorithm>

namespace opal::checker {

namespace {

using resolution::ClauseProof;
using resolution::Literal;
using resolution::LiteralSpan;
using resolution::NodeIndex;
using resolution::NodeKind;
using resolution::Step;

// For messages: v5, or -v5 for its negation.
std::string text(Literal literal) {
  return (literal.is_negative() ? "-v" : "v") + std::to_string(literal.variable());
}

std::string text(LiteralSpan literals) {
  std::string result = "{";
  for (const Literal literal : literals)
    result += (result.size() > 1 ? ", " : "") + text(literal);
  return result + "}";
}

class Run {
 public:
  Run(const ClauseProof& proof, LiteralSpan claim, const LeafJudges& judges)
      : proof_(proof),
        claim_(claim),
        judges_(judges),
        uses_(proof.size(), 0),
        clauses_(proof.size()),
        in_clause_(std::size_t{2} * proof.variable_end(), false) {}

  std::optional<std::string> fault() {
    if (proof_.empty())
      return "the proof has no nodes; its last node has to prove the claim";
    for (NodeIndex node = 0; node < proof_.size(); node++)
      if (proof_.kind(node) == NodeKind::CHAIN && !count_uses(node)) return fault_;
    uses_[proof_.root()]++;
    for (NodeIndex node = 0; node < proof_.size(); node++)
      if (!(proof_.kind(node) == NodeKind::CHAIN ? check_chain(node) : check_leaf(node)))
        return fault_;
    const std::vector<Literal>& proved = clauses_[proof_.root()];
    for (const Literal literal : proved)
      if (std::find(claim_.begin(), claim_.end(), literal) == claim_.end())
        return "the proof proves " + text(proved) + ", expected a part of " + text(claim_);
    return std::nullopt;
  }

 private:
  bool fail(NodeIndex node, const std::string& what) {
    fault_ = "node " + std::to_string(node) + ": " + what;
    return false;
  }

  bool count_use(NodeIndex node, NodeIndex used) {
    if (used >= node)
      return fail(node, "uses node " + std::to_string(used) + ", expected an earlier one");
    uses_[used]++;
    return true;
  }
  bool count_uses(NodeIndex node) {
    if (!count_use(node, proof_.first(node))) return false;
    for (const Step& step : proof_.steps(node)) {
      if (!count_use(node, step.antecedent)) return false;
      if (step.pivot.variable() >= proof_.variable_end())
        return fail(node, "the pivot " + text(step.pivot) + " is no variable of the proof");
    }
    return true;
  }

  bool check_leaf(NodeIndex node) {
    assert(running_.empty() && proof_.kind(node) != NodeKind::CHAIN);
    const LiteralSpan literals = proof_.literals(node);
    for (const Literal literal : literals) {
      if (literal.variable() >= proof_.variable_end())
        return fail(node, text(literal) + " is no variable of the proof");
      if (in_clause_[(~literal).code()])
        return fail(node, "the leaf " + text(literals) + " has a literal and its negation");
      add(literal);
    }
    clauses_[node] = take_running();
    const bool is_input = proof_.kind(node) == NodeKind::INPUT;
    const LeafJudges::Judge& judge = is_input ? judges_.is_input : judges_.is_lemma;
    if (judge && judge(literals, proof_.tag(node))) return true;
    return fail(node, text(literals) + " with tag " + std::to_string(proof_.tag(node)) +
                          " is no " + (is_input ? "input clause" : "lemma"));
  }

  bool check_chain(NodeIndex node) {
    assert(running_.empty());
    for (const Literal literal : clauses_[proof_.first(node)])
      add(literal);
    end_use(proof_.first(node));
    for (const Step& step : proof_.steps(node))
      if (!check_step(node, step)) return false;
    clauses_[node] = take_running();
    return true;
  }

  // Resolves the running clause with one antecedent.
  bool check_step(NodeIndex node, const Step& step) {
    const std::vector<Literal>& antecedent = clauses_[step.antecedent];
    const auto where = [&] {
      return " in the step with node " + std::to_string(step.antecedent) + " on " +
             text(step.pivot);
    };
    bool has_pivot = false;
    for (const Literal literal : antecedent) {
      has_pivot |= literal == step.pivot;
      if (in_clause_[(~literal).code()] && literal != step.pivot)
        return fail(node, text(literal) + " clashes besides the pivot" + where());
    }
    if (!has_pivot) return fail(node, "the antecedent has no pivot" + where());
    if (!in_clause_[(~step.pivot).code()])
      return fail(node, "the clause so far has no negated pivot" + where());
    if (in_clause_[step.pivot.code()])
      return fail(node, "the clause so far has the pivot itself" + where());
    in_clause_[(~step.pivot).code()] = false;
    assert(!in_clause_[step.pivot.code()]);
    for (const Literal literal : antecedent)
      if (literal != step.pivot) add(literal);
    end_use(step.antecedent);
    return true;
  }

  void add(Literal literal) {
    if (in_clause_[literal.code()]) return;
    in_clause_[literal.code()] = true;
    running_.push_back(literal);
  }
  // The running clause, each literal once; no clause is running afterwards.
  std::vector<Literal> take_running() {
    std::vector<Literal> clause;
    for (const Literal literal : running_) {
      if (!in_clause_[literal.code()]) continue;  // resolved away, or met before
      in_clause_[literal.code()] = false;
      clause.push_back(literal);
    }
    running_.clear();
    return clause;
  }
  void end_use(NodeIndex node) {
    assert(uses_[node] > 0);
    if (--uses_[node] == 0) std::vector<Literal>().swap(clauses_[node]);
  }

  const ClauseProof& proof_;
  LiteralSpan claim_;
  const LeafJudges& judges_;
  std::vector<std::uint32_t> uses_;            // by node: uses that are still to come
  std::vector<std::vector<Literal>> clauses_;  // by node, from its making to its last use
  std::vector<bool> in_clause_;                // by literal: is in the running clause
  std::vector<Literal> running_;  // the running clause, with what was resolved away
  std::string fault_;
};

}  // namespace

std::optional<std::string> fault_of_resolution_proof(const ClauseProof& proof,
                                                     LiteralSpan claim,
                                                     const LeafJudges& judges) {
  return Run(proof, claim, judges).fault();
}

}  // namespace opal::checker
