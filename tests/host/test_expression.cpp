// Expressions and groups: values against arithmetic, and every misuse with its message.

#include "opal/session/session.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

TEST(Expressions, TakeTheValuesThatTheirOperatorsSay) {
  Session s;
  const Expr x = s.declare("x", Sort::INT), y = s.declare("y", Sort::REAL);
  s.assert_into("point", x == -7 && 2 * y == 5);
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
  };
  for (const auto& [e, value] : table)
    EXPECT_EQ(s.value(e).to_str(), value) << e;
}

TEST(Expressions, SayWhatIsWrongAndLeaveTheSessionAsItWas) {
  Session s, other;
  const Expr x = s.declare("x", Sort::REAL), n = s.declare("n", Sort::INT);
  const Expr foreign = other.declare("x", Sort::REAL);
  s.assert_into("A", x <= 1);
  const std::pair<std::function<void()>, const char*> table[] = {
      {[&] { s.declare("x", Sort::INT); }, "x is declared already, as Real"},
      {[&] { (void)(x * n); }, "a product of two terms is not linear: x times (to_real n)"},
      {[&] { (void)(x / n); }, "a division by a term is not linear: by n"},
      {[&] { (void)(x / 0); }, "a division by zero: x"},
      {[&] { (void)(x + (x < 1)); }, "an operand of + is a formula: (< x 1.0)"},
      {[&] { (void)(Expr(1) < 2); }, "a comparison of two numbers: 1 and 2"},
      {[&] { (void)(x && x < 1); }, "an operand of && is no formula: x"},
      {[&] { (void)!Expr(1); }, "the operand of ! is no formula: 1"},
      {[&] { (void)(x + foreign); }, "an expression of another session: x"},
      {[&] { (void)congruent(x, 1, 2); }, "a congruence is of integers: x"},
      {[&] { (void)congruent(n, 1, 0); }, "a modulus is an integer above 0, not 0"},
      {[&] { s.assert_into("A", x); }, "an assertion is no formula: x"},
      {[&] { s.assert_into("A", foreign <= 1); },
       "an expression of another session: (<= x 1.0)"},
      {[&] { s.assert_into("A", x > 1 && !(x == 1 && n == 2)); },
       "disjunction is not supported: (not (and (= x 1.0) (= n 2)))"},
      {[&] { (void)s.value(x); }, "there is no model: the last check did not answer sat"},
      {[&] { s.interpolant("A", "B"); }, "no assertion is in a group B"},
  };
  for (const auto& [action, message] : table)
    EXPECT_EQ(message_of(action), message);
  EXPECT_EQ(s.assertions().size(), 1U);
  EXPECT_EQ(s.check(), Session::Verdict::SAT);
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
