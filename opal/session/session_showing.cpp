// What people look at: drawings, dumps, explanations and check files.

#include <ostream>
#include <sstream>

#include "opal/explain/check_scripts.h"
#include "opal/explain/derived_constraints.h"
#include "opal/explain/explanation.h"
#include "opal/explain/partial_interpolants.h"
#include "opal/explain/proof_drawing.h"
#include "opal/interpolate/partition.h"
#include "opal/interpolate/trimming.h"
#include "opal/proofs/proof_listing.h"
#include "opal/proofs/proof_text.h"
#include "opal/session/session_impl.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

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

void Session::draw_proof(std::ostream& out) {
  const ExternalProof& root = external_proof();
  ProofNotes notes;
  const auto steps = proof_steps(&impl_->conjunctive_proof());
  if (steps.size() <= PartialInterpolants::MOST_STEPS)
    notes.derived = derived_constraints(impl_->terms, impl_->conjunctive.solver(),
                                        impl_->mapper, steps, impl_->last.exported->nodes);
  host::draw_proof(out, root, notes);
}

void Session::draw_interpolants(const InterpolationQuery& query, const Interpolants& answer,
                                const std::function<void(const std::string&)>& take) {
  proof::Proof& proof = impl_->conjunctive_proof();
  const GroupedAtoms groups = impl_->conjunctive.grouped(impl_->resolved(query, answer));
  PartialInterpolants partial(impl_->terms, impl_->conjunctive.solver(), impl_->mapper,
                              proof, groups.grouping);
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
  if (impl_->last.road == Road::FORMULA) {
    print_proof(out, external_proof());
    out << '\n';
    return;
  }
  host::dump_proof(out, impl_->conjunctive_proof(), impl_->terms, impl_->mapper);
}

void Session::explain(std::ostream& out, const InterpolationQuery& query,
                      const Interpolants& answer) {
  const ResolvedQuery resolved = impl_->resolved(query, answer);
  proof::Proof& proof = impl_->conjunctive_proof();
  const ConjunctiveRoad& road = impl_->conjunctive;
  const GroupedAtoms groups = road.grouped(resolved);
  const Grouping& grouping = *groups.grouping;
  const proof::ProofRef part = trimmed(proof, grouping, impl_->mapper);
  const AtomNames names =
      road.names_of(impl_->stack, resolved, grouping, road.used_atoms(*part));
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
  proof::Proof& proof = impl_->conjunctive_proof();
  const GroupedAtoms groups = impl_->conjunctive.grouped(impl_->resolved(query, answer));
  const Grouping& grouping = *groups.grouping;
  const proof::ProofRef part = trimmed(proof, grouping, impl_->mapper);
  for (std::size_t i = 0; i < answer.terms.size(); ++i) {
    impl_->limits.look();
    Sides sides = answer.origin == Origin::DECISION_OF_ONE_SIDE
                      ? Sides{groups.atoms[0], groups.atoms[1]}
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

}  // namespace opal::host
