// Equalities between A and B whose proofs are split. What random ones give is judged in
// tests/random/splits.py.

#include "opal/interpolate/equality_split.h"

#include "opal/arith/solver.h"
#include "opal/linear/literals.h"
#include "opal/terms/print/printer.h"
#include "tests/host/proofs.h"

namespace opal::host {
namespace {

using Status = itp::TheoryAtomClassifier::status;

// Proofs of a = b by hand, over what is asserted of a, b, x and y.
class SplitsByHand : public Proofs {
 protected:
  bool contradict(const Atoms& atoms) {
    la::Solver solver(mapper, limits);
    for (const Term_* atom : atoms)
      solver.assert_constraint(mapper.constraint(atom));
    return solver.check() == la::Solver::Verdict::UNSAT;
  }
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
  const int id = mapper.exact_constraint(TheoryLit(eq(a, b), true));
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
  EXPECT_FALSE(contradict(of_side));
  EXPECT_TRUE(contradict(joined(of_side, {leq(y, a), leq(a, x)})));
}

// A: a = x <= y, B: b = x > y. The proof rests on a = b.
TEST_F(SplitsByHand, ALaterProofIsRewritten) {
  const Atoms of_A{leq(a, x), leq(x, a)}, of_B{leq(b, x), leq(x, b)};
  const Term_ *low = leq(a, y), *high = lt(y, b);
  for (const Term_* atom : joined(of_A, {low}))
    assert_on('A', atom);
  for (const Term_* atom : joined(of_B, {high}))
    assert_on('B', atom);
  for (const bool turned : {false, true}) {
    const Term_* const e = turned ? eq(b, a) : eq(a, b);
    EqualitySplitter splitter(t, mapper, limits, *grouping, joined(of_A, of_B));
    const auto terms = std::get<EqualitySplit>(splitter.split(e)).terms;
    EXPECT_TRUE(terms.a_side == a && terms.b_side == b);
    const ProofRef later =
        farkas_proof(mapper, {{mapper.exact_constraint(TheoryLit(e)), turned ? -1 : 1, 1},
                              {mapper.constraint(low), 0, 1},
                              {mapper.constraint(high), 0, 1}});
    const ProofRef rewritten = splitter.rewritten(*as_la(later));
    itp::TheoryAtomClassifier partition(
        std::make_shared<Partition>(splitter.grouping(), 0));
    const Term_* const itp =
        la::Interpolator(&t, nullptr, &mapper, la::Interpolator::MODE_SUM, false)
            .get_interpolant(&partition, rewritten.get());
    EXPECT_EQ(grouping->symbols_colour(itp, 0), Grouping::status::SHARED);
    EXPECT_TRUE(contradict({low, eq(a, terms.shared_term), negated_atom(t, itp)}));
    EXPECT_TRUE(contradict({high, eq(terms.shared_term, b), itp}));
  }
}

// And what becomes of the proof if it is split all the same: a term that is not shared, or
// a half that is none.
TEST_F(SplitsByHand, TheCheckerRefusesWhatCannotBeSplit) {
  const Term_* k = real("k");
  const int p = assert_on('A', leq(x, a)), q = assert_on('B', leq(b, x));
  const int r = assert_on('A', leq(a, x)), s = assert_on('B', leq(x, b));
  const int strict = assert_on('B', lt(b, x)), bound = assert_on('A', leq(k, num(1)));
  const int local = mapper.exact_constraint(TheoryLit(eq(a, k), true));
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
