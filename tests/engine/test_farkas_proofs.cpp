// Random and large Farkas proofs, whose interpolants are checked by evaluation.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

using proof::Proof;
using proof::ProofRef;
using Point = std::map<int, QNumber>;

constexpr int SHARED = 2, LOCAL_A = 6, LOCAL_B = 10, END = 14;  // variables in fours

// Rows r >= 0 (or > 0) of A and of B with positive multipliers, whose weighted sum is
// negative. All of A's rows hold at point_a; all of B's but the last at point_b, and that
// one too when `last_is_A`, since then A's last row is the one that makes up the sum.
class FarkasProblem {
 public:
  explicit FarkasProblem(unsigned seed, bool last_is_A) : random_(seed) {
    Point total;  // the constant at 0
    const std::array<bool, 2> order{!last_is_A, last_is_A};
    for (const bool is_A : order) {
      const bool is_final = is_A == last_is_A;
      const int local = is_A ? LOCAL_A : LOCAL_B;
      Point point;
      for (int v = SHARED; v < END; ++v)
        point[v] = number();
      Point sum;
      const int rows = pick(1, 6);
      for (int i = 0; i < rows; ++i) {
        const bool closes = i == rows - 1;
        const QNumber multiplier = QNumber(pick(1, 4)) / QNumber(pick(1, 3));
        Point row;
        for (int k = 0; k < 4; ++k) {
          const int s = SHARED + k, v = local + k;
          row[v] = closes ? sum[v].neg() / multiplier : number();
          if (!closes || !is_final) row[s] = pick(0, 1) == 0 ? number() : QNumber(0);
          if (closes && is_final) row[s] = (total[s] + sum[s]).neg() / multiplier;
        }
        row[0] = slack(row, point);
        if (closes && is_final)
          row[0] = (total[0] + sum[0] + QNumber(pick(0, 1))).neg() / multiplier;
        for (const auto& [v, q] : row)
          sum[v] += q * multiplier;
        add(row, multiplier, is_A, closes && is_final);
      }
      for (const auto& [v, q] : sum)
        total[v] += q;
      if (!is_final) point_ = point;
    }
  }

  /// A left-linear chain over the rows in random order.
  ProofRef chain() {
    std::shuffle(leaves_.begin(), leaves_.end(), random_);
    Proof* result = new la::LaHyp(leaves_[0].first, 0);
    if (!(leaves_[0].second == QNumber(1)))
      result = comb(&leaves_[0].second, result, nullptr, new la::LaHyp(Mapper::ZERO, 0));
    for (std::size_t i = 1; i < leaves_.size(); ++i) {
      Proof* const leaf = new la::LaHyp(leaves_[i].first, 0);
      result = pick(0, 1) == 0 ? comb(nullptr, result, &leaves_[i].second, leaf)
                               : comb(&leaves_[i].second, leaf, nullptr, result);
    }
    return ProofRef(result);
  }

  /// Whether the interpolant holds at the point of the side without the last row.
  bool holds(const Term_* interpolant) {
    std::unordered_map<const Term_*, QNumber> values;
    for (int v = SHARED; v < LOCAL_A; ++v)
      values[host.mapper->var_term(v)] = point_[v];
    return !evaluate(interpolant, values).is_zero();
  }

  Host host;

 private:
  // A constant that makes the row hold at the point.
  QNumber slack(const Point& row, Point& point) {
    QNumber value(pick(1, 2));
    for (const auto& [v, q] : row)
      value -= q * point[v];
    return value;
  }
  // The row that closes a sum is strict, so a sum of 0 is a contradiction too.
  void add(Point& row, const QNumber& multiplier, bool is_A, bool strict) {
    const QNumber bound = row[0].neg();
    Row coeffs;
    for (const auto& [v, q] : row)
      if (v != 0) coeffs.emplace_back(v, q);
    const int kind = strict ? la::LinearTerm::GT : la::LinearTerm::GEQ;
    const Status colour = is_A ? Status::A_LOCAL : Status::B_LOCAL;
    leaves_.emplace_back(host.mapper->add(kind, coeffs, bound, colour), multiplier);
  }
  QNumber number() { return QNumber(pick(-9, 9)) / QNumber(pick(1, 3)); }
  int pick(int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random_);
  }

  std::mt19937 random_;
  Point point_;
  std::vector<std::pair<int, QNumber>> leaves_;
};

TEST(FarkasProofs, InterpolantsHoldWhereAHoldsAndFailWhereBHolds) {
  for (unsigned seed = 0; seed < 600 && !HasFailure(); ++seed) {
    const bool last_is_A = seed % 2 == 0;
    FarkasProblem problem(seed, last_is_A);
    const ProofRef proof = problem.chain();
    for (const auto mode : {Probe::MODE_SUM, Probe::MODE_CONJ, Probe::MODE_DUAL}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " mode " + std::to_string(mode));
      Probe probe(problem.host, mode);
      const Term_* i = probe.get_interpolant(&problem.host.classifier, proof.get());
      EXPECT_EQ(problem.holds(i), !last_is_A) << Terms::text(i);
    }
  }
}

// x2 <= x3 <= ... <= x(n+2) and x(n+2) <= x2 - 1, in blocks that belong to A and B in turn.
ProofRef difference_chain(Host& host, int n, int block) {
  Proof* result =
      new la::LaHyp(host.mapper->add(1, {{n + 2, 1}, {2, -1}}, -1, Status::B_LOCAL), 0);
  for (int i = 0; i < n; ++i) {
    const Status colour = i / block % 2 == 0 ? Status::A_LOCAL : Status::B_LOCAL;
    const int id = host.mapper->add(1, {{i + 2, 1}, {i + 3, -1}}, 0, colour);
    result = comb(nullptr, result, nullptr, new la::LaHyp(id, 0));
  }
  return ProofRef(result);
}

TEST(FarkasProofs, AMillionCombinationsAreHandledAndReleased) {
  Host host;
  Probe probe(host);
  const int n = 1000000;
  const ProofRef proof = difference_chain(host, n, n / 2);
  EXPECT_EQ(Terms::text(probe.get_interpolant(&host.classifier, proof.get())),
            "(<= 0 (+ (* -1 x2) (* 1 x500002)))");
}

// Each block leaves a pair of its own, so the lists grow; all of them hold together.
TEST(FarkasProofs, ALongListIsHandedUpAlongAChain) {
  Host host;
  Probe sum(host), conj(host, Probe::MODE_CONJ);
  const int n = 20000;
  const ProofRef proof = difference_chain(host, n, 10);
  std::set<std::string> expected, found;
  for (int i = 0; i < n; i += 20)
    expected.insert("(<= 0 (+ (* -1 x" + std::to_string(i + 2) + ") (* 1 x" +
                    std::to_string(i + 12) + ")))");
  const Term_* t = conj.get_interpolant(&host.classifier, proof.get());
  for (; t->num_args() == 2; t = t->arg(0))
    found.insert(Terms::text(t->arg(1)));
  EXPECT_EQ(found, expected);
  std::unordered_map<const Term_*, QNumber> values;
  for (int v = 2; v <= n + 2; ++v)
    values[host.mapper->var_term(v)] = v / 10 % 2 == 0;
  const Term_* const one = sum.get_interpolant(&host.classifier, proof.get());
  EXPECT_EQ(evaluate(one, values), QNumber(0));
}

// Nodes that somebody else holds keep their lists, so their proof takes the plain way.
TEST(FarkasProofs, HandingUpAListChangesNoAnswer) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    std::mt19937 random(seed);
    auto pick = [&](int low, int high) {
      return std::uniform_int_distribution<int>(low, high)(random);
    };
    Host host;
    host.terms.any_flag = true;
    std::vector<ProofRef> leaves, nodes;
    int cuts = 0;
    Proof* proof = new la::LaHyp(Mapper::ZERO, 0);
    for (int i = 0; i < 400; ++i) {
      Row row;
      for (int k = pick(1, 3); k > 0; --k)
        row.emplace_back(pick(2, 60), pick(-3, 3));
      const Status colour = pick(0, 3) > 0 ? Status::A_LOCAL : Status::B_LOCAL;
      const int id = host.mapper->add(pick(0, 5), row, pick(-3, 3), colour);
      const bool is_cut = i > 0 && cuts < 5 && pick(0, 40) == 0;
      if (is_cut)
        leaves.emplace_back(
            new laz::LaZTighteningProof({id - 1, id}, {pick(1, 2)}, 2, 100 + cuts++));
      else if (i == 0 || pick(0, 9) > 0)
        leaves.emplace_back(new la::LaHyp(id, pick(-1, 1)));
      const std::size_t last = leaves.size() - 1;
      Proof* const leaf = ProofRef(leaves[pick(0, 19) > 0 ? last : last / 2]).take();
      const QNumber multiplier(pick(1, 3));
      proof = pick(0, 1) == 0 ? comb(nullptr, proof, &multiplier, leaf)
                              : comb(&multiplier, leaf, nullptr, proof);
      if (colour == Status::B_LOCAL && pick(0, 9) == 0)
        proof = new la::LaCombImp(id, 0, proof);
      nodes.emplace_back(Proof::retain(proof));
    }
    leaves.clear();
    const ProofRef root(proof);
    Probe plain(host), handing_up(host);
    const Term_* const expected = plain.get_interpolant(&host.classifier, root.get());
    nodes.clear();
    EXPECT_EQ(handing_up.get_interpolant(&host.classifier, root.get()), expected)
        << "seed " << seed;
  }
}

}  // namespace
}  // namespace opal::small
