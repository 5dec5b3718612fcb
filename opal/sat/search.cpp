// The interface in front of the engine: checks the state in which an operation is called.

#include "opal/sat/search.h"

#include "opal/sat/engine.h"

namespace opal::sat {

Search::Search(Recording recording, host::Limits* limits)
    : engine_(std::make_unique<Engine>(recording, limits)) {}
Search::~Search() = default;

void Search::set_theory(Theory* theory) { engine_->set_theory(theory); }
Variable Search::make_variable(VariableKind kind) {
  engine_->edit();
  return engine_->add_variable(kind);
}
void Search::suggest_phase(Variable variable, Sign sign) {
  engine_->edit();
  engine_->set_phase(variable, sign);
}
void Search::add_clause(LiteralSpan literals, Tag tag) {
  engine_->add_clause(literals, tag);
}
void Search::release_activation(Variable activation) {
  engine_->release_activation(activation);
}
void Search::remove_lemmas() { engine_->remove_lemmas(); }

Answer Search::solve(LiteralSpan assumptions) { return engine_->solve(assumptions); }

Value Search::value(Literal literal) const { return engine_->model_value(literal); }
const std::vector<Literal>& Search::failed_assumptions() const {
  assert(engine_->state_ == Engine::State::UNSATISFIABLE);
  return engine_->failed_assumptions_;
}
ClauseId Search::final_clause() const {
  assert(engine_->state_ == Engine::State::UNSATISFIABLE);
  assert(engine_->recording_ == Recording::ON);
  return engine_->final_clause_;
}
ClauseProof Search::proof() const {
  assert(final_clause() != NO_CLAUSE);
  return engine_->proofs_.extract(final_clause());
}
const std::string& Search::reason_unknown() const {
  assert(engine_->state_ == Engine::State::UNKNOWN);
  return engine_->reason_unknown_;
}

bool Search::is_inconsistent() const { return engine_->inconsistent_; }
Recording Search::recording() const { return engine_->recording_; }
Variable Search::variable_count() const { return engine_->variable_count(); }
std::size_t Search::clause_count() const { return engine_->clause_count_; }
const Statistics& Search::statistics() const { return engine_->statistics_; }
std::size_t Search::proof_bytes() const {
  return engine_->recording_ == Recording::ON ? engine_->proofs_.bytes() : 0;
}
bool Search::is_normal() const { return engine_->is_normal(); }

}  // namespace opal::sat
