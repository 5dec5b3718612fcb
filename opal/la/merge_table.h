#ifndef OPAL_LA_MERGE_TABLE_H
#define OPAL_LA_MERGE_TABLE_H

#include <cstddef>
#include <vector>

#include "opal/la/interpolator.h"

namespace opal::la {

/// Merges the pairs of a coefficient list by a table of where each variable occurs. Its
/// order of iteration is that of a new hash table into which the variables are inserted
/// one after the other; the merged pairs come in the order of their first variables there,
/// whatever the addresses of constraints are. Between merges it keeps its memory.
///
///     occurrences_ of x3 ->  pair 0, pair 2        pairs_  0: x3 - 2*x5
///                  x5 ->  pair 0                           1: x4
///                  x4 ->  pair 1                           2: x3 + 1
///
/// Invariant (is_normal): each variable of each pair that is there has that pair on its
/// chain. Pairs that were summed or written are null and stay on their chains.
class Interpolator::MergeTable {
 public:
  explicit MergeTable(Interpolator& engine) : engine_(engine) {}

  /// Sums the pairs that a variable links which may not stay, until none is linked, and
  /// puts them in order. No constraint may occur twice; if one did, `repeated` is how many
  /// pairs came before its last repetition, else 0.
  void merge(CoeffList& pairs, const TermSet& vars, std::size_t repeated);
  /// Puts pairs in order that are not linked.
  void order(CoeffList& pairs);

  /// The class invariant, for assertions.
  [[nodiscard]] bool is_normal() const;

 private:
  using Pair = CoeffList::value_type;
  static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

  /// The pair at an index, and the next occurrence of the same variable, or NONE.
  struct Occurrence {
    std::size_t pair;
    std::size_t next;
  };
  /// The occurrences of one variable, the earliest first.
  struct Chain {
    std::size_t head = NONE;
    std::size_t tail = NONE;
  };

  void fill(const CoeffList& pairs, std::size_t repeated);
  /// Appends a pair to the chain of one of its variables.
  void enter(Chain& chain, std::size_t pair);
  /// Looks at each variable once; false when nothing was linked.
  bool eliminate(const TermSet& vars);
  /// Replaces two pairs by their sum.
  void sum(std::size_t i, std::size_t j);
  /// Moves all pairs into a list, those without variables last.
  void write(CoeffList& pairs);
  /// The first occurrence from `i` on whose pair is there, or NONE.
  [[nodiscard]] std::size_t present(std::size_t i) const;

  Interpolator& engine_;
  hsh::HashMap<int, Chain> chains_;      // by variable
  std::vector<Occurrence> occurrences_;  // the links of all chains
  std::vector<Pair> pairs_;              // a null constraint: summed, or written
};

}  // namespace opal::la

#endif
