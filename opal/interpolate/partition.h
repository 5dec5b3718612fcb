#ifndef OPAL_INTERPOLATE_PARTITION_H
#define OPAL_INTERPOLATE_PARTITION_H

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "opal/interfaces/atom_classifier.h"
#include "opal/utils/hash_map.h"
#include "opal/utils/hash_set.h"

namespace opal::host {

/// The groups of an interpolation query and the atoms asserted in each.
///
/// Groups form a tree, numbered in post-order: the sub-tree of group g is the interval
/// first[g] .. g. A sequence of n groups is the tree in which first[g] = 0 for every g.
/// Each group but the last (the root) stands for one partition: A is its sub-tree, B the
/// rest.
///
/// An atom belongs to one group, or to the background, which every group has: an atom
/// asserted in several groups is placed in the last of them, one asserted in the background
/// too is the background's. Any one of its places is right (the place has the atom), and
/// one place for all partitions is what makes the interpolants of a sequence or tree fit
/// together. For the same reason the background is the root's, and never A's, when there
/// are more than two groups: cuts count a shared atom as A's, and siblings, which each
/// would use it, then would not imply their parent's interpolant.
///
/// Where atoms are not asserted by themselves but occur in formulas, symbols and places are
/// entered each by themselves: the symbols of the formulas, and for each atom the place
/// that it has for all partitions.
class Grouping {
 public:
  static constexpr std::size_t BACKGROUND = static_cast<std::size_t>(-1);

  /// `first` as above; it must be well formed (checked by an assertion).
  explicit Grouping(std::vector<std::size_t> first);
  /// The same tree without atoms; what symbols occur where is read from `symbols`, and none
  /// can be added.
  explicit Grouping(std::shared_ptr<const Grouping> symbols);
  /// The sequence of n groups.
  static std::vector<std::size_t> sequence(std::size_t n);

  /// Enters an atom asserted in `group` (or BACKGROUND), with its symbols.
  void add(const Term_* atom, std::size_t group);
  /// Enters the symbols of a term that occurs in `group`, and no atom. Time linear in the
  /// term as a DAG.
  void add_symbols(const Term_* term, std::size_t group);
  /// Enters an atom, whose symbols are known already; the last of several places counts.
  void place_atom(const Term_* atom, std::size_t group);

  /// The group that has an atom, or BACKGROUND; num_groups() for one that was not entered.
  [[nodiscard]] std::size_t place(const Term_* atom) const;

  [[nodiscard]] std::size_t num_groups() const { return first_.size(); }
  /// The first group of a group's sub-tree.
  [[nodiscard]] std::size_t first(std::size_t group) const { return first_[group]; }
  [[nodiscard]] bool in_subtree(std::size_t group, std::size_t root) const {
    return first_[root] <= group && group <= root;
  }
  [[nodiscard]] bool is_sequence() const;
  /// The lowest group whose sub-tree has both.
  [[nodiscard]] std::size_t lowest_common(std::size_t a, std::size_t b) const;
  /// The groups whose parent is `group`, ascending.
  [[nodiscard]] std::vector<std::size_t> children(std::size_t group) const;

  using status = itp::TheoryAtomClassifier::status;
  /// The colour of an atom in the partition of `root`: A_LOCAL, B_LOCAL; of background,
  /// SHARED with two groups, else B_LOCAL; UNKNOWN for an atom that was not entered.
  [[nodiscard]] status atom_colour(const Term_* atom, std::size_t root) const;
  /// The colour of a term by its symbols (those of a floor term are inside of it), of all
  /// atoms entered wherever they were asserted.
  [[nodiscard]] status symbols_colour(const Term_* term, std::size_t root) const;
  /// The place of an atom that nobody asserted: the lowest group that, for one symbol of
  /// the atom, has every group in its sub-tree in which the symbol occurs. So in each
  /// partition the atom is A's if one of its symbols is local to A, else B's. Nothing when
  /// it mixes symbols that are local to two sides in some partition, or has one of no
  /// group.
  [[nodiscard]] std::optional<std::size_t> place_by_symbols(const Term_* atom) const;

 private:
  /// Notes that a variable or floor term occurs in a group; false when it was known.
  bool enter(const Term_* symbol, std::size_t group);
  /// The groups of a symbol, ascending; null for an unknown one.
  [[nodiscard]] const std::vector<std::size_t>* groups_of(const Term_* symbol) const;

  std::vector<std::size_t> first_;
  std::shared_ptr<const Grouping> symbols_;        // that of another grouping; may be null
  hsh::HashMap<const Term_*, std::size_t> place_;  // of each atom
  // For each variable and floor term, the ascending groups in which it occurs; BACKGROUND
  // is the last.
  hsh::HashMap<const Term_*, std::vector<std::size_t>> groups_of_;
  std::vector<const Term_*> open_;   // work stack of add()
  hsh::HashSet<const Term_*> seen_;  // terms that add() visited
};

/// The partition of one group's sub-tree against the rest, for the engine's classifier.
class Partition final : public itp::AtomColouring {
 public:
  Partition(std::shared_ptr<const Grouping> grouping, std::size_t root);

  [[nodiscard]] status atom_colour(const Term_* atom) const override;
  [[nodiscard]] status term_colour(const Term_* term) const override;
  void enter_atom(const Term_* atom, status colour) override;

 private:
  std::shared_ptr<const Grouping> grouping_;
  const std::size_t root_;
  hsh::HashMap<const Term_*, status> entered_;
};

}  // namespace opal::host

#endif
