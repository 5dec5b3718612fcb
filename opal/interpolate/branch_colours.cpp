#include "opal/interpolate/branch_colours.h"

#include <cassert>
#include <stdexcept>
#include <unordered_set>

#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

using Classifier = itp::TheoryAtomClassifier;

[[noreturn]] void refuse(const Term_* atom, const char* why) {
  throw std::logic_error("the branch " + term_text(atom, 200) + " " + why);
}

// By the symbols; both atoms of a branch have the same ones. A term of shared symbols is
// B's in this partition. In one with a larger A it may be A's, never the other way round:
// so the atoms move from the last group to an earlier one, as asserted ones do.
bool is_of_A(const Term_* atom, const Classifier& classifier) {
  const Classifier::status colour = classifier.classify(atom, false);
  if (colour == Classifier::AB_MIXED) refuse(atom, "mixes symbols of two sides");
  if (colour == Classifier::UNKNOWN) refuse(atom, "has a symbol of no group");
  return colour == Classifier::A_LOCAL;
}

}  // namespace

void colour_branches(const std::vector<laz::LaZInternalBBProof*>& branches,
                     const Mapper& mapper, Classifier& classifier) {
  std::unordered_set<const Term_*> entered;
  for (const laz::LaZInternalBBProof* branch : branches) {
    for (const int id : {branch->left_id, branch->right_id}) {
      assert(mapper.is_branch(id));
      const Term_* const atom = mapper.constraint_atom(id);
      if (!entered.insert(atom).second) continue;
      if (classifier.classify_atom(atom) != Classifier::UNKNOWN) {
        refuse(atom, "is an asserted atom");
      }
      if (is_of_A(atom, classifier)) {
        classifier.add_A_atom(atom);
      } else {
        classifier.add_B_atom(atom);
      }
    }
  }
}

Grouping::status constraint_side(int id, const Grouping& grouping, std::size_t root,
                                 const Mapper& mapper) {
  using Status = Grouping::status;
  const Term_* const atom = mapper.constraint_atom(id);
  if (!mapper.is_branch(id)) return grouping.atom_colour(atom, root);
  const Status colour = grouping.symbols_colour(atom, root);
  return colour == Status::SHARED ? Status::B_LOCAL : colour;
}

}  // namespace opal::host
