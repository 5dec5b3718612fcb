// QNumber against GMP's mpq_class, over operands that crowd where the forms change.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "opal/utils/qnumber.h"

namespace opal {
namespace {

const mpz_class WORD_MAX("9223372036854775807");

bool is_word(const mpz_class& x) { return abs(x) <= WORD_MAX; }
mpz_class gcd_of(const mpz_class& a, const mpz_class& b) { return gcd(a, b); }
mpq_class value_of(const QNumber& x) { return mpq_class(x.to_str()); }

QNumber number(const mpq_class& v, bool big) {
  QNumber x(v.get_num(), v.get_den());
  x.shrink();
  if (!big) return x;
  QNumber roomy(mpz_class(1) << 70, 1);
  roomy = x;
  return roomy;
}

// Integers around 0, the limits of int and of words, their roots, and far outside.
class Numbers {
 public:
  bool flip() { return (random_() & 1U) != 0; }
  std::size_t below(std::size_t n) { return random_() % n; }
  mpz_class integer() {
    static const std::vector<unsigned> SHIFTS = {0, 0, 0, 4, 16, 31, 32, 62, 63, 64, 130};
    mpz_class x = mpz_class(1) << SHIFTS[below(SHIFTS.size())];
    x += static_cast<long>(below(7)) - 3;
    if (below(3) == 0) x *= static_cast<long>(below(200));
    if (below(4) == 0) x = mpz_class(static_cast<unsigned long>(random_())) >> below(64);
    return flip() ? x : mpz_class(-x);
  }
  mpq_class value() {
    mpz_class d = integer();
    while (d == 0)
      d = integer();
    mpq_class v(integer(), flip() ? mpz_class(1) : d);
    v.canonicalize();
    return v;
  }
  QNumber operator()() { return number(value(), below(3) == 0); }

 private:
  std::mt19937_64 random_{20240229};
};

// The form in which a compound operation has to leave its target.
bool ends_small(char op, const QNumber& a, const QNumber& b) {
  if (!a.is_small()) return op == '*' && b.is_small() && b.is_zero() && !a.is_integer();
  if (!b.is_small()) return false;
  const mpq_class x = value_of(a);
  const mpq_class y = op == '/' ? mpq_class(1 / value_of(b)) : value_of(b);
  const mpz_class &p = x.get_num(), &q = x.get_den(), &r = y.get_num(), &s = y.get_den();
  if (op == '+' || op == '-') {
    const mpz_class g = gcd_of(q, s), left = p * (s / g), right = r * (q / g);
    const mpz_class t = op == '+' ? mpz_class(left + right) : mpz_class(left - right);
    return is_word(left) && is_word(right) && is_word(t) &&
           is_word((q / g) * (s / gcd_of(t, g)));
  }
  const mpz_class u = gcd_of(p, s), w = gcd_of(r, q);
  return is_word((p / u) * (r / w)) && is_word((q / w) * (s / u));
}

template <typename Number>
Number combine(char op, const Number& a, const Number& b) {
  if (op == '/') return a / b;
  return op == '+' ? Number(a + b) : op == '-' ? Number(a - b) : Number(a * b);
}
void apply(char op, QNumber& a, const QNumber& b) {
  op == '+' ? a += b : op == '-' ? a -= b : op == '*' ? a *= b : a /= b;
}

#define EXPECT_NUMBER(x, value, small)                       \
  do {                                                       \
    EXPECT_TRUE((x).is_normal()) << (x);                     \
    EXPECT_EQ((x).to_str(), mpq_class(value).get_str());     \
    EXPECT_EQ((x).is_small(), (small)) << "form of " << (x); \
  } while (false)

TEST(QNumber, ArithmeticIsExactCanonicalAndInTheRightForm) {
  Numbers numbers;
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const QNumber a = numbers(), b = numbers();
    for (const char op : {'+', '-', '*', '/'}) {
      if (op == '/' && b.is_zero()) continue;
      SCOPED_TRACE(a.to_str() + " " + op + " " + b.to_str());
      const mpq_class want = combine(op, value_of(a), value_of(b));
      QNumber x = a;
      apply(op, x, b);
      EXPECT_NUMBER(x, want, ends_small(op, a, b));
      EXPECT_NUMBER(combine(op, a, b), want, ends_small(op, a, b));
      if (op == '/' && a.is_integer() && a.to_long())
        EXPECT_NUMBER(*a.to_long() / b, want, ends_small(op, QNumber(*a.to_long()), b));

      if (op == '/' && a.is_zero()) continue;  // the target as its own operand
      QNumber self = a;
      apply(op, self, self);
      EXPECT_NUMBER(self, combine(op, value_of(a), value_of(a)), ends_small(op, a, a));
      EXPECT_EQ(self, combine(op, a, a));
    }
  }
}

TEST(QNumber, ComparisonsIgnoreTheFormAndOtherOperationsKeepIt) {
  Numbers numbers;
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const mpq_class v = numbers.value();
    mpq_class w = numbers.value();
    if (numbers.below(8) == 0) w = v + mpq_class(1, 1 + numbers.below(3)) * w;
    if (numbers.below(8) == 0) w = v;
    const QNumber a = number(v, numbers.flip()), b = number(w, numbers.flip());
    SCOPED_TRACE(a.to_str() + " ? " + b.to_str() + (a.is_small() ? " small" : " big"));
    EXPECT_TRUE((a == b) == (v == w) && (a != b) == (v != w) && (a < b) == (v < w));
    EXPECT_TRUE((a > b) == (v > w) && (a <= b) == (v <= w) && (a >= b) == (v >= w));
    EXPECT_TRUE(a.sign() == sgn(v) && a.is_zero() == (v == 0));
    EXPECT_EQ(a.is_integer(), v.get_den() == 1);
    EXPECT_EQ(a.hash(), number(v, !a.is_small()).hash());

    mpz_class down;
    mpz_fdiv_q(down.get_mpz_t(), v.get_num_mpz_t(), v.get_den_mpz_t());
    EXPECT_NUMBER(a.neg(), -v, a.is_small());
    EXPECT_NUMBER(opal::abs(a), abs(v), a.is_small());
    EXPECT_NUMBER(a.floor(), down, a.is_small());
    if (v != 0) EXPECT_NUMBER(a.inv(), 1 / v, a.is_small());
    EXPECT_NUMBER(a.get_num(), v.get_num(), a.is_small() || v.get_num().fits_sint_p());
    EXPECT_NUMBER(a.get_den(), v.get_den(), a.is_small() || v.get_den().fits_sint_p());
    QNumber shrunk = a;
    shrunk.shrink();
    EXPECT_NUMBER(shrunk, v, is_word(v.get_num()) && is_word(v.get_den()));
    EXPECT_EQ(a.num_bits(),
              mpz_sizeinbase(v.get_num_mpz_t(), 2) + mpz_sizeinbase(v.get_den_mpz_t(), 2));
    EXPECT_EQ(a.to_long().has_value(), v.get_den() == 1 && v.get_num().fits_slong_p());
    EXPECT_NEAR(a.to_double(), v.get_d(), std::abs(v.get_d()) * 1e-15);

    const mpz_class m = numbers.integer(), n = numbers.integer();
    const QNumber x = number(m, numbers.flip()), y = number(n, numbers.flip());
    SCOPED_TRACE(x.to_str() + ", " + y.to_str());
    const bool both_small = x.is_small() && y.is_small();
    const bool gcd_small =
        both_small || (x.is_small() && m != 0) || (y.is_small() && n != 0);
    EXPECT_NUMBER(opal::gcd(x, y), gcd_of(m, n), gcd_small);
    EXPECT_NUMBER(opal::lcm(x, y), lcm(m, n), both_small && is_word(lcm(m, n)));
    EXPECT_TRUE(m == 0 ||
                x.divides(y) == (mpz_divisible_p(n.get_mpz_t(), m.get_mpz_t()) != 0));
  }
}

// Any of the four places of divmod may be the same variable, except its two results.
TEST(QNumber, DivmodInEveryAliasingPattern) {
  Numbers numbers;
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    QNumber slot[4];
    for (QNumber& s : slot)
      s = number(numbers.integer(), numbers.flip());
    const std::size_t n = numbers.below(4), d = numbers.below(4), q = numbers.below(4);
    const std::size_t r = (q + 1 + numbers.below(3)) % 4;
    if (slot[d].is_zero()) continue;
    SCOPED_TRACE(slot[n].to_str() + " divmod " + slot[d].to_str());
    const bool small = slot[n].is_small() && slot[d].is_small();
    const bool q_small = small && slot[q].is_small(), r_small = small && slot[r].is_small();
    const mpz_class x(slot[n].to_str()), y(slot[d].to_str());
    mpz_class want_q, want_r;
    (small ? mpz_tdiv_qr : mpz_fdiv_qr)(want_q.get_mpz_t(), want_r.get_mpz_t(),
                                        x.get_mpz_t(), y.get_mpz_t());
    slot[n].divmod(slot[d], slot[q], slot[r]);
    EXPECT_NUMBER(slot[q], want_q, q_small);
    EXPECT_NUMBER(slot[r], want_r, r_small);
  }
}

TEST(QNumber, AssignmentsAndMovesKeepABigTargetBig) {
  const mpq_class value("-7/3"), other("5");
  for (const bool target_big : {false, true})
    for (const bool source_big : {false, true}) {
      const bool small = !target_big && !source_big;
      QNumber giver = number(value, source_big), copied = number(other, target_big);
      QNumber moved = copied;
      copied = giver;
      EXPECT_NUMBER(copied, value, small);
      moved = std::move(giver);
      EXPECT_NUMBER(giver, 0, true);  // NOLINT: valid after the move
      QNumber& self = moved;
      moved = self;
      moved = std::move(self);
      EXPECT_NUMBER(moved, value, small);
      giver = number(value, source_big);
      const QNumber taken(std::move(giver));
      EXPECT_NUMBER(taken, value, !source_big);
      EXPECT_NUMBER(giver, 0, true);  // NOLINT
      std::swap(moved, copied);
      EXPECT_EQ(moved, copied);
    }
}

// Of big operands the constructor makes small numbers only where they fit into an int.
TEST(QNumber, ConstructorsAndBordersOfTheForms) {
  const QNumber top(9223372036854775807L), bottom(-9223372036854775807L);
  const mpq_class past_bottom(-WORD_MAX - 1);
  const mpz_class int_max(2147483647), int_min(-2147483648L), past(2147483648L);
  const std::tuple<QNumber, mpq_class, bool> table[] = {
      {QNumber(), 0, true},
      {5, 5, true},
      {-9223372036854775807L - 1, past_bottom, false},
      {top + 1, WORD_MAX + 1, false},
      {bottom - 1, past_bottom, false},
      {QNumber(1L << 32) * QNumber(-(1L << 31)), past_bottom, false},
      {lcm(QNumber(1L << 62), 3), 3 * mpz_class(1L << 62), false},
      {QNumber(int_max, 1), int_max, true},
      {QNumber(int_min, -1), past, true},
      {QNumber(past, 1), past, false},
      {QNumber(past, -past), -1, false},
      {QNumber(0, -past - 1), 0, false},
      {QNumber(0, -4), 0, true},
      {QNumber(6, -4), mpq_class(-3, 2), true}};
  for (const auto& [x, value, small] : table)
    EXPECT_NUMBER(x, value, small);
}

TEST(QNumber, Text) {
  std::istringstream decimals(
      "0 0  -0 0  007 7  -12 -12  0.75 3/4  -2.50 -5/2  3. 3  .5 1/2 "
      "9223372036854775807 9223372036854775807 -9223372036854775808 -9223372036854775808 "
      "0.0000000000000000000001 1/10000000000000000000000");
  for (std::string text, printed; decimals >> text >> printed;) {
    const QNumber x = QNumber::from_decimal(text);
    const mpq_class v = value_of(x);
    EXPECT_NUMBER(x, printed, is_word(v.get_num()) && is_word(v.get_den()));
    std::ostringstream out;
    out << x << number(v, true);
    EXPECT_EQ(out.str(), printed + printed);
  }
  for (const char* text : {"", "-", ".", "-.", "+1", "1 2", "1.2.3", "0x1", "1e5", "--1"})
    EXPECT_THROW(QNumber::from_decimal(text), std::invalid_argument) << text;
  const std::string long_text(100000, '7');
  EXPECT_EQ(QNumber::from_decimal(long_text).to_str(), long_text);
}

}  // namespace
}  // namespace opal
