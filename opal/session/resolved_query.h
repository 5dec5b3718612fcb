#ifndef OPAL_SESSION_RESOLVED_QUERY_H
#define OPAL_SESSION_RESOLVED_QUERY_H

#include <cstddef>
#include <vector>

#include "opal/interpolate/partition.h"
#include "opal/session/assertion_stack.h"
#include "opal/session/queries.h"

namespace opal::host {

/// An interpolation query with its names looked up: what is asserted and assumed, and
/// which group each of it belongs to.
struct ResolvedQuery {
  std::vector<std::size_t> first;  // the tree of groups, see Grouping
  /// Of each assertion in the order of the stack, then of each assumption: the formula, and
  /// its group or Grouping::BACKGROUND.
  std::vector<const Term_*> formulas;
  std::vector<std::size_t> places;

  /// The formulas of each group, and those of every group.
  [[nodiscard]] std::vector<std::vector<const Term_*>> groups() const;
  [[nodiscard]] std::vector<const Term_*> background() const;
};

/// Looks the names of a query up; assumptions count as assertions without a name. Throws
/// SessionError for a query that does not fit the assertions.
ResolvedQuery resolve(const AssertionStack& stack,
                      const std::vector<const Term_*>& assumptions,
                      const InterpolationQuery& query);

/// For each assertion whether the query mentions it. Throws SessionError for an unknown
/// name or one in two groups.
std::vector<bool> mentioned(const AssertionStack& stack, const InterpolationQuery& query);

}  // namespace opal::host

#endif
