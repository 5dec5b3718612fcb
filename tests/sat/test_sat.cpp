// The search, its theory interface, its proofs and their reduction, against brute force.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>

#include "opal/checker/resolution_checker.h"
#include "opal/proofs/resolution/reduction.h"
#include "opal/sat/search.h"

namespace {

using namespace opal::sat;
using opal::checker::fault_of_resolution_proof;
using opal::checker::LeafJudges;
using opal::resolution::Chain;
using opal::resolution::NodeIndex;
using opal::resolution::NodeKind;
using opal::resolution::Step;
using Clause = std::vector<Literal>;
using Worlds = std::uint32_t;

// As std::mt19937, whose numbers may be of a wider type than they need.
struct Random : std::mt19937 {
  using std::mt19937::mt19937;
  using result_type = std::uint32_t;
  std::uint32_t operator()() {
    return static_cast<std::uint32_t>(std::mt19937::operator()());
  }
};

constexpr unsigned WORLDS = 24;
constexpr Worlds ALL = (1U << WORLDS) - 1;

Literal literal(int dimacs) {
  return {static_cast<Variable>(std::abs(dimacs)) - 1,
          dimacs > 0 ? Sign::POSITIVE : Sign::NEGATIVE};
}

// A theory of 24 worlds: an atom is true in some of them, literals are consistent when they
// have a world in common, a clause holds when each world has one of its literals. It is
// lazy and moody: it propagates at times only, gives lemmas nobody needs, makes new atoms,
// says the same as a conflict or as a lemma, and now and then runs into a limit.
class WorldTheory final : public Theory {
 public:
  explicit WorldTheory(Random& random) : random_(random) {}

  std::map<Variable, Worlds> atoms;
  Worlds model = 0;  // the worlds left at the last consistent final check
  bool may_throw = false;

  [[nodiscard]] Worlds worlds(Literal l) const {
    const Worlds positive = atoms.at(l.variable());
    return l.is_negative() ? ALL & ~positive : positive;
  }
  [[nodiscard]] bool holds(LiteralSpan clause) const {
    Worlds covered = 0;
    for (const Literal l : clause)
      covered |= worlds(l);
    return covered == ALL;
  }

  void push_level() override { levels_.push_back(asserted_.size()); }
  void backtrack(std::uint32_t level) override {
    if (level >= levels_.size()) return;
    asserted_.resize(levels_[level]);
    levels_.resize(level);
  }
  void assert_literal(Literal l) override {
    EXPECT_EQ(std::count(asserted_.begin(), asserted_.end(), l), 0);
    asserted_.push_back(l);
  }
  void propagate(Consequences& consequences) override {
    if (may_throw && one_in(60)) throw opal::host::LimitReached("timeout");
    if (one_in(3)) return;
    const Worlds left = common(asserted_);
    if (one_in(8)) give_lemma(consequences);
    if (left == 0) return give_conflict(consequences);
    const auto known = atoms;
    for (const auto& [variable, positive] : known) {
      const Literal l(variable, (left & ~positive) == 0 ? Sign::POSITIVE : Sign::NEGATIVE);
      if ((left & ~worlds(l)) != 0 || consequences.value(l) == Value::TRUE || one_in(2))
        continue;
      implied_by_[l.code()] = asserted_;
      consequences.imply(l);
    }
  }
  FinalCheck final_check(Consequences& consequences) override {
    if (may_throw && one_in(20)) throw opal::host::LimitReached("timeout");
    const Worlds left = common(asserted_);
    const bool with_lemma = one_in(4) && give_lemma(consequences);
    if (left == 0) give_conflict(consequences);
    if (left == 0 || with_lemma) return FinalCheck::INCONSISTENT;
    model = left;
    return FinalCheck::CONSISTENT;
  }
  Tag explain(Literal l, Clause& clause) override {
    clause = negated_core(implied_by_.at(l.code()), worlds(l));
    clause.push_back(l);
    return 1;
  }

 private:
  bool one_in(unsigned n) { return random_() % n == 0; }
  [[nodiscard]] Worlds common(const Clause& literals) const {
    Worlds left = ALL;
    for (const Literal l : literals)
      left &= worlds(l);
    return left;
  }
  // The negations of a smallest part of `literals` that leaves no world outside `goal`.
  Clause negated_core(Clause literals, Worlds goal) {
    std::shuffle(literals.begin(), literals.end(), random_);
    for (std::size_t i = literals.size(); i-- > 0;) {
      Clause less = literals;
      less.erase(less.begin() + static_cast<std::ptrdiff_t>(i));
      if ((common(less) & ~goal) == 0) literals = less;
    }
    for (Literal& l : literals)
      l = ~l;
    return literals;
  }
  void give_conflict(Consequences& consequences) {
    const Clause clause = negated_core(asserted_, 0);
    if (one_in(2)) return consequences.add_conflict(clause, 2);
    consequences.add_lemma(clause, 3, one_in(2) ? Retention::KEPT : Retention::REDUCIBLE);
  }
  // A clause of old atoms and a new one.
  bool give_lemma(Consequences& consequences) {
    if (atoms.size() > 14) return false;
    Clause clause;
    Worlds covered = 0;
    for (const auto& [variable, positive] : atoms) {
      if (!one_in(4)) continue;
      clause.emplace_back(variable, one_in(2) ? Sign::POSITIVE : Sign::NEGATIVE);
      covered |= worlds(clause.back());
    }
    const Variable made = consequences.make_variable(VariableKind::ATOM);
    if (one_in(2)) consequences.suggest_phase(made, Sign::POSITIVE);
    atoms[made] = (ALL & ~covered) | (random_() & random_() & ALL);
    clause.emplace_back(made);
    consequences.add_lemma(clause, 4, Retention::KEPT);
    return true;
  }

  Random& random_;
  Clause asserted_;
  std::vector<std::size_t> levels_;
  std::map<std::uint32_t, Clause> implied_by_;  // by code: what was asserted then
};

// A search with clauses under activation literals, beside a list of the same clauses.
class Problem {
 public:
  explicit Problem(unsigned seed, Recording recording = Recording::ON)
      : random_(seed), theory_(random_), search_(recording) {
    search_.set_theory(&theory_);
    const unsigned plain = 2 + random_() % 4;
    for (unsigned i = 0; i < plain; i++)
      plain_.push_back(search_.make_variable());
    const unsigned atoms = random_() % 7;
    for (unsigned i = 0; i < atoms; i++) {
      const Variable atom = search_.make_variable(VariableKind::ATOM);
      theory_.atoms[atom] = random_() & ALL;
      usable_.push_back(atom);
    }
    usable_.insert(usable_.end(), plain_.begin(), plain_.end());
    theory_.may_throw = seed % 3 == 0;
  }

  // Changes the problem at random and solves it; what was answered, as a text.
  std::string step() {
    if (random_() % 3 == 0) {
      active_.push_back(search_.make_variable());
      plain_.push_back(active_.back());
    } else if (random_() % 3 == 0 && !active_.empty()) {
      search_.release_activation(active_.back());
      clauses_.push_back({~Literal(active_.back())});  // for brute force only
      active_.pop_back();
      if (random_() % 2 == 0) search_.remove_lemmas();
    }
    for (unsigned more = random_() % 9; more > 0; more--)
      add_clause();
    Clause assumptions;
    for (const Variable variable : active_)
      assumptions.emplace_back(variable);
    for (unsigned more = random_() % 4; more > 0; more--)
      assumptions.push_back(random_literal());
    EXPECT_TRUE(search_.is_normal());
    const Answer answer = search_.solve(assumptions);
    EXPECT_TRUE(search_.is_normal());
    switch (answer) {
      case Answer::SATISFIABLE: check_model(assumptions); return "sat";
      case Answer::UNSATISFIABLE: return "unsat" + std::to_string(check_core(assumptions));
      case Answer::UNKNOWN:
        EXPECT_TRUE(theory_.may_throw);
        EXPECT_EQ(search_.reason_unknown(), "timeout");
    }
    return "unknown";
  }
  [[nodiscard]] const Search& search() const { return search_; }

 private:
  Literal random_literal() {
    return {usable_[random_() % usable_.size()],
            random_() % 2 == 0 ? Sign::POSITIVE : Sign::NEGATIVE};
  }
  void add_clause() {
    Clause clause;
    for (unsigned size = random_() % 40 == 0 ? 1 : 2 + random_() % 3; size > 0; size--)
      clause.push_back(random_literal());
    if (!active_.empty()) clause.push_back(~Literal(active_[random_() % active_.size()]));
    search_.add_clause(clause, static_cast<Tag>(clauses_.size()));
    std::sort(clause.begin(), clause.end());
    clause.erase(std::unique(clause.begin(), clause.end()), clause.end());
    clauses_.push_back(clause);
  }
  // Whether some world and values of the plain variables make clauses and assumptions true.
  bool is_satisfiable(const Clause& assumptions) {
    std::vector<Clause> clauses = clauses_;
    for (const Literal l : assumptions)
      clauses.push_back({l});
    for (unsigned i = 0; i < WORLDS << plain_.size(); i++) {
      const auto is_true = [&](Literal l) {
        const auto atom = theory_.atoms.find(l.variable());
        if (atom != theory_.atoms.end()) return (theory_.worlds(l) >> i % WORLDS & 1) != 0;
        const auto place = std::find(plain_.begin(), plain_.end(), l.variable());
        return (i / WORLDS >> (place - plain_.begin()) & 1) != (l.is_negative() ? 1U : 0U);
      };
      if (std::all_of(clauses.begin(), clauses.end(), [&](const Clause& clause) {
            return std::any_of(clause.begin(), clause.end(), is_true);
          }))
        return true;
    }
    return false;
  }
  void check_model(const Clause& assumptions) {
    EXPECT_TRUE(is_satisfiable(assumptions));
    const auto is_true = [&](Literal l) { return search_.value(l) == Value::TRUE; };
    const auto is_tautology = [](const Clause& clause) {
      for (std::size_t i = 1; i < clause.size(); i++)
        if (clause[i] == ~clause[i - 1]) return true;
      return false;
    };
    // The theory need not hear of a decision that makes no clause true: in its model the
    // clauses hold all the same.
    for (unsigned world = 0; world < WORLDS; world++) {
      if ((theory_.model >> world & 1) == 0) continue;
      const auto holds = [&](Literal l) {
        const bool is_atom = theory_.atoms.count(l.variable()) != 0;
        return is_atom ? (theory_.worlds(l) >> world & 1) != 0 : is_true(l);
      };
      for (const Clause& clause : clauses_)
        EXPECT_TRUE(is_tautology(clause) ||
                    std::any_of(clause.begin(), clause.end(), holds));
    }
    for (const Literal l : assumptions)
      EXPECT_TRUE(is_true(l));
  }
  // The number of failed assumptions.
  std::size_t check_core(const Clause& assumptions) {
    const Clause failed = search_.failed_assumptions();
    for (const Literal l : failed)
      EXPECT_NE(std::find(assumptions.begin(), assumptions.end(), l), assumptions.end());
    EXPECT_FALSE(is_satisfiable(failed));
    if (search_.recording() == Recording::OFF) return failed.size();
    if (search_.final_clause() == NO_CLAUSE) {
      EXPECT_EQ(failed.size(), 2U);
      EXPECT_EQ(failed[0], ~failed[1]);
      return failed.size();
    }
    Clause claim;
    for (const Literal l : failed)
      claim.push_back(~l);
    LeafJudges judges;
    judges.is_input = [&](LiteralSpan leaf, Tag tag) {
      const Clause& clause = clauses_.at(tag);
      return std::equal(leaf.begin(), leaf.end(), clause.begin(), clause.end());
    };
    judges.is_lemma = [&](LiteralSpan leaf, Tag) { return theory_.holds(leaf); };
    const ClauseProof proof = search_.proof();
    EXPECT_EQ(fault_of_resolution_proof(proof, claim, judges), std::nullopt);
    for (const ClauseProof& smaller :
         {lower_units(proof, nullptr), recycle_pivots(proof, nullptr),
          reduced(proof, 1, nullptr)})
      EXPECT_EQ(fault_of_resolution_proof(smaller, claim, judges), std::nullopt);
    check_mutants(proof, claim, judges);
    return failed.size();
  }
  // One change to a proof, always for the worse: a pivot negated, the root's last step left
  // out, a leaf's last literal left out, a leaf without a judge who knows it.
  void check_mutants(const ClauseProof& proof, const Clause& claim,
                     const LeafJudges& judges) {
    const NodeIndex target = random_() % proof.size();
    ClauseProof mutant;
    bool changed = false;
    for (NodeIndex node = 0; node < proof.size(); node++) {
      if (proof.kind(node) != NodeKind::CHAIN) {
        const LiteralSpan all = proof.literals(node);
        const bool shorten = node == target && !all.empty();
        changed |= shorten;
        mutant.add_leaf(proof.kind(node), {all.begin(), all.size() - (shorten ? 1 : 0)},
                        proof.tag(node));
        continue;
      }
      mutant.begin_chain(proof.first(node));
      const std::size_t size = proof.steps(node).size();
      for (std::size_t i = 0; i < size; i++) {
        const Step step = proof.steps(node)[i];
        if (node == target && node == proof.root() && i + 1 == size)
          changed = true;
        else
          mutant.add_step(node == target && i == 0 ? ~step.pivot : step.pivot,
                          step.antecedent);
      }
      changed |= node == target && size > 0;
    }
    // Lemmas may hold without a literal; without a theory's word, none does.
    LeafJudges strict = judges;
    if (changed && proof.kind(target) == NodeKind::LEMMA) strict.is_lemma = nullptr;
    EXPECT_TRUE(!changed || fault_of_resolution_proof(mutant, claim, strict));
  }

  Random random_;
  WorldTheory theory_;
  Search search_;
  std::vector<Variable> plain_;   // these and the theory's atoms are all variables
  std::vector<Variable> usable_;  // those of clauses other than activation literals
  std::vector<Variable> active_;
  std::vector<Clause> clauses_;
};

TEST(Sat, AnswersModelsCoresAndProofsAgreeWithBruteForce) {
  std::map<std::string, int> answers;
  for (unsigned seed = 0; seed < 400; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Problem problem(seed, seed % 5 == 0 ? Recording::OFF : Recording::ON);
    for (int i = 0; i < 8; i++)
      answers[problem.step()]++;
    if (HasFailure()) return;
  }
  for (const char* answer : {"sat", "unsat0", "unsat1", "unsat2", "unknown"})
    EXPECT_GT(answers[answer], 20) << answer;
}

TEST(Sat, TheSameProblemIsSolvedInTheSameWay) {
  for (unsigned seed = 1; seed < 20; seed++) {
    Problem one(seed), two(seed);
    for (int i = 0; i < 8; i++) {
      EXPECT_EQ(one.step(), two.step());
      EXPECT_EQ(one.search().statistics().decisions, two.search().statistics().decisions);
      EXPECT_EQ(one.search().proof_bytes(), two.search().proof_bytes());
    }
  }
}

// n + 1 pigeons in n holes: enough conflicts to restart, reduce and move clauses.
void add_pigeons(Search& search, int n) {
  const auto in = [n](int pigeon, int hole) { return literal(pigeon * n + hole + 1); };
  for (int i = 0; i < n * (n + 1); i++)
    search.make_variable();
  for (int p = 0; p <= n; p++) {
    Clause somewhere;
    for (int h = 0; h < n; h++)
      somewhere.push_back(in(p, h));
    search.add_clause(somewhere);
    for (int h = 0; h < n; h++)
      for (int q = 0; q < p; q++)
        search.add_clause(Clause{~in(p, h), ~in(q, h)});
  }
}

const LeafJudges ANY_INPUT{[](LiteralSpan, Tag) { return true; }, nullptr};

// Checks the refutation, as it is and reduced; the steps that the reduction saves.
std::size_t check_refutation(const Search& search) {
  const ClauseProof proof = search.proof();
  EXPECT_EQ(fault_of_resolution_proof(proof, {}, ANY_INPUT), std::nullopt);
  const ClauseProof smaller = reduced(proof, 100, nullptr);
  EXPECT_EQ(fault_of_resolution_proof(smaller, {}, ANY_INPUT), std::nullopt);
  return proof.step_count() - smaller.step_count();
}

TEST(Sat, ProofsSurviveReductionsOfTheDatabase) {
  Search search(Recording::ON);
  add_pigeons(search, 7);
  EXPECT_EQ(search.solve(), Answer::UNSATISFIABLE);
  EXPECT_GT(search.statistics().reductions, 2U);
  EXPECT_TRUE(search.is_inconsistent());
  EXPECT_TRUE(search.is_normal());
  EXPECT_GT(check_refutation(search), 0U);
}

TEST(Sat, ReducedProofsOfRandomFormulasAreProofs) {
  for (unsigned seed = 0; seed < 30; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    Search search(Recording::ON);
    constexpr unsigned VARIABLES = 130;
    for (unsigned i = 0; i < VARIABLES; i++)
      search.make_variable();
    for (unsigned i = 0; i < 9 * VARIABLES / 2; i++) {
      Clause clause;
      for (int size = 0; size < 3; size++)
        clause.emplace_back(random() % VARIABLES,
                            random() % 2 == 0 ? Sign::POSITIVE : Sign::NEGATIVE);
      search.add_clause(clause);
    }
    if (search.solve() == Answer::UNSATISFIABLE) check_refutation(search);
    if (HasFailure()) return;
  }
}

TEST(Sat, LimitsEndTheSearchAndItCanGoOn) {
  opal::host::Limits limits;
  Search search(Recording::ON, &limits);
  add_pigeons(search, 6);
  limits.interrupt();
  EXPECT_EQ(search.solve(), Answer::UNKNOWN);
  EXPECT_EQ(search.reason_unknown(), "interrupted");
  limits.clear_interrupt();
  EXPECT_EQ(search.solve(), Answer::UNSATISFIABLE);
  limits.interrupt();
  EXPECT_THROW(static_cast<void>(reduced(search.proof(), 1, &limits)),
               opal::host::LimitReached);
}

TEST(Sat, LongRowsOfNodesNeedNoRecursion) {
  constexpr int LENGTH = 200000;
  Search search(Recording::ON);
  for (int i = 0; i < LENGTH; i++)
    search.make_variable();
  for (int i = 1; i < LENGTH; i++)
    search.add_clause(Clause{literal(-i), literal(i + 1)});
  search.add_clause(Clause{literal(-LENGTH)});
  search.add_clause(Clause{literal(1)});
  EXPECT_EQ(search.solve(), Answer::UNSATISFIABLE);
  EXPECT_GE(search.proof().size(), 2U * LENGTH - 10);
  check_refutation(search);
}

TEST(ProofStore, KeepsWhatIsHeldAndNothingElse) {
  Random random(1);
  opal::resolution::ProofStore store;
  std::map<ClauseId, Variable> held;  // clause {v} by id
  for (Variable v = 0; v < 60000; v++) {
    const ClauseId leaf = store.add_leaf(NodeKind::INPUT, Clause{Literal(v)}, v);
    held[leaf] = v;
    if (held.size() > 500) {
      const auto [start, unit] = *held.begin();  // {u} resolved with {~u, v}, a lemma
      Clause implication{~Literal(unit), Literal(v)};
      std::sort(implication.begin(), implication.end());
      const ClauseId step = store.add_leaf(NodeKind::LEMMA, implication, unit);
      const Chain chain{step, {{Literal(unit), start}}};
      const ClauseId made = store.add_chain(chain);
      store.release(step);
      store.release(start);
      held.erase(start);
      held[made] = v;
      const auto victim =
          std::next(held.begin(), static_cast<std::ptrdiff_t>(random() % held.size()));
      store.release(victim->first);
      held.erase(victim);
    }
    if (v % 10000 != 0) continue;
    ASSERT_TRUE(store.is_normal());
    for (const auto& [id, variable] : held)
      ASSERT_EQ(conclusion(store.extract(id)), Clause{Literal(variable)});
  }
  EXPECT_LT(store.bytes(), 1000000U);
  for (const auto& [id, variable] : held)
    store.release(id);
  EXPECT_EQ(store.size(), 0U);
}

TEST(ResolutionChecker, RefusesWhatIsNoResolution) {
  struct Case {
    const char* fault;
    std::vector<std::vector<int>> leaves;
    std::vector<std::pair<int, NodeIndex>> steps;  // of a chain from leaf 0
    std::vector<int> claim;
  };
  const Case cases[] = {
      {nullptr, {{1, 2}, {-1}, {-2}}, {{-1, 1}, {-2, 2}}, {}},
      {nullptr, {{1, 2}, {-1}}, {{-1, 1}}, {2, 3}},
      {"proves", {{1, 2}, {-1}}, {{-1, 1}}, {}},
      {"clashes", {{1, 2}, {-1, -2}}, {{-1, 1}}, {2, -2}},
      {"no pivot", {{1, 2}, {2}}, {{-1, 1}}, {2}},
      {"no negated pivot", {{2}, {1}}, {{1, 1}}, {2}},
      {"no negated pivot", {{1, 2}, {-1}, {-1}}, {{-1, 1}, {-1, 2}}, {2}},
      {"its negation", {{1, -1}, {-1}}, {{-1, 1}}, {-1}},
  };
  for (const Case& c : cases) {
    ClauseProof proof;
    const auto clause = [](const std::vector<int>& numbers) {
      Clause result;
      for (const int number : numbers)
        result.push_back(literal(number));
      return result;
    };
    for (const auto& leaf : c.leaves)
      proof.add_leaf(NodeKind::INPUT, clause(leaf), 0);
    proof.begin_chain(0);
    for (const auto& [pivot, antecedent] : c.steps)
      proof.add_step(literal(pivot), antecedent);
    const auto fault = fault_of_resolution_proof(proof, clause(c.claim), ANY_INPUT);
    ASSERT_EQ(fault.has_value(), c.fault != nullptr) << fault.value_or("accepted");
    EXPECT_TRUE(!fault || fault->find(c.fault) != std::string::npos) << *fault;
  }
  EXPECT_NE(fault_of_resolution_proof(ClauseProof(), {}, ANY_INPUT), std::nullopt);
}

}  // namespace
