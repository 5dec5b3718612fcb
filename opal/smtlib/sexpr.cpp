// S-expressions in an arena, and the reader that makes one of each command.
//
// The reader stops behind the last parenthesis of a command, so that it can be answered
// before the next one is sent. A command with a fault is read to its end and thrown away;
// of several faults the first is told. Cost: linear in the text, a node a token.

#include "opal/smtlib/sexpr.h"

#include <cassert>
#include <limits>

#include "opal/terms/print/printer.h"

namespace opal::smtlib {

void fail_at(const Sexpr& source, Sexpr::Node n, const std::string& what) {
  assert(!what.empty());
  throw Error(source.position(n), what);
}

void fail_quoting(const Sexpr& source, Sexpr::Node n, const std::string& what) {
  fail_at(source, n, what + ": " + source.shortened(n));
}

bool Sexpr::is_normal() const {
  if (!open_.empty() || nodes_.empty() || !is_list(ROOT) || end(ROOT) != nodes_.size())
    return false;
  std::vector<Node> ends{end(ROOT)};
  for (Node n = ROOT + 1; n < nodes_.size(); ++n) {
    while (ends.back() <= n)
      ends.pop_back();
    const Entry& entry = nodes_[n];
    if (!is_list(n)) {
      if (entry.begin + entry.extent > text_.size()) return false;
    } else {
      if (entry.extent <= n || entry.extent > ends.back()) return false;
      ends.push_back(entry.extent);
    }
  }
  return true;
}

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
  assert(open_.empty());
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
  assert(nodes_.empty() || !open_.empty());  // one command at a time
  open_.push_back(static_cast<Node>(nodes_.size()));
  add(Token::LEFT, {}, at);
}

void Sexpr::close() {
  assert(!open_.empty() && is_list(open_.back()));
  nodes_[open_.back()].extent = static_cast<Node>(nodes_.size());
  open_.pop_back();
}

void Sexpr::add(Token kind, std::string_view text, Position at) {
  assert(!open_.empty() && kind != Token::RIGHT && kind != Token::END);
  assert(kind != Token::LEFT || text.empty());
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
  refused_name_.clear();
  if (!start_of_command()) return nullptr;
  const Position start = lexer_.position();
  command_.clear();
  command_.open(start);
  assert(command_.depth() == 1 && command_.size() == 1);
  while (command_.depth() > 0) {
    try {
      const Token token = lexer_.next();
      if (token == Token::END) refuse_open_command(start);
      if (const std::size_t bytes = command_.growth(lexer_.text())) watch_(bytes);
      if (token == Token::LEFT) {
        command_.open(lexer_.position());
      } else if (token == Token::RIGHT) {
        command_.close();
      } else {
        command_.add(token, lexer_.text(), lexer_.position());
      }
    } catch (...) {
      constexpr Sexpr::Node head = Sexpr::ROOT + 1;
      if (command_.size() > head && command_.is_symbol(head))
        refused_name_ = command_.text(head);
      skip_open_lists();
      command_.clear();
      throw;
    }
  }
  assert(command_.is_normal());
  return &command_;
}

void CommandReader::refuse_open_command(Position start) const {
  throw Error(lexer_.position(),
              "missing parenthesis at the end of the input: the command that begins at " +
                  std::to_string(start.line) + ":" + std::to_string(start.column) +
                  " is not closed");
}

bool CommandReader::start_of_command() {
  assert(command_.depth() == 0);
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
  assert(depth > 0);
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
