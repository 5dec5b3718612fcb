#include "opal/simplify/floors.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

#include "opal/base/modular_arithmetic.h"

// rule normal-floor
// match:  floor(q1*x1 + ... + qn*xn + c)
// result: an integer sum, plus or minus one normal floor term, since
//           integers leave the floor:
//               floor((x + 4y + 5)/2) = 2y + 2 + floor((x + 1)/2)
//           fractions below 1/d do not count:
//               floor((4x + 3)/8) = floor(x/2)
//           the first coefficient is made positive:
//               floor(-x/3) = -floor((x + 2)/3)
//           a nested floor disappears:
//               floor((floor(x/2) + 1)/3) = floor((x + 2)/6)

namespace opal::host {

namespace {

// Adds factor * summands.
void add_multiple(LinearForm& form, const QNumber& factor, const LinearForm& other) {
  assert(!factor.is_zero() && &form != &other);
  for (const auto& [variable, a] : other.summands)
    form.summands.emplace_back(variable, a * factor);
  form.constant += other.constant * factor;
}

// Takes out of the form what is always an integer, and gives it back: multiples of Int
// variables, leaving coefficients in (-1/2, 1/2], and of the constant, leaving [0, 1).
LinearForm take_integers(LinearForm& form) {
  LinearForm taken;
  std::vector<LinearForm::Summand> rest;
  for (auto& [variable, a] : form.summands) {
    if (Terms::sort_of(variable) != Sort::INT) {
      rest.emplace_back(variable, std::move(a));
      continue;
    }
    QNumber fraction = balanced_remainder(a, QNumber(1));
    if (a != fraction) taken.summands.emplace_back(variable, a - fraction);
    if (!fraction.is_zero()) rest.emplace_back(variable, std::move(fraction));
  }
  form.summands = std::move(rest);
  taken.constant = form.constant.floor();
  form.constant -= taken.constant;
  assert(form.constant.sign() >= 0 && form.constant < QNumber(1));
  assert(form.is_normal() && taken.is_normal());
  return taken;
}

QNumber common_denominator(const LinearForm& form) {
  QNumber denominator(1);
  for (const auto& [variable, a] : form.summands)
    denominator = lcm(denominator, a.get_den());
  assert(denominator.sign() > 0);
  return denominator;
}

void scale(LinearForm& form, const QNumber& factor) {
  assert(!factor.is_zero());
  for (auto& summand : form.summands)
    summand.second *= factor;
  form.constant *= factor;
}

bool has_floor(const LinearForm& form) {
  return std::any_of(form.summands.begin(), form.summands.end(), is_floor);
}

}  // namespace

bool is_floor(const LinearForm::Summand& summand) {
  return Terms::kind_of(summand.first) == Kind::FLOOR;
}

bool is_over_integers(const std::vector<LinearForm::Summand>& summands) {
  return std::all_of(summands.begin(), summands.end(), [](const auto& summand) {
    return Terms::sort_of(summand.first) == Sort::INT;
  });
}

bool FloorForms::Floor::is_normal() const {
  if (!numerator.is_normal() || numerator.is_constant()) return false;
  if (is_over_integers(numerator.summands) != over_integers) return false;
  if (!over_integers)
    return divisor == QNumber(1) && numerator.constant.sign() >= 0 &&
           numerator.constant < QNumber(1);
  if (divisor <= QNumber(1) || !ResidueClass{numerator.constant, divisor}.is_normal())
    return false;
  QNumber common = divisor;
  for (const auto& [variable, a] : numerator.summands) {
    if (!a.is_integer() || balanced_remainder(a, divisor) != a) return false;
    common = gcd(common, a);
  }
  return common == QNumber(1) && numerator.summands.front().second.sign() > 0;
}

void FloorForms::replace(LinearForm& form) const {
  if (!has_floor(form)) return;
  LinearForm result;
  result.constant = form.constant;
  for (auto& summand : form.summands) {
    if (is_floor(summand)) {
      add_multiple(result, summand.second, normal_.at(summand.first));
    } else {
      result.summands.push_back(std::move(summand));
    }
  }
  result.merge_summands();
  form = std::move(result);
}

// Inner floor terms are written before the outer ones.
void FloorForms::normalize(LinearForm& form) {
  assert(form.is_normal());
  if (!has_floor(form)) return;
  struct Open {
    const Term_* floor;
    LinearForm argument;
  };
  std::vector<Open> open;
  const auto visit = [&](const LinearForm& sum) {
    const std::size_t before = open.size();
    for (const auto& summand : sum.summands) {
      if (!is_floor(summand) || normal_.count(summand.first) != 0) continue;
      open.push_back({summand.first, linear_form(summand.first->arg(0))});
    }
    return open.size() > before;
  };
  visit(form);
  while (!open.empty()) {
    if (normal_.count(open.back().floor) != 0) {
      open.pop_back();
      continue;
    }
    const LinearForm argument = open.back().argument;
    if (visit(argument)) continue;
    const Term_* floor = open.back().floor;
    open.pop_back();
    LinearForm sum = argument;
    replace(sum);
    normal_.emplace(floor, floor_form(std::move(sum)));
  }
  replace(form);
  assert(form.is_normal());
}

// The normal form of the floor of u, whose floor terms are normal. Invariant: the result is
// taken + sign * floor(u).
LinearForm FloorForms::floor_form(LinearForm u) {
  LinearForm taken;
  QNumber sign(1), divisor(1);
  bool integers = true;
  for (;;) {
    assert(u.is_normal() && abs(sign) == QNumber(1));
    add_multiple(taken, sign, take_integers(u));
    integers = is_over_integers(u.summands);
    if (!integers || u.is_constant()) break;
    divisor = common_denominator(u);
    assert(QNumber(1) < divisor);
    u.constant = (u.constant * divisor).floor() / divisor;
    if (u.summands.front().second.sign() < 0) {
      // floor(n/d) = -floor((d - 1 - n)/d) for an integer n
      scale(u, QNumber(-1));
      u.constant += QNumber(1) - divisor.inv();
      sign = sign.neg();
    } else if (!fold_nested(u, divisor)) {
      break;
    }
  }
  if (!u.is_constant()) {
    if (integers) scale(u, divisor);
    const Term_* normal = write({std::move(u), integers ? divisor : QNumber(1), integers});
    taken.summands.emplace_back(normal, sign);
  }
  taken.merge_summands();
  return taken;
}

// When u has one floor term only, floor(n/d), which has the coefficient 1 in the integer
// u * divisor, n/d takes its place. Large divisors are left alone, so that numbers do not
// grow with the depth of terms. Answers whether it was done.
bool FloorForms::fold_nested(LinearForm& u, const QNumber& divisor) const {
  if (std::count_if(u.summands.begin(), u.summands.end(), is_floor) != 1) return false;
  const auto nested = std::find_if(u.summands.begin(), u.summands.end(), is_floor);
  const QNumber factor = nested->second;
  const Floor& inner = floor_of(nested->first);
  if (factor * divisor != QNumber(1) || !(inner.divisor * divisor).is_small()) return false;
  u.summands.erase(nested);
  add_multiple(u, factor / inner.divisor, inner.numerator);
  u.merge_summands();
  return true;
}

const Term_* FloorForms::write(Floor f) {
  assert(f.is_normal());
  const Term_* sum = sum_term(terms_, f.numerator);
  const Term_* t =
      f.over_integers
          ? terms_.make_floor(terms_.make_times(terms_.make_number(f.divisor.inv()), sum))
          : terms_.make_floor(sum);
  floors_.emplace(t, std::move(f));
  return t;
}

}  // namespace opal::host
