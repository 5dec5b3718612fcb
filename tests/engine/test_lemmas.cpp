// Proofs of one node: clauses that state a branch or split an equality, and equalities
// without integer solution.

#include <random>

#include "tests/engine/coloured_host.h"

namespace opal::small {
namespace {

struct LemmaHost : ColouredHost {
  TheoryLit literal(const std::string& name, char colour, bool negated = false) {
    Term t = terms.make(name, {});
    mapper->enter_atom(t, colour == 'A' ? A : colour == 'B' ? B : AB);
    return TheoryLit(t, negated);
  }
};

// By the colours of the literals p, not q, and r if there is a third.
TEST(Lemmas, AreInterpolatedByTheSidesOfTheirLiterals) {
  const std::vector<std::pair<std::string, std::string>> branches = {
      {"AA", "false"},    {"BB", "true"},    {"AB", "(not p)"},  {"BA", "q"},
      {"SS", "false"},    {"SB", "(not p)"}, {"AAA", "false"},   {"BBB", "true"},
      {"ABB", "(not p)"}, {"BAB", "q"},      {"BBA", "(not r)"}, {"BAA", "p"},
      {"ABA", "(not q)"}, {"AAB", "r"},      {"SBB", "(not p)"}};
  const std::vector<std::pair<std::string, std::string>> splits = {
      {"BBB", "true"},    {"AAA", "false"},   {"ABB", "(not p)"},
      {"BAB", "q"},       {"BBA", "r"},       {"BAA", "p"},
      {"AAB", "(not r)"}, {"ABA", "(not q)"}, {"SBB", "(not p)"}};
  LemmaHost host;
  for (const bool is_branch : {true, false})
    for (const auto& [colours, text] : is_branch ? branches : splits) {
      const TheoryLit p = host.literal("p", colours[0]);
      const TheoryLit q = host.literal("q", colours[1], true);
      const bool has_r = colours.size() == 3;
      const TheoryLit r = has_r ? host.literal("r", colours[2]) : TheoryLit();
      Proof* const lemma = is_branch ? static_cast<Proof*>(new laz::LaZBBLemma(p, q, r))
                                     : new la::LaEqSplitLemma(p.atom(), q.atom(), r.atom());
      EXPECT_EQ(host.interpolant(lemma), text) << colours;
    }
}

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

TEST(EqualityProofs, WorkedExamples) {
  ColouredHost host;
  const QNumber half = QNumber(1) / QNumber(2), third = QNumber(1) / QNumber(3);
  const int b = host.add(EQ, {{4, 1}, {6, -2}}, 1, B);                // x4 = 2 x6 + 1
  const int b3 = host.add(EQ, {{4, 1}, {6, -3}}, 1, B);               // x4 = 3 x6 + 1
  const int even = host.add(EQ, {{4, 1}, {2, -2}}, 0, A);             // x4 = 2 x2
  const int thirds = host.add(EQ, {{2, 3}, {3, -6}, {4, -1}}, 0, A);  // 3 x2 - 6 x3 = x4
  const int two = host.add(EQ, {{4, 2}}, -1, A);                      // 2 x4 + 1 = 0
  const int unscaled = host.add(EQ, {{2, 2}, {4, -2}}, -1, A);        // 2 x2 - 2 x4 + 1 = 0
  const int mod2 = host.add(EQ, {{2, 2}, {4, 3}}, 4, A);              // 2 x2 + 3 x4 = 4
  const int local = host.add(EQ, {{2, 2}, {3, 4}}, 3, A);             // 2 x2 + 4 x3 = 3
  const int zero = host.add(EQ, {}, 0, A), one = host.add(EQ, {}, 1, A);
  const int both = host.add(EQ, {{4, 2}}, 1, AB);
  const std::tuple<std::vector<int>, std::vector<QNumber>, std::string> table[] = {
      {{}, {}, "true"},
      {{b}, {half}, "true"},
      {{even}, {half}, "false"},
      {{both}, {half}, "false"},
      {{even, b}, {half, half.neg()}, "(mod2 (* 1 x4) 0)"},
      {{even, b}, {half.neg(), half}, "(mod2 (* -1 x4) 0)"},
      {{thirds, b3}, {third, third}, "(mod3 (* -1 x4) 0)"},
      {{two, b}, {third, 1}, "(= (* 2 x4) -1)"},
      {{unscaled, b}, {half, 1}, "(mod1 (* -1 x4) 0)"},
      {{b, even, thirds}, {1, 1, -1}, "(mod1 (* 2 x4) 0)"},
      {{mod2, b}, {1, 1}, "(mod2 (* 3 x4) 0)"},
      {{local, b}, {1, 1}, "false"},
      {{zero, b}, {1, 1}, "true"},
      {{one, b}, {1, 1}, "false"}};
  for (const auto& [ids, multipliers, text] : table)
    EXPECT_EQ(host.interpolant(equalities(ids, multipliers)), text);
}

}  // namespace
}  // namespace opal::small
