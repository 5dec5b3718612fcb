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

std::string names_of_side(const InterpolationQuery& query, std::size_t root,
                          SideOfQuery side) {
  std::string text;
  for (std::size_t g = 0; g < query.groups.size(); ++g) {
    const bool is_of_A = query.first[root] <= g && g <= root;
    if (is_of_A != (side == SideOfQuery::A)) continue;
    for (const std::string& name : query.groups[g])
      text += (text.empty() ? "" : ", ") + symbol_text(name);
  }
  return text;
}

void Session::draw_proof(std::ostream& out) {
  impl_->need(Verdict::UNSAT);
  if (impl_->last.road == Road::FORMULA) return impl_->draw_formulas(out);
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
  impl_->need(Verdict::UNSAT);
  if (impl_->last.road == Road::FORMULA) return impl_->draw_formulas(query, answer, take);
  proof::Proof& proof = impl_->conjunctive_proof();
  const GroupedAtoms groups = impl_->conjunctive.grouped(impl_->resolved(query, answer));
  PartialInterpolants partial(impl_->terms, impl_->conjunctive.solver(), impl_->mapper,
                              proof, groups.grouping);
  for (std::size_t root = 0; root < answer.terms.size(); ++root) {
    impl_->limits.look();
    ProofNotes notes = partial.notes(root, answer, query.raw);
    notes.name_of_A = names_of_side(query, root, SideOfQuery::A);
    notes.name_of_B = names_of_side(query, root, SideOfQuery::B);
    std::ostringstream out;
    host::draw_proof(out, partial.proof(), notes);
    take(out.str());
  }
}

void Session::dump_proof(std::ostream& out) {
  impl_->need(Verdict::UNSAT);
  if (impl_->last.road == Road::FORMULA) {
    print_proof(out, external_proof());
    out << '\n';
    return;
  }
  host::dump_proof(out, impl_->conjunctive_proof(), impl_->terms, impl_->mapper);
}

void Session::Impl::print_heading(std::ostream& out, const Interpolants& answer,
                                  std::size_t number, std::size_t first) {
  out << "interpolant " << number + 1 << " of " << answer.terms.size();
  if (answer.terms.size() > 1) {
    out << " (A: group";
    if (first < number) out << "s " << first + 1 << " to";
    out << ' ' << number + 1 << ')';
  }
  out << ": " << term_text(answer.terms[number], 200) << '\n';
}

void Session::explain(std::ostream& out, const InterpolationQuery& query,
                      const Interpolants& answer) {
  impl_->need(Verdict::UNSAT);
  if (impl_->last.road == Road::FORMULA) return impl_->explain_formulas(out, query, answer);
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
    Impl::print_heading(out, answer, i, grouping.first(i));
    print_explanation(
        out, explanation(*part, grouping, i, impl_->mapper, answer.mode, answer.cuts),
        impl_->mapper, names, answer, answer.terms[i]);
  }
}

std::int32_t Session::write_check_files(const InterpolationQuery& query,
                                        const Interpolants& answer,
                                        const std::string& folder, std::int32_t number) {
  const ResolvedQuery resolved = impl_->resolved(query, answer);
  if (impl_->last.road == Road::FORMULA) {
    for (std::size_t i = 0; i < answer.terms.size(); ++i) {
      impl_->limits.look();
      impl_->write_check_files(Impl::sides_of_formulas(resolved, i), answer.terms[i],
                               folder, number++);
    }
    return number;
  }
  proof::Proof& proof = impl_->conjunctive_proof();
  const GroupedAtoms groups = impl_->conjunctive.grouped(resolved);
  const Grouping& grouping = *groups.grouping;
  const proof::ProofRef part = trimmed(proof, grouping, impl_->mapper);
  for (std::size_t i = 0; i < answer.terms.size(); ++i) {
    impl_->limits.look();
    const Sides sides = answer.origin == Origin::DECISION_OF_ONE_SIDE
                            ? Sides{groups.atoms[0], groups.atoms[1]}
                            : sides_of(*part, grouping, i, impl_->mapper);
    impl_->write_check_files(sides, answer.terms[i], folder, number++);
  }
  return number;
}

void Session::Impl::write_check_files(const Sides& sides, const Term_* interpolant,
                                      const std::string& folder, std::int32_t number) {
  try {
    host::write_check_files(terms, mapper, sides, interpolant, folder, number);
  } catch (const CheckFileError& error) {
    throw SessionError(std::string("cannot write check files: ") + error.what());
  }
}

}  // namespace opal::host
