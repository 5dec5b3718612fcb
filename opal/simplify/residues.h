#ifndef OPAL_SIMPLIFY_RESIDUES_H
#define OPAL_SIMPLIFY_RESIDUES_H

#include <optional>
#include <vector>

#include "opal/base/modular_arithmetic.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// The integers of one residue class that lie in none of some other classes.
///
/// Invariant after settle() (is_normal): unless empty(), the excluded classes ascend, each
/// shares integers with the class, none contains it, and none has two residues only
/// relative to it (the other one would be the class). When a period of the set is small,
/// they are the only description of that set that settle() gives; otherwise they may be
/// redundant, and even cover the class.
class Residues {
 public:
  /// Keeps the integers of a class only.
  void restrict_to(const ResidueClass& c);
  /// Removes the integers of a class.
  void exclude(const ResidueClass& c) { excluded_.push_back(c); }
  void settle();
  /// Drops the excluded classes without members between two integers; whether there were
  /// any.
  bool drop_outside(const QNumber& low, const QNumber& high);

  /// The invariant; for assertions.
  [[nodiscard]] bool is_normal() const;

  [[nodiscard]] bool empty() const { return empty_; }
  [[nodiscard]] const ResidueClass& all() const { return class_; }
  [[nodiscard]] const std::vector<ResidueClass>& excluded() const { return excluded_; }
  [[nodiscard]] bool contains(const QNumber& x) const;
  /// Whether no integer is in this set and in the class. May be false wrongly.
  [[nodiscard]] bool is_disjoint(const ResidueClass& c) const;
  /// The least integer of the class all() that is not below x, the greatest not above x.
  [[nodiscard]] QNumber round_up(const QNumber& x) const;
  [[nodiscard]] QNumber round_down(const QNumber& x) const;
  /// The member next to an integer of the class all(), if it is one of the nearest.
  [[nodiscard]] std::optional<QNumber> member_above(const QNumber& x) const;
  [[nodiscard]] std::optional<QNumber> member_below(const QNumber& x) const;

 private:
  bool rebase();
  bool describe_by_period();
  [[nodiscard]] std::optional<QNumber> next_member(QNumber x, const QNumber& step) const;
  [[nodiscard]] ResidueClass relative(const ResidueClass& c) const;
  [[nodiscard]] ResidueClass absolute(const ResidueClass& c) const;

  ResidueClass class_;
  std::vector<ResidueClass> excluded_;
  bool empty_ = false;
};

}  // namespace opal::host

#endif
