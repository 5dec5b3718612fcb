#ifndef OPAL_SMTLIB_OPERATORS_H
#define OPAL_SMTLIB_OPERATORS_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "opal/smtlib/sorts.h"
#include "opal/terms/terms.h"

namespace opal::smtlib {

/// The predefined functions over Bool, Int and Real.
enum class Operator : std::uint8_t {
  PLUS,
  MINUS,
  TIMES,
  DIVIDE,
  DIV,
  MOD,
  ABS,
  DIVISIBLE,
  TO_REAL,
  TO_INT,
  IS_INT,
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

/// The operator of a name in a logic over these numbers, or nothing. The functions that
/// take or make Ints are none over REALS: a script may declare their names there.
/// DIVISIBLE, which has an index, has no name.
std::optional<Operator> operator_of(std::string_view name, Numbers numbers);
/// Why a name is no function in a logic over these numbers although other logics or other
/// solvers know it as one, or "" for a name that is unknown everywhere.
std::string_view why_unavailable(std::string_view name, Numbers numbers);

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
  TypedTerm* first;
  std::size_t count;

  const Term_* operator[](std::size_t i) const {
    assert(i < count);
    return first[i].term;
  }
  [[nodiscard]] host::Sort sort(std::size_t i) const {
    assert(i < count);
    return first[i].sort;
  }
};

/// The products that may be built: with one factor at most that is no numeral, or any, as
/// in the body of a definition, where an application may make them linear.
enum class Products : std::uint8_t { LINEAR, ANY };

/// How an operator is applied.
struct Application {
  Operator op;
  Numbers numbers;  // of the logic
  Products products = Products::LINEAR;
  QNumber index = QNumber();  // of DIVISIBLE, a positive integer
};

/// The term of an application. Relations are chained, sums, products and connectives take
/// any number of arguments, `distinct` is a conjunction over all pairs. Ints among Reals
/// become Reals: `args` is changed to say so. Throws OperatorError.
TypedTerm apply(host::Terms& terms, const Application& application, Arguments args);

}  // namespace opal::smtlib

#endif
