#include "opal/smtlib/settings.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

#include "opal/terms/print/printer.h"

namespace opal::smtlib {

using host::Cuts;
using host::Mode;
using host::Unmentioned;
using Method = la::Solver::Method;

namespace {

double amount_of(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(value) || value < 0 || value > 1e9)
    throw SettingError("expected a number from 0 to 10^9, found " + text);
  return value;
}

Mode mode_named(const std::string& text) {
  if (const auto mode = host::mode_of(text)) return *mode;
  throw SettingError("expected sum, conj, dual or auto, found " + text);
}

Cuts cuts_named(const std::string& text) {
  if (const auto cuts = host::cuts_of(text)) return *cuts;
  throw SettingError("expected modular, floor or auto, found " + text);
}

Unmentioned unmentioned_named(const std::string& text) {
  if (text == "background") return Unmentioned::BACKGROUND;
  if (text == "B") return Unmentioned::LAST_GROUP;
  if (text == "error") return Unmentioned::ERROR;
  throw SettingError("expected background, B or error, found " + text);
}

Method method_named(const std::string& text) {
  if (text == "auto") return Method::AUTO;
  if (text == "simplex") return Method::SIMPLEX;
  if (text == "exact") return Method::EXACT;
  throw SettingError("expected auto, simplex or exact, found " + text);
}

ProofFormat proof_format_named(const std::string& text) {
  if (text == "sexp") return ProofFormat::SEXP;
  if (text == "json") return ProofFormat::JSON;
  if (text == "dot") return ProofFormat::DOT;
  throw SettingError("expected sexp, json or dot, found " + text);
}

std::string text_of(ProofFormat format) {
  switch (format) {
    case ProofFormat::SEXP: return "sexp";
    case ProofFormat::JSON: return "json";
    case ProofFormat::DOT: return "dot";
  }
  return "";
}

std::string text_of(Method method) {
  switch (method) {
    case Method::AUTO: return "auto";
    case Method::SIMPLEX: return "simplex";
    case Method::EXACT: break;
  }
  return "exact";
}

std::string text_of(Unmentioned unmentioned) {
  switch (unmentioned) {
    case Unmentioned::BACKGROUND: return "background";
    case Unmentioned::LAST_GROUP: return "B";
    case Unmentioned::ERROR: break;
  }
  return "error";
}

std::string text_of(bool value) { return value ? "true" : "false"; }

std::string text_of(double value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

}  // namespace

bool boolean_of(const std::string& text) {
  if (text == "true") return true;
  if (text == "false") return false;
  throw SettingError("expected true or false, found " + text);
}

bool Settings::set(std::string_view option, const std::string& value) {
  if (option == "opal-mode")
    mode = mode_named(value);
  else if (option == "opal-cuts")
    cuts = cuts_named(value);
  else if (option == "opal-raw")
    raw = boolean_of(value);
  else if (option == "opal-verify")
    verify = boolean_of(value);
  else if (option == "opal-verify-with")
    verify_with = value;
  else if (option == "opal-timeout")
    timeout = amount_of(value);
  else if (option == "opal-memory")
    memory = static_cast<std::size_t>(amount_of(value));
  else if (option == "opal-unmentioned")
    unmentioned = unmentioned_named(value);
  else if (option == "opal-method")
    method = method_named(value);
  else if (option == "opal-dot")
    dot = value;
  else if (option == "opal-svg")
    svg = value;
  else if (option == "opal-explain")
    explain = boolean_of(value);
  else if (option == "opal-dump-proof")
    dump_proof = boolean_of(value);
  else if (option == "opal-check-files")
    check_files = value;
  else if (option == "opal-proof-format")
    proof_format = proof_format_named(value);
  else if (option == "opal-progress")
    progress = boolean_of(value);
  else if (option == "print-success")
    print_success = boolean_of(value);
  else if (option == "global-declarations")
    global_declarations = boolean_of(value);
  else
    return false;
  return true;
}

std::string Settings::get(std::string_view option) const {
  if (option == "opal-mode") return host::to_string(mode);
  if (option == "opal-cuts") return host::to_string(cuts);
  if (option == "opal-raw") return text_of(raw);
  if (option == "opal-verify") return text_of(verify);
  if (option == "opal-verify-with") return host::string_literal(verify_with);
  if (option == "opal-timeout") return text_of(timeout);
  if (option == "opal-memory") return std::to_string(memory);
  if (option == "opal-unmentioned") return text_of(unmentioned);
  if (option == "opal-method") return text_of(method);
  if (option == "opal-dot") return host::string_literal(dot);
  if (option == "opal-svg") return host::string_literal(svg);
  if (option == "opal-explain") return text_of(explain);
  if (option == "opal-dump-proof") return text_of(dump_proof);
  if (option == "opal-check-files") return host::string_literal(check_files);
  if (option == "opal-proof-format") return text_of(proof_format);
  if (option == "opal-progress") return text_of(progress);
  if (option == "print-success") return text_of(print_success);
  if (option == "global-declarations") return text_of(global_declarations);
  return "";
}

}  // namespace opal::smtlib
