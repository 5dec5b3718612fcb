#ifndef OPAL_FUZZ_BYTES_H
#define OPAL_FUZZ_BYTES_H

// The fuzzer's bytes as a source of choices.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace opal::fuzz {

class Bytes {
 public:
  Bytes(const std::uint8_t* begin, std::size_t size) : next_(begin), end_(begin + size) {}

  [[nodiscard]] bool empty() const { return next_ == end_; }
  /// The next byte; 0 behind the last one.
  std::uint8_t byte() { return empty() ? std::uint8_t{0} : *next_++; }
  /// A number below n, which is at most 256.
  unsigned below(unsigned n) { return byte() % n; }
  std::uint64_t word() {
    std::uint64_t w = 0;
    for (int i = 0; i < 8; ++i)
      w = w << 8U | byte();
    return w;
  }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* const end_;
};

/// What a target claims; a fault ends the process, which the fuzzer notices.
inline void expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fault: %s\n", what);
  std::abort();
}

}  // namespace opal::fuzz

#endif
