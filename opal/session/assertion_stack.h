#ifndef OPAL_SESSION_ASSERTION_STACK_H
#define OPAL_SESSION_ASSERTION_STACK_H

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "opal/session/session.h"

namespace opal::host {

/// A formula with the atoms whose conjunction it is (see literals.h).
struct Conjunction {
  const Term_* formula = nullptr;
  std::vector<const Term_*> atoms;
};

/// The assertions of a session, level by level.
///
/// Invariants: parts() and assertions() have one entry for each assertion; levels are
/// ascending positions in them; each name that is not empty belongs to one assertion.
class AssertionStack {
 public:
  void push() { levels_.push_back(assertions_.size()); }
  /// There must be a level.
  void pop();
  [[nodiscard]] std::size_t levels() const { return levels_.size(); }
  /// The name must be empty or new. When memory runs out, nothing is added.
  void add(Conjunction conjunction, const std::string& name);
  /// Takes everything back.
  void clear();
  /// Takes the last assertions back, which must all be of the last level.
  void shrink(std::size_t size);

  [[nodiscard]] const std::vector<Session::Assertion>& assertions() const {
    return assertions_;
  }
  [[nodiscard]] const std::vector<Conjunction>& parts() const { return parts_; }
  /// The position of the assertion with a name.
  [[nodiscard]] std::optional<std::size_t> find(const std::string& name) const;

 private:
  std::vector<Session::Assertion> assertions_;
  std::vector<Conjunction> parts_;
  std::vector<std::size_t> levels_;
  std::unordered_map<std::string, std::size_t> position_;  // by name
};

/// An interpolation query with its names looked up.
struct ResolvedQuery {
  std::shared_ptr<const Grouping> grouping;
  std::vector<std::vector<const Term_*>> groups;  // the formulas of each group
  std::vector<const Term_*> background;           // the formulas of every group
  // The group of each assertion of the stack, or Grouping::BACKGROUND.
  std::vector<std::size_t> places;
  // The atoms of each group, those of the background included; only of two groups.
  std::vector<std::vector<const Term_*>> atoms;
};

/// Looks the names of a query up; `assumptions` count as assertions without a name. Throws
/// SessionError for a query that does not fit the assertions, LimitReached.
ResolvedQuery resolve(const AssertionStack& stack,
                      const std::vector<Conjunction>& assumptions,
                      const InterpolationQuery& query, Limits& limits);

/// The names of the assertions in a query's groups that provide atoms: of several
/// assertions of an atom the first one in the atom's place. Atoms of unnamed ones are left
/// out.
std::unordered_map<const Term_*, std::string> names_of(
    const AssertionStack& stack, const ResolvedQuery& query,
    std::unordered_set<const Term_*> atoms);

/// For each assertion whether the query mentions it. Throws SessionError for an unknown
/// name or one in two groups.
std::vector<bool> mentioned(const AssertionStack& stack, const InterpolationQuery& query);

}  // namespace opal::host

#endif
