#ifndef OPAL_SMTLIB_INTERPRETER_H
#define OPAL_SMTLIB_INTERPRETER_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "opal/session/session.h"
#include "opal/smtlib/drawings.h"
#include "opal/smtlib/lost_commands.h"
#include "opal/smtlib/settings.h"
#include "opal/smtlib/sexpr.h"
#include "opal/smtlib/symbol_table.h"
#include "opal/smtlib/term_parser.h"

namespace opal::smtlib {

/// Answers could not be written.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Carries out the commands of SMT-LIB 2.6, with get-interpolants. Each command has one
/// answer on the output, which is flushed; a command at fault is answered by
/// (error "input:line:column: what") and changes nothing. Then the input ends, or the next
/// command follows (see OnError); what the failed one would have changed is remembered, so
/// that no answer is given which it could have made another (see LostCommands).
///
/// The operations are grouped under the source that defines them.
class Interpreter {
 public:
  struct Outcome {
    std::size_t errors = 0;
    bool limit_reached = false;
  };

  /// Keeps references to the streams, of which diagnostics go to the second, and to the
  /// files that drawings go to. Check files are numbered from `first_check_file` on.
  Interpreter(Settings settings, std::ostream& answers, std::ostream& diagnostics,
              Drawings& drawings, std::int32_t first_check_file = 1);
  ~Interpreter();

  // --- interpreter.cpp
  /// Carries out all commands up to (exit), the end, or an error that ends the input.
  /// Throws InputError, OutputError.
  Outcome run(Input& input);
  /// Asks the command that is being carried out, if any, to give up; false when there is
  /// none. For signal handlers.
  bool interrupt() noexcept;
  /// As interrupt(), and carries out no further command.
  bool end() noexcept;
  /// Work done by the session at hand, as name and value.
  [[nodiscard]] std::vector<std::pair<std::string, double>> statistics() const;
  /// The number that the next check files would have.
  [[nodiscard]] std::int32_t next_check_file() const { return next_check_file_; }

 private:
  using Node = Sexpr::Node;
  // A command with its operands; `source` outlives it.
  struct Command {
    const Sexpr& source;
    std::string_view name;
    std::vector<Node> operands;
  };
  using Handler = void (Interpreter::*)(const Command&);

  // --- interpreter.cpp
  static Handler handler_of(std::string_view name);
  // Carries out the next command; false at the end of the input.
  bool step(CommandReader& reader);
  void note_failure(const CommandReader& reader, Position at);
  [[nodiscard]] OnError on_error() const;  // not AUTO
  void execute(const Sexpr& source);
  void carry_out(const Command& command);
  void start_session();
  void start_limits();
  void answer(const std::string& text);
  void succeed();  // answers "success" where it is wanted
  [[noreturn]] void fail(const Command& command, const std::string& what) const;
  [[noreturn]] void fail_at(const Command& command, Node n, const std::string& what) const;
  static std::string shortened(std::string message);
  void expect_operands(const Command& command, std::size_t least, std::size_t most) const;
  static const char* text_of(host::Session::Verdict verdict);
  void expect_verdict(const Command& command, host::Session::Verdict verdict) const;
  // What check-sat may say of the assertions: UNKNOWN where a lost command could make the
  // session's verdict another.
  [[nodiscard]] std::optional<host::Session::Verdict> last_verdict() const;
  std::size_t count_operand(const Command& command, std::size_t otherwise) const;
  void report(const Command& command, const std::string& what, double seconds);

  // --- declaration_commands.cpp
  void declare_fun(const Command& command);
  void declare_const(const Command& command);
  void define_fun(const Command& command);
  void define_const(const Command& command);
  void declare(const Command& command, Node name, Node sort);
  void define(const Command& command, Node sort, Node body,
              const std::vector<Node>& parameters);

  // --- assertion_commands.cpp
  void assert_term(const Command& command);
  void push(const Command& command);
  void pop(const Command& command);
  void reset(const Command& command);
  void reset_assertions(const Command& command);
  void get_assertions(const Command& command);

  // --- check_commands.cpp
  void check_sat(const Command& command);
  void check_sat_assuming(const Command& command);
  void look_at_proof(const Command& command);
  void check(const Command& command, const std::vector<const Term_*>& assumptions);
  void get_model(const Command& command);
  void get_value(const Command& command);
  void get_assignment(const Command& command);
  void get_unsat_core(const Command& command);
  void get_unsat_assumptions(const Command& command);

  // --- interpolation_commands.cpp
  void get_interpolants(const Command& command);
  host::InterpolationQuery query_of(const Command& command) const;
  void expect_assertion(const Command& command, Node group, const std::string& name) const;
  void mention_background(const Command& command, const host::InterpolationQuery& query);
  void report_steps(const Command& command, const host::VerificationReport& checked);
  void report_details(const Command& command, const host::InterpolationQuery& query,
                      const host::Interpolants& interpolants);

  // --- drawing_commands.cpp; these do nothing unless drawings are wanted
  void draw(const std::string& dot, const std::string& what);
  void draw_proof(const Command& command);
  void draw_interpolants(const Command& command, const host::InterpolationQuery& query,
                         const host::Interpolants& answer);

  // --- proof_command.cpp
  void get_proof(const Command& command);

  // --- shared_term_command.cpp
  void get_shared_term(const Command& command);
  std::vector<std::string> group_of(const Command& command, Node n) const;
  host::SharedTermQuery shared_term_query(const Command& command);

  // --- option_commands.cpp
  void set_logic(const Command& command);
  void set_option(const Command& command);
  void get_option(const Command& command);
  void set_info(const Command& command);
  void get_info(const Command& command);
  [[nodiscard]] std::string reason_unknown() const;  // after UNKNOWN
  void echo(const Command& command);
  void exit(const Command& command);
  void unsupported_command(const Command& command);

  const Settings initial_settings_;
  Settings settings_;
  std::ostream& answers_;
  std::ostream& diagnostics_;
  Drawings& drawings_;
  std::unique_ptr<host::Session> session_;
  std::atomic<host::Limits*> running_{nullptr};  // limits of the command at hand
  SymbolTable symbols_;
  LostCommands lost_;
  const Sexpr* at_work_ = nullptr;  // the command that is carried out, or has failed
  Input::Origin origin_ = Input::Origin::TEXT;                     // of the input at hand
  std::vector<std::pair<const Term_*, std::string>> assumptions_;  // as written
  std::string logic_;
  Numbers numbers_ = Numbers::BOTH;              // of the logic
  std::map<std::string, std::string> accepted_;  // options that change nothing, as written
  Outcome outcome_;
  bool exited_ = false;
  std::atomic<bool> ending_{false};
  bool background_mentioned_ = false;
  std::int32_t next_check_file_;
};

}  // namespace opal::smtlib

#endif
