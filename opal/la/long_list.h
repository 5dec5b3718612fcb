#ifndef OPAL_LA_LONG_LIST_H
#define OPAL_LA_LONG_LIST_H

#include <cstddef>

#include "opal/la/interpolator.h"

namespace opal::la {

/// An index of one coefficient list by variable, with which a constraint is merged into
/// the list in time linear in what it touches, however long the list is. It serves chains
/// of combinations whose list keeps growing: the list is handed from node to node, and its
/// index with it. Meanwhile its pairs are in the order in which they came; settle() gives
/// them that of any other merge.
///
/// Invariant (is_normal): the list is closed, and position_of_[v] is that of the pair which
/// holds v, for every variable v that is eliminable. Variables only ever cease to be
/// eliminable: entries of those that have are not kept up, and not trusted.
class Interpolator::LongList {
 public:
  /// Lists of at most this many pairs are handled without an index.
  static constexpr std::size_t SHORT = 16;

  /// Keeps references to both, whose set may grow meanwhile.
  LongList(Interpolator& engine, const TermSet& vars) : engine_(engine), vars_(vars) {}

  /// Makes `list`, which is closed, the indexed list, unless it is that already. Nobody
  /// else changes it until the next attach, settle or forget.
  void attach(CoeffList& list);
  /// Puts the list of a node in order, if it has one that was extended.
  void settle(proof::Proof* node);
  /// The list is about to go: what is known of it is dropped.
  void forget(const CoeffList* list);
  /// True when the list holds this very constraint.
  [[nodiscard]] bool holds(Equation* e) const { return constraints_.contains(e); }
  /// Merges a constraint that the list does not hold into it.
  void add(QNumber* multiplier, Equation* e);

  /// The class invariant, for assertions. Linear in the list.
  [[nodiscard]] bool is_normal() const;

 private:
  void remove(std::size_t position);
  void note_position(const Equation& e, std::size_t position);
  /// The position of a constraint that an eliminable variable links to `e`, or size().
  [[nodiscard]] std::size_t linked_position(const Equation& e) const;

  Interpolator& engine_;
  const TermSet& vars_;
  CoeffList* list_ = nullptr;                   // the indexed list, or null
  hsh::HashMap<int, std::size_t> position_of_;  // by variable
  hsh::HashSet<Equation*> constraints_;         // those of the list
  bool is_settled_ = true;                      // whether the indexed list is in order
  hsh::HashSet<const CoeffList*> unsettled_;    // all lists that are not
};

}  // namespace opal::la

#endif
