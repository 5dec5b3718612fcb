// What makes an interpolant right, as questions to solvers outside of this library.
//
// The interpolant of a group must follow from the group, the background and its children's
// interpolants; the last group and its children's interpolants must be contradictory. With
// two groups A and B and the interpolant I these are the steps
//
//     A and not I      unsatisfiable
//     B and I          unsatisfiable
//
// and I may have no symbols but those that A and B share. Each step that the first solver
// leaves undecided is handed on to the next.

#include "opal/verify/verification.h"

#include <algorithm>
#include <cassert>
#include <numeric>
#include <sstream>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

using Queries = std::vector<std::vector<const Term_*>>;

// The parts of a text between semicolons outside of quotes; always at least one.
std::vector<std::string> split_commands(const std::string& commands) {
  std::vector<std::string> result(1);
  char quote = 0;
  for (const char c : commands) {
    if (quote == 0 && c == ';') {
      result.emplace_back();
      continue;
    }
    if (c == quote) {
      quote = 0;
    } else if (quote == 0 && (c == '\'' || c == '"')) {
      quote = c;
    }
    result.back() += c;
  }
  assert(!result.empty());
  return result;
}

std::vector<std::string> ask(const std::string& command, const Queries& queries,
                             Limits& limits) {
  std::ostringstream script;
  print_queries(script, queries);
  auto answers = run_outside_solver(command, script.str(), limits);
  if (answers.size() == queries.size()) return answers;
  throw OutsideSolverError("the outside solver '" + command + "' gave " +
                           std::to_string(answers.size()) + " answers to " +
                           std::to_string(queries.size()) + " questions");
}

}  // namespace

OutsideAnswers ask_outside_solvers(const std::string& commands, const Queries& queries,
                                   Limits& limits) {
  OutsideAnswers result;
  result.answers.resize(queries.size());
  std::vector<std::size_t> open(queries.size());
  std::iota(open.begin(), open.end(), std::size_t{0});
  bool first = true;
  for (const std::string& command : split_commands(commands)) {
    if (open.empty()) break;
    Queries asked;
    for (const std::size_t i : open)
      asked.push_back(queries[i]);
    std::vector<std::string> answers = ask(command, asked, limits);
    assert(answers.size() == open.size());
    std::vector<std::size_t> undecided;
    for (std::size_t k = 0; k < open.size(); ++k) {
      if (answers[k] != "sat" && answers[k] != "unsat") undecided.push_back(open[k]);
      result.answers[open[k]] = std::move(answers[k]);
    }
    assert(undecided.size() <= open.size());
    open = std::move(undecided);
    if (std::exchange(first, false)) result.handed_on = open.size();
  }
  return result;
}

std::vector<std::vector<const Term_*>> verification_steps(
    Terms& terms, const InterpolationAnswer& answer) {
  const std::size_t groups = answer.groups.size();
  assert(answer.grouping != nullptr && groups == answer.grouping->num_groups());
  assert(answer.interpolants.size() + 1 == groups);
  std::vector<std::vector<const Term_*>> steps;
  for (std::size_t g = 0; g < groups; ++g) {
    std::vector<const Term_*> step = answer.background;
    step.insert(step.end(), answer.groups[g].begin(), answer.groups[g].end());
    for (const std::size_t child : answer.grouping->children(g)) {
      assert(child < g);
      step.push_back(answer.interpolants[child]);
    }
    if (g + 1 < groups) step.push_back(terms.make_not(answer.interpolants[g]));
    steps.push_back(std::move(step));
  }
  assert(steps.size() == groups);
  return steps;
}

std::vector<std::vector<const Term_*>> foreign_symbols(const InterpolationAnswer& answer) {
  assert(answer.grouping != nullptr);
  assert(answer.interpolants.size() + 1 == answer.groups.size());
  const std::vector<const Term_*> common = variables_of(answer.background);
  const std::unordered_set<const Term_*> background(common.begin(), common.end());
  std::unordered_map<const Term_*, std::vector<std::size_t>> groups_of;  // ascending
  for (std::size_t g = 0; g < answer.groups.size(); ++g) {
    for (const Term_* v : variables_of(answer.groups[g]))
      groups_of[v].push_back(g);
  }
  std::vector<std::vector<const Term_*>> result;
  for (std::size_t g = 0; g < answer.interpolants.size(); ++g) {
    std::vector<const Term_*> foreign;
    for (const Term_* v : variables_of({answer.interpolants[g]})) {
      const std::vector<std::size_t>& groups = groups_of[v];
      const auto inside = static_cast<std::size_t>(std::count_if(
          groups.begin(), groups.end(),
          [&](std::size_t group) { return answer.grouping->in_subtree(group, g); }));
      assert(inside <= groups.size());
      const bool shared = inside > 0 && inside < groups.size();
      if (!shared && background.count(v) == 0) foreign.push_back(v);
    }
    result.push_back(std::move(foreign));
  }
  return result;
}

}  // namespace opal::host
