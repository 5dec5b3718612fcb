// One run of an outside solver: the words of its command line, its lines of output.
//
//     z3 -in -T:5             the words z3, -in, -T:5
//     'my solver' "-o x"      the words my solver, -o x
//
// An (error ...) anywhere in the output is a failure even where the solver goes on after
// it, since the answers that follow may be about another script than the one that was
// meant.

#include <algorithm>
#include <cassert>

#include "opal/verify/child_process.h"
#include "opal/verify/verification.h"

namespace opal::host {

namespace {

// The words of a command line. A quote starts or ends a part in which blanks count.
std::vector<std::string> command_words(const std::string& command) {
  std::vector<std::string> words;
  bool in_word = false;
  char quote = 0;
  for (const char c : command) {
    const bool blank = c == ' ' || c == '\t' || c == '\n';
    if (quote == 0 && blank) {
      in_word = false;
      continue;
    }
    assert(!in_word || !words.empty());
    if (!in_word) words.emplace_back();
    in_word = true;
    if (c == quote) {
      quote = 0;
    } else if (quote == 0 && (c == '\'' || c == '"')) {
      quote = c;
    } else {
      words.back() += c;
    }
  }
  if (quote != 0) throw OutsideSolverError("unbalanced quote in command: " + command);
  if (words.empty()) throw OutsideSolverError("no command for the outside solver");
  return words;
}

}  // namespace

std::vector<std::string> run_outside_solver(const std::string& command,
                                            const std::string& script, Limits& limits) {
  const std::string solver = "the outside solver '" + command + "'";
  ChildOutcome child;
  try {
    child = run_child_process(command_words(command), script, limits);
  } catch (const ChildProcessError& error) {
    throw OutsideSolverError("cannot start " + solver + ": " + error.what());
  }
  std::vector<std::string> lines = lines_of(child.output);
  const auto refusal =
      std::find_if(lines.begin(), lines.end(),
                   [](const std::string& line) { return line.rfind("(error", 0) == 0; });
  if (refusal != lines.end()) throw OutsideSolverError(solver + " answered " + *refusal);
  if (!child.failure.empty()) throw OutsideSolverError(solver + " " + child.failure);
  return lines;
}

}  // namespace opal::host
