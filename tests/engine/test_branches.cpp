// Trees of branches: how they are joined, and what they leave behind.

#include "tests/engine/small_host.h"

namespace opal::small {
namespace {

TEST(Branches, AreJoinedByTheColoursOfTheirAtoms) {
  const std::string incompatible = "incompatible BB constraints in LaZInternalBBProof";
  const std::string unknown = "impossible to classify BB constraint in LaZInternalBBProof";
  const struct {
    Status left, right, by_symbols;
    std::string text;
  } table[] = {{B, B, AB, "and"},
               {AB, AB, AB, "and"},
               {AB, B, AB, "and"},
               {A, A, AB, "or"},
               {AB, A, AB, "or"},
               {A, B, AB, incompatible},
               {MIXED, B, AB, incompatible},
               {UNKNOWN, B, A, "and"},
               {UNKNOWN, AB, A, "and"},
               {UNKNOWN, A, B, "or"},
               {A, UNKNOWN, B, "or"},
               {MIXED, UNKNOWN, B, "or"},
               {UNKNOWN, UNKNOWN, AB, "and"},
               {UNKNOWN, UNKNOWN, A, "or"},
               {UNKNOWN, UNKNOWN, MIXED, incompatible},
               {UNKNOWN, UNKNOWN, UNKNOWN, unknown}};
  for (const auto& c : table) {
    ColouredHost host;
    const int l = host.mapper->add_branch(LEQ, 4, 0, c.left);
    const int r = host.mapper->add_branch(GEQ, 4, 1, c.right);
    host.mapper->set_variable_colour(4, c.by_symbols);
    std::string text;
    try {
      text = host.interpolant(host.branch(hyp(Mapper::ZERO), hyp(Mapper::ZERO), l, r));
      text = text.substr(1, text.find(' ') - 1);
    } catch (const la::Interpolator::error& e) {
      text = e.what();
    }
    EXPECT_EQ(text, c.text) << c.left << c.right << c.by_symbols;
  }
}

// 2^40 paths, and 50000 levels; branch literals reach the leaves, and count no more
// afterwards.
TEST(Branches, SharedNodesAreHandledOnceAndLiteralsForgotten) {
  ColouredHost host;
  const int l = host.mapper->add_branch(LEQ, 4, 0, A);
  const int r = host.mapper->add_branch(GEQ, 4, 1, A);
  Proof* tree = host.branch(hyp(l), hyp(r), l, r);
  EXPECT_EQ(host.interpolant(Proof::retain(tree)),
            "(or (<= 0 (* -1 x4)) (<= 0 (+ (* 1 x4) -1)))");
  for (int i = 0; i < 40; ++i)
    tree = host.branch(tree, Proof::retain(tree), l, r);
  for (int i = 0; i < 50000; ++i)
    tree = host.branch(tree, hyp(r), l, r);
  EXPECT_EQ(host.mapper->branch_terms, 2);
  const int b = host.add(LEQ, {{4, 1}}, 0, B);
  const ProofRef root(tree), leaf(hyp(b));
  Probe probe(host);
  (void)probe.get_interpolant(&host.classifier, root.get());
  EXPECT_TRUE(probe.bb_lits_.empty());
  EXPECT_FALSE(probe.in_laz_bb_);
  probe.bb_lits_[b] = TheoryLit(host.mapper->atom(host.add(LEQ, {{4, 1}}, 0, A)));
  EXPECT_EQ(Terms::text(probe.get_interpolant(&host.classifier, leaf.get())), "true");
  const ProofRef next(host.branch(hyp(b), hyp(b), l, r));
  EXPECT_EQ(Terms::text(probe.get_interpolant(&host.classifier, next.get())),
            "(or true true)");
}

}  // namespace
}  // namespace opal::small
