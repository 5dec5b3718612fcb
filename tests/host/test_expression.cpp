// Expressions and groups: values against arithmetic, and every misuse with its message.

#include "opal/session/session.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

TEST(Expressions, TakeTheValuesThatTheirOperatorsSay) {
  Session s;
  const Expr x = s.declare("x", Sort::INT), y = s.declare("y", Sort::REAL);
  const Expr p = s.declare("p", Sort::BOOL), q = s.declare("q", Sort::BOOL);
  s.assert_into("point", x == -7 && 2 * y == 5 && p && !q);
  ASSERT_EQ(s.check(), Session::Verdict::SAT);
  const std::pair<Expr, const char*> table[] = {
      {x + y, "-9/2"},
      {x - y, "-19/2"},
      {3 * x + 1 - x, "-13"},
      {y / 2 + 1, "9/4"},
      {-x, "7"},
      {x * 2 / 7, "-2"},
      {floor(y), "2"},
      {floor(x / 2), "-4"},
      {floor(Expr(7) / 2), "3"},
      {x < y, "1"},
      {x >= y, "0"},
      {y <= 3, "1"},
      {5 > y, "1"},
      {x != -7, "0"},
      {!(x != -7) && y == QNumber(5) / QNumber(2), "1"},
      {congruent(x, 2, 3), "1"},
      {congruent(x, 1, 3), "0"},
      {q || x > y, "0"},
      {q || (!q && p), "1"},
      {implies(p, q), "0"},
      {implies(q, x > y) && implies(p, true), "1"},
      {p == (x < y), "1"},
      {p == q || p != !q, "0"},
      {p == true && q != true && false != p, "1"},
      {(p || true) != (q && false), "1"},
      {ite(q, x, y) + 1, "7/2"},
      {ite(x < y, 1, QNumber(1) / QNumber(2)) * 3, "3"},
      {floor(ite(p, x, 4) / 2), "-4"},
      {ite(p, q, x < y), "0"},
      {ite(false, x, y), "5/2"},
      {Expr(true) && false, "0"},
  };
  for (const auto& [e, value] : table)
    EXPECT_EQ(s.value(e).to_str(), value) << e;
}

TEST(Expressions, SayWhatIsWrongAndLeaveTheSessionAsItWas) {
  Session s, other;
  const Expr x = s.declare("x", Sort::REAL), n = s.declare("n", Sort::INT);
  const Expr foreign = other.declare("x", Sort::REAL), p = s.declare("p", Sort::BOOL);
  const Term_* const square =
      s.terms().make_times(x.term_in(s.terms()), x.term_in(s.terms()));
  s.assert_into("A", x <= 1);
  const std::pair<std::function<void()>, const char*> table[] = {
      {[&] { s.declare("x", Sort::INT); }, "x is declared already, as Real"},
      {[&] { (void)(x * n); }, "a product of two terms is not linear: x times (to_real n)"},
      {[&] { (void)(x / n); }, "a division by a term is not linear: by n"},
      {[&] { (void)(x / 0); }, "a division by zero: x"},
      {[&] { (void)(x + (x < 1)); }, "an operand of + is a formula: (< x 1.0)"},
      {[&] { (void)(Expr(1) < 2); }, "a comparison of two numbers: 1 and 2"},
      {[&] { (void)(x && x < 1); }, "an operand of && is no formula: x"},
      {[&] { (void)(p || 1); }, "an operand of || is no formula: 1"},
      {[&] { (void)implies(n, p); }, "an operand of an implication is no formula: n"},
      {[&] { (void)!Expr(1); }, "the operand of ! is no formula: 1"},
      {[&] { (void)(Expr(true) * 2); }, "an operand of * is a formula: true"},
      {[&] { (void)(p == 1); },
       "of the operands of == one is a formula and one is a number: p and 1"},
      {[&] { (void)ite(p, x, p); },
       "of the operands of a choice one is a formula and one is a number: x and p"},
      {[&] { (void)ite(x, 1, 2); }, "the condition of a choice is no formula: x"},
      {[&] { (void)(p == (foreign < 1)); }, "an expression of another session: (< x 1.0)"},
      {[&] { (void)(x + foreign); }, "an expression of another session: x"},
      {[&] { (void)congruent(x, 1, 2); }, "a congruence is of integers: x"},
      {[&] { (void)congruent(n, 1, 0); }, "a modulus is an integer above 0, not 0"},
      {[&] { s.assert_into("A", x); }, "an assertion is no formula: x"},
      {[&] { s.assert_into("A", foreign <= 1); },
       "an expression of another session: (<= x 1.0)"},
      {[&] { s.assert_into("A", x > 1 && Expr(s.terms(), square) < 1); },
       "not linear: (* x x)"},
      {[&] { s.assert_into("A", x > 1 && (p || Expr(s.terms(), square) < 1)); },
       "not linear: (* x x)"},
      {[&] { (void)s.value(x); }, "there is no model: the last check did not answer sat"},
      {[&] { s.interpolant("A", "B"); }, "no assertion is in a group B"},
  };
  for (const auto& [action, message] : table)
    EXPECT_EQ(message_of(action), message);
  EXPECT_EQ(s.assertions().size(), 1U);
  EXPECT_EQ(s.check(), Session::Verdict::SAT);
}

// The interpolants of each strength follow from A, contradict B and have no symbol of one.
TEST(Groups, OfFormulasAreInterpolated) {
  Session s;
  const Expr x = s.declare("x", Sort::INT), y = s.declare("y", Sort::REAL);
  const Expr p = s.declare("p", Sort::BOOL), q = s.declare("q", Sort::BOOL);
  const Expr A = (p || x > 2) && implies(p, x == 5) && q == (y < x) && !q;
  const Expr B = ite(p, x, y) < 1 || (x < 0 && p);
  const auto contradict = [&](const Expr& a, const Expr& b) {
    s.reset_assertions();
    s.assert_into("free", x > y || x <= y);
    s.assert_into("A", a);
    s.assert_into("B", b);
    return s.check() == Session::Verdict::UNSAT;
  };
  for (const Strength strength : {Strength::STRONG, Strength::MIDDLE, Strength::WEAK}) {
    ASSERT_TRUE(contradict(A, B));
    EXPECT_EQ(s.groups_in_core(), (std::vector<std::string>{"A", "B"}));
    const Expr i = s.interpolants_of({"A", "B"}, Mode::AUTO, Cuts::AUTO, strength)[0];
    EXPECT_TRUE(contradict(A, !i) && contradict(i, B)) << i;
    EXPECT_EQ(i.to_string().find('q'), std::string::npos) << i;
  }
}

// A popped assertion leaves its group, also when another one then takes its name.
TEST(Groups, FollowTheLevels) {
  Session s;
  const Expr x = s.declare("x", Sort::REAL);
  s.assert_into("A", x >= 1);
  s.push();
  s.assert_into("A", x >= 5);
  s.assert_into("B", x <= 4);
  s.assert_into("C", x <= 9);
  ASSERT_EQ(s.check(), Session::Verdict::UNSAT);
  EXPECT_EQ(s.groups_in_core(), (std::vector<std::string>{"A", "B"}));
  s.pop();
  s.assert_formula((x <= 0).term_in(s.terms()), "A.2");
  ASSERT_EQ(s.check(), Session::Verdict::UNSAT);
  EXPECT_EQ(s.interpolant("A", "A.2").to_string(), "(<= 1.0 x)");
  EXPECT_EQ(message_of([&] { s.interpolant("A", "B"); }), "no assertion is in a group B");
  s.assert_into("A", x >= 2);
  EXPECT_EQ(s.assertions().back().name, "A.3");
}

}  // namespace
}  // namespace opal::host
