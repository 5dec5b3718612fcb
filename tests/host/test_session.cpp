#include "opal/session/session.h"

#include "opal/simplify/simplifier.h"
#include "opal/terms/print/printer.h"
#include "opal/verify/verification.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

const char* const Z3 = "z3 -in -smt2";
using Verdict = Session::Verdict;
using Names = std::vector<std::string>;
using Tree = std::vector<std::size_t>;

struct OwnSession {
  Session s;
};

class SessionTest : public testing::Test, protected OwnSession, protected Builder {
 protected:
  SessionTest() : Builder(s.terms()) {}

  // a <= b + c
  const Term_* at_most(const Term_* a, const Term_* b, long c = 0) {
    return leq(a, plus(b, c));
  }
  Interpolants ask(const std::vector<Names>& groups, Mode mode = Mode::AUTO,
                   Tree first = {}) {
    if (first.empty()) first = Grouping::sequence(groups.size());
    const InterpolationQuery query{groups, std::move(first), mode};
    Interpolants answer = s.interpolants(query);
    EXPECT_EQ(s.verify(query, answer, Z3).steps, groups.size());
    return answer;
  }

  const Term_* x = real("x");
  const Term_* y = real("y");
  const Term_* z = real("z");
};

TEST_F(SessionTest, AnswersEndWithTheNextChange) {
  s.assert_formula(at_most(x, y, -1), "a");
  s.push();
  s.assert_formula(land(at_most(y, z, -1), leq(z, num(2))), "b");
  s.push();
  for (int round = 0; round < 2; ++round) {
    s.assert_formula(leq(num(5), x), "c");
    s.assert_formula(leq(num(0), y));
    ASSERT_EQ(s.check(), Verdict::UNSAT);
    EXPECT_EQ(s.unsat_core(), (Names{"a", "b", "c"}));
    for (const Mode mode : {Mode::SUM, Mode::CONJ, Mode::DUAL, Mode::AUTO}) {
      const Interpolants answer = ask({{"a"}, {"b"}, {"c"}}, mode);
      EXPECT_EQ(answer.size, dag_size(answer.terms));
    }
    ask({{"a"}, {"c"}, {"b"}}, Mode::AUTO, {0, 1, 0});
    s.pop();
    EXPECT_FALSE(s.last_verdict().has_value());
    ASSERT_EQ(s.check(), Verdict::SAT);
    EXPECT_LE(evaluate(x, s.model()), evaluate(y, s.model()) - QNumber(1));
    s.push();
    EXPECT_FALSE(s.last_verdict().has_value());
  }
  s.reset_assertions();
  EXPECT_EQ(s.levels() + s.assertions().size(), 0U);
  EXPECT_EQ(s.check(), Verdict::SAT);
}

TEST_F(SessionTest, WrongRequestsAreTold) {
  s.assert_formula(at_most(x, y, -1), "a");
  s.assert_formula(leq(y, x), "b");
  s.assert_formula(leq(z, x));
  const InterpolationQuery query{{{"a"}, {"b"}}, {0, 0}};
  const auto with = [&](std::vector<Names> groups, Tree first, Mode mode = Mode::AUTO,
                        Unmentioned unmentioned = Unmentioned::BACKGROUND) {
    return [this, q = InterpolationQuery{std::move(groups), std::move(first), mode, false,
                                         unmentioned}] { s.interpolants(q); };
  };
  EXPECT_EQ(message_of(with({{"a"}, {"b"}}, {0, 0})),
            "there is no refutation: the last check did not answer unsat");
  ASSERT_EQ(s.check(), Verdict::UNSAT);
  const std::pair<std::function<void()>, const char*> table[] = {
      {[&] { s.pop(); }, "no level to pop"},
      {[&] { s.assert_formula(leq(x, y), "a"); }, "already named a"},
      {[&] { s.assert_formula(lor(leq(x, y), leq(t.make_times(x, y), z)), "d"); },
       "not linear: (* x y)"},
      {[&] { (void)s.model(); }, "there is no model"},
      {with({{"a"}, {}}, {0, 0}), "group 2 is empty"},
      {with({{"a"}, {""}}, {0, 0}), "no assertion is named ||"},
      {with({{"a"}, {"b"}}, {0, 1}), "one tree"},
      {with({{"a"}, {"b"}}, {0}), "one tree"},
      {with({{"a"}, {"b"}, {"c"}, {"d"}}, {0, 0, 1, 0}), "one tree"},
      {with({{"a"}, {"b"}}, {0, 0}, Mode::AUTO, Unmentioned::ERROR),
       "no group mentions assertion (<= z x)"},
  };
  for (const auto& [action, what] : table) {
    const std::string message = message_of(action);
    EXPECT_NE(message.find(what), std::string::npos) << message << " / " << what;
    ASSERT_EQ(s.check(), Verdict::UNSAT) << "a refused request changes no later answer";
  }
  EXPECT_EQ(s.assertions().size(), 3U);
  s.assert_formula(leq(z, z), "c");
  ASSERT_EQ(s.check(), Verdict::UNSAT);
  const std::string dual = message_of(with({{"a"}, {"b"}, {"c"}}, {0, 1, 0}, Mode::DUAL));
  EXPECT_NE(dual.find("dual"), std::string::npos);
}

TEST_F(SessionTest, VerificationFindsWrongAnswersAndUselessSolvers) {
  const Term_* w = real("w");
  s.assert_formula(land(at_most(x, y, -1), leq(w, x)), "a");
  s.assert_formula(land(leq(y, x), leq(z, x)), "b");
  ASSERT_EQ(s.check(), Verdict::UNSAT);
  const InterpolationQuery query{{{"a"}, {"b"}}, {0, 0}};
  const Interpolants good = s.interpolants(query);
  const auto verify = [&](const Term_* interpolant, const std::string& solver) {
    Interpolants answer = good;
    answer.terms = {interpolant};
    return message_of([&] { s.verify(query, answer, solver); }).substr(0, 23);
  };
  EXPECT_EQ(verify(good.terms[0], Z3), "");
  EXPECT_EQ(verify(leq(z, x), Z3), "interpolant 1 has z, wh");
  EXPECT_EQ(verify(leq(w, x), Z3), "interpolant 1 has w, wh");
  EXPECT_EQ(verify(t.true_term(), Z3), "step 2 of 2 is wrong, i");
  EXPECT_EQ(verify(at_most(x, y, -2), Z3), "step 1 of 2 is wrong, i");
  // What one solver leaves undecided goes to the next one.
  const std::string undecided = "sh -c 'cat >&2; echo unsat; echo unknown'";
  EXPECT_EQ(verify(good.terms[0], undecided), "step 2 of 2 is undecide");
  for (const char* next : {Z3, "cvc5 --lang smt2 --incremental -q"})
    EXPECT_EQ(s.verify(query, good, undecided + ";" + next).handed_on, 1U);
  EXPECT_THROW(s.verify(query, good, undecided + ";true"), OutsideSolverError);
}

}  // namespace
}  // namespace opal::host
