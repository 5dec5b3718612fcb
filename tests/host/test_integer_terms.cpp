#include <gtest/gtest.h>

#include <random>
#include <set>

#include "opal/host/evaluator.h"
#include "opal/host/integer_constraints.h"
#include "opal/host/linear_form.h"
#include "opal/host/literals.h"
#include "opal/host/mapper.h"
#include "opal/host/partition.h"
#include "opal/la/interpolator.h"

namespace opal::host {
namespace {

using la::Equation;
using la::LinearTerm;
using Atoms = std::vector<const Term_*>;
constexpr int LEQ = LinearTerm::LEQ, GEQ = LinearTerm::GEQ;

QNumber number(const std::string& text) {  // "7", "-7/2"
  const auto slash = text.find('/');
  const QNumber top = QNumber::from_decimal(text.substr(0, slash));
  return slash == std::string::npos ? top
                                    : top / QNumber::from_decimal(text.substr(slash + 1));
}

bool satisfied(const LinearTerm& term, const std::vector<QNumber>& values) {
  QNumber sum = term.constant.neg();
  for (const auto& [var, coefficient] : term.vars.coeffs())
    sum += coefficient * values[static_cast<std::size_t>(var)];
  switch (term.kind) {
    case LinearTerm::LT: return sum.sign() < 0;
    case LEQ: return sum.sign() <= 0;
    case LinearTerm::EQ: return sum.is_zero();
    case LinearTerm::NEQ: return !sum.is_zero();
    case GEQ: return sum.sign() >= 0;
    default: return sum.sign() > 0;
  }
}

class IntegerTerms : public testing::Test {
 protected:
  const Term_* num(const std::string& q) { return t.make_number(number(q)); }
  const Term_* times(const std::string& q, const Term_* u) {
    return t.make_times(num(q), u);
  }
  long any(int bound) { return std::uniform_int_distribution<long>(-bound, bound)(random); }
  // The text of a constraint: "2*x2 - x3 rel 5".
  std::string text(int id) {
    const LinearTerm& c = mapper.constraint_term(id);
    const char* const relations[] = {" < ", " <= ", " = ", " /= ", " >= ", " > "};
    return c.vars.to_str(false) + relations[c.kind] + c.constant.to_str();
  }

  Terms t;
  Limits limits;
  Mapper mapper{t, limits};
  std::mt19937_64 random{7};
  const Term_* x = t.make_variable("x", Sort::INT);
  const Term_* y = t.make_variable("y", Sort::INT);
  const Term_* r = t.make_variable("r", Sort::REAL);
  const int vx = mapper.variable(x), vy = mapper.variable(y), vr = mapper.variable(r);
};

TEST_F(IntegerTerms, ConstraintsOverIntegersAreNormalised) {
  const struct {
    const char *a, *b, *d;  // a*x + b*y + d*r rel c
    const Term_* (Terms::*make)(const Term_*, const Term_*);
    const char *c, *expected;
  } table[] = {
      {"1", "0", "0", &Terms::make_lt, "5/2", "x2 <= 2"},
      {"2", "-4", "0", &Terms::make_lt, "5", "x2 - 2*x3 <= 2"},
      {"2", "0", "0", &Terms::make_lt, "4", "x2 <= 1"},
      {"-3", "6", "0", &Terms::make_leq, "-7", "-x2 + 2*x3 <= -3"},
      {"1/2", "-1/3", "0", &Terms::make_lt, "-5/4", "3*x2 - 2*x3 <= -8"},
      {"6", "-4", "0", &Terms::make_equal, "0", "3*x2 - 2*x3 = 0"},
      {"-3", "0", "0", &Terms::make_equal, "3/2", "-2*x2 = 1"},
      {"4", "8", "0", &Terms::make_equal, "2", "2*x2 + 4*x3 = 1"},
      {"1", "0", "0", &Terms::make_equal, "1/2", "2*x2 = 1"},
      {"3", "6", "0", &Terms::make_distinct, "-6", "x2 + 2*x3 /= -2"},
      {"3", "6", "0", &Terms::make_distinct, "4", "always"},
      {"1", "0", "0", &Terms::make_distinct, "1/2", "always"},
      {"2", "0", "4", &Terms::make_lt, "5/2",
       "2*x2 + 4*x4 < 5/2"},  // with a Real: as it stands
      {"2", "0", "4", &Terms::make_distinct, "1", "2*x2 + 4*x4 /= 1"},
      {"3000000000000000000000000000000", "6000000000000000000000000000000", "0",
       &Terms::make_lt, "7", "x2 + 2*x3 <= 0"},
      {"-1", "2/3", "0", &Terms::make_lt, "100000000000000000000000000000001/3",
       "-3*x2 + 2*x3 <= 100000000000000000000000000000000"},
  };
  for (const auto& row : table) {
    const Term_* sum =
        t.make_plus(t.make_plus(times(row.a, x), times(row.b, y)), times(row.d, r));
    const Term_* a = (t.*row.make)(sum, num(row.c));
    const int id = mapper.constraint(a);
    EXPECT_EQ(id == Mapper::ZERO_CONSTRAINT ? "always" : text(id), row.expected);
    EXPECT_EQ(mapper.constraint(a), id);
  }
}

// Against all points of a box: rounding loses no integer point and adds none.
TEST_F(IntegerTerms, NormalFormsHaveTheSameIntegerPoints) {
  for (int round = 0; round < 3000; ++round) {
    Equation vars;
    for (int var = 2; var < 4; ++var)
      vars.add_var(QNumber(any(9)) / QNumber(1 + std::abs(any(3))), var);
    if (!vars.has_vars()) continue;
    const LinearTerm term(static_cast<int>(random() % 6), vars,
                          QNumber(any(15)) / QNumber(1 + std::abs(any(5))));
    const auto normal = integer_normal_form(term);
    ASSERT_TRUE(!normal || is_integer_normal(*normal));
    for (long a = -5; a <= 5; ++a)
      for (long b = -5; b <= 5; ++b) {
        const std::vector<QNumber> point{0, 0, a, b};
        ASSERT_EQ(satisfied(term, point), !normal || satisfied(*normal, point))
            << term.vars.to_str(false) << " rel " << term.kind << " " << term.constant;
      }
  }
}

TEST_F(IntegerTerms, DefinitionsPinFloorsDown) {
  const Term_* third = t.make_floor(times("1/3", t.make_plus(x, times("2", y))));
  const auto defined = floor_definitions(t, t.make_leq(third, r));
  ASSERT_EQ(defined.size(), 2U);
  const int floor_var = mapper.variable(third);
  EXPECT_EQ(text(mapper.constraint(defined[0])), "-x2 - 2*x3 + 3*x5 <= 0");
  EXPECT_EQ(text(mapper.constraint(defined[1])), "x2 + 2*x3 - 3*x5 <= 2");
  EXPECT_TRUE(mapper.is_integer(floor_var) && !mapper.is_integer(vr));
  EXPECT_EQ(mapper.var_term(floor_var), third);
  EXPECT_EQ(std::pair(mapper.term_def_var(third), mapper.term_def_var(x)),
            std::pair(floor_var, 0));

  // Nested, and shared: each floor once, and no other value satisfies what defines it.
  const Term_* inner = t.make_floor(t.make_plus(times("2/3", t.make_to_real(x)), r));
  const Term_* outer = t.make_floor(times("-1/2", t.make_plus(t.make_plus(inner, y), r)));
  const Atoms all = floor_definitions(t, t.make_leq(t.make_plus(outer, inner), outer));
  ASSERT_EQ(all.size(), 4U);
  for (int round = 0; round < 200; ++round) {
    const Model model{{x, any(20)}, {y, any(20)}, {r, QNumber(any(30)) / QNumber(4)}};
    std::vector<QNumber> values(2);
    for (const Term_* a : all) {
      ASSERT_TRUE(holds(a, model));
      mapper.constraint(a);
    }
    for (int var = 2; var < mapper.num_variables() + 2; ++var)
      values.push_back(evaluate(mapper.var_term(var), model));
    for (const Term_* f : {inner, outer})
      for (long off = -2; off <= 2; ++off) {
        auto point = values;
        point[static_cast<std::size_t>(mapper.variable(f))] += QNumber(off);
        bool both = true;
        for (const Term_* a : floor_definitions(t, t.make_leq(f, r)))
          both = both && satisfied(mapper.constraint_term(mapper.constraint(a)), point);
        ASSERT_EQ(both, off == 0) << "off by " << off;
      }
  }
}

// A floor is a variable whatever is inside, on both ways through a term; and nesting costs
// no stack, and no time beyond the size of the terms.
TEST_F(IntegerTerms, FloorsAreAtomic) {
  const Term_* square = t.make_floor(t.make_times(r, r));
  const Term_* factor = t.make_plus(num("1/2"), num("0"));
  t.set_building_flag(0);
  const Term_* three = t.make_plus(num("1"), num("2"));  // makes the walk one over a DAG
  t.set_building_flag(1);
  for (const Term_* f : {factor, three}) {
    const LinearForm form = linear_form(t.make_times(f, t.make_plus(square, x)));
    ASSERT_EQ(form.summands.size(), 2U);
    EXPECT_EQ(form.summands[0].first, x);
    EXPECT_EQ(form.summands[1].first, square);
  }
  const Term_* deep = r;
  for (int i = 0; i < 20000; ++i)
    deep = t.make_floor(t.make_plus(deep, num("1/2")));
  Grouping grouping(Grouping::sequence(2));
  const Atoms all = floor_definitions(t, t.make_leq(deep, x));
  EXPECT_EQ(all.size(), 40000U);
  for (const Term_* a : all) {
    mapper.constraint(a);
    grouping.add(a, 1);
  }
  EXPECT_EQ(grouping.symbols_colour(deep, 0), Grouping::status::B_LOCAL);
  Grouping alone(Grouping::sequence(2));
  alone.add(t.make_leq(deep, x), 0);
  EXPECT_EQ(alone.symbols_colour(r, 0), Grouping::status::A_LOCAL);
}

TEST_F(IntegerTerms, CongruencesBecomeEqualities) {
  const Atoms sides{x, t.make_plus(times("3", x), y), num("5"), num("0"), times("-2", y)};
  for (const long m : {1, 2, -3, 6})
    for (const Term_* a : sides)
      for (const Term_* b : sides) {
        const Term_* c = t.make_int_modular_congruence(QNumber(m), a, b);
        const Atoms plain = conjuncts(t, c), negated = conjuncts(t, t.make_not(c));
        ASSERT_TRUE(plain.size() <= 1 && negated.size() <= 1);
        for (int round = 0; round < 20; ++round) {
          const Model model{{x, any(20)}, {y, any(20)}};
          const bool expected = holds(c, model);
          ASSERT_EQ(plain.empty() || holds(plain[0], model), expected);
          ASSERT_EQ(negated.empty() || holds(negated[0], model), !expected);
        }
      }
  const Term_* even = conjuncts(t, t.make_int_modular_congruence(2, x, num("0")))[0];
  EXPECT_EQ(text(mapper.constraint(even)), "x2 - 2*x5 = 0");
}

// Compared with the literal that the engine makes for the branch.
TEST_F(IntegerTerms, BranchesAreNeverAssertedAtoms) {
  struct Engine : la::Interpolator {
    using Interpolator::bb_lits_;
    using Interpolator::Interpolator;
    using Interpolator::map_laz_bb_tlit;
  } engine(&t, nullptr, &mapper, la::Interpolator::MODE_SUM, false);
  std::set<int> ids{mapper.constraint(t.make_leq(x, num("3")))};
  const Term_* z = t.make_variable("z", Sort::INT);
  const int vz = mapper.variable(z);
  const int floor = mapper.variable(t.make_floor(times("1/3", x)));
  Grouping grouping(Grouping::sequence(2));
  grouping.add(t.make_leq(x, z), 0);
  grouping.add(t.make_leq(y, z), 1);
  using Colour = Grouping::status;
  const struct {
    int kind;
    std::vector<std::pair<int, long>> sum;
    long constant;
    Colour colour;
  } table[] = {{LEQ, {{vx, 1}}, 3, Colour::A_LOCAL},
               {GEQ, {{vx, 1}}, 4, Colour::A_LOCAL},
               {LEQ, {{vx, -1}, {vy, 2}}, 0, Colour::AB_MIXED},
               {GEQ, {{vz, 1}, {floor, 1}}, -2, Colour::A_LOCAL},
               {GEQ, {{vy, 1}}, 0, Colour::B_LOCAL},
               {LEQ, {{vz, 5}}, 1, Colour::SHARED}};
  for (const auto& row : table) {
    Equation vars;
    for (const auto& [var, coefficient] : row.sum)
      vars.add_var(QNumber(coefficient), var);
    const LinearTerm branch(row.kind, vars, QNumber(row.constant));
    const int id = mapper.branch_constraint(branch);
    EXPECT_EQ(mapper.branch_constraint(branch), id);
    EXPECT_TRUE(ids.insert(id).second && mapper.is_branch(id));
    engine.map_laz_bb_tlit(id, branch);
    EXPECT_EQ(engine.bb_lits_[id], mapper.constraint_lit(id));
    // Asserting the atom later gives another id, which is no branch.
    const int asserted = mapper.constraint(mapper.constraint_atom(id));
    EXPECT_TRUE(asserted != id && !mapper.is_branch(asserted) && mapper.is_branch(id));
    ids.insert(asserted);
    EXPECT_EQ(mapper.bb_linear_term(TheoryLit(), id).kind, row.kind);
    EXPECT_EQ(mapper.linear_term(id).vars.coeffs(), vars.coeffs());
    EXPECT_EQ(grouping.symbols_colour(mapper.constraint_atom(id), 0), row.colour);
  }
}

TEST_F(IntegerTerms, CutVariablesAreNobodys) {
  const int first = mapper.cut_variable();
  const Term_* cut = mapper.var_term(first);
  EXPECT_NE(cut, mapper.var_term(mapper.cut_variable()));
  EXPECT_TRUE(mapper.is_integer(first));
  EXPECT_NE(t.make_variable(Terms::symbol_of(cut).name, Sort::INT), cut);
  EXPECT_EQ(t.make_term(cut->symbol(), {}), cut);
}

}  // namespace
}  // namespace opal::host
