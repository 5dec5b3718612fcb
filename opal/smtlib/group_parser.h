#ifndef OPAL_SMTLIB_GROUP_PARSER_H
#define OPAL_SMTLIB_GROUP_PARSER_H

#include <cstddef>
#include <string>
#include <vector>

#include "opal/smtlib/sexpr.h"

namespace opal::smtlib {

/// The groups of a (get-interpolants ...) command, numbered in post-order.
///
///     p1 p2 (p3 p4) p5      p5 is the root; below it the chain p1, p2 and the chain p3, p4
///                           first = 0 0 2 2 0
///
/// At each level of parentheses, a group adopts every tree that stands before it there.
///
/// Invariant (is_normal): the three lists are of one length, no group is without names, and
/// sub-trees nest: each is a run of groups that its children's sub-trees and its root fill.
struct GroupTree {
  std::vector<std::vector<std::string>> names;  // of each group
  std::vector<std::size_t> first;               // the leftmost group of each sub-tree
  std::vector<Sexpr::Node> nodes;               // where each group is written

  [[nodiscard]] bool is_normal() const;
};

/// Reads the operands of a command: each a name, `(and name ...)`, or a list of operands,
/// which is a sub-tree. Iterative. Throws Error.
GroupTree parse_groups(const Sexpr& source, Sexpr::Node command);

/// The names of one group: a name or `(and name ...)`. Throws Error.
std::vector<std::string> parse_group(const Sexpr& source, Sexpr::Node group);

}  // namespace opal::smtlib

#endif
