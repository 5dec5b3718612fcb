#include "opal/host/limits.h"

#include <unistd.h>

#include <fstream>

namespace opal::host {

namespace {

// The bytes of memory that this process holds, 0 where the system does not tell.
std::size_t resident_bytes() {
  std::ifstream statistics("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  if (!(statistics >> total >> resident)) return 0;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

void Limits::look_at_clock() const {
  if (interrupted_.load(std::memory_order_relaxed)) throw LimitReached("interrupted");
  if (deadline_ && Clock::now() >= *deadline_) throw LimitReached("timeout");
}

void Limits::look_at_memory() const {
  if (memory_ != 0 && resident_bytes() > memory_) throw LimitReached("memout");
}

void Limits::look() {
  look_at_clock();
  look_at_memory();
}

}  // namespace opal::host
