// A refutation of a leaf is a combination, or a case split with two of them:
//
//      a combination:  LaHyp | LaZTighteningProof
//                            | LaComb(multiplier, premise, multiplier, premise)
//      a case split:   LaNeq(disequality, combination, combination)
//
// Multipliers stand on hypotheses and cuts only, so that each enters the sum with its own
// multiplier. With each of them read as e >= 0 or e > 0, a combination is a contradiction
// when their weighted sum is a number below zero, or zero with a strict one among them.
//
// Example: LaComb(1, x - 3 >= 0, 2, 1 - x/2 > 0) sums up to -1 > 0.
//
// The other refutations are in check_integers.cpp and check_branches.cpp. What a proof
// under check says may be wrong in every way, so it is refused, never asserted; assertions
// are about the checker's own sums and sets.
//
// Cost: linear in the nodes and in the summands of the constraints that they name.

#include "opal/checker/proof_checker.h"

#include <algorithm>
#include <cassert>
#include <set>
#include <utility>

#include "opal/checker/checker_run.h"
#include "opal/interfaces/rule_cast.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

std::string at(const la::LaHyp& hyp) {
  return "LaHyp on constraint " + std::to_string(hyp.constraint_id) + ": ";
}

const char* name_of(const proof::Proof& node) {
  if (la::is<la::LaHyp>(&node)) return "LaHyp";
  if (la::is<la::LaComb>(&node)) return "LaComb";
  if (la::is<la::LaCombImp>(&node)) return "LaCombImp";
  if (la::is<la::LaNeq>(&node)) return "LaNeq";
  if (la::is<la::LaFakeHyp>(&node)) return "LaFakeHyp";
  if (la::is<la::LaEqSplitLemma>(&node)) return "LaEqSplitLemma";
  if (la::is<la::LaUnitLemma>(&node)) return "LaUnitLemma";
  if (la::is<laz::LaZTighteningProof>(&node)) return "LaZTighteningProof";
  if (la::is<laz::LaZInternalBBProof>(&node)) return "LaZInternalBBProof";
  if (la::is<laz::LaZBBLemma>(&node)) return "LaZBBLemma";
  if (la::is<laz::LaZEqSubProof>(&node)) return "LaZEqSubProof";
  return "of an unknown kind";
}

bool is_refutation_only(const proof::Proof& node) {
  return la::is<la::LaNeq>(&node) || la::is<laz::LaZInternalBBProof>(&node) ||
         la::is<laz::LaZEqSubProof>(&node);
}

void check_contradiction(const CheckedSum& sum, bool strict) {
  assert(sum.is_normal());
  if (const Term_* variable = sum.first_variable())
    refuse("the sum has ", term_text(variable), " left, with the coefficient ",
           sum.coefficients.at(variable));
  if (sum.constant.sign() > 0 || (sum.constant.is_zero() && !strict))
    refuse("the sum is no contradiction: ", sum.constant, strict ? " > 0" : " >= 0");
}

}  // namespace

void ProofChecker::Run::refutation(const proof::Proof* root) {
  if (const auto* node = la::as<laz::LaZInternalBBProof>(root)) {
    tree(*node);
  } else {
    leaf(root);
  }
  check_cut_variables();
}

ProofChecker::Run::BranchIds ProofChecker::Run::leaf(const proof::Proof* root) {
  used_.clear();
  assert(!la::is<laz::LaZInternalBBProof>(root));
  if (const auto* equalities = la::as<laz::LaZEqSubProof>(root)) {
    equality_proof(*equalities);
  } else if (const auto* split = la::as<la::LaNeq>(root)) {
    disequality(*split);
  } else {
    combination(root, nullptr);
  }
  assert(used_.empty() || !la::is<laz::LaZEqSubProof>(root));
  return std::move(used_);
}

void ProofChecker::Run::disequality(const la::LaNeq& node) {
  const int id = node.constraint_id;
  if (!constraints_.asserted(id, "LaNeq").is_disequality())
    refuse("LaNeq on constraint ", id, ": ", term_text(mapper_.constraint_lit(id).atom()),
           " is no disequality");
  Split first{id, 0};
  combination(node.case1, &first);
  Split second{id, 0};
  combination(node.case2, &second);
  for (const Split& half : {first, second})
    if (half.sign == 0)
      refuse("LaNeq on constraint ", id, ": a case does not use the disequality");
  assert(first.constraint_id == id && second.constraint_id == id);
  if (first.sign == second.sign)
    refuse("LaNeq on constraint ", id, ": both cases have the sign ", first.sign);
}

void ProofChecker::Run::combination(const proof::Proof* root, Split* split) {
  std::unordered_set<const proof::Proof*> nodes;
  std::set<std::pair<int, int>> hypotheses;
  CheckedSum sum;
  bool strict = false;
  const auto add = [&](const Visit& visit, const Derived& derived) {
    sum.add(visit.multiplier != nullptr ? *visit.multiplier : la::LaComb::one, derived.sum);
    strict = strict || derived.strict;
    used_.insert(derived.branches.begin(), derived.branches.end());
  };
  std::vector<Visit> stack{{root, nullptr}};
  while (!stack.empty()) {
    const Visit visit = stack.back();
    stack.pop_back();
    if (visit.node == nullptr) refuse("a premise is missing");
    const auto* hyp = la::as<la::LaHyp>(visit.node);
    if (hyp != nullptr && hyp->constraint_id == mapper_.zero_constraint()) continue;
    if (!nodes.insert(visit.node).second)
      refuse(name_of(*visit.node), " is reached twice in one combination");
    if (hyp != nullptr) {
      if (!hypotheses.emplace(hyp->constraint_id, hyp->sign).second)
        refuse(at(*hyp), "occurs twice with the sign ", hyp->sign, " in one combination");
      add(visit, hypothesis(*hyp, split));
    } else if (const auto* node = la::as<laz::LaZTighteningProof>(visit.node)) {
      add(visit, cut(*node));
    } else {
      push_premises(*visit.node, stack);
    }
  }
  assert(hypotheses.size() <= nodes.size());
  check_contradiction(sum, strict);
}

void ProofChecker::Run::push_premises(const proof::Proof& node, std::vector<Visit>& stack) {
  const auto* comb = la::as<la::LaComb>(&node);
  if (comb == nullptr && is_refutation_only(node)) refuse(name_of(node), " below the root");
  if (comb == nullptr) refuse("the rule ", name_of(node), " is not checked");
  for (const Visit premise :
       {Visit{comb->premise2, comb->coeff2}, Visit{comb->premise1, comb->coeff1}}) {
    if (premise.multiplier != nullptr) {
      if (premise.multiplier->sign() <= 0)
        refuse("LaComb: the multiplier ", *premise.multiplier, " is not positive");
      if (la::is<la::LaComb>(premise.node))
        refuse("LaComb: the multiplier ", *premise.multiplier,
               " stands on a combination, not on a hypothesis");
    }
    stack.push_back(premise);
  }
}

ProofChecker::Run::Derived ProofChecker::Run::hypothesis(const la::LaHyp& hyp,
                                                         Split* split) const {
  CheckedConstraint constraint = constraints_.any(hyp.constraint_id, "LaHyp");
  const bool halves = constraint.direction() == 0;
  if (halves && hyp.sign != -1 && hyp.sign != 1)
    refuse(at(hyp), "the sign ", hyp.sign, " selects no half; it must be -1 or 1");
  if (!halves && hyp.sign != 0)
    refuse(at(hyp), "an inequality has the sign 0, not ", hyp.sign);
  if (constraint.is_disequality()) {
    if (split == nullptr) refuse(at(hyp), "a disequality outside of a LaNeq");
    if (split->constraint_id != hyp.constraint_id)
      refuse(at(hyp), "a disequality below the LaNeq of constraint ", split->constraint_id);
    assert(halves);  // a disequality bounds nothing by itself
    if (split->sign != 0) refuse(at(hyp), "a case uses both sides of its disequality");
    split->sign = hyp.sign;
    assert(split->sign == -1 || split->sign == 1);
  }
  Derived result{std::move(constraint.sum), constraint.is_strict(), {}};
  result.sum.scale(QNumber(halves ? hyp.sign : constraint.direction()));
  if (constraint.of_branch) result.branches.push_back(hyp.constraint_id);
  assert(result.sum.is_normal() && result.branches.size() <= 1);
  return result;
}

ProofChecker::ProofChecker(la::ItpLinearTermMapper& mapper,
                           const std::vector<const Term_*>& asserted)
    : mapper_(mapper), asserted_(asserted.begin(), asserted.end()) {
  assert(asserted_.count(nullptr) == 0);
}

std::optional<std::string> ProofChecker::check(const proof::Proof* root) {
  if (root == nullptr) return "there is no proof";
  try {
    Run(mapper_, asserted_).refutation(root);
  } catch (const Broken& broken) {
    return broken.what;
  }
  return std::nullopt;
}

}  // namespace opal::host
