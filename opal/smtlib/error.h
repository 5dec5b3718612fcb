#ifndef OPAL_SMTLIB_ERROR_H
#define OPAL_SMTLIB_ERROR_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace opal::smtlib {

/// A place in the input; lines and columns (in bytes) are counted from 1.
struct Position {
  std::uint32_t line = 1;
  std::uint32_t column = 1;
};

/// A mistake in the input, at a place in it. The command at hand is given up; the next one
/// is read as if nothing had happened.
class Error : public std::runtime_error {
 public:
  Error(Position at, const std::string& what) : std::runtime_error(what), position(at) {}

  const Position position;
};

}  // namespace opal::smtlib

#endif
