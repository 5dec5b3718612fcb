#include "opal/linear/integer_constraints.h"

#include <cassert>
#include <utility>

// Rounding of a constraint over integers.
//
//         sum(a*x) <= c                   sum(a*x) < c
//     ----------------------     -----------------------------     g = content of the a's
//     sum(a/g * x) <= [c/g]      sum(a/g * x) <= -[-c/g] - 1
//
// The content of fractions is the positive number g for which all a/g are coprime
// integers: the common divisor of the numerators over the common multiple of the
// denominators. Coprime integer combinations of integers take all integers as values and
// no others, so that the constraint on the left and its rounding have the same solutions.
//
// Example: x/2 - y < 5/4 has g = 1/2: x - 2y < 5/2, that is x - 2y <= 2.
//
// Cost: linear in the number of variables; nothing is scaled where g is 1.

namespace opal::host {

namespace {

using la::Equation;
using la::LinearTerm;

QNumber content(const Equation& vars) {
  assert(vars.has_vars());
  QNumber divisor;
  QNumber multiple(1);
  for (const auto& [var, coefficient] : vars.coeffs()) {
    divisor = gcd(divisor, coefficient);
    if (!coefficient.is_integer()) multiple = lcm(multiple, coefficient.get_den());
  }
  assert(divisor.sign() > 0 && multiple.sign() > 0);
  return multiple == QNumber(1) ? divisor : divisor / multiple;
}

Equation scaled(const Equation& vars, const QNumber& factor) {
  assert(factor.sign() > 0);
  Equation result;
  for (const auto& [var, coefficient] : vars.coeffs()) {
    QNumber product = coefficient * factor;
    product.shrink();
    result.add_var(product, var);
  }
  assert(result.coeffs().size() == vars.coeffs().size());
  return result;
}

void scale(LinearTerm& term, const QNumber& factor) {
  if (factor == QNumber(1)) return;
  term.vars = scaled(term.vars, factor);
  term.constant *= factor;
}

QNumber ceiling(const QNumber& x) { return x.neg().floor().neg(); }

}  // namespace

std::optional<LinearTerm> integer_normal_form(LinearTerm term) {
  assert(term.vars.has_vars() && term.is_normal());
  scale(term, content(term.vars).inv());
  switch (term.kind) {
    case LinearTerm::LEQ: term.constant = term.constant.floor(); break;
    case LinearTerm::GEQ: term.constant = ceiling(term.constant); break;
    case LinearTerm::LT:
      term.kind = LinearTerm::LEQ;
      term.constant = ceiling(term.constant) - QNumber(1);
      break;
    case LinearTerm::GT:
      term.kind = LinearTerm::GEQ;
      term.constant = term.constant.floor() + QNumber(1);
      break;
    case LinearTerm::EQ:
      if (!term.constant.is_integer()) scale(term, term.constant.get_den());
      break;
    default:
      assert(term.kind == LinearTerm::NEQ);
      if (!term.constant.is_integer()) return std::nullopt;
      break;
  }
  term.constant.shrink();
  assert(is_integer_normal(term));
  return term;
}

bool is_integer_normal(const LinearTerm& term) {
  if (term.kind == LinearTerm::LT || term.kind == LinearTerm::GT) return false;
  if (!term.vars.has_vars() || !term.constant.is_integer()) return false;
  QNumber divisor;
  for (const auto& [var, coefficient] : term.vars.coeffs()) {
    if (!coefficient.is_integer()) return false;
    divisor = gcd(divisor, coefficient);
  }
  if (divisor == QNumber(1)) return true;
  return term.kind == LinearTerm::EQ && gcd(divisor, term.constant) == QNumber(1);
}

}  // namespace opal::host
