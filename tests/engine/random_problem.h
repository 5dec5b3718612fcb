#ifndef OPAL_TESTS_ENGINE_RANDOM_PROBLEM_H
#define OPAL_TESTS_ENGINE_RANDOM_PROBLEM_H

// Random refutations that keep the promises of docs/proofs.md, with the constraints that
// they need.

#include "tests/engine/random_rows.h"

namespace opal::small {

class RandomProblem : public RandomRows {
 public:
  struct Figures {
    int cuts = 0, branches = 0, equality_proofs = 0, disequalities = 0, implications = 0;
  };

  RandomProblem(unsigned seed, Sorts sorts, Figures& figures)
      : RandomRows(seed, sorts), figures_(figures), last_(random_side()) {
    const int shape = sorts == REALS ? 0 : pick(0, 9);
    root_ = ProofRef(tree(shape < 7 ? 0 : shape < 9 ? 1 : 2, {}));
    try_box();
  }
  [[nodiscard]] Proof* root() const { return root_.get(); }

 private:
  using Path = std::vector<Constraint>;
  using Weighted = std::vector<std::pair<Constraint, long>>;

  /// A cut with its own variable, and the constraint that it derives; null when the random
  /// choice left no variable. The last rows make the coefficients divisible.
  std::pair<Proof*, Linear> cut(const Path& path) {
    const bool with_locals = pick(0, 4) > 0;
    const Status concluding = random_side();
    const int kind = pick(0, 1) == 0 ? LEQ : GEQ;
    Weighted premises;
    Linear sum{};
    auto enter = [&](const Constraint& c, long m) {
      premises.emplace_back(c, m);
      const long direction = kind == LEQ ? -1 : 1;
      add(sum, c.relation == EQ ? m * direction : std::abs(m), c.e);
    };
    for (int i = pick(0, 2); i > 0; --i)
      enter(random_inequality(true, with_locals), pick(1, 3) * random_sign());
    for (const Constraint& c : path)
      if (pick(0, 2) == 0 && !c.is_strict()) enter(c, pick(1, 2));
    if (pick(0, 2) == 0) {
      const Status side = random_side();
      Linear e = random_row(side, true, with_locals);
      hold(e, side, true);
      enter(assert_row(e, EQ, side), pick(1, 3) * random_sign());
    }
    Constraint conclusion{};
    const long k = pick(2, 4);
    for (const Status side : {other(concluding), concluding}) {
      Linear e = closing_row(side, side == concluding, sum, k, with_locals);
      hold(e, side, false);
      if (side == concluding)
        add(sum, 1, (conclusion = assert_row(e, GEQ, side, kind)).e);
      else
        enter(assert_row(e, GEQ, side), 1);
    }
    return finish_cut(premises, conclusion, sum);
  }
  std::pair<Proof*, Linear> finish_cut(const Weighted& premises,
                                       const Constraint& conclusion, Linear sum) {
    long divisor = 0;
    for (std::size_t v = 0; v < VARIABLES; ++v)
      divisor = std::gcd(divisor, sum[v]);
    if (divisor == 0) return {nullptr, {}};
    std::vector<int> ids;
    std::vector<QNumber> multipliers;
    for (const auto& [c, m] : premises) {
      ids.push_back(c.id);
      multipliers.emplace_back(m);
    }
    ids.push_back(conclusion.id);
    ++figures_.cuts;
    const long c = sum[CONSTANT];
    for (long& a : sum)
      a /= divisor;
    if (c % divisor < 0) --sum[CONSTANT];
    return {new laz::LaZTighteningProof(ids, multipliers, divisor, 100 + cuts_++), sum};
  }

  /// Cuts, hypotheses of the path, and new rows that close the sum.
  Proof* refutation(const Path& path) {
    std::vector<std::pair<Proof*, long>> cuts;
    Weighted hypotheses;
    Linear sum{};
    bool strict = false;
    auto enter = [&](const Constraint& c, long m) {
      hypotheses.emplace_back(c, m);
      add(sum, m, c.e);
      strict = strict || c.is_strict();
    };
    for (int i = sorts_ == REALS || pick(0, 4) == 0 ? 0 : pick(1, 2); i > 0; --i) {
      const auto [leaf, e] = cut(path);
      if (leaf == nullptr) continue;
      cuts.emplace_back(leaf, pick(1, 2));
      add(sum, cuts.back().second, e);
    }
    for (const Constraint& c : path)
      if (c.is_strict() || pick(0, 3) > 0) enter(c, pick(1, 2));
    const bool is_long = sorts_ == REALS && pick(0, 3) == 0;  // with rows that stay apart
    for (int i = is_long ? 40 : pick(0, 3); i > 0; --i)
      enter(random_inequality(false, !is_long || i > 30), pick(1, 2));
    for (const Status side : {other(last_), last_}) {
      Linear e = closing_row(side, side == last_, sum, 0, true);
      const bool is_strict = sorts_ != INTEGERS && pick(0, 1) == 0;
      if (side == last_)
        e[CONSTANT] = -sum[CONSTANT] - (strict || is_strict ? pick(0, 1) : 1);
      else
        hold(e, side, false);
      if (side != last_ && is_strict) e[CONSTANT] += 1;
      enter(assert_row(e, is_strict ? GT : GEQ, side), 1);
    }
    return chain(cuts, hypotheses);
  }
  /// The sum of the leaves, divided by a number. An inequality with multiplier one may be
  /// left to an implication.
  Proof* chain(std::vector<std::pair<Proof*, long>> leaves, const Weighted& hypotheses) {
    const long d = pick(1, 3);
    std::vector<Constraint> negations;
    for (const auto& [c, m] : hypotheses) {
      if (m == d && c.relation >= GEQ && c.sign == 0 && pick(0, 3) == 0)
        negations.push_back(c);
      else
        leaves.emplace_back(new la::LaHyp(c.id, c.sign), m);
    }
    std::shuffle(leaves.begin(), leaves.end(), random_);
    Proof* result = new la::LaHyp(Mapper::ZERO, 0);
    for (const auto& [leaf, m] : leaves) {
      const QNumber multiplier = QNumber(m) / QNumber(d);
      result = pick(0, 1) == 0 ? comb(nullptr, result, &multiplier, leaf)
                               : comb(&multiplier, leaf, nullptr, result);
    }
    for (const Constraint& c : negations)
      result = new la::LaCombImp(mapper->add_negation(c.id, c.colour), 0, result);
    figures_.implications += static_cast<int>(negations.size());
    return result;
  }

  /// Equalities without integer solution. Those of one side are enough when they alone
  /// make up such a sum.
  Proof* equality_proof() {
    const long q = pick(2, 4);
    Weighted rows;
    Linear sum{}, sum_a{}, sum_b{};
    auto enter = [&](const Linear& e, long m, Status side) {
      rows.emplace_back(assert_row(e, EQ, side), m);
      add(sum, m, e);
      add(side == A ? sum_a : sum_b, m, e);
    };
    for (int i = pick(0, 3); i > 0; --i) {
      const Status side = random_side();
      Linear e = random_row(side, true, true);
      hold(e, side, true);
      enter(e, pick(1, 3) * random_sign(), side);
    }
    for (const Status side : {other(last_), last_}) {
      const long m = random_sign();
      Linear e{};
      add(e, m, closing_row(side, side == last_, sum, q, true));
      hold(e, side, true);
      while (side == last_ && (sum[CONSTANT] + m * e[CONSTANT]) % q == 0)
        ++e[CONSTANT];
      enter(e, m, side);
    }
    ++figures_.equality_proofs;
    const bool a_alone = is_contradictory(sum_a, q), b_alone = is_contradictory(sum_b, q);
    std::vector<int> ids;
    std::vector<QNumber> multipliers;
    for (const auto& [c, m] : rows) {
      if (c.colour == A ? !a_alone && b_alone : a_alone) continue;
      ids.push_back(c.id);
      multipliers.push_back(QNumber(m) / QNumber(q));
    }
    return new laz::LaZEqSubProof(ids, multipliers);
  }
  static bool is_contradictory(const Linear& e, long q) {
    const auto divides = [q](long a) { return a % q == 0; };
    return std::all_of(e.begin(), e.begin() + CONSTANT, divides) && !divides(e[CONSTANT]);
  }

  Proof* leaf(const Path& path) {
    const int shape = pick(0, 5);
    if (shape == 0 && sorts_ != REALS) return equality_proof();
    if (shape > 1) return refutation(path);
    const Status side = random_side();
    Linear e = random_row(side, false, true);
    e[CONSTANT] = pick(-3, 3);
    if (value(e, side == A ? point_a_ : point_b_) == 0) ++e[CONSTANT];
    Path longer = path;
    longer.push_back(assert_row(e, NEQ, side));
    Constraint& neq = longer.back();
    ++figures_.disequalities;
    Proof* cases[2];
    for (const int sign : {-1, 1}) {
      neq.sign = sign;
      neq.e = {};
      add(neq.e, sign, e);
      cases[sign > 0] = refutation(longer);
    }
    return new la::LaNeq(neq.id, cases[0], cases[1]);
  }

  Proof* tree(int depth, const Path& path) {
    if (depth == 0) return leaf(path);
    std::size_t v = 0;
    do {
      v = static_cast<std::size_t>(pick(0, VARIABLES - 1));
    } while (!used_[v] || is_real(v));
    const long c = pick(-2, 2);
    const Status colour = v < 2 ? A : B;
    ++figures_.branches;
    Path left = path, right = path;
    Linear e{};
    e[v] = -1, e[CONSTANT] = c;
    left.push_back({e, GEQ, colour, LEQ, mapper->add_branch(LEQ, id_of(v), c, colour)});
    e[v] = 1, e[CONSTANT] = -c - 1;
    right.push_back(
        {e, GEQ, colour, GEQ, mapper->add_branch(GEQ, id_of(v), c + 1, colour)});
    const int left_depth = pick(0, depth - 1);
    Proof* const l = tree(left_depth, left);
    Proof* const r = tree(depth - 1, right);
    const int l_id = left.back().id, r_id = right.back().id;
    return new laz::LaZInternalBBProof(l, r, l_id, r_id, mapper->linear_term(l_id),
                                       mapper->linear_term(r_id));
  }

  Figures& figures_;
  const Status last_;  // the side of the rows that make up sums
  int cuts_ = 0;
  ProofRef root_;
};

}  // namespace opal::small

#endif
