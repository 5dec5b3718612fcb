// Commands that change the assertions and their levels.
//
// The session's levels and the scopes of the symbols move together. A formula is asserted
// before its names are added, so that a formula which the session refuses leaves no name.
// The place of a refused term within the formula is found by reading it a second time.

#include <cassert>
#include <sstream>

#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "opal/smtlib/interpreter.h"
#include "opal/terms/print/printer.h"

namespace opal::smtlib {

using host::Sort;

void Interpreter::assert_term(const Command& command) {
  expect_operands(command, 1, 1);
  const Node node = command.operands[0];
  TermParser parser(session_->terms(), symbols_, command.source, numbers_);
  const ParsedTerm parsed = parser.parse_formula(node);
  const auto refuse = [&](const Term_* t, const std::string& what) {
    fail_at(command, parser.find(node, t).value_or(node), shortened(what));
  };
  try {
    session_->assert_formula(parsed.term, parsed.name);
  } catch (const host::Unsupported& error) {
    refuse(error.term, error.what());
  } catch (const host::NotLinear& error) {
    refuse(error.term, error.what());
  }
  assert(parsed.name.empty() || !parsed.names.empty());
  for (const auto& [name, term] : parsed.names) {
    Definition definition;
    definition.name = name;
    definition.body = term;
    definition.named_formula = term.sort == Sort::BOOL;
    symbols_.add(std::move(definition));
  }
  succeed();
}

void Interpreter::push(const Command& command) {
  for (std::size_t count = count_operand(command, 1); count > 0; --count) {
    session_->push();
    symbols_.push();
    assert(symbols_.levels() == session_->levels());
  }
  succeed();
}

void Interpreter::pop(const Command& command) {
  const std::size_t count = count_operand(command, 1);
  if (count > session_->levels())
    fail(command, "pop of " + std::to_string(count) + " level(s), but only " +
                      std::to_string(session_->levels()) + " are open");
  for (std::size_t i = 0; i < count; ++i)
    session_->pop();
  symbols_.pop(count, settings_.global_declarations ? AtPop::STAY : AtPop::END);
  assert(symbols_.levels() == session_->levels());
  lost_.pop_to(session_->levels());
  succeed();
}

void Interpreter::reset(const Command& command) {
  expect_operands(command, 0, 0);
  running_ = nullptr;
  settings_ = initial_settings_;
  start_session();
  succeed();
}

void Interpreter::reset_assertions(const Command& command) {
  expect_operands(command, 0, 0);
  session_->reset_assertions();
  assert(session_->levels() == 0 && session_->assertions().empty());
  assert(symbols_.is_normal());
  if (settings_.global_declarations) {
    symbols_.end_levels();
    lost_.reset_assertions();
  } else {
    symbols_.clear();
    lost_.clear();
  }
  succeed();
}

void Interpreter::get_assertions(const Command& command) {
  expect_operands(command, 0, 0);
  std::ostringstream out;
  out << '(';
  const char* separator = "";
  for (const auto& assertion : session_->assertions()) {
    out << separator;
    host::print_term(out, assertion.formula, numbers_ != Numbers::INTEGERS);
    separator = "\n ";
  }
  out << ')';
  answer(out.str());
}

}  // namespace opal::smtlib
