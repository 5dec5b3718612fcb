#include "opal/linear/linear_form.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <optional>

#include "opal/terms/print/printer.h"
#include "opal/terms/sub_terms.h"
#include "opal/terms/terms.h"

// The linear form of a term.
//
// A term contributes its weight times its own linear form to the result:
//
//     weight w of a + b      =>  w to a, w to b
//     weight w of c * t      =>  c*w to t              (c a constant)
//     weight w of to_real t  =>  w to t
//     weight w of x          =>  w*x                   (x a variable or a floor)
//     weight w of a number q =>  w*q
//
// Example: 2*(x + 3) - (x - y) is x + y + 6: x gets the weights 2 and -1.
//
// Small terms are walked as trees, which needs no tables. Others are walked as DAGs from
// the root downwards, so that a shared term has its whole weight before it passes it on.
// Cost: linear in the DAG, but for sorting the summands.

namespace opal::host {

namespace {

// Terms that a walk as a tree may visit before the term is taken for a DAG.
constexpr std::size_t TREE_VISITS = 2000;

struct Weighted {
  const Term_* term;
  QNumber weight;
};

[[noreturn]] void refuse(const Term_* t) {
  throw NotLinear("not linear: " + term_text(t), t);
}

bool is_variable(const Term_* t) {
  const Kind kind = Terms::kind_of(t);
  return (kind == Kind::VARIABLE && Terms::sort_of(t) != Sort::BOOL) || kind == Kind::FLOOR;
}

// The sum of the weighted terms, or nothing when they are too large for a walk as trees
// or have a product in which no factor is a numeral.
std::optional<LinearForm> sum_of_trees(const std::vector<Weighted>& roots) {
  LinearForm form;
  form.summands.reserve(4);
  std::vector<Weighted> stack;
  stack.reserve(8);
  stack.assign(roots.begin(), roots.end());
  for (std::size_t visits = 0; !stack.empty(); ++visits) {
    assert(visits <= TREE_VISITS);
    if (visits == TREE_VISITS) return std::nullopt;
    Weighted top = std::move(stack.back());
    stack.pop_back();
    const Term_* t = top.term;
    switch (Terms::kind_of(t)) {
      case Kind::NUMERAL: form.constant += top.weight * Terms::symbol_of(t).value; break;
      case Kind::PLUS:
        stack.push_back({t->arg(1), top.weight});
        stack.push_back({t->arg(0), std::move(top.weight)});
        break;
      case Kind::TIMES: {
        const std::size_t factor = Terms::is_numeral(t->arg(0)) ? 0 : 1;
        if (!Terms::is_numeral(t->arg(factor))) return std::nullopt;
        top.weight *= Terms::symbol_of(t->arg(factor)).value;
        stack.push_back({t->arg(1 - factor), std::move(top.weight)});
        break;
      }
      case Kind::TO_REAL: stack.push_back({t->arg(0), std::move(top.weight)}); break;
      default:
        if (!is_variable(t)) refuse(t);
        form.summands.emplace_back(t, std::move(top.weight));
        break;
    }
  }
  form.merge_summands();
  return form;
}

using Constants = std::vector<std::optional<QNumber>>;

// The value of each term that has no variables. Refuses the first term that is not linear.
Constants constant_values(const SubTerms& order) {
  Constants constants(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const Term_* t = order[i];
    if (is_variable(t)) continue;
    const auto argument = [&](std::size_t k) -> const std::optional<QNumber>& {
      return constants[order.position(t->arg(k))];
    };
    switch (Terms::kind_of(t)) {
      case Kind::NUMERAL: constants[i] = Terms::symbol_of(t).value; break;
      case Kind::TO_REAL: constants[i] = argument(0); break;
      case Kind::PLUS:
        if (argument(0) && argument(1)) constants[i] = *argument(0) + *argument(1);
        break;
      case Kind::TIMES:
        if (!argument(0) && !argument(1)) refuse(t);
        if (argument(0) && argument(1)) constants[i] = *argument(0) * *argument(1);
        break;
      default: refuse(t);
    }
  }
  return constants;
}

LinearForm sum_of_dags(const std::vector<Weighted>& roots) {
  std::vector<const Term_*> terms;
  terms.reserve(roots.size());
  for (const Weighted& root : roots)
    terms.push_back(root.term);
  const SubTerms order(terms, SubTerms::Floors::ATOMIC);
  const Constants constants = constant_values(order);
  std::vector<QNumber> weights(order.size());
  for (const Weighted& root : roots)
    weights[order.position(root.term)] += root.weight;

  LinearForm form;
  for (std::size_t i = order.size(); i-- > 0;) {
    const Term_* t = order[i];
    QNumber weight = std::move(weights[i]);
    if (constants[i]) {
      form.constant += weight * *constants[i];
    } else if (is_variable(t)) {
      form.summands.emplace_back(t, std::move(weight));
    } else if (Terms::kind_of(t) == Kind::TIMES) {
      std::size_t factor = order.position(t->arg(0));
      std::size_t other = order.position(t->arg(1));
      if (!constants[factor]) std::swap(factor, other);
      assert(constants[factor] && !constants[other]);
      weights[other] += weight * *constants[factor];
    } else {
      assert(Terms::kind_of(t) == Kind::PLUS || Terms::kind_of(t) == Kind::TO_REAL);
      for (const Term_* argument : *t)
        weights[order.position(argument)] += weight;
    }
  }
  form.merge_summands();
  return form;
}

LinearForm sum_of(const std::vector<Weighted>& roots) {
  std::optional<LinearForm> form = sum_of_trees(roots);
  if (!form) form = sum_of_dags(roots);
  assert(form->is_normal());
  return std::move(*form);
}

}  // namespace

void LinearForm::merge_summands() {
  std::sort(summands.begin(), summands.end(),
            [](const auto& a, const auto& b) { return a.first->id() < b.first->id(); });
  std::size_t kept = 0;
  for (std::size_t i = 0; i < summands.size();) {
    Summand sum = std::move(summands[i++]);
    for (; i < summands.size() && summands[i].first == sum.first; ++i)
      sum.second += summands[i].second;
    if (!sum.second.is_zero()) summands[kept++] = std::move(sum);
  }
  summands.resize(kept);
  assert(is_normal());
}

bool LinearForm::is_normal() const {
  for (std::size_t i = 0; i < summands.size(); ++i) {
    if (summands[i].second.is_zero()) return false;
    if (i > 0 && summands[i - 1].first->id() >= summands[i].first->id()) return false;
  }
  return true;
}

LinearForm linear_form(const Term_* t) {
  assert(Terms::sort_of(t) != Sort::BOOL);
  return sum_of({{t, QNumber(1)}});
}

LinearForm linear_difference(const Term_* left, const Term_* right) {
  assert(Terms::sort_of(left) != Sort::BOOL && Terms::sort_of(right) != Sort::BOOL);
  return sum_of({{right, QNumber(-1)}, {left, QNumber(1)}});
}

const Term_* sum_term(Terms& terms, const LinearForm& form) {
  assert(form.is_normal());
  const auto is_integer = [](const auto& summand) {
    return Terms::sort_of(summand.first) == Sort::INT;
  };
  const bool integers = std::all_of(form.summands.begin(), form.summands.end(), is_integer);
  const Term_* sum = nullptr;
  const auto add = [&](const Term_* t) {
    sum = sum == nullptr ? t : terms.make_plus(sum, t);
  };
  for (const auto& [variable, a] : form.summands) {
    const Term_* t = integers ? variable : terms.make_to_real(variable);
    add(a == QNumber(1) ? t : terms.make_times(terms.make_number(a), t));
  }
  if (sum == nullptr || !form.constant.is_zero()) add(terms.make_number(form.constant));
  assert(sum != nullptr && Terms::sort_of(sum) != Sort::BOOL);
  return sum;
}

}  // namespace opal::host
