#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

#include "opal/host/evaluator.h"
#include "opal/host/printer.h"
#include "opal/host/simplifier.h"
#include "opal/host/verification.h"

namespace opal::host {
namespace {

std::string text_of(const Term_* t) {
  std::ostringstream out;
  print_term(out, t);
  return out.str();
}

class IntegerSimplifier : public testing::Test {
 protected:
  const Term_* num(long n) { return t.make_number(QNumber(n)); }
  const Term_* mul(long n, const Term_* a) { return t.make_times(num(n), a); }
  const Term_* add(const Term_* a, const Term_* b) { return t.make_plus(a, b); }
  const Term_* mod(long m, const Term_* a, const Term_* b) {
    return t.make_int_modular_congruence(QNumber(m), a, b);
  }
  const Term_* div(const Term_* a, long n) {
    return t.make_floor(t.make_times(t.make_number(QNumber(n).inv()), a));
  }
  const Term_* rem(const Term_* a, long n) { return add(a, mul(-n, div(a, n))); }
  const Term_* leq(const Term_* a, const Term_* b) { return t.make_leq(a, b); }
  const Term_* eq(const Term_* a, const Term_* b) { return t.make_equal(a, b); }
  const Term_* land(const Term_* a, const Term_* b) { return t.make_and(a, b); }
  const Term_* lor(const Term_* a, const Term_* b) { return t.make_or(a, b); }
  const Term_* lnot(const Term_* a) { return t.make_not(a); }

  Terms t;
  const Term_* x = t.make_variable("x", Sort::INT);
  const Term_* y = t.make_variable("y", Sort::INT);
  const Term_* z = t.make_variable("z", Sort::INT);
  const Term_* r = t.make_variable("r", Sort::REAL);
};

TEST_F(IntegerSimplifier, ReadableNormalForms) {
  t.set_building_flag(0);
  const Term_* even = mod(2, y, num(0));
  const Term_* p = leq(num(0), z);
  const auto residue = [&](long n) { return mod(3, x, num(n)); };
  const std::pair<const Term_*, const char*> table[] = {
      {mod(6, mul(4, x), num(2)), "(= (mod x 3) 2)"},
      {mod(4, mul(2, x), num(1)), "false"},
      {mod(2, mul(4, x), num(6)), "true"},
      {mod(4, add(mul(2, x), mul(3, y)), num(-1)), "(= (mod (+ (* 2 x) y) 4) 1)"},
      {mod(5, add(mul(3, x), mul(2, y)), num(1)), "(= (mod (- x y) 5) 2)"},
      {mod(3, t.make_times(t.make_number(QNumber(1) / QNumber(2)), x), num(1)),
       "(= (mod x 6) 2)"},
      {lnot(mod(2, x, num(0))), "(= (mod x 2) 1)"},
      {lnot(mod(3, x, num(0))), "(not (= (mod x 3) 0))"},
      {lor(land(even, land(mod(2, mul(-1, y), num(0)), t.true_term())),
           lor(land(even, t.false_term()), t.false_term())),
       "(= (mod y 2) 0)"},
      {land(residue(0), residue(1)), "false"},
      {land(residue(2), mod(2, x, num(1))), "(= (mod x 6) 5)"},
      {lor(residue(1), lor(residue(0), residue(2))), "true"},
      {lor(residue(1), residue(2)), "(not (= (mod x 3) 0))"},
      {lor(mod(4, x, num(3)), mod(4, x, num(1))), "(= (mod x 2) 1)"},
      {land(mod(4, x, num(3)), mod(2, x, num(1))), "(= (mod x 4) 3)"},
      {land(eq(x, num(3)), residue(0)), "(= x 3)"},
      {land(eq(x, num(4)), residue(0)), "false"},
      {land(leq(num(3), x), mod(2, x, num(0))), "(and (= (mod x 2) 0) (<= 4 x))"},
      {land(land(leq(num(3), x), leq(x, num(5))), mod(2, x, num(0))), "(= x 4)"},
      {lor(land(even, leq(num(1), z)), land(land(p, mod(4, y, num(2))), leq(num(5), z))),
       "(and (= (mod y 2) 0) (<= 1 z))"},
      {lor(land(even, leq(num(1), z)), p), "(<= 0 z)"},
      {leq(div(add(add(x, mul(4, y)), num(5)), 2), z),
       "(<= (+ (* 2 y) (div (+ x 1) 2) 2) z)"},
      {leq(div(add(mul(4, x), num(3)), 8), z), "(<= (div x 2) z)"},
      {leq(num(0), add(z, div(mul(-1, x), 3))), "(<= (div (+ x 2) 3) z)"},
      {leq(add(div(x, 2), div(x, 2)), add(z, div(x, 2))), "(<= (div x 2) z)"},
      {leq(div(add(div(x, 2), num(1)), 3), z), "(<= (div (+ x 2) 6) z)"},
      {leq(div(add(x, y), 3), num(2)), "(<= (+ x y) 8)"},
      {leq(num(2), div(x, 3)), "(<= 6 x)"},
      {leq(t.make_floor(r), num(2)), "(< r 3.0)"},
      {lnot(leq(t.make_floor(r), num(2))), "(<= 3.0 r)"},
      {leq(t.make_floor(add(r, add(x, num(1)))), y), "(<= (+ x (to_int r) 1) y)"},
      {eq(rem(x, 3), num(1)), "(= (mod x 3) 1)"},
      {eq(x, mul(2, div(x, 2))), "(= (mod x 2) 0)"},
      {leq(rem(x, 5), num(2)), "(<= (mod x 5) 2)"},
      {leq(rem(x, 5), num(4)), "true"},
      {leq(num(4), rem(x, 5)), "(= (mod x 5) 4)"},
      {land(leq(rem(x, 5), num(2)), leq(num(2), rem(x, 5))), "(= (mod x 5) 2)"},
      {leq(add(r, div(x, 2)), num(1)), "(<= (+ r (to_real (div x 2))) 1.0)"},
  };
  for (const auto& [formula, text] : table) {
    const Term_* s = simplify(t, formula);
    EXPECT_EQ(text_of(s), text) << text_of(formula);
    EXPECT_EQ(simplify(t, s), s) << text_of(formula);
  }
}

/// Formulas of the shapes in which interpolants over integers come, with nested floors.
class RandomIntegerFormulas {
 public:
  RandomIntegerFormulas(Terms& terms, unsigned seed, std::vector<const Term_*> variables)
      : t_(terms), random_(seed), variables_(std::move(variables)) {
    for (int n = 0; n < 2; ++n)
      sums_.push_back(sum(1));
  }

  int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

  const Term_* formula(int depth) {
    if (depth == 0 || below(6) == 0) return atom();
    if (below(8) == 0) return values_of_a_cut();
    const Term_* a = formula(depth - 1);
    if (below(5) == 0) return t_.make_not(a);
    const Term_* b = formula(depth - 1);
    return below(2) == 0 ? t_.make_and(a, b) : t_.make_or(a, b);
  }

 private:
  const Term_* number(int low, int high) {
    return t_.make_number(QNumber(low + below(high - low + 1)));
  }
  const Term_* one_of(const std::vector<const Term_*>& terms) {
    return terms[static_cast<std::size_t>(below(static_cast<int>(terms.size())))];
  }
  const Term_* sum(int depth) {
    const Term_* result = t_.make_times(number(-3, 3), one_of(variables_));
    for (int k = below(3); k > 0; --k) {
      const Term_* v = depth > 0 && below(2) == 0 ? floor(depth) : one_of(variables_);
      result = t_.make_plus(result, t_.make_times(number(-4, 4), v));
    }
    return below(2) == 0 ? result : t_.make_plus(result, number(-3, 3));
  }
  const Term_* floor(int depth) {
    const QNumber factor = QNumber(below(5) == 0 ? 2 : 1) / QNumber(2 + below(4));
    return t_.make_floor(t_.make_times(t_.make_number(factor), sum(depth - 1)));
  }
  const Term_* congruence(const Term_* a) {
    const int moduli[] = {2, 2, 3, 4, 6, 12};
    if (Terms::sort_of(a) != Sort::INT) a = t_.make_floor(a);
    return t_.make_int_modular_congruence(QNumber(moduli[below(6)]), a, number(-2, 5));
  }
  const Term_* values_of_a_cut() {
    const Term_* result = nullptr;
    for (int v = below(3); v >= 0; --v) {
      const Term_* t =
          t_.make_and(congruence(sums_[0]), t_.make_leq(number(-3, 3), sums_[1]));
      result = result == nullptr ? t : t_.make_or(result, t);
    }
    return result;
  }
  const Term_* atom() {
    const Term_* a = below(3) == 0 ? one_of(variables_) : one_of(sums_);
    const Term_* b = number(-4, 4);
    if (below(5) == 0) a = floor(2);
    if (below(8) == 0) {
      const QNumber m(2 + below(4));
      a = t_.make_plus(
          a, t_.make_times(t_.make_number(m.neg()),
                           t_.make_floor(t_.make_times(t_.make_number(m.inv()), a))));
    }
    switch (below(7)) {
      case 0: return t_.make_equal(a, b);
      case 1: return t_.make_distinct(a, b);
      case 2: return t_.make_lt(a, b);
      case 3: return t_.make_leq(b, a);
      case 4: return t_.make_leq(a, b);
      default: return congruence(a);
    }
  }

  Terms& t_;
  std::mt19937 random_;
  std::vector<const Term_*> variables_;
  std::vector<const Term_*> sums_;
};

TEST_F(IntegerSimplifier, RandomFormulasStayEquivalentAndResultsAreStable) {
  Limits limits;
  const std::vector<const Term_*> choices[] = {{x}, {x, y}, {x, r}};
  for (const auto& variables : choices) {
    std::vector<std::vector<const Term_*>> differences;
    for (unsigned seed = 0; seed < 1000; ++seed) {
      t.set_building_flag(static_cast<std::uint8_t>(seed % 2));
      RandomIntegerFormulas random(t, seed, variables);
      const Term_* f = random.formula(1 + random.below(4));
      const Term_* s = simplify(t, f);
      ASSERT_EQ(simplify(t, s), s) << seed << "\n"
                                   << text_of(f) << "\n"
                                   << text_of(s) << "\n"
                                   << text_of(simplify(t, s));
      for (long a = -14; a <= 14; ++a) {
        for (long b = -14; b <= (variables.size() == 1 ? -14 : 14); b += 2) {
          const QNumber second =
              variables.back() == r ? QNumber(b) / QNumber(6) : QNumber(b / 2);
          Model point{{x, QNumber(a)}};
          if (variables.size() > 1) point[variables.back()] = second;
          ASSERT_EQ(holds(f, point), holds(s, point)) << seed << "\n"
                                                      << text_of(f) << "\n"
                                                      << text_of(s);
        }
      }
      if (seed % 40 == 0) {
        differences.push_back(
            {t.make_or(t.make_and(f, t.make_not(s)), t.make_and(s, t.make_not(f)))});
      }
    }
    std::ostringstream script;
    print_queries(script, differences);
    for (const char* solver :
         {"z3 -in -smt2 -t:500", "cvc5 --incremental --tlimit-per=500"}) {
      const auto answers = run_outside_solver(solver, script.str(), limits);
      ASSERT_EQ(answers.size(), differences.size());
      for (std::size_t n = 0; n < answers.size(); ++n)
        EXPECT_NE(answers[n], "sat") << text_of(differences[n].front());
      const auto unsat = std::count(answers.begin(), answers.end(), "unsat");
      EXPECT_GT(unsat, 12) << solver;
    }
  }
}

}  // namespace
}  // namespace opal::host
