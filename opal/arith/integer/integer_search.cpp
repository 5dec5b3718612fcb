#include "opal/arith/integer/integer_search.h"

#include <algorithm>
#include <cassert>
#include <iterator>

#include "opal/arith/integer/recession.h"
#include "opal/interfaces/laz_proof.h"

// Branch and cut, depth first, with an explicit stack:
//
//     examine a node;  refuted:  go back to the last branching whose first branch was left
//                      open:     branch, try one side, remember the other
//
// A refutation that does not use the branch it stands under refutes the node above as well,
// and the other side need not be tried. So the tree that is handed out has only branchings
// of which both sides are used.
//
// The depth of the tree is bounded, and the bound grows from round to round: an infinite
// branch, which an unbounded variable can have, must not keep the search from a refutation
// or a model beside it. A problem that bounds its integer variables is decided in the end,
// since every branch takes values from one. Other problems are given up at some depth.
//
// Example: 0 <= x <= 1, x /= 0, x /= 1. The point x = 0 violates the first disequality, and
// x < 0 is impossible: the branches are x <= 0 and x >= 1. In each only one value is left,
// which a disequality excludes; both refutations use their branch.

namespace opal::host {

using la::LinearTerm;

namespace {

constexpr std::size_t FIRST_DEPTH = 32;
constexpr std::size_t LAST_DEPTH_IF_UNBOUNDED = 512;
constexpr std::size_t NODES_IF_UNBOUNDED = 20000;

IntegerRow row_of(const LinearTerm& term) {
  IntegerRow row;
  for (const auto& [var, coeff] : term.vars.coeffs())
    row.sum.push_back({var, coeff});
  row.constant = term.constant;
  assert(row.is_normal());
  return row;
}

bool contains(const std::vector<int>& ascending, int x) {
  assert(std::is_sorted(ascending.begin(), ascending.end()));
  return std::binary_search(ascending.begin(), ascending.end(), x);
}

}  // namespace

IntegerSearch::IntegerSearch(Mapper& mapper, SearchConstraints& constraints, Limits& limits)
    : mapper_(mapper), constraints_(constraints), limits_(limits) {}

IntegerSearch::Verdict IntegerSearch::decide(const Problem& problem) {
  assert(problem.is_normal());
  problem_ = problem;
  refutation_ = proof::ProofRef();
  collect_integers();
  const Equalities equalities = integral_equalities();
  if (refute(equalities)) return Verdict::UNSAT;
  if (guess_model(equalities.rows)) return Verdict::SAT;
  std::optional<bool> bounded;
  nodes_ = 0;
  for (std::size_t depth = FIRST_DEPTH;; depth *= 2) {
    assert(depth >= FIRST_DEPTH && !refutation_);
    switch (descend(depth)) {
      case Descent::SAT: return Verdict::SAT;
      case Descent::UNSAT: return Verdict::UNSAT;
      case Descent::TOO_MANY: return Verdict::UNKNOWN;
      case Descent::TOO_DEEP: break;
    }
    if (depth < LAST_DEPTH_IF_UNBOUNDED && nodes_ < NODES_IF_UNBOUNDED) continue;
    if (!bounded) bounded = bounds_all(constraints_, *problem.convex, integers_, limits_);
    if (!*bounded) return Verdict::UNKNOWN;
  }
}

void IntegerSearch::collect_integers() {
  integers_.clear();
  integral_rows_.clear();
  for (const std::vector<int>* ids : {problem_.convex, problem_.disequalities}) {
    for (const int id : *ids) {
      limits_.poll();
      const LinearTerm& term = constraints_.constraint_term(id);
      for (const auto& pair : term.vars.coeffs()) {
        if (mapper_.is_integer(pair.first)) integers_.push_back(pair.first);
      }
      assert((term.kind == LinearTerm::NEQ) == (ids == problem_.disequalities));
      assert(term.vars.has_vars());
      if (ids == problem_.convex && is_integral(term)) integral_rows_.push_back(id);
    }
  }
  for (std::vector<int>* ascending : {&integers_, &integral_rows_}) {
    std::sort(ascending->begin(), ascending->end());
    ascending->erase(std::unique(ascending->begin(), ascending->end()), ascending->end());
  }
}

IntegerSearch::Equalities IntegerSearch::integral_equalities() const {
  Equalities result;
  for (const int id : integral_rows_) {
    const LinearTerm& term = constraints_.constraint_term(id);
    if (term.kind != LinearTerm::EQ) continue;
    result.ids.push_back(id);
    result.rows.push_back(row_of(term));
  }
  assert(result.ids.size() == result.rows.size());
  return result;
}

bool IntegerSearch::refute(const Equalities& equalities) {
  const auto& [ids, rows] = equalities;
  const std::vector<Certificate> certificates = integer_contradictions(rows, 1, limits_);
  if (certificates.empty()) return false;
  std::vector<int> used;
  std::vector<QNumber> multipliers;
  for (const auto& [row, multiplier] : certificates.front()) {
    assert(row < ids.size() && !multiplier.is_zero());
    used.push_back(ids[row]);
    multipliers.push_back(multiplier);
  }
  refutation_ =
      proof::ProofRef(new laz::LaZEqSubProof(std::move(used), std::move(multipliers)));
  return true;
}

IntegerSearch::Descent IntegerSearch::descend(std::size_t depth) {
  frames_.clear();
  problem_.decider->retract(problem_.convex->size());
  constraints_.clear();
  assert(problem_.is_normal());
  for (;;) {
    assert(frames_.size() <= depth);
    ++nodes_;
    ++statistics_.nodes;
    if (problem_.branches != 0 && nodes_ > problem_.branches) return Descent::TOO_MANY;
    Step step = examine();
    assert(!step.refuted || !step.branches);
    if (!step.refuted && !step.branches) return Descent::SAT;
    if (step.branches && frames_.size() < depth) {
      frames_.push_back({*step.branches, problem_.decider->size(), false, std::nullopt});
      assert(frames_.back().is_normal());
      problem_.decider->add(step.branches->first, 0);
      continue;
    }
    if (backtrack(step.refuted)) continue;
    if (!step.refuted) return Descent::TOO_DEEP;
    assert(frames_.empty() && step.refuted->uses.empty());
    refutation_ = std::move(step.refuted->proof);
    return Descent::UNSAT;
  }
}

// Takes the refutation of the current node (nothing for one that was given up) up the tree,
// and makes the next node to look at the current one. False when the tree is finished; then
// the refutation is the root's.
bool IntegerSearch::backtrack(std::optional<Refuted>& refuted) {
  while (!frames_.empty()) {
    limits_.poll();
    Frame& frame = frames_.back();
    assert(frame.is_normal() && frame.height <= problem_.decider->size());
    const int current = frame.in_second ? frame.branches.second : frame.branches.first;
    if (!refuted || contains(refuted->uses, current)) {
      if (!frame.in_second) {
        frame.first = std::move(refuted);
        frame.in_second = true;
        problem_.decider->retract(frame.height);
        problem_.decider->add(frame.branches.second, 0);
        return true;
      }
      if (refuted) {
        if (frame.first)
          refuted = join(frame, std::move(*refuted));
        else
          refuted.reset();
      }
    }
    frames_.pop_back();
  }
  return false;
}

IntegerSearch::Refuted IntegerSearch::join(Frame& frame, Refuted second) {
  assert(frame.in_second && frame.first);
  Refuted& first = *frame.first;
  assert(first.proof && second.proof);
  assert(contains(first.uses, frame.branches.first));
  assert(contains(second.uses, frame.branches.second));
  Refuted result;
  std::set_union(first.uses.begin(), first.uses.end(), second.uses.begin(),
                 second.uses.end(), std::back_inserter(result.uses));
  const auto is_closed = [&](int id) {
    return id == frame.branches.first || id == frame.branches.second;
  };
  result.uses.erase(std::remove_if(result.uses.begin(), result.uses.end(), is_closed),
                    result.uses.end());
  const bool at_most_first =
      constraints_.constraint_term(frame.branches.first).kind == LinearTerm::LEQ;
  result.proof = at_most_first
                     ? constraints_.join(frame.branches.first, std::move(first.proof),
                                         frame.branches.second, std::move(second.proof))
                     : constraints_.join(frame.branches.second, std::move(second.proof),
                                         frame.branches.first, std::move(first.proof));
  return result;
}

}  // namespace opal::host
