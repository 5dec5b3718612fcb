// A proof as text, for people who look for a fault. A branch that several paths share is
// printed once; the cost is linear in the text:
//
//     x2 is u
//     3 is (<= u 2)
//     (LABRANCH 1: 8 -> -1*x2 + 3 >= 0 or 9 -> 1*x2 - 4 >= 0
//      (LACOMB: 1 1
//       (LAHYP: 3 0 -> ...
//      (LAEQSUB: 1/2*4 1/2*5 ))

#include "opal/proofs/proof_listing.h"

#include <cassert>
#include <ostream>
#include <set>
#include <unordered_map>
#include <vector>

#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/rule_cast.h"
#include "opal/la/interpolator.h"
#include "opal/proofs/farkas.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

constexpr std::size_t LONGEST = 200;  // of a term's text

// A branch's constraint as `... >= 0`.
std::string equation_text(const la::LinearTerm& term) {
  assert(term.kind == la::LinearTerm::LEQ || term.kind == la::LinearTerm::GEQ);
  la::Equation e = term.vars;
  e.add_const(term.constant.neg());
  if (term.kind == la::LinearTerm::LEQ) e.mult(QNumber(-1));
  return e.to_str(true);
}

void print_legend(std::ostream& out, const proof::Proof& proof, Mapper& mapper) {
  std::set<int> variables;
  bool is_strict = false;
  const std::vector<int> ids = proof_constraints(proof);
  for (const int id : ids) {
    if (id == Mapper::ZERO_CONSTRAINT) continue;
    const la::LinearTerm& term = mapper.constraint_term(id);
    for (const auto& pair : term.vars.coeffs())
      variables.insert(pair.first);
    is_strict = is_strict || term.kind == la::LinearTerm::LT ||
                term.kind == la::LinearTerm::GT || term.kind == la::LinearTerm::NEQ;
  }
  if (is_strict)
    out << 'x' << Mapper::DELTA_VAR << " is positive and as small as one likes\n";
  for (const int var : variables)
    out << 'x' << var << " is " << term_text(mapper.var_term(var), LONGEST) << '\n';
  for (const int id : ids) {
    if (id == Mapper::ZERO_CONSTRAINT) continue;
    out << id << " is " << term_text(mapper.constraint_atom(id), LONGEST)
        << (mapper.is_branch(id) ? ", a branch\n" : "\n");
  }
}

class Dump {
 public:
  Dump(std::ostream& out, Terms& terms, Mapper& mapper)
      : out_(out),
        interpolator_(&terms, nullptr, &mapper, la::Interpolator::MODE_SUM, false) {}

  void print(proof::Proof& root) {
    assert(numbers_.empty());
    std::vector<Item> open{{&root, 0, 0}};
    while (!open.empty()) {
      const Item item = open.back();
      assert(item.node != nullptr && item.indent >= 0 && item.ends >= 0);
      open.pop_back();
      const auto* const branch = la::as<laz::LaZInternalBBProof>(item.node);
      if (branch != nullptr && print_branch(*branch, item.indent)) {
        open.push_back({branch->right, item.indent + 1, item.ends + 1});
        open.push_back({branch->left, item.indent + 1, 0});
        continue;
      }
      if (branch == nullptr) print_leaf(*item.node, item.indent);
      for (int i = 0; i < item.ends; ++i)
        out_ << ')';
      out_ << '\n';
    }
  }

 private:
  struct Item {
    proof::Proof* node;
    int indent;
    int ends;  // branches that end with it
  };

  void indent(int by) {
    for (int i = 0; i < by; ++i)
      out_ << ' ';
  }

  // Whether the two sides are still to be printed.
  bool print_branch(const laz::LaZInternalBBProof& node, int by) {
    indent(by);
    const auto [entry, is_new] = numbers_.emplace(&node, numbers_.size() + 1);
    out_ << "(LABRANCH " << entry->second << ": ";
    if (!is_new) {
      out_ << "as above)";
      return false;
    }
    out_ << node.left_id << " -> " << equation_text(node.left_term) << " or "
         << node.right_id << " -> " << equation_text(node.right_term) << '\n';
    return true;
  }

  void print_leaf(proof::Proof& node, int by) {
    const auto* const sub = la::as<laz::LaZEqSubProof>(&node);
    if (sub == nullptr) return interpolator_.dump(out_, &node, by);
    assert(sub->coeffs.size() == sub->constraints.size());
    indent(by);
    out_ << "(LAEQSUB: ";
    for (std::size_t i = 0; i < sub->constraints.size(); ++i)
      out_ << sub->coeffs[i] << '*' << sub->constraints[i] << ' ';
    out_ << ')';
  }

  std::ostream& out_;
  la::Interpolator interpolator_;
  std::unordered_map<const proof::Proof*, std::size_t> numbers_;  // of branches
};

}  // namespace

void dump_proof(std::ostream& out, proof::Proof& proof, Terms& terms, Mapper& mapper) {
  print_legend(out, proof, mapper);
  Dump(out, terms, mapper).print(proof);
}

}  // namespace opal::host
