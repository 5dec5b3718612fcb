// Formulas for exported proofs, in three walks over their sub-terms in the order of ids:
//
//   upwards      how often each formula stands in others
//   downwards    which formulas get a node: roots, operands of those, conditions of `ite`
//   upwards      the nodes, operands first, and atoms with constants instead of `ite`
//
// Cost: linear in the sub-terms, without recursion.

#include "opal/explain/exported_formulas.h"

#include <algorithm>
#include <cassert>
#include <unordered_set>
#include <utility>

namespace opal::host {

using resolution::ClauseProof;
using resolution::Definition;
using resolution::Meaning;
using resolution::NodeIndex;
using resolution::NodeKind;

namespace {

bool is_formula(const Term_* t) { return Terms::sort_of(t) == Sort::BOOL; }

// The connective of a formula that has formulas for arguments, else null.
const char* connective_of(const Term_* t) {
  if (!is_formula(t) || t->num_args() == 0 || !is_formula(t->arg(0))) return nullptr;
  switch (Terms::kind_of(t)) {
    case Kind::NOT: return "not";
    case Kind::AND: return "and";
    case Kind::OR: return "or";
    case Kind::EQ: return "=";
    case Kind::NEQ: return "distinct";
    case Kind::ITE: return "ite";
    default: break;
  }
  return nullptr;
}

bool is_chain(const Term_* t) {
  return Terms::kind_of(t) == Kind::AND || Terms::kind_of(t) == Kind::OR;
}

}  // namespace

ExportedFormulas::ExportedFormulas(ExternalProofs& nodes, Terms& terms,
                                   const resolution::ClauseRefutation& refutation)
    : nodes_(nodes),
      terms_(terms),
      refutation_(refutation),
      literals_(std::size_t{2} * refutation.proof.variable_end()) {
  const std::vector<const Term_*> formulas = roots();
  std::vector<const Term_*> all = formulas;
  std::unordered_map<const Term_*, const Definition*> definitions;
  for (const Definition& definition : refutation.definitions)
    definitions.emplace(definition.constant, &definition);
  for (const Term_* t : SubTerms(formulas)) {
    const auto definition = definitions.find(t);
    if (definition != definitions.end()) all.push_back(definition->second->term);
  }
  const SubTerms sub_terms(all);
  for (const Definition& definition : refutation.definitions)
    constants_[definition.term].push_back(definition.constant);
  find_needed(sub_terms, formulas);
  for (const Term_* t : sub_terms) {
    terms_.poll();
    if (is_formula(t))
      export_formula(t);
    else
      export_number(t);
  }
}

std::vector<const Term_*> ExportedFormulas::roots() const {
  std::vector<const Term_*> result;
  const ClauseProof& proof = refutation_.proof;
  for (resolution::Variable v = 0; v < proof.variable_end(); ++v) {
    const Meaning& meaning = refutation_.meaning(v);
    if (meaning.kind != Meaning::Kind::NONE)
      result.push_back(meaning.kind == Meaning::Kind::ATOM ? meaning.atom
                                                           : meaning.formula);
  }
  return result;
}

void ExportedFormulas::find_needed(const SubTerms& terms,
                                   const std::vector<const Term_*>& roots) {
  for (const Term_* t : terms) {
    if (connective_of(t) == nullptr) continue;
    for (const Term_* argument : *t) {
      std::uint8_t& count = formulas_[argument].occurrences;
      count = static_cast<std::uint8_t>(std::min(count + 1, 2));
    }
  }
  for (const Term_* root : roots) {
    formulas_[root].needed = true;
    formulas_[root].occurrences = 2;
  }
  for (std::size_t i = terms.size(); i-- > 0;) {
    const Term_* const t = terms[i];
    if (!is_formula(t)) {
      if (Terms::kind_of(t) == Kind::ITE) formulas_[t->arg(0)].needed = true;
      continue;
    }
    Formula& formula = formulas_[t];
    if (!formula.needed || connective_of(t) == nullptr) continue;
    formula.operands = operands_of(t);
    const std::vector<const Term_*>& operands = formula.operands;
    for (const Term_* operand : operands)
      formulas_[operand].needed = true;
  }
}

// The arguments, or the operands of the chain that begins here.
std::vector<const Term_*> ExportedFormulas::operands_of(const Term_* t) const {
  if (!is_chain(t)) return {t->begin(), t->end()};
  std::vector<const Term_*> result;
  std::vector<const Term_*> stack{t};
  while (!stack.empty()) {
    const Term_* const top = stack.back();
    stack.pop_back();
    const bool is_part = Terms::kind_of(top) == Terms::kind_of(t) &&
                         (top == t || formulas_.at(top).occurrences < 2);
    if (!is_part) {
      result.push_back(top);
      continue;
    }
    for (std::size_t i = top->num_args(); i-- > 0;)
      stack.push_back(top->arg(i));
  }
  return result;
}

void ExportedFormulas::export_formula(const Term_* t) {
  const char* const connective = connective_of(t);
  if (connective == nullptr) {
    const Term_* const atom = with_replaced_arguments(t);
    const auto formula = formulas_.find(t);
    if (formula != formulas_.end() && formula->second.needed)
      formula->second.node = nodes_.get_term_proof(atom);
    return;
  }
  Formula& formula = formulas_.at(t);
  if (!formula.needed) return;
  std::vector<ExternalProof*> children;
  for (const Term_* operand : formula.operands)
    children.push_back(formulas_.at(operand).node);
  formula.node = nodes_.new_part(connective, std::move(children));
}

// A numeral is written as a Real one where that is what it is among.
ExternalProof* ExportedFormulas::export_branch(const Term_* number, Sort sort) {
  ExternalProof* const leaf = nodes_.get_term_proof(number);
  if (sort != Sort::REAL || !Terms::is_numeral(number)) return leaf;
  return nodes_.new_part("to_real", {leaf});
}

// An `ite` becomes its first constant; all of its constants stand for it.
void ExportedFormulas::export_number(const Term_* t) {
  const auto constants = constants_.find(t);
  if (constants == constants_.end()) {
    with_replaced_arguments(t);
    return;
  }
  assert(Terms::kind_of(t) == Kind::ITE);
  for (const Term_* constant : constants->second) {
    std::vector<ExternalProof*> children{formulas_.at(t->arg(0)).node};
    for (const std::size_t branch : {1U, 2U})
      children.push_back(export_branch(replaced(t->arg(branch)), Terms::sort_of(t)));
    nodes_.new_part("ite", std::move(children), constant);
  }
  replaced_[t] = constants->second.front();
}

const Term_* ExportedFormulas::with_replaced_arguments(const Term_* t) {
  const auto changes = [this](const Term_* a) { return replaced_.count(a) != 0; };
  if (!std::any_of(t->begin(), t->end(), changes)) return t;
  std::vector<const Term_*> arguments;
  for (const Term_* argument : *t)
    arguments.push_back(replaced(argument));
  return replaced_[t] = terms_.make_term(t->symbol(), arguments);
}

const Term_* ExportedFormulas::replaced(const Term_* t) const {
  const auto found = replaced_.find(t);
  return found == replaced_.end() ? t : found->second;
}

ExternalProof* ExportedFormulas::literal(resolution::Literal literal) {
  ExternalProof*& node = literals_[literal.code()];
  if (node != nullptr) return node;
  if (literal.is_negative()) {
    node = nodes_.new_part("not", {this->literal(~literal)});
  } else {
    const Meaning& meaning = refutation_.meaning(literal.variable());
    assert(meaning.kind != Meaning::Kind::NONE);
    node =
        formulas_.at(meaning.kind == Meaning::Kind::ATOM ? meaning.atom : meaning.formula)
            .node;
  }
  assert(node != nullptr);
  return node;
}

}  // namespace opal::host
