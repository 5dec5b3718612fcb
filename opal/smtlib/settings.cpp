// The options, one row each in a table: how a value is read, and how it is printed.
//
// The values of an enumeration have their names in one table each. The reader, the printer
// and the message that says what is expected are made from that; the test of the shells'
// completions holds them against that message.

#include "opal/smtlib/settings.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <sstream>

#include "opal/terms/print/printer.h"

namespace opal::smtlib {

using host::Cuts;
using host::Mode;
using host::Strength;
using host::Unmentioned;
using Method = la::Solver::Method;

namespace {

template <typename Value>
struct Named {
  const char* name;
  Value value;
};

// A value that says its name itself.
template <typename Value>
Named<Value> named(Value value) {
  return {host::to_string(value), value};
}

// The names of an enumeration, in the order in which messages list them.
template <typename Value>
struct Names;

template <>
struct Names<bool> {
  static constexpr std::array<Named<bool>, 2> all() {
    return {{{"true", true}, {"false", false}}};
  }
};

template <>
struct Names<Mode> {
  static std::array<Named<Mode>, 4> all() {
    return {named(Mode::SUM), named(Mode::CONJ), named(Mode::DUAL), named(Mode::AUTO)};
  }
};

template <>
struct Names<Cuts> {
  static std::array<Named<Cuts>, 3> all() {
    return {named(Cuts::MODULAR), named(Cuts::FLOOR), named(Cuts::AUTO)};
  }
};

template <>
struct Names<Strength> {
  static std::array<Named<Strength>, 4> all() {
    return {named(Strength::STRONG), named(Strength::MIDDLE), named(Strength::WEAK),
            named(Strength::AUTO)};
  }
};

template <>
struct Names<Unmentioned> {
  static constexpr std::array<Named<Unmentioned>, 3> all() {
    return {{{"background", Unmentioned::BACKGROUND},
             {"B", Unmentioned::LAST_GROUP},
             {"error", Unmentioned::ERROR}}};
  }
};

template <>
struct Names<Method> {
  static constexpr std::array<Named<Method>, 3> all() {
    return {
        {{"auto", Method::AUTO}, {"simplex", Method::SIMPLEX}, {"exact", Method::EXACT}}};
  }
};

template <>
struct Names<ProofFormat> {
  static constexpr std::array<Named<ProofFormat>, 3> all() {
    return {{{"sexp", ProofFormat::SEXP},
             {"json", ProofFormat::JSON},
             {"dot", ProofFormat::DOT}}};
  }
};

template <>
struct Names<OnError> {
  static constexpr std::array<Named<OnError>, 3> all() {
    return {{{"auto", OnError::AUTO},
             {"stop", OnError::STOP},
             {"continue", OnError::CONTINUE}}};
  }
};

[[noreturn]] void refuse(const std::string& expected, const std::string& found) {
  throw SettingError("expected " + expected + ", found " + found);
}

// --- what a value of a type looks like

template <typename Value>
void read(Value& value, const std::string& text) {
  const auto all = Names<Value>::all();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Named<Value>& n) { return n.name == text; });
  if (found == all.end()) {
    std::string expected;
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (i > 0) expected += i + 1 < all.size() ? ", " : " or ";
      expected += all[i].name;
    }
    refuse(expected, text);
  }
  value = found->value;
}

template <typename Value>
std::string text_of(const Value& value) {
  const auto all = Names<Value>::all();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Named<Value>& n) { return n.value == value; });
  assert(found != all.end());
  return found->name;
}

void read(double& value, const std::string& text) {
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(number) || number < 0 || number > 1e9)
    refuse("a number from 0 to 10^9", text);
  value = number;
}

std::string text_of(double value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

void read(std::size_t& value, const std::string& text) {
  double number = 0;
  read(number, text);
  assert(number >= 0);
  value = static_cast<std::size_t>(number);
}

std::string text_of(std::size_t value) { return std::to_string(value); }

void read(std::string& value, const std::string& text) { value = text; }

std::string text_of(const std::string& value) { return host::string_literal(value); }

// --- the options

struct Option {
  std::string_view name;
  void (*set)(Settings&, const std::string&);
  std::string (*get)(const Settings&);
};

template <auto MEMBER>
constexpr Option option(std::string_view name) {
  return {name,
          [](Settings& settings, const std::string& text) { read(settings.*MEMBER, text); },
          [](const Settings& settings) { return text_of(settings.*MEMBER); }};
}

constexpr Option OPTIONS[] = {
    option<&Settings::mode>("opal-mode"),
    option<&Settings::cuts>("opal-cuts"),
    option<&Settings::strength>("opal-strength"),
    option<&Settings::raw>("opal-raw"),
    option<&Settings::verify>("opal-verify"),
    option<&Settings::verify_with>("opal-verify-with"),
    option<&Settings::timeout>("opal-timeout"),
    option<&Settings::memory>("opal-memory"),
    option<&Settings::unmentioned>("opal-unmentioned"),
    option<&Settings::method>("opal-method"),
    option<&Settings::dot>("opal-dot"),
    option<&Settings::svg>("opal-svg"),
    option<&Settings::explain>("opal-explain"),
    option<&Settings::dump_proof>("opal-dump-proof"),
    option<&Settings::check_files>("opal-check-files"),
    option<&Settings::proof_format>("opal-proof-format"),
    option<&Settings::on_error>("opal-on-error"),
    option<&Settings::progress>("opal-progress"),
    option<&Settings::print_success>("print-success"),
    option<&Settings::global_declarations>("global-declarations"),
};

const Option* option_named(std::string_view name) {
  const auto* const found =
      std::find_if(std::begin(OPTIONS), std::end(OPTIONS),
                   [&](const Option& row) { return row.name == name; });
  return found == std::end(OPTIONS) ? nullptr : found;
}

}  // namespace

bool Settings::set(std::string_view option, const std::string& value) {
  const Option* const row = option_named(option);
  if (row == nullptr) return false;
  row->set(*this, value);
  return true;
}

std::string Settings::get(std::string_view option) const {
  const Option* const row = option_named(option);
  return row == nullptr ? "" : row->get(*this);
}

}  // namespace opal::smtlib
