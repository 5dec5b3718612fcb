#include "opal/smt/formula_solver.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <optional>
#include <utility>

#include "opal/proofs/resolution/reduction.h"
#include "opal/smt/guarded_solver.h"

namespace opal::smt {

using host::Sort;
using host::Terms;
using resolution::ClauseProof;
using resolution::ClauseRefutation;
using resolution::NodeIndex;
using resolution::NodeKind;
using sat::Literal;
using sat::Tag;
using sat::Variable;

class FormulaSolver::Impl {
 public:
  Impl(Terms& t, host::Mapper& m, host::Limits& l, sat::Recording r)
      : terms(t), mapper(m), limits(l), recording(r) {
    restart();
  }

  // A level: the assertions behind the first ones, and what they hold under.
  struct Level {
    Literal guard;  // made for its first assertion
    std::size_t assertions = 0;
    std::size_t definitions = 0;
  };
  // What an assumption is for the search: the guard of its clauses, or itself.
  struct Assumption {
    Literal literal;
    Tag number = 0;
  };

  void restart();
  void repair();
  void end_check();
  void add(const NumberedFormula& assertion);
  void assume(const Term_* formula, Tag number);
  [[nodiscard]] std::vector<Literal> assumed() const;
  [[nodiscard]] ClauseProof proof() const;
  [[nodiscard]] ClauseProof without_guards(const ClauseProof& raw) const;
  void resolve_assumptions(ClauseProof& proof, const std::vector<Literal>& clause) const;
  [[nodiscard]] ClauseRefutation refutation(double seconds) const;

  Terms& terms;
  host::Mapper& mapper;
  host::Limits& limits;
  const sat::Recording recording;
  std::unique_ptr<GuardedSolver> solver;  // null or broken: to be made from the assertions
  std::vector<NumberedFormula> assertions;
  std::vector<Level> levels{Level()};   // level 0 has no guard
  std::vector<Assumption> assumptions;  // of the last check
  std::string reason_unknown;
  std::optional<ClauseRefutation> refuted;  // after refutation() of the last check
};

void FormulaSolver::Impl::restart() {
  solver = std::make_unique<GuardedSolver>(terms, mapper, limits, recording);
}

// Makes everything anew when memory ran out in the middle of an assertion.
void FormulaSolver::Impl::repair() {
  if (solver != nullptr && !solver->is_broken()) return;
  solver.reset();
  assumptions.clear();
  auto made = std::make_unique<GuardedSolver>(terms, mapper, limits, recording);
  for (std::size_t i = 0; i < levels.size(); ++i) {
    const std::size_t end =
        i + 1 < levels.size() ? levels[i + 1].assertions : assertions.size();
    Level& level = levels[i];
    level.definitions = made->clausifier().definitions().size();
    level.guard = Literal();
    if (i > 0 && level.assertions < end) level.guard = made->make_guard();
    for (std::size_t k = level.assertions; k < end; ++k)
      made->add(assertions[k].formula, assertions[k].number, level.guard);
  }
  solver = std::move(made);
}

// Forgets the last check: its assumptions and its refutation.
void FormulaSolver::Impl::end_check() {
  repair();
  refuted.reset();
  while (!assumptions.empty()) {
    const Literal literal = assumptions.back().literal;
    if (solver->is_guard(literal.variable()))
      solver->release(literal, solver->clausifier().definitions().size());
    assumptions.pop_back();
  }
}

void FormulaSolver::Impl::add(const NumberedFormula& assertion) {
  assertions.push_back(assertion);
  try {
    Level& level = levels.back();
    if (levels.size() > 1 && !level.guard.is_valid()) level.guard = solver->make_guard();
    solver->add(assertion.formula, assertion.number, level.guard);
  } catch (...) {
    assertions.pop_back();
    throw;
  }
}

void FormulaSolver::Impl::assume(const Term_* formula, Tag number) {
  assumptions.reserve(assumptions.size() + 1);
  Literal literal = solver->clausifier().literal(formula);
  if (!literal.is_valid()) {
    literal = solver->make_guard();
    assumptions.push_back({literal, number});
    solver->add(formula, number, literal);
  } else {
    assumptions.push_back({literal, number});
  }
}

std::vector<Literal> FormulaSolver::Impl::assumed() const {
  std::vector<Literal> result;
  for (const Level& level : levels)
    if (level.guard.is_valid()) result.push_back(level.guard);
  for (const Assumption& assumption : assumptions)
    result.push_back(assumption.literal);
  return result;
}

FormulaSolver::FormulaSolver(Terms& terms, host::Mapper& mapper, host::Limits& limits,
                             sat::Recording recording)
    : impl_(std::make_unique<Impl>(terms, mapper, limits, recording)) {}

FormulaSolver::~FormulaSolver() = default;

void FormulaSolver::push() {
  impl_->end_check();
  impl_->levels.push_back({Literal(), impl_->assertions.size(),
                           impl_->solver->clausifier().definitions().size()});
}

void FormulaSolver::pop() {
  assert(impl_->levels.size() > 1);
  impl_->end_check();
  const Impl::Level level = impl_->levels.back();
  impl_->levels.pop_back();
  impl_->assertions.resize(level.assertions);
  if (!level.guard.is_valid()) return;
  try {
    impl_->solver->release(level.guard, level.definitions);
    impl_->solver->search().remove_lemmas();
  } catch (const std::bad_alloc&) {
    impl_->solver.reset();  // the next operation makes it anew without the level
  }
}

void FormulaSolver::assert_formula(const Term_* formula, std::uint32_t assertion) {
  impl_->end_check();
  impl_->add({formula, assertion});
}

FormulaSolver::Verdict FormulaSolver::check(const std::vector<const Term_*>& assumptions,
                                            std::uint32_t first_assumption) {
  impl_->end_check();
  try {
    for (std::size_t i = 0; i < assumptions.size(); ++i)
      impl_->assume(assumptions[i], first_assumption + static_cast<std::uint32_t>(i));
    const sat::Answer answer = impl_->solver->search().solve(impl_->assumed());
    if (answer == sat::Answer::SATISFIABLE) return Verdict::SAT;
    if (answer == sat::Answer::UNSATISFIABLE) return Verdict::UNSAT;
    impl_->reason_unknown = impl_->solver->search().reason_unknown();
  } catch (const host::LimitReached& limit) {
    impl_->reason_unknown = limit.what();
  } catch (...) {
    impl_->end_check();
    throw;
  }
  return Verdict::UNKNOWN;
}

const std::string& FormulaSolver::reason_unknown() const { return impl_->reason_unknown; }

QNumber FormulaSolver::value(const Term_* variable) const {
  if (Terms::sort_of(variable) != Sort::BOOL) {
    const int number = impl_->mapper.term_var(variable, false);
    return number == 0 ? QNumber() : impl_->solver->theory().value(number);
  }
  const Literal literal = impl_->solver->atoms().known_literal(variable);
  const bool truth =
      literal.is_valid() && impl_->solver->search().value(literal) == sat::Value::TRUE;
  return QNumber(truth ? 1 : 0);
}

// The proof of the empty clause: what the search proves from clauses of levels and
// assumptions is the clause of the negations of those that failed.
ClauseProof FormulaSolver::Impl::proof() const {
  const sat::Search& search = solver->search();
  ClauseProof result;
  std::vector<Literal> clause;
  if (search.final_clause() != sat::NO_CLAUSE) {
    const ClauseProof raw = search.proof();
    clause = resolution::conclusion(raw);
    result = without_guards(raw);
  } else {  // an assumption and its negation
    for (const Literal literal : search.failed_assumptions())
      clause.push_back(~literal);
    assert(clause.size() == 2 && clause[0] == ~clause[1]);
    const Assumption& first = *std::find_if(
        assumptions.begin(), assumptions.end(),
        [&](const Assumption& assumption) { return assumption.literal == clause[0]; });
    result.add_leaf(NodeKind::INPUT, std::vector<Literal>{clause[0]}, first.number);
    clause.erase(clause.begin() + 1);
  }
  resolve_assumptions(result, clause);
  return result;
}

// The same proof with literals of guards taken out of the leaves.
ClauseProof FormulaSolver::Impl::without_guards(const ClauseProof& raw) const {
  ClauseProof result;
  std::vector<Literal> clause;
  for (NodeIndex node = 0; node < raw.size(); ++node) {
    if (raw.kind(node) == NodeKind::CHAIN) {
      result.begin_chain(raw.first(node));
      for (const resolution::Step& step : raw.steps(node)) {
        assert(!solver->is_guard(step.pivot.variable()));
        result.add_step(step.pivot, step.antecedent);
      }
      continue;
    }
    clause.clear();
    for (const Literal literal : raw.literals(node))
      if (!solver->is_guard(literal.variable())) clause.push_back(literal);
    result.add_leaf(raw.kind(node), clause, raw.tag(node));
  }
  return result;
}

// Resolves the literals of the proved clause with the assumptions that they deny.
void FormulaSolver::Impl::resolve_assumptions(ClauseProof& proof,
                                              const std::vector<Literal>& clause) const {
  const NodeIndex proved = proof.root();
  std::vector<resolution::Step> steps;
  for (const Literal literal : clause) {
    if (solver->is_guard(literal.variable())) continue;
    const auto found = std::find_if(
        assumptions.begin(), assumptions.end(),
        [&](const Assumption& assumption) { return assumption.literal == ~literal; });
    assert(found != assumptions.end());
    steps.push_back(
        {~literal,
         proof.add_leaf(NodeKind::INPUT, std::vector<Literal>{~literal}, found->number)});
  }
  if (steps.empty()) return;
  proof.begin_chain(proved);
  for (const resolution::Step& step : steps)
    proof.add_step(step.pivot, step.antecedent);
}

ClauseRefutation FormulaSolver::Impl::refutation(double seconds) const {
  ClauseRefutation result;
  result.proof = resolution::reduced(proof(), seconds, &limits);
  result.meanings.resize(result.proof.variable_end());
  for (NodeIndex node = 0; node < result.proof.size(); ++node) {
    if (result.proof.kind(node) == NodeKind::CHAIN) continue;
    for (const Literal literal : result.proof.literals(node)) {
      resolution::Meaning& meaning = result.meanings[literal.variable()];
      if (meaning.kind == resolution::Meaning::Kind::NONE)
        meaning = solver->meaning(literal.variable());
      assert(meaning.kind != resolution::Meaning::Kind::NONE);
    }
  }
  result.definitions = solver->clausifier().definitions();
  return result;
}

const ClauseRefutation& FormulaSolver::refutation(double seconds) {
  assert(impl_->recording == sat::Recording::ON);
  if (!impl_->refuted) impl_->refuted = impl_->refutation(seconds);
  return *impl_->refuted;
}

std::vector<std::uint32_t> FormulaSolver::core() {
  const ClauseProof& proof = refutation().proof;
  std::vector<std::uint32_t> result;
  for (NodeIndex node = 0; node < proof.size(); ++node)
    if (proof.kind(node) == NodeKind::INPUT) result.push_back(proof.tag(node));
  std::sort(result.begin(), result.end());
  result.erase(std::unique(result.begin(), result.end()), result.end());
  return result;
}

FormulaSolver::Statistics FormulaSolver::statistics() const {
  Statistics result;
  if (impl_->solver == nullptr) return result;
  const sat::Search& search = impl_->solver->search();
  result.search = search.statistics();
  result.clauses = search.clause_count();
  result.variables = search.variable_count();
  result.atoms = impl_->solver->atoms().arithmetic_count();
  result.proof_bytes = search.proof_bytes();
  return result;
}

}  // namespace opal::smt
