// The proofs of the clauses that a search has at the moment.
//
// Every clause of the search has an id here: a leaf with its literals and tag, or a chain
// of resolutions on earlier clauses (clause_proof.h says what a chain is). A clause is kept
// as long as somebody holds it: the search, once for each id that it was given and has not
// released, or a chain that uses it. What nobody holds any more goes at once, with all that
// only it has held, and the memory is taken up again when half of it is waste.
//
//     ProofStore store;
//     ClauseId ab = store.add_leaf(NodeKind::INPUT, {a, b}, 7);       // held by us
//     ClauseId na = store.add_leaf(NodeKind::INPUT, {~a}, 8);
//     ClauseId b_ = store.add_chain({ab, {{~a, na}}});                // {b}
//     store.release(ab);                                              // b_ still holds it
//     ClauseProof proof = store.extract(b_);
//
// Layout. Records of bytes, one after the other, in blocks of 64 KiB that records may
// cross:
//
//   leaf    header  size  tag  code code ...            literals sorted, as differences
//   chain   header  size  first  (pivot antecedent) ...
//
// all of them numbers of variable length, seven bits to a byte, so that a step takes about
// five bytes. The header is the id, or NO_CLAUSE when the record is waste; it always takes
// four bytes.
//
// Cost: adding is linear in the record; releasing is linear in what goes, without
// recursion; compaction is linear in the store and paid for by the waste that it takes up.

#ifndef OPAL_PROOFS_RESOLUTION_PROOF_STORE_H
#define OPAL_PROOFS_RESOLUTION_PROOF_STORE_H

#include <memory>
#include <vector>

#include "opal/proofs/resolution/clause_proof.h"

namespace opal::resolution {

/// Names a clause in a ProofStore; the ids of clauses that have gone are used again.
using ClauseId = std::uint32_t;
constexpr ClauseId NO_CLAUSE = 0xFFFFFFFFU;

/// A derivation on its way into the store, in the order in which it resolves.
struct Chain {
  struct Link {
    Literal pivot;  // in the antecedent; the clause so far has its negation
    ClauseId antecedent;
  };
  ClauseId first = NO_CLAUSE;
  std::vector<Link> links;

  void clear() {
    first = NO_CLAUSE;
    links.clear();
  }
};

class ProofStore {
 public:
  ProofStore() = default;
  ProofStore(const ProofStore&) = delete;
  ProofStore& operator=(const ProofStore&) = delete;

  /// A new leaf of kind INPUT or LEMMA, held once, by the caller. `literals` are sorted and
  /// different from each other.
  [[nodiscard]] ClauseId add_leaf(NodeKind kind, LiteralSpan literals, Tag tag);
  /// A new clause, held once, by the caller. A chain without links is its first clause, on
  /// which one more hold is taken.
  [[nodiscard]] ClauseId add_chain(const Chain& chain);
  /// Takes one more hold on `id`.
  void hold(ClauseId id);
  /// Gives back one hold on `id`.
  void release(ClauseId id);

  /// The proof of `id`, with what it needs and nothing else. Linear in that.
  [[nodiscard]] ClauseProof extract(ClauseId id) const;

  /// The number of clauses that are held.
  [[nodiscard]] std::size_t size() const { return held_; }
  /// The bytes that the store has asked for.
  [[nodiscard]] std::size_t bytes() const;

  /// Whether the counts of holds are at least those that chains have, every record belongs
  /// to the id in its header, and the waste adds up.
  [[nodiscard]] bool is_normal() const;

 private:
  using Offset = std::uint64_t;
  static constexpr std::size_t BLOCK_BITS = 16;
  static constexpr std::size_t BLOCK_SIZE = std::size_t{1} << BLOCK_BITS;
  static constexpr std::size_t HEADER_SIZE = 4;
  struct Entry {
    Offset record = 0;        // where the record begins
    std::uint32_t holds = 0;  // 0: the id is free
  };
  class Reader;
  class Extraction;

  void put_byte(std::uint8_t byte);
  void put_number(std::uint32_t number);
  void put_header(Offset at, ClauseId id);
  ClauseId begin_record();
  void drop(ClauseId id, std::vector<ClauseId>& unheld);
  void compact();

  std::vector<std::unique_ptr<std::uint8_t[]>> blocks_;  // the records
  Offset end_ = 0;                                       // behind the last record
  Offset waste_ = 0;              // bytes of records that nobody holds
  std::vector<Entry> entries_;    // by id
  std::vector<ClauseId> free_;    // ids without a clause
  std::vector<ClauseId> unheld_;  // working list of release(), empty between calls
  std::size_t held_ = 0;
};

}  // namespace opal::resolution

#endif
