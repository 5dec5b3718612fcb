// Equalities between A and B: proved, split, and their halves interpolated. The solver
// judges, which knows nothing of proofs that are split.

#include "opal/host/equality_split.h"

#include "opal/host/literals.h"
#include "opal/host/printer.h"
#include "opal/host/solver.h"
#include "tests/host/proofs.h"

namespace opal::host {
namespace {

using Mode = la::Interpolator::Mode;
using Status = itp::TheoryAtomClassifier::status;

class EqualitySplits : public Proofs {
 protected:
  // The conjunctions of atoms of which a formula, or its negation, is the disjunction.
  std::vector<Atoms> cases_of(const Term_* f, bool negated) {
    const Kind kind = Terms::kind_of(f);
    if (kind == Kind::NOT) return cases_of(f->arg(0), !negated);
    if (kind != Kind::AND && kind != Kind::OR) return {conjuncts(t, negated ? lnot(f) : f)};
    std::vector<Atoms> left = cases_of(f->arg(0), negated);
    const std::vector<Atoms> right = cases_of(f->arg(1), negated);
    std::vector<Atoms> both;
    for (const Atoms& l : left)
      for (const Atoms& r : right)
        both.push_back(joined(l, r));
    if ((kind == Kind::AND) != negated) return both;
    left.insert(left.end(), right.begin(), right.end());
    return left;
  }
  bool contradicts(const Atoms& atoms, const Term_* f, bool negated = false) {
    for (const Atoms& more : cases_of(f, negated)) {
      la::Solver solver(mapper, limits);
      for (const Term_* atom : joined(atoms, more))
        solver.assert_constraint(mapper.constraint(atom));
      if (solver.check() != la::Solver::Verdict::UNSAT) return false;
    }
    return true;
  }
  void enter(char side, const Term_* atom) {
    assert_on(side, atom);
    (side == 'A' ? a_atoms : b_atoms).push_back(atom);
  }
  void expect_shared(const Term_* f) {
    EXPECT_EQ(grouping->symbols_colour(f, 0), Status::SHARED) << term_text(f);
  }
  // In every mode, the interpolant of a proof follows from A and contradicts B.
  void expect_interpolants(const ProofRef& proof, const std::shared_ptr<const Grouping>& g,
                           const Atoms& a, const Atoms& b) {
    for (const Mode mode : {la::Interpolator::MODE_SUM, la::Interpolator::MODE_CONJ,
                            la::Interpolator::MODE_DUAL}) {
      itp::TheoryAtomClassifier classifier(std::make_shared<Partition>(g, 0));
      const Term_* const itp = la::Interpolator(&t, nullptr, &mapper, mode, false)
                                   .get_interpolant(&classifier, proof.get());
      EXPECT_TRUE(contradicts(a, itp, true)) << term_text(itp);
      EXPECT_TRUE(contradicts(b, itp)) << term_text(itp);
      expect_shared(itp);
    }
  }
  // Of a half, whose denial is an atom of its side.
  void expect_half(EqualitySplitter& splitter, const EqualityHalf& half, bool of_A,
                   const Term_* denial) {
    if (!half.proof) return;
    ++(half.completed ? completed : alone);
    Atoms a = a_atoms, b = b_atoms;
    (of_A ? a : b).push_back(denial);
    EXPECT_TRUE(contradicts(joined(a, b), t.true_term()));
    expect_interpolants(half.proof, splitter.grouping(), a, b);
  }
  const Term_* combination(const Atoms& of) {
    const Term_* sum = num(pick(-3, 3));
    for (const Term_* v : of) {
      const long a = pick(-2, 2);
      const bool whole = Terms::sort_of(v) == Sort::INT || one_in(2);
      sum = plus(sum, times(whole ? QNumber(a) : QNumber(a) / QNumber(2), v));
    }
    return sum;
  }
  // low <= v <= high with a variable in between, which bounds v from either end.
  void between(char side, const Term_* low, const Term_* v, const Term_* between,
               const Term_* high) {
    const bool below = one_in(2);
    enter(side, leq(low, below ? between : v));
    enter(side, below ? leq(times(2, between), times(2, v)) : leq(v, between));
    enter(side, leq(below ? v : between, high));
  }

  Atoms a_atoms, b_atoms;
  int alone = 0, completed = 0;
};

TEST_F(EqualitySplits, RandomHalvesFollowAndHaveInterpolants) {
  int later_proofs = 0, solved = 0;
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    a_atoms.clear(), b_atoms.clear();
    grouping = std::make_shared<Grouping>(Grouping::sequence(2));
    const bool integers = one_in(3);
    const auto make = [&](const char* name) {
      return integers ? integer(std::string(name) + "i") : real(name);
    };
    const Atoms shared{make("s"), make("u"), make("w")};
    const Model point = any_model(shared);
    const auto equal_at_point = [&](const Term_* e, const Term_* f) {
      return plus(f, num(evaluate(e, point) - evaluate(f, point)));
    };
    const Term_ *a[2], *b[2], *low[2], *high[2];
    for (const int k : {0, 1}) {
      a[k] = make(k == 0 ? "a" : "aa"), b[k] = make(k == 0 ? "b" : "bb");
      low[k] = combination(shared);
      high[k] = one_in(3) ? low[k] : equal_at_point(low[k], combination(shared));
      between('A', low[k], a[k], make(k == 0 ? "p" : "pp"), high[k]);
      between('B', one_in(3) ? low[k] : high[k], b[k], make(k == 0 ? "q" : "qq"), low[k]);
    }
    for (const Term_* v : shared)
      for (const char side : {'A', 'B'})
        enter(side, leq(v, num(evaluate(v, point) + QNumber(pick(0, 2)))));
    // What a later proof adds is no reason for the equality.
    const Term_* const line = combination(shared);
    const Term_* const later_A = leq(a[0], line);
    const Term_* const later_B = lt(line, b[0]);
    assert_on('A', later_A), assert_on('B', later_B);
    EqualitySplitter splitter(t, mapper, limits, *grouping, joined(a_atoms, b_atoms));
    for (const int k : {0, 1}) {
      const QNumber factor(one_in(2) ? pick(1, 3) : pick(-3, -1));
      const Term_* const more = combination({shared[0]});
      const Term_* const left = plus(times(factor, a[k]), more);
      const Term_* const right = plus(times(factor, b[k]), more);
      const Term_* const e = one_in(2) ? eq(left, right) : eq(right, left);
      std::variant<EqualitySplit, EqualityModel> outcome;
      const std::string refusal = message_of([&] { outcome = splitter.split(e); });
      if (integers && refusal.find("needs a cut") != std::string::npos) continue;
      ASSERT_EQ(refusal, "");
      if (!contradicts(joined(a_atoms, b_atoms), neq(left, right))) {
        ASSERT_TRUE(std::holds_alternative<EqualityModel>(outcome));
        EXPECT_TRUE(all_hold(joined(a_atoms, b_atoms), std::get<1>(outcome).values));
        EXPECT_FALSE(holds(e, std::get<1>(outcome).values));
        continue;
      }
      ++solved;
      const auto& split = std::get<EqualitySplit>(outcome);
      EXPECT_EQ(split.terms.a_side, left);
      EXPECT_EQ(split.terms.b_side, right);
      expect_shared(split.terms.shared_term);
      expect_half(splitter, split.of_A, true, neq(left, split.terms.shared_term));
      expect_half(splitter, split.of_B, false, neq(right, split.terms.shared_term));
      if (k != 0) continue;
      // left = right contradicts left <= more + factor * line < right.
      const int id = mapper.exact_constraint(e, false);
      const int sign = (e->arg(0) == left) == (factor.sign() > 0) ? 1 : -1;
      const QNumber one_over = (factor.sign() > 0 ? factor : factor.neg()).inv();
      FarkasCombination leaves{{id, sign, one_over},
                               {mapper.constraint(later_A), 0, QNumber(1)},
                               {mapper.constraint(later_B), 0, QNumber(1)}};
      const ProofRef later = farkas_proof(mapper, leaves);
      const ProofRef rewritten = splitter.rewritten(dynamic_cast<la::LaProof&>(*later));
      expect_interpolants(rewritten, splitter.grouping(),
                          {later_A, eq(left, split.terms.shared_term)},
                          {later_B, eq(split.terms.shared_term, right)});
      ++later_proofs;
    }
  }
  EXPECT_GT(solved, 300);
  EXPECT_GT(alone, 100);
  EXPECT_GT(completed, 100);
  EXPECT_GT(later_proofs, 100);
}

// Proofs of a = b by hand, over what is asserted of a, b, x and y.
class SplitsByHand : public EqualitySplits {
 protected:
  struct Halves {
    const Term_* shared;
    ProofRef of_A, of_B;
  };
  Halves split(const ProofRef& root, la::ItpLinearTermMapper& by) {
    itp::EqItpMap map;
    const auto halves =
        la::Interpolator(&t, nullptr, &by, la::Interpolator::MODE_SUM, false)
            .split_mixed_proof(&classifier, as_la(root), map);
    return {map.find(eq(a, b))->shared_term, ProofRef(halves.first),
            ProofRef(halves.second)};
  }
  static la::LaProof* as_la(const ProofRef& p) {
    return dynamic_cast<la::LaProof*>(p.get());
  }
  Proof* three(int of, int sign, QNumber m, int p, int q, QNumber n) {
    Proof* rest = new la::LaComb(new QNumber(n), hyp(p), new QNumber(n), hyp(q), 0, 0, 0);
    return new la::LaComb(new QNumber(m), hyp(of, sign), nullptr, rest, 0, 0, 0);
  }

  const Term_ *a = real("a"), *b = real("b");
  const int id = mapper.exact_constraint(eq(a, b), true);
  itp::TheoryAtomClassifier classifier{sides()};
};

// The example of docs/proofs.md: B's half by itself has the interpolant true, which the
// denial of the half is consistent with.
TEST_F(SplitsByHand, AHalfThatDoesNotStandAloneIsNoRefutation) {
  const int p = assert_on('A', leq(y, a)), q = assert_on('A', leq(a, x));
  const int r = assert_on('B', leq(x, b)), s = assert_on('B', leq(b, y));
  const ProofRef root(
      new la::LaNeq(id, three(id, -1, 1, p, s, 1), three(id, 1, 1, q, r, 1)));
  const Halves halves = split(root, mapper);
  ProofChecker checker(mapper, asserted);
  for (const ProofRef& half : {halves.of_A, halves.of_B}) {
    EXPECT_EQ(checker.check_half(half.get(), classifier).fault, "");
    EXPECT_FALSE(checker.check_half(half.get(), classifier).stands_alone);
  }
  la::Interpolator interpolator(&t, nullptr, &mapper, la::Interpolator::MODE_SUM, false);
  EXPECT_EQ(interpolator.get_interpolant(&classifier, halves.of_B.get()), t.true_term());
  const Atoms of_side{leq(x, b), leq(b, y), neq(b, halves.shared)};
  EXPECT_FALSE(contradicts(of_side, t.true_term()));
  EXPECT_TRUE(contradicts(joined(of_side, {leq(y, a), leq(a, x)}), t.true_term()));
}

// And what becomes of the proof if it is split all the same: a term that is not shared, or
// a half that is none.
TEST_F(SplitsByHand, TheCheckerRefusesWhatCannotBeSplit) {
  const Term_* k = real("k");
  const int p = assert_on('A', leq(x, a)), q = assert_on('B', leq(b, x));
  const int r = assert_on('A', leq(a, x)), s = assert_on('B', leq(x, b));
  const int strict = assert_on('B', lt(b, x)), bound = assert_on('A', leq(k, num(1)));
  const int local = mapper.exact_constraint(eq(a, k), true);
  const int ordinary = assert_on('-', neq(a, b));
  const QNumber half = QNumber(1) / QNumber(2);
  LinearTerm part = mapper.linear_term(id);
  part.vars.mult(half);
  LyingMapper halved(mapper, id, part);
  const auto first = [&](int sign, long m = 1) { return three(id, sign, m, p, q, m); };
  const auto second = [&](int sign) { return three(id, sign, 1, r, s, 1); };
  const struct {
    int of;
    Proof *case1, *case2;
    const char* what;
    bool goes_wrong = false;
    bool is_halved = false;
  } table[] = {
      {id, first(-1), second(1), ""},
      {id, second(1), first(-1), "the disequality has the sign 1", true},
      {id, first(-1), first(-1), "the disequality has the sign -1"},
      {id, first(-1, 2), second(1), "the multiplier 2, not 1", true},
      {id, three(id, -1, 1, p, q, half), three(id, 1, 1, r, s, half), "not exactly", true,
       true},
      {id, comb(1, hyp(p), 1, hyp(q)), second(1), "does not occur"},
      {id, comb(1, hyp(id, -1), 1, first(-1)), second(1), "occurs twice"},
      {id, first(-1), comb(1, hyp(id, 1), 1, hyp(r)), "left"},
      {id, three(id, -1, 1, p, strict, 1), second(1), "contradict each other without"},
      {local, comb(1, hyp(local, -1), 1, hyp(bound)), second(1), "not AB-mixed"},
      {ordinary, first(-1), second(1), "over no equality"},
      {id, cut({p, q}, {QNumber(1)}, 1), second(1), "a rule that cannot be split"},
  };
  for (const auto& [of, case1, case2, what, goes_wrong, is_halved] : table) {
    SCOPED_TRACE(what);
    la::ItpLinearTermMapper& by = is_halved ? static_cast<la::ItpLinearTermMapper&>(halved)
                                            : static_cast<la::ItpLinearTermMapper&>(mapper);
    const ProofRef root(new la::LaNeq(of, case1, case2));
    ProofChecker checker(by, asserted);
    const std::string said = checker.check_split(root.get(), classifier).value_or("");
    EXPECT_NE(said.find(what), std::string::npos) << said;
    EXPECT_EQ(said.empty(), *what == 0);
    if (!goes_wrong) continue;
    const Halves halves = split(root, by);
    EXPECT_TRUE(grouping->symbols_colour(halves.shared, 0) != Status::SHARED ||
                !checker.check_half(halves.of_A.get(), classifier).stands_alone);
  }
}

}  // namespace
}  // namespace opal::host
