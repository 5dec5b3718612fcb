#ifndef OPAL_SMTLIB_LEXER_H
#define OPAL_SMTLIB_LEXER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "opal/smtlib/input.h"

namespace opal::smtlib {

enum class Token : std::uint8_t {
  LEFT,         // (
  RIGHT,        // )
  NUMERAL,      // 0, 12
  DECIMAL,      // 0.50
  HEXADECIMAL,  // #xFF
  BINARY,       // #b01
  STRING,       // "say ""yes"""
  SYMBOL,       // x, <=, let
  QUOTED,       // |a symbol between bars|
  KEYWORD,      // :named
  END           // of the input
};

/// Cuts an input into the tokens of SMT-LIB 2.6; blanks and comments fall away.
class Lexer {
 public:
  /// Keeps a reference.
  explicit Lexer(Input& input) : input_(input) {}

  /// Reads the next token: as many bytes as tell where it ends, and none after a
  /// parenthesis. Throws Error; reading goes on behind the faulty bytes.
  Token next();

  /// Of the last token: its text, without bars or quotes, two quotes made one, with the
  /// colon of a keyword.
  [[nodiscard]] const std::string& text() const { return text_; }
  /// Of the last token: its first byte.
  [[nodiscard]] Position position() const { return position_; }

 private:
  void skip_blanks();
  void take_into_text();
  Token number();
  Token bits();
  Token string();
  Token quoted();
  [[noreturn]] void fail(const std::string& what) const;

  Input& input_;
  std::string text_;
  Position position_;
};

}  // namespace opal::smtlib

#endif
