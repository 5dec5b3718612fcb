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

namespace opal::la {

void Interpolator::LongList::attach(CoeffList& list) {
  if (list_ == &list) return;
  list_ = nullptr;
  place_of_.clear();
  constraints_.clear();
  for (std::size_t place = 0; place < list.size(); ++place) {
    constraints_.insert(list[place].second);
    note_place(*list[place].second, place);
  }
  list_ = &list;
}

void Interpolator::LongList::add(QNumber* multiplier, Equation* e) {
  assert(list_ != nullptr && !holds(e));
  for (std::size_t place = linked_place(*e); place < list_->size();
       place = linked_place(*e)) {
    const auto [other_multiplier, other] = (*list_)[place];
    e = engine_.get_comb(other_multiplier, other, multiplier, e);
    multiplier = nullptr;
    remove(place);
  }
  constraints_.insert(e);
  note_place(*e, list_->size());
  list_->emplace_back(multiplier, e);
}

std::size_t Interpolator::LongList::linked_place(const Equation& e) const {
  for (const auto& pair : e.coeffs()) {
    const auto it = place_of_.find(pair.first);
    if (it != place_of_.end() && engine_.is_eliminable(pair.first, vars_))
      return it->second;
  }
  return list_->size();
}

// The last pair takes the place of the removed one.
void Interpolator::LongList::remove(std::size_t place) {
  CoeffList& list = *list_;
  const std::size_t last = list.size() - 1;
  constraints_.erase(list[place].second);
  for (const auto& pair : list[place].second->coeffs()) {
    const auto it = place_of_.find(pair.first);
    if (it != place_of_.end() && it->second == place) place_of_.erase(pair.first);
  }
  if (place != last) {
    list[place] = list[last];
    note_place(*list[place].second, place);
  }
  list.pop_back();
}

void Interpolator::LongList::note_place(const Equation& e, std::size_t place) {
  for (const auto& pair : e.coeffs())
    if (engine_.is_eliminable(pair.first, vars_)) place_of_[pair.first] = place;
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
