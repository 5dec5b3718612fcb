// The road of a problem that is a conjunction of literals.
//
// Each assertion is taken apart into atoms; the mapper gives them ids, and la::Solver
// decides them. One proof refutes all of it, whose leaves are atoms: a core is what
// provides the atoms of the proof, and a query's groups colour them.

#include "opal/session/conjunctive_road.h"

#include <cassert>
#include <utility>

#include "opal/checker/proof_checker.h"
#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "opal/proofs/farkas.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

using Atoms = std::unordered_set<const Term_*>;

// Takes a conjunction's atoms from the open ones; whether there were any.
bool takes_any(const Conjunction& part, Atoms& open) {
  bool any = false;
  for (const Term_* atom : part.atoms)
    any = open.erase(atom) > 0 || any;
  return any;
}

}  // namespace

ConjunctiveRoad::ConjunctiveRoad(Terms& terms, Mapper& mapper, Limits& limits)
    : terms_(terms),
      mapper_(mapper),
      limits_(limits),
      solver_(mapper, limits),
      interpolation_(terms, solver_, mapper, limits) {}

// The solver has a level for the assertions below all levels, which clear() takes back, and
// one for each level. Levels are made here when something is asserted in them: then taking
// back cannot fail.
void ConjunctiveRoad::make_levels() {
  assert(!has_assumption_level_);
  for (; solver_levels_ < levels_.size() + 1; ++solver_levels_)
    solver_.push();
}

// Takes the present level back from the solver, with the parts that were asserted in it.
void ConjunctiveRoad::drop_level() {
  assert(!has_assumption_level_ && solver_levels_ <= levels_.size() + 1);
  if (solver_levels_ == levels_.size() + 1) {
    solver_.pop();
    --solver_levels_;
  }
  parts_.resize(levels_.empty() ? 0 : levels_.back());
}

void ConjunctiveRoad::push() {
  forget_answer();
  levels_.push_back(parts_.size());
}

void ConjunctiveRoad::pop() {
  assert(!levels_.empty() && levels_.back() <= parts_.size());
  forget_answer();
  drop_level();
  levels_.pop_back();
  // What was found to be no conjunction may have been popped, and another one asserted.
  no_conjunction_.reset();
}

void ConjunctiveRoad::clear() {
  forget_answer();
  for (; !levels_.empty(); levels_.pop_back())
    drop_level();
  drop_level();
  assert(parts_.empty() && solver_levels_ == 0);
  no_conjunction_.reset();
}

void ConjunctiveRoad::forget_answer() {
  if (has_assumption_level_) solver_.pop();
  has_assumption_level_ = false;
  assumptions_.clear();
  proof_ = proof::ProofRef();
}

// The atoms of a formula, then those that define its floor terms. Afterwards the mapper
// knows them, so that asserting them cannot fail. The linear forms of nested floors can be
// quadratic in the formula: limits hold here as well.
Conjunction ConjunctiveRoad::conjunction_of(const Term_* formula) {
  Conjunction result{formula, conjuncts(terms_, formula)};
  std::vector<const Term_*> definitions;
  for (const Term_* atom : result.atoms) {
    const auto more = floor_definitions(terms_, atom);
    definitions.insert(definitions.end(), more.begin(), more.end());
  }
  if (!definitions.empty()) {
    Atoms listed(result.atoms.begin(), result.atoms.end());
    for (const Term_* atom : definitions) {
      if (listed.insert(atom).second) result.atoms.push_back(atom);
    }
  }
  for (const Term_* atom : result.atoms) {
    if (!definitions.empty()) limits_.look();
    mapper_.constraint(atom);
  }
  return result;
}

std::optional<Conjunction> ConjunctiveRoad::take_apart(const Term_* formula) {
  try {
    return conjunction_of(formula);
  } catch (const Unsupported&) {
    return std::nullopt;  // the other road says what is wrong with it, if anything is
  } catch (const NotLinear&) {
    return std::nullopt;
  }
}

void ConjunctiveRoad::assert_atoms(const Conjunction& conjunction) {
  std::vector<int> ids;
  ids.reserve(conjunction.atoms.size());
  for (const Term_* atom : conjunction.atoms)
    ids.push_back(mapper_.constraint(atom));
  solver_.assert_constraints(ids);
}

bool ConjunctiveRoad::add(const Term_* formula) {
  std::optional<Conjunction> conjunction = take_apart(formula);
  if (!conjunction) return false;
  forget_answer();
  make_levels();
  parts_.push_back(std::move(*conjunction));
  try {
    assert_atoms(parts_.back());
  } catch (...) {
    parts_.pop_back();
    throw;
  }
  return true;
}

// The solver takes back whole levels only. What is dropped with the present one and should
// stay is taken in again by the next catch_up().
void ConjunctiveRoad::shrink(std::size_t size) {
  assert(levels_.empty() || levels_.back() <= size);
  if (size >= parts_.size()) return;
  forget_answer();
  drop_level();
}

bool ConjunctiveRoad::catch_up(const AssertionStack& stack) {
  assert(parts_.size() <= stack.size() && levels_.size() == stack.levels().size());
  while (parts_.size() < stack.size()) {
    if (no_conjunction_ == parts_.size()) return false;
    if (!add(stack.assertions()[parts_.size()].formula)) no_conjunction_ = parts_.size();
  }
  return true;
}

la::Solver::Verdict ConjunctiveRoad::check(std::vector<Conjunction> assumptions) {
  forget_answer();
  make_levels();
  if (!assumptions.empty()) {
    solver_.push();
    has_assumption_level_ = true;
  }
  for (const Conjunction& assumption : assumptions)
    assert_atoms(assumption);
  assumptions_ = std::move(assumptions);
  const la::Solver::Verdict verdict = solver_.check();
  if (verdict == la::Solver::Verdict::UNSAT) {
    proof_ = solver_.refutation();
    assert(proof_);
  }
  return verdict;
}

std::vector<const Term_*> ConjunctiveRoad::atoms() const {
  std::vector<const Term_*> result;
  for (const auto* parts : {&parts_, &assumptions_})
    for (const Conjunction& part : *parts)
      result.insert(result.end(), part.atoms.begin(), part.atoms.end());
  return result;
}

std::unordered_set<const Term_*> ConjunctiveRoad::used_atoms(
    const proof::Proof& root) const {
  Atoms atoms;
  for (const int id : proof_constraints(root))
    if (!mapper_.is_branch(id)) atoms.insert(mapper_.constraint_atom(id));
  return atoms;
}

const Conjunction& ConjunctiveRoad::part(std::size_t position) const {
  return position < parts_.size() ? parts_[position]
                                  : assumptions_[position - parts_.size()];
}

std::vector<std::size_t> ConjunctiveRoad::core(const std::vector<bool>& preferred) const {
  assert(proof_ && preferred.size() == parts_.size());
  Atoms open = used_atoms(*proof_);
  const std::size_t all = parts_.size() + assumptions_.size();
  std::vector<bool> used(all);
  for (const bool wanted : {true, false})
    for (std::size_t i = 0; i < parts_.size(); ++i)
      if (preferred[i] == wanted) used[i] = takes_any(parts_[i], open);
  for (std::size_t i = parts_.size(); i < all; ++i)
    used[i] = takes_any(part(i), open);
  assert(open.empty());
  std::vector<std::size_t> result;
  for (std::size_t i = 0; i < all; ++i)
    if (used[i]) result.push_back(i);
  return result;
}

std::unordered_map<const Term_*, std::string> ConjunctiveRoad::names_of(
    const AssertionStack& stack, const ResolvedQuery& query, const Grouping& grouping,
    std::unordered_set<const Term_*> atoms) const {
  assert(stack.size() == parts_.size());
  std::unordered_map<const Term_*, std::string> names;
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    const std::string& name = stack.assertions()[i].name;
    for (const Term_* atom : parts_[i].atoms)
      if (query.places[i] == grouping.place(atom) && atoms.erase(atom) > 0 && !name.empty())
        names.emplace(atom, symbol_text(name));
  }
  return names;
}

GroupedAtoms ConjunctiveRoad::grouped(const ResolvedQuery& query) const {
  assert(query.places.size() == parts_.size() + assumptions_.size());
  auto grouping = std::make_shared<Grouping>(query.first);
  GroupedAtoms result;
  if (query.first.size() == 2) result.atoms.resize(2);
  for (std::size_t i = 0; i < query.places.size(); ++i) {
    const std::size_t group = query.places[i];
    const std::vector<const Term_*>& atoms = part(i).atoms;
    for (const Term_* atom : atoms) {
      limits_.poll();
      grouping->add(atom, group);
    }
    for (std::size_t g = 0; g < result.atoms.size(); ++g) {
      if (group != Grouping::BACKGROUND && g != group) continue;
      result.atoms[g].insert(result.atoms[g].end(), atoms.begin(), atoms.end());
    }
  }
  result.grouping = std::move(grouping);
  return result;
}

Interpolants ConjunctiveRoad::interpolants(const ResolvedQuery& resolved,
                                           const InterpolationQuery& query) {
  assert(proof_);
  GroupedAtoms groups = grouped(resolved);
  return interpolation_.interpolants(
      proof_.get(),
      {groups.grouping, std::move(groups.atoms), query.mode, query.cuts, query.raw});
}

std::optional<std::string> ConjunctiveRoad::fault() const {
  assert(proof_);
  return ProofChecker(mapper_, atoms()).check(proof_.get());
}

std::optional<std::string> ConjunctiveRoad::fault(const ResolvedQuery& query) const {
  assert(proof_);
  ProofChecker checker(mapper_, atoms());
  return interpolation_.fault(proof_.get(), grouped(query).grouping, checker);
}

}  // namespace opal::host
