#ifndef OPAL_HOST_LIMITS_H
#define OPAL_HOST_LIMITS_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

namespace opal::host {

/// A limit ended a computation. what() is "timeout", "memout" or "interrupted", the text
/// that answers (get-info :reason-unknown).
class LimitReached : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
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

  /// Throws LimitReached when a limit is reached. Cheap: looks at the clock once in 256
  /// calls, and at the process's memory more rarely still.
  void poll() {
    if (++polls_ % 256 == 0 || interrupted_.load(std::memory_order_relaxed)) {
      if (polls_ % (256 * 64) == 0)
        look();
      else
        look_at_clock();
    }
  }
  /// As poll(), but looks at everything now.
  void look();

 private:
  void look_at_clock() const;
  void look_at_memory() const;

  std::optional<Clock::time_point> deadline_;
  std::size_t memory_ = 0;
  unsigned polls_ = 0;
  std::atomic<bool> interrupted_{false};
};

}  // namespace opal::host

#endif
