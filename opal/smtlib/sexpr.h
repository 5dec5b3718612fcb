#ifndef OPAL_SMTLIB_SEXPR_H
#define OPAL_SMTLIB_SEXPR_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "opal/smtlib/lexer.h"

namespace opal::smtlib {

/// One S-expression, a command, as an arena of nodes in pre-order:
///
///     (assert (< x 1))      node   0     1       2     3   4   5
///                                  list  assert  list  <   x   1
///                           end(n) 6     2       6     4   5   6
///
/// The children of list n are n+1, end(n+1), ... as long as they are below end(n). There
/// are no pointers, so a million levels are freed like one.
///
/// Invariant (is_normal) of a command that has been read: lists nest, the first node is a
/// list of all, and every text lies in the common store.
class Sexpr {
 public:
  using Node = std::uint32_t;
  static constexpr Node ROOT = 0;

  /// The number of nodes.
  [[nodiscard]] std::size_t size() const { return nodes_.size(); }
  [[nodiscard]] bool is_list(Node n) const { return kind(n) == Token::LEFT; }
  /// LEFT for a list.
  [[nodiscard]] Token kind(Node n) const {
    assert(n < nodes_.size());
    return nodes_[n].kind;
  }
  /// A symbol, with or without bars.
  [[nodiscard]] bool is_symbol(Node n) const {
    return kind(n) == Token::SYMBOL || kind(n) == Token::QUOTED;
  }
  /// The word itself, without bars.
  [[nodiscard]] bool is_word(Node n, std::string_view word) const {
    return kind(n) == Token::SYMBOL && text(n) == word;
  }
  /// The text of a node that is no list, as Lexer::text().
  [[nodiscard]] std::string_view text(Node n) const {
    assert(!is_list(n));
    return std::string_view(text_).substr(nodes_[n].begin, nodes_[n].extent);
  }
  [[nodiscard]] Position position(Node n) const {
    assert(n < nodes_.size());
    return nodes_[n].position;
  }
  /// The first node after the sub-tree of n.
  [[nodiscard]] Node end(Node n) const {
    const Node result = is_list(n) ? nodes_[n].extent : n + 1;
    assert(n < result && result <= nodes_.size());
    return result;
  }
  [[nodiscard]] std::vector<Node> children(Node list) const;

  /// A node as it was read, but for blanks and comments.
  [[nodiscard]] std::string written(Node n) const;
  /// As written(), cut with "..." after about `limit` bytes.
  [[nodiscard]] std::string shortened(Node n, std::size_t limit = 60) const;

  // --- construction, in the order of the text
  void clear();
  void open(Position at);
  /// Closes the innermost open list.
  void close();
  /// Throws Error for a command of more than 2^32 bytes or nodes.
  void add(Token kind, std::string_view text, Position at);
  /// The bytes that the next add() may allocate, often 0.
  [[nodiscard]] std::size_t growth(std::string_view text) const;
  [[nodiscard]] std::size_t depth() const { return open_.size(); }
  /// The invariant, in linear time, for debug builds.
  [[nodiscard]] bool is_normal() const;

 private:
  struct Entry {
    Token kind;
    Position position;
    std::uint32_t begin;   // of the text
    std::uint32_t extent;  // length of the text; of a list, the node after it
  };
  void write_within(std::string& out, Node n, std::size_t limit) const;

  std::vector<Entry> nodes_;
  std::string text_;
  std::vector<Node> open_;
};

/// A mistake at a node: throws Error with its place.
[[noreturn]] void fail_at(const Sexpr& source, Sexpr::Node n, const std::string& what);
/// The same, with what is written there: "what: (a term)".
[[noreturn]] void fail_quoting(const Sexpr& source, Sexpr::Node n, const std::string& what);

/// Reads commands one by one.
class CommandReader {
 public:
  /// Called with the number of bytes that are about to be allocated for a long command; may
  /// throw, which ends its reading.
  using Watch = std::function<void(std::size_t)>;
  /// Keeps a reference.
  CommandReader(Input& input, Watch watch) : lexer_(input), watch_(std::move(watch)) {}

  /// The next command, valid until the next call; null at the end of the input. Nothing
  /// behind its last parenthesis is read. Throws Error for what is no list, and what the
  /// watch throws, after the whole of the faulty command has been passed over.
  const Sexpr* next();
  /// The name of the command that next() has just refused, or "" when what it refused did
  /// not begin as a command.
  [[nodiscard]] const std::string& refused_name() const { return refused_name_; }

 private:
  bool start_of_command();
  [[noreturn]] void refuse_open_command(Position start) const;
  void skip_open_lists();

  Lexer lexer_;
  const Watch watch_;
  Sexpr command_;
  std::string refused_name_;
  // The last line for which text outside of lists was reported, or 0.
  std::uint32_t rubbish_line_ = 0;
};

}  // namespace opal::smtlib

#endif
