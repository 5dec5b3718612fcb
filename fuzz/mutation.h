#ifndef OPAL_FUZZ_MUTATION_H
#define OPAL_FUZZ_MUTATION_H

#include <unordered_map>

#include "fuzz/bytes.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/term_mapper.h"

namespace opal::fuzz {

/// A copy of a small proof, with the same sharing, of which the bytes change multipliers,
/// constraints, signs, divisors, variables of cuts and premises. Constraints are drawn from
/// 0 to `last_id`; `mapper` says what a branch on another constraint states.
class Mutation {
 public:
  Mutation(Bytes& bytes, int last_id, la::ItpLinearTermMapper& mapper)
      : bytes_(bytes), last_id_(last_id), mapper_(mapper) {}

  /// A node with one reference, the caller's.
  proof::Proof* copy(const proof::Proof* node) {
    const auto [place, is_new] = copies_.emplace(node, nullptr);
    if (!is_new) return proof::Proof::retain(place->second);
    return copies_[node] = changed_copy(node);
  }
  /// Whether the last copies differ from their originals.
  [[nodiscard]] bool changed() const { return changed_; }

 private:
  proof::Proof* changed_copy(const proof::Proof* node);
  // One choice in eight changes something, while bytes last.
  bool hit() {
    const bool is_hit = !bytes_.empty() && bytes_.below(8) == 0;
    changed_ = changed_ || is_hit;
    return is_hit;
  }
  int id(int old) {
    return hit() ? static_cast<int>(bytes_.below(static_cast<unsigned>(last_id_) + 1))
                 : old;
  }
  int sign(int old) { return hit() ? static_cast<int>(bytes_.below(3)) - 1 : old; }
  QNumber number(const QNumber& old) {
    if (!hit()) return old;
    const unsigned kind = bytes_.below(6);
    const long n = static_cast<std::int8_t>(bytes_.byte());
    const long d = 1 + static_cast<long>(bytes_.below(4));
    return kind == 0   ? QNumber(0)
           : kind == 1 ? old.neg()
           : kind == 2 ? QNumber(n) * QNumber(1L << 62U) * QNumber(1L << 62U)
                       : QNumber(n) / QNumber(d);
  }
  QNumber* multiplier(const QNumber* old) {
    if (hit() && bytes_.below(2) == 0) return nullptr;
    return old == nullptr && !hit() ? nullptr
                                    : new QNumber(number(old == nullptr ? 1 : *old));
  }
  template <class T>
  std::vector<T> resized(std::vector<T> list) {
    if (hit() && !list.empty()) list.pop_back();
    if (hit() && !list.empty()) list.push_back(list.front());
    return list;
  }
  std::vector<int> ids(std::vector<int> list) {
    for (int& one : list)
      one = id(one);
    return resized(std::move(list));
  }
  std::vector<QNumber> numbers(std::vector<QNumber> list) {
    for (QNumber& one : list)
      one = number(one);
    return resized(std::move(list));
  }
  proof::Proof* premise(const proof::Proof* old) {
    if (!hit()) return copy(old);
    const int constraint = id(0);
    return new la::LaHyp(constraint, sign(0));
  }

  Bytes& bytes_;
  const int last_id_;
  la::ItpLinearTermMapper& mapper_;
  bool changed_ = false;
  std::unordered_map<const proof::Proof*, proof::Proof*> copies_;
};

inline proof::Proof* Mutation::changed_copy(const proof::Proof* node) {
  if (const auto* hyp = dynamic_cast<const la::LaHyp*>(node)) {
    const int constraint = id(hyp->constraint_id);
    return new la::LaHyp(constraint, sign(hyp->sign));
  }
  if (const auto* comb = dynamic_cast<const la::LaComb*>(node)) {
    QNumber* const first = multiplier(comb->coeff1);
    QNumber* const second = multiplier(comb->coeff2);
    proof::Proof* const left = premise(comb->premise1);
    return new la::LaComb(first, left, second, premise(comb->premise2), 0, 0, 0);
  }
  if (const auto* imp = dynamic_cast<const la::LaCombImp*>(node)) {
    const int constraint = id(imp->constraint_id);
    const int imp_sign = sign(imp->sign);
    return new la::LaCombImp(constraint, imp_sign, premise(imp->premise));
  }
  if (const auto* neq = dynamic_cast<const la::LaNeq*>(node)) {
    const int constraint = id(neq->constraint_id);
    proof::Proof* const first = premise(neq->case1);
    return new la::LaNeq(constraint, first, premise(neq->case2));
  }
  if (const auto* cut = dynamic_cast<const laz::LaZTighteningProof*>(node)) {
    auto constraints = ids(cut->constraints);
    auto coeffs = numbers(cut->coeffs);
    // As many values as the divisor says are tried, of all cuts the product.
    QNumber divisor =
        hit() ? QNumber(static_cast<long>(bytes_.below(12)) - 2) : cut->divisor;
    const int var =
        hit() ? cut->tight_var + static_cast<int>(bytes_.below(3)) - 1 : cut->tight_var;
    return new laz::LaZTighteningProof(std::move(constraints), std::move(coeffs),
                                       std::move(divisor), var);
  }
  if (const auto* branch = dynamic_cast<const laz::LaZInternalBBProof*>(node)) {
    const int left_id = id(branch->left_id), right_id = id(branch->right_id);
    la::LinearTerm left_term =
        left_id == branch->left_id ? branch->left_term : mapper_.linear_term(left_id);
    la::LinearTerm right_term =
        right_id == branch->right_id ? branch->right_term : mapper_.linear_term(right_id);
    proof::Proof* const left = premise(branch->left);
    return new laz::LaZInternalBBProof(left, premise(branch->right), left_id, right_id,
                                       std::move(left_term), std::move(right_term));
  }
  const auto* equalities = dynamic_cast<const laz::LaZEqSubProof*>(node);
  expect(equalities != nullptr, "a rule that cannot be copied");
  auto constraints = ids(equalities->constraints);
  return new laz::LaZEqSubProof(std::move(constraints), numbers(equalities->coeffs));
}

}  // namespace opal::fuzz

#endif
