#ifndef OPAL_VERIFY_VERIFICATION_H
#define OPAL_VERIFY_VERIFICATION_H

#include <string>
#include <vector>

#include "opal/base/error.h"
#include "opal/base/limits.h"
#include "opal/interpolate/partition.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// The outside solver is missing or failed; what() says which command and how.
class OutsideSolverError : public Error {
 public:
  using Error::Error;
};

/// Runs an outside solver as a child process: a command line split at blanks (single and
/// double quotes keep blanks), the script on its standard input. Returns its lines of
/// standard output, read to the end, without blank ones. Kills it when a limit is reached.
/// Throws OutsideSolverError when it cannot be started, ends with a failure or a signal, or
/// prints an error; an answer such as "unknown" is a line for the caller to judge.
std::vector<std::string> run_outside_solver(const std::string& command,
                                            const std::string& script, Limits& limits);

/// What outside solvers answered to queries for satisfiability.
struct OutsideAnswers {
  std::vector<std::string> answers;  // one per query: "sat", "unsat", or another word
  std::size_t handed_on = 0;         // queries that the first solver left undecided
};

/// Asks outside solvers, in the order of their commands, which are separated by semicolons
/// outside of quotes. Each gets the queries that those before it left undecided; one that
/// would get none is not started. Throws as run_outside_solver(), and when a solver does
/// not give one line to each query.
OutsideAnswers ask_outside_solvers(const std::string& commands,
                                   const std::vector<std::vector<const Term_*>>& queries,
                                   Limits& limits);

/// An interpolation query with its answer, for the checks.
struct InterpolationAnswer {
  const Grouping* grouping = nullptr;
  std::vector<std::vector<const Term_*>> groups;  // the formulas of each group
  std::vector<const Term_*> background;           // the formulas of every group
  std::vector<const Term_*> interpolants;         // of each group but the last
};

/// The formulas that must be unsatisfiable for the answer to be right, one list a step:
/// background, the group, its children's interpolants, and the negation of its own.
std::vector<std::vector<const Term_*>> verification_steps(
    Terms& terms, const InterpolationAnswer& answer);

/// For each interpolant its symbols that are not shared between its sub-tree and the rest
/// (background belongs to both), ascending by id.
std::vector<std::vector<const Term_*>> foreign_symbols(const InterpolationAnswer& answer);

}  // namespace opal::host

#endif
