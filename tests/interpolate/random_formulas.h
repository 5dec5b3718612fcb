#ifndef OPAL_TESTS_INTERPOLATE_RANDOM_FORMULAS_H
#define OPAL_TESTS_INTERPOLATE_RANDOM_FORMULAS_H

// Random contradictory formulas in groups, and a judge of interpolants: every step of a
// tree of groups is decided by a solver that records no proofs.

#include <string>
#include <vector>

#include "opal/interpolate/labelled/formula_interpolation.h"
#include "opal/smt/formula_solver.h"
#include "opal/terms/print/printer.h"
#include "tests/host/fixture.h"

namespace opal::host {

using smt::FormulaSolver;

class FormulaTest : public HostTest {
 protected:
  // --- drawing
  const Term_* sum(const Atoms& numbers) {
    const Term_* result = times(pick(1, 3), any(numbers));
    if (!one_in(4)) result = plus(result, times(pick(-3, 3), any(numbers)));
    if (one_in(8)) result = t.make_ite(formula(numbers, 0), result, any(numbers));
    if (one_in(12) && Terms::sort_of(result) == Sort::INT)
      result = floor(times(QNumber(1) / QNumber(2), result));
    return result;
  }
  const Term_* formula(const Atoms& numbers, int depth) {
    if (depth == 0 || one_in(5)) {
      if (one_in(5)) return any(truths);
      const Term_* const constant = num(pick(-4, 4));
      const int relation = static_cast<int>(pick(0, 5));
      const bool is_wide = relation == la::LinearTerm::EQ && !one_in(4);
      return related(is_wide ? la::LinearTerm::LEQ : relation, sum(numbers), constant);
    }
    const Term_* const a = formula(numbers, depth - 1);
    const Term_* const b = formula(numbers, depth - 1);
    switch (pick(0, 6)) {
      case 0:
      case 1: return land(a, b);
      case 2:
      case 3: return lor(a, b);
      case 4: return lnot(a);
      case 5: return one_in(2) ? eq(a, b) : neq(a, b);
      default: return t.make_ite(a, b, formula(numbers, depth - 1));
    }
  }
  // A tree of groups with formulas that contradict each other; neighbours share symbols.
  void draw(bool integers, bool tree) {
    const std::size_t groups = tree ? 3 + random() % 4 : 2 + random() % 3;
    task = {};
    for (std::size_t g = 0; g < groups; ++g) {
      const bool leaf = tree && g + 1 < groups && (g == 0 || one_in(2));
      task.first.push_back(!tree || g + 1 == groups ? 0 : leaf ? g : task.first[g - 1]);
    }
    truths.clear();
    Atoms numbers;
    for (std::size_t g = 0; g < groups + 2; ++g) {
      const std::string n = std::to_string(g);
      truths.push_back(t.make_variable("p" + n, Sort::BOOL));
      numbers.push_back(integers ? integer("n" + n) : real("r" + n));
    }
    const Atoms all_truths = truths;
    const bool clauses = one_in(2);  // shallow ones, which take many to contradict
    FormulaSolver judge(t, mapper, limits, sat::Recording::OFF);
    do {
      const std::size_t g = one_in(10) ? Grouping::BACKGROUND : random() % groups;
      const std::size_t at = std::min(g, groups - 1);
      const auto from = static_cast<std::ptrdiff_t>(at);
      truths.assign(all_truths.begin() + from, all_truths.begin() + from + 3);
      const Atoms near(numbers.begin() + from, numbers.begin() + from + 3);
      const Term_* drawn = formula(near, clauses ? 0 : 3);
      for (long more = clauses ? pick(one_in(9) ? 0 : 1, 2) : 0; more > 0; --more)
        drawn = lor(drawn, formula(near, one_in(4) ? 1 : 0));
      task.formulas.push_back(drawn);
      task.group_of.push_back(g);
      judge.assert_formula(drawn, static_cast<std::uint32_t>(task.formulas.size()));
    } while (judge.check() == FormulaSolver::Verdict::SAT);
  }

  // --- judging
  bool satisfiable(const Atoms& formulas) {
    FormulaSolver judge(t, mapper, limits, sat::Recording::OFF);
    for (std::size_t f = 0; f < formulas.size(); ++f)
      judge.assert_formula(formulas[f], static_cast<std::uint32_t>(f));
    const auto verdict = judge.check();
    EXPECT_NE(verdict, FormulaSolver::Verdict::UNKNOWN);
    return verdict == FormulaSolver::Verdict::SAT;
  }
  std::string text() const {
    std::string result;
    for (std::size_t f = 0; f < task.formulas.size(); ++f)
      result += std::to_string(static_cast<long>(task.group_of[f])) + ": " +
                term_text(task.formulas[f]) + "\n";
    for (const std::size_t first : task.first)
      result += std::to_string(first) + " ";
    return result;
  }
  // For each group: what its children's interpolants and its own formulas say together must
  // imply its interpolant, which for the root is false.
  void judge(const Atoms& interpolants) {
    const std::size_t groups = task.first.size();
    ASSERT_EQ(interpolants.size() + 1, groups);
    const Grouping tree(task.first);
    Grouping symbols(task.first);
    for (std::size_t f = 0; f < task.formulas.size(); ++f)
      symbols.add(task.formulas[f], std::min(task.group_of[f], groups - 1));
    for (std::size_t g = 0; g < groups; ++g) {
      Atoms step;
      for (std::size_t f = 0; f < task.formulas.size(); ++f)
        if (std::min(task.group_of[f], groups - 1) == g) step.push_back(task.formulas[f]);
      for (const std::size_t child : tree.children(g))
        step.push_back(interpolants[child]);
      if (g + 1 < groups) {
        step.push_back(lnot(interpolants[g]));
        EXPECT_EQ(symbols.symbols_colour(interpolants[g], g), Grouping::status::SHARED)
            << term_text(interpolants[g]) << "\n"
            << text();
      }
      EXPECT_FALSE(satisfiable(step)) << "group " << g << "\n" << text();
    }
  }

  FormulaTask task;
  Atoms truths;
};

}  // namespace opal::host

#endif
