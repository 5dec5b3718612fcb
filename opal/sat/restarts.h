// When to restart.
//
// Two ways take turns. While the search is focused, it restarts whenever the clauses it has
// learned lately have a larger glue than those it learned on the whole: the search has got
// into a region where it learns little. While it is stable, it restarts after 1, 1, 2, 1,
// 1, 2, 4, ... times a unit of conflicts, and has time to complete a model. (Audemard and
// Simon, 2009; Luby, Sinclair, Zuckerman, 1993; Oh, "Between SAT and UNSAT", 2015.)

#ifndef OPAL_SAT_RESTARTS_H
#define OPAL_SAT_RESTARTS_H

#include <cstdint>

namespace opal::sat {

/// A mean in which older values count less and less; it starts without a bias to zero.
class MovingAverage {
 public:
  explicit MovingAverage(double weight) : weight_(weight) {}
  void add(double value) {
    mean_ += weight_ * (value - mean_);
    rest_ *= 1 - weight_;
  }
  [[nodiscard]] double mean() const { return rest_ < 1 ? mean_ / (1 - rest_) : 0; }

 private:
  double weight_;
  double mean_ = 0;
  double rest_ = 1;  // the share of the mean that is still the zero at the start
};

enum class Mode : std::uint8_t { FOCUSED, STABLE };

class Restarts {
 public:
  [[nodiscard]] Mode mode() const { return mode_; }

  /// A clause with this glue was learned.
  void add_conflict(std::uint32_t glue) {
    conflicts_++;
    recent_.add(glue);
    overall_.add(glue);
    if (conflicts_ < next_mode_) return;
    mode_ = mode_ == Mode::FOCUSED ? Mode::STABLE : Mode::FOCUSED;
    phases_++;
    next_mode_ = conflicts_ + PHASE * phases_ * phases_;
    next_ = conflicts_ + INTERVAL;
  }
  [[nodiscard]] bool is_due() const {
    if (conflicts_ < next_) return false;
    return mode_ == Mode::STABLE || recent_.mean() > MARGIN * overall_.mean();
  }
  void restarted() {
    next_ = conflicts_ + (mode_ == Mode::STABLE ? UNIT * next_luby() : INTERVAL);
  }

 private:
  static constexpr double MARGIN = 1.1;
  static constexpr std::uint64_t INTERVAL = 4;  // least number of conflicts in between
  static constexpr std::uint64_t UNIT = 256;    // of the stable restarts
  static constexpr std::uint64_t PHASE = 1000;  // conflicts until the first change of mode

  // The sequence 1, 1, 2, 1, 1, 2, 4, ... by Knuth's "reluctant doubling".
  std::uint64_t next_luby() {
    const std::uint64_t result = luby_value_;
    if ((luby_index_ & (~luby_index_ + 1)) == luby_value_) {
      luby_index_++;
      luby_value_ = 1;
    } else {
      luby_value_ *= 2;
    }
    return result;
  }

  Mode mode_ = Mode::FOCUSED;
  MovingAverage recent_{1.0 / 32};
  MovingAverage overall_{1.0 / 8192};
  std::uint64_t conflicts_ = 0;
  std::uint64_t next_ = INTERVAL;
  std::uint64_t next_mode_ = PHASE;
  std::uint64_t phases_ = 0;
  std::uint64_t luby_index_ = 1;
  std::uint64_t luby_value_ = 1;
};

}  // namespace opal::sat

#endif
