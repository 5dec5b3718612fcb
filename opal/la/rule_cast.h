#ifndef OPAL_LA_RULE_CAST_H
#define OPAL_LA_RULE_CAST_H

#include <type_traits>
#include <typeinfo>

#include "opal/interfaces/proof.h"

namespace opal::la {

/// The node as a rule, or null. Rules are final, so their type is the node's dynamic type.
template <typename Rule>
Rule* as(proof::Proof* p) {
  static_assert(std::is_final_v<Rule>);
  return p != nullptr && typeid(*p) == typeid(Rule) ? static_cast<Rule*>(p) : nullptr;
}

}  // namespace opal::la

#endif
