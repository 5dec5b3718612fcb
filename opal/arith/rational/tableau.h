#ifndef OPAL_ARITH_RATIONAL_TABLEAU_H
#define OPAL_ARITH_RATIONAL_TABLEAU_H

#include <cstddef>
#include <vector>

#include "opal/arith/rational/row.h"

namespace opal::host {

/// A sparse matrix of equations, solved for one variable each:
///
///     row r:   c * basic(r) + sum(coeff * nonbasic) = 0        c != 0
///
/// Invariant (is_normal): every row is normal or small; a basic variable occurs in its own
/// row only; count(v) of a variable that is not basic is the number of its rows.
class Tableau {
 public:
  static constexpr int NONE = -1;

  /// Makes room for variables up to `last`.
  void make_variables(int last);

  /// Adds a row, normal or small, in which only `basic` may be basic. Returns its number.
  int add_row(int basic, Row row);
  /// Takes a row out. Its basic variable then is in no row.
  Row remove_row(int row);
  /// Makes a variable of the row basic there, in place of the basic one.
  void pivot(int row, int var);

  /// Numbers of rows are below this; a number may be out of use.
  [[nodiscard]] int row_limit() const { return static_cast<int>(rows_.size()); }
  [[nodiscard]] std::size_t num_rows() const { return num_rows_; }
  /// The basic variable of a row, NONE when the number is out of use.
  [[nodiscard]] int basic(int row) const { return basic_[static_cast<std::size_t>(row)]; }
  [[nodiscard]] const Row& row(int row) const {
    return rows_[static_cast<std::size_t>(row)];
  }
  /// The row in which a variable is basic, or NONE.
  [[nodiscard]] int row_of(int var) const { return row_of_[static_cast<std::size_t>(var)]; }
  /// The number of rows that have a variable that is not basic.
  [[nodiscard]] int count(int var) const { return count_[static_cast<std::size_t>(var)]; }
  /// These rows, in no particular but a reproducible order. Valid until the next change.
  const std::vector<int>& column(int var);

  [[nodiscard]] bool is_normal() const;

 private:
  void add_multiple(int target, const QNumber& a, const Row& source, const QNumber& b);

  std::vector<Row> rows_;
  std::vector<int> basic_;
  std::vector<int> free_;  // numbers out of use
  std::size_t num_rows_ = 0;
  std::vector<int> row_of_;
  std::vector<int> count_;
  // The rows of a variable that is not basic, with others that once were, in any number.
  std::vector<std::vector<int>> columns_;
  std::vector<unsigned> marks_;  // by row, for column()
  unsigned mark_ = 0;
  Row scratch_;
};

}  // namespace opal::host

#endif
