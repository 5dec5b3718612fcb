#include "opal/smtlib/sexpr.h"

#include <cassert>
#include <limits>

#include "opal/terms/print/printer.h"

namespace opal::smtlib {

std::vector<Sexpr::Node> Sexpr::children(Node list) const {
  assert(is_list(list));
  std::vector<Node> result;
  for (Node n = list + 1; n < end(list); n = end(n))
    result.push_back(n);
  return result;
}

std::string Sexpr::written(Node n) const {
  std::string result;
  write_within(result, n, std::numeric_limits<std::size_t>::max());
  return result;
}

std::string Sexpr::shortened(Node n, std::size_t limit) const {
  std::string result;
  write_within(result, n, limit);
  return result;
}

void Sexpr::write_within(std::string& out, Node n, std::size_t limit) const {
  std::vector<Node> ends;  // of the open lists
  const Node last = end(n);
  bool blank = false;
  for (Node at = n; out.size() <= limit && (at < last || !ends.empty());) {
    if (!ends.empty() && ends.back() == at) {
      ends.pop_back();
      out += ')';
      blank = true;
      continue;
    }
    if (blank) out += ' ';
    blank = !is_list(at);
    if (is_list(at)) {
      out += '(';
      ends.push_back(end(at));
    } else if (kind(at) == Token::QUOTED) {
      out.append("|").append(text(at)).append("|");
    } else if (kind(at) == Token::STRING) {
      out += host::string_literal(text(at));
    } else {
      out += text(at);
    }
    ++at;
  }
  if (out.size() > limit) out.replace(limit, std::string::npos, "...");
}

void Sexpr::clear() {
  constexpr std::size_t WORTH_KEEPING = 1U << 20U;
  if (nodes_.capacity() > WORTH_KEEPING) nodes_ = {};
  if (text_.capacity() > WORTH_KEEPING) text_ = {};
  nodes_.clear();
  text_.clear();
  open_.clear();
}

void Sexpr::open(Position at) {
  open_.push_back(static_cast<Node>(nodes_.size()));
  add(Token::LEFT, {}, at);
}

void Sexpr::close() {
  assert(!open_.empty());
  nodes_[open_.back()].extent = static_cast<Node>(nodes_.size());
  open_.pop_back();
}

void Sexpr::add(Token kind, std::string_view text, Position at) {
  constexpr std::size_t MOST = std::numeric_limits<std::uint32_t>::max();
  if (nodes_.size() >= MOST || text_.size() + text.size() >= MOST) {
    throw Error(at, "the command is too long");
  }
  nodes_.push_back({kind, at, static_cast<std::uint32_t>(text_.size()),
                    static_cast<std::uint32_t>(text.size())});
  text_ += text;
}

// A vector that grows is twice as large, of which the copy of its elements is touched.
std::size_t Sexpr::growth(std::string_view text) const {
  constexpr std::size_t WORTH_ASKING = 1U << 20U;
  std::size_t bytes = 0;
  if (nodes_.size() == nodes_.capacity()) bytes += nodes_.size() * sizeof(Entry);
  if (text_.size() + text.size() > text_.capacity()) bytes += text_.size();
  return bytes < WORTH_ASKING ? 0 : bytes;
}

const Sexpr* CommandReader::next() {
  if (!start_of_command()) return nullptr;
  const Position start = lexer_.position();
  command_.clear();
  command_.open(start);
  while (command_.depth() > 0) {
    try {
      const Token token = lexer_.next();
      if (token == Token::END) {
        const std::string place =
            std::to_string(start.line) + ":" + std::to_string(start.column);
        throw Error(lexer_.position(),
                    "missing parenthesis at the end of the input: the "
                    "command that begins at " +
                        place + " is not closed");
      }
      if (const std::size_t bytes = command_.growth(lexer_.text())) watch_(bytes);
      if (token == Token::LEFT) {
        command_.open(lexer_.position());
      } else if (token == Token::RIGHT) {
        command_.close();
      } else {
        command_.add(token, lexer_.text(), lexer_.position());
      }
    } catch (...) {
      skip_open_lists();
      command_.clear();
      throw;
    }
  }
  return &command_;
}

bool CommandReader::start_of_command() {
  while (true) {
    try {
      const Token token = lexer_.next();
      if (token == Token::END) return false;
      if (token == Token::LEFT) return true;
      if (token == Token::RIGHT) throw Error(lexer_.position(), "unexpected parenthesis )");
      throw Error(lexer_.position(), "a command begins with a parenthesis, not with " +
                                         lexer_.text().substr(0, 40));
    } catch (const Error& error) {
      // One report for a line of rubbish is enough.
      if (error.position.line == rubbish_line_) continue;
      rubbish_line_ = error.position.line;
      throw;
    }
  }
}

void CommandReader::skip_open_lists() {
  std::size_t depth = command_.depth();
  while (depth > 0) {
    try {
      const Token token = lexer_.next();
      if (token == Token::END) return;
      if (token == Token::LEFT) ++depth;
      if (token == Token::RIGHT) --depth;
    } catch (const Error&) {
      // The first fault of a command is the one that is reported.
    }
  }
}

}  // namespace opal::smtlib
