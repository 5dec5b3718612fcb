// Texts of proofs and coefficient lists, for people who look for a fault.
//
//     (LACOMB: 1 2
//      (LAHYP: 4 0 -> -x2 + 3 >= 0 (<= x 3) A)
//      (LAHYP: 5 0 -> x2 - 7/2 >= 0 (not (< (* 2 x) 7)) B))
//
// A hypothesis has its constraint's id, its sign, the constraint as it enters the sum, and,
// where there is a classifier, its literal with its side.

#include <cassert>
#include <iostream>
#include <sstream>

#include "opal/interfaces/rule_cast.h"
#include "opal/la/interpolator.h"

namespace opal::la {

namespace {

const QNumber& factor(const QNumber* multiplier) {
  return multiplier == nullptr ? LaComb::one : *multiplier;
}

}  // namespace

void Interpolator::debug_dump(LaProof* p) {
  do_debug_dump(p, 0);
  std::cout << std::endl;
}

void Interpolator::do_debug_dump(LaProof* p, int indent) {
  dump(std::cout, p, indent);
  std::cout.flush();
}

// What is still to be written: a text, or, without one, a node on a line of its own.
struct Interpolator::DumpItem {
  const char* text;
  proof::Proof* node;
  int indent;
};

void Interpolator::dump(std::ostream& out, proof::Proof* p, int indent) {
  std::vector<DumpItem> open{{nullptr, p, indent}};
  while (!open.empty()) {
    const DumpItem item = open.back();
    open.pop_back();
    if (item.text != nullptr)
      out << item.text;
    else
      dump_node(out, item, open);
  }
}

// Writes a node without its premises and leaves these to the caller, the first one on top.
void Interpolator::dump_node(std::ostream& out, const DumpItem& item,
                             std::vector<DumpItem>& open) {
  assert(item.text == nullptr && item.indent >= 0);
  for (int i = 0; i < item.indent; ++i)
    out << ' ';
  const auto leave = [&](proof::Proof* premise) {
    open.push_back({nullptr, premise, item.indent + 1});
    open.push_back({"\n", nullptr, 0});
  };
  open.push_back({")", nullptr, 0});
  if (const auto* hyp = as<LaHyp>(item.node)) {
    out << "(LAHYP: ";
    dump_constraint(out, hyp->constraint_id, hyp->sign);
    dump_literal(out, to_lit(hyp->constraint_id));
  } else if (const auto* comb = as<LaComb>(item.node)) {
    out << "(LACOMB: " << factor(comb->coeff1) << ' ' << factor(comb->coeff2);
    leave(comb->premise2);
    leave(comb->premise1);
  } else if (const auto* cut = as<laz::LaZTighteningProof>(item.node)) {
    out << "(LATIGHTHYP: ";
    if (!cut->constraints.empty()) out << cut->constraints.back() << ' ';
    for (std::size_t i = 0; i < cut->coeffs.size() && i < cut->constraints.size(); ++i)
      out << cut->coeffs[i] << '*' << cut->constraints[i] << ' ';
  } else if (const auto* implied = as<LaCombImp>(item.node)) {
    out << "(LACOMBIMP: ";
    dump_constraint(out, implied->constraint_id, implied->sign);
    leave(implied->premise);
  } else if (const auto* neq = as<LaNeq>(item.node)) {
    out << "(LANEQ: " << neq->constraint_id;
    leave(neq->case2);
    leave(neq->case1);
  } else if (const auto* fake = as<LaFakeHyp>(item.node)) {
    out << "(LAFAKEHYP: " << fake->constraint_id << ' ' << fake->sign << ' '
        << fake->equation->to_str(true);
  } else {
    out << "(UNKNOWN: " << static_cast<const void*>(item.node);
  }
}

void Interpolator::dump_constraint(std::ostream& out, int constr_id, int sign) {
  const Equation* const e = get_as_rhs(constr_id, sign);
  out << constr_id << ' ' << sign << " -> " << e->to_str(true);
  if (owned_eqs_.empty() || owned_eqs_.back() != e) return;
  assert(e != &zero_eq_);
  owned_eqs_.pop_back();
  delete e;
}

void Interpolator::dump_literal(std::ostream& out, TheoryLit lit) {
  if (classifier_ == nullptr || lit.has_no_atom()) return;
  out << ' ' << (lit.is_negated() ? "(not " : "") << outterm(mgr_, lit.atom())
      << (lit.is_negated() ? ")" : "") << ' '
      << classifier_->to_str(classifier_->classify(lit.atom(), false));
}

std::string Interpolator::coefflist_to_str(const CoeffList& l) {
  std::ostringstream out;
  for (const auto& [multiplier, e] : l) {
    assert(e != nullptr);
    out << "{ ";
    if (multiplier == nullptr)
      out << "<NULL>";
    else
      out << *multiplier;
    out << ", " << e->to_str(true) << " }";
  }
  return out.str();
}

}  // namespace opal::la
