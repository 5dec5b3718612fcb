// A proof that is to be split, and the halves that come of it.
//
//      to be split:  LaNeq(a /= b, case, case), both sides together
//      a half:       LaNeq(a = t, LaComb(fake, part), LaComb(fake, part)), one side's parts
//
// The engine computes the shared term t from the sum of A's part of the first case: so the
// disequality has to enter with the multiplier one and in the direction that the sign -1
// stands for, and the mapper must say a - b of it, not a multiple. With A and B satisfiable
// together, a case sums up to 0 > 0, and the disequality alone makes it strict.
//
// A half is a contradiction, or leaves a constraint over shared symbols in a case.

#include <array>
#include <cassert>

#include "opal/checker/checked_constraint.h"
#include "opal/checker/proof_checker.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/rule_cast.h"
#include "opal/terms/print/printer.h"
#include "opal/terms/terms.h"

namespace opal::host {

namespace {

using itp::TheoryAtomClassifier;
using la::LinearTerm;
using status = TheoryAtomClassifier::status;

struct Leaf {
  const proof::Proof* node;
  const QNumber* multiplier;  // null for one

  // Positive, as leaves() has checked.
  [[nodiscard]] const QNumber& factor() const {
    return multiplier != nullptr ? *multiplier : la::LaComb::one;
  }
};

enum class Case : std::uint8_t { FIRST, SECOND };
enum class Side : std::uint8_t { A, B };

class SplitCheck {
 public:
  SplitCheck(la::ItpLinearTermMapper& mapper,
             const std::unordered_set<const Term_*>& asserted,
             const TheoryAtomClassifier& classifier)
      : mapper_(mapper), constraints_(mapper, asserted), classifier_(classifier) {}

  void to_be_split(const proof::Proof* root);
  bool half(const proof::Proof* root);  // whether it stands alone

 private:
  // A case of a half: what its hypotheses sum up to.
  struct HalfCase {
    CheckedSum sum;
    bool strict = false;
    int direction = 0;  // with which the half's equality is denied
  };

  [[nodiscard]] status colour_of(const Term_* t) const;
  [[nodiscard]] Side side_of(const Term_* t) const;
  [[nodiscard]] const la::LaNeq& case_split(const proof::Proof* root);
  [[nodiscard]] std::vector<Leaf> leaves(const proof::Proof* root) const;
  void check_exact() const;
  void check_case(const proof::Proof* root, Case which) const;
  [[nodiscard]] CheckedConstraint hypothesis(const la::LaHyp& hyp) const;
  [[nodiscard]] HalfCase half_case(const proof::Proof* root, Side side) const;
  [[nodiscard]] int add_fake(const la::LaFakeHyp& fake, HalfCase& half) const;
  [[nodiscard]] CheckedSum sum_of(const la::Equation& e) const;

  la::ItpLinearTermMapper& mapper_;
  const CheckedConstraints constraints_;
  const TheoryAtomClassifier& classifier_;
  int id_ = 0;           // of the root
  TheoryLit lit_;        // its literal
  CheckedSum expected_;  // left - right of its atom
};

status SplitCheck::colour_of(const Term_* t) const {
  const status colour = classifier_.classify_atom(t);
  return colour != status::UNKNOWN ? colour : classifier_.classify(t, false);
}

Side SplitCheck::side_of(const Term_* t) const {
  const status colour = colour_of(t);
  const bool of_B = classifier_.is_B_colorable(colour);
  if (!of_B && !classifier_.is_A_colorable(colour))
    refuse(term_text(t), " is ", classifier_.to_str(colour));
  return of_B ? Side::B : Side::A;
}

const la::LaNeq& SplitCheck::case_split(const proof::Proof* root) {
  const auto* const node = la::as<la::LaNeq>(root);
  if (node == nullptr) refuse("the root is no LaNeq");
  id_ = node->constraint_id;
  lit_ = mapper_.constraint_lit(id_);
  if (lit_.has_no_atom() || Terms::kind_of(lit_.atom()) != Kind::EQ)
    refuse("LaNeq on constraint ", id_, ": its literal is over no equality");
  const std::optional<CheckedSum> difference = checked_difference(lit_.atom());
  if (!difference) refuse(term_text(lit_.atom()), " is not linear");
  expected_ = *difference;
  assert(expected_.is_normal());
  return *node;
}

std::vector<Leaf> SplitCheck::leaves(const proof::Proof* root) const {
  std::vector<Leaf> result;
  std::unordered_set<const proof::Proof*> seen;
  std::vector<Leaf> stack{{root, nullptr}};
  while (!stack.empty()) {
    const Leaf top = stack.back();
    stack.pop_back();
    if (top.node == nullptr) refuse("a premise is missing");
    if (top.factor().sign() <= 0)
      refuse("LaComb: the multiplier ", top.factor(), " is not positive");
    const auto* const hyp = la::as<la::LaHyp>(top.node);
    if (hyp != nullptr && hyp->constraint_id == mapper_.zero_constraint()) continue;
    if (!seen.insert(top.node).second) refuse("a node is reached twice in one case");
    if (const auto* comb = la::as<la::LaComb>(top.node)) {
      if (top.multiplier != nullptr)
        refuse("LaComb: the multiplier ", *top.multiplier, " stands on a combination");
      stack.push_back({comb->premise2, comb->coeff2});
      stack.push_back({comb->premise1, comb->coeff1});
    } else {
      assert(top.factor().sign() > 0);
      result.push_back(top);
    }
  }
  assert(result.size() <= seen.size());
  return result;
}

CheckedSum SplitCheck::sum_of(const la::Equation& e) const {
  CheckedSum result;
  if (e.constant() != nullptr) result.constant = *e.constant();
  for (const auto& [var, coefficient] : e.coeffs()) {
    if (var == mapper_.delta_var()) continue;
    const Term_* const term = mapper_.var_term(var);
    if (term == nullptr) refuse("the variable ", var, " has no term");
    const std::optional<CheckedSum> form = checked_form(term);
    if (!form) refuse(term_text(term), " is not linear");
    result.add(coefficient, *form);
  }
  assert(result.is_normal());
  return result;
}

void SplitCheck::check_exact() const {
  const LinearTerm term = mapper_.linear_term(id_);
  CheckedSum sum = sum_of(term.vars);
  sum.constant -= term.constant;
  assert(!lit_.has_no_atom());
  std::optional<QNumber> ratio = expected_.ratio_to(sum);
  if (!ratio) {
    sum.scale(QNumber(-1));
    ratio = expected_.ratio_to(sum);
  }
  if (term.kind != LinearTerm::NEQ || ratio != std::optional<QNumber>(QNumber(1)))
    refuse("LaNeq on constraint ", id_, ": the mapper's linear term is not exactly the ",
           "difference in ", term_text(lit_.atom()));
}

void SplitCheck::to_be_split(const proof::Proof* root) {
  const la::LaNeq& node = case_split(root);
  if (!lit_.is_negated()) refuse("LaNeq on constraint ", id_, ": it denies no equality");
  const status colour = colour_of(lit_.atom());
  if (colour != status::AB_MIXED)
    refuse(term_text(lit_.atom()), " is ", classifier_.to_str(colour), ", not AB-mixed");
  check_exact();
  check_case(node.case1, Case::FIRST);
  check_case(node.case2, Case::SECOND);
}

CheckedConstraint SplitCheck::hypothesis(const la::LaHyp& hyp) const {
  CheckedConstraint result = constraints_.asserted(hyp.constraint_id, "LaHyp");
  const bool halves = result.direction() == 0;
  if (result.is_disequality())
    refuse("LaHyp on constraint ", hyp.constraint_id, ": another disequality");
  if (halves ? hyp.sign != -1 && hyp.sign != 1 : hyp.sign != 0)
    refuse("LaHyp on constraint ", hyp.constraint_id, ": it has the sign ", hyp.sign);
  result.sum.scale(QNumber(halves ? hyp.sign : result.direction()));
  assert(result.sum.is_normal() && !result.of_branch);
  return result;
}

void SplitCheck::check_case(const proof::Proof* root, Case which) const {
  const bool first = which == Case::FIRST;
  const std::string where = first ? "in the first case, " : "in the second case, ";
  const LinearTerm term = mapper_.linear_term(id_);
  CheckedSum sum;
  bool strict = false;
  int uses = 0;
  for (const Leaf& leaf : leaves(root)) {
    const auto* const hyp = la::as<la::LaHyp>(leaf.node);
    if (hyp == nullptr) refuse(where, "a rule that cannot be split");
    if (hyp->constraint_id != id_) {
      const CheckedConstraint constraint = hypothesis(*hyp);
      static_cast<void>(side_of(mapper_.constraint_lit(hyp->constraint_id).atom()));
      sum.add(leaf.factor(), constraint.sum);
      strict = strict || constraint.is_strict();
      continue;
    }
    if (++uses > 1) refuse(where, "the disequality occurs twice");
    if (leaf.factor() != QNumber(1))
      refuse(where, "the disequality has the multiplier ", leaf.factor(), ", not 1");
    if ((hyp->sign == -1) != first)
      refuse(where, "the disequality has the sign ", hyp->sign);
    CheckedSum half = sum_of(term.vars);
    half.constant -= term.constant;
    sum.add(QNumber(first ? -1 : 1), half);
  }
  if (uses == 0) refuse(where, "the disequality does not occur");
  assert(uses == 1 && sum.is_normal());
  if (const Term_* variable = sum.first_variable())
    refuse(where, "the sum has ", term_text(variable), " left");
  if (sum.constant.sign() > 0)
    refuse(where, "the sum is no contradiction: ", sum.constant, " > 0");
  if (sum.constant.sign() < 0 || strict)
    refuse(where, "A and B contradict each other without the disequality");
}

// The direction: 1 when the fake hypothesis says at least left - right, -1 for at most.
int SplitCheck::add_fake(const la::LaFakeHyp& fake, HalfCase& half) const {
  const std::string at = "LaFakeHyp on constraint " + std::to_string(fake.constraint_id);
  const TheoryLit lit = mapper_.constraint_lit(fake.constraint_id);
  if (lit.has_no_atom() || lit.is_negated() || Terms::kind_of(lit.atom()) != Kind::EQ)
    refuse(at, ": its literal is no equality");
  const bool own = fake.constraint_id == id_;
  CheckedSum sum = sum_of(*fake.equation);
  half.sum.add(QNumber(1), sum);
  const bool strict = fake.equation->coeff(mapper_.delta_var()).sign() < 0;
  half.strict = half.strict || strict;
  const std::optional<CheckedSum> difference = checked_difference(lit.atom());
  if (strict != own || !difference) refuse(at, ": strict where it must not be");
  for (const int direction : {1, -1}) {
    if (difference->ratio_to(sum) == std::optional<QNumber>(QNumber(1))) return direction;
    sum.scale(QNumber(-1));
  }
  refuse(at, ": it does not say what ", term_text(lit.atom()), " says");
}

SplitCheck::HalfCase SplitCheck::half_case(const proof::Proof* root, Side side) const {
  HalfCase result;
  for (const Leaf& leaf : leaves(root)) {
    if (const auto* fake = la::as<la::LaFakeHyp>(leaf.node)) {
      const bool own = fake->constraint_id == id_;
      if (own && leaf.factor() != QNumber(1)) refuse("a multiplier on the equality");
      HalfCase scaled;
      const int direction = add_fake(*fake, scaled);
      assert(direction == 1 || direction == -1);
      result.sum.add(leaf.factor(), scaled.sum);
      result.strict = result.strict || scaled.strict;
      if (own && std::exchange(result.direction, direction) != 0)
        refuse("a case denies its equality twice");
      continue;
    }
    const auto* const hyp = la::as<la::LaHyp>(leaf.node);
    if (hyp == nullptr) refuse("a rule that cannot stand in a half");
    const CheckedConstraint constraint = hypothesis(*hyp);
    if (side_of(mapper_.constraint_lit(hyp->constraint_id).atom()) != side)
      refuse("LaHyp on constraint ", hyp->constraint_id, ": it is of the other side");
    result.sum.add(leaf.factor(), constraint.sum);
    result.strict = result.strict || constraint.is_strict();
  }
  if (result.direction == 0) refuse("a case does not deny its equality");
  assert(result.strict && result.sum.is_normal());  // an equality is denied strictly
  return result;
}

bool SplitCheck::half(const proof::Proof* root) {
  const la::LaNeq& node = case_split(root);
  const Side side = side_of(lit_.atom());
  const std::array<HalfCase, 2> cases{half_case(node.case1, side),
                                      half_case(node.case2, side)};
  if (cases[0].direction == cases[1].direction && expected_.first_variable() != nullptr)
    refuse("both cases deny the equality in the same direction");
  assert(cases[0].direction != 0 && cases[1].direction != 0);
  bool alone = true;
  for (const HalfCase& c : cases) {
    const int sign = c.sum.constant.sign();
    alone = alone && c.sum.coefficients.empty() && (sign < 0 || (sign == 0 && c.strict));
    CheckedSum rest = c.sum;
    while (const Term_* variable = rest.first_variable()) {
      const status colour = colour_of(variable);
      if (colour != status::SHARED)
        refuse("a case leaves ", term_text(variable), ", which is ",
               classifier_.to_str(colour));
      rest.coefficients.erase(variable);
    }
  }
  return alone;
}

}  // namespace

std::optional<std::string> ProofChecker::check_split(
    const proof::Proof* root, const TheoryAtomClassifier& classifier) {
  try {
    SplitCheck(mapper_, asserted_, classifier).to_be_split(root);
  } catch (const Broken& broken) {
    return broken.what;
  }
  return std::nullopt;
}

CheckedHalf ProofChecker::check_half(const proof::Proof* root,
                                     const TheoryAtomClassifier& classifier) {
  try {
    return {"", SplitCheck(mapper_, asserted_, classifier).half(root)};
  } catch (const Broken& broken) {
    return {broken.what, false};
  }
}

}  // namespace opal::host
