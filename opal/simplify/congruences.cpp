#include "opal/simplify/congruences.h"

#include <algorithm>
#include <cassert>
#include <utility>

// rule normal-congruence
// match:  q1*x1 + ... + qn*xn + c = 0 modulo m
// result: a1*x1 + ... + an*xn = r modulo m', where, one after another,
//           denominators are multiplied out,                x/2 = 1 mod 3 : x = 2 mod 6
//           multiples of m disappear,                   7x + 6y = 1 mod 6 : x = 1 mod 6
//           the common divisor of coefficients and m too,    4x = 2 mod 6 : 2x = 1 mod 3
//           and a factor coprime to m makes one of the
//           coefficients 1, or a divisor of m               2x = 1 mod 3 : x = 2 mod 3
// The result is false when the common divisor does not divide r, and true when m' is 1.

namespace opal::host {

namespace {

using Summands = std::vector<LinearForm::Summand>;

// The least positive factor coprime to m that makes a coefficient simple: the first one
// that is coprime to m becomes 1, or, where there is none, the first one of all a divisor
// of m.
QNumber unit_factor(const Summands& summands, const QNumber& m) {
  assert(!summands.empty() && QNumber(1) < m);
  const QNumber one(1);
  for (const auto& [variable, a] : summands) {
    if (gcd(a, m) == one) return inverse_modulo(a, m);
  }
  const QNumber& a = summands.front().second;
  const QNumber divisor = gcd(a, m);
  const QNumber step = m / divisor;
  QNumber factor = inverse_modulo(a / divisor, step);
  while (gcd(factor, m) != one)
    factor += step;
  assert(remainder(a * factor, m) == remainder(divisor, m));
  return factor;
}

void multiply(Summands& summands, QNumber& residue, const QNumber& factor,
              const QNumber& m) {
  assert(gcd(factor, m) == QNumber(1));
  for (auto& summand : summands)
    summand.second = balanced_remainder(summand.second * factor, m);
  residue = remainder(residue * factor, m);
}

// Coefficients modulo m, without those that are 0.
void reduce_coefficients(Summands& summands, const QNumber& m) {
  for (auto& summand : summands)
    summand.second = remainder(summand.second, m);
  const auto is_zero = [](const auto& summand) { return summand.second.is_zero(); };
  summands.erase(std::remove_if(summands.begin(), summands.end(), is_zero), summands.end());
}

}  // namespace

bool CongruenceReading::is_normal() const {
  if (truth) return summands.empty();
  const QNumber& m = values.modulus;
  if (!values.is_normal() || m <= QNumber(1) || summands.empty()) return false;
  QNumber divisor = m;
  for (const auto& [variable, a] : summands) {
    if (a.is_zero() || balanced_remainder(a, m) != a) return false;
    divisor = gcd(divisor, a);
  }
  return divisor == QNumber(1) && summands.front().second.sign() > 0;
}

CongruenceReading read_congruence(LinearForm form, QNumber modulus) {
  assert(modulus.sign() > 0 && modulus.is_integer() && form.is_normal());
  QNumber denominator(1);
  for (const auto& [variable, a] : form.summands)
    denominator = lcm(denominator, a.get_den());
  modulus *= denominator;
  for (auto& summand : form.summands)
    summand.second *= denominator;
  QNumber residue = form.constant.neg() * denominator;
  if (!residue.is_integer()) return {false, {}, {}};

  Summands& summands = form.summands;
  reduce_coefficients(summands, modulus);
  QNumber divisor = modulus;
  for (const auto& [variable, a] : summands)
    divisor = gcd(divisor, a);
  if (!divisor.divides(residue)) return {false, {}, {}};
  if (divisor == modulus) return {true, {}, {}};
  assert(!summands.empty() && divisor.sign() > 0);
  modulus /= divisor;
  residue /= divisor;
  for (auto& summand : summands)
    summand.second /= divisor;

  multiply(summands, residue, unit_factor(summands, modulus), modulus);
  if (summands.front().second.sign() < 0) {
    multiply(summands, residue, QNumber(-1), modulus);
  }
  CongruenceReading result{std::nullopt, std::move(summands), {residue, modulus}};
  assert(result.is_normal());
  return result;
}

}  // namespace opal::host
