#include "opal/arith/integer/diophantine.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <map>
#include <queue>
#include <tuple>

// Elimination over the integers.
//
// A derived row is divided by the greatest common divisor g of its coefficients; when g
// does not divide its constant, no integers satisfy it, and the multipliers over the given
// rows that lead to it are a certificate. Otherwise, when it has a coefficient 1 or -1, its
// variable is eliminated from the other rows. Otherwise let a be its coefficient of least
// magnitude, that of x: replacing x by
//
//     x' = x + sum(round(b / a) * y)        over the row's other terms b*y
//
// leaves b - a*round(b/a), at most |a|/2 in magnitude, as the coefficient of y. The least
// magnitude gets smaller with each such step, and so reaches 1 (Knuth, The Art of Computer
// Programming 2, section 4.5.2; Schrijver, Theory of Linear and Integer Programming,
// section 4.1). x' takes over the id of x.
//
// Example: x = 2y and x = 2z + 1. The first row eliminates x: 2y - 2z = 1, and 2 does not
// divide 1. That row is (second - first), up to sign; half of it is the certificate,
//
//     1/2*(x - 2z = 1) - 1/2*(x - 2y = 0)   =   (y - z = 1/2)
//
// Why it is right: replacing x is invertible over the integers, so the coefficients of a
// combination are integers in the old variables if and only if they are in the new ones.
// When no row is contradictory, every row eliminates one variable with coefficient 1 or -1
// (or is 0 = 0), and integer values for the variables that remain give all others. A row
// with an integer multiplier adds integers to the coefficients and to the constant, so such
// rows may be left out, and multipliers count modulo 1.
//
// Cost: rows with small coefficients and few of them come first, and the variable that
// fewest rows have is chosen among equals, as for sparse Gaussian elimination. A row's way
// from the given row is kept as a list of steps over pivot rows; multipliers are computed
// from it for certificates only, in time linear in the number of steps.

namespace opal::host {

namespace {

const QNumber ONE(1);

QNumber nearest(const QNumber& x) { return (x + QNumber(1) / QNumber(2)).floor(); }

// In [-1/2, 1/2).
QNumber nearest_part(const QNumber& x) { return x - nearest(x); }

// Whether multipliers are a certificate against rows; for assertions that follow much more
// work on the same rows.
[[maybe_unused]] bool is_certificate(const std::vector<IntegerRow>& rows,
                                     const Certificate& certificate) {
  std::map<int, QNumber> sum;
  QNumber constant;
  for (std::size_t i = 0; i < certificate.size(); ++i) {
    const auto& [row, multiplier] = certificate[i];
    if (row >= rows.size() || multiplier.is_zero()) return false;
    if (i > 0 && certificate[i - 1].first >= row) return false;
    for (const RowEntry& entry : rows[row].sum)
      sum[entry.var] += multiplier * entry.coeff;
    constant += multiplier * rows[row].constant;
  }
  return !constant.is_integer() &&
         std::all_of(sum.begin(), sum.end(),
                     [](const auto& entry) { return entry.second.is_integer(); });
}

class Elimination {
 public:
  Elimination(const std::vector<IntegerRow>& rows, std::size_t bits, Limits& limits)
      : states_(rows.size()), bits_(bits), limits_(limits) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      assert(rows[i].is_normal());
      states_[i].sum = rows[i].sum;
      states_[i].constant = rows[i].constant;
      for (const RowEntry& entry : rows[i].sum)
        note_use(entry.var, i);
    }
  }

  // To be called once.
  std::vector<Certificate> run(std::size_t most) {
    assert(pivots_.empty() && certificates_.empty());
    most_ = most;
    for (std::size_t i = 0; i < states_.size() && !done(); ++i)
      divide(i);
    while (!waiting_.empty() && !done()) {
      const Waiting next = waiting_.top();
      waiting_.pop();
      const State& state = states_[next.row];
      if (state.active && state.version == next.version) solve(next.row);
    }
    assert(pivots_.size() + certificates_.size() <= states_.size());
    return std::move(certificates_);
  }

 private:
  /// A multiple of a pivot row that was added.
  struct Step {
    std::size_t pivot;
    QNumber factor;
  };
  /// A derived row. Invariant, over the variables as they were given:
  ///
  ///     divisor * (sum = constant)  is  the given row + sum(step.factor * step.pivot)
  struct State {
    Row sum;  // coprime; cleared when the row has become a pivot
    QNumber constant;
    QNumber divisor{1};
    std::vector<Step> steps;
    std::size_t order = 0;  // of a pivot: its index in pivots_
    unsigned version = 0;   // counts the changes of sum
    bool active = true;     // neither a pivot nor left out
  };
  struct Waiting {
    QNumber smallest;  // least magnitude of a coefficient
    std::size_t length;
    std::size_t row;
    unsigned version;

    bool operator<(const Waiting& other) const {  // the least is the queue's top
      return std::tie(other.smallest, other.length, other.row, other.version) <
             std::tie(smallest, length, row, version);
    }
  };

  [[nodiscard]] bool done() const { return certificates_.size() >= most_; }

  void note_use(int var, std::size_t row) {
    assert(var >= 0);
    const auto column = static_cast<std::size_t>(var);
    if (column >= columns_.size()) columns_.resize(column + 1);
    columns_[column].push_back(row);
  }

  // The active rows that have the variable, ascending.
  std::vector<std::size_t> users(int var) {
    assert(var >= 0 && static_cast<std::size_t>(var) < columns_.size());
    std::vector<std::size_t>& rows = columns_[static_cast<std::size_t>(var)];
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    const auto outdated = [&](std::size_t row) {
      return !states_[row].active || find_coeff(states_[row].sum, var) == nullptr;
    };
    rows.erase(std::remove_if(rows.begin(), rows.end(), outdated), rows.end());
    return rows;
  }

  // Adds factor * addend to the sum of a row.
  void add(std::size_t row, const QNumber& factor, const Row& addend) {
    limits_.poll();
    assert(states_[row].active && !factor.is_zero());
    const Row& sum = states_[row].sum;
    Row result;
    result.reserve(sum.size() + addend.size());
    auto x = sum.begin();
    auto y = addend.begin();
    while (x != sum.end() || y != addend.end()) {
      if (y == addend.end() || (x != sum.end() && x->var < y->var)) {
        result.push_back(*x++);
      } else if (x == sum.end() || y->var < x->var) {
        result.push_back({y->var, y->coeff * factor});
        note_use(y->var, row);
        ++y;
      } else {
        QNumber coeff = x->coeff + y->coeff * factor;
        coeff.shrink();
        if (!coeff.is_zero()) result.push_back({x->var, std::move(coeff)});
        ++x;
        ++y;
      }
    }
    assert(std::all_of(result.begin(), result.end(), [](const RowEntry& entry) {
      return entry.coeff.is_integer() && !entry.coeff.is_zero();
    }));
    states_[row].sum = std::move(result);
  }

  // The term of least magnitude, of several the one whose variable fewest rows have.
  [[nodiscard]] const RowEntry& smallest_entry(const Row& sum) const {
    const auto uses = [&](const RowEntry& entry) {
      return columns_[static_cast<std::size_t>(entry.var)].size();
    };
    assert(!sum.empty());
    const RowEntry* best = &sum.front();
    for (const RowEntry& entry : sum) {
      const QNumber size = abs(entry.coeff);
      const QNumber least = abs(best->coeff);
      if (size < least || (size == least && uses(entry) < uses(*best))) best = &entry;
    }
    return *best;
  }

  // Makes a row wait for its turn, or leaves it out because its coefficients are too large.
  void enqueue(std::size_t row) {
    State& state = states_[row];
    assert(state.active && !state.sum.empty());
    QNumber smallest = abs(state.sum.front().coeff);
    QNumber largest = smallest;
    for (const RowEntry& entry : state.sum) {
      const QNumber size = abs(entry.coeff);
      if (size < smallest) smallest = size;
      if (largest < size) largest = size;
    }
    if (largest.get_num().num_bits() > bits_) {
      state.active = false;
      return;
    }
    waiting_.push({smallest, state.sum.size(), row, ++state.version});
  }

  // Divides a row by its divisor, and tells whether it is contradictory.
  void divide(std::size_t row) {
    State& state = states_[row];
    assert(state.active);
    if (state.sum.empty()) {
      state.active = false;
      return;
    }
    QNumber divisor;
    for (auto it = state.sum.begin(); it != state.sum.end() && divisor != ONE; ++it)
      divisor = gcd(divisor, it->coeff);
    assert(divisor.sign() > 0 && state.constant.is_integer());
    if (divisor != ONE) {
      for (RowEntry& entry : state.sum)
        entry.coeff /= divisor;
      state.constant /= divisor;
      state.divisor *= divisor;
    }
    if (state.constant.is_integer()) {
      enqueue(row);
    } else {
      state.active = false;
      certificates_.push_back(certificate(row));
    }
  }

  // Replaces variables until the row has a coefficient 1 or -1, and eliminates that one's.
  void solve(std::size_t row) {
    RowEntry entry = smallest_entry(states_[row].sum);
    while (abs(entry.coeff) != ONE) {
      replace(entry, row);
      const RowEntry next = smallest_entry(states_[row].sum);
      assert(abs(next.coeff) < abs(entry.coeff));
      entry = next;
    }
    eliminate(entry, row);
  }

  // Replaces x of entry a*x by x' = x + sum(round(b / a) * y) over the row's other terms.
  void replace(const RowEntry& entry, std::size_t row) {
    assert(ONE < abs(entry.coeff));
    Row difference;  // x - x'
    for (const RowEntry& other : states_[row].sum) {
      if (other.var == entry.var) continue;
      const QNumber quotient = nearest(other.coeff / entry.coeff);
      if (!quotient.is_zero()) difference.push_back({other.var, quotient.neg()});
    }
    for (const std::size_t user : users(entry.var)) {
      add(user, QNumber(*find_coeff(states_[user].sum, entry.var)), difference);
      if (user != row) enqueue(user);
    }
  }

  void eliminate(const RowEntry& entry, std::size_t row) {
    State& pivot = states_[row];
    assert(pivot.active && abs(entry.coeff) == ONE && pivot.constant.is_integer());
    pivot.active = false;
    pivot.order = pivots_.size();
    pivots_.push_back(row);
    for (const std::size_t user : users(entry.var)) {
      State& state = states_[user];
      const QNumber factor = find_coeff(state.sum, entry.var)->neg() / entry.coeff;
      add(user, factor, pivot.sum);
      assert(find_coeff(state.sum, entry.var) == nullptr);
      state.constant += factor * pivot.constant;
      state.constant.shrink();
      state.steps.push_back({row, factor * state.divisor});
      divide(user);
      if (done()) return;
    }
    pivot.sum = Row();
  }

  // The multipliers over the given rows that make a contradictory row, modulo 1.
  [[nodiscard]] Certificate certificate(std::size_t contradictory) {
    assert(!states_[contradictory].active);
    std::vector<QNumber> weights(pivots_.size());  // by order: how often a pivot counts
    Certificate result;
    const auto take = [&](std::size_t row, const QNumber& weight) {
      limits_.poll();
      const QNumber multiplier = weight / states_[row].divisor;
      for (const Step& step : states_[row].steps)
        weights[states_[step.pivot].order] += multiplier * step.factor;
      QNumber part = nearest_part(multiplier);
      part.shrink();
      if (!part.is_zero()) result.emplace_back(row, std::move(part));
    };
    take(contradictory, ONE);
    // A pivot's steps are over pivots before it.
    for (std::size_t order = weights.size(); order-- > 0;)
      if (!weights[order].is_zero()) take(pivots_[order], QNumber(weights[order]));
    std::sort(result.begin(), result.end(),
              [](const auto& x, const auto& y) { return x.first < y.first; });
    assert(!result.empty());
    return result;
  }

  std::vector<State> states_;                      // by row
  std::vector<std::vector<std::size_t>> columns_;  // by variable: its rows, and former ones
  std::priority_queue<Waiting> waiting_;           // all active rows, and former states
  std::vector<std::size_t> pivots_;
  std::vector<Certificate> certificates_;
  std::size_t most_ = 0;
  std::size_t bits_;  // of the largest coefficient of a row that is not left out
  Limits& limits_;
};

// The smallest prime divisor when it is small, or else x itself.
QNumber small_prime_divisor(const QNumber& x) {
  assert(x.is_integer() && QNumber(1) < x);
  constexpr long LARGEST = 1000;
  for (long p = 2; p <= LARGEST; ++p)
    if (QNumber(p).divides(x)) return {p};
  return x;
}

}  // namespace

bool IntegerRow::is_normal() const {
  for (std::size_t i = 0; i < sum.size(); ++i) {
    if (!sum[i].coeff.is_integer() || sum[i].coeff.is_zero()) return false;
    if (i > 0 && sum[i - 1].var >= sum[i].var) return false;
  }
  return constant.is_integer();
}

std::vector<Certificate> derived_contradictions(const std::vector<IntegerRow>& rows,
                                                std::size_t most, std::size_t bits,
                                                Limits& limits) {
  std::vector<Certificate> result = Elimination(rows, bits, limits).run(most);
  assert(result.size() <= most);
  assert(std::all_of(result.begin(), result.end(),
                     [&](const Certificate& c) { return is_certificate(rows, c); }));
  return result;
}

std::vector<Certificate> integer_contradictions(const std::vector<IntegerRow>& rows,
                                                std::size_t most, Limits& limits) {
  std::vector<Certificate> result = derived_contradictions(rows, most, SIZE_MAX, limits);
  for (Certificate& certificate : result) {
    limits.poll();
    certificate = shortened(rows, certificate);
  }
  return result;
}

// Let the constant be a/q, p a prime divisor of q, p^f the power of p in q, L the
// multipliers' common denominator and r its part without p. Times r * p^(f-1), the constant
// has the denominator p, and the multipliers' denominators are powers of p. If p is q
// itself, not known to be a prime, then f is 1, and r has no divisor with q in common.
Certificate shortened(const std::vector<IntegerRow>& rows, const Certificate& certificate) {
  QNumber constant;
  QNumber factor(1);
  for (const auto& [row, multiplier] : certificate) {
    constant += multiplier * rows[row].constant;
    factor = lcm(factor, multiplier.get_den());
  }
  assert(!constant.is_integer());
  QNumber rest = constant.get_den();
  const QNumber prime = small_prime_divisor(rest);
  for (QNumber common = gcd(factor, prime); common != ONE; common = gcd(factor, prime))
    factor /= common;
  for (rest /= prime; prime.divides(rest); rest /= prime)
    factor *= prime;
  Certificate result;
  for (const auto& [row, multiplier] : certificate) {
    QNumber part = nearest_part(multiplier * factor);
    part.shrink();
    if (!part.is_zero()) result.emplace_back(row, std::move(part));
  }
  assert(!result.empty() && is_certificate(rows, result));
  return result;
}

}  // namespace opal::host
