// The command line tool: reads options, runs the interpreter over each input.

#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <nlohmann/json.hpp>

#include "opal/smtlib/interpreter.h"
#include "opal/terms/print/printer.h"
#include "opal/version.h"

namespace {

using opal::smtlib::Drawings;
using opal::smtlib::Input;
using opal::smtlib::Interpreter;
using opal::smtlib::Settings;

constexpr int SUCCESS = 0;
constexpr int ERROR_ANSWERED = 1;
constexpr int BAD_USAGE = 2;
constexpr int TIME_LIMIT = 124;
constexpr int INTERRUPTED = 130;
constexpr int TERMINATED = 143;

constexpr const char* EXAMPLES = R"(
Examples:
  opal problem.smt2                        carry out the commands of a file
  opal --verify examples/*.smt2            check every interpolant with z3
  opal --mode conj --raw problem.smt2      conjunctions, as the engine builds them
  producer | opal --timeout 10 -           answer another program, command by command

Exit status: 0 when every command was carried out, 1 when one answered an error, 2 for bad
usage, 124 when the time limit was reached.)";

std::atomic<Interpreter*> interpreter_at_work{nullptr};

volatile std::sig_atomic_t terminated = 0;

// While no command is carried out, nothing is half done.
extern "C" void give_up(int signal) {
  Interpreter* const interpreter = interpreter_at_work.load();
  const bool ending = signal == SIGTERM;
  if (ending) terminated = 1;
  if (interpreter == nullptr || !(ending ? interpreter->end() : interpreter->interrupt())) {
    _exit(ending ? TERMINATED : INTERRUPTED);
  }
}

struct Options {
  Settings settings;
  std::vector<std::string> files;
  std::string statistics;  // "", "text" or "json"
  std::string progress;    // "", "terminal" or "always"
  std::int32_t next_check_file = 1;
};

// An option that sets the setting of a name.
CLI::Option* add_setting(CLI::App& app, Options& options, const std::string& flag,
                         const std::string& setting, const std::string& help) {
  const auto take = [&options, setting](const std::string& value) {
    try {
      options.settings.set(setting, value);
    } catch (const opal::smtlib::SettingError& error) {
      throw CLI::ValidationError(error.what());
    }
  };
  return app.add_option_function<std::string>(flag, take, help);
}

void add_switch(CLI::App& app, Options& options, const std::string& flag,
                const std::string& setting, const std::string& help) {
  app.add_flag_callback(
      flag, [&options, setting] { options.settings.set(setting, "true"); }, help);
}

void describe(CLI::App& app, Options& options) {
  app.footer(EXAMPLES);
  app.set_version_flag("--version", std::string("opal ") + opal::VERSION);
  app.add_option("file", options.files,
                 "SMT-LIB 2.6 files, each a session of its own; - is standard input")
      ->type_name("FILE");
  add_setting(app, options, "--mode", "opal-mode",
              "how interpolants are built: sum, conj, dual, or auto (the smallest)")
      ->type_name("MODE")
      ->default_str("auto");
  add_setting(app, options, "--cuts", "opal-cuts",
              "how integer cuts are expressed: modular (by congruences), floor (by integer "
              "division), or auto (the smaller)")
      ->type_name("STYLE")
      ->default_str("auto");
  add_setting(app, options, "--strength", "opal-strength",
              "of interpolants of formulas: strong, middle, weak, or auto (the smallest)")
      ->type_name("SYSTEM")
      ->default_str("auto");
  add_switch(app, options, "--raw", "opal-raw", "print interpolants as they are built");
  add_switch(app, options, "--verify", "opal-verify",
             "check the proof, the symbols, and each interpolant with an outside solver");
  add_setting(
      app, options, "--verify-with", "opal-verify-with",
      "the outside solver, reading a script on its standard input; after a semicolon "
      "one for what it leaves undecided")
      ->type_name("COMMAND")
      ->default_str(opal::host::OUTSIDE_SOLVERS);
  add_setting(app, options, "--timeout", "opal-timeout", "seconds that a command may take")
      ->type_name("S");
  add_setting(app, options, "--memory", "opal-memory",
              "megabytes of memory that a command may bring the process to")
      ->type_name("MB");
  add_setting(app, options, "--unmentioned", "opal-unmentioned",
              "assertions that get-interpolants does not mention: background, B, or error")
      ->type_name("WHAT")
      ->default_str("background");
  add_setting(app, options, "--dot", "opal-dot",
              "draw the proof of each get-interpolants, coloured, with partial "
              "interpolants, and of each get-proof: to FILE and FILE-2, ... for Graphviz")
      ->type_name("FILE");
  add_setting(app, options, "--svg", "opal-svg",
              "the same as pictures, drawn by Graphviz, which must be installed")
      ->type_name("FILE");
  add_setting(
      app, options, "--proof-format", "opal-proof-format",
      "how get-proof prints a proof: sexp (an S-expression), json or dot (Graphviz)")
      ->type_name("FORMAT")
      ->default_str("sexp");
  add_setting(app, options, "--method", "opal-method", "the solver: auto or simplex")
      ->group("");
  add_switch(app, options, "--explain", "opal-explain",
             "say on standard error what each interpolant is made of");
  add_switch(app, options, "--dump-proof", "opal-dump-proof",
             "print each proof on standard error");
  add_setting(app, options, "--check-files", "opal-check-files",
              "write each interpolant's conditions into a folder, as scripts for other "
              "solvers")
      ->type_name("DIR");
  add_setting(app, options, "--on-error", "opal-on-error",
              "after an error: stop ends the file, continue carries out the next command, "
              "auto stops in files and continues on standard input")
      ->type_name("WHAT")
      ->default_str("auto");
  app.add_flag("--stats{text}", options.statistics,
               "statistics on standard error, as text or as one line of JSON a file")
      ->check(CLI::IsMember({"text", "json"}));
  app.add_flag(
         "--progress{terminal}", options.progress,
         "report each check and query on standard error when it is a terminal, or always")
      ->check(CLI::IsMember({"terminal", "always"}));
}

void print_statistics(const Options& options, const std::string& file,
                      const Interpreter& interpreter, int status, double seconds) {
  auto statistics = interpreter.statistics();
  statistics.emplace_back("seconds", seconds);
  if (options.statistics == "json") {
    nlohmann::ordered_json line;
    line["file"] = file;
    line["exit"] = status;
    for (const auto& [name, value] : statistics) {
      const auto whole = static_cast<std::int64_t>(value);
      if (static_cast<double>(whole) < value)
        line[name] = value;
      else
        line[name] = whole;
    }
    std::cerr << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
              << '\n';
    return;
  }
  for (const auto& [name, value] : statistics)
    std::cerr << "opal: " << name << ' ' << value << '\n';
}

// The exit status for one input.
int run(Options& options, const std::string& file, Drawings& drawings) {
  const auto start = std::chrono::steady_clock::now();
  Interpreter interpreter(options.settings, std::cout, std::cerr, drawings,
                          options.next_check_file);
  interpreter_at_work = &interpreter;
  int status = SUCCESS;
  try {
    Input input = file == "-" ? Input::standard_input() : Input::file(file);
    const Interpreter::Outcome outcome = interpreter.run(input);
    if (outcome.errors > 0) status = ERROR_ANSWERED;
    if (outcome.limit_reached) status = TIME_LIMIT;
  } catch (const opal::smtlib::InputError& error) {
    std::cout << "(error " << opal::host::string_literal(error.what()) << ")" << std::endl;
    status = ERROR_ANSWERED;
  } catch (...) {
    interpreter_at_work = nullptr;
    throw;
  }
  interpreter_at_work = nullptr;
  options.next_check_file = interpreter.next_check_file();
  const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
  if (!options.statistics.empty())
    print_statistics(options, file, interpreter, status, spent.count());
  return status;
}

void catch_signals() {
  std::signal(SIGPIPE, SIG_IGN);
  struct sigaction action {};
  action.sa_handler = give_up;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

// The arguments in reverse order, as the parser wants them. `--stats json` becomes
// `--stats=json`, so that a file may follow a bare --stats.
std::vector<std::string> arguments_of(int argc, char** argv) {
  std::vector<std::string> result;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const bool joins = (argument == "json" || argument == "text") && !result.empty() &&
                       result.back() == "--stats";
    if (joins) {
      result.back() += "=" + argument;
    } else {
      result.push_back(argument);
    }
  }
  std::reverse(result.begin(), result.end());
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  CLI::App app("Opal: decides linear arithmetic and computes Craig interpolants", "opal");
  describe(app, options);
  try {
    app.parse(arguments_of(argc, argv));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? SUCCESS : BAD_USAGE;
  }
  if (options.progress == "always" ||
      (options.progress == "terminal" && isatty(STDERR_FILENO) != 0)) {
    options.settings.progress = true;
  }
  if (options.files.empty()) options.files.emplace_back("-");
  std::ios::sync_with_stdio(false);
  catch_signals();
  int status = SUCCESS;
  Drawings drawings;
  drawings.want(options.settings.dot);
  drawings.want(options.settings.svg);
  try {
    for (const std::string& file : options.files) {
      status = std::max(status, run(options, file, drawings));
      if (terminated != 0) return TERMINATED;
    }
    drawings.report_missing(std::cerr);
  } catch (const std::exception& error) {
    std::cerr << "opal: " << error.what() << '\n';
    return ERROR_ANSWERED;
  }
  return status;
}
