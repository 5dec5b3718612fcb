#ifndef OPAL_SMTLIB_OPERATORS_H
#define OPAL_SMTLIB_OPERATORS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "opal/host/terms.h"

namespace opal::smtlib {

/// The predefined functions over Bool and Real.
enum class Operator : std::uint8_t {
  PLUS,
  MINUS,
  TIMES,
  DIVIDE,
  TO_REAL,
  LEQ,
  LT,
  GEQ,
  GT,
  EQUAL,
  DISTINCT,
  NOT,
  AND,
  OR,
  IMPLIES,
  XOR,
  ITE
};

/// The operator of a name, or nothing.
std::optional<Operator> operator_of(std::string_view name);
/// Why a name that others know as a function is none here, or "" for any other name.
std::string_view why_unavailable(std::string_view name);

/// An application that is wrong; what() says how.
class OperatorError : public std::runtime_error {
 public:
  static constexpr std::size_t ALL = static_cast<std::size_t>(-1);

  explicit OperatorError(const std::string& what, std::size_t at = ALL)
      : std::runtime_error(what), argument(at) {}

  const std::size_t argument;  // the one at fault, or ALL
};

/// Arguments, in order.
struct Arguments {
  const Term_* const* first;
  std::size_t count;

  const Term_* operator[](std::size_t i) const { return first[i]; }
};

/// The term of an application. Relations are chained, sums, products and connectives take
/// any number of arguments, `distinct` is a conjunction over all pairs. A product with two
/// factors that are not numerals is an error unless `products` is set.
/// Throws OperatorError.
const Term_* apply(host::Terms& terms, Operator op, Arguments args, bool products);

}  // namespace opal::smtlib

#endif
