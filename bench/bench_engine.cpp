// The engine on chains of n combinations with short lists: time, and the peak memory of a
// request beyond the proof.
//
//     chain/<n>/opal             half of the leaves are A's; the leaf is the first premise
//     chain/<n>/opal_all_A       all leaves but one are: every combination makes a sum
//     chain/<n>/opal_leaf_second as the first, with the leaf as the second premise: all
//                                leaves are handled on the way down, and wait

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include "tests/engine/small_host.h"

namespace {

// Bytes in use through malloc, as the allocator counts them (with its overhead).
struct Meter {
  static inline std::size_t now = 0, peak = 0;
  static void* grow(void* p) {
    if (p != nullptr) now += malloc_usable_size(p) + sizeof(std::size_t);
    peak = std::max(peak, now);
    return p;
  }
  static void shrink(void* p) {
    if (p != nullptr) now -= malloc_usable_size(p) + sizeof(std::size_t);
  }
};

}  // namespace

// The C library's allocator, metered; operator new is built on it.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);
void* malloc(std::size_t n) { return Meter::grow(__libc_malloc(n)); }
void* calloc(std::size_t n, std::size_t m) { return Meter::grow(__libc_calloc(n, m)); }
void* realloc(void* p, std::size_t n) {
  Meter::shrink(p);
  return Meter::grow(__libc_realloc(p, n));
}
void free(void* p) {
  Meter::shrink(p);
  __libc_free(p);
}
}

namespace {

using opal::small::Host;
using opal::small::Probe;
using opal::small::Status;

// x2 <= x3 <= ... <= x(n+2), of which A has the first `of_A`, and x(n+2) <= x2 - 1.
opal::proof::ProofRef chain(Host& host, int n, int of_A, bool leaf_second) {
  using opal::la::LaHyp;
  opal::proof::Proof* p =
      new LaHyp(host.mapper->add(1, {{n + 2, 1}, {2, -1}}, -1, Status::B_LOCAL), 0);
  for (int i = 0; i < n; ++i) {
    const bool is_A = i < of_A;
    const int id = host.mapper->add(1, {{i + 2, 1}, {i + 3, -1}}, 0,
                                    is_A ? Status::A_LOCAL : Status::B_LOCAL);
    auto* const leaf = new LaHyp(id, 0);
    p = leaf_second ? opal::small::comb(nullptr, p, nullptr, leaf)
                    : opal::small::comb(nullptr, leaf, nullptr, p);
  }
  return opal::proof::ProofRef(p);
}

void interpolate(benchmark::State& state, int n, int of_A, bool leaf_second) {
  Host host;
  const auto proof = chain(host, n, of_A, leaf_second);
  std::size_t peak = 0;
  for (auto _ : state) {
    Probe engine(host);
    const std::size_t before = Meter::now;
    Meter::peak = before;
    benchmark::DoNotOptimize(engine.get_interpolant(&host.classifier, proof.get()));
    peak = Meter::peak - before;
  }
  state.counters["bytes_per_combination"] = static_cast<double>(peak) / n;
}

}  // namespace

int main(int argc, char** argv) {
  for (int n = 1000; n <= 1000000; n *= 10) {
    const std::string name = "chain/" + std::to_string(n) + "/opal";
    auto add = [&](const char* variant, int of_A, bool leaf_second) {
      benchmark::RegisterBenchmark((name + variant).c_str(), interpolate, n, of_A,
                                   leaf_second)
          ->Unit(benchmark::kMillisecond);
    };
    add("", n / 2, false);
    add("_all_A", n, false);
    add("_leaf_second", n / 2, true);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
