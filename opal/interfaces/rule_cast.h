#ifndef OPAL_INTERFACES_RULE_CAST_H
#define OPAL_INTERFACES_RULE_CAST_H

#include <type_traits>
#include <typeinfo>

#include "opal/interfaces/proof.h"

namespace opal::la {

/// Whether the node, which may be null, is of that rule. Rules are final, so their type is
/// the node's dynamic type; comparing it costs a fraction of a dynamic_cast.
template <typename Rule>
bool is(const proof::Proof* p) {
  static_assert(std::is_final_v<Rule>);
  return p != nullptr && typeid(*p) == typeid(Rule);
}

/// The node as a rule, or null.
template <typename Rule>
Rule* as(proof::Proof* p) {
  return is<Rule>(p) ? static_cast<Rule*>(p) : nullptr;
}
template <typename Rule>
const Rule* as(const proof::Proof* p) {
  return is<Rule>(p) ? static_cast<const Rule*>(p) : nullptr;
}

}  // namespace opal::la

#endif
