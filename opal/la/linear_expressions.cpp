// Terms as linear expressions, and arithmetic on these.
//
// A sum is taken apart, a product by a numeral scales what is below it, a numeral counts
// for the constant, and everything else is a variable of the mapper. A term that the mapper
// knows as a variable is not taken apart: a shared term of an earlier split stands for
// itself.
//
// Example: 2 * (x + 3) is 2x + 6, (x + y) * 1/2 is 1/2*x + 1/2*y. x * y is not linear and
// adds nothing; the term manager should not have let it in.
//
// A linear term keeps its constant on the right of its relation, so adding an expression
// e + c to one adds e on the left and -c on the right: x + 3 added to `y <= 1` gives
// `y + x <= -2`.
//
// Cost: do_make_linear_expr visits each path from the term to a leaf; terms that share
// much below sums should be known to the mapper as variables. The other operations are
// linear in the second expression, times the insertion into a sorted list.

#include <cassert>

#include "opal/la/interpolator.h"

namespace opal::la {

void Interpolator::do_make_linear_expr(const Term_* t, Equation& out) {
  assert(t != nullptr && out.is_normal());
  QNumber constant;
  std::vector<QNumber> multipliers{QNumber(1)};  // of the terms on the stack
  term_stack_.assign(1, t);
  auto push = [&](const Term_* u, const QNumber& m) {
    term_stack_.push_back(u);
    multipliers.push_back(m);
  };
  while (!term_stack_.empty()) {
    assert(term_stack_.size() == multipliers.size());
    const Term_* const u = term_stack_.back();
    const QNumber m = multipliers.back();
    term_stack_.pop_back();
    multipliers.pop_back();
    QNumber n;
    if (const int known = mapper_->term_var(u, false); known != 0) {
      out.add_var(m, known);
    } else if (mgr_->kind(u->symbol()) == TermManager::KIND_PLUS) {
      push(u->arg(0), m);
      push(u->arg(1), m);
    } else if (mgr_->kind(u->symbol()) == TermManager::KIND_TIMES) {
      if (mgr_->is_number(u->arg(0)->symbol(), &n))
        push(u->arg(1), n * m);
      else if (mgr_->is_number(u->arg(1)->symbol(), &n))
        push(u->arg(0), n * m);
    } else if (mgr_->is_number(u->symbol(), &n)) {
      constant += m * n;
    } else {
      const int made = mapper_->term_var(u, true);
      assert(made != 0);
      out.add_var(m, made);
    }
  }
  if (!constant.is_zero()) out.add_const(constant);
  assert(out.is_normal());
}

bool Interpolator::make_linear_exprs(const Term_* a, const Term_* b, const LinearTerm& lt,
                                     Equation& ea, Equation& eb) {
  do_make_linear_expr(a, ea);
  do_make_linear_expr(b, eb);
  LinearTerm difference(lt.kind, Equation(), QNumber());
  add_to_linear(difference, ea, true);
  add_to_linear(difference, eb, false);
  assert(difference.vars.is_normal() && difference.vars.constant() == nullptr);
  return linear_equal(difference, lt);
}

void Interpolator::sub_equation(Equation* dst, const Equation& src) {
  add_equation(dst, QNumber(-1), src);
}

void Interpolator::add_equation(Equation* dst, const QNumber& q, const Equation& src) {
  assert(dst != nullptr && dst != &src && dst != &zero_eq_);
  for (const auto& [var, coeff] : src.coeffs())
    dst->add_var(coeff * q, var);
  if (src.constant() != nullptr) dst->add_const(q * *src.constant());
  assert(dst->is_normal());
}

void Interpolator::add_to_linear(LinearTerm& lt, const Equation& e, bool negate) {
  assert(&lt.vars != &e);
  for (const auto& [var, coeff] : e.coeffs())
    lt.vars.add_var(negate ? coeff.neg() : coeff, var);
  if (e.constant() == nullptr) return;
  if (negate)
    lt.constant += *e.constant();
  else
    lt.constant -= *e.constant();
}

bool Interpolator::linear_equal(const LinearTerm& x, const LinearTerm& y) const {
  assert(x.vars.is_normal() && y.vars.is_normal());
  if (x.vars.coeffs().size() != y.vars.coeffs().size()) return false;
  if (x.kind != y.kind || x.constant != y.constant) return false;
  for (const auto& [var, coeff] : x.vars.coeffs())
    if (y.vars.coeff(var) != coeff) return false;
  return true;
}

}  // namespace opal::la
