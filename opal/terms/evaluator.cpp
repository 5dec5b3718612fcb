// The value of a term in a model, exactly.
//
// The sub-terms are walked in the order of their ids, arguments before the terms that have
// them, so a shared part is evaluated once and depth does not matter. A formula's truth
// value is the number 1 or 0 on the way. Example: with x = 7, floor(x/2) + 1 has the values
// 7, 7/2, 3, 4 for x, x/2, floor(x/2) and itself. Cost: one operation for each sub-term.

#include "opal/terms/evaluator.h"

#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

#include "opal/terms/sub_terms.h"

namespace opal::host {

namespace {

// The value of a term with the values of its arguments; a formula has 1 for true and 0
// for false.
QNumber value_of(const Term_* t, const Model& model, const QNumber* a, const QNumber* b,
                 const QNumber* c) {
  const TermSymbol& symbol = Terms::symbol_of(t);
  const auto truth = [](bool value) { return QNumber(value ? 1 : 0); };
  assert((a != nullptr) == (t->num_args() > 0));
  assert((b != nullptr) == (t->num_args() > 1));
  assert((c != nullptr) == (t->num_args() > 2));
  switch (symbol.kind) {
    case Kind::VARIABLE: {
      const auto found = model.find(t);
      return found != model.end() ? found->second : QNumber();
    }
    case Kind::NUMERAL: return symbol.value;
    case Kind::TRUE: return truth(true);
    case Kind::FALSE: return truth(false);
    case Kind::TO_REAL: return *a;
    case Kind::FLOOR: return a->floor();
    case Kind::PLUS: return *a + *b;
    case Kind::TIMES: return *a * *b;
    case Kind::LEQ: return truth(*a <= *b);
    case Kind::LT: return truth(*a < *b);
    case Kind::EQ: return truth(*a == *b);
    case Kind::NEQ: return truth(*a != *b);
    case Kind::CONGRUENCE: return truth(((*a - *b) / symbol.value).is_integer());
    case Kind::NOT: return truth(a->is_zero());
    case Kind::AND: return truth(!a->is_zero() && !b->is_zero());
    case Kind::OR: return truth(!a->is_zero() || !b->is_zero());
    case Kind::ITE: break;
  }
  assert(symbol.kind == Kind::ITE);
  return a->is_zero() ? *c : *b;
}

QNumber value(const Term_* root, const Model& model) {
  const SubTerms order({root});
  std::vector<QNumber> values;
  values.reserve(order.size());
  for (const Term_* t : order) {
    const auto argument = [&](std::size_t i) {
      return i < t->num_args() ? &values[order.position(t->arg(i))] : nullptr;
    };
    values.push_back(value_of(t, model, argument(0), argument(1), argument(2)));
  }
  assert(values.size() == order.size() && order.position(root) + 1 == order.size());
  return std::move(values.back());
}

}  // namespace

QNumber evaluate(const Term_* t, const Model& model) {
  assert(Terms::sort_of(t) != Sort::BOOL);
  return value(t, model);
}

bool holds(const Term_* formula, const Model& model) {
  assert(Terms::sort_of(formula) == Sort::BOOL);
  const QNumber truth = value(formula, model);
  assert(truth.is_zero() || truth == QNumber(1));
  return !truth.is_zero();
}

}  // namespace opal::host
