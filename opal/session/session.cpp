// Assertions and checks of a session, and which road decides them.
//
// Assertions go to the conjunctive road as long as all of them are conjunctions; the first
// one that is not is the first one that the formula road is asked to understand. What both
// refuse is refused. A check takes the conjunctive road when all assertions and assumptions
// are conjunctions, else the formula road, which then keeps what it has learned.

#include "opal/session/session.h"

#include <cassert>
#include <chrono>
#include <utility>

#include "opal/session/session_impl.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

Session::Impl::Impl() { terms.set_limits(&limits); }

void Session::Impl::forget_answer() {
  last = LastAnswer();
  conjunctive.forget_answer();
}

void Session::Impl::push() {
  forget_answer();
  stack.push();
  bool is_pushed = false;  // on the conjunctive road
  try {
    conjunctive.push();
    is_pushed = true;
    if (formula.is_entered()) formula.push();
  } catch (...) {
    if (is_pushed) conjunctive.pop();
    stack.pop();
    throw;
  }
}

void Session::Impl::pop() {
  if (stack.levels().empty()) throw SessionError("there is no level to pop");
  forget_answer();
  conjunctive.pop();
  if (formula.is_entered()) formula.pop();
  stack.pop();
  assert(stack.is_normal() && conjunctive.size() <= stack.size());
  shrink_groups();
}

// The formula is the next one of the stack. When it throws, neither road has it.
void Session::Impl::add_to_roads(const Term_* formula_term) {
  const std::size_t position = stack.size();
  const bool is_conjunction =
      conjunctive.size() == position && conjunctive.add(formula_term);
  if (is_conjunction && !formula.is_entered()) return;
  try {
    formula.enter(stack);
    formula.add(formula_term, position);
  } catch (...) {
    if (is_conjunction) conjunctive.shrink(position);
    // The answer of the road that was asked is gone.
    if (is_conjunction || last.road == Road::FORMULA) forget_answer();
    throw;
  }
}

void Session::Impl::assert_formula(const Term_* formula_term, const std::string& name) {
  if (!name.empty() && stack.find(name)) {
    throw SessionError("an assertion is already named " + symbol_text(name));
  }
  add_to_roads(formula_term);
  forget_answer();
  try {
    stack.add(formula_term, name);
  } catch (...) {
    conjunctive.shrink(stack.size());
    formula.leave();  // it is entered again when it is needed
    throw;
  }
}

void Session::Impl::reset_assertions() {
  forget_answer();
  conjunctive.clear();
  formula.leave();
  stack.clear();
  shrink_groups();
}

std::optional<std::vector<Conjunction>> Session::Impl::conjunctions(
    const std::vector<const Term_*>& assumptions) {
  if (!conjunctive.catch_up(stack)) return std::nullopt;
  std::vector<Conjunction> result;
  for (const Term_* assumption : assumptions) {
    auto part = conjunctive.take_apart(assumption);
    if (!part) return std::nullopt;
    result.push_back(std::move(*part));
  }
  return result;
}

void Session::Impl::decide(const std::vector<const Term_*>& assumptions) {
  limits.look();
  last.assumptions = assumptions;
  if (auto parts = conjunctions(assumptions))
    decide_conjunction(std::move(*parts));
  else
    decide_formulas();
  assert(last.verdict);
}

void Session::Impl::decide_conjunction(std::vector<Conjunction> assumptions) {
  last.road = Road::CONJUNCTIVE;
  switch (conjunctive.check(std::move(assumptions))) {
    case la::Solver::Verdict::SAT:
      take_model(
          [&](const Term_* v) { return conjunctive.solver().value(mapper.variable(v)); });
      break;
    case la::Solver::Verdict::UNSAT: last.verdict = Verdict::UNSAT; break;
    case la::Solver::Verdict::UNKNOWN:
      last.verdict = Verdict::UNKNOWN;
      last.reason_unknown = "incomplete";
      break;
  }
}

void Session::Impl::decide_formulas() {
  last.road = Road::FORMULA;
  formula.enter(stack);
  switch (formula.check(last.assumptions, stack.size())) {
    case smt::FormulaSolver::Verdict::SAT:
      take_model([&](const Term_* v) { return formula.solver().value(v); });
      break;
    case smt::FormulaSolver::Verdict::UNSAT: last.verdict = Verdict::UNSAT; break;
    case smt::FormulaSolver::Verdict::UNKNOWN:
      last.verdict = Verdict::UNKNOWN;
      last.reason_unknown = formula.solver().reason_unknown();
      break;
  }
}

// A model is evaluated before it is believed. One that violates an assertion would be a
// fault of ours; then the answer is that we do not know.
template <typename ValueOf>
void Session::Impl::take_model(const ValueOf& value_of) {
  for (const Term_* v : variables_of(formulas())) {
    limits.poll();
    last.model.emplace(v, value_of(v));
  }
  for (const Term_* assertion : formulas()) {
    limits.look();
    const bool is_satisfied = holds(assertion, last.model);
    assert(is_satisfied);
    if (is_satisfied) continue;
    last.model.clear();
    last.verdict = Verdict::UNKNOWN;
    last.reason_unknown = "the model violates " + term_text(assertion, 200);
    return;
  }
  last.verdict = Verdict::SAT;
}

Session::Session() : impl_(std::make_unique<Impl>()) {}
Session::~Session() = default;

Terms& Session::terms() { return impl_->terms; }
Limits& Session::limits() { return impl_->limits; }

void Session::set_method(la::Solver::Method method) {
  impl_->conjunctive.solver().set_method(method);
}

void Session::push() { impl_->push(); }
void Session::pop() { impl_->pop(); }
std::size_t Session::levels() const { return impl_->stack.levels().size(); }
void Session::reset_assertions() { impl_->reset_assertions(); }

void Session::assert_formula(const Term_* formula, const std::string& name) {
  impl_->assert_formula(formula, name);
}

const std::vector<Session::Assertion>& Session::assertions() const {
  return impl_->stack.assertions();
}

Session::Verdict Session::check(const std::vector<const Term_*>& assumptions) {
  impl_->forget_answer();
  const auto start = std::chrono::steady_clock::now();
  try {
    impl_->decide(assumptions);
  } catch (const LimitReached& limit) {
    impl_->forget_answer();
    impl_->last.verdict = Verdict::UNKNOWN;
    impl_->last.reason_unknown = limit.what();
  } catch (...) {
    impl_->forget_answer();
    throw;
  }
  impl_->totals.solve_seconds +=
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return *impl_->last.verdict;
}

}  // namespace opal::host
