#ifndef OPAL_ARITH_RATIONAL_BOUND_SIMPLEX_H
#define OPAL_ARITH_RATIONAL_BOUND_SIMPLEX_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "opal/arith/rational/delta_number.h"
#include "opal/arith/rational/tableau.h"
#include "opal/base/limits.h"

namespace opal::host {

/// The simplex under a search that sets bounds and takes them back many times a second.
///
///     BoundSimplex simplex(limits);
///     int x = simplex.make_variable(), y = simplex.make_variable();
///     int s = simplex.make_slack({{x, 1}, {y, 1}});              // s = x + y
///     simplex.set_bound(x, Side::LOWER, {2}, 0);
///     simplex.set_bound(y, Side::LOWER, {2}, 1);
///     simplex.set_bound(s, Side::UPPER, {3}, 2);
///     simplex.check() == false;   simplex.conflict() is a permutation of {0, 1, 2}
///     simplex.retract(2);                                        // keeps two bounds
///     simplex.check() == true;    simplex.value(s) == 4
///
/// (Simplex is for conjunctions that are decided once; it brings in rows when they get
/// bounds, and takes time to make the tableau small. Here the rows of all forms stay.)
///
/// Between two calls, with `values` those of the last consistent check:
///
///     the values solve all rows
///     a variable whose value is outside of its bounds is in touched_
///
/// so taking bounds back needs no arithmetic, and a check looks at what was touched only.
class BoundSimplex {
 public:
  /// Whatever the caller calls the ground of a bound by.
  using Reason = std::uint32_t;
  enum class Side : std::uint8_t { LOWER, UPPER };
  enum class Outcome : std::uint8_t { WEAKER, SET, CONTRADICTION };
  static constexpr int NONE = -1;

  struct Bound {
    DeltaNumber value;
    int var;
    int previous;  // the bound that holds again when this one is taken back, or NONE
    Reason reason;
    Side side;
  };
  /// A bound that follows from a row and the bounds of its other variables.
  struct Derived {
    DeltaNumber value;
    int row;
    int var;
    Side side;
  };

  /// Keeps a reference.
  explicit BoundSimplex(Limits& limits) : limits_(limits) {}

  /// A new variable without a bound.
  int make_variable();
  /// A new variable that equals a form: a normal row with two variables at least.
  int make_slack(const Row& form);
  /// Says that bounds of `var` may be set or are worth deriving; a slack variable's are
  /// anyway. Before set_bound(). Not during a check.
  void expect_bounds(int var);

  /// Sets a bound if it is tighter than the one on that side. When it contradicts the one
  /// on the other side, it is not set.
  Outcome set_bound(int var, Side side, const DeltaNumber& value, Reason reason);
  /// Gives the bound that there is on a side another ground, until that is taken back.
  void renew_bound(int var, Side side, Reason reason);
  /// The number of bounds set, and the bounds in the order in which they were set.
  [[nodiscard]] std::size_t height() const { return bounds_.size(); }
  [[nodiscard]] const Bound& bound(std::size_t i) const {
    assert(i < height());
    return bounds_[i];
  }
  /// Keeps the first `n` bounds, n <= height(). Constant time for each bound taken back.
  void retract(std::size_t n);
  /// The bound of a variable, or null. Valid until the next set_bound().
  [[nodiscard]] const Bound* bound(int var, Side side) const;

  /// Whether the bounds are consistent. Throws LimitReached, after which every operation is
  /// possible.
  [[nodiscard]] bool check();
  /// After check() answered false: the grounds of bounds that contradict each other, of
  /// which none can be left out.
  [[nodiscard]] const std::vector<Reason>& conflict() const { return conflict_; }
  /// After a consistent check: a variable's value. Of a variable without expected bounds
  /// only after complete_values().
  [[nodiscard]] const DeltaNumber& value(int var) const { return variable(var).value; }
  void complete_values();

  /// After a consistent check: bounds that rows imply, of variables whose bounds are
  /// expected, tighter than those that are set. Looks at rows that have a variable whose
  /// bound was set since the last call, as far as `rows` go.
  const std::vector<Derived>& derive_bounds(std::size_t rows);
  /// The grounds of one of these bounds, until the next check.
  void explain(const Derived& derived, std::vector<Reason>& reasons) const;

  [[nodiscard]] std::uint64_t pivots() const { return pivots_; }
  [[nodiscard]] std::size_t rows() const { return tableau_.num_rows(); }

  /// Whether tableau, definitions and values are as the invariants say; for assertions
  /// between calls.
  [[nodiscard]] bool is_normal() const;

 private:
  struct Variable {
    DeltaNumber value;
    int lower = NONE;  // in bounds_
    int upper = NONE;
    int definition = NONE;      // in definitions_, when it was eliminated
    std::uint32_t saved = 0;    // the check in which its value was put into saved_
    bool expected = false;      // may have bounds
    bool touched = false;       // in touched_
    bool is_candidate = false;  // in candidates_
  };
  /// A variable that may have no bounds, eliminated: a row that gives it from variables
  /// that are live or were eliminated later. `var` is NONE when it was brought back.
  struct Definition {
    int var;
    Row row;
  };
  struct Saved {
    int var;
    DeltaNumber value;
  };
  struct Violation {
    int row = NONE;
    bool below = false;  // the lower bound
  };
  // How much the variables of a row may contribute to its sum at most, or at least.
  struct Extent {
    DeltaNumber sum;    // of the entries with a bound
    int unbounded = 0;  // how many entries have none
    int last = NONE;    // a variable without a bound
  };

  [[nodiscard]] Variable& variable(int var) {
    assert(var >= 0 && static_cast<std::size_t>(var) < variables_.size());
    return variables_[static_cast<std::size_t>(var)];
  }
  [[nodiscard]] const Variable& variable(int var) const {
    assert(var >= 0 && static_cast<std::size_t>(var) < variables_.size());
    return variables_[static_cast<std::size_t>(var)];
  }
  [[nodiscard]] const DeltaNumber* limit(const Variable& v, Side side) const {
    const int bound = side == Side::LOWER ? v.lower : v.upper;
    return bound == NONE ? nullptr : &bounds_[static_cast<std::size_t>(bound)].value;
  }

  // bound_simplex.cpp
  bool search();
  void begin();
  void change(int var, DeltaNumber value);
  void move(int var, const DeltaNumber& step, int except);
  void note(int basic);
  void touch(int var);
  void restore();
  [[nodiscard]] const DeltaNumber* violated_limit(const Variable& v) const;
  [[nodiscard]] Violation violation(int row) const;
  Violation choose_row(bool by_index);
  [[nodiscard]] int choose_entering(Violation violated, bool by_index) const;
  void repair(Violation violated, int entering);
  void explain(Violation violated);

  // bound_simplex_rows.cpp
  [[nodiscard]] Row substituted(Row row, int own) const;
  void add_row(int var, Row row);
  void define(int row);
  void rebuild();
  [[nodiscard]] DeltaNumber solved_value(const Row& row, int var) const;

  // derived_bounds.cpp
  void collect_rows(std::size_t rows);
  [[nodiscard]] Extent extent(const Row& row, Side side) const;
  void derive_from(int row);
  void derive_from(int row, Side side, const Extent& extent);
  [[nodiscard]] static Side side_of(const RowEntry& entry, Side side) {
    return (entry.coeff.sign() > 0) == (side == Side::UPPER) ? Side::UPPER : Side::LOWER;
  }

  Limits& limits_;
  std::vector<Variable> variables_;
  std::vector<Bound> bounds_;
  Tableau tableau_;
  std::vector<Definition> definitions_;
  struct Slack {
    int var;
    Row form;
  };
  std::vector<Slack> slacks_;    // for rebuild()
  std::vector<int> touched_;     // whose bounds were set since the last consistent check
  std::vector<int> candidates_;  // basic variables that may violate a bound
  std::vector<Saved> saved_;     // values of the last consistent check; within a check
  std::uint32_t check_ = 0;      // number of the present check
  bool is_intact_ = true;        // false when an exception left the tableau half changed
  std::vector<Reason> conflict_;
  std::vector<int> column_;  // scratch
  std::vector<Derived> derived_;
  std::size_t derived_from_ = 0;  // bounds below this were looked at by derive_bounds()
  std::vector<int> rows_to_derive_;
  std::vector<std::uint32_t> row_stamps_;
  std::uint32_t row_stamp_ = 0;
  std::uint64_t pivots_ = 0;
};

}  // namespace opal::host

#endif
