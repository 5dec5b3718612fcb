// Broken proofs are refused with their messages, and leave nothing behind.

#include <typeinfo>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using laz::LaZBBLemma;

std::string announced;  // the last message that the hook saw

TEST(Messages, BrokenProofsAreRefused) {
  const auto announce = [](const Exception& e) { announced = e.what(); };
  EXPECT_EQ(Exception::set_hook(announce), nullptr);
  ColouredHost host;
  const int no_id = 99999, nameless = Mapper::NAMELESS_VARIABLE;
  const int a = host.add(GEQ, {{2, 2}, {4, 1}}, 1, A), b = host.add(GEQ, {{6, 2}}, 1, B);
  const int mixed = host.add(GEQ, {{2, 1}, {6, 1}}, 0, MIXED);
  const int empty = host.add(GEQ, {}, 0, A);
  const int nameless1 = host.add(GEQ, {{nameless, 2}, {2, 2}}, 0, A);
  const int nameless2 = host.add(GEQ, {{nameless, 1}}, 0, A);
  const int eq_a = host.add(EQ, {{nameless, 2}}, 0, A), eq_b = host.add(EQ, {{6, 2}}, 0, B);
  Term good = host.mapper->atom(a);
  const TheoryLit lit(good), mixed_lit(host.mapper->atom(mixed)), no_lit;
  const QNumber zero(0);
  const std::string variable = "variable without a term: 1000000000";
  const std::string rule = std::string("Unrecognized proof rule: ") + typeid(Proof*).name();
  auto neq = [&](int id) { return cases(id, hyp(b), hyp(b)); };
  auto split = [](Term e, Term l) { return new la::LaEqSplitLemma(e, l, l); };
  enum Ways : unsigned { MODULAR = 1, FLOOR = 2, DUAL = 4, PLAIN = 3, ALL = 7 };
  const struct {
    unsigned ways;
    std::string message;
    Proof* proof;
  } table[] = {
      {ALL, "unknown constraint in LaHyp", hyp(no_id)},
      {ALL, "AB-mixed term in LaHyp", hyp(mixed)},
      {ALL, "unknown constraint in LaFakeHyp", fake(no_id)},
      {ALL, "AB-mixed term in LaFakeHyp", fake(mixed)},
      {ALL, "unkonwn constraint in LaCombImp", implied(no_id, hyp(a))},
      {ALL, "AB-mixed term in LaCombImp", implied(mixed, hyp(a))},
      {PLAIN, "unmapped negation in LaCombImp", implied(a, hyp(a))},
      {ALL, "unmapped neq in a LaNeq rule", neq(no_id)},
      {ALL, "AB-mixed neq in a LaNeq rule", neq(mixed)},
      {ALL, "LaNeq below the root of a proof", plus(neq(a), hyp(a))},
      {ALL, "LaNeq below the root of a proof", cases(a, neq(a), hyp(a))},
      {ALL, "zero multiplier in LaComb", comb(nullptr, hyp(a), &zero, hyp(b))},
      {PLAIN, variable, hyp(nameless1)},
      {PLAIN, variable, plus(plus(hyp(nameless1), hyp(nameless2)), hyp(b))},
      {ALL, rule, nullptr},
      {ALL, rule, plus(nullptr, hyp(a))},
      {ALL, rule, cases(a, hyp(a), nullptr)},
      {ALL, rule, implied(a, nullptr)},
      {ALL, rule, new la::LaUnitLemma(no_lit)},
      {ALL, rule, plus(hyp(a), new LaZBBLemma(lit, lit))},
      {ALL, rule, host.branch(nullptr, hyp(a), a, b)},
      {MODULAR, "unknown constraint in LaHyp", cut({no_id}, {}, 2)},
      {FLOOR, "unknown constraint in LaZTighteningProof", cut({no_id}, {}, 2)},
      {ALL, "AB-mixed term in LaHyp", cut({mixed}, {}, 2)},
      {ALL, "AB-mixed term in LaHyp", cut({mixed, a}, {1}, 2)},
      {ALL, "unknown premise in LaZTighteningProof", cut({no_id, a}, {1}, 2)},
      {ALL, "missing multiplier in LaZTighteningProof", cut({b, a}, {}, 2)},
      {ALL, "missing conclusion in LaZTighteningProof", cut({}, {}, 2)},
      {MODULAR, "negative divisor in LaZTighteningProof", cut({b, a}, {1}, -2)},
      {FLOOR, "constraint without variables in LaZTighteningProof", cut({empty}, {}, 2)},
      {PLAIN, variable, cut({b, nameless1}, {1}, 2)},
      {PLAIN, "unknown variable in LA(Z) Equation", equalities({eq_a, eq_b}, {1, 1})},
      {ALL, "unknown constraint in LaZEqSubProof", equalities({eq_b, no_id}, {1, 1})},
      {ALL, "missing multiplier in LaZEqSubProof", equalities({eq_b}, {})},
      {ALL, "AB-mixed term in LaZBBLemma", new LaZBBLemma(lit, mixed_lit)},
      {ALL, "AB-mixed term in LaZBBLemma", new LaZBBLemma(lit, lit, mixed_lit)},
      {ALL, "missing literal in LaZBBLemma", new LaZBBLemma(lit, no_lit)},
      {ALL, "AB-mixed term in LaEqSplitLemma", split(good, mixed_lit.atom())},
      {ALL, "missing atom in LaEqSplitLemma", split(nullptr, good)},
      {ALL, "unknown constraint in LaZInternalBBProof",
       new laz::LaZInternalBBProof(hyp(a), hyp(b), 7000, 7001, {EQ, {}, 0}, {GEQ, {}, 1})}};
  const ProofRef sound(hyp(a));
  for (const auto& c : table) {
    const ProofRef broken(c.proof);
    for (const unsigned way : {MODULAR, FLOOR, DUAL}) {
      if ((c.ways & way) == 0) continue;
      Probe probe(host, way == DUAL ? Probe::MODE_DUAL : Probe::MODE_SUM, way == FLOOR);
      try {
        (void)probe.get_interpolant(&host.classifier, broken.get());
        ADD_FAILURE() << "accepted: " << c.message;
      } catch (const Exception& e) {
        EXPECT_EQ(e.what(), c.message);
        EXPECT_TRUE(!announced.empty() && c.message.rfind(announced, 0) == 0) << announced;
        EXPECT_EQ(dynamic_cast<const Probe::error*>(&e) == nullptr, c.message == rule);
      }
      EXPECT_EQ(Terms::text(probe.get_interpolant(&host.classifier, sound.get())),
                way == DUAL ? "(not true)" : "(<= 0 (+ (+ (* 2 x2) (* 1 x4)) -1))");
      EXPECT_THROW((void)probe.get_interpolant(nullptr, sound.get()), Probe::error);
    }
  }
  host.mapper->first_definition = 0;
  const int floored = host.add(GEQ, {{4, 1}, {6, 2}}, 0, B);
  try {
    (void)host.interpolant(cut({floored, a}, {1}, 2), true);
    ADD_FAILURE() << "a floor term without a variable";
  } catch (const Probe::error& e) {
    EXPECT_STREQ(e.what(), "no variable for a floor term");
  }
  EXPECT_EQ(Exception::set_hook(nullptr), announce);
}

}  // namespace
}  // namespace opal::small
