// What a proof did, read off its nodes.
//
// A combination is walked from its top to its leaves; a leaf's multiplier is the one beside
// it (docs/proofs.md). A cut adds up its premises in the direction of its conclusion:
//
//     x + 2y <= 3, and x - 2y >= 0 as 2y - x <= 0: their sum is 4y <= 3, rounded to y <= 0
//
// Of each cut and of each equality sub-proof one side's part is kept, since that is what
// the engine makes its congruence or its floor of.

#include "opal/explain/explanation.h"

#include <algorithm>
#include <cassert>
#include <map>
#include <set>

#include "opal/interfaces/rule_cast.h"
#include "opal/interpolate/branch_colours.h"
#include "opal/proofs/branch_steps.h"
#include "opal/proofs/proof_walk.h"

namespace opal::host {

namespace {

using la::LinearTerm;
using Side = Explanation::Side;
using Use = Explanation::Use;

// A weighted sum of constraints that are read in one direction.
struct WeightedSum {
  std::map<int, QNumber> coefficients;
  QNumber constant;

  void add(const QNumber& factor, const LinearTerm& term) {
    for (const auto& [var, coefficient] : term.vars.coeffs())
      coefficients[var] += factor * coefficient;
    constant += factor * term.constant;
  }
  void scale(const QNumber& factor) {
    for (auto& entry : coefficients)
      entry.second *= factor;
    constant *= factor;
  }
  [[nodiscard]] QNumber common_denominator() const {
    QNumber result(1);
    for (const auto& entry : coefficients)
      result = lcm(result, entry.second.get_den());
    return result;
  }
  [[nodiscard]] LinearTerm as(int relation) const {
    la::Equation vars;
    for (const auto& [var, coefficient] : coefficients)
      if (!coefficient.is_zero()) vars.add_var(coefficient, var);
    return {relation, std::move(vars), constant};
  }
};

class Reader {
 public:
  Reader(const Grouping& grouping, std::size_t root, Mapper& mapper, Side kept, bool floors)
      : grouping_(grouping), root_(root), mapper_(mapper), floors_(floors) {
    result_.kept_side = kept;
  }

  Explanation read(proof::Proof& proof) {
    const BranchTree tree = branch_tree(proof);
    for (const laz::LaZInternalBBProof* node : tree.branches)
      result_.branches.push_back(
          {node->left_id, node->right_id,
           constraint_side(node->left_id, grouping_, root_, mapper_)});
    for (const proof::Proof* leaf : tree.leaves)
      read_refutation(*leaf);
    result_.summed_away.assign(summed_away_.begin(), summed_away_.end());
    return std::move(result_);
  }

 private:
  Use use(int id, int sign, const QNumber& multiplier) {
    const Side side = constraint_side(id, grouping_, root_, mapper_);
    const auto [entry, is_new] = sides_.emplace(id, side);
    if (is_new && is_kept(side)) {
      for (const auto& pair : mapper_.constraint_term(id).vars.coeffs())
        if (is_own(pair.first)) summed_away_.insert(pair.first);
    }
    return {id, sign, multiplier, entry->second};
  }

  [[nodiscard]] bool is_kept(Side side) const { return side == result_.kept_side; }

  // The engine counts what both sides own as the kept side's in equality sub-proofs and in
  // cuts of the floor style, else as the other's.
  [[nodiscard]] bool counts_as_kept(Side side, bool shared) const {
    return is_kept(side) || (shared && side == Side::SHARED);
  }

  bool is_own(int var) {
    const auto known = own_.find(var);
    if (known != own_.end()) return known->second;
    const Term_* const term = mapper_.var_term(var);
    return own_[var] = is_kept(grouping_.symbols_colour(term, root_));
  }

  void read_refutation(const proof::Proof& leaf) {
    if (const auto* neq = la::as<la::LaNeq>(&leaf)) {
      read_sum(*neq->case1, neq->constraint_id);
      read_sum(*neq->case2, neq->constraint_id);
    } else if (const auto* sub = la::as<laz::LaZEqSubProof>(&leaf)) {
      read_equalities(*sub);
    } else {
      read_sum(leaf, 0);
    }
  }

  void read_sum(const proof::Proof& top, int disequality) {
    Explanation::Sum sum;
    sum.disequality = disequality;
    const auto enter = [&](const proof::Proof& node, const QNumber& multiplier) {
      if (const auto* hyp = la::as<la::LaHyp>(&node)) {
        if (hyp->constraint_id != Mapper::ZERO_CONSTRAINT)
          sum.uses.push_back(use(hyp->constraint_id, hyp->sign, multiplier));
      } else if (const auto* cut = la::as<laz::LaZTighteningProof>(&node)) {
        sum.cuts.emplace_back(multiplier, position_of(*cut));
      }
    };
    if (premises_of(top).count == 0) enter(top, la::LaComb::one);
    walk_proof(top, [&](const proof::Proof* node) {
      const auto* const comb = la::as<la::LaComb>(node);
      if (comb == nullptr) return false;
      enter(*comb->premise1, comb->coeff1 == nullptr ? la::LaComb::one : *comb->coeff1);
      enter(*comb->premise2, comb->coeff2 == nullptr ? la::LaComb::one : *comb->coeff2);
      return true;
    });
    result_.sums.push_back(std::move(sum));
  }

  std::size_t position_of(const laz::LaZTighteningProof& node) {
    const auto [entry, is_new] = positions_.emplace(&node, result_.cuts.size());
    if (is_new) {
      Explanation::Cut cut = read_cut(node);
      result_.cuts.push_back(std::move(cut));
    }
    return entry->second;
  }

  Explanation::Cut read_cut(const laz::LaZTighteningProof& node) {
    Explanation::Cut cut;
    const int relation = mapper_.constraint_term(node.constraints.back()).kind;
    WeightedSum all;
    WeightedSum kept;
    for (std::size_t i = 0; i < node.constraints.size(); ++i) {
      const LinearTerm& term = mapper_.constraint_term(node.constraints[i]);
      const bool is_conclusion = i + 1 == node.constraints.size();
      const bool is_equality = term.kind == LinearTerm::EQ;
      const QNumber multiplier = is_conclusion ? QNumber(1)
                                 : is_equality ? node.coeffs[i]
                                               : abs(node.coeffs[i]);
      cut.uses.push_back(use(node.constraints[i], 0, multiplier));
      const Side side = cut.uses.back().side;
      const bool turns = !is_equality && term.kind != relation;
      const QNumber factor = turns ? multiplier.neg() : multiplier;
      all.add(factor, term);
      if (counts_as_kept(side, floors_)) kept.add(factor, term);
    }
    add_conclusion_up(cut.uses);
    cut.sum = all.as(relation);
    cut.divisor = node.divisor;
    cut.kept = part(std::move(kept), relation);
    if (floors_) cut.kept.divisor = node.divisor;
    all.scale(node.divisor.inv());
    all.constant = relation == LinearTerm::LEQ ? all.constant.floor()
                                               : all.constant.neg().floor().neg();
    cut.rounded = all.as(relation);
    return cut;
  }

  // A conclusion that is needed several times is a premise too.
  static void add_conclusion_up(std::vector<Use>& uses) {
    const auto same = std::find_if(uses.begin(), uses.end() - 1, [&](const Use& use) {
      return use.constraint == uses.back().constraint;
    });
    if (same == uses.end() - 1) return;
    same->multiplier += uses.back().multiplier;
    uses.pop_back();
  }

  void read_equalities(const laz::LaZEqSubProof& node) {
    Explanation::Equalities equalities;
    WeightedSum all;
    WeightedSum kept;
    for (std::size_t i = 0; i < node.constraints.size(); ++i) {
      const LinearTerm& term = mapper_.constraint_term(node.constraints[i]);
      equalities.uses.push_back(use(node.constraints[i], 0, node.coeffs[i]));
      all.add(node.coeffs[i], term);
      if (counts_as_kept(equalities.uses.back().side, true)) kept.add(node.coeffs[i], term);
    }
    equalities.sum = all.as(LinearTerm::EQ);
    equalities.kept = part(std::move(kept), LinearTerm::EQ);
    result_.equalities.push_back(std::move(equalities));
  }

  Explanation::Part part(WeightedSum sum, int relation) {
    sum.scale(sum.common_denominator());
    Explanation::Part result{sum.as(relation), {}, QNumber()};
    if (relation == LinearTerm::EQ && result.sum.vars.has_vars() &&
        result.sum.vars.coeffs().front().second.sign() < 0) {
      result.sum.vars.mult(QNumber(-1));
      result.sum.constant = result.sum.constant.neg();
    }
    for (const auto& [var, coefficient] : result.sum.vars.coeffs()) {
      if (!is_own(var)) continue;
      result.own.push_back(var);
      result.divisor = gcd(result.divisor, coefficient);
    }
    return result;
  }

  const Grouping& grouping_;
  const std::size_t root_;
  Mapper& mapper_;
  const bool floors_;
  Explanation result_;
  std::unordered_map<const proof::Proof*, std::size_t> positions_;  // of cuts
  std::unordered_map<int, Side> sides_;                             // of used constraints
  std::unordered_map<int, bool> own_;  // whether a variable is the kept side's alone
  std::set<int> summed_away_;
};

}  // namespace

bool Explanation::Cut::has_both_sides() const {
  return std::any_of(uses.begin(), uses.end(),
                     [&](const Use& u) { return u.side != uses.front().side; });
}

Explanation explanation(proof::Proof& proof, const Grouping& grouping, std::size_t root,
                        Mapper& mapper, Mode mode, Cuts cuts) {
  const Side kept = mode == Mode::DUAL ? Side::B_LOCAL : Side::A_LOCAL;
  return Reader(grouping, root, mapper, kept, cuts == Cuts::FLOOR).read(proof);
}

}  // namespace opal::host
