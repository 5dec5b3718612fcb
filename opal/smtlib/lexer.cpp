// Tokens, told apart by the classes of bytes in a table.
//
// A token ends at the first byte that cannot belong to it: `12ab` is one faulty number, not
// a number and a symbol. What is wrong within a string or between bars is told when the
// token has ended, so that reading goes on behind it.

#include "opal/smtlib/lexer.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace opal::smtlib {

namespace {

// The classes that a byte can be in.
enum : std::uint8_t {
  BLANK = 1,
  DIGIT = 2,
  SYMBOL_CHARACTER = 4,
  HEX_DIGIT = 8,
  INNER = 16  // of a string or between bars
};

constexpr std::array<std::uint8_t, 256> classes_of_bytes() {
  std::array<std::uint8_t, 256> classes{};
  constexpr std::string_view blanks = " \t\r\n";
  constexpr std::string_view signs = "~!@$%^&*_-+=<>.?/";
  for (unsigned c = 0; c < 256; ++c) {
    const bool digit = c >= '0' && c <= '9';
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    const bool sign = c != 0 && signs.find(static_cast<char>(c)) != std::string_view::npos;
    const bool blank =
        c != 0 && blanks.find(static_cast<char>(c)) != std::string_view::npos;
    const bool hex = digit || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    const bool inner = blank || (c >= 32 && c != 127);
    classes[c] =
        static_cast<std::uint8_t>((blank ? BLANK : 0) | (digit ? DIGIT : 0) |
                                  (digit || letter || sign ? SYMBOL_CHARACTER : 0) |
                                  (hex ? HEX_DIGIT : 0) | (inner ? INNER : 0));
  }
  return classes;
}

constexpr std::array<std::uint8_t, 256> CLASSES = classes_of_bytes();

bool is(int byte, std::uint8_t which) {
  return byte != Input::END && (CLASSES[static_cast<unsigned>(byte)] & which) != 0;
}

std::string byte_text(int byte) {
  assert(byte >= 0 && byte < 256);
  if (byte > 32 && byte < 127) return std::string("'") + static_cast<char>(byte) + "'";
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto value = static_cast<unsigned>(byte);
  return std::string("byte 0x") + digits[value / 16] + digits[value % 16];
}

}  // namespace

Token Lexer::next() {
  skip_blanks();
  text_.clear();
  position_ = input_.position();
  const int byte = input_.peek();
  if (byte == Input::END) return Token::END;
  if (byte == '(' || byte == ')') {
    input_.take();
    return byte == '(' ? Token::LEFT : Token::RIGHT;
  }
  if (is(byte, DIGIT)) return number();
  if (byte == '"') return string();
  if (byte == '|') return quoted();
  if (byte == '#') return bits();
  if (byte != ':' && !is(byte, SYMBOL_CHARACTER)) {
    input_.take();
    fail("unexpected " + byte_text(byte));
  }
  do {
    take_into_text();
  } while (is(input_.peek(), SYMBOL_CHARACTER));
  assert(!text_.empty());
  if (text_ == ":") fail("a keyword needs a name after the colon");
  return byte == ':' ? Token::KEYWORD : Token::SYMBOL;
}

void Lexer::skip_blanks() {
  for (int byte = input_.peek(); is(byte, BLANK) || byte == ';'; byte = input_.peek()) {
    if (byte == ';') {
      while (byte != Input::END && byte != '\n') {
        input_.take();
        byte = input_.peek();
      }
    } else {
      input_.take();
    }
  }
}

void Lexer::take_into_text() {
  assert(input_.peek() != Input::END);
  text_.push_back(static_cast<char>(input_.peek()));
  input_.take();
}

Token Lexer::number() {
  assert(text_.empty() && is(input_.peek(), DIGIT));
  Token kind = Token::NUMERAL;
  while (is(input_.peek(), DIGIT))
    take_into_text();
  const std::size_t whole = text_.size();
  if (input_.peek() == '.') {
    kind = Token::DECIMAL;
    take_into_text();
    while (is(input_.peek(), DIGIT))
      take_into_text();
  }
  assert(whole > 0);
  const bool more = is(input_.peek(), SYMBOL_CHARACTER);
  while (is(input_.peek(), SYMBOL_CHARACTER))
    take_into_text();
  if (more || text_.back() == '.') fail("malformed number " + text_.substr(0, 40));
  if (whole > 1 && text_[0] == '0')
    fail("number with a leading zero: " + text_.substr(0, 40));
  return kind;
}

Token Lexer::bits() {
  assert(text_.empty() && input_.peek() == '#');
  take_into_text();
  const int base = input_.peek();
  const std::uint8_t digits = base == 'x' ? HEX_DIGIT : DIGIT;
  while (is(input_.peek(), SYMBOL_CHARACTER))
    take_into_text();
  const bool binary = base == 'b';
  const auto good = [&](char c) {
    return binary ? c == '0' || c == '1' : is(static_cast<unsigned char>(c), digits);
  };
  if ((base != 'x' && !binary) || text_.size() < 3 ||
      !std::all_of(text_.begin() + 2, text_.end(), good)) {
    fail("malformed constant " + text_.substr(0, 40));
  }
  return binary ? Token::BINARY : Token::HEXADECIMAL;
}

Token Lexer::string() {
  assert(text_.empty() && input_.peek() == '"');
  bool clean = true;
  input_.take();
  while (true) {
    const int byte = input_.peek();
    if (byte == Input::END) fail("the string that begins here is not closed");
    if (byte == '"') {
      input_.take();
      if (input_.peek() != '"') break;
    }
    clean = clean && is(byte, INNER);
    take_into_text();
  }
  if (!clean) fail("a string holds a control character");
  return Token::STRING;
}

Token Lexer::quoted() {
  assert(text_.empty() && input_.peek() == '|');
  bool clean = true;
  input_.take();
  for (int byte = input_.peek(); byte != '|'; byte = input_.peek()) {
    if (byte == Input::END) fail("the quoted symbol that begins here is not closed");
    clean = clean && is(byte, INNER) && byte != '\\';
    take_into_text();
  }
  input_.take();
  if (!clean) fail("a quoted symbol holds a backslash or control character");
  return Token::QUOTED;
}

void Lexer::fail(const std::string& what) const { throw Error(position_, what); }

}  // namespace opal::smtlib
