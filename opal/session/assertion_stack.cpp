// The stack of a session's assertions, with their names.

#include "opal/session/assertion_stack.h"

#include <algorithm>
#include <cassert>

namespace opal::host {

void AssertionStack::shrink(std::size_t size) {
  assert(size <= assertions_.size());
  assert(levels_.empty() || levels_.back() <= size);
  for (std::size_t i = size; i < assertions_.size(); ++i) {
    if (!assertions_[i].name.empty()) position_.erase(assertions_[i].name);
  }
  assertions_.resize(size);
}

void AssertionStack::pop() {
  assert(!levels_.empty());
  shrink(levels_.back());
  levels_.pop_back();
}

void AssertionStack::clear() {
  levels_.clear();
  shrink(0);
  assert(position_.empty());
}

void AssertionStack::add(const Term_* formula, const std::string& name) {
  assert(formula != nullptr && (name.empty() || !find(name)));
  const std::size_t size = assertions_.size();
  try {
    assertions_.push_back({formula, name});
    if (!name.empty()) position_.emplace(name, size);
  } catch (...) {  // the step that failed changed nothing
    assertions_.resize(size);
    throw;
  }
}

std::optional<std::size_t> AssertionStack::find(const std::string& name) const {
  const auto entry = position_.find(name);
  if (entry == position_.end()) return std::nullopt;
  assert(entry->second < assertions_.size());
  return entry->second;
}

bool AssertionStack::is_normal() const {
  std::size_t names = 0;
  for (std::size_t i = 0; i < assertions_.size(); ++i) {
    if (assertions_[i].formula == nullptr) return false;
    if (assertions_[i].name.empty()) continue;
    ++names;
    if (find(assertions_[i].name) != i) return false;
  }
  return names == position_.size() && std::is_sorted(levels_.begin(), levels_.end()) &&
         (levels_.empty() || levels_.back() <= assertions_.size());
}

}  // namespace opal::host
