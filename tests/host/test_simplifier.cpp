#include "opal/simplify/simplifier.h"

#include <sstream>

#include "opal/terms/print/printer.h"
#include "opal/verify/verification.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

std::string text_of(const Term_* t) { return term_text(t, std::string::npos - 1); }

class Simplifier : public HostTest {
 protected:
  const Term_* div(const Term_* a, long k) {
    return floor(times(QNumber(1) / QNumber(k), a));
  }
  const Term_* rem(const Term_* a, long k) { return plus(a, times(-k, div(a, k))); }
  const Term_* w = integer("k");
};

TEST_F(Simplifier, ReadableNormalForms) {
  t.set_building_flag(0);
  const Term_ *p = leq(y, z), *even = mod(2, j, num(0)), *above = leq(num(0), w);
  const auto residue = [&](long n) { return mod(3, i, num(n)); };
  const auto c = [&](long n) { return num(n); };
  const std::pair<const Term_*, const char*> table[] = {
      {leq(c(0), plus(plus(times(-2, x), times(4, y)), 6)), "(<= x (+ (* 2.0 y) 3.0))"},
      {lnot(leq(plus(x, -3), c(0))), "(< 3.0 x)"},
      {leq(times(3, i), plus(c(5), times(0, j))), "(<= i 1)"},
      {leq(plus(i, x), c(2)), "(<= (+ x (to_real i)) 2.0)"},
      {land(leq(x, c(5)), land(leq(x, c(3)), leq(times(-1, x), c(-3)))), "(= x 3.0)"},
      {land(lt(x, c(3)), lor(p, lt(c(4), x))), "(and (< x 3.0) (<= y z))"},
      {lor(lt(x, c(3)), lt(c(3), x)), "(not (= x 3.0))"},
      {lor(land(lt(x, y), p), land(lt(y, x), p)), "(and (<= y z) (not (= x y)))"},
      // Congruences.
      {mod(6, times(4, i), c(2)), "(= (mod i 3) 2)"},
      {mod(4, plus(times(2, i), times(3, j)), c(-1)), "(= (mod (+ (* 2 i) j) 4) 1)"},
      {mod(5, plus(times(3, i), times(2, j)), c(1)), "(= (mod (- i j) 5) 2)"},
      {mod(3, times(QNumber(1) / QNumber(2), i), c(1)), "(= (mod i 6) 2)"},
      {lnot(mod(3, i, c(0))), "(not (= (mod i 3) 0))"},
      {lor(land(even, mod(2, times(-1, j), c(0))), land(even, t.false_term())),
       "(= (mod j 2) 0)"},
      {land(residue(2), mod(2, i, c(1))), "(= (mod i 6) 5)"},
      {lor(residue(1), residue(2)), "(not (= (mod i 3) 0))"},
      {land(leq(c(3), i), mod(2, i, c(0))), "(and (= (mod i 2) 0) (<= 4 i))"},
      {land(land(leq(c(3), i), leq(i, c(5))), mod(2, i, c(0))), "(= i 4)"},
      {lor(land(even, leq(c(1), w)), land(land(above, mod(4, j, c(2))), leq(c(5), w))),
       "(and (= (mod j 2) 0) (<= 1 k))"},
      // Floors.
      {leq(div(plus(plus(i, times(4, j)), 5), 2), w),
       "(<= (+ (* 2 j) (div (+ i 1) 2) 2) k)"},
      {leq(c(0), plus(w, div(times(-1, i), 3))), "(<= (div (+ i 2) 3) k)"},
      {leq(plus(div(i, 2), div(i, 2)), plus(w, div(i, 2))), "(<= (div i 2) k)"},
      {leq(div(plus(div(i, 2), 1), 3), w), "(<= (div (+ i 2) 6) k)"},
      {lnot(leq(floor(x), c(2))), "(<= 3.0 x)"},
      {leq(floor(plus(x, plus(i, 1))), j), "(<= (+ i (to_int x) 1) j)"},
      {eq(rem(i, 3), c(1)), "(= (mod i 3) 1)"},
      {eq(i, times(2, div(i, 2))), "(= (mod i 2) 0)"},
      {leq(c(4), rem(i, 5)), "(= (mod i 5) 4)"},
      {land(leq(rem(i, 5), c(2)), leq(c(2), rem(i, 5))), "(= (mod i 5) 2)"},
  };
  for (const auto& [formula, text] : table) {
    const Term_* s = simplify(t, formula);
    EXPECT_EQ(text_of(s), text) << text_of(formula);
    EXPECT_EQ(simplify(t, s), s) << text_of(formula);
  }
}

// Formulas of the shapes in which interpolants come: few linear terms, so that bounds meet;
// over integers congruences, the values of cuts, remainders and nested floors.
class RandomFormulas : public Builder {
 public:
  RandomFormulas(Terms& terms, unsigned seed, Atoms variables, bool floors)
      : Builder(terms), variables_(std::move(variables)), floors_(floors) {
    random.seed(seed);
    for (int n = 0; n < 3; ++n)
      sums_.push_back(sum(floors_ ? 1 : 0));
  }

  const Term_* formula(long depth) {
    if (depth == 0 || one_in(6)) return atom();
    if (floors_ && one_in(8)) return values_of_a_cut();
    const Term_* a = formula(depth - 1);
    if (one_in(5)) return lnot(a);
    const Term_* b = one_in(12) ? a : formula(depth - 1);
    return one_in(2) ? land(a, b) : lor(a, b);
  }

 private:
  const Term_* sum(int depth) {
    const Term_* result = times(pick(-3, 3), any(variables_));
    for (long n = pick(0, 2); n > 0; --n) {
      const Term_* v = depth > 0 && one_in(2) ? rounded(depth) : any(variables_);
      result = plus(result, times(pick(-4, 4), v));
    }
    return one_in(2) ? result : plus(result, pick(-3, 3));
  }
  const Term_* rounded(int depth) {
    return floor(times(QNumber(one_in(5) ? 2 : 1) / QNumber(pick(2, 5)), sum(depth - 1)));
  }
  const Term_* congruence(const Term_* a) {
    const int moduli[] = {2, 2, 3, 4, 6, 12};
    return mod(moduli[pick(0, 5)], Terms::sort_of(a) == Sort::INT ? a : floor(a),
               num(pick(-2, 5)));
  }
  const Term_* values_of_a_cut() {
    const Term_* result = t.false_term();
    for (long n = pick(1, 3); n > 0; --n)
      result = lor(result, land(congruence(sums_[0]), leq(num(pick(-3, 3)), sums_[1])));
    return result;
  }
  const Term_* atom() {
    const Term_* a = one_in(3) ? any(variables_) : any(sums_);
    const Term_* b = num(pick(-4, 4));
    if (floors_ && one_in(5)) a = rounded(2);
    if (floors_ && one_in(8)) {
      const QNumber m(pick(2, 5));
      a = plus(a, times(m.neg(), floor(times(m.inv(), a))));
    }
    if (floors_ && one_in(4)) return congruence(a);
    if (one_in(8)) b = plus(b, any(sums_));
    return related(static_cast<int>(pick(0, 5)), a, b);
  }

  Atoms variables_;
  Atoms sums_;
  bool floors_;
};

TEST_F(Simplifier, RandomFormulasStayEquivalentAndResultsAreStable) {
  const struct {
    Atoms variables;
    bool floors;
    unsigned count, sample;  // every sample-th is judged by outside solvers
  } families[] = {{{x, y, z}, false, 400, 2},
                  {{i, j}, false, 400, 2},
                  {{i}, true, 1000, 40},
                  {{i, j}, true, 1000, 40},
                  {{i, x}, true, 1000, 40}};
  for (const auto& family : families) {
    std::vector<Atoms> differences;
    unsigned smaller = 0;
    for (unsigned seed = 0; seed < family.count; ++seed) {
      RandomFormulas from(t, seed, family.variables, family.floors);
      t.set_building_flag(static_cast<std::uint8_t>(seed % 2));
      const Term_* f = from.formula(from.pick(1, family.floors ? 4 : 5));
      const Term_* s = simplify(t, f);
      ASSERT_EQ(simplify(t, s), s) << seed << "\n" << text_of(f) << "\n" << text_of(s);
      ASSERT_EQ(t.building_flag(), seed % 2);
      if (dag_size(s) <= dag_size(f)) ++smaller;
      for (int n = 0; n < (family.floors ? 100 : 20); ++n) {
        const Model point = from.any_model(family.variables, family.floors ? 14 : 4);
        ASSERT_EQ(holds(f, point), holds(s, point)) << text_of(f) << " / " << text_of(s);
      }
      if (seed % family.sample == 0)
        differences.push_back({lor(land(f, lnot(s)), land(s, lnot(f)))});
    }
    EXPECT_GT(smaller, family.count * (family.floors ? 7 : 9) / 10);
    std::ostringstream script;
    print_queries(script, differences);
    for (const char* solver :
         {"z3 -in -smt2 -t:500", "cvc5 --incremental --tlimit-per=500"}) {
      const auto answers = run_outside_solver(solver, script.str(), limits);
      ASSERT_EQ(answers.size(), differences.size());
      EXPECT_EQ(std::count(answers.begin(), answers.end(), "sat"), 0) << solver;
      EXPECT_GE(std::count(answers.begin(), answers.end(), "unsat"),
                family.floors ? 12 : 200)
          << solver;
    }
  }
}

TEST_F(Simplifier, LongAndDeepFormulas) {
  const BuildingFlagScope exact(t, 0);
  const Term_ *left = leq(x, y), *right = left;
  for (int n = 0; n < 50000; ++n) {
    const Term_* bound = leq(plus(real("v" + std::to_string(n)), x), num(n));
    left = land(left, bound);
    right = land(bound, right);
  }
  EXPECT_EQ(dag_size(simplify(t, left)), dag_size(left));
  EXPECT_EQ(text_of(simplify(t, right)).size(), text_of(left).size());
  const Term_* alternating = left;
  for (int n = 0; n < 1000000; ++n)
    alternating =
        lnot(n % 2 == 0 ? lor(alternating, alternating) : land(alternating, alternating));
  EXPECT_EQ(simplify(t, alternating), simplify(t, left));
  std::ostringstream text;
  print_term(text, alternating);
  EXPECT_GT(text.str().size(), 1000000U);
  EXPECT_EQ(variables_of({alternating}).size(), 50002U);
}

}  // namespace
}  // namespace opal::host
