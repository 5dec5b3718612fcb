// Random formulas with every connective, over a few Ints from -2 to 2, Reals and Bools.

#ifndef OPAL_TESTS_SMT_RANDOM_FORMULAS_H
#define OPAL_TESTS_SMT_RANDOM_FORMULAS_H

#include <random>
#include <string>
#include <vector>

#include "opal/terms/evaluator.h"
#include "opal/terms/terms.h"

namespace opal::testing {

class RandomFormulas {
 public:
  enum class Reals : std::uint8_t { NONE, SOME };

  RandomFormulas(host::Terms& terms, unsigned seed, Reals reals)
      : terms_(terms), random_(seed), reals_(reals) {
    for (int i = 0; i < 3; ++i) {
      ints_.push_back(terms.make_variable("x" + std::to_string(i), host::Sort::INT));
      bools_.push_back(terms.make_variable("p" + std::to_string(i), host::Sort::BOOL));
      if (reals == Reals::SOME)
        numbers_.push_back(terms.make_variable("r" + std::to_string(i), host::Sort::REAL));
    }
    formulas_ = bools_;
  }

  int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }

  /// -2 <= x <= 2 for every Int.
  std::vector<const Term_*> bounds() {
    std::vector<const Term_*> result;
    for (const Term_* x : ints_) {
      result.push_back(terms_.make_leq(terms_.make_number(-2), x));
      result.push_back(terms_.make_leq(x, terms_.make_number(2)));
    }
    return result;
  }

  /// A formula, which shares parts with earlier ones.
  const Term_* formula(int depth) {
    if (depth == 0 || below(8) == 0)
      return below(3) == 0 ? atom()
                           : formulas_[static_cast<std::size_t>(
                                 below(static_cast<int>(formulas_.size())))];
    const Term_* const a = formula(depth - 1);
    const Term_* const b = formula(depth - 1);
    const Term_* made = nullptr;
    switch (below(10)) {
      case 0: made = terms_.make_not(a); break;
      case 1: made = terms_.make_equal(a, b); break;
      case 2: made = terms_.make_distinct(a, b); break;
      case 3: made = terms_.make_ite(formula(depth - 1), a, b); break;
      case 4: made = atom(); break;
      case 5:
      case 6: made = terms_.make_or(a, terms_.make_not(b)); break;
      case 7: made = terms_.make_or(a, b); break;
      default: made = terms_.make_and(a, b); break;
    }
    formulas_.push_back(made);
    return made;
  }

  /// All values of the Ints and Bools within the bounds, one after the other; random ones
  /// of the Reals.
  template <typename Visit>
  void for_each_model(Visit visit) {
    host::Model model;
    for (int code = 0; code < 125 * 8; ++code) {
      int rest = code;
      for (const Term_* x : ints_) {
        model[x] = QNumber(rest % 5 - 2);
        rest /= 5;
      }
      for (const Term_* p : bools_) {
        model[p] = QNumber(rest % 2);
        rest /= 2;
      }
      for (const Term_* r : numbers_)
        model[r] = QNumber(below(13) - 6) / QNumber(2);
      visit(model);
    }
  }

  [[nodiscard]] std::vector<const Term_*> variables() const {
    std::vector<const Term_*> result(ints_);
    result.insert(result.end(), bools_.begin(), bools_.end());
    result.insert(result.end(), numbers_.begin(), numbers_.end());
    return result;
  }

 private:
  const Term_* product(const Term_* t) {
    static constexpr int FACTORS[] = {1, 1, -1, 2, -2, 3};
    return terms_.make_times(terms_.make_number(FACTORS[below(6)]), t);
  }

  const Term_* integer(int depth) {
    const Term_* const x = ints_[static_cast<std::size_t>(below(3))];
    switch (depth == 0 ? 6 : below(8)) {
      case 0: return terms_.make_ite(formula(depth - 1), integer(depth - 1), x);
      case 1: {
        const Term_* const half = terms_.make_number(QNumber(1) / QNumber(2 + below(2)));
        return terms_.make_floor(terms_.make_times(half, terms_.make_to_real(product(x))));
      }
      case 2: return terms_.make_number(below(5) - 2);
      case 3:
      case 4: return terms_.make_plus(product(x), integer(depth - 1));
      default: return product(x);
    }
  }

  const Term_* number(int depth) {
    if (reals_ == Reals::NONE || below(2) == 0) return integer(depth);
    const Term_* const r = numbers_[static_cast<std::size_t>(below(3))];
    switch (below(6)) {
      case 0: return terms_.make_ite(formula(depth), r, terms_.make_to_real(integer(0)));
      case 1: return terms_.make_plus(product(r), terms_.make_to_real(integer(depth)));
      case 2: return terms_.make_to_real(terms_.make_floor(product(r)));
      default: return product(r);
    }
  }

  const Term_* atom() {
    const Term_* const a = number(1);
    const Term_* const b = number(1);
    switch (below(6)) {
      case 0: return terms_.make_lt(a, b);
      case 1: return terms_.make_equal(a, b);
      case 2: return terms_.make_distinct(a, b);
      case 3:
        return terms_.make_int_modular_congruence(QNumber(2 + below(2)), integer(1),
                                                  integer(0));
      default: return terms_.make_leq(a, b);
    }
  }

  host::Terms& terms_;
  std::mt19937 random_;
  const Reals reals_;
  std::vector<const Term_*> ints_, bools_, numbers_;
  std::vector<const Term_*> formulas_;  // made so far
};

}  // namespace opal::testing

#endif
