// What a session is asked, and what it answers: plain data, without the session.

#ifndef OPAL_SESSION_QUERIES_H
#define OPAL_SESSION_QUERIES_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/strength.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// What a check answered.
enum class Verdict : std::uint8_t { SAT, UNSAT, UNKNOWN };

/// A request that a session cannot answer; what() says why.
class SessionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What to do with assertions that an interpolation query does not mention.
enum class Unmentioned : std::uint8_t { BACKGROUND, LAST_GROUP, ERROR };

/// An interpolation query: the names of the assertions of each group, and the tree of the
/// groups (see Grouping).
struct InterpolationQuery {
  std::vector<std::vector<std::string>> groups;
  std::vector<std::size_t> first;
  Mode mode = Mode::AUTO;
  bool raw = false;
  Unmentioned unmentioned = Unmentioned::BACKGROUND;
  Cuts cuts = Cuts::AUTO;
  Strength strength = Strength::AUTO;  // of formulas that are no conjunctions
};

/// Two groups of assertions, by their names, and two terms that they may make equal: one
/// over the symbols of one group, one over those of the other.
struct SharedTermQuery {
  std::vector<std::string> first;
  std::vector<std::string> second;
  const Term_* a = nullptr;
  const Term_* b = nullptr;
  Mode mode = Mode::AUTO;  // of the interpolants
  bool raw = false;
  Unmentioned unmentioned = Unmentioned::BACKGROUND;
};

/// A term of shared symbols that both groups together make equal to the terms of a query.
struct SharedTerm {
  struct Half {
    const Term_* interpolant = nullptr;
    bool completed = false;  // its proof needs both groups
  };
  const Term_* a_side = nullptr;  // the one of the query's terms that is the first group's
  const Term_* b_side = nullptr;
  const Term_* term = nullptr;
  Half of_A;  // between A with a_side /= term, and B
  Half of_B;  // between A, and B with b_side /= term
};

/// The outside solvers of verification: z3, and cvc5 for what z3 leaves undecided.
inline constexpr const char* OUTSIDE_SOLVERS =
    "z3 -in -smt2 -t:10000; cvc5 --lang smt2 --incremental -q --tlimit-per=30000";

/// What was checked of an answer under verification.
struct VerificationReport {
  std::size_t steps = 0;      // confirmed by an outside solver
  std::size_t handed_on = 0;  // steps among them that the first solver left undecided
};

}  // namespace opal::host

#endif
