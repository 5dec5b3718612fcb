// What a proof promises about a partition into A and B.
//
// An equality sub-proof is trimmed: neither the equalities that may count as A's nor those
// that may count as B's make up a combination with integer coefficients and a fractional
// constant, unless they are all there are. (The engine counts an equality of both sides as
// A's, and as B's under MODE_DUAL.)
//
// Both atoms of a branch t <= c, t >= c+1 are in the table of atoms, as A's if t has a
// symbol that is local to A, else as B's; t does not mix symbols of both sides.
//
// Example: with A: x = 2y and B: x = 2z + 1, half of their difference is y - z = -1/2. Of
// A's equality alone half is x/2 - y = 0, whose coefficient 1/2 is no integer: so the proof
// is trimmed. A proof that takes A's 2u = 1 with the multiplier 1/2 and, needlessly, B's
// v = w with the multiplier 1 is not: A's part, u = 1/2, has no solution by itself.
//
// Cost: linear in the nodes of the proof and the summands of its equalities.

#include <cassert>

#include "opal/checker/checker_run.h"
#include "opal/interfaces/rule_cast.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

using itp::TheoryAtomClassifier;
using status = TheoryAtomClassifier::status;

class PartitionCheck {
 public:
  PartitionCheck(la::ItpLinearTermMapper& mapper,
                 const std::unordered_set<const Term_*>& asserted,
                 const TheoryAtomClassifier& classifier)
      : mapper_(mapper), constraints_(mapper, asserted), classifier_(classifier) {}

  void check(const proof::Proof* root) {
    assert(colours_.empty());
    std::unordered_set<const proof::Proof*> seen;
    std::vector<const proof::Proof*> stack{root};
    while (!stack.empty()) {
      const proof::Proof* const p = stack.back();
      stack.pop_back();
      if (p == nullptr) refuse("a premise is missing");
      if (seen.insert(p).second) check_node(*p, stack);
    }
  }

 private:
  void check_node(const proof::Proof& node, std::vector<const proof::Proof*>& premises) {
    if (const auto* hyp = la::as<la::LaHyp>(&node)) {
      if (hyp->constraint_id != mapper_.zero_constraint()) colour_of(hyp->constraint_id);
    } else if (const auto* comb = la::as<la::LaComb>(&node)) {
      premises.insert(premises.end(), {comb->premise2, comb->premise1});
    } else if (const auto* split = la::as<la::LaNeq>(&node)) {
      colour_of(split->constraint_id);
      premises.insert(premises.end(), {split->case2, split->case1});
    } else if (const auto* cut = la::as<laz::LaZTighteningProof>(&node)) {
      for (const int id : cut->constraints)
        colour_of(id);
    } else if (const auto* equalities = la::as<laz::LaZEqSubProof>(&node)) {
      check_trimmed(*equalities);
    } else if (const auto* branches = la::as<laz::LaZInternalBBProof>(&node)) {
      const status colour = colour_of_term(branches->left_term, branches->left_id);
      for (const int id : {branches->left_id, branches->right_id})
        check_entered(id, colour);
      premises.insert(premises.end(), {branches->right, branches->left});
    } else {
      refuse("a rule that is not checked");
    }
  }

  // As the engine sees it. Refused: an atom that neither side may have.
  status colour_of(int id) {
    const auto known = colours_.find(id);
    if (known != colours_.end()) return known->second;
    const TheoryLit lit = mapper_.constraint_lit(id);
    if (lit.has_no_atom()) refuse("constraint ", id, " has no literal");
    status colour = classifier_.classify_atom(lit.atom());
    if (colour == status::UNKNOWN) colour = classifier_.classify(lit.atom(), false);
    if (!classifier_.is_A_colorable(colour) && !classifier_.is_B_colorable(colour))
      refuse("constraint ", id, ": ", term_text(lit.atom()), " is ",
             classifier_.to_str(colour));
    return colours_[id] = colour;
  }

  void check_trimmed(const laz::LaZEqSubProof& node) {
    CheckedSum of_A;
    CheckedSum of_B;
    bool all_A = true;
    bool all_B = true;
    for (std::size_t i = 0; i < node.constraints.size() && i < node.coeffs.size(); ++i) {
      const int id = node.constraints[i];
      const status colour = colour_of(id);
      const CheckedSum sum = constraints_.asserted(id, "LaZEqSubProof").sum;
      if (classifier_.is_A_colorable(colour)) of_A.add(node.coeffs[i], sum);
      if (classifier_.is_B_colorable(colour)) of_B.add(node.coeffs[i], sum);
      all_A = all_A && classifier_.is_A_colorable(colour);
      all_B = all_B && classifier_.is_B_colorable(colour);
    }
    assert(of_A.is_normal() && of_B.is_normal());
    const auto stands_alone = [](const CheckedSum& sum) {
      return sum.has_integer_coefficients() && !sum.constant.is_integer();
    };
    if (!all_A && stands_alone(of_A))
      refuse("LaZEqSubProof: A's equalities alone have no integer solution");
    if (!all_B && stands_alone(of_B))
      refuse("LaZEqSubProof: B's equalities alone have no integer solution");
  }

  status colour_of_term(const la::LinearTerm& branch, int id) {
    bool has_A = false;
    bool has_B = false;
    for (const auto& summand : branch.vars.coeffs()) {
      const Term_* const variable = mapper_.var_term(summand.first);
      if (variable == nullptr) refuse("the variable ", summand.first, " has no term");
      const status colour = classifier_.classify(variable, false);
      const bool is_A = classifier_.is_A_colorable(colour);
      const bool is_B = classifier_.is_B_colorable(colour);
      if (!is_A && !is_B)
        refuse("LaZInternalBBProof with branch ", id, ": ", term_text(variable), " is ",
               classifier_.to_str(colour));
      has_A = has_A || !is_B;
      has_B = has_B || !is_A;
    }
    if (has_A && has_B)
      refuse("LaZInternalBBProof with branch ", id,
             ": its term mixes symbols of A and of B");
    return has_A ? status::A_LOCAL : status::B_LOCAL;
  }

  void check_entered(int id, status expected) {
    assert(expected == status::A_LOCAL || expected == status::B_LOCAL);
    const TheoryLit lit = mapper_.constraint_lit(id);
    if (lit.has_no_atom()) refuse("constraint ", id, " has no literal");
    const status colour = classifier_.classify_atom(lit.atom());
    if (colour != expected)
      refuse("LaZInternalBBProof with branch ", id, ": ", term_text(lit.atom()),
             " is entered as ", classifier_.to_str(colour), ", not as ",
             classifier_.to_str(expected));
  }

  la::ItpLinearTermMapper& mapper_;
  const CheckedConstraints constraints_;
  const TheoryAtomClassifier& classifier_;
  std::unordered_map<int, status> colours_;
};

}  // namespace

std::optional<std::string> ProofChecker::check_partition(
    const proof::Proof* root, const TheoryAtomClassifier& classifier) {
  try {
    PartitionCheck(mapper_, asserted_, classifier).check(root);
  } catch (const Broken& broken) {
    return broken.what;
  }
  return std::nullopt;
}

}  // namespace opal::host
