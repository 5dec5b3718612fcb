#include "opal/interpolate/labelled/lemma_interpolants.h"

#include <algorithm>
#include <cassert>
#include <set>

#include "opal/arith/solver.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/rule_cast.h"
#include "opal/interpolate/labelled/formula_interpolation.h"
#include "opal/linear/literals.h"
#include "opal/proofs/branch_steps.h"
#include "opal/proofs/farkas.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

using resolution::Literal;
using resolution::NodeIndex;

std::vector<const Term_*> LemmaProofs::denials(NodeIndex lemma) const {
  std::vector<const Term_*> result;
  for (const Literal literal : refutation_.proof.literals(lemma)) {
    const Term_* const atom = refutation_.meaning(literal.variable()).atom;
    assert(atom != nullptr);
    result.push_back(literal.is_negative() ? atom : negated_atom(terms_, atom));
  }
  return result;
}

proof::ProofRef LemmaProofs::refuted(const std::vector<const Term_*>& atoms) {
  la::Solver solver(mapper_, limits_);
  for (const Term_* atom : atoms)
    solver.assert_constraint(mapper_.constraint(atom));
  if (solver.check() != la::Solver::Verdict::UNSAT) return {};
  return solver.refutation();
}

proof::Proof* LemmaProofs::proof(NodeIndex lemma) {
  proof::ProofRef& entry = proofs_[lemma];
  if (!entry) entry = refuted(denials(lemma));
  if (!entry) {
    std::string text;
    for (const Term_* atom : denials(lemma))
      text += ' ' + term_text(atom, 100);
    throw NotInterpolated("no contradiction was found between" + text);
  }
  return entry.get();
}

std::shared_ptr<const Grouping> LemmaInterpolants::grouping(NodeIndex lemma) const {
  auto result = std::make_shared<Grouping>(places_.shared_symbols());
  const std::vector<const Term_*> atoms = proofs_.denials(lemma);
  const resolution::LiteralSpan literals = proofs_.refutation().proof.literals(lemma);
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    const std::size_t place = places_.place(literals[i].variable());
    if (place != AtomPlaces::NO_PLACE) result->place_atom(atoms[i], place);
  }
  return result;
}

// The colours of the constraints and of their variables: partitions that agree in them are
// one to the engine.
std::string LemmaInterpolants::colours(const std::vector<int>& constraints,
                                       const Grouping& grouping, std::size_t root) const {
  std::string result;
  std::set<int> variables;
  for (const int id : constraints) {
    if (!mapper_.is_branch(id)) {
      const auto colour = grouping.atom_colour(mapper_.constraint_atom(id), root);
      result += static_cast<char>('0' + colour);
    }
    for (const auto& entry : mapper_.constraint_term(id).vars.coeffs())
      variables.insert(entry.first);
  }
  for (const int variable : variables)
    result +=
        static_cast<char>('0' + grouping.symbols_colour(mapper_.var_term(variable), root));
  return result;
}

// Of one combination the sum is one inequality, and so is the dual; a conjunction is no
// smaller.
Mode LemmaInterpolants::mode_for(proof::Proof& proof) const {
  const bool is_sum = la::as<la::LaNeq>(&proof) == nullptr && is_rational(proof);
  return style_.mode == Mode::AUTO && is_sum ? Mode::SUM : style_.mode;
}

void LemmaInterpolants::prepare(NodeIndex lemma, const std::vector<std::size_t>& roots) {
  if (std::all_of(roots.begin(), roots.end(), [&](std::size_t root) {
        return answers_.count({lemma, root}) != 0;
      }))
    return;
  // Other partitions' answers may be of another mode.
  answers_.erase(answers_.lower_bound({lemma, 0}), answers_.lower_bound({lemma + 1, 0}));
  proof::Proof* const proof = proofs_.proof(lemma);
  std::vector<int> constraints = proof_constraints(*proof);
  constraints.erase(
      std::remove(constraints.begin(), constraints.end(), Mapper::ZERO_CONSTRAINT),
      constraints.end());
  const auto groups = grouping(lemma);
  std::map<std::string, std::vector<std::size_t>> alike;  // partitions by their colours
  for (const std::size_t root : roots) {
    bool has_A = false;
    bool has_B = false;
    for (const int id : constraints) {
      if (mapper_.is_branch(id)) continue;
      const Term_* const atom = mapper_.constraint_atom(id);
      const Grouping::status colour = groups->atom_colour(atom, root);
      if (colour == Grouping::status::UNKNOWN)
        throw NotInterpolated("an atom of the theory mixes symbols of two sides: " +
                              term_text(atom, 200));
      (colour == Grouping::status::A_LOCAL ? has_A : has_B) = true;
    }
    if (has_A && has_B)
      alike[colours(constraints, *groups, root)].push_back(root);
    else
      answers_[{lemma, root}] = has_B ? terms_.true_term() : terms_.false_term();
  }
  if (alike.empty()) return;
  const InterpolationTask task{groups, {}, mode_for(*proof), style_.cuts, style_.raw};
  std::vector<std::size_t> engine_roots;
  for (const auto& entry : alike)
    engine_roots.push_back(entry.second.front());
  const Interpolants answer = engine_.interpolants(proof, task, engine_roots);
  note(answer);
  auto term = answer.terms.begin();
  for (const auto& entry : alike) {
    for (const std::size_t root : entry.second)
      answers_[{lemma, root}] = *term;
    ++term;
  }
}

const Term_* LemmaInterpolants::interpolant(NodeIndex lemma, std::size_t root) const {
  return answers_.at({lemma, root});
}

void LemmaInterpolants::note(const Interpolants& answer) {
  const auto add = [](auto& list, auto value) {
    if (std::find(list.begin(), list.end(), value) == list.end()) list.push_back(value);
  };
  engine_seconds_ += answer.engine_seconds;
  add(modes_, answer.mode);
  if (answer.cuts_reason == CutsReason::NO_MIXED_CUT) return;
  add(cuts_, answer.cuts);
  cuts_reason_ = answer.cuts_reason;
}

Mode LemmaInterpolants::mode() const {
  if (modes_.empty()) return style_.mode == Mode::AUTO ? Mode::SUM : style_.mode;
  return modes_.size() == 1 ? modes_.front() : Mode::AUTO;
}

Cuts LemmaInterpolants::cuts() const {
  if (cuts_.empty()) return style_.cuts == Cuts::AUTO ? Cuts::MODULAR : style_.cuts;
  return cuts_.size() == 1 ? cuts_.front() : Cuts::AUTO;
}

}  // namespace opal::host
