#ifndef OPAL_ARITH_INTEGER_SOLUTION_LATTICE_H
#define OPAL_ARITH_INTEGER_SOLUTION_LATTICE_H

#include <optional>
#include <vector>

#include "opal/arith/integer/diophantine.h"
#include "opal/base/limits.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// The integer solutions of a few equations: one solution plus the integer combinations of
/// some vectors, which are short where coordinates count in units of given widths.
///
///     SolutionLattice lattice(rows, widths, limits);
///     if (lattice.has_solution()) x = lattice.near({500, 500, 500, 500});
///
/// Every answer satisfies the equations exactly; how near it is depends on floating point.
class SolutionLattice {
 public:
  using Vector = std::vector<QNumber>;

  /// The variables of the rows are 0 to widths.size() - 1. Widths are positive.
  SolutionLattice(const std::vector<IntegerRow>& rows, std::vector<double> widths,
                  Limits& limits);

  [[nodiscard]] bool has_solution() const { return solution_.has_value(); }
  /// A solution near a point. There must be one.
  [[nodiscard]] Vector near(const std::vector<double>& point) const;

  /// Vectors of as many coordinates as there are widths, integers all; for assertions.
  [[nodiscard]] bool is_normal() const;

 private:
  using Image = std::vector<double>;

  bool restrict_to(const IntegerRow& row);
  void reduce();
  bool shorten(std::size_t k);
  void orthogonalise(std::size_t k);
  [[nodiscard]] Image image(const Vector& x) const;
  [[nodiscard]] double share(const Image& x, std::size_t j) const;

  std::vector<double> widths_;
  Limits& limits_;
  std::optional<Vector> solution_;
  std::vector<Vector> basis_;  // of the solutions with constants 0
  std::vector<Image>
      orthogonal_;  // the part of each basis vector orthogonal to those before
};

}  // namespace opal::host

#endif
