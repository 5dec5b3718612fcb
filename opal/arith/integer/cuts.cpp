#include "opal/arith/integer/cuts.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "opal/arith/integer/diophantine.h"
#include "opal/linear/integer_constraints.h"

// Chvatal-Gomory cuts from the constraints that are tight at a point.
//
//     p_j >= 0  tight at the point, integer       f_j > 0
//     ----------------------------------------------------
//     t >= ceil(c)      where sum(f_j * p_j) = t - c, t with integer coefficients
//
// Read as equations, the tight constraints hold at the point. A certificate that they have
// no integer solution gives multipliers m_j under which t is integral and c is not. Taken
// modulo 1 they remain a certificate, so an inequality may have the multiplier frac(m_j) of
// its own direction, which is positive, and so may the negated certificate. The point has
// t = c < ceil(c).
//
// An equality has either direction, and so have two opposite inequalities: these take the
// multiplier nearest to 0, and the negated certificate negates it. A certificate over such
// rows alone thus gives two cuts, t >= ceil(c) and -t >= ceil(-c), that contradict each
// other.
//
// Example: x - 2y >= 0, 2y - x >= 0, x - 2z - 1 >= 0, 2z + 1 - x >= 0 are two rows, x = 2y
// and x = 2z + 1, and half their sum is x - y - z = 1/2. The cuts are x - y - z >= 1 from
// the first and the third constraint, and y + z - x >= 0 from the other two; both have
// divisor 2 and residue 1.
//
// With L the least common denominator of the f_j, the sum has the integer multipliers
// L * f_j, and divisor L * (that of t's coefficients). A common divisor h of the L * f_j
// has none with L in common, so the sum divided by h still has coefficients that L divides
// and a constant that it does not: the cut is the same with smaller numbers.
//
// Cost: one elimination for all cuts, see diophantine.cpp; a cut is linear in the size of
// its premises but for sorting. For each certificate both it and its shortened form are
// tried: the latter gives small divisors and few premises, the former other cuts.

namespace opal::host {

namespace {

using la::LinearTerm;

const QNumber ONE(1);

// Larger numbers in the elimination only lead to cuts with huge divisors.
constexpr std::size_t COEFFICIENT_BITS = 64;

/// Which multipliers of a certificate are taken: themselves, or their negations, which make
/// a certificate as well.
enum class Taken : std::uint8_t { AS_GIVEN, NEGATED };

/// The tight constraints over one sum, as an equation: sum = constant. There is at least
/// one.
struct TightRow {
  std::optional<int> equality;
  bool equality_is_negated = false;  // -sum = -constant
  std::optional<int> at_least;       // sum >= constant
  std::optional<int> at_most;        // sum <= constant

  [[nodiscard]] bool is_normal() const { return equality || at_least || at_most; }
  [[nodiscard]] bool has_both_directions() const {
    return equality || (at_least && at_most);
  }
};

struct TightRows {
  std::vector<IntegerRow> equations;
  std::vector<TightRow> literals;  // of the same index
};

using Key = std::vector<std::pair<int, QNumber>>;

// One row for each sum up to its sign, which makes the first coefficient positive.
TightRows tight_rows(const ConstraintTerms& terms, const std::vector<int>& tight) {
  TightRows rows;
  std::map<Key, std::size_t> places;
  for (const int id : tight) {
    const LinearTerm& term = terms.constraint_term(id);
    if (!term.vars.has_vars()) continue;
    assert(term.kind == LinearTerm::EQ || term.kind == LinearTerm::LEQ ||
           term.kind == LinearTerm::GEQ);
    assert(term.constant.is_integer());
    const bool negate = term.vars.coeffs().front().second.sign() < 0;
    Key key = term.vars.coeffs();
    if (negate)
      for (auto& [var, coeff] : key)
        coeff = coeff.neg();
    const auto [place, is_new] = places.emplace(std::move(key), rows.literals.size());
    if (is_new) {
      IntegerRow row;
      for (const auto& [var, coeff] : place->first)
        row.sum.push_back({var, coeff});
      row.constant = negate ? term.constant.neg() : term.constant;
      assert(row.is_normal() && row.sum.front().coeff.sign() > 0);
      rows.equations.push_back(std::move(row));
      rows.literals.emplace_back();
    }
    TightRow& literal = rows.literals[place->second];
    const bool at_least = (term.kind == LinearTerm::GEQ) != negate;
    std::optional<int>& slot = term.kind == LinearTerm::EQ ? literal.equality
                               : at_least                  ? literal.at_least
                                                           : literal.at_most;
    if (slot) continue;
    slot = id;
    if (term.kind == LinearTerm::EQ) literal.equality_is_negated = negate;
  }
  assert(rows.equations.size() == rows.literals.size());
  assert(std::all_of(rows.literals.begin(), rows.literals.end(),
                     [](const TightRow& row) { return row.is_normal(); }));
  return rows;
}

// The premise for a row with a multiplier that counts modulo 1, as a rational.
CutPremise premise(const TightRow& row, const QNumber& multiplier, Taken taken) {
  const bool negate = taken == Taken::NEGATED;
  const QNumber part = multiplier - multiplier.floor();  // of sum - constant
  assert(part.sign() > 0 && part < ONE && row.is_normal());
  if (!row.has_both_directions()) {
    // The fractional part of the literal's own multiplier, or one less that of the other.
    const bool whole = row.at_least.has_value() != negate;
    return {row.at_least ? *row.at_least : *row.at_most, whole ? part : ONE - part};
  }
  QNumber signed_part = part + part > ONE ? part - ONE : part;
  assert(!signed_part.is_zero() && abs(signed_part + signed_part) <= ONE);
  if (negate) signed_part = signed_part.neg();
  if (row.equality)
    return {*row.equality, row.equality_is_negated ? signed_part.neg() : signed_part};
  return {signed_part.sign() > 0 ? *row.at_least : *row.at_most, abs(signed_part)};
}

// Scales the multipliers to integers without a common divisor.
void make_coprime(std::vector<CutPremise>& premises) {
  QNumber denominator(1);
  for (const CutPremise& premise : premises)
    denominator = lcm(denominator, premise.multiplier.get_den());
  QNumber divisor;
  for (CutPremise& premise : premises) {
    premise.multiplier *= denominator;
    assert(premise.multiplier.is_integer() && !premise.multiplier.is_zero());
    divisor = gcd(divisor, premise.multiplier);
  }
  assert(divisor.sign() > 0);
  for (CutPremise& premise : premises) {
    premise.multiplier /= divisor;
    premise.multiplier.shrink();
  }
}

// Adds the premises up: sum(coeffs) - constant >= 0.
struct Sum {
  Key coeffs;
  QNumber constant;
};
Sum sum_of(const ConstraintTerms& terms, const std::vector<CutPremise>& premises) {
  Sum sum;
  Key all;
  for (const CutPremise& premise : premises) {
    const LinearTerm& term = terms.constraint_term(premise.constraint_id);
    const QNumber factor =
        term.kind == LinearTerm::LEQ ? premise.multiplier.neg() : premise.multiplier;
    for (const auto& [var, coeff] : term.vars.coeffs())
      all.emplace_back(var, factor * coeff);
    sum.constant += factor * term.constant;
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const auto& x, const auto& y) { return x.first < y.first; });
  for (auto& [var, coeff] : all) {
    if (!sum.coeffs.empty() && sum.coeffs.back().first == var)
      sum.coeffs.back().second += coeff;
    else if (sum.coeffs.empty() || !sum.coeffs.back().second.is_zero())
      sum.coeffs.emplace_back(var, std::move(coeff));
    else
      sum.coeffs.back() = {var, std::move(coeff)};
  }
  if (!sum.coeffs.empty() && sum.coeffs.back().second.is_zero()) sum.coeffs.pop_back();
  assert(std::is_sorted(sum.coeffs.begin(), sum.coeffs.end(),
                        [](const auto& x, const auto& y) { return x.first <= y.first; }));
  return sum;
}

// The rounded sum of the premises.
Cut rounded(const ConstraintTerms& terms, std::vector<CutPremise> premises) {
  assert(!premises.empty());
  make_coprime(premises);
  const Sum sum = sum_of(terms, premises);
  Cut cut;
  cut.premises = std::move(premises);
  for (const auto& [var, coeff] : sum.coeffs)
    cut.divisor = gcd(cut.divisor, coeff);
  assert(!cut.divisor.is_zero());  // 0 >= c would have c = 0 at the point
  cut.term.kind = LinearTerm::GEQ;
  for (const auto& [var, coeff] : sum.coeffs)
    cut.term.vars.add_var(coeff / cut.divisor, var);
  cut.term.constant = (sum.constant / cut.divisor).neg().floor().neg();
  cut.residue = cut.divisor * cut.term.constant - sum.constant;
  cut.term.constant.shrink();
  cut.divisor.shrink();
  cut.residue.shrink();
  assert(cut.is_normal());
  return cut;
}

bool comes_before(const Cut& x, const Cut& y) {
  if (x.divisor != y.divisor) return x.divisor < y.divisor;
  return x.premises.size() < y.premises.size();
}

}  // namespace

bool Cut::is_normal() const {
  return !premises.empty() && term.kind == LinearTerm::GEQ && is_integer_normal(term) &&
         residue.sign() > 0 && residue < divisor &&
         std::all_of(premises.begin(), premises.end(), [](const CutPremise& p) {
           return p.multiplier.is_integer() && !p.multiplier.is_zero();
         });
}

std::vector<Cut> tight_cuts(const ConstraintTerms& terms, const std::vector<int>& tight,
                            std::size_t most, Limits& limits) {
  const TightRows rows = tight_rows(terms, tight);
  std::vector<Cut> cuts;
  const auto add = [&](const Certificate& certificate, Taken taken) {
    limits.poll();
    assert(!certificate.empty() && certificate.back().first < rows.literals.size());
    std::vector<CutPremise> premises;
    bool equalities_only = true;
    for (const auto& [row, multiplier] : certificate) {
      premises.push_back(premise(rows.literals[row], multiplier, taken));
      equalities_only = equalities_only && rows.literals[row].equality;
    }
    if (!equalities_only) cuts.push_back(rounded(terms, std::move(premises)));
  };
  for (const Certificate& certificate : derived_contradictions(
           rows.equations, rows.equations.size(), COEFFICIENT_BITS, limits)) {
    for (const Certificate& form : {shortened(rows.equations, certificate), certificate}) {
      add(form, Taken::AS_GIVEN);
      add(form, Taken::NEGATED);
    }
  }
  std::stable_sort(cuts.begin(), cuts.end(), comes_before);

  std::set<std::pair<Key, QNumber>> seen;
  std::vector<Cut> result;
  for (Cut& cut : cuts) {
    if (result.size() == most) break;
    if (seen.emplace(cut.term.vars.coeffs(), cut.term.constant).second)
      result.push_back(std::move(cut));
  }
  assert(result.size() <= most);
  return result;
}

}  // namespace opal::host
