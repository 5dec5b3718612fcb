#include "opal/arith/solver.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>
#include <vector>

#include "opal/arith/integer/integer_search.h"
#include "opal/arith/integer/search_constraints.h"
#include "opal/arith/rational/difference_graph.h"
#include "opal/arith/rational/disequalities.h"
#include "opal/arith/rational/simplex.h"
#include "opal/proofs/farkas.h"

// Conjunctions of linear constraints.
//
// Constraints without variables hold or fail at once. Of the others the convex ones, which
// are all but disequalities, go to a decider. Disequalities come last:
//
// Let C be the convex constraints, and d a disequality that the model at hand violates. One
// of its strict halves is added to C, whichever is consistent, and the search goes on.
// Halves that were added never get in the way of a later disequality e: a consistent half
// cuts from the feasible set a part that spans the same affine space, so if e fails on all
// of the part, it fails on all of C. Then both halves of e are inconsistent with C alone,
// and the two refutations make the proof.
//
// Example: x = y, y != 0, x != 0: y < 0 is added; its model may satisfy x != 0 at once.
//
// With integers, a contradiction of the convex constraints over the rationals comes first;
// the rest is the work of IntegerSearch, on the same decider.

namespace opal::la {

using host::Decider;
using host::DeltaNumber;
using host::DifferenceGraph;
using host::FarkasCombination;
using proof::ProofRef;

namespace {

// Whether a constraint without variables, 0 <relation> constant, holds.
bool trivially_holds(const LinearTerm& term) {
  assert(!term.vars.has_vars());
  const int sign = term.constant.sign();
  switch (term.kind) {
    case LinearTerm::LT: return sign > 0;
    case LinearTerm::LEQ: return sign >= 0;
    case LinearTerm::EQ: return sign == 0;
    case LinearTerm::NEQ: return sign != 0;
    case LinearTerm::GEQ: return sign <= 0;
    default: return sign < 0;
  }
}

}  // namespace

class Solver::Impl {
 public:
  Impl(host::Mapper& mapper, host::Limits& limits)
      : mapper_(mapper),
        limits_(limits),
        search_(std::make_unique<Search>(mapper, limits)) {}

  void push() {
    forget();
    levels_.push_back(counts());
  }
  void pop();
  void assert_constraints(const std::vector<int>& ids);
  Verdict check();
  [[nodiscard]] ProofRef refutation() const;
  [[nodiscard]] QNumber value(int var) const;

  Method method = Method::AUTO;
  std::size_t branch_limit = 0;
  Statistics statistics;

 private:
  // What decides, and the constraints that it adds to those that are asserted.
  struct Search {
    Search(host::Mapper& mapper, host::Limits& limits)
        : constraints(mapper),
          graph(constraints, limits),
          simplex(constraints, limits),
          integers(mapper, constraints, limits) {}
    host::SearchConstraints constraints;
    DifferenceGraph graph;
    host::Simplex simplex;
    host::IntegerSearch integers;
  };
  struct Counts {
    std::size_t convex;
    std::size_t disequalities;
    std::size_t trivial;
    std::size_t differences;
    std::size_t with_integers;
    std::size_t with_reals;
  };
  // A refutation: the combination, or the two of a disequality's halves.
  struct Refutation {
    std::optional<int> disequality;
    FarkasCombination first;
    FarkasCombination second;
  };
  void assert_constraint(int id);
  void restore(const Counts& counts);
  [[nodiscard]] Counts counts() const {
    return {convex_.size(), disequalities_.size(), trivial_.size(),
            differences_,   with_integers_,        with_reals_};
  }
  // Ends the last answer, and takes back the halves of disequalities that it added.
  void forget() {
    refutation_.reset();
    integer_refutation_ = ProofRef();
    decider_ = nullptr;
    keep_asserted();
    if (search_) search_->constraints.clear();
  }
  // The deciders hold some of the asserted constraints from the first on, and nothing else.
  void keep_asserted() {
    if (!search_) return;
    DifferenceGraph& graph = search_->graph;
    host::Simplex& simplex = search_->simplex;
    graph.retract(std::min(graph.size(), convex_.size()));
    simplex.retract(std::min(simplex.size(), convex_.size()));
    assert(graph.size() <= convex_.size() && simplex.size() <= convex_.size());
  }
  // The counts fit the lists; for assertions.
  [[maybe_unused, nodiscard]] bool is_normal() const {
    const std::size_t with_variables = convex_.size() + disequalities_.size();
    return differences_ <= with_variables && with_integers_ <= with_variables &&
           with_reals_ <= with_variables && with_integers_ + with_reals_ >= with_variables;
  }
  [[nodiscard]] Decider& choose_decider();
  std::optional<Refutation> refute_convex(Decider& decider);
  Verdict decide(Decider& decider);
  Verdict decide_integers(Decider& decider);
  void count(const LinearTerm& term);
  std::optional<Refutation> separate(Decider& decider);
  FarkasCombination refute_half(Decider& decider, int id, int side);
  [[nodiscard]] static Refutation trivial_refutation(int id, const LinearTerm& term);
  void choose_epsilon();
  void narrow_epsilon(int id);

  host::Mapper& mapper_;
  host::Limits& limits_;
  std::vector<int> convex_;         // asserted constraints with variables, no NEQ
  std::vector<int> disequalities_;  // asserted disequalities with variables
  std::vector<int> trivial_;        // asserted constraints without variables that fail
  // Of convex_ and disequalities_ together: how many are differences, have an integer
  // variable, have a real variable.
  std::size_t differences_ = 0;
  std::size_t with_integers_ = 0;
  std::size_t with_reals_ = 0;
  std::vector<Counts> levels_;
  std::unique_ptr<Search> search_;  // null after memory ran out in it, until the next check

  // The answer of the last check.
  std::optional<Refutation> refutation_;
  ProofRef integer_refutation_;
  Decider* decider_ = nullptr;  // which has the model
  QNumber epsilon_;             // the value of the infinitesimal in the model
};

void Solver::Impl::pop() {
  assert(!levels_.empty());
  forget();
  const Counts counts = levels_.back();
  levels_.pop_back();
  restore(counts);
}

void Solver::Impl::restore(const Counts& counts) {
  assert(counts.convex <= convex_.size() && counts.trivial <= trivial_.size());
  assert(counts.disequalities <= disequalities_.size());
  convex_.resize(counts.convex);
  disequalities_.resize(counts.disequalities);
  trivial_.resize(counts.trivial);
  differences_ = counts.differences;
  with_integers_ = counts.with_integers;
  with_reals_ = counts.with_reals;
  assert(is_normal());
  keep_asserted();
}

void Solver::Impl::assert_constraints(const std::vector<int>& ids) {
  forget();
  const Counts before = counts();
  try {
    for (const int id : ids)
      assert_constraint(id);
  } catch (...) {
    restore(before);
    throw;
  }
}

void Solver::Impl::assert_constraint(int id) {
  if (id == host::Mapper::ZERO_CONSTRAINT) return;
  const LinearTerm& term = mapper_.constraint_term(id);
  if (!term.vars.has_vars()) {
    if (!trivially_holds(term)) trivial_.push_back(id);
    return;
  }
  (term.kind == LinearTerm::NEQ ? disequalities_ : convex_).push_back(id);
  count(term);
}

void Solver::Impl::count(const LinearTerm& term) {
  if (DifferenceGraph::is_difference(term)) ++differences_;
  bool integer = false;
  bool real = false;
  for (const auto& pair : term.vars.coeffs())
    (mapper_.is_integer(pair.first) ? integer : real) = true;
  assert(integer || real);
  if (integer) ++with_integers_;
  if (real) ++with_reals_;
}

// Differences of integers have integral potentials; differences of both sorts may need
// cuts, which are no differences. The points that the simplex's shortcut finds are no
// corners: integers want those.
Decider& Solver::Impl::choose_decider() {
  statistics.differences = differences_ == convex_.size() + disequalities_.size();
  const bool mixed = with_integers_ > 0 && with_reals_ > 0;
  if (method == Method::AUTO && statistics.differences && !mixed) return search_->graph;
  const bool exact = method == Method::EXACT || with_integers_ > 0;
  search_->simplex.set_effort(exact ? host::Simplex::Effort::EXACT
                                    : host::Simplex::Effort::NORMAL);
  return search_->simplex;
}

Solver::Verdict Solver::Impl::check() {
  forget();
  assert(is_normal());
  if (!search_) search_ = std::make_unique<Search>(mapper_, limits_);
  ++statistics.checks;
  Decider& decider = choose_decider();
  Verdict verdict = Verdict::UNKNOWN;
  try {
    verdict = decide(decider);
    if (verdict == Verdict::SAT) {
      decider_ = &decider;
      choose_epsilon();
    }
  } catch (const host::LimitReached&) {
    forget();
    throw;
  } catch (...) {  // memory ran out, maybe in the middle of a change
    search_.reset();
    forget();
    throw;
  }
  assert((verdict == Verdict::SAT) == (decider_ != nullptr));
  assert((verdict == Verdict::UNSAT) == (refutation_.has_value() || integer_refutation_));
  statistics.pivots = search_->simplex.pivots();
  statistics.relaxations = search_->graph.relaxations();
  statistics.rows = search_->simplex.rows();
  statistics.nodes = search_->integers.statistics().nodes;
  statistics.cuts = search_->integers.statistics().cuts;
  return verdict;
}

Solver::Verdict Solver::Impl::decide(Decider& decider) {
  refutation_ = refute_convex(decider);
  if (!refutation_ && with_integers_ > 0) return decide_integers(decider);
  if (!refutation_) refutation_ = separate(decider);
  return refutation_ ? Verdict::UNSAT : Verdict::SAT;
}

Solver::Verdict Solver::Impl::decide_integers(Decider& decider) {
  switch (
      search_->integers.decide({&convex_, &disequalities_, &decider,
                                /*cuts=*/&decider == &search_->simplex, branch_limit})) {
    case host::IntegerSearch::Verdict::SAT: return Verdict::SAT;
    case host::IntegerSearch::Verdict::UNKNOWN: return Verdict::UNKNOWN;
    case host::IntegerSearch::Verdict::UNSAT: break;
  }
  integer_refutation_ = search_->integers.take_refutation();
  assert(integer_refutation_);
  return Verdict::UNSAT;
}

std::optional<Solver::Impl::Refutation> Solver::Impl::refute_convex(Decider& decider) {
  if (!trivial_.empty())
    return trivial_refutation(trivial_[0], mapper_.constraint_term(trivial_[0]));
  assert(decider.size() <= convex_.size());
  while (decider.size() < convex_.size()) {
    limits_.poll();
    decider.add(convex_[decider.size()], 0);
  }
  if (auto combination = decider.check())
    return Refutation{std::nullopt, std::move(*combination), {}};
  return std::nullopt;
}

Solver::Impl::Refutation Solver::Impl::trivial_refutation(int id, const LinearTerm& term) {
  assert(!trivially_holds(term));
  const QNumber one(1);
  if (term.kind == LinearTerm::NEQ) return {id, {{id, -1, one}}, {{id, 1, one}}};
  if (term.kind != LinearTerm::EQ) return {std::nullopt, {{id, 0, one}}, {}};
  return {std::nullopt, {{id, term.constant.sign() < 0 ? -1 : 1, one}}, {}};
}

// Adds halves of disequalities until a model satisfies all of them.
std::optional<Solver::Impl::Refutation> Solver::Impl::separate(Decider& decider) {
  for (bool changed = true; changed;) {
    changed = false;
    for (const int id : disequalities_) {
      limits_.poll();
      const LinearTerm& term = mapper_.constraint_term(id);
      if (!(host::value_in_model(term.vars, decider) == DeltaNumber{term.constant, {}}))
        continue;
      changed = true;
      if (host::add_half(decider, id)) continue;
      return Refutation{id, refute_half(decider, id, -1), refute_half(decider, id, 1)};
    }
  }
  return std::nullopt;
}

// The half is inconsistent with the convex constraints alone.
FarkasCombination Solver::Impl::refute_half(Decider& decider, int id, int side) {
  assert(mapper_.constraint_term(id).kind == LinearTerm::NEQ && (side == -1 || side == 1));
  decider.retract(convex_.size());
  return host::refute_half(decider, id, side);
}

// A value for the infinitesimal with which the model satisfies every constraint: at most 1
// and below every value at which one would start or stop to hold.
void Solver::Impl::choose_epsilon() {
  epsilon_ = QNumber(1);
  for (const std::vector<int>* ids : {&convex_, &disequalities_}) {
    for (const int id : *ids) {
      limits_.poll();
      narrow_epsilon(id);
    }
  }
  assert(epsilon_.sign() > 0 && epsilon_ <= QNumber(1));
}

void Solver::Impl::narrow_epsilon(int id) {
  const LinearTerm& term = mapper_.constraint_term(id);
  const DeltaNumber sum = host::value_in_model(term.vars, *decider_);
  const QNumber gap = term.constant - sum.real;
  if (sum.strict.is_zero() || gap.sign() != sum.strict.sign()) return;
  // The sum is the constant at gap / strict.
  const QNumber limit = gap / sum.strict;
  assert(limit.sign() > 0);
  if (epsilon_ < limit) return;
  epsilon_ = (limit.inv().floor() + QNumber(1)).inv();
  assert(epsilon_.sign() > 0 && epsilon_ < limit);
}

ProofRef Solver::Impl::refutation() const {
  if (integer_refutation_) return integer_refutation_;
  assert(refutation_);
  assert(search_ != nullptr);
  ProofRef first = host::farkas_proof(search_->constraints, refutation_->first);
  if (!refutation_->disequality) return first;
  return host::disequality_proof(
      *refutation_->disequality, std::move(first),
      host::farkas_proof(search_->constraints, refutation_->second));
}

QNumber Solver::Impl::value(int var) const {
  assert(decider_ != nullptr);
  const DeltaNumber symbolic = decider_->value(var);
  QNumber result = symbolic.real + symbolic.strict * epsilon_;
  result.shrink();
  return result;
}

Solver::Solver(host::Mapper& mapper, host::Limits& limits)
    : impl_(std::make_unique<Impl>(mapper, limits)) {}
Solver::~Solver() = default;

void Solver::set_method(Method method) { impl_->method = method; }
void Solver::set_branch_limit(std::size_t nodes) { impl_->branch_limit = nodes; }
void Solver::push() { impl_->push(); }
void Solver::pop() { impl_->pop(); }
void Solver::assert_constraint(int constr_id) { impl_->assert_constraints({constr_id}); }

void Solver::assert_constraints(const std::vector<int>& ids) {
  impl_->assert_constraints(ids);
}
Solver::Verdict Solver::check() { return impl_->check(); }
ProofRef Solver::refutation() const { return impl_->refutation(); }
QNumber Solver::value(int var) const { return impl_->value(var); }
const Solver::Statistics& Solver::statistics() const { return impl_->statistics; }

}  // namespace opal::la
