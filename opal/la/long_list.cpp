// A list that grows along a chain of combinations,
//
//     comb n       [e1, e2, ..., ek, f]     k pairs at each of n nodes: n * k if copied
//     +-- hyp      [f]
//     +-- comb n-1 [e1, e2, ..., ek]
//         +-- ...
//
// moves up instead: when the lower node has no other parent, nobody will ask for its list
// again. Adding f then costs a look-up of f's variables, whatever k is.

#include "opal/la/long_list.h"

#include <cassert>
#include <utility>

#include "opal/la/merge_table.h"

namespace opal::la {

void Interpolator::LongList::attach(CoeffList& list) {
  if (list_ == &list) return;
  list_ = nullptr;
  is_settled_ = true;
  list.reserve(SHORT + 1);  // by which forget_premise knows it
  position_of_.clear();
  constraints_.clear();
  for (std::size_t i = 0; i < list.size(); ++i) {
    constraints_.insert(list[i].second);
    note_position(*list[i].second, i);
  }
  list_ = &list;
  assert(is_normal());
}

void Interpolator::LongList::settle(proof::Proof* node) {
  if (unsettled_.empty()) return;
  CoeffList* const list = engine_.find_in_cache(node);
  if (list == nullptr || !unsettled_.erase(list)) return;
  if (list == list_) list_ = nullptr;
  engine_.merge_table_->order(*list);
}

void Interpolator::LongList::forget(const CoeffList* list) {
  if (list == list_) list_ = nullptr;
  unsettled_.erase(list);
}

void Interpolator::LongList::add(QNumber* multiplier, Equation* e) {
  assert(list_ != nullptr && e != nullptr && !holds(e));
  if (is_settled_) unsettled_.insert(list_);
  is_settled_ = false;
  for (std::size_t i = linked_position(*e); i < list_->size(); i = linked_position(*e)) {
    const auto [other_multiplier, other] = (*list_)[i];
    e = engine_.get_comb(other_multiplier, other, multiplier, e);
    multiplier = nullptr;
    remove(i);
  }
  constraints_.insert(e);
  note_position(*e, list_->size());
  list_->emplace_back(multiplier, e);
  assert(constraints_.size() == list_->size());
}

std::size_t Interpolator::LongList::linked_position(const Equation& e) const {
  for (const auto& pair : e.coeffs()) {
    const auto it = position_of_.find(pair.first);
    if (it == position_of_.end() || !engine_.is_eliminable(pair.first, vars_)) continue;
    assert(!(*list_)[it->second].second->coeff(pair.first).is_zero());
    return it->second;
  }
  return list_->size();
}

// The last pair takes the position of the removed one.
void Interpolator::LongList::remove(std::size_t position) {
  CoeffList& list = *list_;
  assert(position < list.size());
  const std::size_t last = list.size() - 1;
  constraints_.erase(list[position].second);
  for (const auto& pair : list[position].second->coeffs()) {
    const auto it = position_of_.find(pair.first);
    if (it != position_of_.end() && it->second == position) position_of_.erase(pair.first);
  }
  if (position != last) {
    list[position] = list[last];
    note_position(*list[position].second, position);
  }
  list.pop_back();
}

void Interpolator::LongList::note_position(const Equation& e, std::size_t position) {
  for (const auto& pair : e.coeffs())
    if (engine_.is_eliminable(pair.first, vars_)) position_of_[pair.first] = position;
}

bool Interpolator::LongList::is_normal() const {
  if (list_ == nullptr) return true;
  if (constraints_.size() != list_->size()) return false;
  for (std::size_t i = 0; i < list_->size(); ++i) {
    Equation* const e = (*list_)[i].second;
    if (!holds(e)) return false;
    for (const auto& pair : e->coeffs()) {
      if (!engine_.is_eliminable(pair.first, vars_)) continue;
      const auto it = position_of_.find(pair.first);
      if (it == position_of_.end() || it->second != i) return false;
    }
  }
  return position_of_.is_normal() && constraints_.is_normal();
}

bool Interpolator::extend_long_list(LaComb* comb, LongList& index) {
  CoeffList* base = find_in_cache(comb->premise1);
  if (base == nullptr) return false;
  CoeffList* other = find_in_cache(comb->premise2);
  if (other == nullptr) return false;
  const bool swapped = base->size() < other->size();
  if (swapped) std::swap(base, other);
  proof::Proof* const base_premise = swapped ? comb->premise2 : comb->premise1;
  proof::Proof* const other_premise = swapped ? comb->premise1 : comb->premise2;
  QNumber* const base_coeff = swapped ? comb->coeff2 : comb->coeff1;
  QNumber* const other_coeff = swapped ? comb->coeff1 : comb->coeff2;
  if (base->size() < LongList::SHORT || base_premise->references() > 1) return false;
  if (base_coeff != nullptr || (other_coeff != nullptr && other_coeff->is_zero()))
    return false;
  const bool adds_nothing = other->size() == 1 && other->front().second == &zero_eq_;
  if (!adds_nothing) {
    index.attach(*base);
    for (const auto& pair : *other)
      if (index.holds(pair.second)) return false;
  }
  assert(to_visit_.back() == comb);
  to_visit_.pop_back();
  proof_cache_[comb] = base;
  proof_cache_.erase(base_premise);
  if (adds_nothing) {
    forget_premise(other_premise, index);
    return true;
  }
  bool is_first = true;
  for (auto [multiplier, e] : *other) {
    if (is_first && (multiplier == nullptr || *multiplier == LaComb::one))
      multiplier = other_coeff != nullptr ? other_coeff : multiplier;
    is_first = false;
    index.add(multiplier, e);
  }
  forget_premise(other_premise, index);
  return true;
}

}  // namespace opal::la
