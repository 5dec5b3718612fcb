#ifndef OPAL_UTILS_HASH_SET_H
#define OPAL_UTILS_HASH_SET_H

// Hash tables of keys.

#include <functional>

#include "opal/utils/hash.h"
#include "opal/utils/hashtable.h"

namespace opal::hsh {

/// The key of a set's element is the element.
template <class K>
struct GetKey_identity {
  const K& operator()(const K& element) const { return element; }
};

/// A hash table of keys: `insert`, `contains`, `erase`, range-for.
template <class K, class Hash = hash<K>, class Equal = std::equal_to<K>>
class HashSet : public Hashtable<K, GetKey_identity<K>, K, Hash, Equal> {};

}  // namespace opal::hsh

#endif
