#ifndef OPAL_UTILS_HASH_PRIMES_H
#define OPAL_UTILS_HASH_PRIMES_H

// The bucket counts of hash tables, and how a hash becomes the index of a bucket.

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace opal::hsh {

/// A bucket count with what follows from it. The default is a table without buckets.
///
/// The index of a bucket is hash mod count without a division. With d the count, an odd
/// number of at least 3, and m = floor(2^64 / d) = (2^64 - e) / d, 0 < e < d:
///
///     hash * m / 2^64  =  hash/d - (hash / 2^64) * (e / d)
///
/// lies in (hash/d - 1, hash/d], so its floor q is the quotient floor(hash/d) or one less,
/// and hash - q*d is the remainder or the remainder plus d. One comparison tells which.
/// This is exact for every 64-bit hash.
struct alignas(32) BucketShape {
  std::uint64_t count = 0;
  std::uint64_t reciprocal = 0;  // m above
  /// With this many elements the table grows before the next insertion: the least n with
  /// n / count > 0.7, the quotient taken in single precision. Without buckets: at once.
  std::uint64_t full = 0;

  [[nodiscard]] std::uint64_t index(std::uint64_t hash) const {
    assert(count > 0);
    __extension__ using Uint128 = unsigned __int128;
    const auto quotient =
        static_cast<std::uint64_t>((static_cast<Uint128>(hash) * reciprocal) >> 64U);
    const std::uint64_t remainder = hash - quotient * count;
    const std::uint64_t result = remainder >= count ? remainder - count : remainder;
    assert(result < count);
    return result;
  }
};

/// All shapes by slot_of their counts; slots between them hold the default.
constexpr std::size_t SLOTS = 34;
extern const std::array<BucketShape, SLOTS> SHAPES;

/// Counts roughly double from one prime to the next: each of them, times 3, has a bit
/// length of its own (and 0 has that of 1).
constexpr std::size_t slot_of(std::uint64_t count) {
  return 63U - static_cast<std::size_t>(__builtin_clzl((3 * count) | 1U));
}

/// The shape of a table with `count` buckets, which is one of the primes, or 0.
inline const BucketShape& shape_of(std::size_t count) {
  const BucketShape& shape = SHAPES[slot_of(count)];
  assert(shape.count == count);
  return shape;
}

/// The shape of the first prime bucket count that is not less than n, or of the greatest
/// one, 4294867387, when there is none.
const BucketShape& bucket_shape(std::size_t n);

}  // namespace opal::hsh

#endif
