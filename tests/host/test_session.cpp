#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>

#include "opal/host/printer.h"
#include "opal/host/session.h"
#include "opal/host/simplifier.h"
#include "opal/host/verification.h"

namespace opal::host {
namespace {

const char* const Z3 = "z3 -in -smt2";
using Verdict = Session::Verdict;
using Names = std::vector<std::string>;

std::string message_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const SessionError& e) {
    return e.what();
  }
  return "no error";
}

class SessionTest : public testing::Test {
 protected:
  const Term_* num(long n) { return t.make_number(QNumber(n)); }
  // a <= b + c
  const Term_* leq(const Term_* a, const Term_* b, long c = 0) {
    return t.make_leq(a, t.make_plus(b, num(c)));
  }
  Interpolants ask(const std::vector<Names>& groups, Mode mode = Mode::AUTO,
                   std::vector<std::size_t> first = {}) {
    if (first.empty()) first = Grouping::sequence(groups.size());
    const InterpolationQuery query{groups, std::move(first), mode, false,
                                   Unmentioned::BACKGROUND};
    Interpolants answer = s.interpolants(query);
    EXPECT_EQ(s.verify(query, answer, Z3).steps, groups.size());
    return answer;
  }

  Session s;
  Terms& t = s.terms();
  const Term_* x = t.make_variable("x", Sort::REAL);
  const Term_* y = t.make_variable("y", Sort::REAL);
  const Term_* z = t.make_variable("z", Sort::REAL);
};

TEST_F(SessionTest, ConversationFromModelToInterpolants) {
  s.assert_formula(leq(x, y, -1), "a");
  s.push();
  s.assert_formula(t.make_and(leq(y, z, -1), leq(z, num(2))), "b");
  ASSERT_EQ(s.check(), Verdict::SAT);
  EXPECT_LE(evaluate(x, s.model()), evaluate(y, s.model()) - QNumber(1));
  s.push();
  s.assert_formula(leq(num(5), x), "c");
  s.assert_formula(leq(num(0), y));
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(s.check(), Verdict::UNSAT);
    EXPECT_EQ(s.unsat_core(), (Names{"a", "b", "c"}));
    EXPECT_NE(s.refutation(), nullptr);
    for (const Mode mode : {Mode::SUM, Mode::CONJ, Mode::DUAL, Mode::AUTO}) {
      const Interpolants answer = ask({{"a"}, {"b"}, {"c"}}, mode);
      ASSERT_EQ(answer.terms.size(), 2U);
      if (mode == Mode::SUM || mode == Mode::CONJ) {
        EXPECT_EQ(term_text(answer.terms[0]), "(<= (+ x 1.0) y)");
      }
      EXPECT_EQ(answer.size, dag_size(answer.terms));
    }
    ask({{"c"}, {"a", "b"}});
    ask({{"a"}, {"c"}, {"b"}}, Mode::AUTO, {0, 1, 0});
    s.pop();
    EXPECT_EQ(s.assertions().size(), 2U);
    ASSERT_EQ(s.check(), Verdict::SAT);
    s.push();
    s.assert_formula(leq(num(5), x), "c");
  }
  s.reset_assertions();
  EXPECT_EQ(s.levels(), 0U);
  EXPECT_EQ(s.check(), Verdict::SAT);
  s.assert_formula(t.false_term(), "a");
  ASSERT_EQ(s.check(), Verdict::UNSAT);
  EXPECT_EQ(s.unsat_core(), Names{"a"});
  const std::set<std::string> not_needed = {"pivots",   "relaxations",          "rows",
                                            "cuts",     "combinations-visited", "nodes",
                                            "branches", "combinations-survived"};
  for (const auto& [name, value] : s.statistics()) {
    EXPECT_TRUE(value > 0 || not_needed.count(name) > 0) << name;
  }
}

TEST_F(SessionTest, AssumptionsHoldForOneCheckAndAreBackground) {
  s.assert_formula(leq(x, y), "a");
  s.assert_formula(leq(y, z), "b");
  ASSERT_EQ(s.check({t.make_lt(z, x), leq(num(0), x)}), Verdict::UNSAT);
  EXPECT_EQ(s.unsat_assumptions(), std::vector<const Term_*>{t.make_lt(z, x)});
  EXPECT_EQ(s.unsat_core(), (Names{"a", "b"}));
  const InterpolationQuery query{
      {{"a"}, {"b"}}, {0, 0}, Mode::SUM, true, Unmentioned::BACKGROUND};
  EXPECT_EQ(s.count_unmentioned(query), 2U);
  const Interpolants raw = s.interpolants(query);
  EXPECT_EQ(raw.size, raw.raw_size);
  EXPECT_EQ(s.verify(query, raw, Z3).steps, 2U);
  EXPECT_EQ(s.check(), Verdict::SAT);
  EXPECT_EQ(s.check({t.make_distinct(x, x)}), Verdict::UNSAT);
  EXPECT_EQ(s.check({t.make_lt(z, y), t.make_lt(x, num(1))}), Verdict::UNSAT);
  EXPECT_EQ(s.check({t.make_lt(x, num(1))}), Verdict::SAT);
  EXPECT_TRUE(evaluate(x, s.model()) < QNumber(1));
}

// 0 < i - j < 1, hidden behind a real: no cut may round it, and branching never ends.
TEST_F(SessionTest, UnboundedIntegersMayBeUnknown) {
  const Term_* i = t.make_variable("i", Sort::INT);
  const Term_* j = t.make_variable("j", Sort::INT);
  s.assert_formula(t.make_equal(t.make_plus(x, t.make_to_real(j)), t.make_to_real(i)));
  EXPECT_EQ(s.check(), Verdict::SAT);
  s.assert_formula(t.make_lt(num(0), x));
  s.assert_formula(t.make_lt(x, num(1)));
  EXPECT_EQ(s.check(), Verdict::UNKNOWN);
  EXPECT_EQ(s.reason_unknown(), "incomplete");
  s.assert_formula(leq(num(0), t.make_to_real(j)));
  s.assert_formula(leq(t.make_to_real(j), num(9)));
  EXPECT_EQ(s.check(), Verdict::UNSAT);
}

TEST_F(SessionTest, LimitsEndAnswersAndLeaveTheSessionUsable) {
  s.assert_formula(leq(x, y, -1), "a");
  s.assert_formula(leq(y, x), "b");
  s.limits().interrupt();
  EXPECT_EQ(s.check(), Verdict::UNKNOWN);
  EXPECT_EQ(s.reason_unknown(), "interrupted");
  s.limits().clear_interrupt();
  ASSERT_EQ(s.check(), Verdict::UNSAT);
  s.limits().interrupt();
  EXPECT_THROW(ask({{"a"}, {"b"}}), LimitReached);
  s.limits().clear_interrupt();
  EXPECT_EQ(term_text(ask({{"a"}, {"b"}}, Mode::SUM).terms[0]), "(<= (+ x 1.0) y)");
}

TEST_F(SessionTest, WrongRequestsAreTold) {
  s.assert_formula(leq(x, y, -1), "a");
  s.assert_formula(leq(y, x), "b");
  s.assert_formula(leq(z, x));
  const InterpolationQuery query{{{"a"}, {"b"}}, {0, 0}};
  EXPECT_EQ(message_of([&] { s.interpolants(query); }),
            "there is no refutation: the last check did not answer unsat");
  ASSERT_EQ(s.check(), Verdict::UNSAT);
  const auto with = [&](std::vector<Names> groups, std::vector<std::size_t> first,
                        Mode mode = Mode::AUTO) {
    return [this, q = InterpolationQuery{std::move(groups), std::move(first), mode}] {
      s.interpolants(q);
    };
  };
  InterpolationQuery strict = query;
  strict.unmentioned = Unmentioned::ERROR;
  const std::pair<std::function<void()>, const char*> table[] = {
      {[&] { s.pop(); }, "no level to pop"},
      {[&] { s.assert_formula(x == y ? x : leq(x, y), "a"); }, "already named a"},
      {[&] { (void)s.model(); }, "there is no model"},
      {with({{"a"}}, {0}), "two groups or more"},
      {with({{"a"}, {}}, {0, 0}), "group 2 is empty"},
      {with({{"a"}, {"c d"}}, {0, 0}), "no assertion is named |c d|"},
      {with({{"a"}, {""}}, {0, 0}), "no assertion is named ||"},
      {with({{"a"}, {"b", "a"}}, {0, 0}), "a stands in two groups"},
      {with({{"a"}, {"b"}}, {0, 1}), "one tree"},
      {with({{"a"}, {"b"}}, {0}), "one tree"},
      {with({{"a"}, {"b"}, {"c"}, {"d"}}, {0, 0, 1, 0}), "one tree"},
      {[&] { s.interpolants(strict); }, "no group mentions assertion (<= z x)"},
  };
  for (const auto& [action, what] : table) {
    EXPECT_NE(message_of(action).find(what), std::string::npos)
        << message_of(action) << " / " << what;
  }
  EXPECT_THROW(s.assert_formula(t.make_or(leq(x, y), leq(y, z)), "d"), Unsupported);
  EXPECT_EQ(s.assertions().size(), 3U);
  ASSERT_EQ(s.last_verdict(), Verdict::UNSAT) << "a refused assertion changes nothing";
  s.assert_formula(leq(z, z), "c");
  ASSERT_EQ(s.check(), Verdict::UNSAT);
  EXPECT_NE(message_of(with({{"a"}, {"b"}, {"c"}}, {0, 1, 0}, Mode::DUAL)).find("dual"),
            std::string::npos);
}

TEST_F(SessionTest, VerificationFindsWrongAnswersAndUselessSolvers) {
  s.assert_formula(leq(x, y, -1), "a");
  s.assert_formula(t.make_and(leq(y, x), leq(z, x)), "b");
  ASSERT_EQ(s.check(), Verdict::UNSAT);
  const InterpolationQuery query{{{"a"}, {"b"}}, {0, 0}};
  const Interpolants good = s.interpolants(query);
  const auto verify = [&](const Term_* interpolant, const char* solver) {
    Interpolants answer = good;
    answer.terms = {interpolant};
    return message_of([&] { s.verify(query, answer, solver); });
  };
  EXPECT_EQ(verify(good.terms[0], Z3), "no error");
  EXPECT_EQ(verify(leq(z, x), Z3), "interpolant 1 has z, which is not shared: (<= z x)");
  EXPECT_EQ(verify(t.true_term(), Z3).find("step 2 of 2 is wrong"), 0U);
  EXPECT_EQ(verify(leq(x, y, -2), Z3).find("step 1 of 2 is wrong"), 0U);
  EXPECT_EQ(verify(good.terms[0], "sh -c 'cat >&2; echo unsat; echo unknown'")
                .find("step 2 of 2 is undecided"),
            0U);
  EXPECT_THROW(verify(good.terms[0], "true"), OutsideSolverError);
}

/// A random conjunction over few variables, asserted as g0, g1, ... with few atoms each.
class RandomProblem {
 public:
  RandomProblem(Session& s, unsigned seed) : t_(s.terms()), random_(seed) {
    const int variables = 2 + below(3);
    for (int v = 0; v < variables; ++v) {
      variables_.push_back(t_.make_variable("v" + std::to_string(v), Sort::REAL));
    }
    const bool differences = below(3) == 0;
    for (int g = 0; g < 6; ++g) {
      const Term_* formula = atom(differences);
      if (below(2) == 0) formula = t_.make_and(formula, atom(differences));
      s.assert_formula(formula, "g" + std::to_string(g));
    }
    // The same formula twice, on whichever sides.
    if (below(3) == 0) s.assert_formula(s.assertions().front().formula, "g6");
  }

  int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

 private:
  const Term_* variable() {
    return variables_[static_cast<std::size_t>(below(static_cast<int>(variables_.size())))];
  }
  const Term_* scaled() {
    const QNumber factor = QNumber(below(9) - 4) / QNumber(1 + below(3));
    return t_.make_times(t_.make_number(factor), variable());
  }
  const Term_* atom(bool differences) {
    const Term_* a = differences ? variable() : t_.make_plus(scaled(), scaled());
    const Term_* b = t_.make_number(below(7) - 3);
    b = t_.make_plus(b, differences ? variable() : scaled());
    switch (below(8)) {
      case 0: return t_.make_equal(a, b);
      case 1: return t_.make_distinct(a, b);
      case 2:
      case 3: return t_.make_lt(a, b);
      case 4: return t_.make_not(t_.make_leq(b, a));
      default: return t_.make_leq(a, b);
    }
  }

  Terms& t_;
  std::mt19937 random_;
  std::vector<const Term_*> variables_;
};

TEST(SessionRandom, VerdictsAndInterpolantsInAllModesHoldForZ3) {
  int refuted = 0;
  for (unsigned seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Session s;
    RandomProblem random(s, seed);
    const Verdict verdict = s.check();
    ASSERT_NE(verdict, Verdict::UNKNOWN);
    if (verdict == Verdict::SAT) continue;
    ++refuted;
    const std::vector<std::vector<std::size_t>> trees = {{0, 0}, {0, 0, 0}, {0, 1, 0}};
    for (const auto& first : trees) {
      InterpolationQuery query{std::vector<Names>(first.size()), first};
      query.unmentioned =
          random.below(2) == 0 ? Unmentioned::BACKGROUND : Unmentioned::LAST_GROUP;
      const std::size_t left_out = random.below(3) == 0 ? 1 : 0;
      for (std::size_t i = 0; i + left_out < s.assertions().size(); ++i) {
        const std::size_t group =
            i < first.size() ? i : static_cast<std::size_t>(random.below(2));
        query.groups[group].push_back(s.assertions()[i].name);
      }
      query.raw = random.below(4) == 0;
      std::size_t smallest = SIZE_MAX;
      for (const Mode mode : {Mode::SUM, Mode::CONJ, Mode::DUAL, Mode::AUTO}) {
        if (mode == Mode::DUAL && first[1] == 1) continue;
        query.mode = mode;
        const Interpolants answer = s.interpolants(query);
        EXPECT_EQ(message_of([&] { s.verify(query, answer, Z3); }), "no error")
            << to_string(mode) << " on a tree with first[1] = " << first[1];
        smallest = std::min(smallest, answer.size);
        if (mode == Mode::AUTO) {
          EXPECT_NE(answer.mode, Mode::AUTO);
          EXPECT_EQ(answer.size, smallest);
        }
      }
    }
  }
  EXPECT_GT(refuted, 30);
}

}  // namespace
}  // namespace opal::host
