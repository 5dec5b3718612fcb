// Logic, options and infos. What concerns the options of this system is in settings.cpp.

#include <cassert>
#include <optional>
#include <sstream>

#include "opal/smtlib/interpreter.h"
#include "opal/terms/print/printer.h"
#include "opal/version.h"

namespace opal::smtlib {

namespace {

// Standard options that are taken and change nothing here, with their first values.
std::string first_value(std::string_view option) {
  for (const std::string_view truth :
       {"interactive-mode", "produce-assertions", "produce-assignments",
        "produce-interpolants", "produce-models", "produce-proofs",
        "produce-unsat-assumptions", "produce-unsat-cores"})
    if (option == truth) return "true";
  for (const std::string_view number :
       {"random-seed", "reproducible-resource-limit", "verbosity"})
    if (option == number) return "0";
  return "";
}

// The numbers of a logic, if it is one that is supported.
std::optional<Numbers> numbers_of(std::string_view logic) {
  // Of QF_UF what has no functions: names of operators on integers are free there.
  if (logic == "QF_LRA" || logic == "QF_RDL" || logic == "QF_UF") return Numbers::REALS;
  if (logic == "QF_LIA" || logic == "QF_IDL") return Numbers::INTEGERS;
  if (logic == "QF_LIRA" || logic == "ALL") return Numbers::BOTH;
  return std::nullopt;
}

}  // namespace

void Interpreter::set_logic(const Command& command) {
  expect_operands(command, 1, 1);
  const Node n = command.operands[0];
  const std::string logic = command.source.shortened(n);
  const auto numbers = numbers_of(logic);
  if (!numbers)
    fail_at(command, n,
            "unknown logic " + logic +
                ", expected QF_LRA, QF_LIA, QF_LIRA, QF_RDL, QF_IDL, QF_UF or ALL");
  if (!logic_.empty()) fail(command, "the logic is set already, to " + logic_);
  logic_ = logic;
  numbers_ = *numbers;
  succeed();
}

void Interpreter::set_option(const Command& command) {
  expect_operands(command, 2, 2);
  const auto [name_node, value_node] = std::pair(command.operands[0], command.operands[1]);
  if (command.source.kind(name_node) != Token::KEYWORD)
    fail_at(command, name_node,
            "expected an option, found " + command.source.shortened(name_node));
  const std::string_view name = command.source.text(name_node).substr(1);
  const std::string value = command.source.is_list(value_node)
                                ? command.source.shortened(value_node)
                                : std::string(command.source.text(value_node));
  try {
    if (settings_.set(name, value)) {
      if (name == "opal-dot" || name == "opal-svg") drawings_.want(value);
      return succeed();
    }
  } catch (const SettingError& error) {
    fail_at(command, value_node, error.what());
  }
  if (first_value(name).empty()) return answer("unsupported");
  accepted_[std::string(name)] = command.source.written(value_node);
  succeed();
}

void Interpreter::get_option(const Command& command) {
  expect_operands(command, 1, 1);
  if (command.source.kind(command.operands[0]) != Token::KEYWORD)
    fail_at(command, command.operands[0], "expected an option");
  const std::string name(command.source.text(command.operands[0]).substr(1));
  std::string value = settings_.get(name);
  if (value.empty()) value = accepted_.count(name) ? accepted_[name] : first_value(name);
  answer(value.empty() ? "unsupported" : value);
}

std::string Interpreter::reason_unknown() const {
  const bool own = session_->last_verdict() == host::Session::Verdict::UNKNOWN;
  if (own && !lost_.forbid_unsat()) return session_->reason_unknown();
  assert(lost_.forbid_sat());
  return "(incomplete " + host::string_literal(lost_.summary()) + ")";
}

void Interpreter::set_info(const Command& command) {
  if (command.operands.empty() ||
      command.source.kind(command.operands[0]) != Token::KEYWORD)
    fail(command, "set-info takes an attribute");
  succeed();
}

void Interpreter::get_info(const Command& command) {
  expect_operands(command, 1, 1);
  const std::string name = command.source.shortened(command.operands[0]);
  std::string value;
  if (name == ":name") {
    value = "\"Opal\"";
  } else if (name == ":version") {
    value = host::string_literal(VERSION);
  } else if (name == ":authors") {
    value = "\"The Opal authors\"";
  } else if (name == ":error-behavior") {
    value = on_error() == OnError::STOP ? "immediate-exit" : "continued-execution";
  } else if (name == ":assertion-stack-levels") {
    value = std::to_string(session_->levels());
  } else if (name == ":reason-unknown") {
    expect_verdict(command, host::Session::Verdict::UNKNOWN);
    value = reason_unknown();
  } else if (name == ":all-statistics") {
    std::ostringstream out;
    const char* separator = "(";
    for (const auto& [key, number] : session_->statistics()) {
      out << separator << ':' << key << ' ' << number;
      separator = "\n ";
    }
    return answer(out.str() + ")");
  } else {
    return answer("unsupported");
  }
  answer("(" + name + " " + value + ")");
}

void Interpreter::echo(const Command& command) {
  expect_operands(command, 1, 1);
  if (command.source.kind(command.operands[0]) != Token::STRING)
    fail(command, "echo takes a string");
  answer(host::string_literal(command.source.text(command.operands[0])));
}

void Interpreter::exit(const Command& command) {
  expect_operands(command, 0, 0);
  exited_ = true;
  succeed();
}

void Interpreter::unsupported_command(const Command& command) {
  fail(command, "command " + std::string(command.name) + " is not supported");
}

}  // namespace opal::smtlib
