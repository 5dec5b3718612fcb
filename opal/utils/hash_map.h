#ifndef OPAL_UTILS_HASH_MAP_H
#define OPAL_UTILS_HASH_MAP_H

// Hash tables from keys to values.

#include <functional>
#include <tuple>
#include <utility>

#include "opal/utils/hash.h"
#include "opal/utils/hashtable.h"

namespace opal::hsh {

/// The key of a map's element is the first of the pair.
template <class K, class V>
struct GetKey_pair {
  const K& operator()(const std::pair<K, V>& element) const { return element.first; }
};

/// A hash table from keys to values.
///
///     HashMap<int, std::string> names;
///     names[3] = "x";
///     if (auto it = names.find(3); it != names.end()) use(it->second);
///     for (const auto& [id, name] : names) ...
template <class K, class V, class Hash = hash<K>, class Equal = std::equal_to<K>>
class HashMap : public Hashtable<std::pair<K, V>, GetKey_pair<K, V>, K, Hash, Equal> {
 public:
  using mapped_type = V;

  /// The value of the key, inserted with a default value when it is absent.
  V& operator[](const K& key) {
    return this
        ->find_or_make(key, std::piecewise_construct, std::forward_as_tuple(key),
                       std::forward_as_tuple())
        .first->second;
  }
  /// Removes the key and returns its value; a default value when it is absent.
  V take(const K& key) {
    V value{};
    this->erase_after(key, [&value](auto& element) { value = std::move(element.second); });
    return value;
  }
};

}  // namespace opal::hsh

#endif
