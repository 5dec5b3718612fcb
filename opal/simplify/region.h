#ifndef OPAL_SIMPLIFY_REGION_H
#define OPAL_SIMPLIFY_REGION_H

#include <memory>
#include <optional>
#include <vector>

#include "opal/simplify/atoms.h"
#include "opal/simplify/residues.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// The values of one form that some literals leave: an interval without some of its points,
/// of an integral form only the integers in a residue class without some other classes.
///
/// Invariant after settle() (is_settled): the excluded points are strictly ascending and
/// lie strictly inside of the interval; an integral form has no strict bound, and its
/// bounds and excluded points are in the residue class; the interval is not empty unless
/// empty().
class Region {
 public:
  explicit Region(bool integral) : integral_(integral) {}

  /// Intersects with the values that a literal allows.
  void add(const BoundLiteral& literal);
  /// Brings into normal form after add(); the operations below ask for it.
  void settle();

  [[nodiscard]] bool empty() const;
  /// Whether no value of the region satisfies the literal.
  [[nodiscard]] bool excludes(const BoundLiteral& literal) const;
  /// The fewest literals that describe a region that is not empty: one equality, or a
  /// congruence, a lower bound, an upper bound, the excluded points and classes.
  [[nodiscard]] std::vector<BoundLiteral> literals(std::size_t form) const;

 private:
  struct Bound {
    QNumber value;
    bool strict = false;
  };

  void add_lower(const Bound& bound);
  void add_upper(const Bound& bound);
  void settle_upper();
  void settle_lower();
  void settle_integral_upper();
  void settle_integral_lower();
  [[nodiscard]] bool excludes_class(const ResidueClass& c) const;
  [[nodiscard]] bool is_settled() const;
  [[nodiscard]] bool is_point() const;
  Residues& residues();
  [[nodiscard]] const ResidueClass& all() const;
  [[nodiscard]] bool has(const QNumber& c) const;
  [[nodiscard]] bool in_class(const QNumber& c) const;
  static bool is_empty(const Bound& lower, const Bound& upper) {
    return upper.value < lower.value ||
           (upper.value == lower.value && (upper.strict || lower.strict));
  }

  bool integral_;
  std::optional<Bound> lower_;
  std::optional<Bound> upper_;
  std::vector<QNumber> excluded_;
  // Of an integral form; none while every integer is allowed, as in most regions.
  std::unique_ptr<Residues> residues_;
};

}  // namespace opal::host

#endif
