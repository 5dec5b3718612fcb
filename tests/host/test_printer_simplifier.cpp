#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "opal/host/evaluator.h"
#include "opal/host/printer.h"
#include "opal/host/simplifier.h"
#include "opal/host/verification.h"

namespace opal::host {
namespace {

const char* const Z3 = "z3 -in -smt2";

std::string text_of(const Term_* t, bool real = true) {
  std::ostringstream out;
  print_term(out, t, real);
  return out.str();
}

class PrinterTest : public testing::Test {
 protected:
  const Term_* num(long n, long d = 1) { return t.make_number(QNumber(n) / QNumber(d)); }

  Terms t;
  const Term_* x = t.make_variable("x", Sort::REAL);
  const Term_* y = t.make_variable("y", Sort::REAL);
  const Term_* i = t.make_variable("i", Sort::INT);
  const Term_* j = t.make_variable("j", Sort::INT);
};

class SimplifierTest : public PrinterTest {};

TEST_F(PrinterTest, TextsOfTerms) {
  const BuildingFlagScope exact(t, 0);
  const Term_* p = t.make_leq(x, y);
  const Term_* q = t.make_lt(i, num(-3));
  const struct {
    const Term_* term;
    const char* text;
  } table[] = {
      {num(3), "3.0"},
      {num(-7, 2), "(- (/ 7.0 2.0))"},
      {t.make_plus(i, num(-3)), "(+ i (- 3))"},
      {t.make_leq(num(0), num(-2)), "(<= 0.0 (- 2.0))"},
      {t.make_leq(t.make_plus(t.make_times(num(2), x), y), num(5)),
       "(<= (+ (* 2.0 x) y) 5.0)"},
      {q, "(< i (- 3))"},
      {t.make_leq(t.make_plus(t.make_plus(i, num(1)), x), num(5)),
       "(<= (+ (to_real i) 1.0 x) 5.0)"},
      {t.make_leq(t.make_times(num(1, 2), i), num(5)),
       "(<= (* (/ 1.0 2.0) (to_real i)) 5.0)"},
      {t.make_equal(t.make_to_real(i), x), "(= (to_real i) x)"},
      {t.make_distinct(i, j), "(not (= i j))"},
      {t.make_leq(t.make_floor(x), i), "(<= (to_int x) i)"},
      {t.make_leq(t.make_floor(t.make_times(num(1, 3), t.make_plus(i, j))), i),
       "(<= (div (+ i j) 3) i)"},
      {t.make_leq(t.make_floor(t.make_times(num(1, 3), i)), x),
       "(<= (to_real (div i 3)) x)"},
      {t.make_leq(t.make_floor(t.make_times(num(2, 3), i)), i),
       "(<= (to_int (* (/ 2.0 3.0) (to_real i))) i)"},
      {t.make_int_modular_congruence(QNumber(4), t.make_times(num(2), i), num(1)),
       "(= (mod (* 2 i) 4) 1)"},
      {t.make_int_modular_congruence(QNumber(4), i, t.make_plus(j, num(3))),
       "(= (mod (- i j) 4) 3)"},
      {t.make_int_modular_congruence(QNumber(4), i, num(-1)), "(= (mod (- i (- 1)) 4) 0)"},
      {t.make_int_modular_congruence(QNumber(4), t.make_times(num(1, 2), i), num(1)),
       "(is_int (* (/ 1.0 4.0) (- (* (/ 1.0 2.0) (to_real i)) 1.0)))"},
      {t.make_leq(
           t.make_plus(i, t.make_times(num(-3), t.make_floor(t.make_times(num(1, 3), i)))),
           x),
       "(<= (to_real (mod i 3)) x)"},
      {t.make_and(t.make_and(p, q), t.make_not(t.make_or(p, q))),
       "(and (<= x y) (< i (- 3)) (not (or (<= x y) (< i (- 3)))))"},
      {t.make_or(p, t.make_or(q, t.true_term())), "(or (<= x y) (or (< i (- 3)) true))"},
  };
  for (const auto& entry : table)
    EXPECT_EQ(text_of(entry.term), entry.text);
  EXPECT_EQ(text_of(num(3), false), "3");
  EXPECT_EQ(text_of(t.make_leq(num(3), num(4)), false), "(<= 3 4)");
  EXPECT_EQ(term_text(p, 5), "(<= x...");
  EXPECT_EQ(string_literal("a\"b"), "\"a\"\"b\"");
  const std::pair<const char*, const char*> symbols[] = {
      {"x!1", "x!1"},   {"a b", "|a b|"}, {"1x", "|1x|"},         {"", "||"},
      {"let", "|let|"}, {"_", "|_|"},     {"assert", "|assert|"}, {"as-is", "as-is"}};
  for (const auto& [name, text] : symbols)
    EXPECT_EQ(symbol_text(name), text);
}

TEST_F(PrinterTest, SharedTermsAreBoundOnlyWhereTheTreeIsMuchLarger) {
  const BuildingFlagScope exact(t, 0);
  const Term_* sum = t.make_plus(t.make_variable("$1", Sort::REAL), y);
  for (int n = 0; n < 60; ++n)
    sum = t.make_plus(x, t.make_plus(sum, sum));
  const Term_* doubled = t.make_leq(sum, num(0));
  EXPECT_LT(text_of(doubled).size(), 6000U);
  const Term_* p = t.make_leq(x, y);
  EXPECT_EQ(text_of(t.make_and(p, p)).find("let"), std::string::npos);

  std::ostringstream script;
  print_queries(script, {{doubled}, {doubled, t.make_not(doubled)}, {t.false_term()}});
  Limits limits;
  EXPECT_EQ(run_outside_solver(Z3, script.str(), limits),
            (std::vector<std::string>{"sat", "unsat", "unsat"}));
}

TEST_F(PrinterTest, LogicIsWidenedToWhatTheFormulasNeed) {
  const std::pair<const Term_*, const char*> table[] = {
      {t.make_leq(x, num(1)), "QF_LRA"},
      {t.make_leq(i, num(1)), "QF_LIA"},
      {t.make_leq(t.make_times(num(1, 2), i), num(1)), "QF_LIRA"},
      {t.make_leq(t.make_floor(x), num(1)), "QF_LIRA"},
      {t.make_and(t.make_leq(x, num(1)), t.make_lt(i, j)), "QF_LIRA"},
      {t.make_int_modular_congruence(QNumber(3), i, j), "QF_LIA"}};
  Limits limits;
  for (const auto& [formula, logic] : table) {
    std::ostringstream script;
    print_queries(script, {{formula}});
    EXPECT_EQ(script.str().find("(set-logic " + std::string(logic) + ")"), 0U);
    for (const char* solver : {Z3, "cvc5 --incremental --lang smt2"}) {
      EXPECT_EQ(run_outside_solver(solver, script.str(), limits),
                std::vector<std::string>{"sat"})
          << solver << "\n"
          << script.str();
    }
  }
}

TEST_F(SimplifierTest, ReadableNormalForms) {
  const Term_* z = t.make_variable("z", Sort::REAL);
  const auto leq = [&](const Term_* a, const Term_* b) { return t.make_leq(a, b); };
  const auto lt = [&](const Term_* a, const Term_* b) { return t.make_lt(a, b); };
  const auto land = [&](const Term_* a, const Term_* b) { return t.make_and(a, b); };
  const auto lor = [&](const Term_* a, const Term_* b) { return t.make_or(a, b); };
  const auto times = [&](long n, const Term_* a) { return t.make_times(num(n), a); };
  const auto plus = [&](const Term_* a, const Term_* b) { return t.make_plus(a, b); };
  const Term_* p = leq(y, z);
  const std::pair<const Term_*, const char*> table[] = {
      {leq(num(0), plus(plus(times(-2, x), times(4, y)), num(6))),
       "(<= x (+ (* 2.0 y) 3.0))"},
      {t.make_not(leq(plus(x, num(-3)), num(0))), "(< 3.0 x)"},
      {leq(plus(x, num(3)), y), "(<= (+ x 3.0) y)"},
      {leq(times(3, i), plus(num(5), times(0, j))), "(<= i 1)"},
      {t.make_equal(times(2, i), num(5)), "false"},
      {lt(plus(x, i), plus(i, x)), "false"},
      {leq(plus(i, x), num(2)), "(<= (+ x (to_real i)) 2.0)"},
      {land(leq(x, num(5)), land(leq(x, num(3)), leq(times(-1, x), num(-3)))), "(= x 3.0)"},
      {land(leq(x, num(3)), t.make_distinct(x, num(3))), "(< x 3.0)"},
      {land(leq(i, num(3)), t.make_distinct(i, num(3))), "(<= i 2)"},
      {land(lt(x, num(3)), lor(p, lt(num(4), x))), "(and (< x 3.0) (<= y z))"},
      {land(lt(x, num(3)), lor(p, lt(x, num(4)))), "(< x 3.0)"},
      {land(lt(i, num(3)), lt(num(2), i)), "false"},
      {lor(lt(x, num(3)), lt(num(3), x)), "(not (= x 3.0))"},
      {lor(leq(x, num(3)), lt(num(2), x)), "true"},
      {lor(leq(x, num(3)), leq(x, num(5))), "(<= x 5.0)"},
      {t.make_not(lor(p, t.make_not(p))), "false"},
      {lor(land(lt(x, y), p), land(lt(y, x), p)), "(and (<= y z) (not (= x y)))"},
  };
  for (const auto& [formula, text] : table) {
    EXPECT_EQ(text_of(simplify(t, formula)), text) << text_of(formula);
  }
}

/// Formulas whose atoms use few linear terms, so that bounds meet.
class RandomFormulas {
 public:
  RandomFormulas(Terms& terms, unsigned seed, std::vector<const Term_*> variables)
      : t_(terms), random_(seed), variables_(std::move(variables)) {
    for (int n = 0; n < 3; ++n)
      sums_.push_back(sum());
  }

  int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

  const Term_* formula(int depth) {
    if (depth == 0 || below(6) == 0) return atom();
    const Term_* a = formula(depth - 1);
    if (below(5) == 0) return t_.make_not(a);
    const Term_* b = below(8) == 0 ? a : formula(depth - 1);
    return below(2) == 0 ? t_.make_and(a, b) : t_.make_or(a, b);
  }

  Model model() {
    Model result;
    for (const Term_* v : variables_) {
      const long d = Terms::sort_of(v) == Sort::INT ? 1 : 1 + below(2);
      result[v] = QNumber(below(9) - 4) / QNumber(d);
    }
    return result;
  }

 private:
  const Term_* scaled(const Term_* a) {
    return t_.make_times(t_.make_number(below(5) - 2), a);
  }
  const Term_* sum() {
    const auto n = static_cast<int>(variables_.size());
    const Term_* result = variables_[static_cast<std::size_t>(below(n))];
    for (int k = below(3); k > 0; --k) {
      result = t_.make_plus(result, scaled(variables_[static_cast<std::size_t>(below(n))]));
    }
    return result;
  }
  const Term_* atom() {
    const Term_* a = scaled(sums_[static_cast<std::size_t>(below(3))]);
    const Term_* b = t_.make_number(below(7) - 3);
    if (below(6) == 0) b = t_.make_plus(b, sums_[static_cast<std::size_t>(below(3))]);
    switch (below(6)) {
      case 0: return t_.make_equal(a, b);
      case 1: return t_.make_distinct(a, b);
      case 2: return t_.make_lt(a, b);
      case 3: return t_.make_lt(b, a);
      case 4: return t_.make_leq(a, b);
      default: return t_.make_leq(b, a);
    }
  }

  Terms& t_;
  std::mt19937 random_;
  std::vector<const Term_*> variables_;
  std::vector<const Term_*> sums_;
};

TEST_F(SimplifierTest, RandomFormulasStayEquivalentAndResultsAreStable) {
  const std::vector<const Term_*> choices[] = {{x, y}, {i, j}, {x, i, j}};
  Limits limits;
  for (const auto& variables : choices) {
    std::vector<std::vector<const Term_*>> differences;
    std::size_t smaller = 0;
    for (unsigned seed = 0; seed < 400; ++seed) {
      RandomFormulas random(t, seed, variables);
      t.set_building_flag(static_cast<std::uint8_t>(seed % 2));
      const Term_* f = random.formula(1 + random.below(5));
      const Term_* s = simplify(t, f);
      ASSERT_EQ(simplify(t, s), s) << seed << "\n" << text_of(f) << "\n" << text_of(s);
      ASSERT_EQ(t.building_flag(), seed % 2);
      if (dag_size(s) <= dag_size(f)) ++smaller;
      for (int n = 0; n < 20; ++n) {
        const Model model = random.model();
        ASSERT_EQ(holds(f, model), holds(s, model)) << text_of(f) << "\n" << text_of(s);
      }
      differences.push_back(
          {t.make_or(t.make_and(f, t.make_not(s)), t.make_and(s, t.make_not(f)))});
    }
    EXPECT_GT(smaller, 360U);
    std::ostringstream script;
    print_queries(script, differences);
    const auto answers = run_outside_solver(Z3, script.str(), limits);
    ASSERT_EQ(answers.size(), differences.size());
    for (std::size_t n = 0; n < answers.size(); ++n) {
      EXPECT_EQ(answers[n], "unsat") << text_of(differences[n].front());
    }
  }
}

TEST_F(SimplifierTest, LongAndDeepFormulas) {
  const BuildingFlagScope exact(t, 0);
  const Term_* left = t.make_leq(x, y);
  const Term_* right = left;
  for (int n = 0; n < 50000; ++n) {
    const Term_* v = t.make_variable("v" + std::to_string(n), Sort::REAL);
    left = t.make_and(left, t.make_leq(t.make_plus(v, x), num(n)));
    right = t.make_and(t.make_leq(t.make_plus(v, x), num(n)), right);
  }
  EXPECT_EQ(dag_size(simplify(t, left)), dag_size(left));
  EXPECT_EQ(text_of(simplify(t, right)).size(), text_of(left).size());
  const Term_* alternating = left;
  for (int n = 0; n < 1000000; ++n) {
    alternating = t.make_not(n % 2 == 0 ? t.make_or(alternating, alternating)
                                        : t.make_and(alternating, alternating));
  }
  EXPECT_EQ(simplify(t, alternating), simplify(t, left));
  EXPECT_GT(text_of(alternating).size(), 1000000U);
  EXPECT_EQ(variables_of({alternating}).size(), 50002U);
}

TEST_F(SimplifierTest, ForeignSymbolsAndSteps) {
  Grouping grouping(Grouping::sequence(3));
  const Term_* a = t.make_leq(x, i);
  const Term_* b = t.make_leq(y, i);
  const Term_* c = t.make_leq(j, y);
  const InterpolationAnswer answer{&grouping, {{a}, {b}, {c}}, {t.make_leq(x, x)}, {b, c}};
  const auto foreign = foreign_symbols(answer);
  ASSERT_EQ(foreign.size(), 2U);
  EXPECT_EQ(foreign[0], std::vector<const Term_*>{y});
  EXPECT_EQ(foreign[1], std::vector<const Term_*>{j});
  const auto steps = verification_steps(t, answer);
  ASSERT_EQ(steps.size(), 3U);
  EXPECT_EQ(steps[1].back(), t.make_not(c));
  EXPECT_EQ(steps[1][steps[1].size() - 2], b);
  EXPECT_EQ(steps[2].back(), c);
}

TEST(OutsideSolver, FailuresAreTold) {
  const std::pair<const char*, const char*> table[] = {
      {"no-such-solver-here -in", "cannot start"},
      {"", "no command"},
      {"sh -c 'echo (", "unbalanced quote"},
      {"sh -c 'echo sat; echo \"(error 7)\"'", "answered (error 7)"},
      {"sh -c 'echo it broke >&2; exit 3'", "exit status 3: it broke"},
      {"sh -c 'kill -9 $$'", "signal 9"}};
  Limits limits;
  for (const auto& [command, what] : table) {
    try {
      run_outside_solver(command, std::string(1 << 20, ' '), limits);
      ADD_FAILURE() << command;
    } catch (const OutsideSolverError& e) {
      EXPECT_NE(std::string(e.what()).find(what), std::string::npos) << e.what();
    }
  }
}

TEST(OutsideSolver, LargeTextsPassBothWaysAndLimitsEndIt) {
  Limits limits;
  std::string script;
  for (int n = 0; n < 200000; ++n)
    script += "line " + std::to_string(n) + "\n\n";
  const auto lines = run_outside_solver("cat", script, limits);
  ASSERT_EQ(lines.size(), 200000U);
  EXPECT_EQ(lines.back(), "line 199999");
  EXPECT_EQ(run_outside_solver("sh -c 'exec <&-; echo \"unknown\"'", script, limits),
            std::vector<std::string>{"unknown"});
  const auto start = Limits::Clock::now();
  limits.set_deadline(start + std::chrono::milliseconds(200));
  EXPECT_THROW(run_outside_solver("sleep 60", script, limits), LimitReached);
  EXPECT_LT(Limits::Clock::now() - start, std::chrono::seconds(10));
}

}  // namespace
}  // namespace opal::host
