// The wrong interpolants that broken promises about refutations of formulas give, and that
// the checker refuses them; docs/proofs.md works them out.

#include "opal/checker/formula_checker.h"
#include "opal/interpolate/labelled/labelled_system.h"
#include "tests/interpolate/random_formulas.h"

namespace opal::host {
namespace {

using resolution::Literal;
using resolution::Meaning;
using resolution::NodeKind;
using resolution::Sign;
using Places = std::vector<std::size_t>;

class BrokenPromises : public FormulaTest {
 protected:
  Literal yes(resolution::Variable v) { return Literal(v); }
  Literal no(resolution::Variable v) { return Literal(v, Sign::NEGATIVE); }
  void atoms(const Atoms& of) {
    for (const Term_* atom : of)
      r.meanings.push_back({Meaning::Kind::ATOM, atom, nullptr, 0});
  }
  void input(const std::vector<Literal>& clause, resolution::Tag tag) {
    r.proof.add_leaf(NodeKind::INPUT, clause, tag);
  }
  // Starts with node 0 and resolves with the nodes named.
  void chain(const std::vector<std::pair<Literal, resolution::NodeIndex>>& steps) {
    r.proof.begin_chain(0);
    for (const auto& [pivot, node] : steps)
      r.proof.add_step(pivot, node);
  }
  void assertions(const Atoms& formulas, const Places& groups, std::size_t count) {
    task.formulas = formulas;
    task.group_of = groups;
    task.first = Grouping::sequence(count);
  }
  // The strong interpolants with these places, without any check. A refutation without
  // lemmas, or whose lemmas are all A's.
  const Term_* interpolant(const Places& places, std::size_t root = 0) {
    auto symbols = std::make_shared<Grouping>(task.first);
    for (std::size_t f = 0; f < task.formulas.size(); ++f)
      symbols->add_symbols(task.formulas[f], task.group_of[f]);
    const AtomPlaces of_atoms(r, symbols, task.group_of, places);
    LemmaProofs proofs(t, mapper, limits, r);
    la::Solver solver(mapper, limits);
    Interpolation engine(t, solver, mapper, limits);
    LemmaInterpolants lemmas(t, mapper, engine, proofs, of_atoms, {});
    const LabelledSystem system(r, of_atoms, nullptr, Strength::STRONG, root);
    for (const auto lemma : system.lemmas())
      lemmas.prepare(lemma, {root});
    FormulaGraph graph(t);
    return graph.term(system.interpolant(lemmas, graph));
  }
  std::string refusal() {
    const auto prove = [&](const Atoms& denials) {
      return LemmaProofs(t, mapper, limits, r).refuted(denials);
    };
    return checker::fault_of_refutation(r, task.formulas, t, mapper, prove).value_or("");
  }
  std::string refusal(const Places& places) {
    return checker::fault_of_places(r, task.formulas, {task.first, task.group_of, places})
        .value_or("");
  }
  void expect_in(const std::string& part, const std::string& whole) {
    EXPECT_NE(whole.find(part), std::string::npos) << whole;
  }

  resolution::ClauseRefutation r;
  const Term_* p = t.make_variable("p", Sort::BOOL);
  const Term_* q = t.make_variable("q", Sort::BOOL);
};

TEST_F(BrokenPromises, TwoPivots) {
  assertions({lor(p, q), lor(lnot(p), lnot(q))}, {0, 1}, 2);
  atoms({p, q});
  input({yes(0), yes(1)}, 0);
  input({no(0), no(1)}, 1);
  chain({{no(0), 1}});
  EXPECT_TRUE(satisfiable({interpolant({1, 1}), task.formulas[1]}));
  expect_in("clashes besides the pivot", refusal());
}

TEST_F(BrokenPromises, ClauseOfAnotherAssertion) {
  assertions({p, lnot(p)}, {0, 1}, 2);
  atoms({p});
  input({yes(0)}, 1);
  input({no(0)}, 1);
  chain({{no(0), 1}});
  EXPECT_EQ(interpolant({1}), t.true_term());
  expect_in("does not follow from assertion 1", refusal());
}

TEST_F(BrokenPromises, LemmaThatDoesNotHold) {
  assertions({leq(x, num(1)), leq(num(0), x)}, {0, 1}, 2);
  atoms(task.formulas);
  r.proof.add_leaf(NodeKind::LEMMA, std::vector<Literal>{no(0), no(1)}, 0);
  input({yes(0)}, 0);
  input({yes(1)}, 1);
  chain({{yes(0), 1}, {yes(1), 2}});
  EXPECT_THROW(interpolant({0, 1}), NotInterpolated);
  expect_in("were not refuted", refusal());
}

TEST_F(BrokenPromises, AuxiliaryOfTwoAssertions) {
  const Term_* const both = land(leq(x, num(0)), leq(y, num(0)));
  const Term_* const low = leq(z, num(0));
  const Term_* const high = leq(num(1), z);
  assertions({lor(both, low), high, lnot(both)}, {0, 0, 1}, 2);
  atoms({p, low, high});
  input({yes(0), yes(1)}, 0);
  r.proof.add_leaf(NodeKind::LEMMA, std::vector<Literal>{no(1), no(2)}, 0);
  input({yes(2)}, 1);
  input({no(0)}, 2);
  chain({{no(1), 1}, {yes(2), 2}, {no(0), 3}});
  EXPECT_EQ(interpolant({1, 0, 0}), p);
  r.meanings[0] = {Meaning::Kind::AUXILIARY, nullptr, both, 0};
  expect_in("the auxiliary v0 of assertion 0 is in node 3", refusal());
}

TEST_F(BrokenPromises, PlaceTooLow) {
  assertions({p, lnot(p)}, {0, 1}, 2);
  atoms({p});
  input({yes(0)}, 0);
  input({no(0)}, 1);
  chain({{no(0), 1}});
  EXPECT_EQ(interpolant({0}), t.true_term());
  EXPECT_EQ(interpolant({1}), p);
  expect_in("a clause of group 2, which is not below", refusal(Places{0}));
  EXPECT_EQ(refusal(Places{1}) + refusal(), "");
}

TEST_F(BrokenPromises, PlaceTooHigh) {
  const Term_* const s = t.make_variable("s", Sort::BOOL);
  assertions({q, lor(lnot(q), s), lnot(s)}, {0, 0, 1}, 2);
  atoms({q, s});
  input({yes(0)}, 0);
  input({no(0), yes(1)}, 1);
  input({no(1)}, 2);
  chain({{no(0), 1}, {no(1), 2}});
  EXPECT_FALSE(satisfiable({interpolant({1, 1}), lnot(q)}));
  expect_in("which has no q", refusal(Places{1, 1}));
  EXPECT_EQ(refusal(Places{0, 1}) + refusal(), "");
}

TEST_F(BrokenPromises, PlacesThatDifferBetweenPartitions) {
  assertions({p, lor(lnot(p), q), lor(lnot(p), lnot(q))}, {0, 1, 2}, 3);
  atoms({p, q});
  input({yes(0)}, 0);
  input({no(0), yes(1)}, 1);
  input({no(0), no(1)}, 2);
  chain({{no(0), 1}, {no(1), 2}, {yes(0), 0}});
  EXPECT_EQ(interpolant({2, 2}), p);
  EXPECT_FALSE(satisfiable({interpolant({2, 2}, 1), task.formulas[2]}));
  EXPECT_TRUE(satisfiable({interpolant({1, 2}, 1), task.formulas[2]}));
  expect_in("a clause of group 3, which is not below", refusal(Places{1, 2}));
  EXPECT_EQ(refusal(Places{2, 2}) + refusal(), "");
}

TEST_F(BrokenPromises, LiteralOfALevel) {
  const Term_* const k = t.make_variable(".level", Sort::BOOL);
  assertions({p, lnot(p)}, {0, 1}, 2);
  atoms({p, k});
  input({yes(0), no(1)}, 0);
  input({no(0)}, 1);
  chain({{no(0), 1}});
  expect_in("proves {-v1}", refusal());
  input({yes(1)}, 1);
  chain({{no(0), 1}, {yes(1), 3}});
  EXPECT_FALSE(satisfiable({lnot(interpolant({1, 1})), lnot(k)}));
  EXPECT_TRUE(satisfiable({interpolant({1, 1}), lnot(k), lnot(p)}));
  expect_in("does not follow from assertion 1", refusal());
}

}  // namespace
}  // namespace opal::host
