#ifndef OPAL_UTILS_HASH_PRIMES_H
#define OPAL_UTILS_HASH_PRIMES_H

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
struct BucketShape {
  std::uint64_t count = 0;
  std::uint64_t reciprocal = 0;  // m above
  /// With this many elements the table grows before the next insertion: the least n with
  /// n / count > 0.7, the quotient taken in single precision. Without buckets: at once.
  std::uint64_t full = 0;

  [[nodiscard]] std::uint64_t index(std::uint64_t hash) const {
    __extension__ using Uint128 = unsigned __int128;
    const auto quotient =
        static_cast<std::uint64_t>((static_cast<Uint128>(hash) * reciprocal) >> 64U);
    const std::uint64_t remainder = hash - quotient * count;
    return remainder >= count ? remainder - count : remainder;
  }
};

/// The shape of the first prime bucket count that is not less than n, or of the greatest
/// one, 4294867387, when there is none.
BucketShape bucket_shape(std::size_t n);

}  // namespace opal::hsh

#endif
