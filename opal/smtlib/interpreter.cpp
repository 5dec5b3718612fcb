// The loop over the commands of an input, and what all commands have in common: their
// table, limits, errors and answers.
//
// An error has one of three ends. A mistake in the script, and a limit, become an
// (error ...) with a place; what the engine or the session finds wrong with itself becomes
// an (error ...) that begins with "internal error"; an input or an output that does not
// work ends the run with an exception.

#include "opal/smtlib/interpreter.h"

#include <cassert>
#include <chrono>
#include <cstdio>
#include <new>
#include <ostream>
#include <unordered_map>

#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "opal/terms/print/printer.h"
#include "opal/verify/verification.h"

namespace opal::smtlib {

using host::Session;

Interpreter::Interpreter(Settings settings, std::ostream& answers,
                         std::ostream& diagnostics, Drawings& drawings,
                         std::int32_t first_check_file)
    : initial_settings_(std::move(settings)),
      settings_(initial_settings_),
      answers_(answers),
      diagnostics_(diagnostics),
      drawings_(drawings),
      next_check_file_(first_check_file) {
  start_session();
}

Interpreter::~Interpreter() = default;

void Interpreter::start_session() {
  session_ = std::make_unique<Session>();
  symbols_.clear();
  lost_.clear();
  assumptions_.clear();
  logic_.clear();
  numbers_ = Numbers::BOTH;
  accepted_.clear();
}

Interpreter::Handler Interpreter::handler_of(std::string_view name) {
  static const auto* const HANDLERS = new std::unordered_map<std::string_view, Handler>{
      {"assert", &Interpreter::assert_term},
      {"check-sat", &Interpreter::check_sat},
      {"check-sat-assuming", &Interpreter::check_sat_assuming},
      {"declare-const", &Interpreter::declare_const},
      {"declare-fun", &Interpreter::declare_fun},
      {"define-const", &Interpreter::define_const},
      {"define-fun", &Interpreter::define_fun},
      {"echo", &Interpreter::echo},
      {"exit", &Interpreter::exit},
      {"get-assertions", &Interpreter::get_assertions},
      {"get-assignment", &Interpreter::get_assignment},
      {"get-info", &Interpreter::get_info},
      {"get-interpolants", &Interpreter::get_interpolants},
      {"get-model", &Interpreter::get_model},
      {"get-option", &Interpreter::get_option},
      {"get-proof", &Interpreter::get_proof},
      {"get-shared-term", &Interpreter::get_shared_term},
      {"get-unsat-assumptions", &Interpreter::get_unsat_assumptions},
      {"get-unsat-core", &Interpreter::get_unsat_core},
      {"get-value", &Interpreter::get_value},
      {"pop", &Interpreter::pop},
      {"push", &Interpreter::push},
      {"reset", &Interpreter::reset},
      {"reset-assertions", &Interpreter::reset_assertions},
      {"set-info", &Interpreter::set_info},
      {"set-logic", &Interpreter::set_logic},
      {"set-option", &Interpreter::set_option},
      // Commands of the standard that are not supported.
      {"declare-datatype", &Interpreter::unsupported_command},
      {"declare-datatypes", &Interpreter::unsupported_command},
      {"declare-sort", &Interpreter::unsupported_command},
      {"define-fun-rec", &Interpreter::unsupported_command},
      {"define-funs-rec", &Interpreter::unsupported_command},
      {"define-sort", &Interpreter::unsupported_command},
  };
  const auto found = HANDLERS->find(name);
  return found == HANDLERS->end() ? nullptr : found->second;
}

Interpreter::Outcome Interpreter::run(Input& input) {
  CommandReader reader(input, [this](std::size_t bytes) {
    session_->limits().set_memory(settings_.memory << 20U);
    session_->limits().expect_bytes(bytes);
  });
  outcome_ = Outcome();
  exited_ = false;
  origin_ = input.origin();
  while (!exited_ && !ending_) {
    Position at;
    std::string problem;
    try {
      if (!step(reader)) break;
      continue;
    } catch (const Error& error) {
      at = error.position;
      problem = error.what();
    } catch (const host::LimitReached& limit) {  // by reading
      at = input.position();
      problem = limit.what();
    } catch (const std::bad_alloc&) {
      at = input.position();
      problem = "out of memory";
    }
    assert(!problem.empty());
    ++outcome_.errors;
    note_failure(reader, at);
    answer("(error " +
           host::string_literal(input.name() + ":" + std::to_string(at.line) + ":" +
                                std::to_string(at.column) + ": " + problem) +
           ")");
    if (on_error() == OnError::STOP) break;
  }
  assert(running_ == nullptr && session_ != nullptr);
  at_work_ = nullptr;
  return outcome_;
}

bool Interpreter::step(CommandReader& reader) {
  at_work_ = nullptr;
  const Sexpr* const command = reader.next();
  if (command == nullptr) return false;
  at_work_ = command;
  execute(*command);
  return true;
}

// Keeps in mind what a command that failed at a place would have changed.
void Interpreter::note_failure(const CommandReader& reader, Position at) {
  const LostCommand lost = at_work_ != nullptr ? lost_by(*at_work_, symbols_, numbers_)
                                               : lost_by(reader.refused_name(), at);
  lost_.add(lost, session_->levels(), settings_.global_declarations);
}

OnError Interpreter::on_error() const {
  if (settings_.on_error != OnError::AUTO) return settings_.on_error;
  return origin_ == Input::Origin::FILE ? OnError::STOP : OnError::CONTINUE;
}

void Interpreter::execute(const Sexpr& source) {
  std::vector<Node> operands = source.children(Sexpr::ROOT);
  if (operands.empty() || !source.is_symbol(operands[0]))
    throw Error(source.position(Sexpr::ROOT), "expected a command");
  const Command command{
      source, source.text(operands[0]), {operands.begin() + 1, operands.end()}};
  if (handler_of(command.name) == nullptr)
    throw Error(source.position(operands[0]),
                "unknown command " + source.shortened(operands[0]));
  assert(running_ == nullptr);
  start_limits();
  try {
    carry_out(command);
  } catch (...) {
    running_ = nullptr;
    throw;
  }
  running_ = nullptr;
}

// What the host reports becomes an error at the place of the command.
void Interpreter::carry_out(const Command& command) {
  // What the parser takes at once for a list with as many elements.
  constexpr std::size_t BYTES_A_NODE = 32;
  constexpr std::size_t LONG = 1U << 16U;
  try {
    if (command.source.size() > LONG)
      session_->limits().expect_bytes(command.source.size() * BYTES_A_NODE);
    (this->*handler_of(command.name))(command);
  } catch (const host::LimitReached& limit) {
    outcome_.limit_reached |= std::string_view(limit.what()) == "timeout";
    fail(command, limit.what());
  } catch (const host::Unsupported& error) {
    fail(command, shortened(error.what()));
  } catch (const host::NotLinear& error) {
    fail(command, shortened(error.what()));
  } catch (const host::SessionError& error) {
    fail(command, error.what());
  } catch (const host::OutsideSolverError& error) {
    fail(command, error.what());
  } catch (const DrawingError& error) {
    fail(command, error.what());
  } catch (const SettingError& error) {
    fail(command, error.what());
  } catch (const Error&) {
    throw;
  } catch (const OutputError&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    fail(command, std::string("internal error: ") + error.what());
  }
}

void Interpreter::start_limits() {
  host::Limits& limits = session_->limits();
  limits.clear_interrupt();
  limits.set_memory(settings_.memory << 20U);
  if (settings_.timeout > 0) {
    const auto duration = std::chrono::duration<double>(settings_.timeout);
    limits.set_deadline(
        host::Limits::Clock::now() +
        std::chrono::duration_cast<host::Limits::Clock::duration>(duration));
  } else {
    limits.set_deadline(std::nullopt);
  }
  assert(settings_.timeout >= 0);
  running_ = &limits;
}

bool Interpreter::end() noexcept {
  ending_ = true;
  return interrupt();
}

bool Interpreter::interrupt() noexcept {
  host::Limits* const limits = running_.load();
  if (limits == nullptr) return false;
  limits->interrupt();
  return true;
}

std::vector<std::pair<std::string, double>> Interpreter::statistics() const {
  return session_->statistics();
}

void Interpreter::answer(const std::string& text) {
  answers_ << text << '\n';
  answers_.flush();
  if (!answers_) throw OutputError("cannot write to the standard output");
}

void Interpreter::succeed() {
  if (settings_.print_success) answer("success");
}

void Interpreter::fail(const Command& command, const std::string& what) const {
  fail_at(command, Sexpr::ROOT, what);
}

void Interpreter::fail_at(const Command& command, Node n, const std::string& what) const {
  smtlib::fail_at(command.source, n, what);
}

std::string Interpreter::shortened(std::string message) {
  constexpr std::size_t LONGEST = 120;
  if (message.size() > LONGEST) message.replace(LONGEST, std::string::npos, "...");
  return message;
}

void Interpreter::expect_operands(const Command& command, std::size_t least,
                                  std::size_t most) const {
  assert(least <= most);
  const std::size_t count = command.operands.size();
  assert(count + 1 == command.source.children(Sexpr::ROOT).size());
  if (least <= count && count <= most) return;
  std::string expected = std::to_string(least);
  if (most != least) expected += " to " + std::to_string(most);
  fail(command, std::string(command.name) + " takes " + expected + " operand(s), not " +
                    std::to_string(count));
}

std::optional<Session::Verdict> Interpreter::last_verdict() const {
  const auto verdict = session_->last_verdict();
  assert(lost_.is_normal());
  const bool withheld =
      lost_.forbid_unsat() || (verdict == Session::Verdict::SAT && lost_.forbid_sat());
  return withheld ? Session::Verdict::UNKNOWN : verdict;
}

const char* Interpreter::text_of(Session::Verdict verdict) {
  switch (verdict) {
    case Session::Verdict::SAT: return "sat";
    case Session::Verdict::UNSAT: return "unsat";
    case Session::Verdict::UNKNOWN: break;
  }
  return "unknown";
}

void Interpreter::expect_verdict(const Command& command, Session::Verdict verdict) const {
  if (last_verdict() == verdict) return;
  std::string why =
      std::string(command.name) + " needs a check-sat that answered " + text_of(verdict);
  const bool withheld = lost_.forbid_unsat() || session_->last_verdict() == verdict;
  why += withheld ? ", which it cannot: " + lost_.summary()
                  : ", with no change of the assertions since";
  fail(command, why);
}

std::size_t Interpreter::count_operand(const Command& command,
                                       std::size_t otherwise) const {
  expect_operands(command, 0, 1);
  if (command.operands.empty()) return otherwise;
  const Node n = command.operands[0];
  const std::string_view text = command.source.text(n);
  if (command.source.kind(n) != Token::NUMERAL || text.size() > 6)
    fail_at(command, n,
            "expected a number of levels below 10^6, found " + command.source.shortened(n));
  return std::stoul(std::string(text));
}

void Interpreter::report(const Command& command, const std::string& what, double seconds) {
  if (!settings_.progress) return;
  char time[32];
  std::snprintf(time, sizeof time, "%.2f", seconds);
  diagnostics_ << "opal: line " << command.source.position(Sexpr::ROOT).line << ": "
               << command.name << ": " << what << " in " << time << " s\n";
  diagnostics_.flush();
}

}  // namespace opal::smtlib
