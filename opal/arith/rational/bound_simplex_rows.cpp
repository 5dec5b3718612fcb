#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/arith/rational/bound_simplex.h"

// Rows of the search's simplex.
//
// A variable x on which no bound is expected has no reason to be in the tableau: once it is
// basic, its row is taken out and kept as its definition,
//
//     s1 = x - y,  s2 = x + z    becomes    x := s1 + y,  s2 = s1 + y + z
//
// since whatever the other variables are, x can be given a value that fits. The value is
// computed when a model is wanted.

namespace opal::host {

// The row in terms of `own` and live variables that are not basic.
Row BoundSimplex::substituted(Row row, int own) const {
  for (;;) {
    int first = NONE;
    for (const RowEntry& entry : row) {
      const int definition = variable(entry.var).definition;
      if (entry.var != own && definition != NONE && (first == NONE || definition < first))
        first = definition;
    }
    if (first == NONE) break;
    const Definition& definition = definitions_[static_cast<std::size_t>(first)];
    row = eliminate(row, definition.var, definition.row);
  }
  std::vector<int> basics;
  for (const RowEntry& entry : row)
    if (tableau_.row_of(entry.var) != NONE) basics.push_back(entry.var);
  for (const int var : basics)
    row = eliminate(row, var, tableau_.row(tableau_.row_of(var)));
  assert(find_coeff(row, own) != nullptr);
  return row;
}

// Makes `var`, which is in no row, basic in a new row, and gives it the value that the row
// asks for.
void BoundSimplex::add_row(int var, Row row) {
  assert(saved_.empty() && tableau_.row_of(var) == NONE &&
         variable(var).definition == NONE);
  row = substituted(std::move(row), var);
  variable(var).value = solved_value(row, var);
  tableau_.add_row(var, std::move(row));
  if (variable(var).lower != NONE || variable(var).upper != NONE) touch(var);
}

// Makes a row of the tableau the definition of its basic variable.
void BoundSimplex::define(int row) {
  const int var = tableau_.basic(row);
  Variable& v = variable(var);
  assert(!v.expected && v.lower == NONE && v.upper == NONE);
  v.definition = static_cast<int>(definitions_.size());
  definitions_.push_back({var, tableau_.remove_row(row)});
}

// Makes the tableau anew from the forms.
void BoundSimplex::rebuild() {
  tableau_ = Tableau();
  tableau_.make_variables(static_cast<int>(variables_.size()) - 1);
  definitions_.clear();
  restore();
  for (Variable& v : variables_)
    v.definition = NONE;
  for (const Slack& slack : slacks_) {
    Row row = slack.form;
    row.push_back({slack.var, QNumber(-1)});
    add_row(slack.var, std::move(row));
  }
  for (int var = 0; var < static_cast<int>(variables_.size()); ++var)
    if (variable(var).lower != NONE || variable(var).upper != NONE) touch(var);
  is_intact_ = true;
}

// The value of a variable that makes the row an equation.
DeltaNumber BoundSimplex::solved_value(const Row& row, int var) const {
  DeltaNumber sum;
  const QNumber* own = nullptr;
  for (const RowEntry& entry : row) {
    if (entry.var == var)
      own = &entry.coeff;
    else
      sum.add_product(entry.coeff, variable(entry.var).value);
  }
  assert(own != nullptr);
  sum *= own->inv().neg();
  return sum;
}

// Definitions are over later ones.
void BoundSimplex::complete_values() {
  for (std::size_t i = definitions_.size(); i-- > 0;) {
    const Definition& definition = definitions_[i];
    if (definition.var == NONE) continue;
    limits_.poll();
    assert(!variable(definition.var).expected);
    variable(definition.var).value = solved_value(definition.row, definition.var);
  }
}

bool BoundSimplex::is_normal() const {
  if (!is_intact_ || !saved_.empty() || !candidates_.empty()) return false;
  for (int row = 0; row < tableau_.row_limit(); ++row) {
    const int basic = tableau_.basic(row);
    if (basic == NONE) continue;
    if (!(solved_value(tableau_.row(row), basic) == variable(basic).value)) return false;
  }
  return std::all_of(variables_.begin(), variables_.end(), [&](const Variable& v) {
    if (v.definition != NONE) return !v.expected;
    const DeltaNumber* lower = limit(v, Side::LOWER);
    const DeltaNumber* upper = limit(v, Side::UPPER);
    return v.touched || ((lower == nullptr || *lower <= v.value) &&
                         (upper == nullptr || v.value <= *upper));
  });
}

}  // namespace opal::host
