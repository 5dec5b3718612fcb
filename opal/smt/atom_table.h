#ifndef OPAL_SMT_ATOM_TABLE_H
#define OPAL_SMT_ATOM_TABLE_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "opal/arith/rational/delta_number.h"
#include "opal/proofs/resolution/literal.h"

namespace opal::smt {

/// What a literal says of a variable of the simplex.
struct Meaning {
  enum class Kind : std::uint8_t { NOTHING, ABSURD, UPPER, LOWER, EQUAL, UNEQUAL };

  Kind kind = Kind::NOTHING;
  int var = 0;
  int constraint = 0;       // the mapper's
  host::DeltaNumber value;  // the bound; of an integer always an integer
};

/// The atoms, by literal and by variable of the simplex.
///
/// A cut is an inequality: exactly one of
///
///     at_most: var <= upper      at_least: var >= lower      upper < lower
///
/// is true. x <= 3 has lower 4 over integers, and 3 plus an infinitesimal over reals. So a
/// bound var <= u implies at_most when u < lower, and var >= l implies at_least when
/// upper < l. A point is an equality, var = value.
///
/// Invariant: the cuts of a variable ascend by upper (and by lower), its points by value.
class AtomTable {
 public:
  using Literal = resolution::Literal;

  struct Cut {
    host::DeltaNumber upper;
    host::DeltaNumber lower;
    Literal at_most;
    Literal at_least;
  };
  struct Point {
    host::DeltaNumber value;  // without an infinitesimal part
    Literal equal;
  };

  /// Makes room for the simplex's variables 0 .. n - 1.
  void make_variables(std::size_t n) {
    if (by_var_.size() < n) by_var_.resize(n);
  }
  /// Adds an atom: what its literals say, of which each denies the other.
  void add(resolution::Variable atom, const Meaning& positive, const Meaning& negative);

  [[nodiscard]] bool has(resolution::Variable atom) const {
    return atom < is_atom_.size() && is_atom_[atom] != 0;
  }
  [[nodiscard]] const Meaning& meaning(Literal literal) const {
    assert(has(literal.variable()));
    return meanings_[literal.code()];
  }
  [[nodiscard]] const std::vector<Cut>& cuts(int var) const { return at(var).cuts; }
  [[nodiscard]] const std::vector<Point>& points(int var) const { return at(var).points; }

  /// The first cut whose at_most a bound var <= u implies; the later ones are implied too.
  [[nodiscard]] std::size_t first_cut_above(int var, const host::DeltaNumber& u) const;
  /// The number of cuts, from the first one on, whose at_least var >= l implies.
  [[nodiscard]] std::size_t cuts_below(int var, const host::DeltaNumber& l) const;
  /// The number of points below a value.
  [[nodiscard]] std::size_t points_below(int var, const host::DeltaNumber& value) const;
  /// The points at a value: more than one when there are atoms that say the same.
  struct Points {
    const Point* first;
    const Point* last;
    [[nodiscard]] const Point* begin() const { return first; }
    [[nodiscard]] const Point* end() const { return last; }
    [[nodiscard]] bool empty() const { return first == last; }
  };
  [[nodiscard]] Points points_at(int var, const host::DeltaNumber& value) const;

  /// The invariant, of one variable of the simplex.
  [[nodiscard]] bool is_normal(int var) const;

 private:
  struct Atoms {
    std::vector<Cut> cuts;
    std::vector<Point> points;
  };
  [[nodiscard]] const Atoms& at(int var) const {
    const auto index = static_cast<std::size_t>(var);
    assert(index < by_var_.size());
    return by_var_[index];
  }

  std::vector<Meaning> meanings_;      // by the code of the literal
  std::vector<std::uint8_t> is_atom_;  // by the variable of the search
  std::vector<Atoms> by_var_;          // by the variable of the simplex
};

}  // namespace opal::smt

#endif
