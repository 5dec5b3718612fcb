// Conversions of QNumber from and to text, words, floating point and hashes.

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <stdexcept>

#include "opal/utils/qnumber.h"

namespace opal {
namespace {

struct Free {
  void operator()(char* text) const { std::free(text); }
};
using Text = std::unique_ptr<char, Free>;

Text text_of(const mpz_t x) {
  Text text(mpz_get_str(nullptr, 10, x));
  assert(text != nullptr);
  return text;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

QNumber QNumber::from_decimal(std::string_view text) {
  std::string digits(text);
  std::size_t decimals = 0;
  if (const auto point = digits.find('.'); point != std::string::npos) {
    decimals = digits.size() - point - 1;
    digits.erase(point, 1);
  }
  const auto first = digits.begin() + (text.substr(0, 1) == "-" ? 1 : 0);
  if (first == digits.end() || !std::all_of(first, digits.end(), is_digit))
    throw std::invalid_argument("not a decimal number: " + std::string(text.substr(0, 40)));

  constexpr std::size_t ALWAYS_WORD = 18;
  if (decimals == 0 && digits.size() <= ALWAYS_WORD) return {std::stol(digits)};
  mpz_class power(1);
  mpz_ui_pow_ui(power.get_mpz_t(), 10, decimals);
  QNumber r(mpz_class(digits, 10), power);
  r.shrink();
  assert(r.is_normal());
  return r;
}

std::string QNumber::to_str() const {
  if (is_small())
    return den_ == 1 ? std::to_string(num_)
                     : std::to_string(num_) + '/' + std::to_string(den_);
  std::string result = text_of(big_num()).get();
  if (!is_integer()) result.append("/").append(text_of(big_den()).get());
  return result;
}

std::ostream& operator<<(std::ostream& os, const QNumber& x) {
  if (x.is_small()) {
    os << x.num_;
    if (x.den_ != 1) os << '/' << x.den_;
  } else {
    os << text_of(x.big_num()).get();
    if (!x.is_integer()) os << '/' << text_of(x.big_den()).get();
  }
  return os;
}

std::optional<long> QNumber::to_long() const {
  if (!is_integer()) return std::nullopt;
  if (is_small()) return num_;
  if (!mpz_fits_slong_p(big_num())) return std::nullopt;
  return mpz_get_si(big_num());
}

double QNumber::to_double() const {
  if (is_small()) return static_cast<double>(num_) / static_cast<double>(den_);
  return mpq_get_d(big());
}

std::size_t QNumber::num_bits() const {
  if (is_big()) return mpz_sizeinbase(big_num(), 2) + mpz_sizeinbase(big_den(), 2);
  const auto bits = [](long x) {
    return x == 0 ? 1
                  : 64 - static_cast<std::size_t>(
                             __builtin_clzl(static_cast<unsigned long>(words::abs(x))));
  };
  return bits(num_) + bits(den_);
}

// Both parts modulo the prime 2^61 - 1, which is the same in either form, then mixed.
std::size_t QNumber::hash() const {
  constexpr unsigned long PRIME = (1UL << 61U) - 1;
  constexpr unsigned long MIX = 0x9e3779b97f4a7c15UL;
  unsigned long n;
  unsigned long d;
  if (is_small()) {
    const long r = num_ % static_cast<long>(PRIME);
    n = static_cast<unsigned long>(r < 0 ? r + static_cast<long>(PRIME) : r);
    d = static_cast<unsigned long>(den_) % PRIME;
  } else {
    n = mpz_fdiv_ui(big_num(), PRIME);
    d = mpz_fdiv_ui(big_den(), PRIME);
  }
  assert(n < PRIME && d < PRIME);
  const unsigned long mixed = (n + d * MIX) * MIX;
  return mixed ^ (mixed >> 32U);
}

}  // namespace opal
