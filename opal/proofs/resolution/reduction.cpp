#include "opal/proofs/resolution/reduction.h"

#include <algorithm>

#include "opal/proofs/resolution/rebuild.h"

namespace opal::resolution {

namespace {

// The units that are lowered: for each literal the first node with that unit, when it has
// more than one use, when the opposite unit is not lowered, and when the literal is not in
// the conclusion (else the final clause could get both of a literal and its negation).
std::vector<NodeIndex> units_to_lower(const ClauseProof& proof, const Rebuild& derivation) {
  std::vector<std::uint32_t> uses(proof.size(), 0);
  for (NodeIndex node = 0; node < proof.size(); node++) {
    if (proof.kind(node) != NodeKind::CHAIN) continue;
    uses[proof.first(node)]++;
    for (const Step& step : proof.steps(node))
      uses[step.antecedent]++;
  }
  assert(derivation.units().size() == proof.size());
  std::vector<bool> taken(proof.variable_end(), false);
  for (const Literal literal : derivation.clause(proof.root()))
    taken[literal.variable()] = true;
  std::vector<NodeIndex> lowered;
  for (NodeIndex node = 0; node < proof.root(); node++) {
    const Literal unit = derivation.units()[node];
    if (!unit.is_valid() || uses[node] < 2 || taken[unit.variable()]) continue;
    taken[unit.variable()] = true;
    lowered.push_back(node);
  }
  return lowered;
}

// Cuts the steps of the chain `node` with lowered units. When the chain starts with one,
// the first antecedent that is none of them is the start instead.
void leave_out_units(const ClauseProof& proof, NodeIndex node,
                     const std::vector<bool>& is_lowered, Rebuild& rebuild) {
  const StepSpan steps = proof.steps(node);
  bool starts_with_unit = is_lowered[proof.first(node)];
  for (std::size_t i = 0; i < steps.size(); i++) {
    const bool is_unit = is_lowered[steps[i].antecedent];
    assert(!is_unit || !starts_with_unit);  // opposite units are not both lowered
    if (is_unit)
      rebuild.cut(node, i, Cut::SKIP);
    else if (starts_with_unit)
      rebuild.cut(node, i, Cut::RESTART);
    starts_with_unit = false;
  }
}

}  // namespace

// Every step with a lowered unit is left out; the negated unit then stays in the clauses
// down to the root, where one step takes it away. The proof of a unit may have lost steps
// with units before it, so the last unit is resolved first: what it brings along goes next.
ClauseProof lower_units(const ClauseProof& proof, host::Limits* limits) {
  Rebuild derivation(proof, limits);
  derivation.run();
  const std::vector<NodeIndex> lowered = units_to_lower(proof, derivation);
  Rebuild rebuild(proof, limits);
  std::vector<bool> is_lowered(proof.size(), false);
  for (const NodeIndex node : lowered) {
    is_lowered[node] = true;
    rebuild.keep_clause(node);
  }
  for (NodeIndex node = 0; node < proof.size(); node++)
    if (proof.kind(node) == NodeKind::CHAIN)
      leave_out_units(proof, node, is_lowered, rebuild);
  rebuild.run();
  std::vector<Step> steps;
  for (auto node = lowered.rbegin(); node != lowered.rend(); ++node)
    steps.push_back({derivation.units()[*node], *node});
  rebuild.append(proof.root(), steps);
  return rebuild.result();
}

namespace {

// Literals that may stand in a node's clause without harm, since every way to the root
// resolves them away or the conclusion has them. Sets of literals, each kept from the first
// use of its node that is met until the node itself is.
class SafeLiterals {
 public:
  // A set is cut off at this size. Any part of a safe set is safe; long ones cost more than
  // they bring.
  static constexpr std::size_t MAXIMUM = 200;

  explicit SafeLiterals(const ClauseProof& proof)
      : proof_(proof),
        sets_(proof.size()),
        reached_(proof.size(), false),
        marks_(std::size_t{2} * proof.variable_end(), 0) {}

  // Makes the set of `node`, which no use adds to any more, the current one.
  void enter(NodeIndex node) {
    assert(current_.empty());
    for (const Literal literal : sets_[node])
      add(literal);
    std::vector<Literal>().swap(sets_[node]);
  }
  void leave() {
    for (const Literal literal : current_)
      marks_[literal.code()] = 0;
    current_.clear();
  }
  void add(Literal literal) {
    assert(literal.code() < marks_.size());
    if (marks_[literal.code()] != 0) return;
    marks_[literal.code()] = 1;
    current_.push_back(literal);
  }
  [[nodiscard]] bool has(Literal literal) const { return marks_[literal.code()] != 0; }
  [[nodiscard]] bool is_reached(NodeIndex node) const { return reached_[node]; }

  void start(NodeIndex root, const std::vector<Literal>& conclusion) {
    reached_[root] = true;
    sets_[root] = conclusion;
  }
  // `node` is used where the current set and `extra`, unless it is invalid, are safe.
  void use(NodeIndex node, Literal extra) {
    if (proof_.kind(node) != NodeKind::CHAIN) {
      reached_[node] = true;
      return;
    }
    std::vector<Literal>& set = sets_[node];
    if (reached_[node]) {
      const auto unsafe = [&](Literal literal) {
        return !has(literal) && literal != extra;
      };
      set.erase(std::remove_if(set.begin(), set.end(), unsafe), set.end());
      return;
    }
    reached_[node] = true;
    // The latest literals are those that were resolved nearest by.
    const std::size_t size = std::min(current_.size(), MAXIMUM);
    set.reserve(size + 1);
    set.assign(current_.end() - static_cast<std::ptrdiff_t>(size), current_.end());
    if (extra.is_valid() && !has(extra)) set.push_back(extra);
  }

 private:
  const ClauseProof& proof_;
  std::vector<std::vector<Literal>> sets_;  // by node
  std::vector<bool> reached_;               // by node: whether some use was met
  std::vector<std::uint8_t> marks_;         // by literal: whether it is in the current set
  std::vector<Literal> current_;
};

// Goes through the chain `node` from its last step to its first, with the literals that are
// safe after each step, and cuts the steps whose pivot is safe: the premise that brings the
// safe literal along serves as it is.
void cut_chain(const ClauseProof& proof, NodeIndex node, SafeLiterals& safe,
               Rebuild& rebuild) {
  const StepSpan steps = proof.steps(node);
  safe.enter(node);
  bool restarted = false;
  for (std::size_t i = steps.size(); i-- > 0 && !restarted;) {
    const Literal pivot = steps[i].pivot;
    if (safe.has(pivot)) {
      rebuild.cut(node, i, Cut::RESTART);
      safe.use(steps[i].antecedent, Literal());
      restarted = true;
    } else if (safe.has(~pivot)) {
      rebuild.cut(node, i, Cut::SKIP);
    } else {
      safe.use(steps[i].antecedent, pivot);
      safe.add(~pivot);
    }
  }
  if (!restarted) safe.use(proof.first(node), Literal());
  safe.leave();
}

}  // namespace

ClauseProof recycle_pivots(const ClauseProof& proof, host::Limits* limits) {
  assert(!proof.empty());
  Rebuild rebuild(proof, limits);
  SafeLiterals safe(proof);
  safe.start(proof.root(), conclusion(proof));
  for (NodeIndex node = proof.size(); node-- > 0;) {
    if (limits != nullptr) limits->poll();
    if (safe.is_reached(node) && proof.kind(node) == NodeKind::CHAIN)
      cut_chain(proof, node, safe, rebuild);
  }
  rebuild.run();
  return rebuild.result();
}

namespace {

// Moves the deadline of limits nearer while it lives.
class NearerDeadline {
 public:
  NearerDeadline(host::Limits& limits, double seconds)
      : limits_(limits), deadline_(limits.deadline()) {
    const host::Limits::Clock::time_point end =
        host::Limits::Clock::now() +
        std::chrono::duration_cast<host::Limits::Clock::duration>(
            std::chrono::duration<double>(seconds));
    if (!deadline_ || end < *deadline_) limits_.set_deadline(end);
  }
  ~NearerDeadline() { limits_.set_deadline(deadline_); }
  NearerDeadline(const NearerDeadline&) = delete;
  NearerDeadline& operator=(const NearerDeadline&) = delete;

 private:
  host::Limits& limits_;
  std::optional<host::Limits::Clock::time_point> deadline_;
};

}  // namespace

ClauseProof reduced(ClauseProof proof, double seconds, host::Limits* limits) {
  host::Limits own;
  host::Limits& bounds = limits != nullptr ? *limits : own;
  bounds.look();
  try {
    const NearerDeadline nearer(bounds, seconds);
    proof = recycle_pivots(proof, &bounds);
    proof = lower_units(proof, &bounds);
  } catch (const host::LimitReached&) {
    bounds.look();  // throws when it was not the nearer deadline that ended the work
  }
  return proof;
}

}  // namespace opal::resolution
