// A partition's colours seen from either side.

#include "opal/interfaces/atom_classifier.h"

namespace opal::itp {

TheoryAtomClassifier::status TheoryAtomClassifier::seen_from_here(status s) const {
  assert(s <= UNKNOWN);
  if (!flipped_) return s;
  if (s == A_LOCAL) return B_LOCAL;
  if (s == B_LOCAL) return A_LOCAL;
  return s;
}

TheoryAtomClassifier::status TheoryAtomClassifier::classify_atom(const Term_* atom) const {
  assert(atom != nullptr);
  return seen_from_here(colouring_->atom_colour(atom));
}

TheoryAtomClassifier::status TheoryAtomClassifier::classify(const Term_* term,
                                                            bool /*flag*/) const {
  assert(term != nullptr);
  return seen_from_here(colouring_->term_colour(term));
}

TheoryAtomClassifier TheoryAtomClassifier::flip() const {
  TheoryAtomClassifier result(*this);
  result.flipped_ = !flipped_;
  assert(result.colouring_ == colouring_);
  return result;
}

void TheoryAtomClassifier::add_A_atom(const Term_* atom) {
  assert(atom != nullptr);
  colouring_->enter_atom(atom, seen_from_here(A_LOCAL));
  assert(is_A_colorable(classify_atom(atom)));
}

void TheoryAtomClassifier::add_B_atom(const Term_* atom) {
  assert(atom != nullptr);
  colouring_->enter_atom(atom, seen_from_here(B_LOCAL));
  assert(is_B_colorable(classify_atom(atom)));
}

std::string TheoryAtomClassifier::to_str(status s) const {
  switch (s) {
    case SHARED: return "AB-shared";
    case A_LOCAL: return "A";
    case B_LOCAL: return "B";
    case AB_MIXED: return "AB-mixed";
    case UNKNOWN: break;
  }
  return "unknown";
}

}  // namespace opal::itp
