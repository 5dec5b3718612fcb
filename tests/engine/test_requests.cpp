// Whole requests: what a rule contributes, and how broken proofs are refused.

#include <gtest/gtest.h>

#include <functional>
#include <typeinfo>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using la::LaCombImp;
using la::LaFakeHyp;
using la::LaHyp;
using la::LaNeq;
using proof::Proof;
using proof::ProofRef;

// x2 is A's, x3 shared, x4 B's.
struct Problem : Host {
  int a = mapper->add(1, {{2, 1}}, 3, Status::A_LOCAL);            // x2 <= 3
  int a2 = mapper->add(1, {{3, 1}, {2, -1}}, 0, Status::A_LOCAL);  // x3 - x2 <= 0
  int b = mapper->add(4, {{3, 1}}, 5, Status::B_LOCAL);            // x3 >= 5
  int mixed = mapper->add(1, {{2, 1}, {4, 1}}, 0, Status::AB_MIXED);
  int implied_a = mapper->add(1, {{3, 1}}, 1, Status::A_LOCAL);
  int not_implied_a = mapper->add(5, {{3, 1}}, 1, Status::A_LOCAL);
  int unmapped = 99999;
  Problem() { mapper->set_negation(implied_a, not_implied_a); }

  static Proof* hyp(int id, int sign = 0) { return new LaHyp(id, sign); }
  Proof* refutation() const {
    return comb(nullptr, hyp(b), nullptr, comb(nullptr, hyp(a), nullptr, hyp(a2)));
  }
  std::string interpolant(Probe& probe, const ProofRef& proof) {
    return Terms::text(probe.get_interpolant(&classifier, proof.get()));
  }
};

TEST(Requests, AHypothesisIsOfItsSide) {
  Problem p;
  Probe probe(p);
  EXPECT_EQ(p.interpolant(probe, ProofRef(p.hyp(p.a))), "(<= 0 (+ (* -1 x2) 3))");
  EXPECT_EQ(p.interpolant(probe, ProofRef(p.hyp(p.b))), "true");
  EXPECT_EQ(p.interpolant(probe, ProofRef(p.hyp(Mapper::ZERO))), "true");
  p.mapper->enter_atom(p.mapper->atom(p.a), Status::SHARED);  // counts as B's
  EXPECT_EQ(p.interpolant(probe, ProofRef(p.hyp(p.a))), "true");
  p.mapper->enter_atom(p.mapper->atom(p.a), Status::UNKNOWN);  // by its symbols: B's
  EXPECT_EQ(p.interpolant(probe, ProofRef(p.hyp(p.a))), "true");
}

TEST(Requests, EveryModeAnswersAndTheCachesAreEmptyAfterwards) {
  Problem p;
  const ProofRef proof(p.refutation());
  Probe sum(p), conj(p, Probe::MODE_CONJ), dual(p, Probe::MODE_DUAL);
  EXPECT_EQ(p.interpolant(sum, proof), "(<= 0 (+ (* -1 x3) 3))");
  EXPECT_EQ(p.interpolant(conj, proof), "(and true (<= 0 (+ (* -1 x3) 3)))");
  EXPECT_EQ(p.interpolant(dual, proof), "(not (<= 0 (+ (* 1 x3) -5)))");
  EXPECT_TRUE(sum.owned_eqs_.empty() && sum.proof_cache_.empty());

  // A node with two parents is handled once, and its list outlives the first of them.
  Proof* const both = comb(nullptr, p.hyp(p.a), nullptr, p.hyp(p.a2));
  Proof* const with_b = comb(nullptr, Proof::retain(both), nullptr, p.hyp(p.b));
  EXPECT_EQ(p.interpolant(sum, ProofRef(comb(nullptr, both, nullptr, with_b))),
            "(<= 0 (+ (* -1 x3) 3))");
  EXPECT_EQ(p.interpolant(sum, ProofRef(comb(nullptr, Proof::retain(proof.get()), nullptr,
                                             Proof::retain(proof.get())))),
            "(<= 0 (+ (* -1 x3) 3))");
}

TEST(Requests, AnImplicationAddsTheNegatedConstraint) {
  Problem p;
  Probe probe(p);
  EXPECT_EQ(p.interpolant(probe, ProofRef(new LaCombImp(p.implied_a, 0, p.hyp(p.b)))),
            "(not (<= (+ (* 1 x3) -1) 0))");
  EXPECT_EQ(p.interpolant(probe, ProofRef(new LaCombImp(p.b, 0, p.hyp(p.a)))),
            "(<= 0 (+ (* -1 x2) 3))");
}

TEST(Requests, ADisequalityJoinsItsCasesByItsColour) {
  Problem p;
  Probe probe(p);
  const int neq = p.mapper->add(3, {{3, 1}}, 0, Status::A_LOCAL);
  const ProofRef proof(new LaNeq(neq, p.hyp(neq, -1), p.hyp(neq, 1)));
  EXPECT_EQ(p.interpolant(probe, proof),
            "(or (not (<= (* -1 x3) 0)) (not (<= (* 1 x3) 0)))");
  for (const Status colour : {Status::B_LOCAL, Status::SHARED}) {
    p.mapper->enter_atom(p.mapper->atom(neq), colour);
    EXPECT_EQ(p.interpolant(probe, proof), "(and true true)");
  }
}

TEST(Requests, AMultiplierReplacesOnlyOneAndIsPutBack) {
  Problem p;
  Probe probe(p);
  QNumber two(2), three(3), five(5);
  Probe::TermSet vars;
  vars.insert(p.mapper->var_term(2));
  const ProofRef proof(comb(&two, p.hyp(p.a), &three, p.hyp(p.a2)));
  auto* const node = static_cast<la::LaComb*>(proof.get());
  for (Proof* premise : {node->premise1, node->premise2}) {
    probe.to_visit_.push_back(premise);
    probe.handle_hyp(static_cast<LaHyp*>(premise), vars);
  }
  la::CoeffList& l1 = *probe.find_in_cache(node->premise1);
  la::CoeffList& l2 = *probe.find_in_cache(node->premise2);
  for (QNumber* own_multiplier : {static_cast<QNumber*>(nullptr), &five}) {
    l1[0].first = own_multiplier;
    delete probe.find_in_cache(node);
    probe.to_visit_.push_back(node);
    probe.handle_comb(node, vars);
    const la::CoeffList& out = *probe.find_in_cache(node);
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(*out[0].first, own_multiplier == nullptr ? two : five);
    EXPECT_EQ(*out[1].first, three);
    EXPECT_EQ(l1[0].first, own_multiplier);
    EXPECT_EQ(l2[0].first, nullptr);
  }
}

TEST(Requests, VariablesAreUninterpretedTopsAndSharedTermsAreVisitedOnce) {
  Problem p;
  Probe probe(p);
  const Term_* const x = p.mapper->var_term(2);
  const Term_* const fx = p.terms.make("f", {x}, false);
  const Term_* t = p.terms.make("+", {fx, p.terms.make_number(3)});
  for (int i = 0; i < 100; ++i)
    t = p.terms.make("*", {t, t});  // 2^100 paths
  Probe::TermSet vars;
  probe.collect_vars(t, &vars);
  EXPECT_EQ(vars.size(), 2U);
  EXPECT_TRUE(vars.contains(x) && vars.contains(fx));
}

TEST(Requests, BrokenProofsAreRefusedWithTheirMessages) {
  Problem p;
  auto eq = [] { return new la::Equation; };
  auto neq = [&](int id) { return new LaNeq(id, p.hyp(p.b), p.hyp(p.b)); };
  const QNumber zero(0);
  const int nameless1 =
      p.mapper->add(1, {{Mapper::NAMELESS_VARIABLE, 1}}, 0, Status::A_LOCAL);
  const int nameless2 =
      p.mapper->add(1, {{Mapper::NAMELESS_VARIABLE, 2}}, 0, Status::A_LOCAL);
  const std::string unrecognized =
      std::string("Unrecognized proof rule: ") + typeid(Proof*).name();
  const struct {
    std::string message;
    std::function<Proof*()> make;
  } table[] = {
      {"unknown constraint in LaHyp", [&] { return p.hyp(p.unmapped); }},
      {"AB-mixed term in LaHyp", [&] { return p.hyp(p.mixed); }},
      {"unknown constraint in LaFakeHyp",
       [&] { return new LaFakeHyp(p.unmapped, 0, eq()); }},
      {"AB-mixed term in LaFakeHyp", [&] { return new LaFakeHyp(p.mixed, 0, eq()); }},
      {"unkonwn constraint in LaCombImp",
       [&] { return new LaCombImp(p.unmapped, 0, p.hyp(p.a)); }},
      {"AB-mixed term in LaCombImp", [&] { return new LaCombImp(p.mixed, 0, p.hyp(p.a)); }},
      {"unmapped negation in LaCombImp", [&] { return new LaCombImp(p.a, 0, p.hyp(p.a)); }},
      {"unmapped neq in a LaNeq rule", [&] { return neq(p.unmapped); }},
      {"AB-mixed neq in a LaNeq rule", [&] { return neq(p.mixed); }},
      {"LaNeq below the root of a proof",
       [&] { return comb(nullptr, neq(p.a), nullptr, p.hyp(p.a)); }},
      {"LaNeq below the root of a proof",
       [&] { return new LaNeq(p.a, neq(p.a), p.hyp(p.a)); }},
      {"zero multiplier in LaComb",
       [&] { return comb(nullptr, p.hyp(p.a), &zero, p.hyp(p.a2)); }},
      {"variable without a term: 1000000000", [&] { return p.hyp(nameless1); }},
      {"variable without a term: 1000000000",
       [&] {
         auto* const of_A = comb(nullptr, p.hyp(nameless1), nullptr, p.hyp(nameless2));
         return comb(nullptr, of_A, nullptr, p.hyp(p.b));
       }},
      {unrecognized, []() -> Proof* { return nullptr; }},
      {unrecognized, [&] { return comb(nullptr, nullptr, nullptr, p.hyp(p.a)); }},
      {unrecognized, [&] { return new LaNeq(p.a, p.hyp(p.a), nullptr); }},
      {unrecognized, [&] { return new LaCombImp(p.a, 0, nullptr); }},
      {unrecognized, [&] { return new la::LaUnitLemma(TheoryLit()); }}};
  for (const auto mode : {Probe::MODE_SUM, Probe::MODE_DUAL}) {
    Probe probe(p, mode);
    const ProofRef good(p.refutation());
    const std::string answer = p.interpolant(probe, good);
    for (const auto& t : table) {
      const bool needs_A = t.message.find("negation") != std::string::npos ||
                           t.message.find("without a term") != std::string::npos;
      if (mode == Probe::MODE_DUAL && needs_A) continue;
      const ProofRef broken(t.make());
      try {
        p.interpolant(probe, broken);
        ADD_FAILURE() << "accepted: " << t.message;
      } catch (const Exception& e) {
        EXPECT_EQ(e.what(), t.message);
        const bool is_error = dynamic_cast<const Probe::error*>(&e) != nullptr;
        EXPECT_EQ(is_error, t.message != unrecognized);
      }
      EXPECT_EQ(p.interpolant(probe, good), answer) << "after: " << t.message;
    }
    EXPECT_THROW(static_cast<void>(probe.get_interpolant(nullptr, good.get())),
                 Probe::error);
  }
}

TEST(Requests, AProbeThatWasBuiltAndBrokenReleasesItsZeroProof) {
  Problem p;
  auto* const zero = new LaHyp(Mapper::ZERO, 0);
  const ProofRef ours(Proof::retain(static_cast<Proof*>(zero)));
  {
    Probe probe(p);
    probe.zero_proof_ = zero;
  }
  EXPECT_EQ(ours->references(), 1);
}

}  // namespace
}  // namespace opal::small
