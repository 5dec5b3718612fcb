// Certificates and cuts are added up again here with GMP's rationals, and whether there
// must be a certificate is decided by a textbook reduction to Hermite normal form.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "opal/host/cuts.h"
#include "opal/host/diophantine.h"

namespace opal::host {
namespace {

using la::LinearTerm;
using Dense = std::vector<std::vector<long>>;  // rows of coefficients, then the constant
enum class Solutions { INTEGER, RATIONAL, NONE };

mpq_class gmp(const QNumber& x) { return mpq_class(x.to_str()); }
bool is_integer(const mpq_class& x) { return x.get_den() == 1; }

std::vector<IntegerRow> sparse(const Dense& rows) {
  std::vector<IntegerRow> result;
  for (const std::vector<long>& row : rows) {
    result.push_back({{}, row.back()});
    for (std::size_t j = 0; j + 1 < row.size(); ++j)
      if (row[j] != 0) result.back().sum.push_back({static_cast<int>(j), row[j]});
  }
  return result;
}

// Column operations make the matrix lower triangular; then the values follow one by one.
Solutions hermite(const Dense& rows) {
  std::vector<std::vector<mpz_class>> a;
  for (const std::vector<long>& row : rows)
    a.emplace_back(row.begin(), row.end());
  std::vector<mpq_class> values;
  bool integer = true;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const std::size_t columns = a[i].size() - 1;
    const std::size_t rank = values.size();
    for (std::size_t c = rank + 1; c < columns; ++c) {
      while (a[i][c] != 0) {
        const mpz_class quotient = a[i][rank] / a[i][c];
        for (auto& row : a) {
          row[rank] -= quotient * row[c];
          std::swap(row[rank], row[c]);
        }
      }
    }
    mpq_class rest = a[i][columns];
    for (std::size_t k = 0; k < rank; ++k)
      rest -= a[i][k] * values[k];
    if (rank < columns && a[i][rank] != 0) {
      values.emplace_back(rest / a[i][rank]);
      integer = integer && is_integer(values.back());
    } else if (rest != 0) {
      return Solutions::NONE;
    }
  }
  return integer ? Solutions::INTEGER : Solutions::RATIONAL;
}

bool certifies(const std::vector<IntegerRow>& rows, const Certificate& certificate) {
  std::map<int, mpq_class> sum;  // the constant under -1
  for (const auto& [row, multiplier] : certificate) {
    for (const RowEntry& entry : rows[row].sum)
      sum[entry.var] += gmp(multiplier) * gmp(entry.coeff);
    sum[-1] += gmp(multiplier) * gmp(rows[row].constant);
  }
  return !is_integer(sum[-1]) && std::all_of(++sum.begin(), sum.end(),
                                             [](auto& x) { return is_integer(x.second); });
}

// Verifies all forms of the certificates, and that there are some when there must be.
Solutions check_system(const Dense& dense) {
  SCOPED_TRACE(testing::PrintToString(dense));
  Limits limits;
  const std::vector<IntegerRow> rows = sparse(dense);
  const auto derived = derived_contradictions(rows, rows.size(), SIZE_MAX, limits);
  const auto found = integer_contradictions(rows, rows.size(), limits);
  const Solutions solutions = hermite(dense);
  EXPECT_TRUE(solutions == Solutions::NONE ||
              found.empty() == (solutions == Solutions::INTEGER));
  EXPECT_EQ(derived.size(), found.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    EXPECT_TRUE(certifies(rows, derived[i]) && certifies(rows, found[i]));
    EXPECT_TRUE(certifies(rows, fractional_parts(found[i])));
    EXPECT_LE(found[i].size(), derived[i].size());
    for (const auto& [row, multiplier] : fractional_parts(found[i]))
      EXPECT_TRUE(multiplier.sign() > 0 && multiplier < QNumber(1));
  }
  EXPECT_EQ(integer_contradictions(rows, 1, limits).size(), found.empty() ? 0U : 1U);
  return solutions;
}

long random_number(std::mt19937& random, long bound) {
  return std::uniform_int_distribution<long>(-bound, bound)(random);
}

TEST(Diophantine, DecidesSystemsThatNeedDifferentSteps) {
  const std::vector<std::pair<Solutions, Dense>> cases{
      {Solutions::RATIONAL, {{1, -2, 0, 0}, {1, 0, -2, 1}}},
      {Solutions::RATIONAL, {{2, 1}}},
      {Solutions::INTEGER, {{6, 10, 15, 1}}},                   // no unit coefficient
      {Solutions::RATIONAL, {{6, 10, 15, 1}, {6, 10, 14, 1}}},  // each alone or not
      {Solutions::RATIONAL, {{3, 5, 0, 1}, {0, 3, 5, 1}, {5, 0, 3, 5}}},
      {Solutions::NONE, {{1, 1}, {1, 2}}},
      {Solutions::INTEGER, {{0, 0, 0}, {1, 1, 3}, {2, 2, 6}}},  // empty and repeated rows
      {Solutions::RATIONAL, {{1L << 62, 1L << 61, 1L << 60}}},  // beyond words when added
      {Solutions::RATIONAL, {{1009, 1009, 1}}},                 // no small prime
      {Solutions::RATIONAL, {{1022117, 1022117, 1009}}}};       // 1009 * 1013
  for (const auto& [expected, system] : cases)
    EXPECT_EQ(check_system(system), expected);
  Limits limits;  // 12x = 1 by a half, not by a twelfth
  EXPECT_EQ(integer_contradictions(sparse({{12, 1}}), 1, limits).at(0),
            (Certificate{{0, QNumber(-1) / QNumber(2)}}));
}

TEST(Diophantine, AgreesWithHermiteNormalFormOnRandomSystems) {
  std::map<Solutions, int> count;
  for (unsigned seed = 0; seed < 3000 && !testing::Test::HasFailure(); ++seed) {
    std::mt19937 random(seed);
    const long bound = seed % 3 == 0 ? 3 : seed % 3 == 1 ? 12 : 1L << 40;
    const std::size_t columns = 2 + seed % 5;
    Dense system(1 + random() % 6, std::vector<long>(columns + 1));
    for (std::vector<long>& row : system) {
      for (std::size_t j = 0; j < columns; ++j) {
        row[j] = random() % 3 == 0 ? 0 : random_number(random, bound);
        row.back() += row[j] * static_cast<long>(7 * j % 5);  // a solution
      }
      if (seed % 2 == 1) row.back() += random_number(random, 3);
    }
    ++count[check_system(system)];
  }
  EXPECT_GE(count[Solutions::INTEGER], 1500);
  EXPECT_GT(std::min(count[Solutions::RATIONAL], count[Solutions::NONE]), 100);
}

class Table final : public ConstraintTerms {
 public:
  int add(int kind, const std::vector<long>& row) {
    LinearTerm& term = terms_.emplace_back(kind, la::Equation(), row.back());
    for (std::size_t j = 0; j + 1 < row.size(); ++j)
      term.vars.add_var(row[j], static_cast<int>(j));
    return static_cast<int>(terms_.size()) - 1;
  }
  [[nodiscard]] const LinearTerm& constraint_term(int id) const override {
    return terms_[static_cast<std::size_t>(id)];
  }

 private:
  std::vector<LinearTerm> terms_;
};

// sum - constant of a constraint at a point, negated when it is an at-most constraint.
mpq_class slack(const LinearTerm& term, const std::vector<mpq_class>& point) {
  mpq_class value = -gmp(term.constant);
  for (const auto& [var, coeff] : term.vars.coeffs())
    value += gmp(coeff) * point[static_cast<std::size_t>(var)];
  return term.kind == LinearTerm::LEQ ? mpq_class(-value) : value;
}

// Premises and rounding are compared as functions, at the points 0 and e_j.
void check_cut(const Table& table, const Cut& cut, const std::vector<mpq_class>& point) {
  bool inequality = false;
  QNumber common;
  for (const auto& [id, multiplier] : cut.premises) {
    const bool is_equality = table.constraint_term(id).kind == LinearTerm::EQ;
    inequality = inequality || !is_equality;
    common = gcd(common, multiplier);
    EXPECT_TRUE(multiplier.is_integer() && (is_equality || multiplier.sign() > 0));
  }
  EXPECT_TRUE(common == QNumber(1) && inequality);
  EXPECT_TRUE(cut.residue.sign() > 0 && cut.residue < cut.divisor);
  EXPECT_TRUE(cut.term.kind == LinearTerm::GEQ && cut.term.constant.is_integer());
  for (std::size_t j = 0; j <= point.size(); ++j) {
    std::vector<mpq_class> corner(point.size());
    if (j < point.size()) corner[j] = 1;
    mpq_class sum = -gmp(cut.residue);
    for (const auto& [id, multiplier] : cut.premises)
      sum += gmp(multiplier) * slack(table.constraint_term(id), corner);
    EXPECT_TRUE(gmp(cut.divisor) * slack(cut.term, corner) == sum);
  }
  mpz_class divisor;
  for (const auto& [var, coeff] : cut.term.vars.coeffs())
    divisor = gcd(divisor, gmp(coeff).get_num());
  EXPECT_TRUE(divisor == 1 && slack(cut.term, point) < 0);
}

TEST(Cuts, OppositeConstraintsGiveCutsThatContradictEachOther) {
  Table table;
  const std::vector<int> tight{
      table.add(LinearTerm::GEQ, {1, -2, 0, 0}), table.add(LinearTerm::GEQ, {-1, 2, 0, 0}),
      table.add(LinearTerm::GEQ, {1, 0, -2, 1}), table.add(LinearTerm::LEQ, {1, 0, -2, 1})};
  Limits limits;
  const std::vector<Cut> cuts = tight_cuts(table, tight, 9, limits);
  std::set<std::string> texts;
  for (const Cut& cut : cuts)
    texts.insert(cut.term.vars.to_str(false) + " >= " + cut.term.constant.to_str());
  EXPECT_EQ(texts, (std::set<std::string>{"x0 - x1 - x2 >= 1", "-x0 + x1 + x2 >= 0"}));
  EXPECT_EQ(tight_cuts(table, tight, 1, limits).size(), 1U);
}

TEST(Cuts, FollowFromTheirPremisesAndCutTheRandomPointOff) {
  const std::vector<int> kinds{LinearTerm::EQ, LinearTerm::LEQ, LinearTerm::GEQ,
                               LinearTerm::LEQ, LinearTerm::GEQ};
  std::size_t total = 0;
  for (unsigned seed = 0; seed < 1500 && !testing::Test::HasFailure(); ++seed) {
    std::mt19937 random(seed);
    std::vector<mpq_class> point;
    for (unsigned j = 0; j < 2 + seed % 3; ++j)
      point.emplace_back(mpq_class(random_number(random, 9)) / (1 + random() % 4));
    Table table;
    std::vector<int> tight;
    Dense system;
    bool equalities = false;
    while (tight.size() < 5) {
      std::vector<long> row(point.size());
      mpq_class value;
      for (std::size_t j = 0; j < row.size(); ++j)
        value += (row[j] = random_number(random, 4)) * point[j];
      if (!is_integer(value)) continue;
      row.push_back(value.get_num().get_si());
      const int kind = kinds[random() % kinds.size()];
      equalities = equalities || kind == LinearTerm::EQ;
      tight.push_back(table.add(kind, row));
      system.push_back(row);
    }
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + testing::PrintToString(system));
    Limits limits;
    const std::vector<Cut> cuts = tight_cuts(table, tight, 20, limits);
    std::set<std::string> texts;
    for (const Cut& cut : cuts) {
      check_cut(table, cut, point);
      EXPECT_LE(cuts.front().divisor, cut.divisor);
      EXPECT_TRUE(texts.insert(cut.term.vars.to_str(false)).second);
    }
    EXPECT_TRUE(equalities || cuts.empty() == (hermite(system) == Solutions::INTEGER));
    total += cuts.size();
  }
  EXPECT_GT(total, 1000U);
}

}  // namespace
}  // namespace opal::host
