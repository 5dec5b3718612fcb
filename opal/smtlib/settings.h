#ifndef OPAL_SMTLIB_SETTINGS_H
#define OPAL_SMTLIB_SETTINGS_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "opal/session/session.h"

namespace opal::smtlib {

/// A value that an option does not take; what() says what it takes.
class SettingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// How a proof is printed (see opal/proofs/proof_text.h and proof_drawing.h).
enum class ProofFormat : std::uint8_t { SEXP, JSON, DOT };

/// What follows a command that answered an error: the end of the input, or its next
/// command. AUTO stops in a file, and goes on where a person or a program waits for
/// answers, on standard input.
enum class OnError : std::uint8_t { AUTO, STOP, CONTINUE };

/// What a user can choose, on the command line or by (set-option :opal-... value).
struct Settings {
  host::Mode mode = host::Mode::AUTO;
  host::Cuts cuts = host::Cuts::AUTO;
  host::Strength strength = host::Strength::AUTO;
  bool raw = false;     // interpolants as built, without simplification
  bool verify = false;  // check proofs and interpolants
  std::string verify_with = host::OUTSIDE_SOLVERS;
  double timeout = 0;      // seconds a command may take; 0 for no limit
  std::size_t memory = 0;  // megabytes that the process may hold; 0 for no limit
  host::Unmentioned unmentioned = host::Unmentioned::BACKGROUND;
  la::Solver::Method method = la::Solver::Method::AUTO;  // by which a check decides
  std::string dot;          // the file for drawings of proofs as DOT, or ""
  std::string svg;          // and as SVG
  bool explain = false;     // say on standard error what each interpolant is made of
  bool dump_proof = false;  // print each proof there
  std::string check_files;  // the folder for check files; "" for none
  ProofFormat proof_format = ProofFormat::SEXP;
  OnError on_error = OnError::AUTO;
  bool progress = false;  // report each check and query on standard error
  bool print_success = false;
  bool global_declarations = false;  // declarations outlive pop

  /// Sets a setting by the name of its option, without colon ("opal-mode"). False when
  /// there is no such option. Throws SettingError for a value that it does not take.
  bool set(std::string_view option, const std::string& value);
  /// The value of an option as SMT-LIB text, or "" when there is no such option.
  [[nodiscard]] std::string get(std::string_view option) const;
};

}  // namespace opal::smtlib

#endif
