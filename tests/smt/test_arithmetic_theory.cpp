// Everything that the theory says is checked by the solver of conjunctions: each clause
// that it gives is refuted when its literals are denied, each model satisfies what is
// asserted, and the last check answers as the solver does. What is asserted goes up and
// down at random, and at last under a real search, whose answers are compared with those of
// trying all assignments.

#include "opal/smt/arithmetic_theory.h"

#include <unordered_map>

#include "opal/arith/solver.h"
#include "opal/linear/literals.h"
#include "opal/sat/search.h"
#include "opal/smt/atoms.h"
#include "tests/host/fixture.h"

namespace opal::smt {
namespace {

using la::LinearTerm;
using la::Solver;
using sat::FinalCheck;
using sat::Literal;
using sat::Variable;
using Literals = std::vector<Literal>;

struct Family {
  const char* name;
  int reals;
  int integers;
  int width;     // variables in an atom, at most
  long largest;  // coefficient
  long constant;
  std::vector<int> relations;
};

const Family FAMILIES[] = {
    {"reals", 4, 0, 3, 3, 6, {0, 1, 2, 3, 4, 5}},
    {"inequalities", 6, 0, 3, 2, 4, {0, 1, 4, 5}},
    {"bounds", 2, 2, 1, 1, 3, {0, 1, 2, 3, 4, 5}},
    {"disequalities", 4, 0, 2, 1, 1, {2, 3, 3, 1, 4}},
    {"differences", 0, 5, 2, 1, 3, {1, 1, 2, 3, 4}},
    {"integers", 0, 3, 3, 4, 8, {1, 2, 3, 4}},
    {"parities", 0, 4, 2, 4, 9, {2, 2, 3, 1, 4}},
    {"mixed", 2, 2, 3, 2, 4, {0, 1, 2, 3, 4}},
};

// The atoms of a random problem.
class Problem : host::OwnTerms, protected host::Builder {
 public:
  Problem(const Family& family, unsigned seed) : Builder(own_terms), family_(family) {
    random.seed(seed);
    for (int v = 0; v < family.reals + family.integers; ++v) {
      const std::string name = "v" + std::to_string(v);
      variables_.push_back(v < family.reals ? real(name) : integer(name));
    }
  }

 protected:
  const Term_* any_atom() {
    const Term_* sum = num(0);
    bool with_reals = false;
    for (long n = pick(1, family_.width); n > 0; --n) {
      const Term_* v = any(variables_);
      with_reals = with_reals || host::Terms::sort_of(v) == host::Sort::REAL;
      const long q = family_.largest == 1 && n % 2 == 0 ? -1 : pick(1, family_.largest);
      sum = plus(sum, times(QNumber(one_in(3) ? -q : q), v));
    }
    const long half = with_reals && one_in(3) ? 2 : 1;
    const QNumber c = QNumber(pick(-family_.constant, family_.constant)) / QNumber(half);
    const int relation = family_.relations[random() % family_.relations.size()];
    return related(relation, sum, num(c));
  }
  // Its two constraints, of an atom and of its opposite.
  std::pair<int, int> constraints(const Term_* atom) {
    return {mapper.constraint(atom), mapper.constraint(host::negated_atom(t, atom))};
  }
  // What the solver of conjunctions says of constraints.
  Solver::Verdict verdict(const std::vector<int>& ids) {
    Solver solver(mapper, limits);
    solver.set_branch_limit(5000);
    solver.assert_constraints(ids);
    return solver.check();
  }
  host::Model model(const ArithmeticTheory& theory) {
    host::Model result;
    for (const Term_* v : variables_)
      result[v] = theory.value(mapper.variable(v));
    return result;
  }

  host::Limits limits;
  host::Mapper mapper{t, limits};
  const Family& family_;
  host::Atoms variables_;
};

// Plays the search's part at random.
class Player final : Problem, sat::Consequences, BoundAtoms {
 public:
  Player(const Family& family, unsigned seed) : Problem(family, seed) {}

  void play() {
    for (int n = 0; n < 14; ++n)
      static_cast<void>(literal_of(any_atom()));
    for (int step = 0; step < 60 && !dead_; ++step) {
      if (one_in(20)) static_cast<void>(literal_of(any_atom()));
      if (one_in(8)) go_back(static_cast<std::size_t>(pick(0, level())));
      const Variable v = splits_.empty() ? any_variable() : splits_.back();
      if (!splits_.empty()) splits_.pop_back();
      if (values_[2 * v] == 0) {
        if (step > 3 || one_in(2)) go_up();
        assign(Literal(v, one_in(2) ? sat::Sign::POSITIVE : sat::Sign::NEGATIVE));
      }
      if (settle() && one_in(4)) check();
      if (testing::Test::HasFailure()) return;
    }
  }

 private:
  Variable any_variable() { return static_cast<Variable>(random() % atoms_.size()); }
  [[nodiscard]] long level() const { return static_cast<long>(levels_.size()); }
  Literal literal_of(const Term_* atom) {
    const CanonicalLiteral canonical = canonical_literal(t, atom);
    const auto [found, is_new] = by_atom_.emplace(canonical.atom, atoms_.size());
    const auto variable = static_cast<Variable>(found->second);
    if (is_new) {
      atoms_.push_back(canonical.atom);
      values_.resize(values_.size() + 2, 0);
      ids_.push_back(
          canonical.atom == t.true_term()
              ? std::pair{host::Mapper::ZERO_CONSTRAINT, mapper.constraint(t.false_term())}
              : constraints(canonical.atom));
      theory_.add_atom(variable, ids_.back().first, ids_.back().second);
    }
    return Literal(variable, canonical.sign);
  }
  Literal literal(const LinearTerm& constraint, sat::Consequences& /*here*/) override {
    const Term_* sum = num(0);
    for (const auto& [var, q] : constraint.vars.coeffs())
      sum = plus(sum, times(q, mapper.var_term(var)));
    return literal_of(related(constraint.kind, sum, num(constraint.constant)));
  }
  [[nodiscard]] int id(Literal l) const {
    const auto& pair = ids_[l.variable()];
    return l.is_negative() ? pair.second : pair.first;
  }

  void assign(Literal l) {
    values_[l.code()] = 1;
    values_[(~l).code()] = -1;
    trail_.push_back(l);
    theory_.assert_literal(l);
  }
  void go_up() {
    levels_.push_back(trail_.size());
    theory_.push_level();
  }
  void go_back(std::size_t level) {
    if (level >= levels_.size()) return;
    for (std::size_t n = levels_[level]; n < trail_.size(); ++n)
      values_[trail_[n].code()] = values_[(~trail_[n]).code()] = 0;
    trail_.resize(levels_[level]);
    levels_.resize(level);
    theory_.backtrack(static_cast<std::uint32_t>(level));
  }

  // Propagates to the end; after a conflict goes below its last literal. False then.
  bool settle() {
    for (;;) {
      theory_.propagate(*this);
      if (!conflict_.empty()) return leave_conflict();
      if (implied_.empty()) return explain_one();
      for (const Literal l : std::exchange(implied_, {})) {
        if (values_[l.code()] != 0) continue;
        assign(l);
        values_[l.code()] = 2;
      }
    }
  }
  // An explanation that is asked for later is as good. True.
  bool explain_one() {
    if (trail_.empty()) return true;
    const Literal l = trail_[random() % trail_.size()];
    if (values_[l.code()] == 2) static_cast<void>(expect_explained(l));
    return true;
  }
  bool leave_conflict() {
    static_cast<void>(explain_one());
    std::size_t last = 0;
    for (const Literal l : conflict_)
      last =
          std::max(last, static_cast<std::size_t>(
                             std::find(trail_.begin(), trail_.end(), ~l) - trail_.begin()));
    conflict_.clear();
    implied_.clear();
    std::size_t level = 0;
    while (level < levels_.size() && levels_[level] <= last)
      ++level;
    dead_ = level == 0;
    if (!dead_) go_back(level - 1);
    return false;
  }

  // The last check, compared with the solver of conjunctions.
  void check() {
    std::vector<int> asserted;
    for (const Literal l : trail_)
      asserted.push_back(id(l));
    const Solver::Verdict expected = verdict(asserted);
    switch (theory_.final_check(*this)) {
      case FinalCheck::CONSISTENT: {
        EXPECT_NE(expected, Solver::Verdict::UNSAT);
        const host::Model values = model(theory_);
        for (const Literal l : trail_)
          EXPECT_NE(host::holds(atoms_[l.variable()], values), l.is_negative());
        for (const Term_* v : variables_)
          EXPECT_TRUE(host::Terms::sort_of(v) == host::Sort::REAL ||
                      values.at(v).is_integer());
        break;
      }
      case FinalCheck::INCONSISTENT:
        EXPECT_TRUE(!conflict_.empty() || !splits_.empty());
        if (!conflict_.empty()) static_cast<void>(leave_conflict());
        break;
      case FinalCheck::UNKNOWN: EXPECT_NE(expected, Solver::Verdict::UNSAT);
    }
  }

  void expect_valid(sat::LiteralSpan clause, const char* what) {
    std::vector<int> denied;
    for (const Literal l : clause)
      denied.push_back(id(~l));
    EXPECT_EQ(verdict(denied), Solver::Verdict::UNSAT) << what;
  }
  Literals expect_explained(Literal l) {
    Literals clause;
    static_cast<void>(theory_.explain(l, clause));
    expect_valid(clause, "explanation");
    EXPECT_EQ(std::count(clause.begin(), clause.end(), l), 1);
    const auto place = std::find(trail_.begin(), trail_.end(), l);
    for (const Literal other : clause)
      EXPECT_TRUE(other == l || std::find(trail_.begin(), place, ~other) != place);
    return clause;
  }
  void imply(Literal l) override {
    const Literals clause = expect_explained(l);
    if (values_[l.code()] < 0) conflict_ = clause;
    implied_.push_back(l);
  }
  void add_conflict(sat::LiteralSpan clause, sat::Tag /*tag*/) override {
    expect_valid(clause, "conflict");
    for (const Literal l : clause)
      EXPECT_LT(values_[l.code()], 0);
    conflict_.assign(clause.begin(), clause.end());
  }
  void add_lemma(sat::LiteralSpan clause, sat::Tag /*tag*/, sat::Retention) override {
    expect_valid(clause, "lemma");
    for (const Literal l : clause)
      if (values_[l.code()] == 0) splits_.push_back(l.variable());
  }
  Variable make_variable(sat::VariableKind) override { return 0; }
  void add_split(Variable v) override {
    EXPECT_EQ(values_[2 * v], 0);
    splits_.push_back(v);
  }
  void suggest_phase(Variable, sat::Sign) override {}
  [[nodiscard]] sat::Value value(Literal l) const override {
    return static_cast<sat::Value>(std::min<signed char>(values_[l.code()], 1));
  }

  ArithmeticTheory theory_{mapper, limits, *this};
  std::unordered_map<const Term_*, std::size_t> by_atom_;
  host::Atoms atoms_;
  std::vector<std::pair<int, int>> ids_;
  std::vector<signed char> values_;
  Literals trail_;
  std::vector<std::size_t> levels_;
  Literals implied_;
  Literals conflict_;
  std::vector<Variable> splits_;
  bool dead_ = false;  // contradictory at level 0
};

TEST(ArithmeticTheory, SaysWhatTheSolverOfConjunctionsSays) {
  for (const Family& family : FAMILIES) {
    for (unsigned seed = 0; seed < 150; ++seed) {
      Player(family, seed).play();
      ASSERT_FALSE(HasFailure()) << family.name << ", seed " << seed;
    }
  }
}

// A search over random clauses of atoms.
class Searcher final : Problem {
 public:
  Searcher(const Family& family, unsigned seed) : Problem(family, seed) {
    search_.set_theory(&theory_);
  }

  // Whether the variables have different values in 0 .. n - 1.
  sat::Answer distinct(long n) {
    for (std::size_t v = 0; v < variables_.size(); ++v) {
      add({leq(num(0), variables_[v])});
      add({leq(variables_[v], num(n - 1))});
      for (std::size_t w = 0; w < v; ++w)
        add({neq(variables_[v], variables_[w])});
    }
    const sat::Answer answer = search_.solve();
    if (answer == sat::Answer::UNSATISFIABLE) expect_refutable_lemmas();
    return answer;
  }
  [[nodiscard]] const ArithmeticTheory::Statistics& statistics() const {
    return theory_.statistics();
  }

  void compare() {
    host::Atoms atoms;
    for (int n = 0; n < 7; ++n)
      atoms.push_back(any_atom());
    std::vector<host::Atoms> clauses;
    for (int n = 0; n < 16; ++n) {
      clauses.emplace_back();
      for (long size = pick(1, 3); size > 0; --size)
        clauses.back().push_back(one_in(2) ? any(atoms)
                                           : host::negated_atom(t, any(atoms)));
      add(clauses.back());
    }
    const bool satisfiable = try_all(atoms, clauses);
    const sat::Answer answer = search_.solve();
    ASSERT_EQ(answer, satisfiable ? sat::Answer::SATISFIABLE : sat::Answer::UNSATISFIABLE);
    if (!satisfiable) return expect_refutable_lemmas();
    const host::Model values = model(theory_);
    for (const host::Atoms& clause : clauses)
      EXPECT_TRUE(std::any_of(clause.begin(), clause.end(), [&](const Term_* atom) {
        return host::holds(atom, values);
      }));
  }

 private:
  void add(const host::Atoms& clause) {
    Literals literals;
    for (const Term_* atom : clause) {
      const Literal l = literals_.literal(atom);
      if (l == TRUE_LITERAL) return;
      if (l != FALSE_LITERAL) literals.push_back(l);
    }
    search_.add_clause(literals);
  }
  bool try_all(const host::Atoms& atoms, const std::vector<host::Atoms>& clauses) {
    for (unsigned bits = 0; bits < 1U << atoms.size(); ++bits) {
      host::Atoms chosen;
      for (std::size_t n = 0; n < atoms.size(); ++n)
        chosen.push_back((bits >> n & 1U) != 0 ? atoms[n]
                                               : host::negated_atom(t, atoms[n]));
      const bool fits =
          std::all_of(clauses.begin(), clauses.end(), [&](const auto& clause) {
            return std::any_of(clause.begin(), clause.end(), [&](const Term_* atom) {
              return std::find(chosen.begin(), chosen.end(), atom) != chosen.end();
            });
          });
      if (!fits) continue;
      std::vector<int> ids;
      for (const Term_* atom : chosen)
        ids.push_back(mapper.constraint(atom));
      if (verdict(ids) == Solver::Verdict::SAT) return true;
    }
    return false;
  }
  void expect_refutable_lemmas() {
    if (search_.final_clause() == sat::NO_CLAUSE) return;
    const sat::ClauseProof proof = search_.proof();
    for (resolution::NodeIndex n = 0; n < proof.size(); ++n) {
      if (proof.kind(n) != resolution::NodeKind::LEMMA) continue;
      std::vector<int> denied;
      for (const Literal l : proof.literals(n)) {
        const Term_* atom = literals_.atom(l.variable());
        denied.push_back(
            mapper.constraint(l.is_negative() ? atom : host::negated_atom(t, atom)));
      }
      EXPECT_EQ(verdict(denied), Solver::Verdict::UNSAT);
    }
  }

  sat::Search search_{sat::Recording::ON};
  Atoms literals_{t, mapper, search_, [this](Variable v, int positive, int negative) {
                    theory_.add_atom(v, positive, negative);
                  }};
  ArithmeticTheory theory_{mapper, limits, literals_};
};

// The last check alone cannot decide these: choices of sides get in the way of each other.
TEST(ArithmeticTheory, SplitsDisequalitiesOfIntegers) {
  const Family family{"pigeons", 0, 5, 1, 1, 1, {}};
  EXPECT_EQ(Searcher(family, 0).distinct(5), sat::Answer::SATISFIABLE);
  Searcher searcher(family, 0);
  EXPECT_EQ(searcher.distinct(4), sat::Answer::UNSATISFIABLE);
  EXPECT_GT(searcher.statistics().disequality_splits, 0);
}

TEST(ArithmeticTheory, DecidesClausesAsTryingAllAssignmentsDoes) {
  for (const Family& family : FAMILIES) {
    for (unsigned seed = 0; seed < 40; ++seed) {
      Searcher(family, seed).compare();
      ASSERT_FALSE(HasFailure()) << family.name << ", seed " << seed;
    }
  }
}

}  // namespace
}  // namespace opal::smt
