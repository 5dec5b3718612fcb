// The road of a problem with disjunctions, Boolean variables or choices of numbers.

#include "opal/session/formula_road.h"

#include <cassert>
#include <cstdint>
#include <utility>

#include "opal/explain/clause_export.h"
#include "opal/interpolate/labelled/lemma_interpolants.h"

namespace opal::host {

namespace {

FormulaTask task_of(const ResolvedQuery& resolved, const InterpolationQuery& query) {
  FormulaTask task;
  task.first = resolved.first;
  task.group_of = resolved.places;
  task.formulas = resolved.formulas;
  task.mode = query.mode;
  task.cuts = query.cuts;
  task.strength = query.strength;
  task.raw = query.raw;
  return task;
}

}  // namespace

FormulaRoad::FormulaRoad(Terms& terms, Mapper& mapper, Limits& limits)
    : terms_(terms),
      mapper_(mapper),
      limits_(limits),
      interpolation_(terms, mapper, limits) {}

void FormulaRoad::enter(const AssertionStack& stack) {
  if (is_entered()) return;
  auto solver = std::make_unique<smt::FormulaSolver>(terms_, mapper_, limits_);
  const auto& levels = stack.levels();
  std::size_t level = 0;
  for (std::size_t i = 0; i <= stack.size(); ++i) {
    for (; level < levels.size() && levels[level] == i; ++level)
      solver->push();
    if (i == stack.size()) break;
    solver->assert_formula(stack.assertions()[i].formula, static_cast<std::uint32_t>(i));
  }
  assert(level == levels.size());
  solver_ = std::move(solver);
}

void FormulaRoad::push() {
  assert(is_entered());
  solver_->push();
}

void FormulaRoad::pop() {
  assert(is_entered());
  solver_->pop();
}

void FormulaRoad::add(const Term_* formula, std::size_t position) {
  assert(is_entered());
  solver_->assert_formula(formula, static_cast<std::uint32_t>(position));
}

smt::FormulaSolver::Verdict FormulaRoad::check(const std::vector<const Term_*>& assumptions,
                                               std::size_t asserted) {
  assert(is_entered());
  return solver_->check(assumptions, static_cast<std::uint32_t>(asserted));
}

std::vector<std::size_t> FormulaRoad::core(const std::vector<const Term_*>& formulas) {
  assert(is_entered());
  std::vector<smt::NumberedFormula> used;
  for (const std::uint32_t number : solver_->core()) {
    assert(number < formulas.size());
    used.push_back({formulas[number], number});
  }
  const std::vector<std::uint32_t> core =
      smt::minimised_core(terms_, mapper_, limits_, used);
  return {core.begin(), core.end()};
}

Interpolants FormulaRoad::interpolants(const ResolvedQuery& resolved,
                                       const InterpolationQuery& query) {
  assert(is_entered());
  return interpolation_.interpolants(solver_->refutation(), task_of(resolved, query));
}

AtomPlaces FormulaRoad::places(const ResolvedQuery& resolved) {
  assert(is_entered());
  return FormulaInterpolation::places(refutation(), task_of(resolved, {}));
}

const ExternalProof* FormulaRoad::exported(ExternalProofs& nodes) {
  assert(is_entered());
  const resolution::ClauseRefutation& refutation = solver_->refutation();
  LemmaProofs proofs(terms_, mapper_, limits_, refutation);
  return host::exported(nodes, refutation, terms_, mapper_,
                        [&](resolution::NodeIndex lemma) { return proofs.proof(lemma); });
}

std::optional<std::string> FormulaRoad::fault(const ResolvedQuery& query) {
  assert(is_entered());
  return interpolation_.fault(solver_->refutation(), task_of(query, {}));
}

}  // namespace opal::host
