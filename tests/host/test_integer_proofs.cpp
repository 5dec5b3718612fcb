// Proofs over integers: each promise of docs/proofs.md about them, broken, is refused.

#include <gtest/gtest.h>

#include <random>

#include "tests/host/checked_proofs.h"

namespace opal::host {
namespace {

using L = la::LinearTerm;
using Ids = std::vector<int>;
using Multipliers = std::vector<QNumber>;

// p is A's, q is B's, i and j are shared; z is real.
class IntegerProofs : public CheckedProofs {
 protected:
  Proof* cut(Ids ids, Multipliers multipliers, const QNumber& k, int var = 0) {
    return new laz::LaZTighteningProof(std::move(ids), std::move(multipliers), k,
                                       var != 0 ? var : mapper.cut_variable());
  }
  static Proof* equalities(Ids ids, Multipliers multipliers) {
    return new laz::LaZEqSubProof(std::move(ids), std::move(multipliers));
  }
  la::LinearTerm bound(int kind, const Term_* v, const QNumber& c, const QNumber& a = 1) {
    la::Equation vars;
    if (v != nullptr) vars.add_var(a, mapper.variable(v));
    return {kind, vars, c};
  }
  int below(const Term_* v, long c) {
    return mapper.branch_constraint(bound(L::LEQ, v, QNumber(c)));
  }
  int above(const Term_* v, long c) {
    return mapper.branch_constraint(bound(L::GEQ, v, QNumber(c)));
  }
  static Proof* node(Proof* l, Proof* r, int l_id, int r_id, const la::LinearTerm& l_term,
                     const la::LinearTerm& r_term) {
    return new laz::LaZInternalBBProof(l, r, l_id, r_id, l_term, r_term);
  }
  Proof* branches(const Term_* v, long c, Proof* l, Proof* r) {
    return node(l, r, below(v, c), above(v, c + 1), bound(L::LEQ, v, QNumber(c)),
                bound(L::GEQ, v, QNumber(c + 1)));
  }
  // What check_partition says.
  std::string verdict_on_sides(Proof* root, const itp::TheoryAtomClassifier& classifier) {
    const ProofRef owner(root);
    return ProofChecker(mapper, asserted).check_partition(root, classifier).value_or("");
  }
  const Term_* plus(const Term_* a, long c) { return t.make_plus(a, num(c)); }

  const Term_* i = t.make_variable("i", Sort::INT);
  const Term_* j = t.make_variable("j", Sort::INT);
  const Term_* p = t.make_variable("p", Sort::INT);
  const Term_* q = t.make_variable("q", Sort::INT);
  const Term_* z = t.make_variable("z", Sort::REAL);
  const QNumber half = QNumber(1) / QNumber(2);
};

// A: i = 2p, B: i = 2q + 1, as equalities and as pairs of inequalities.
TEST_F(IntegerProofs, EachBrokenPromiseOfCutsAndEqualitiesIsRefused) {
  const int a1 = assert_on('A', t.make_leq(i, times(2, p)));              // 1
  const int a2 = assert_on('A', t.make_leq(times(2, p), i));              // 2
  const int b1 = assert_on('B', t.make_leq(i, plus(times(2, q), 1)));     // 3
  const int b2 = assert_on('B', t.make_leq(plus(times(2, q), 1), i));     // 4
  const int even = assert_on('A', t.make_equal(i, times(2, p)));          // 5
  const int odd = assert_on('B', t.make_equal(i, plus(times(2, q), 1)));  // 6
  const int not_2 = assert_on('A', t.make_distinct(i, num(2)));           // 7
  const int strict = assert_on('A', t.make_lt(z, num(3)));                // 8
  const Term_* real_p = t.make_to_real(p);
  const int real = assert_on(  // 9
      'A', t.make_leq(num(1), t.make_plus(t.make_times(num(2), real_p), z)));
  const int real_low = assert_on('B', t.make_leq(z, num(0)));    // 10
  const int absent = assert_on('-', t.make_leq(num(7), i));      // 11
  const int real_eq = assert_on('A', t.make_equal(z, num(0)));   // 12
  const int five = assert_on('A', t.make_equal(i, num(5)));      // 13
  const int twice = assert_on('B', t.make_leq(times(2, q), i));  // 14
  const int three = assert_on('B', t.make_leq(num(3), q));       // 15
  const int p_low = assert_on('A', t.make_leq(p, num(0)));       // 16
  const int used = mapper.cut_variable();
  const Multipliers one{1};
  const auto closed = [&](Proof* c) { return comb(1, c, 1, cut({a1, b1}, {1}, 2)); };
  const std::string at = "LaZTighteningProof on constraint ", rule = "LaZTighteningProof: ";
  const std::string eq = "LaZEqSubProof";
  const std::string no_multiplier = " is no integer other than zero";
  const auto with_var = [&](int var) { return closed(cut({a2, b2}, one, 2, var)); };
  const auto with_divisor = [&](long k) { return closed(cut({a2, b2}, one, k)); };

  const std::pair<Proof*, std::string> table[] = {
      {closed(cut({a2, b2}, one, 2)), ""},
      {closed(cut({a2, b2}, {-1}, 2)), ""},  // an inequality's sign does not count
      {comb(1, cut({five, twice}, one, 2), 1, hyp(three)), ""},
      {comb(1, cut({five, twice}, {-1}, 2), 1, hyp(three)),
       "the sum has i left, with the coefficient 1"},
      // 2 and 6: multipliers and premises.
      {closed(cut({a2, b2}, {half}, 2)), at + "2: the multiplier 1/2" + no_multiplier},
      {closed(cut({a2, b2}, {0}, 2)), at + "2: the multiplier 0" + no_multiplier},
      {closed(cut({a2, odd}, one, 2)), at + "6: the conclusion is no inequality"},
      {closed(cut({not_2, b2}, one, 2)), at + "7: it is a disequality"},
      {closed(cut({strict, b2}, one, 2)), at + "8: it is strict"},
      {comb(1, cut({real_low, real}, one, 2), 1, hyp(p_low)),
       at + "9: z is no integer variable"},
      {closed(cut({absent, b2}, one, 2)), at + "11: (<= 7 i) was not asserted"},
      {closed(cut({}, {}, 2)), rule + "it has no conclusion"},
      {closed(cut({a2, b2}, {}, 2)), rule + "0 multipliers for 1 premises"},
      // 6: the divisor.
      {with_divisor(1), rule + "the divisor is 1, the coefficients have 2"},
      {with_divisor(-2), rule + "the divisor is -2, the coefficients have 2"},
      {closed(cut({a2, a1}, one, 2)), rule + "the combination has no variable"},
      // 6: the variable.
      {with_var(Mapper::DELTA_VAR), rule + "its variable 1 is the strictness variable"},
      {with_var(9999), rule + "its variable 9999 has no term"},
      {with_var(mapper.variable(z)), rule + "its variable 5 is the problem's z"},
      {comb(1, cut({a2, b2}, one, 2, used), 1, cut({a1, b1}, one, 2, used)),
       rule + "its variable " + std::to_string(used) + " is that of another node, too"},
      // Equality sub-proofs.
      {equalities({even, odd}, {half, half.neg()}), ""},
      {equalities({even, odd}, {half, 1}), eq + ": a coefficient of the sum is no integer"},
      {equalities({even, odd}, {1, -1}),
       eq + ": the constant of the sum, 1, is an integer"},
      {equalities({even, odd}, {half, 0}), eq + " on constraint 6: its multiplier is zero"},
      {equalities({odd, odd}, {half, half}), eq + " on constraint 6: it occurs twice"},
      {equalities({even, b1}, {half, half}), eq + " on constraint 3: it is no equality"},
      {equalities({real_eq}, {half}), eq + " on constraint 12: z is no integer variable"},
      {equalities({even, odd}, {half}), eq + ": 1 multipliers for 2 equalities"},
      {equalities({}, {}), eq + ": the constant of the sum, 0, is an integer"},
      {comb(1, hyp(a1), 1, equalities({even, odd}, {half, half.neg()})),
       eq + " below the root"},
  };
  for (const auto& [root, expected] : table)
    EXPECT_EQ(verdict(root), expected);
}

// A: 2i >= 1 (that is, i >= 1), j /= 0, B: 2i <= 1, 2j <= 1, 2j >= -1.
TEST_F(IntegerProofs, EachBrokenPromiseOfBranchesIsRefused) {
  const int low = assert_on('A', t.make_leq(num(1), times(2, i)));
  const int high = assert_on('B', t.make_leq(times(2, i), num(1)));
  const int not_0 = assert_on('A', t.make_distinct(j, num(0)));
  const int j_low = assert_on('B', t.make_leq(num(-1), times(2, j)));
  const int j_high = assert_on('B', t.make_leq(times(2, j), num(1)));
  const int taken = assert_on('A', t.make_leq(i, num(9)));
  const int other_form = assert_on('-', t.make_leq(plus(i, 1), num(1)));
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
  const auto pair = [&](const la::LinearTerm& l_term, const la::LinearTerm& r_term) {
    return node(left(), right(), l, r, l_term, r_term);
  };
  const auto ids = [&](int l_id, int r_id) {
    return node(left(), right(), l_id, r_id, bound(L::LEQ, i, 0), bound(L::GEQ, i, 1));
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
      {node(left(), right(), l, r2, bound(L::LEQ, i, 0), bound(L::GEQ, i, 2)),
       at(l) + "the branches are at 0 and 2"},
      {pair(bound(L::GEQ, i, 1), bound(L::LEQ, i, 0)),
       at(l) + "the branches are not t <= c and t >= c+1"},
      {pair(bound(L::LEQ, i, 0), bound(L::GEQ, j, 1)),
       at(l) + "the branches are over different terms"},
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
      {node(left(), branches(j, 0, split(), split()), below(j, 0), r, bound(L::LEQ, i, 0),
            bound(L::GEQ, i, 1)),
       at(below(j, 0)) + "(<= j 0) is not what the engine builds for it"},
      {branches(
           j, 0, split(),
           node(left(), right(), l, above(j, 1), bound(L::LEQ, i, 0), bound(L::GEQ, i, 1))),
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
  const ProofRef root(branches(i, 0, left(), right()));
  EXPECT_EQ(ProofChecker(liar, asserted).check(root.get()),
            at(r) + "the mapper's linear term is another one");
}

TEST_F(IntegerProofs, PromisesAboutThePartitionHaveTheirOwnCheck) {
  const int odd = assert_on('A', t.make_equal(times(2, p), plus(times(2, i), 1)));
  const int zero = assert_on('B', t.make_equal(i, num(0)));
  assert_on('B', t.make_leq(q, num(9)));
  const int mixed = assert_on('-', t.make_leq(p, q));
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
    const std::string text =
        ProofChecker(mapper, asserted).check_partition(root.get(), entered).value_or("");
    EXPECT_EQ(text.substr(text.empty() ? 0 : text.find(": ") + 2), c.refusal);
  }
  la::Equation sum;
  sum.add_var(1, mapper.variable(p));
  sum.add_var(1, mapper.variable(q));
  EXPECT_EQ(
      verdict_on_sides(node(hyp(none), hyp(none), 1, 2, la::LinearTerm(L::LEQ, sum, 0),
                            la::LinearTerm(L::GEQ, sum, 1)),
                       classifier),
      "LaZInternalBBProof with branch 1: its term mixes symbols of A and of B");
}

// 2i < 5 is i <= 2: the mapper may say less, not more. What it says is what counts.
TEST_F(IntegerProofs, TheMapperMayRoundAsFarAsIntegersAllow) {
  const int id = assert_on('A', t.make_lt(times(2, i), num(5)));
  const int far = assert_on('B', t.make_leq(num(3), i));
  const auto says = [&](int kind, const QNumber& a, const QNumber& c, bool in_cut = false) {
    LyingMapper liar(mapper, id, bound(kind, i, c, a));
    Proof* leaf = in_cut ? cut({id}, {}, 1) : hyp(id);
    const ProofRef root(comb(1, leaf, 1, hyp(far)));
    return ProofChecker(liar, asserted).check(root.get()).value_or("");
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
  for (const auto& [kind, a, c] : {std::tuple(L::LEQ, 1, 1),
                                   {L::LT, 1, 2},
                                   {L::LEQ, -1, 2},
                                   {L::GEQ, 1, 2},
                                   {L::LEQ, 2, 3},
                                   {L::EQ, 1, 2},
                                   {L::NEQ, 2, 5}})
    EXPECT_EQ(says(kind, a, c), lie) << kind << " " << a << " " << c;
  const std::string at = "LaZTighteningProof on constraint 1: ";
  EXPECT_EQ(says(L::LT, 1, 3, true), at + "it is strict");
  EXPECT_EQ(says(L::LEQ, half, 1, true), at + "a coefficient is no integer");
  EXPECT_EQ(says(L::LEQ, 1, half * QNumber(5), true), at + "the constant is no integer");
}

// floor(z) = n + 1/2 has no solution, and floor(z) > z contradicts its definition.
TEST_F(IntegerProofs, FloorsAreIntegerVariables) {
  const Term_* f = t.make_floor(z);
  const int no = assert_on('A', t.make_equal(times(2, f), num(1)));
  EXPECT_EQ(verdict(equalities({no}, {half})), "");
  const int defined = assert_on('A', t.make_leq(t.make_to_real(f), z));
  const int above_z = assert_on('B', t.make_lt(z, t.make_to_real(f)));
  EXPECT_EQ(verdict(comb(1, hyp(defined), 1, hyp(above_z))), "");
  const int big = assert_on('A', t.make_lt(num(0), f));
  EXPECT_EQ(verdict(branches(f, 0, comb(1, hyp(big), 1, hyp(below(f, 0))),
                             comb(1, hyp(big), 1, hyp(above(f, 1))))),
            "the sum has (to_int z) left, with the coefficient 2");
}

// The deepest leaf uses the constraints of all branches.
TEST_F(IntegerProofs, AHundredThousandLevelsAndManyPaths) {
  constexpr long LEVELS = 100000;
  const int low = assert_on('A', t.make_leq(num(2 * LEVELS + 1), times(2, i)));
  const int high = assert_on('B', t.make_leq(times(2, i), num(1)));
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

  long pick(long low, long high) {
    return low + long(random() % static_cast<unsigned long>(high - low + 1));
  }
  struct Row {
    std::vector<long> coeffs;
    long constant;
  };
  static void add(Row& to, long m, const Row& e) {
    to.coeffs.resize(std::max(to.coeffs.size(), e.coeffs.size()));
    for (std::size_t v = 0; v < e.coeffs.size(); ++v)
      to.coeffs[v] += m * e.coeffs[v];
    to.constant += m * e.constant;
  }
  const Term_* term(const Row& e) {
    const Term_* sum = num(e.constant);
    for (std::size_t v = 0; v < e.coeffs.size(); ++v)
      sum = t.make_plus(sum, times(e.coeffs[v], variable(v)));
    return sum;
  }
  const Term_* variable(std::size_t v) {
    return t.make_variable("v" + std::to_string(v), Sort::INT);
  }
  Row random_row(std::size_t own) {
    Row e{std::vector<long>(own + 1), pick(-3, 3)};
    for (std::size_t v = 0; v < SHARED; ++v)
      e.coeffs[v] = pick(-3, 3);
    e.coeffs[own] = 1;
    return e;
  }
  // A cut that the branch v0 <= 0 or v0 >= 1 concludes, and a row that contradicts it.
  Proof* leaf(bool upper, Change change) {
    Row sum{{upper ? -1 : 1}, upper ? 0 : -1};
    Ids ids;
    Multipliers multipliers;
    std::size_t own = SHARED;
    for (long n = pick(1, 3); n > 0; --n, ++own) {
      const Row e = random_row(own);
      const bool equality = n == 1;
      const long m = equality ? (pick(0, 1) == 0 ? -1 : 1) * pick(1, 3) : pick(1, 3);
      ids.push_back(assert_on(
          'A', equality ? t.make_equal(term(e), num(0)) : t.make_leq(num(0), term(e))));
      multipliers.emplace_back(m);
      add(sum, equality && upper ? -m : m, e);
    }
    // The coefficients become multiples of k, with k as their divisor, by one more row.
    const long k = pick(2, 4);
    Row e{std::vector<long>(own + 2), pick(-3, 3)};
    for (std::size_t v = 0; v < own; ++v)
      e.coeffs[v] = k * pick(-1, 1) - (v < sum.coeffs.size() ? sum.coeffs[v] : 0);
    e.coeffs[own] = k, e.coeffs[own + 1] = k * pick(1, 2) + 1;
    Row rest{std::vector<long>(own + 2), pick(-3, 3)};
    rest.coeffs[own + 1] = -1;
    for (const Row& row : {e, rest}) {
      ids.push_back(assert_on('B', t.make_leq(num(0), term(row))));
      multipliers.emplace_back(1);
      add(sum, 1, row);
    }
    ids.push_back(upper ? below(variable(0), 0) : above(variable(0), 1));
    Row closing{
        {},
        -1 - static_cast<long>((QNumber(sum.constant) / QNumber(k)).floor().to_double())};
    for (const long a : sum.coeffs)
      closing.coeffs.push_back(-a / k);
    if (change == CONSTANT) ++closing.constant;
    if (change == MULTIPLIER) multipliers[0] += QNumber(multipliers[0].sign());
    const std::size_t equality = multipliers.size() - 3;
    if (change == SIGN) multipliers[equality] = multipliers[equality].neg();
    const int var = change == VARIABLE ? 2 : 0;
    return comb(1, cut(ids, multipliers, k + (change == DIVISOR ? 1 : 0), var), 1,
                hyp(assert_on('A', t.make_leq(num(0), term(closing)))));
  }

  static constexpr std::size_t SHARED = 4;
  std::mt19937 random{11};
};

TEST_F(RandomCuts, PassAndChangedOnesDoNot) {
  for (int round = 0; round < 700; ++round) {
    const auto change = static_cast<Change>(round % CHANGES);
    asserted.clear();
    const bool in_left = pick(0, 1) == 0;
    Proof* left = leaf(true, in_left ? change : NONE);
    Proof* right = leaf(false, in_left ? NONE : change);
    if (change == SWAPPED) std::swap(left, right);
    const std::string text = verdict(branches(variable(0), 0, left, right));
    EXPECT_EQ(text.empty(), change == NONE) << change << ": " << text;
  }
}

}  // namespace
}  // namespace opal::host
