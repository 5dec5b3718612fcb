// Both answers of the solver prove themselves: a refutation by its sum, which is formed
// here from the mapper's constraints, and a model by the constraints that it satisfies. So
// random problems need no other solver to compare with.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "opal/host/farkas.h"
#include "opal/host/solver.h"
#include "opal/host/tableau.h"
#include "opal/interfaces/la_proof.h"

namespace opal::host {
namespace {

using la::LinearTerm;
using la::Solver;
using Method = Solver::Method;
using Verdict = Solver::Verdict;
using Sum = std::map<std::string, QNumber>;  // by name of variable

class Problem {
 public:
  Problem() { terms.set_building_flag(0); }  // so that trivial atoms remain

  int constraint(const Sum& sum, int relation, const QNumber& constant) {
    const Term_* left = terms.make_number(0);
    for (const auto& [name, q] : sum)
      left = terms.make_plus(left, terms.make_times(terms.make_number(q), variable(name)));
    const Term_* right = terms.make_number(constant);
    switch (relation) {
      case LinearTerm::LT: return mapper.constraint(terms.make_lt(left, right));
      case LinearTerm::LEQ: return mapper.constraint(terms.make_leq(left, right));
      case LinearTerm::EQ: return mapper.constraint(terms.make_equal(left, right));
      case LinearTerm::NEQ: return mapper.constraint(terms.make_distinct(left, right));
      case LinearTerm::GEQ: return mapper.constraint(terms.make_leq(right, left));
      default: return mapper.constraint(terms.make_lt(right, left));
    }
  }
  const Term_* variable(const std::string& name) {
    return terms.make_variable(name, Sort::REAL);
  }

  Terms terms;
  Limits limits;
  Mapper mapper{terms, limits};
};

// Adds factor * (the constraint as "... >= 0") to a sum over variable ids; 0 is the
// constant. Strictness goes to the strictness variable.
void add_hypothesis(const Mapper& mapper, const la::LaHyp& hyp, const QNumber& factor,
                    std::map<int, QNumber>& sum) {
  const LinearTerm& term = mapper.constraint_term(hyp.constraint_id);
  const bool halved = term.kind == LinearTerm::EQ || term.kind == LinearTerm::NEQ;
  ASSERT_EQ(halved, hyp.sign != 0);
  const bool upper = term.kind < LinearTerm::EQ || (halved && hyp.sign == -1);
  const QNumber signed_factor = upper ? factor : factor.neg();
  sum[0] += signed_factor * term.constant;
  for (const auto& [var, q] : term.vars.coeffs())
    sum[var] -= signed_factor * q;
  if (term.kind == LinearTerm::LT || term.kind == LinearTerm::NEQ ||
      term.kind == LinearTerm::GT)
    sum[Mapper::DELTA_VAR] -= factor;
}

// The leaves of a proof of combinations, in order, each with its multiplier. Only leaves
// may have one.
std::vector<std::pair<const la::LaHyp*, QNumber>> leaves_of(const proof::Proof* root) {
  std::vector<std::pair<const la::LaHyp*, QNumber>> result;
  std::vector<std::pair<const proof::Proof*, const QNumber*>> waiting{{root, nullptr}};
  while (!waiting.empty()) {
    const auto [node, factor] = waiting.back();
    waiting.pop_back();
    if (const auto* hyp = dynamic_cast<const la::LaHyp*>(node)) {
      result.emplace_back(hyp, factor == nullptr ? QNumber(1) : *factor);
      continue;
    }
    const auto* comb = dynamic_cast<const la::LaComb*>(node);
    EXPECT_NE(comb, nullptr);
    EXPECT_EQ(factor, nullptr);
    if (comb == nullptr) return {};
    waiting.emplace_back(comb->premise2, comb->coeff2);
    waiting.emplace_back(comb->premise1, comb->coeff1);
  }
  return result;
}

// Checks that a proof of combinations over `asserted` sums up to a contradiction.
void expect_contradiction(const Mapper& mapper, const proof::Proof* root,
                          const std::set<int>& asserted) {
  std::map<int, QNumber> sum;
  std::set<std::pair<int, int>> seen;
  for (const auto& [hyp, factor] : leaves_of(root)) {
    EXPECT_TRUE(factor.sign() > 0 && factor.is_integer());
    EXPECT_TRUE(asserted.count(hyp->constraint_id) != 0);
    EXPECT_TRUE(seen.emplace(hyp->constraint_id, hyp->sign).second);
    add_hypothesis(mapper, *hyp, factor, sum);
  }
  const QNumber constant = sum[0];
  const QNumber strictness = sum[Mapper::DELTA_VAR];
  sum.erase(0);
  sum.erase(Mapper::DELTA_VAR);
  for (const auto& pair : sum)
    EXPECT_TRUE(pair.second.is_zero());
  EXPECT_TRUE(constant.sign() < 0 || (constant.is_zero() && strictness.sign() < 0));
}

void expect_refutation(const Mapper& mapper, const proof::Proof* root,
                       const std::set<int>& asserted) {
  const auto* neq = dynamic_cast<const la::LaNeq*>(root);
  if (neq == nullptr) {
    for (const auto& leaf : leaves_of(root))
      EXPECT_NE(mapper.constraint_term(leaf.first->constraint_id).kind, LinearTerm::NEQ);
    return expect_contradiction(mapper, root, asserted);
  }
  int side = -1;
  for (const proof::Proof* half : {neq->case1, neq->case2}) {
    expect_contradiction(mapper, half, asserted);
    int uses = 0;
    for (const auto& leaf : leaves_of(half)) {
      if (mapper.constraint_term(leaf.first->constraint_id).kind != LinearTerm::NEQ)
        continue;
      EXPECT_EQ(leaf.first->constraint_id, neq->constraint_id);
      EXPECT_EQ(leaf.first->sign, side);
      ++uses;
    }
    EXPECT_EQ(uses, 1);
    side = 1;
  }
}

bool satisfies(const LinearTerm& term, const Solver& solver) {
  QNumber sum;
  for (const auto& [var, q] : term.vars.coeffs())
    sum += q * solver.value(var);
  switch (term.kind) {
    case LinearTerm::LT: return sum < term.constant;
    case LinearTerm::LEQ: return sum <= term.constant;
    case LinearTerm::EQ: return sum == term.constant;
    default: return sum != term.constant;
  }
}

// Checks, and proves the answer.
Verdict proved_verdict(const Mapper& mapper, Solver& solver, const std::vector<int>& ids) {
  const Verdict verdict = solver.check();
  if (verdict == Verdict::UNSAT) {
    const proof::ProofRef proof = solver.refutation();
    expect_refutation(mapper, proof.get(), {ids.begin(), ids.end()});
    const std::vector<int> used = proof_constraints(*proof);
    EXPECT_TRUE(std::adjacent_find(used.begin(), used.end(), std::greater_equal<>()) ==
                used.end());
  } else {
    for (const int id : ids)
      EXPECT_TRUE(satisfies(mapper.constraint_term(id), solver)) << "constraint " << id;
  }
  return verdict;
}

Verdict decide(Problem& p, const std::vector<int>& ids, Method method) {
  Solver solver(p.mapper, p.limits);
  solver.set_method(method);
  for (const int id : ids)
    solver.assert_constraint(id);
  return proved_verdict(p.mapper, solver, ids);
}

struct Family {
  const char* name;
  int variables;
  int rows;
  int width;         // variables in a row, at most
  long magnitude;    // of numerators
  long denominator;  // at most
  std::vector<int> relations;
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

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  long below(long n) {
    return static_cast<long>(random_() % static_cast<unsigned long>(n));
  }
  QNumber number(const Family& f) {
    QNumber q = QNumber(1 + below(f.magnitude)) / QNumber(1 + below(f.denominator));
    if (f.enormous) {
      const QNumber power = QNumber::from_decimal("1" + std::string(400, '0'));
      q = below(2) == 0 ? q * power : q / power;
    }
    return below(2) == 0 ? q : q.neg();
  }
  int constraint(Problem& p, const Family& f) {
    const auto name = [&] { return "x" + std::to_string(below(f.variables)); };
    Sum sum;
    if (f.differences) {
      const QNumber scale(1 + below(3));
      sum[name()] += below(2) == 0 ? scale : scale.neg();
      if (below(4) != 0) sum[name()] -= sum.begin()->second;
    } else {
      for (long i = below(f.width); i >= 0; --i)
        sum[name()] = number(f);
    }
    const int relation =
        f.relations[static_cast<std::size_t>(below(static_cast<long>(f.relations.size())))];
    return p.constraint(sum, relation, below(3) == 0 ? QNumber() : number(f));
  }

 private:
  std::mt19937_64 random_;
};

TEST(Solver, AnswersProveThemselvesAndMethodsAgree) {
  for (const Family& f : FAMILIES) {
    int unsat = 0;
    for (unsigned seed = 0; seed < 150; ++seed) {
      SCOPED_TRACE(std::string(f.name) + " " + std::to_string(seed));
      Generator random(seed);
      Problem p;
      std::vector<int> ids;
      for (long i = f.rows / 2 + random.below(f.rows / 2 + 1); i > 0; --i)
        ids.push_back(random.constraint(p, f));
      const Verdict verdict = decide(p, ids, Method::AUTO);
      EXPECT_EQ(decide(p, ids, Method::SIMPLEX), verdict);
      EXPECT_EQ(decide(p, ids, Method::EXACT), verdict);
      if (verdict == Verdict::UNSAT) ++unsat;
      if (HasFailure()) return;
    }
    EXPECT_TRUE(unsat > 5 && unsat < 145) << f.name << ": " << unsat;
  }
}

TEST(Solver, PushAndPopLeaveNothingBehind) {
  for (const Family& f : FAMILIES) {
    for (unsigned seed = 0; seed < 12; ++seed) {
      SCOPED_TRACE(std::string(f.name) + " " + std::to_string(seed));
      Generator random(seed);
      Problem p;
      Solver solver(p.mapper, p.limits);
      std::vector<int> ids;
      std::vector<std::size_t> levels;
      for (int step = 0; step < 60; ++step) {
        // Now and then only differences are left, and the other method takes over.
        const Family& g = random.below(3) == 0 ? FAMILIES[8] : f;
        const long choice = random.below(8);
        if (choice == 0) {
          solver.push();
          levels.push_back(ids.size());
        } else if (choice == 1 && !levels.empty()) {
          solver.pop();
          ids.resize(levels.back());
          levels.pop_back();
        } else if (choice < 6) {
          ids.push_back(random.constraint(p, g));
          solver.assert_constraint(ids.back());
        } else {
          const Verdict verdict = proved_verdict(p.mapper, solver, ids);
          EXPECT_EQ(decide(p, ids, Method::EXACT), verdict);
          if (verdict == Verdict::UNSAT && !levels.empty()) {
            solver.pop();
            ids.resize(levels.back());
            levels.pop_back();
          }
        }
        if (HasFailure()) return;
      }
    }
  }
}

TEST(Solver, TheShortcutSparesPivots) {
  std::uint64_t pivots[2] = {0, 0};
  for (unsigned seed = 0; seed < 20; ++seed) {
    Generator random(seed);
    Problem p;
    std::vector<int> ids;
    for (int i = 0; i < 50; ++i)
      ids.push_back(random.constraint(p, {"", 16, 0, 12, 99, 1, {1}, false}));
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
  const int low = p.constraint({{"x", 3}}, LinearTerm::EQ, QNumber(1));
  const int high = p.constraint({{"x", 6}}, LinearTerm::GEQ, QNumber(4));
  const QNumber third = QNumber(1) / QNumber(3);
  const proof::ProofRef proof =
      farkas_proof(p.mapper, {{low, -1, third}, {high, 0, third}, {low, -1, third}});
  expect_refutation(p.mapper, proof.get(), {low, high});
  const auto leaves = leaves_of(proof.get());
  ASSERT_EQ(leaves.size(), 2U);
  EXPECT_EQ(leaves[0].second, QNumber(2));
  EXPECT_EQ(leaves[1].second, QNumber(1));
}

TEST(Solver, ConstraintsWithoutVariables) {
  for (int relation = LinearTerm::LT; relation <= LinearTerm::GT; ++relation) {
    for (const long c : {-1L, 0L, 1L}) {
      Problem p;
      const int id = p.constraint({}, relation, QNumber(c));
      const bool holds[] = {0 < c, 0 <= c, 0 == c, 0 != c, 0 >= c, 0 > c};
      EXPECT_EQ(decide(p, {id}, Method::AUTO),
                holds[relation] ? Verdict::SAT : Verdict::UNSAT);
    }
  }
}

// Links x0 - x1 <= 1, x1 - x2 = 1, x2 - x3 < 1, ..., and one that closes the cycle so that
// it just fails, shuffled.
std::vector<int> chain(Problem& p, int links, unsigned seed) {
  std::vector<int> ids;
  for (int i = 0; i < links; ++i) {
    const Sum link{{"x" + std::to_string(i), 1}, {"x" + std::to_string(i + 1), -1}};
    ids.push_back(p.constraint(link, (i + 1) % 3, QNumber(1)));
  }
  const Sum ends{{"x0", 2}, {"x" + std::to_string(links), -2}};
  ids.push_back(p.constraint(ends, LinearTerm::GEQ, QNumber(2L * links)));
  std::shuffle(ids.begin(), ids.end(), std::mt19937(seed));
  return ids;
}

TEST(Solver, LongChains) {
  for (const auto& [links, method] :
       {std::pair(100'000, Method::AUTO), std::pair(10'000, Method::SIMPLEX)}) {
    Problem p;
    p.limits.set_deadline(Limits::Clock::now() + std::chrono::seconds(30));
    std::vector<int> ids = chain(p, links, 1);
    Solver solver(p.mapper, p.limits);
    solver.set_method(method);
    for (const int id : ids)
      solver.assert_constraint(id);
    ASSERT_EQ(proved_verdict(p.mapper, solver, ids), Verdict::UNSAT);
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
      for (const auto& pair :
           p.mapper.constraint_term(leaf.first->constraint_id).vars.coeffs()) {
        vars.insert(pair.first);
        shared = shared || last.count(pair.first) != 0;
      }
      if (!shared) ++gaps;
      last = std::move(vars);
    }
    EXPECT_LE(gaps, links / 4 + 4);
    ids.erase(ids.begin() + links / 2);
    EXPECT_EQ(decide(p, ids, method), Verdict::SAT);
  }
}

// Bounds on many variables all meet in one node.
TEST(Solver, ManyBoundsAreNotQuadratic) {
  Problem p;
  p.limits.set_deadline(Limits::Clock::now() + std::chrono::seconds(20));
  std::vector<int> ids;
  for (int i = 0; i < 30'000; ++i) {
    const Sum x{{"x" + std::to_string(i), 1}};
    ids.push_back(p.constraint(x, LinearTerm::LEQ, QNumber(i + 5)));
    ids.push_back(p.constraint(x, LinearTerm::GEQ, QNumber(i)));
  }
  EXPECT_EQ(decide(p, ids, Method::AUTO), Verdict::SAT);
  EXPECT_EQ(decide(p, ids, Method::SIMPLEX), Verdict::SAT);
}

TEST(Solver, GoesOnAfterALimit) {
  for (const Method method : {Method::AUTO, Method::SIMPLEX}) {
    Problem p;
    std::vector<int> ids = chain(p, 2000, 2);
    Solver solver(p.mapper, p.limits);
    solver.set_method(method);
    for (const int id : ids)
      solver.assert_constraint(id);
    const std::pair<const char*, std::function<void()>> limits[] = {
        {"timeout", [&] { p.limits.set_deadline(Limits::Clock::now()); }},
        {"interrupted", [&] { p.limits.interrupt(); }},
    };
    for (const auto& [reason, set] : limits) {
      set();
      try {
        solver.check();
        ADD_FAILURE() << "no " << reason;
      } catch (const LimitReached& e) {
        EXPECT_STREQ(e.what(), reason);
      }
      p.limits.set_deadline(std::nullopt);
      p.limits.clear_interrupt();
    }
    EXPECT_EQ(proved_verdict(p.mapper, solver, ids), Verdict::UNSAT);
  }
  Limits memory;
  memory.set_memory(1);
  EXPECT_THROW(memory.look(), LimitReached);
}

TEST(Tableau, PivotsKeepTheEquationsAndTheInvariant) {
  Generator random(3);
  for (int round = 0; round < 30; ++round) {
    constexpr int ROWS = 8;
    constexpr int COLUMNS = 6;
    Tableau tableau;
    tableau.make_variables(ROWS + COLUMNS - 1);
    std::vector<QNumber> point(ROWS + COLUMNS);  // one that satisfies all equations
    for (int c = 0; c < COLUMNS; ++c)
      point[static_cast<std::size_t>(c)] = QNumber(random.below(9) - 4);
    for (int r = 0; r < ROWS; ++r) {
      Row row;
      QNumber& value = point[static_cast<std::size_t>(COLUMNS + r)];
      for (int c = 0; c < COLUMNS; ++c) {
        const QNumber q(random.below(5) - 2);
        if (q.is_zero()) continue;
        row.push_back({c, q});
        value += q * point[static_cast<std::size_t>(c)];
      }
      row.push_back({COLUMNS + r, QNumber(-1)});
      tableau.add_row(COLUMNS + r, row);
    }
    for (int step = 0; step < 40; ++step) {
      const int r = static_cast<int>(random.below(ROWS));
      const Row row = tableau.row(r);
      const RowEntry& entry =
          row[static_cast<std::size_t>(random.below(static_cast<long>(row.size())))];
      if (entry.var != tableau.basic(r)) tableau.pivot(r, entry.var);
      if (random.below(8) == 0) {
        const int basic = tableau.basic(r);
        tableau.add_row(basic, tableau.remove_row(r));
      }
      ASSERT_TRUE(tableau.is_normal());
      for (int i = 0; i < ROWS; ++i) {
        QNumber sum;
        for (const RowEntry& e : tableau.row(i))
          sum += e.coeff * point[static_cast<std::size_t>(e.var)];
        ASSERT_TRUE(sum.is_zero());
      }
    }
  }
}

}  // namespace
}  // namespace opal::host
