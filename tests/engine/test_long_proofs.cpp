// Proofs of a million nodes, and lists that grow along a chain.

#include <random>

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

// x2 < x3 < ... < x(n+2), or <= and x(n+2) <= x2 - 1, in blocks that belong to A and B in
// turn; and 0 <= 1, which A has.
ProofRef difference_chain(Host& host, int kind, int n, int block) {
  Proof* result = plus(hyp(host.mapper->add(LEQ, {{n + 2, 1}, {2, -1}}, -1, B)),
                       hyp(host.mapper->add(LEQ, {}, 1, A)));
  for (int i = 0; i < n; ++i)
    result = plus(result, hyp(host.mapper->add(kind, {{i + 2, 1}, {i + 3, -1}}, 0,
                                               i / block % 2 == 0 ? A : B)));
  return ProofRef(result);
}

TEST(LongProofs, AMillionCombinationsAreHandledAndReleased) {
  Host host;
  Probe probe(host);
  const int n = 1000000;
  const ProofRef proof = difference_chain(host, LT, n, n / 2);
  EXPECT_EQ(Terms::text(probe.get_interpolant(&host.classifier, proof.get())),
            "(not (<= (+ (+ (* -1 x2) (* 1 x500002)) 1) 0))");
}

// Each block leaves a pair of its own, so the lists grow; all of them hold together. In the
// end they are in the order of a table with 5233 buckets, and 0 <= 1 is last.
TEST(LongProofs, ALongListIsHandedUpAlongAChain) {
  Host host;
  Probe total(host), conj(host, Probe::MODE_CONJ);
  const int n = 20000;
  const ProofRef proof = difference_chain(host, LEQ, n, 10);
  std::map<int, std::string> by_bucket;
  for (int i = 2; i < n + 2; i += 20)
    by_bucket[std::min(i % 5233, (i + 10) % 5233)] = "(<= 0 (+ (* -1 x" +
                                                     std::to_string(i) + ") (* 1 x" +
                                                     std::to_string(i + 10) + ")))";
  std::vector<std::string> expected{"(<= 0 1)"}, found;
  for (auto it = by_bucket.rbegin(); it != by_bucket.rend(); ++it)
    expected.push_back(it->second);
  Term t = conj.get_interpolant(&host.classifier, proof.get());
  for (; t->num_args() == 2; t = t->arg(0))
    found.push_back(Terms::text(t->arg(1)));
  EXPECT_EQ(found, expected);
  std::unordered_map<Term, QNumber> values;
  for (int v = 2; v <= n + 2; ++v)
    values[host.mapper->var_term(v)] = v / 10 % 2 == 0;
  Term one = total.get_interpolant(&host.classifier, proof.get());
  EXPECT_EQ(evaluate(one, values), QNumber(0));
}

// Nodes that somebody else holds keep their lists, so their proof takes the plain way.
TEST(LongProofs, HandingUpAListChangesNoAnswer) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    std::mt19937 random(seed);
    auto pick = [&](int low, int high) {
      return std::uniform_int_distribution<int>(low, high)(random);
    };
    Host host;
    host.terms.any_flag = true;
    std::vector<ProofRef> leaves, nodes;
    int cuts = 0;
    Proof* proof = hyp(Mapper::ZERO);
    for (int i = 0; i < 400; ++i) {
      Row row;
      for (int k = pick(1, 3); k > 0; --k)
        row.emplace_back(pick(2, 60), pick(-3, 3));
      const Status colour = pick(0, 3) > 0 ? A : B;
      const int id = host.mapper->add(pick(0, 5), row, pick(-3, 3), colour);
      if (i > 0 && cuts < 5 && pick(0, 40) == 0)
        leaves.emplace_back(cut({id - 1, id}, {pick(1, 2)}, 2, 100 + cuts++));
      else if (i == 0 || pick(0, 9) > 0)
        leaves.emplace_back(hyp(id, pick(-1, 1)));
      const std::size_t last = leaves.size() - 1;
      Proof* const leaf = ProofRef(leaves[pick(0, 19) > 0 ? last : last / 2]).take();
      const QNumber multiplier(pick(1, 3));
      proof = pick(0, 1) == 0 ? comb(nullptr, proof, &multiplier, leaf)
                              : comb(&multiplier, leaf, nullptr, proof);
      if (colour == B && pick(0, 9) == 0) proof = implied(id, proof);
      nodes.emplace_back(Proof::retain(proof));
    }
    leaves.clear();
    const ProofRef root(proof);
    Probe plain(host), handing_up(host);
    Term expected = plain.get_interpolant(&host.classifier, root.get());
    nodes.clear();
    EXPECT_EQ(handing_up.get_interpolant(&host.classifier, root.get()), expected)
        << "seed " << seed;
  }
}

}  // namespace
}  // namespace opal::small
