#ifndef OPAL_INTERFACES_TERM_H
#define OPAL_INTERFACES_TERM_H

// Terms as the engine reads them, and literals.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "opal/utils/hash.h"

namespace opal {

/// The top of a term: a variable, a function, a connective, a numeral. Term managers
/// derive from it to keep what they know about a symbol.
class Symbol {
 public:
  explicit Symbol(std::size_t arity) : arity_(arity) {}
  Symbol(const Symbol&) = delete;
  Symbol& operator=(const Symbol&) = delete;
  virtual ~Symbol() = default;

  /// The number of arguments of every term with this symbol.
  [[nodiscard]] std::size_t arity() const { return arity_; }

 private:
  const std::size_t arity_;
};

/// A term node, made by a term manager only and handled as `const Term_*`. Nodes are
/// shared: whoever reads terms compares them by pointer, and never frees one.
///
/// In memory a node is its id, its symbol, and its symbol's arity of argument pointers:
///
///     | id_ | symbol_ | argument 0 | argument 1 | ...
class Term_ {
 public:
  Term_(const Term_&) = delete;
  Term_& operator=(const Term_&) = delete;

  /// Number of the term, unique in its manager and the term's hash value.
  [[nodiscard]] std::uint64_t id() const { return id_; }
  [[nodiscard]] const Symbol* symbol() const { return symbol_; }
  [[nodiscard]] std::size_t num_args() const { return symbol_->arity(); }
  [[nodiscard]] const Term_* arg(std::size_t i) const {
    assert(i < num_args());
    return begin()[i];
  }
  [[nodiscard]] const Term_* const* begin() const {
    return reinterpret_cast<const Term_* const*>(this + 1);
  }
  [[nodiscard]] const Term_* const* end() const { return begin() + num_args(); }

  /// Bytes of a node with `arity` arguments.
  static constexpr std::size_t size_of(std::size_t arity) {
    return sizeof(Term_) + arity * sizeof(const Term_*);
  }
  /// Builds a node in `memory` (size_of(symbol->arity()) bytes, aligned as a pointer),
  /// which the term manager owns. `args` has symbol->arity() terms.
  static const Term_* construct(void* memory, std::uint64_t id, const Symbol* symbol,
                                const Term_* const* args);

 private:
  Term_(std::uint64_t id, const Symbol* symbol) : id_(id), symbol_(symbol) {
    assert(symbol != nullptr);
  }

  const std::uint64_t id_;
  const Symbol* const symbol_;
};

static_assert(sizeof(Term_) % alignof(const Term_*) == 0,
              "the arguments follow the node without a gap");

/// A term pointer with a negation bit; the default is "no literal".
class TheoryLit {
 public:
  TheoryLit() = default;
  explicit TheoryLit(const Term_* atom, bool negated = false)
      : bits_(reinterpret_cast<std::uintptr_t>(atom) | (negated ? 1U : 0U)) {
    assert(reinterpret_cast<std::uintptr_t>(atom) % 2 == 0);
  }

  /// True for "no literal".
  [[nodiscard]] bool is_null() const { return bits_ == 0; }
  /// True for "no literal" and for its negation, which have no atom.
  [[nodiscard]] bool has_no_atom() const { return bits_ < 2; }
  [[nodiscard]] const Term_* atom() const {
    return reinterpret_cast<const Term_*>(bits_ & ~std::uintptr_t{1});
  }
  [[nodiscard]] bool is_negated() const { return (bits_ & 1U) != 0; }
  [[nodiscard]] std::uint64_t bits() const { return bits_; }

  /// The literal of the opposite sign.
  TheoryLit operator!() const {
    TheoryLit result;
    result.bits_ = bits_ ^ 1U;
    assert(result.is_negated() != is_negated() && result.atom() == atom());
    return result;
  }
  friend bool operator==(TheoryLit a, TheoryLit b) { return a.bits_ == b.bits_; }
  friend bool operator!=(TheoryLit a, TheoryLit b) { return a.bits_ != b.bits_; }

 private:
  std::uintptr_t bits_ = 0;
};

static_assert(sizeof(TheoryLit) == 8, "a literal is one 64-bit word");

namespace hsh {

/// Terms hash by their id, so that tables of terms iterate in the same order whatever
/// the addresses are.
template <>
struct hash<const Term_*> {
  std::uint64_t operator()(const Term_* t) const {
    assert(t != nullptr);
    return t->id();
  }
};

}  // namespace hsh
}  // namespace opal

#endif
