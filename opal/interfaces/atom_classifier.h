#ifndef OPAL_INTERFACES_ATOM_CLASSIFIER_H
#define OPAL_INTERFACES_ATOM_CLASSIFIER_H

// On which side of a partition atoms and terms are.

#include <cassert>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "opal/interfaces/term.h"

namespace opal::itp {

class AtomColouring;

/// Says on which side of a partition an atom lies. A value: copies share the partition's
/// tables, so copying and flip() cost a pointer.
class TheoryAtomClassifier {
 public:
  /// The side of an atom or term.
  enum status : std::uint32_t {
    SHARED = 0,    // may belong to either side
    A_LOCAL = 1,   // belongs to A only
    B_LOCAL = 2,   // belongs to B only
    AB_MIXED = 3,  // mixes symbols local to A with symbols local to B
    UNKNOWN = 4    // not in the table of atoms
  };

  /// `colouring` is the host's partition; it must not be null.
  explicit TheoryAtomClassifier(std::shared_ptr<AtomColouring> colouring)
      : colouring_(std::move(colouring)) {
    assert(colouring_ != nullptr);
  }

  /// The side of an atom in the atom table; UNKNOWN when the table does not hold it.
  [[nodiscard]] status classify_atom(const Term_* atom) const;
  /// The side of any term, by its symbols when it is not in the table of atoms. The flag
  /// is reserved; the engine passes false.
  [[nodiscard]] status classify(const Term_* term, bool flag) const;

  [[nodiscard]] bool is_A_colorable(status s) const { return s == SHARED || s == A_LOCAL; }
  [[nodiscard]] bool is_B_colorable(status s) const { return s == SHARED || s == B_LOCAL; }

  /// The classifier of the same partition with A and B exchanged.
  [[nodiscard]] TheoryAtomClassifier flip() const;

  /// Enters an atom in the atom table as A's, as B's; an earlier entry is replaced.
  void add_A_atom(const Term_* atom);
  void add_B_atom(const Term_* atom);

  /// A text for people: "A", "B", "AB-shared", "AB-mixed", "unknown".
  [[nodiscard]] std::string to_str(status s) const;

 private:
  [[nodiscard]] status seen_from_here(status s) const;

  std::shared_ptr<AtomColouring> colouring_;
  bool flipped_ = false;
};

/// What a host implements: the colours of one partition into A and B, as the caller of
/// the engine sees it (the classifier does the exchange of sides).
///
/// An atom that was asserted on one side only has that side's colour, even if all its
/// symbols are shared: only an atom asserted on both sides is SHARED. Colouring such
/// atoms by their symbols would let an A constraint count as B's, which is unsound.
class AtomColouring {
 public:
  using status = TheoryAtomClassifier::status;

  AtomColouring() = default;
  AtomColouring(const AtomColouring&) = delete;
  AtomColouring& operator=(const AtomColouring&) = delete;
  virtual ~AtomColouring() = default;

  /// The colour of an atom in the table of atoms, else UNKNOWN.
  [[nodiscard]] virtual status atom_colour(const Term_* atom) const = 0;
  /// The colour of any term: that of the table of atoms when it holds the term, else by
  /// the term's symbols. UNKNOWN when a symbol belongs to neither side.
  [[nodiscard]] virtual status term_colour(const Term_* term) const = 0;
  /// Enters an atom with the colour A_LOCAL or B_LOCAL, replacing an earlier entry.
  virtual void enter_atom(const Term_* atom, status colour) = 0;
};

}  // namespace opal::itp

#endif
