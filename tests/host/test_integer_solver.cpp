// Verdicts over integers are compared with what all points of a box say, and refutations
// go to the proof checker. An outside solver judges larger problems in tests/random.

#include "opal/interfaces/laz_proof.h"
#include "opal/session/session.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

using la::LinearTerm;
using Verdict = Session::Verdict;

struct OwnSession {
  Session session;
};

class Problem : public OwnSession, public Builder {
 public:
  Problem() : Builder(session.terms()) {}

  void add(const Term_* formula) {
    session.assert_formula(formula);
    formulas.push_back(formula);
  }
  // Decides, and has the checker confirm a refutation.
  Verdict check() {
    const Verdict verdict = session.check();
    if (verdict == Verdict::UNSAT) session.check_proof();
    return verdict;
  }

  Atoms formulas;
};

TEST(IntegerSolver, AgreesWithAllPointsOfABox) {
  constexpr int BOUND = 2;
  int unsat = 0;
  for (unsigned seed = 0; seed < 600; ++seed) {
    Problem p;
    p.random.seed(seed);
    Atoms vars;
    for (long k = p.pick(2, 4); k > 0; --k) {
      vars.push_back(p.integer("x" + std::to_string(k)));
      p.add(p.leq(p.num(-BOUND), vars.back()));
      p.add(p.leq(vars.back(), p.num(BOUND)));
    }
    for (long rows = p.pick(1, 6); rows > 0; --rows) {
      const Term_* s = p.num(0);
      for (const Term_* v : vars)
        s = p.plus(s, p.times(p.pick(-4, 4), v));
      if (p.one_in(5)) {
        const QNumber k = QNumber(1) / QNumber(p.pick(2, 4));
        s = p.plus(p.times(3, p.floor(p.times(k, s))), vars[0]);
      }
      const int relations[] = {LinearTerm::LT,  LinearTerm::GEQ, LinearTerm::EQ,
                               LinearTerm::NEQ, LinearTerm::NEQ, LinearTerm::LEQ};
      const QNumber c = QNumber(p.pick(-7, 7)) / QNumber(p.one_in(4) ? 2 : 1);
      p.add(p.related(relations[p.pick(0, 5)], s, p.num(c)));
    }
    const bool expected = has_point(p.formulas, vars, BOUND);
    unsat += expected ? 0 : 1;
    ASSERT_EQ(p.check(), expected ? Verdict::SAT : Verdict::UNSAT) << "seed " << seed;
  }
  EXPECT_TRUE(unsat > 150 && unsat < 450) << unsat;
}

// x = m*y, x = m*z + 1, or the same by inequalities, which takes two cuts.
TEST(IntegerSolver, RefutesUnboundedProblemsByEqualitiesOrCuts) {
  for (const bool equalities : {true, false})
    for (const long m : {2, 3, 12}) {
      Problem p;
      const Term_* x = p.integer("x");
      for (const Term_* side :
           {p.times(m, p.integer("y")), p.plus(p.times(m, p.integer("z")), 1)})
        p.add(equalities ? p.eq(x, side) : p.land(p.leq(x, side), p.leq(side, x)));
      ASSERT_EQ(p.check(), Verdict::UNSAT);
      EXPECT_EQ(dynamic_cast<laz::LaZEqSubProof*>(p.session.refutation()) != nullptr,
                equalities);
    }
}

}  // namespace
}  // namespace opal::host
