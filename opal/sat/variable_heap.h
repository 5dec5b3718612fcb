// The variables that may be decided, most active first.
//
// A binary heap by activity, with the place of each variable in it. An activity grows by
// the present increment each time the variable has part in a conflict; the increment itself
// grows, which lets older parts fade. (Een and Soerensson's form of the order of Chaff.)

#ifndef OPAL_SAT_VARIABLE_HEAP_H
#define OPAL_SAT_VARIABLE_HEAP_H

#include <vector>

#include "opal/proofs/resolution/literal.h"

namespace opal::sat {

using resolution::Variable;

class VariableHeap {
 public:
  /// A new variable, which is not in the heap.
  void add_variable() {
    activities_.push_back(0);
    places_.push_back(ABSENT);
  }
  [[nodiscard]] bool empty() const { return heap_.empty(); }
  [[nodiscard]] bool has(Variable variable) const {
    assert(variable < places_.size());
    return places_[variable] != ABSENT;
  }

  void insert(Variable variable) {
    if (has(variable)) return;
    places_[variable] = static_cast<std::uint32_t>(heap_.size());
    heap_.push_back(variable);
    move_up(places_[variable]);
  }
  Variable take_first() {
    assert(!heap_.empty());
    const Variable first = heap_.front();
    assert(places_[first] == 0);
    places_[first] = ABSENT;
    const Variable last = heap_.back();
    heap_.pop_back();
    if (first != last) {
      heap_.front() = last;
      places_[last] = 0;
      move_down(0);
    }
    return first;
  }

  void bump(Variable variable) {
    if ((activities_[variable] += increment_) > LARGEST) rescale();
    if (has(variable)) move_up(places_[variable]);
  }
  /// Makes what was bumped before count less, by `factor` in (0, 1).
  void decay(double factor) {
    assert(0 < factor && factor < 1);
    increment_ /= factor;
  }

  /// Whether no variable is more active than the one above it, and places are right.
  [[nodiscard]] bool is_normal() const {
    for (std::uint32_t i = 0; i < heap_.size(); i++) {
      if (places_[heap_[i]] != i) return false;
      if (i > 0 && activities_[heap_[(i - 1) / 2]] < activities_[heap_[i]]) return false;
    }
    return true;
  }

 private:
  static constexpr std::uint32_t ABSENT = 0xFFFFFFFFU;
  static constexpr double LARGEST = 1e100;

  void move_up(std::uint32_t place) {
    const Variable variable = heap_[place];
    const double activity = activities_[variable];
    while (place > 0) {
      const std::uint32_t parent = (place - 1) / 2;
      if (activities_[heap_[parent]] >= activity) break;
      put(heap_[parent], place);
      place = parent;
    }
    put(variable, place);
  }
  void move_down(std::uint32_t place) {
    const Variable variable = heap_[place];
    const double activity = activities_[variable];
    for (std::size_t child = 0; (child = 2 * std::size_t{place} + 1) < heap_.size();) {
      if (child + 1 < heap_.size() &&
          activities_[heap_[child + 1]] > activities_[heap_[child]])
        child++;
      if (activities_[heap_[child]] <= activity) break;
      put(heap_[child], place);
      place = static_cast<std::uint32_t>(child);
    }
    put(variable, place);
  }
  void put(Variable variable, std::uint32_t place) {
    heap_[place] = variable;
    places_[variable] = place;
  }
  void rescale() {
    assert(increment_ > 1);
    for (double& activity : activities_)
      activity /= LARGEST;
    increment_ /= LARGEST;
  }

  std::vector<double> activities_;     // by variable
  std::vector<std::uint32_t> places_;  // by variable: where it is in heap_, or ABSENT
  std::vector<Variable> heap_;
  double increment_ = 1;
};

}  // namespace opal::sat

#endif
