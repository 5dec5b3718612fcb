#ifndef OPAL_TERMS_TERMS_H
#define OPAL_TERMS_TERMS_H

#include <cassert>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "opal/base/limits.h"
#include "opal/interfaces/term_manager.h"

namespace opal::host {

/// The sort of a term.
enum class Sort : std::uint8_t { BOOL, INT, REAL };
/// "Bool", "Int", "Real"
const char* to_string(Sort sort);

/// What a symbol is. PLUS and TIMES have the numbers by which the engine knows them.
enum class Kind : int {
  VARIABLE = 1,
  NUMERAL = 2,
  TRUE = 3,
  FALSE = 4,
  TO_REAL = 5,  // an Int as a Real
  FLOOR = 6,    // the greatest integer not above a Real or Int
  PLUS = TermManager::KIND_PLUS,
  TIMES = TermManager::KIND_TIMES,
  LEQ = 9,          // a <= b
  LT = 10,          // a < b
  EQ = 11,          // a = b
  NEQ = 12,         // a /= b
  CONGRUENCE = 13,  // the modulus divides a - b
  NOT = 14,
  AND = 15,
  OR = 16,
  ITE = 17  // a formula, and two terms of one sort: the first one if it holds
};

/// A symbol of the reference host. Numerals have no sort of their own: they fit an Int or
/// a Real position; `sort` of a numeral is INT when its value is an integer, else REAL.
class TermSymbol final : public Symbol {
 public:
  TermSymbol(Kind k, Sort s, std::size_t arity, std::string n, QNumber v)
      : Symbol(arity), kind(k), sort(s), name(std::move(n)), value(std::move(v)) {
    assert(name.empty() || kind == Kind::VARIABLE);
    assert(kind != Kind::CONGRUENCE || (value.is_integer() && !value.is_zero()));
    assert(kind != Kind::NUMERAL || (sort == Sort::INT) == value.is_integer());
  }

  const Kind kind;
  const Sort sort;         // of a term with this symbol
  const std::string name;  // of a variable, without bars
  const QNumber value;     // of a numeral; the modulus of a congruence
};

/// The hash-consing term manager of the reference host: equal constructions are one
/// pointer. Ids start at 1 and follow the order of construction. Terms live as long as
/// the manager.
///
/// With the term-building flag set, trivial terms are simplified: numerals are folded,
/// `1 * t` is t, `0 * t` is 0, `t + 0` is t, the floor of an Int is itself, true and false
/// disappear from connectives and from equalities between formulas, `not not t` is t, equal
/// operands of a connective are taken once, a choice that is known is made, and an atom
/// between two numerals is true or false. Nothing is flattened or reordered. Whatever the
/// flag, `to_real` of a numeral or of a Real is the term itself.
///
/// How terms are written down is not known here: programs make a PrintableTerms.
class Terms : public TermManager {
 public:
  Terms();
  ~Terms() override;

  /// Makes every construction poll the limits, so that whatever builds terms (a parser, an
  /// enumeration in the engine, the simplifier) ends at one: LimitReached passes through.
  /// Null for none. The limits must outlive their use.
  void set_limits(Limits* limits);

  void poll() final;

  // --- construction; see TermManager for the meaning
  using TermManager::make_number;
  const Term_* make_number(const QNumber& value) final;
  const Term_* make_plus(const Term_* a, const Term_* b) final;
  const Term_* make_times(const Term_* a, const Term_* b) final;
  const Term_* make_floor(const Term_* t) final;
  const Term_* make_leq(const Term_* a, const Term_* b) final;
  const Term_* make_equal(const Term_* a, const Term_* b) final;
  const Term_* make_int_modular_congruence(const QNumber& m, const Term_* a,
                                           const Term_* b) final;
  const Term_* make_not(const Term_* t) final;
  const Term_* make_and(const Term_* a, const Term_* b) final;
  const Term_* make_or(const Term_* a, const Term_* b) final;
  const Term_* make_term(const Symbol* symbol, const std::vector<const Term_*>& args) final;
  /// The variable (nullary function) of that name and sort; one term per name and sort.
  const Term_* make_variable(std::string_view name, Sort sort);
  /// A new variable in each call, which make_variable never returns. Its name is the prefix
  /// and a number; a prefix that no user's symbol begins with makes the name unique too.
  const Term_* make_fresh_variable(std::string_view prefix, Sort sort);
  const Term_* make_to_real(const Term_* t);
  const Term_* make_lt(const Term_* a, const Term_* b);
  /// a /= b; as in make_equal, both are formulas or neither is
  const Term_* make_distinct(const Term_* a, const Term_* b);
  /// `a` where the condition holds, else `b`: both formulas, or both numbers. `of_numerals`
  /// is the sort of a choice between two numerals that are integers, INT or REAL.
  const Term_* make_ite(const Term_* condition, const Term_* a, const Term_* b,
                        Sort of_numerals = Sort::INT);

  // --- symbols
  const Symbol* make_equality_symbol(const Type* type) final;
  const Symbol* make_int_modular_congruence_symbol(const QNumber& m) final;
  bool is_int_modular_congruence(const Symbol* symbol, QNumber* m) const final;
  bool is_interpreted(const Symbol* symbol) const final;
  bool is_equality(const Symbol* symbol) const final;
  bool is_number(const Symbol* symbol, QNumber* value) const final;
  int kind(const Symbol* symbol) const final;

  // --- queries; constant time
  static const TermSymbol& symbol_of(const Term_* t) {
    assert(t != nullptr);
    return static_cast<const TermSymbol&>(*t->symbol());
  }
  static Kind kind_of(const Term_* t) { return symbol_of(t).kind; }
  static Sort sort_of(const Term_* t) { return symbol_of(t).sort; }
  static bool is_numeral(const Term_* t) { return kind_of(t) == Kind::NUMERAL; }

  /// Whether a floor term has been made so far.
  [[nodiscard]] bool has_floors() const;
  /// The number of terms made so far.
  [[nodiscard]] std::size_t size() const;

 private:
  const Term_* apply(Kind kind, Sort sort, const Term_* a);
  const Term_* apply(Kind kind, Sort sort, const Term_* a, const Term_* b);
  [[nodiscard]] const Term_* truth(bool value) const;

  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace opal::host

#endif
