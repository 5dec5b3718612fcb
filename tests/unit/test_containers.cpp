// The hash containers and their pool: contents and order against a plain model, the bucket
// index against the remainder, and what failures leave behind.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "opal/utils/hash_map.h"
#include "opal/utils/hash_set.h"

namespace {
bool no_memory = false;  // makes operator new fail
}
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const p = no_memory ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
[[gnu::noinline]] void operator delete(void* p) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace opal::hsh {
namespace {

const std::vector<std::uint64_t> COUNTS = {
    31,       73,        151,       313,       643,        1291,       2593,
    5233,     10501,     21013,     42073,     84181,      168451,     337219,
    674701,   1349473,   2699299,   5398891,   10798093,   21596719,   43193641,
    86387383, 172775299, 345550609, 691101253, 1382202559, 2764405229, 4294867387};

std::uint64_t count_for(std::uint64_t n) {
  const auto it = std::lower_bound(COUNTS.begin(), COUNTS.end(), n);
  return it == COUNTS.end() ? COUNTS.back() : *it;
}

// The rule of growth, which the table of shapes turns into a number of elements.
bool grows(std::uint64_t elements, std::uint64_t buckets) {
  const float quotient = static_cast<float>(elements) / static_cast<float>(buckets);
  return static_cast<double>(quotient) > 0.7;
}

// The greatest multiples of a count are the hardest hashes.
TEST(BucketShape, CountsAreThoseListedIndexIsTheRemainderAndFullIsTheFirstToGrow) {
  EXPECT_EQ(bucket_shape(0).count, 31U);
  EXPECT_EQ(bucket_shape(~std::size_t{0}).count, 4294867387U);
  std::mt19937_64 random(7);
  for (const std::uint64_t d : COUNTS) {
    for (const std::uint64_t n : {d - 1, d, d + 1})
      ASSERT_EQ(bucket_shape(n).count, count_for(n));
    const BucketShape& shape = shape_of(d);
    ASSERT_EQ(shape.count, d);
    std::vector<std::uint64_t> hashes = {0, 1, ~std::uint64_t{0}, 1ULL << 32U, 1ULL << 63U};
    const std::uint64_t top = ~std::uint64_t{0} / d;
    for (const std::uint64_t k : {std::uint64_t{1}, top / 2, top - 1, top})
      for (const std::uint64_t offset : {0U, 1U, 2U})
        hashes.insert(hashes.end(), {k * d + offset, k * d - offset});
    for (int i = 0; i < 20000; ++i)
      hashes.insert(hashes.end(),
                    {(random() % top) * d - random() % 2, random() >> (random() % 64)});
    for (const std::uint64_t h : hashes)
      ASSERT_EQ(shape.index(h), h % d) << h << " mod " << d;
    for (std::uint64_t n = shape.full - std::min<std::uint64_t>(shape.full, 300);
         n < shape.full + 300; ++n)
      ASSERT_EQ(grows(n, d), n >= shape.full) << n << " in " << d;
  }
}

// A table as the documentation of its order describes it.
struct Model {
  using Element = std::pair<int, std::string>;
  std::vector<std::list<Element>> chains{31};
  std::size_t count = 0;

  std::list<Element>& chain(int key) {
    return chains[static_cast<std::uint64_t>(std::int64_t{key}) % chains.size()];
  }
  Element* find(int key) {
    for (Element& e : chain(key))
      if (e.first == key) return &e;
    return nullptr;
  }
  void rehash(std::size_t n) {
    if (chains.size() >= n) return;
    const auto old = elements();
    chains.assign(count_for(n), {});
    for (const Element& e : old)
      chain(e.first).push_front(e);
  }
  std::string& at(int key) {
    if (grows(count, chains.size())) rehash(chains.size() + 1);
    if (Element* e = find(key)) return e->second;
    ++count;
    return chain(key).emplace_front(key, "").second;
  }
  bool erase(int key) {
    if (find(key) == nullptr) return false;
    chain(key).remove(*find(key));
    --count;
    return true;
  }
  std::vector<Element> elements() const {
    std::vector<Element> all;
    for (const auto& c : chains)
      all.insert(all.end(), c.begin(), c.end());
    return all;
  }
};

using Map = HashMap<int, std::string>;
std::vector<Model::Element> elements(const Map& map) { return {map.begin(), map.end()}; }

TEST(HashMap, RandomOperationsAgreeWithTheModelInContentsAndOrder) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Map map;
    Model model;
    const int range = seed % 3 == 0 ? 30 : 3000;
    for (int step = 0; step < 3000; ++step) {
      const int key = static_cast<int>(random() % static_cast<unsigned>(2 * range)) - range;
      const std::string value = std::to_string(random() % 1000);
      const auto action = random() % 1000;
      if (action < 400) {
        const bool absent = model.at(key).empty();
        const auto [place, inserted] = map.insert({key, value});
        if (inserted) model.find(key)->second = value;
        ASSERT_EQ(inserted, absent);
        ASSERT_EQ(*place, *model.find(key));
      } else if (action < 600) {
        model.at(key) = value;
        map[key] = value;
      } else if (action < 990) {
        const auto* found = model.find(key);
        const auto place = std::as_const(map).find(key);
        ASSERT_EQ(place != map.end(), found != nullptr);
        ASSERT_TRUE(found == nullptr || place->second == found->second);
        ASSERT_TRUE(action >= 780 || map.erase(key) == model.erase(key));
      } else if (action < 992) {
        map.clear();
        model.chains.assign(model.chains.size(), {});
        model.count = 0;
      } else if (action < 994) {
        map.rehash(random() % 3000);
        model.rehash(map.bucket_count());
      } else if (action < 996) {
        const Map copy(map);
        map[key] = "changed";  // a copy shares nothing
        map = copy;
      } else if (action < 998) {
        Map taken(std::move(map));
        ASSERT_FALSE(map.contains(key) || map.erase(key));  // NOLINT: valid after the move
        map[key] = "forgotten";
        map = std::move(taken);
      }
      ASSERT_EQ(map.size(), model.count);
      ASSERT_EQ(map.bucket_count(), model.chains.size());
    }
    ASSERT_TRUE(map.is_normal());
    ASSERT_EQ(elements(map), model.elements());
  }
}

TEST(MemoryPool, ErasedAndClearedNodesAreUsedAgain) {
  HashMap<int, long> map;
  for (int round = 0; round < 500; round += 100) {
    for (int i = 0; i < 16; ++i)
      map[round + i] = i;
    const long* const place = &map[round + 7];
    EXPECT_TRUE(map.erase(round + 7));
    EXPECT_EQ(&map[-1 - round], place);
    EXPECT_EQ(map.pool().num_chunks(), 1U);
    map.clear();
  }
}

// Counts its living objects, and throws when a countdown of copies reaches zero.
struct Fragile {
  static inline int alive = 0;
  static inline int copies_left = -1;
  int key;
  explicit Fragile(int k) : key(k) { ++alive; }
  Fragile(const Fragile& x) : key(x.key) {
    if (copies_left == 0) throw std::runtime_error("copy");
    --copies_left;
    ++alive;
  }
  Fragile& operator=(const Fragile&) = delete;
  ~Fragile() { --alive; }
  bool operator==(const Fragile& x) const { return key == x.key; }
};
struct FragileHash {
  std::uint64_t operator()(const Fragile& x) const { return hash<int>()(x.key); }
};

TEST(Hashtable, FailuresLoseAndLeakNothing) {
  using Set = HashSet<Fragile, FragileHash>;
  const auto keys = [](const Set& set) {
    std::vector<int> result;
    for (const Fragile& x : set)
      result.push_back(x.key);
    return result;
  };
  {
    Set set;
    for (int i = 0; i < 22; ++i)
      set.insert(Fragile(i * 31));
    const auto before = keys(set);
    no_memory = true;  // the bucket array cannot grow
    EXPECT_THROW(set.insert(Fragile(1000)), std::bad_alloc);
    no_memory = false;
    EXPECT_EQ(keys(set), before);
    set.insert(Fragile(1000));
    EXPECT_EQ(set.bucket_count(), 73U);
    const auto grown = keys(set);
    Fragile::copies_left = 0;
    for (int i = 0; i < 100; ++i)  // the node goes back each time
      EXPECT_THROW(set.insert(Fragile(2000)), std::runtime_error);
    EXPECT_EQ(set.pool().num_chunks(), 2U);
    Set other;
    Fragile::copies_left = 10;
    EXPECT_THROW(other = set, std::runtime_error);
    Fragile::copies_left = -1;
    EXPECT_TRUE(other.empty());
    EXPECT_EQ(keys(set), grown);
    EXPECT_EQ(Fragile::alive, 23);
  }
  EXPECT_EQ(Fragile::alive, 0);
}

}  // namespace
}  // namespace opal::hsh
