#ifndef OPAL_SESSION_SHARED_TERM_H
#define OPAL_SESSION_SHARED_TERM_H

#include <vector>

#include "opal/base/limits.h"
#include "opal/interpolate/interpolation.h"
#include "opal/linear/mapper.h"
#include "opal/session/conjunctive_road.h"
#include "opal/session/queries.h"
#include "opal/session/resolved_query.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// What the search for a shared term works with.
struct SharedTermContext {
  Terms& terms;
  Mapper& mapper;
  Limits& limits;
  Interpolation& interpolation;
};

/// The shared term of a query whose two groups were looked up. Throws NotSplit (see
/// equality_proof.h) with what is wrong, or with the model in which the sides differ.
SharedTerm find_shared_term(const SharedTermContext& context, const GroupedAtoms& groups,
                            const SharedTermQuery& query);

/// The formulas that must be unsatisfiable for the answer to be right, one list a step.
std::vector<std::vector<const Term_*>> verification_steps(Terms& terms,
                                                          const ResolvedQuery& groups,
                                                          const SharedTerm& answer);

/// The symbols of the answer that are not shared, ascending by id.
std::vector<const Term_*> foreign_symbols(const Grouping& grouping,
                                          const SharedTerm& answer);

}  // namespace opal::host

#endif
