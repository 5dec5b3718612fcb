#ifndef OPAL_SMT_ARITHMETIC_IMPL_H
#define OPAL_SMT_ARITHMETIC_IMPL_H

#include <cstdint>
#include <string>
#include <vector>

#include "opal/arith/rational/bound_simplex.h"
#include "opal/smt/arithmetic_theory.h"
#include "opal/smt/atom_table.h"
#include "opal/smt/linear_forms.h"

namespace opal::la {
class Solver;
}

namespace opal::smt {

/// What is behind ArithmeticTheory. Every bound of the simplex has a ground: the literals,
/// asserted before, from which it follows by itself. Mostly this is the one that says it;
/// x < 3 may also have come of x <= 3 and x /= 3.
class ArithmeticTheory::Impl {
 public:
  using Literal = sat::Literal;
  using Consequences = sat::Consequences;
  using Side = host::BoundSimplex::Side;
  using DeltaNumber = host::DeltaNumber;
  using Ground = host::BoundSimplex::Reason;  // an index in grounds_

  Impl(host::Mapper& mapper, host::Limits& limits, BoundAtoms& atoms);

  // arithmetic_theory.cpp
  void add_atom(sat::Variable variable, int positive, int negative);
  void push_level();
  void backtrack(std::uint32_t level);
  void assert_literal(Literal literal);
  void propagate(Consequences& consequences);
  void explain(Literal literal, std::vector<Literal>& clause);

  // final_check.cpp
  sat::FinalCheck final_check(Consequences& consequences);

  [[nodiscard]] const Statistics& current_statistics();

  std::vector<QNumber> model;  // by the mapper's variable
  std::string reason_unknown = "incomplete";
  Statistics statistics;

 private:
  struct Span {
    std::uint32_t begin;  // in ground_literals_
    std::uint32_t end;
  };
  struct Level {
    std::size_t asserted;
    std::size_t equalities;
    std::size_t disequalities;
    std::size_t bounds;
    std::size_t grounds;
    std::size_t ground_literals;
  };
  [[nodiscard]] Level height() const {
    return {asserted_.size(),  equalities_.size(), disequalities_.size(),
            simplex_.height(), grounds_.size(),    ground_literals_.size()};
  }
  void retract(const Level& level);
  /// Takes back, at the end of a block, the bounds that were set in it.
  struct Scope {
    explicit Scope(Impl& i) : impl(i), level(i.height()) {}
    ~Scope() { impl.retract(level); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    Impl& impl;
    const Level level;
  };

  // arithmetic_theory.cpp
  [[nodiscard]] Meaning meaning_of(int constraint);
  Ground begin_ground();
  Ground make_ground(Literal literal);
  void extend_ground(Ground ground);
  void set_bound(int var, Side side, DeltaNumber value, Ground ground);
  void prefer(int var, Side side, const DeltaNumber& value, Ground ground);
  [[nodiscard]] std::uint32_t length(Ground ground) const {
    return grounds_[ground].end - grounds_[ground].begin;
  }
  [[nodiscard]] Literal denied_at(int var, const DeltaNumber& value) const;
  void deny(const Meaning& meaning, Literal literal);
  void set_both_bounds(Literal equality);
  [[nodiscard]] static DeltaNumber beyond(const DeltaNumber& value, Side side,
                                          bool is_integer);
  void fail(const std::vector<Ground>& grounds);
  [[nodiscard]] bool are_asserted(const std::vector<Literal>& literals) const;
  void give_conflict(Consequences& consequences);

  // equality_sides.cpp
  [[nodiscard]] bool propagate_sides(Consequences& consequences);
  [[nodiscard]] bool imply_side(Literal side, Literal equality, Consequences& consequences);
  void make_sides(sat::Variable atom, Consequences& consequences);
  bool complete_equalities();

  // bound_propagation.cpp
  [[nodiscard]] bool propagate_bounds(Consequences& consequences);
  [[nodiscard]] bool propagate_fresh(Consequences& consequences);
  bool imply_beyond(int var, Side side, const DeltaNumber& value,
                    const DeltaNumber* previous, Ground ground, Consequences& consequences);
  bool imply_equal(int var, Consequences& consequences);
  bool imply(Literal literal, Ground ground, Consequences& consequences);
  void propagate_rows(Consequences& consequences);
  void use(const host::BoundSimplex::Derived& derived, Consequences& consequences);
  void use_with_opposite(const host::BoundSimplex::Derived& one,
                         const std::vector<host::BoundSimplex::Derived>& derived,
                         Consequences& consequences);
  Ground joint_ground(Ground a, Ground b);
  Ground explain(const host::BoundSimplex::Derived& derived);

  // final_check.cpp
  enum class Separation : std::uint8_t { DONE, CONFLICT, SPLIT };
  [[nodiscard]] Separation separate(const Level& base, Consequences& consequences);
  bool add_half(const Meaning& disequality, Side side);
  [[nodiscard]] Separation separate_alone(Literal literal, const Level& base,
                                          Consequences& consequences);
  [[nodiscard]] int fractional() const;
  void split(const Meaning& disequality, Literal literal, Consequences& consequences);
  [[nodiscard]] la::LinearTerm half(const Meaning& disequality, Side side) const;
  void save_model();
  [[nodiscard]] QNumber choose_epsilon() const;

  // integer_check.cpp
  sat::FinalCheck check_integers(int fractional, Consequences& consequences);
  [[nodiscard]] std::vector<Literal> essential_literals();
  void branch(int fractional, Consequences& consequences);
  void save_model(const la::Solver& solver);

  host::Mapper& mapper_;
  host::Limits& limits_;
  BoundAtoms& atoms_;
  host::BoundSimplex simplex_;
  LinearForms forms_;
  AtomTable table_;

  std::vector<Level> levels_;
  std::vector<Literal> asserted_;
  std::vector<std::uint8_t> is_asserted_;  // by literal
  std::vector<Literal> equalities_;        // those of asserted_ that are
  std::vector<Literal> disequalities_;     // those of asserted_ that are
  std::vector<Span> grounds_;
  std::vector<Literal> ground_literals_;
  // By literal: why propagate() implied it. One call may imply a literal and its negation.
  std::vector<Ground> implied_by_;
  /// Of an equality f = c, by its variable: the literals of f <= c and f >= c. Invalid ones
  /// where there are none.
  struct Sides {
    Literal at_most;
    Literal at_least;
  };
  std::vector<Sides> sides_;
  std::size_t equalities_head_ = 0;  // the sides of those below were implied

  std::vector<Literal> conflict_;  // asserted literals that contradict each other
  std::size_t conflict_level_ = 0;
  std::size_t propagated_ = 0;        // bounds below this were looked at
  std::vector<sat::Variable> fresh_;  // atoms not yet compared with the bounds there were
  std::vector<host::BoundSimplex::Reason> reasons_;  // scratch
  std::vector<Literal> clause_;                      // scratch
  std::size_t node_limit_ = FIRST_NODE_LIMIT;        // of the next integer check

  static constexpr std::size_t FIRST_NODE_LIMIT = 64;
  static constexpr std::size_t LAST_NODE_LIMIT = 65536;
  static constexpr std::size_t MAX_ROWS = 200;  // for derived bounds, in one call
};

}  // namespace opal::smt

#endif
