// The clauses of a search, one behind the other in one array of words.
//
//   word 0    number of literals
//   word 1    bits: kind (2), garbage, moved, recent uses (2); above them the glue
//   word 2    id in the proof store, or NO_CLAUSE
//   word 3..  literals
//
// A clause is named by the index of its word 0, its ClauseRef. Garbage stays in place until
// the rest is moved to a new arena, in the order in which it is wanted there.

#ifndef OPAL_SAT_CLAUSE_ARENA_H
#define OPAL_SAT_CLAUSE_ARENA_H

#include <stdexcept>
#include <vector>

#include "opal/proofs/resolution/proof_store.h"

namespace opal::sat {

using resolution::ClauseId;
using resolution::Literal;
using resolution::LiteralSpan;
using resolution::NO_CLAUSE;

/// Names a clause in the arena.
using ClauseRef = std::uint32_t;
/// No clause: the reason of a decision and of everything at level 0.
constexpr ClauseRef NO_REF = 0xFFFFFFFFU;
/// Stands for the reason of a literal that the theory implied and has not explained.
constexpr ClauseRef THEORY_REF = 0xFFFFFFFEU;

/// What a clause is there for. A LEMMA is KEPT too, until it is asked away. An EXPLANATION
/// is the reason of one literal, is watched by nothing and goes when the literal loses its
/// value.
enum class ClauseKind : std::uint8_t { KEPT, LEMMA, LEARNED, EXPLANATION };

class Clause {
 public:
  explicit Clause(std::uint32_t* words) : words_(words) {}

  [[nodiscard]] std::uint32_t size() const { return words_[0]; }
  [[nodiscard]] ClauseKind kind() const { return static_cast<ClauseKind>(words_[1] & 3U); }
  [[nodiscard]] bool is_garbage() const { return (words_[1] & GARBAGE) != 0; }
  [[nodiscard]] std::uint32_t glue() const { return words_[1] >> GLUE_SHIFT; }
  /// How many reductions of the database the clause survives for having been used.
  [[nodiscard]] std::uint32_t uses() const { return (words_[1] >> USES_SHIFT) & 3U; }
  [[nodiscard]] ClauseId id() const { return words_[2]; }

  void set_garbage() { words_[1] |= GARBAGE; }
  void set_glue(std::uint32_t glue) {
    assert(glue <= size());
    words_[1] = (words_[1] & ((1U << GLUE_SHIFT) - 1)) | (glue << GLUE_SHIFT);
  }
  void set_uses(std::uint32_t uses) {
    assert(uses <= 3);
    words_[1] = (words_[1] & ~(3U << USES_SHIFT)) | (uses << USES_SHIFT);
  }

  Literal* begin() { return reinterpret_cast<Literal*>(words_ + HEADER); }
  Literal* end() { return begin() + size(); }
  Literal& operator[](std::uint32_t i) {
    assert(i < size());
    return begin()[i];
  }
  [[nodiscard]] LiteralSpan literals() { return {begin(), size()}; }

 private:
  friend class ClauseArena;
  static constexpr std::uint32_t HEADER = 3;
  static constexpr std::uint32_t GARBAGE = 4;
  static constexpr std::uint32_t MOVED = 8;
  static constexpr std::uint32_t USES_SHIFT = 4;
  static constexpr std::uint32_t GLUE_SHIFT = 6;
  static_assert(sizeof(Literal) == sizeof(std::uint32_t), "literals lie in words");

  std::uint32_t* words_;
};

class ClauseArena {
 public:
  /// Throws std::length_error when the arena is full (16 GiB).
  ClauseRef add(LiteralSpan literals, ClauseKind kind, std::uint32_t glue, ClauseId id) {
    assert(!literals.empty());
    const std::size_t ref = words_.size();
    if (ref + Clause::HEADER + literals.size() >= THEORY_REF)
      throw std::length_error("too many clauses: the limit is 16 GiB of them");
    words_.push_back(static_cast<std::uint32_t>(literals.size()));
    words_.push_back(static_cast<std::uint32_t>(kind) | (glue << Clause::GLUE_SHIFT));
    words_.push_back(id);
    for (const Literal literal : literals)
      words_.push_back(literal.code());
    return static_cast<ClauseRef>(ref);
  }

  /// Valid until a clause is added or moved.
  Clause operator[](ClauseRef ref) {
    assert(ref + Clause::HEADER < words_.size());
    return Clause(&words_[ref]);
  }

  void mark_garbage(ClauseRef ref) {
    Clause clause = (*this)[ref];
    assert(!clause.is_garbage());
    clause.set_garbage();
    garbage_ += Clause::HEADER + clause.size();
    assert(garbage_ <= words_.size());
  }

  /// The words that there are, and how many of them are garbage.
  [[nodiscard]] std::size_t size() const { return words_.size(); }
  [[nodiscard]] std::size_t garbage() const { return garbage_; }

  /// Calls visit(ref) for every clause that is not garbage, in order.
  template <typename Visitor>
  void for_each(Visitor visit) {
    for (std::size_t ref = 0; ref < words_.size(); ref += Clause::HEADER + words_[ref])
      if ((words_[ref + 1] & Clause::GARBAGE) == 0) visit(static_cast<ClauseRef>(ref));
  }

  /// Moves a clause to `target` unless it was moved already; where it is there. Its old
  /// place keeps the forwarding address only.
  ClauseRef move(ClauseRef ref, ClauseArena& target) {
    Clause clause = (*this)[ref];
    assert(!clause.is_garbage());
    if ((words_[ref + 1] & Clause::MOVED) != 0) return words_[ref + 2];
    const std::uint32_t* const begin = &words_[ref];
    const auto moved = static_cast<ClauseRef>(target.words_.size());
    target.words_.insert(target.words_.end(), begin,
                         begin + Clause::HEADER + clause.size());
    words_[ref + 1] |= Clause::MOVED;
    words_[ref + 2] = moved;
    return moved;
  }
  void reserve(std::size_t words) { words_.reserve(words); }

 private:
  std::vector<std::uint32_t> words_;
  std::size_t garbage_ = 0;  // words of clauses that are garbage
};

}  // namespace opal::sat

#endif
