// Both answers of the solver prove themselves: a refutation to the proof checker, which has
// arithmetic of its own, and a model by the constraints that it satisfies. So random
// problems need no other solver to compare with.

#include "opal/arith/solver.h"

#include <chrono>
#include <map>
#include <set>

#include "opal/checker/proof_checker.h"
#include "opal/interfaces/la_proof.h"
#include "opal/proofs/farkas.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

using la::LinearTerm;
using la::Solver;
using Ids = std::vector<int>;
using Method = Solver::Method;
using Verdict = Solver::Verdict;
using Sum = std::map<std::string, QNumber>;  // by name of variable

struct Family {
  const char* name;
  int variables;
  int rows;
  int width;         // variables in a row, at most
  long magnitude;    // of numerators
  long denominator;  // at most
  Ids relations;
  bool differences;
  bool enormous = false;  // numbers beyond the range of floating point
};

const Family FAMILIES[] = {
    {"tiny", 3, 6, 3, 2, 1, {0, 1, 2, 3, 4, 5}, false},
    {"small", 6, 12, 3, 3, 2, {0, 1, 1, 2, 3, 4, 5}, false},
    {"thin", 6, 24, 2, 1, 1, {1, 1, 1, 4, 4, 2, 3}, false},  // seldom with an interior
    {"disequalities", 5, 16, 2, 1, 1, {1, 3, 3, 3, 4}, false},
    {"sparse", 16, 36, 3, 9999, 9999, {0, 1, 1, 4}, false},
    {"dense", 6, 14, 6, 9999, 99, {1, 4, 5}, false},
    {"huge", 5, 10, 3, 9223372036854775807, 4294967291, {0, 1, 4}, false},
    {"enormous", 7, 16, 3, 99, 99, {1, 4}, false, true},
    {"differences", 8, 20, 2, 3, 2, {0, 1, 1, 1, 2, 3, 4, 5}, true},
    {"loose differences", 30, 40, 2, 20, 3, {0, 1, 1, 2, 4}, true},
};

class Problem : OwnTerms, public Builder {
 public:
  explicit Problem(unsigned seed = 0) : Builder(own_terms) {
    random.seed(seed);
    t.set_building_flag(0);  // so that trivial atoms remain
  }

  int constraint(const Sum& sum, int relation, const QNumber& constant) {
    const Term_* left = num(0);
    for (const auto& [name, q] : sum)
      left = plus(left, times(q, real(name)));
    return mapper.constraint(related(relation, left, num(constant)));
  }
  QNumber number(const Family& f) {
    QNumber q = QNumber(pick(1, f.magnitude)) / QNumber(pick(1, f.denominator));
    if (f.enormous) {
      const QNumber power = QNumber::from_decimal("1" + std::string(400, '0'));
      q = one_in(2) ? q * power : q / power;
    }
    return one_in(2) ? q : q.neg();
  }
  int constraint(const Family& f) {
    const auto name = [&] { return "x" + std::to_string(pick(1, f.variables)); };
    Sum sum;
    if (f.differences) {
      const QNumber scale(pick(1, 3));
      sum[name()] += one_in(2) ? scale : scale.neg();
      if (!one_in(4)) sum[name()] -= sum.begin()->second;
    } else {
      for (long k = pick(1, f.width); k > 0; --k)
        sum[name()] = number(f);
    }
    const int relation = f.relations[random() % f.relations.size()];
    return constraint(sum, relation, one_in(3) ? QNumber() : number(f));
  }
  // Links x0 - x1 <= 1, x1 - x2 = 1, x2 - x3 < 1, ..., and one that closes the cycle so
  // that it just fails, shuffled.
  Ids chain(int links) {
    const auto name = [](int k) { return "x" + std::to_string(k); };
    Ids ids;
    for (int k = 0; k < links; ++k)
      ids.push_back(constraint({{name(k), 1}, {name(k + 1), -1}}, (k + 1) % 3, 1));
    ids.push_back(constraint({{"x0", 2}, {name(links), -2}}, LinearTerm::GEQ, 2L * links));
    std::shuffle(ids.begin(), ids.end(), random);
    return ids;
  }

  void expect_refutation(const proof::ProofRef& proof, const Ids& ids) {
    Atoms atoms;
    for (const int id : ids)
      atoms.push_back(mapper.constraint_atom(id));
    EXPECT_EQ(ProofChecker(mapper, atoms).check(proof.get()).value_or(""), "");
  }
  // Checks, and has the answer proved.
  Verdict check(Solver& solver, const Ids& ids) {
    const Verdict verdict = solver.check();
    if (verdict == Verdict::UNSAT) {
      expect_refutation(solver.refutation(), ids);
      return verdict;
    }
    Model model;
    for (int var = 2; var < mapper.num_variables() + 2; ++var)
      model[mapper.var_term(var)] = solver.value(var);
    for (const int id : ids)
      EXPECT_TRUE(holds(mapper.constraint_atom(id), model)) << "constraint " << id;
    return verdict;
  }
  Verdict decide(const Ids& ids, Method method) {
    Solver solver(mapper, limits);
    solver.set_method(method);
    for (const int id : ids)
      solver.assert_constraint(id);
    return check(solver, ids);
  }

  Limits limits;
  Mapper mapper{t, limits};
};

// The leaves of a proof of combinations, in order.
std::vector<std::pair<const la::LaHyp*, QNumber>> leaves_of(const proof::Proof* root) {
  std::vector<std::pair<const la::LaHyp*, QNumber>> result;
  std::vector<std::pair<const proof::Proof*, const QNumber*>> waiting{{root, nullptr}};
  while (!waiting.empty()) {
    const auto [node, factor] = waiting.back();
    waiting.pop_back();
    if (const auto* hyp = dynamic_cast<const la::LaHyp*>(node)) {
      result.emplace_back(hyp, factor == nullptr ? QNumber(1) : *factor);
    } else {
      const auto& comb = dynamic_cast<const la::LaComb&>(*node);
      waiting.emplace_back(comb.premise2, comb.coeff2);
      waiting.emplace_back(comb.premise1, comb.coeff1);
    }
  }
  return result;
}

TEST(Solver, AnswersProveThemselvesAndMethodsAgree) {
  for (const Family& f : FAMILIES) {
    int unsat = 0;
    for (unsigned seed = 0; seed < 150 && !testing::Test::HasFailure(); ++seed) {
      SCOPED_TRACE(std::string(f.name) + " " + std::to_string(seed));
      Problem p(seed);
      Ids ids;
      for (long k = p.pick(f.rows / 2, f.rows); k > 0; --k)
        ids.push_back(p.constraint(f));
      const Verdict verdict = p.decide(ids, Method::AUTO);
      EXPECT_EQ(p.decide(ids, Method::SIMPLEX), verdict);
      EXPECT_EQ(p.decide(ids, Method::EXACT), verdict);
      if (verdict == Verdict::UNSAT) ++unsat;
    }
    EXPECT_TRUE(unsat > 5 && unsat < 145) << f.name << ": " << unsat;
  }
}

TEST(Solver, PushAndPopLeaveNothingBehind) {
  for (const Family& f : FAMILIES) {
    for (unsigned seed = 0; seed < 12; ++seed) {
      SCOPED_TRACE(std::string(f.name) + " " + std::to_string(seed));
      Problem p(seed);
      Solver solver(p.mapper, p.limits);
      Ids ids;
      std::vector<std::size_t> levels;
      const auto pop = [&] {
        if (levels.empty()) return;
        solver.pop();
        ids.resize(levels.back());
        levels.pop_back();
      };
      for (int step = 0; step < 60 && !testing::Test::HasFailure(); ++step) {
        const long choice = p.pick(0, 7);
        if (choice == 0) {
          solver.push();
          levels.push_back(ids.size());
        } else if (choice == 1) {
          pop();
        } else if (choice < 6) {
          // Now and then only differences are left, and the other method takes over.
          ids.push_back(p.constraint(p.one_in(3) ? FAMILIES[8] : f));
          solver.assert_constraint(ids.back());
        } else {
          const Verdict verdict = p.check(solver, ids);
          EXPECT_EQ(p.decide(ids, Method::EXACT), verdict);
          if (verdict == Verdict::UNSAT) pop();
        }
      }
    }
  }
}

TEST(Solver, TheShortcutSparesPivots) {
  std::uint64_t pivots[2] = {0, 0};
  for (unsigned seed = 0; seed < 20; ++seed) {
    Problem p(seed);
    Ids ids;
    for (int k = 0; k < 50; ++k)
      ids.push_back(p.constraint({"", 16, 0, 12, 99, 1, {1}, false}));
    for (const Method method : {Method::SIMPLEX, Method::EXACT}) {
      Solver solver(p.mapper, p.limits);
      solver.set_method(method);
      for (const int id : ids)
        solver.assert_constraint(id);
      solver.check();
      pivots[method == Method::EXACT ? 1 : 0] += solver.statistics().pivots;
    }
  }
  EXPECT_LT(pivots[0], pivots[1] / 3);
}

TEST(Farkas, EqualLeavesAreAddedUpAndMultipliersMadeCoprime) {
  Problem p;
  const int low = p.constraint({{"x", 3}}, LinearTerm::EQ, 1);
  const int high = p.constraint({{"x", 6}}, LinearTerm::GEQ, 4);
  const QNumber third = QNumber(1) / QNumber(3);
  const proof::ProofRef proof =
      farkas_proof(p.mapper, {{low, -1, third}, {high, 0, third}, {low, -1, third}});
  p.expect_refutation(proof, {low, high});
  const auto leaves = leaves_of(proof.get());
  ASSERT_EQ(leaves.size(), 2U);
  EXPECT_TRUE(leaves[0].second == QNumber(2) && leaves[1].second == QNumber(1));
}

TEST(Solver, LongChains) {
  for (const auto& [links, method] :
       {std::pair(100'000, Method::AUTO), std::pair(10'000, Method::SIMPLEX)}) {
    Problem p;
    p.limits.set_deadline(Limits::Clock::now() + std::chrono::seconds(30));
    Ids ids = p.chain(links);
    Solver solver(p.mapper, p.limits);
    solver.set_method(method);
    for (const int id : ids)
      solver.assert_constraint(id);
    ASSERT_EQ(p.check(solver, ids), Verdict::UNSAT);
    // Leaves that stand side by side share a variable, but for two places in each run of
    // eight: where it begins, and where its first step joins two leaves.
    const proof::ProofRef proof = solver.refutation();
    const auto leaves = leaves_of(proof.get());
    EXPECT_EQ(leaves.size(), ids.size());
    int gaps = 0;
    std::set<int> last;
    for (const auto& leaf : leaves) {
      std::set<int> vars;
      bool shared = false;
      const auto& term = p.mapper.constraint_term(leaf.first->constraint_id);
      for (const auto& pair : term.vars.coeffs()) {
        vars.insert(pair.first);
        shared = shared || last.count(pair.first) != 0;
      }
      if (!shared) ++gaps;
      last = std::move(vars);
    }
    EXPECT_LE(gaps, links / 4 + 4);
    ids.erase(ids.begin() + links / 2);
    EXPECT_EQ(p.decide(ids, method), Verdict::SAT);
  }
}

TEST(Solver, GoesOnAfterALimit) {
  for (const Method method : {Method::AUTO, Method::SIMPLEX}) {
    Problem p;
    const Ids ids = p.chain(2000);
    Solver solver(p.mapper, p.limits);
    solver.set_method(method);
    for (const int id : ids)
      solver.assert_constraint(id);
    p.limits.set_deadline(Limits::Clock::now());
    EXPECT_EQ(message_of([&] { solver.check(); }), "timeout");
    p.limits.set_deadline(std::nullopt);
    p.limits.interrupt();
    EXPECT_EQ(message_of([&] { solver.check(); }), "interrupted");
    p.limits.clear_interrupt();
    EXPECT_EQ(p.check(solver, ids), Verdict::UNSAT);
  }
  Limits memory;
  memory.set_memory(1);
  EXPECT_EQ(message_of([&] { memory.look(); }), "memout");
}

}  // namespace
}  // namespace opal::host
