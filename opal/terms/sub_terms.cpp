// Sub-terms by ascending id, without a mark on any term and without recursion.
//
// A heap yields the terms by descending id. When a term is taken, everything that has it
// as an argument was taken before, so all its copies in the heap come out together.
//
// Example: for x + (x + 1), with ids x = 1, 1 = 2, x + 1 = 3 and the sum 4, the heap yields
// 4, 3, 2, 1, 1; the second 1 is dropped. Cost: m * log(m) for m arguments in the DAG.

#include "opal/terms/sub_terms.h"

#include <algorithm>
#include <cassert>

#include "opal/terms/terms.h"

namespace opal::host {

namespace {

bool earlier(const Term_* a, const Term_* b) { return a->id() < b->id(); }

}  // namespace

SubTerms::SubTerms(const std::vector<const Term_*>& roots, Floors floors) {
  assert(std::find(roots.begin(), roots.end(), nullptr) == roots.end());
  std::vector<const Term_*> heap(roots);
  std::make_heap(heap.begin(), heap.end(), earlier);
  while (!heap.empty()) {
    std::pop_heap(heap.begin(), heap.end(), earlier);
    const Term_* t = heap.back();
    heap.pop_back();
    if (!terms_.empty() && terms_.back() == t) continue;
    assert(terms_.empty() || t->id() < terms_.back()->id());
    terms_.push_back(t);
    if (floors == Floors::ATOMIC && Terms::kind_of(t) == Kind::FLOOR) continue;
    for (const Term_* argument : *t) {
      assert(argument->id() < t->id());
      heap.push_back(argument);
      std::push_heap(heap.begin(), heap.end(), earlier);
    }
  }
  std::reverse(terms_.begin(), terms_.end());
}

std::size_t SubTerms::position(const Term_* t) const {
  // Ids ascend strictly, so no term stands further right than its distance to the first
  // id, nor further left than its distance to the last one leaves room for.
  assert(!terms_.empty() && terms_.front()->id() <= t->id());
  assert(t->id() <= terms_.back()->id());
  const std::size_t last = terms_.size() - 1;
  const std::size_t high = std::min<std::size_t>(last, t->id() - terms_.front()->id());
  const std::size_t gap = terms_.back()->id() - t->id();
  const std::size_t low = gap < last ? last - gap : 0;
  assert(low <= high);
  const auto first = terms_.begin();
  const auto found =
      std::lower_bound(first + static_cast<std::ptrdiff_t>(low),
                       first + static_cast<std::ptrdiff_t>(high), t, earlier);
  assert(*found == t);
  return static_cast<std::size_t>(found - first);
}

}  // namespace opal::host
