#include "opal/host/proof_checker.h"

#include <set>
#include <sstream>
#include <utility>

#include "opal/host/checked_sum.h"
#include "opal/host/printer.h"
#include "opal/host/terms.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"

// A refutation is a combination, or a case split with two of them:
//
//      a combination:  LaHyp | LaComb(multiplier, premise, multiplier, premise)
//      a case split:   LaNeq(disequality, combination, combination)
//
// Multipliers stand on hypotheses only, so that a hypothesis enters the sum with its own
// multiplier. With a hypothesis read as e >= 0 or e > 0, a combination is a contradiction
// when the weighted sum of its hypotheses is a number below zero, or zero with a strict
// hypothesis among them.

namespace opal::host {

namespace {

using la::LinearTerm;

// What a check stumbles over: thrown where it is found, caught by check().
struct Broken {
  std::string what;
};

template <typename... Parts>
[[noreturn]] void refuse(const Parts&... parts) {
  std::ostringstream text;
  (text << ... << parts);
  throw Broken{text.str()};
}

// How a constraint is read: which relation, and whether its left side is the larger one.
struct Relation {
  int kind;  // LEQ, LT, EQ or NEQ
  bool mirrored;
};

Relation relation_of(const LinearTerm& term) {
  switch (term.kind) {
    case LinearTerm::GEQ: return {LinearTerm::LEQ, true};
    case LinearTerm::GT: return {LinearTerm::LT, true};
    default: break;
  }
  return {term.kind, false};
}

int kind_of_atom(const Term_* atom) {
  switch (Terms::kind_of(atom)) {
    case Kind::LEQ:
    case Kind::FALSE: return LinearTerm::LEQ;
    case Kind::LT: return LinearTerm::LT;
    case Kind::EQ: return LinearTerm::EQ;
    case Kind::NEQ: return LinearTerm::NEQ;
    default: break;
  }
  return -1;
}

// A hypothesis as it enters a sum: left - right of its atom, times `factor` (negative for
// an upper bound), is >= 0, or > 0 when it is strict.
struct Inequality {
  CheckedSum difference;
  QNumber factor;
  bool strict;
};

}  // namespace

// Checks one refutation.
class ProofChecker::Run {
 public:
  Run(la::ItpLinearTermMapper& mapper, const std::unordered_set<const Term_*>& asserted)
      : mapper_(mapper), asserted_(asserted) {}

  void refutation(const proof::Proof* root) {
    const auto* split = dynamic_cast<const la::LaNeq*>(root);
    if (split == nullptr) return combination(root, nullptr);
    const int id = split->constraint_id;
    const Term_* atom = asserted_atom(id, "LaNeq");
    if (kind_of_atom(atom) != LinearTerm::NEQ)
      refuse("LaNeq on constraint ", id, ": ", term_text(atom), " is no disequality");
    Split first{id, 0};
    combination(split->case1, &first);
    Split second{id, 0};
    combination(split->case2, &second);
    for (const Split& half : {first, second})
      if (half.sign == 0)
        refuse("LaNeq on constraint ", id, ": a case does not use the disequality");
    if (first.sign == second.sign)
      refuse("LaNeq on constraint ", id, ": both cases have the sign ", first.sign);
  }

 private:
  // The disequality that a case may use, and the sign with which it does (0: not yet).
  struct Split {
    int constraint_id;
    int sign;
  };

  struct Visit {
    const proof::Proof* node;
    const QNumber* multiplier;  // null for one
  };

  // `split` is null outside of a case split.
  void combination(const proof::Proof* root, Split* split) {
    std::unordered_set<const proof::Proof*> nodes;
    std::set<std::pair<int, int>> hypotheses;
    CheckedSum sum;
    bool strict = false;
    std::vector<Visit> stack{{root, nullptr}};
    while (!stack.empty()) {
      const Visit visit = stack.back();
      stack.pop_back();
      if (visit.node == nullptr) refuse("a premise is missing");
      const auto* hyp = dynamic_cast<const la::LaHyp*>(visit.node);
      if (hyp != nullptr && hyp->constraint_id == mapper_.zero_constraint()) continue;
      if (!nodes.insert(visit.node).second)
        refuse(name_of(*visit.node), " is reached twice in one combination");
      if (hyp == nullptr) {
        push_premises(*visit.node, stack);
        continue;
      }
      if (!hypotheses.emplace(hyp->constraint_id, hyp->sign).second)
        refuse(at(*hyp), "occurs twice with the sign ", hyp->sign, " in one combination");
      const Inequality inequality = read(*hyp, split);
      const QNumber& multiplier =
          visit.multiplier != nullptr ? *visit.multiplier : la::LaComb::one;
      sum.add(inequality.factor * multiplier, inequality.difference);
      strict = strict || inequality.strict;
    }
    check_contradiction(sum, strict);
  }

  static void push_premises(const proof::Proof& node, std::vector<Visit>& stack) {
    const auto* comb = dynamic_cast<const la::LaComb*>(&node);
    if (comb == nullptr) {
      if (dynamic_cast<const la::LaNeq*>(&node) != nullptr) refuse("LaNeq below the root");
      refuse("the rule ", name_of(node), " is not checked");
    }
    for (const Visit premise :
         {Visit{comb->premise2, comb->coeff2}, Visit{comb->premise1, comb->coeff1}}) {
      if (premise.multiplier != nullptr) {
        if (premise.multiplier->sign() <= 0)
          refuse("LaComb: the multiplier ", *premise.multiplier, " is not positive");
        if (dynamic_cast<const la::LaComb*>(premise.node) != nullptr)
          refuse("LaComb: the multiplier ", *premise.multiplier,
                 " stands on a combination, not on a hypothesis");
      }
      stack.push_back(premise);
    }
  }

  static void check_contradiction(const CheckedSum& sum, bool strict) {
    if (const Term_* variable = sum.first_variable())
      refuse("the sum has ", term_text(variable), " left, with the coefficient ",
             sum.coefficients.at(variable));
    if (sum.constant.sign() > 0 || (sum.constant.is_zero() && !strict))
      refuse("the sum is no contradiction: ", sum.constant, strict ? " > 0" : " >= 0");
  }

  const Term_* asserted_atom(int constr_id, const char* rule) {
    const TheoryLit lit = mapper_.constraint_lit(constr_id);
    if (lit.is_null()) refuse(rule, " on constraint ", constr_id, ": it has no literal");
    if (lit.is_negated() || kind_of_atom(lit.atom()) < 0)
      refuse(rule, " on constraint ", constr_id, ": its literal is not a positive atom");
    if (asserted_.find(lit.atom()) == asserted_.end())
      refuse(rule, " on constraint ", constr_id, ": ", term_text(lit.atom()),
             " was not asserted");
    return lit.atom();
  }

  Inequality read(const la::LaHyp& hyp, Split* split) {
    const Term_* atom = asserted_atom(hyp.constraint_id, "LaHyp");
    const int kind = kind_of_atom(atom);
    check_sign(hyp, kind);
    if (kind == LinearTerm::NEQ) use_disequality(hyp, split);

    std::optional<CheckedSum> difference = checked_difference(atom);
    if (!difference) refuse(at(hyp), term_text(atom), " is not linear");
    const LinearTerm term = mapper_.linear_term(hyp.constraint_id);
    const Relation relation = relation_of(term);
    const std::optional<QNumber> scale = difference->ratio_to(sum_of(hyp, term));
    if (relation.kind != kind || !scale)
      refuse(at(hyp), "the mapper's linear term is not that of ", term_text(atom));
    const bool at_least = kind != LinearTerm::LEQ && kind != LinearTerm::LT && hyp.sign > 0;
    return {std::move(*difference), at_least ? *scale : scale->neg(),
            kind == LinearTerm::LT || kind == LinearTerm::NEQ};
  }

  static void check_sign(const la::LaHyp& hyp, int kind) {
    const bool halves = kind == LinearTerm::EQ || kind == LinearTerm::NEQ;
    const bool is_half = hyp.sign == -1 || hyp.sign == 1;
    if (halves && !is_half)
      refuse(at(hyp), "the sign ", hyp.sign, " selects no half; it must be -1 or 1");
    if (!halves && hyp.sign != 0)
      refuse(at(hyp), "an inequality has the sign 0, not ", hyp.sign);
  }

  static void use_disequality(const la::LaHyp& hyp, Split* split) {
    if (split == nullptr) refuse(at(hyp), "a disequality outside of a LaNeq");
    if (split->constraint_id != hyp.constraint_id)
      refuse(at(hyp), "a disequality below the LaNeq of constraint ", split->constraint_id);
    if (split->sign != 0) refuse(at(hyp), "a case uses both sides of its disequality");
    split->sign = hyp.sign;
  }

  // Left minus right side of what the mapper hands out, the smaller side on the left.
  CheckedSum sum_of(const la::LaHyp& hyp, const LinearTerm& term) {
    const QNumber direction(relation_of(term).mirrored ? -1 : 1);
    CheckedSum sum;
    sum.constant = direction.neg() * term.constant;
    for (const auto& [var, coefficient] : term.vars.coeffs()) {
      const Term_* variable = mapper_.var_term(var);
      if (variable == nullptr) refuse(at(hyp), "the variable ", var, " has no term");
      sum.add(variable, direction * coefficient);
    }
    return sum;
  }

  static std::string at(const la::LaHyp& hyp) {
    return "LaHyp on constraint " + std::to_string(hyp.constraint_id) + ": ";
  }

  static const char* name_of(const proof::Proof& node) {
    if (dynamic_cast<const la::LaHyp*>(&node) != nullptr) return "LaHyp";
    if (dynamic_cast<const la::LaComb*>(&node) != nullptr) return "LaComb";
    if (dynamic_cast<const la::LaCombImp*>(&node) != nullptr) return "LaCombImp";
    if (dynamic_cast<const la::LaNeq*>(&node) != nullptr) return "LaNeq";
    if (dynamic_cast<const la::LaFakeHyp*>(&node) != nullptr) return "LaFakeHyp";
    if (dynamic_cast<const la::LaEqSplitLemma*>(&node) != nullptr) return "LaEqSplitLemma";
    if (dynamic_cast<const la::LaUnitLemma*>(&node) != nullptr) return "LaUnitLemma";
    if (dynamic_cast<const laz::LaZTighteningProof*>(&node) != nullptr)
      return "LaZTighteningProof";
    if (dynamic_cast<const laz::LaZInternalBBProof*>(&node) != nullptr)
      return "LaZInternalBBProof";
    if (dynamic_cast<const laz::LaZBBLemma*>(&node) != nullptr) return "LaZBBLemma";
    if (dynamic_cast<const laz::LaZEqSubProof*>(&node) != nullptr) return "LaZEqSubProof";
    return "of an unknown kind";
  }

  la::ItpLinearTermMapper& mapper_;
  const std::unordered_set<const Term_*>& asserted_;
};

ProofChecker::ProofChecker(la::ItpLinearTermMapper& mapper,
                           const std::vector<const Term_*>& asserted)
    : mapper_(mapper), asserted_(asserted.begin(), asserted.end()) {}

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
