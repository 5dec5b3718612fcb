// Remainders, inverses and residue classes of exact integers.
//
//     remainder(-7, 5) = 3         balanced_remainder(3, 5) = -2
//     inverse_modulo(3, 7) = 5     since 3*5 = 15 = 2*7 + 1
//     common_class(1 mod 4, 3 mod 6) = 9 mod 12
//
// Two residue classes meet in a class again, or not at all (the Chinese remainder theorem
// for moduli with a common divisor). Cost: inverses and common classes take a number of
// divisions that is linear in the length of the numbers, by Euclid's algorithm.

#include "opal/base/modular_arithmetic.h"

#include <cassert>
#include <utility>

namespace opal::host {

QNumber remainder(const QNumber& a, const QNumber& m) {
  assert(m.sign() > 0 && m.is_integer());
  QNumber r = a - m * (a / m).floor();
  assert(r.sign() >= 0 && r < m);
  return r;
}

QNumber balanced_remainder(const QNumber& a, const QNumber& m) {
  QNumber r = remainder(a, m);
  return r + r > m ? r - m : r;
}

// Euclid's algorithm; invariant: r0 = s0*a and r1 = s1*a modulo m.
QNumber inverse_modulo(const QNumber& a, const QNumber& m) {
  QNumber r0 = m, r1 = remainder(a, m);
  QNumber s0, s1(1);
  assert(a.is_integer());
  while (!r1.is_zero()) {
    assert(r1.sign() > 0 && r1 < r0);
    const QNumber q = (r0 / r1).floor();
    r0 -= q * r1;
    s0 -= q * s1;
    std::swap(r0, r1);
    std::swap(s0, s1);
  }
  assert(r0 == QNumber(1));  // a and m are coprime
  assert(((s0 * a - r0) / m).is_integer());
  return remainder(s0, m);
}

bool ResidueClass::is_normal() const {
  return residue.is_integer() && modulus.is_integer() && residue.sign() >= 0 &&
         residue < modulus;
}

bool ResidueClass::contains(const QNumber& x) const {
  assert(is_normal());
  return ((x - residue) / modulus).is_integer();
}

bool ResidueClass::contains(const ResidueClass& other) const {
  return modulus.divides(other.modulus) && contains(other.residue);
}

// x = r + m*k is in the other class, of s modulo n, when m*k = s - r modulo n: with
// g = gcd(m, n), when g divides s - r and k = (s - r)/g * (m/g)^-1 modulo n/g.
std::optional<ResidueClass> common_class(const ResidueClass& a, const ResidueClass& b) {
  assert(a.is_normal() && b.is_normal());
  const QNumber g = gcd(a.modulus, b.modulus);
  const QNumber difference = b.residue - a.residue;
  if (!g.divides(difference)) return std::nullopt;
  const QNumber n = b.modulus / g;
  const QNumber k = remainder(difference / g * inverse_modulo(a.modulus / g, n), n);
  ResidueClass result{a.residue + a.modulus * k, a.modulus * n};
  assert(result.is_normal());
  assert(a.contains(result) && b.contains(result));
  return result;
}

}  // namespace opal::host
