#include <cassert>
#include <chrono>
#include <utility>

#include "opal/session/session_impl.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

// One level of the solver, taken back at the end of the scope.
class LevelScope {
 public:
  explicit LevelScope(la::Solver& solver) : solver_(solver) { solver_.push(); }
  LevelScope(const LevelScope&) = delete;
  LevelScope& operator=(const LevelScope&) = delete;
  ~LevelScope() { solver_.pop(); }

 private:
  la::Solver& solver_;
};

}  // namespace

// The solver keeps a level of its own below the assertions', which reset_assertions()
// takes back.
Session::Impl::Impl() {
  terms.set_limits(&limits);
  solver.push();
}

// The atoms of a formula, then those that define its floor terms. Afterwards the mapper
// knows them, so that asserting them cannot fail. The linear forms of nested floors can be
// quadratic in the formula: limits hold here as well.
Conjunction Session::Impl::take_apart(const Term_* formula) {
  Conjunction result{formula, conjuncts(terms, formula)};
  std::vector<const Term_*> definitions;
  for (const Term_* atom : result.atoms) {
    const auto more = floor_definitions(terms, atom);
    definitions.insert(definitions.end(), more.begin(), more.end());
  }
  if (!definitions.empty()) {
    std::unordered_set<const Term_*> listed(result.atoms.begin(), result.atoms.end());
    for (const Term_* atom : definitions) {
      if (listed.insert(atom).second) result.atoms.push_back(atom);
    }
  }
  for (const Term_* atom : result.atoms) {
    if (!definitions.empty()) limits.look();
    mapper.constraint(atom);
  }
  return result;
}

void Session::Impl::assert_atoms(const Conjunction& conjunction) {
  std::vector<int> ids;
  ids.reserve(conjunction.atoms.size());
  for (const Term_* atom : conjunction.atoms)
    ids.push_back(mapper.constraint(atom));
  solver.assert_constraints(ids);
}

void Session::Impl::forget_answer() {
  verdict.reset();
  reason_unknown.clear();
  assumptions.clear();
  model.clear();
  exported.reset();
  proof = proof::ProofRef();
}

void Session::Impl::assert_formula(const Term_* formula, const std::string& name) {
  if (!name.empty() && stack.find(name)) {
    throw SessionError("an assertion is already named " + symbol_text(name));
  }
  Conjunction conjunction = take_apart(formula);
  forget_answer();
  const std::size_t before = stack.parts().size();
  stack.add(conjunction, name);
  try {
    assert_atoms(conjunction);
  } catch (...) {
    stack.shrink(before);
    throw;
  }
}

void Session::Impl::reset_assertions() {
  forget_answer();
  for (std::size_t i = 0; i <= stack.levels(); ++i)
    solver.pop();
  stack.clear();
  shrink_groups();
  solver.push();
}

std::vector<const Term_*> Session::Impl::formulas() const {
  std::vector<const Term_*> result;
  for (const Conjunction& part : stack.parts())
    result.push_back(part.formula);
  for (const Conjunction& part : assumptions)
    result.push_back(part.formula);
  return result;
}

void Session::Impl::decide(const std::vector<const Term_*>& assumed) {
  limits.look();
  std::optional<LevelScope> level;
  if (!assumed.empty()) level.emplace(solver);
  for (const Term_* formula : assumed) {
    assumptions.push_back(take_apart(formula));
    assert_atoms(assumptions.back());
  }
  switch (solver.check()) {
    case la::Solver::Verdict::SAT:
      take_model();
      check_model();
      verdict = Verdict::SAT;
      break;
    case la::Solver::Verdict::UNSAT:
      proof = solver.refutation();
      assert(proof);
      verdict = Verdict::UNSAT;
      break;
    case la::Solver::Verdict::UNKNOWN:
      verdict = Verdict::UNKNOWN;
      reason_unknown = "incomplete";
      break;
  }
}

void Session::Impl::take_model() {
  for (const Term_* v : variables_of(formulas())) {
    limits.poll();
    model.emplace(v, solver.value(mapper.variable(v)));
  }
}

void Session::Impl::check_model() {
  for (const Term_* formula : formulas()) {
    limits.look();
    if (holds(formula, model)) continue;
    throw std::logic_error("the model violates " + term_text(formula, 200));
  }
}

Session::Session() : impl_(std::make_unique<Impl>()) {}
Session::~Session() = default;

Terms& Session::terms() { return impl_->terms; }
Limits& Session::limits() { return impl_->limits; }

void Session::set_method(la::Solver::Method method) { impl_->solver.set_method(method); }

void Session::push() {
  impl_->forget_answer();
  impl_->stack.push();
  try {
    impl_->solver.push();
  } catch (...) {
    impl_->stack.pop();
    throw;
  }
}

void Session::pop() {
  if (impl_->stack.levels() == 0) throw SessionError("there is no level to pop");
  impl_->forget_answer();
  impl_->solver.pop();
  impl_->stack.pop();
  impl_->shrink_groups();
}

std::size_t Session::levels() const { return impl_->stack.levels(); }

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
    impl_->verdict = Verdict::UNKNOWN;
    impl_->reason_unknown = limit.what();
  } catch (...) {
    impl_->forget_answer();
    throw;
  }
  impl_->solve_seconds +=
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return *impl_->verdict;
}

}  // namespace opal::host
