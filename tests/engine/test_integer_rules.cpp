// The rules of integer proofs: worked examples, tables of connectives, refused proofs, and
// the wrong answers that broken promises give.

#include <gtest/gtest.h>

#include <functional>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using la::Equation;
using la::LaHyp;
using laz::LaZBBLemma;
using laz::LaZEqSubProof;
using laz::LaZInternalBBProof;
using laz::LaZTighteningProof;
using proof::Proof;
using proof::ProofRef;

constexpr int LEQ = 1, EQ = 2, NEQ = 3, GEQ = 4;
constexpr auto A = Status::A_LOCAL, B = Status::B_LOCAL, AB = Status::SHARED,
               MIXED = Status::AB_MIXED, UNKNOWN = Status::UNKNOWN;

Equation row(const Row& coeffs, const QNumber& constant) {
  Equation e;
  for (const auto& [var, coeff] : coeffs)
    e.add_var(coeff, var);
  e.add_const(constant);
  return e;
}

// x2 and x3 are A's, x4 and x5 shared, x6 and x7 B's; x100 and x101 stand for cuts.
struct IntegerHost : Host {
  IntegerHost() {
    terms.any_flag = true;
    mapper->first_definition = 500;
    const Status colours[] = {A, A, AB, AB, B, B};
    for (int v = 2; v < 8; ++v)
      mapper->set_variable_colour(v, colours[v - 2]);
  }
  int add(int kind, const Row& coeffs, const QNumber& c, Status colour) {
    return mapper->add(kind, coeffs, c, colour);
  }
  static Proof* hyp(int id, int sign = 0) { return new LaHyp(id, sign); }
  static Proof* cut(std::vector<int> ids, std::vector<QNumber> multipliers, long k,
                    int var = 100) {
    return new LaZTighteningProof(std::move(ids), std::move(multipliers), k, var);
  }
  static Proof* sum(const std::vector<std::pair<long, Proof*>>& leaves) {
    Proof* result = hyp(Mapper::ZERO);
    for (const auto& [m, leaf] : leaves) {
      const QNumber multiplier(m);
      result = comb(nullptr, result, &multiplier, leaf);
    }
    return result;
  }
  static la::LinearTerm bound(int kind, const QNumber& c) {
    return {kind, row({{4, 1}}, 0), c};
  }
  static Proof* branches(Proof* l, Proof* r, int l_id, int r_id, int var = 4,
                         const QNumber& c = 0, const QNumber& next = 1) {
    return new LaZInternalBBProof(l, r, l_id, r_id,
                                  la::LinearTerm(LEQ, row({{var, 1}}, 0), c),
                                  la::LinearTerm(GEQ, row({{var, 1}}, 0), next));
  }
  std::string interpolant(Proof* proof, bool floor_cuts = false,
                          Probe::Mode mode = Probe::MODE_SUM) {
    const ProofRef root(proof);
    Probe probe(*this, mode, floor_cuts);
    return Terms::text(probe.get_interpolant(&classifier, root.get()));
  }
};

TEST(ModularPatterns, WorkedExamples) {
  IntegerHost host;
  host.terms.set_building_flag(0);
  Probe probe(host);
  const QNumber half = QNumber(1) / QNumber(2);
  const struct {
    Equation e;
    std::string term;
    QNumber factor;
  } inequalities[] = {{row({{4, half}, {5, QNumber(3) / QNumber(4)}}, -1),
                       "(+ (+ (* 2 x4) (* 3 x5)) -4)", 4},
                      {row({{4, 4}, {5, 6}}, 1), "(+ (+ (* 2 x4) (* 3 x5)) 1/2)", half},
                      {row({}, half), "1/2", 1},
                      {row({}, 0), "0", 1}};
  for (const auto& c : inequalities) {
    Equation e = c.e;
    const auto [term, factor] = probe.build_laz_leq_pattern(&e);
    EXPECT_EQ(Terms::text(term), c.term);
    EXPECT_EQ(factor, c.factor);
  }
  const struct {
    Equation e;
    std::string term, symbol;
    QNumber gcd, neg_const, scale;
  } patterns[] = {
      {row({{2, QNumber(1) / QNumber(3)}, {4, 1}}, 2), "(* 3 x4)", "mod1", 1, -6, 3},
      {row({{4, 4}, {5, 6}}, 0), "(+ (* 4 x4) (* 6 x5))", "=", 2, 0, 1},
      {row({{2, 6}, {3, 4}}, 1), "0", "mod2", 2, -1, 1},
      {row({}, 1), "0", "=", 0, -1, 1}};
  for (const auto& c : patterns) {
    Equation e = c.e;
    const auto p = probe.build_laz_mod_eq_pattern(&e);
    EXPECT_EQ(Terms::text(p.term_), c.term);
    EXPECT_EQ(static_cast<const NamedSymbol*>(p.symbol_)->name, c.symbol);
    EXPECT_EQ(p.coeff_gcd_, c.gcd);
    EXPECT_EQ(p.neg_const_, c.neg_const);
    EXPECT_EQ(p.scale_, c.scale);
  }
  const std::pair<Equation, std::string> terms[] = {
      {row({{2, 2}, {4, 3}}, -4), "(mod2 (* 3 x4) 0)"},
      {row({{4, 2}, {5, 3}}, -4), "(= (+ (* 2 x4) (* 3 x5)) 4)"},
      {row({{2, 2}, {3, 3}}, -4), "true"},
      {row({{2, 2}, {3, 4}}, 3), "false"},
      {row({{2, 2}, {3, 4}}, 0), "true"},
      {row({}, 0), "true"},
      {row({}, 1), "false"}};
  for (const auto& [constraint, text] : terms) {
    Equation e = constraint;
    EXPECT_EQ(Terms::text(probe.build_laz_mod_eq_term(&e)), text);
  }
}

TEST(CutValues, AreCountedSkippedAndChecked) {
  IntegerHost host;
  Probe probe(host);
  for (const int var : {100, 101})
    probe.tight_vars_[var] = {1, probe.own(row({}, 0))};
  Probe::LaZCutValues values{{100, {1, 0}}, {101, {1, 0}}};
  std::string seen;
  bool more = true;
  for (int i = 0; more && i < 9; ++i, more = probe.get_laz_next_tvar_values(values))
    seen += values[0].second.second.to_str() + values[1].second.second.to_str() + " ";
  EXPECT_EQ(seen, "00 01 10 11 ");
  EXPECT_TRUE(values[0].second.second.is_zero() && values[1].second.second.is_zero());

  // 2x2 + 3x4 + 1 with the bound 1; the rest of the sum is x5 - t + 1.
  const std::string at_0 = "(mod2 (* 3 x4) -1)";
  const Equation part = row({{2, 2}, {4, 3}}, 1);
  for (const bool strict : {false, true}) {
    probe.tight_vars_[100] = {1, probe.own(part)};
    Equation* const sum = probe.own(row({{5, 1}, {100, -1}}, 1));
    if (strict) sum->add_var(-1, Mapper::DELTA);
    la::CoeffList list{{nullptr, sum}};
    auto leq = [&](const std::string& bound) {
      const std::string rest = "(+ (* 1 x5) 1)";
      return strict ? "(not (<= " + rest + " " + bound + "))"
                    : "(<= " + bound + " " + rest + ")";
    };
    EXPECT_EQ(Terms::text(probe.build_term_from_eq_list(list)),
              "(or (and " + at_0 + " " + leq("0") + ") " + leq("1") + ")");
  }
  EXPECT_EQ(probe.combinations_visited(), 4U);
  EXPECT_EQ(probe.combinations_survived(), 4U);

  // Without further variables the inequality is a truth value: t <= 1, and t < 1.
  for (const bool strict : {false, true}) {
    Equation* const sum = probe.own(row({{100, -1}}, 1));
    if (strict) sum->add_var(-1, Mapper::DELTA);
    la::CoeffList list{{nullptr, sum}};
    EXPECT_EQ(Terms::text(probe.build_term_from_eq_list(list)),
              "(or (and " + at_0 + " true) " + (strict ? "false)" : "true)"));
  }
  // A sum without a cut's variable is an atom.
  la::CoeffList plain{{nullptr, probe.own(row({{5, 1}}, 1))}};
  EXPECT_EQ(Terms::text(probe.build_term_from_eq_list(plain)), "(<= 0 (+ (* 1 x5) 1))");

  // A local part of 4x2 - 3 takes no value but 1 of 0 .. 7 (and 5), whatever else does:
  // six values of the first cut are skipped with all 8 values of the second.
  const std::uint64_t before = probe.combinations_visited();
  const std::uint64_t survived = probe.combinations_survived();
  probe.tight_vars_[100] = {7, probe.own(row({{2, 4}}, -3))};
  probe.tight_vars_[101] = {7, probe.own(row({{2, 1}}, 0))};
  la::CoeffList two{{nullptr, probe.own(row({{5, 1}, {100, -1}, {101, -1}}, 0))}};
  EXPECT_EQ(Terms::text(probe.build_term_from_eq_list(two)).size() > 100, true);
  EXPECT_EQ(probe.combinations_visited() - before, 5U + 3U * 8U);
  EXPECT_EQ(probe.combinations_survived() - survived, 3U * 8U);
}

TEST(CutValues, APatternWithoutSharedVariablesIsDecided) {
  IntegerHost host;
  Probe probe(host);
  const auto leq = std::make_pair(host.mapper->var_term(4), QNumber(1));
  const struct {
    Equation e;
    long value;
    std::string text;
  } table[] = {{row({{2, 2}, {4, 2}}, 0), 3, "null"},  // the divisor 2 does not divide 3
               {row({{2, 4}}, 0), 8, "(<= -8 x4)"},
               {row({{2, 4}}, 0), 6, "null"},
               {row({}, 6), 6, "(<= -6 x4)"},
               {row({}, 6), 7, "null"},
               {row({{2, 2}, {4, 2}}, 0), 9, "(<= -9 x4)"}};  // the bound: no condition
  for (const auto& c : table) {
    probe.tight_vars_[100] = {9, nullptr};
    Equation e = c.e;
    const Probe::LaZCutValues values{{100, {1, c.value}}};
    const Term_* const t =
        probe.build_laz_tight_subterm(leq, {probe.build_laz_mod_eq_pattern(&e)}, values);
    EXPECT_EQ(t == nullptr ? "null" : Terms::text(t), c.text) << c.value;
  }
  EXPECT_NE(host.terms.building_flag(), 0);
}

TEST(Cuts, EverySideHasItsContribution) {
  IntegerHost host;
  const int a = host.add(GEQ, {{2, 2}, {4, 2}}, 7, A);       // 2x2 + 2x4 - 7 >= 0
  const int b = host.add(GEQ, {{4, 2}, {6, -2}}, -1, B);     // 2x4 - 2x6 + 1 >= 0
  const int s = host.add(GEQ, {{4, 2}}, 7, B);               // 2x4 - 7 >= 0
  const int sa = host.add(GEQ, {{4, 2}, {5, 4}}, 0, A);      // 2x4 + 4x5 >= 0
  const int both = host.add(GEQ, {{4, 2}}, 7, AB);           // 2x4 - 7 >= 0
  const int eq = host.add(EQ, {{4, 1}}, 3, A);               // x4 - 3 = 0
  const int below = host.add(LEQ, {{4, 1}, {6, -2}}, 0, B);  // 2x6 - x4 >= 0
  const struct {
    std::vector<int> ids;
    std::vector<QNumber> multipliers;
    long k;
    std::string modular, part, bound, side, floored;
  } table[] = {
      {{b}, {}, 2, "", "", "", "", ""},
      {{both}, {}, 2, "", "", "", "", "x4 - 4"},
      {{a}, {}, 2, "x2 + x4 - 4", "", "", "", "x2 + x4 - 4"},
      {{a}, {}, 0, "2*x2 + 2*x4 - 7", "", "", "", "x2 + x4 - 4"},
      {{sa, a}, {3}, 2, "x2 + 4*x4 + 6*x5 - 4", "", "", "", "x2 + 4*x4 + 6*x5 - 4"},
      // shared: stated under B's part as a premise
      {{s, sa}, {1}, 4, "x4 + x5 - 2", "", "", "2*x4 - 7", "x5 + x501"},
      {{s, sa}, {1}, 0, "4*x4 + 4*x5 - 7", "", "", "2*x4 - 7", "x5 + x501"},
      // both sides: a variable with a bound
      {{b, a},
       {1},
       2,
       "x2 + x4 - 1/2*x100 - 7/2",
       "2*x2 + 2*x4 - 7",
       "0",
       "",
       "x2 + x4 - 4"},
      {{b, a},
       {QNumber(3)},
       2,
       "x2 + x4 - 1/2*x100 - 7/2",
       "2*x2 + 2*x4 - 7",
       "0",
       "",
       "x2 + x4 - 4"},
      {{a, b}, {1}, 0, "2*x2 + 2*x4 - 7", "", "", "", "x2 + x4 - 4"},
      // an equality counts in the direction of the conclusion
      {{eq, below}, {1}, 2, "-1/2*x4 - 1/2*x100 + 3/2", "-x4 + 3", "1", "", "x502"},
      {{eq, below}, {-1}, 2, "1/2*x4 - 1/2*x100 - 3/2", "x4 - 3", "1", "", "x503"}};
  for (const auto& c : table) {
    SCOPED_TRACE(c.modular + " / " + c.floored);
    const ProofRef proof(host.cut(c.ids, c.multipliers, c.k));
    auto* const node = static_cast<LaZTighteningProof*>(proof.get());
    Probe probe(host);
    Probe::TermSet vars;
    auto handled = [&](bool floor_cuts) {
      probe.clear_cache();
      probe.to_visit_.assign(1, node);
      floor_cuts ? probe.handle_tightproof_floor(node, vars)
                 : probe.handle_tightproof(node, vars);
      const la::CoeffList& list = *probe.find_in_cache(node);
      EXPECT_TRUE(list.size() == 1 && list[0].first == nullptr);
      EXPECT_TRUE(probe.to_visit_.empty());
      const std::string text = list[0].second->to_str(false);
      return text == probe.get_zero()->to_str(false) ? "" : text;
    };
    EXPECT_EQ(handled(true), c.floored);
    EXPECT_TRUE(vars.empty() && probe.tight_vars_.empty());
    EXPECT_EQ(handled(false), c.modular);
    const auto it = probe.tight_vars_.find(100);
    const bool has_bound = it != probe.tight_vars_.end();
    EXPECT_EQ(has_bound ? it->second.first.to_str() : "", c.bound);
    EXPECT_EQ(has_bound ? it->second.second->to_str(false) : "", c.part);
    const auto& side = probe.side_constraints_;
    EXPECT_EQ(side.empty() ? "" : side[0]->to_str(false), c.side);
  }
}

TEST(Cuts, BoundsAndRoundingOfConstants) {
  IntegerHost host;
  for (const auto& [c, bound, rounded] :
       {std::tuple(7, 1, 2), {-7, 2, -3}, {6, 0, 2}, {0, 0, 0}, {-1, 2, -1}}) {
    const int a = host.add(GEQ, {{2, 3}, {4, 3}}, 0, A);
    const int b = host.add(GEQ, {{6, 3}}, -c, B);
    const int alone = host.add(GEQ, {{2, 3}, {4, 6}}, -c, A);
    Probe probe(host);
    Probe::TermSet vars;
    const ProofRef mixed(host.cut({b, a}, {1}, 3)), of_A(host.cut({alone}, {}, 3));
    for (const ProofRef* proof : {&mixed, &of_A}) {
      probe.to_visit_.push_back(proof->get());
      probe.handle_tightproof(static_cast<LaZTighteningProof*>(proof->get()), vars);
    }
    EXPECT_EQ(probe.tight_vars_[100].first, QNumber(bound)) << c;
    const Equation* const e = probe.find_in_cache(of_A.get())->at(0).second;
    EXPECT_EQ(e->constant() == nullptr ? QNumber(0) : *e->constant(), QNumber(rounded));
  }
}

// A host may have an atom for the zero constraint, which then can conclude a cut.
TEST(Cuts, TheZeroConstraintStaysZero) {
  struct ZeroMapper : Mapper {
    using Mapper::Mapper;
    la::LinearTerm linear_term(int id) override {
      return id == ZERO ? la::LinearTerm(GEQ, Equation(), 0) : Mapper::linear_term(id);
    }
    TheoryLit constraint_lit(int id) override {
      return id == ZERO ? zero : Mapper::constraint_lit(id);
    }
    TheoryLit zero;
  };
  for (const Status colour : {A, B}) {
    IntegerHost host;
    auto mapper = std::make_shared<ZeroMapper>(host.terms);
    const Term_* const atom = host.terms.make("zero", {});
    mapper->zero = TheoryLit(atom);
    mapper->set_variable_colour(2, A);
    mapper->set_variable_colour(6, B);
    mapper->enter_atom(atom, colour);
    const int a = mapper->add(GEQ, {{2, 2}}, 1, A), b = mapper->add(GEQ, {{6, 2}}, 1, B);
    host.mapper = mapper;
    host.classifier = itp::TheoryAtomClassifier(mapper);
    Probe probe(host);
    for (const auto& ids : {std::vector<int>{a, b, Mapper::ZERO},
                            {a, Mapper::ZERO},
                            {b, Mapper::ZERO},
                            {Mapper::ZERO}}) {
      const ProofRef proof(host.cut(ids, {1, 1}, 2));
      (void)probe.get_interpolant(&host.classifier, proof.get());
      EXPECT_EQ(probe.get_zero()->to_str(false), Equation().to_str(false));
    }
  }
}

TEST(FloorCuts, OnlyWhatIsNotIntegralGoesUnderAFloor) {
  IntegerHost host;
  const int b = host.add(GEQ, {{4, 1}, {6, 2}}, 1, B);
  const std::pair<int, std::string> table[] = {
      {host.add(GEQ, {{2, 2}, {4, 1}}, 1, A),
       "(<= 0 (+ (* 1 x2) (* 1 (floor (* 1/2 (+ (* 1 x4) -1))))))"},
      {host.add(GEQ, {{2, 2}, {4, 3}}, 4, A),
       "(<= 0 (+ (+ (* 1 x2) (* 1 (floor (* 1/2 (* 3 x4))))) -2))"}};
  for (const auto& [a, text] : table)
    EXPECT_EQ(host.interpolant(host.cut({b, a}, {1}, 2), true), text);
}

TEST(Branches, AreJoinedByTheColoursOfTheirAtoms) {
  const std::string incompatible = "incompatible BB constraints in LaZInternalBBProof";
  const struct {
    Status left, right, by_symbols;
    std::string text;
  } table[] = {{B, B, AB, "and"},
               {AB, AB, AB, "and"},
               {AB, B, AB, "and"},
               {A, A, AB, "or"},
               {AB, A, AB, "or"},
               {A, B, AB, incompatible},
               {MIXED, B, AB, incompatible},
               {UNKNOWN, B, A, "and"},
               {UNKNOWN, AB, A, "and"},
               {UNKNOWN, A, B, "or"},
               {A, UNKNOWN, B, "or"},
               {MIXED, UNKNOWN, B, "or"},
               {UNKNOWN, UNKNOWN, AB, "and"},
               {UNKNOWN, UNKNOWN, A, "or"},
               {UNKNOWN, UNKNOWN, MIXED, incompatible},
               {UNKNOWN, UNKNOWN, UNKNOWN,
                "impossible to classify BB constraint in LaZInternalBBProof"}};
  for (const auto& c : table) {
    IntegerHost host;
    const int l = host.mapper->add_branch(LEQ, 4, 0, c.left);
    const int r = host.mapper->add_branch(GEQ, 4, 1, c.right);
    host.mapper->set_variable_colour(4, c.by_symbols);
    const int a = host.add(GEQ, {{5, 1}}, 0, A), b = host.add(GEQ, {{5, 1}}, 0, B);
    std::string text;
    try {
      text = host.interpolant(host.branches(host.hyp(a), host.hyp(b), l, r));
      text = text.substr(1, text.find(' ') - 1);
    } catch (const la::Interpolator::error& e) {
      text = e.what();
    }
    EXPECT_EQ(text, c.text) << c.left << c.right << c.by_symbols;
  }
}

// 2^40 paths, and 50000 levels; branch literals reach the leaves, and go afterwards.
TEST(Branches, SharedNodesAreHandledOnceAndLiteralsForgotten) {
  IntegerHost host;
  const int l = host.mapper->add_branch(LEQ, 4, 0, A);
  const int r = host.mapper->add_branch(GEQ, 4, 1, A);
  EXPECT_EQ(host.interpolant(host.branches(host.hyp(l), host.hyp(r), l, r)),
            "(or (<= 0 (* -1 x4)) (<= 0 (+ (* 1 x4) -1)))");
  Proof* tree = host.hyp(l);
  for (int i = 0; i < 40; ++i)
    tree = host.branches(tree, Proof::retain(tree), l, r);
  for (int i = 0; i < 50000; ++i)
    tree = host.branches(tree, host.hyp(r), l, r);
  const ProofRef root(tree);
  Probe probe(host);
  (void)probe.get_interpolant(&host.classifier, root.get());
  EXPECT_TRUE(probe.bb_lits_.empty());
  EXPECT_FALSE(probe.in_laz_bb_);
}

TEST(Lemmas, AreInterpolatedByTheSidesOfTheirLiterals) {
  IntegerHost host;
  const struct {
    std::string colours;  // of the literals p, not q, r
    std::string text;
  } table[] = {{"AA", "false"},    {"BB", "true"},    {"AB", "(not p)"},  {"BA", "q"},
               {"SS", "false"},    {"SB", "(not p)"}, {"AAA", "false"},   {"BBB", "true"},
               {"ABB", "(not p)"}, {"BAB", "q"},      {"BBA", "(not r)"}, {"BAA", "p"},
               {"ABA", "(not q)"}, {"AAB", "r"},      {"SBB", "(not p)"}};
  auto enter = [&](const std::string& name, char colour) {
    const Term_* const t = host.terms.make(name, {});
    const std::map<char, Status> status{{'A', A}, {'B', B}, {'S', AB}, {'M', MIXED}};
    host.mapper->enter_atom(t, status.at(colour));
    return t;
  };
  for (const auto& [colours, text] : table) {
    const TheoryLit p(enter("p", colours[0])), q(enter("q", colours[1]), true);
    const TheoryLit r =
        colours.size() == 2 ? TheoryLit() : TheoryLit(enter("r", colours[2]));
    EXPECT_EQ(host.interpolant(new LaZBBLemma(p, q, r)), text) << colours;
  }
  const std::pair<std::string, std::string> splits[] = {
      {"BBB", "true"},    {"AAA", "false"},   {"ABB", "(not p)"},
      {"BAB", "q"},       {"BBA", "r"},       {"BAA", "p"},
      {"AAB", "(not r)"}, {"ABA", "(not q)"}, {"SBB", "(not p)"}};
  for (const auto& [colours, text] : splits) {
    const Term_* const p = enter("p", colours[0]);
    const Term_* const q = enter("q", colours[1]);
    const Term_* const r = enter("r", colours[2]);
    EXPECT_EQ(host.interpolant(new la::LaEqSplitLemma(p, q, r)), text) << colours;
  }
}

TEST(EqualityProofs, WorkedExamples) {
  IntegerHost host;
  const QNumber half = QNumber(1) / QNumber(2), third = QNumber(1) / QNumber(3);
  const int b = host.add(EQ, {{4, 1}, {6, -2}}, 1, B);                // x4 = 2 x6 + 1
  const int b3 = host.add(EQ, {{4, 1}, {6, -3}}, 1, B);               // x4 = 3 x6 + 1
  const int even = host.add(EQ, {{4, 1}, {2, -2}}, 0, A);             // x4 = 2 x2
  const int thirds = host.add(EQ, {{2, 3}, {3, -6}, {4, -1}}, 0, A);  // 3 x2 - 6 x3 = x4
  const int two = host.add(EQ, {{4, 2}}, -1, A);                      // 2 x4 + 1 = 0
  const int unscaled = host.add(EQ, {{2, 2}, {4, -2}}, -1, A);        // 2 x2 - 2 x4 + 1 = 0
  const int both = host.add(EQ, {{4, 2}}, 1, AB);
  const struct {
    std::vector<int> ids;
    std::vector<QNumber> multipliers;
    std::string text;
  } table[] = {{{}, {}, "true"},
               {{b}, {half}, "true"},
               {{even}, {half}, "false"},
               {{both}, {half}, "false"},
               {{even, b}, {half, half.neg()}, "(mod2 (* 1 x4) 0)"},
               {{even, b}, {half.neg(), half}, "(mod2 (* -1 x4) 0)"},
               {{thirds, b3}, {third, third}, "(mod3 (* -1 x4) 0)"},
               {{two, b}, {third, 1}, "(= (* 2 x4) -1)"},
               {{unscaled, b}, {half, 1}, "(mod1 (* -1 x4) 0)"},
               {{b, even, thirds}, {1, 1, -1}, "(mod1 (* 2 x4) 0)"}};
  for (const auto& c : table)
    EXPECT_EQ(host.interpolant(new LaZEqSubProof(c.ids, c.multipliers)), c.text);
}

TEST(IntegerRules, BrokenProofsAreRefusedWithTheirMessages) {
  IntegerHost host;
  const int unmapped = 99999, nameless = Mapper::NAMELESS_VARIABLE;
  const int a = host.add(GEQ, {{2, 2}, {4, 1}}, 1, A), b = host.add(GEQ, {{6, 2}}, 1, B);
  const int mixed = host.add(GEQ, {{2, 1}, {6, 1}}, 0, MIXED);
  const int empty = host.add(GEQ, {}, 0, A);
  const int of_nameless = host.add(GEQ, {{nameless, 2}, {2, 2}}, 0, A);
  const int equality = host.add(EQ, {{nameless, 2}}, 0, A);
  const int other = host.add(EQ, {{6, 2}}, 0, B);
  const Term_* const good = host.mapper->atom(a);
  const TheoryLit lit(good), mixed_lit(host.mapper->atom(mixed));
  const std::string no_variable = "unknown variable in LA(Z) Equation";
  auto lemma = [](const Term_* e, const Term_* l1, const Term_* l2) {
    return new la::LaEqSplitLemma(e, l1, l2);
  };
  enum Style { MODULAR = 1, FLOOR = 2, EITHER = 3 };
  const struct {
    Style style;
    std::string message;
    std::function<Proof*()> make;
  } table[] = {
      {MODULAR, "unknown constraint in LaHyp", [&] { return host.cut({unmapped}, {}, 2); }},
      {FLOOR, "unknown constraint in LaZTighteningProof",
       [&] { return host.cut({unmapped}, {}, 2); }},
      {EITHER, "AB-mixed term in LaHyp", [&] { return host.cut({mixed}, {}, 2); }},
      {EITHER, "AB-mixed term in LaHyp",
       [&] {
         return host.cut({mixed, a}, {1}, 2);
       }},
      {EITHER, "unknown premise in LaZTighteningProof",
       [&] {
         return host.cut({unmapped, a}, {1}, 2);
       }},
      {EITHER, "missing multiplier in LaZTighteningProof",
       [&] {
         return host.cut({b, a}, {}, 2);
       }},
      {EITHER, "missing conclusion in LaZTighteningProof",
       [&] { return host.cut({}, {}, 2); }},
      {MODULAR, "negative divisor in LaZTighteningProof",
       [&] {
         return host.cut({b, a}, {1}, -2);
       }},
      {FLOOR, "constraint without variables in LaZTighteningProof",
       [&] { return host.cut({empty}, {}, 2); }},
      {EITHER, "variable without a term: 1000000000",
       [&] {
         return host.cut({b, of_nameless}, {1}, 2);
       }},
      {EITHER, no_variable,
       [&] {
         return new LaZEqSubProof({equality, other}, {1, 1});
       }},
      {EITHER, "unknown constraint in LaZEqSubProof",
       [&] {
         return new LaZEqSubProof({other, unmapped}, {1, 1});
       }},
      {EITHER, "missing multiplier in LaZEqSubProof",
       [&] { return new LaZEqSubProof({other}, {}); }},
      {EITHER, "AB-mixed term in LaZBBLemma",
       [&] { return new LaZBBLemma(lit, mixed_lit); }},
      {EITHER, "AB-mixed term in LaZBBLemma",
       [&] { return new LaZBBLemma(lit, lit, mixed_lit); }},
      {EITHER, "missing literal in LaZBBLemma",
       [&] { return new LaZBBLemma(lit, TheoryLit()); }},
      {EITHER, "AB-mixed term in LaEqSplitLemma",
       [&] { return lemma(good, mixed_lit.atom(), good); }},
      {EITHER, "missing atom in LaEqSplitLemma",
       [&] { return lemma(nullptr, good, good); }},
      {EITHER, "unknown constraint in LaZInternalBBProof",
       [&] {
         return new LaZInternalBBProof(host.hyp(a), host.hyp(b), 7000, 7001,
                                       host.bound(EQ, 0), host.bound(GEQ, 1));
       }},
      {EITHER, std::string("Unrecognized proof rule: ") + typeid(Proof*).name(),
       [&] { return comb(nullptr, host.hyp(a), nullptr, new LaZBBLemma(lit, lit)); }},
      {EITHER, std::string("Unrecognized proof rule: ") + typeid(Proof*).name(),
       [&] { return host.branches(nullptr, host.hyp(a), 7000, 7001); }}};
  for (const auto& c : table)
    for (const bool floor_cuts : {false, true}) {
      if ((c.style & (floor_cuts ? FLOOR : MODULAR)) == 0) continue;
      Probe probe(host, Probe::MODE_SUM, floor_cuts);
      const ProofRef proof(c.make());
      try {
        (void)probe.get_interpolant(&host.classifier, proof.get());
        ADD_FAILURE() << c.message << " expected";
      } catch (const Exception& e) {
        EXPECT_EQ(std::string(e.what()), c.message);
      }
      const ProofRef sound(host.hyp(a));
      EXPECT_EQ(Terms::text(probe.get_interpolant(&host.classifier, sound.get())),
                "(<= 0 (+ (+ (* 2 x2) (* 1 x4)) -1))");
    }
  host.mapper->first_definition = 0;
  try {
    (void)host.interpolant(host.cut({host.add(GEQ, {{4, 1}, {6, 2}}, 0, B), a}, {1}, 2),
                           true);
    ADD_FAILURE() << "a floor term without a variable";
  } catch (const la::Interpolator::error& e) {
    EXPECT_STREQ(e.what(), "no variable for a floor term");
  }
}

// A: x4 = 2 x2, B: x4 = 2 x6 + 1, both as pairs of inequalities. Without what the cuts
// round, A's parts add up to 0 >= 0: the wrong answer `true`, where B holds at x4 = 1.
TEST(IntegerRules, ACutOfBothSidesIsNoSum) {
  IntegerHost host;
  const int a1 = host.add(GEQ, {{4, 1}, {2, -2}}, 0, A);
  const int a2 = host.add(LEQ, {{4, 1}, {2, -2}}, 0, A);
  const int b1 = host.add(GEQ, {{4, 1}, {6, -2}}, 1, B);
  const int b2 = host.add(LEQ, {{4, 1}, {6, -2}}, 1, B);
  auto proof = [&] {
    return host.sum(
        {{1, host.cut({b1, a1}, {1}, 2)}, {1, host.cut({b2, a2}, {1}, 2, 101)}});
  };
  EXPECT_EQ(
      host.interpolant(host.sum(
          {{1, host.hyp(a1)}, {1, host.hyp(a2)}, {1, host.hyp(b1)}, {1, host.hyp(b2)}})),
      "true");
  for (const bool floor_cuts : {false, true}) {
    const ProofRef root(proof());
    Probe probe(host, Probe::MODE_SUM, floor_cuts);
    const Term_* const i = probe.get_interpolant(&host.classifier, root.get());
    for (int x4 = -3; x4 <= 3; ++x4) {
      std::unordered_map<const Term_*, QNumber> values{{host.mapper->var_term(4), x4}};
      EXPECT_EQ(!evaluate(i, values).is_zero(), x4 % 2 == 0) << Terms::text(i);
    }
  }
}

// docs/proofs.md works these out. Each answer is what a broken proof gives, and wrong.
TEST(BrokenPromises, GiveWrongAnswers) {
  IntegerHost host;
  auto add = [&](int kind, const Row& coeffs, const QNumber& c, Status colour) {
    return host.add(kind, coeffs, c, colour);
  };
  const QNumber half = QNumber(1) / QNumber(2), third = QNumber(1) / QNumber(3);

  // 2: A: x4 = 5, B: 2 x6 <= x4, x6 >= 3. The multiplier 1 is right.
  const int five = add(EQ, {{4, 1}}, 5, A), twice = add(LEQ, {{6, 2}, {4, -1}}, 0, B);
  const int three = add(GEQ, {{6, 1}}, 3, B);
  auto proof2 = [&](int m) {
    return host.sum({{1, host.cut({five, twice}, {m}, 2)}, {1, host.hyp(three)}});
  };
  EXPECT_EQ(host.interpolant(proof2(-1), true),
            "(<= 0 (* 1 (floor (* 1/2 (+ (* 1 x4) -5)))))");  // B holds at x4 = 6
  EXPECT_EQ(host.interpolant(proof2(1), true),
            "(<= 0 (* 1 (floor (* 1/2 (+ (* -1 x4) 5)))))");

  // 2: A: x4 - x3 = 3 x2, x3 = 1, B: x4 = 3 x6. The multipliers 1/3, 1/3, -1/3 are right.
  const int minus = add(EQ, {{4, 1}, {3, -1}, {2, -3}}, 0, A),
            one = add(EQ, {{3, 1}}, 1, A);
  const int threes = add(EQ, {{4, 1}, {6, -3}}, 0, B);
  auto equalities = [&](const QNumber& m) {
    return new LaZEqSubProof({minus, one, threes}, {third, m, third.neg()});
  };
  EXPECT_EQ(host.interpolant(equalities(third.neg())), "(mod1 (* 1 x4) 0)");  // true
  EXPECT_EQ(host.interpolant(equalities(third)), "(mod3 (* 1 x4) 1)");

  // 6: A: 2 x2 + x5 >= 1, x2 <= 0, B: x5 <= 0, and x5 is real: it cancels in the cut.
  const int real = add(GEQ, {{2, 2}, {5, 1}}, 1, A), low = add(LEQ, {{2, 1}}, 0, A);
  const int real_low = add(LEQ, {{5, 1}}, 0, B);
  EXPECT_EQ(host.interpolant(
                host.sum({{1, host.cut({real_low, real}, {1}, 2)}, {1, host.hyp(low)}})),
            "(or (and (mod2 (* 1 x5) 1) (<= 0 (+ (* 1 x5) -1))) "
            "(<= 1 (+ (* 1 x5) -1)))");  // A holds at x2 = 0, x5 = 3/2

  // 6: A: x4 >= 1, B: x4 <= 1; 2 does not divide the coefficient.
  const int least = add(GEQ, {{4, 1}}, 1, A), most = add(LEQ, {{4, 1}}, 1, B);
  EXPECT_EQ(
      host.interpolant(host.sum({{2, host.cut({least}, {}, 2)}, {1, host.hyp(most)}})),
      "(<= 0 (+ (* 1/2 x4) -1))");  // A holds at x4 = 1

  // 6: A: 2 x2 <= 2, 2 x2 >= 1, B: 2 x6 >= 2, x6 <= 0; one variable for two cuts.
  const int a1 = add(LEQ, {{2, 2}}, 2, A), a2 = add(GEQ, {{2, 2}}, 1, A);
  const int b1 = add(GEQ, {{6, 2}}, 2, B), b2 = add(LEQ, {{6, 2}}, 0, B);
  auto two_cuts = [&](int second) {
    return host.sum(
        {{1, host.cut({a2, b2}, {1}, 2, 100)}, {1, host.cut({a1, b1}, {1}, 2, second)}});
  };
  EXPECT_EQ(host.interpolant(two_cuts(100)), "false");  // A holds at x2 = 1
  EXPECT_EQ(host.interpolant(two_cuts(101)), "true");

  // 7: A: 2 x2 = 2 x4 + 1, B: x4 = 0; A alone is contradictory.
  const int odd = add(EQ, {{2, 2}, {4, -2}}, 1, A), zero = add(EQ, {{4, 1}}, 0, B);
  EXPECT_EQ(host.interpolant(new LaZEqSubProof({odd, zero}, {half, 1})),
            "(mod1 (* -1 x4) 0)");  // B holds at x4 = 0
  EXPECT_EQ(host.interpolant(new LaZEqSubProof({odd}, {half})), "false");
}

TEST(BrokenPromises, OfBranchesGiveWrongAnswers) {
  // 8: A: x4 >= 0, x4 != 0, B: x4 <= 0, branch x4 <= -1 or x4 >= 0, where the right atom is
  // A's, and the left one is unknown or not.
  for (const Status left_colour : {UNKNOWN, A}) {
    IntegerHost host;
    const int a = host.add(GEQ, {{4, 1}}, 0, A), neq = host.add(NEQ, {{4, 1}}, 0, A);
    const int b = host.add(LEQ, {{4, 1}}, 0, B);
    const int l = host.mapper->add_branch(LEQ, 4, -1, left_colour);
    const int r = host.mapper->add_branch(GEQ, 4, 0, A);
    Proof* const left = host.sum({{1, host.hyp(a)}, {1, host.hyp(l)}});
    Proof* const below = host.sum({{1, host.hyp(r)}, {1, host.hyp(neq, -1)}});
    Proof* const above = host.sum({{1, host.hyp(b)}, {1, host.hyp(neq, 1)}});
    Proof* const tree =
        host.branches(left, new la::LaNeq(neq, below, above), l, r, 4, -1, 0);
    const std::string right = "(or false (not (<= (* 1 x4) 0)))";
    EXPECT_EQ(host.interpolant(tree), left_colour == A
                                          ? "(or (<= 0 -1) " + right + ")"
                                          : "(or (<= 0 (* 1 x4)) " + right + ")");
  }
  // 8: A: x4 >= 5, B: x4 >= 2 x6 - 1, x6 >= 1, x4 + x7 <= 0, x7 >= 0, branch x4 <= 0 or
  // x4 >= 1, with a cut in the left leaf. Shared atoms count as A's there, B's elsewhere.
  for (const Status colour : {AB, B}) {
    IntegerHost host;
    const int b1 = host.add(GEQ, {{4, 1}, {6, -2}}, -1, B);
    const int b2 = host.add(GEQ, {{6, 1}}, 1, B), b4 = host.add(GEQ, {{7, 1}}, 0, B);
    const int b3 = host.add(LEQ, {{4, 1}, {7, 1}}, 0, B);
    const int l = host.mapper->add_branch(LEQ, 4, 0, colour);
    const int r = host.mapper->add_branch(GEQ, 4, 1, colour);
    Proof* const left = host.sum({{1, host.cut({l, b1}, {1}, 2)}, {1, host.hyp(b2)}});
    Proof* const right = host.sum({{1, host.hyp(b3)}, {1, host.hyp(b4)}, {1, host.hyp(r)}});
    EXPECT_EQ(host.interpolant(host.branches(left, right, l, r), true),
              colour == B ? "(and true true)"
                          : "(and (<= 0 (* 1 (floor (* 1/2 (* -1 x4))))) true)");
  }
  // 8: A: x4 >= 1, B: x4 <= 1, branch x4 <= 0 or x4 >= 2: B holds at x4 = 1.
  IntegerHost host;
  const int a = host.add(GEQ, {{4, 1}}, 1, A), b = host.add(LEQ, {{4, 1}}, 1, B);
  const int l = host.mapper->add_branch(LEQ, 4, 0, B);
  const int r = host.mapper->add_branch(GEQ, 4, 2, B);
  EXPECT_EQ(host.interpolant(host.branches(host.sum({{1, host.hyp(a)}, {1, host.hyp(l)}}),
                                           host.sum({{1, host.hyp(b)}, {1, host.hyp(r)}}),
                                           l, r, 4, 0, 2)),
            "(and (<= 0 (+ (* 1 x4) -1)) true)");
}

}  // namespace
}  // namespace opal::small
