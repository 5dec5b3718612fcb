// Merging a coefficient list by variables.
//
// The variables are visited in the order of the table. The first two constraints that have
// the visited variable, if it may not stay, give way to their sum:
//
//     [x2 - x3, x3 - x4, x4 - x5]    vars = {x2, x5}
//     x3:  [x4 - x5, x2 - x4]
//     x4:  [x2 - x5]
//
// A pass visits each variable once. A sum may have lost variables, but never has new ones,
// so passes end: each but the last one makes the list shorter.
//
// The table's order: buckets of variable mod count, each with the variable that was
// inserted last in front. Of two constraints with the same first variable, the one that
// came first is written first.
//
// Cost: linear in the constraints for each pass; there are rarely more than two.

#include "opal/la/merge_table.h"

#include <cassert>

namespace opal::la {

void Interpolator::MergeTable::merge(CoeffList& pairs, const TermSet& vars,
                                     std::size_t repeated) {
  fill(pairs, repeated);
  while (eliminate(vars)) {
  }
  write(pairs);
}

void Interpolator::MergeTable::order(CoeffList& pairs) {
  fill(pairs, 0);
  write(pairs);
}

// A full table grows when a variable is looked up, whether it is new or not. So it grows
// for the variables of a repeated constraint as well.
void Interpolator::MergeTable::fill(const CoeffList& pairs, std::size_t repeated) {
  assert(repeated <= pairs.size());
  const std::size_t least_count = hsh::bucket_shape(1).count;
  if (chains_.bucket_count() == least_count)
    chains_.clear();
  else
    chains_ = {};  // the order of a table that has grown would be another one
  occurrences_.clear();
  pairs_.assign(pairs.begin(), pairs.end());
  for (std::size_t i = 0; i < pairs_.size(); ++i) {
    assert(pairs_[i].second != nullptr && pairs_[i].second->is_normal());
    for (const auto& term : pairs_[i].second->coeffs())
      enter(chains_[term.first], i);
    if (i + 1 == repeated && !chains_.empty()) (void)chains_[chains_.begin()->first];
  }
  assert(is_normal());
}

void Interpolator::MergeTable::enter(Chain& chain, std::size_t pair) {
  assert(pair < pairs_.size());
  const std::size_t last = occurrences_.size();
  occurrences_.push_back({pair, NONE});
  (chain.head == NONE ? chain.head : occurrences_[chain.tail].next) = last;
  chain.tail = last;
}

std::size_t Interpolator::MergeTable::present(std::size_t i) const {
  assert(i == NONE || i < occurrences_.size());
  while (i != NONE && pairs_[occurrences_[i].pair].second == nullptr)
    i = occurrences_[i].next;
  return i;
}

bool Interpolator::MergeTable::eliminate(const TermSet& vars) {
  const int none = engine_.delta_var_;  // which links nothing
  int last_linked = none;
  for (auto& [var, chain] : chains_) {
    chain.head = present(chain.head);
    if (chain.head == NONE) continue;
    const std::size_t second = present(occurrences_[chain.head].next);
    if (second == NONE || !engine_.is_eliminable(var, vars)) continue;
    sum(occurrences_[chain.head].pair, occurrences_[second].pair);
    last_linked = var;
  }
  // Looking up a variable may make the table grow. That waits for the end of the pass.
  if (last_linked != none) (void)chains_[last_linked];
  assert(is_normal());
  return last_linked != none;
}

void Interpolator::MergeTable::sum(std::size_t i, std::size_t j) {
  assert(i != j);
  const auto [q1, e1] = pairs_[i];
  const auto [q2, e2] = pairs_[j];
  assert(e1 != nullptr && e2 != nullptr && e1 != e2);
  Equation* const e = engine_.get_comb(q1, e1, q2, e2);
  assert(e->coeffs().size() <= e1->coeffs().size() + e2->coeffs().size());
  pairs_[i].second = pairs_[j].second = nullptr;
  pairs_.emplace_back(nullptr, e);
  for (const auto& term : e->coeffs()) {
    const auto chain = chains_.find(term.first);
    assert(chain != chains_.end());
    enter(chain->second, pairs_.size() - 1);
  }
}

void Interpolator::MergeTable::write(CoeffList& pairs) {
  pairs.clear();
  auto take = [&pairs](Pair& pair) {
    pairs.push_back(pair);
    pair.second = nullptr;
  };
  for (const auto& entry : chains_)
    for (std::size_t i = present(entry.second.head); i != NONE;
         i = present(occurrences_[i].next))
      take(pairs_[occurrences_[i].pair]);
  for (Pair& pair : pairs_) {
    if (pair.second == nullptr) continue;
    assert(!pair.second->has_vars());
    take(pair);
  }
  assert(pairs.size() <= pairs_.size());
}

bool Interpolator::MergeTable::is_normal() const {
  std::size_t expected = 0, found = 0;
  for (const Pair& pair : pairs_)
    expected += pair.second == nullptr ? 0 : pair.second->coeffs().size();
  for (const auto& [var, chain] : chains_)
    for (std::size_t i = present(chain.head); i != NONE;
         i = present(occurrences_[i].next)) {
      if (pairs_[occurrences_[i].pair].second->coeff(var).is_zero()) return false;
      ++found;
    }
  return found == expected && chains_.is_normal();
}

}  // namespace opal::la
