// Symbols, strings and numbers of SMT-LIB.
//
//     x     x          my name   |my name|        let   |let|
//     a"b   "a""b"     -3/2 as a Real   (- (/ 3.0 2.0))       -3 as an Int   (- 3)

#include <algorithm>
#include <cassert>
#include <cctype>

#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

// Words that SMT-LIB reserves, between blanks.
constexpr std::string_view RESERVED =
    " ! BINARY DECIMAL HEXADECIMAL NUMERAL STRING _ as exists forall let match par assert "
    "check-sat check-sat-assuming declare-const declare-datatype declare-datatypes "
    "declare-fun declare-sort define-fun define-fun-rec define-funs-rec define-sort echo "
    "exit get-assertions get-assignment get-info get-model get-option get-proof "
    "get-unsat-assumptions get-unsat-core get-value pop push reset reset-assertions "
    "set-info set-logic set-option ";

bool is_reserved(std::string_view word) {
  assert(word.find(' ') == std::string_view::npos);
  return RESERVED.find(" " + std::string(word) + " ") != std::string_view::npos;
}

bool is_symbol_character(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
         std::string_view("~!@$%^&*_-+=<>.?/").find(c) != std::string_view::npos;
}

}  // namespace

std::string symbol_text(std::string_view name) {
  assert(name.find_first_of("|\\") == std::string_view::npos);
  const bool simple =
      !name.empty() && std::isdigit(static_cast<unsigned char>(name.front())) == 0 &&
      std::all_of(name.begin(), name.end(), is_symbol_character) && !is_reserved(name);
  return simple ? std::string(name) : "|" + std::string(name) + "|";
}

std::string string_literal(std::string_view text) {
  std::string result = "\"";
  for (const char c : text)
    result.append(c == '"' ? 2 : 1, c);
  return result + "\"";
}

std::string number_text(const QNumber& value, Sort sort) {
  assert(sort != Sort::BOOL && (sort == Sort::REAL || value.is_integer()));
  const char* point = sort == Sort::REAL ? ".0" : "";
  const QNumber magnitude = abs(value);
  std::string text = magnitude.get_num().to_str() + point;
  if (!value.is_integer()) {
    text = "(/ " + text + " " + magnitude.get_den().to_str() + point + ")";
  }
  return value.sign() < 0 ? "(- " + text + ")" : text;
}

}  // namespace opal::host
