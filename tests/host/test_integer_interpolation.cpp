// What is asked of the engine about integer proofs: hand-made proofs, their interpolants
// judged at all points of a box.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "opal/host/cut_styles.h"
#include "opal/host/evaluator.h"
#include "opal/host/farkas.h"
#include "opal/host/integer_steps.h"
#include "opal/host/interpolation.h"
#include "opal/host/printer.h"
#include "opal/host/trimming.h"
#include "opal/host/verification.h"
#include "opal/interfaces/laz_proof.h"

namespace opal::host {
namespace {

using proof::ProofRef;
using Atoms = std::vector<const Term_*>;
using Groups = std::vector<Atoms>;

class IntegerInterpolation : public testing::Test {
 protected:
  const Term_* var(const char* name) { return terms.make_variable(name, Sort::INT); }
  const Term_* number(int n) { return terms.make_number(n); }
  const Term_* times(int n, const Term_* t) { return terms.make_times(number(n), t); }
  const Term_* plus(const Term_* t, int n) { return terms.make_plus(t, number(n)); }

  const Term_* leq(const Term_* a, const Term_* b) { return terms.make_leq(a, b); }
  const Term_* eq(const Term_* a, const Term_* b) { return terms.make_equal(a, b); }

  ProofRef combination(const std::vector<std::pair<int, ProofRef>>& leaves) {
    ProofRef sum = leaves.front().second;
    EXPECT_EQ(leaves.front().first, 1);
    for (std::size_t i = 1; i < leaves.size(); ++i) {
      sum = ProofRef(new la::LaComb(new QNumber(leaves[i].first),
                                    ProofRef(leaves[i].second).take(), nullptr, sum.take(),
                                    0, 0, 0));
    }
    return sum;
  }
  ProofRef hyp(const Term_* atom) {
    return ProofRef(new la::LaHyp(mapper.constraint(atom), 0));
  }
  ProofRef eq_proof(const std::vector<std::pair<QNumber, const Term_*>>& summands) {
    std::vector<int> ids;
    std::vector<QNumber> multipliers;
    for (const auto& [multiplier, atom] : summands) {
      ids.push_back(mapper.constraint(atom));
      multipliers.push_back(multiplier);
    }
    return ProofRef(new laz::LaZEqSubProof(ids, multipliers));
  }
  // The branch t <= c or t >= c + 1, each case with the hypothesis on its own atom.
  ProofRef branch(const la::Equation& t, int c,
                  const std::function<ProofRef(ProofRef, bool)>& refute) {
    const la::LinearTerm left(la::LinearTerm::LEQ, t, QNumber(c));
    const la::LinearTerm right(la::LinearTerm::GEQ, t, QNumber(c + 1));
    const int left_id = mapper.branch_constraint(left);
    const int right_id = mapper.branch_constraint(right);
    const auto leaf = [](int id) { return ProofRef(new la::LaHyp(id, 0)); };
    return ProofRef(new laz::LaZInternalBBProof(refute(leaf(left_id), true).take(),
                                                refute(leaf(right_id), false).take(),
                                                left_id, right_id, left, right));
  }

  // x is a multiple of m, w is x + 1, and two more than a multiple of m: the atoms of three
  // groups, and the refutation by two cuts that each have a premise of every group.
  Groups remainders(int m) {
    const Term_* const a = times(m, var("y"));
    const Term_* const b = plus(times(m, var("z")), 2);
    return {{leq(a, var("x")), leq(var("x"), a)},
            {eq(plus(var("x"), 1), var("w"))},
            {leq(b, var("w")), leq(var("w"), b)}};
  }
  ProofRef remainders_proof(int m) {
    const Groups g = remainders(m);
    const int link = mapper.constraint(g[1][0]);
    const QNumber sign = mapper.constraint_term(link).vars.coeff(mapper.variable(var("x")));
    std::vector<std::pair<int, ProofRef>> cuts;
    for (const std::size_t i : {0U, 1U}) {
      std::vector<int> ids = {link, mapper.constraint(g[2][i]), mapper.constraint(g[0][i])};
      std::vector<QNumber> multipliers = {i == 0 ? sign : sign.neg(), QNumber(m - 1)};
      cuts.emplace_back(1, ProofRef(new laz::LaZTighteningProof(
                               ids, multipliers, QNumber(m), mapper.cut_variable())));
    }
    return combination(cuts);
  }

  static std::shared_ptr<const Grouping> grouping_of(const Groups& groups) {
    auto grouping = std::make_shared<Grouping>(Grouping::sequence(groups.size()));
    for (std::size_t g = 0; g < groups.size(); ++g)
      for (const Term_* atom : groups[g])
        grouping->add(atom, g);
    return grouping;
  }

  // Every step of a sequence holds at all points of a box, and symbols are shared.
  void check(const Groups& groups, const Interpolants& answer) {
    const auto grouping = grouping_of(groups);
    const InterpolationAnswer full{grouping.get(), groups, {}, answer.terms};
    for (const auto& foreign : foreign_symbols(full))
      EXPECT_TRUE(foreign.empty());
    constexpr int WIDTH = 7;  // of the box, around 0
    for (const auto& step : verification_steps(terms, full)) {
      const Atoms variables = variables_of(step);
      for (int point = 0, rest = 0; rest == 0; ++point) {
        Model model;
        rest = point;
        for (const Term_* v : variables) {
          model[v] = QNumber(rest % WIDTH - WIDTH / 2);
          rest /= WIDTH;
        }
        const bool all = std::all_of(step.begin(), step.end(),
                                     [&](const Term_* t) { return holds(t, model); });
        ASSERT_FALSE(all) << term_text(answer.terms.front()) << " in mode "
                          << to_string(answer.mode) << ", cuts " << to_string(answer.cuts);
      }
    }
  }

  // In all modes and styles that fit.
  void check_all(const Groups& groups, const ProofRef& proof) {
    const bool floor_only = groups.size() > 2 && !cuts_in(*proof).empty();
    for (const Mode mode : {Mode::SUM, Mode::CONJ, Mode::DUAL, Mode::AUTO})
      for (const Cuts cuts : {Cuts::MODULAR, Cuts::FLOOR, Cuts::AUTO})
        for (const bool raw : {false, true}) {
          const InterpolationTask task{grouping_of(groups), {}, mode, cuts, raw};
          if (floor_only && cuts == Cuts::MODULAR) {
            EXPECT_THROW(interpolation.interpolants(proof.get(), task), UnfitStyle);
            continue;
          }
          const Interpolants answer = interpolation.interpolants(proof.get(), task);
          EXPECT_TRUE(!floor_only || answer.cuts == Cuts::FLOOR);
          check(groups, answer);
        }
  }

  Terms terms;
  Limits limits;
  Mapper mapper{terms, limits};
  la::Solver solver{mapper, limits};
  Interpolation interpolation{terms, solver, mapper, limits};
};

Atoms joined(const Atoms& a, const Atoms& b) {
  Atoms result(a);
  result.insert(result.end(), b.begin(), b.end());
  return result;
}

TEST_F(IntegerInterpolation, CutsOfAllGroupsKeepWhatTheirValuesSay) {
  for (const int m : {2, 3}) {
    const Groups g = remainders(m);
    const ProofRef proof = remainders_proof(m);
    for (const Groups& groups :
         {Groups{g[0], joined(g[1], g[2])}, Groups{joined(g[0], g[1]), g[2]},
          Groups{g[2], joined(g[0], g[1])}, g, Groups{g[2], g[1], g[0]},
          Groups{g[1], g[0], g[2]}})
      check_all(groups, proof);
  }
}

TEST_F(IntegerInterpolation, CombinationsDecideTheStyle) {
  for (const int m : {2, 3, 30, 40}) {
    const Groups g = remainders(m);
    const Groups groups{g[0], joined(g[1], g[2])};
    const ProofRef proof = remainders_proof(m);
    const auto grouping = grouping_of(groups);
    EXPECT_EQ(cut_combinations({proof.get()}, *grouping, 0, mapper, QNumber(100)),
              QNumber(2 * m));
    const auto before = interpolation.combinations_visited();
    const auto size = [&](Cuts cuts) {
      return interpolation.interpolants(proof.get(), {grouping, {}, Mode::SUM, cuts}).size;
    };
    const std::size_t best = size(Cuts::AUTO);
    const auto visited = interpolation.combinations_visited() - before;
    EXPECT_EQ(visited, m == 40 ? 0U : 2U * static_cast<unsigned>(m));
    const std::size_t modular = size(Cuts::MODULAR), floor = size(Cuts::FLOOR);
    EXPECT_EQ(best, m == 40 ? floor : std::min(modular, floor));
  }
}

TEST_F(IntegerInterpolation, EqualitySubProofsAreTrimmedForAllPartitions) {
  const QNumber half = QNumber(1) / QNumber(2), third = QNumber(1) / QNumber(3);
  const Term_* const even = eq(var("x"), times(2, var("y")));
  const Term_* const odd = eq(var("x"), plus(times(2, var("z")), 1));
  const Term_* const multiple =
      eq(terms.make_plus(times(3, var("x")), times(-6, var("y"))), var("z"));
  const Term_* const one_more = eq(var("z"), plus(times(3, var("w")), 1));
  const Term_* const fraction = eq(times(2, var("p")), plus(times(2, var("x")), 1));
  const Term_* const same = eq(var("x"), var("q"));
  const Term_* const zero = eq(var("q"), number(0));
  struct Case {
    Groups groups;
    ProofRef proof;
    std::size_t kept;
  };
  const std::vector<std::pair<QNumber, const Term_*>> all = {
      {half, fraction}, {QNumber(1), same}, {QNumber(1), zero}};
  const std::vector<Case> cases = {
      {{{even}, {odd}}, eq_proof({{half, even}, {half.neg(), odd}}), 2},
      {{{multiple}, {one_more}}, eq_proof({{third, multiple}, {third, one_more}}), 2},
      {{{multiple}, {same}, {one_more}},
       eq_proof({{third, multiple}, {third, one_more}}),
       2},
      {{{fraction}, {same}, {zero}}, eq_proof(all), 1},
      {{{zero}, {same}, {fraction}}, eq_proof(all), 1},
      {{{same}, {fraction}, {zero}}, eq_proof(all), 1},
      {{{same, fraction}, {zero}}, eq_proof(all), 2}};
  for (const Case& c : cases) {
    const ProofRef part = trimmed(*c.proof, *grouping_of(c.groups), mapper);
    EXPECT_EQ(proof_constraints(*part).size(), c.kept);
    EXPECT_EQ(part.get() == c.proof.get(), c.kept == proof_constraints(*c.proof).size());
    check_all(c.groups, c.proof);
  }
}

TEST_F(IntegerInterpolation, BranchesHaveTheColourOfTheirSymbols) {
  const Term_* const s1 = plus(var("s"), 1);
  const Groups g = {{leq(s1, times(2, var("p")))},
                    {leq(times(2, var("p")), s1)},
                    {leq(var("s"), number(0)), leq(number(0), var("s"))}};
  la::Equation p;
  p.add_var(QNumber(1), mapper.variable(var("p")));
  const ProofRef proof = branch(p, 0, [&](ProofRef leaf, bool left) {
    return combination(
        {{1, hyp(g[left ? 0 : 1][0])}, {2, std::move(leaf)}, {1, hyp(g[2][left ? 1 : 0])}});
  });
  // p is shared in one partition of the first sequence, and local to A in the other.
  for (const Groups& groups :
       {g, Groups{g[2], g[1], g[0]}, Groups{joined(g[0], g[1]), g[2]},
        Groups{g[0], joined(g[1], g[2])}})
    check_all(groups, proof);

  const auto refusal = [&](const Groups& groups, const ProofRef& refutation) {
    try {
      interpolation.interpolants(refutation.get(), {grouping_of(groups), {}});
    } catch (const std::logic_error& e) {
      return std::string(e.what());
    }
    return std::string();
  };
  la::Equation mixed = p;
  mixed.add_var(QNumber(1), mapper.variable(var("r")));
  const Groups sides = {{leq(var("p"), number(3))}, {leq(var("r"), number(3))}};
  const ProofRef uncoloured = branch(mixed, 0, [&](ProofRef leaf, bool left) {
    return combination({{1, std::move(leaf)}, {1, hyp(sides[left ? 0 : 1][0])}});
  });
  EXPECT_EQ(refusal(sides, uncoloured),
            "the branch (<= (+ p r) 0) mixes symbols of two sides");
  EXPECT_EQ(refusal({g[0], g[1]}, uncoloured),
            "the branch (<= (+ p r) 0) has a symbol of no group");
  const int left = dynamic_cast<const laz::LaZInternalBBProof&>(*proof).left_id;
  EXPECT_EQ(
      refusal({joined(g[0], {mapper.constraint_atom(left)}), joined(g[1], g[2])}, proof),
      "the branch (<= p 0) is an asserted atom");
}

TEST_F(IntegerInterpolation, AContradictorySideIsAnsweredByATruthValue) {
  const Groups g = remainders(2);
  const ProofRef proof = remainders_proof(2);
  const Atoms more = {leq(var("x"), number(3)), leq(number(5), var("x"))};
  for (const bool first : {true, false}) {
    const Atoms rest = joined(g[1], g[2]);
    const Groups groups = {first ? joined(g[0], more) : g[0],
                           first ? rest : joined(rest, more)};
    for (const Cuts cuts : {Cuts::MODULAR, Cuts::FLOOR}) {
      const auto answer = interpolation.interpolants(
          proof.get(), {grouping_of(groups), groups, Mode::SUM, cuts});
      EXPECT_EQ(answer.terms.front(), first ? terms.false_term() : terms.true_term());
    }
  }
}

TEST_F(IntegerInterpolation, UndecidedQuestionsGoToTheNextOutsideSolver) {
  const Atoms contradiction = {eq(times(2, var("x")), number(1))};
  const std::string undecided = "sh -c 'cat >/dev/null; echo unsat; echo unknown'";
  for (const char* next : {"z3 -in -smt2", "cvc5 --lang smt2 --incremental -q"}) {
    const auto result =
        ask_outside_solvers(undecided + ";" + next, {contradiction, contradiction}, limits);
    EXPECT_EQ(result.answers, std::vector<std::string>({"unsat", "unsat"}));
    EXPECT_EQ(result.handed_on, 1U);
  }
  EXPECT_THROW(ask_outside_solvers(undecided + "; true", {{}, contradiction}, limits),
               OutsideSolverError);
}

}  // namespace
}  // namespace opal::host
