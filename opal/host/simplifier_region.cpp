#include "opal/host/simplifier_region.h"

#include <algorithm>
#include <cassert>

namespace opal::host {

using Relation = BoundLiteral::Relation;

void Region::add_lower(const Bound& bound) {
  if (!lower_ || lower_->value < bound.value ||
      (lower_->value == bound.value && bound.strict)) {
    lower_ = bound;
  }
}

void Region::add_upper(const Bound& bound) {
  if (!upper_ || bound.value < upper_->value ||
      (upper_->value == bound.value && bound.strict)) {
    upper_ = bound;
  }
}

void Region::add(const BoundLiteral& literal) {
  const QNumber& c = literal.bound;
  switch (literal.relation) {
    case Relation::LEQ: return add_upper({c, false});
    case Relation::LT: return add_upper({c, true});
    case Relation::GEQ: return add_lower({c, false});
    case Relation::GT: return add_lower({c, true});
    case Relation::EQ:
      add_lower({c, false});
      add_upper({c, false});
      return;
    case Relation::NEQ: excluded_.push_back(c); return;
  }
}

// rule exclude-border
// match:  f <= c and f != c
// result: f < c, or f <= c - 1 for an integral f; excluded points above c are dropped
void Region::settle_upper() {
  while (upper_ && !excluded_.empty() && excluded_.back() >= upper_->value) {
    if (excluded_.back() == upper_->value && !upper_->strict) {
      if (integral_) {
        upper_->value -= QNumber(1);
      } else {
        upper_->strict = true;
      }
    }
    excluded_.pop_back();
  }
}

void Region::settle_lower() {
  auto first = excluded_.begin();
  for (; lower_ && first != excluded_.end() && *first <= lower_->value; ++first) {
    if (*first != lower_->value || lower_->strict) continue;
    if (integral_) {
      lower_->value += QNumber(1);
    } else {
      lower_->strict = true;
    }
  }
  excluded_.erase(excluded_.begin(), first);
}

void Region::settle() {
  std::sort(excluded_.begin(), excluded_.end());
  excluded_.erase(std::unique(excluded_.begin(), excluded_.end()), excluded_.end());
  settle_upper();
  settle_lower();
  assert(is_settled());
}

bool Region::is_settled() const {
  if (integral_ && ((lower_ && lower_->strict) || (upper_ && upper_->strict))) return false;
  if (empty()) return true;
  for (std::size_t i = 0; i < excluded_.size(); ++i) {
    if (i > 0 && excluded_[i] <= excluded_[i - 1]) return false;
    if (lower_ && excluded_[i] <= lower_->value) return false;
    if (upper_ && excluded_[i] >= upper_->value) return false;
  }
  return true;
}

bool Region::empty() const { return lower_ && upper_ && is_empty(*lower_, *upper_); }

bool Region::is_point() const {
  return !empty() && lower_ && upper_ && lower_->value == upper_->value;
}

bool Region::excludes(const BoundLiteral& literal) const {
  if (empty()) return true;
  const Bound c{literal.bound, false};
  const Bound strict{literal.bound, true};
  switch (literal.relation) {
    case Relation::LEQ: return lower_ && is_empty(*lower_, c);
    case Relation::LT: return lower_ && is_empty(*lower_, strict);
    case Relation::GEQ: return upper_ && is_empty(c, *upper_);
    case Relation::GT: return upper_ && is_empty(strict, *upper_);
    case Relation::EQ:
      return (lower_ && is_empty(*lower_, c)) || (upper_ && is_empty(c, *upper_)) ||
             std::binary_search(excluded_.begin(), excluded_.end(), c.value);
    case Relation::NEQ: break;
  }
  return is_point() && lower_->value == literal.bound;
}

std::vector<BoundLiteral> Region::literals(std::size_t form) const {
  assert(!empty());
  if (is_point()) return {{form, Relation::EQ, lower_->value}};
  std::vector<BoundLiteral> result;
  if (lower_) {
    result.push_back({form, lower_->strict ? Relation::GT : Relation::GEQ, lower_->value});
  }
  if (upper_) {
    result.push_back({form, upper_->strict ? Relation::LT : Relation::LEQ, upper_->value});
  }
  for (const QNumber& c : excluded_)
    result.push_back({form, Relation::NEQ, c});
  return result;
}

}  // namespace opal::host
