// Partial interpolants of random proofs, in all modes and styles, judged by outside solvers
// step by step.

#include "opal/explain/partial_interpolants.h"
#include "opal/session/session.h"
#include "opal/terms/print/infix.h"
#include "opal/terms/print/printer.h"
#include "opal/verify/verification.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

using Side = ProofNotes::Side;

class PartialInterpolantsTest : public HostTest {
 protected:
  // A conjunction of random atoms that has no solution, a half of it in each group.
  void draw_problem(const Atoms& variables) {
    std::vector<Atoms> groups;
    do {
      solver = std::make_unique<la::Solver>(mapper, limits);
      groups.assign(2, {});
      for (int k = 0; k < 5; ++k) {
        const Term_* sum = times(pick(1, 4), any(variables));
        for (long n = pick(1, 2); n > 0; --n)
          sum = plus(sum, times(pick(-4, 4), any(variables)));
        const int relations[] = {LT, LEQ, LEQ, GEQ, GEQ, GT, EQ, NEQ};
        const Term_* const atom = related(relations[pick(0, 7)], sum, num(pick(-5, 5)));
        groups[random() % 2].push_back(atom);
        solver->assert_constraint(mapper.constraint(atom));
      }
    } while (solver->check() != la::Solver::Verdict::UNSAT);
    grouping = std::make_shared<Grouping>(Grouping::sequence(2));
    for (const std::size_t g : {0U, 1U})
      for (const Term_* atom : groups[g])
        grouping->add(atom, g);
  }

  // The hypotheses of a sub-proof that belong to a side.
  const Term_* part(const ExternalProof& p, const ProofNotes& notes, Side side) {
    const Term_* result = t.true_term();
    const auto add = [&](const ExternalProof* leaf, const Term_* fact) {
      const auto found = notes.sides.find(leaf);
      if (found != notes.sides.end() && found->second == side) result = land(result, fact);
    };
    for (const ExternalProof* step : nodes_of(p)) {
      const auto& children = step->children();
      if (step->rule() == std::string("la-hyp-eq")) {
        const Term_* const atom = children[1]->term();
        const bool at_most = Terms::symbol_of(children[0]->term()).value.sign() < 0;
        const bool strict = Terms::kind_of(atom) == Kind::NEQ;
        const Term_ *a = atom->arg(at_most ? 0 : 1), *b = atom->arg(at_most ? 1 : 0);
        add(children[1], strict ? lt(a, b) : leq(a, b));
      } else {
        for (const ExternalProof* child : children)
          if (child->is_leaf()) add(child, child->term());
      }
    }
    return result;
  }

  enum { LT, LEQ, EQ, NEQ, GEQ, GT };
  std::unique_ptr<la::Solver> solver;
  std::shared_ptr<Grouping> grouping;
};

TEST_F(PartialInterpolantsTest, EachSaysWhatItsHypothesesOfASideSay) {
  std::size_t combinations = 0, cuts = 0;
  std::vector<std::vector<const Term_*>> queries;
  for (int round = 0; round < 600; ++round) {
    draw_problem(round % 3 == 0 ? Atoms{x, y, z} : Atoms{i, j, integer("k")});
    const proof::ProofRef proof = solver->refutation();
    Interpolation interpolation(t, *solver, mapper, limits);
    PartialInterpolants partial(t, *solver, mapper, *proof, grouping);
    const Mode mode = std::array{Mode::SUM, Mode::CONJ, Mode::DUAL}[random() % 3];
    const Cuts style = one_in(2) ? Cuts::FLOOR : Cuts::MODULAR;
    const auto answer =
        interpolation.interpolants(proof.get(), {grouping, {}, mode, style});
    const ProofNotes notes = partial.notes(0, answer, false);
    EXPECT_EQ(notes.answer, answer.terms[0]);
    for (const auto& [step, so_far] : notes.interpolants) {
      const auto derived = notes.derived.find(step);
      if (derived == notes.derived.end()) continue;
      ++(step->rule() == std::string("la-tight") ? cuts : combinations);
      const Term_* const of_A = part(*step, notes, Side::A);
      const Term_* const of_B = part(*step, notes, Side::B);
      const Term_* const open = lnot(derived->second);
      if (mode == Mode::DUAL) {
        queries.push_back({of_A, open, lnot(so_far)});
        queries.push_back({of_B, so_far});
      } else {
        queries.push_back({of_A, lnot(so_far)});
        queries.push_back({of_B, so_far, open});
      }
    }
  }
  EXPECT_GT(combinations, 300U);
  EXPECT_GT(cuts, 10U);
  const auto answers = ask_outside_solvers(OUTSIDE_SOLVERS, queries, limits).answers;
  for (std::size_t q = 0; q < queries.size(); ++q) {
    if (answers[q] == "unsat") continue;
    ADD_FAILURE() << "query " << q << ": " << answers[q];
    for (const Term_* formula : queries[q])
      std::cerr << "  " << term_text(formula) << '\n';
  }
  RecordProperty("queries", static_cast<int>(queries.size()));
}

TEST_F(PartialInterpolantsTest, TermsAreWrittenForPeople) {
  const Term_* const bars = t.make_variable("a & b", Sort::REAL);
  const Term_* const fraction = times(QNumber(3) / QNumber(2), x);
  const struct {
    std::string text, expected;
  } cases[] = {
      {infix_text(leq(plus(x, times(-1, y)), num(3))), "x - y ≤ 3"},
      {infix_text(lt(num(7), times(2, plus(x, 1)))), "2·(x + 1) > 7"},
      {infix_text(lnot(eq(floor(times(QNumber(1) / QNumber(2), x)), i))), "⌊x/2⌋ ≠ i"},
      {infix_text(leq(plus(x, plus(times(-1, y), fraction)), num(-1))),
       "x - y + 3/2·x ≤ -1"},
      {infix_text(land(lor(leq(x, y), lt(y, x)), lnot(mod(8, i, num(3))))),
       "(x ≤ y ∨ y < x) ∧ i ≢ 3 (mod 8)"},
      {infix_text(plus(i, times(-3, floor(times(QNumber(1) / QNumber(3), i))))), "i mod 3"},
      {infix_text(t.make_to_real(i)) + infix_text(bars), "i|a & b|"},
      {half_text(eq(x, y), -1), "x ≤ y"},
      {half_text(neq(num(5), x), 1), "x < 5"},
      {half_text(leq(x, y), 1), "x ≤ y"},
      {shortened("≤≤≤≤", 3), "≤≤…"},
      {shortened("≤≤≤", 3), "≤≤≤"}};
  for (const auto& c : cases)
    EXPECT_EQ(c.text, c.expected);
  const Term_* deep = x;
  for (int level = 0; level < 200000; ++level)
    deep = plus(y, times(2, deep));
  EXPECT_EQ(infix_text(deep, 12), "y + 2·(y + …");
}

}  // namespace
}  // namespace opal::host
