#ifndef OPAL_CHECKER_ASSERTION_GRAPH_H
#define OPAL_CHECKER_ASSERTION_GRAPH_H

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "opal/checker/atom_keys.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/terms/terms.h"

namespace opal::checker {

/// An assertion as a graph in which truth goes from atoms up through the connectives, for
/// asking which clauses follow from it.
///
/// Vertices are the assertion's sub-terms, those of its auxiliaries' formulas, and keys of
/// atoms (atom_keys.h). A number by cases that has a constant v is a vertex too: when its
/// condition is known, the atom that says what v is becomes true.
class AssertionGraph {
 public:
  /// Keeps references to the first two. `clauses`: the input clauses that belong to the
  /// assertion `number`, whose formula is `formula`.
  AssertionGraph(const resolution::ClauseRefutation& refutation, host::Terms& terms,
                 const Term_* formula, std::uint32_t number,
                 const std::vector<resolution::LiteralSpan>& clauses);

  /// Whether the assertion, or what floors and the constants mean, implies the clause, as
  /// far as propagation shows it. Leaves the graph as it was.
  [[nodiscard]] bool implies(resolution::LiteralSpan clause);

 private:
  using Vertex = std::size_t;
  enum class Value : std::int8_t { FALSE = -1, UNKNOWN = 0, TRUE = 1 };
  static Value value_of(bool truth) { return truth ? Value::TRUE : Value::FALSE; }
  static Value negation(Value v) { return static_cast<Value>(-static_cast<int>(v)); }

  // --- making
  void add_cases(std::vector<const Term_*>& terms);
  void add_floors(const std::vector<resolution::LiteralSpan>& clauses);
  void add_vertex(const Term_* t);
  void link_atom(Vertex v, const KeyedAtom& atom);
  void link_congruence(Vertex v, const Term_* t);
  void link_definition(Vertex v, const Term_* t);
  const Term_* replaced(const Term_* t);
  Vertex key_vertex(std::size_t key);

  // --- propagating
  /// False when the vertex has the other value already.
  bool set(Vertex v, Value value);
  bool propagate();
  bool update(Vertex parent);
  [[nodiscard]] Value evaluate(Vertex v) const;
  bool deny(resolution::Literal literal);
  bool set_atom(const KeyedAtom& atom, Value value);
  [[nodiscard]] bool is_about_floors(resolution::LiteralSpan clause);

  const resolution::ClauseRefutation& refutation_;
  host::Terms& terms_;
  AtomKeys keys_;
  std::unordered_map<const Term_*, const Term_*> constants_;  // of numbers by cases
  std::unordered_map<const Term_*, const Term_*> replaced_;
  std::unordered_map<const Term_*, const Term_*>
      cases_;                                          // of comparisons with such numbers
  std::vector<const Term_*> floors_;                   // in the clauses' atoms
  std::unordered_map<const Term_*, Vertex> vertices_;  // of terms
  std::vector<const Term_*> terms_of_;                 // by vertex; null for keys
  std::vector<std::vector<Vertex>> parents_;
  std::vector<Vertex> of_key_;                 // by key
  std::vector<std::vector<KeyedAtom>> atoms_;  // by vertex: what it says; of a number by
                                               // cases, what its constant is then and else
  std::vector<Value> values_;
  std::vector<Vertex> queue_;    // whose parents have to be looked at
  std::vector<Vertex> changed_;  // since the assertion was entered
  bool is_false_ = false;        // the assertion, whatever its atoms are
};

}  // namespace opal::checker

#endif
