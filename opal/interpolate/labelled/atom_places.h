#ifndef OPAL_INTERPOLATE_LABELLED_ATOM_PLACES_H
#define OPAL_INTERPOLATE_LABELLED_ATOM_PLACES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "opal/interpolate/partition.h"
#include "opal/proofs/resolution/clause_refutation.h"

namespace opal::host {

/// What has a variable of a proof in one partition: A alone, B alone, or both.
enum class Side : std::uint8_t { A, B, BOTH };

/// Where the variables of a refutation lie in a tree of groups: one place each, which
/// serves all partitions.
///
///     an atom of input clauses    the lowest group whose sub-tree has all assertions in
///                                 whose clauses it occurs
///     an auxiliary                its assertion's group, by the same rule
///     an atom of lemmas only      the place of its symbols (Grouping::place_by_symbols)
///
/// Example. Groups 0, 1, 2 in a sequence; atom p occurs in clauses of 0 and 1, q in those
/// of 0 only. p lies at 1 and q at 0. In the partition of 0 both sides have p, in that of 1
/// A alone has it; q is A's in both.
class AtomPlaces {
 public:
  /// The place of an atom that mixes symbols of two sides.
  static constexpr std::size_t NO_PLACE = static_cast<std::size_t>(-1);

  /// `symbols` has the tree and the symbols of all assertions; `group_of`: the group of
  /// each assertion, which is never BACKGROUND.
  AtomPlaces(const resolution::ClauseRefutation& refutation,
             std::shared_ptr<const Grouping> symbols, std::vector<std::size_t> group_of);
  /// The same with places that are given, by variable.
  AtomPlaces(const resolution::ClauseRefutation& refutation,
             std::shared_ptr<const Grouping> symbols, std::vector<std::size_t> group_of,
             std::vector<std::size_t> places);

  [[nodiscard]] const Grouping& symbols() const { return *symbols_; }
  [[nodiscard]] const std::shared_ptr<const Grouping>& shared_symbols() const {
    return symbols_;
  }
  [[nodiscard]] std::size_t group_of(std::uint32_t assertion) const {
    return group_of_[assertion];
  }
  [[nodiscard]] std::size_t place(resolution::Variable variable) const {
    return places_[variable];
  }
  [[nodiscard]] const std::vector<std::size_t>& places() const { return places_; }
  /// In the partition of `root`: A when the place is in A, else BOTH when a clause of A has
  /// the variable, else B. Of a variable without a place: B.
  [[nodiscard]] Side side(resolution::Variable variable, std::size_t root) const;

 private:
  void collect_groups(const resolution::ClauseProof& proof);

  std::shared_ptr<const Grouping> symbols_;
  std::vector<std::size_t> group_of_;             // by assertion
  std::vector<std::size_t> places_;               // by variable
  std::vector<std::vector<std::size_t>> groups_;  // by variable: of its clauses, ascending
};

}  // namespace opal::host

#endif
