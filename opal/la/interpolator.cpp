// The object: construction and destruction, what it keeps for a request, and how it looks
// up literals, sides and constraints.

#include "opal/la/interpolator.h"

#include <cassert>
#include <memory>
#include <string>
#include <utility>

#include "opal/la/merge_table.h"

namespace opal::la {

Interpolator::error::~error() = default;

Interpolator::Interpolator(TermManager* mgr, Solver* solver, ItpLinearTermMapper* mapper,
                           Mode mode, bool floor_tightening)
    : mgr_(mgr),
      solver_(solver),
      mapper_(mapper),
      classifier_(nullptr),
      mode_(mode),
      floor_tightening_(floor_tightening),
      delta_var_(mapper->delta_var()),
      zero_constr_id_(mapper->zero_constraint()),
      zero_proof_(nullptr),
      dump_counter_(1),
      in_laz_bb_(false),
      merge_table_(std::make_unique<MergeTable>(*this)) {
  assert(mgr != nullptr && mgr->true_term() != nullptr && mgr->false_term() != nullptr);
  assert(mode == MODE_SUM || mode == MODE_CONJ || mode == MODE_DUAL);
  assert(delta_var_ != 0);
}

Interpolator::~Interpolator() {
  assert(zero_proof_ == nullptr || zero_proof_->references() > 0);
  clear_split_cache();  // a split request that threw has left its references there
  proof::Proof::release(zero_proof_);
}

void Interpolator::fail(const std::string& message) { throw error(message, true); }

void Interpolator::set_classifier(itp::TheoryAtomClassifier* classifier) {
  classifier_ = classifier;
}

CoeffList* Interpolator::find_in_cache(proof::Proof* p) {
  const auto it = proof_cache_.find(p);
  return it == proof_cache_.end() ? nullptr : it->second;
}

CoeffList* Interpolator::store_in_cache(proof::Proof* p) {
  assert(p != nullptr);
  if (spare_lists_.empty()) spare_lists_.push_back(std::make_unique<CoeffList>());
  CoeffList* const list = spare_lists_.back().get();
  assert(list != nullptr && list->empty());
  proof_cache_[p] = list;
  spare_lists_.back().release();
  spare_lists_.pop_back();
  return list;
}

void Interpolator::clear_cache() {
  assert(proof_cache_.is_normal() && tight_vars_.is_normal());
  for (auto& [node, list] : proof_cache_) {
    delete list;
    list = nullptr;
  }
  proof_cache_.clear();
  tight_vars_.clear();
  side_constraints_.clear();
  while (!owned_eqs_.empty()) {
    delete owned_eqs_.back();
    owned_eqs_.pop_back();
  }
  assert(proof_cache_.empty() && tight_vars_.empty() && side_constraints_.empty());
  assert(!zero_eq_.has_vars() && zero_eq_.constant() == nullptr);
}

TheoryLit Interpolator::to_lit(int constr_id) {
  if (in_laz_bb_) {
    const auto it = bb_lits_.find(constr_id);
    if (it != bb_lits_.end()) return it->second;
  }
  return mapper_->constraint_lit(constr_id);
}

itp::TheoryAtomClassifier::status Interpolator::classify(const Term_* atom) {
  assert(classifier_ != nullptr && atom != nullptr);
  const auto status = classifier_->classify_atom(atom);
  if (status != itp::TheoryAtomClassifier::UNKNOWN) return status;
  return classifier_->classify(atom, false);
}

LinearTerm Interpolator::linear_term_of(int constr_id) {
  if (in_laz_bb_) {
    const auto it = bb_lits_.find(constr_id);
    if (it != bb_lits_.end()) return mapper_->bb_linear_term(it->second, constr_id);
  }
  return mapper_->linear_term(constr_id);
}

// The kinds are <, <=, =, !=, >=, >. A relation sum <= c becomes c - sum >= 0, a relation
// sum >= c becomes sum - c >= 0, and strict ones lose the strictness variable:
//
//     x + 2y <= 5   is   5 - x - 2y >= 0
//     x > 3         is   x - 3 - delta >= 0
Equation* Interpolator::get_as_rhs(int constr_id, int sign) {
  if (is_zero_constr(constr_id)) return get_zero();
  LinearTerm lt = linear_term_of(constr_id);
  const bool either = lt.kind == LinearTerm::EQ || lt.kind == LinearTerm::NEQ;
  const bool upper = lt.kind < LinearTerm::EQ || (either && sign == -1);
  const bool strict =
      lt.kind == LinearTerm::LT || lt.kind == LinearTerm::NEQ || lt.kind == LinearTerm::GT;
  assert(lt.is_normal());
  Equation e = std::move(lt.vars);
  if (e.constant() != nullptr) e.add_const(e.constant()->neg());  // it does not count
  e.add_const(lt.constant.neg());
  if (upper) e.mult(QNumber(-1));
  if (strict) e.add_var(QNumber(-1), delta_var_);
  return own(std::move(e));
}

Equation* Interpolator::own(Equation e) {
  assert(e.is_normal());
  owned_eqs_.push_back(nullptr);
  return owned_eqs_.back() = new Equation(std::move(e));
}

const Term_* Interpolator::term_of(int var) {
  assert(var != 0);
  const Term_* const term = mapper_->var_term(var);
  if (term == nullptr) fail("variable without a term: " + std::to_string(var));
  return term;
}

}  // namespace opal::la
