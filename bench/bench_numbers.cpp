// QNumber beside GMP's and FLINT's rationals. Names are operation/operands/implementation:
// the time of "add/int/opal" is to be compared with that of "add/int/mpq".
//
// One iteration is a pass over a table of operands, made from the same seed for every
// implementation: its time is that of 2048 operations, or of 128 from 200 bits on. The
// table is so long that the processor cannot learn the operands by heart.

#include <benchmark/benchmark.h>
#include <gmpxx.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "opal/utils/qnumber.h"
#ifdef OPAL_BENCH_FLINT
#include <flint/fmpq.h>
#endif

namespace {

// Integers and fractions of a few digits are what constraints hold; the wide ones have
// products just within a word.
mpz_class random_integer(std::mt19937_64& random, unsigned bits) {
  mpz_class x = 0;
  for (unsigned done = 0; done < bits; done += 32)
    x = (x << 32U) + static_cast<unsigned long>(random() >> 32U);
  x >>= (bits + 31) / 32 * 32 - bits;
  mpz_setbit(x.get_mpz_t(), bits - 1);
  return (random() & 1U) != 0 ? x : mpz_class(-x);
}

std::vector<mpq_class> operands(const std::string& kind) {
  std::mt19937_64 random(11);
  std::vector<mpq_class> result;
  const auto fraction = [&](unsigned num_bits, unsigned den_bits) {
    mpq_class q(random_integer(random, num_bits), abs(random_integer(random, den_bits)));
    q.canonicalize();
    return q;
  };
  const std::size_t size = kind.find("00") == std::string::npos ? 2049 : 129;
  while (result.size() < size) {
    const unsigned small_bits = 1 + static_cast<unsigned>(random() % 10);
    if (kind == "int") result.push_back(fraction(small_bits, 1));
    if (kind == "wideint") result.push_back(fraction(31, 1));
    if (kind == "frac") result.push_back(fraction(small_bits, 5));
    if (kind == "widefrac") result.push_back(fraction(15, 15));
    if (kind == "int200") result.push_back(fraction(200, 1));
    if (kind == "int2000") result.push_back(fraction(2000, 1));
    if (kind == "frac200") result.push_back(fraction(200, 200));
    if (kind == "frac2000") result.push_back(fraction(2000, 2000));
  }
  return result;
}

// What the benchmarks need of an implementation: a value type and its operations.
struct Opal {
  using Value = opal::QNumber;
  static constexpr const char* NAME = "opal";
  static Value make(const mpq_class& q) {
    Value x(q.get_num(), q.get_den());
    x.shrink();
    return x;
  }
};

struct Mpq {
  using Value = mpq_class;
  static constexpr const char* NAME = "mpq";
  static Value make(const mpq_class& q) { return q; }
};

#ifdef OPAL_BENCH_FLINT
class FlintValue {
 public:
  FlintValue() { fmpq_init(q_); }
  explicit FlintValue(const mpq_class& q) {
    fmpq_init(q_);
    fmpq_set_mpq(q_, q.get_mpq_t());
  }
  FlintValue(const FlintValue& x) {
    fmpq_init(q_);
    fmpq_set(q_, x.q_);
  }
  FlintValue& operator=(const FlintValue& x) {
    fmpq_set(q_, x.q_);
    return *this;
  }
  ~FlintValue() { fmpq_clear(q_); }

  FlintValue& operator+=(const FlintValue& x) {
    fmpq_add(q_, q_, x.q_);
    return *this;
  }
  FlintValue& operator*=(const FlintValue& x) {
    fmpq_mul(q_, q_, x.q_);
    return *this;
  }
  friend FlintValue operator+(const FlintValue& a, const FlintValue& b) {
    FlintValue r;
    fmpq_add(r.q_, a.q_, b.q_);
    return r;
  }
  friend FlintValue operator-(const FlintValue& a, const FlintValue& b) {
    FlintValue r;
    fmpq_sub(r.q_, a.q_, b.q_);
    return r;
  }
  friend FlintValue operator*(const FlintValue& a, const FlintValue& b) {
    FlintValue r;
    fmpq_mul(r.q_, a.q_, b.q_);
    return r;
  }
  friend FlintValue operator/(const FlintValue& a, const FlintValue& b) {
    FlintValue r;
    fmpq_div(r.q_, a.q_, b.q_);
    return r;
  }
  friend bool operator<(const FlintValue& a, const FlintValue& b) {
    return fmpq_cmp(a.q_, b.q_) < 0;
  }

 private:
  fmpq_t q_;
};

struct Flint {
  using Value = FlintValue;
  static constexpr const char* NAME = "fmpq";
  static Value make(const mpq_class& q) { return Value(q); }
};
#endif

template <class Impl>
std::vector<typename Impl::Value> table(const std::string& kind) {
  std::vector<typename Impl::Value> values;
  for (const mpq_class& q : operands(kind))
    values.push_back(Impl::make(q));
  return values;
}

// `operate` gets each two neighbours of the table.
template <class Impl, class Operate>
void add_benchmark(const std::string& operation, const std::string& kind, Operate operate) {
  const std::string name = operation + "/" + kind + "/" + Impl::NAME;
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const auto values = table<Impl>(kind);
    const auto* const first = values.data();
    const auto* const last = first + values.size() - 1;
    for (auto _ : state)
      for (const auto* x = first; x != last; ++x)
        operate(x[0], x[1]);
  });
}

// The compound operators run on a target that keeps its memory, set anew each time.
template <class Impl, class Operate>
void add_compound(const std::string& operation, const std::string& kind, Operate operate) {
  using Value = typename Impl::Value;
  auto target = std::make_shared<Value>();
  add_benchmark<Impl>(operation, kind, [=](const Value& a, const Value& b) {
    *target = a;
    operate(*target, b);
    benchmark::DoNotOptimize(*target);
  });
}

template <class Impl>
void add_benchmarks(const std::string& kind) {
  using Value = typename Impl::Value;
  const auto keep = [](const Value& x) { benchmark::DoNotOptimize(x); };
  add_benchmark<Impl>("add", kind, [=](const Value& a, const Value& b) { keep(a + b); });
  add_benchmark<Impl>("sub", kind, [=](const Value& a, const Value& b) { keep(a - b); });
  add_benchmark<Impl>("mul", kind, [=](const Value& a, const Value& b) { keep(a * b); });
  add_benchmark<Impl>("div", kind, [=](const Value& a, const Value& b) { keep(a / b); });
  add_benchmark<Impl>("less", kind, [=](const Value& a, const Value& b) {
    benchmark::DoNotOptimize(a < b);
  });
  add_compound<Impl>("addto", kind, [](Value& a, const Value& b) { a += b; });
  add_compound<Impl>("multo", kind, [](Value& a, const Value& b) { a *= b; });
}

}  // namespace

int main(int argc, char** argv) {
  for (const char* kind :
       {"int", "wideint", "frac", "widefrac", "int200", "frac200", "int2000", "frac2000"}) {
    add_benchmarks<Opal>(kind);
    add_benchmarks<Mpq>(kind);
#ifdef OPAL_BENCH_FLINT
    add_benchmarks<Flint>(kind);
#endif
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
