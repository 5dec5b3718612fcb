#include "opal/checker/formula_checker.h"

#include <algorithm>
#include <cassert>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "opal/checker/assertion_graph.h"
#include "opal/checker/proof_checker.h"
#include "opal/checker/resolution_checker.h"
#include "opal/terms/print/printer.h"
#include "opal/terms/sub_terms.h"

namespace opal::checker {

using host::Kind;
using host::Sort;
using host::SubTerms;
using host::Terms;
using resolution::ClauseProof;
using resolution::ClauseRefutation;
using resolution::Definition;
using resolution::Literal;
using resolution::LiteralSpan;
using resolution::Meaning;
using resolution::NodeIndex;
using resolution::NodeKind;
using resolution::Tag;
using resolution::Variable;

namespace {

// Formulas by cases and others go into messages only as far as this.
constexpr std::size_t TEXT = 200;

class Run {
 public:
  Run(const ClauseRefutation& refutation, const std::vector<const Term_*>& assertions,
      host::Terms& terms, la::ItpLinearTermMapper& mapper, const LemmaProver& prove)
      : refutation_(refutation),
        assertions_(assertions),
        terms_(terms),
        mapper_(mapper),
        prove_(prove) {}

  std::optional<std::string> fault() {
    if (refutation_.meanings.size() < refutation_.proof.variable_end())
      return "variables without a meaning";
    if (!check_definitions() || !check_owners()) return fault_;
    collect_clauses();
    const LeafJudges judges{
        [&](LiteralSpan literals, Tag tag) { return is_input(literals, tag); },
        [&](LiteralSpan literals, Tag) { return is_lemma(literals); }};
    const auto what = fault_of_resolution_proof(refutation_.proof, {}, judges);
    if (what && !fault_.empty()) return *what + ": " + fault_;
    return what;
  }

 private:
  bool fail(const std::string& what) {
    fault_ = what;
    return false;
  }

  // A constant is new, and its term has no constants but earlier ones.
  bool check_definitions() {
    std::vector<const Term_*> formulas;
    for (const Term_* assertion : assertions_)
      if (assertion != nullptr) formulas.push_back(assertion);
    std::unordered_set<const Term_*> symbols;
    for (const Term_* t : SubTerms(formulas))
      if (Terms::kind_of(t) == Kind::VARIABLE) symbols.insert(t);
    for (const Definition& definition : refutation_.definitions) {
      const Term_* const constant = definition.constant;
      if (Terms::kind_of(constant) != Kind::VARIABLE || symbols.count(constant) != 0 ||
          !owner_.emplace(constant, definition.assertion).second)
        return fail(host::term_text(constant, TEXT) + " is no new constant");
      if (Terms::sort_of(constant) != Terms::sort_of(definition.term))
        return fail(host::term_text(constant, TEXT) + " has another sort than its term");
    }
    std::unordered_set<const Term_*> open;
    for (const Definition& definition : refutation_.definitions)
      open.insert(definition.constant);
    for (const Definition& definition : refutation_.definitions) {
      for (const Term_* t : SubTerms({definition.term}))
        if (open.count(t) != 0)
          return fail(host::term_text(t, TEXT) + " is defined by itself or a later one");
      open.erase(definition.constant);
    }
    return true;
  }

  // Auxiliaries and constants occur in their own assertion's clauses; constants in lemmas.
  bool check_owners() {
    const ClauseProof& proof = refutation_.proof;
    for (NodeIndex node = 0; node < proof.size(); ++node) {
      if (proof.kind(node) == NodeKind::CHAIN) continue;
      const bool is_input = proof.kind(node) == NodeKind::INPUT;
      for (const Literal literal : proof.literals(node)) {
        const Meaning& meaning = refutation_.meaning(literal.variable());
        const std::string name = "v" + std::to_string(literal.variable());
        if (meaning.kind == Meaning::Kind::NONE) return fail(name + " has no meaning");
        if (meaning.kind == Meaning::Kind::AUXILIARY &&
            (!is_input || meaning.assertion != proof.tag(node)))
          return fail("the auxiliary " + name + " of assertion " +
                      std::to_string(meaning.assertion) + " is in node " +
                      std::to_string(node) + ", which is not its own");
        if (is_input && meaning.kind == Meaning::Kind::ATOM &&
            !has_own_constants(meaning.atom, proof.tag(node)))
          return fail("node " + std::to_string(node) +
                      " has a constant of another assertion");
      }
    }
    return true;
  }
  bool has_own_constants(const Term_* atom, Tag tag) const {
    if (owner_.empty()) return true;
    const SubTerms parts({atom});
    return std::all_of(parts.begin(), parts.end(), [&](const Term_* t) {
      const auto owner = owner_.find(t);
      return owner == owner_.end() || owner->second == tag;
    });
  }

  void collect_clauses() {
    const ClauseProof& proof = refutation_.proof;
    for (NodeIndex node = 0; node < proof.size(); ++node)
      if (proof.kind(node) == NodeKind::INPUT)
        clauses_[proof.tag(node)].push_back(proof.literals(node));
  }

  bool is_input(LiteralSpan literals, Tag tag) {
    if (tag >= assertions_.size() || assertions_[tag] == nullptr)
      return fail("there is no assertion " + std::to_string(tag));
    auto graph = graphs_.find(tag);
    if (graph == graphs_.end())
      graph = graphs_
                  .emplace(tag, AssertionGraph(refutation_, terms_, assertions_[tag], tag,
                                               clauses_.at(tag)))
                  .first;
    if (graph->second.implies(literals)) return true;
    return fail("it does not follow from assertion " + std::to_string(tag) + ", " +
                host::term_text(assertions_[tag], TEXT));
  }

  const Term_* denial(Literal literal) const {
    const Term_* const atom = refutation_.meaning(literal.variable()).atom;
    if (literal.is_negative() || atom == nullptr) return atom;
    switch (Terms::kind_of(atom)) {
      case Kind::LEQ: return terms_.make_lt(atom->arg(1), atom->arg(0));
      case Kind::LT: return terms_.make_leq(atom->arg(1), atom->arg(0));
      case Kind::EQ: return terms_.make_distinct(atom->arg(0), atom->arg(1));
      case Kind::NEQ: return terms_.make_equal(atom->arg(0), atom->arg(1));
      default: return nullptr;
    }
  }

  bool is_lemma(LiteralSpan literals) {
    std::vector<const Term_*> atoms;
    for (const Literal literal : literals) {
      const Term_* const atom = denial(literal);
      if (atom == nullptr || atom->num_args() == 0 ||
          Terms::sort_of(atom->arg(0)) == Sort::BOOL)
        return fail("a literal is no arithmetic atom");
      atoms.push_back(atom);
    }
    const proof::ProofRef proof = prove_(atoms);
    if (!proof) return fail("its literals' denials were not refuted");
    host::ProofChecker checker(mapper_, atoms);
    const auto what = checker.check(proof.get());
    return !what || fail(*what);
  }

  const ClauseRefutation& refutation_;
  const std::vector<const Term_*>& assertions_;
  host::Terms& terms_;
  la::ItpLinearTermMapper& mapper_;
  const LemmaProver& prove_;
  std::unordered_map<const Term_*, std::uint32_t> owner_;  // of constants
  std::map<Tag, std::vector<LiteralSpan>> clauses_;        // input ones, by assertion
  std::map<Tag, AssertionGraph> graphs_;
  std::string fault_;
};

// The groups in which symbols occur, and the question on which side of a partition.
class SymbolGroups {
 public:
  void add(const Term_* term, std::size_t group) {
    for (const Term_* t : SubTerms({term}))
      if (Terms::kind_of(t) == Kind::VARIABLE) groups_[t].push_back(group);
  }
  // A symbol of the atom that the sub-tree low .. high, or what is outside, has not.
  [[nodiscard]] const Term_* missing(const Term_* atom, std::size_t low, std::size_t high,
                                     bool inside) const {
    for (const Term_* t : SubTerms({atom})) {
      if (Terms::kind_of(t) != Kind::VARIABLE) continue;
      const auto found = groups_.find(t);
      if (found == groups_.end()) return t;
      const auto fits = [&](std::size_t group) {
        return (low <= group && group <= high) == inside;
      };
      if (std::none_of(found->second.begin(), found->second.end(), fits)) return t;
    }
    return nullptr;
  }

 private:
  std::unordered_map<const Term_*, std::vector<std::size_t>> groups_;
};

}  // namespace

std::optional<std::string> fault_of_refutation(const ClauseRefutation& refutation,
                                               const std::vector<const Term_*>& assertions,
                                               host::Terms& terms,
                                               la::ItpLinearTermMapper& mapper,
                                               const LemmaProver& prove) {
  return Run(refutation, assertions, terms, mapper, prove).fault();
}

std::optional<std::string> fault_of_places(const ClauseRefutation& refutation,
                                           const std::vector<const Term_*>& assertions,
                                           const VariablePlaces& places) {
  const ClauseProof& proof = refutation.proof;
  const std::size_t groups = places.first.size();
  SymbolGroups symbols;
  for (std::size_t i = 0; i < assertions.size(); ++i)
    if (assertions[i] != nullptr) symbols.add(assertions[i], places.of_assertion[i]);
  for (const Definition& definition : refutation.definitions)
    symbols.add(definition.constant, places.of_assertion[definition.assertion]);
  std::vector<bool> seen(proof.variable_end(), false);
  for (NodeIndex node = 0; node < proof.size(); ++node) {
    if (proof.kind(node) == NodeKind::CHAIN) continue;
    for (const Literal literal : proof.literals(node)) {
      const Variable variable = literal.variable();
      const std::size_t place = places.of_variable[variable];
      const Meaning& meaning = refutation.meaning(variable);
      if (place >= groups) continue;
      const std::string name =
          "v" + std::to_string(variable) + " in group " + std::to_string(place + 1) + ": ";
      if (proof.kind(node) == NodeKind::INPUT) {
        const std::size_t group = places.of_assertion[proof.tag(node)];
        if (group < places.first[place] || group > place)
          return name + "a clause of group " + std::to_string(group + 1) +
                 ", which is not below, has it";
        if (meaning.kind == Meaning::Kind::AUXILIARY && group != place)
          return name + "it is an auxiliary of group " + std::to_string(group + 1);
      }
      if (seen[variable] || meaning.kind != Meaning::Kind::ATOM) continue;
      seen[variable] = true;
      for (std::size_t root = 0; root + 1 < groups; ++root) {
        const std::size_t low = places.first[root];
        const bool of_A = low <= place && place <= root;
        if (const Term_* foreign = symbols.missing(meaning.atom, low, root, of_A))
          return name + "in the partition of group " + std::to_string(root + 1) +
                 " it counts for " + (of_A ? "A" : "B") + ", which has no " +
                 host::term_text(foreign, TEXT);
      }
    }
  }
  return std::nullopt;
}

}  // namespace opal::checker
