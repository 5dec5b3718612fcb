// Verdicts over integers are compared with what all points of a box say, and refutations
// go to the proof checker. An outside solver judges larger problems in tests/random.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "opal/host/evaluator.h"
#include "opal/host/proof_checker.h"
#include "opal/host/session.h"
#include "opal/interfaces/laz_proof.h"

namespace opal::host {
namespace {

using Verdict = Session::Verdict;

class Problem {
 public:
  const Term_* variable(const std::string& name, Sort sort = Sort::INT) {
    return t.make_variable(name, sort);
  }
  const Term_* times(int q, const Term_* x) { return t.make_times(t.make_number(q), x); }
  const Term_* sum(const std::vector<int>& coeffs, const std::vector<const Term_*>& vars) {
    const Term_* result = t.make_number(0);
    for (std::size_t i = 0; i < coeffs.size(); ++i)
      result = t.make_plus(result, times(coeffs[i], vars[i]));
    return result;
  }
  void add(const Term_* formula) {
    session.assert_formula(formula);
    formulas.push_back(formula);
  }
  void add_box(const std::vector<const Term_*>& vars, int bound) {
    for (const Term_* x : vars) {
      add(t.make_leq(t.make_number(-bound), x));
      add(t.make_leq(x, t.make_number(bound)));
    }
  }
  // Decides, and has the checker confirm a refutation.
  Verdict check() {
    const Verdict verdict = session.check();
    if (verdict == Verdict::UNSAT) session.check_proof();
    return verdict;
  }

  Session session;
  Terms& t = session.terms();
  std::vector<const Term_*> formulas;
};

// A random relation between a sum and a number.
const Term_* random_atom(std::mt19937& rng, Terms& t, const Term_* sum) {
  const auto below = [&](int n) { return static_cast<int>(rng() % unsigned(n)); };
  const Term_* c = t.make_number(below(15) - 7);
  if (below(4) == 0) c = t.make_number(QNumber(below(15) - 7, 2));
  switch (below(7)) {
    case 0: return t.make_lt(sum, c);
    case 1: return t.make_leq(c, sum);
    case 2: return t.make_equal(sum, c);
    case 3:
    case 4: return t.make_distinct(sum, c);
    default: return t.make_leq(sum, c);
  }
}

bool has_point(const std::vector<const Term_*>& formulas,
               const std::vector<const Term_*>& vars, int bound) {
  Model model;
  for (const Term_* x : vars)
    model[x] = QNumber(-bound);
  for (;;) {
    bool all = true;
    for (std::size_t i = 0; all && i < formulas.size(); ++i)
      all = holds(formulas[i], model);
    if (all) return true;
    std::size_t i = 0;
    for (; i < vars.size() && model[vars[i]] == QNumber(bound); ++i)
      model[vars[i]] = QNumber(-bound);
    if (i == vars.size()) return false;
    model[vars[i]] += QNumber(1);
  }
}

TEST(IntegerSolver, AgreesWithAllPointsOfABox) {
  constexpr int BOUND = 2;
  int unsat = 0;
  for (unsigned seed = 0; seed < 600; ++seed) {
    std::mt19937 rng(seed);
    Problem p;
    std::vector<const Term_*> vars;
    for (std::size_t i = 0, n = 2 + rng() % 3; i < n; ++i)
      vars.push_back(p.variable("x" + std::to_string(i)));
    p.add_box(vars, BOUND);
    for (std::size_t rows = 1 + rng() % 6; rows > 0; --rows) {
      std::vector<int> coeffs;
      for (std::size_t i = 0; i < vars.size(); ++i)
        coeffs.push_back(static_cast<int>(rng() % 9) - 4);
      const Term_* s = p.sum(coeffs, vars);
      if (rng() % 5 == 0) {
        const Term_* k = p.t.make_number(QNumber(1, 2 + static_cast<int>(rng() % 3)));
        s = p.t.make_plus(p.times(3, p.t.make_floor(p.t.make_times(k, s))), vars[0]);
      }
      p.add(random_atom(rng, p.t, s));
    }
    const bool expected = has_point(p.formulas, vars, BOUND);
    unsat += expected ? 0 : 1;
    ASSERT_EQ(p.check(), expected ? Verdict::SAT : Verdict::UNSAT) << "seed " << seed;
  }
  EXPECT_GT(unsat, 150);
  EXPECT_LT(unsat, 450);
}

// What needs no box, by the rule that settles it.
TEST(IntegerSolver, RefutesUnboundedProblems) {
  const auto root_is_equalities = [](const Problem& p) {
    return dynamic_cast<laz::LaZEqSubProof*>(p.session.refutation()) != nullptr;
  };
  {
    Problem p;  // x = 2y, x = 2z + 1
    const auto *x = p.variable("x"), *y = p.variable("y"), *z = p.variable("z");
    p.add(p.t.make_equal(x, p.times(2, y)));
    p.add(p.t.make_equal(x, p.t.make_plus(p.times(2, z), p.t.make_number(1))));
    ASSERT_EQ(p.check(), Verdict::UNSAT);
    EXPECT_TRUE(root_is_equalities(p));
  }
  {
    Problem p;  // the same by inequalities: two cuts
    const auto *x = p.variable("x"), *y = p.variable("y"), *z = p.variable("z");
    const Term_* odd = p.t.make_plus(p.times(2, z), p.t.make_number(1));
    p.add(p.t.make_leq(x, p.times(2, y)));
    p.add(p.t.make_leq(p.times(2, y), x));
    p.add(p.t.make_leq(x, odd));
    p.add(p.t.make_leq(odd, x));
    ASSERT_EQ(p.check(), Verdict::UNSAT);
    EXPECT_FALSE(root_is_equalities(p));
  }
  {
    Problem p;  // 1/3 < x - y < 2/3 rounds to a contradiction of the rationals
    const Term_* d = p.sum({1, -1}, {p.variable("x"), p.variable("y")});
    p.add(p.t.make_lt(p.t.make_number(QNumber(1, 3)), d));
    p.add(p.t.make_lt(d, p.t.make_number(QNumber(2, 3))));
    EXPECT_EQ(p.check(), Verdict::UNSAT);
  }
}

TEST(IntegerSolver, DecidesMixedProblems) {
  Problem p;
  const Term_* n = p.variable("n");
  const Term_* r = p.variable("r", Sort::REAL);
  const Term_* s = p.variable("s", Sort::REAL);
  const auto real = [&](const Term_* x) { return p.t.make_to_real(x); };
  p.add(p.t.make_lt(r, real(n)));  // r < n < r + 3/2, s = 2r, s is one of 3, 4
  p.add(p.t.make_lt(real(n), p.t.make_plus(r, p.t.make_number(QNumber(3, 2)))));
  p.add(p.t.make_equal(s, p.times(2, r)));
  p.session.push();
  p.add(p.t.make_equal(s, p.t.make_number(3)));
  ASSERT_EQ(p.check(), Verdict::SAT);
  EXPECT_EQ(p.session.model().at(n), QNumber(2));
  p.add(p.t.make_distinct(n, p.t.make_number(2)));
  EXPECT_EQ(p.check(), Verdict::UNSAT);
  p.session.pop();
  p.add(p.t.make_equal(s, p.t.make_number(4)));
  ASSERT_EQ(p.check(), Verdict::SAT);
  EXPECT_EQ(p.session.model().at(n), QNumber(3));
}

}  // namespace
}  // namespace opal::host
