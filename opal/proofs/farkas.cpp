#include "opal/proofs/farkas.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>

#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/rule_cast.h"
#include "opal/proofs/proof_walk.h"

// From a combination to a proof.
//
//     2*(x - y >= 0)   3*(y - z - 1 >= 0)   1*(...)
//
// becomes, for up to RUN_LENGTH leaves, a chain in which each step adds one leaf,
//
//     LaComb(m3, leaf3, 1, LaComb(m1, leaf1, m2, leaf2))
//
// and for more leaves a balanced tree over such chains. The engine keeps a list of
// constraints for every node, as long as the number of A's leaves below it that no common
// variable has joined; in one chain of n leaves the lists can have n^2/2 entries in sum, in
// the balanced tree they have at most n * log2(n).

namespace opal::host {

namespace {

using proof::ProofRef;

constexpr std::size_t RUN_LENGTH = 8;

// Adds up the leaves of the same constraint and sign; the first one keeps its place.
FarkasCombination merged(FarkasCombination leaves) {
  std::unordered_map<std::int64_t, std::size_t> places;
  places.reserve(leaves.size());
  std::size_t count = 0;
  for (FarkasLeaf& leaf : leaves) {
    assert(leaf.is_normal());
    const std::int64_t key = std::int64_t{leaf.constraint_id} * 3 + leaf.sign;
    const auto [place, is_new] = places.emplace(key, count);
    if (is_new)
      std::swap(leaves[count++], leaf);
    else
      leaves[place->second].multiplier += leaf.multiplier;
  }
  assert(0 < count && count == places.size());
  leaves.erase(leaves.begin() + static_cast<std::ptrdiff_t>(count), leaves.end());
  return leaves;
}

// Scales the multipliers to integers without a common divisor.
void make_coprime(FarkasCombination& leaves) {
  QNumber denominator(1);
  for (const FarkasLeaf& leaf : leaves)
    if (!leaf.multiplier.is_integer())
      denominator = lcm(denominator, leaf.multiplier.get_den());
  QNumber divisor;
  const bool fractions = denominator != QNumber(1);
  for (FarkasLeaf& leaf : leaves) {
    if (fractions) leaf.multiplier *= denominator;
    if (divisor != QNumber(1)) divisor = gcd(divisor, leaf.multiplier);
  }
  assert(divisor.sign() > 0);
  for (FarkasLeaf& leaf : leaves) {
    if (divisor != QNumber(1)) leaf.multiplier /= divisor;
    leaf.multiplier.shrink();
    assert(leaf.multiplier.is_integer() && leaf.is_normal());
  }
}

/// Puts leaves in an order in which the uses of a variable lie together: the next leaf is
/// always one with the fewest variables that no leaf before it has, the one touched last
/// if there are several. Takes time linear in the number of variable occurrences.
class LeafOrder {
 public:
  LeafOrder(const ConstraintTerms& terms, const FarkasCombination& leaves)
      : fresh_(leaves.size()), taken_(leaves.size()) {
    for (std::size_t i = 0; i < leaves.size(); ++i) {
      const auto& coeffs = terms.constraint_term(leaves[i].constraint_id).vars.coeffs();
      fresh_[i] = coeffs.size();
      for (const auto& pair : coeffs) {
        assert(pair.first > 0);
        const auto var = static_cast<std::size_t>(pair.first);
        if (var >= first_use_.size()) first_use_.resize(var + 1, 0);
        uses_.push_back({i, first_use_[var]});
        first_use_[var] = uses_.size();
      }
    }
  }

  std::vector<std::size_t> order(const ConstraintTerms& terms,
                                 const FarkasCombination& leaves) {
    std::vector<std::size_t> result;
    result.reserve(leaves.size());
    for (std::size_t start = 0; start < leaves.size(); ++start) {
      for (std::size_t next = start; next != NONE; next = closest()) {
        if (taken_[next]) break;
        taken_[next] = true;
        result.push_back(next);
        for (const auto& pair :
             terms.constraint_term(leaves[next].constraint_id).vars.coeffs())
          open(static_cast<std::size_t>(pair.first));
      }
    }
    return result;
  }

 private:
  static constexpr std::size_t NONE = SIZE_MAX;
  struct Use {
    std::size_t leaf;
    std::size_t next;  // position in uses_ plus one, 0 at the end
  };

  // Counts a variable as used in all its leaves.
  void open(std::size_t var) {
    for (std::size_t use = first_use_[var]; use != 0; use = uses_[use - 1].next) {
      const std::size_t leaf = uses_[use - 1].leaf;
      assert(fresh_[leaf] > 0);
      const std::size_t count = --fresh_[leaf];
      if (taken_[leaf]) continue;
      if (count >= by_fresh_.size()) by_fresh_.resize(count + 1);
      by_fresh_[count].push_back(leaf);
    }
    first_use_[var] = 0;
  }

  std::size_t closest() {
    for (std::size_t count = 0; count < by_fresh_.size(); ++count) {
      std::vector<std::size_t>& candidates = by_fresh_[count];
      while (!candidates.empty()) {
        const std::size_t leaf = candidates.back();
        candidates.pop_back();
        if (!taken_[leaf] && fresh_[leaf] == count) return leaf;
      }
    }
    return NONE;
  }

  std::vector<std::size_t> fresh_;  // by leaf: how many variables no taken leaf has
  std::vector<bool> taken_;
  std::vector<Use> uses_;
  std::vector<std::size_t> first_use_;              // by variable; 0 once it is open
  std::vector<std::vector<std::size_t>> by_fresh_;  // leaves by fresh_, some outdated
};

std::unique_ptr<QNumber> new_multiplier(const QNumber& q) {
  return q == QNumber(1) ? nullptr : std::make_unique<QNumber>(q);
}

ProofRef combination(const QNumber& m1, ProofRef p1, const QNumber& m2, ProofRef p2) {
  assert(m1.sign() > 0 && m2.sign() > 0 && p1 && p2);
  // A multiplier stands on a leaf only; see farkas_proof().
  assert(m1 == QNumber(1) || !la::is<la::LaComb>(p1.get()));
  assert(m2 == QNumber(1) || !la::is<la::LaComb>(p2.get()));
  auto c1 = new_multiplier(m1);
  auto c2 = new_multiplier(m2);
  // The node is allocated before anything is handed over to it.
  return ProofRef(
      new la::LaComb(c1.release(), p1.take(), c2.release(), p2.take(), 0, 0, 0));
}

// The chain of the leaves order[begin..end), of which there are two or more.
ProofRef run(const FarkasCombination& leaves, const std::vector<std::size_t>& order,
             std::size_t begin, std::size_t end, const LeafMaker& make_leaf) {
  assert(begin < end && end <= order.size() && end - begin >= 2);
  assert(end - begin <= RUN_LENGTH);
  const FarkasLeaf& first = leaves[order[begin]];
  const FarkasLeaf& second = leaves[order[begin + 1]];
  ProofRef rest =
      combination(first.multiplier, make_leaf(first), second.multiplier, make_leaf(second));
  for (std::size_t i = begin + 2; i < end; ++i) {
    const FarkasLeaf& leaf = leaves[order[i]];
    rest = combination(leaf.multiplier, make_leaf(leaf), QNumber(1), std::move(rest));
  }
  return rest;
}

}  // namespace

ProofRef hypothesis(const FarkasLeaf& leaf) {
  assert(leaf.is_normal());
  return ProofRef(new la::LaHyp(leaf.constraint_id, leaf.sign));
}

ProofRef farkas_proof(const ConstraintTerms& terms, FarkasCombination leaves,
                      const LeafMaker& make_leaf, Multipliers multipliers) {
  assert(!leaves.empty());
  leaves = merged(std::move(leaves));
  if (multipliers == Multipliers::COPRIME) make_coprime(leaves);
  if (leaves.size() == 1) return make_leaf(leaves.front());
  const std::vector<std::size_t> order = LeafOrder(terms, leaves).order(terms, leaves);
  assert(order.size() == leaves.size());

  // Runs of nearly equal length, so that none has a single leaf.
  const std::size_t count = (leaves.size() + RUN_LENGTH - 1) / RUN_LENGTH;
  std::vector<ProofRef> level;
  level.reserve(count);
  for (std::size_t i = 0; i < count; ++i)
    level.push_back(run(leaves, order, i * leaves.size() / count,
                        (i + 1) * leaves.size() / count, make_leaf));
  assert(count >= 1 && level.size() == count);
  while (level.size() > 1) {
    std::vector<ProofRef> above;
    above.reserve(level.size() / 2 + 1);
    for (std::size_t i = 0; i + 1 < level.size(); i += 2)
      above.push_back(combination(QNumber(1), std::move(level[i]), QNumber(1),
                                  std::move(level[i + 1])));
    if (level.size() % 2 == 1) above.push_back(std::move(level.back()));
    level = std::move(above);
  }
  return std::move(level.front());
}

ProofRef disequality_proof(int constraint_id, ProofRef at_most, ProofRef at_least) {
  assert(at_most && at_least);
  return ProofRef(new la::LaNeq(constraint_id, at_most.take(), at_least.take()));
}

std::vector<int> proof_constraints(const proof::Proof& root) {
  std::vector<int> ids;
  walk_proof(root, [&ids](const proof::Proof* node) {
    if (const auto* hyp = la::as<la::LaHyp>(node)) {
      ids.push_back(hyp->constraint_id);
      return false;
    }
    if (const auto* neq = la::as<la::LaNeq>(node)) {
      ids.push_back(neq->constraint_id);
    } else if (const auto* cut = la::as<laz::LaZTighteningProof>(node)) {
      assert(cut->coeffs.size() + 1 == cut->constraints.size());
      ids.insert(ids.end(), cut->constraints.begin(), cut->constraints.end());
    } else if (const auto* sub = la::as<laz::LaZEqSubProof>(node)) {
      assert(sub->coeffs.size() == sub->constraints.size());
      ids.insert(ids.end(), sub->constraints.begin(), sub->constraints.end());
    } else {
      assert(premises_of(*node).count > 0 && "a rule that the solver does not use");
    }
    return true;
  });
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  return ids;
}

}  // namespace opal::host
