#ifndef OPAL_BASE_HASH_INDEX_H
#define OPAL_BASE_HASH_INDEX_H

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace opal::host {

/// Finds elements of a sequence by what they are: a table of their numbers, which count
/// from 1, by hash. The elements themselves, and what makes two of them equal, are the
/// owner's.
///
///     HashIndex index;                                   // of names[0], names[1], ...
///     const auto is_it = [&](std::uint32_t n) { return names[n - 1] == name; };
///     if (index.find(hash_of(name), is_it) == 0) {
///       index.make_room();
///       names.push_back(name);
///       index.insert(hash_of(name), names.size());
///     }
///
/// Open addressing with linear probing. Invariant (is_normal): slots_.size() is 0 or a
/// power of two, at least twice the number of occupied slots; a slot with number 0 is
/// empty, and no empty slot lies between an occupied one and the slot that its hash names.
class HashIndex {
 public:
  using Number = std::uint32_t;

  /// The number with that hash for which is_it(number) holds, or 0.
  template <typename IsIt>
  [[nodiscard]] Number find(std::uint32_t hash, IsIt is_it) const {
    if (slots_.empty()) return 0;
    std::size_t i = hash & mask();
    for (; slots_[i].number != 0; i = next(i))
      if (slots_[i].hash == hash && is_it(slots_[i].number)) return slots_[i].number;
    return 0;
  }

  /// Makes room for one more, so that the next insert() does not throw.
  void make_room() {
    if (2 * (occupied_ + 1) > slots_.size()) grow();
  }
  /// Enters a number, which is not there yet; make_room() was called for it.
  void insert(std::uint32_t hash, std::size_t number) {
    assert(2 * (occupied_ + 1) <= slots_.size());
    assert(0 < number && number <= UINT32_MAX);
    assert(find(hash, [&](Number n) { return n == number; }) == 0);
    slots_[empty_slot(hash)] = {hash, static_cast<Number>(number)};
    ++occupied_;
  }
  /// Removes a number, which is there.
  void erase(std::uint32_t hash, std::size_t number) {
    assert(occupied_ > 0);
    std::size_t hole = hash & mask();
    while (slots_[hole].number != number) {
      assert(slots_[hole].number != 0);
      hole = next(hole);
    }
    --occupied_;
    // The entries that follow without a gap move up, but none before the slot of its hash.
    for (std::size_t i = next(hole); slots_[i].number != 0; i = next(i)) {
      const std::size_t home = slots_[i].hash & mask();
      if (((i - home) & mask()) < ((i - hole) & mask())) continue;
      slots_[hole] = slots_[i];
      hole = i;
    }
    slots_[hole] = Slot();
  }
  void clear() {
    slots_.clear();
    occupied_ = 0;
  }

  [[nodiscard]] std::size_t size() const { return occupied_; }

  /// The class invariant, for assertions. Time linear in the number of slots.
  [[nodiscard]] bool is_normal() const {
    if (slots_.empty()) return occupied_ == 0;
    if ((slots_.size() & mask()) != 0 || 2 * occupied_ > slots_.size()) return false;
    std::size_t count = 0;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      if (slots_[i].number == 0) continue;
      ++count;
      for (std::size_t at = slots_[i].hash & mask(); at != i; at = next(at))
        if (slots_[at].number == 0) return false;
    }
    return count == occupied_;
  }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    Number number = 0;
  };

  [[nodiscard]] std::size_t mask() const {
    assert(!slots_.empty() && (slots_.size() & (slots_.size() - 1)) == 0);
    return slots_.size() - 1;
  }
  [[nodiscard]] std::size_t next(std::size_t i) const { return (i + 1) & mask(); }
  [[nodiscard]] std::size_t empty_slot(std::uint32_t hash) const {
    std::size_t i = hash & mask();
    while (slots_[i].number != 0)
      i = next(i);
    return i;
  }
  void grow() {
    std::vector<Slot> old(std::max<std::size_t>(64, 2 * slots_.size()));
    old.swap(slots_);
    for (const Slot& slot : old)
      if (slot.number != 0) slots_[empty_slot(slot.hash)] = slot;
    assert(is_normal());
  }

  std::vector<Slot> slots_;
  std::size_t occupied_ = 0;
};

/// The hash of a name in a HashIndex.
inline std::uint32_t hash_of(std::string_view name) {
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
}

}  // namespace opal::host

#endif
