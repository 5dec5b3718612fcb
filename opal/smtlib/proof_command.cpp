// The proof of the last refutation, in one of three formats.

#include <ostream>

#include "opal/proofs/proof_text.h"
#include "opal/smtlib/interpreter.h"

namespace opal::smtlib {

// Printed as it is made: the text of a long proof is larger than the proof.
void Interpreter::get_proof(const Command& command) {
  expect_operands(command, 0, 0);
  expect_verdict(command, host::Session::Verdict::UNSAT);
  draw_proof(command);
  const ExternalProof& proof = session_->external_proof();
  const bool real = numbers_ != Numbers::INTEGERS;
  switch (settings_.proof_format) {
    case ProofFormat::SEXP: host::print_proof(answers_, proof, real); break;
    case ProofFormat::JSON: host::print_proof_json(answers_, proof, real); break;
    case ProofFormat::DOT: session_->draw_proof(answers_); break;
  }
  answer("");
}

}  // namespace opal::smtlib
