#include <sstream>
#include <string_view>

#include "opal/capi/session.h"

using namespace opal::capi;
using opal::QNumber;
using opal::host::Expr;
using opal::host::Sort;

namespace {

constexpr const opal_term* NO_TERM = nullptr;

// The number of a text: a decimal, or a fraction of integers.
QNumber number_of(std::string_view text) {
  try {
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos) return QNumber::from_decimal(text);
    const QNumber numerator = QNumber::from_decimal(text.substr(0, slash));
    const QNumber denominator = QNumber::from_decimal(text.substr(slash + 1));
    if (numerator.is_integer() && denominator.is_integer() && denominator.sign() > 0)
      return numerator / denominator;
  } catch (const std::invalid_argument&) {
    // Said below.
  }
  throw Misuse("no number: " + std::string(text));
}

Sort sort_of(int sort) {
  switch (sort) {
    case OPAL_INT: return Sort::INT;
    case OPAL_REAL: return Sort::REAL;
    case OPAL_BOOL: return Sort::BOOL;
    default: throw Misuse("there is no such sort");
  }
}

const opal_term* truth(opal_session* session, bool value) {
  return guarded(session, NO_TERM, [&](opal_session& s) { return handle(s, Expr(value)); });
}

template <class Operation>
const opal_term* unary(opal_session* session, const opal_term* a, Operation operation) {
  return guarded(session, NO_TERM,
                 [&](opal_session& s) { return handle(s, operation(expression(s, a))); });
}

template <class Operation>
const opal_term* binary(opal_session* session, const opal_term* a, const opal_term* b,
                        Operation operation) {
  return guarded(session, NO_TERM, [&](opal_session& s) {
    return handle(s, operation(expression(s, a), expression(s, b)));
  });
}

}  // namespace

const opal_term* opal_variable(opal_session* session, const char* name, int sort) {
  return guarded(session, NO_TERM, [&](opal_session& s) {
    const std::string text = present(name, "the name of a variable");
    if (text.find_first_of("|\\") != std::string::npos)
      throw Misuse("the name of a variable has | or \\: " + text);
    return handle(s, s.session.declare(text, sort_of(sort)));
  });
}

const opal_term* opal_integer(opal_session* session, int64_t value) {
  return guarded(session, NO_TERM, [&](opal_session& s) { return handle(s, Expr(value)); });
}

const opal_term* opal_number(opal_session* session, const char* text) {
  return guarded(session, NO_TERM, [&](opal_session& s) {
    return handle(s, Expr(number_of(present(text, "the text of a number"))));
  });
}

const opal_term* opal_add(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l + r; });
}
const opal_term* opal_sub(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l - r; });
}
const opal_term* opal_mul(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l * r; });
}
const opal_term* opal_div(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l / r; });
}
const opal_term* opal_floor(opal_session* s, const opal_term* a) {
  return unary(s, a, [](const Expr& e) { return floor(e); });
}
const opal_term* opal_le(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l <= r; });
}
const opal_term* opal_lt(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l < r; });
}
const opal_term* opal_eq(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l == r; });
}
const opal_term* opal_ne(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l != r; });
}
const opal_term* opal_congruent(opal_session* s, const opal_term* a, const opal_term* b,
                                int64_t modulus) {
  return binary(s, a, b, [&](const Expr& l, const Expr& r) {
    return congruent(l, r, QNumber(modulus));
  });
}
const opal_term* opal_true(opal_session* s) { return truth(s, true); }
const opal_term* opal_false(opal_session* s) { return truth(s, false); }
const opal_term* opal_and(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l && r; });
}
const opal_term* opal_or(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return l || r; });
}
const opal_term* opal_implies(opal_session* s, const opal_term* a, const opal_term* b) {
  return binary(s, a, b, [](const Expr& l, const Expr& r) { return implies(l, r); });
}
const opal_term* opal_not(opal_session* s, const opal_term* a) {
  return unary(s, a, [](const Expr& e) { return !e; });
}
const opal_term* opal_ite(opal_session* session, const opal_term* condition,
                          const opal_term* a, const opal_term* b) {
  return guarded(session, NO_TERM, [&](opal_session& s) {
    return handle(s, ite(expression(s, condition), expression(s, a), expression(s, b)));
  });
}

char* opal_term_text(opal_session* session, const opal_term* term) {
  return guarded<char*>(session, nullptr, [&](opal_session& s) {
    std::ostringstream out;  // to_string() is for messages, which it keeps short
    out << expression(s, term);
    return copied(out.str());
  });
}
