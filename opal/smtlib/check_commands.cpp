// Checks, and the questions about what they found: models, values, cores.
//
// A verdict is answered only when no failed command could have made it another one (see
// lost_commands.cpp): `sat` becomes `unknown` after any loss, and a question about a model
// is then an error.

#include <cassert>
#include <chrono>
#include <sstream>

#include "opal/smtlib/interpreter.h"
#include "opal/terms/print/printer.h"

namespace opal::smtlib {

using host::Session;
using host::Sort;
using Clock = std::chrono::steady_clock;

namespace {

std::string value_text(TypedTerm t, const host::Model& model) {
  assert(t.is_well_sorted());
  if (t.sort == Sort::BOOL) return host::holds(t.term, model) ? "true" : "false";
  return host::number_text(host::evaluate(t.term, model), t.sort);
}

}  // namespace

// The checks and texts of a proof that the options ask for.
void Interpreter::look_at_proof(const Command& command) {
  assert(session_->last_verdict() == Session::Verdict::UNSAT);
  if (settings_.verify) session_->check_proof();
  if (!settings_.dump_proof) return;
  diagnostics_ << "opal: line " << command.source.position(Sexpr::ROOT).line << ": proof\n";
  session_->dump_proof(diagnostics_);
  diagnostics_.flush();
}

void Interpreter::check(const Command& command,
                        const std::vector<const Term_*>& assumptions) {
  const auto start = Clock::now();
  session_->set_method(settings_.method);
  // No verdict could be answered; what a check finds is of no use then.
  if (!lost_.forbid_unsat()) {
    const Session::Verdict found = session_->check(assumptions);
    if (found == Session::Verdict::UNSAT) look_at_proof(command);
    if (found == Session::Verdict::UNKNOWN)
      outcome_.limit_reached |= session_->reason_unknown() == "timeout";
  }
  const auto verdict = last_verdict();
  assert(verdict.has_value());
  const std::string text = text_of(*verdict);
  report(command, text, std::chrono::duration<double>(Clock::now() - start).count());
  answer(text);
}

void Interpreter::check_sat(const Command& command) {
  expect_operands(command, 0, 0);
  assumptions_.clear();
  check(command, {});
}

void Interpreter::check_sat_assuming(const Command& command) {
  expect_operands(command, 1, 1);
  if (!command.source.is_list(command.operands[0]))
    fail_at(command, command.operands[0], "expected a list of literals");
  TermParser parser(session_->terms(), symbols_, command.source, numbers_);
  std::vector<const Term_*> literals;
  std::vector<std::pair<const Term_*, std::string>> assumptions;
  for (const Node n : command.source.children(command.operands[0])) {
    const ParsedTerm parsed = parser.parse_formula(n);
    if (!parsed.names.empty()) fail_at(command, n, "an assumption cannot be named");
    literals.push_back(parsed.term);
    assumptions.emplace_back(parsed.term, command.source.written(n));
  }
  assert(literals.size() == assumptions.size());
  assumptions_ = std::move(assumptions);
  check(command, literals);
}

void Interpreter::get_model(const Command& command) {
  expect_operands(command, 0, 0);
  expect_verdict(command, Session::Verdict::SAT);
  std::ostringstream out;
  out << "(\n";
  for (const Definition& definition : symbols_.definitions()) {
    if (!definition.declared) continue;
    assert(definition.parameters.empty());
    const TypedTerm variable = definition.body;
    out << "  (define-fun " << host::symbol_text(definition.name) << " () "
        << to_string(variable.sort) << ' ' << value_text(variable, session_->model())
        << ")\n";
  }
  out << ')';
  answer(out.str());
}

void Interpreter::get_value(const Command& command) {
  expect_operands(command, 1, 1);
  expect_verdict(command, Session::Verdict::SAT);
  const Node list = command.operands[0];
  if (!command.source.is_list(list) || command.source.end(list) == list + 1)
    fail_at(command, list, "expected a list of terms");
  TermParser parser(session_->terms(), symbols_, command.source, numbers_);
  std::string out = "(";
  for (const Node n : command.source.children(list)) {
    const ParsedTerm parsed = parser.parse(n);
    if (out.size() > 1) out += "\n ";
    out += "(" + command.source.written(n) + " ";
    out += value_text(parsed, session_->model());
    out += ")";
  }
  answer(out + ")");
}

void Interpreter::get_assignment(const Command& command) {
  expect_operands(command, 0, 0);
  expect_verdict(command, Session::Verdict::SAT);
  std::string out = "(";
  for (const Definition& definition : symbols_.definitions()) {
    if (!definition.named_formula) continue;
    if (out.size() > 1) out += ' ';
    out += "(" + host::symbol_text(definition.name) +
           (host::holds(definition.body.term, session_->model()) ? " true)" : " false)");
  }
  answer(out + ")");
}

void Interpreter::get_unsat_core(const Command& command) {
  expect_operands(command, 0, 0);
  expect_verdict(command, Session::Verdict::UNSAT);
  std::string out = "(";
  for (const std::string& name : session_->unsat_core())
    out += (out.size() > 1 ? " " : "") + host::symbol_text(name);
  answer(out + ")");
}

void Interpreter::get_unsat_assumptions(const Command& command) {
  expect_operands(command, 0, 0);
  expect_verdict(command, Session::Verdict::UNSAT);
  std::string out = "(";
  for (const Term_* used : session_->unsat_assumptions())
    for (const auto& [term, written] : assumptions_)
      if (term == used) {
        out += (out.size() > 1 ? " " : "") + written;
        break;
      }
  answer(out + ")");
}

}  // namespace opal::smtlib
