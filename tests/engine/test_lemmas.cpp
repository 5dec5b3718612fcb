// Proofs of one node: clauses that state a branch or split an equality, and equalities
// without integer solution.

#include <random>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

struct LemmaHost : ColouredHost {
  TheoryLit literal(const std::string& name, char colour, bool negated = false) {
    Term t = terms.make(name, {});
    mapper->enter_atom(t, colour == 'A' ? A : colour == 'B' ? B : AB);
    return TheoryLit(t, negated);
  }
};

// The negated literals of s <= c or s >= c+1, of s <= c or s = c+1 or s >= c+2, and of
// s = c or not s <= c or not s >= c: A's share implies the interpolant, and B's refutes it.
TEST(Lemmas, RandomClausesHaveInterpolantsOfTheirNegation) {
  std::mt19937 random(1);
  for (int i = 0; i < 500; ++i) {
    LemmaHost host;
    const std::size_t shape = static_cast<std::size_t>(i % 3), size = shape == 0 ? 2 : 3;
    std::string colours;
    std::vector<TheoryLit> lits(3);
    for (std::size_t k = 0; k < size; ++k) {
      colours += "ABS"[random() % 3];
      const bool negated = shape == 2 ? k > 0 : random() % 2 == 0;
      lits[k] = host.literal("p" + std::to_string(k), colours[k], negated);
    }
    const ProofRef lemma(
        shape < 2 ? static_cast<Proof*>(new laz::LaZBBLemma(lits[0], lits[1], lits[2]))
                  : new la::LaEqSplitLemma(lits[0].atom(), lits[1].atom(), lits[2].atom()));
    for (const auto mode : {Probe::MODE_SUM, Probe::MODE_DUAL})
      for (int s = -3; s <= 3; ++s) {  // s - c
        const bool holds[][3] = {
            {s <= 0, s >= 1}, {s <= 0, s == 1, s >= 2}, {s == 0, s > 0, s < 0}};
        std::unordered_map<Term, QNumber> values;
        bool a_holds = true, b_holds = true;
        for (std::size_t k = 0; k < size; ++k) {
          values[lits[k].atom()] = holds[shape][k] != lits[k].is_negated() ? 1 : 0;
          a_holds = a_holds && (colours[k] == 'B' || !holds[shape][k]);
          b_holds = b_holds && (colours[k] == 'A' || !holds[shape][k]);
        }
        Probe probe(host, mode);
        Term t = probe.get_interpolant(&host.classifier, lemma.get());
        const bool value = !evaluate(t, values).is_zero();
        EXPECT_TRUE(value ? !b_holds : !a_holds) << colours << s << Terms::text(t);
      }
  }
}

// Without local variables, or without others, no congruence is left.
TEST(EqualityProofs, OfSpecialShapes) {
  ColouredHost host;
  const QNumber third = QNumber(1) / QNumber(3);
  const int b = host.add(EQ, {{4, 1}, {6, -2}}, 1, B);     // x4 = 2 x6 + 1
  const int two = host.add(EQ, {{4, 2}}, -1, A);           // 2 x4 + 1 = 0
  const int local = host.add(EQ, {{2, 2}, {3, 4}}, 3, A);  // 2 x2 + 4 x3 = 3
  const int shared = host.add(EQ, {{4, 2}}, -1, AB);       // counts as A's
  const int zero = host.add(EQ, {}, 0, A), one = host.add(EQ, {}, 1, A);
  const std::pair<std::vector<int>, std::string> table[] = {
      {{}, "true"},
      {{two, b}, "(= (* 2 x4) -1)"},
      {{shared, b}, "(= (* 2 x4) -1)"},
      {{local, b}, "false"},
      {{zero, b}, "true"},
      {{one, b}, "false"}};
  for (const auto& [ids, text] : table)
    EXPECT_EQ(
        host.interpolant(equalities(ids, {ids.empty() || ids[0] == two ? third : 1, 1})),
        text);
}

}  // namespace
}  // namespace opal::small
