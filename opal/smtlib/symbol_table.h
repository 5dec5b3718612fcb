#ifndef OPAL_SMTLIB_SYMBOL_TABLE_H
#define OPAL_SMTLIB_SYMBOL_TABLE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "opal/base/hash_index.h"
#include "opal/smtlib/sorts.h"
#include "opal/terms/terms.h"

namespace opal::smtlib {

/// What a symbol of the user stands for: a declared constant for its variable, a defined
/// function or a named formula for its body.
struct Definition {
  std::string name;
  std::vector<const Term_*> parameters;  // variables that occur in the body only
  TypedTerm body;
  bool declared = false;
  bool named_formula = false;  // by :named
};

/// What becomes of the symbols of a scope that is popped.
enum class AtPop : std::uint8_t { END, STAY };

/// The symbols in force, in scopes that follow push and pop.
///
/// Invariants (is_normal): by_name_ has the number of every element of definitions_;
/// scopes_ ascends, and the symbols of scope i are those from scopes_[i] on.
class SymbolTable {
 public:
  /// Null when there is none. Valid until the symbol's scope ends.
  [[nodiscard]] const Definition* find(std::string_view name) const;
  /// The name must be free.
  void add(Definition definition);

  void push() { scopes_.push_back(definitions_.size()); }
  /// Ends as many scopes, which must exist.
  void pop(std::size_t count, AtPop symbols);
  /// Ends all scopes; their symbols stay.
  void end_levels() { scopes_.clear(); }
  void clear();
  [[nodiscard]] std::size_t levels() const { return scopes_.size(); }

  /// In the order in which they came.
  [[nodiscard]] const std::deque<Definition>& definitions() const { return definitions_; }

  /// The invariants, in linear time, for debug builds.
  [[nodiscard]] bool is_normal() const;

 private:
  std::deque<Definition> definitions_;
  host::HashIndex by_name_;  // the definition of number n is definitions_[n - 1]
  std::vector<std::size_t> scopes_;
};

/// The body of a definition with arguments for its parameters, simplified where an
/// argument makes an operation constant. Iterative, time linear in the body's DAG.
const Term_* instantiate(host::Terms& terms, const Definition& definition,
                         const Term_* const* arguments);

}  // namespace opal::smtlib

#endif
