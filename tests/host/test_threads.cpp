// Threads that share nothing of their own get the answers that one thread gets. Under the
// thread sanitizer this also finds state that they share unknowingly.

#include <sstream>
#include <thread>

#include "opal/proofs/proof_text.h"
#include "opal/session/session.h"
#include "opal/terms/print/printer.h"
#include "tests/engine/random_problem.h"
#include "tests/host/fixture.h"

namespace opal::host {
namespace {

using Verdict = Session::Verdict;

// The transcripts of some problems, drawn from a seed.
class Work : private Session, private Builder {
 public:
  explicit Work(unsigned seed) : Builder(terms()), seed_(seed) { random.seed(seed); }

  std::string transcript() {
    engine_alone();
    sums();
    remainders();
    branches();
    equalities();
    shared_terms();
    return std::move(out_).str();
  }

 private:
  // The engine, with a host of its own.
  void engine_alone() {
    small::RandomProblem::Figures figures;
    const auto sorts =
        seed_ % 2 == 0 ? small::RandomProblem::INTEGERS : small::RandomProblem::REALS;
    small::RandomProblem problem(seed_, sorts, figures);
    for (const bool floor_cuts : {false, true}) {
      small::Probe probe(problem, small::Probe::MODE_CONJ, floor_cuts);
      out_ << small::Terms::text(probe.get_interpolant(&problem.classifier, problem.root()))
           << '\n';
    }
  }

  // Asserts the parts as groups of a sequence, and writes down all about the answer.
  void ask(const std::vector<Atoms>& groups) {
    reset_assertions();
    InterpolationQuery query{{}, Grouping::sequence(groups.size())};
    for (const Atoms& atoms : groups) {
      query.groups.push_back({"g" + std::to_string(query.groups.size())});
      const Term_* formula = t.true_term();
      for (const Term_* atom : atoms)
        formula = land(formula, atom);
      assert_formula(formula, query.groups.back()[0]);
    }
    const Verdict verdict = check();
    out_ << static_cast<int>(verdict) << '\n';
    if (verdict == Verdict::SAT)
      for (const Assertion& assertion : assertions())
        for (const Term_* v : variables_of({assertion.formula}))
          out_ << term_text(v) << " = " << evaluate(v, model()) << '\n';
    if (verdict != Verdict::UNSAT) return;
    check_proof();
    print_proof(out_, external_proof());
    print_proof_json(out_, external_proof());
    dump_proof(out_);
    for (const Cuts cuts : {Cuts::MODULAR, Cuts::FLOOR, Cuts::AUTO}) {
      if (cuts == Cuts::MODULAR && groups.size() > 2) continue;
      query.cuts = cuts;
      const Interpolants answer = interpolants(query);
      for (const Term_* term : answer.terms)
        print_term(out_, term);
      explain(out_, query, answer);
      draw_interpolants(query, answer, [&](const std::string& text) { out_ << text; });
    }
  }

  // Rationals with numbers that need more than a word.
  void sums() {
    const QNumber large = QNumber(1L << 62) * QNumber(pick(3, 99)) / QNumber(pick(1, 7));
    const Atoms v{real("a"), real("b"), real("c"), real("d")};
    ask({{leq(times(large, v[0]), v[1])},
         {leq(plus(times(any_number(), v[1]), v[1]), v[2]), leq(v[1], v[2])},
         {lt(times(large, v[2]), v[3]), leq(v[3], num(large)), leq(num(large), v[0])}});
  }

  // Cuts, among three groups and between two.
  void remainders() {
    const Term_ *i = integer("i"), *j = integer("j"), *k = integer("k"), *l = integer("l");
    const long m = pick(2, 5), r = pick(1, m - 1);
    const Atoms below{leq(times(m, j), i)}, above{leq(i, times(m, j))};
    const Atoms link{eq(plus(i, 1), l)};
    const Term_* const rest = plus(times(m, k), r + 1);
    const Atoms last{leq(rest, l), leq(l, rest)};
    ask({joined(below, above), link, last});
    ask({joined(below, above), joined(link, last)});
  }

  // Branches or a model, by what the bound on j leaves: i = j, for j = 1 and j = 2.
  void branches() {
    const Term_ *i = integer("i"), *j = integer("j"), *x = real("x");
    const Term_* const sum = plus(times(3, i), times(-2, j));
    ask({{leq(num(1), sum), leq(sum, num(2)), lt(t.make_to_real(j), x)},
         {leq(num(1), j), lt(x, num(pick(2, 5))), neq(i, num(1)), neq(i, num(2))}});
  }

  void equalities() {
    const Term_ *i = integer("i"), *j = integer("j"), *k = integer("k");
    const long m = pick(2, 5);
    ask({{eq(i, times(m, j))}, {eq(i, plus(times(2 * m, k), 1))}});
  }

  void shared_terms() {
    reset_assertions();
    const Term_ *a = real("a"), *b = real("b"), *s = real("s"), *u = real("u");
    const QNumber q = any_number();
    assert_formula(land(eq(a, plus(s, times(q, u))), leq(a, u)), "A");
    assert_formula(land(leq(b, plus(s, times(q, u))), leq(plus(s, times(q, u)), b)), "B");
    const SharedTerm answer = shared_term({{"A"}, {"B"}, a, b});
    for (const Term_* term :
         {answer.term, answer.of_A.interpolant, answer.of_B.interpolant})
      print_term(out_, term);
  }

  const unsigned seed_;
  std::ostringstream out_;
};

std::string transcript(unsigned seed) {
  std::string text;
  const std::string error = message_of([&] { text = Work(seed).transcript(); });
  return error.empty() ? text : error;
}

// The threads come first: one thread alone would fill what is filled at its first use.
TEST(Threads, OwnObjectsAnswerAsInOneThread) {
  std::string all;
  for (unsigned seed = 0; seed < 6; ++seed) {
    std::vector<std::string> answers(4);
    std::vector<std::thread> threads;
    for (std::string& answer : answers)
      threads.emplace_back([&answer, seed] { answer = transcript(seed); });
    for (std::thread& thread : threads)
      thread.join();
    const std::string alone = transcript(seed);
    for (const std::string& answer : answers)
      EXPECT_EQ(answer, alone) << "seed " << seed;
    all += alone;
  }
  for (const char* part : {"la-comb", "la-neq", "la-tight", "la-branch-and-bound",
                           "la-dioph", "x = ", "(+ s (* "})
    EXPECT_NE(all.find(part), std::string::npos) << part << " in\n" << all;
}

}  // namespace
}  // namespace opal::host
