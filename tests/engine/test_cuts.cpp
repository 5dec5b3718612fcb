// Cuts and equality sub-proofs: what a side contributes, and what its integers leave
// behind.

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using la::Equation;
using laz::LaZTighteningProof;

// The list of a cut in both styles; of a cut by values, its variable's bound and A's part,
// or the side constraint, after the list.
TEST(Cuts, EverySideHasItsContribution) {
  ColouredHost host;
  const int a = host.add(GEQ, {{2, 2}, {4, 2}}, 7, A);       // 2x2 + 2x4 - 7 >= 0
  const int b = host.add(GEQ, {{4, 2}, {6, -2}}, -1, B);     // 2x4 - 2x6 + 1 >= 0
  const int b2 = host.add(GEQ, {{4, 2}, {6, -2}}, 9, B);     // 2x4 - 2x6 - 9 >= 0
  const int s = host.add(GEQ, {{4, 2}}, 7, B);               // 2x4 - 7 >= 0
  const int sa = host.add(GEQ, {{4, 2}, {5, 4}}, 0, A);      // 2x4 + 4x5 >= 0
  const int both = host.add(GEQ, {{4, 2}}, 7, AB);           // 2x4 - 7 >= 0
  const int eq = host.add(EQ, {{4, 1}}, 3, A);               // x4 - 3 = 0
  const int below = host.add(LEQ, {{4, 1}, {6, -2}}, 0, B);  // 2x6 - x4 >= 0
  const int a3 = host.add(GEQ, {{2, 3}, {4, 6}}, 7, A);      // 3x2 + 6x4 - 7 >= 0
  const int frac = host.add(GEQ, {{2, 2}}, QNumber(7) / QNumber(2), A);
  const int a1 = host.add(GEQ, {{2, 1}, {4, 2}}, 0, A);  // x2 + 2x4 >= 0
  const int b1 = host.add(GEQ, {{2, 1}, {4, 2}}, 0, B);  // likewise, though x2 is A's
  const std::string exact = " - 7/2, x100 <= 0, 2*x2 + 2*x4 - 7";
  const std::string rounded = " - 7/3, x100 <= 2, 3*x2 + 6*x4 - 7";
  using Ids = std::vector<int>;
  using Multipliers = std::vector<QNumber>;
  const std::tuple<Ids, Multipliers, long, std::string, std::string> table[] = {
      {{b}, {}, 2, "0", "0"},
      {{both}, {}, 2, "0", "x4 - 4"},
      {{a}, {}, 0, "2*x2 + 2*x4 - 7", "x2 + x4 - 4"},
      {{frac}, {}, 0, "2*x2 - 7/2", "x2 - 2"},
      {{b, a}, {3}, 0, "2*x2 + 2*x4 - 7", "x2 + x4 - 4"},
      {{s, sa}, {1}, 0, "4*x4 + 4*x5 - 7, 2*x4 - 7", "x5 + x500"},
      // a coefficient that the divisor does not divide, of a variable that B cannot have
      {{b1, a1}, {1}, 2, "1/2*x2 + x4 - 1/2*x100, x100 <= 0, x2 + 2*x4", "1/2*x2 + x4"},
      {{a3}, {}, 3, "x2 + 2*x4 - 3", "x2 + 2*x4 - 3"},
      {{sa, a}, {3}, 2, "x2 + 4*x4 + 6*x5 - 4", "x2 + 4*x4 + 6*x5 - 4"},
      // shared: stated under B's part as a premise
      {{s, sa}, {1}, 4, "x4 + x5 - 2, 2*x4 - 7", "x5 + x500"},
      // both sides: a variable with a bound
      {{b, a}, {3}, 2, "x2 + x4 - 1/2*x100" + exact, "x2 + x4 - 4"},
      {{b2, a3}, {3}, 3, "x2 + 2*x4 - 1/3*x100" + rounded, "x2 + 2*x4 - 3"},
      // an equality counts in the direction of the conclusion
      {{eq, below}, {1}, 2, "-1/2*x4 - 1/2*x100 + 3/2, x100 <= 1, -x4 + 3", "x501"},
      {{eq, below}, {-1}, 2, "1/2*x4 - 1/2*x100 - 3/2, x100 <= 1, x4 - 3", "x502"}};
  for (const auto& [ids, multipliers, k, modular, floored] : table) {
    const ProofRef proof(cut(ids, multipliers, k));
    auto* const node = static_cast<LaZTighteningProof*>(proof.get());
    Probe probe(host);
    Probe::TermSet vars;
    auto handled = [&](bool floor_cuts) {
      probe.clear_cache();
      probe.to_visit_.assign(1, node);
      floor_cuts ? probe.handle_tightproof_floor(node, vars)
                 : probe.handle_tightproof(node, vars);
      const la::CoeffList& list = *probe.find_in_cache(node);
      EXPECT_TRUE(list.size() == 1 && list[0].first == nullptr && probe.to_visit_.empty());
      std::string text = list[0].second->to_str(false);
      for (const auto& [var, bound] : probe.tight_vars_)
        text += ", x" + std::to_string(var) + " <= " + bound.first.to_str() + ", " +
                bound.second->to_str(false);
      for (const Equation* e : probe.side_constraints_)
        text += ", " + e->to_str(false);
      return text;
    };
    EXPECT_EQ(handled(true), floored);
    EXPECT_TRUE(vars.empty());
    EXPECT_EQ(handled(false), modular);
  }
  EXPECT_EQ(
      host.interpolant(cut({below, host.add(GEQ, {{2, 2}, {4, 3}}, 4, A)}, {1}, 2), true),
      "(<= 0 (+ (+ (* 1 x2) (* 1 (floor (* 1/2 (* 3 x4))))) -2))");
}

// A host may have an atom for the zero constraint, which then can conclude a cut.
TEST(Cuts, TheZeroConstraintStaysZero) {
  ColouredHost host;
  host.mapper->zero_lit = TheoryLit(host.terms.make("zero", {}));
  const int a = host.add(GEQ, {{2, 2}}, 1, A), zero = Mapper::ZERO;
  for (const Status colour : {A, B})
    for (const auto& ids : {std::vector<int>{a, zero}, {zero, a}, {zero, zero, a}}) {
      host.mapper->enter_atom(host.mapper->zero_lit.atom(), colour);
      const ProofRef proof(cut(ids, {2, 3}, 2));
      Probe probe(host);
      (void)probe.get_interpolant(&host.classifier, proof.get());
      EXPECT_EQ(probe.get_zero()->to_str(false), Equation().to_str(false));
      EXPECT_EQ(host.interpolant(cut({zero, a}, {3}, 2), true), "(<= 0 (+ (* 1 x2) -1))");
    }
}

// A: x4 = 2 x2, B: x4 = 2 x6 + 1, both as pairs of inequalities. Without what the cuts
// round, A's parts add up to 0 >= 0: the wrong answer `true`, where B holds at x4 = 1.
TEST(Cuts, OfBothSidesAreNoSums) {
  ColouredHost host;
  const int a1 = host.add(GEQ, {{4, 1}, {2, -2}}, 0, A);
  const int a2 = host.add(LEQ, {{4, 1}, {2, -2}}, 0, A);
  const int b1 = host.add(GEQ, {{4, 1}, {6, -2}}, 1, B);
  const int b2 = host.add(LEQ, {{4, 1}, {6, -2}}, 1, B);
  EXPECT_EQ(host.interpolant(sum({hyp(a1), hyp(a2), hyp(b1), hyp(b2)})), "true");
  for (const bool floor_cuts : {false, true}) {
    const ProofRef root(sum({cut({b1, a1}, {1}, 2), cut({b2, a2}, {1}, 2, 101)}));
    Probe probe(host, Probe::MODE_SUM, floor_cuts);
    Term i = probe.get_interpolant(&host.classifier, root.get());
    for (int x4 = -3; x4 <= 3; ++x4) {
      std::unordered_map<Term, QNumber> values{{host.mapper->var_term(4), x4}};
      EXPECT_EQ(!evaluate(i, values).is_zero(), x4 % 2 == 0) << Terms::text(i);
    }
  }
}

TEST(CutValues, AreCountedSkippedAndChecked) {
  ColouredHost host;
  Probe probe(host);
  auto term = [&](const Row& coeffs, long constant) {
    la::CoeffList list{{nullptr, probe.own(row(coeffs, constant))}};
    return Terms::text(probe.build_term_from_eq_list(list));
  };
  // 2x2 + 3x4 + 1 with the bound 1, and sums over t, with and without another variable, and
  // with the strictness variable.
  const std::string at_0 = "(or (and (mod2 (* 3 x4) -1) ", rest = "(+ (* 1 x5) 1)";
  const std::pair<Row, std::string> table[] = {
      {{{5, 1}, {100, -1}}, at_0 + "(<= 0 " + rest + ")) (<= 1 " + rest + "))"},
      {{{5, 1}, {100, -1}, {1, -1}},
       at_0 + "(not (<= " + rest + " 0))) (not (<= " + rest + " 1)))"},
      {{{100, -1}}, at_0 + "true) true)"},
      {{{100, -1}, {1, -1}}, at_0 + "true) false)"},
      {{{5, 1}}, "(<= 0 " + rest + ")"}};
  for (const auto& [coeffs, text] : table) {
    probe.tight_vars_[100] = {1, probe.own(row({{2, 2}, {4, 3}}, 1))};
    EXPECT_EQ(term(coeffs, 1), text);
  }
  host.terms.simplifies = true;
  const std::string p = "(mod2 (* 3 x4) -1)";
  EXPECT_EQ(term({{100, -1}}, 1), "(or " + p + " true)");
  probe.tight_vars_[101] = probe.tight_vars_[100];
  EXPECT_EQ(term({{100, -1}, {101, -1}}, 1),
            "(or (or (or (and " + p + " " + p + ") " + p + ") " + p + ") false)");
  host.terms.simplifies = false;
  EXPECT_EQ(probe.combinations_visited(), 14U);
  EXPECT_EQ(probe.combinations_survived(), 14U);

  // A local part of 4x2 - 3 takes no value but 1 of 0 .. 7 (and 5), whatever else does:
  // six values of the first cut are skipped with all 8 values of the second. A part
  // without variables takes its constant only; the bound needs no condition.
  probe.tight_vars_[100] = {7, probe.own(row({{2, 4}}, -3))};
  probe.tight_vars_[101] = {7, probe.own(row({{2, 1}}, 0))};
  EXPECT_GT(term({{5, 1}, {100, -1}, {101, -1}}, 0).size(), 100U);
  EXPECT_EQ(probe.combinations_visited(), 14U + 5U + 3U * 8U);
  EXPECT_EQ(probe.combinations_survived(), 14U + 3U * 8U);
  probe.tight_vars_[100] = {4, probe.own(row({}, 2))};
  EXPECT_EQ(term({{4, 1}, {100, -1}}, 0), "(or (<= 2 (* 1 x4)) (<= 4 (* 1 x4)))");
  // 2x2 + 2x4 is even; x2/2 + x4 + 1 is made integral.
  probe.tight_vars_[100] = {3, probe.own(row({{2, 2}, {4, 2}}, 0))};
  EXPECT_EQ(term({{5, 1}, {100, -1}}, 0),
            "(or (or (and (mod2 (* 2 x4) 0) (<= 0 (* 1 x5))) "
            "(and (mod2 (* 2 x4) 2) (<= 2 (* 1 x5)))) (<= 3 (* 1 x5)))");
  probe.tight_vars_[100] = {2, probe.own(row({{2, QNumber(1) / QNumber(2)}, {4, 1}}, 1))};
  EXPECT_EQ(term({{5, 1}, {100, -1}}, 0),
            "(or (or (and (mod1 (* 2 x4) -2) (<= 0 (* 1 x5))) "
            "(and (mod1 (* 2 x4) 0) (<= 1 (* 1 x5)))) (<= 2 (* 1 x5)))");
  EXPECT_EQ(host.terms.building_flag(), 1);
}

}  // namespace
}  // namespace opal::small
