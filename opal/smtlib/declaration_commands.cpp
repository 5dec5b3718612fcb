// Declarations and definitions.
//
// A definition is a term with variables for its parameters, which no formula of the script
// can name; an application replaces them. So a definition costs its text once.

#include <cassert>
#include <unordered_set>

#include "opal/smtlib/interpreter.h"
#include "opal/smtlib/term_parser.h"

namespace opal::smtlib {

using host::Sort;
using host::Terms;

void Interpreter::declare(const Command& command, Node name, Node sort) {
  session_->limits().look();
  Definition definition;
  definition.name = parse_new_symbol(command.source, name, symbols_, numbers_);
  const Sort s = parse_sort(command.source, sort, numbers_);
  definition.body = {session_->terms().make_variable(definition.name, s), s};
  definition.declared = true;
  symbols_.add(std::move(definition));
  succeed();
}

void Interpreter::declare_const(const Command& command) {
  expect_operands(command, 2, 2);
  declare(command, command.operands[0], command.operands[1]);
}

void Interpreter::declare_fun(const Command& command) {
  expect_operands(command, 3, 3);
  const Node sorts = command.operands[1];
  if (!command.source.is_list(sorts)) fail_at(command, sorts, "expected a list of sorts");
  if (command.source.end(sorts) != sorts + 1)
    fail_at(command, sorts, "uninterpreted functions are not supported");
  declare(command, command.operands[0], command.operands[2]);
}

void Interpreter::define_const(const Command& command) {
  expect_operands(command, 3, 3);
  define(command, command.operands[1], command.operands[2], {});
}

void Interpreter::define_fun(const Command& command) {
  expect_operands(command, 4, 4);
  if (!command.source.is_list(command.operands[1]))
    fail_at(command, command.operands[1], "expected a list of parameters");
  define(command, command.operands[2], command.operands[3],
         command.source.children(command.operands[1]));
}

void Interpreter::define(const Command& command, Node sort, Node body,
                         const std::vector<Node>& parameters) {
  const Sexpr& source = command.source;
  Definition definition;
  definition.name = parse_new_symbol(source, command.operands[0], symbols_, numbers_);
  TermParser parser(session_->terms(), symbols_, source, numbers_);
  std::unordered_set<std::string_view> names;
  for (const Node parameter : parameters) {
    const bool is_pair =
        source.is_list(parameter) && source.children(parameter).size() == 2;
    if (!is_pair || !source.is_symbol(parameter + 1))
      fail_at(command, parameter,
              "expected (name sort), found " + source.shortened(parameter));
    const std::string_view name = source.text(parameter + 1);
    if (!names.insert(name).second)
      fail_at(command, parameter, "a parameter is declared twice: " + std::string(name));
    // No symbol of a script has a bar in its name.
    const std::string hidden = "|" + std::to_string(names.size()) + "|" + std::string(name);
    definition.parameters.push_back(session_->terms().make_variable(
        hidden, parse_sort(source, parameter + 2, numbers_)));
    assert(Terms::sort_of(definition.parameters.back()) ==
           parse_sort(source, parameter + 2, numbers_));
    parser.add_parameter(name, definition.parameters.back());
  }
  assert(definition.parameters.size() == parameters.size());
  definition.body = parser.parse_body(body, parse_sort(source, sort, numbers_));
  symbols_.add(std::move(definition));
  succeed();
}

}  // namespace opal::smtlib
