// Proofs that rest on equalities of both sides: their halves, shared terms, and rewriting.

#include <functional>
#include <random>
#include <typeinfo>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using la::LaComb;
using la::LaNeq;
using Linear = std::map<int, QNumber>;  // coefficients by variable, the constant at 0
using Leaves = std::vector<std::pair<QNumber, Proof*>>;

constexpr int SHARED = 2, LOCAL_A = 6, LOCAL_B = 14, END = 22;  // 4, 8 and 8 variables

// e + q * f without zeros
Linear sum(Linear e, const QNumber& q, const Linear& f) {
  for (const auto& [v, c] : f)
    if ((e[v] += q * c).is_zero()) e.erase(v);
  return e;
}

struct SplitHost : Host {
  SplitHost() {
    mapper->first_definition = 500;
    for (int v = SHARED; v < END; ++v)
      mapper->set_variable_colour(v, v < LOCAL_A ? AB : v < LOCAL_B ? A : B);
  }
  itp::EqItpMap map;

  static std::pair<Row, QNumber> split_constant(const Linear& form) {
    Row coeffs(form.begin(), form.end());
    if (form.count(0) == 0) return {coeffs, 0};
    coeffs.erase(coeffs.begin());
    return {coeffs, form.at(0).neg()};
  }
  int row(int kind, const Linear& form, Status colour) {
    const auto [coeffs, c] = split_constant(form);
    return mapper->add(kind, coeffs, c, colour);
  }
  int equality(Term atom, const Linear& form) {
    const auto [coeffs, c] = split_constant(form);
    return mapper->add_equality(atom, coeffs, c);
  }
  /// Leaves are first and second premises in turn.
  static Proof* chain(const Leaves& leaves) {
    Proof* result = hyp(Mapper::ZERO);
    for (std::size_t i = 0; i < leaves.size(); ++i) {
      const QNumber* const q = leaves[i].first == QNumber(1) ? nullptr : &leaves[i].first;
      result = i % 2 == 0 ? comb(q, leaves[i].second, nullptr, result)
                          : comb(nullptr, result, q, leaves[i].second);
    }
    return result;
  }
};

struct SplitProbe : Probe {
  using Interpolator::do_make_linear_expr;
  using Interpolator::get_zero_proof;
  using Interpolator::make_linear_exprs;
  using Probe::Probe;
  std::pair<ProofRef, ProofRef> split(SplitHost& host, Proof* p) {
    const auto halves =
        split_mixed_proof(&host.classifier, dynamic_cast<la::LaProof*>(p), host.map);
    EXPECT_TRUE(split_cache_.empty() && owned_eqs_.empty());
    return {ProofRef(halves.first), ProofRef(halves.second)};
  }
};

// The reference counts of all nodes.
std::map<Proof*, int> counts(const ProofRef& root) {
  std::map<Proof*, int> result;
  std::vector<Proof*> todo{root.get()};
  while (!todo.empty()) {
    Proof* const p = todo.back();
    todo.pop_back();
    result[p] = p->references();
    if (auto* c = dynamic_cast<LaComb*>(p))
      todo.insert(todo.end(), {c->premise1, c->premise2});
    else if (auto* n = dynamic_cast<LaNeq*>(p))
      todo.insert(todo.end(), {n->case1, n->case2});
  }
  return result;
}

// The half of a second case that needs both cases of the other half.
ProofRef completed(const ProofRef& half, const ProofRef& other) {
  const auto *neq = dynamic_cast<LaNeq*>(half.get()),
             *by = dynamic_cast<LaNeq*>(other.get());
  auto rest = [](Proof* p) { return Proof::retain(dynamic_cast<LaComb*>(p)->premise2); };
  Proof* const both = plus(rest(by->case1), rest(by->case2));
  return ProofRef(cases(neq->constraint_id, Proof::retain(neq->case1),
                        plus(Proof::retain(neq->case2), both)));
}

/// Random proofs over a disequality. In each case A's hypotheses add up to a shared form,
/// which part[i] holds, but for the local variables of the disequality and of earlier
/// equalities; B's to its negation.
struct RandomSplits : SplitHost {
  explicit RandomSplits(unsigned seed) : random(seed) {}
  struct Equality {
    int id, shared_var;
    Linear a, b_minus_a;
    int direction;  // 1 when the mapper writes it as b - a
  };
  int pick(int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  }
  Linear form(int from, int to) {
    Linear e{{0, pick(1, 5)}};
    for (int v = from; v < to; ++v)
      e = sum(e, pick(-2, 2), {{v, 1}});
    return e;
  }
  Proof* leaf(const Linear& e, bool of_A) {
    const int sign = 2 * pick(0, 1) - 1;  // e >= 0 or -e <= 0, or a half of an equality
    const bool is_half = pick(0, 2) == 0;
    const int kind = is_half ? EQ : sign > 0 ? GEQ : LEQ;
    const Status colour = of_A ? A : B;
    return hyp(row(kind, sum({}, sign, e), colour), is_half ? sign : 0);
  }
  /// Hypotheses of one side that add up to `total`.
  void close(Leaves& leaves, Linear total, bool of_A) {
    const int local = of_A ? LOCAL_A + 4 : LOCAL_B + 4;
    for (int i = pick(0, 3); i > 0; --i) {
      const Linear e = sum(form(SHARED, LOCAL_A), 1, form(local, local + 4));
      const QNumber q = QNumber(pick(1, 4)) / QNumber(pick(1, 3));
      leaves.emplace_back(q, leaf(e, of_A));
      total = sum(total, q.neg(), e);
    }
    const QNumber q(pick(1, 3));
    leaves.emplace_back(q, leaf(sum({}, q.inv(), total), of_A));
  }
  ProofRef refutation(int neq, const Linear& local_A, const Linear& local_B, bool pinned) {
    const Linear common_A = form(SHARED, LOCAL_A), common_B = form(SHARED, LOCAL_A);
    has_common = pick(0, 1) == 0;
    const ProofRef common(chain({{1, leaf(common_A, true)}, {1, leaf(common_B, false)}}));
    Proof* halves[2];
    for (const int i : {0, 1}) {
      const int sign = i == 0 ? 1 : -1;
      part[i] = pinned && i == 1 ? sum({}, -1, part[0]) : form(SHARED, LOCAL_A);
      Leaves leaves{{1, hyp(neq + 1, -sign)}};
      Linear of_A = sum(part[i], sign, local_A);
      Linear of_B = sum(sum({}, -1, part[i]), sign, local_B);
      for (const Equality& e : equalities) {  // q * (b - a) is q * (t - a) and q * (b - t)
        if (pick(0, 1) == 0) continue;
        const QNumber q(pick(1, 3) * (2 * pick(0, 1) - 1));
        leaves.emplace_back(abs(q), hyp(e.id, q.sign() * e.direction));
        part[i] = sum(part[i], q, {{e.shared_var, 1}});
        of_A = sum(of_A, q, e.a);
        of_B = sum(of_B, q.neg(), sum(e.a, 1, e.b_minus_a));
      }
      if (has_common) {
        leaves.emplace_back(1, Proof::retain(common.get()));
        of_A = sum(of_A, -1, common_A);
        of_B = sum(of_B, -1, common_B);
      }
      close(leaves, of_A, true);
      close(leaves, of_B, false);
      std::shuffle(leaves.begin(), leaves.end(), random);
      halves[i] = chain(leaves);
    }
    return ProofRef(small::cases(neq + 1, halves[0], halves[1]));
  }
  void draw_point() {
    values.clear();
    for (int v = SHARED; v < LOCAL_A; ++v)
      values[mapper->var_term(v)] = pick(-9, 9);
  }
  QNumber value(const Linear& e) {
    QNumber result;
    for (const auto& [v, q] : e)
      result += v == 0 ? q : q * evaluate(mapper->var_term(v), values);
    return result;
  }
  bool holds(SplitProbe& probe, const ProofRef& proof) {
    return !evaluate(probe.get_interpolant(&classifier, proof.get()), values).is_zero();
  }
  void split_one(int k, bool pinned);
  void rewrite_one();

  std::mt19937 random;
  std::vector<Equality> equalities;
  bool has_common = false;  // the cases share a node
  Linear part[2];
  std::unordered_map<Term, QNumber> values;
};

// With direction 1 the first case says a > b, A that t - a >= 0, and part[0] is t.
void RandomSplits::split_one(int k, bool pinned) {
  const int direction = 2 * pick(0, 1) - 1;
  const Linear a{{LOCAL_A + k, 1}}, b{{LOCAL_B + k, 1}};
  Term ta = mapper->var_term(LOCAL_A + k), tb = mapper->var_term(LOCAL_B + k);
  Term atom = pick(0, 1) == 0 ? terms.make_equal(ta, tb) : terms.make_equal(tb, ta);
  const Linear difference = sum(b, -1, a);
  const int id = equality(atom, sum({}, direction, difference));
  const ProofRef proof =
      refutation(id, sum({}, -direction, a), sum({}, direction, b), pinned);
  const auto before = counts(proof);
  SplitProbe probe(*this), dual(*this, Probe::MODE_DUAL);
  {
    const auto [of_A, of_B] = probe.split(*this, proof.get());
    const itp::EqItpInfo* const info = map.find(atom);
    ASSERT_TRUE(info != nullptr && info->a_side == ta && info->b_side == tb);
    const Linear rest = sum(part[0], 1, part[1]);
    for (int i = 0; i < 5; ++i) {
      draw_point();
      EXPECT_EQ(evaluate(info->shared_term, values) * QNumber(direction), value(part[0]));
      const int sign = value(rest).sign();
      // What A's hypotheses make up in a half, and, with the sides exchanged, B's.
      EXPECT_TRUE(holds(probe, of_A) == (sign > 0) && holds(dual, of_B) == (sign >= 0));
      EXPECT_TRUE(!holds(dual, of_A) && holds(probe, of_B));
      if (rest.empty() || has_common) continue;  // no node may occur twice in a sum
      EXPECT_EQ(holds(dual, completed(of_A, of_B)), sign > 0);
      EXPECT_EQ(holds(probe, completed(of_B, of_A)), sign >= 0);
    }
    equalities.push_back(
        {id, mapper->term_def_var(info->shared_term), a, difference, direction});
  }
  EXPECT_EQ(counts(proof), before);
}

// A proof over a disequality of one side, and its first case by itself.
void RandomSplits::rewrite_one() {
  const bool of_A = pick(0, 1) == 0;
  const int local = of_A ? LOCAL_A + 4 : LOCAL_B + 4;
  const Linear e{{local, 1}, {SHARED, -1}};
  Term atom = terms.make_equal(mapper->var_term(local), mapper->var_term(SHARED));
  const int id = equality(atom, e);
  const ProofRef proof = refutation(id, of_A ? e : Linear(), of_A ? Linear() : e, false);
  const auto before = counts(proof);
  for (const auto mode : {Probe::MODE_SUM, Probe::MODE_DUAL}) {
    SplitProbe probe(*this, mode);
    const auto both = probe.split(*this, proof.get());
    const auto first = probe.split(*this, dynamic_cast<LaNeq*>(proof.get())->case1);
    const auto again = probe.split(*this, both.first.get());  // has fake hypotheses
    EXPECT_TRUE(!both.second && !first.second);
    for (int i = 0; i < 5; ++i) {
      draw_point();
      const int s1 = value(part[0]).sign(), s2 = value(part[1]).sign();
      EXPECT_EQ(holds(probe, first.first), of_A ? s1 > 0 : s1 >= 0);
      EXPECT_EQ(holds(probe, both.first), holds(probe, again.first));
      EXPECT_EQ(holds(probe, both.first), of_A ? s1 > 0 || s2 > 0 : s1 >= 0 && s2 >= 0);
    }
  }
  EXPECT_EQ(counts(proof), before);
  EXPECT_EQ(mapper->atom_colour(atom), of_A ? A : B);
}

TEST(RandomSplitting, SharedTermsHalvesAndRewrittenProofsAreRight) {
  for (unsigned seed = 0; seed < 150 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomSplits problem(seed);
    for (int k = 0; k < 3; ++k) {
      problem.split_one(k, problem.pick(0, 1) == 0);
      problem.rewrite_one();
    }
  }
}

// a is of A, b of B, x and y are shared.
struct Story : SplitHost {
  static constexpr int a = LOCAL_A, b = LOCAL_B, x = SHARED, y = SHARED + 1;
  /// The mapper writes a = b as scale * (b - a).
  explicit Story(const QNumber& scale = 1)
      : atom(terms.make_equal(mapper->var_term(a), mapper->var_term(b))),
        id(equality(atom, {{a, scale.neg()}, {b, scale}})) {}
  Proof* neq(int sign) const { return hyp(id + 1, sign); }
  Proof* compare(int u, int kind, int v, Status colour) {
    return hyp(row(kind, {{u, 1}, {v, -1}}, colour));
  }
  /// A has a <= x and B has x <= b, or >= both times; m1 and m2 are the multipliers.
  Proof* one_case(int kind, int shared, int sign, const QNumber& m1 = 1,
                  const QNumber& m2 = 1) {
    return chain({{m2, compare(a, kind, shared, A)},
                  {m2, compare(shared, kind == LT ? LEQ : kind, b, B)},
                  {m1, neq(sign)}});
  }
  ProofRef proof(Proof* p1, Proof* p2) const { return ProofRef(cases(id + 1, p1, p2)); }
  std::string text(SplitProbe& probe, const ProofRef& p) {
    return Terms::text(probe.get_interpolant(&classifier, p.get()));
  }
  Term atom;
  int id;
};

// A: y <= a <= x, B: x <= b <= y. B's half by itself would say that B alone implies b = x,
// which x = 0, b = y = 1 refutes.
TEST(Splitting, AHalfNeedsTheOtherSideWhereItsSideDoesNotPinTheEquality) {
  Story p;
  SplitProbe probe(p);
  const ProofRef proof = p.proof(p.one_case(LEQ, p.x, -1), p.one_case(GEQ, p.y, 1));
  const auto [of_A, of_B] = probe.split(p, proof.get());
  Term t = p.map.find(p.atom)->shared_term;
  EXPECT_EQ(Terms::text(t), "(* 1 x2)");
  EXPECT_EQ(p.mapper->atom_colour(p.terms.make_equal(p.mapper->var_term(p.a), t)), A);
  EXPECT_EQ(p.mapper->atom_colour(p.terms.make_equal(p.mapper->var_term(p.b), t)), B);
  EXPECT_EQ(p.text(probe, of_A), "(or false (not (<= (+ (* 1 x2) (* -1 x3)) 0)))");
  EXPECT_EQ(p.text(probe, of_B), "(and true true)");
  EXPECT_EQ(p.text(probe, completed(of_B, of_A)),
            "(and true (<= 0 (+ (* 1 x2) (* -1 x3))))");
}

// Each row after the first three breaks one promise.
TEST(Splitting, BrokenPromisesGiveWrongTermsOrHalves) {
  const QNumber half = QNumber(1) / QNumber(2), two(2);
  Story p, turned(-1), halved(half);
  const ProofRef kept = p.proof(p.one_case(LEQ, p.x, -1), p.one_case(GEQ, p.x, 1));
  const auto* const neq = dynamic_cast<LaNeq*>(kept.get());
  auto first = [&](Proof* case1) { return p.proof(case1, Proof::retain(neq->case2)); };
  auto given_fake = [&](int u, int v, Status colour) {
    return fake(turned.row(LEQ, {{u, 1}, {v, -1}}, colour), row({{u, -1}, {v, 1}}, 0));
  };
  const std::string x = "(* 1 x2)";
  const struct {
    const char* what;
    Story& host;
    ProofRef proof;
    std::string shared_term, of_A;
  } table[] = {
      {"kept", p, kept, x, "(or false false)"},
      {"fake hypotheses", turned,
       turned.proof(turned.chain({{1, given_fake(p.x, p.a, A)},
                                  {1, given_fake(p.b, p.x, B)},
                                  {1, turned.neq(-1)}}),
                    turned.one_case(LEQ, p.x, 1)),
       "(* -1 (* -1 x2))", "(or false false)"},
      {"no rest", p, p.proof(p.neq(-1), p.neq(1)), "(* 1 x6)", ""},
      {"sign", p, p.proof(p.one_case(GEQ, p.x, 1), p.one_case(LEQ, p.x, -1)),
       "(+ (* -1 x2) (* 2 x6))", ""},
      {"multiplier", p, first(p.one_case(LEQ, p.x, -1, 2, 2)), x,
       "(or (not (<= (+ (* 1 x2) (* -1 x6)) 0)) false)"},
      {"multiplier of the second premise", p,
       first(comb(
           nullptr,
           p.chain({{2, p.compare(p.a, LEQ, p.x, A)}, {2, p.compare(p.x, LEQ, p.b, B)}}),
           &two, p.neq(-1))),
       x, "(or (not (<= (+ (* 1 x2) (* -1 x6)) 0)) false)"},
      {"multiplier, a - b", turned,
       turned.proof(turned.one_case(GEQ, p.x, -1, 2, 2), turned.one_case(LEQ, p.x, 1)),
       "(* -1 (* -1 x2))", "(or (not (<= (+ (* -1 x2) (* 1 x6)) 0)) false)"},
      {"multiplier of the sum", p, first(p.chain({{2, p.one_case(LEQ, p.x, -1)}})),
       "(+ (* 2 x2) (* -1 x6))", ""},
      {"halved", halved,
       halved.proof(halved.one_case(LEQ, p.x, -1, 2), halved.one_case(GEQ, p.x, 1, 2)),
       "(* -1 (+ (* 1/2 x2) (* -3/2 x6)))", ""},
      {"unsatisfiable", p, first(p.one_case(LT, p.x, -1)), "(not (<= (* 1 x2) 0))", ""}};
  for (const auto& t : table) {
    SCOPED_TRACE(t.what);
    SplitProbe probe(t.host);
    const auto halves = probe.split(t.host, t.proof.get());
    EXPECT_EQ(Terms::text(t.host.map.find(t.host.atom)->shared_term), t.shared_term);
    if (!t.of_A.empty()) {
      EXPECT_EQ(t.host.text(probe, halves.first), t.of_A);
    }
    EXPECT_FALSE(probe.get_zero()->has_vars());
  }
}

TEST(Splitting, BrokenProofsAreRefusedAndLeaveNothingBehind) {
  Story p;
  SplitProbe probe(p);
  const ProofRef good = p.proof(p.one_case(LEQ, p.x, -1), p.one_case(GEQ, p.x, 1));
  Proof* const case1 = dynamic_cast<LaNeq*>(good.get())->case1;
  EXPECT_EQ(probe.split(p, case1).first.get(), case1);  // nothing to rewrite
  const auto before = counts(good);
  const int ab = p.mapper->add(LEQ, {{p.a, 1}, {p.b, 1}}, 0, MIXED);
  const int unknown = p.mapper->add(LEQ, {{99, 1}}, 0, UNKNOWN);
  const int unmapped = 7777;
  auto imp = [&](int id) { return implied(id, hyp(Mapper::ZERO)); };
  auto neq = [&](int id) { return ProofRef(cases(id, hyp(-1), hyp(-1))); };
  auto with = [&](Proof* leaf) {  // splitting
    return p.proof(p.chain({{1, leaf}, {1, p.neq(-1)}}), p.one_case(GEQ, p.x, 1));
  };
  auto twice = [&] { return p.chain({{1, p.neq(1)}, {1, p.neq(1)}}); };
  const std::string no_hyp = "no hypothesis on the split equality in a case of a LaNeq";
  const std::string not_found = "AB-mixed term not found in eq_itp map";
  const std::string rule =
      std::string("Unexpected proof rule to split: ") + typeid(Proof*).name();
  const struct {
    std::string message;
    ProofRef proof;
  } table[] = {{rule, ProofRef()},
               {rule, with(new la::LaUnitLemma(TheoryLit()))},
               {"atom unknown to the classifier", neq(unknown)},
               {"Only AB-mixed equalities can be split", neq(ab)},
               {"unmapped disequality in a LaNeq to split", neq(unmapped)},
               {no_hyp, p.proof(hyp(-1), twice())},
               {no_hyp, p.proof(twice(), hyp(-1))},
               {"zero multiplier in LaComb", p.proof(p.chain({{0, p.neq(-1)}}), p.neq(1))},
               {"unmapped constraint in a LaHyp to split", with(hyp(unmapped))},
               {not_found, with(hyp(ab))},
               {"unmapped constraint in a LaFakeHyp to split", with(fake(unmapped))},
               {"AB-mixed term in a LaFakeHyp", with(fake(ab))},
               {"can't split a LaCombImp", with(imp(p.id))},
               {"", good},  // from here on the map has a = b
               {not_found, ProofRef(hyp(ab))},
               {not_found, ProofRef(hyp(unknown))},
               {"AB-mixed term in a LaFakeHyp", ProofRef(fake(unknown))},
               {"unmapped constraint in a LaCombImp to split", ProofRef(imp(unmapped))},
               {"can't handle negated AB-mixed equality", ProofRef(p.neq(1))},
               {"constraint implied by LaCombImp is in the EqItpMap", ProofRef(imp(p.id))},
               {rule, ProofRef(p.chain({{1, neq(ab).take()}}))},
               {"no variable for a shared term", ProofRef(hyp(p.id))}};
  auto answer = [&](Proof* proof) -> std::string {
    try {
      probe.split(p, proof);
      return "";
    } catch (const Probe::error& e) {
      return e.what();
    }
  };
  for (const auto& t : table) {
    if (t.message == "no variable for a shared term") p.mapper->first_definition = 0;
    EXPECT_EQ(answer(t.proof.get()), t.message);
  }
  // The zero constraint has a colour where it has an atom.
  p.mapper->first_definition = 500;
  for (const Status colour : {MIXED, B}) {
    p.map = {};
    p.mapper->zero_lit = TheoryLit(p.terms.make("zero", {}));
    p.mapper->enter_atom(p.mapper->zero_lit.atom(), colour);
    EXPECT_EQ(answer(good.get()), colour == B ? "" : not_found);
  }
  p.mapper->zero_lit = TheoryLit();
  int failures = 1;  // at every call into the mapper that can fail
  for (p.map = {}; p.map.empty(); ++failures) {
    p.mapper->calls_until_failure = failures;
    try {
      probe.split(p, good.get());
    } catch (const std::runtime_error&) {
      EXPECT_TRUE(p.map.empty());
    }
  }
  EXPECT_GT(failures, 20);
  {
    SplitProbe given_up(p);
    p.mapper->calls_until_failure = failures / 2;
    EXPECT_THROW(given_up.split(p, good.get()), std::runtime_error);
  }
  auto after = before;
  after[good.get()] += 1;  // the table's
  EXPECT_EQ(counts(good), after);
}

// A has a > x, B has b <= x, and a = b was split by x.
TEST(Splitting, RewritingKeepsImplicationsAndSharedPremises) {
  Story p;
  SplitProbe probe(p);
  probe.split(p, p.proof(p.one_case(LEQ, p.x, -1), p.one_case(GEQ, p.x, 1)).get());
  const int of_B = p.row(LEQ, {{p.b, 1}, {p.x, -1}}, B);
  const ProofRef base(plus(p.compare(p.a, GT, p.x, A), hyp(p.id, 1)));
  const auto of_base = [&] { return Proof::retain(base.get()); };
  const QNumber two(2);
  Proof* const proofs[] = {plus(of_base(), hyp(of_B)),
                           implied(p.mapper->add_negation(of_B, B), of_base()),
                           comb(nullptr, plus(of_base(), of_base()), &two, hyp(of_B))};
  for (Proof* const proof : proofs) {
    const ProofRef given(proof);
    EXPECT_EQ(p.text(probe, probe.split(p, proof).first),
              "(not (<= (+ (* -1 x2) (* 1 (* 1 x2))) 0))");
  }
}

TEST(Splitting, TermsAreTakenApartDownToTheMappersVariables) {
  Story p;
  SplitProbe probe(p);
  auto num = [&](const QNumber& q) { return p.terms.make_number(q); };
  auto add = [&](Term u, Term v) { return p.terms.make("+", {u, v}); };
  auto mul = [&](Term u, Term v) { return p.terms.make("*", {u, v}); };
  Term x = p.mapper->var_term(p.x), y = p.mapper->var_term(p.y);
  Term inner = add(mul(num(3), add(x, num(5))), mul(y, num(QNumber(1) / QNumber(2))));
  Term fx = p.terms.make("f", {x}, false);
  Term nested = add(add(mul(num(2), inner), add(mul(x, y), mul(fx, num(3)))), num(-30));
  la::Equation e;
  probe.do_make_linear_expr(nested, e);
  EXPECT_EQ(e.to_str(false), "6*x2 + x3 + 3*x500");
  EXPECT_EQ(p.mapper->var_term(500), fx);
  const la::LinearTerm lt(NEQ, row({{p.x, -1}, {p.y, 1}}, 0), 3);  // y + -3 - x != 0
  Term b = add(y, num(-3));
  auto is_difference = [&](Term from, Term to) {
    la::Equation ea, eb;
    return probe.make_linear_exprs(from, to, lt, ea, eb);
  };
  EXPECT_TRUE(is_difference(x, b));
  EXPECT_FALSE(is_difference(b, x) || is_difference(x, y));
  EXPECT_EQ(probe.get_zero_proof(), probe.get_zero_proof());
}

// Two chains of hypotheses of A, a <= x100 <= x101 <= ... <= x and back.
TEST(LongProofs, AQuarterOfAMillionCombinationsAreSplitAndReleased) {
  Story p;
  SplitProbe probe(p);
  const int n = 125000;
  auto long_case = [&](int kind, int sign) {
    Proof* result = p.chain({{1, p.compare(p.a, kind, 100, A)},
                             {1, p.compare(p.x, kind, p.b, B)},
                             {1, p.neq(sign)}});
    for (int i = 0; i < n; ++i)
      result = plus(p.compare(100 + i, kind, i + 1 == n ? p.x : 101 + i, A), result);
    return result;
  };
  const ProofRef proof = p.proof(long_case(LEQ, -1), long_case(GEQ, 1));
  const auto halves = probe.split(p, proof.get());
  EXPECT_EQ(Terms::text(p.map.find(p.atom)->shared_term), "(* 1 x2)");
  EXPECT_EQ(p.text(probe, halves.first), "(or false false)");
}

}  // namespace
}  // namespace opal::small
