#include <map>
#include <random>
#include <sstream>
#include <tuple>

#include "opal/base/hash_index.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

class TermsTest : public HostTest {
 protected:
  const Term_* p = t.make_variable("p", Sort::BOOL);
  const Term_* const yes = t.true_term();
  const Term_* const no = t.false_term();
};

// Few hashes, so that runs of slots are long, and go around the end of the table.
TEST(HashIndex, RandomInsertionsAndRemovalsLeaveEachNumberWhereItIsFound) {
  std::mt19937 rng(1);
  const auto below = [&rng](std::uint32_t n) {
    return static_cast<std::uint32_t>(rng() % n);
  };
  for (const std::uint32_t hashes : {1U, 7U, 1000U}) {
    HashIndex index;
    std::map<std::uint32_t, std::uint32_t> model;  // hash by number
    for (std::uint32_t step = 0; step < 4000; ++step) {
      const std::uint32_t number = below(300) + 1;
      const auto entry = model.find(number);
      if (entry != model.end()) {
        index.erase(entry->second, number);
        model.erase(entry);
      } else {
        const std::uint32_t hash = 0U - below(hashes);
        index.make_room();
        index.insert(hash, number);
        model.emplace(number, hash);
      }
      ASSERT_EQ(index.size(), model.size());
      const std::uint32_t sought = below(300) + 1;
      const auto known = model.find(sought);
      const std::uint32_t hash = known == model.end() ? 0U - below(hashes) : known->second;
      const auto is_it = [&](std::uint32_t n) { return n == sought; };
      ASSERT_EQ(index.find(hash, is_it), known == model.end() ? 0 : sought);
    }
  }
}

TEST_F(TermsTest, TrivialTermsAreSimplifiedWhenAsked) {
  const Term_* const half = num(QNumber(1) / QNumber(2));
  const Term_* const a = leq(x, y);
  const std::pair<const Term_*, const Term_*> table[] = {
      {plus(num(0), x), x},
      {times(6, half), num(3)},
      {times(1, x), x},
      {t.make_times(x, num(0)), num(0)},
      {floor(times(-7, half)), num(-4)},
      {floor(i), i},
      {leq(half, half), yes},
      {neq(half, half), no},
      {mod(3, num(-1), num(5)), yes},
      {mod(3, num(-1), num(4)), no},
      {lnot(lnot(a)), a},
      {land(a, no), no},
      {land(a, a), a},
      {eq(p, no), lnot(p)},
      {neq(yes, p), lnot(p)},
  };
  int row = 0;
  for (const auto& [made, expected] : table)
    EXPECT_EQ(made, expected) << "row " << row++;
}

// Without the flag, equal constructions are one node and others are not, over several
// growths of the table; nothing is simplified, and a symbol and arguments give the term.
TEST_F(TermsTest, AreBuiltAsAskedAndNumberedInOrder) {
  const BuildingFlagScope exact(t, 0);
  std::map<std::tuple<Kind, const Term_*, const Term_*, long>, const Term_*> known;
  Atoms pool{x, y, num(0), num(1)};
  for (int round = 0; round < 20000; ++round) {
    const Term_ *a = any(pool), *b = any(pool);
    const long m = pick(2, 4), op = pick(0, 5);
    const std::size_t before = t.size();
    const Term_* made = op == 0   ? plus(a, b)
                        : op == 1 ? t.make_times(a, b)
                        : op == 2 ? leq(a, b)
                        : op == 3 ? eq(a, b)
                        : op == 4 ? floor(a)
                                  : mod(m, a, b);
    ASSERT_EQ(t.make_term(made->symbol(), Atoms(made->begin(), made->end())), made);
    const auto [it, is_new] = known.emplace(
        std::tuple(Terms::kind_of(made), a, op == 4 ? nullptr : b, op == 5 ? m : 0), made);
    ASSERT_TRUE(it->second == made && made->arg(0) == a);
    ASSERT_EQ(t.size(), before + (is_new ? 1 : 0));
    if (op < 2 && is_new && pool.size() < 500) pool.push_back(made);
  }
  EXPECT_EQ(real("x"), x);
}

QNumber value_of(const LinearForm& form, const Model& model) {
  QNumber sum = form.constant;
  for (const auto& [variable, coefficient] : form.summands)
    sum += coefficient * evaluate(variable, model);
  return sum;
}

// DAGs with shared parts, products on both sides, constants that are no numerals; a form
// is linear, so that agreement at many random points leaves no room for another form.
TEST_F(TermsTest, LinearFormHasTheValueOfTheTerm) {
  const BuildingFlagScope exact(t, 0);
  const Atoms vars{x, y, z, i};
  for (int round = 0; round < 400; ++round) {
    Atoms constants{num(any_number()), num(any_number())};
    Atoms pool = joined(vars, {num(any_number())});
    for (long n = pick(3, 62); n > 0; --n) {
      constants.push_back(plus(any(constants), any(constants)));
      if (one_in(3)) constants.push_back(t.make_times(any(constants), num(any_number())));
      const Term_* a = any(pool);
      switch (pick(0, 5)) {
        case 0: pool.push_back(t.make_times(any(constants), a)); break;
        case 1: pool.push_back(t.make_times(a, any(constants))); break;
        case 2: pool.push_back(t.make_to_real(a)); break;
        case 3: pool.push_back(floor(a)); break;
        default: pool.push_back(plus(a, pool.back())); break;
      }
    }
    const LinearForm form = linear_form(pool.back());
    const LinearForm zero = linear_difference(pool.back(), pool.back());
    EXPECT_TRUE(form.is_normal() && zero.is_constant() && zero.constant.is_zero());
    for (int point = 0; point < 6; ++point) {
      const Model model = any_model(vars);
      ASSERT_EQ(value_of(form, model), evaluate(pool.back(), model));
    }
  }
}

TEST_F(TermsTest, LinearFormNamesTheTermThatIsNot) {
  const BuildingFlagScope exact(t, 0);
  const Term_* wide = times(0, t.make_times(x, plus(y, 1)));
  for (int k = 0; k < 5000; ++k)
    wide = plus(wide, times(k, x));
  EXPECT_EQ(message_of([&] { linear_form(wide); }), "not linear: (* x (+ y 1.0))");
}

// What is taken apart at all is equivalent to the formula. With many truth values among
// the leaves, and with leaves that turn out to be one, most formulas reduce.
TEST_F(TermsTest, ConjunctsAreEquivalentToTheFormula) {
  const BuildingFlagScope exact(t, 0);
  const Atoms vars{x, y, z, i, j};
  const Atoms leaves{mod(3, i, times(2, j)),
                     mod(-2, i, num(1)),
                     leq(x, y),
                     lt(y, num(2)),
                     eq(x, z),
                     neq(x, num(1)),
                     yes,
                     no,
                     lt(num(0), num(1)),
                     neq(num(1), num(1)),
                     yes,
                     no};
  const std::function<const Term_*(long)> formula = [&](long depth) {
    if (depth == 0) return any(leaves);
    const Term_* a = formula(depth - 1);
    const Term_* b = one_in(8) ? a : formula(pick(0, depth - 1));
    switch (pick(0, 6)) {
      case 0: return eq(a, b);
      case 1: return neq(b, a);
      case 2:
      case 3: return land(a, b);
      case 4: return lor(b, a);
      default: return lnot(a);
    }
  };
  int reduced = 0, mixed = 0;
  for (int round = 0; round < 6000; ++round) {
    const Term_* f = formula(pick(0, 4));
    Atoms atoms;
    try {
      atoms = conjuncts(t, f);
    } catch (const Unsupported&) {
      continue;
    }
    ++reduced;
    for (const Term_* a : atoms) {
      EXPECT_EQ(std::count(atoms.begin(), atoms.end(), a), 1);
      EXPECT_TRUE(a == no || a->num_args() == 2);
    }
    for (int point = 0; point < 8; ++point) {
      const Model model = any_model(vars);
      ASSERT_EQ(all_hold(atoms, model), holds(f, model)) << outterm(&t, f);
      for (const Term_* a : atoms)
        ASSERT_NE(holds(a, model), holds(negated_atom(t, a), model));
      mixed += !atoms.empty() && holds(f, model) ? 1 : 0;
    }
  }
  EXPECT_GT(reduced, 4000);
  EXPECT_GT(mixed, 2000);
}

TEST_F(TermsTest, ConjunctsKeepTheOrderAndRefuseTheRest) {
  const Term_ *a = leq(x, y), *b = lt(y, num(2)), *c = eq(x, y);
  EXPECT_EQ(conjuncts(t, land(land(b, lnot(lor(a, c))), b)),
            (Atoms{b, lt(y, x), neq(x, y)}));
  EXPECT_EQ(conjuncts(t, yes), Atoms{});
  EXPECT_EQ(conjuncts(t, land(lor(a, b), land(a, no))), Atoms{no});
  EXPECT_EQ(message_of([&] { conjuncts(t, lnot(land(a, b))); }),
            "disjunction is not supported: (not (and (<= x y) (< y 2.0)))");
  EXPECT_EQ(message_of([&] { conjuncts(t, eq(a, b)); }),
            "equality of formulas is not supported: (= (<= x y) (< y 2.0))");
}

constexpr int DEEP = 1000000;

TEST_F(TermsTest, MillionLevelsOfSums) {
  const BuildingFlagScope exact(t, 0);
  const Term_* sum = x;
  const Term_* doubled = y;
  for (int k = 0; k < DEEP; ++k) {
    sum = k % 2 == 0 ? plus(num(k % 7), sum) : plus(sum, y);
    if (k < 300) doubled = plus(doubled, doubled);
  }
  const LinearForm form = linear_form(sum);
  const Model model = any_model({x, y});
  EXPECT_EQ(value_of(form, model), evaluate(sum, model));
  EXPECT_EQ(form.summands.back().second, QNumber(DEEP / 2));
  EXPECT_EQ(linear_form(doubled).summands[0].second.num_bits(), 302U);
  const Term_* atom = lt(sum, doubled);
  EXPECT_EQ(conjuncts(t, lnot(atom)), Atoms{leq(doubled, sum)});
  EXPECT_EQ(mapper.linear_term(mapper.constraint(atom)).vars.coeffs().size(), 2U);
  std::ostringstream text;
  text << outterm(&t, sum);
  EXPECT_GT(text.str().size(), std::size_t{DEEP});
  Grouping grouping(Grouping::sequence(2));
  grouping.add(atom, 0);
  EXPECT_EQ(grouping.symbols_colour(sum, 0), Grouping::status::A_LOCAL);
  // Nested floors cost no time beyond the size of the terms.
  const Term_* floors = x;
  for (int k = 0; k < 20000; ++k)
    floors = floor(plus(floors, num(QNumber(1) / QNumber(2))));
  const Atoms definitions = floor_definitions(t, leq(floors, i));
  EXPECT_EQ(definitions.size(), 40000U);
  for (const Term_* a : definitions) {
    mapper.constraint(a);
    grouping.add(a, 1);
  }
}

TEST_F(TermsTest, MillionLevelsOfConnectives) {
  const BuildingFlagScope exact(t, 0);
  const Term_* a = leq(x, num(1));
  const Term_ *negations = a, *all = a, *none_but_a = a;
  for (int k = 0; k < DEEP; ++k) {
    negations = lnot(negations);
    all = land(all, leq(x, num(1 + k % 1000)));
    none_but_a = k % 2 == 0 ? lor(none_but_a, no) : lor(no, none_but_a);
  }
  EXPECT_EQ(conjuncts(t, negations), Atoms{a});
  EXPECT_EQ(conjuncts(t, lnot(negations)), Atoms{lt(num(1), x)});
  EXPECT_EQ(conjuncts(t, all).size(), 1000U);
  EXPECT_EQ(conjuncts(t, none_but_a), Atoms{a});
  for (const Term_* f : {negations, all, none_but_a})
    EXPECT_FALSE(holds(f, {{x, QNumber(2)}}));
}

}  // namespace
}  // namespace opal::host
