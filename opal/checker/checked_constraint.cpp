// What an id stands for, by the mapper and by the atom.
//
// The multipliers of a proof count for the linear term that the mapper hands out; so it is
// this term that enters the checker's sums, once it is known to follow from the atom. Let
// D rel 0 be the atom, D computed from its terms, and T rel' 0 the mapper's. They agree if
//
//     rel' is rel and T is a positive multiple of D,                or
//     D is over integers, both are inequalities, and with D' the coprime form of D with
//     the constant rounded, T is s*D' but for the constant, and T's is no larger than s
//     times that of D' (for T <= 0), or smaller than it (for T < 0)
//
// where a mirrored relation (>=, >) is read with both sides negated. Example: 2x < 5 over
// integers is x - 2 <= 0; the mapper may say x <= 2, x < 3, or x <= 7, but not x <= 1.

#include "opal/checker/checked_constraint.h"

#include <cassert>
#include <vector>

#include "opal/terms/print/printer.h"
#include "opal/terms/sub_terms.h"
#include "opal/terms/terms.h"

namespace opal::host {

namespace {

using la::LinearTerm;

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

// A relation that is not mirrored.
bool is_inequality(int kind) { return kind == LinearTerm::LEQ || kind == LinearTerm::LT; }

[[maybe_unused]] bool is_mirrored(int kind) {
  return kind == LinearTerm::GEQ || kind == LinearTerm::GT;
}

// Whether `difference kind 0` says `handed_out other_kind 0`; no kind is mirrored.
bool follows(const CheckedSum& difference, int kind, const CheckedSum& handed_out,
             int other_kind) {
  assert(!is_mirrored(kind) && !is_mirrored(other_kind));
  assert(difference.is_normal() && handed_out.is_normal());
  if (kind == other_kind && difference.ratio_to(handed_out)) return true;
  if (!is_inequality(kind) || !is_inequality(other_kind)) return false;
  if (difference.coefficients.empty() || difference.first_real() != nullptr) return false;
  CheckedSum rounded = difference;
  rounded.scale(QNumber(-1));
  rounded.tighten(kind == LinearTerm::LT ? CheckedSum::Relation::ABOVE_ZERO
                                         : CheckedSum::Relation::AT_LEAST_ZERO);
  rounded.scale(QNumber(-1));
  assert(rounded.content() == QNumber(1) && rounded.constant.is_integer());
  const std::optional<QNumber> scale = rounded.coefficient_ratio_to(handed_out);
  if (!scale) return false;
  assert(scale->sign() > 0);
  const QNumber greatest = *scale * rounded.constant;
  return other_kind == LinearTerm::LEQ ? handed_out.constant <= greatest
                                       : handed_out.constant < greatest;
}

bool equal(const LinearTerm& a, const LinearTerm& b) {
  return a.kind == b.kind && a.constant == b.constant && a.vars.coeffs() == b.vars.coeffs();
}

bool is_numeral_of(const Term_* t, const QNumber& value) {
  return Terms::is_numeral(t) && Terms::symbol_of(t).value == value;
}

// Whether the atom is what the engine builds for the branch, with the term-building flag
// set: a1*x1 + a2*x2 + ..., nested on the left, against the constant.
bool is_engine_atom(const Term_* atom, const LinearTerm& branch,
                    la::ItpLinearTermMapper& mapper) {
  if (Terms::kind_of(atom) != Kind::LEQ) return false;
  assert(branch.kind == LinearTerm::LEQ || branch.kind == LinearTerm::GEQ);
  const bool upper = branch.kind == LinearTerm::LEQ;
  const Term_* sum = atom->arg(upper ? 0 : 1);
  if (!is_numeral_of(atom->arg(upper ? 1 : 0), branch.constant)) return false;
  const auto& coeffs = branch.vars.coeffs();
  for (std::size_t i = coeffs.size(); i-- > 0;) {
    const Term_* product = sum;
    if (i > 0) {
      if (Terms::kind_of(sum) != Kind::PLUS) return false;
      product = sum->arg(1);
      sum = sum->arg(0);
    }
    const Term_* const variable = mapper.var_term(coeffs[i].first);
    if (product == variable && coeffs[i].second == QNumber(1)) continue;
    if (Terms::kind_of(product) != Kind::TIMES || product->arg(1) != variable ||
        !is_numeral_of(product->arg(0), coeffs[i].second))
      return false;
  }
  return true;
}

std::string branch_at(int id) {
  return "LaZInternalBBProof with branch " + std::to_string(id) + ": ";
}

}  // namespace

bool CheckedConstraint::is_strict() const {
  return kind == LinearTerm::LT || kind == LinearTerm::GT || kind == LinearTerm::NEQ;
}

int CheckedConstraint::direction() const {
  assert(kind >= LinearTerm::LT && kind <= LinearTerm::GT);
  if (is_equality() || is_disequality()) return 0;
  return kind == LinearTerm::GEQ || kind == LinearTerm::GT ? 1 : -1;
}

const Term_* CheckedConstraints::asserted_atom(int id, const std::string& rule) const {
  const TheoryLit lit = mapper_.constraint_lit(id);
  if (lit.is_null()) refuse(rule, " on constraint ", id, ": it has no literal");
  if (lit.is_negated() || kind_of_atom(lit.atom()) < 0)
    refuse(rule, " on constraint ", id, ": its literal is not a positive atom");
  if (asserted_.find(lit.atom()) == asserted_.end())
    refuse(rule, " on constraint ", id, ": ", term_text(lit.atom()), " was not asserted");
  assert(lit.atom() != nullptr);
  return lit.atom();
}

CheckedConstraint CheckedConstraints::asserted(int id, const std::string& rule) const {
  const std::string at = rule + " on constraint " + std::to_string(id) + ": ";
  const Term_* const atom = asserted_atom(id, rule);
  const std::optional<CheckedSum> difference = checked_difference(atom);
  if (!difference) refuse(at, term_text(atom), " is not linear");
  const LinearTerm term = mapper_.linear_term(id);
  CheckedConstraint result{term.kind, sum_of(term, at), false};
  CheckedSum sum = result.sum;
  int kind = term.kind;
  if (result.direction() > 0) {
    sum.scale(QNumber(-1));
    kind = kind == LinearTerm::GEQ ? LinearTerm::LEQ : LinearTerm::LT;
  }
  assert(!is_mirrored(kind));
  if (!follows(*difference, kind_of_atom(atom), sum, kind))
    refuse(at, "the mapper's linear term is not that of ", term_text(atom));
  return result;
}

CheckedConstraint CheckedConstraints::any(int id, const std::string& rule) const {
  const auto branch = branches_.find(id);
  if (branch == branches_.end()) return asserted(id, rule);
  assert(branch->second.kind == LinearTerm::LEQ || is_mirrored(branch->second.kind));
  return {branch->second.kind, sum_of(branch->second, branch_at(id)), true};
}

CheckedSum CheckedConstraints::sum_of(const LinearTerm& term, const std::string& at) const {
  CheckedSum sum;
  sum.constant = term.constant.neg();
  for (const auto& [var, coefficient] : term.vars.coeffs()) {
    const Term_* variable = mapper_.var_term(var);
    if (variable == nullptr) refuse(at, "the variable ", var, " has no term");
    sum.add(variable, coefficient);
  }
  assert(sum.is_normal());
  return sum;
}

void CheckedConstraints::enter_branches(const laz::LaZInternalBBProof& node) {
  const std::string at = branch_at(node.left_id);
  const LinearTerm& left = node.left_term;
  const LinearTerm& right = node.right_term;
  if (left.kind != LinearTerm::LEQ || right.kind != LinearTerm::GEQ)
    refuse(at, "the branches are not t <= c and t >= c+1");
  if (left.vars.coeffs() != right.vars.coeffs())
    refuse(at, "the branches are over different terms");
  if (right.constant != left.constant + QNumber(1))
    refuse(at, "the branches are at ", left.constant, " and ", right.constant);
  if (!left.constant.is_integer()) refuse(at, left.constant, " is no integer");
  const CheckedSum sum = sum_of(left, at);
  if (sum.coefficients.empty()) refuse(at, "it has no variable");
  if (const Term_* variable = sum.first_real())
    refuse(at, term_text(variable), " is no integer variable");
  if (!sum.has_integer_coefficients()) refuse(at, "a coefficient is no integer");
  if (node.left_id == node.right_id) refuse(at, "both branches have this id");
  enter_branch(node.left_id, left);
  enter_branch(node.right_id, right);
  assert(branches_.count(node.left_id) == 1 && branches_.count(node.right_id) == 1);
}

void CheckedConstraints::enter_branch(int id, const LinearTerm& branch) {
  const std::string at = branch_at(id);
  assert(branch.kind == LinearTerm::LEQ || branch.kind == LinearTerm::GEQ);
  const auto [entered, is_new] = branches_.emplace(id, branch);
  if (!equal(entered->second, branch)) refuse(at, "it is another branch's id, too");
  if (!is_new) return;
  const TheoryLit lit = mapper_.constraint_lit(id);
  if (lit.is_null()) refuse(at, "it has no literal");
  if (asserted_.find(lit.atom()) != asserted_.end())
    refuse(at, term_text(lit.atom()), " was asserted");
  if (lit.is_negated() || !is_engine_atom(lit.atom(), branch, mapper_))
    refuse(at, term_text(lit.atom()), " is not what the engine builds for it");
  if (!equal(mapper_.linear_term(id), branch) ||
      !equal(mapper_.bb_linear_term(lit, id), branch))
    refuse(at, "the mapper's linear term is another one");
}

std::unordered_set<const Term_*> CheckedConstraints::variables() const {
  std::unordered_set<const Term_*> result;
  const std::vector<const Term_*> atoms(asserted_.begin(), asserted_.end());
  for (const Term_* t : SubTerms(atoms))
    if (Terms::kind_of(t) == Kind::VARIABLE || Terms::kind_of(t) == Kind::FLOOR)
      result.insert(t);
  for (const auto& entry : branches_)
    for (const auto& summand : entry.second.vars.coeffs())
      result.insert(mapper_.var_term(summand.first));
  assert(result.count(nullptr) == 0);
  return result;
}

}  // namespace opal::host
