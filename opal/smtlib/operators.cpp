#include "opal/smtlib/operators.h"

#include <cassert>
#include <limits>
#include <unordered_map>

namespace opal::smtlib {

using host::Sort;
using host::Terms;

namespace {

constexpr std::size_t MANY = std::numeric_limits<std::size_t>::max();

// What an operator asks of its arguments.
enum class Signature : std::uint8_t {
  REALS,  // all Real
  BOOLS,  // all Bool
  ALIKE,  // all of one sort
  CHOICE  // Bool, and two of one sort
};

struct Profile {
  std::string_view name;
  Operator op;
  Signature signature;
  std::size_t least;
  std::size_t most;
};

constexpr Profile PROFILES[] = {
    {"+", Operator::PLUS, Signature::REALS, 1, MANY},
    {"-", Operator::MINUS, Signature::REALS, 1, MANY},
    {"*", Operator::TIMES, Signature::REALS, 1, MANY},
    {"/", Operator::DIVIDE, Signature::REALS, 2, MANY},
    {"to_real", Operator::TO_REAL, Signature::REALS, 1, 1},
    {"<=", Operator::LEQ, Signature::REALS, 2, MANY},
    {"<", Operator::LT, Signature::REALS, 2, MANY},
    {">=", Operator::GEQ, Signature::REALS, 2, MANY},
    {">", Operator::GT, Signature::REALS, 2, MANY},
    {"=", Operator::EQUAL, Signature::ALIKE, 2, MANY},
    {"distinct", Operator::DISTINCT, Signature::ALIKE, 2, MANY},
    {"not", Operator::NOT, Signature::BOOLS, 1, 1},
    {"and", Operator::AND, Signature::BOOLS, 1, MANY},
    {"or", Operator::OR, Signature::BOOLS, 1, MANY},
    {"=>", Operator::IMPLIES, Signature::BOOLS, 2, MANY},
    {"xor", Operator::XOR, Signature::BOOLS, 2, MANY},
    {"ite", Operator::ITE, Signature::CHOICE, 3, 3},
};

const Profile& profile_of(Operator op) {
  const Profile& profile = PROFILES[static_cast<std::size_t>(op)];
  assert(profile.op == op);
  return profile;
}

// Bool or Real; a numeral is a Real here whatever its value.
Sort sort_of(const Term_* t) {
  return Terms::sort_of(t) == Sort::BOOL ? Sort::BOOL : Sort::REAL;
}

void expect_sort(const Profile& profile, Arguments args, std::size_t i, Sort expected) {
  if (sort_of(args[i]) == expected) return;
  throw OperatorError("sort mismatch: argument " + std::to_string(i + 1) + " of " +
                          std::string(profile.name) + " is " + to_string(sort_of(args[i])) +
                          ", expected " + to_string(expected),
                      i);
}

void check_arguments(const Profile& profile, Arguments args) {
  if (args.count < profile.least || args.count > profile.most) {
    std::string expected = std::to_string(profile.least);
    if (profile.most == MANY) expected = "at least " + expected;
    throw OperatorError(std::string(profile.name) + " takes " + expected +
                        (profile.least == 1 ? " argument, not " : " arguments, not ") +
                        std::to_string(args.count));
  }
  const bool choice = profile.signature == Signature::CHOICE;
  if (choice) expect_sort(profile, args, 0, Sort::BOOL);
  const std::size_t start = choice ? 1 : 0;
  Sort expected = sort_of(args[start]);
  if (profile.signature == Signature::REALS) expected = Sort::REAL;
  if (profile.signature == Signature::BOOLS) expected = Sort::BOOL;
  for (std::size_t i = start; i < args.count; ++i)
    expect_sort(profile, args, i, expected);
}

const QNumber& value_of(const Term_* numeral) { return Terms::symbol_of(numeral).value; }

const Term_* scaled(Terms& terms, const QNumber& factor, const Term_* t) {
  if (Terms::is_numeral(t)) return terms.make_number(factor * value_of(t));
  return factor == QNumber(1) ? t : terms.make_times(terms.make_number(factor), t);
}

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
  QNumber divisor(1);
  for (std::size_t i = 1; i < args.count; ++i) {
    if (!Terms::is_numeral(args[i])) {
      throw OperatorError("division by a term that is not constant", i);
    }
    if (value_of(args[i]).is_zero()) throw OperatorError("division by zero");
    divisor *= value_of(args[i]);
  }
  return scaled(terms, divisor.inv(), args[0]);
}

const Term_* equivalent(Terms& terms, const Term_* a, const Term_* b) {
  return terms.make_and(terms.make_or(terms.make_not(a), b),
                        terms.make_or(a, terms.make_not(b)));
}

const Term_* exclusive(Terms& terms, const Term_* a, const Term_* b) {
  return terms.make_and(terms.make_or(a, b),
                        terms.make_or(terms.make_not(a), terms.make_not(b)));
}

const Term_* related(Terms& terms, Operator op, const Term_* a, const Term_* b) {
  const bool formulas = sort_of(a) == Sort::BOOL;
  switch (op) {
    case Operator::LEQ: return terms.make_leq(a, b);
    case Operator::LT: return terms.make_lt(a, b);
    case Operator::GEQ: return terms.make_leq(b, a);
    case Operator::GT: return terms.make_lt(b, a);
    case Operator::EQUAL:
      return formulas ? equivalent(terms, a, b) : terms.make_equal(a, b);
    default: return formulas ? exclusive(terms, a, b) : terms.make_distinct(a, b);
  }
}

const Term_* chain(Terms& terms, Operator op, Arguments args) {
  const Term_* result = related(terms, op, args[0], args[1]);
  for (std::size_t i = 2; i < args.count; ++i) {
    result = terms.make_and(result, related(terms, op, args[i - 1], args[i]));
  }
  return result;
}

const Term_* all_distinct(Terms& terms, Arguments args) {
  constexpr std::size_t MOST = 4096;  // which are 8 million pairs
  if (args.count > MOST) {
    throw OperatorError("distinct of more than " + std::to_string(MOST) +
                        " terms is not supported");
  }
  const Term_* result = related(terms, Operator::DISTINCT, args[0], args[1]);
  for (std::size_t i = 2; i < args.count; ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      result = terms.make_and(result, related(terms, Operator::DISTINCT, args[j], args[i]));
    }
  }
  return result;
}

// Right-associative: a => (b => c).
const Term_* implication(Terms& terms, Arguments args) {
  const Term_* result = args[args.count - 1];
  for (std::size_t i = args.count - 1; i-- > 0;) {
    result = terms.make_or(terms.make_not(args[i]), result);
  }
  return result;
}

const Term_* connected(Terms& terms, Operator op, Arguments args) {
  const Term_* result = args[0];
  for (std::size_t i = 1; i < args.count; ++i) {
    result = op == Operator::AND  ? terms.make_and(result, args[i])
             : op == Operator::OR ? terms.make_or(result, args[i])
                                  : exclusive(terms, result, args[i]);
  }
  return result;
}

const Term_* choice(Terms& terms, Arguments args) {
  if (args[0] == terms.true_term()) return args[1];
  if (args[0] == terms.false_term()) return args[2];
  if (args[1] == args[2]) return args[1];
  if (sort_of(args[1]) != Sort::BOOL) {
    throw OperatorError("ite over a condition that is not constant is not supported");
  }
  return terms.make_and(terms.make_or(terms.make_not(args[0]), args[1]),
                        terms.make_or(args[0], args[2]));
}

}  // namespace

std::optional<Operator> operator_of(std::string_view name) {
  static const auto BY_NAME = [] {
    std::unordered_map<std::string_view, Operator> result;
    for (const Profile& profile : PROFILES)
      result.emplace(profile.name, profile.op);
    return result;
  }();
  const auto found = BY_NAME.find(name);
  if (found == BY_NAME.end()) return std::nullopt;
  return found->second;
}

std::string_view why_unavailable(std::string_view name) {
  for (const std::string_view integer :
       {"div", "mod", "abs", "to_int", "is_int", "divisible"}) {
    if (name == integer)
      return "is an operator on integers, which come with a later release";
  }
  if (name == "forall" || name == "exists")
    return "is a quantifier, which is not supported";
  if (name == "match" || name == "as" || name == "par") return "is not supported";
  return {};
}

const Term_* apply(Terms& terms, Operator op, Arguments args, bool products) {
  check_arguments(profile_of(op), args);
  switch (op) {
    case Operator::PLUS: return sum(terms, args);
    case Operator::MINUS: return difference(terms, args);
    case Operator::TIMES: return product(terms, args, products);
    case Operator::DIVIDE: return quotient(terms, args);
    case Operator::TO_REAL:
      if (Terms::is_numeral(args[0])) return args[0];
      throw OperatorError("sort mismatch: argument 1 of to_real is Real, expected Int", 0);
    case Operator::LEQ:
    case Operator::LT:
    case Operator::GEQ:
    case Operator::GT:
    case Operator::EQUAL: return chain(terms, op, args);
    case Operator::DISTINCT: return all_distinct(terms, args);
    case Operator::NOT: return terms.make_not(args[0]);
    case Operator::AND:
    case Operator::OR:
    case Operator::XOR: return connected(terms, op, args);
    case Operator::IMPLIES: return implication(terms, args);
    case Operator::ITE: return choice(terms, args);
  }
  assert(false);
  return nullptr;
}

}  // namespace opal::smtlib
