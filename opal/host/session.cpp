#include "opal/host/session.h"

#include <sys/resource.h>

#include <cassert>
#include <chrono>
#include <ostream>
#include <sstream>
#include <unordered_set>
#include <utility>

#include "opal/host/assertion_stack.h"
#include "opal/host/check_files.h"
#include "opal/host/derived_constraints.h"
#include "opal/host/equality_proof.h"
#include "opal/host/explanation.h"
#include "opal/host/farkas.h"
#include "opal/host/integer_steps.h"
#include "opal/host/mapper.h"
#include "opal/host/partial_interpolants.h"
#include "opal/host/partition.h"
#include "opal/host/printer.h"
#include "opal/host/proof_checker.h"
#include "opal/host/proof_drawing.h"
#include "opal/host/proof_dump.h"
#include "opal/host/shared_term.h"
#include "opal/host/trimming.h"
#include "opal/host/verification.h"

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

// Peak of the memory that the process held.
double peak_megabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

std::string formulas_text(const std::vector<const Term_*>& formulas) {
  constexpr std::size_t LONGEST = 2000;
  std::string text;
  for (const Term_* f : formulas) {
    text += "\n  " + term_text(f, 200);
    if (text.size() > LONGEST) return text + "\n  ...";
  }
  return text;
}

}  // namespace

class Session::Impl {
 public:
  // The solver keeps a level of its own below the assertions', which
  // reset_assertions() takes back.
  Impl() {
    terms.set_limits(&limits);
    solver.push();
  }

  Conjunction take_apart(const Term_* formula);
  void assert_atoms(const Conjunction& conjunction);
  void assert_formula(const Term_* formula, const std::string& name);
  void reset_assertions();
  void forget_answer();

  void decide(const std::vector<const Term_*>& assumptions);
  void take_model();
  void check_model() const;
  [[nodiscard]] std::vector<const Term_*> formulas() const;
  [[nodiscard]] std::vector<const Term_*> atoms() const;
  void need(Verdict wanted) const;

  void check_symbols(const InterpolationAnswer& answer) const;
  VerificationReport check_steps(const std::vector<std::vector<const Term_*>>& steps,
                                 const std::string& commands);
  [[nodiscard]] ResolvedQuery resolved(const SharedTermQuery& query) const;
  [[nodiscard]] ResolvedQuery resolved(const InterpolationQuery& query,
                                       const Interpolants& answer) const;
  Interpolants interpolants(ResolvedQuery& resolved, const InterpolationQuery& query);

  Terms terms;
  Limits limits;
  Mapper mapper{terms, limits};
  la::Solver solver{mapper, limits};
  Interpolation interpolation{terms, solver, mapper, limits};
  AssertionStack stack;

  // The last answer.
  std::optional<Verdict> verdict;
  std::string reason_unknown;
  std::vector<Conjunction> assumptions;
  Model model;            // after SAT
  proof::ProofRef proof;  // after UNSAT
  struct Export {
    ExternalProofs nodes;
    const ExternalProof* root = nullptr;
  };
  std::unique_ptr<Export> exported;  // once asked for

  // Totals since construction.
  double solve_seconds = 0;
  double engine_seconds = 0;
  double raw_size = 0;
  double size = 0;
  double shared_terms = 0;
  double completed_halves = 0;
};

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
  for (const Term_* atom : conjunction.atoms) {
    solver.assert_constraint(mapper.constraint(atom));
  }
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
  assert_atoms(conjunction);
  stack.add(std::move(conjunction), name);
}

void Session::Impl::reset_assertions() {
  forget_answer();
  for (std::size_t i = 0; i <= stack.levels(); ++i)
    solver.pop();
  stack.clear();
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

std::vector<const Term_*> Session::Impl::atoms() const {
  std::vector<const Term_*> result;
  const auto append = [&](const std::vector<Conjunction>& parts) {
    for (const Conjunction& part : parts) {
      result.insert(result.end(), part.atoms.begin(), part.atoms.end());
    }
  };
  append(stack.parts());
  append(assumptions);
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
  for (const Term_* v : variables_of(formulas()))
    model.emplace(v, solver.value(mapper.variable(v)));
}

void Session::Impl::check_model() const {
  for (const Term_* formula : formulas()) {
    if (holds(formula, model)) continue;
    throw std::logic_error("the model violates " + term_text(formula, 200));
  }
}

void Session::Impl::need(Verdict wanted) const {
  if (verdict == wanted) return;
  throw SessionError(wanted == Verdict::SAT
                         ? "there is no model: the last check did not answer sat"
                         : "there is no refutation: the last check did not answer unsat");
}

void Session::Impl::check_symbols(const InterpolationAnswer& answer) const {
  const auto foreign = foreign_symbols(answer);
  for (std::size_t g = 0; g < foreign.size(); ++g) {
    if (foreign[g].empty()) continue;
    throw SessionError("interpolant " + std::to_string(g + 1) + " has " +
                       term_text(foreign[g].front()) +
                       ", which is not shared: " + term_text(answer.interpolants[g]));
  }
}

VerificationReport Session::Impl::check_steps(
    const std::vector<std::vector<const Term_*>>& steps, const std::string& commands) {
  const auto [answers, handed_on] = ask_outside_solvers(commands, steps, limits);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (answers[i] == "unsat") continue;
    const std::string step =
        "step " + std::to_string(i + 1) + " of " + std::to_string(steps.size());
    const std::string what =
        answers[i] == "sat"
            ? step + " is wrong, its formulas are satisfiable:"
            : step + " is undecided, the outside solver answered '" + answers[i] + "' to:";
    throw SessionError(what + formulas_text(steps[i]));
  }
  return {steps.size(), handed_on};
}

Interpolants Session::Impl::interpolants(ResolvedQuery& resolved,
                                         const InterpolationQuery& query) {
  try {
    return interpolation.interpolants(
        proof.get(),
        {resolved.grouping, std::move(resolved.atoms), query.mode, query.cuts, query.raw});
  } catch (const UnfitStyle& unfit) {
    throw SessionError(unfit.what());
  }
}

Session::Session() : impl_(std::make_unique<Impl>()) {}
Session::~Session() = default;

Terms& Session::terms() { return impl_->terms; }
Limits& Session::limits() { return impl_->limits; }

void Session::set_method(la::Solver::Method method) { impl_->solver.set_method(method); }

void Session::push() {
  impl_->forget_answer();
  impl_->solver.push();
  impl_->stack.push();
}

void Session::pop() {
  if (impl_->stack.levels() == 0) throw SessionError("there is no level to pop");
  impl_->forget_answer();
  impl_->solver.pop();
  impl_->stack.pop();
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

std::optional<Session::Verdict> Session::last_verdict() const { return impl_->verdict; }

const std::string& Session::reason_unknown() const { return impl_->reason_unknown; }

const Model& Session::model() const {
  impl_->need(Verdict::SAT);
  return impl_->model;
}

proof::Proof* Session::refutation() const {
  impl_->need(Verdict::UNSAT);
  return impl_->proof.get();
}

// An interpolator of its own makes it, so that exports and interpolation requests do not
// see each other's traces.
const ExternalProof& Session::external_proof() {
  impl_->need(Verdict::UNSAT);
  if (impl_->exported == nullptr) {
    auto made = std::make_unique<Impl::Export>();
    la::Interpolator exporter(&impl_->terms, &impl_->solver, &impl_->mapper,
                              la::Interpolator::MODE_SUM, false);
    made->root = exporter.get_external_proof(&made->nodes, impl_->proof.get());
    if (made->root == nullptr)
      throw SessionError("the refutation has a node that has no external form");
    impl_->exported = std::move(made);
  }
  return *impl_->exported->root;
}

namespace {

using Atoms = std::unordered_set<const Term_*>;

Atoms used_atoms(const proof::Proof& proof, const Mapper& mapper) {
  Atoms atoms;
  for (const int id : proof_constraints(proof))
    if (!mapper.is_branch(id)) atoms.insert(mapper.constraint_atom(id));
  return atoms;
}

// Takes a conjunction's atoms from the open ones; whether there were any.
bool takes_any(const Conjunction& part, Atoms& open) {
  bool any = false;
  for (const Term_* atom : part.atoms)
    any = open.erase(atom) > 0 || any;
  return any;
}

// Takes from the open atoms what assertions without a name (or, with `named`, those with
// one) provide; the positions of those that provide any.
std::vector<std::size_t> providers(const AssertionStack& stack, bool named, Atoms& open) {
  std::vector<std::size_t> result;
  for (std::size_t i = 0; i < stack.parts().size(); ++i) {
    const bool has_name = !stack.assertions()[i].name.empty();
    if (has_name == named && takes_any(stack.parts()[i], open)) result.push_back(i);
  }
  return result;
}

}  // namespace

// An assertion is named only for what no unnamed one and no earlier one provides.
std::vector<std::string> Session::unsat_core() const {
  impl_->need(Verdict::UNSAT);
  Atoms open = used_atoms(*impl_->proof, impl_->mapper);
  providers(impl_->stack, false, open);
  for (const Conjunction& part : impl_->assumptions)
    takes_any(part, open);
  std::vector<std::string> names;
  for (const std::size_t i : providers(impl_->stack, true, open)) {
    names.push_back(impl_->stack.assertions()[i].name);
  }
  return names;
}

std::vector<const Term_*> Session::unsat_assumptions() const {
  impl_->need(Verdict::UNSAT);
  Atoms open = used_atoms(*impl_->proof, impl_->mapper);
  providers(impl_->stack, false, open);
  providers(impl_->stack, true, open);
  std::vector<const Term_*> result;
  for (const Conjunction& part : impl_->assumptions) {
    if (takes_any(part, open)) result.push_back(part.formula);
  }
  return result;
}

Interpolants Session::interpolants(const InterpolationQuery& query) {
  impl_->need(Verdict::UNSAT);
  ResolvedQuery resolved = resolve(impl_->stack, impl_->assumptions, query);
  Interpolants answer = impl_->interpolants(resolved, query);
  impl_->engine_seconds += answer.engine_seconds;
  impl_->raw_size += static_cast<double>(answer.raw_size);
  impl_->size += static_cast<double>(answer.size);
  return answer;
}

std::size_t Session::count_unmentioned(const InterpolationQuery& query) const {
  std::size_t count = impl_->assumptions.size();
  for (const bool is_mentioned : mentioned(impl_->stack, query)) {
    if (!is_mentioned) ++count;
  }
  return count;
}

void Session::check_proof() {
  impl_->need(Verdict::UNSAT);
  const auto fault = ProofChecker(impl_->mapper, impl_->atoms()).check(impl_->proof.get());
  if (fault) throw SessionError("the refutation is wrong: " + *fault);
}

VerificationReport Session::verify(const InterpolationQuery& query,
                                   const Interpolants& answer,
                                   const std::string& outside_solvers) {
  ResolvedQuery resolved = impl_->resolved(query, answer);
  ProofChecker checker(impl_->mapper, impl_->atoms());
  if (const auto fault =
          impl_->interpolation.fault(impl_->proof.get(), resolved.grouping, checker))
    throw SessionError("the refutation is wrong: " + *fault);
  const InterpolationAnswer full{resolved.grouping.get(), std::move(resolved.groups),
                                 std::move(resolved.background), answer.terms};
  impl_->check_symbols(full);
  return impl_->check_steps(verification_steps(impl_->terms, full), outside_solvers);
}

void Session::draw_proof(std::ostream& out) {
  const ExternalProof& root = external_proof();
  ProofNotes notes;
  const auto steps = proof_steps(refutation());
  if (steps.size() <= PartialInterpolants::MOST_STEPS)
    notes.derived = derived_constraints(impl_->terms, impl_->solver, impl_->mapper, steps,
                                        impl_->exported->nodes);
  host::draw_proof(out, root, notes);
}

namespace {

// The names of the groups inside (or outside) of a group's sub-tree.
std::string names_text(const InterpolationQuery& query, std::size_t root, bool inside) {
  std::string text;
  for (std::size_t g = 0; g < query.groups.size(); ++g) {
    if ((query.first[root] <= g && g <= root) != inside) continue;
    for (const std::string& name : query.groups[g])
      text += (text.empty() ? "" : ", ") + symbol_text(name);
  }
  return text;
}

}  // namespace

void Session::draw_interpolants(const InterpolationQuery& query, const Interpolants& answer,
                                const std::function<void(const std::string&)>& take) {
  const ResolvedQuery resolved = resolve(impl_->stack, impl_->assumptions, query);
  PartialInterpolants partial(impl_->terms, impl_->solver, impl_->mapper, *refutation(),
                              resolved.grouping);
  for (std::size_t root = 0; root < answer.terms.size(); ++root) {
    impl_->limits.look();
    ProofNotes notes = partial.notes(root, answer, query.raw);
    notes.name_of_A = names_text(query, root, true);
    notes.name_of_B = names_text(query, root, false);
    std::ostringstream out;
    host::draw_proof(out, partial.proof(), notes);
    take(out.str());
  }
}

void Session::dump_proof(std::ostream& out) {
  impl_->need(Verdict::UNSAT);
  host::dump_proof(out, *impl_->proof, impl_->terms, impl_->mapper);
}

ResolvedQuery Session::Impl::resolved(const InterpolationQuery& query,
                                      const Interpolants& answer) const {
  need(Verdict::UNSAT);
  ResolvedQuery result = resolve(stack, assumptions, query);
  if (answer.terms.size() + 1 != result.groups.size())
    throw SessionError("the answer does not belong to the query");
  return result;
}

void Session::explain(std::ostream& out, const InterpolationQuery& query,
                      const Interpolants& answer) {
  const ResolvedQuery resolved = impl_->resolved(query, answer);
  const Grouping& grouping = *resolved.grouping;
  const proof::ProofRef part = trimmed(*impl_->proof, grouping, impl_->mapper);
  const AtomNames names =
      names_of(impl_->stack, resolved, used_atoms(*part, impl_->mapper));
  for (std::size_t i = 0; i < answer.terms.size(); ++i) {
    impl_->limits.look();
    out << "interpolant " << i + 1 << " of " << answer.terms.size();
    if (answer.terms.size() > 1) {
      out << " (A: group";
      if (grouping.first(i) < i) out << "s " << grouping.first(i) + 1 << " to";
      out << ' ' << i + 1 << ')';
    }
    out << ": " << term_text(answer.terms[i], 200) << '\n';
    print_explanation(
        out, explanation(*part, grouping, i, impl_->mapper, answer.mode, answer.cuts),
        impl_->mapper, names, answer, answer.terms[i]);
  }
}

std::int32_t Session::write_check_files(const InterpolationQuery& query,
                                        const Interpolants& answer,
                                        const std::string& folder, std::int32_t number) {
  ResolvedQuery resolved = impl_->resolved(query, answer);
  const Grouping& grouping = *resolved.grouping;
  const proof::ProofRef part = trimmed(*impl_->proof, grouping, impl_->mapper);
  for (std::size_t i = 0; i < answer.terms.size(); ++i) {
    impl_->limits.look();
    Sides sides = answer.origin == Origin::DECISION_OF_ONE_SIDE
                      ? Sides{resolved.atoms[0], resolved.atoms[1]}
                      : sides_of(*part, grouping, i, impl_->mapper);
    try {
      host::write_check_files(impl_->terms, impl_->mapper, sides, answer.terms[i], folder,
                              number++);
    } catch (const CheckFileError& error) {
      throw SessionError(std::string("cannot write check files: ") + error.what());
    }
  }
  return number;
}

ResolvedQuery Session::Impl::resolved(const SharedTermQuery& query) const {
  InterpolationQuery groups{{query.first, query.second}, Grouping::sequence(2)};
  groups.unmentioned = query.unmentioned;
  return resolve(stack, assumptions, groups);
}

SharedTerm Session::shared_term(const SharedTermQuery& query) {
  try {
    const SharedTerm answer =
        find_shared_term({impl_->terms, impl_->mapper, impl_->limits, impl_->interpolation},
                         impl_->resolved(query), query);
    ++impl_->shared_terms;
    impl_->completed_halves += answer.of_A.completed + answer.of_B.completed;
    return answer;
  } catch (const NotSplit& why) {
    throw SessionError(why.what());
  }
}

VerificationReport Session::verify(const SharedTermQuery& query, const SharedTerm& answer,
                                   const std::string& outside_solvers) {
  const ResolvedQuery groups = impl_->resolved(query);
  const auto foreign = foreign_symbols(groups, answer);
  if (!foreign.empty())
    throw SessionError(term_text(foreign.front()) + ", which is not shared, is in " +
                       term_text(answer.term) + " or in an interpolant");
  return impl_->check_steps(verification_steps(impl_->terms, groups, answer),
                            outside_solvers);
}

std::vector<std::pair<std::string, double>> Session::statistics() const {
  const la::Solver::Statistics& work = impl_->solver.statistics();
  const Interpolation& interpolation = impl_->interpolation;
  proof::Proof* const proof = impl_->proof.get();
  const auto cuts = proof == nullptr ? 0 : cuts_in(*proof).size();
  const auto branches = proof == nullptr ? 0 : branch_tree(*proof).branches.size();
  return {
      {"checks", static_cast<double>(work.checks)},
      {"pivots", static_cast<double>(work.pivots)},
      {"relaxations", static_cast<double>(work.relaxations)},
      {"rows", static_cast<double>(work.rows)},
      {"terms", static_cast<double>(impl_->terms.size())},
      {"engine-seconds", impl_->engine_seconds},
      {"solve-seconds", impl_->solve_seconds},
      {"cuts", static_cast<double>(cuts)},
      {"branches", static_cast<double>(branches)},
      {"combinations-visited", static_cast<double>(interpolation.combinations_visited())},
      {"combinations-survived", static_cast<double>(interpolation.combinations_survived())},
      {"shared-terms", impl_->shared_terms},
      {"completed-halves", impl_->completed_halves},
      {"interpolant-size", impl_->size},
      {"interpolant-size-raw", impl_->raw_size},
      {"memory-mb", peak_megabytes()}};
}

}  // namespace opal::host
