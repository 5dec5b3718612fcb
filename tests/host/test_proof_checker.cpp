#include "opal/proofs/farkas.h"
#include "tests/host/proofs.h"

namespace opal::host {
namespace {

TEST_F(Proofs, EachBrokenPromiseIsRefused) {
  const int one_x = assert_on('A', leq(num(1), x));  // 1
  const int one_y = assert_on('A', leq(num(1), y));  // 2
  const int both = assert_on('B', leq(plus(times(2, x), times(2, y)), num(3)));
  const int is_zero = assert_on('A', eq(x, num(0)));   // 4
  const int not_two = assert_on('B', neq(x, num(2)));  // 5
  const int low = assert_on('B', leq(x, num(2)));      // 6
  const int high = assert_on('B', leq(num(2), x));     // 7
  const int not_y = assert_on('B', neq(y, num(2)));    // 8
  const int absent = assert_on('-', leq(x, num(0)));   // 9
  const int wrong = assert_on('A', t.false_term());    // 10
  const int none = Mapper::ZERO_CONSTRAINT;
  const auto cases = [&](Proof* below, Proof* above) {
    return new la::LaNeq(not_two, below, above);
  };
  const auto half = [&](int id, int sign, int bound) {
    return comb(1, hyp(id, sign), 1, hyp(bound));
  };
  const auto split = [&] { return cases(half(not_two, -1, high), half(not_two, 1, low)); };
  Proof* shared = hyp(one_x);
  auto* zero = new la::Equation;

  const std::pair<Proof*, const char*> table[] = {
      // Sound ones, the first in every shape that a combination may have.
      {comb(2, hyp(one_x), 1, comb(2, hyp(one_y), 1, hyp(both))), ""},
      {comb(1, comb(2, hyp(one_x), 2, hyp(one_y)), 1, comb(1, hyp(both), 1, hyp(none))),
       ""},
      {comb(3, hyp(is_zero, -1), 3, hyp(one_x)), ""},
      {split(), ""},
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
      {comb(1, hyp(wrong), 1, split()), "LaNeq below the root"},
      {cases(half(not_y, -1, high), half(not_two, 1, low)),
       "LaHyp on constraint 8: a disequality below the LaNeq of constraint 5"},
      {cases(half(not_two, -1, high), half(not_two, -1, high)),
       "LaNeq on constraint 5: both cases have the sign -1"},
      {cases(half(not_two, -1, high), comb(1, hyp(not_two, -1), 1, hyp(not_two, 1))),
       "LaHyp on constraint 5: a case uses both sides of its disequality"},
      {cases(hyp(wrong), half(not_two, 1, low)),
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

TEST_F(Proofs, TheMapperMustSayWhatTheAtomSays) {
  const int id = assert_on('A', leq(times(2, x), plus(y, 3)));
  const int strict = assert_on('B', lt(plus(y, 3), times(2, x)));
  const auto says = [&](int kind, long at_x, long at_y, long constant) {
    LyingMapper liar(mapper, id, bound(kind, x, constant, at_x, y, at_y));
    return verdict(comb(3, hyp(id), 3, hyp(strict)), liar);
  };
  const std::string lie =
      "LaHyp on constraint 1: the mapper's linear term is not that of (<= (* 2.0 x) (+ y "
      "3.0))";
  using L = LinearTerm;
  EXPECT_EQ(says(L::LEQ, 2, -1, 3), "");
  EXPECT_EQ(says(L::GEQ, -2, 1, -3), "");
  // A multiple is another summand, so that the multipliers no longer fit.
  EXPECT_EQ(says(L::LEQ, 4, -2, 6), "the sum has x left, with the coefficient -6");
  EXPECT_EQ(says(L::LT, 2, -1, 3), lie);
  EXPECT_EQ(says(L::LEQ, -2, 1, -3), lie);
  EXPECT_EQ(says(L::LEQ, 2, 0, 3), lie);
}

// Refutations drawn at random pass, in every shape; with one multiplier changed they fail,
// since the hypotheses are linearly independent but for the contradiction.
TEST_F(Proofs, RandomCombinationsPassAndChangedOnesDoNot) {
  const Atoms vars{x, y, z};
  for (int round = 0; round < 200; ++round) {
    asserted.clear();
    FarkasCombination leaves;
    const Term_* sum = num(pick(1, 3));  // every left side, weighted, plus this
    for (long k = pick(1, 5); k > 0; --k) {
      // A variable of its own keeps a constraint independent of the others.
      const Term_* left = plus(real("own" + std::to_string(k)), pick(-4, 4));
      for (const Term_* v : vars)
        left = plus(left, times(pick(-4, 4), v));
      const bool equality = one_in(2);
      const int id = assert_on('A', equality ? eq(num(0), left) : leq(num(0), left));
      // The at-most half of 0 = left, -left <= 0, is 0 <= left.
      leaves.push_back({id, equality ? -1 : 0, QNumber(pick(1, 5)) / QNumber(2)});
      sum = plus(sum, times(leaves.back().multiplier, left));
    }
    leaves.push_back({assert_on('B', leq(sum, num(0))), 0, QNumber(1)});
    EXPECT_EQ(verdict(farkas_proof(mapper, leaves).take()), "");
    leaves[random() % leaves.size()].multiplier += QNumber(1);
    EXPECT_NE(verdict(farkas_proof(mapper, leaves).take()), "");
  }
}

TEST_F(Proofs, MillionNodesDeepOrWide) {
  constexpr int LINKS = 500000;
  const auto link = [&](int k) { return real("k" + std::to_string(k)); };
  FarkasCombination leaves{{assert_on('A', lt(x, link(0))), 0, QNumber(1)}};
  Proof* chain = hyp(1);
  for (int k = 1; k <= LINKS; ++k) {
    const int id = assert_on('A', leq(link(k - 1), k == LINKS ? x : link(k)));
    chain = comb(1, hyp(id), 1, chain);
    leaves.push_back({id, 0, QNumber(1)});
  }
  EXPECT_EQ(verdict(chain), "");
  EXPECT_EQ(verdict(farkas_proof(mapper, leaves).take()), "");
}

}  // namespace
}  // namespace opal::host
