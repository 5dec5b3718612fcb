#include "opal/smtlib/arithmetic.h"

#include <cassert>

namespace opal::smtlib {

using host::Kind;
using host::Sort;
using host::Terms;

namespace {

const QNumber& value_of(const Term_* numeral) { return Terms::symbol_of(numeral).value; }

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
  const Term_* result = args[0];
  for (std::size_t i = 1; i < args.count; ++i)
    result = terms.make_plus(result, args[i]);
  return result;
}

const Term_* difference(Terms& terms, Arguments args) {
  if (args.count == 1) return scaled(terms, QNumber(-1), args[0]);
  const Term_* result = args[0];
  for (std::size_t i = 1; i < args.count; ++i) {
    result = terms.make_plus(result, scaled(terms, QNumber(-1), args[i]));
  }
  return result;
}

const Term_* product(Terms& terms, Arguments args, bool products) {
  QNumber factor(1);
  const Term_* rest = nullptr;
  for (std::size_t i = 0; i < args.count; ++i) {
    if (Terms::is_numeral(args[i])) {
      factor *= value_of(args[i]);
    } else if (rest == nullptr) {
      rest = args[i];
    } else if (products) {
      rest = terms.make_times(rest, args[i]);
    } else {
      throw OperatorError("non-linear product");
    }
  }
  return rest == nullptr ? terms.make_number(factor) : scaled(terms, factor, rest);
}

const Term_* quotient(Terms& terms, Arguments args) {
  QNumber whole(1);
  for (std::size_t i = 1; i < args.count; ++i)
    whole *= divisor(args, i);
  return scaled(terms, whole.inv(), args[0]);
}

const Term_* integer_quotient(Terms& terms, Arguments args) {
  const Term_* result = args[0];
  for (std::size_t i = 1; i < args.count; ++i) {
    const QNumber& k = divisor(args, i);
    const Term_* rounded = floor_of(terms, scaled(terms, abs(k).inv(), result));
    result = scaled(terms, QNumber(k.sign()), rounded);
  }
  return result;
}

const Term_* remainder(Terms& terms, Arguments args) {
  const QNumber k = abs(divisor(args, 1));
  const Term_* rounded = floor_of(terms, scaled(terms, k.inv(), args[0]));
  return terms.make_plus(args[0], scaled(terms, k.neg(), rounded));
}

const Term_* absolute(Terms& terms, Arguments args) {
  if (Terms::is_numeral(args[0])) return terms.make_number(abs(value_of(args[0])));
  const Term_* const negative = terms.make_times(terms.make_number(-1), args[0]);
  return terms.make_ite(terms.make_leq(terms.make_number(0), args[0]), args[0], negative);
}

const Term_* divisible(Terms& terms, Arguments args, const QNumber& n) {
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
