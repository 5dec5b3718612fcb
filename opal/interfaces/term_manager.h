#ifndef OPAL_INTERFACES_TERM_MANAGER_H
#define OPAL_INTERFACES_TERM_MANAGER_H

// The term manager of a host, in which interpolants are built.

#include <cassert>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <vector>

#include "opal/interfaces/term.h"
#include "opal/utils/qnumber.h"

namespace opal {

/// The sort of a term; what it holds is the term manager's own business.
class Type;

class TermPrinter;
struct ScriptStyle;

/// Builds and owns terms. The engine makes every interpolant through it.
///
/// A host implements it so that equal constructions give the same node, and so that no
/// node is freed while the manager lives. No operation may return null.
class TermManager {
 public:
  /// Kinds of symbols that the engine tells apart; all other numbers are the host's.
  enum SymbolKind : int { KIND_PLUS = 7, KIND_TIMES = 8 };

  TermManager() = default;
  TermManager(const TermManager&) = delete;
  TermManager& operator=(const TermManager&) = delete;
  virtual ~TermManager() = default;

  // Arithmetic. In a product that the engine builds, the numeral is the first factor.
  virtual const Term_* make_number(const QNumber& value) = 0;
  const Term_* make_number(int value) { return make_number(QNumber(value)); }
  virtual const Term_* make_plus(const Term_* a, const Term_* b) = 0;
  virtual const Term_* make_times(const Term_* a, const Term_* b) = 0;
  /// The greatest integer not above `t`.
  virtual const Term_* make_floor(const Term_* t) = 0;

  // Atoms.
  /// a <= b
  virtual const Term_* make_leq(const Term_* a, const Term_* b) = 0;
  /// a = b
  virtual const Term_* make_equal(const Term_* a, const Term_* b) = 0;
  /// m divides a - b; m is an integer other than 0
  virtual const Term_* make_int_modular_congruence(const QNumber& m, const Term_* a,
                                                   const Term_* b) = 0;

  // Connectives. The engine passes the formula built so far as the left operand.
  virtual const Term_* make_not(const Term_* t) = 0;
  virtual const Term_* make_and(const Term_* a, const Term_* b) = 0;
  virtual const Term_* make_or(const Term_* a, const Term_* b) = 0;
  [[nodiscard]] const Term_* true_term() const { return true_; }
  [[nodiscard]] const Term_* false_term() const { return false_; }

  /// Called between the steps of computations that may be long and build no terms. A host
  /// that has limits throws an exception of its own when one is reached, as it may in any
  /// other operation: the request ends, and the interpolator takes the next one.
  virtual void poll() {}

  // Symbols.
  /// `symbol` applied to its arguments.
  virtual const Term_* make_term(const Symbol* symbol,
                                 const std::vector<const Term_*>& args) = 0;
  /// A symbol s such that make_term(s, {a, b}) is a = b over the given type.
  virtual const Symbol* make_equality_symbol(const Type* type) = 0;
  /// A symbol s such that make_term(s, {a, b}) says that m divides a - b.
  virtual const Symbol* make_int_modular_congruence_symbol(const QNumber& m) = 0;
  /// True for a congruence symbol, whose modulus goes to `*m` (m may be null).
  virtual bool is_int_modular_congruence(const Symbol* symbol, QNumber* m) const = 0;
  /// False for variables and uninterpreted functions.
  virtual bool is_interpreted(const Symbol* symbol) const = 0;
  /// True for an equality symbol.
  virtual bool is_equality(const Symbol* symbol) const = 0;
  /// True for a numeral, whose value goes to `*value` (value may be null). Every result
  /// of make_number is one.
  virtual bool is_number(const Symbol* symbol, QNumber* value) const = 0;
  /// KIND_PLUS for a sum of two arguments, KIND_TIMES for a product of two; any other
  /// number for other symbols.
  virtual int kind(const Symbol* symbol) const = 0;
  /// The type over which the engine compares integer terms.
  [[nodiscard]] const Type* integer_type() const { return integer_type_; }

  /// The term-building flag. Set: terms may be simplified while they are built. Cleared:
  /// they come out exactly as asked for, which the engine wants of linear terms.
  [[nodiscard]] std::uint8_t building_flag() const { return building_flag_; }
  void set_building_flag(std::uint8_t flag) { building_flag_ = flag; }

  /// Prints `t` for people; used by operator<< of outterm.
  virtual void print(std::ostream& out, const Term_* t) const = 0;

  /// A printer of scripts for other solvers (see term_printer.h), which SmtLib2TermPrinter
  /// uses. Null, the default, from a manager that makes none: then the engine refuses to
  /// write check files.
  virtual std::unique_ptr<TermPrinter> make_script_printer(const ScriptStyle& style);

 protected:
  // What a host sets in its constructor.
  const Term_* true_ = nullptr;
  const Term_* false_ = nullptr;
  const Type* integer_type_ = nullptr;

 private:
  std::uint8_t building_flag_ = 1;
};

/// Saves a manager's term-building flag, sets it to `flag`, and restores it at the end of
/// the scope, also when an exception passes.
class BuildingFlagScope {
 public:
  BuildingFlagScope(TermManager& mgr, std::uint8_t flag)
      : mgr_(mgr), saved_(mgr.building_flag()) {
    mgr_.set_building_flag(flag);
    assert(mgr_.building_flag() == flag);
  }
  BuildingFlagScope(const BuildingFlagScope&) = delete;
  BuildingFlagScope& operator=(const BuildingFlagScope&) = delete;
  ~BuildingFlagScope() { mgr_.set_building_flag(saved_); }

 private:
  TermManager& mgr_;
  const std::uint8_t saved_;
};

/// A term together with the manager that can print it: `out << outterm(mgr, t)`.
struct outterm {
  outterm(const TermManager* m, const Term_* t) : mgr(m), term(t) {
    assert(m != nullptr && t != nullptr);
  }
  const TermManager* mgr;
  const Term_* term;
};
std::ostream& operator<<(std::ostream& out, const outterm& t);

/// The equality x = t between a side of a split equality and the shared term.
const Term_* make_interface_equality(TermManager* mgr, const Term_* x, const Term_* t);

}  // namespace opal

#endif
