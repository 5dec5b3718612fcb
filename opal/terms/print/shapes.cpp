// How single terms are written in SMT-LIB: a head, children between blanks, a tail.
//
//     a + b                        "(+ "        a, b       ")"
//     a /= b                       "(not (= "   a, b       "))"
//     floor(1/2 * x), x an Int     "(div "      x          " 2)"
//     x - 2*floor(1/2 * x)         "(mod "      x          " 2)"
//     x = y + 3 modulo 8           "(= (mod (- " x, y      ") 8) 3)"
//
// The place of a child says whether numerals stand among Ints or Reals there.

#include "opal/terms/print/shapes.h"

#include <cassert>
#include <utility>

#include "opal/terms/print/printer.h"

namespace opal::host::printing {

namespace {

bool is_comparison(Kind kind) {
  return kind == Kind::LEQ || kind == Kind::LT || kind == Kind::EQ || kind == Kind::NEQ;
}

// The place of both sides of a comparison; `real` decides between numerals.
Place comparison_place(const Term_* t, bool real) {
  assert(is_comparison(Terms::kind_of(t)) && t->num_args() == 2);
  bool numerals = true;
  for (const Term_* side : *t) {
    if (Terms::sort_of(side) == Sort::BOOL) return Place::FORMULA;
    if (Terms::sort_of(side) == Sort::REAL) return Place::REAL;
    numerals = numerals && Terms::is_numeral(side);
  }
  return numerals && real ? Place::REAL : Place::INTEGER;
}

// The term u and number L > 1 when `t` is the floor of u/L over an Int u.
struct IntegerDivision {
  const Term_* dividend = nullptr;
  QNumber divisor;
};
IntegerDivision integer_division(const Term_* t) {
  assert(Terms::kind_of(t) == Kind::FLOOR);
  const Term_* product = t->arg(0);
  if (Terms::kind_of(product) != Kind::TIMES || !Terms::is_numeral(product->arg(0))) {
    return {};
  }
  const QNumber& factor = Terms::symbol_of(product->arg(0)).value;
  const Term_* dividend = product->arg(1);
  if (factor.get_num() != QNumber(1) || factor.is_integer() ||
      Terms::sort_of(dividend) != Sort::INT) {
    return {};
  }
  assert(QNumber(1) < factor.get_den());
  return {dividend, factor.get_den()};
}

// Whether `t` is u - m*floor(u/m) over an Int u, as built: the remainder of u. Then u is
// the first summand.
IntegerDivision integer_remainder(const Term_* t) {
  assert(Terms::kind_of(t) == Kind::PLUS);
  const Term_* product = t->arg(1);
  if (Terms::sort_of(t) != Sort::INT || Terms::kind_of(product) != Kind::TIMES ||
      !Terms::is_numeral(product->arg(0)) ||
      Terms::kind_of(product->arg(1)) != Kind::FLOOR) {
    return {};
  }
  const IntegerDivision division = integer_division(product->arg(1));
  const QNumber factor = Terms::symbol_of(product->arg(0)).value;
  const bool matches = division.dividend == t->arg(0) && division.divisor == factor.neg();
  return matches ? division : IntegerDivision{};
}

}  // namespace

bool is_integer_remainder(const Term_* t) {
  return Terms::kind_of(t) == Kind::PLUS && integer_remainder(t).dividend != nullptr;
}

namespace {

Shape leaf_shape(const Node& node) {
  const TermSymbol& symbol = Terms::symbol_of(node.term);
  switch (symbol.kind) {
    case Kind::TRUE: return {"true", "", {}};
    case Kind::FALSE: return {"false", "", {}};
    case Kind::NUMERAL: {
      const bool real = node.place == Place::REAL || !symbol.value.is_integer();
      return {number_text(symbol.value, real ? Sort::REAL : Sort::INT), "", {}};
    }
    default: break;
  }
  assert(symbol.kind == Kind::VARIABLE);
  if (node.place == Place::REAL && symbol.sort == Sort::INT) {
    return {"(to_real " + symbol_text(symbol.name) + ")", "", {}};
  }
  return {symbol_text(symbol.name), "", {}};
}

Shape floor_shape(const Node& node) {
  assert(node.place != Place::FORMULA);
  const IntegerDivision division = integer_division(node.term);
  Shape shape;
  if (division.dividend != nullptr) {
    const std::string divisor = number_text(division.divisor, Sort::INT);
    shape = {"(div ", " " + divisor + ")", {{division.dividend, Place::INTEGER}}};
  } else {
    shape = {"(to_int ", ")", {{node.term->arg(0), Place::REAL}}};
  }
  if (node.place == Place::REAL) {
    shape.head.insert(0, "(to_real ");
    shape.tail += ")";
  }
  return shape;
}

Shape remainder_shape(const Node& node) {
  const IntegerDivision division = integer_remainder(node.term);
  assert(division.dividend != nullptr && node.place != Place::FORMULA);
  Shape shape{"(mod ", " " + number_text(division.divisor, Sort::INT) + ")", {}};
  shape.children.push_back({division.dividend, Place::INTEGER});
  if (node.place == Place::REAL) {
    shape.head.insert(0, "(to_real ");
    shape.tail += ")";
  }
  return shape;
}

// a = b modulo m is (= (mod (- a b) m) 0); a residue r in 0 .. m-1 in b, alone or as the
// last summand, takes the place of the 0. A quotient of Reals has to be an integer.
Shape congruence_shape(const Term_* t) {
  const Term_* a = t->arg(0);
  const Term_* b = t->arg(1);
  const QNumber modulus = abs(Terms::symbol_of(t).value);
  assert(Terms::kind_of(t) == Kind::CONGRUENCE && modulus.sign() > 0);
  if (Terms::sort_of(a) != Sort::INT || Terms::sort_of(b) != Sort::INT) {
    return {"(is_int (* " + number_text(modulus.inv(), Sort::REAL) + " (- ",
            ")))",
            {{a, Place::REAL}, {b, Place::REAL}}};
  }
  const auto is_residue = [&](const Term_* u) {
    if (!Terms::is_numeral(u)) return false;
    const QNumber& value = Terms::symbol_of(u).value;
    return value.sign() >= 0 && value < modulus;
  };
  const auto tail = [&](const Term_* residue) {
    const QNumber r = residue == nullptr ? QNumber() : Terms::symbol_of(residue).value;
    return " " + number_text(modulus, Sort::INT) + ") " + number_text(r, Sort::INT) + ")";
  };
  if (is_residue(b)) return {"(= (mod ", tail(b), {{a, Place::INTEGER}}};
  const Term_* residue = nullptr;
  if (Terms::kind_of(b) == Kind::PLUS && !is_integer_remainder(b) &&
      is_residue(b->arg(1))) {
    residue = b->arg(1);
    b = b->arg(0);
  }
  return {"(= (mod (- ", ")" + tail(residue), {{a, Place::INTEGER}, {b, Place::INTEGER}}};
}

}  // namespace

Shape shape_of(const Node& node, bool real) {
  const TermSymbol& symbol = Terms::symbol_of(node.term);
  assert((symbol.sort == Sort::BOOL) == (node.place == Place::FORMULA));
  Shape shape{"", ")", {}};
  Place place = Place::FORMULA;
  switch (symbol.kind) {
    case Kind::TRUE:
    case Kind::FALSE:
    case Kind::NUMERAL:
    case Kind::VARIABLE: return leaf_shape(node);
    case Kind::FLOOR: return floor_shape(node);
    case Kind::TO_REAL: return {"(to_real ", ")", {{node.term->arg(0), Place::INTEGER}}};
    case Kind::NOT: shape.head = "(not "; break;
    case Kind::AND: shape.head = "(and "; break;
    case Kind::OR: shape.head = "(or "; break;
    case Kind::CONGRUENCE: return congruence_shape(node.term);
    case Kind::PLUS:
      if (is_integer_remainder(node.term)) return remainder_shape(node);
      shape.head = "(+ ";
      place = node.place;
      break;
    case Kind::TIMES:
      shape.head = "(* ";
      place = node.place;
      break;
    case Kind::ITE:
      return {"(ite ",
              ")",
              {{node.term->arg(0), Place::FORMULA},
               {node.term->arg(1), node.place},
               {node.term->arg(2), node.place}}};
    case Kind::LEQ: shape.head = "(<= "; break;
    case Kind::LT: shape.head = "(< "; break;
    case Kind::EQ: shape.head = "(= "; break;
    case Kind::NEQ:
      shape.head = "(not (= ";
      shape.tail = "))";
      break;
  }
  if (is_comparison(symbol.kind)) place = comparison_place(node.term, real);
  assert(!shape.head.empty());
  for (const Term_* arg : *node.term)
    shape.children.push_back({arg, place});
  return shape;
}

}  // namespace opal::host::printing
