// Formulas: their clauses, verdicts, models, refutations and cores.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>

#include "opal/arith/solver.h"
#include "opal/checker/resolution_checker.h"
#include "opal/linear/literals.h"
#include "opal/smt/formula_solver.h"
#include "opal/smt/guarded_solver.h"
#include "opal/terms/print/printable_terms.h"
#include "opal/terms/print/printer.h"
#include "random_formulas.h"

namespace opal::smt {
namespace {

using host::Model;
using host::Sort;
using resolution::ClauseRefutation;
using resolution::LiteralSpan;
using resolution::Meaning;
using sat::Literal;
using testing::RandomFormulas;
using Verdict = FormulaSolver::Verdict;

struct Host {
  host::Limits limits;
  host::PrintableTerms terms;
  host::Mapper mapper{terms, limits};
};

// The assertions and assumptions of one check, by their numbers.
using Formulas = std::map<std::uint32_t, const Term_*>;

std::string text_of(const Formulas& formulas) {
  std::string text;
  for (const auto& [number, formula] : formulas)
    text += std::to_string(number) + ": " + host::term_text(formula) + "\n";
  return text;
}

bool all_hold(const Formulas& formulas, const Model& model) {
  return std::all_of(formulas.begin(), formulas.end(),
                     [&](const auto& entry) { return host::holds(entry.second, model); });
}

// A clause is true in every model of its assertion, when its variables mean what the
// refutation says.
bool is_true(LiteralSpan clause, const ClauseRefutation& refutation, const Model& model) {
  return std::any_of(clause.begin(), clause.end(), [&](Literal literal) {
    const Meaning& meaning = refutation.meaning(literal.variable());
    const Term_* const formula =
        meaning.kind == Meaning::Kind::ATOM ? meaning.atom : meaning.formula;
    return host::holds(formula, model) != literal.is_negative();
  });
}

bool is_refuted_lemma(Host& host, LiteralSpan clause, const ClauseRefutation& refutation) {
  la::Solver solver(host.mapper, host.limits);
  for (const Literal literal : clause) {
    const Term_* const atom = refutation.meaning(literal.variable()).atom;
    if (atom == nullptr) return false;
    solver.assert_constraint(host.mapper.constraint(
        literal.is_negative() ? atom : host::negated_atom(host.terms, atom)));
  }
  return solver.check() == la::Solver::Verdict::UNSAT;
}

std::vector<NumberedFormula> numbered(const Formulas& formulas) {
  std::vector<NumberedFormula> result;
  for (const auto& [number, formula] : formulas)
    result.push_back({formula, number});
  return result;
}

Verdict fresh_verdict(Host& host, const std::vector<NumberedFormula>& assertions) {
  FormulaSolver solver(host.terms, host.mapper, host.limits, sat::Recording::OFF);
  for (const NumberedFormula& assertion : assertions)
    solver.assert_formula(assertion.formula, assertion.number);
  return solver.check();
}

Formulas part_of(const Formulas& formulas, const std::vector<std::uint32_t>& numbers) {
  Formulas result;
  for (const std::uint32_t number : numbers)
    result[number] = formulas.at(number);
  return result;
}

void check_refutation(Host& host, FormulaSolver& solver, const Formulas& formulas,
                      RandomFormulas& random) {
  const ClauseRefutation& refutation = solver.refutation();
  std::vector<Model> models;
  random.for_each_model([&](Model& model) {
    if (random.below(50) != 0) return;
    for (const resolution::Definition& definition : refutation.definitions)
      model[definition.constant] = host::evaluate(definition.term, model);
    models.push_back(model);
  });
  const auto is_input = [&](LiteralSpan clause, resolution::Tag tag) {
    if (formulas.count(tag) == 0) return false;
    for (const Literal literal : clause) {
      const Meaning& meaning = refutation.meaning(literal.variable());
      if (meaning.kind == Meaning::Kind::NONE) return false;
      if (meaning.kind == Meaning::Kind::AUXILIARY && meaning.assertion != tag)
        return false;
    }
    return std::all_of(models.begin(), models.end(), [&](const Model& model) {
      return !host::holds(formulas.at(tag), model) || is_true(clause, refutation, model);
    });
  };
  const auto is_lemma = [&](LiteralSpan clause, resolution::Tag) {
    return is_refuted_lemma(host, clause, refutation);
  };
  const auto fault =
      checker::fault_of_resolution_proof(refutation.proof, {}, {is_input, is_lemma});
  ASSERT_FALSE(fault) << *fault;
  // Without all of the bounds the integers may be too many to decide.
  const Formulas core = part_of(formulas, solver.core());
  ASSERT_NE(fresh_verdict(host, numbered(core)), Verdict::SAT) << text_of(core);
}

void check_model(FormulaSolver& solver, const Formulas& formulas,
                 const RandomFormulas& random) {
  Model model;
  for (const Term_* variable : random.variables())
    model[variable] = solver.value(variable);
  for (const auto& [number, formula] : formulas)
    ASSERT_TRUE(host::holds(formula, model)) << number;
}

// Assertions, levels and assumptions at random; every answer is judged: models by
// evaluation, refutations by the checker, unsat by all models there are, and the solver
// that has a past by one that has none.
void run(unsigned seed, RandomFormulas::Reals reals) {
  Host host;
  RandomFormulas random(host.terms, seed, reals);
  FormulaSolver solver(host.terms, host.mapper, host.limits);
  std::vector<Formulas> levels(1);
  std::uint32_t next = 0;
  const auto assert_formula = [&](const Term_* formula) {
    solver.assert_formula(formula, next);
    levels.back()[next++] = formula;
  };
  for (const Term_* bound : random.bounds())
    assert_formula(bound);
  for (int step = 0; step < 14; ++step) {
    const int choice = random.below(8);
    if (choice < 4) assert_formula(random.formula(1 + random.below(4)));
    if (choice == 4) {
      solver.push();
      levels.push_back(levels.back());
    }
    if (choice == 5 && levels.size() > 1) {
      solver.pop();
      levels.pop_back();
    }
    if (choice < 6) continue;
    std::vector<const Term_*> assumptions;
    Formulas formulas = levels.back();
    for (int i = random.below(4); i-- > 0;) {
      assumptions.push_back(random.formula(random.below(3)));
      formulas[next + static_cast<std::uint32_t>(assumptions.size()) - 1] =
          assumptions.back();
    }
    const Verdict verdict = solver.check(assumptions, next);
    next += static_cast<std::uint32_t>(assumptions.size());
    SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + text_of(formulas));
    ASSERT_NE(verdict, Verdict::UNKNOWN) << solver.reason_unknown();
    ASSERT_EQ(verdict, fresh_verdict(host, numbered(formulas)));
    if (verdict == Verdict::SAT) {
      check_model(solver, formulas, random);
    } else {
      check_refutation(host, solver, formulas, random);
      random.for_each_model(
          [&](const Model& model) { ASSERT_FALSE(all_hold(formulas, model)); });
    }
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(Formulas, AnswersOfSolversWithAPastAreRight) {
  for (unsigned seed = 0; seed < 80; ++seed) {
    run(seed, seed % 2 == 0 ? RandomFormulas::Reals::NONE : RandomFormulas::Reals::SOME);
    if (HasFatalFailure()) return;
  }
}

TEST(Formulas, NoAssertionOfAMinimisedCoreCanBeLeftOut) {
  int cores = 0;
  for (unsigned seed = 0; seed < 60; ++seed) {
    Host host;
    RandomFormulas random(host.terms, seed, RandomFormulas::Reals::SOME);
    Formulas formulas;
    const Term_* bounds = host.terms.true_term();
    for (const Term_* bound : random.bounds())
      bounds = host.terms.make_and(bounds, bound);
    for (std::uint32_t i = 0; i < 12; ++i)
      formulas[i] = host.terms.make_and(bounds, random.formula(2));
    if (fresh_verdict(host, numbered(formulas)) != Verdict::UNSAT) continue;
    cores++;
    const std::vector<std::uint32_t> core =
        minimised_core(host.terms, host.mapper, host.limits, numbered(formulas), {100});
    const Formulas part = part_of(formulas, core);
    ASSERT_EQ(fresh_verdict(host, numbered(part)), Verdict::UNSAT) << text_of(formulas);
    for (const std::uint32_t number : core) {
      Formulas others = part;
      others.erase(number);
      ASSERT_EQ(fresh_verdict(host, numbered(others)), Verdict::SAT) << text_of(part);
    }
  }
  EXPECT_GT(cores, 10);
}

class SomeTerms : public ::testing::Test {
 protected:
  const Term_* number(int n, int d = 1) {
    return terms.make_number(QNumber(n) / QNumber(d));
  }
  const Term_* times(int n, const Term_* t) { return terms.make_times(number(n), t); }

  Host host;
  host::Terms& terms = host.terms;
  const Term_* x = terms.make_variable("x", Sort::INT);
  const Term_* y = terms.make_variable("y", Sort::INT);
  const Term_* r = terms.make_variable("r", Sort::REAL);
  const Term_* p = terms.make_variable("p", Sort::BOOL);
};

TEST_F(SomeTerms, AtomsThatSayTheSameAreOneVariable) {
  const auto sum = [&](const Term_* a, const Term_* b) { return terms.make_plus(a, b); };
  struct Row {
    const Term_* a;
    const Term_* b;
    int relation;  // 1: the same, -1: opposites, 0: different
  };
  const Term_* const at_most_3 = terms.make_leq(x, number(3));
  const Row rows[] = {
      {at_most_3, terms.make_leq(times(2, x), number(7)), 1},
      {at_most_3, terms.make_lt(x, number(4)), 1},
      {at_most_3, terms.make_lt(number(3), x), -1},
      {at_most_3, terms.make_leq(number(4), x), -1},
      {at_most_3, terms.make_leq(sum(x, sum(y, x)), sum(sum(x, y), number(3))), 1},
      {at_most_3, terms.make_leq(number(3), x), 0},
      {terms.make_leq(x, y), terms.make_lt(y, x), -1},
      {terms.make_leq(x, y), terms.make_leq(times(-3, y), times(-3, x)), 1},
      {terms.make_equal(times(2, x), times(4, y)), terms.make_distinct(times(2, y), x), -1},
      {terms.make_leq(r, number(1, 2)), terms.make_leq(times(2, r), number(1)), 1},
      {terms.make_leq(r, number(1, 2)), terms.make_lt(number(1, 2), r), -1},
      {terms.make_leq(r, number(1, 2)), terms.make_lt(r, number(1, 2)), 0},
      {terms.make_lt(r, terms.make_to_real(x)),
       terms.make_leq(times(-5, r), times(-5, terms.make_to_real(x))), -1},
      {terms.make_lt(times(2, x), number(1)), terms.make_leq(x, number(0)), 1},
  };
  GuardedSolver solver(terms, host.mapper, host.limits, sat::Recording::OFF);
  for (const Row& row : rows) {
    const Literal a = solver.clausifier().literal(row.a);
    const Literal b = solver.clausifier().literal(row.b);
    EXPECT_EQ(a == b, row.relation == 1) << host::term_text(row.b);
    EXPECT_EQ(a == ~b, row.relation == -1) << host::term_text(row.b);
  }
}

TEST_F(SomeTerms, FormulasThatAreRefusedChangeNothing) {
  FormulaSolver solver(terms, host.mapper, host.limits);
  solver.assert_formula(terms.make_leq(x, number(0)), 0);
  const Term_* const product = terms.make_leq(terms.make_times(x, y), number(0));
  const Term_* const refused = terms.make_and(terms.make_leq(number(1), x), product);
  EXPECT_THROW(solver.assert_formula(refused, 1), host::NotLinear);
  EXPECT_EQ(solver.check(), Verdict::SAT);
  EXPECT_THROW((void)solver.check({terms.make_leq(number(1), x), refused}, 1),
               host::NotLinear);
  EXPECT_EQ(solver.check(), Verdict::SAT);
}

TEST_F(SomeTerms, LimitsEndASearchThatCanGoOn) {
  FormulaSolver solver(terms, host.mapper, host.limits);
  solver.assert_formula(terms.make_or(p, terms.make_leq(x, number(0))), 0);
  host.limits.set_deadline(host::Limits::Clock::now());
  EXPECT_EQ(solver.check({terms.make_not(p)}, 1), Verdict::UNKNOWN);
  EXPECT_EQ(solver.reason_unknown(), "timeout");
  host.limits.set_deadline(std::nullopt);
  EXPECT_EQ(solver.check({terms.make_not(p), terms.make_leq(number(1), x)}, 1),
            Verdict::UNSAT);
  EXPECT_EQ(solver.core(), (std::vector<std::uint32_t>{0, 1, 2}));
  EXPECT_EQ(solver.check({p, terms.make_not(p)}, 1), Verdict::UNSAT);
  EXPECT_EQ(solver.core(), (std::vector<std::uint32_t>{1, 2}));
}

// Chains nested to the left, to the right and through negations, equivalences a million
// deep, and parts that are shared by many chains.
TEST_F(SomeTerms, AMillionNodesAndAMillionLevelsAreRead) {
  constexpr int SIZE = 300000;
  std::vector<const Term_*> variables;
  for (int i = 0; i < SIZE; ++i)
    variables.push_back(terms.make_variable("v" + std::to_string(i), Sort::BOOL));
  enum Form { CONJUNCTION, ALTERNATION, EQUIVALENCE, SHARING, NEGATION, CHOICE, FORMS };
  for (int form = 0; form < FORMS; ++form) {
    const BuildingFlagScope exact(terms, 0);
    const Term_* formula = p;
    const Term_* all = p;
    for (const Term_* v : variables) {
      switch (form) {
        case CONJUNCTION: formula = terms.make_and(formula, v); break;
        case ALTERNATION: formula = terms.make_and(v, terms.make_not(formula)); break;
        case EQUIVALENCE: formula = terms.make_equal(v, formula); break;
        case SHARING:
          formula = terms.make_and(formula, v);
          all = terms.make_and(all, terms.make_or(formula, terms.make_not(v)));
          break;
        case NEGATION: formula = terms.make_not(terms.make_not(formula)); break;
        default: formula = terms.make_ite(v, formula, terms.make_not(formula)); break;
      }
    }
    if (form == SHARING) formula = all;
    FormulaSolver solver(terms, host.mapper, host.limits);
    solver.assert_formula(form % 2 == 0 ? formula : terms.make_not(formula), 0);
    EXPECT_EQ(solver.check(), Verdict::SAT) << form;
    Model model{{p, solver.value(p)}};
    for (const Term_* v : variables)
      model[v] = solver.value(v);
    EXPECT_EQ(host::holds(formula, model), form % 2 == 0) << form;
    EXPECT_LE(solver.statistics().clauses, std::uint64_t{8} * SIZE) << form;
  }
}

}  // namespace
}  // namespace opal::smt
