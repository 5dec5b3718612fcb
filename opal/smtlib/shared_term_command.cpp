// A term over shared symbols that two groups make equal to a term of each.

#include <cassert>
#include <chrono>
#include <ostream>
#include <sstream>

#include "opal/smtlib/group_parser.h"
#include "opal/smtlib/interpreter.h"
#include "opal/terms/print/printer.h"

namespace opal::smtlib {

using host::SharedTermQuery;
using host::Sort;
using host::Terms;
using Clock = std::chrono::steady_clock;

std::vector<std::string> Interpreter::group_of(const Command& command, Node n) const {
  std::vector<std::string> names = parse_group(command.source, n);
  for (const std::string& name : names)
    expect_assertion(command, n, name);
  return names;
}

// Sides of different sorts are compared as Reals.
SharedTermQuery Interpreter::shared_term_query(const Command& command) {
  SharedTermQuery query;
  query.first = group_of(command, command.operands[0]);
  query.second = group_of(command, command.operands[1]);
  TermParser parser(session_->terms(), symbols_, command.source, numbers_);
  std::vector<TypedTerm> sides;
  for (const Node n : {command.operands[2], command.operands[3]}) {
    ParsedTerm side = parser.parse(n);
    if (side.sort == Sort::BOOL) fail_at(command, n, "expected a number, found a formula");
    if (!side.names.empty()) fail_at(command, n, "a side of an equality cannot be named");
    sides.push_back(side);
  }
  assert(sides.size() == 2);
  if (sides[0].sort != sides[1].sort)
    for (TypedTerm& side : sides)
      side.term = session_->terms().make_to_real(side.term);
  assert(Terms::sort_of(sides[0].term) == Terms::sort_of(sides[1].term) ||
         Terms::is_numeral(sides[0].term) || Terms::is_numeral(sides[1].term));
  query.a = sides[0].term;
  query.b = sides[1].term;
  query.mode = settings_.mode;
  query.raw = settings_.raw;
  query.unmentioned = settings_.unmentioned;
  return query;
}

void Interpreter::get_shared_term(const Command& command) {
  expect_operands(command, 4, 4);
  if (lost_.forbid_unsat())
    fail(command, "the assertions are not those of the script: " + lost_.summary());
  const auto start = Clock::now();
  const SharedTermQuery query = shared_term_query(command);
  const host::SharedTerm shared = session_->shared_term(query);
  host::InterpolationQuery groups;
  groups.groups = {query.first, query.second};
  groups.unmentioned = query.unmentioned;
  mention_background(command, groups);
  if (settings_.verify)
    report_steps(command, session_->verify(query, shared, settings_.verify_with));
  assert(shared.term != nullptr);
  report(command, "split", std::chrono::duration<double>(Clock::now() - start).count());
  std::ostringstream out;
  host::print_term(out, shared.term, numbers_ != Numbers::INTEGERS);
  answer(out.str());
}

}  // namespace opal::smtlib
