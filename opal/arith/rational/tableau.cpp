#include "opal/arith/rational/tableau.h"

#include <cassert>
#include <utility>

namespace opal::host {

void Tableau::make_variables(int last) {
  const auto size = static_cast<std::size_t>(last) + 1;
  if (size <= columns_.size()) return;
  row_of_.resize(size, NONE);
  count_.resize(size, 0);
  columns_.resize(size);
}

int Tableau::add_row(int basic, Row row) {
  assert(find_coeff(row, basic) != nullptr && row_of(basic) == NONE && count(basic) == 0);
  int number = row_limit();
  if (free_.empty()) {
    rows_.emplace_back();
    basic_.push_back(NONE);
    marks_.push_back(0);
  } else {
    number = free_.back();
    free_.pop_back();
  }
  for (const RowEntry& entry : row) {
    if (entry.var == basic) continue;
    assert(row_of(entry.var) == NONE);
    const auto var = static_cast<std::size_t>(entry.var);
    ++count_[var];
    columns_[var].push_back(number);
  }
  row_of_[static_cast<std::size_t>(basic)] = number;
  basic_[static_cast<std::size_t>(number)] = basic;
  rows_[static_cast<std::size_t>(number)] = std::move(row);
  ++num_rows_;
  return number;
}

Row Tableau::remove_row(int row) {
  const auto number = static_cast<std::size_t>(row);
  const int basic = std::exchange(basic_[number], NONE);
  assert(basic != NONE);
  for (const RowEntry& entry : rows_[number])
    if (entry.var != basic) --count_[static_cast<std::size_t>(entry.var)];
  row_of_[static_cast<std::size_t>(basic)] = NONE;
  free_.push_back(row);
  --num_rows_;
  return std::exchange(rows_[number], {});
}

const std::vector<int>& Tableau::column(int var) {
  assert(row_of(var) == NONE);
  const auto v = static_cast<std::size_t>(var);
  std::vector<int>& rows = columns_[v];
  if (rows.size() == static_cast<std::size_t>(count_[v])) return rows;
  ++mark_;
  std::size_t kept = 0;
  for (const int row : rows) {
    const auto number = static_cast<std::size_t>(row);
    if (marks_[number] == mark_ || find_coeff(rows_[number], var) == nullptr) continue;
    marks_[number] = mark_;
    rows[kept++] = row;
  }
  rows.resize(kept);
  assert(kept == static_cast<std::size_t>(count_[v]));
  return rows;
}

void Tableau::pivot(int row, int var) {
  const auto number = static_cast<std::size_t>(row);
  const auto entering = static_cast<std::size_t>(var);
  const int leaving = basic_[number];
  const std::vector<int> affected = column(var);
  const Row& source = rows_[number];
  const QNumber& coeff = *find_coeff(source, var);

  row_of_[static_cast<std::size_t>(leaving)] = NONE;
  columns_[static_cast<std::size_t>(leaving)].assign(1, row);
  count_[static_cast<std::size_t>(leaving)] = 1;
  for (const int target : affected) {
    if (target == row) continue;
    const Row& old = rows_[static_cast<std::size_t>(target)];
    const Cancellation factors = cancellation(*find_coeff(old, var), coeff);
    add_multiple(target, factors.a, source, factors.b);
  }
  assert(count_[entering] == 1);
  count_[entering] = 0;
  columns_[entering].clear();
  row_of_[entering] = row;
  basic_[number] = var;
}

// The target row becomes a * target + b * source.
void Tableau::add_multiple(int target, const QNumber& a, const Row& source,
                           const QNumber& b) {
  Row& row = rows_[static_cast<std::size_t>(target)];
  const bool scale = a != QNumber(1);
  scratch_.clear();
  scratch_.reserve(row.size() + source.size());
  auto x = row.begin();
  auto y = source.begin();
  while (x != row.end() || y != source.end()) {
    if (y == source.end() || (x != row.end() && x->var < y->var)) {
      if (scale) x->coeff *= a;
      scratch_.push_back(std::move(*x));
      ++x;
    } else if (x == row.end() || y->var < x->var) {
      const auto var = static_cast<std::size_t>(y->var);
      scratch_.push_back({y->var, y->coeff * b});
      ++count_[var];
      columns_[var].push_back(target);
      ++y;
    } else {
      if (scale) x->coeff *= a;
      x->coeff += y->coeff * b;
      if (x->coeff.is_zero())
        --count_[static_cast<std::size_t>(x->var)];
      else
        scratch_.push_back(std::move(*x));
      ++x;
      ++y;
    }
  }
  make_small_or_coprime(scratch_);
  std::swap(row, scratch_);
}

bool Tableau::is_normal() const {
  std::vector<int> counts(count_.size(), 0);
  std::size_t used = 0;
  for (int r = 0; r < row_limit(); ++r) {
    const int own = basic(r);
    if (own == NONE) continue;
    ++used;
    if (row_of(own) != r || find_coeff(row(r), own) == nullptr) return false;
    if (!is_small_or_normal(row(r))) return false;
    for (const RowEntry& entry : row(r)) {
      if (entry.var != own && row_of(entry.var) != NONE) return false;
      if (entry.var != own) ++counts[static_cast<std::size_t>(entry.var)];
    }
  }
  return used == num_rows_ && counts == count_;
}

}  // namespace opal::host
