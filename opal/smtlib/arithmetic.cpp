// Terms of the arithmetic functions.
//
// Whatever the functions are called, terms have sums, products with a numeral in front, and
// floors only: a - b is a + (-1)*b, t/k is (1/k)*t, and t div k and t mod k are floors as
// arithmetic.h says. Constants are folded where a factor or a divisor has to be one, so
// that (* (- 2 1) 3 x) is linear. Cost: linear in the number of arguments.

#include "opal/smtlib/arithmetic.h"

#include <cassert>

namespace opal::smtlib {

using host::Kind;
using host::Sort;
using host::Terms;

namespace {

const QNumber& value_of(const Term_* numeral) {
  assert(Terms::is_numeral(numeral));
  return Terms::symbol_of(numeral).value;
}

const Term_* scaled(Terms& terms, const QNumber& factor, const Term_* t) {
  if (Terms::is_numeral(t)) return terms.make_number(factor * value_of(t));
  return factor == QNumber(1) ? t : terms.make_times(terms.make_number(factor), t);
}

// The value of an argument that divides.
const QNumber& divisor(Arguments args, std::size_t i) {
  if (!Terms::is_numeral(args[i])) {
    throw OperatorError("division by a term that is not constant", i);
  }
  if (value_of(args[i]).is_zero()) throw OperatorError("division by zero");
  return value_of(args[i]);
}

}  // namespace

const Term_* sum(Terms& terms, Arguments args) {
  assert(args.count >= 1);
  const Term_* result = args[0];
  for (std::size_t i = 1; i < args.count; ++i)
    result = terms.make_plus(result, args[i]);
  return result;
}

const Term_* difference(Terms& terms, Arguments args) {
  assert(args.count >= 1);
  if (args.count == 1) return scaled(terms, QNumber(-1), args[0]);
  const Term_* result = args[0];
  for (std::size_t i = 1; i < args.count; ++i) {
    result = terms.make_plus(result, scaled(terms, QNumber(-1), args[i]));
  }
  return result;
}

const Term_* product(Terms& terms, Arguments args, Products allowed) {
  assert(args.count >= 1);
  QNumber factor(1);
  const Term_* rest = nullptr;
  for (std::size_t i = 0; i < args.count; ++i) {
    if (Terms::is_numeral(args[i])) {
      factor *= value_of(args[i]);
    } else if (rest == nullptr) {
      rest = args[i];
    } else if (allowed == Products::ANY) {
      rest = terms.make_times(rest, args[i]);
    } else {
      throw OperatorError("non-linear product");
    }
  }
  return rest == nullptr ? terms.make_number(factor) : scaled(terms, factor, rest);
}

const Term_* quotient(Terms& terms, Arguments args) {
  assert(args.count >= 2);
  QNumber whole(1);
  for (std::size_t i = 1; i < args.count; ++i)
    whole *= divisor(args, i);
  assert(!whole.is_zero());
  return scaled(terms, whole.inv(), args[0]);
}

const Term_* integer_quotient(Terms& terms, Arguments args) {
  assert(args.count >= 2 && args.sort(0) == Sort::INT);
  const Term_* result = args[0];
  for (std::size_t i = 1; i < args.count; ++i) {
    const QNumber& k = divisor(args, i);
    const Term_* rounded = floor_of(terms, scaled(terms, abs(k).inv(), result));
    result = scaled(terms, QNumber(k.sign()), rounded);
  }
  return result;
}

const Term_* remainder(Terms& terms, Arguments args) {
  assert(args.count == 2 && args.sort(0) == Sort::INT);
  const QNumber k = abs(divisor(args, 1));
  assert(k.sign() > 0);
  const Term_* rounded = floor_of(terms, scaled(terms, k.inv(), args[0]));
  return terms.make_plus(args[0], scaled(terms, k.neg(), rounded));
}

const Term_* absolute(Terms& terms, Arguments args) {
  assert(args.count == 1);
  if (Terms::is_numeral(args[0])) return terms.make_number(abs(value_of(args[0])));
  const Term_* const negative = terms.make_times(terms.make_number(-1), args[0]);
  return terms.make_ite(terms.make_leq(terms.make_number(0), args[0]), args[0], negative);
}

const Term_* divisible(Terms& terms, Arguments args, const QNumber& n) {
  assert(args.count == 1 && args.sort(0) == Sort::INT);
  assert(n.is_integer() && n.sign() > 0);
  return terms.make_int_modular_congruence(n, args[0], terms.make_number(0));
}

const Term_* floor_of(Terms& terms, const Term_* t) {
  return terms.make_floor(Terms::kind_of(t) == Kind::TO_REAL ? t->arg(0) : t);
}

const Term_* is_integer(Terms& terms, const Term_* t) {
  const Term_* rounded = terms.make_to_real(floor_of(terms, t));
  return rounded == t ? terms.true_term() : terms.make_equal(t, rounded);
}

}  // namespace opal::smtlib
