// Proofs over integers: each promise of docs/proofs.md about them, broken, is refused.

#include "opal/linear/linear_form.h"
#include "tests/host/proofs.h"

namespace opal::host {
namespace {

using L = LinearTerm;

// p is A's, q is B's, i and j are shared; z is real.
class IntegerProofs : public Proofs {
 protected:
  const Term_* p = integer("p");
  const Term_* q = integer("q");
  const QNumber half = QNumber(1) / QNumber(2);
};

// A: i = 2p, B: i = 2q + 1, as equalities and as pairs of inequalities.
TEST_F(IntegerProofs, EachBrokenPromiseOfCutsAndEqualitiesIsRefused) {
  const auto assert_all = [this](char side, const Atoms& atoms) {
    for (const Term_* atom : atoms)
      assert_on(side, atom);
  };
  const Term_ *twice_q = times(2, q), *i_is_odd = plus(twice_q, 1);
  const Term_* const p_and_z = plus(times(2, t.make_to_real(p)), z);
  enum { A1 = 1, A2, EVEN, FIVE, NOT_2, STRICT, REAL, REAL_EQ, P_LOW };
  enum { B1 = 10, B2, ODD, REAL_LOW, TWICE, THREE, ABSENT };
  assert_all('A', {leq(i, times(2, p)), leq(times(2, p), i), eq(i, times(2, p)),
                   eq(i, num(5)), neq(i, num(2)), lt(z, num(3)), leq(num(1), p_and_z),
                   eq(z, num(0)), leq(p, num(0))});
  assert_all('B', {leq(i, i_is_odd), leq(i_is_odd, i), eq(i, i_is_odd), leq(z, num(0)),
                   leq(twice_q, i), leq(num(3), q)});
  assert_all('-', {leq(num(7), i)});
  const int used = mapper.cut_variable();
  const Weights one{1};
  const auto closed = [&](Proof* c) { return comb(1, c, 1, cut({A1, B1}, {1}, 2)); };
  const std::string at = "LaZTighteningProof on constraint ", rule = "LaZTighteningProof: ";
  const std::string eq = "LaZEqSubProof";
  const std::string no_multiplier = " is no integer other than zero";
  const auto with_var = [&](int var) { return closed(cut({A2, B2}, one, 2, var)); };
  const auto with_divisor = [&](long k) { return closed(cut({A2, B2}, one, k)); };

  const std::pair<Proof*, std::string> table[] = {
      {closed(cut({A2, B2}, one, 2)), ""},
      {closed(cut({A2, B2}, {-1}, 2)), ""},  // an inequality's sign does not count
      {comb(1, cut({FIVE, TWICE}, one, 2), 1, hyp(THREE)), ""},
      {comb(1, cut({FIVE, TWICE}, {-1}, 2), 1, hyp(THREE)),
       "the sum has i left, with the coefficient 1"},
      // 2 and 6: multipliers and premises.
      {closed(cut({A2, B2}, {half}, 2)), at + "2: the multiplier 1/2" + no_multiplier},
      {closed(cut({A2, B2}, {0}, 2)), at + "2: the multiplier 0" + no_multiplier},
      {closed(cut({A2, ODD}, one, 2)), at + "12: the conclusion is no inequality"},
      {closed(cut({NOT_2, B2}, one, 2)), at + "5: it is a disequality"},
      {closed(cut({STRICT, B2}, one, 2)), at + "6: it is strict"},
      {comb(1, cut({REAL_LOW, REAL}, one, 2), 1, hyp(P_LOW)),
       at + "7: z is no integer variable"},
      {closed(cut({ABSENT, B2}, one, 2)), at + "16: (<= 7 i) was not asserted"},
      {closed(cut({}, {}, 2)), rule + "it has no conclusion"},
      {closed(cut({A2, B2}, {}, 2)), rule + "0 multipliers for 1 premises"},
      // 6: the divisor.
      {with_divisor(1), rule + "the divisor is 1, the coefficients have 2"},
      {with_divisor(-2), rule + "the divisor is -2, the coefficients have 2"},
      {closed(cut({A2, A1}, one, 2)), rule + "the combination has no variable"},
      // 6: the variable.
      {with_var(Mapper::DELTA_VAR), rule + "its variable 1 is the strictness variable"},
      {with_var(9999), rule + "its variable 9999 has no term"},
      {with_var(mapper.variable(z)), rule + "its variable 4 is the problem's z"},
      {comb(1, cut({A2, B2}, one, 2, used), 1, cut({A1, B1}, one, 2, used)),
       rule + "its variable " + std::to_string(used) + " is that of another node, too"},
      // Equality sub-proofs.
      {equalities({EVEN, ODD}, {half, half.neg()}), ""},
      {equalities({EVEN, ODD}, {half, 1}), eq + ": a coefficient of the sum is no integer"},
      {equalities({EVEN, ODD}, {1, -1}),
       eq + ": the constant of the sum, 1, is an integer"},
      {equalities({EVEN, ODD}, {half, 0}),
       eq + " on constraint 12: its multiplier is zero"},
      {equalities({ODD, ODD}, {half, half}), eq + " on constraint 12: it occurs twice"},
      {equalities({EVEN, B1}, {half, half}), eq + " on constraint 10: it is no equality"},
      {equalities({REAL_EQ}, {half}), eq + " on constraint 8: z is no integer variable"},
      {equalities({EVEN, ODD}, {half}), eq + ": 1 multipliers for 2 equalities"},
      {equalities({}, {}), eq + ": the constant of the sum, 0, is an integer"},
      {comb(1, hyp(A1), 1, equalities({EVEN, ODD}, {half, half.neg()})),
       eq + " below the root"},
  };
  for (const auto& [root, expected] : table)
    EXPECT_EQ(verdict(root), expected);
}

// A: 2i >= 1 (that is, i >= 1), j /= 0, B: 2i <= 1, 2j <= 1, 2j >= -1.
TEST_F(IntegerProofs, EachBrokenPromiseOfBranchesIsRefused) {
  const int low = assert_on('A', leq(num(1), times(2, i)));
  const int high = assert_on('B', leq(times(2, i), num(1)));
  const int not_0 = assert_on('A', neq(j, num(0)));
  const int j_low = assert_on('B', leq(num(-1), times(2, j)));
  const int j_high = assert_on('B', leq(times(2, j), num(1)));
  const int taken = assert_on('A', leq(i, num(9)));
  const int other_form = assert_on('-', leq(plus(i, 1), num(1)));
  const auto left = [&] { return comb(1, hyp(low), 1, hyp(below(i, 0))); };
  const auto right = [&] { return comb(1, hyp(high), 1, hyp(above(i, 1))); };
  const auto split = [&] {
    return new la::LaNeq(not_0, comb(1, hyp(not_0, -1), 1, hyp(j_low)),
                         comb(1, hyp(not_0, 1), 1, hyp(j_high)));
  };
  const auto at = [](int id) {
    return "LaZInternalBBProof with branch " + std::to_string(id) + ": ";
  };
  const auto outside = [](int id) {
    return "LaZInternalBBProof: the constraint of branch " + std::to_string(id) +
           " is used outside of the branch";
  };
  const int l = below(i, 0), r = above(i, 1), r2 = above(i, 2), l9 = below(i, 9);
  const auto pair = [&](const LinearTerm& l_term, const LinearTerm& r_term) {
    return node(left(), right(), l, r, l_term, r_term);
  };
  const LinearTerm i_low = bound(L::LEQ, i, 0), i_high = bound(L::GEQ, i, 1);
  const auto ids = [&](int l_id, int r_id) {
    return node(left(), right(), l_id, r_id, i_low, i_high);
  };

  const std::pair<Proof*, std::string> table[] = {
      {branches(i, 0, left(), right()), ""},
      {branches(j, 3, split(), branches(i, 0, left(), split())), ""},
      {branches(i, 0, branches(j, 3, left(), left()), right()), ""},
      {branches(i, 0, right(), left()), outside(l)},
      {branches(j, 0, left(), branches(i, 0, left(), right())), outside(l)},
      {left(), "LaHyp on constraint " + std::to_string(l) + ": (<= i 0) was not asserted"},
      {branches(i, 0, comb(1, hyp(low), 1, cut({below(i, 0)}, {}, 1)), right()), ""},
      {branches(i, 0, left(), comb(1, hyp(low), 1, cut({below(i, 0)}, {}, 1))), outside(l)},
      // No gap, and a term of integers.
      {node(left(), right(), l, r2, i_low, bound(L::GEQ, i, 2)),
       at(l) + "the branches are at 0 and 2"},
      {pair(i_high, i_low), at(l) + "the branches are not t <= c and t >= c+1"},
      {pair(i_low, bound(L::GEQ, j, 1)), at(l) + "the branches are over different terms"},
      {pair(bound(L::LEQ, i, half), bound(L::GEQ, i, half + QNumber(1))),
       at(l) + "1/2 is no integer"},
      {pair(bound(L::LEQ, i, 0, half), bound(L::GEQ, i, 1, half)),
       at(l) + "a coefficient is no integer"},
      {pair(bound(L::LEQ, z, 0), bound(L::GEQ, z, 1)), at(l) + "z is no integer variable"},
      {pair(bound(L::LEQ, nullptr, 0), bound(L::GEQ, nullptr, 1)),
       at(l) + "it has no variable"},
      // Ids and atoms.
      {ids(l, l), at(l) + "both branches have this id"},
      {ids(r, l), at(r) + "(<= 1 i) is not what the engine builds for it"},
      {ids(l9, r), at(l9) + "(<= i 9) was asserted"},
      {ids(taken, r), at(taken) + "(<= i 9) was asserted"},
      {ids(other_form, r),
       at(other_form) + "(<= (+ i 1) 1) is not what the engine builds for it"},
      {ids(7777, r), at(7777) + "it has no literal"},
      {node(left(), branches(j, 0, split(), split()), below(j, 0), r, i_low, i_high),
       at(below(j, 0)) + "(<= j 0) is not what the engine builds for it"},
      {branches(j, 0, split(), node(left(), right(), l, above(j, 1), i_low, i_high)),
       at(above(j, 1)) + "it is another branch's id, too"},
      // Refutations.
      {branches(i, 0, left(), nullptr), "LaZInternalBBProof: a branch is missing"},
      {branches(i, 0, left(), hyp(high)), "the sum has i left, with the coefficient -1"},
      {comb(1, hyp(low), 1, branches(i, 0, left(), right())),
       "LaZInternalBBProof below the root"},
  };
  for (const auto& [root, expected] : table)
    EXPECT_EQ(verdict(root), expected);
  LyingMapper liar(mapper, r, bound(L::GEQ, i, 2));
  EXPECT_EQ(verdict(branches(i, 0, left(), right()), liar),
            at(r) + "the mapper's linear term is another one");
}

TEST_F(IntegerProofs, PromisesAboutThePartitionHaveTheirOwnCheck) {
  const int odd = assert_on('A', eq(times(2, p), plus(times(2, i), 1)));
  const int zero = assert_on('B', eq(i, num(0)));
  assert_on('B', leq(q, num(9)));
  const int mixed = assert_on('-', leq(p, q));
  const auto proof = [&] { return equalities({odd, zero}, {half, 1}); };
  EXPECT_EQ(verdict(proof()), "");
  const itp::TheoryAtomClassifier classifier(sides());
  const std::string alone = " alone have no integer solution";
  EXPECT_EQ(verdict_on_sides(proof(), classifier), "LaZEqSubProof: A's equalities" + alone);
  EXPECT_EQ(verdict_on_sides(proof(), classifier.flip()),
            "LaZEqSubProof: B's equalities" + alone);
  EXPECT_EQ(verdict_on_sides(equalities({odd}, {half}), classifier), "");
  EXPECT_EQ(verdict_on_sides(hyp(mixed), classifier),
            "constraint " + std::to_string(mixed) + ": (<= p q) is AB-mixed");

  // What is entered for the branches' atoms: A, B, or nothing.
  const struct {
    const Term_* term;
    std::string colours;
    std::string refusal;
  } table[] = {{i, "BB", ""},
               {i, "--", "(<= i 0) is entered as unknown, not as B"},
               {i, "AA", "(<= i 0) is entered as A, not as B"},
               {i, "BA", "(<= 1 i) is entered as A, not as B"},
               {p, "AA", ""},
               {p, "AB", "(<= 1 p) is entered as B, not as A"},
               {q, "BB", ""},
               {z, "BB", "z is unknown"}};
  const int none = Mapper::ZERO_CONSTRAINT;
  for (const auto& c : table) {
    const ProofRef root(c.term == z ? node(hyp(none), hyp(none), 1, 2, bound(L::LEQ, z, 0),
                                           bound(L::GEQ, z, 1))
                                    : branches(c.term, 0, hyp(none), hyp(none)));
    const auto& tree = static_cast<const laz::LaZInternalBBProof&>(*root);
    itp::TheoryAtomClassifier entered(sides());
    for (const auto& [colour, id] :
         {std::pair(c.colours[0], tree.left_id), std::pair(c.colours[1], tree.right_id)}) {
      if (colour == 'A') entered.add_A_atom(mapper.constraint_atom(id));
      if (colour == 'B') entered.add_B_atom(mapper.constraint_atom(id));
    }
    const std::string text = verdict_on_sides(Proof::retain(root.get()), entered);
    EXPECT_EQ(text.substr(text.empty() ? 0 : text.find(": ") + 2), c.refusal);
  }
  EXPECT_EQ(verdict_on_sides(node(hyp(none), hyp(none), 1, 2, bound(L::LEQ, p, 0, 1, q),
                                  bound(L::GEQ, p, 1, 1, q)),
                             classifier),
            "LaZInternalBBProof with branch 1: its term mixes symbols of A and of B");
}

// 2i < 5 is i <= 2: the mapper may say less, not more. What it says is what counts.
TEST_F(IntegerProofs, TheMapperMayRoundAsFarAsIntegersAllow) {
  const int id = assert_on('A', lt(times(2, i), num(5)));
  const int far = assert_on('B', leq(num(3), i));
  const auto says = [&](int kind, const QNumber& a, const QNumber& c, bool in_cut = false) {
    LyingMapper liar(mapper, id, bound(kind, i, c, a));
    Proof* leaf = in_cut ? cut({id}, {}, 1) : hyp(id);
    return verdict(comb(1, leaf, 1, hyp(far)), liar);
  };
  const std::string lie =
      "LaHyp on constraint 1: the mapper's linear term is not that of (< (* 2 i) 5)";
  EXPECT_EQ(says(L::LEQ, 1, 2), "");
  EXPECT_EQ(says(L::GEQ, -1, -2), "");
  EXPECT_EQ(says(L::LT, 1, 3), "");
  EXPECT_EQ(says(L::LEQ, 1, 3), "the sum is no contradiction: 0 >= 0");
  EXPECT_EQ(says(L::LT, 2, 5), "the sum has i left, with the coefficient -1");
  EXPECT_EQ(says(L::LEQ, half, 1), "the sum has i left, with the coefficient 1/2");
  EXPECT_EQ(says(L::LEQ, 1, half * QNumber(3)), lie);
  EXPECT_EQ(says(L::LEQ, 1, 1), lie);
  EXPECT_EQ(says(L::LT, 1, 2), lie);
  EXPECT_EQ(says(L::LEQ, -1, 2), lie);
  EXPECT_EQ(says(L::LEQ, 2, 3), lie);
  const std::string at = "LaZTighteningProof on constraint 1: ";
  EXPECT_EQ(says(L::LT, 1, 3, true), at + "it is strict");
  EXPECT_EQ(says(L::LEQ, half, 1, true), at + "a coefficient is no integer");
  EXPECT_EQ(says(L::LEQ, 1, half * QNumber(5), true), at + "the constant is no integer");
}

// The deepest leaf uses the constraints of all branches.
TEST_F(IntegerProofs, AHundredThousandLevelsAndManyPaths) {
  constexpr long LEVELS = 100000;
  const int low = assert_on('A', leq(num(2 * LEVELS + 1), times(2, i)));
  const int high = assert_on('B', leq(times(2, i), num(1)));
  Proof* tree = new la::LaComb(new QNumber(LEVELS), hyp(high), nullptr,
                               hyp(Mapper::ZERO_CONSTRAINT), 0, 0, 0);
  for (long level = 1; level <= LEVELS; ++level)
    tree = comb(1, hyp(above(i, level)), 1, tree);
  for (long level = LEVELS; level >= 1; --level)
    tree = branches(i, level - 1, comb(1, hyp(low), 1, hyp(below(i, level - 1))), tree);
  EXPECT_EQ(verdict(tree), "");
  tree = comb(1, hyp(low), 1, hyp(high));
  for (long level = 0; level < 60; ++level)
    tree = branches(j, level, tree, Proof::retain(tree));
  EXPECT_EQ(verdict(tree), "");
}

// Cuts in the two leaves of a branch, with rows drawn at random. Every row but the last of
// a leaf has a variable of its own, so that no change of a multiplier cancels out.
class RandomCuts : public IntegerProofs {
 protected:
  enum Change { NONE, MULTIPLIER, SIGN, DIVISOR, CONSTANT, VARIABLE, SWAPPED, CHANGES };

  // A cut that the branch i <= 0 or i >= 1 concludes, and a row that contradicts it.
  Proof* leaf(bool upper, Change change) {
    const Term_* sum = upper ? times(-1, i) : plus(i, -1);
    Ids ids;
    Weights multipliers;
    const auto add = [&](char side, bool equality, long m, const Term_* e) {
      e = plus(e, pick(-3, 3));
      ids.push_back(assert_on(side, equality ? eq(e, num(0)) : leq(num(0), e)));
      multipliers.emplace_back(m);
      sum = plus(sum, times(equality && upper ? -m : m, e));
    };
    for (long n = pick(1, 3); n > 0; --n) {
      const Term_* e = integer("own" + std::to_string(n));
      for (const Term_* v : {i, j, p, q})
        e = plus(e, times(pick(-3, 3), v));
      add('A', n == 1, n == 1 && one_in(2) ? pick(-3, -1) : pick(1, 3), e);
    }
    // The coefficients become multiples of k, with k as their divisor, by one more row.
    const long k = pick(2, 4);
    const Term_ *u = integer("u"), *rest = integer("rest");
    const Term_* e = plus(times(k, u), times(k * pick(1, 2) + 1, rest));
    for (const auto& [v, a] : linear_form(sum).summands)
      e = plus(e, times(QNumber(k * pick(-1, 1)) - a, v));
    add('B', false, 1, e);
    add('B', false, 1, times(-1, rest));
    ids.push_back(upper ? below(i, 0) : above(i, 1));
    const LinearForm all = linear_form(sum);
    const Term_* closing =
        num(QNumber(change == CONSTANT ? 0 : -1) - (all.constant / QNumber(k)).floor());
    for (const auto& [v, a] : all.summands)
      closing = plus(closing, times(a.neg() / QNumber(k), v));
    if (change == MULTIPLIER) multipliers[0] += QNumber(multipliers[0].sign());
    QNumber& of_equality = multipliers[multipliers.size() - 3];
    if (change == SIGN) of_equality = of_equality.neg();
    return comb(1,
                cut(ids, multipliers, k + (change == DIVISOR ? 1 : 0),
                    change == VARIABLE ? mapper.variable(i) : 0),
                1, hyp(assert_on('A', leq(num(0), closing))));
  }
};

TEST_F(RandomCuts, PassAndChangedOnesDoNot) {
  for (int round = 0; round < 700; ++round) {
    const auto change = static_cast<Change>(round % CHANGES);
    asserted.clear();
    const bool in_left = one_in(2);
    Proof* left = leaf(true, in_left ? change : NONE);
    Proof* right = leaf(false, in_left ? NONE : change);
    if (change == SWAPPED) std::swap(left, right);
    const std::string text = verdict(branches(i, 0, left, right));
    EXPECT_EQ(text.empty(), change == NONE) << change << ": " << text;
  }
}

}  // namespace
}  // namespace opal::host
