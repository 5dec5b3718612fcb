// Proofs of a million nodes, and lists that grow along a chain.

#include <random>
#include <set>

#include "tests/engine/coloured_host.h"

namespace opal::small {
namespace {

// x2 < x3 < ... < x(n+2) and x(n+2) <= x2 - 1, in blocks that belong to A and B in turn.
ProofRef difference_chain(Host& host, int n, int block) {
  Proof* result = hyp(host.mapper->add(LEQ, {{n + 2, 1}, {2, -1}}, -1, B));
  for (int i = 0; i < n; ++i)
    result = plus(result, hyp(host.mapper->add(LT, {{i + 2, 1}, {i + 3, -1}}, 0,
                                               i / block % 2 == 0 ? A : B)));
  return ProofRef(result);
}

TEST(LongProofs, AMillionCombinationsAreHandledAndReleased) {
  Host host;
  Probe probe(host);
  const int n = 1000000;
  const ProofRef proof = difference_chain(host, n, n / 2);
  EXPECT_EQ(Terms::text(probe.get_interpolant(&host.classifier, proof.get())),
            "(not (<= (+ (* -1 x2) (* 1 x500002)) 0))");
}

// Each block leaves a pair of its own, so the lists grow; all of them hold together.
TEST(LongProofs, ALongListIsHandedUpAlongAChain) {
  Host host;
  Probe total(host), conj(host, Probe::MODE_CONJ);
  const int n = 20000;
  const ProofRef proof = difference_chain(host, n, 10);
  std::set<std::string> expected, found;
  for (int i = 2; i < n + 2; i += 20)
    expected.insert("(not (<= (+ (* -1 x" + std::to_string(i) + ") (* 1 x" +
                    std::to_string(i + 10) + ")) 0))");
  Term t = conj.get_interpolant(&host.classifier, proof.get());
  for (; t->num_args() == 2; t = t->arg(0))
    found.insert(Terms::text(t->arg(1)));
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
      if (colour == B && pick(0, 9) == 0) proof = new la::LaCombImp(id, 0, proof);
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
