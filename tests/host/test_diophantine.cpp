// Certificates are added up again here, and whether there must be any is decided by a
// textbook reduction to Hermite normal form.

#include "opal/arith/integer/diophantine.h"

#include <algorithm>
#include <map>

#include "opal/arith/integer/cuts.h"
#include "opal/arith/integer/solution_lattice.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

using Dense = std::vector<std::vector<long>>;  // rows of coefficients, then the constant
using Point = std::vector<QNumber>;
enum class Solutions { INTEGER, RATIONAL, NONE };

std::vector<IntegerRow> sparse(const Dense& rows) {
  std::vector<IntegerRow> result;
  for (const std::vector<long>& row : rows) {
    result.push_back({{}, row.back()});
    for (std::size_t k = 0; k + 1 < row.size(); ++k)
      if (row[k] != 0) result.back().sum.push_back({static_cast<int>(k), row[k]});
  }
  return result;
}

// Column operations make the matrix lower triangular; then the values follow one by one.
Solutions hermite(const Dense& rows) {
  std::vector<Point> a;
  for (const std::vector<long>& row : rows)
    a.emplace_back(row.begin(), row.end());
  Point values;
  bool integer = true;
  for (std::size_t r = 0; r < a.size(); ++r) {
    const std::size_t columns = a[r].size() - 1;
    const std::size_t rank = values.size();
    for (std::size_t c = rank + 1; c < columns; ++c) {
      while (!a[r][c].is_zero()) {
        const QNumber quotient = (a[r][rank] / a[r][c]).floor();
        for (Point& row : a) {
          row[rank] -= quotient * row[c];
          std::swap(row[rank], row[c]);
        }
      }
    }
    QNumber rest = a[r][columns];
    for (std::size_t k = 0; k < rank; ++k)
      rest -= a[r][k] * values[k];
    if (rank < columns && !a[r][rank].is_zero()) {
      values.push_back(rest / a[r][rank]);
      integer = integer && values.back().is_integer();
    } else if (!rest.is_zero()) {
      return Solutions::NONE;
    }
  }
  return integer ? Solutions::INTEGER : Solutions::RATIONAL;
}

bool solves(const Point& x, const std::vector<IntegerRow>& rows) {
  return std::all_of(rows.begin(), rows.end(), [&](const IntegerRow& row) {
    QNumber sum;
    for (const RowEntry& entry : row.sum)
      sum += entry.coeff * x[static_cast<std::size_t>(entry.var)];
    return sum == row.constant;
  });
}

bool certifies(const std::vector<IntegerRow>& rows, const Certificate& certificate) {
  std::map<int, QNumber> sum;  // the constant under -1
  for (const auto& [row, multiplier] : certificate) {
    for (const RowEntry& entry : rows[row].sum)
      sum[entry.var] += multiplier * entry.coeff;
    sum[-1] += multiplier * rows[row].constant;
  }
  return !sum[-1].is_integer() && std::all_of(++sum.begin(), sum.end(), [](const auto& e) {
    return e.second.is_integer();
  });
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
  for (std::size_t k = 0; k < found.size(); ++k) {
    EXPECT_TRUE(certifies(rows, derived[k]) && certifies(rows, found[k]));
    EXPECT_LE(found[k].size(), derived[k].size());
    for (const auto& [row, multiplier] : found[k])
      EXPECT_TRUE(QNumber(-1, 2) <= multiplier && multiplier < QNumber(1, 2));
  }
  EXPECT_EQ(integer_contradictions(rows, 1, limits).size(), found.empty() ? 0U : 1U);
  const std::size_t columns = dense[0].size() - 1;
  const SolutionLattice lattice(rows, std::vector<double>(columns, 10), limits);
  EXPECT_EQ(lattice.has_solution(), solutions == Solutions::INTEGER);
  EXPECT_TRUE(!lattice.has_solution() ||
              solves(lattice.near(std::vector<double>(columns, 1)), rows));
  return solutions;
}

class Diophantine : public HostTest {};

TEST_F(Diophantine, CertificatesOfLargeNumbersAreShort) {
  for (const Dense& system : {Dense{{1L << 62, 1L << 61, 1L << 60}},  // more than a word
                              Dense{{1009, 1009, 1}},                 // no small prime
                              Dense{{1022117, 1022117, 1009}}})       // 1009 * 1013
    EXPECT_EQ(check_system(system), Solutions::RATIONAL);
  // 12x = 1 by a half, not by a twelfth
  EXPECT_EQ(integer_contradictions(sparse({{12, 1}}), 1, limits).at(0),
            (Certificate{{0, QNumber(-1) / QNumber(2)}}));
}

TEST_F(Diophantine, AgreesWithHermiteNormalFormOnRandomSystems) {
  std::map<Solutions, int> count;
  for (unsigned seed = 0; seed < 3000 && !HasFailure(); ++seed) {
    random.seed(seed);
    const long limit = seed % 3 == 0 ? 3 : seed % 3 == 1 ? 12 : 1L << 40;
    const std::size_t columns = 2 + seed % 5;
    Dense system(1 + random() % 6, std::vector<long>(columns + 1));
    for (std::vector<long>& row : system) {
      for (std::size_t k = 0; k < columns; ++k) {
        row[k] = one_in(3) ? 0 : pick(-limit, limit);
        row.back() += row[k] * static_cast<long>(7 * k % 5);  // a solution
      }
      if (seed % 2 == 1) row.back() += pick(-3, 3);
    }
    ++count[check_system(system)];
  }
  EXPECT_GE(count[Solutions::INTEGER], 1500);
  EXPECT_GT(std::min(count[Solutions::RATIONAL], count[Solutions::NONE]), 100);
}

// a*x = c over x in a box that has thousands of solutions, hardly one near the
// relaxation's.
TEST_F(Diophantine, FindsPointsOfKnapsacksNearTheMiddle) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    random.seed(seed);
    Dense row(1, std::vector<long>(5));
    for (std::size_t k = 0; k < 4; ++k) {
      row[0][k] = pick(10000, 100000);
      row[0][4] += row[0][k] * pick(300, 700);
    }
    const SolutionLattice lattice(sparse(row), std::vector<double>(4, 1000), limits);
    const Point found = lattice.near(std::vector<double>(4, 500));
    EXPECT_TRUE(solves(found, sparse(row))) << seed;
    for (const QNumber& value : found)
      EXPECT_TRUE(QNumber(0) <= value && value <= QNumber(1000)) << seed << " " << value;
  }
}

// i = 2j and i = 2k + 1 as inequalities.
TEST_F(Diophantine, OppositeConstraintsGiveCutsThatContradictEachOther) {
  const Term_ *even = times(2, j), *odd = plus(times(2, integer("k")), 1);
  std::vector<int> tight;
  for (const Term_* a : {leq(even, i), leq(i, even), leq(odd, i), leq(i, odd)})
    tight.push_back(mapper.constraint(a));
  const std::vector<Cut> cuts = tight_cuts(mapper, tight, 9, limits);
  ASSERT_EQ(cuts.size(), 2U);
  EXPECT_EQ(cuts[0].term.constant + cuts[1].term.constant, QNumber(1));
  EXPECT_EQ(tight_cuts(mapper, tight, 1, limits).size(), 1U);
}

}  // namespace
}  // namespace opal::host
