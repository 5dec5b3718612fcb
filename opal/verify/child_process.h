#ifndef OPAL_VERIFY_CHILD_PROCESS_H
#define OPAL_VERIFY_CHILD_PROCESS_H

#include <string>
#include <vector>

#include "opal/base/error.h"
#include "opal/base/limits.h"

namespace opal::host {

/// A command that could not be started; what() says why.
class ChildProcessError : public Error {
 public:
  using Error::Error;
};

struct ChildOutcome {
  std::string output;  // all of standard output
  /// Empty when the child ended well; else how it ended, with the first line of its
  /// standard error: "ended with exit status 1: no such file".
  std::string failure;
};

/// Runs a command, given by its words, the first of which is looked up in the PATH, to its
/// end, with a text on its standard input. Kills it when a limit is reached (LimitReached).
ChildOutcome run_child_process(std::vector<std::string> words, const std::string& input,
                               Limits& limits);

/// The lines of a text, without blank ones and line ends.
std::vector<std::string> lines_of(const std::string& text);

}  // namespace opal::host

#endif
