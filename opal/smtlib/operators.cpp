// The predefined functions: names and profiles in one table, and the terms that they make.
//
// An application passes three steps: the number of its arguments is checked; their sorts
// are made one, an Int among Reals read as a Real; then the term is built. Connectives with
// many arguments are nested on the left, `=>` on the right. Over formulas `=`, `xor` and
// `distinct` become
//
//     a = b      (and (or (not a) b) (or a (not b)))
//     a xor b    (and (or a b) (or (not a) (not b)))
//
// which Terms simplifies where an argument is constant. Cost: linear in the number of
// arguments, but `distinct`, which is a conjunction over all pairs.

#include "opal/smtlib/operators.h"

#include <cassert>
#include <limits>
#include <unordered_map>

#include "opal/smtlib/arithmetic.h"

namespace opal::smtlib {

using host::Sort;
using host::Terms;

namespace {

constexpr std::size_t MANY = std::numeric_limits<std::size_t>::max();

// What an operator asks of its arguments.
enum class Signature : std::uint8_t {
  NUMBERS,   // all Int or, if one is not, all read as Real
  REALS,     // all read as Real
  INTEGERS,  // all Int
  BOOLS,     // all Bool
  ALIKE,     // BOOLS or NUMBERS
  CHOICE     // Bool, and two ALIKE
};

struct Profile {
  std::string_view name;
  Operator op;
  Signature signature;
  std::size_t least;
  std::size_t most;
  bool integer = false;  // unknown to logics over Reals only
};

constexpr Profile PROFILES[] = {
    {"+", Operator::PLUS, Signature::NUMBERS, 1, MANY},
    {"-", Operator::MINUS, Signature::NUMBERS, 1, MANY},
    {"*", Operator::TIMES, Signature::NUMBERS, 1, MANY},
    {"/", Operator::DIVIDE, Signature::REALS, 2, MANY},
    {"div", Operator::DIV, Signature::INTEGERS, 2, MANY, true},
    {"mod", Operator::MOD, Signature::INTEGERS, 2, 2, true},
    {"abs", Operator::ABS, Signature::INTEGERS, 1, 1, true},
    {"divisible", Operator::DIVISIBLE, Signature::INTEGERS, 1, 1, true},
    {"to_real", Operator::TO_REAL, Signature::INTEGERS, 1, 1},
    {"to_int", Operator::TO_INT, Signature::REALS, 1, 1, true},
    {"is_int", Operator::IS_INT, Signature::REALS, 1, 1, true},
    {"<=", Operator::LEQ, Signature::NUMBERS, 2, MANY},
    {"<", Operator::LT, Signature::NUMBERS, 2, MANY},
    {">=", Operator::GEQ, Signature::NUMBERS, 2, MANY},
    {">", Operator::GT, Signature::NUMBERS, 2, MANY},
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
  assert(static_cast<std::size_t>(op) < std::size(PROFILES));
  const Profile& profile = PROFILES[static_cast<std::size_t>(op)];
  assert(profile.op == op);
  return profile;
}

[[noreturn]] void refuse_sort(const Profile& profile, Arguments args, std::size_t i,
                              const std::string& expected) {
  throw OperatorError("sort mismatch: argument " + std::to_string(i + 1) + " of " +
                          std::string(profile.name) + " is " + to_string(args.sort(i)) +
                          ", expected " + expected,
                      i);
}

void check_count(const Profile& profile, std::size_t count) {
  if (count >= profile.least && count <= profile.most) return;
  std::string expected = std::to_string(profile.least);
  if (profile.most == MANY) expected = "at least " + expected;
  throw OperatorError(std::string(profile.name) + " takes " + expected +
                      (profile.least == 1 ? " argument, not " : " arguments, not ") +
                      std::to_string(count));
}

// The sort of the arguments from `start` on: Bool, Int, or Real when they are mixed.
// Refuses Bool beside others.
Sort common_sort(const Profile& profile, Arguments args, std::size_t start) {
  assert(start < args.count);
  Sort common = args.sort(start);
  for (std::size_t i = start + 1; i < args.count; ++i) {
    const Sort sort = args.sort(i);
    if (sort == common) continue;
    if (sort == Sort::BOOL || common == Sort::BOOL) {
      refuse_sort(profile, args, i, to_string(common));
    }
    common = Sort::REAL;
  }
  return common;
}

Sort common_number_sort(const Profile& profile, Arguments args, Numbers numbers) {
  Sort common = Sort::INT;
  for (std::size_t i = 0; i < args.count; ++i) {
    if (args.sort(i) == Sort::BOOL) {
      refuse_sort(profile, args, i,
                  numbers == Numbers::REALS      ? "Real"
                  : numbers == Numbers::INTEGERS ? "Int"
                                                 : "Int or Real");
    }
    if (args.sort(i) == Sort::REAL) common = Sort::REAL;
  }
  return common;
}

// The sort of the arguments from `start` on, all of which have it afterwards.
Sort unify(Terms& terms, const Profile& profile, Numbers numbers, Arguments args,
           std::size_t start) {
  Sort common = Sort::BOOL;
  switch (profile.signature) {
    case Signature::NUMBERS: common = common_number_sort(profile, args, numbers); break;
    case Signature::REALS: common = Sort::REAL; break;
    case Signature::INTEGERS: common = Sort::INT; break;
    case Signature::BOOLS: break;
    case Signature::ALIKE:
    case Signature::CHOICE: common = common_sort(profile, args, start); break;
  }
  for (std::size_t i = start; i < args.count; ++i) {
    args.first[i] = read_as(terms, common, args.first[i]);
    if (args.sort(i) != common) refuse_sort(profile, args, i, to_string(common));
    assert(args.first[i].is_well_sorted());
  }
  return common;
}

const Term_* related(Terms& terms, Operator op, const Term_* a, const Term_* b) {
  assert((Terms::sort_of(a) == Sort::BOOL) == (Terms::sort_of(b) == Sort::BOOL));
  switch (op) {
    case Operator::LEQ: return terms.make_leq(a, b);
    case Operator::LT: return terms.make_lt(a, b);
    case Operator::GEQ: return terms.make_leq(b, a);
    case Operator::GT: return terms.make_lt(b, a);
    case Operator::EQUAL: return terms.make_equal(a, b);
    default: return terms.make_distinct(a, b);
  }
}

const Term_* chain(Terms& terms, Operator op, Arguments args) {
  assert(args.count >= 2);
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
  assert(args.count >= 2);
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
  assert(args.count >= 2);
  const Term_* result = args[args.count - 1];
  for (std::size_t i = args.count - 1; i-- > 0;) {
    result = terms.make_or(terms.make_not(args[i]), result);
  }
  return result;
}

const Term_* connected(Terms& terms, Operator op, Arguments args) {
  assert(op == Operator::AND || op == Operator::OR || op == Operator::XOR);
  const Term_* result = args[0];
  for (std::size_t i = 1; i < args.count; ++i) {
    result = op == Operator::AND  ? terms.make_and(result, args[i])
             : op == Operator::OR ? terms.make_or(result, args[i])
                                  : terms.make_distinct(result, args[i]);
  }
  return result;
}

const Term_* choice(Terms& terms, Arguments args) {
  assert(args.count == 3 && args.sort(0) == Sort::BOOL && args.sort(1) == args.sort(2));
  if (args[0] == terms.true_term()) return args[1];
  if (args[0] == terms.false_term()) return args[2];
  if (args[1] == args[2]) return args[1];
  return terms.make_ite(args[0], args[1], args[2], args.sort(1));
}

const Term_* formula(Terms& terms, Operator op, Arguments args) {
  switch (op) {
    case Operator::DISTINCT: return all_distinct(terms, args);
    case Operator::NOT: return terms.make_not(args[0]);
    case Operator::AND:
    case Operator::OR:
    case Operator::XOR: return connected(terms, op, args);
    case Operator::IMPLIES: return implication(terms, args);
    default: return chain(terms, op, args);
  }
}

}  // namespace

std::optional<Operator> operator_of(std::string_view name, Numbers numbers) {
  static const auto BY_NAME = [] {
    std::unordered_map<std::string_view, const Profile*> result;
    for (const Profile& profile : PROFILES) {
      if (profile.op != Operator::DIVISIBLE) result.emplace(profile.name, &profile);
    }
    return result;
  }();
  const auto found = BY_NAME.find(name);
  if (found == BY_NAME.end()) return std::nullopt;
  const Profile& profile = *found->second;
  if (profile.integer && numbers == Numbers::REALS) return std::nullopt;
  return profile.op;
}

std::string_view why_unavailable(std::string_view name, Numbers numbers) {
  if (name == "divisible" && numbers != Numbers::REALS)
    return "is written ((_ divisible n) t), n a numeral above 0";
  for (const Profile& profile : PROFILES) {
    if (profile.integer && profile.name == name)
      return "is an operator on integers, which the logic does not have";
  }
  if (name == "forall" || name == "exists")
    return "is a quantifier, which is not supported";
  if (name == "match" || name == "as" || name == "par") return "is not supported";
  return {};
}

TypedTerm apply(Terms& terms, const Application& application, Arguments args) {
  const Operator op = application.op;
  assert(args.count == 0 || args.first != nullptr);
  const Profile& profile = profile_of(op);
  check_count(profile, args.count);
  // A numeral of a logic without Ints may be converted all the same.
  if (op == Operator::TO_REAL && Terms::is_numeral(args[0])) {
    return {args[0], Sort::REAL};
  }
  const bool chooses = op == Operator::ITE;
  if (chooses && args.sort(0) != Sort::BOOL) refuse_sort(profile, args, 0, "Bool");
  const Sort sort = unify(terms, profile, application.numbers, args, chooses ? 1 : 0);
  const auto typed = [](const Term_* t, Sort s) {
    assert((TypedTerm{t, s}.is_well_sorted()));
    return TypedTerm{t, s};
  };
  switch (op) {
    case Operator::PLUS: return typed(sum(terms, args), sort);
    case Operator::MINUS: return typed(difference(terms, args), sort);
    case Operator::TIMES: return typed(product(terms, args, application.products), sort);
    case Operator::DIVIDE: return typed(quotient(terms, args), Sort::REAL);
    case Operator::DIV: return typed(integer_quotient(terms, args), Sort::INT);
    case Operator::MOD: return typed(remainder(terms, args), Sort::INT);
    case Operator::ABS: return typed(absolute(terms, args), Sort::INT);
    case Operator::DIVISIBLE:
      return typed(divisible(terms, args, application.index), Sort::BOOL);
    case Operator::TO_REAL: return typed(terms.make_to_real(args[0]), Sort::REAL);
    case Operator::TO_INT: return typed(floor_of(terms, args[0]), Sort::INT);
    case Operator::IS_INT: return typed(is_integer(terms, args[0]), Sort::BOOL);
    case Operator::ITE: return typed(choice(terms, args), sort);
    default: return typed(formula(terms, op, args), Sort::BOOL);
  }
}

}  // namespace opal::smtlib
