// Interpolants: the query, its answer, and the checks and reports that options ask for.
//
// An answer is printed last. What verification does not confirm, and what cannot be drawn
// or written, is an error in its place.

#include <cassert>
#include <chrono>
#include <ostream>
#include <sstream>

#include "opal/smtlib/group_parser.h"
#include "opal/smtlib/interpreter.h"
#include "opal/terms/print/printer.h"

namespace opal::smtlib {

using host::InterpolationQuery;
using host::Session;
using Clock = std::chrono::steady_clock;

namespace {

// One list: on one line when it is short, else an interpolant a line.
std::string list_of(const std::vector<const Term_*>& terms, Numbers numbers) {
  constexpr std::size_t SHORT = 80;
  std::vector<std::string> texts;
  std::size_t length = 0;
  for (const Term_* t : terms) {
    std::ostringstream out;
    host::print_term(out, t, numbers != Numbers::INTEGERS);
    texts.push_back(out.str());
    length += texts.back().size() + 1;
  }
  std::string result = "(";
  for (const std::string& text : texts) {
    if (length > SHORT)
      result += "\n  ";
    else if (result.size() > 1)
      result += ' ';
    result += text;
  }
  return result + (length > SHORT ? "\n)" : ")");
}

}  // namespace

void Interpreter::expect_assertion(const Command& command, Node group,
                                   const std::string& name) const {
  const Definition* const definition = symbols_.find(name);
  if (definition != nullptr && definition->named_formula) return;
  std::string why = "no assertion is named " + host::symbol_text(name);
  if (const std::string* const lost = lost_.find(name)) why += ": " + *lost;
  fail_at(command, group, why);
}

InterpolationQuery Interpreter::query_of(const Command& command) const {
  GroupTree tree = parse_groups(command.source, Sexpr::ROOT);
  for (std::size_t g = 0; g < tree.names.size(); ++g)
    for (const std::string& name : tree.names[g])
      expect_assertion(command, tree.nodes[g], name);
  assert(tree.is_normal());
  InterpolationQuery query;
  query.groups = std::move(tree.names);
  query.first = std::move(tree.first);
  query.mode = settings_.mode;
  query.cuts = settings_.cuts;
  query.strength = settings_.strength;
  query.raw = settings_.raw;
  query.unmentioned = settings_.unmentioned;
  return query;
}

void Interpreter::mention_background(const Command& command,
                                     const InterpolationQuery& query) {
  if (background_mentioned_ || query.unmentioned != host::Unmentioned::BACKGROUND) return;
  const std::size_t count = session_->count_unmentioned(query);
  if (count == 0) return;
  background_mentioned_ = true;
  diagnostics_ << "opal: " << count << " assertion(s) that " << command.name
               << " does not mention belong to every group (see :opal-unmentioned)\n";
  diagnostics_.flush();
}

void Interpreter::report_steps(const Command& command,
                               const host::VerificationReport& checked) {
  diagnostics_ << "opal: line " << command.source.position(Sexpr::ROOT).line
               << ": proof checked, " << checked.steps
               << " step(s) confirmed by an outside solver";
  assert(checked.handed_on <= checked.steps);
  if (checked.handed_on > 0)
    diagnostics_ << ", " << checked.handed_on << " of them not by the first one";
  diagnostics_ << '\n';
  diagnostics_.flush();
}

void Interpreter::report_details(const Command& command, const InterpolationQuery& query,
                                 const host::Interpolants& interpolants) {
  if (settings_.explain) {
    diagnostics_ << "opal: line " << command.source.position(Sexpr::ROOT).line << ": "
                 << command.name << '\n';
    session_->explain(diagnostics_, query, interpolants);
    diagnostics_.flush();
  }
  if (!settings_.check_files.empty())
    next_check_file_ = session_->write_check_files(query, interpolants,
                                                   settings_.check_files, next_check_file_);
}

void Interpreter::get_interpolants(const Command& command) {
  expect_verdict(command, Session::Verdict::UNSAT);
  const auto start = Clock::now();
  const InterpolationQuery query = query_of(command);
  const host::Interpolants interpolants = session_->interpolants(query);
  assert(interpolants.terms.size() + 1 == query.groups.size());
  mention_background(command, query);
  if (settings_.verify) {
    report_steps(command, session_->verify(query, interpolants, settings_.verify_with));
  }
  draw_interpolants(command, query, interpolants);
  report_details(command, query, interpolants);
  report(command,
         std::string("mode ") + host::to_string(interpolants.mode) + ", size " +
             std::to_string(interpolants.size),
         std::chrono::duration<double>(Clock::now() - start).count());
  answer(list_of(interpolants.terms, numbers_));
}

}  // namespace opal::smtlib
