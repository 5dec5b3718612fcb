// Constraints, their arithmetic, and the merge of coefficient lists.

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <set>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using la::CoeffList;
using la::Equation;

Equation row(const Row& coeffs, long constant) {
  Equation e;
  for (const auto& [var, coeff] : coeffs)
    e.add_var(coeff, var);
  e.add_const(constant);
  return e;
}

TEST(Constraints, EveryKindAndSignIsOrientedAndStrict) {
  Host host;
  Probe probe(host);
  const char* const upper = "-x2 - 2*x3 + 5";
  const char* const lower = "x2 + 2*x3 - 5";
  for (int kind = 0; kind < 6; ++kind) {
    const int id = host.mapper->add(kind, {{2, 1}, {3, 2}}, 5, Status::A_LOCAL);
    for (int sign = -1; sign <= 1; ++sign) {
      const bool is_upper = kind < 2 || (kind < 4 && sign == -1);
      const bool is_strict = kind == 0 || kind == 3 || kind == 5;
      const std::string text = is_upper ? upper : lower;
      EXPECT_EQ(probe.get_as_rhs(id, sign)->to_str(false),
                is_strict ? (is_upper ? "-x1 " : "-x1 + ") +
                                (is_upper ? "- " + text.substr(1) : text)
                          : text)
          << kind << " " << sign;
    }
  }
  const std::size_t owned = probe.owned_eqs_.size();
  EXPECT_EQ(probe.get_as_rhs(Mapper::ZERO, 0), probe.get_zero());
  EXPECT_EQ(probe.owned_eqs_.size(), owned);
}

TEST(Constraints, BranchLiteralsCountOnlyWithinABranchAndBoundRequest) {
  Host host;
  Probe probe(host);
  const int id = host.mapper->add(1, {{2, 1}}, 5, Status::A_LOCAL);
  const TheoryLit branch(host.mapper->var_term(7));
  probe.bb_lits_[id] = branch;
  EXPECT_NE(probe.to_lit(id), branch);
  probe.in_laz_bb_ = true;
  EXPECT_EQ(probe.to_lit(id), branch);
}

TEST(Constraints, SumsHoldNoZeroPairAndAreNewEvenWhenNothingChanges) {
  Host host;
  Probe probe(host);
  QNumber zero(0), two(2), half = QNumber(1) / QNumber(2), minus(-1);
  Equation e = row({{2, 1}, {4, -2}}, 3);
  Equation f = row({{2, -2}, {3, 5}}, 0);
  Equation* const o = probe.get_zero();
  const struct {
    QNumber* c1;
    Equation* e1;
    QNumber* c2;
    Equation* e2;
    const char* sum;
  } table[] = {{nullptr, &e, nullptr, &f, "-x2 + 5*x3 - 2*x4 + 3"},
               {&two, &e, nullptr, &f, "5*x3 - 4*x4 + 6"},
               {nullptr, &e, &half, &f, "5/2*x3 - 2*x4 + 3"},
               {&two, o, &half, &f, "-x2 + 5/2*x3"},
               {&two, &e, &half, o, "2*x2 - 4*x4 + 6"},
               {&two, o, &half, o, "0"},
               {nullptr, &e, nullptr, o, "x2 - 2*x4 + 3"},
               {nullptr, &e, &minus, &e, "0"},
               {&zero, &e, nullptr, &f, "-2*x2 + 5*x3"},
               {&two, &e, &zero, &f, "2*x2 - 4*x4 + 6"},
               {&zero, &e, nullptr, o, "0"}};
  for (const auto& t : table) {
    const std::size_t owned = probe.owned_eqs_.size();
    const Equation* const sum = probe.get_comb(t.c1, t.e1, t.c2, t.e2);
    EXPECT_EQ(sum->to_str(false), t.sum);
    EXPECT_TRUE(sum->is_normal());
    ASSERT_EQ(probe.owned_eqs_.size(), owned + 1);
    EXPECT_EQ(probe.owned_eqs_.back(), sum);
  }
  EXPECT_EQ(e.to_str(false) + ", " + f.to_str(false), "x2 - 2*x4 + 3, -2*x2 + 5*x3");

  QNumber three(3);
  CoeffList one{{&three, &e}};
  EXPECT_EQ(probe.build_equation(one)->to_str(false), "3*x2 - 6*x4 + 9");
  EXPECT_EQ(one, (CoeffList{{&three, &e}}));
  CoeffList several{{&two, &e}, {nullptr, &f}, {&half, &f}};
  const std::size_t owned = probe.owned_eqs_.size();
  EXPECT_EQ(probe.build_equation(several)->to_str(false), "-x2 + 15/2*x3 - 4*x4 + 6");
  EXPECT_EQ(several.size(), 1U);
  EXPECT_EQ(several[0].first, nullptr);
  EXPECT_EQ(probe.owned_eqs_.size(), owned + 3);
}

TEST(Terms, AConstraintBecomesItsAtomOrItsLinearTerm) {
  Host host;
  Probe probe(host);
  const struct {
    Equation e;
    const char* atom;
    const char* linear;
  } table[] = {{row({}, 0), "true", "0"},
               {row({{2, -1}, {3, -2}}, 5), "(<= 0 (+ (+ (* -1 x2) (* -2 x3)) 5))",
                "(+ (+ (* -1 x2) (* -2 x3)) 5)"},
               {row({{2, 1}, {1, -1}}, -3), "(not (<= (+ (* 1 x2) -3) 0))",
                "(not (<= (+ (* 1 x2) -3) 0))"},
               {row({{2, 1}, {1, 1}}, 0), "(<= 0 (* 1 x2))", "(* 1 x2)"},
               {row({}, -2), "(<= 0 -2)", "-2"},
               {row({{1, -1}}, 0), "false", "false"},
               {row({{1, -2}}, -2), "false", "false"},
               {row({{1, 1}}, 0), "true", "true"},
               {row({{1, 1}}, 2), "true", "true"},
               {row({{1, -1}}, 2), "(not (<= 2 0))", "(not (<= 2 0))"},
               {row({{1, 1}}, -2), "(<= 0 -2)", "-2"}};
  for (const auto& t : table) {
    EXPECT_EQ(Terms::text(probe.build_leq_term(&t.e, true)), t.atom);
    EXPECT_EQ(Terms::text(probe.build_leq_term(&t.e, false)), t.linear);
    EXPECT_EQ(host.terms.building_flag(), 1);
  }
  const Equation nameless = row({{2, 1}, {Mapper::NAMELESS_VARIABLE, 1}}, 0);
  EXPECT_THROW(static_cast<void>(probe.build_leq_term(&nameless, true)), Probe::error);
  EXPECT_EQ(host.terms.building_flag(), 1);
}

TEST(Terms, AListIsSummedOrConjoinedAndStaysAsItIs) {
  Host host;
  Probe sum(host), conj(host, Probe::MODE_CONJ);
  QNumber three(3);
  Equation e = row({{2, 1}}, 0), f = row({{3, 1}}, -1);
  CoeffList empty, one{{&three, &e}}, two{{nullptr, &e}, {&three, &f}};
  const CoeffList same = two;
  EXPECT_EQ(Terms::text(sum.build_term_from_eq_list(one)), "(<= 0 (* 1 x2))");
  EXPECT_TRUE(sum.owned_eqs_.empty());
  EXPECT_EQ(Terms::text(sum.build_term_from_eq_list(two)),
            "(<= 0 (+ (+ (* 1 x2) (* 3 x3)) -3))");
  EXPECT_EQ(sum.owned_eqs_.size(), 1U);
  EXPECT_EQ(Terms::text(conj.build_term_from_eq_list(two)),
            "(and (and true (<= 0 (* 1 x2))) (<= 0 (+ (* 1 x3) -1)))");
  EXPECT_EQ(two, same);
  EXPECT_EQ(Terms::text(conj.build_term_from_eq_list(empty)), "true");
  EXPECT_THROW(static_cast<void>(sum.build_term_from_eq_list(empty)), Probe::error);
  EXPECT_THROW(static_cast<void>(sum.build_equation(empty)), Probe::error);
}

// One random merge: constraints over few variables, some of them in both lists, with the
// strictness variable, constants and the zero constraint among them.
class Merge {
 public:
  Merge(Host& host, unsigned seed) : probe_(host), host_(host), random_(seed) {
    const int variables = pick(2, 14);
    for (int v = 2; v < 2 + variables; ++v)
      if (pick(0, 2) > 0 && seed % 5 != 0) vars_.insert(host.mapper->var_term(v));
    for (CoeffList* list : {&l1_, &l2_}) {
      for (int n = pick(0, 14); n > 0; --n) {
        Equation e = row({{1, pick(-1, 0)}}, pick(-2, 2));
        for (int k = pick(0, 3); k > 0; --k)
          e.add_var(pick(-2, 2), pick(2, 1 + variables));
        const bool again = list == &l2_ && !l1_.empty() && pick(0, 5) == 0;
        Equation* const c = again            ? l1_[l1_.size() / 2].second
                            : pick(0, 9) > 0 ? probe_.own(e)
                                             : probe_.get_zero();
        list->emplace_back(pick(0, 1) == 0 ? nullptr : &multipliers_[pick(0, 3)], c);
      }
    }
  }

  void check() {
    const CoeffList before1 = l1_, before2 = l2_;
    const std::string texts = text(l1_) + text(l2_);
    std::map<Equation*, QNumber*> inputs;
    for (const CoeffList* list : {&l1_, &l2_})
      for (const auto& [q, e] : *list)
        if (e != probe_.get_zero()) inputs[e] = q;
    CoeffList out;
    probe_.combine_eq_coeff_lists(l1_, l2_, &out, vars_);
    EXPECT_EQ(l1_, before1);
    EXPECT_EQ(l2_, before2);
    EXPECT_EQ(text(l1_) + text(l2_), texts);
    CoeffList distinct_inputs;
    for (const auto& [e, q] : inputs)
      distinct_inputs.emplace_back(q, e);
    EXPECT_EQ(weighted_sum(out), weighted_sum(distinct_inputs));

    std::map<int, int> uses;
    std::set<Equation*> distinct;
    for (const auto& [q, e] : out) {
      EXPECT_TRUE(distinct.insert(e).second);
      for (const auto& pair : e->coeffs())
        ++uses[pair.first];
      EXPECT_TRUE(e != probe_.get_zero() || (out.size() == 1 && q == nullptr));
    }
    for (const auto& [var, n] : uses)
      EXPECT_TRUE(n == 1 || !is_eliminable(var));
    for (const auto& [e, q] : inputs) {
      bool alone = true;
      for (const auto& pair : e->coeffs())
        for (const auto& other : inputs)
          alone &= other.first == e || !is_eliminable(pair.first) ||
                   other.first->coeff(pair.first).is_zero();
      const bool kept = std::count(out.begin(), out.end(), std::make_pair(q, e)) == 1;
      EXPECT_TRUE(!alone || kept) << "merged without need: " << e->to_str(true);
    }
  }

 private:
  using Sum = std::map<int, QNumber>;  // the constant at 0
  static Sum weighted_sum(const CoeffList& pairs) {
    Sum sum;
    for (const auto& [q, e] : pairs) {
      const QNumber factor = q == nullptr ? QNumber(1) : *q;
      for (const auto& pair : e->coeffs())
        sum[pair.first] += factor * pair.second;
      if (e->constant() != nullptr) sum[0] += factor * *e->constant();
    }
    for (auto it = sum.begin(); it != sum.end();)
      it = it->second.is_zero() ? sum.erase(it) : std::next(it);
    return sum;
  }
  static std::string text(const CoeffList& list) {
    std::string s;
    for (const auto& pair : list)
      s += pair.second->to_str(true) + "; ";
    return s;
  }
  bool is_eliminable(int var) const {
    return var != Mapper::DELTA &&
           (vars_.empty() || !vars_.contains(host_.mapper->var_term(var)));
  }
  int pick(int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random_);
  }

  Probe probe_;
  Host& host_;
  std::mt19937 random_;
  QNumber multipliers_[4] = {1, 2, QNumber(1) / QNumber(3), 7};
  Probe::TermSet vars_;
  CoeffList l1_, l2_;
};

TEST(Lists, AMergeKeepsTheSumAndJoinsExactlyWhatLocalVariablesLink) {
  Host host;
  for (unsigned seed = 0; seed < 3000 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Merge(host, seed).check();
  }
}

TEST(Lists, AConstantLeftByAMergeComesLast) {
  Host host;
  Probe probe(host);
  Probe::TermSet vars;
  vars.insert(host.mapper->var_term(3));
  Equation e = row({{2, 1}}, -1), f = row({{3, 1}}, 0), g = row({{2, -1}}, 0);
  CoeffList l1{{nullptr, &e}, {nullptr, &f}}, l2{{nullptr, &g}}, out;
  probe.combine_eq_coeff_lists(l1, l2, &out, vars);
  ASSERT_EQ(out.size(), 2U);
  EXPECT_EQ(out[0].second, &f);
  EXPECT_EQ(out[1].second->to_str(false), "-1");
}

}  // namespace
}  // namespace opal::small
