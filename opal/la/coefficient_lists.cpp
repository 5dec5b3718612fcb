// Arithmetic on coefficient lists.
//
// The merge of two lists keeps constraints apart while nothing forces them together, so
// that an interpolant can be a conjunction of small inequalities instead of one sum:
//
//     (p, e) in l1    (q, f) in l2
//     ---------------------------- if e and f share a variable that has to disappear
//             p*e + q*f
//
// A variable may stay when its term is in the set of B's variables. The strictness
// variable is nobody's and links nothing.
//
// Example: l1 = [x - 2y >= 0], l2 = [2 * (y - z >= 0)]. When B mentions x and z, y links
// the two, and the merge is [x - 2z >= 0]. When B mentions y too, it is l1 and l2.
//
// Sound because the weighted sum of the pairs does not change, and each pair follows from
// A: it is a sum of A's constraints with positive multipliers. The result is closed: no
// eliminable variable occurs in two of its constraints, no constraint occurs twice.
//
// Cost: linear in the constraints, by a table of their variables (merge_table.h), which
// also gives the order of the result. Most merges are of two constraints at most and need
// no table.

#include <algorithm>
#include <cassert>

#include "opal/la/interpolator.h"
#include "opal/la/long_list.h"
#include "opal/la/merge_table.h"

namespace opal::la {

namespace {

QNumber times(const QNumber* multiplier, const QNumber& q) {
  return multiplier == nullptr ? q : *multiplier * q;
}

// c1 * e1 + c2 * e2, by one walk over both.
Equation sum_of(const QNumber* c1, const Equation& e1, const QNumber* c2,
                const Equation& e2) {
  Equation sum;
  sum.reserve(e1.coeffs().size() + e2.coeffs().size());
  auto i = e1.coeffs().begin();
  auto j = e2.coeffs().begin();
  const auto i_end = e1.coeffs().end();
  const auto j_end = e2.coeffs().end();
  assert(e1.is_normal() && e2.is_normal());
  while (i != i_end || j != j_end) {
    const bool takes_i = j == j_end || (i != i_end && i->first <= j->first);
    const bool takes_j = i == i_end || (j != j_end && j->first <= i->first);
    const int var = takes_i ? i->first : j->first;
    QNumber coeff = takes_i ? times(c1, i++->second) : QNumber();
    if (takes_j) coeff += times(c2, j++->second);
    sum.add_var(coeff, var);
  }
  if (e1.constant() != nullptr) sum.add_const(times(c1, *e1.constant()));
  if (e2.constant() != nullptr) sum.add_const(times(c2, *e2.constant()));
  assert(sum.is_normal());
  return sum;
}

// Appends the pairs of a list but for those of `zero`. A constraint that is there already
// gets the new multiplier; `find` tells where it is, or answers null. Returns how many
// pairs there were when a constraint with variables was met again for the last time, else
// 0.
template <typename Find>
std::size_t collect(const CoeffList& list, const Equation* zero, CoeffList& pairs,
                    Find find) {
  std::size_t repeated = 0;
  for (const auto& [multiplier, e] : list) {
    assert(e != nullptr);
    if (e == zero) continue;
    if (auto* known = find(e)) {
      known->first = multiplier;
      if (e->has_vars()) repeated = pairs.size();
    } else {
      pairs.emplace_back(multiplier, e);
    }
  }
  return repeated;
}

}  // namespace

Equation* Interpolator::get_comb(QNumber* c1, Equation* e1, QNumber* c2, Equation* e2) {
  assert(e1 != nullptr && e2 != nullptr);
  if (e1 != &zero_eq_ && e2 != &zero_eq_) {
    const Equation sum = sum_of(c1, *e1, c2, *e2);
    return own(sum);  // a copy has no spare capacity
  }
  const bool first_is_zero = e1 == &zero_eq_;
  Equation* const scaled = own(first_is_zero ? *e2 : *e1);
  const QNumber* const multiplier = first_is_zero ? c2 : c1;
  if (multiplier != nullptr) scaled->mult(*multiplier);
  return scaled;
}

Equation* Interpolator::build_equation(CoeffList& list) {
  fold(list);
  assert(list.size() == 1);
  Equation* const sum = own(*list.front().second);
  if (list.front().first != nullptr) sum->mult(*list.front().first);
  return sum;
}

// Neighbours are summed in rounds: with sums of 1, 2, 4, ... constraints, n constraints
// over different variables cost n log n coefficients, not n^2.
void Interpolator::fold(CoeffList& list) {
  if (list.empty()) fail("empty coefficient list");
  while (list.size() > 1) {
    const std::size_t half = list.size() / 2;
    for (std::size_t i = 0; i < half; ++i) {
      const auto [q_prev, e_prev] = list[2 * i];
      const auto [q_last, e_last] = list[2 * i + 1];
      list[i] = {nullptr, get_comb(q_last, e_last, q_prev, e_prev)};
    }
    if (list.size() % 2 == 1) list[half] = list.back();
    list.resize(list.size() - half);
  }
  assert(list.size() == 1 && list.front().second != nullptr);
}

bool Interpolator::is_eliminable(int var, const TermSet& vars) {
  return var != delta_var_ && (vars.empty() || !vars.contains(term_of(var)));
}

bool Interpolator::are_linked(const Equation& a, const Equation& b, const TermSet& vars) {
  assert(&a != &b);
  const bool a_is_shorter = a.coeffs().size() <= b.coeffs().size();
  const auto& shorter = (a_is_shorter ? a : b).coeffs();
  const auto& longer = (a_is_shorter ? b : a).coeffs();
  auto from = longer.begin();
  for (const auto& pair : shorter) {
    const int var = pair.first;
    from = std::lower_bound(from, longer.end(), var,
                            [](const auto& p, int v) { return p.first < v; });
    if (from == longer.end()) return false;
    if (from->first == var && is_eliminable(var, vars)) return true;
  }
  return false;
}

void Interpolator::merge_two(CoeffList& pairs, const TermSet& vars) {
  assert(pairs.size() == 2 && pairs[0].second != pairs[1].second);
  const auto [q1, e1] = pairs[0];
  const auto [q2, e2] = pairs[1];
  if (are_linked(*e1, *e2, vars)) {
    pairs = {{nullptr, get_comb(q1, e1, q2, e2)}};
  } else if (comes_first(*e2, *e1)) {
    std::swap(pairs[0], pairs[1]);
  }
}

// The variables of e1, then those of e2, are inserted in turn, each in front of those of
// its bucket. The constraint with the variable that is then the first one of all comes
// first.
bool Interpolator::comes_first(const Equation& e2, const Equation& e1) {
  const hsh::BucketShape& shape = hsh::bucket_shape(1);
  assert(e1.coeffs().size() + e2.coeffs().size() < shape.full);
  if (!e1.has_vars() || !e2.has_vars()) return e2.has_vars();
  std::uint64_t least = shape.count;
  int first_var = 0;
  auto insert = [&](int var) {
    const std::uint64_t bucket = shape.index(hsh::hash<int>()(var));
    if (bucket > least) return false;
    least = bucket;
    first_var = var;
    return true;
  };
  for (const auto& pair : e1.coeffs())
    insert(pair.first);
  bool is_of_e2 = false;
  for (const auto& pair : e2.coeffs()) {
    const bool is_new = e1.coeff(pair.first).is_zero();
    if (is_new && insert(pair.first)) is_of_e2 = true;
  }
  assert(!(is_of_e2 ? e2 : e1).coeff(first_var).is_zero());
  return is_of_e2;
}

void Interpolator::combine_eq_coeff_lists(CoeffList& l1, CoeffList& l2, CoeffList* out,
                                          const TermSet& vars) {
  assert(out != nullptr && out != &l1 && out != &l2);
  CoeffList apart;  // from what the list has already
  CoeffList& pairs = out->empty() ? *out : apart;
  pairs.reserve(l1.size() + l2.size());
  std::size_t repeated = 0;
  auto collect_both = [&](auto find) {
    repeated = collect(l1, &zero_eq_, pairs, find);
    repeated = std::max(repeated, collect(l2, &zero_eq_, pairs, find));
  };
  if (l1.size() + l2.size() <= LongList::SHORT) {
    auto find = [&pairs](const Equation* e) {
      const auto it = std::find_if(pairs.begin(), pairs.end(),
                                   [e](const auto& pair) { return pair.second == e; });
      return it == pairs.end() ? nullptr : &*it;
    };
    collect_both(find);
  } else {
    hsh::HashMap<Equation*, std::size_t> positions;
    auto find = [&](Equation* e) {
      const auto [it, is_new] = positions.insert({e, pairs.size()});
      return is_new ? nullptr : &pairs[it->second];
    };
    collect_both(find);
  }
  const bool are_two = pairs.size() == 2;
  if (are_two && pairs[0].second->coeffs().size() + pairs[1].second->coeffs().size() <
                     hsh::bucket_shape(1).full)
    merge_two(pairs, vars);
  else if (pairs.size() > 1)
    merge_table_->merge(pairs, vars, repeated);
  out->insert(out->end(), apart.begin(), apart.end());
  if (out->empty()) out->emplace_back(nullptr, &zero_eq_);
}

}  // namespace opal::la
