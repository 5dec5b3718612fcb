// Limits of time and memory, by looking.
//
// Nothing runs beside the computation: it calls poll() in its loops, and poll() throws. A
// look costs a reading of the clock, and one at the memory the reading of a small file; so
// the former is done in every 16th poll only, and the latter every MEMORY_INTERVAL at most.
// Between two looks a process may pass its limit of memory by what it can allocate in that
// time; allocations that are large by themselves are announced by expect_bytes().

#include "opal/base/limits.h"

#include <fcntl.h>
#include <unistd.h>

#include <cassert>
#include <cstdlib>

namespace opal::host {

namespace {

// The bytes of memory that this process holds, 0 where the system does not tell. The file
// has the numbers of pages: of the address space, and of those that are resident.
std::size_t resident_bytes() {
  const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
  if (file < 0) return 0;
  char text[128];
  const ssize_t size = read(file, text, sizeof text - 1);
  close(file);
  if (size <= 0) return 0;
  assert(static_cast<std::size_t>(size) < sizeof text);
  text[size] = '\0';
  char* resident = nullptr;
  std::strtoul(text, &resident, 10);
  assert(resident != nullptr);
  const long page = sysconf(_SC_PAGESIZE);
  assert(page > 0);
  return std::strtoul(resident, nullptr, 10) * static_cast<std::size_t>(page);
}

}  // namespace

void Limits::look_around() {
  if (interrupted_.load(std::memory_order_relaxed)) throw LimitReached("interrupted");
  const Clock::time_point now = Clock::now();
  if (deadline_ && now >= *deadline_) throw LimitReached("timeout");
  if (memory_ == 0 || now < next_look_at_memory_) return;
  expect_bytes(0);
  next_look_at_memory_ = now + MEMORY_INTERVAL;
  assert(next_look_at_memory_ > now);
}

void Limits::expect_bytes(std::size_t bytes) const {
  if (memory_ == 0) return;
  const std::size_t held = resident_bytes();
  if (held > memory_ || bytes > memory_ - held) throw LimitReached("memout");
}

}  // namespace opal::host
