#ifndef OPAL_BASE_LIMITS_H
#define OPAL_BASE_LIMITS_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "opal/base/error.h"

namespace opal::host {

/// A limit ended a computation. what() is "timeout", "memout" or "interrupted", the text
/// that answers (get-info :reason-unknown).
class LimitReached : public Error {
 public:
  using Error::Error;
};

/// The limits of a session. Long computations call poll() in their loops.
class Limits {
 public:
  using Clock = std::chrono::steady_clock;

  /// The time at which computations end; nothing for no limit.
  void set_deadline(std::optional<Clock::time_point> deadline) { deadline_ = deadline; }
  [[nodiscard]] std::optional<Clock::time_point> deadline() const { return deadline_; }
  /// The bytes of memory that the process may hold; 0 for no limit.
  void set_memory(std::size_t bytes) { memory_ = bytes; }

  /// Asks the running computation to end; may be called from a signal handler.
  void interrupt() noexcept { interrupted_.store(true, std::memory_order_relaxed); }
  /// Forgets an interrupt that was asked for.
  void clear_interrupt() noexcept { interrupted_.store(false, std::memory_order_relaxed); }

  /// Throws LimitReached when a limit is reached. For loops whose rounds are short, below a
  /// microsecond or so: looks at the clock in every 16th call only.
  void poll() {
    if (++polls_ % 16 == 0 || interrupted_.load(std::memory_order_relaxed)) look();
  }
  /// As poll(), in every call; costs a reading of the clock when a limit is set. Looks at
  /// the process's memory as well when the last time was MEMORY_INTERVAL ago: a process
  /// does not grow by much until then.
  void look() {
    if (interrupted_.load(std::memory_order_relaxed) || deadline_ || memory_ != 0)
      look_around();
  }
  /// Throws LimitReached when `bytes` more than the process holds would reach the limit of
  /// memory. For single allocations that are large, before they are made.
  void expect_bytes(std::size_t bytes) const;

 private:
  static constexpr std::chrono::milliseconds MEMORY_INTERVAL{2};
  void look_around();

  std::optional<Clock::time_point> deadline_;
  std::size_t memory_ = 0;
  Clock::time_point next_look_at_memory_;
  unsigned polls_ = 0;
  std::atomic<bool> interrupted_{false};
};

}  // namespace opal::host

#endif
