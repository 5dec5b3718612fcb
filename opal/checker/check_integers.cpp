// Cuts, and equalities without an integer solution.
//
//     e >= 0     f1 ..  fn         each fi an inequality fi >= 0 with weight |mi|, or an
//     ------------------------     equality fi = 0 with weight mi
//      C = e + sum of them
//        = k*D + c,                k the common divisor of the coefficients of C
//       D + floor(c/k) >= 0
//
// Whatever enters a cut has integer variables, integer coefficients and an integer
// constant, and is not strict: the congruence style asks for which integers A's part of C
// can be. An equality's weight is signed relative to the conclusion as it is written, so
// that e and f are both read as <=, or both as >=.
//
//     e1 = 0  ...  en = 0
//     -------------------  m1*e1 + ... + mn*en has integer coefficients and a constant that
//            false         is no integer

#include <cassert>
#include <utility>

#include "opal/checker/checker_run.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

constexpr const char* CUT = "LaZTighteningProof";
constexpr const char* EQUALITIES = "LaZEqSubProof";

std::string at(const char* rule, int id) {
  return std::string(rule) + " on constraint " + std::to_string(id) + ": ";
}

void check_integer_variables(const CheckedConstraint& constraint, const std::string& at) {
  if (const Term_* variable = constraint.sum.first_real())
    refuse(at, term_text(variable), " is no integer variable");
}

void check_premise(const CheckedConstraint& constraint, int id) {
  assert(constraint.sum.is_normal());
  if (constraint.is_disequality()) refuse(at(CUT, id), "it is a disequality");
  if (constraint.is_strict()) refuse(at(CUT, id), "it is strict");
  check_integer_variables(constraint, at(CUT, id));
  if (!constraint.sum.has_integer_coefficients())
    refuse(at(CUT, id), "a coefficient is no integer");
  if (!constraint.sum.constant.is_integer())
    refuse(at(CUT, id), "the constant is no integer");
}

}  // namespace

const ProofChecker::Run::Derived& ProofChecker::Run::cut(
    const laz::LaZTighteningProof& node) {
  const auto known = cuts_.find(&node);
  if (known != cuts_.end()) return known->second;
  if (node.constraints.empty()) refuse(CUT, ": it has no conclusion");
  if (node.coeffs.size() + 1 != node.constraints.size())
    refuse(CUT, ": ", node.coeffs.size(), " multipliers for ", node.constraints.size() - 1,
           " premises");
  Derived derived = combined(node);
  const QNumber divisor = derived.sum.content();
  if (divisor.is_zero()) refuse(CUT, ": the combination has no variable");
  if (node.divisor != divisor)
    refuse(CUT, ": the divisor is ", node.divisor, ", the coefficients have ", divisor);
  derived.sum.tighten(CheckedSum::Relation::AT_LEAST_ZERO);
  assert(derived.sum.content() == QNumber(1) && derived.sum.constant.is_integer());
  enter_cut_variable(node);
  return cuts_.emplace(&node, std::move(derived)).first->second;
}

// The combination before it is rounded.
ProofChecker::Run::Derived ProofChecker::Run::combined(
    const laz::LaZTighteningProof& node) const {
  assert(!node.constraints.empty() && node.coeffs.size() + 1 == node.constraints.size());
  const int conclusion_id = node.constraints.back();
  CheckedConstraint conclusion = constraints_.any(conclusion_id, CUT);
  check_premise(conclusion, conclusion_id);
  const int direction = conclusion.direction();
  if (direction == 0) refuse(at(CUT, conclusion_id), "the conclusion is no inequality");
  Derived result{std::move(conclusion.sum), false, {}};
  result.sum.scale(QNumber(direction));
  if (conclusion.of_branch) result.branches.push_back(conclusion_id);
  for (std::size_t i = 0; i < node.coeffs.size(); ++i) {
    const int id = node.constraints[i];
    const QNumber& multiplier = node.coeffs[i];
    const CheckedConstraint premise = constraints_.any(id, CUT);
    check_premise(premise, id);
    if (multiplier.is_zero() || !multiplier.is_integer())
      refuse(at(CUT, id), "the multiplier ", multiplier, " is no integer other than zero");
    const QNumber weight = premise.is_equality()
                               ? QNumber(direction) * multiplier
                               : QNumber(premise.direction()) * abs(multiplier);
    assert(!weight.is_zero());
    result.sum.add(weight, premise.sum);
    if (premise.of_branch) result.branches.push_back(id);
  }
  assert(result.sum.has_integer_coefficients() && result.sum.constant.is_integer());
  assert(result.sum.first_real() == nullptr && result.sum.is_normal());
  return result;
}

void ProofChecker::Run::enter_cut_variable(const laz::LaZTighteningProof& node) {
  const int var = node.tight_var;
  if (var == mapper_.delta_var())
    refuse(CUT, ": its variable ", var, " is the strictness variable");
  const Term_* const term = mapper_.var_term(var);
  assert(cut_variables_.size() == cuts_.size());
  if (term == nullptr) refuse(CUT, ": its variable ", var, " has no term");
  if (!cut_variables_.emplace(var, term).second)
    refuse(CUT, ": its variable ", var, " is that of another node, too");
}

void ProofChecker::Run::check_cut_variables() const {
  assert(cut_variables_.size() == cuts_.size());
  if (cut_variables_.empty()) return;
  const std::unordered_set<const Term_*> variables = constraints_.variables();
  for (const auto& [var, term] : cut_variables_)
    if (variables.find(term) != variables.end())
      refuse(CUT, ": its variable ", var, " is the problem's ", term_text(term));
}

void ProofChecker::Run::equality_proof(const laz::LaZEqSubProof& node) const {
  if (node.coeffs.size() != node.constraints.size())
    refuse(EQUALITIES, ": ", node.coeffs.size(), " multipliers for ",
           node.constraints.size(), " equalities");
  CheckedSum sum;
  std::set<int> ids;
  for (std::size_t i = 0; i < node.coeffs.size(); ++i) {
    const int id = node.constraints[i];
    const CheckedConstraint constraint = constraints_.asserted(id, EQUALITIES);
    if (!constraint.is_equality()) refuse(at(EQUALITIES, id), "it is no equality");
    check_integer_variables(constraint, at(EQUALITIES, id));
    if (!ids.insert(id).second) refuse(at(EQUALITIES, id), "it occurs twice");
    if (node.coeffs[i].is_zero()) refuse(at(EQUALITIES, id), "its multiplier is zero");
    sum.add(node.coeffs[i], constraint.sum);
  }
  assert(ids.size() == node.constraints.size() && sum.is_normal());
  if (!sum.has_integer_coefficients())
    refuse(EQUALITIES, ": a coefficient of the sum is no integer");
  if (sum.constant.is_integer())
    refuse(EQUALITIES, ": the constant of the sum, ", sum.constant, ", is an integer");
}

}  // namespace opal::host
