#ifndef OPAL_SESSION_ASSERTION_STACK_H
#define OPAL_SESSION_ASSERTION_STACK_H

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "opal/interfaces/term.h"

namespace opal::host {

/// A formula that is asserted.
struct Assertion {
  const Term_* formula = nullptr;
  std::string name;  // may be empty
};

/// The assertions of a session, level by level. An assertion is known by its position.
///
/// Invariants (is_normal): levels are ascending positions; each name that is not empty
/// belongs to one assertion.
class AssertionStack {
 public:
  void push() { levels_.push_back(assertions_.size()); }
  /// There must be a level.
  void pop();
  /// The number of levels, and the number of assertions below each.
  [[nodiscard]] const std::vector<std::size_t>& levels() const { return levels_; }
  /// The name must be empty or new. When memory runs out, nothing is added.
  void add(const Term_* formula, const std::string& name);
  /// Takes everything back.
  void clear();
  /// Takes the last assertions back, which must all be of the last level.
  void shrink(std::size_t size);

  [[nodiscard]] std::size_t size() const { return assertions_.size(); }
  [[nodiscard]] const std::vector<Assertion>& assertions() const { return assertions_; }
  /// The position of the assertion with a name.
  [[nodiscard]] std::optional<std::size_t> find(const std::string& name) const;

  [[nodiscard]] bool is_normal() const;

 private:
  std::vector<Assertion> assertions_;
  std::vector<std::size_t> levels_;
  std::unordered_map<std::string, std::size_t> position_;  // by name
};

}  // namespace opal::host

#endif
