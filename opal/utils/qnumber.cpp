// The big form's arithmetic. Where both operands are integers there is no gcd; otherwise
// the formulas are those of the words, with products as large as needed.
//
// A result goes into a pair that may be one of the operands'. A number alone owns its
// pair, so operands overlap only when they are the same number.

#include "opal/utils/qnumber.h"

#include <algorithm>

namespace opal {
namespace {

// Intermediate values, kept from call to call to save their allocation. What exceeds
// KEEP_LIMBS is given back, or one huge number would hold its memory for ever.
class Scratch {
 public:
  Scratch() {
    for (auto& x : values_)
      mpz_init(x);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() {
    for (auto& x : values_)
      mpz_clear(x);
  }
  mpz_ptr operator[](std::size_t i) { return values_[i]; }
  void trim() {
    for (auto& x : values_)
      if (x->_mp_alloc > KEEP_LIMBS) mpz_realloc2(x, 64);
  }

 private:
  static constexpr int KEEP_LIMBS = 4096;
  mpz_t values_[4];
};

thread_local Scratch scratch;

struct Ratio {
  mpz_srcptr num;
  mpz_srcptr den;
};
struct Target {
  mpz_ptr num;
  mpz_ptr den;
};

bool is_one(mpz_srcptr x) { return mpz_cmp_ui(x, 1) == 0; }

// x / g, in `quotient` unless g is 1.
mpz_srcptr cancel(mpz_ptr quotient, mpz_srcptr x, mpz_srcptr g) {
  assert(mpz_sgn(g) > 0 && mpz_divisible_p(x, g) && quotient != g);
  if (is_one(g)) return x;
  mpz_divexact(quotient, x, g);
  return quotient;
}

// out = p/q + r/s, or minus. With g = gcd(q, s), t = p*(s/g) +- r*(q/g), h = gcd(t, g):
// (t/h) / ((q/g) * (s/h)). Every operand is read before its place is written.
void add_into(Target out, Ratio a, Ratio b, words::Sign sign) {
  assert(mpz_sgn(a.den) > 0 && mpz_sgn(b.den) > 0 && out.num != out.den);
  const auto combine = sign == words::MINUS ? mpz_sub : mpz_add;
  if (is_one(a.den) && is_one(b.den)) {
    combine(out.num, a.num, b.num);
    mpz_set_ui(out.den, 1);
    return;
  }
  Scratch& temp = scratch;
  const mpz_ptr g = temp[0];
  mpz_gcd(g, a.den, b.den);
  if (is_one(g)) {
    mpz_mul(temp[1], a.num, b.den);
    mpz_mul(temp[2], b.num, a.den);
    combine(out.num, temp[1], temp[2]);
    mpz_mul(out.den, a.den, b.den);
    return temp.trim();
  }
  assert(mpz_sgn(g) > 0);
  mpz_divexact(temp[1], b.den, g);
  mpz_mul(temp[2], a.num, temp[1]);
  mpz_divexact(temp[1], a.den, g);
  mpz_mul(temp[3], b.num, temp[1]);
  combine(out.num, temp[2], temp[3]);
  mpz_gcd(g, out.num, g);
  if (is_one(g)) {
    mpz_mul(out.den, temp[1], b.den);
  } else {
    mpz_divexact(out.num, out.num, g);
    mpz_divexact(temp[2], b.den, g);
    mpz_mul(out.den, temp[1], temp[2]);
  }
  temp.trim();
}

// out = p/q * r/s, cancelled crosswise; s may be negative. The places of a may be those of
// out; those of b only if a and b are the same number or its inverse.
void mul_into(Target out, Ratio a, Ratio b) {
  assert(mpz_sgn(a.den) > 0 && mpz_sgn(b.den) != 0 && out.num != out.den);
  if (a.num == b.num) {  // a square
    mpz_mul(out.num, a.num, a.num);
    mpz_mul(out.den, a.den, a.den);
    return;
  }
  if (a.num == b.den) {  // divided by itself
    mpz_set_ui(out.num, 1);
    mpz_set_ui(out.den, 1);
    return;
  }
  const bool negative = mpz_sgn(b.den) < 0;
  if (is_one(a.den) && mpz_cmpabs_ui(b.den, 1) == 0) {
    mpz_mul(out.num, a.num, b.num);
    mpz_set_ui(out.den, 1);
    if (negative) mpz_neg(out.num, out.num);
    return;
  }
  Scratch& temp = scratch;
  const mpz_ptr u = temp[0];
  const mpz_ptr w = temp[1];
  mpz_gcd(u, a.num, b.den);
  mpz_gcd(w, b.num, a.den);
  mpz_mul(out.num, cancel(temp[2], a.num, u), cancel(temp[3], b.num, w));
  mpz_mul(out.den, cancel(temp[2], a.den, w), cancel(temp[3], b.den, u));
  if (negative) {
    mpz_neg(out.num, out.num);
    mpz_neg(out.den, out.den);
  }
  temp.trim();
}

Ratio inverse(Ratio x) { return {x.den, x.num}; }

}  // namespace

// A number of either form as a read-only ratio of GMP integers, valid as long as both
// exist unchanged.
struct QNumber::View {
  explicit View(const QNumber& x) {
    if (x.is_big()) {
      ratio = {x.big_num(), x.big_den()};
      return;
    }
    limbs_[0] = static_cast<mp_limb_t>(words::abs(x.num_));
    limbs_[1] = static_cast<mp_limb_t>(x.den_);
    ratio = {mpz_roinit_n(word_num_, &limbs_[0], x.sign()),
             mpz_roinit_n(word_den_, &limbs_[1], 1)};
  }
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  Ratio ratio{};

 private:
  mp_limb_t limbs_[2];
  mpz_t word_num_;
  mpz_t word_den_;
};

QNumber::Pair* QNumber::new_pair() {
  Pair* const pair = new Pair;
  mpz_init(mpq_numref(pair));
  mpz_init(mpq_denref(pair));
  return pair;
}

QNumber QNumber::big_integer(long n) {
  QNumber r(new_pair());
  r.set_pair({n, 1});
  assert(r.is_big() && r.is_integer());
  return r;
}

QNumber QNumber::integer_of(const mpz_t n) {
  if (mpz_fits_sint_p(n)) return {mpz_get_si(n)};
  QNumber r(new_pair());
  mpz_set(r.big_num(), n);
  mpz_set_ui(r.big_den(), 1);
  return r;
}

void QNumber::copy_pair(const QNumber& x) {
  assert(x.is_big());
  Pair* const pair = new Pair;
  mpz_init_set(mpq_numref(pair), x.big_num());
  mpz_init_set(mpq_denref(pair), x.big_den());
  num_ = reinterpret_cast<long>(pair);
}

void QNumber::free_pair() noexcept {
  assert(is_big());
  mpz_clear(big_num());
  mpz_clear(big_den());
  delete big();
}

void QNumber::assign_pair(const QNumber& x) {
  assert(x.is_big());
  if (is_small()) {
    copy_pair(x);
    den_ = 0;
  } else {
    mpz_set(big_num(), x.big_num());
    mpz_set(big_den(), x.big_den());
  }
}

void QNumber::set_pair(words::Fraction f) noexcept {
  assert(is_big() && f.den > 0);
  mpz_set_si(big_num(), f.num);
  mpz_set_si(big_den(), f.den);
}

QNumber::QNumber(const mpz_class& n, const mpz_class& d) : QNumber() {
  assert(d != 0);
  if (n.fits_sint_p() && d.fits_sint_p()) {
    num_ = n.get_si();
    den_ = d.get_si();
  } else {
    *this = QNumber(new_pair());
    mpz_set(big_num(), n.get_mpz_t());
    mpz_set(big_den(), d.get_mpz_t());
  }
  normalize();
  assert(is_normal());
}

void QNumber::normalize() {
  assert(is_big() ? mpz_sgn(big_den()) != 0 : den_ != 0);
  if (is_small()) {
    if (num_ == 0) {
      den_ = 1;
      return;
    }
    const long g = words::gcd(num_, den_);
    num_ /= g;
    den_ /= g;
    if (den_ < 0) *this = QNumber(words::Fraction{-num_, -den_});
    return;
  }
  const mpz_ptr n = big_num();
  const mpz_ptr d = big_den();
  if (mpz_sgn(n) == 0) return mpz_set_si(d, 1);
  if (mpz_cmpabs_ui(d, 1) != 0) {
    const mpz_ptr g = scratch[0];
    mpz_gcd(g, n, d);
    mpz_divexact(n, n, g);
    mpz_divexact(d, d, g);
    scratch.trim();
  }
  if (mpz_sgn(d) < 0) {
    mpz_neg(n, n);
    mpz_neg(d, d);
  }
}

QNumber QNumber::sum_big(const QNumber& a, const QNumber& b, words::Sign sign) {
  QNumber r(new_pair());
  add_into({r.big_num(), r.big_den()}, View(a).ratio, View(b).ratio, sign);
  assert(r.is_normal());
  return r;
}

QNumber QNumber::product_big(const QNumber& a, const QNumber& b) {
  if (b.is_small() && b.num_ == 0 && a.is_big() && !a.is_integer()) return {};
  QNumber r(new_pair());
  mul_into({r.big_num(), r.big_den()}, View(a).ratio, View(b).ratio);
  assert(r.is_normal());
  return r;
}

QNumber QNumber::quotient_big(const QNumber& a, const QNumber& b) {
  QNumber r(new_pair());
  mul_into({r.big_num(), r.big_den()}, View(a).ratio, inverse(View(b).ratio));
  assert(r.is_normal());
  return r;
}

void QNumber::add_big(const QNumber& x, words::Sign sign) {
  if (is_small()) {
    *this = sum_big(*this, x, sign);
    return;
  }
  add_into({big_num(), big_den()}, View(*this).ratio, View(x).ratio, sign);
  assert(is_normal());
}

void QNumber::mul_big(const QNumber& x) {
  if (is_small()) {
    *this = product_big(*this, x);
  } else if (x.is_small() && x.num_ == 0 && !is_integer()) {
    free_pair();
    num_ = 0;
    den_ = 1;
  } else {
    mul_into({big_num(), big_den()}, View(*this).ratio, View(x).ratio);
  }
  assert(is_normal());
}

void QNumber::div_big(const QNumber& x) {
  if (is_small()) {
    *this = quotient_big(*this, x);
    return;
  }
  mul_into({big_num(), big_den()}, View(*this).ratio, inverse(View(x).ratio));
  assert(is_normal());
}

QNumber QNumber::neg_big() const {
  assert(is_big());
  QNumber r(*this);
  mpz_neg(r.big_num(), r.big_num());
  return r;
}

QNumber QNumber::inv_big() const {
  assert(is_big() && !is_zero());
  QNumber r(*this);
  mpz_swap(r.big_num(), r.big_den());
  if (mpz_sgn(r.big_den()) < 0) {
    mpz_neg(r.big_num(), r.big_num());
    mpz_neg(r.big_den(), r.big_den());
  }
  return r;
}

QNumber QNumber::floor_big() const {
  assert(is_big());
  QNumber r(new_pair());
  mpz_fdiv_q(r.big_num(), big_num(), big_den());
  mpz_set_ui(r.big_den(), 1);
  assert(r <= *this && !(r + QNumber(1) <= *this));
  return r;
}

bool QNumber::divides_big(const QNumber& x) const {
  assert(!is_zero() && (is_big() || x.is_big()));
  return mpz_divisible_p(View(x).ratio.num, View(*this).ratio.num) != 0;
}

void QNumber::divmod_big(const QNumber& d, QNumber& q, QNumber& r) const {
  assert(!d.is_zero() && &q != &r);
  Scratch& temp = scratch;
  mpz_fdiv_qr(temp[0], temp[1], View(*this).ratio.num, View(d).ratio.num);
  const auto store = [](QNumber& target, mpz_ptr value) {
    if (target.is_small()) target = QNumber(new_pair());
    mpz_set(target.big_num(), value);
    mpz_set_ui(target.big_den(), 1);
  };
  store(q, temp[0]);
  store(r, temp[1]);
  temp.trim();
}

bool QNumber::equal_mixed(const QNumber& a, const QNumber& b) {
  assert(a.is_big() != b.is_big());
  const QNumber& roomy = a.is_big() ? a : b;
  const words::Fraction f = (a.is_big() ? b : a).fraction();
  return mpz_cmp_si(roomy.big_num(), f.num) == 0 && mpz_cmp_si(roomy.big_den(), f.den) == 0;
}

bool QNumber::less_mixed(const QNumber& a, const QNumber& b) {
  assert(a.is_big() || b.is_big());
  const View x(a);
  const View y(b);
  const Pair left = {*x.ratio.num, *x.ratio.den};
  const Pair right = {*y.ratio.num, *y.ratio.den};
  return mpq_cmp(&left, &right) < 0;
}

QNumber QNumber::gcd_big(const QNumber& a, const QNumber& b) {
  assert(a.is_big() || b.is_big());
  if (a.is_small()) return gcd_big(b, a);
  if (b.is_small() && b.num_ != 0) {
    const auto word = static_cast<unsigned long>(words::abs(b.num_));
    return {static_cast<long>(mpz_gcd_ui(nullptr, a.big_num(), word))};
  }
  QNumber r(new_pair());
  mpz_gcd(r.big_num(), a.big_num(), View(b).ratio.num);
  mpz_set_ui(r.big_den(), 1);
  assert(r.sign() >= 0);
  return r;
}

QNumber QNumber::lcm_big(const QNumber& a, const QNumber& b) {
  QNumber r(new_pair());
  mpz_lcm(r.big_num(), View(a).ratio.num, View(b).ratio.num);
  mpz_set_ui(r.big_den(), 1);
  assert(r.sign() >= 0);
  return r;
}

void QNumber::shrink() {
  if (is_small()) return;
  const auto fits = [](const mpz_t x) {
    return mpz_fits_slong_p(x) && mpz_get_si(x) != words::EXCLUDED;
  };
  if (!fits(big_num()) || !fits(big_den())) return;
  const words::Fraction f = {mpz_get_si(big_num()), mpz_get_si(big_den())};
  free_pair();
  num_ = f.num;
  den_ = f.den;
  assert(is_small() && is_normal());
}

bool QNumber::is_normal() const {
  if (is_small()) return words::is_normal(fraction());
  mpz_class g;
  mpz_gcd(g.get_mpz_t(), big_num(), big_den());
  return mpz_sgn(big_den()) > 0 && g == 1;
}

}  // namespace opal
