// Operations on a few registers, as QNumber and as GMP's rationals.

#include <gmpxx.h>

#include <array>
#include <sstream>

#include "fuzz/bytes.h"
#include "opal/utils/qnumber.h"

namespace {

using opal::QNumber;
using opal::fuzz::expect;

struct Register {
  QNumber ours;
  mpq_class theirs;
};

mpz_class floor_of(const mpq_class& x) {
  mpz_class q;
  mpz_fdiv_q(q.get_mpz_t(), x.get_num_mpz_t(), x.get_den_mpz_t());
  return q;
}

void compare(const Register& r) {
  expect(r.ours.is_normal(), "not in canonical form");
  expect(r.ours.to_str() == r.theirs.get_str(), "another value than GMP's");
  expect(r.ours.sign() == sgn(r.theirs), "another sign");
  expect(r.ours.is_integer() == (r.theirs.get_den() == 1), "another integrality");
  expect(r.ours.floor().to_str() == floor_of(r.theirs).get_str(), "another floor");
}

// Numbers at the edges of the machine word, or whatever the bytes say.
void load(Register& r, opal::fuzz::Bytes& bytes) {
  const std::uint64_t w = bytes.word();
  constexpr std::int64_t EDGES[] = {0,         1,          INT32_MAX, INT32_MIN,
                                    INT64_MAX, -INT64_MAX, INT64_MIN, INT64_MAX - 1};
  const unsigned kind = bytes.below(4);
  const std::int64_t n =
      kind == 0 ? EDGES[w % 8] : static_cast<std::int64_t>(w >> (kind == 1 ? w % 64 : 0U));
  r.ours = QNumber(n);
  r.theirs = mpz_class(std::to_string(n));
}

void compute(std::array<Register, 4>& registers, opal::fuzz::Bytes& bytes) {
  const unsigned operation = bytes.below(18);
  const unsigned operands = bytes.byte();
  Register& r = registers[operands & 3U];
  const Register &a = registers[operands >> 2U & 3U], &b = registers[operands >> 4U & 3U];
  const mpz_class a_num = a.theirs.get_num(), b_num = b.theirs.get_num();
  switch (operation) {
    case 0: load(r, bytes); break;
    case 1: r.ours = a.ours + b.ours, r.theirs = a.theirs + b.theirs; break;
    case 2: r.ours = a.ours - b.ours, r.theirs = a.theirs - b.theirs; break;
    case 3: r.ours = a.ours * b.ours, r.theirs = a.theirs * b.theirs; break;
    case 4: r.ours += a.ours, r.theirs += mpq_class(a.theirs); break;
    case 5: r.ours -= a.ours, r.theirs -= mpq_class(a.theirs); break;
    case 6: r.ours *= a.ours, r.theirs *= mpq_class(a.theirs); break;
    case 7:
      if (!b.ours.is_zero()) r.ours = a.ours / b.ours, r.theirs = a.theirs / b.theirs;
      break;
    case 8:
      if (!a.ours.is_zero()) r.ours /= a.ours, r.theirs /= mpq_class(a.theirs);
      break;
    case 9: r.ours = a.ours.neg(), r.theirs = -a.theirs; break;
    case 10:
      if (!a.ours.is_zero()) r.ours = a.ours.inv(), r.theirs = 1 / a.theirs;
      break;
    case 11: r.ours = gcd(a.ours, b.ours), r.theirs = gcd(a_num, b_num); break;
    case 12: r.ours = lcm(a.ours, b.ours), r.theirs = lcm(a_num, b_num); break;
    case 13: r.ours = a.ours.floor(), r.theirs = floor_of(mpq_class(a.theirs)); break;
    case 14: r.ours.shrink(); break;
    case 15:
      r.ours = QNumber(a_num, b_num == 0 ? mpz_class(1) : b_num);
      r.theirs = mpq_class(a_num, b_num == 0 ? mpz_class(1) : b_num);
      r.theirs.canonicalize();
      break;
    case 16: r.ours = a.ours.get_num(), r.theirs = a_num; break;
    default: {
      if (b.ours.is_zero()) break;
      QNumber q, remainder;
      a.ours.divmod(b.ours, q, remainder);
      const QNumber back = q * b.ours.get_num() + remainder;
      expect(back == a.ours.get_num(), "q*d + r is not the dividend");
      expect(abs(remainder) < abs(b.ours.get_num()), "the remainder is too large");
      expect(b.ours.divides(a.ours) == remainder.is_zero(), "divides() is wrong");
    }
  }
  expect((a.ours < b.ours) == (a.theirs < b.theirs), "another order");
  expect((a.ours == b.ours) == (a.theirs == b.theirs), "another equality");
  expect(a.ours != b.ours || a.ours.hash() == b.ours.hash(), "equal with another hash");
  compare(r);
}

// The operands' size doubles with each multiplication.
bool is_huge(const Register& r) { return r.ours.num_bits() > 20000; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  opal::fuzz::Bytes bytes(data, size);
  std::array<Register, 4> registers;
  while (!bytes.empty()) {
    compute(registers, bytes);
    for (Register& r : registers)
      if (is_huge(r)) r = Register{};
  }
  return 0;
}
