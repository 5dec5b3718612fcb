#ifndef OPAL_TESTS_HOST_FIXTURE_H
#define OPAL_TESTS_HOST_FIXTURE_H

// Terms, a mapper and random numbers for the tests of the host, with short names for what
// formulas are built of.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "opal/linear/mapper.h"
#include "opal/terms/evaluator.h"
#include "opal/terms/print/printable_terms.h"

namespace opal::host {

using Atoms = std::vector<const Term_*>;

inline Atoms joined(Atoms a, const Atoms& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

inline bool all_hold(const Atoms& formulas, const Model& model) {
  return std::all_of(formulas.begin(), formulas.end(),
                     [&](const Term_* f) { return holds(f, model); });
}

// Whether some integers between -bound and bound satisfy all formulas.
inline bool has_point(const Atoms& formulas, const Atoms& variables, long bound) {
  const long width = 2 * bound + 1;
  for (long point = 0, rest = 0; rest == 0; ++point) {
    Model model;
    rest = point;
    for (const Term_* v : variables) {
      model[v] = QNumber(rest % width - bound);
      rest /= width;
    }
    if (rest == 0 && all_hold(formulas, model)) return true;
  }
  return false;
}

// The text of the exception that an action throws, "" if it throws none.
inline std::string message_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "";
}

class Builder {
 public:
  explicit Builder(Terms& terms) : t(terms) {}

  const Term_* num(const QNumber& q) { return t.make_number(q); }
  const Term_* times(const QNumber& q, const Term_* a) { return t.make_times(num(q), a); }
  const Term_* plus(const Term_* a, const Term_* b) { return t.make_plus(a, b); }
  const Term_* plus(const Term_* a, long n) { return t.make_plus(a, num(n)); }
  const Term_* leq(const Term_* a, const Term_* b) { return t.make_leq(a, b); }
  const Term_* lt(const Term_* a, const Term_* b) { return t.make_lt(a, b); }
  const Term_* eq(const Term_* a, const Term_* b) { return t.make_equal(a, b); }
  const Term_* neq(const Term_* a, const Term_* b) { return t.make_distinct(a, b); }
  const Term_* land(const Term_* a, const Term_* b) { return t.make_and(a, b); }
  const Term_* lor(const Term_* a, const Term_* b) { return t.make_or(a, b); }
  const Term_* lnot(const Term_* a) { return t.make_not(a); }
  const Term_* floor(const Term_* a) { return t.make_floor(a); }
  const Term_* mod(long m, const Term_* a, const Term_* b) {
    return t.make_int_modular_congruence(m, a, b);
  }
  const Term_* real(const std::string& name) { return t.make_variable(name, Sort::REAL); }
  const Term_* integer(const std::string& name) { return t.make_variable(name, Sort::INT); }
  // An atom by the number of its relation: LT, LEQ, EQ, NEQ, GEQ, GT.
  const Term_* related(int relation, const Term_* a, const Term_* b) {
    switch (relation) {
      case la::LinearTerm::LT: return lt(a, b);
      case la::LinearTerm::LEQ: return leq(a, b);
      case la::LinearTerm::EQ: return eq(a, b);
      case la::LinearTerm::NEQ: return neq(a, b);
      case la::LinearTerm::GEQ: return leq(b, a);
      default: return lt(b, a);
    }
  }

  long pick(long low, long high) {
    return low + static_cast<long>(random() % static_cast<unsigned long>(high - low + 1));
  }
  bool one_in(long n) { return pick(1, n) == 1; }
  const Term_* any(const Atoms& terms) { return terms[random() % terms.size()]; }
  QNumber any_number() { return QNumber(pick(-6, 6)) / QNumber(pick(1, 4)); }
  // Integers for Ints, fractions for Reals.
  Model any_model(const Atoms& variables, long bound = 6) {
    Model model;
    for (const Term_* v : variables) {
      const long d = Terms::sort_of(v) == Sort::INT ? 1 : pick(1, 4);
      model[v] = QNumber(pick(-bound, bound)) / QNumber(d);
    }
    return model;
  }

  Terms& t;
  std::mt19937_64 random{20240611};
};

struct OwnTerms {
  PrintableTerms own_terms;
};

class HostTest : public testing::Test, private OwnTerms, protected Builder {
 protected:
  HostTest() : Builder(own_terms) {}

  Limits limits;
  Mapper mapper{t, limits};
  const Term_* x = real("x");
  const Term_* y = real("y");
  const Term_* z = real("z");
  const Term_* i = integer("i");
  const Term_* j = integer("j");
};

}  // namespace opal::host

#endif
