#ifndef OPAL_ARITH_RATIONAL_SIMPLEX_H
#define OPAL_ARITH_RATIONAL_SIMPLEX_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "opal/arith/rational/decider.h"
#include "opal/arith/rational/tableau.h"
#include "opal/base/limits.h"
#include "opal/linear/constraint_terms.h"

namespace opal::host {

class ApproximateSimplex;

/// The general simplex, exact. A constraint is a bound on a variable: on the problem
/// variable itself when it has only one, else on a slack variable that is equal to its
/// linear form. Forms are normal rows with a positive first coefficient, so that
/// x + y <= 3 and 2x + 2y >= 1 bound the same slack variable.
///
/// A variable is in one of three states:
///   ABSENT      a slack variable without an equation so far; it has no bound, or waits
///   LIVE        in the tableau, or in no equation
///   ELIMINATED  without a bound; given by its definition, a row in which other variables
///               are live or were eliminated later
///
/// The tableau and the definitions together are the equations slack = form, whatever is
/// bounded: taking bounds back leaves them valid.
class Simplex final : public Decider {
 public:
  /// NORMAL may take the shortcut through floating point, EXACT does not. CORE is for the
  /// few constraints of a contradiction: in addition, every variable without a bound is
  /// eliminated, whatever that costs.
  enum class Effort : std::uint8_t { NORMAL, EXACT, CORE };

  /// Keeps references to both.
  Simplex(const ConstraintTerms& terms, Limits& limits, Effort effort = Effort::NORMAL);

  /// From the next check on.
  void set_effort(Effort effort) { effort_ = effort; }

  void add(int constr_id, int side) override;
  [[nodiscard]] std::size_t size() const override { return positions_.size(); }
  void retract(std::size_t n) override;
  std::optional<FarkasCombination> check() override;
  [[nodiscard]] DeltaNumber value(int var) const override;

  /// Pivots since construction.
  [[nodiscard]] std::uint64_t pivots() const { return pivots_; }
  /// Rows of the tableau.
  [[nodiscard]] std::size_t rows() const { return tableau_.num_rows(); }

 private:
  static constexpr int NONE = -1;
  enum class State : std::uint8_t { ABSENT, LIVE, ELIMINATED };

  struct Bound {
    DeltaNumber value;
    QNumber multiplier;  // of the constraint, where the bound's is 1
    int constraint = 0;  // 0 when there is no bound
    int sign = 0;

    [[nodiscard]] bool exists() const { return constraint != 0; }
  };
  struct Variable {
    Bound lower;
    Bound upper;
    DeltaNumber value;
    Row form;               // of a slack variable
    int definition = NONE;  // position in definitions_ when ELIMINATED
    State state = State::LIVE;
    bool waiting = false;  // in waiting_

    [[nodiscard]] bool bounded() const { return lower.exists() || upper.exists(); }
    [[nodiscard]] bool fixed() const {
      return lower.exists() && upper.exists() && lower.value == upper.value;
    }
  };
  struct Change {
    int var;
    bool upper;
    Bound old;
  };
  struct Definition {
    int var;  // NONE when it is no longer one
    Row row;
  };
  struct Scaled {
    int var;
    QNumber scale;
  };
  struct Violation {
    int row = NONE;
    bool below = false;  // the lower bound
  };

  Variable& variable(int var) { return variables_[static_cast<std::size_t>(var)]; }
  [[nodiscard]] const Variable& variable(int var) const {
    return variables_[static_cast<std::size_t>(var)];
  }

  // simplex.cpp: bounds
  int new_variable(State state);
  int structural(int mapper_var);
  Scaled slack(const la::LinearTerm& term);
  void set_bound(int var, bool upper, Bound bound);
  [[nodiscard]] static FarkasLeaf leaf(const Bound& bound, const QNumber& multiplier);

  // simplex.cpp: search
  void settle();
  std::optional<FarkasCombination> solve();
  std::optional<FarkasCombination> search();
  [[nodiscard]] Violation violation(int row) const;
  [[nodiscard]] Violation choose_row(bool by_index) const;
  [[nodiscard]] bool may_enter(const RowEntry& entry, bool raise) const;
  [[nodiscard]] int choose_entering(Violation violated, bool by_index) const;
  void repair(Violation violated, int entering);
  [[nodiscard]] const Bound& limit(const RowEntry& entry, Violation violated) const;
  [[nodiscard]] bool is_contradictory(Violation violated) const;
  [[nodiscard]] FarkasCombination conflict(Violation violated) const;

  // simplex_rows.cpp: equations
  void bring_in_rows();
  [[nodiscard]] Row substituted(Row row, int own) const;
  void start_over();
  struct Work {
    std::size_t cost;
    int var;
  };
  [[nodiscard]] std::optional<std::size_t> elimination_cost(int var);
  [[nodiscard]] int elimination_row(int var);
  void eliminate_unbounded();
  void pivot(int row, int var);
  void define(int row);
  [[nodiscard]] DeltaNumber solved_value(const Row& row, int var) const;
  void recover();

  // simplex_shortcut.cpp
  using Answer = std::optional<FarkasCombination>;  // as check()'s
  struct Shortcut;
  [[nodiscard]] Shortcut plan_shortcut() const;
  void copy_bounds(ApproximateSimplex& copy, std::size_t position, int var,
                   int exponent) const;
  [[nodiscard]] bool copy_tableau(const Shortcut& plan, ApproximateSimplex& copy) const;
  std::optional<Answer> take_shortcut();
  std::optional<Answer> confirm_point(const Shortcut& plan, const ApproximateSimplex& copy);
  std::optional<Answer> confirm_conflict(const Shortcut& plan,
                                         const ApproximateSimplex& copy);

  const ConstraintTerms& terms_;
  Limits& limits_;
  Effort effort_;
  std::vector<Variable> variables_;
  std::vector<int> structural_;                      // by the mapper's variable id
  std::unordered_multimap<std::size_t, int> forms_;  // slack variables by hash of the form
  std::vector<std::size_t> positions_;  // length of trail_ below each constraint
  std::vector<Change> trail_;
  // The first contradiction between the bounds of one variable.
  struct BoundConflict {
    std::size_t position;
    int var;
  };
  std::optional<BoundConflict> bound_conflict_;
  Tableau tableau_;
  std::vector<Definition> definitions_;
  std::vector<int> waiting_;  // variables that got a bound while not LIVE
  std::uint64_t pivots_ = 0;
};

}  // namespace opal::host

#endif
