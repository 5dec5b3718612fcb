// Variables and literals of clauses, as numbers.
//
// The literal of variable v is 2v, its negation 2v + 1, so that arrays can be indexed by
// literals and a literal and its negation are neighbours in every order.

#ifndef OPAL_PROOFS_RESOLUTION_LITERAL_H
#define OPAL_PROOFS_RESOLUTION_LITERAL_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace opal::resolution {

/// A propositional variable; numbered from 0 in the order of creation.
using Variable = std::uint32_t;

/// No variable may have this number or a larger one.
constexpr Variable VARIABLE_END = 0x7FFFFFF0U;

enum class Sign : std::uint8_t { POSITIVE, NEGATIVE };

/// A variable or its negation.
class Literal {
 public:
  /// No literal at all: the default, equal to itself only.
  constexpr Literal() = default;
  constexpr explicit Literal(Variable variable) : code_(2 * variable) {}
  constexpr Literal(Variable variable, Sign sign)
      : code_(2 * variable + static_cast<std::uint32_t>(sign)) {}
  [[nodiscard]] static constexpr Literal of_code(std::uint32_t code) {
    Literal literal;
    literal.code_ = code;
    return literal;
  }

  [[nodiscard]] constexpr Variable variable() const { return code_ / 2; }
  [[nodiscard]] constexpr Sign sign() const { return static_cast<Sign>(code_ & 1U); }
  [[nodiscard]] constexpr bool is_negative() const { return (code_ & 1U) != 0; }
  [[nodiscard]] constexpr bool is_valid() const { return code_ != NO_CODE; }
  /// The number that indexes arrays: 2v, or 2v + 1 for the negation.
  [[nodiscard]] constexpr std::uint32_t code() const { return code_; }
  [[nodiscard]] constexpr Literal operator~() const { return of_code(code_ ^ 1U); }

  friend constexpr bool operator==(Literal a, Literal b) { return a.code_ == b.code_; }
  friend constexpr bool operator!=(Literal a, Literal b) { return a.code_ != b.code_; }
  friend constexpr bool operator<(Literal a, Literal b) { return a.code_ < b.code_; }

 private:
  static constexpr std::uint32_t NO_CODE = 0xFFFFFFFFU;
  std::uint32_t code_ = NO_CODE;
};

/// A view of literals that lie somewhere else, in one piece; valid as long as they are.
class LiteralSpan {
 public:
  constexpr LiteralSpan() = default;
  constexpr LiteralSpan(const Literal* literals, std::size_t size)
      : literals_(literals), size_(size) {}
  // NOLINTNEXTLINE(google-explicit-constructor): a view of what is given.
  LiteralSpan(const std::vector<Literal>& literals)
      : literals_(literals.data()), size_(literals.size()) {}

  [[nodiscard]] constexpr const Literal* begin() const { return literals_; }
  [[nodiscard]] constexpr const Literal* end() const { return literals_ + size_; }
  [[nodiscard]] constexpr std::size_t size() const { return size_; }
  [[nodiscard]] constexpr bool empty() const { return size_ == 0; }
  constexpr Literal operator[](std::size_t i) const {
    assert(i < size_);
    return literals_[i];
  }

 private:
  const Literal* literals_ = nullptr;
  std::size_t size_ = 0;
};

/// What the caller calls an input clause by (its assertion), or the theory a lemma.
using Tag = std::uint32_t;

}  // namespace opal::resolution

#endif
