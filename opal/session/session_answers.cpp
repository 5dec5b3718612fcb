#include <sys/resource.h>

#include <unordered_set>
#include <utility>

#include "opal/proofs/branch_steps.h"
#include "opal/proofs/farkas.h"
#include "opal/session/session_impl.h"

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

// Peak of the memory that the process held.
double peak_megabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

}  // namespace

void Session::Impl::need(Verdict wanted) const {
  if (verdict == wanted) return;
  throw SessionError(wanted == Verdict::SAT
                         ? "there is no model: the last check did not answer sat"
                         : "there is no refutation: the last check did not answer unsat");
}

std::unordered_set<const Term_*> Session::Impl::used_atoms(const proof::Proof& root) const {
  Atoms atoms;
  for (const int id : proof_constraints(root))
    if (!mapper.is_branch(id)) atoms.insert(mapper.constraint_atom(id));
  return atoms;
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

// An assertion is named only for what no unnamed one and no earlier one provides.
std::vector<std::string> Session::unsat_core() const {
  impl_->need(Verdict::UNSAT);
  Atoms open = impl_->used_atoms(*impl_->proof);
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
  Atoms open = impl_->used_atoms(*impl_->proof);
  providers(impl_->stack, false, open);
  providers(impl_->stack, true, open);
  std::vector<const Term_*> result;
  for (const Conjunction& part : impl_->assumptions) {
    if (takes_any(part, open)) result.push_back(part.formula);
  }
  return result;
}

void Session::check_proof() {
  impl_->need(Verdict::UNSAT);
  const auto fault = ProofChecker(impl_->mapper, impl_->atoms()).check(impl_->proof.get());
  if (fault) throw SessionError("the refutation is wrong: " + *fault);
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
