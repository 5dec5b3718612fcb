// What a check left: model, refutation, core, and the statistics of the work.

#include <sys/resource.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/proofs/branch_steps.h"
#include "opal/session/session_impl.h"

namespace opal::host {

namespace {

// Peak of the memory that the process held.
double peak_megabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

}  // namespace

void Session::Impl::need(Verdict wanted) const {
  if (last.verdict == wanted) return;
  throw SessionError(wanted == Verdict::SAT
                         ? "there is no model: the last check did not answer sat"
                         : "there is no refutation: the last check did not answer unsat");
}

proof::Proof& Session::Impl::conjunctive_proof() const {
  need(Verdict::UNSAT);
  if (last.road != Road::CONJUNCTIVE)
    throw SessionError("the refutation is one of clauses, and no proof of a conjunction");
  assert(conjunctive.proof() != nullptr);
  return *conjunctive.proof();
}

std::vector<const Term_*> Session::Impl::formulas() const {
  std::vector<const Term_*> result;
  for (const Assertion& assertion : stack.assertions())
    result.push_back(assertion.formula);
  result.insert(result.end(), last.assumptions.begin(), last.assumptions.end());
  return result;
}

// An assertion without a name is preferred: then fewer names are in the core.
const std::vector<std::size_t>& Session::Impl::core() {
  need(Verdict::UNSAT);
  if (!last.core) {
    std::vector<bool> unnamed;
    for (const Assertion& assertion : stack.assertions())
      unnamed.push_back(assertion.name.empty());
    last.core = last.road == Road::CONJUNCTIVE ? conjunctive.core(unnamed)
                                               : formula.core(formulas());
  }
  return *last.core;
}

std::optional<Session::Verdict> Session::last_verdict() const {
  return impl_->last.verdict;
}

const std::string& Session::reason_unknown() const { return impl_->last.reason_unknown; }

const Model& Session::model() const {
  impl_->need(Verdict::SAT);
  return impl_->last.model;
}

proof::Proof* Session::refutation() const { return &impl_->conjunctive_proof(); }

// An interpolator of its own makes it, so that exports and interpolation requests do not
// see each other's traces.
const ExternalProof* Session::Impl::exported(ExternalProofs& nodes) {
  if (last.road == Road::CONJUNCTIVE) {
    la::Interpolator exporter(&terms, &conjunctive.solver(), &mapper,
                              la::Interpolator::MODE_SUM, false);
    return exporter.get_external_proof(&nodes, &conjunctive_proof());
  }
  try {
    return formula.exported(nodes);
  } catch (const NotInterpolated& why) {
    throw SessionError(why.what());
  }
}

const ExternalProof& Session::external_proof() {
  impl_->need(Verdict::UNSAT);
  if (impl_->last.exported == nullptr) {
    auto made = std::make_unique<LastAnswer::Export>();
    made->root = impl_->exported(made->nodes);
    if (made->root == nullptr)
      throw SessionError("the refutation has a node that has no external form");
    impl_->last.exported = std::move(made);
  }
  return *impl_->last.exported->root;
}

std::vector<std::string> Session::unsat_core() {
  const auto& assertions = impl_->stack.assertions();
  std::vector<std::string> names;
  for (const std::size_t position : impl_->core())
    if (position < assertions.size() && !assertions[position].name.empty())
      names.push_back(assertions[position].name);
  return names;
}

std::vector<const Term_*> Session::unsat_assumptions() {
  const std::size_t asserted = impl_->stack.size();
  std::vector<const Term_*> result;
  for (const std::size_t position : impl_->core())
    if (position >= asserted)
      result.push_back(impl_->last.assumptions[position - asserted]);
  return result;
}

void Session::check_proof() {
  impl_->need(Verdict::UNSAT);
  std::optional<std::string> fault;
  if (impl_->last.road == Road::CONJUNCTIVE) {
    fault = impl_->conjunctive.fault();
  } else {
    // Whatever the partition, the refutation has to be one: any will do.
    ResolvedQuery all{Grouping::sequence(2), impl_->formulas(), {}};
    all.places.assign(all.formulas.size(), 1);
    fault = impl_->formula.fault(all);
  }
  if (fault) throw SessionError("the refutation is wrong: " + *fault);
}

std::vector<std::pair<std::string, double>> Session::statistics() const {
  const la::Solver::Statistics& work = impl_->conjunctive.solver().statistics();
  const Interpolation& interpolation = impl_->conjunctive.interpolation();
  const SessionTotals& totals = impl_->totals;
  proof::Proof* const proof = impl_->conjunctive.proof();
  const auto cuts = proof == nullptr ? 0 : cuts_in(*proof).size();
  const auto branches = proof == nullptr ? 0 : branch_tree(*proof).branches.size();
  std::vector<std::pair<std::string, double>> result = {
      {"checks", static_cast<double>(work.checks)},
      {"pivots", static_cast<double>(work.pivots)},
      {"relaxations", static_cast<double>(work.relaxations)},
      {"rows", static_cast<double>(work.rows)},
      {"terms", static_cast<double>(impl_->terms.size())},
      {"engine-seconds", totals.engine_seconds},
      {"solve-seconds", totals.solve_seconds},
      {"cuts", static_cast<double>(cuts)},
      {"branches", static_cast<double>(branches)},
      {"combinations-visited", static_cast<double>(interpolation.combinations_visited())},
      {"combinations-survived", static_cast<double>(interpolation.combinations_survived())},
      {"shared-terms", totals.shared_terms},
      {"completed-halves", totals.completed_halves},
      {"interpolant-size", totals.size},
      {"interpolant-size-raw", totals.raw_size},
      {"memory-mb", peak_megabytes()}};
  if (impl_->formula.is_entered()) {
    const auto search = impl_->formula.solver().statistics();
    const auto add = [&](const char* name, std::uint64_t value) {
      result.emplace_back(name, static_cast<double>(value));
    };
    add("conflicts", search.search.conflicts);
    add("decisions", search.search.decisions);
    add("propagations", search.search.propagations);
    add("restarts", search.search.restarts);
    add("lemmas", search.search.lemmas);
    add("theory-conflicts", search.search.theory_conflicts);
    add("clauses", search.clauses);
    add("variables", search.variables);
    add("proof-bytes", search.proof_bytes);
  }
  return result;
}

}  // namespace opal::host
