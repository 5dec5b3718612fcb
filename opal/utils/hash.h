#ifndef OPAL_UTILS_HASH_H
#define OPAL_UTILS_HASH_H

// Hash values of keys.

#include <cstdint>

namespace opal::hsh {

/// The 64-bit hash of a key. It is a plain number, not a scrambled one: the containers
/// take it modulo a prime. Types with a hash of their own specialise this template beside
/// their definition.
template <class K>
struct hash;

/// An integer hashes to itself, sign-extended: -1 hashes to 2^64 - 1.
template <>
struct hash<int> {
  std::uint64_t operator()(int key) const {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(key));
  }
};

/// A pointer hashes to its address, so the order of iteration over such keys varies from
/// run to run.
template <class T>
struct hash<T*> {
  std::uint64_t operator()(T* key) const { return reinterpret_cast<std::uintptr_t>(key); }
};

}  // namespace opal::hsh

#endif
