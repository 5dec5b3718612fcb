#include "opal/arith/equality_proof.h"

#include <cassert>
#include <optional>
#include <utility>

#include "opal/arith/rational/simplex.h"
#include "opal/arith/solver.h"
#include "opal/terms/print/printer.h"

// An equality follows from the atoms when they contradict both of its strict sides.
//
// Disequalities among the atoms are of no use for that. Let C be the other atoms, P a point
// that satisfies all atoms, and Q a point of C with a < b. If P has a < b, nothing is
// implied. If P has a >= b, look at the points between Q and P that are close to Q: they
// are in C and have a < b, and a disequality fails on one of them at most, since it holds
// at P. So a < b is consistent with all atoms.
//
// The simplex knows no integers, so what it refutes has a rational proof. What it does not
// refute is left to the solver: it finds a model, or a refutation for which integers are
// needed.
//
// Example: x <= a, a <= x, b <= x, x <= b. a < b is refuted by a - x >= 0, x - b >= 0 and
// b - a > 0, a > b by the other two and a - b > 0.

namespace opal::host {

namespace {

class EqualityProver {
 public:
  EqualityProver(Terms& terms, Mapper& mapper, Limits& limits,
                 const std::vector<const Term_*>& atoms, const Term_* equality)
      : terms_(terms),
        mapper_(mapper),
        atoms_(atoms),
        equality_(equality),
        disequality_(mapper.exact_constraint(TheoryLit(equality, /*negated=*/true))),
        solver_(mapper, limits),
        simplex_(mapper, limits) {
    assert(Terms::kind_of(equality) == Kind::EQ);
    assert(Terms::sort_of(equality->arg(0)) != Sort::BOOL);
    assert(mapper.constraint_term(disequality_).kind == la::LinearTerm::NEQ);
  }

  std::variant<EqualityProof, EqualityModel> prove() {
    assert_atoms();
    const auto below = refutation(-1);
    const auto above = refutation(1);
    if (below && above) return EqualityProof{disequality_, *below, *above};
    for (const bool is_below : {true, false}) {
      if (is_below ? below : above) continue;
      if (auto model = model_of(is_below)) return std::move(*model);
    }
    throw NotSplit("the proof of " + term_text(equality_, 200) +
                   " needs a cut, and only rational proofs can be split");
  }

 private:
  void assert_atoms() {
    for (const Term_* atom : atoms_) {
      const int id = mapper_.constraint(atom);
      solver_.assert_constraint(id);
      if (id == Mapper::ZERO_CONSTRAINT) continue;
      const la::LinearTerm& term = mapper_.constraint_term(id);
      if (term.kind != la::LinearTerm::NEQ && term.vars.has_vars()) simplex_.add(id, 0);
    }
    switch (solver_.check()) {
      case la::Solver::Verdict::SAT: return;
      case la::Solver::Verdict::UNSAT:
        throw NotSplit("the groups contradict each other, so they imply every equality");
      case la::Solver::Verdict::UNKNOWN: break;
    }
    throw NotSplit("the solver gives up on the groups (incomplete)");
  }

  // The refutation of a < b (side -1) or a > b (side 1) by the atoms, with the multiplier 1
  // on the disequality; nothing where they allow that side over the rationals.
  std::optional<FarkasCombination> refutation(int side) {
    assert(side == -1 || side == 1);
    const la::LinearTerm& difference = mapper_.constraint_term(disequality_);
    if (!difference.vars.has_vars()) {
      if (difference.constant.sign() == -side) return std::nullopt;
      return FarkasCombination{{disequality_, side, QNumber(1)}};
    }
    const std::size_t height = simplex_.size();
    assert(height <= atoms_.size());
    simplex_.add(disequality_, side);
    std::optional<FarkasCombination> result = simplex_.check();
    simplex_.retract(height);
    if (result) make_single(*result, side);
    assert(simplex_.size() == height);
    return result;
  }

  // Scales a refutation so that the disequality, which may stand in several leaves, is one
  // leaf with the multiplier 1.
  void make_single(FarkasCombination& leaves, int side) const {
    QNumber total;
    FarkasCombination others;
    for (FarkasLeaf& leaf : leaves) {
      assert(leaf.is_normal());
      if (leaf.constraint_id == disequality_)
        total += leaf.multiplier;
      else
        others.push_back(std::move(leaf));
    }
    assert(total.sign() > 0);  // the atoms alone are satisfiable
    for (FarkasLeaf& leaf : others) {
      leaf.multiplier /= total;
      leaf.multiplier.shrink();
    }
    others.push_back({disequality_, side, QNumber(1)});
    leaves = std::move(others);
  }

  std::optional<EqualityModel> model_of(bool below) {
    const Term_* const a = equality_->arg(0);
    const Term_* const b = equality_->arg(1);
    const Term_* const side = below ? terms_.make_lt(a, b) : terms_.make_lt(b, a);
    solver_.push();
    solver_.assert_constraint(mapper_.constraint(side));
    const la::Solver::Verdict verdict = solver_.check();
    std::optional<EqualityModel> result;
    if (verdict == la::Solver::Verdict::SAT) {
      std::vector<const Term_*> formulas = atoms_;
      formulas.push_back(side);
      result = EqualityModel{below, variables_of(formulas), {}};
      for (const Term_* v : result->variables)
        result->values.emplace(v, solver_.value(mapper_.variable(v)));
      assert(holds(side, result->values));
    }
    solver_.pop();
    if (verdict == la::Solver::Verdict::UNKNOWN)
      throw NotSplit("the solver gives up on " + term_text(side, 200) + " (incomplete)");
    return result;
  }

  Terms& terms_;
  Mapper& mapper_;
  const std::vector<const Term_*>& atoms_;
  const Term_* const equality_;
  const int disequality_;
  la::Solver solver_;
  Simplex simplex_;
};

}  // namespace

std::variant<EqualityProof, EqualityModel> prove_equality(
    Terms& terms, Mapper& mapper, Limits& limits, const std::vector<const Term_*>& atoms,
    const Term_* equality) {
  return EqualityProver(terms, mapper, limits, atoms, equality).prove();
}

}  // namespace opal::host
