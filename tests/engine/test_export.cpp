// What the engine writes of a proof: nodes for other programs, texts, files for solvers.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unordered_set>

#include "tests/engine/small_host.h"

// An exported node is its text, in which a converted premise stands as its number.
class opal::ExternalProof {
 public:
  std::string text;
};

namespace opal::small {
namespace {

class TextProofs : public ProofManager {
 public:
  std::deque<ExternalProof> nodes;
  std::size_t leaves = 0;

  ExternalProof* find_in_cache(Proof* p) override {
    const auto it = cache_.find(p);
    return it == cache_.end() ? nullptr : it->second;
  }
  void store_in_cache(Proof* p, ExternalProof* e) override { cache_[p] = e; }
  ExternalProof* new_ExternalProof(const char* rule, std::size_t count,
                                   ExternalProof** children) override {
    std::string text = "(" + std::string(rule);
    for (std::size_t i = 0; i < count; ++i)
      text += " " + children[i]->text;
    return &nodes.emplace_back(ExternalProof{text.substr(0, 400) + ")"});
  }
  ExternalProof* get_term_proof(Term t) override {
    ++leaves;
    return &terms_.emplace_back(ExternalProof{Terms::text(t)});
  }

 private:
  std::deque<ExternalProof> terms_;
  std::unordered_map<Proof*, ExternalProof*> cache_;
};

std::string exported(Probe& probe, Proof* p) {
  TextProofs proofs;
  const ProofRef root(p);
  const ExternalProof* const e = probe.get_external_proof(&proofs, p);
  return e == nullptr ? "null" : e->text;
}

// c0 is an inequality, c1 an equality, c2 a disequality, c3 and c4 a branch; 99 is no id.
struct ProofZoo : ColouredHost {
  const QNumber two{2}, half{QNumber(1, 2)};
  int le = add(LEQ, {{4, 1}}, 3, A), eq = add(EQ, {{4, 2}}, 7, B);
  int neq = add(NEQ, {{4, 1}}, 0, A);
  int l = mapper->add_branch(LEQ, 4, 3, A), r = mapper->add_branch(GEQ, 4, 4, A);
  TheoryLit lit(int id, bool negated = false) {
    return TheoryLit(mapper->atom(id), negated);
  }
  Proof* lemma(TheoryLit x, TheoryLit y, TheoryLit z = TheoryLit()) {
    return new laz::LaZBBLemma(x, y, z);
  }
  Proof* implied(int id, int sign, Proof* p) { return small::implied(id, p, sign); }
  Proof* fake(int id) { return small::fake(id, row({{4, 2}}, 1), 7); }
  Proof* pair() { return comb(nullptr, hyp(le), &two, hyp(eq, -1)); }
};

TEST(Export, EveryRuleHasItsNameAndChildren) {
  ProofZoo z;
  const TheoryLit none, negated_none = !none;
  Term const e = z.mapper->atom(z.eq);
  const std::string pair = "(la-comb 1 (la-hyp (c0 x4)) 2 (la-hyp-eq -1 (c1 x4)))";
  const std::string lower = "(<= (+ 0 (* 1 x4)) 3)", upper = "(<= 4 (+ 0 (* 1 x4)))";
  const std::pair<Proof*, std::string> table[] = {
      {hyp(z.le), "(la-hyp (c0 x4))"},
      {hyp(z.eq, 1), "(la-hyp-eq 1 (c1 x4))"},
      {z.pair(), pair},
      {comb(&z.half, hyp(z.eq, 2), nullptr, hyp(z.le)),
       "(la-comb 1/2 (la-hyp-eq 2 (c1 x4)) 1 (la-hyp (c0 x4)))"},
      {z.implied(z.le, 0, hyp(z.eq, 1)),
       "(la-comb 1 (la-hyp (not (c0 x4))) 1 (la-hyp-eq 1 (c1 x4)))"},
      {z.implied(z.eq, -1, hyp(z.le)),
       "(la-comb 1 (la-hyp-eq 1 (not (c1 x4))) 1 (la-hyp (c0 x4)))"},
      {cases(z.neq, hyp(z.neq, -1), hyp(z.neq, 1)),
       "(la-neq (c2 x4) (la-hyp-eq -1 (c2 x4)) (la-hyp-eq 1 (c2 x4)))"},
      {new la::LaEqSplitLemma(e, e, z.mapper->atom(z.le)),
       "(la-spliteq (c1 x4) (c1 x4) (c0 x4))"},
      {new la::LaUnitLemma(z.lit(z.le, true)), "(la-unit (not (c0 x4)))"},
      {z.branch(z.pair(), hyp(z.r), z.l, z.r), "(la-branch-and-bound " + lower + " " +
                                                   pair + " " + upper + " (la-hyp " +
                                                   upper + "))"},
      {z.lemma(z.lit(z.le), z.lit(z.eq, true)),
       "(la-branch-and-bound-lemma (c0 x4) (not (c1 x4)))"},
      {z.lemma(z.lit(z.le), z.lit(z.eq), z.lit(z.neq)),
       "(la-branch-and-bound-lemma (c0 x4) (c1 x4) (c2 x4))"},
      {equalities({z.eq, z.eq}, {z.half, -1}), "(la-dioph 1/2 (c1 x4) -1 (c1 x4))"},
      {cut({z.eq, z.le}, {-2}, 2), "(la-tight 2 -2 (c1 x4) 1 (c0 x4))"},
      {cut({z.eq, z.le}, {-2, 3}, 2), "(la-tight 2 -2 (c1 x4) 3 (c0 x4))"},
      // What has no such form: fake hypotheses, null premises, ids and literals of nothing.
      {plus(hyp(z.le), z.fake(z.le)), "null"},
      {plus(hyp(z.le), nullptr), "null"},
      {nullptr, "null"},
      {hyp(99), "null"},
      {z.implied(99, 0, hyp(z.le)), "null"},
      {cases(99, hyp(z.le), hyp(z.le)), "null"},
      {cut({z.eq, 99}, {1}, 2), "null"},
      {cut({z.eq, z.eq, z.le}, {1}, 2), "null"},
      {equalities({99}, {1}), "null"},
      {z.branch(hyp(z.l), z.branch(hyp(z.le), z.fake(z.le), z.l, z.r), z.l, z.r), "null"},
      {new la::LaUnitLemma(none), "null"},
      {new la::LaEqSplitLemma(e, nullptr, e), "null"},
      {z.lemma(none, z.lit(z.le)), "null"},
      {z.lemma(z.lit(z.le), negated_none), "null"},
      {z.lemma(z.lit(z.le), z.lit(z.le), negated_none), "null"}};
  Probe probe(z);
  for (const auto& [proof, text] : table)
    EXPECT_EQ(exported(probe, proof), text);
}

// 2^60 paths; what one call converted the next one takes; interpolants between the calls
// change nothing, and are not changed.
TEST(Export, SharedNodesAreConvertedOnceAndTracesDoNoHarm) {
  ProofZoo z;
  Proof* tree = z.branch(z.pair(), hyp(z.r), z.l, z.r);
  for (int i = 0; i < 60; ++i)
    tree = z.branch(tree, Proof::retain(tree), z.l, z.r);
  const ProofRef root(tree), leaf(z.pair());
  Probe probe(z), fresh(z);
  TextProofs proofs;
  const auto interpolant = [&](Probe& p, const ProofRef& proof) {
    return p.get_interpolant(&z.classifier, proof.get());
  };
  Term const of_leaf = interpolant(fresh, leaf);
  ExternalProof* const first = probe.get_external_proof(&proofs, tree);
  EXPECT_EQ(proofs.nodes.size(), 65U);
  EXPECT_EQ(interpolant(probe, leaf), of_leaf);
  EXPECT_EQ(probe.get_external_proof(&proofs, tree), first);
  const ProofRef higher(z.branch(Proof::retain(tree), Proof::retain(tree), z.l, z.r));
  EXPECT_EQ(interpolant(probe, higher), interpolant(fresh, higher));
  EXPECT_NE(probe.get_external_proof(&proofs, higher.get()), nullptr);
  EXPECT_EQ(proofs.nodes.size(), 66U);
  const std::size_t leaves = proofs.leaves;
  (void)probe.get_external_proof(&proofs, higher.get());
  EXPECT_EQ(proofs.leaves, leaves);
}

// A million levels, converted and dumped by stacks of their own.
TEST(Export, DeepProofsNeedNoDeepStack) {
  ProofZoo z;
  Proof* chain = hyp(z.le);
  for (int i = 0; i < 1000000; ++i)
    chain = plus(chain, Proof::retain(chain));
  const ProofRef root(chain);
  Probe probe(z);
  TextProofs proofs;
  EXPECT_NE(probe.get_external_proof(&proofs, root.get()), nullptr);
  EXPECT_EQ(proofs.nodes.size(), 1000001U);
  Proof* implied = hyp(z.le);
  for (int i = 0; i < 2000; ++i)
    implied = z.implied(z.le, 0, implied);
  const ProofRef nested(implied);
  std::ostringstream out;
  probe.dump(out, nested.get(), 0);
  EXPECT_EQ(out.str().substr(out.str().size() - 3), ")))");
}

TEST(Export, DumpsShowConstraintsWithLiteralsAndSides) {
  ProofZoo z;
  Probe probe(z);
  itp::TheoryAtomClassifier* const no_classifier = nullptr;
  const int shared = z.add(LEQ, {{4, 1}}, 1, AB);
  const std::string le = "0 0 -> -x4 + 3 >= 0", eq = "1 -1 -> -2*x4 + 7 >= 0";
  const std::string zero = "(LAHYP: -1 0 -> 0 >= 0)))", unknown = "(UNKNOWN: 0)";
  const std::string tight = "(LATIGHTHYP: 0 -2*1 1/2*0 )";
  const std::string fake = "(LAFAKEHYP: 0 7 2*x4 + 1 >= 0)";
  const struct {
    Proof* proof;
    std::string plain, coloured;
  } table[] = {
      {z.pair(), "(LACOMB: 1 2\n (LAHYP: " + le + ")\n (LAHYP: " + eq + "))",
       "(LACOMB: 1 2\n (LAHYP: " + le + " (c0 x4) A)\n (LAHYP: " + eq + " (c1 x4) B))"},
      {hyp(shared), "(LAHYP: 5 0 -> -x4 + 1 >= 0)",
       "(LAHYP: 5 0 -> -x4 + 1 >= 0 (c5 x4) AB-shared)"},
      {z.implied(z.le, 0, cases(z.neq, hyp(z.le), hyp(Mapper::ZERO))),
       "(LACOMBIMP: " + le + "\n (LANEQ: 2\n  (LAHYP: " + le + ")\n  " + zero,
       "(LACOMBIMP: " + le + "\n (LANEQ: 2\n  (LAHYP: " + le + " (c0 x4) A)\n  " + zero},
      {cut({z.eq, z.le, z.le}, {-2, z.half}, 2), tight, tight},
      {z.fake(z.le), fake, fake},
      {nullptr, unknown, unknown}};
  for (const auto& c : table) {
    const ProofRef root(c.proof);
    for (itp::TheoryAtomClassifier* const classifier : {no_classifier, &z.classifier}) {
      probe.set_classifier(classifier);
      std::ostringstream out;
      probe.dump(out, root.get(), 0);
      EXPECT_EQ(out.str(), classifier == nullptr ? c.plain : c.coloured);
      EXPECT_TRUE(probe.owned_eqs_.empty());
    }
  }
  // The literal of a branch is the one that an export has left, negated or not.
  probe.set_classifier(&z.classifier);
  probe.in_laz_bb_ = true;
  probe.bb_lits_[z.le] = z.lit(z.neq, true);
  const ProofRef branch(hyp(z.le));
  testing::internal::CaptureStdout();
  probe.debug_dump(static_cast<la::LaProof*>(branch.get()));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "(LAHYP: " + le + " (not (c2 x4)) A)\n");
  la::Equation e = row({{4, 2}}, 1);
  QNumber half = z.half;
  EXPECT_EQ(Probe::coefflist_to_str({{nullptr, &e}, {&half, &e}}),
            "{ <NULL>, 2*x4 + 1 >= 0 }{ 1/2, 2*x4 + 1 >= 0 }");
  EXPECT_EQ(Probe::coefflist_to_str({}), "");
}

// A folder of its own, removed at the end.
struct Folder {
  const std::filesystem::path path = std::filesystem::path(testing::TempDir()) /
                                     ("opal-check-" + std::to_string(getpid()));
  Folder() { std::filesystem::create_directories(path); }
  ~Folder() { std::filesystem::remove_all(path); }
  std::string read(const std::string& name) const {
    std::ifstream in(path / name);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }
};

TEST(Export, CheckFilesHoldWhatEachSideContributes) {
  ProofZoo z;
  z.terms.prints_scripts = true;
  Probe probe(z);
  const int mixed = z.add(LEQ, {{4, 1}}, 0, MIXED), shared = z.add(LEQ, {{4, 1}}, 1, AB);
  const TheoryLit e = z.lit(z.eq);
  const Folder folder;
  const struct {
    Proof* proof;
    std::string a, b, comments;
  } table[] = {{z.pair(), "(and true (c0 x4))", "(and true (c1 x4))", ""},
               {plus(hyp(Mapper::ZERO), z.fake(shared)), "true", "(and true (c6 x4))", ""},
               {z.implied(z.le, 0, z.pair()), "(and (and true (not (c0 x4))) (c0 x4))",
                "(and true (c1 x4))", ""},
               {cases(z.neq, hyp(z.le), hyp(z.eq, 1)),
                "(and (and true (not (c2 x4))) (c0 x4))", "(and true (c1 x4))", ""},
               {cut({z.eq, 98, z.le}, {1, 1}, 2), "(and true (c0 x4))",
                "(and true (c1 x4))", "; left out: constraint 98, which has no literal\n"},
               {plus(hyp(mixed), hyp(99)), "true", "true",
                "; left out: constraint 5, which is AB-mixed\n"},
               {new la::LaEqSplitLemma(e.atom(), e.atom(), e.atom()), "true", "false", ""},
               {new la::LaEqSplitLemma(z.mapper->atom(z.le), e.atom(), e.atom()), "false",
                "true", ""},
               {equalities({z.eq}, {1}), "true", "true", ""}};
  int number = 0;
  for (const auto& c : table) {
    const ProofRef root(c.proof);
    ASSERT_TRUE(probe.write_interpolation_check(root.get(), e.atom(), folder.path));
    const std::string n = ".00" + std::to_string(++number) + ".smt2", itp = "(c1 x4)";
    const std::pair<const char*, std::string> files[] = {
        {"la_a_imp_itp", "(and " + c.a + " (not " + itp + "))\n(check-sat)\n"},
        {"la_b_and_itp", "(and " + c.b + " " + itp + ")\n(check-sat)\n"},
        {"la_a", c.a + "\n"},
        {"la_b", c.b + "\n"},
        {"la_itp", itp + "\n"}};
    for (const auto& [name, text] : files)
      EXPECT_EQ(folder.read(name + n), c.comments + text) << name << n;
    EXPECT_TRUE(probe.to_visit_.empty());
  }
  // In the working directory, with more digits past 999; a folder that does not exist.
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path);
  const ProofRef root(z.pair());
  probe.dump_counter_ = 1000;
  probe.debug_dump_interpolation_check(root.get(), e.atom());
  std::filesystem::current_path(before);
  EXPECT_EQ(folder.read("la_a.1000.smt2"), "(and true (c0 x4))\n");
  EXPECT_FALSE(probe.write_check_files(e.atom(), e.atom(), e.atom(), folder.path / "none"));
  EXPECT_TRUE(probe.write_check_files(e.atom(), e.atom(), e.atom(), folder.path));
  EXPECT_EQ(folder.read("la_b.1002.smt2"), "(c1 x4)\n");
  // Nothing is begun that cannot be done.
  z.terms.prints_scripts = false;
  EXPECT_THROW(probe.write_check_files(e.atom(), e.atom(), e.atom(), ""), Exception);
  EXPECT_EQ(probe.dump_counter_, 1003);
  probe.set_classifier(nullptr);
  EXPECT_THROW(probe.debug_dump_interpolation_check(root.get(), e.atom()),
               la::Interpolator::error);
}

}  // namespace
}  // namespace opal::small
