// Requests over rational constraints: what a rule contributes, and the terms of a list.

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using la::Equation;

// x2 is A's; here x3 is shared, x4 B's.
struct Problem : ColouredHost {
  Problem() { terms.any_flag = false; }
  int a = mapper->add(LEQ, {{2, 1}}, 3, A);            // x2 <= 3
  int a2 = mapper->add(LEQ, {{3, 1}, {2, -1}}, 0, A);  // x3 - x2 <= 0
  int b = mapper->add(GEQ, {{3, 1}}, 5, B);            // x3 >= 5
  int neq = mapper->add(NEQ, {{3, 1}}, 0, A);
};

TEST(Requests, EveryRuleContributesWhatIsOfA) {
  Problem p;
  auto refutation = [&] { return plus(hyp(p.b), plus(hyp(p.a), hyp(p.a2))); };
  EXPECT_EQ(p.interpolant(refutation()), "(<= 0 (+ (* -1 x3) 3))");
  EXPECT_EQ(p.interpolant(refutation(), false, Probe::MODE_CONJ),
            "(and true (<= 0 (+ (* -1 x3) 3)))");
  EXPECT_EQ(p.interpolant(refutation(), false, Probe::MODE_DUAL),
            "(not (<= 0 (+ (* 1 x3) -5)))");
  EXPECT_EQ(p.interpolant(fake(p.a, row({{3, 2}}, 1))), "(<= 0 (+ (* 2 x3) 1))");
  EXPECT_EQ(p.interpolant(fake(p.b, row({{3, 2}}, 1))), "true");
  auto both = [&] { return cases(p.neq, hyp(p.neq, -1), hyp(p.neq, 1)); };
  EXPECT_EQ(p.interpolant(both()), "(or (not (<= (* -1 x3) 0)) (not (<= (* 1 x3) 0)))");
  for (const Status colour : {B, AB}) {
    p.mapper->enter_atom(p.mapper->atom(p.neq), colour);
    EXPECT_EQ(p.interpolant(both()), "(and true true)");
  }
  for (const auto& [colour, text] : {std::pair(A, "(<= 0 (+ (* -1 x2) 3))"),
                                     {B, "true"},
                                     {AB, "true"},
                                     {UNKNOWN, "(<= 0 (+ (* -1 x2) 3))"}}) {
    p.mapper->enter_atom(p.mapper->atom(p.a), colour);
    EXPECT_EQ(p.interpolant(hyp(p.a)), text);
  }
}

// A node with two parents is handled once, and its list, which outlives the first of them,
// is left as it was. A multiplier does not replace another one, and the last one of a
// constraint counts.
TEST(Requests, SharedNodesKeepTheirLists) {
  Problem p;
  const QNumber one(1), two(2), three(3);
  Proof* const both = plus(hyp(p.a), hyp(p.a2));
  Proof* const with_b = plus(Proof::retain(both), hyp(p.b));
  EXPECT_EQ(p.interpolant(plus(both, with_b)), "(<= 0 (+ (* -1 x3) 3))");
  Proof* const h = hyp(p.a);
  Proof* const thrice = comb(&three, Proof::retain(h), nullptr, hyp(p.a2));
  EXPECT_EQ(p.interpolant(comb(nullptr, thrice, &two, h)),
            "(<= 0 (+ (+ (* -4 x2) (* -1 x3)) 15))");
  Proof* const second = hyp(p.a);
  Proof* const with_second =
      comb(&three, Proof::retain(second), nullptr, hyp(Mapper::ZERO));
  EXPECT_EQ(p.interpolant(plus(comb(&two, second, nullptr, with_second), hyp(p.a2))),
            "(<= 0 (+ (+ (* -2 x2) (* -1 x3)) 9))");
  Proof* const once_a = comb(&one, hyp(p.a), nullptr, hyp(Mapper::ZERO));
  EXPECT_EQ(p.interpolant(comb(&two, once_a, nullptr, hyp(p.a2))),
            "(<= 0 (+ (+ (* -1 x2) (* -1 x3)) 6))");
  Proof* const thrice_a = comb(&three, hyp(p.a), nullptr, hyp(Mapper::ZERO));
  EXPECT_EQ(p.interpolant(comb(&two, thrice_a, nullptr, hyp(p.a2))),
            "(<= 0 (+ (+ (* -2 x2) (* -1 x3)) 9))");
}

TEST(Terms, AConstraintBecomesItsAtomOrItsLinearTerm) {
  Host host;
  Probe probe(host);
  const std::string sum = "(+ (+ (* -1 x2) (* -2 x3)) 5)";
  const std::string strict = "(not (<= (+ (* 1 x2) -3) 0))";
  const std::tuple<Equation, std::string, std::string> table[] = {
      {row({}, 0), "true", "0"},
      {row({{2, -1}, {3, -2}}, 5), "(<= 0 " + sum + ")", sum},
      {row({{2, 1}, {1, -1}}, -3), strict, strict},
      {row({{2, 1}, {1, 1}}, 0), "(<= 0 (* 1 x2))", "(* 1 x2)"},
      {row({{1, -1}}, 0), "false", "false"},
      {row({{1, -2}}, -2), "false", "false"},
      {row({{1, 1}}, 2), "true", "true"},
      {row({{1, -1}}, 2), "(not (<= 2 0))", "(not (<= 2 0))"},
      {row({{1, 1}}, -2), "(<= 0 -2)", "-2"}};
  for (const auto& [constraint, atom, linear] : table) {
    EXPECT_EQ(Terms::text(probe.build_leq_term(&constraint, true)), atom);
    EXPECT_EQ(Terms::text(probe.build_leq_term(&constraint, false)), linear);
  }
  const Equation nameless = row({{2, 1}, {Mapper::NAMELESS_VARIABLE, 1}}, 0);
  EXPECT_THROW((void)probe.build_leq_term(&nameless, true), Probe::error);
  EXPECT_EQ(host.terms.building_flag(), 1);

  QNumber two(2), half = QNumber(1) / QNumber(2);
  Equation e = row({{2, 1}, {4, -2}}, 3), f = row({{2, -2}, {3, 5}}, 0);
  la::CoeffList list{{&two, &e}, {nullptr, &f}, {&half, &f}}, one{{&two, &e}}, empty;
  EXPECT_EQ(probe.build_equation(list)->to_str(false), "-x2 + 15/2*x3 - 4*x4 + 6");
  EXPECT_EQ(probe.build_equation(one)->to_str(false), "2*x2 - 4*x4 + 6");
  EXPECT_THROW((void)probe.build_equation(empty), Probe::error);
  e.mult(QNumber());
  EXPECT_EQ(e.to_str(false), Equation().to_str(false));
  EXPECT_THROW((void)probe.build_term_from_eq_list(empty), Probe::error);
}

TEST(Requests, VariablesAreUninterpretedTopsAndSharedTermsAreVisitedOnce) {
  Problem p;
  Probe probe(p);
  Term x = p.mapper->var_term(2), fx = p.terms.make("f", {x}, false);
  Term t = p.terms.make("+", {fx, p.terms.make_number(3)});
  for (int i = 0; i < 100; ++i)
    t = p.terms.make("*", {t, t});  // 2^100 paths
  Probe::TermSet vars;
  probe.collect_vars(t, &vars);
  EXPECT_TRUE(vars.size() == 2 && vars.contains(x) && vars.contains(fx));
}

TEST(Requests, AProbeThatWasBuiltAndBrokenReleasesItsZeroProof) {
  Problem p;
  auto* const zero = new la::LaHyp(Mapper::ZERO, 0);
  const ProofRef ours(Proof::retain(static_cast<Proof*>(zero)));
  std::make_unique<Probe>(p)->zero_proof_ = zero;
  EXPECT_EQ(ours->references(), 1);
}

}  // namespace
}  // namespace opal::small
