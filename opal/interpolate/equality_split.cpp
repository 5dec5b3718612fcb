#include "opal/interpolate/equality_split.h"

#include <cassert>
#include <initializer_list>
#include <stdexcept>
#include <utility>

#include "opal/linear/linear_form.h"
#include "opal/terms/print/printer.h"

// Let A1 and B1 be what a proof of a = b uses of A and of B to refute one strict side, say
// a < b, and A2 and B2 what it uses to refute the other one. The sums are, with t computed
// from A1 and u being what B2 bounds b by,
//
//     A1: a >= t      B1: t >= b      A2: a <= u      B2: u <= b
//
// (with a > b as the first side, all the other way round). A1 refutes a < t. A2 refutes
// a > t by itself only if t and u are the same; but A2, B2 and B1 always do, since
// a <= u <= b <= t. This is how the halves of a split are completed:
//
//     a < t: A1      a > t: A2, B2, B1          b > t: B1      b < t: B2, A2, A1
//
// Example: A: y <= a <= x, B: x <= b <= y. a < b is refuted by y <= a (A1) and b <= y (B1),
// so t is y; a > b by a <= x (A2) and x <= b (B2). a > y needs all but A1.

namespace opal::host {

namespace {

using proof::ProofRef;
using status = itp::TheoryAtomClassifier::status;

FarkasCombination sum(std::initializer_list<const FarkasCombination*> parts) {
  FarkasCombination result;
  for (const FarkasCombination* part : parts)
    result.insert(result.end(), part->begin(), part->end());
  return result;
}

}  // namespace

EqualitySplitter::EqualitySplitter(Terms& terms, Mapper& mapper, Limits& limits,
                                   const Grouping& grouping,
                                   std::vector<const Term_*> atoms)
    : terms_(terms),
      mapper_(mapper),
      limits_(limits),
      grouping_(std::make_shared<Grouping>(grouping)),
      atoms_(std::move(atoms)),
      classifier_(std::make_shared<Partition>(grouping_, 0)),
      interpolator_(&terms, nullptr, &mapper, la::Interpolator::MODE_SUM, false),
      checker_(mapper, atoms_) {}

EqualitySplitter::~EqualitySplitter() { interpolator_.clear_cache(); }

std::variant<EqualitySplit, EqualityModel> EqualitySplitter::split(const Term_* equality) {
  const itp::EqItpInfo sides = sides_of(equality);
  auto outcome = prove_equality(terms_, mapper_, limits_, atoms_, equality);
  if (auto* model = std::get_if<EqualityModel>(&outcome)) return std::move(*model);
  const auto& proof = std::get<EqualityProof>(outcome);
  if (sides.shared_term != nullptr) return at_shared_side(sides, proof);
  return split_mixed(equality, proof);
}

itp::EqItpInfo EqualitySplitter::sides_of(const Term_* equality) const {
  const Term_* const sides[] = {equality->arg(0), equality->arg(1)};
  bool of_A[2] = {};
  bool of_B[2] = {};
  for (const int i : {0, 1}) {
    const status colour = classifier_.classify(sides[i], false);
    of_A[i] = classifier_.is_A_colorable(colour);
    of_B[i] = classifier_.is_B_colorable(colour);
    if (!of_A[i] && !of_B[i])
      throw NotSplit(term_text(sides[i], 200) + (colour == status::UNKNOWN
                                                     ? " has a symbol of neither group"
                                                     : " mixes symbols of both groups"));
  }
  const int a = of_A[0] && of_B[1] ? 0 : 1;
  if (!of_A[a] || !of_B[1 - a])
    throw NotSplit("both sides of " + term_text(equality, 200) + " are of one group");
  itp::EqItpInfo result{sides[a], sides[1 - a], nullptr};
  if (of_B[a])
    result.shared_term = result.a_side;
  else if (of_A[1 - a])
    result.shared_term = result.b_side;
  return result;
}

// As the engine does it: what may be B's is.
EqualitySplitter::Leaves EqualitySplitter::by_side(const FarkasCombination& leaves) const {
  Leaves result;
  for (const FarkasLeaf& leaf : leaves) {
    const TheoryLit lit = mapper_.constraint_lit(leaf.constraint_id);
    if (lit.is_negated()) continue;  // the equality that is refuted
    const status colour = classifier_.classify(lit.atom(), false);
    assert(colour != status::UNKNOWN && colour != status::AB_MIXED);
    (classifier_.is_B_colorable(colour) ? result.of_B : result.of_A).push_back(leaf);
  }
  return result;
}

EqualitySplit EqualitySplitter::split_mixed(const Term_* equality,
                                            const EqualityProof& proof) {
  const auto case_of = [&](const FarkasCombination& leaves) {
    return farkas_proof(mapper_, leaves, hypothesis, Multipliers::AS_GIVEN);
  };
  const ProofRef root =
      disequality_proof(proof.disequality, case_of(proof.below), case_of(proof.above));
  if (const auto fault = checker_.check_split(root.get(), classifier_))
    throw std::logic_error("a proof that cannot be split: " + *fault);
  auto halves = interpolator_.split_mixed_proof(
      &classifier_, dynamic_cast<la::LaProof*>(root.get()), splits_);
  ProofRef of_A(halves.first);
  ProofRef of_B(halves.second);
  EqualitySplit result;
  result.terms = *splits_.find(equality);
  result.of_A = half(result.terms, true, std::move(of_A), proof);
  result.of_B = half(result.terms, false, std::move(of_B), proof);
  return result;
}

EqualityHalf EqualitySplitter::half(const itp::EqItpInfo& terms, bool of_A, ProofRef proof,
                                    const EqualityProof& equality) {
  const Term_* const side = of_A ? terms.a_side : terms.b_side;
  const Term_* const stated = make_interface_equality(&terms_, side, terms.shared_term);
  grouping_->add(stated, of_A ? 0 : 1);
  const CheckedHalf checked = checker_.check_half(proof.get(), classifier_);
  if (!checked.fault.empty())
    throw std::logic_error("a half that is none: " + checked.fault);
  if (checked.stands_alone) return {std::move(proof), false};
  const Leaves first = by_side(equality.below);
  const Leaves second = by_side(equality.above);
  FarkasCombination direct = of_A ? first.of_A : first.of_B;
  FarkasCombination other =
      sum({&second.of_A, &second.of_B, of_A ? &first.of_B : &first.of_A});
  // The equality's own a < b is a < t on A's side, and b > t on B's.
  const Term_* const left = mapper_.constraint_atom(equality.disequality)->arg(0);
  const bool is_left = side == left;
  if (!is_left) std::swap(direct, other);
  return {completed(side, terms.shared_term, of_A, std::move(direct), std::move(other)),
          true};
}

// The refutation of side /= shared, which becomes an atom of the side. The cases' leaves
// count for side - shared; the mapper's term may be a part or a multiple of that.
ProofRef EqualitySplitter::completed(const Term_* side, const Term_* shared, bool of_A,
                                     FarkasCombination at_most,
                                     FarkasCombination at_least) {
  const Term_* const denial = terms_.make_distinct(side, shared);
  grouping_->add(denial, of_A ? 0 : 1);
  const int id = mapper_.constraint(denial);
  assert(id != Mapper::ZERO_CONSTRAINT);
  QNumber factor(1);
  const LinearForm difference = linear_difference(side, shared);
  if (!difference.is_constant()) {
    const auto& [variable, coefficient] = difference.summands.front();
    const la::LinearTerm& term = mapper_.constraint_term(id);
    factor = coefficient / term.vars.coeff(mapper_.variable(variable));
  }
  assert(factor.sign() > 0);
  at_most.push_back({id, -1, factor});
  at_least.push_back({id, 1, factor});
  ProofRef proof = disequality_proof(id, farkas_proof(mapper_, std::move(at_most)),
                                     farkas_proof(mapper_, std::move(at_least)));
  std::vector<const Term_*> asserted = atoms_;
  asserted.push_back(denial);
  ProofChecker checker(mapper_, asserted);
  auto fault = checker.check(proof.get());
  if (!fault) fault = checker.check_partition(proof.get(), classifier_);
  if (fault) throw std::logic_error("a half that is completed wrongly: " + *fault);
  return proof;
}

EqualitySplit EqualitySplitter::at_shared_side(itp::EqItpInfo terms,
                                               const EqualityProof& proof) {
  const bool of_A = terms.shared_term == terms.b_side && terms.a_side != terms.b_side;
  const Term_* const side = of_A ? terms.a_side : terms.b_side;
  EqualitySplit result;
  result.terms = terms;
  if (side == terms.shared_term) return result;
  const auto but_equality = [&](const FarkasCombination& leaves) {
    const Leaves parts = by_side(leaves);
    return sum({&parts.of_A, &parts.of_B});
  };
  FarkasCombination at_most = but_equality(proof.below);
  FarkasCombination at_least = but_equality(proof.above);
  if (side != mapper_.constraint_atom(proof.disequality)->arg(0))
    std::swap(at_most, at_least);
  EqualityHalf& half = of_A ? result.of_A : result.of_B;
  half.proof =
      completed(side, terms.shared_term, of_A, std::move(at_most), std::move(at_least));
  return result;
}

ProofRef EqualitySplitter::rewritten(la::LaProof& proof) {
  for (const int id : proof_constraints(proof)) {
    if (id == Mapper::ZERO_CONSTRAINT) continue;
    const TheoryLit lit = mapper_.constraint_lit(id);
    if (lit.is_negated() || splits_.find(lit.atom()) == nullptr) continue;
    const int exact = mapper_.exact_constraint(TheoryLit(lit.atom()));
    const la::Equation& vars = mapper_.constraint_term(id).vars;
    if (vars.coeffs() != mapper_.constraint_term(exact).vars.coeffs())
      throw std::invalid_argument("a normalised constraint for the split equality " +
                                  term_text(lit.atom(), 200));
  }
  const auto result = interpolator_.split_mixed_proof(&classifier_, &proof, splits_);
  assert(result.second == nullptr);
  return ProofRef(result.first);
}

}  // namespace opal::host
