// The table of bucket counts, and of what follows from each. All of it is computed by the
// compiler.

#include "opal/utils/hash_primes.h"

#include <algorithm>
#include <array>

namespace opal::hsh {
namespace {

constexpr std::array<std::uint64_t, 28> primes = {
    31,       73,        151,       313,       643,        1291,       2593,
    5233,     10501,     21013,     42073,     84181,      168451,     337219,
    674701,   1349473,   2699299,   5398891,   10798093,   21596719,   43193641,
    86387383, 172775299, 345550609, 691101253, 1382202559, 2764405229, 4294867387};

constexpr bool is_overfull(std::uint64_t elements, std::uint64_t buckets) {
  return static_cast<double>(static_cast<float>(elements) / static_cast<float>(buckets)) >
         0.7;
}

// Rounding is monotone, and so is the quotient in `elements`: binary search finds the
// border, exactly as the quotient would.
constexpr std::uint64_t least_overfull(std::uint64_t buckets) {
  std::uint64_t fits = 0;
  std::uint64_t overfull = buckets;
  while (overfull - fits > 1) {
    const std::uint64_t middle = fits + (overfull - fits) / 2;
    (is_overfull(middle, buckets) ? overfull : fits) = middle;
  }
  return overfull;
}

constexpr bool slots_differ() {
  for (std::size_t i = 1; i < primes.size(); ++i)
    if (slot_of(primes[i - 1]) >= slot_of(primes[i])) return false;
  return slot_of(0) < slot_of(primes[0]);
}
static_assert(slots_differ() && slot_of(primes.back()) < SLOTS);

constexpr auto make_shapes() {
  std::array<BucketShape, SLOTS> shapes{};
  // 2^64 - 1 and 2^64 have the same quotient, since no prime here divides 2^64.
  for (const std::uint64_t prime : primes)
    shapes[slot_of(prime)] = {prime, ~std::uint64_t{0} / prime, least_overfull(prime)};
  return shapes;
}
static_assert(make_shapes()[slot_of(31)].full == 22, "the 23rd insertion grows it");

}  // namespace

constexpr std::array<BucketShape, SLOTS> SHAPES = make_shapes();

const BucketShape& bucket_shape(std::size_t n) {
  const auto* prime = std::lower_bound(primes.begin(), primes.end(), n);
  if (prime == primes.end()) --prime;
  return shape_of(*prime);
}

}  // namespace opal::hsh
