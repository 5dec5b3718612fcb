#ifndef OPAL_PROOFS_PROOF_TEXT_H
#define OPAL_PROOFS_PROOF_TEXT_H

#include <iosfwd>

#include "opal/proofs/exported_proof.h"

namespace opal::host {

// Exported proofs as text. The text of a proof has the size of its nodes and of the
// literals and numerals in them, each once, however large its tree is. Printing is
// iterative, and what is the same proof gives the same text. Literals are written by
// print_term, `real` is as there.

/// An S-expression:
///
///     proof  ::= ( rule argument* ) | name | ( let (( name value )) proof )
///     argument, value ::= proof | literal | number | name
///
/// with numbers 3, (- 3), (/ 1 2) or (- (/ 1 2)). What occurs more than once is bound by a
/// `let` at the beginning, one binding a `let`, later ones referring to earlier ones; but
/// for true, false and numbers of a few digits. The names are @1, @2, ..., with more @ in
/// front when the proof has variables of such names. A number that a constant stands for is
/// bound to the name of the constant.
///
///     (la-comb
///       1 (la-hyp-eq (- 1) (= y x))
///       1 (la-comb
///         2 (la-hyp (<= x 3.0))
///         (/ 1 2) (la-hyp (<= 7.0 y))))
void print_proof(std::ostream& out, const ExternalProof& root, bool real = true);

/// A JSON object {"root": id, "nodes": [node, ...]}, one node a line, children before their
/// parents. The nodes are the steps, and the literals and numbers that the S-expression
/// would bind:
///
///     {"id": 3, "rule": "la-comb", "children": [{"number": "1/2"}, 2, ...]}
///     {"id": 1, "term": "(<= x 3.0)"}
///
/// A child is the id of a node or a {"term": ...} or {"number": ...} of its own. Ids count
/// from 1; a node whose value a constant has, has its "name"; numbers are texts like
/// "-1/2", so that they stay exact; terms are SMT-LIB. Bytes that are no UTF-8 (names in a
/// script may have them) become U+FFFD.
void print_proof_json(std::ostream& out, const ExternalProof& root, bool real = true);

}  // namespace opal::host

#endif
