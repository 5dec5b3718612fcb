#include "opal/terms/print/printer.h"

#include <chrono>
#include <sstream>

#include "opal/interfaces/term_printer.h"
#include "opal/verify/verification.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

const char* const Z3 = "z3 -in -smt2";

std::string text_of(const Term_* t, bool real = true) {
  std::ostringstream out;
  print_term(out, t, real);
  return out.str();
}

std::string script_of(const std::vector<Atoms>& queries) {
  std::ostringstream script;
  print_queries(script, queries);
  return script.str();
}

class PrinterTest : public HostTest {
 protected:
  QNumber over(long n, long d) { return QNumber(n) / QNumber(d); }
};

TEST_F(PrinterTest, TextsOfTerms) {
  const BuildingFlagScope exact(t, 0);
  const Term_ *a = leq(x, y), *b = lt(i, num(-3));
  const Term_* third = floor(times(over(1, 3), i));
  const std::pair<const Term_*, const char*> table[] = {
      {num(over(-7, 2)), "(- (/ 7.0 2.0))"},
      {plus(i, -3), "(+ i (- 3))"},
      {leq(plus(times(2, x), y), num(-5)), "(<= (+ (* 2.0 x) y) (- 5.0))"},
      {b, "(< i (- 3))"},
      {leq(plus(plus(i, 1), x), num(5)), "(<= (+ (to_real i) 1.0 x) 5.0)"},
      {leq(times(over(1, 2), i), num(5)), "(<= (* (/ 1.0 2.0) (to_real i)) 5.0)"},
      {eq(t.make_to_real(i), x), "(= (to_real i) x)"},
      {leq(floor(times(over(2, 3), i)), i), "(<= (to_int (* (/ 2.0 3.0) (to_real i))) i)"},
      {mod(4, i, plus(j, 3)), "(= (mod (- i j) 4) 3)"},
      {mod(4, i, num(-1)), "(= (mod (- i (- 1)) 4) 0)"},
      {mod(4, times(over(1, 2), i), num(1)),
       "(is_int (* (/ 1.0 4.0) (- (* (/ 1.0 2.0) (to_real i)) 1.0)))"},
      {leq(plus(i, times(-3, third)), x), "(<= (to_real (mod i 3)) x)"},
      {land(land(a, b), lnot(lor(a, b))),
       "(and (<= x y) (< i (- 3)) (not (or (<= x y) (< i (- 3)))))"},
  };
  for (const auto& [term, text] : table)
    EXPECT_EQ(text_of(term), text);
  EXPECT_EQ(text_of(leq(num(3), num(4)), false), "(<= 3 4)");
  EXPECT_EQ(term_text(a, 5), "(<= x...");
  EXPECT_EQ(string_literal("a\"b"), "\"a\"\"b\"");
  std::string symbols;
  for (const char* name : {"x!1", "a b", "1x", "", "let", "_", "assert", "as-is"})
    symbols += symbol_text(name) + " ";
  EXPECT_EQ(symbols, "x!1 |a b| |1x| || |let| |_| |assert| as-is ");
}

TEST_F(PrinterTest, SharedTermsAreBoundOnlyWhereTheTreeIsMuchLarger) {
  const BuildingFlagScope exact(t, 0);
  const Term_* sum = plus(real("$1"), y);
  for (int k = 0; k < 60; ++k)
    sum = plus(x, plus(sum, sum));
  const Term_* doubled = leq(sum, num(0));
  EXPECT_LT(text_of(doubled).size(), 6000U);
  const Term_* a = leq(x, y);
  EXPECT_EQ(text_of(land(a, a)).find("let"), std::string::npos);
  const std::string script =
      script_of({{doubled}, {doubled, lnot(doubled)}, {t.false_term()}});
  EXPECT_EQ(run_outside_solver(Z3, script, limits),
            (std::vector<std::string>{"sat", "unsat", "unsat"}));
}

TEST_F(PrinterTest, LogicIsWidenedToWhatTheFormulasNeed) {
  const std::pair<const Term_*, const char*> table[] = {
      {leq(x, num(1)), "QF_LRA"},
      {leq(i, num(1)), "QF_LIA"},
      {leq(times(over(1, 2), i), num(1)), "QF_LIRA"},
      {land(leq(x, num(1)), lt(i, j)), "QF_LIRA"},
      {mod(3, i, j), "QF_LIA"}};
  for (const auto& [formula, logic] : table) {
    const std::string script = script_of({{formula}});
    EXPECT_EQ(script.find("(set-logic " + std::string(logic) + ")"), 0U);
    for (const char* solver : {Z3, "cvc5 --incremental --lang smt2"})
      EXPECT_EQ(run_outside_solver(solver, script, limits), std::vector<std::string>{"sat"})
          << solver << "\n"
          << script;
  }
}

// A script put together piece by piece, which says x < y and y + 1 < x.
TEST_F(PrinterTest, PiecesOfScriptsAreWhatSolversRead) {
  const Term_ *a = lt(x, y), *b = lt(real("y + 1"), x);
  TermAttributes attributes;
  attributes[a] = {{":named", "first"}};
  SmtLib2TermPrinter printer(&t, nullptr, "QF_LIA", "unsat", true, &attributes);
  std::ostringstream out;
  printer.print_comment(out, "two\nlines");
  printer.print_start(out);
  out << "(set-option :produce-unsat-cores true)\n";
  printer.print_logic(out, land(a, lt(i, j)));
  printer.print_declarations(out, a);
  printer.print_define_section_start(out);
  printer.print_definition(out, "y + 1", plus(y, num(1)));
  printer.print_define_section_end(out);
  out << "(declare-fun ";
  printer.print_symbol(out, real("a b")->symbol());
  out << " () ";
  printer.print_sort(out, x);
  out << ")\n";
  printer.print_assertion(out, a);
  out << "(assert ";
  printer.print_term(out, b);
  out << ")\n(check-sat)\n(get-unsat-core)\n";
  printer.print_end(out);
  EXPECT_EQ(run_outside_solver(Z3, out.str(), limits),
            (std::vector<std::string>{"unsat", "(first)"}))
      << out.str();
  std::ostringstream whole;
  printer.print_formula(whole, a);
  EXPECT_EQ(whole.str(),
            "(set-info :status unsat)\n(set-logic QF_LRA)\n(declare-fun x () Real)\n"
            "(declare-fun y () Real)\n(assert (! (< x y) :named first))\n");
}

TEST_F(PrinterTest, LargeTextsPassOutsideSolversBothWaysAndLimitsEndThem) {
  std::string script;
  for (int k = 0; k < 200000; ++k)
    script += "line " + std::to_string(k) + "\n\n";
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
