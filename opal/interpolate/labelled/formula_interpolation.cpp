#include "opal/interpolate/labelled/formula_interpolation.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <unordered_set>
#include <utility>

#include "opal/checker/formula_checker.h"
#include "opal/interpolate/labelled/atom_places.h"
#include "opal/interpolate/labelled/labelled_system.h"
#include "opal/interpolate/labelled/lemma_interpolants.h"
#include "opal/simplify/formula_graph.h"
#include "opal/simplify/simplifier.h"

namespace opal::host {

using resolution::ClauseRefutation;
using resolution::Definition;
using resolution::NodeIndex;

namespace {

// The order of the groups: as they are, or, for the weak system, the last one first.
enum class Order : std::uint8_t { FORWARDS, BACKWARDS };

// Formulas of more sub-terms are left as the graph's rules leave them.
constexpr std::size_t SMALL_FORMULA = 4000;

AtomPlaces places_of(const ClauseRefutation& refutation, const FormulaTask& task,
                     Order order) {
  const std::size_t last = task.first.size() - 1;
  auto symbols = std::make_shared<Grouping>(task.first);
  std::vector<std::size_t> group_of;
  for (std::size_t i = 0; i < task.formulas.size(); ++i) {
    const std::size_t group = std::min(task.group_of[i], last);
    group_of.push_back(order == Order::FORWARDS ? group : last - group);
    if (task.formulas[i] != nullptr) symbols->add_symbols(task.formulas[i], group_of[i]);
  }
  for (const Definition& definition : refutation.definitions)
    symbols->add_symbols(definition.constant, group_of[definition.assertion]);
  return {refutation, std::move(symbols), std::move(group_of)};
}

// The sum of one side's part is the negated sum of the other's when sides are exchanged.
Mode exchanged(Mode mode) {
  if (mode == Mode::SUM) return Mode::DUAL;
  return mode == Mode::DUAL ? Mode::SUM : mode;
}

[[maybe_unused]] bool has_shared_symbols_only(const Interpolants& answer,
                                              const AtomPlaces& places) {
  for (std::size_t root = 0; root < answer.terms.size(); ++root) {
    const auto colour = places.symbols().symbols_colour(answer.terms[root], root);
    if (colour != Grouping::status::SHARED) return false;
  }
  return true;
}

// The interpolants of one strength, as nodes of the graph.
class Reading {
 public:
  Reading(Terms& terms, Limits& limits, const ClauseRefutation& refutation,
          const FormulaTask& task)
      : terms_(terms),
        limits_(limits),
        refutation_(refutation),
        task_(task),
        graph_(terms) {}

  Interpolants interpolants(Strength strength, const AtomPlaces& places,
                            const NodeClauses* clauses, LemmaInterpolants& lemmas) {
    const bool is_weak = strength == Strength::WEAK;
    FormulaGraph::Nodes nodes =
        read(is_weak ? Strength::STRONG : strength, places, clauses, lemmas);
    if (is_weak) {
      std::reverse(nodes.begin(), nodes.end());
      for (FormulaGraph::Node& node : nodes)
        node = graph_.negation(node);
    }
    Interpolants result;
    for (const FormulaGraph::Node node : nodes)
      result.terms.push_back(task_.raw ? graph_.term(node) : simplified(node));
    result.mode = is_weak ? exchanged(lemmas.mode()) : lemmas.mode();
    result.cuts = lemmas.cuts();
    result.cuts_reason = lemmas.cuts_reason();
    result.strength = strength;
    result.engine_seconds = lemmas.take_engine_seconds();
    result.size = dag_size(result.terms);
    result.raw_size = result.size;
    if (!task_.raw) {
      std::size_t weight = 0;
      for (const FormulaGraph::Node node : nodes)
        weight += graph_.weight(node);
      result.raw_size = std::max(weight, result.size);
    }
    return result;
  }

 private:
  FormulaGraph::Nodes read(Strength strength, const AtomPlaces& places,
                           const NodeClauses* clauses, LemmaInterpolants& lemmas) {
    std::vector<LabelledSystem> systems;
    std::map<NodeIndex, std::vector<std::size_t>> roots;  // of each lemma
    for (std::size_t root = 0; root + 1 < task_.first.size(); ++root) {
      limits_.look();
      systems.emplace_back(refutation_, places, clauses, strength, root);
      for (const NodeIndex lemma : systems.back().lemmas())
        roots[lemma].push_back(root);
    }
    for (const auto& [lemma, of_lemma] : roots) {
      limits_.poll();
      lemmas.prepare(lemma, of_lemma);
    }
    FormulaGraph::Nodes nodes;
    for (const LabelledSystem& system : systems) {
      limits_.look();
      nodes.push_back(system.interpolant(lemmas, graph_));
    }
    return nodes;
  }

  const Term_* simplified(FormulaGraph::Node node) {
    const Term_* const term = graph_.term(graph_.simplified(node));
    const std::size_t size = dag_size(term);
    if (size > SMALL_FORMULA) return term;
    const Term_* const smaller = simplify(terms_, term);
    return dag_size(smaller) <= size ? smaller : term;
  }

  Terms& terms_;
  Limits& limits_;
  const ClauseRefutation& refutation_;
  const FormulaTask& task_;
  FormulaGraph graph_;
};

std::vector<Strength> strengths_to_try(Strength strength, bool is_sequence) {
  if (strength != Strength::AUTO) return {strength};
  if (!is_sequence) return {Strength::STRONG, Strength::MIDDLE};
  return {Strength::STRONG, Strength::MIDDLE, Strength::WEAK};
}

}  // namespace

FormulaInterpolation::FormulaInterpolation(Terms& terms, Mapper& mapper, Limits& limits)
    : terms_(terms),
      mapper_(mapper),
      limits_(limits),
      solver_(mapper, limits),
      lemmas_(terms, solver_, mapper, limits) {}

FormulaInterpolation::~FormulaInterpolation() = default;

Interpolants FormulaInterpolation::interpolants(const ClauseRefutation& refutation,
                                                const FormulaTask& task) {
  assert(task.formulas.size() == task.group_of.size());
  const bool is_sequence = Grouping(task.first).is_sequence();
  if (!is_sequence && task.mode == Mode::DUAL)
    throw UnfitStyle(
        "dual mode is for sequences: in a tree the interpolants of siblings would not "
        "imply their parent's");
  if (!is_sequence && task.strength == Strength::WEAK)
    throw UnfitStyle(
        "weak interpolants are for sequences: in a tree those of siblings would not imply "
        "their parent's");
  LemmaProofs proofs(terms_, mapper_, limits_, refutation);
  Reading reading(terms_, limits_, refutation, task);
  std::optional<NodeClauses> clauses;
  if (!task.raw) clauses.emplace(refutation.proof);
  const NodeClauses* const contracted = clauses ? &*clauses : nullptr;
  const auto lemmas_of = [&](const AtomPlaces& places, Mode mode) {
    return LemmaInterpolants(terms_, mapper_, lemmas_, proofs, places,
                             {mode, task.cuts, task.raw});
  };
  const AtomPlaces forwards = places_of(refutation, task, Order::FORWARDS);
  LemmaInterpolants forwards_lemmas = lemmas_of(forwards, task.mode);
  const auto read = [&](Strength strength) {
    if (strength != Strength::WEAK)
      return reading.interpolants(strength, forwards, contracted, forwards_lemmas);
    const AtomPlaces backwards = places_of(refutation, task, Order::BACKWARDS);
    LemmaInterpolants lemmas = lemmas_of(backwards, exchanged(task.mode));
    return reading.interpolants(strength, backwards, contracted, lemmas);
  };
  std::optional<Interpolants> best;
  std::vector<Interpolants::Candidate> candidates;
  double seconds = 0;
  for (const Strength strength : strengths_to_try(task.strength, is_sequence)) {
    Interpolants answer = read(strength);
    assert(has_shared_symbols_only(answer, forwards));
    candidates.push_back({answer.mode, answer.cuts, answer.size, strength});
    seconds += answer.engine_seconds;
    if (!best || answer.size < best->size) best = std::move(answer);
  }
  best->engine_seconds = seconds;
  best->candidates = std::move(candidates);
  return std::move(*best);
}

AtomPlaces FormulaInterpolation::places(const ClauseRefutation& refutation,
                                        const FormulaTask& task) {
  return places_of(refutation, task, Order::FORWARDS);
}

std::optional<std::string> FormulaInterpolation::fault(const ClauseRefutation& refutation,
                                                       const FormulaTask& task) {
  LemmaProofs proofs(terms_, mapper_, limits_, refutation);
  const auto prove = [&](const std::vector<const Term_*>& atoms) {
    return proofs.refuted(atoms);
  };
  if (auto what =
          checker::fault_of_refutation(refutation, task.formulas, terms_, mapper_, prove))
    return what;
  const AtomPlaces places = places_of(refutation, task, Order::FORWARDS);
  checker::VariablePlaces checked{task.first, {}, places.places()};
  for (std::uint32_t i = 0; i < task.formulas.size(); ++i)
    checked.of_assertion.push_back(places.group_of(i));
  if (auto what = checker::fault_of_places(refutation, task.formulas, checked)) return what;
  const LemmaInterpolants lemmas(terms_, mapper_, lemmas_, proofs, places, {});
  for (NodeIndex node = 0; node < refutation.proof.size(); ++node) {
    if (refutation.proof.kind(node) != resolution::NodeKind::LEMMA) continue;
    limits_.look();
    ProofChecker checker(mapper_, proofs.denials(node));
    if (auto what = lemmas_.fault(proofs.proof(node), lemmas.grouping(node), checker))
      return "the lemma in node " + std::to_string(node) + ": " + *what;
  }
  return std::nullopt;
}

}  // namespace opal::host
