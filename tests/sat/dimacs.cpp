// Runs the search on a file in DIMACS format.
//
//   dimacs [--record] [--check] [--reduce SECONDS] [--seconds N] FILE
//
// Prints the answer and the model as SAT solvers do ("s ...", "v ..."), and what it cost on
// lines that begin with "c". --record keeps a proof; --check also has the proof checked, as
// it is and, with --reduce, reduced. Exits with 10 for satisfiable, 20 for unsatisfiable, 0
// for unknown, 1 for an error.

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "opal/checker/resolution_checker.h"
#include "opal/proofs/resolution/reduction.h"
#include "opal/sat/search.h"

namespace {

using namespace opal;
using Clock = std::chrono::steady_clock;
using resolution::ClauseProof;
using sat::Literal;
using sat::Sign;

struct Options {
  bool record = false;
  bool check = false;
  double reduction = 0;
  long seconds = 0;
  std::string file;
};

struct Formula {
  std::vector<std::vector<Literal>> clauses;  // sorted, each literal once
  sat::Variable variables = 0;
};

double since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

[[noreturn]] void fail(const std::string& what) {
  std::cerr << "dimacs: " << what << "\n";
  std::exit(1);
}

Formula read(const std::string& name) {
  std::ifstream file(name);
  if (!file) fail("cannot read " + name);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  Formula formula;
  std::vector<Literal> clause;
  for (const char* at = text.c_str(); *at != '\0';) {
    if (*at == 'c' || *at == 'p') {
      while (*at != '\0' && *at != '\n')
        at++;
    } else if (*at <= ' ') {
      at++;
    } else {
      char* end = nullptr;
      const long number = std::strtol(at, &end, 10);
      if (end == at) fail(std::string("expected a number, found: ") + *at);
      at = end;
      if (number == 0) {
        std::sort(clause.begin(), clause.end());
        clause.erase(std::unique(clause.begin(), clause.end()), clause.end());
        formula.clauses.push_back(clause);
        clause.clear();
      } else {
        const auto variable = static_cast<sat::Variable>(std::labs(number)) - 1;
        formula.variables = std::max(formula.variables, variable + 1);
        clause.emplace_back(variable, number > 0 ? Sign::POSITIVE : Sign::NEGATIVE);
      }
    }
  }
  return formula;
}

void check(const char* name, const ClauseProof& proof, const Formula& formula) {
  const Clock::time_point start = Clock::now();
  checker::LeafJudges judges;
  judges.is_input = [&](sat::LiteralSpan literals, sat::Tag tag) {
    const auto& clause = formula.clauses.at(tag);
    return std::equal(literals.begin(), literals.end(), clause.begin(), clause.end());
  };
  const auto fault = checker::fault_of_resolution_proof(proof, {}, judges);
  if (fault) fail(std::string(name) + ": " + *fault);
  std::cout << "c " << name << ": " << proof.size() << " nodes, " << proof.step_count()
            << " steps, checked in " << since(start) << " s\n";
}

void print_model(const sat::Search& search, const Formula& formula) {
  std::cout << "v";
  for (sat::Variable variable = 0; variable < formula.variables; variable++)
    std::cout << ' ' << (search.value(variable) == sat::Value::TRUE ? "" : "-")
              << variable + 1;
  std::cout << " 0\n";
}

void print_cost(const sat::Search& search, double seconds) {
  const sat::Statistics& s = search.statistics();
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::cout << "c seconds " << seconds << "\nc kilobytes " << usage.ru_maxrss
            << "\nc conflicts " << s.conflicts << "\nc decisions " << s.decisions
            << "\nc propagations " << s.propagations << "\nc restarts " << s.restarts
            << "\nc reductions " << s.reductions << "\nc learned " << s.learned_literals
            << " literals, " << s.minimised_literals << " left out\nc proof "
            << search.proof_bytes() << " bytes\n";
}

int run(const Options& options) {
  const Formula formula = read(options.file);
  host::Limits limits;
  const Clock::time_point start = Clock::now();
  if (options.seconds > 0)
    limits.set_deadline(start + std::chrono::seconds(options.seconds));
  sat::Search search(options.record ? sat::Recording::ON : sat::Recording::OFF, &limits);
  for (sat::Variable i = 0; i < formula.variables; i++)
    search.make_variable();
  for (std::size_t i = 0; i < formula.clauses.size(); i++)
    search.add_clause(formula.clauses[i], static_cast<sat::Tag>(i));
  const sat::Answer answer = search.solve();
  print_cost(search, since(start));
  if (answer == sat::Answer::UNKNOWN) {
    std::cout << "s UNKNOWN\nc " << search.reason_unknown() << "\n";
    return 0;
  }
  if (answer == sat::Answer::SATISFIABLE) {
    std::cout << "s SATISFIABLE\n";
    print_model(search, formula);
    return 10;
  }
  if (options.check) {
    const ClauseProof proof = search.proof();
    check("proof", proof, formula);
    if (options.reduction > 0) {
      const Clock::time_point begin = Clock::now();
      const ClauseProof small = resolution::reduced(proof, options.reduction, nullptr);
      std::cout << "c reduced in " << since(begin) << " s\n";
      check("reduced", small, formula);
    }
  }
  std::cout << "s UNSATISFIABLE\n";
  return 20;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; i++) {
    const std::string argument = argv[i];
    if (argument == "--record")
      options.record = true;
    else if (argument == "--check")
      options.record = options.check = true;
    else if (argument == "--reduce" && i + 1 < argc)
      options.reduction = std::strtod(argv[++i], nullptr);
    else if (argument == "--seconds" && i + 1 < argc)
      options.seconds = std::strtol(argv[++i], nullptr, 10);
    else
      options.file = argument;
  }
  if (options.file.empty())
    fail("usage: dimacs [--record] [--check] [--reduce SECONDS] [--seconds N] FILE");
  return run(options);
}
