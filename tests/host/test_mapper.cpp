#include <set>

#include "opal/la/interpolator.h"
#include "opal/linear/integer_constraints.h"
#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "tests/host/proofs.h"

namespace opal::host {
namespace {

constexpr int LT = LinearTerm::LT, LEQ = LinearTerm::LEQ, EQ = LinearTerm::EQ,
              NEQ = LinearTerm::NEQ, GEQ = LinearTerm::GEQ;

// Variables have the ids 2 (i), 3 (j), 4 (x).
class MapperTest : public Proofs {
 protected:
  // "2*x2 - x3 rel 5"
  std::string text(const Term_* atom) {
    const int id = mapper.constraint(atom);
    if (id == Mapper::ZERO_CONSTRAINT) return "always";
    const LinearTerm& c = mapper.constraint_term(id);
    const char* const relations[] = {" < ", " <= ", " = ", " /= ", " >= ", " > "};
    return c.vars.to_str(false) + relations[c.kind] + c.constant.to_str();
  }

  const int vi = mapper.variable(i), vj = mapper.variable(j), vx = mapper.variable(x);
  const QNumber half = QNumber(1) / QNumber(2);
};

TEST_F(MapperTest, ConstraintsAreReadFromAtomsAndNormalisedOverIntegers) {
  const QNumber third = QNumber(1) / QNumber(3),
                big = QNumber::from_decimal("3" + std::string(30, '0'));
  const struct {
    QNumber a, b, d;  // a*i + b*j + d*x rel c
    int relation;
    QNumber c;
    const char* expected;
  } table[] = {
      {0, 0, 2, LT, 5, "2*x4 < 5"},
      {2, 0, 4, GEQ, 5, "-2*x2 - 4*x4 <= -5"},
      {0, 0, 0, LEQ, -1, "0 <= -1"},
      {2, -4, 0, LT, 5, "x2 - 2*x3 <= 2"},
      {half, third.neg(), 0, LT, half * QNumber(-5), "3*x2 - 2*x3 <= -16"},
      {4, 8, 0, EQ, 2, "2*x2 + 4*x3 = 1"},
      {3, 6, 0, NEQ, -6, "x2 + 2*x3 /= -2"},
      {3, 6, 0, NEQ, 4, "always"},
      {big, big + big, 0, LT, 7, "x2 + 2*x3 <= 0"},
  };
  for (const auto& row : table) {
    const BuildingFlagScope exact(t, 0);
    const Term_* sum = plus(plus(times(row.a, i), times(row.b, j)), times(row.d, x));
    EXPECT_EQ(text(related(row.relation, sum, num(row.c))), row.expected);
  }
}

// Against all points of a box: rounding loses no integer point and adds none.
TEST_F(MapperTest, NormalFormsHaveTheSameIntegerPoints) {
  for (int round = 0; round < 1000; ++round) {
    const QNumber a = any_number(), b = any_number(), c = any_number();
    const int relation = static_cast<int>(random() % 6);
    const Term_* atom = related(relation, plus(times(a, i), times(b, j)), num(c));
    const LinearTerm term = bound(relation, i, c, a, j, b);
    if (!term.vars.has_vars()) continue;
    const auto normal = integer_normal_form(term);
    ASSERT_TRUE(!normal || is_integer_normal(*normal));
    for (long at_i = -4; at_i <= 4; ++at_i)
      for (long at_j = -4; at_j <= 4; ++at_j) {
        const auto sum = [&, at_i, at_j] {
          return normal->vars.coeff(vi) * QNumber(at_i) +
                 normal->vars.coeff(vj) * QNumber(at_j);
        };
        const bool same =
            !normal || holds(related(normal->kind, num(sum()), num(normal->constant)), {});
        ASSERT_EQ(holds(atom, {{i, QNumber(at_i)}, {j, QNumber(at_j)}}), same)
            << term.vars.to_str(false) << " rel " << relation << " " << c;
      }
  }
}

TEST_F(MapperTest, TranslatesBothWays) {
  const Atoms atoms{leq(x, y), lt(y, x), eq(x, y), neq(x, y), t.false_term()};
  for (const Term_* a : atoms) {
    const int id = mapper.constraint(a);
    EXPECT_EQ(mapper.constraint(a), id);
    EXPECT_EQ(mapper.constraint_lit(id), TheoryLit(a));
    // A literal and its flip have the constraints of opposite atoms.
    const int opposite = mapper.lit_constraint(!TheoryLit(a));
    EXPECT_EQ(opposite, mapper.constraint(negated_atom(t, a)));
    EXPECT_NE(opposite, id);
  }
  EXPECT_EQ(mapper.lit_constraint(!TheoryLit(atoms[0])), mapper.constraint(atoms[1]));
  EXPECT_EQ(mapper.lit_constraint(!TheoryLit(atoms[4])), Mapper::ZERO_CONSTRAINT);
  EXPECT_EQ(mapper.var_term(mapper.variable(y)), y);
  EXPECT_EQ(mapper.term_var(z, false), 0);
  EXPECT_EQ(mapper.var_term(mapper.term_var(z, true)), z);
  EXPECT_EQ(mapper.var_term(Mapper::DELTA_VAR), nullptr);
  EXPECT_TRUE(mapper.constraint_lit(Mapper::ZERO_CONSTRAINT).is_null());
  EXPECT_THROW(mapper.linear_term(99), std::out_of_range);
  EXPECT_THROW(mapper.constraint(land(atoms[0], atoms[1])), std::invalid_argument);
  EXPECT_THROW(mapper.constraint(leq(t.make_times(x, y), x)), NotLinear);
  limits.interrupt();
  EXPECT_THROW(mapper.linear_term(1), LimitReached);
}

// Compared with the literal that the engine makes for the branch.
TEST_F(MapperTest, BranchesAreNeverAssertedAtomsAndCutVariablesNobodys) {
  struct Engine : la::Interpolator {
    using Interpolator::bb_lits_;
    using Interpolator::Interpolator;
    using Interpolator::map_laz_bb_tlit;
  } engine(&t, nullptr, &mapper, la::Interpolator::MODE_SUM, false);
  std::set<int> ids{mapper.constraint(leq(i, num(3)))};
  const Term_* f = floor(times(half, i));
  for (const auto& [v, a, w] : {std::tuple(i, 1, static_cast<const Term_*>(nullptr)),
                                {i, -1, j},
                                {j, 1, f},
                                {j, 5, nullptr}})
    for (const int kind : {LEQ, GEQ}) {
      const LinearTerm branch = bound(kind, v, 3, a, w, 2);
      const int id = mapper.branch_constraint(branch);
      EXPECT_EQ(mapper.branch_constraint(branch), id);
      EXPECT_TRUE(ids.insert(id).second && mapper.is_branch(id));
      engine.map_laz_bb_tlit(id, branch);
      EXPECT_EQ(engine.bb_lits_[id], mapper.constraint_lit(id));
      // Asserting the atom later gives another id, which is no branch.
      const int plain = mapper.constraint(mapper.constraint_atom(id));
      EXPECT_TRUE(plain != id && !mapper.is_branch(plain) && mapper.is_branch(id));
      ids.insert(plain);
      EXPECT_EQ(mapper.bb_linear_term(TheoryLit(), id).kind, kind);
      EXPECT_EQ(mapper.linear_term(id).vars.coeffs(), branch.vars.coeffs());
    }
  const int first = mapper.cut_variable();
  const Term_* cut = mapper.var_term(first);
  EXPECT_NE(cut, mapper.var_term(mapper.cut_variable()));
  EXPECT_TRUE(mapper.is_integer(first));
  EXPECT_NE(integer(Terms::symbol_of(cut).name), cut);
  EXPECT_EQ(t.make_term(cut->symbol(), {}), cut);
}

}  // namespace
}  // namespace opal::host
