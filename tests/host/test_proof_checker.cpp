#include <gtest/gtest.h>

#include <random>

#include "opal/host/farkas.h"
#include "tests/host/checked_proofs.h"

namespace opal::host {
namespace {

TEST_F(CheckedProofs, EachBrokenPromiseIsRefused) {
  const int one_x = assert_on('A', t.make_leq(num(1), x));  // 1
  const int one_y = assert_on('A', t.make_leq(num(1), y));  // 2
  const int both =
      assert_on('B', t.make_leq(t.make_plus(times(2, x), times(2, y)), num(3)));
  const int is_zero = assert_on('A', t.make_equal(x, num(0)));     // 4
  const int not_two = assert_on('B', t.make_distinct(x, num(2)));  // 5
  const int low = assert_on('B', t.make_leq(x, num(2)));           // 6
  const int high = assert_on('B', t.make_leq(num(2), x));          // 7
  const int not_y = assert_on('B', t.make_distinct(y, num(2)));    // 8
  const int absent = assert_on('-', t.make_leq(x, num(0)));        // 9
  const int wrong = assert_on('A', t.false_term());                // 10
  const int none = Mapper::ZERO_CONSTRAINT;
  const auto split = [&](int id1, int sign1, int id2, int sign2) {
    return new la::LaNeq(not_two, comb(1, hyp(id1, sign1), 1, hyp(high)),
                         comb(1, hyp(id2, sign2), 1, hyp(low)));
  };
  Proof* shared = hyp(one_x);
  auto* zero = new la::Equation;

  const std::pair<Proof*, const char*> table[] = {
      // Sound ones, the first in every shape that a combination may have.
      {comb(2, hyp(one_x), 1, comb(2, hyp(one_y), 1, hyp(both))), ""},
      {comb(1, comb(2, hyp(one_x), 2, hyp(one_y)), 1, comb(1, hyp(both), 1, hyp(none))),
       ""},
      {comb(3, hyp(is_zero, -1), 3, hyp(one_x)), ""},
      {split(not_two, -1, not_two, 1), ""},
      {hyp(wrong), ""},
      // The arithmetic.
      {comb(1, hyp(one_x), 1, hyp(both)), "the sum has x left, with the coefficient -1"},
      {comb(1, hyp(low), 1, hyp(high)), "the sum is no contradiction: 0 >= 0"},
      {comb(2, hyp(low), 2, hyp(one_x)), "the sum is no contradiction: 2 >= 0"},
      {hyp(none), "the sum is no contradiction: 0 >= 0"},
      // Multipliers.
      {comb(2, comb(1, hyp(one_x), 1, hyp(one_y)), 1, hyp(both)),
       "LaComb: the multiplier 2 stands on a combination, not on a hypothesis"},
      {comb(-1, hyp(one_x), 1, hyp(high)), "LaComb: the multiplier -1 is not positive"},
      {comb(0, hyp(one_x), 1, hyp(wrong)), "LaComb: the multiplier 0 is not positive"},
      // One node, once.
      {comb(1, shared, 1, comb(1, Proof::retain(shared), 1, hyp(absent))),
       "LaHyp is reached twice in one combination"},
      {comb(1, hyp(one_x), 1, comb(1, hyp(one_x), 1, hyp(low))),
       "LaHyp on constraint 1: occurs twice with the sign 0 in one combination"},
      // Hypotheses.
      {comb(1, hyp(absent), 1, hyp(one_x)),
       "LaHyp on constraint 9: (<= x 0.0) was not asserted"},
      {hyp(77), "LaHyp on constraint 77: it has no literal"},
      {comb(1, hyp(one_x, 1), 1, hyp(is_zero, -1)),
       "LaHyp on constraint 1: an inequality has the sign 0, not 1"},
      {comb(1, hyp(one_x), 1, hyp(is_zero)),
       "LaHyp on constraint 4: the sign 0 selects no half; it must be -1 or 1"},
      {comb(1, hyp(one_x), 1, hyp(is_zero, 1)),
       "the sum has x left, with the coefficient 2"},
      // Disequalities.
      {comb(1, hyp(not_two, 1), 1, hyp(low)),
       "LaHyp on constraint 5: a disequality outside of a LaNeq"},
      {comb(1, hyp(wrong), 1, split(not_two, -1, not_two, 1)), "LaNeq below the root"},
      {split(not_y, -1, not_two, 1),
       "LaHyp on constraint 8: a disequality below the LaNeq of constraint 5"},
      {new la::LaNeq(not_two, comb(1, hyp(not_two, -1), 1, hyp(high)),
                     comb(1, hyp(not_two, -1), 1, hyp(high))),
       "LaNeq on constraint 5: both cases have the sign -1"},
      {new la::LaNeq(not_two, comb(1, hyp(not_two, -1), 1, hyp(high)),
                     comb(1, hyp(not_two, -1), 1, hyp(not_two, 1))),
       "LaHyp on constraint 5: a case uses both sides of its disequality"},
      {new la::LaNeq(not_two, hyp(wrong), comb(1, hyp(not_two, 1), 1, hyp(low))),
       "LaNeq on constraint 5: a case does not use the disequality"},
      {new la::LaNeq(low, hyp(wrong), hyp(wrong)),
       "LaNeq on constraint 6: (<= x 2.0) is no disequality"},
      // Rules and nodes.
      {nullptr, "there is no proof"},
      {comb(1, hyp(wrong), 1, nullptr), "a premise is missing"},
      {new la::LaCombImp(low, 0, hyp(wrong)), "the rule LaCombImp is not checked"},
      {comb(1, hyp(wrong), 1, new la::LaFakeHyp(low, 0, zero)),
       "the rule LaFakeHyp is not checked"},
      {new laz::LaZBBLemma(TheoryLit(), TheoryLit()), "the rule LaZBBLemma is not checked"},
  };
  int row = 0;
  for (const auto& [root, expected] : table)
    EXPECT_EQ(verdict(root), expected) << "row " << row++;
}

TEST_F(CheckedProofs, TheMapperMustSayWhatTheAtomSays) {
  const int id = assert_on('A', t.make_leq(times(2, x), t.make_plus(y, num(3))));
  const int strict = assert_on('B', t.make_lt(t.make_plus(y, num(3)), times(2, x)));
  const auto says = [&](int kind, long at_x, long at_y, long constant) {
    la::Equation vars;
    vars.add_var(QNumber(at_x), mapper.variable(x));
    vars.add_var(QNumber(at_y), mapper.variable(y));
    LyingMapper liar(mapper, id, la::LinearTerm(kind, vars, QNumber(constant)));
    const ProofRef proof(comb(3, hyp(id), 3, hyp(strict)));
    return ProofChecker(liar, asserted).check(proof.get()).value_or("");
  };
  const std::string lie =
      "LaHyp on constraint 1: the mapper's linear term is not that of (<= (* 2.0 x) (+ y "
      "3.0))";
  using L = la::LinearTerm;
  EXPECT_EQ(says(L::LEQ, 2, -1, 3), "");
  EXPECT_EQ(says(L::GEQ, -2, 1, -3), "");
  // A multiple is another summand, so that the multipliers no longer fit.
  EXPECT_EQ(says(L::LEQ, 4, -2, 6), "the sum has x left, with the coefficient -6");
  EXPECT_EQ(says(L::LT, 2, -1, 3), lie);
  EXPECT_EQ(says(L::EQ, 2, -1, 3), lie);
  EXPECT_EQ(says(L::LEQ, -2, 1, -3), lie);
  EXPECT_EQ(says(L::LEQ, 2, -1, 4), lie);
  EXPECT_EQ(says(L::LEQ, 2, 0, 3), lie);
}

// Refutations drawn at random pass, in every shape; with one multiplier changed they fail,
// since the hypotheses are linearly independent but for the contradiction.
TEST_F(CheckedProofs, RandomCombinationsPassAndChangedOnesDoNot) {
  std::mt19937 random(7);
  const auto small = [&] { return long(random() % 9) - 4; };
  std::vector<const Term_*> vars;
  for (int i = 0; i < 6; ++i)
    vars.push_back(t.make_variable("v" + std::to_string(i), Sort::REAL));
  for (int round = 0; round < 200; ++round) {
    asserted.clear();
    FarkasCombination leaves;
    const Term_* sum = num(1 + long(random() % 3));  // every left side, weighted, plus this
    for (std::size_t i = 0; i < 1 + random() % 5; ++i) {
      // A variable of its own keeps a constraint independent of the others.
      const Term_* left = t.make_plus(times(1 + small() * small(), vars[i]), num(small()));
      for (const Term_* v : vars)
        left = t.make_plus(left, times(small(), v));
      left = t.make_plus(left, t.make_variable("own" + std::to_string(i), Sort::REAL));
      const bool equality = random() % 2 == 0;
      const int id =
          assert_on('A', equality ? t.make_equal(num(0), left) : t.make_leq(num(0), left));
      // The at-most half of 0 = left, -left <= 0, is 0 <= left.
      const QNumber multiplier = QNumber(1 + long(random() % 5)) / QNumber(2);
      leaves.push_back({id, equality ? -1 : 0, multiplier});
      sum = t.make_plus(sum, t.make_times(t.make_number(multiplier), left));
    }
    leaves.push_back({assert_on('B', t.make_leq(sum, num(0))), 0, QNumber(1)});
    EXPECT_EQ(verdict(farkas_proof(mapper, leaves).take()), "");
    FarkasCombination changed = leaves;
    changed[random() % changed.size()].multiplier += QNumber(1);
    EXPECT_NE(verdict(farkas_proof(mapper, changed).take()), "");
  }
}

TEST_F(CheckedProofs, MillionNodesDeepOrWide) {
  constexpr int LINKS = 500000;
  FarkasCombination leaves;
  Proof* chain = hyp(assert_on('A', t.make_lt(x, t.make_variable("k0", Sort::REAL))));
  leaves.push_back({1, 0, QNumber(1)});
  for (int i = 1; i <= LINKS; ++i) {
    const Term_* from = t.make_variable("k" + std::to_string(i - 1), Sort::REAL);
    const Term_* to = i == LINKS ? x : t.make_variable("k" + std::to_string(i), Sort::REAL);
    const int id = assert_on('A', t.make_leq(from, to));
    chain = comb(1, hyp(id), 1, chain);
    leaves.push_back({id, 0, QNumber(1)});
  }
  EXPECT_EQ(verdict(chain), "");
  EXPECT_EQ(verdict(farkas_proof(mapper, leaves).take()), "");
}

// --- what the engine makes of broken proofs: the counterexamples of docs/proofs.md

// A: x >= 1, y >= 1, B: 2x + 2y <= 3.
TEST_F(CheckedProofs, MultiplierOnAnAccumulatedListGivesAWrongInterpolant) {
  const int one_x = assert_on('A', t.make_leq(num(1), x));
  const int one_y = assert_on('A', t.make_leq(num(1), y));
  const int both =
      assert_on('B', t.make_leq(t.make_plus(times(2, x), times(2, y)), num(3)));
  const Term_* right =
      interpolant(comb(1, comb(2, hyp(one_x), 2, hyp(one_y)), 1, hyp(both)), sides());
  const Term_* broken =
      interpolant(comb(2, comb(1, hyp(one_x), 1, hyp(one_y)), 1, hyp(both)), sides());
  // Which of x and y is scaled follows the addresses; either way B has a model of it.
  int models = 0;
  for (const Model& model : {point(3, -3), point(-3, 3)}) {
    ASSERT_TRUE(holds(asserted[2], model));
    EXPECT_FALSE(holds(right, model));
    models += holds(broken, model) ? 1 : 0;
  }
  EXPECT_EQ(models, 1);
}

// A: x >= 1, y >= 1, B: 4x + 2y <= 5; x >= 1 is needed twice.
TEST_F(CheckedProofs, OneNodeTwiceGivesAWrongInterpolant) {
  const int one_x = assert_on('A', t.make_leq(num(1), x));
  const int one_y = assert_on('A', t.make_leq(num(1), y));
  const int both =
      assert_on('B', t.make_leq(t.make_plus(times(4, x), times(2, y)), num(5)));
  Proof* node = hyp(one_x);
  const Term_* broken = interpolant(
      comb(2, node, 1, comb(2, Proof::retain(node), 1, comb(2, hyp(one_y), 1, hyp(both)))),
      sides());
  const Term_* right =
      interpolant(comb(4, hyp(one_x), 1, comb(2, hyp(one_y), 1, hyp(both))), sides());
  const Model model = point(-10, 12);
  ASSERT_TRUE(holds(asserted[2], model));
  EXPECT_TRUE(holds(broken, model));
  EXPECT_FALSE(holds(right, model));
}

// A: x = 0, B: x = 1. The sign chooses the half, and the wrong half says too little.
TEST_F(CheckedProofs, WrongSignGivesAWrongInterpolant) {
  const int zero = assert_on('A', t.make_equal(x, num(0)));
  const int one = assert_on('B', t.make_equal(x, num(1)));
  const Term_* broken = interpolant(comb(1, hyp(zero, 0), 1, hyp(one, 1)), sides());
  const Term_* right = interpolant(comb(1, hyp(zero, -1), 1, hyp(one, 1)), sides());
  EXPECT_TRUE(holds(broken, point(1)));
  EXPECT_FALSE(holds(right, point(1)));
  EXPECT_TRUE(holds(right, point(0)));
}

// A host that colours atoms by their symbols: both sides know every variable here.
class SymbolColours final : public itp::AtomColouring {
 public:
  [[nodiscard]] status atom_colour(const Term_*) const override { return status::SHARED; }
  [[nodiscard]] status term_colour(const Term_*) const override { return status::SHARED; }
  void enter_atom(const Term_*, status) override {}
};

// A: x <= 0, B: x >= 1.
TEST_F(CheckedProofs, ColouringBySymbolsGivesAWrongInterpolant) {
  const int low = assert_on('A', t.make_leq(x, num(0)));
  const int high = assert_on('B', t.make_leq(num(1), x));
  const auto refutation = [&] { return comb(1, hyp(low), 1, hyp(high)); };
  const Term_* broken = interpolant(refutation(), std::make_shared<SymbolColours>());
  EXPECT_EQ(broken, t.true_term());  // B has models
  const Term_* right = interpolant(refutation(), sides());
  EXPECT_FALSE(holds(right, point(1)));
  EXPECT_TRUE(holds(right, point(0)));
}

// A: x /= 0, x >= 0, B: x <= 0.
TEST_F(CheckedProofs, SplittingOnOtherAtomsThanTheDisequalityGivesAWrongInterpolant) {
  const int different = assert_on('A', t.make_distinct(x, num(0)));
  const int low = assert_on('A', t.make_leq(num(0), x));
  const int high = assert_on('B', t.make_leq(x, num(0)));
  const int below = assert_on('-', t.make_lt(x, num(0)));
  const int above = assert_on('-', t.make_lt(num(0), x));
  const auto split = [&](Proof* at_most, Proof* at_least) {
    return new la::LaNeq(different, comb(1, at_most, 1, hyp(low)),
                         comb(1, at_least, 1, hyp(high)));
  };
  const Term_* broken = interpolant(split(hyp(below), hyp(above)), sides());
  EXPECT_TRUE(holds(broken, point(0)));  // and so does B
  const Term_* right = interpolant(split(hyp(different, -1), hyp(different, 1)), sides());
  EXPECT_FALSE(holds(right, point(0)));
  EXPECT_TRUE(holds(right, point(1)));
}

// A: x >= 1, y >= 1 imply 2x + y >= 3, whose negation is B's.
TEST_F(CheckedProofs, UnscaledChainBelowAnImplicationGivesAWrongInterpolant) {
  const int one_x = assert_on('A', t.make_leq(num(1), x));
  const int one_y = assert_on('A', t.make_leq(num(1), y));
  const Term_* implied = t.make_leq(num(3), t.make_plus(times(2, x), y));
  const int id = assert_on('B', implied);
  const auto implication = [&](long c) {
    return new la::LaCombImp(id, 0, comb(c, hyp(one_x), 1, hyp(one_y)));
  };
  const Model model = point(-10, 12);
  ASSERT_FALSE(holds(implied, model));
  EXPECT_TRUE(holds(interpolant(implication(1), sides()), model));
  EXPECT_FALSE(holds(interpolant(implication(2), sides()), model));
}

}  // namespace
}  // namespace opal::host
