#ifndef OPAL_TESTS_ENGINE_INTEGER_PROBLEMS_H
#define OPAL_TESTS_ENGINE_INTEGER_PROBLEMS_H

// Random problems over integers, or over integers and reals, together with a refutation
// that keeps the promises of docs/proofs.md, and the check of an interpolant by trying all
// points of a box.

#include <array>
#include <numeric>
#include <random>
#include <set>

#include "tests/engine/small_host.h"

namespace opal::small {

/// coefficients of x2 ... x7, and a constant: sum >= 0, sum > 0 or sum = 0. x2 and x3 are
/// A's, x4 and x5 shared, x6 and x7 B's.
using Linear = std::array<long, 7>;
constexpr std::size_t VARIABLES = 6, CONSTANT = 6;

class IntegerProblem : public Host {
 public:
  IntegerProblem(unsigned seed, bool mixed) : random_(seed), mixed_(mixed) {
    terms.any_flag = true;
    mapper->first_definition = 500;
    const Status colours[] = {Status::A_LOCAL, Status::SHARED, Status::B_LOCAL};
    for (std::size_t v = 0; v < VARIABLES; ++v) {
      mapper->set_variable_colour(id_of(v), colours[v / 2]);
      used_[v] = v % 2 == 0 || pick(0, 1) == 0;
      point_a_[v] = pick(-3, 3);
      point_b_[v] = pick(-3, 3);
    }
    if (mixed_) used_[REAL_A] = used_[REAL_SHARED] = true;
    last_ = pick(0, 1) == 0 ? Status::A_LOCAL : Status::B_LOCAL;
    const int shape = pick(0, 9);
    root_ = proof::ProofRef(tree(shape < 7 ? 0 : shape < 9 ? 1 : 2, {}));
  }

  [[nodiscard]] proof::Proof* root() const { return root_.get(); }

  /// Finds the shared values in the box for which A holds with some values of its own
  /// variables, and likewise B.
  void try_box() {
    Linear p{};
    for_each_value(p, 2, [&] {
      for_each_value(p, 3, [&] {
        for (const bool is_A : {true, false}) {
          if (!side_holds(p, is_A)) continue;
          (is_A ? a_points_ : b_points_).emplace_back(p[2], p[3]);
          (is_A ? holds_a_ : holds_b_) = true;
        }
      });
    });
  }
  [[nodiscard]] bool both_sides_hold() const { return holds_a_ && holds_b_; }

  /// Fails unless the term holds at A's points and at none of B's.
  void check(const Term_* interpolant) {
    for (const bool is_A : {true, false})
      for (const auto& [x4, x5] : is_A ? a_points_ : b_points_) {
        std::unordered_map<const Term_*, QNumber> values;
        values[mapper->var_term(4)] = QNumber(x4) / QNumber(2);
        values[mapper->var_term(5)] = QNumber(x5) / QNumber(2);
        ASSERT_EQ(!evaluate(interpolant, values).is_zero(), is_A)
            << "at x4 = " << values[mapper->var_term(4)]
            << ", x5 = " << values[mapper->var_term(5)] << "\n"
            << Terms::text(interpolant) << "\n"
            << to_str();
      }
  }
  [[nodiscard]] std::size_t points() const { return a_points_.size() + b_points_.size(); }

  [[nodiscard]] std::string to_str() const {
    std::string text;
    for (const Asserted& row : asserted_) {
      text += row.colour == Status::SHARED    ? "AB"
              : row.colour == Status::A_LOCAL ? "A"
                                              : "B";
      for (std::size_t v = 0; v < VARIABLES; ++v)
        if (row.e[v] != 0)
          text += " + " + std::to_string(row.e[v]) + "*x" + std::to_string(v + 2);
      const char* const relations[] = {" < 0", " <= 0", " = 0", " != 0", " >= 0", " > 0"};
      text += " + " + std::to_string(row.e[CONSTANT]) + relations[row.relation] + "\n";
    }
    return text;
  }

  int cuts = 0, branches = 0, equality_proofs = 0, disequalities = 0;

 private:
  using Relation = la::LinearTerm::Relation;
  static constexpr std::size_t REAL_A = 1, REAL_SHARED = 3;
  static constexpr long HALF_BOX = 10;  // in halves: -5 .. 5

  /// A hypothesis of a refutation: `kind` is how the constraint is written.
  struct Hypothesis {
    Linear e;  // its contribution, >= 0 or > 0 (= 0 for an equality)
    int id;
    int sign;
    bool strict;
    Status colour;
    int kind;
  };
  struct Asserted {
    Linear e;
    int relation;
    Status colour;
  };
  using Path = std::vector<Hypothesis>;

  static int id_of(std::size_t v) { return static_cast<int>(v) + 2; }
  int pick(int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random_);
  }
  [[nodiscard]] bool is_real(std::size_t v) const {
    return mixed_ && (v == REAL_A || v == REAL_SHARED);
  }
  static bool may_have(Status side, std::size_t v) {
    const std::size_t group = v / 2;
    return group == 1 || (side == Status::A_LOCAL && group == 0) ||
           (side == Status::B_LOCAL && group == 2);
  }
  static void add(Linear& to, long q, const Linear& e) {
    for (std::size_t i = 0; i <= CONSTANT; ++i)
      to[i] += q * e[i];
  }
  static long value(const Linear& e, const Linear& point) {
    return std::inner_product(point.begin(), point.begin() + VARIABLES, e.begin(),
                              e[CONSTANT]);
  }
  static Status other(Status side) {
    return side == Status::A_LOCAL ? Status::B_LOCAL : Status::A_LOCAL;
  }

  /// Asserts e with a relation. An inequality may be written the other way round.
  Hypothesis assert_row(const Linear& e, int relation, Status colour) {
    const bool inequality = relation == Relation::GEQ || relation == Relation::GT;
    return assert_row(e, relation, colour, inequality && pick(0, 1) == 0);
  }
  Hypothesis assert_row(const Linear& e, int relation, Status colour, bool turned) {
    asserted_.push_back({e, relation, colour});
    const int kind = turned ? 5 - relation : relation;
    Row row;
    for (std::size_t v = 0; v < VARIABLES; ++v)
      if (e[v] != 0) row.emplace_back(id_of(v), turned ? -e[v] : e[v]);
    const int id = mapper->add(kind, row, turned ? e[CONSTANT] : -e[CONSTANT], colour);
    return {e, id, 0, relation == Relation::GT, colour, kind};
  }
  Linear random_coefficients(Status side, bool integer_only, bool with_locals) {
    Linear e{};
    for (std::size_t v = 0; v < VARIABLES; ++v)
      if (used_[v] && may_have(side, v) && !(integer_only && is_real(v)) &&
          (with_locals || v / 2 == 1) && pick(0, 2) > 0)
        e[v] = pick(-3, 3);
    return e;
  }
  /// The constant with which e holds at the side's point, by some margin.
  void hold(Linear& e, Status side, bool exactly) {
    const long at_a = value(e, point_a_), at_b = value(e, point_b_);
    const long least = side == Status::SHARED    ? std::min(at_a, at_b)
                       : side == Status::A_LOCAL ? at_a
                                                 : at_b;
    e[CONSTANT] += (exactly ? 0 : pick(0, 2)) - least;
  }
  Hypothesis random_inequality(bool integer_only, bool with_locals) {
    const Status side = random_side();
    Linear e = random_coefficients(side, integer_only, with_locals);
    const bool on_both =
        pick(0, 5) == 0 && e[0] == 0 && e[1] == 0 && e[4] == 0 && e[5] == 0;
    const Status colour = on_both ? Status::SHARED : side;
    hold(e, colour, false);
    return assert_row(e, Relation::GEQ, colour);
  }
  int random_sign() { return pick(0, 1) == 0 ? -1 : 1; }
  Status random_side() { return pick(0, 1) == 0 ? Status::A_LOCAL : Status::B_LOCAL; }

  /// A cut with its own variable, and the constraint that it derives; null when the random
  /// choice left no variable. The last rows make the coefficients divisible.
  std::pair<proof::Proof*, Linear> cut(const Path& path) {
    const bool with_locals = pick(0, 4) > 0;
    const Status concluding = random_side();
    const bool branch_concludes = !path.empty() && !path[0].strict && pick(0, 2) == 0;
    const int kind = branch_concludes  ? path[0].kind
                     : pick(0, 1) == 0 ? Relation::LEQ
                                       : Relation::GEQ;
    std::vector<std::pair<Hypothesis, long>> premises;
    Linear sum{};
    auto enter = [&](const Hypothesis& h, long m) {
      premises.emplace_back(h, m);
      const long direction = kind == Relation::LEQ ? -1 : 1;
      add(sum, h.kind == Relation::EQ ? m * direction : std::abs(m), h.e);
    };
    for (int i = pick(0, 2); i > 0; --i)
      enter(random_inequality(true, with_locals), pick(1, 3) * random_sign());
    for (const Hypothesis& h : path)
      if (pick(0, 2) == 0 && !h.strict) enter(h, pick(1, 2));
    if (pick(0, 2) == 0) {
      const Status side = random_side();
      Linear e = random_coefficients(side, true, with_locals);
      hold(e, side, true);
      enter(assert_row(e, Relation::EQ, side), pick(1, 3) * random_sign());
    }
    if (branch_concludes) add(sum, 1, path[0].e);
    Hypothesis conclusion = branch_concludes ? path[0] : Hypothesis{};
    const long k = pick(2, 4);
    for (const Status side : {other(concluding), concluding}) {
      Linear e = random_coefficients(side, true, with_locals);
      for (std::size_t v = 0; v < VARIABLES; ++v)
        if (used_[v] && !is_real(v) && may_have(side, v) &&
            (side == concluding || v / 2 != 1))
          e[v] = (with_locals || v / 2 == 1 ? k * pick(-1, 1) : 0) - sum[v];
      hold(e, side, false);
      if (side == concluding && !branch_concludes) {
        conclusion = assert_row(e, Relation::GEQ, side, kind == Relation::LEQ);
        add(sum, 1, e);
      } else {
        enter(assert_row(e, Relation::GEQ, side), 1);
      }
    }
    return finish_cut(premises, conclusion, sum);
  }
  std::pair<proof::Proof*, Linear> finish_cut(
      const std::vector<std::pair<Hypothesis, long>>& rows, const Hypothesis& conclusion,
      Linear sum) {
    long divisor = 0;
    for (std::size_t v = 0; v < VARIABLES; ++v)
      divisor = std::gcd(divisor, sum[v]);
    if (divisor == 0) return {nullptr, {}};
    std::vector<int> ids;
    std::vector<QNumber> multipliers;
    for (const auto& [h, m] : rows) {
      ids.push_back(h.id);
      multipliers.emplace_back(m);
    }
    ids.push_back(conclusion.id);
    for (std::size_t v = 0; v < VARIABLES; ++v)
      sum[v] /= divisor;
    const long c = sum[CONSTANT];
    sum[CONSTANT] = c / divisor - (c % divisor < 0 ? 1 : 0);
    return {new laz::LaZTighteningProof(ids, multipliers, divisor, 100 + cuts++), sum};
  }

  /// A chain of cuts, hypotheses of the path, and new rows that close the sum.
  proof::Proof* refutation(const Path& path) {
    std::vector<std::pair<proof::Proof*, long>> leaves;
    Linear sum{};
    bool strict = false;
    auto enter = [&](const Hypothesis& h, long m) {
      leaves.emplace_back(new la::LaHyp(h.id, h.sign), m);
      add(sum, m, h.e);
      strict = strict || h.strict;
    };
    for (int i = pick(0, 4) == 0 ? 0 : pick(1, 2); i > 0; --i) {
      const auto [leaf, e] = cut(path);
      if (leaf == nullptr) continue;
      const long m = pick(1, 2);
      leaves.emplace_back(leaf, m);
      add(sum, m, e);
    }
    for (const Hypothesis& h : path)
      if (h.strict || pick(0, 3) > 0) enter(h, pick(1, 2));
    if (pick(0, 1) == 0) enter(random_inequality(false, true), pick(1, 2));
    for (const Status side : {other(last_), last_}) {
      Linear e = random_coefficients(side, false, true);
      for (std::size_t v = 0; v < VARIABLES; ++v)
        if (may_have(side, v) && (side == last_ || v / 2 != 1)) e[v] = -sum[v];
      const bool is_strict = mixed_ && pick(0, 1) == 0;
      if (side == last_)
        e[CONSTANT] = -sum[CONSTANT] - (strict || is_strict ? pick(0, 1) : 1);
      else
        hold(e, side, false);
      if (side != last_ && is_strict) e[CONSTANT] += 1;
      enter(assert_row(e, is_strict ? Relation::GT : Relation::GEQ, side), 1);
    }
    return chain(leaves);
  }
  proof::Proof* chain(std::vector<std::pair<proof::Proof*, long>>& leaves) {
    std::shuffle(leaves.begin(), leaves.end(), random_);
    proof::Proof* result = new la::LaHyp(Mapper::ZERO, 0);
    for (const auto& [leaf, m] : leaves) {
      const QNumber multiplier(m);
      result = pick(0, 1) == 0 ? comb(nullptr, result, &multiplier, leaf)
                               : comb(&multiplier, leaf, nullptr, result);
    }
    return result;
  }

  /// Equalities without integer solution.
  proof::Proof* equality_proof() {
    const long q = pick(2, 4);
    struct Summand {
      int id;
      long m;
      Status colour;
    };
    std::vector<Summand> rows;
    Linear sum{}, sum_a{}, sum_b{};
    auto enter = [&](const Linear& e, long m, Status side) {
      rows.push_back({assert_row(e, Relation::EQ, side).id, m, side});
      add(sum, m, e);
      add(side == Status::A_LOCAL ? sum_a : sum_b, m, e);
    };
    for (int i = pick(0, 3); i > 0; --i) {
      const Status side = random_side();
      Linear e = random_coefficients(side, true, true);
      hold(e, side, true);
      enter(e, pick(1, 3) * random_sign(), side);
    }
    for (const Status side : {other(last_), last_}) {
      Linear e = random_coefficients(side, true, true);
      const long m = random_sign();
      for (std::size_t v = 0; v < VARIABLES; ++v)
        if (used_[v] && !is_real(v) && may_have(side, v) && (side == last_ || v / 2 != 1))
          e[v] = m * (q * pick(-1, 1) - sum[v]);
      hold(e, side, true);
      while (side == last_ && (sum[CONSTANT] + m * e[CONSTANT]) % q == 0)
        ++e[CONSTANT];
      enter(e, m, side);
    }
    ++equality_proofs;
    const bool a_alone = alone_contradicts(sum_a, q), b_alone = alone_contradicts(sum_b, q);
    std::vector<int> ids;
    std::vector<QNumber> multipliers;
    for (const Summand& s : rows) {
      if ((a_alone && s.colour != Status::A_LOCAL) ||
          (!a_alone && b_alone && s.colour != Status::B_LOCAL))
        continue;
      ids.push_back(s.id);
      multipliers.push_back(QNumber(s.m) / QNumber(q));
    }
    return new laz::LaZEqSubProof(ids, multipliers);
  }
  static bool alone_contradicts(const Linear& e, long q) {
    return std::all_of(e.begin(), e.begin() + CONSTANT,
                       [q](long a) { return a % q == 0; }) &&
           e[CONSTANT] % q != 0;
  }

  proof::Proof* leaf(const Path& path) {
    const int shape = pick(0, 5);
    if (shape == 0) return equality_proof();
    if (shape > 1) return refutation(path);
    const Status side = random_side();
    Linear e = random_coefficients(side, false, true);
    e[CONSTANT] = pick(-3, 3);
    if (value(e, side == Status::A_LOCAL ? point_a_ : point_b_) == 0) ++e[CONSTANT];
    Hypothesis h = assert_row(e, Relation::NEQ, side);
    h.strict = true;
    ++disequalities;
    proof::Proof* cases[2];
    for (const int sign : {-1, 1}) {
      Path longer = path;
      h.sign = sign;
      h.e = {};
      add(h.e, sign, e);
      longer.push_back(h);
      cases[sign > 0] = refutation(longer);
    }
    return new la::LaNeq(h.id, cases[0], cases[1]);
  }

  proof::Proof* tree(int depth, const Path& path) {
    if (depth == 0) return leaf(path);
    std::size_t v = 0;
    do {
      v = static_cast<std::size_t>(pick(0, VARIABLES - 1));
    } while (!used_[v] || is_real(v));
    const long c = pick(-2, 2);
    const Status colour = v / 2 == 0 ? Status::A_LOCAL : Status::B_LOCAL;
    ++branches;
    la::Equation x;
    x.add_var(1, id_of(v));
    Path left = path, right = path;
    Linear e{};
    e[v] = -1, e[CONSTANT] = c;
    left.push_back({e, mapper->add_branch(Relation::LEQ, id_of(v), c, colour), 0, false,
                    colour, Relation::LEQ});
    e[v] = 1, e[CONSTANT] = -c - 1;
    right.push_back({e, mapper->add_branch(Relation::GEQ, id_of(v), c + 1, colour), 0,
                     false, colour, Relation::GEQ});
    const int left_depth = pick(0, depth - 1);
    proof::Proof* const l = tree(left_depth, left);
    proof::Proof* const r = tree(depth - 1, right);
    return new laz::LaZInternalBBProof(l, r, left.back().id, right.back().id,
                                       la::LinearTerm(Relation::LEQ, x, c),
                                       la::LinearTerm(Relation::GEQ, x, c + 1));
  }

  template <typename Action>
  void for_each_value(Linear& p, std::size_t v, Action action) {
    const long bound = used_[v] ? HALF_BOX : 0;
    for (p[v] = -bound; p[v] <= bound; p[v] += is_real(v) ? 1 : 2)
      action();
    p[v] = 0;
  }
  bool side_holds(Linear& p, bool is_A) {
    const Status side = is_A ? Status::A_LOCAL : Status::B_LOCAL;
    const std::size_t first = is_A ? 0 : 4;
    bool found = false;
    for_each_value(p, first, [&] {
      for_each_value(p, first + 1, [&] {
        found =
            found || std::all_of(asserted_.begin(), asserted_.end(), [&](const auto& row) {
              return (row.colour != side && row.colour != Status::SHARED) ||
                     row_holds(row, p);
            });
      });
    });
    return found;
  }
  static bool row_holds(const Asserted& row, const Linear& p) {
    const long twice = value(row.e, p) + row.e[CONSTANT];
    switch (row.relation) {
      case Relation::EQ: return twice == 0;
      case Relation::NEQ: return twice != 0;
      case Relation::GEQ: return twice >= 0;
      default: return twice > 0;
    }
  }

  std::mt19937 random_;
  const bool mixed_;
  std::array<bool, VARIABLES> used_{};
  Linear point_a_{}, point_b_{};  // where all rows of a side hold but for the last
  Status last_;                   // the side of the rows that make up sums
  std::vector<Asserted> asserted_;
  std::vector<std::pair<long, long>> a_points_, b_points_;  // doubled shared values
  bool holds_a_ = false, holds_b_ = false;
  proof::ProofRef root_;
};

}  // namespace opal::small

#endif
