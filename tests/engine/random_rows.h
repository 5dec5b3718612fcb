#ifndef OPAL_TESTS_ENGINE_RANDOM_ROWS_H
#define OPAL_TESTS_ENGINE_RANDOM_ROWS_H

// Random constraints of A and B over integers, reals, or both, and the check of an
// interpolant by trying points of a box.

#include <array>
#include <numeric>
#include <random>

#include "tests/engine/small_host.h"

namespace opal::small {

/// coefficients of x2 ... x7, and a constant: sum >= 0, sum > 0, sum = 0 or sum != 0. x2
/// and x3 are A's, x4 and x5 shared, x6 and x7 B's.
using Linear = std::array<long, 7>;
constexpr std::size_t VARIABLES = 6, CONSTANT = 6;

class RandomRows : public Host {
 public:
  enum Sorts { INTEGERS, BOTH, REALS };

  /// The shared values, doubled, with which A, or B, holds for some values of its own.
  using Points = std::vector<std::pair<long, long>>;
  [[nodiscard]] const Points& points(bool of_A) const {
    return of_A ? a_points_ : b_points_;
  }

  /// Fails unless the term holds at A's points and at none of B's.
  void check(Term interpolant) {
    for (const bool is_A : {true, false})
      for (const auto& [x4, x5] : points(is_A)) {
        std::unordered_map<Term, QNumber> values;
        values[mapper->var_term(4)] = QNumber(x4) / QNumber(2);
        values[mapper->var_term(5)] = QNumber(x5) / QNumber(2);
        ASSERT_EQ(!evaluate(interpolant, values).is_zero(), is_A)
            << "at 2*x4 = " << x4 << ", 2*x5 = " << x5 << "\n"
            << Terms::text(interpolant);
      }
  }

 protected:
  RandomRows(unsigned seed, Sorts sorts) : random_(seed), sorts_(sorts) {
    terms.any_flag = true;
    mapper->first_definition = 500;
    const Status colours[] = {A, AB, B};
    for (std::size_t v = 0; v < VARIABLES; ++v) {
      mapper->set_variable_colour(id_of(v), colours[v / 2]);
      used_[v] = v % 2 == 0 || sorts == REALS || pick(0, 1) == 0;
      point_a_[v] = pick(-3, 3);
      point_b_[v] = pick(-3, 3);
    }
    if (sorts == BOTH) used_[REAL_A] = used_[REAL_SHARED] = true;
  }

  static constexpr std::size_t REAL_A = 1, REAL_SHARED = 3;
  static constexpr long HALF_BOX = 10;  // in halves: -5 .. 5

  /// e in relation to 0; `kind` is how the mapper has it. As a hypothesis, e is what it
  /// contributes.
  struct Constraint {
    Linear e;
    int relation;
    Status colour;
    int kind;
    int id;
    int sign = 0;
    [[nodiscard]] bool is_strict() const { return relation == GT || relation == NEQ; }
  };

  static int id_of(std::size_t v) { return static_cast<int>(v) + 2; }
  int pick(int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random_);
  }
  int random_sign() { return pick(0, 1) == 0 ? -1 : 1; }
  Status random_side() { return pick(0, 1) == 0 ? A : B; }
  static Status other(Status side) { return side == A ? B : A; }
  [[nodiscard]] bool is_real(std::size_t v) const {
    return sorts_ == REALS || (sorts_ == BOTH && (v == REAL_A || v == REAL_SHARED));
  }
  static bool is_shared(std::size_t v) { return v / 2 == 1; }
  [[nodiscard]] bool may_have(Status side, std::size_t v, bool integers) const {
    const bool knows = is_shared(v) || (side == A) == (v < 2);
    return knows && used_[v] && !(integers && is_real(v));
  }
  static void add(Linear& to, long q, const Linear& e) {
    for (std::size_t i = 0; i <= CONSTANT; ++i)
      to[i] += q * e[i];
  }
  static long value(const Linear& e, const Linear& point) {
    return std::inner_product(point.begin(), point.begin() + VARIABLES, e.begin(),
                              e[CONSTANT]);
  }

  /// An inequality may be written the other way round, unless its kind is given.
  Constraint assert_row(const Linear& e, int relation, Status colour, int kind = -1) {
    if (kind < 0) kind = relation >= GEQ && pick(0, 1) == 0 ? 5 - relation : relation;
    const bool turned = kind != relation;
    Row row;
    for (std::size_t v = 0; v < VARIABLES; ++v)
      if (e[v] != 0) row.emplace_back(id_of(v), turned ? -e[v] : e[v]);
    const int id = mapper->add(kind, row, turned ? e[CONSTANT] : -e[CONSTANT], colour);
    asserted_.push_back({e, relation, colour, kind, id});
    return asserted_.back();
  }
  Linear random_row(Status side, bool integers, bool with_locals) {
    Linear e{};
    for (std::size_t v = 0; v < VARIABLES; ++v)
      if (may_have(side, v, integers) && (with_locals || is_shared(v)) && pick(0, 2) > 0)
        e[v] = pick(-3, 3);
    return e;
  }
  /// Coefficients that make those of the side's own variables in the sum multiples of k,
  /// and those of the shared ones too if the side is the last to add something.
  Linear closing_row(Status side, bool last, const Linear& sum, long k, bool with_locals) {
    Linear e = random_row(side, k != 0, with_locals);
    for (std::size_t v = 0; v < VARIABLES; ++v)
      if (may_have(side, v, k != 0) && (last || !is_shared(v)))
        e[v] = (with_locals || is_shared(v) ? k * pick(-1, 1) : 0) - sum[v];
    return e;
  }
  /// Gives e the constant with which it holds at the side's point, by some margin.
  void hold(Linear& e, Status side, bool exactly) {
    const long at_a = value(e, point_a_), at_b = value(e, point_b_);
    const long least = side == AB ? std::min(at_a, at_b) : side == A ? at_a : at_b;
    e[CONSTANT] += (exactly ? 0 : pick(0, 2)) - least;
  }
  Constraint random_inequality(bool integers, bool with_locals) {
    const Status side = random_side();
    Linear e = random_row(side, integers, with_locals);
    const bool on_both =
        pick(0, 5) == 0 && e[0] == 0 && e[1] == 0 && e[4] == 0 && e[5] == 0;
    const Status colour = on_both ? AB : side;
    hold(e, colour, false);
    return assert_row(e, GEQ, colour);
  }

  /// All integers, or all halves, of the box.
  template <typename Action>
  void for_each_value(Linear& p, std::size_t v, Action action) {
    const long bound = used_[v] ? HALF_BOX : 0;
    for (p[v] = -bound; p[v] <= bound; p[v] += is_real(v) && sorts_ == BOTH ? 1 : 2)
      action();
    p[v] = 0;
  }
  void try_box() {
    Linear p{};
    for_each_value(p, 2, [&] {
      for_each_value(p, 3, [&] {
        if (side_holds(p, A)) a_points_.emplace_back(p[2], p[3]);
        if (side_holds(p, B)) b_points_.emplace_back(p[2], p[3]);
      });
    });
  }
  bool side_holds(Linear& p, Status side) {
    const std::size_t first = side == A ? 0 : 4;
    bool found = false;
    for_each_value(p, first, [&] {
      for_each_value(p, first + 1, [&] {
        found = found ||
                std::all_of(asserted_.begin(), asserted_.end(), [&](const Constraint& c) {
                  return c.colour == other(side) || holds(c, p);
                });
      });
    });
    return found;
  }
  static bool holds(const Constraint& c, const Linear& p) {
    const long twice = value(c.e, p) + c.e[CONSTANT];
    return c.relation == EQ    ? twice == 0
           : c.relation == NEQ ? twice != 0
                               : twice >= (c.is_strict() ? 1 : 0);
  }

  std::mt19937 random_;
  const Sorts sorts_;
  std::array<bool, VARIABLES> used_{};
  Linear point_a_{}, point_b_{};  // where all rows of a side hold but for the last
  std::vector<Constraint> asserted_;
  Points a_points_, b_points_;
};

}  // namespace opal::small

#endif
