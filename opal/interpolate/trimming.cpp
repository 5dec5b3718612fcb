// Trimming of equality sub-proofs.
//
//     m1*e1 + ... + mn*en      has integer coefficients and a constant that is no integer
//     ----------------------------------------------------------------------------------
//     the same of the ei of one side only, if their part of the sum is such a sum itself
//
// Example: A has 2p = 2x + 1, B has x = 0, all integers. 1/2 * (2p - 2x - 1) + (x - 0) is
// p - 1/2. A's part is p - x - 1/2, which no integers make 0: what is left is a proof from
// A's equality alone.
//
// Why: the engine keeps of A's part E what it says of the shared variables when A's own
// variables are integers. When E has integer coefficients it reads the condition off E as
// it is, which is right for an integer constant. In the example it would find that
// x + 1/2 = 0 modulo 1, for which there is no congruence, and answer `true`. After trimming
// E has an integer constant whenever it has integer coefficients, in every partition. The
// dual mode exchanges the sides, so the same is done for B's part.
//
// All partitions of a query get one proof, so that their interpolants fit together: with
// A's part of each partition the exact projection of E = 0, and E growing by the next
// group's equalities, each interpolant and the next group imply the next interpolant.
// Of two groups, what the background has counts for both sides, as it does in the engine.
//
// Cost: each pass sums the equalities up twice for each partition, and drops at least one.

#include "opal/interpolate/trimming.h"

#include <cassert>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/rule_cast.h"

namespace opal::host {

namespace {

using Status = Grouping::status;

// An equality with its multiplier.
using Summand = std::pair<int, QNumber>;

bool is_contradiction(const std::vector<Summand>& summands, const Mapper& mapper) {
  std::map<int, QNumber> coefficients;
  QNumber constant;
  for (const auto& [id, multiplier] : summands) {
    const la::LinearTerm& equality = mapper.constraint_term(id);
    assert(equality.kind == la::LinearTerm::EQ);
    for (const auto& [var, coefficient] : equality.vars.coeffs())
      coefficients[var] += multiplier * coefficient;
    constant += multiplier * equality.constant;
  }
  if (constant.is_integer()) return false;
  for (const auto& entry : coefficients)
    if (!entry.second.is_integer()) return false;
  return true;
}

// The summands that one side of a partition has, if they are not all and are a
// contradiction.
std::optional<std::vector<Summand>> smaller_part(const std::vector<Summand>& summands,
                                                 const Grouping& grouping, std::size_t root,
                                                 const Mapper& mapper) {
  for (const Status other_side : {Status::B_LOCAL, Status::A_LOCAL}) {
    std::vector<Summand> part;
    for (const Summand& summand : summands) {
      const Term_* const atom = mapper.constraint_atom(summand.first);
      if (grouping.atom_colour(atom, root) != other_side) part.push_back(summand);
    }
    if (part.size() < summands.size() && is_contradiction(part, mapper)) return part;
  }
  return std::nullopt;
}

}  // namespace

proof::ProofRef trimmed(proof::Proof& root, const Grouping& grouping,
                        const Mapper& mapper) {
  const auto* const proof = la::as<laz::LaZEqSubProof>(&root);
  if (proof == nullptr) return proof::ProofRef(proof::Proof::retain(&root));
  assert(proof->constraints.size() == proof->coeffs.size());
  std::vector<Summand> summands;
  for (std::size_t i = 0; i < proof->constraints.size(); ++i)
    summands.emplace_back(proof->constraints[i], proof->coeffs[i]);
  std::size_t partition = 0;
  for (std::size_t unchanged = 0; unchanged + 1 < grouping.num_groups();) {
    if (auto part = smaller_part(summands, grouping, partition, mapper)) {
      summands = std::move(*part);
      unchanged = 0;
    } else {
      ++unchanged;
    }
    partition = (partition + 1) % (grouping.num_groups() - 1);
  }
  if (summands.size() == proof->constraints.size()) {
    return proof::ProofRef(proof::Proof::retain(&root));
  }
  std::vector<int> constraints;
  std::vector<QNumber> multipliers;
  for (auto& [id, multiplier] : summands) {
    constraints.push_back(id);
    multipliers.push_back(std::move(multiplier));
  }
  return proof::ProofRef(
      new laz::LaZEqSubProof(std::move(constraints), std::move(multipliers)));
}

}  // namespace opal::host
