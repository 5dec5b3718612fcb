// What is asked of the engine about integer proofs. Interpolants of random ones, in all
// modes and styles, are judged by outside solvers in tests/random.

#include "opal/interpolate/cut_styles.h"
#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/trimming.h"
#include "opal/proofs/branch_steps.h"
#include "opal/proofs/farkas.h"
#include "opal/terms/print/printer.h"
#include "tests/host/proofs.h"

namespace opal::host {
namespace {

using Groups = std::vector<Atoms>;

class IntegerInterpolation : public Proofs {
 protected:
  int id(const Term_* atom) { return mapper.constraint(atom); }

  // i is a multiple of m, w is i + 1, and two more than a multiple of m: the atoms of three
  // groups, and the refutation by two cuts that each have a premise of every group.
  Groups remainders(long m) {
    const Term_* const a = times(m, j);
    const Term_* const b = plus(times(m, v), 2);
    return {{leq(a, i), leq(i, a)}, {eq(plus(i, 1), w)}, {leq(b, w), leq(w, b)}};
  }
  ProofRef remainders_proof(long m) {
    const Groups g = remainders(m);
    const int link = id(g[1][0]);
    const QNumber sign = mapper.constraint_term(link).vars.coeff(mapper.variable(i));
    const auto half = [&](std::size_t k) {
      return cut({link, id(g[2][k]), id(g[0][k])}, {k == 0 ? sign : sign.neg(), m - 1}, m);
    };
    return ProofRef(comb(1, half(0), 1, half(1)));
  }

  static std::shared_ptr<const Grouping> grouping_of(const Groups& groups) {
    auto result = std::make_shared<Grouping>(Grouping::sequence(groups.size()));
    for (std::size_t g = 0; g < groups.size(); ++g)
      for (const Term_* atom : groups[g])
        result->add(atom, g);
    return result;
  }

  std::string refusal(const Groups& groups, Proof* refutation) {
    return message_of([&] {
      interpolation.interpolants(refutation, {grouping_of(groups), {}});
    });
  }

  const Term_* v = integer("v");
  const Term_* w = integer("w");
  la::Solver solver{mapper, limits};
  Interpolation interpolation{t, solver, mapper, limits};
};

TEST_F(IntegerInterpolation, CombinationsDecideTheStyle) {
  for (const long m : {2, 3, 256, 300}) {
    const Groups g = remainders(m);
    const ProofRef proof = remainders_proof(m);
    const auto grouped = grouping_of({g[0], joined(g[1], g[2])});
    EXPECT_EQ(cut_combinations({proof.get()}, *grouped, 0, mapper, QNumber(1000)),
              QNumber(2 * m));
    const auto before = interpolation.combinations_visited();
    const auto size = [&](Cuts cuts) {
      return interpolation.interpolants(proof.get(), {grouped, {}, Mode::SUM, cuts}).size;
    };
    const std::size_t best = size(Cuts::AUTO);
    const auto visited = interpolation.combinations_visited() - before;
    EXPECT_EQ(visited, m == 300 ? 0U : 2U * static_cast<unsigned>(m));
    const std::size_t modular = size(Cuts::MODULAR), floor = size(Cuts::FLOOR);
    EXPECT_EQ(best, m == 300 ? floor : std::min(modular, floor));
  }
  const ProofRef proof = remainders_proof(2);
  const auto of = [&](Cuts cuts) {
    const InterpolationTask task{grouping_of(remainders(2)), {}, Mode::AUTO, cuts};
    return interpolation.interpolants(proof.get(), task).cuts;
  };
  EXPECT_EQ(of(Cuts::AUTO), Cuts::FLOOR);
  EXPECT_THROW(of(Cuts::MODULAR), UnfitStyle);
}

TEST_F(IntegerInterpolation, EqualitySubProofsAreTrimmedForAllPartitions) {
  const QNumber half = QNumber(1) / QNumber(2);
  const Term_ *p = integer("p"), *q = integer("q");
  const Term_* const even = eq(i, times(2, j));
  const Term_* const odd = eq(i, plus(times(2, v), 1));
  const Term_* const fraction = eq(times(2, p), plus(times(2, i), 1));
  const Term_* const same = eq(i, q);
  const Term_* const zero = eq(q, num(0));
  const auto all = [&] {
    return equalities({id(fraction), id(same), id(zero)}, {half, 1, 1});
  };
  const struct {
    Groups groups;
    ProofRef proof;
    std::size_t kept;
  } cases[] = {
      {{{even}, {odd}}, ProofRef(equalities({id(even), id(odd)}, {half, half.neg()})), 2},
      {{{fraction}, {same}, {zero}}, ProofRef(all()), 1},
      {{{zero}, {same}, {fraction}}, ProofRef(all()), 1},
      {{{same}, {fraction}, {zero}}, ProofRef(all()), 1},
      {{{same, fraction}, {zero}}, ProofRef(all()), 2}};
  for (const auto& c : cases) {
    const ProofRef part = trimmed(*c.proof, *grouping_of(c.groups), mapper);
    EXPECT_EQ(proof_constraints(*part).size(), c.kept);
    EXPECT_EQ(part.get() == c.proof.get(), c.kept == proof_constraints(*c.proof).size());
  }
}

// p is shared in one partition of a sequence, and local to A in the other.
TEST_F(IntegerInterpolation, BranchesHaveTheColourOfTheirSymbols) {
  const Term_ *p = integer("p"), *r = integer("r"), *s1 = plus(w, 1);
  const Groups g = {
      {leq(s1, times(2, p))}, {leq(times(2, p), s1)}, {leq(w, num(0)), leq(num(0), w)}};
  const auto leaf = [&](int branch, const Term_* a, const Term_* b) {
    return comb(1, hyp(id(b)), 1, comb(2, hyp(branch), 1, hyp(id(a))));
  };
  const ProofRef proof(branches(p, 0, leaf(below(p, 0), g[0][0], g[2][1]),
                                leaf(above(p, 1), g[1][0], g[2][0])));
  for (const Groups& groups : {g, Groups{g[2], g[1], g[0]}}) {
    const auto answer =
        interpolation.interpolants(proof.get(), {grouping_of(groups), {}, Mode::SUM});
    const bool first = groups[0] == g[0];
    EXPECT_EQ(term_text(answer.terms[0]), first ? "(<= (+ w 1) (* 2 p))" : "(= w 0)");
    EXPECT_EQ(term_text(answer.terms[1]),
              first ? "(not (= w 0))" : "(and (<= 0 w) (<= p 0))");
  }

  const LinearTerm left = bound(LinearTerm::LEQ, p, 0, 1, r);
  const LinearTerm right = bound(LinearTerm::GEQ, p, 1, 1, r);
  const int l = mapper.branch_constraint(left), u = mapper.branch_constraint(right);
  const Groups sides = {{leq(p, num(3))}, {leq(r, num(3))}};
  const ProofRef mixed(node(comb(1, hyp(l), 1, hyp(id(sides[0][0]))),
                            comb(1, hyp(u), 1, hyp(id(sides[1][0]))), l, u, left, right));
  EXPECT_EQ(refusal(sides, mixed.get()),
            "the branch (<= (+ p r) 0) mixes symbols of two sides");
  EXPECT_EQ(refusal({g[0], g[1]}, mixed.get()),
            "the branch (<= (+ p r) 0) has a symbol of no group");
  const Term_* const atom = mapper.constraint_atom(below(p, 0));
  EXPECT_EQ(refusal({joined(g[0], {atom}), joined(g[1], g[2])}, proof.get()),
            "the branch (<= p 0) is an asserted atom");
}

TEST_F(IntegerInterpolation, AContradictorySideIsAnsweredByATruthValue) {
  const Groups g = remainders(2);
  const ProofRef proof = remainders_proof(2);
  const Atoms rest = joined(g[1], g[2]), more = {leq(i, num(3)), leq(num(5), i)};
  for (const bool first : {true, false})
    for (const Cuts cuts : {Cuts::MODULAR, Cuts::FLOOR}) {
      const Groups groups = {first ? joined(g[0], more) : g[0],
                             first ? rest : joined(rest, more)};
      const auto answer = interpolation.interpolants(
          proof.get(), {grouping_of(groups), groups, Mode::SUM, cuts});
      EXPECT_EQ(answer.terms.front(), first ? t.false_term() : t.true_term());
    }
}

}  // namespace
}  // namespace opal::host
