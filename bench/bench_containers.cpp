// The hash map beside the standard one and Abseil's. Names are
// operation/operands/implementation; "find/1000/opal" is to be compared with
// "find/1000/std". The time is that of one iteration: a fill and clear, or one look-up.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "opal/utils/hash_map.h"
#ifdef OPAL_BENCH_ABSL
#include <absl/container/flat_hash_map.h>
#endif

namespace {

struct Opal {
  using Map = opal::hsh::HashMap<int, int>;
  using PointerMap = opal::hsh::HashMap<const int*, int>;
  static constexpr const char* NAME = "opal";
};
struct Std {
  using Map = std::unordered_map<int, int>;
  using PointerMap = std::unordered_map<const int*, int>;
  static constexpr const char* NAME = "std";
};
#ifdef OPAL_BENCH_ABSL
struct Absl {
  using Map = absl::flat_hash_map<int, int>;
  using PointerMap = absl::flat_hash_map<const int*, int>;
  static constexpr const char* NAME = "absl";
};
#endif

// Distinct keys in random order: the ids of variables and constraints are dense.
std::vector<int> dense_keys(std::size_t n) {
  std::vector<int> keys(n);
  for (std::size_t i = 0; i < n; ++i)
    keys[i] = static_cast<int>(i) + 1;
  std::shuffle(keys.begin(), keys.end(), std::mt19937(5));
  return keys;
}
std::vector<int> random_keys(std::size_t n) {
  std::mt19937 random(6);
  std::vector<int> keys(n);
  for (int& key : keys)
    key = static_cast<int>(random());
  return keys;
}
// Addresses of objects that lie side by side, like nodes of one pool.
std::vector<const int*> pointer_keys(std::size_t n) {
  static const std::vector<int> objects(8 << 20U);
  std::vector<const int*> keys;
  for (const int key : dense_keys(n))
    keys.push_back(&objects[8 * static_cast<std::size_t>(key - 1)]);
  return keys;
}

template <class Map, class Key>
void fill_and_clear(benchmark::State& state, const std::vector<Key>& keys) {
  Map map;
  for (auto _ : state) {
    for (const Key& key : keys)
      map[key] = 1;
    benchmark::DoNotOptimize(map);
    map.clear();
  }
}

template <class Map, class Key>
void find(benchmark::State& state, const std::vector<Key>& keys, std::vector<Key> wanted) {
  Map map;
  for (const Key& key : keys)
    map[key] = 1;
  std::shuffle(wanted.begin(), wanted.end(), std::mt19937(7));
  std::size_t i = 0;
  for (auto _ : state) {
    auto found = map.find(wanted[i]);
    benchmark::DoNotOptimize(found);
    if (++i == wanted.size()) i = 0;
  }
}

template <class Impl>
void add_benchmarks() {
  const std::string suffix = std::string("/") + Impl::NAME;
  using Map = typename Impl::Map;
  using PointerMap = typename Impl::PointerMap;
  const auto add = [&](const std::string& name, auto run) {
    benchmark::RegisterBenchmark((name + suffix).c_str(), run);
  };
  for (const std::size_t n : {20U, 1000U}) {
    const std::string size = std::to_string(n);
    add("fillclear/" + size, [=](benchmark::State& s) {  //
      fill_and_clear<Map>(s, dense_keys(n));
    });
    add("fillclear/pointers" + size,
        [=](benchmark::State& s) { fill_and_clear<PointerMap>(s, pointer_keys(n)); });
  }
  for (const std::size_t n : {1000U, 10000U, 100000U, 1000000U}) {
    const std::string size = std::to_string(n);
    add("find/" + size,
        [=](benchmark::State& s) { find<Map>(s, random_keys(n), random_keys(n)); });
    add("find/dense" + size,
        [=](benchmark::State& s) { find<Map>(s, dense_keys(n), dense_keys(n)); });
    add("find/pointers" + size, [=](benchmark::State& s) {
      find<PointerMap>(s, pointer_keys(n), pointer_keys(n));
    });
    add("find/absent" + size, [=](benchmark::State& s) {
      std::vector<int> absent = dense_keys(n);
      for (int& key : absent)
        key = -key;
      find<Map>(s, dense_keys(n), absent);
    });
  }
}

}  // namespace

int main(int argc, char** argv) {
  add_benchmarks<Opal>();
  add_benchmarks<Std>();
#ifdef OPAL_BENCH_ABSL
  add_benchmarks<Absl>();
#endif
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
