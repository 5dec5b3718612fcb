#include "opal/interpolate/one_sided.h"

#include <cassert>

#include "opal/arith/solver.h"
#include "opal/proofs/farkas.h"

namespace opal::host {

namespace {

constexpr std::size_t MOST_BRANCHES = 100;

bool is_contradictory(const std::vector<const Term_*>& atoms, Mapper& mapper,
                      Limits& limits) {
  la::Solver solver(mapper, limits);
  solver.set_branch_limit(MOST_BRANCHES);
  for (const Term_* atom : atoms)
    solver.assert_constraint(mapper.constraint(atom));
  return solver.check() == la::Solver::Verdict::UNSAT;
}

}  // namespace

std::optional<bool> one_sided_by_proof(const proof::Proof& root, const Grouping& grouping,
                                       const Mapper& mapper) {
  using Status = Grouping::status;
  assert(grouping.num_groups() == 2);
  bool uses_first = false;
  bool uses_second = false;
  for (const int id : proof_constraints(root)) {
    if (id == Mapper::ZERO_CONSTRAINT || mapper.is_branch(id)) continue;
    const Status colour = grouping.atom_colour(mapper.constraint_atom(id), 0);
    if (colour == Status::UNKNOWN) return std::nullopt;
    uses_first = uses_first || colour == Status::A_LOCAL;
    uses_second = uses_second || colour == Status::B_LOCAL;
  }
  if (!uses_second) return false;
  if (!uses_first) return true;
  return std::nullopt;
}

std::optional<bool> one_sided_by_deciding(const std::vector<const Term_*>& first,
                                          const std::vector<const Term_*>& second,
                                          Mapper& mapper, Limits& limits) {
  if (is_contradictory(first, mapper, limits)) return false;
  if (is_contradictory(second, mapper, limits)) return true;
  return std::nullopt;
}

}  // namespace opal::host
