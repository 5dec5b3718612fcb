#ifndef OPAL_SIMPLIFY_CONNECTIVE_H
#define OPAL_SIMPLIFY_CONNECTIVE_H

#include <cstdint>

namespace opal::host {

/// The connectives that simplified formulas are made of, besides negations of atoms.
enum class Connective : std::uint8_t { AND, OR };

/// The other connective: what `c` becomes under a negation.
constexpr Connective dual(Connective c) {
  return c == Connective::AND ? Connective::OR : Connective::AND;
}

}  // namespace opal::host

#endif
