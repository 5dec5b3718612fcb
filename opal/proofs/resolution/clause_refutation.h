// A refutation of formulas: a resolution proof, and what its variables stand for.
//
//   assertions   0: (or (<= x 0) (<= y 0))    1: (<= 1 x)    2: (<= 1 y)
//   variables    0: atom (<= x 0)   1: atom (<= y 0)   2: atom (<= 1 x)   3: atom (<= 1 y)
//   leaves       input {0, 1} tag 0,  input {2} tag 1,  input {3} tag 2,
//                lemma {~0, ~2},  lemma {~1, ~3}
//
// Every input clause belongs to one assertion, whose number is its tag; the literals that
// were assumed for one check count as assertions behind the others. Lemmas hold in the
// theory by themselves. Literals that only switch levels on and off have been taken out.

#ifndef OPAL_PROOFS_RESOLUTION_CLAUSE_REFUTATION_H
#define OPAL_PROOFS_RESOLUTION_CLAUSE_REFUTATION_H

#include <cassert>
#include <cstdint>
#include <vector>

#include "opal/interfaces/term.h"
#include "opal/proofs/resolution/clause_proof.h"

namespace opal::resolution {

/// What a variable of a proof stands for.
struct Meaning {
  enum class Kind : std::uint8_t {
    ATOM,       // a formula over the problem's symbols: an arithmetic atom or a variable
    AUXILIARY,  // a name for a sub-formula, or a case of it, of one assertion
    NONE        // a variable that occurs in no leaf
  };
  Kind kind = Kind::NONE;
  /// ATOM: the formula. An arithmetic atom over integers or reals, in the form in which the
  /// search shares it; it has the symbols of all atoms that it stands for.
  const Term_* atom = nullptr;
  /// AUXILIARY: the sub-formula, and the number of its assertion.
  const Term_* formula = nullptr;
  std::uint32_t assertion = 0;
};

/// A number that an assertion's clauses have a fresh constant for: an `ite` of numbers, or
/// another term that the clauses say all about. Two assertions never share a constant.
struct Definition {
  const Term_* constant = nullptr;
  const Term_* term = nullptr;  // may have constants of earlier definitions in it
  std::uint32_t assertion = 0;
};

/// A proof of the empty clause. Terms belong to their manager.
struct ClauseRefutation {
  ClauseProof proof;
  std::vector<Meaning> meanings;  // by variable; at least proof.variable_end() of them
  std::vector<Definition> definitions;  // of all assertions, those of inner terms first

  [[nodiscard]] const Meaning& meaning(Variable variable) const {
    assert(variable < meanings.size());
    return meanings[variable];
  }
};

}  // namespace opal::resolution

#endif
