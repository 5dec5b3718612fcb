#include "opal/arith/rational/row.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace opal::host {

namespace {

// Products of coefficients below this are words.
const QNumber SMALL_LIMIT(1L << 31);
const QNumber SMALL_OPPOSITE(-(1L << 31));

bool is_small(const RowEntry& entry) {
  return entry.coeff < SMALL_LIMIT && SMALL_OPPOSITE < entry.coeff;
}

bool is_small(const Row& row) {
  return std::all_of(row.begin(), row.end(),
                     [](const RowEntry& entry) { return is_small(entry); });
}

// The invariant but for common divisors.
bool is_ordered(const Row& row) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (!row[i].coeff.is_integer() || row[i].coeff.is_zero()) return false;
    if (i > 0 && row[i - 1].var >= row[i].var) return false;
  }
  return true;
}

}  // namespace

const QNumber* find_coeff(const Row& row, int var) {
  const auto it =
      std::lower_bound(row.begin(), row.end(), var,
                       [](const RowEntry& entry, int v) { return entry.var < v; });
  return it != row.end() && it->var == var ? &it->coeff : nullptr;
}

void make_coprime(Row& row) {
  const QNumber one(1);
  QNumber divisor;
  // From the back, where a pivot's new columns stand: their divisor soon is 1.
  for (auto it = row.rbegin(); it != row.rend(); ++it) {
    divisor = gcd(divisor, it->coeff);
    if (divisor == one) break;
  }
  for (RowEntry& entry : row) {
    if (divisor != one) entry.coeff /= divisor;
    if (!entry.coeff.is_small()) entry.coeff.shrink();
  }
}

void make_small_or_coprime(Row& row) {
  if (!is_small(row)) make_coprime(row);
}

Cancellation cancellation(const QNumber& x, const QNumber& y) {
  assert(!x.is_zero());
  const QNumber divisor = gcd(x, y);
  Cancellation result{y, x.neg()};
  if (divisor != QNumber(1)) {
    result.a /= divisor;
    result.b /= divisor;
  }
  result.a.shrink();
  result.b.shrink();
  return result;
}

Row eliminate(const Row& row, int var, const Row& definition) {
  const QNumber* const coeff = find_coeff(row, var);
  if (coeff == nullptr) return row;
  const Cancellation factors = cancellation(*coeff, *find_coeff(definition, var));
  Row result;
  result.reserve(row.size() + definition.size() - 2);
  auto x = row.begin();
  auto y = definition.begin();
  while (x != row.end() || y != definition.end()) {
    if (y == definition.end() || (x != row.end() && x->var < y->var)) {
      result.push_back({x->var, x->coeff * factors.a});
      ++x;
    } else if (x == row.end() || y->var < x->var) {
      result.push_back({y->var, y->coeff * factors.b});
      ++y;
    } else {
      QNumber sum = x->coeff * factors.a;
      sum += y->coeff * factors.b;
      if (!sum.is_zero()) result.push_back({x->var, std::move(sum)});
      ++x;
      ++y;
    }
  }
  make_coprime(result);
  return result;
}

bool is_normal(const Row& row) {
  QNumber divisor;
  for (const RowEntry& entry : row)
    divisor = gcd(divisor, entry.coeff);
  return is_ordered(row) && (row.empty() || divisor == QNumber(1));
}

bool is_small_or_normal(const Row& row) {
  return is_small(row) ? is_ordered(row) : is_normal(row);
}

}  // namespace opal::host
