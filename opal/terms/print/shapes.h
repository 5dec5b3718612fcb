#ifndef OPAL_TERMS_PRINT_SHAPES_H
#define OPAL_TERMS_PRINT_SHAPES_H

#include <cstdint>
#include <string>
#include <vector>

#include "opal/terms/terms.h"

// How single terms are written; printer.cpp walks over them.
namespace opal::host::printing {

/// What stands at a place, which decides how numerals and Int terms are written there.
enum class Place : std::uint8_t { FORMULA, INTEGER, REAL };

struct Node {
  const Term_* term;
  Place place;

  [[nodiscard]] std::uint64_t key() const {
    return term->id() * 4 + static_cast<std::uint64_t>(place);
  }
};

/// How a node is written: the head, its children separated by blanks, the tail.
struct Shape {
  std::string head;
  std::string tail;
  std::vector<Node> children;
};

/// The shape of a node with all its arguments as children, or with those of its arguments
/// that its text has. `real` is the sort of an atom between numerals.
///
/// floor(t/n) over an Int t is (div t n), another floor (to_int t); t - n*floor(t/n) over
/// an Int t is (mod t n), and t = r modulo n is (= (mod t n) r).
Shape shape_of(const Node& node, bool real);

/// Whether a term is a sum that is written as (mod t n).
bool is_integer_remainder(const Term_* t);

}  // namespace opal::host::printing

#endif
