#include "opal/interpolate/labelled/labelled_system.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/interpolate/labelled/formula_interpolation.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

using resolution::ClauseProof;
using resolution::Literal;
using resolution::LiteralSpan;
using resolution::Meaning;
using resolution::NodeIndex;
using resolution::NodeKind;
using resolution::Step;
using Connective = FormulaGraph::Connective;

namespace {

// Which sides have clauses among the leaves below a node.
constexpr char USES_A = 1;
constexpr char USES_B = 2;

std::vector<char> leaves_below(const ClauseProof& proof, const AtomPlaces& places,
                               std::size_t root) {
  std::vector<char> uses(proof.size(), 0);
  for (NodeIndex node = 0; node < proof.size(); ++node) {
    switch (proof.kind(node)) {
      case NodeKind::INPUT: {
        const std::size_t group = places.group_of(proof.tag(node));
        uses[node] = places.symbols().in_subtree(group, root) ? USES_A : USES_B;
        break;
      }
      case NodeKind::LEMMA: break;
      case NodeKind::CHAIN:
        uses[node] = uses[proof.first(node)];
        for (const Step& step : proof.steps(node))
          uses[node] = static_cast<char>(uses[node] | uses[step.antecedent]);
        break;
    }
  }
  return uses;
}

}  // namespace

NodeClauses::NodeClauses(const ClauseProof& proof) : begin_{0} {
  std::vector<bool> in(std::size_t{2} * proof.variable_end(), false);
  std::vector<Literal> running;
  const auto add = [&](LiteralSpan clause) {
    for (const Literal literal : clause) {
      if (in[literal.code()]) continue;
      in[literal.code()] = true;
      running.push_back(literal);
    }
  };
  for (NodeIndex node = 0; node < proof.size(); ++node) {
    const bool is_chain = proof.kind(node) == NodeKind::CHAIN;
    add(is_chain ? (*this)[proof.first(node)] : proof.literals(node));
    if (is_chain) {
      for (const Step& step : proof.steps(node)) {
        in[(~step.pivot).code()] = false;
        const bool had_pivot = in[step.pivot.code()];
        add((*this)[step.antecedent]);
        in[step.pivot.code()] = had_pivot;
      }
    }
    for (const Literal literal : running) {
      if (in[literal.code()]) literals_.push_back(literal);
      in[literal.code()] = false;
    }
    running.clear();
    begin_.push_back(literals_.size());
  }
}

LabelledSystem::LabelledSystem(const resolution::ClauseRefutation& refutation,
                               const AtomPlaces& places, const NodeClauses* clauses,
                               Strength strength, std::size_t root)
    : refutation_(refutation),
      places_(places),
      clauses_(clauses),
      strength_(strength),
      root_(root) {
  assert(strength == Strength::STRONG || strength == Strength::MIDDLE);
  const ClauseProof& proof = refutation.proof;
  sides_.reserve(proof.variable_end());
  for (resolution::Variable v = 0; v < proof.variable_end(); ++v)
    sides_.push_back(places.side(v, root));
  const std::vector<char> uses = leaves_below(proof, places, root);
  parts_.assign(proof.size(), Part::UNUSED);
  std::vector<bool> needed(proof.size(), false);
  needed[proof.root()] = true;
  for (NodeIndex node = proof.size(); node-- > 0;) {
    if (!needed[node]) continue;
    parts_[node] = part_of(node, clauses, uses);
    if (parts_[node] != Part::CHAIN) continue;
    needed[proof.first(node)] = true;
    for (const Step& step : proof.steps(node))
      needed[step.antecedent] = true;
  }
}

LabelledSystem::Part LabelledSystem::part_of(NodeIndex node, const NodeClauses* clauses,
                                             const std::vector<char>& uses) const {
  const ClauseProof& proof = refutation_.proof;
  const NodeKind kind = proof.kind(node);
  if (kind == NodeKind::INPUT) return uses[node] == USES_A ? Part::CLAUSE_A : Part::TRUE;
  const Part itself = kind == NodeKind::LEMMA ? Part::LEMMA : Part::CHAIN;
  if (clauses == nullptr) return itself;
  std::size_t count[3] = {0, 0, 0};
  for (const Literal literal : (*clauses)[node])
    ++count[static_cast<std::size_t>(sides_[literal.variable()])];
  const std::size_t of_A = count[static_cast<std::size_t>(Side::A)];
  const std::size_t of_B = count[static_cast<std::size_t>(Side::B)];
  const std::size_t of_both = count[static_cast<std::size_t>(Side::BOTH)];
  if ((uses[node] & USES_A) == 0 && of_A == 0) return Part::TRUE;
  if ((uses[node] & USES_B) != 0 || of_B != 0) return itself;
  // The engine says in one inequality what several literals of a lemma come to.
  const bool is_long = kind == NodeKind::LEMMA && of_both > 1;
  return strength_ == Strength::STRONG && is_long ? itself : Part::CLAUSE_A;
}

std::vector<NodeIndex> LabelledSystem::lemmas() const {
  std::vector<NodeIndex> result;
  for (NodeIndex node = 0; node < parts_.size(); ++node)
    if (parts_[node] == Part::LEMMA) result.push_back(node);
  return result;
}

FormulaGraph::Node LabelledSystem::literal(Literal literal, FormulaGraph& graph) const {
  const Meaning& meaning = refutation_.meaning(literal.variable());
  assert(meaning.kind == Meaning::Kind::ATOM);
  const FormulaGraph::Node atom = graph.formula(meaning.atom);
  return literal.is_negative() ? graph.negation(atom) : atom;
}

FormulaGraph::Node LabelledSystem::clause_of_A(LiteralSpan clause,
                                               FormulaGraph& graph) const {
  if (strength_ == Strength::MIDDLE) return FormulaGraph::FALSE_NODE;
  FormulaGraph::Nodes operands;
  for (const Literal l : clause)
    if (counts_for_B(l)) operands.push_back(literal(l, graph));
  return graph.disjunction(std::move(operands));
}

// Runs of `or` and of `and` become one node each.
FormulaGraph::Node LabelledSystem::chain(
    NodeIndex node, const std::vector<FormulaGraph::Node>& interpolants,
    FormulaGraph& graph) const {
  const ClauseProof& proof = refutation_.proof;
  FormulaGraph::Nodes operands{interpolants[proof.first(node)]};
  Connective run = Connective::OR;
  const auto joined = [&] {
    if (operands.size() == 1) return operands.front();
    return graph.join(run, std::exchange(operands, {}));
  };
  for (const Step& step : proof.steps(node)) {
    const resolution::Variable pivot = step.pivot.variable();
    const FormulaGraph::Node other = interpolants[step.antecedent];
    if (places_.place(pivot) == AtomPlaces::NO_PLACE)
      throw NotInterpolated("an atom of the theory mixes symbols of two sides: " +
                            term_text(refutation_.meaning(pivot).atom, 200));
    if (sides_[pivot] == Side::BOTH && strength_ == Strength::MIDDLE) {
      const FormulaGraph::Node so_far = joined();
      const FormulaGraph::Node condition = literal(step.pivot, graph);
      operands.assign(1, graph.choice(condition, so_far, other));
      continue;
    }
    const Connective c = sides_[pivot] == Side::A ? Connective::OR : Connective::AND;
    if (c != run) {
      operands.assign(1, joined());
      run = c;
    }
    operands.push_back(other);
  }
  return joined();
}

FormulaGraph::Node LabelledSystem::interpolant(const LemmaInterpolants& lemmas,
                                               FormulaGraph& graph) const {
  const ClauseProof& proof = refutation_.proof;
  std::vector<FormulaGraph::Node> interpolants(proof.size(), FormulaGraph::TRUE_NODE);
  for (NodeIndex node = 0; node < proof.size(); ++node) {
    switch (parts_[node]) {
      case Part::UNUSED:
      case Part::TRUE: break;
      case Part::CLAUSE_A:
        interpolants[node] = clause_of_A(
            clauses_ != nullptr ? (*clauses_)[node] : proof.literals(node), graph);
        break;
      case Part::LEMMA:
        interpolants[node] = graph.formula(lemmas.interpolant(node, root_));
        break;
      case Part::CHAIN: interpolants[node] = chain(node, interpolants, graph); break;
    }
  }
  return interpolants[proof.root()];
}

}  // namespace opal::host
