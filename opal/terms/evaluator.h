#ifndef OPAL_TERMS_EVALUATOR_H
#define OPAL_TERMS_EVALUATOR_H

#include <unordered_map>

#include "opal/terms/terms.h"
#include "opal/utils/qnumber.h"

namespace opal::host {

/// The values of variable terms; a variable that is absent has the value 0.
using Model = std::unordered_map<const Term_*, QNumber>;

/// The value of an arithmetic term. Iterative, over the DAG.
QNumber evaluate(const Term_* t, const Model& model);
/// The truth value of a formula; a Boolean variable is false. Iterative, over the DAG.
bool holds(const Term_* formula, const Model& model);

}  // namespace opal::host

#endif
