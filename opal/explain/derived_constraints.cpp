#include "opal/explain/derived_constraints.h"

#include <memory>
#include <unordered_set>
#include <utility>

#include "opal/interfaces/atom_classifier.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/rule_cast.h"
#include "opal/la/interpolator.h"
#include "opal/linear/linear_form.h"

namespace opal::host {

namespace {

// A partition in which everything is A's.
class AllOfA final : public itp::AtomColouring {
 public:
  [[nodiscard]] status atom_colour(const Term_* /*atom*/) const override {
    return status::A_LOCAL;
  }
  [[nodiscard]] status term_colour(const Term_* /*term*/) const override {
    return status::A_LOCAL;
  }
  void enter_atom(const Term_* /*atom*/, status /*colour*/) override {}
};

// The engine's `0 <= s + c`, or for a strict one `not (s + c <= 0)`, with the constant on
// the right and a positive coefficient first, but no factor taken out: multipliers count
// for what a drawing shows.
const Term_* as_read(Terms& terms, const Term_* sum) {
  const bool strict = Terms::kind_of(sum) == Kind::NOT;
  const Term_* const atom = strict ? sum->arg(0) : sum;
  if (Terms::kind_of(atom) != Kind::LEQ) return sum;
  LinearForm form = linear_form(atom->arg(strict ? 0 : 1));
  const int sign = form.constant.sign();
  if (form.is_constant())
    return sign < 0 || (strict && sign == 0) ? terms.false_term() : terms.true_term();
  const bool upper = form.summands.front().second.sign() < 0;
  const QNumber bound = upper ? form.constant : form.constant.neg();
  form.constant = QNumber();
  if (upper)
    for (auto& summand : form.summands)
      summand.second = summand.second.neg();
  const Term_* left = sum_term(terms, form);
  const Term_* right = terms.make_number(bound);
  if (!upper) std::swap(left, right);
  return strict ? terms.make_lt(left, right) : terms.make_leq(left, right);
}

// An interpolator for sums. A request that a limit ends leaves lists, which go with it.
class Summing {
 public:
  Summing(Terms& terms, la::Solver& solver, Mapper& mapper)
      : interpolator_(&terms, &solver, &mapper, la::Interpolator::MODE_SUM, false) {}
  Summing(const Summing&) = delete;
  Summing& operator=(const Summing&) = delete;
  ~Summing() { interpolator_.clear_cache(); }

  // When everything is A's, the interpolant of a sum is the sum itself.
  const Term_* sum(proof::Proof* p) {
    return interpolator_.get_interpolant(&classifier_, p);
  }

 private:
  la::Interpolator interpolator_;
  itp::TheoryAtomClassifier classifier_{std::make_shared<AllOfA>()};
};

}  // namespace

std::vector<proof::Proof*> proof_steps(proof::Proof* root) {
  std::vector<proof::Proof*> result;
  std::vector<proof::Proof*> waiting{root};
  std::unordered_set<const proof::Proof*> seen;
  while (!waiting.empty()) {
    proof::Proof* const p = waiting.back();
    waiting.pop_back();
    if (la::is<la::LaHyp>(p) || !seen.insert(p).second) continue;
    result.push_back(p);
    if (const auto* comb = la::as<la::LaComb>(p)) {
      waiting.push_back(comb->premise2);
      waiting.push_back(comb->premise1);
    } else if (const auto* neq = la::as<la::LaNeq>(p)) {
      waiting.push_back(neq->case2);
      waiting.push_back(neq->case1);
    } else if (const auto* branch = la::as<laz::LaZInternalBBProof>(p)) {
      waiting.push_back(branch->right);
      waiting.push_back(branch->left);
    }
  }
  return result;
}

StepTerms derived_constraints(Terms& terms, la::Solver& solver, Mapper& mapper,
                              const std::vector<proof::Proof*>& steps,
                              ExternalProofs& exports) {
  StepTerms result;
  Summing summing(terms, solver, mapper);
  for (proof::Proof* p : steps) {
    if (la::is<la::LaComb>(p) || la::is<laz::LaZTighteningProof>(p))
      result.emplace(exports.find_in_cache(p), as_read(terms, summing.sum(p)));
  }
  return result;
}

}  // namespace opal::host
