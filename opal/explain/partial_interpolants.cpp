#include "opal/explain/partial_interpolants.h"

#include <cassert>
#include <string>
#include <utility>

#include "opal/explain/derived_constraints.h"
#include "opal/interfaces/exception.h"
#include "opal/interpolate/branch_colours.h"
#include "opal/interpolate/trimming.h"
#include "opal/proofs/branch_steps.h"
#include "opal/simplify/simplifier.h"

namespace opal::host {

namespace {

la::Interpolator::Mode engine_mode(Mode mode) {
  if (mode == Mode::CONJ) return la::Interpolator::MODE_CONJ;
  if (mode == Mode::DUAL) return la::Interpolator::MODE_DUAL;
  assert(mode == Mode::SUM);
  return la::Interpolator::MODE_SUM;
}

ProofNotes::Side side_of(itp::TheoryAtomClassifier::status status) {
  switch (status) {
    case itp::TheoryAtomClassifier::A_LOCAL: return ProofNotes::Side::A;
    case itp::TheoryAtomClassifier::B_LOCAL: return ProofNotes::Side::B;
    case itp::TheoryAtomClassifier::SHARED: return ProofNotes::Side::SHARED;
    default: break;
  }
  return ProofNotes::Side::NONE;
}

std::string style_text(const Interpolants& answer, bool has_cuts) {
  std::string text = std::string("I: interpolant so far, mode ") + to_string(answer.mode);
  if (has_cuts) text += std::string(", cuts ") + to_string(answer.cuts);
  return text;
}

}  // namespace

PartialInterpolants::PartialInterpolants(Terms& terms, la::Solver& solver, Mapper& mapper,
                                         proof::Proof& proof,
                                         std::shared_ptr<const Grouping> grouping)
    : terms_(terms),
      solver_(solver),
      mapper_(mapper),
      grouping_(std::move(grouping)),
      proof_(trimmed(proof, *grouping_, mapper)),
      steps_(proof_steps(proof_.get())) {
  la::Interpolator exporter(&terms, &solver, &mapper, la::Interpolator::MODE_SUM, false);
  exported_ = exporter.get_external_proof(&exports_, proof_.get());
  assert(exported_ != nullptr);
  if (steps_.size() <= MOST_STEPS)
    derived_ = derived_constraints(terms, solver, mapper, steps_, exports_);
}

void PartialInterpolants::colour(const itp::TheoryAtomClassifier& classifier,
                                 ProofNotes& notes) const {
  for (const ExternalProof* p : nodes_of(*exported_)) {
    if (!p->is_leaf() || Terms::is_numeral(p->term())) continue;
    const Term_* const literal = p->term();
    const bool denied = Terms::kind_of(literal) == Kind::NOT;
    const auto side = side_of(classifier.classify_atom(denied ? literal->arg(0) : literal));
    if (side != ProofNotes::Side::NONE) notes.sides.emplace(p, side);
  }
}

const Term_* PartialInterpolants::interpolant(la::Interpolator& interpolator,
                                              itp::TheoryAtomClassifier& classifier,
                                              proof::Proof* p, bool raw) {
  try {
    const Term_* const term = interpolator.get_interpolant(&classifier, p);
    return raw ? term : simplify(terms_, term);
  } catch (const Exception&) {
    interpolator.clear_cache();
    return nullptr;
  } catch (...) {
    interpolator.clear_cache();
    throw;
  }
}

ProofNotes PartialInterpolants::notes(std::size_t root, const Interpolants& answer,
                                      bool raw) {
  assert(root < answer.terms.size());
  ProofNotes notes;
  notes.answer = answer.terms[root];
  itp::TheoryAtomClassifier classifier(std::make_shared<Partition>(grouping_, root));
  colour_branches(branch_tree(*proof_).branches, mapper_, classifier);
  colour(classifier, notes);
  notes.derived = derived_;
  notes.remarks.push_back(style_text(answer, !cuts_in(*proof_).empty()));
  if (steps_.size() > MOST_STEPS) {
    notes.remarks.push_back("partial interpolants are left out: the proof has " +
                            std::to_string(steps_.size()) + " steps");
    return notes;
  }
  la::Interpolator interpolator(&terms_, &solver_, &mapper_, engine_mode(answer.mode),
                                answer.cuts == Cuts::FLOOR);
  if (interpolant(interpolator, classifier, proof_.get(), raw) != notes.answer) {
    notes.remarks.emplace_back(
        "one side is contradictory by itself: the answer needs no proof of both");
    return notes;
  }
  for (proof::Proof* p : steps_) {
    if (p == proof_.get()) continue;
    if (const Term_* partial = interpolant(interpolator, classifier, p, raw))
      notes.interpolants.emplace(exports_.find_in_cache(p), partial);
  }
  return notes;
}

}  // namespace opal::host
