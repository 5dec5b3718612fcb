#ifndef OPAL_SMTLIB_LOST_COMMANDS_H
#define OPAL_SMTLIB_LOST_COMMANDS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "opal/smtlib/sexpr.h"
#include "opal/smtlib/symbol_table.h"

namespace opal::smtlib {

/// What a failed command would have done to the assertions, had it been carried out.
enum class Loss : std::uint8_t {
  NONE,        ///< nothing; what is answered is as good as before
  CONSTRAINT,  ///< one more assertion: `unsat` stays right, `sat` may be wrong
  MEANING,     ///< a symbol may mean something else since: no answer is right for certain
  LEVELS,      ///< the levels, or anything: the same, and no later pop repairs it
};

/// A failed command that would have changed the assertions.
struct LostCommand {
  Loss loss = Loss::NONE;
  std::string what;                // for messages: "the assert of line 7 failed"
  std::vector<std::string> names;  // that its formula would have got by :named
  bool declares = false;           // not undone by pop where declarations are global
};

/// What is lost when the command fails, given the symbols in force.
LostCommand lost_by(const Sexpr& command, const SymbolTable& symbols, Numbers numbers);
/// The same of a command of which only the name is known; "" when not even that is.
LostCommand lost_by(std::string_view name, Position at);

/// The failed commands whose effect the current assertions lack. Without them `check-sat`
/// would answer for other assertions than the script has.
///
///     (assert (< x 0))  (push)  (assert (or p q))  ; fails
///     (check-sat)       ; unknown: the assertions that were read are satisfiable
///     (assert (> x 1))
///     (check-sat)       ; unsat: whatever (or p q) means
///     (pop)             ; forgets the loss
///
/// Invariant (is_normal): no scope is empty, and each has a loss other than NONE.
class LostCommands {
 public:
  /// Notes a failed command at a depth of the assertion stack; nothing for Loss::NONE.
  void add(const LostCommand& lost, std::size_t level, bool global_declarations);
  /// Forgets what was lost above a level.
  void pop_to(std::size_t level);
  /// Forgets what was lost but for global declarations, as reset-assertions does.
  void reset_assertions() { scopes_.erase(scopes_.upper_bound(GLOBAL), scopes_.end()); }
  void clear() { scopes_.clear(); }

  /// Whether `sat`, or even `unsat`, may be wrong.
  [[nodiscard]] bool forbid_sat() const { return !scopes_.empty(); }
  [[nodiscard]] bool forbid_unsat() const;
  /// The first one lost, of the outermost level, and how many more there are. There must
  /// be one.
  [[nodiscard]] std::string summary() const;
  /// What was lost together with a name, or null.
  [[nodiscard]] const std::string* find(const std::string& name) const;

  [[nodiscard]] bool is_normal() const;

 private:
  // The place of a loss: where global declarations are, or a level.
  using Place = std::size_t;
  static constexpr Place GLOBAL = 0;
  static constexpr Place place_of_level(std::size_t level) { return level + 1; }

  // What was lost at one place. However many commands fail, only names take room.
  struct Scope {
    std::string first;
    std::size_t count = 0;
    Loss worst = Loss::NONE;
    std::map<std::string, std::string> names;  // with what was lost
  };
  std::map<Place, Scope> scopes_;
};

}  // namespace opal::smtlib

#endif
