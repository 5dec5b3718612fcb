#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <sstream>
#include <tuple>

#include "opal/host/evaluator.h"
#include "opal/host/linear_form.h"
#include "opal/host/literals.h"
#include "opal/host/mapper.h"
#include "opal/host/partition.h"

namespace opal::host {
namespace {

using Atoms = std::vector<const Term_*>;

class HostTerms : public testing::Test {
 protected:
  const Term_* num(long a, long b = 1) { return t.make_number(QNumber(a) / QNumber(b)); }
  std::size_t below(std::size_t bound) { return random() % bound; }
  const Term_* any(const Atoms& terms) { return terms[below(terms.size())]; }
  QNumber any_number() {
    return QNumber(static_cast<long>(below(13)) - 6) / QNumber(1 + long(below(4)));
  }
  Model any_model() {
    Model model;
    for (const Term_* v : vars)
      model[v] = any_number();
    return model;
  }

  Terms t;
  std::mt19937 random{20240611};
  const Term_* x = t.make_variable("x", Sort::REAL);
  const Term_* y = t.make_variable("y", Sort::REAL);
  const Term_* n = t.make_variable("n", Sort::INT);
  const Term_* p = t.make_variable("p", Sort::BOOL);
  const Atoms vars{x, y, t.make_variable("z", Sort::REAL), n};
};

TEST_F(HostTerms, SimplifyTrivialTermsOnlyWhenAsked) {
  const Term_* yes = t.true_term();
  const Term_* no = t.false_term();
  const auto build = [&]() {
    const Term_* a = t.make_leq(x, y);
    return Atoms{t.make_plus(num(1, 2), num(3)),
                 t.make_plus(num(0), x),
                 t.make_plus(x, num(0)),
                 t.make_times(num(2, 3), num(6)),
                 t.make_times(num(1), x),
                 t.make_times(x, num(1)),
                 t.make_times(num(0), x),
                 t.make_floor(num(-7, 2)),
                 t.make_floor(n),
                 t.make_leq(num(2), num(2)),
                 t.make_lt(num(2), num(2)),
                 t.make_equal(num(1, 2), num(1, 2)),
                 t.make_distinct(num(1, 2), num(1, 2)),
                 t.make_int_modular_congruence(QNumber(3), num(-1), num(5)),
                 t.make_int_modular_congruence(QNumber(3), num(-1), num(4)),
                 t.make_not(t.make_not(a)),
                 t.make_not(no),
                 t.make_and(yes, a),
                 t.make_and(a, no),
                 t.make_and(a, a),
                 t.make_or(a, no),
                 t.make_or(yes, a),
                 t.make_equal(p, no),
                 t.make_equal(p, p),
                 t.make_distinct(yes, p)};
  };
  const Term_* a = t.make_leq(x, y);
  const Term_* no_p = t.make_not(p);
  const Atoms expected{num(7, 2), x,  x,   num(4), x,    x,   num(0), num(-4), n,
                       yes,       no, yes, no,     yes,  no,  a,      yes,     a,
                       no,        a,  a,   yes,    no_p, yes, no_p};
  const Atoms simple = build();
  EXPECT_EQ(simple, expected);
  const BuildingFlagScope exact(t, 0);
  const Atoms as_built = build();
  const Model model = any_model();
  for (std::size_t i = 0; i < simple.size(); ++i) {
    EXPECT_NE(as_built[i], simple[i]) << i;
    if (Terms::sort_of(simple[i]) == Sort::BOOL) {
      EXPECT_EQ(holds(as_built[i], model), holds(simple[i], model)) << i;
    } else if (simple[i] != n) {  // n has a fraction in this model
      EXPECT_EQ(evaluate(as_built[i], model), evaluate(simple[i], model)) << i;
    }
  }
  EXPECT_EQ(build(), as_built);
  EXPECT_EQ(t.make_to_real(num(3)), num(3));
  EXPECT_EQ(t.make_to_real(x), x);
}

// Equal constructions are one node and others are not, over several growths of the table.
TEST_F(HostTerms, AreConsedAndNumberedInOrder) {
  const BuildingFlagScope exact(t, 0);
  using Key = std::tuple<Kind, const Term_*, const Term_*, long>;
  std::map<Key, const Term_*> known;
  Atoms pool{x, y, num(1)};
  for (int round = 0; round < 20000; ++round) {
    const Term_* a = any(pool);
    const Term_* b = any(pool);
    const long m = 2 + long(below(3));
    const std::size_t op = below(6);
    const std::size_t before = t.size();
    const Term_* made = op == 0   ? t.make_plus(a, b)
                        : op == 1 ? t.make_times(a, b)
                        : op == 2 ? t.make_leq(a, b)
                        : op == 3 ? t.make_equal(a, b)
                        : op == 4 ? t.make_floor(a)
                                  : t.make_int_modular_congruence(QNumber(m), a, b);
    const Key key{Terms::kind_of(made), a, op == 4 ? nullptr : b, op == 5 ? m : 0};
    const auto [it, is_new] = known.emplace(key, made);
    ASSERT_EQ(it->second, made);
    ASSERT_EQ(t.size(), before + (is_new ? 1 : 0));
    ASSERT_TRUE(!is_new || made->id() == t.size());
    if (op < 2 && is_new && pool.size() < 500) pool.push_back(made);
  }
  EXPECT_NE(t.make_variable("x", Sort::INT), x);
  const std::string name = "x";
  EXPECT_EQ(t.make_variable(name, Sort::REAL), x);
  EXPECT_EQ(num(6, 4), num(3, 2));
}

TEST_F(HostTerms, RebuildFromTheirSymbols) {
  const BuildingFlagScope exact(t, 0);
  const Term_* a = t.make_plus(x, num(2));
  const Term_* c = t.make_int_modular_congruence(QNumber(4), a, y);
  const Term_* e = t.make_equal(a, y);
  for (const Term_* term :
       {x, n, num(5, 3), t.true_term(), t.false_term(), a, c, e, t.make_times(num(2), x),
        t.make_floor(a), t.make_to_real(n), t.make_lt(a, y), t.make_leq(a, y),
        t.make_distinct(a, y), t.make_not(e), t.make_and(e, c), t.make_or(e, c)})
    EXPECT_EQ(t.make_term(term->symbol(), Atoms(term->begin(), term->end())), term);
  QNumber value;
  EXPECT_TRUE(t.is_int_modular_congruence(c->symbol(), &value));
  EXPECT_EQ(value, QNumber(4));
  EXPECT_EQ(t.make_int_modular_congruence_symbol(value), c->symbol());
  EXPECT_FALSE(t.is_int_modular_congruence(e->symbol(), nullptr));
  EXPECT_EQ(t.make_equality_symbol(t.integer_type()), e->symbol());
  EXPECT_TRUE(t.is_number(num(5, 3)->symbol(), &value));
  EXPECT_EQ(value, QNumber(5) / QNumber(3));
  EXPECT_FALSE(t.is_interpreted(x->symbol()));
  EXPECT_TRUE(t.is_interpreted(a->symbol()));
}

QNumber value_of(const LinearForm& form, const Model& model) {
  QNumber sum = form.constant;
  for (const auto& [variable, coefficient] : form.summands)
    sum += coefficient * evaluate(variable, model);
  return sum;
}

// DAGs with shared parts, products on both sides, constants that are no numerals; a form
// is linear, so that agreement at many random points leaves no room for another form.
TEST_F(HostTerms, LinearFormHasTheValueOfTheTerm) {
  const BuildingFlagScope exact(t, 0);
  for (int round = 0; round < 400; ++round) {
    Atoms constants{t.make_number(any_number()), t.make_number(any_number())};
    Atoms pool{x, y, vars[2], n, t.make_number(any_number())};
    for (std::size_t i = 0; i < 3 + below(60); ++i) {
      constants.push_back(t.make_plus(any(constants), any(constants)));
      if (below(3) == 0) constants.push_back(t.make_times(any(constants), num(-1, 2)));
      const Term_* a = any(pool);
      switch (below(5)) {
        case 0: pool.push_back(t.make_times(any(constants), a)); break;
        case 1: pool.push_back(t.make_times(a, any(constants))); break;
        case 2: pool.push_back(t.make_to_real(a)); break;
        default: pool.push_back(t.make_plus(a, pool.back())); break;
      }
    }
    const LinearForm form = linear_form(pool.back());
    const LinearForm difference = linear_difference(pool.back(), any(pool));
    const LinearForm zero = linear_difference(pool.back(), pool.back());
    EXPECT_TRUE(form.is_normal() && difference.is_normal());
    EXPECT_TRUE(zero.is_constant() && zero.constant.is_zero());
    for (int point = 0; point < 6; ++point) {
      const Model model = any_model();
      ASSERT_EQ(value_of(form, model), evaluate(pool.back(), model));
    }
  }
}

TEST_F(HostTerms, LinearFormNamesTheTermThatIsNot) {
  const BuildingFlagScope exact(t, 0);
  const Term_* product = t.make_times(t.make_plus(x, num(1)), y);
  const Term_* wide = product;
  for (int i = 0; i < 5000; ++i)
    wide = t.make_plus(wide, t.make_times(num(i), x));
  for (const auto& [term, fault] : {std::pair(product, product),
                                    {t.make_times(n, n), nullptr},
                                    {p, p},
                                    {t.make_times(num(0), product), product},
                                    {wide, product}}) {
    try {
      linear_form(term);
      ADD_FAILURE() << outterm(&t, term);
    } catch (const NotLinear& e) {
      EXPECT_EQ(e.term, fault == nullptr ? term : fault);
    }
  }
}

// Formulas that reduce to a conjunction: a disjunction has one operand that is false, an
// equality between formulas one that is constant.
class Reducible {
 public:
  Reducible(Terms& terms, std::mt19937& r, Atoms leaves)
      : terms_(terms), random_(r), leaves_(std::move(leaves)) {}

  // With `positive` false, the negation of the formula reduces.
  const Term_* formula(int depth, bool positive) {
    if (depth == 0) return leaves_[random_() % leaves_.size()];
    const Term_* a = formula(depth - 1, positive);
    switch (random_() % 5) {
      case 0: return terms_.make_not(formula(depth - 1, !positive));
      case 1: {
        const Term_* decided = constant(depth, !positive);
        const bool left = random_() % 2 == 0;
        const Term_* l = left ? decided : a;
        const Term_* r = left ? a : decided;
        return positive ? terms_.make_or(l, r) : terms_.make_and(l, r);
      }
      case 2:
        return random_() % 2 == 0 ? terms_.make_equal(a, constant(depth, true))
                                  : terms_.make_distinct(constant(depth, false), a);
      default: break;
    }
    const Term_* b = formula(depth - 1, positive);
    return positive ? terms_.make_and(a, b) : terms_.make_or(a, b);
  }

 private:
  // A formula that has the value whatever its atoms say.
  const Term_* constant(int depth, bool value) {
    if (depth == 0 || random_() % 3 == 0)
      return terms_.make_lt(terms_.make_number(0), terms_.make_number(value ? 1 : 0));
    const Term_* part = constant(depth - 1, !value);
    const Term_* other = leaves_[random_() % leaves_.size()];
    switch (random_() % 3) {
      case 0: return terms_.make_not(part);
      case 1:
        return value ? terms_.make_equal(other, other) : terms_.make_distinct(other, other);
      default: break;
    }
    return value ? terms_.make_or(other, terms_.make_not(part))
                 : terms_.make_and(terms_.make_not(part), other);
  }

  Terms& terms_;
  std::mt19937& random_;
  Atoms leaves_;
};

TEST_F(HostTerms, ConjunctsAreEquivalentToTheFormula) {
  const BuildingFlagScope exact(t, 0);
  const Atoms leaves{t.make_leq(x, y),
                     t.make_lt(y, num(2)),
                     t.make_equal(x, vars[2]),
                     t.make_distinct(x, num(1)),
                     t.make_leq(x, num(3, 2)),
                     t.true_term(),
                     t.false_term()};
  int models_of_both = 0;
  for (int round = 0; round < 3000; ++round) {
    const Term_* f = Reducible(t, random, leaves).formula(int(below(5)), true);
    const Atoms atoms = conjuncts(t, f);
    for (const Term_* a : atoms) {
      EXPECT_EQ(std::count(atoms.begin(), atoms.end(), a), 1);
      EXPECT_TRUE(a == t.false_term() || a->num_args() == 2);
    }
    for (int point = 0; point < 8; ++point) {
      const Model model = any_model();
      const bool all = std::all_of(atoms.begin(), atoms.end(),
                                   [&](const Term_* a) { return holds(a, model); });
      ASSERT_EQ(all, holds(f, model)) << outterm(&t, f);
      models_of_both += all ? 1 : 0;
      for (const Term_* a : atoms)
        ASSERT_NE(holds(a, model), holds(negated_atom(t, a), model));
    }
  }
  EXPECT_GT(models_of_both, 1000);
}

TEST_F(HostTerms, ConjunctsKeepTheOrderAndRefuseTheRest) {
  const Term_* a = t.make_leq(x, y);
  const Term_* b = t.make_lt(y, num(2));
  const Term_* c = t.make_equal(x, y);
  const Term_* f = t.make_and(t.make_and(b, t.make_not(t.make_or(a, c))), b);
  EXPECT_EQ(conjuncts(t, f), (Atoms{b, t.make_lt(y, x), t.make_distinct(x, y)}));
  EXPECT_EQ(conjuncts(t, t.true_term()), Atoms{});
  const Term_* either = t.make_or(a, b);
  EXPECT_EQ(conjuncts(t, t.make_and(either, t.make_and(a, t.false_term()))),
            Atoms{t.false_term()});
  const std::pair<const Term_*, const char*> refused[] = {
      {t.make_and(c, either), "disjunction is not supported: (or (<= x y) (< y 2.0))"},
      {t.make_not(t.make_and(a, b)),
       "disjunction is not supported: (not (and (<= x y) (< y 2.0)))"},
      {t.make_and(a, p), "Boolean variable is not supported: p"},
      {t.make_equal(a, b),
       "equality of formulas is not supported: (= (<= x y) (< y 2.0))"}};
  for (const auto& [formula, message] : refused) {
    try {
      conjuncts(t, formula);
      ADD_FAILURE() << message;
    } catch (const Unsupported& e) {
      EXPECT_STREQ(e.what(), message);
    }
  }
}

constexpr int DEEP = 1000000;

TEST_F(HostTerms, MillionLevelsOfSums) {
  const BuildingFlagScope exact(t, 0);
  const Term_* sum = x;
  const Term_* doubled = y;
  for (int i = 0; i < DEEP; ++i) {
    sum = i % 2 == 0 ? t.make_plus(num(i % 7), sum) : t.make_plus(sum, y);
    if (i < 300) doubled = t.make_plus(doubled, doubled);
  }
  const LinearForm form = linear_form(sum);
  const Model model{{x, QNumber(5)}, {y, QNumber(1) / QNumber(2)}};
  EXPECT_EQ(value_of(form, model), evaluate(sum, model));
  EXPECT_EQ(form.summands.back().second, QNumber(DEEP / 2));
  EXPECT_EQ(linear_form(doubled).summands[0].second.num_bits(), 302U);

  const Term_* atom = t.make_lt(sum, doubled);
  EXPECT_EQ(conjuncts(t, t.make_not(atom)), Atoms{t.make_leq(doubled, sum)});
  Limits limits;
  Mapper mapper(t, limits);
  EXPECT_EQ(mapper.linear_term(mapper.constraint(atom)).vars.coeffs().size(), 2U);
  Grouping grouping(Grouping::sequence(2));
  grouping.add(atom, 0);
  EXPECT_EQ(grouping.symbols_colour(sum, 0), Grouping::status::A_LOCAL);
  std::ostringstream text;
  text << outterm(&t, sum);
  EXPECT_GT(text.str().size(), std::size_t{DEEP});
}

TEST_F(HostTerms, MillionLevelsOfConnectives) {
  const BuildingFlagScope exact(t, 0);
  const Term_* a = t.make_leq(x, num(1));
  const Term_* negations = a;
  const Term_* all = a;
  const Term_* none_but_a = a;
  for (int i = 0; i < DEEP; ++i) {
    negations = t.make_not(negations);
    all = t.make_and(all, t.make_leq(x, num(1 + i % 1000)));
    none_but_a = t.make_or(i % 2 == 0 ? none_but_a : t.false_term(),
                           i % 2 == 0 ? t.false_term() : none_but_a);
  }
  EXPECT_EQ(conjuncts(t, negations), Atoms{a});
  EXPECT_EQ(conjuncts(t, t.make_not(negations)), Atoms{t.make_lt(num(1), x)});
  EXPECT_EQ(conjuncts(t, all).size(), 1000U);
  EXPECT_EQ(conjuncts(t, none_but_a), Atoms{a});
  const Model model{{x, QNumber(2)}};
  for (const Term_* f : {negations, all, none_but_a})
    EXPECT_FALSE(holds(f, model));
}

// The tree by its definition: the groups that are reached through children().
std::vector<bool> subtree(const Grouping& grouping, std::size_t root) {
  std::vector<bool> in(grouping.num_groups(), false);
  std::vector<std::size_t> stack{root};
  while (!stack.empty()) {
    const std::size_t group = stack.back();
    stack.pop_back();
    in[group] = true;
    for (const std::size_t child : grouping.children(group))
      stack.push_back(child);
  }
  return in;
}

// The colour of what lies in some places, by definition.
Grouping::status colour(const std::vector<std::size_t>& places,
                        const std::vector<bool>& in_a) {
  bool a = false;
  bool b = false;
  for (const std::size_t place : places) {
    const bool everywhere = place == Grouping::BACKGROUND;
    a = a || everywhere || in_a[place];
    b = b || everywhere || !in_a[place];
  }
  if (places.empty()) return Grouping::status::UNKNOWN;
  if (a && b) return Grouping::status::SHARED;
  return a ? Grouping::status::A_LOCAL : Grouping::status::B_LOCAL;
}

TEST_F(HostTerms, ColoursAreThoseOfTheTree) {
  using status = Grouping::status;
  std::map<status, int> seen;
  for (int round = 0; round < 300; ++round) {
    std::vector<std::size_t> first;
    std::vector<std::size_t> open;  // sub-trees without a parent yet
    const std::size_t groups = 2 + below(6);
    for (std::size_t g = 0; g < groups; ++g) {
      const std::size_t taken = g + 1 == groups ? open.size() : below(open.size() + 1);
      first.push_back(taken == 0 ? g : first[open[open.size() - taken]]);
      open.resize(open.size() - taken);
      open.push_back(g);
    }
    auto grouping = std::make_shared<Grouping>(first);
    std::map<const Term_*, std::vector<std::size_t>> places;
    const auto& v = vars;
    for (std::size_t i = 0; i < 1 + below(7); ++i) {
      const Term_* a = v[below(4)];
      const Term_* b = v[below(4)];
      const std::size_t g = below(5) == 0 ? Grouping::BACKGROUND : below(groups);
      const Term_* atom = t.make_leq(t.make_plus(a, b), num(long(below(2))));
      grouping->add(atom, g);
      for (const Term_* term : {atom, a, b})
        places[term].push_back(g);
    }
    for (std::size_t root = 0; root + 1 < groups; ++root) {
      const std::vector<bool> in_a = subtree(*grouping, root);
      const Partition partition(grouping, root);
      for (const auto& [term, where] : places)
        if (term->num_args() > 0) {
          std::size_t place = *std::max_element(where.begin(), where.end());
          if (place == Grouping::BACKGROUND && groups > 2) place = groups - 1;  // the root's
          EXPECT_EQ(partition.atom_colour(term), colour({place}, in_a));
        }
      for (const Term_* a : v)
        for (const Term_* b : v) {
          const status ca = colour(places[a], in_a);
          const status cb = colour(places[b], in_a);
          const status both = ca == status::UNKNOWN || cb == status::UNKNOWN
                                  ? status::UNKNOWN
                              : ca == status::SHARED             ? cb
                              : cb == status::SHARED || ca == cb ? ca
                                                                 : status::AB_MIXED;
          EXPECT_EQ(partition.term_colour(t.make_lt(t.make_plus(a, num(7)), b)), both);
          ++seen[both];
        }
    }
  }
  EXPECT_EQ(seen.size(), 5U);
}

// What the engine enters counts for one partition only, and exchanging the sides applies.
TEST_F(HostTerms, EnteredAtomsOverrideTheirSymbols) {
  auto grouping = std::make_shared<Grouping>(Grouping::sequence(2));
  grouping->add(t.make_leq(x, num(0)), 0);
  grouping->add(t.make_leq(num(1), x), 1);
  const Term_* branch = t.make_leq(x, num(-1));
  itp::TheoryAtomClassifier classifier(std::make_shared<Partition>(grouping, 0));
  using status = itp::TheoryAtomClassifier::status;
  EXPECT_EQ(classifier.classify(branch, false), status::SHARED);
  classifier.flip().add_B_atom(branch);
  EXPECT_EQ(classifier.classify_atom(branch), status::A_LOCAL);
  EXPECT_EQ(classifier.flip().classify(branch, false), status::B_LOCAL);
  EXPECT_EQ(Partition(grouping, 0).atom_colour(branch), status::UNKNOWN);
}

TEST_F(HostTerms, MapperTranslatesBothWays) {
  Limits limits;
  Mapper mapper(t, limits);
  const Term_* left = t.make_plus(t.make_times(num(2), y), num(3));
  const struct {
    const Term_* atom;
    int kind;
    long constant;
  } table[] = {{t.make_leq(left, x), la::LinearTerm::LEQ, -3},
               {t.make_lt(x, left), la::LinearTerm::LT, 3},
               {t.make_equal(left, x), la::LinearTerm::EQ, -3},
               {t.make_distinct(left, x), la::LinearTerm::NEQ, -3},
               {t.false_term(), la::LinearTerm::LEQ, -1}};
  int id = 0;
  for (const auto& row : table) {
    EXPECT_EQ(mapper.constraint(row.atom), ++id);
    const la::LinearTerm term = mapper.linear_term(id);
    EXPECT_EQ(term.kind, row.kind);
    EXPECT_EQ(term.constant, QNumber(row.constant));
    EXPECT_EQ(mapper.bb_linear_term(TheoryLit(row.atom), id).kind, row.kind);
    EXPECT_EQ(mapper.constraint_lit(id), TheoryLit(row.atom));
  }
  const la::LinearTerm& inequality = mapper.constraint_term(1);
  EXPECT_EQ(inequality.vars.coeff(mapper.variable(x)), QNumber(-1));
  EXPECT_EQ(inequality.vars.coeff(mapper.variable(y)), QNumber(2));
  // A literal and its flip have the constraints of opposite atoms.
  for (const auto& row : table) {
    const TheoryLit flip = !TheoryLit(row.atom);
    const int opposite = mapper.lit_constraint(flip);
    EXPECT_EQ(opposite, mapper.constraint(negated_atom(t, row.atom)));
    EXPECT_NE(opposite, mapper.lit_constraint(!flip));
  }
  EXPECT_EQ(mapper.lit_constraint(!TheoryLit(t.false_term())), Mapper::ZERO_CONSTRAINT);
  EXPECT_EQ(mapper.lit_constraint(!TheoryLit(table[0].atom)),
            mapper.lit_constraint(TheoryLit(table[1].atom)));

  EXPECT_EQ(mapper.var_term(mapper.variable(y)), y);
  EXPECT_EQ(mapper.term_var(vars[2], false), 0);
  EXPECT_EQ(mapper.term_var(vars[2], true), 4);
  EXPECT_EQ(mapper.num_variables(), 3);
  for (const int unknown : {0, Mapper::DELTA_VAR, 5, -7})
    EXPECT_EQ(mapper.var_term(unknown), nullptr);
  for (const int unknown : {0, Mapper::ZERO_CONSTRAINT, -2, mapper.num_constraints() + 1})
    EXPECT_TRUE(mapper.constraint_lit(unknown).is_null());
  EXPECT_EQ(mapper.lit_constraint(TheoryLit()), 0);
  EXPECT_THROW(mapper.linear_term(99), std::out_of_range);
  EXPECT_THROW(mapper.constraint(p), std::invalid_argument);
  EXPECT_THROW(mapper.constraint(t.make_leq(t.make_times(x, y), x)), NotLinear);
  limits.interrupt();
  EXPECT_THROW(mapper.linear_term(1), LimitReached);
}

}  // namespace
}  // namespace opal::host
