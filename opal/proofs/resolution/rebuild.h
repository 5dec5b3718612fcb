// Builds a proof anew from another with some of its steps cut out.
//
// A cut step is either SKIPPED, or what stands before it in its chain is thrown away: the
// chain is RESTARTED with the step's antecedent. Clauses then lose literals in some places
// and gain some in others, so every chain is gone through with the clauses as they now are.
// A step with pivot p, on the clause so far R and the antecedent A, is then
//
//   skipped        when R has no ~p: R serves as it is
//   a restart      when A has no p: A serves instead of the resolvent, which contains it
//   a restart      when R has p besides ~p: A is a part of the resolvent
//   skipped        when A has ~p besides p: R is a part of the resolvent
//   a resolution   else.
//
// Clauses may hold a literal and its negation on the way. These clauses are true and cannot
// be in the way of a proof: a resolvent without such a pair has no premise with one, so
// trimming the result takes them all away.
//
// Cost: linear in the sizes of all clauses used. A clause goes after its last use.

#ifndef OPAL_PROOFS_RESOLUTION_REBUILD_H
#define OPAL_PROOFS_RESOLUTION_REBUILD_H

#include <vector>

#include "opal/host/limits.h"
#include "opal/proofs/resolution/clause_proof.h"

namespace opal::resolution {

enum class Cut : std::uint8_t { NONE, SKIP, RESTART };

class Rebuild {
 public:
  /// `old` must outlive the rebuilding; `limits` may be null.
  Rebuild(const ClauseProof& old, host::Limits* limits);

  /// Cuts step `i` of the chain `node`. Before run().
  void cut(NodeIndex node, std::size_t i, Cut cut);
  /// Builds all nodes. Throws LimitReached.
  void run();

  /// The clause of the old node `node` as it now is, sorted; after run(), for the root and
  /// for nodes that were kept by keep_clause() only.
  [[nodiscard]] const std::vector<Literal>& clause(NodeIndex node) const;
  /// Keeps the clause of `node` beyond its last use. Before run().
  void keep_clause(NodeIndex node) { uses_[node]++; }
  /// For each old node whose clause is one literal, that literal; else an invalid one.
  [[nodiscard]] const std::vector<Literal>& units() const { return units_; }

  /// Appends a chain that starts with the old node `first` and resolves with the old nodes
  /// of `steps`, in this order, as far as their pivots are there. Their clauses were kept.
  void append(NodeIndex first, const std::vector<Step>& steps);
  /// The proof that was built, trimmed to what its last clause needs.
  [[nodiscard]] ClauseProof result() const;

 private:
  void add_leaf(NodeIndex node);
  void add_chain(NodeIndex node);
  void start(NodeIndex made);
  void resolve(Literal pivot, NodeIndex made, Cut cut);
  NodeIndex finish();
  void add_literal(Literal literal);
  void end_use(NodeIndex node);

  const ClauseProof& old_;
  host::Limits* limits_;
  ClauseProof made_;                    // the proof being built
  std::vector<std::size_t> first_cut_;  // by old chain: where its steps' cuts begin
  std::vector<Cut> cuts_;               // by old step; empty when nothing is cut
  std::vector<std::uint32_t> uses_;     // by old node: how often chains use it
  std::vector<NodeIndex> new_node_;     // by old node: the node that serves for it
  std::vector<std::vector<Literal>>
      clauses_;                         // by new node: its clause, until its last use
  std::vector<std::uint32_t> pending_;  // by new node: uses of its clause that may come
  std::vector<Literal> units_;          // by old node
  NodeIndex last_ = 0;                  // the new node that is the root

  // The chain that is being built.
  NodeIndex start_ = 0;
  std::vector<Step> steps_;
  std::vector<Literal> running_;     // its clause, with literals that have gone and repeats
  std::vector<std::uint8_t> marks_;  // by literal: whether it is in the clause
};

}  // namespace opal::resolution

#endif
