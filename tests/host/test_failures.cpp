// Every allocation fails once. A request that ends in std::bad_alloc leaks nothing and
// leaves nothing half-done: asked again, it is answered, and so are all that follow.

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <sstream>

#include "opal/proofs/proof_text.h"
#include "opal/session/session.h"
#include "opal/terms/print/printer.h"
#include "tests/engine/random_problem.h"
#include "tests/host/fixture.h"

// The linker sends the calls of malloc and free in this program here, but for those in
// shared libraries: the memory pools come here, GMP does not.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __real_malloc(std::size_t bytes);
void __real_free(void* memory);
void* __wrap_malloc(std::size_t bytes);
void __wrap_free(void* memory);
}

namespace {

struct {
  bool armed = false;          // whether allocations count
  std::size_t until_next = 0;  // how many there are up to the one that fails
  bool lasting = false;        // whether those after it fail as well
  bool struck = false;         // whether it has come to that
  long live = 0;               // blocks that are not given back
} memory;

void* take(std::size_t bytes, std::size_t alignment = 0) {
  if (memory.armed && (memory.until_next == 1 || (memory.struck && memory.lasting))) {
    memory.struck = true;
    memory.until_next = 0;
    return nullptr;
  }
  if (memory.armed && memory.until_next > 0) --memory.until_next;
  ++memory.live;
  if (alignment == 0) return __real_malloc(bytes);
  return std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
}

void give_back(void* block) {
  if (block != nullptr) --memory.live;
  __real_free(block);
}

void* take_or_throw(std::size_t bytes, std::size_t alignment = 0) {
  if (void* const block = take(bytes, alignment)) return block;
  throw std::bad_alloc();
}

}  // namespace

void* __wrap_malloc(std::size_t bytes) { return take(bytes); }
void __wrap_free(void* block) { give_back(block); }
// NOLINTEND(bugprone-reserved-identifier)

using Size = std::size_t;
using Align = std::align_val_t;
using NoThrow = const std::nothrow_t&;
void* operator new(Size n) { return take_or_throw(n); }
void* operator new[](Size n) { return take_or_throw(n); }
void* operator new(Size n, Align a) { return take_or_throw(n, static_cast<Size>(a)); }
void* operator new[](Size n, Align a) { return take_or_throw(n, static_cast<Size>(a)); }
void* operator new(Size n, NoThrow) noexcept { return take(n); }
void* operator new[](Size n, NoThrow) noexcept { return take(n); }
void operator delete(void* block) noexcept { give_back(block); }
void operator delete[](void* block) noexcept { give_back(block); }
void operator delete(void* block, Size) noexcept { give_back(block); }
void operator delete[](void* block, Size) noexcept { give_back(block); }
void operator delete(void* block, Align) noexcept { give_back(block); }
void operator delete[](void* block, Align) noexcept { give_back(block); }
void operator delete(void* block, Size, Align) noexcept { give_back(block); }
void operator delete[](void* block, Size, Align) noexcept { give_back(block); }
void operator delete(void* block, NoThrow) noexcept { give_back(block); }
void operator delete[](void* block, NoThrow) noexcept { give_back(block); }

namespace opal {
namespace {

// A request by its answer, as a text.
template <class World>
struct Request {
  bool changes;  // what is asserted
  std::function<std::string(World&)> answer;
};
template <class World>
using Requests = std::vector<Request<World>>;

// Answers a request while allocations may fail. If one did, the world looks as before, and
// the request is answered when it comes once more.
template <class World>
std::string insist(World& world, const Request<World>& request, const std::string& before) {
  try {
    memory.armed = true;
    std::string answer = request.answer(world);
    memory.armed = false;
    return answer;
  } catch (const std::bad_alloc&) {
    memory.armed = false;
  }
  EXPECT_TRUE(memory.struck);
  if (request.changes) {
    EXPECT_EQ(world.look(), before) << "half of it is asserted";
  }
  return request.answer(world);
}

// The answers of a world in which nothing fails, and how it looks before each request.
template <class World>
std::vector<std::pair<std::string, std::string>> answers(const Requests<World>& requests) {
  std::vector<std::pair<std::string, std::string>> result;
  World world;
  for (const auto& request : requests) {
    World looked_at;
    for (std::size_t i = 0; i < result.size(); ++i)
      requests[i].answer(looked_at);
    const std::string look = request.changes ? looked_at.look() : "";
    result.emplace_back(request.answer(world), look);
  }
  return result;
}

// Every allocation, or every fifth when random tests are cut short too.
std::size_t stride() {
  const char* const scale = std::getenv("OPAL_RANDOM_SCALE");
  return scale != nullptr && std::atof(scale) < 1 ? 5 : 1;
}

// How many allocations have failed.
template <class World>
std::size_t expect_survival(const Requests<World>& requests) {
  const auto expected = answers(requests);
  std::size_t total = 0;
  for (const bool lasting : {false, true}) {
    memory.struck = true;
    for (std::size_t n = 1; memory.struck && !testing::Test::HasFailure();
         n += stride(), ++total) {
      const long live = memory.live;
      memory.until_next = n;
      memory.lasting = lasting;
      memory.struck = false;
      {
        World world;
        for (std::size_t i = 0; i < requests.size(); ++i) {
          const std::string answer = insist(world, requests[i], expected[i].second);
          EXPECT_EQ(answer, expected[i].first)
              << "request " << i << ", allocation " << n << (lasting ? " and later" : "");
        }
      }
      EXPECT_EQ(memory.live, live) << "blocks leak after failure of allocation " << n;
    }
  }
  return total;
}

namespace on_session {

using namespace host;
using Names = std::vector<std::string>;

struct World : Session, Builder {
  World() : Builder(terms()) {}
  // The assertions, whether they are seen to be contradictory, and why.
  std::string look() {
    std::string text = std::to_string(levels());
    for (const Assertion& a : assertions())
      text += " " + a.name + ":" + term_text(a.formula);
    text += check() == Verdict::SAT ? " sat" : " not sat";
    if (last_verdict() == Verdict::UNSAT)
      for (const std::string& name : unsat_core())
        text += " " + name;
    return text;
  }
  std::string verdict(const Atoms& assumptions = {}) {
    const Verdict v = check(assumptions);
    return v == Verdict::SAT ? "sat" : v == Verdict::UNSAT ? "unsat" : reason_unknown();
  }
  std::string interpolants_of(const InterpolationQuery& query) {
    std::string text;
    try {
      for (const Term_* i : interpolants(query).terms)
        text += term_text(i) + "\n";
    } catch (const SessionError& e) {
      text = e.what();
    }
    return text;
  }
};

using R = Request<World>;
using Groups = std::vector<Atoms>;
using Problem = std::function<Groups(World&)>;

R assertion(const Problem& problem, std::size_t group) {
  return {true, [=](World& w) {
            const Groups groups = problem(w);
            const Term_* all = groups[group][0];
            for (std::size_t i = 1; i < groups[group].size(); ++i)
              all = w.land(all, groups[group][i]);
            w.assert_formula(all, std::string(1, static_cast<char>('a' + group)));
            return std::string();
          }};
}

const R push{true, [](World& w) { return w.push(), std::string(); }};
const R pop{true, [](World& w) { return w.pop(), std::string(); }};
const R reset{true, [](World& w) { return w.reset_assertions(), std::string(); }};
const R decide{false, [](World& w) { return w.verdict(); }};

// Asserts the groups one by one, and has them decided.
Requests<World> asserted(const Problem& problem, std::size_t groups) {
  Requests<World> result;
  for (std::size_t g = 0; g < groups; ++g)
    result.push_back(assertion(problem, g));
  result.push_back(decide);
  return result;
}

R query(std::vector<Names> groups, Mode mode, Cuts cuts) {
  return {false, [=](World& w) {
            return w.interpolants_of({groups, Grouping::sequence(groups.size()), mode,
                                      false, Unmentioned::BACKGROUND, cuts});
          }};
}

Requests<World> every_style(const std::vector<Names>& groups) {
  Requests<World> result;
  for (const Mode mode : {Mode::SUM, Mode::CONJ, Mode::DUAL})
    for (const Cuts cuts : {Cuts::MODULAR, Cuts::FLOOR})
      result.push_back(query(groups, mode, cuts));
  result.push_back(query(groups, Mode::AUTO, Cuts::AUTO));
  return result;
}

Requests<World> operator+(Requests<World> a, const Requests<World>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Groups differences(World& w) {
  const Term_ *x = w.real("x"), *y = w.real("y"), *z = w.real("z"), *v = w.real("v");
  return {{w.leq(w.plus(x, 7), y), w.leq(w.plus(y, 5), z)},
          {w.lt(w.plus(z, 8), v)},
          {w.leq(v, w.plus(x, 20))}};
}

Groups rationals(World& w) {
  const Term_ *x = w.real("x"), *y = w.real("y"), *z = w.real("z"), *v = w.real("v");
  return {{w.leq(w.plus(w.times(2, x), y), w.num(3)), w.leq(z, x)},
          {w.leq(w.plus(v, 4), w.times(2, z)), w.leq(w.num(0), w.plus(y, v))}};
}

Groups disequality(World& w) {
  const Term_ *x = w.real("x"), *y = w.real("y"), *z = w.real("z");
  return {{w.eq(w.plus(x, y), w.times(2, z)), w.eq(x, w.num(3))},
          {w.neq(y, w.num(5)), w.eq(w.times(3, z), w.num(12))}};
}

// Without an integer solution of the equalities.
Groups equalities(World& w) {
  const Term_ *i = w.integer("i"), *j = w.integer("j"), *k = w.integer("k");
  return {{w.eq(i, w.times(8, j))}, {w.eq(i, w.plus(w.times(8, k), 4))}};
}

Groups coins(World& w) {
  const Term_ *six = w.integer("six"), *ten = w.integer("ten"), *part = w.integer("part");
  const Term_* const fifteen = w.integer("fifteen");
  const Term_* const zero = w.num(0);
  return {{w.leq(zero, six), w.leq(zero, ten),
           w.eq(part, w.plus(w.times(6, six), w.times(10, ten)))},
          {w.leq(zero, fifteen), w.eq(w.plus(part, w.times(15, fifteen)), w.num(29))}};
}

// Each group has a cut of its own, and the branch is needed.
Groups steps(World& w) {
  const Term_ *p = w.integer("p"), *q = w.integer("q"), *s = w.integer("s");
  const Term_* const zero = w.num(0);
  const auto between = [&](const Term_* a, const Term_* b) {
    const Term_* const difference = w.times(3, w.plus(a, w.times(-1, b)));
    return Atoms{w.lt(zero, difference), w.lt(difference, w.num(6))};
  };
  return {between(p, s), joined(between(q, s), {w.neq(p, q)})};
}

// The values may be others after a failure: a search begins anew.
const R model{false, [](World& w) {
                const std::string text = w.verdict();
                return text + " " + std::to_string(w.model().size());
              }};
const R proof{
    false, [](World& w) {
      std::ostringstream out;
      out.exceptions(std::ios::badbit);  // else a stream keeps failures for itself
      print_proof(out, w.external_proof());
      w.check_proof();
      return out.str();
    }};
const R shared{false, [](World& w) {
                 const SharedTerm answer =
                     w.shared_term({{"a"}, {"b"}, w.real("y"), w.times(4, w.real("z"))});
                 return term_text(answer.term) + term_text(answer.of_A.interpolant);
               }};

// The terms of both groups are four times s.
Groups equal_terms(World& w) {
  const Term_ *y = w.real("y"), *z = w.real("z"), *s = w.real("s");
  return {{w.eq(y, w.times(4, s))}, {w.leq(z, s), w.leq(s, z)}};
}

const std::vector<Names> TWO{{"a"}, {"b"}}, THREE{{"a"}, {"b"}, {"c"}};

TEST(Failures, OfInterpolation) {
  const std::tuple<const char*, Problem, std::size_t, Requests<World>> table[] = {
      {"differences", differences, 3, every_style(THREE) + Requests<World>{proof}},
      {"rationals", rationals, 2, every_style(TWO)},
      {"disequality", disequality, 2, every_style(TWO)},
      {"equalities", equalities, 2, every_style(TWO)},
      {"steps", steps, 2, every_style(TWO) + Requests<World>{proof}},
      {"coins", coins, 2, {query(TWO, Mode::AUTO, Cuts::FLOOR)}},
      {"equal terms", equal_terms, 2, {model, shared}},
      {"levels",
       rationals,
       1,
       {push, assertion(rationals, 1), decide, pop, model, push, assertion(differences, 2),
        reset, assertion(disequality, 0), decide}}};
  std::size_t total = 0;
  for (const auto& [name, problem, groups, queries] : table) {
    SCOPED_TRACE(name);
    total += expect_survival(asserted(problem, groups) + queries);
  }
  EXPECT_GT(total * stride(), 10000U);
}

}  // namespace on_session

namespace on_engine {

// Proofs of every rule, valid by construction; the interpolator stays the same.
template <int Seed, small::RandomProblem::Sorts Sorts>
struct World {
  small::RandomProblem::Figures figures;
  small::RandomProblem problem{Seed, Sorts, figures};
  small::Probe probe{problem, static_cast<small::Probe::Mode>(Seed % 3), Seed % 2 == 0};
  static std::string look() { return ""; }
};

template <int Seed, small::RandomProblem::Sorts Sorts>
std::size_t survivals() {
  using W = World<Seed, Sorts>;
  const Request<W> interpolate{false, [](W& w) {
                                 return small::Terms::text(w.probe.get_interpolant(
                                     &w.problem.classifier, w.problem.root()));
                               }};
  return expect_survival<W>({interpolate, interpolate});
}

TEST(Failures, OfTheEngine) {
  using small::RandomProblem;
  std::size_t total = survivals<1, RandomProblem::REALS>() +
                      survivals<2, RandomProblem::REALS>() +
                      survivals<3, RandomProblem::BOTH>();
  total += survivals<4, RandomProblem::INTEGERS>() +
           survivals<5, RandomProblem::INTEGERS>() +
           survivals<9, RandomProblem::INTEGERS>();
  EXPECT_GT(total * stride(), 500U);
}

}  // namespace on_engine
}  // namespace
}  // namespace opal
