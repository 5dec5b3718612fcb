#include <algorithm>
#include <cassert>
#include <queue>
#include <utility>

#include "opal/arith/rational/simplex.h"

// Equations of the simplex: lazily brought in, and thinned out by elimination.
//
// A variable x without a bound is pivoted into the basis, and its row is taken out of the
// tableau:
//
//     s1 = x - y,  s2 = x + z    becomes    x := s1 + y,  s2 = s1 + y + z
//
// Whatever the other variables are, x can be given a value that fits: no bound is lost. In
// chains of differences this leaves a row for every cycle and none for the rest. The
// variable with the least work is taken first; work is what rewriting its rows costs, so
// that rows of a chain are merged with rows of about their own length. Where an
// elimination would add entries to the tableau it is left to the search, which needs only
// some of them.

namespace opal::host {

void Simplex::bring_in_rows() {
  const std::size_t bounded = static_cast<std::size_t>(std::count_if(
      variables_.begin(), variables_.end(), [](const Variable& v) { return v.bounded(); }));
  if (definitions_.size() > structural_.size() + 2 * bounded + 1000) start_over();
  while (!waiting_.empty()) {
    limits_.look();
    const int var = waiting_.back();
    Variable& v = variable(var);
    if (v.bounded() && v.state != State::LIVE) {
      Row row;
      if (v.state == State::ABSENT) {
        row = v.form;
        row.push_back({var, QNumber(-1)});
      } else {
        row = definitions_[static_cast<std::size_t>(v.definition)].row;
      }
      row = substituted(std::move(row), var);
      tableau_.add_row(var, std::move(row));
      if (v.state == State::ELIMINATED)
        definitions_[static_cast<std::size_t>(v.definition)] = {NONE, {}};
      v.definition = NONE;
      v.state = State::LIVE;
    }
    v.waiting = false;
    waiting_.pop_back();
  }
}

// The row in terms of `own` and live variables that are not basic.
Row Simplex::substituted(Row row, int own) const {
  for (;;) {
    limits_.look();
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
  for (const int var : basics) {
    limits_.look();
    row = eliminate(row, var, tableau_.row(tableau_.row_of(var)));
  }
  return row;
}

// Forgets all equations; those of bounded slack variables are brought in anew.
void Simplex::start_over() {
  tableau_ = Tableau();
  definitions_.clear();
  waiting_.clear();
  for (std::size_t i = 0; i < variables_.size(); ++i) {
    Variable& v = variables_[i];
    v.definition = NONE;
    v.state = v.form.empty() ? State::LIVE : State::ABSENT;
    v.waiting = v.state == State::ABSENT && v.bounded();
    if (v.waiting) waiting_.push_back(static_cast<int>(i));
  }
  tableau_.make_variables(static_cast<int>(variables_.size()) - 1);
}

// The row in which a variable is best made basic: a short one, of a fixed variable if
// there is a choice.
int Simplex::elimination_row(int var) {
  int best = NONE;
  for (const int row : tableau_.column(var)) {
    if (best == NONE || tableau_.row(row).size() < tableau_.row(best).size() ||
        (tableau_.row(row).size() == tableau_.row(best).size() &&
         variable(tableau_.basic(row)).fixed() && !variable(tableau_.basic(best)).fixed()))
      best = row;
  }
  return best;
}

// Entries that are written in the elimination of a variable; nothing when it must not or
// need not be done, or would add entries to the tableau.
std::optional<std::size_t> Simplex::elimination_cost(int var) {
  const Variable& v = variable(var);
  if (v.state != State::LIVE || v.bounded()) return std::nullopt;
  if (tableau_.row_of(var) != NONE) return 0;
  const auto count = static_cast<std::size_t>(tableau_.count(var));
  if (count == 0) return std::nullopt;
  std::size_t shortest = SIZE_MAX;
  std::size_t sum = 0;
  for (const int row : tableau_.column(var)) {
    const std::size_t length = tableau_.row(row).size();
    shortest = std::min(shortest, length);
    sum += length;
  }
  const std::size_t added = (count - 1) * (shortest - 2);
  const std::size_t removed = shortest + count - 1;
  if (effort_ != Effort::CORE && count > 2 && added > removed) return std::nullopt;
  return sum + (count - 1) * shortest;
}

void Simplex::eliminate_unbounded() {
  const auto later = [](const Work& a, const Work& b) {
    return a.cost == b.cost ? a.var > b.var : a.cost > b.cost;
  };
  std::priority_queue<Work, std::vector<Work>, decltype(later)> queue(later);
  for (int var = 0; var < static_cast<int>(variables_.size()); ++var)
    if (const auto cost = elimination_cost(var)) queue.push({*cost, var});
  while (!queue.empty()) {
    limits_.look();
    const Work work = queue.top();
    queue.pop();
    const auto cost = elimination_cost(work.var);
    if (!cost) continue;
    if (*cost > work.cost && !queue.empty() && *cost > queue.top().cost) {
      queue.push({*cost, work.var});
      continue;
    }
    int row = tableau_.row_of(work.var);
    if (row == NONE) {
      row = elimination_row(work.var);
      pivot(row, work.var);
    }
    define(row);
  }
}

void Simplex::pivot(int row, int var) {
  tableau_.pivot(row, var);
  ++pivots_;
}

// Makes a row of the tableau the definition of its basic variable.
void Simplex::define(int row) {
  const int var = tableau_.basic(row);
  Variable& v = variable(var);
  assert(!v.bounded() && v.state == State::LIVE);
  v.state = State::ELIMINATED;
  v.definition = static_cast<int>(definitions_.size());
  definitions_.push_back({var, tableau_.remove_row(row)});
}

// The value of a variable that makes the row an equation.
DeltaNumber Simplex::solved_value(const Row& row, int var) const {
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

// Gives the eliminated problem variables the values that their definitions ask for, and
// the eliminated slack variables that these need: definitions are over later ones. Other
// slack variables, those of branches and cuts taken back for example, get no value.
void Simplex::recover() {
  std::vector<bool> needed(definitions_.size());
  for (std::size_t i = 0; i < definitions_.size(); ++i) {
    const Definition& definition = definitions_[i];
    if (definition.var == NONE) continue;
    if (variable(definition.var).form.empty()) needed[i] = true;
    if (!needed[i]) continue;
    for (const RowEntry& entry : definition.row) {
      const int later = variable(entry.var).definition;
      if (later != NONE) needed[static_cast<std::size_t>(later)] = true;
    }
  }
  for (std::size_t i = definitions_.size(); i-- > 0;) {
    if (!needed[i]) continue;
    limits_.look();
    const Definition& definition = definitions_[i];
    variable(definition.var).value = solved_value(definition.row, definition.var);
  }
}

}  // namespace opal::host
