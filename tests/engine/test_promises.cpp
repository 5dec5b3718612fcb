// The wrong answers that broken promises give; docs/proofs.md works them out.

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

TEST(BrokenPromises, GiveWrongAnswers) {
  ColouredHost host;
  const QNumber half = QNumber(1) / QNumber(2), third = QNumber(1) / QNumber(3);
  auto add = [&](int kind, const Row& coeffs, const QNumber& c, Status colour) {
    return host.add(kind, coeffs, c, colour);
  };
  // 2: A: x4 = 5, B: 2 x6 <= x4, x6 >= 3. The multiplier 1 is right, not -1.
  const int five = add(EQ, {{4, 1}}, 5, A), twice = add(LEQ, {{6, 2}, {4, -1}}, 0, B);
  const int three = add(GEQ, {{6, 1}}, 3, B);
  auto proof2 = [&](int m) { return sum({cut({five, twice}, {m}, 2), hyp(three)}); };
  // 2: A: x4 - x3 = 3 x2, x3 = 1, B: x4 = 3 x6. The multipliers 1/3, 1/3, -1/3 are right.
  const int minus = add(EQ, {{4, 1}, {3, -1}, {2, -3}}, 0, A);
  const int one = add(EQ, {{3, 1}}, 1, A), threes = add(EQ, {{4, 1}, {6, -3}}, 0, B);
  auto proof2e = [&](const QNumber& m) {
    return equalities({minus, one, threes}, {third, m, third.neg()});
  };
  // 6: A: 2 x2 + x5 >= 1, x2 <= 0, B: x5 <= 0, and x5 is real: it cancels in the cut.
  const int real = add(GEQ, {{2, 2}, {5, 1}}, 1, A), low = add(LEQ, {{2, 1}}, 0, A);
  const int real_low = add(LEQ, {{5, 1}}, 0, B);
  // 6: A: x4 >= 1, B: x4 <= 1; 2 does not divide the coefficient.
  const int least = add(GEQ, {{4, 1}}, 1, A), most = add(LEQ, {{4, 1}}, 1, B);
  const QNumber two(2);
  // 6: A: 2 x2 <= 2, 2 x2 >= 1, B: 2 x6 >= 2, x6 <= 0; one variable for two cuts.
  const int a1 = add(LEQ, {{2, 2}}, 2, A), a2 = add(GEQ, {{2, 2}}, 1, A);
  const int b1 = add(GEQ, {{6, 2}}, 2, B), b2 = add(LEQ, {{6, 2}}, 0, B);
  auto two_cuts = [&](int var) {
    return sum({cut({a2, b2}, {1}, 2, 100), cut({a1, b1}, {1}, 2, var)});
  };
  // 7: A: 2 x2 = 2 x4 + 1, B: x4 = 0; A alone is contradictory.
  const int odd = add(EQ, {{2, 2}, {4, -2}}, 1, A), zero = add(EQ, {{4, 1}}, 0, B);
  // A: x4 <= 0, B: x4 >= 1. An atom of A's that is coloured by its symbols is shared.
  const int upto_0 = add(LEQ, {{4, 1}}, 0, A), by_symbols = add(LEQ, {{4, 1}}, 0, AB);
  const int from_1 = add(GEQ, {{4, 1}}, 1, B);
  // 3: A: x4 >= 1, x5 >= 1, B: 4 x4 + 2 x5 <= 5; x4 >= 1 is needed twice.
  const int x5_least = add(GEQ, {{5, 1}}, 1, A), most_5 = add(LEQ, {{4, 4}, {5, 2}}, 5, B);
  const QNumber four(4);
  auto rest = [&] { return comb(&two, hyp(x5_least), nullptr, hyp(most_5)); };
  Proof* const least_4 = hyp(least);
  // 5: A: x4 != 0, x4 >= 0, B: x4 <= 0. Nobody asserted x4 < 0 or x4 > 0.
  const int not_0 = add(NEQ, {{4, 1}}, 0, A), from_0 = add(GEQ, {{4, 1}}, 0, A);
  const int also_upto_0 = add(LEQ, {{4, 1}}, 0, B);
  const int below_0 = add(LT, {{4, 1}}, 0, AB), above_0 = add(GT, {{4, 1}}, 0, AB);
  auto sides = [&](Proof* below, Proof* above) {
    return cases(not_0, plus(below, hyp(from_0)), plus(above, hyp(also_upto_0)));
  };
  // 11: A: x4 >= 1, x5 >= 1 imply 2 x4 + x5 >= 3, whose negation is B's.
  const int negated = host.mapper->add_negation(add(LT, {{4, 2}, {5, 1}}, 3, B), B);
  auto implication = [&](const QNumber* m) {
    return implied(negated, comb(m, hyp(least), nullptr, hyp(x5_least)));
  };
  // 12: A: x4 = 0, B: x4 = 1. The sign chooses the half, and the wrong half says too
  // little.
  const int is_0 = add(EQ, {{4, 1}}, 0, A), is_1 = add(EQ, {{4, 1}}, 1, B);
  const std::string floor_of = "(<= 0 (* 1 (floor (* 1/2 (+ ";
  const struct {
    const char* promise;
    Proof* broken;
    std::string answer;
    Proof* kept;
    std::string kept_answer;
    bool floor_cuts = false;
  } table[] = {
      {"colours", sum({hyp(by_symbols), hyp(from_1)}), "true",
       sum({hyp(upto_0), hyp(from_1)}), "(<= 0 (* -1 x4))"},
      {"3: one node, once; B holds at x4 = -10, x5 = 12",
       comb(&two, least_4, nullptr, comb(&two, Proof::retain(least_4), nullptr, rest())),
       "(<= 0 (+ (+ (* 2 x4) (* 2 x5)) -4))", comb(&four, hyp(least), nullptr, rest()),
       "(<= 0 (+ (+ (* 4 x4) (* 2 x5)) -6))"},
      {"11: implications are scaled below", implication(nullptr),
       "(<= 0 (+ (+ (* 1 x4) (* 1 x5)) -2))", implication(&two),
       "(<= 0 (+ (+ (* 2 x4) (* 1 x5)) -3))"},
      {"5: the disequality's own id; B holds at x4 = 0", sides(hyp(below_0), hyp(above_0)),
       "(or (<= 0 (* 1 x4)) true)", sides(hyp(not_0, -1), hyp(not_0, 1)),
       "(or false (not (<= (* 1 x4) 0)))"},
      {"12: signs; B holds at x4 = 1", sum({hyp(is_0), hyp(is_1, 1)}), "(<= 0 (* 1 x4))",
       sum({hyp(is_0, -1), hyp(is_1, 1)}), "(<= 0 (* -1 x4))"},
      {"2: the sign in a cut; B holds at x4 = 6", proof2(-1), floor_of + "(* 1 x4) -5)))))",
       proof2(1), floor_of + "(* -1 x4) 5)))))", true},
      {"2: the sign in an equality sub-proof", proof2e(third.neg()), "(mod1 (* 1 x4) 0)",
       proof2e(third), "(mod3 (* 1 x4) 1)"},
      {"6: integers; A holds at x2 = 0, x5 = 3/2",
       sum({cut({real_low, real}, {1}, 2), hyp(low)}),
       "(or (and (mod2 (* 1 x5) 1) (<= 0 (+ (* 1 x5) -1))) (<= 1 (+ (* 1 x5) -1)))",
       sum({hyp(real), hyp(low), hyp(low), hyp(real_low)}), "(<= 0 (+ (* 1 x5) -1))"},
      {"6: the divisor divides; both hold at x4 = 1",
       comb(&two, cut({least}, {}, 2), nullptr, hyp(most)), "(<= 0 (+ (* 1/2 x4) -1))",
       sum({hyp(least), hyp(most)}), "(<= 0 (+ (* 1 x4) -1))"},
      {"6: a variable for each cut; A holds at x2 = 1", two_cuts(100), "false",
       two_cuts(101), "true"},
      {"7: trimmed; B holds at x4 = 0", equalities({odd, zero}, {half, 1}),
       "(mod1 (* -1 x4) 0)", equalities({odd}, {half}), "false"}};
  for (const auto& c : table) {
    SCOPED_TRACE(c.promise);
    EXPECT_EQ(host.interpolant(c.broken, c.floor_cuts), c.answer);
    EXPECT_EQ(host.interpolant(c.kept, c.floor_cuts), c.kept_answer);
  }
  // 1: a multiplier on a list counts for one of its entries; B has a point in both.
  const int most_3 = add(LEQ, {{4, 2}, {5, 2}}, 3, B);
  const std::string scaled =
      host.interpolant(comb(&two, plus(hyp(least), hyp(x5_least)), nullptr, hyp(most_3)));
  EXPECT_TRUE(scaled == "(<= 0 (+ (+ (* 2 x4) (* 1 x5)) -3))" ||
              scaled == "(<= 0 (+ (+ (* 1 x4) (* 2 x5)) -3))")
      << scaled;
}

TEST(BrokenPromises, OfBranchesGiveWrongAnswers) {
  // 8: A: x4 >= 0, x4 != 0, B: x4 <= 0, branch x4 <= -1 or x4 >= 0, where the right atom is
  // A's, and the left one is unknown or not. B holds at x4 = 0.
  for (const Status left_colour : {UNKNOWN, A}) {
    ColouredHost host;
    const int a = host.add(GEQ, {{4, 1}}, 0, A), neq = host.add(NEQ, {{4, 1}}, 0, A);
    const int b = host.add(LEQ, {{4, 1}}, 0, B);
    const int l = host.mapper->add_branch(LEQ, 4, -1, left_colour);
    const int r = host.mapper->add_branch(GEQ, 4, 0, A);
    Proof* const right = cases(neq, plus(hyp(r), hyp(neq, -1)), plus(hyp(b), hyp(neq, 1)));
    EXPECT_EQ(host.interpolant(host.branch(plus(hyp(a), hyp(l)), right, l, r)),
              std::string(left_colour == A ? "(or (<= 0 -1) " : "(or (<= 0 (* 1 x4)) ") +
                  "(or false (not (<= (* 1 x4) 0))))");
  }
  // 8: A: x4 >= 5, B: x4 >= 2 x6 - 1, x6 >= 1, x4 + x7 <= 0, x7 >= 0, branch x4 <= 0 or
  // x4 >= 1, with a cut in the left leaf. Shared atoms count as A's there, B's elsewhere.
  for (const Status colour : {AB, B}) {
    ColouredHost host;
    const int b1 = host.add(GEQ, {{4, 1}, {6, -2}}, -1, B);
    const int b2 = host.add(GEQ, {{6, 1}}, 1, B), b4 = host.add(GEQ, {{7, 1}}, 0, B);
    const int b3 = host.add(LEQ, {{4, 1}, {7, 1}}, 0, B);
    const int l = host.mapper->add_branch(LEQ, 4, 0, colour);
    const int r = host.mapper->add_branch(GEQ, 4, 1, colour);
    Proof* const left = plus(cut({l, b1}, {1}, 2), hyp(b2));
    Proof* const right = sum({hyp(b3), hyp(b4), hyp(r)});
    EXPECT_EQ(host.interpolant(host.branch(left, right, l, r), true),
              colour == B ? "(and true true)"
                          : "(and (<= 0 (* 1 (floor (* 1/2 (* -1 x4))))) true)");
  }
  // 8: A: x4 >= 1, B: x4 <= 1, branch x4 <= 0 or x4 >= 2: B holds at x4 = 1.
  ColouredHost host;
  const int a = host.add(GEQ, {{4, 1}}, 1, A), b = host.add(LEQ, {{4, 1}}, 1, B);
  const int l = host.mapper->add_branch(LEQ, 4, 0, B);
  const int r = host.mapper->add_branch(GEQ, 4, 2, B);
  EXPECT_EQ(host.interpolant(host.branch(plus(hyp(a), hyp(l)), plus(hyp(b), hyp(r)), l, r)),
            "(and (<= 0 (+ (* 1 x4) -1)) true)");
}

}  // namespace
}  // namespace opal::small
