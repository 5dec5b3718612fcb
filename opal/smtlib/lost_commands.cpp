// What a failed command leaves out of the assertions.
//
// A command that fails changes nothing, and the next one is carried out. The assertions
// are then not those of the script, and an answer about them may be wrong for the script:
//
//     failed                     lost         because
//     assert                     CONSTRAINT   more assertions keep a contradiction
//     assert, name in use        MEANING      later commands say that name
//     declaration, name free     NONE         what uses the name fails, and is lost itself
//     declaration, name in use   MEANING      what uses the name is about another symbol
//     push, pop, reset ...       LEVELS       each later pop takes back something else
//     a name that is no command  LEVELS       it may stand for any of these
//     a query, an option ...     NONE         the assertions are as they should be
//
// A declaration that failed leaves its name as it was. While nothing else has it, every
// assertion that says it is refused; that is why the declaration need not count.

#include "opal/smtlib/lost_commands.h"

#include <algorithm>
#include <cassert>

#include "opal/smtlib/operators.h"

namespace opal::smtlib {

using Node = Sexpr::Node;

namespace {

// How a failure of a command is judged.
enum class Judged : std::uint8_t {
  AS_ASSERTION,
  AS_DECLARATION,   // of the first operand
  AS_DECLARATIONS,  // of symbols anywhere in the command
  AS_LEVELS,
  AS_QUERY
};

struct Row {
  std::string_view name;
  Judged judged;
};

constexpr Row ROWS[] = {
    {"assert", Judged::AS_ASSERTION},
    {"declare-const", Judged::AS_DECLARATION},
    {"declare-datatype", Judged::AS_DECLARATIONS},
    {"declare-datatypes", Judged::AS_DECLARATIONS},
    {"declare-fun", Judged::AS_DECLARATION},
    {"declare-sort", Judged::AS_DECLARATION},
    {"define-const", Judged::AS_DECLARATION},
    {"define-fun", Judged::AS_DECLARATION},
    {"define-fun-rec", Judged::AS_DECLARATION},
    {"define-funs-rec", Judged::AS_DECLARATIONS},
    {"define-sort", Judged::AS_DECLARATION},
    {"echo", Judged::AS_QUERY},
    {"exit", Judged::AS_QUERY},
    {"set-info", Judged::AS_QUERY},
    // A logic that is not known leaves the logic of all numbers, in which what can be read
    // means the same.
    {"set-logic", Judged::AS_QUERY},
    {"set-option", Judged::AS_QUERY},
};

bool begins_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

Judged judged(std::string_view name) {
  const auto* const row = std::find_if(std::begin(ROWS), std::end(ROWS),
                                       [&](const Row& r) { return r.name == name; });
  if (row != std::end(ROWS)) return row->judged;
  // What asks is named so by custom, also where it is not known here.
  const bool asks = begins_with(name, "get-") || begins_with(name, "check-");
  return asks ? Judged::AS_QUERY : Judged::AS_LEVELS;
}

bool means_something(std::string_view name, const SymbolTable& symbols, Numbers numbers) {
  return name == "true" || name == "false" || symbols.find(name) != nullptr ||
         operator_of(name, numbers).has_value();
}

bool is_sort(std::string_view name) {
  return name == "Bool" || name == "Int" || name == "Real";
}

std::string failure_of(std::string_view name, Position at) {
  const std::string line = " of line " + std::to_string(at.line);
  if (name.empty())
    return "what begins in line " + std::to_string(at.line) + " is no command";
  constexpr std::size_t LONGEST = 40;
  return "the " + std::string(name.substr(0, LONGEST)) + line + " failed";
}

// The symbols that :named introduces anywhere in a command.
std::vector<std::string> names_given(const Sexpr& command) {
  std::vector<std::string> names;
  for (Node n = Sexpr::ROOT; n + 1 < command.size(); ++n)
    if (command.kind(n) == Token::KEYWORD && command.text(n) == ":named" &&
        command.is_symbol(n + 1))
      names.emplace_back(command.text(n + 1));
  return names;
}

// Whether a symbol that the command would have introduced is in use. Where it introduces
// several, any of its symbols counts, sorts apart.
bool takes_a_name_in_use(const Sexpr& command, Judged how, const SymbolTable& symbols,
                         Numbers numbers) {
  if (how == Judged::AS_DECLARATION) {
    const Node name = Sexpr::ROOT + 2;
    return name < command.size() && command.is_symbol(name) &&
           (is_sort(command.text(name)) ||
            means_something(command.text(name), symbols, numbers));
  }
  assert(how == Judged::AS_DECLARATIONS);
  for (Node n = Sexpr::ROOT + 2; n < command.size(); ++n)
    if (command.is_symbol(n) && means_something(command.text(n), symbols, numbers))
      return true;
  return false;
}

}  // namespace

LostCommand lost_by(std::string_view name, Position at) {
  LostCommand lost;
  lost.what = failure_of(name, at);
  switch (judged(name)) {
    case Judged::AS_ASSERTION: lost.loss = Loss::MEANING; break;  // its names are unknown
    case Judged::AS_DECLARATION:
    case Judged::AS_DECLARATIONS:
      lost.loss = Loss::MEANING;
      lost.declares = true;
      break;
    case Judged::AS_LEVELS: lost.loss = Loss::LEVELS; break;
    case Judged::AS_QUERY: break;
  }
  assert(!name.empty() || lost.loss == Loss::LEVELS);
  return lost;
}

LostCommand lost_by(const Sexpr& command, const SymbolTable& symbols, Numbers numbers) {
  const Node head = Sexpr::ROOT + 1;
  const Position at = command.position(Sexpr::ROOT);
  if (command.size() <= head || !command.is_symbol(head)) return lost_by("", at);
  LostCommand lost = lost_by(command.text(head), at);
  const Judged how = judged(command.text(head));
  if (how == Judged::AS_ASSERTION) {
    lost.names = names_given(command);
    const bool doubtful = std::any_of(
        lost.names.begin(), lost.names.end(),
        [&](const std::string& name) { return means_something(name, symbols, numbers); });
    if (!doubtful) lost.loss = Loss::CONSTRAINT;
  } else if (lost.declares && !takes_a_name_in_use(command, how, symbols, numbers)) {
    lost.loss = Loss::NONE;
  }
  return lost;
}

void LostCommands::add(const LostCommand& lost, std::size_t level,
                       bool global_declarations) {
  if (lost.loss == Loss::NONE) return;
  Place place = place_of_level(lost.loss == Loss::LEVELS ? 0 : level);
  if (lost.declares && global_declarations) place = GLOBAL;
  Scope& scope = scopes_[place];
  if (scope.count++ == 0) scope.first = lost.what;
  scope.worst = std::max(scope.worst, lost.loss);
  for (const std::string& name : lost.names)
    scope.names.emplace(name, lost.what);
  assert(is_normal());
}

void LostCommands::pop_to(std::size_t level) {
  scopes_.erase(scopes_.upper_bound(place_of_level(level)), scopes_.end());
  assert(is_normal());
}

bool LostCommands::forbid_unsat() const {
  return std::any_of(scopes_.begin(), scopes_.end(), [](const auto& entry) {
    return entry.second.worst > Loss::CONSTRAINT;
  });
}

std::string LostCommands::summary() const {
  assert(forbid_sat());
  std::size_t count = 0;
  for (const auto& [place, scope] : scopes_)
    count += scope.count;
  std::string result = scopes_.begin()->second.first;
  if (count > 1) result += ", and " + std::to_string(count - 1) + " more";
  return result;
}

const std::string* LostCommands::find(const std::string& name) const {
  for (const auto& [place, scope] : scopes_) {
    const auto found = scope.names.find(name);
    if (found != scope.names.end()) return &found->second;
  }
  return nullptr;
}

bool LostCommands::is_normal() const {
  return std::all_of(scopes_.begin(), scopes_.end(), [](const auto& entry) {
    const Scope& scope = entry.second;
    return scope.count > 0 && scope.worst != Loss::NONE && !scope.first.empty();
  });
}

}  // namespace opal::smtlib
