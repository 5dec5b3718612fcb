// Files with which another solver checks an interpolant I of the literals that a proof
// uses:
//
//     la_a_imp_itp.NNN.smt2    A and not I, must be unsatisfiable
//     la_b_and_itp.NNN.smt2    B and I, must be unsatisfiable
//     la_a.NNN.smt2, la_b.NNN.smt2, la_itp.NNN.smt2    A, B and I alone
//
// A node adds to its literal's side
//
//     hypothesis, fake hypothesis    the literal
//     implication                    the literal's negation
//     cut                            the literals of its constraints
//     disequality                    the negation of its equality atom
//     split lemma                    false: it is valid, and stands for a side by itself
//
// Branches and equality sub-proofs add nothing: whoever writes files for these gathers A
// and B on his own. A hypothesis without literal adds nothing either. Any other literal
// that is missing, or on no side, is left out, and a comment in the files names it.

#include <cassert>
#include <cstdio>
#include <fstream>

#include "opal/interfaces/rule_cast.h"
#include "opal/interfaces/term_printer.h"
#include "opal/la/interpolator.h"
#include "opal/utils/hash_set.h"

namespace opal::la {

void Interpolator::debug_dump_interpolation_check(proof::Proof* p, const Term_* itp) {
  write_interpolation_check(p, itp, "");
}

bool Interpolator::write_interpolation_check(proof::Proof* p, const Term_* itp,
                                             const std::string& folder) {
  if (classifier_ == nullptr) fail("null classifier");
  return write_check_files(gather_sides(p), itp, folder);
}

bool Interpolator::write_check_files(const Term_* a, const Term_* b, const Term_* itp,
                                     const std::string& folder) {
  return write_check_files(CheckedSides{a, b, {}}, itp, folder);
}

Interpolator::CheckedSides Interpolator::gather_sides(proof::Proof* p) {
  assert(classifier_ != nullptr);
  CheckedSides sides{mgr_->true_term(), mgr_->true_term(), {}};
  hsh::HashSet<proof::Proof*> visited;
  to_visit_.assign(1, p);
  while (!to_visit_.empty()) {
    proof::Proof* const u = to_visit_.back();
    to_visit_.pop_back();
    if (!visited.insert(u).second || u == nullptr) continue;
    if (const auto* hyp = as<LaHyp>(u)) {
      const TheoryLit lit = to_lit(hyp->constraint_id);
      if (!lit.is_null()) add_to_side(hyp->constraint_id, lit, sides);
    } else if (const auto* comb = as<LaComb>(u)) {
      to_visit_.push_back(comb->premise1);
      to_visit_.push_back(comb->premise2);
    } else if (const auto* implied = as<LaCombImp>(u)) {
      const TheoryLit lit = to_lit(implied->constraint_id);
      to_visit_.push_back(implied->premise);
      add_to_side(implied->constraint_id, lit.has_no_atom() ? lit : !lit, sides);
    } else if (const auto* cut = as<laz::LaZTighteningProof>(u)) {
      for (const int id : cut->constraints)
        add_to_side(id, to_lit(id), sides);
    } else if (const auto* fake = as<LaFakeHyp>(u)) {
      add_to_side(fake->constraint_id, to_lit(fake->constraint_id), sides);
    } else if (const auto* neq = as<LaNeq>(u)) {
      to_visit_.push_back(neq->case1);
      to_visit_.push_back(neq->case2);
      const TheoryLit lit = to_lit(neq->constraint_id);
      add_to_side(neq->constraint_id, lit.has_no_atom() ? lit : TheoryLit(lit.atom(), true),
                  sides);
    } else if (const auto* split = as<LaEqSplitLemma>(u)) {
      const auto status = classify(split->equality);
      if (classifier_->is_B_colorable(status))
        sides.b = mgr_->false_term();
      else if (classifier_->is_A_colorable(status))
        sides.a = mgr_->false_term();
    }
  }
  return sides;
}

void Interpolator::add_to_side(int constr_id, TheoryLit lit, CheckedSides& sides) {
  if (lit.has_no_atom()) {
    sides.left_out.push_back("constraint " + std::to_string(constr_id) +
                             ", which has no literal");
    return;
  }
  const auto status = classify(lit.atom());
  const bool of_B = classifier_->is_B_colorable(status);
  if (!of_B && !classifier_->is_A_colorable(status)) {
    sides.left_out.push_back("constraint " + std::to_string(constr_id) + ", which is " +
                             classifier_->to_str(status));
    return;
  }
  assert(sides.a != nullptr && sides.b != nullptr);
  const Term_*& side = of_B ? sides.b : sides.a;
  side = mgr_->make_and(side, lit.is_negated() ? mgr_->make_not(lit.atom()) : lit.atom());
}

bool Interpolator::write_check_files(const CheckedSides& sides, const Term_* itp,
                                     const std::string& folder) {
  assert(sides.a != nullptr && sides.b != nullptr && itp != nullptr);
  struct File {
    const char* pattern;
    const Term_* formula;
    const char* question;
  };
  const File files[] = {
      {"la_a_imp_itp.%03d.smt2", mgr_->make_and(sides.a, mgr_->make_not(itp)),
       "(check-sat)\n"},
      {"la_b_and_itp.%03d.smt2", mgr_->make_and(sides.b, itp), "(check-sat)\n"},
      {"la_a.%03d.smt2", sides.a, ""},
      {"la_b.%03d.smt2", sides.b, ""},
      {"la_itp.%03d.smt2", itp, ""}};
  const int number = dump_counter_;
  bool written = true;
  for (const File& file : files) {
    char name[256];
    std::snprintf(name, sizeof name, file.pattern, number);
    SmtLib2TermPrinter printer(mgr_, nullptr, "QF_LRA", "", true, nullptr);
    dump_counter_ = number + 1;  // not without a printer
    std::ofstream out(folder.empty() ? name : folder + "/" + name);
    for (const std::string& what : sides.left_out)
      printer.print_comment(out, "left out: " + what);
    printer.print_formula(out, file.formula);
    out << file.question;
    out.close();
    written = written && out.good();
  }
  return written;
}

}  // namespace opal::la
