// Decides and interpolates without a solver of one's own, and without SMT-LIB: two planners
// disagree, and the interpolant is what the second one has to know of the first one's plan.

#include <iostream>

#include "opal/session/session.h"

int main() {
  using namespace opal::host;
  Session session;
  const Expr start = session.declare("start", Sort::REAL);
  const Expr turn = session.declare("turn", Sort::REAL);
  const Expr paint = session.declare("paint", Sort::REAL);
  const Expr leave = session.declare("leave", Sort::REAL);

  session.assert_into("lathe", turn >= start + 7 && paint >= turn + 5);
  session.assert_into("painters", leave >= paint + 9);
  session.push();
  session.assert_into("promise", leave <= start + 20);
  if (session.check() != Session::Verdict::UNSAT) return 1;
  for (const Expr& i : session.interpolants_of({"lathe", "painters", "promise"}))
    std::cout << i << '\n';

  session.pop();
  session.assert_into("promise", leave == start + 22 && start == 0);
  if (session.check() != Session::Verdict::SAT) return 1;
  std::cout << "painting starts in hour " << session.value(paint) << '\n';

  // Without overtime painting takes two hours more, and overtime begins in hour 14.
  const Expr overtime = session.declare("overtime", Sort::BOOL);
  session.assert_into("painters", overtime || leave >= paint + 11);
  session.assert_into("promise", implies(overtime, paint >= 14));
  if (session.check() != Session::Verdict::UNSAT) return 1;
  std::cout << session.interpolant("painters", "promise") << '\n';

  try {
    session.assert_into("promise", turn * leave <= 20);
  } catch (const ExpressionError& error) {
    std::cout << error.what() << '\n';
  }
}
