#ifndef OPAL_LA_INTERPOLATOR_H
#define OPAL_LA_INTERPOLATOR_H

// The engine: one class, whose operations are grouped under the sources that define them.

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "opal/interfaces/atom_classifier.h"
#include "opal/interfaces/equality_interpolants.h"
#include "opal/interfaces/equation.h"
#include "opal/interfaces/exception.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/interfaces/proof.h"
#include "opal/interfaces/proof_manager.h"
#include "opal/interfaces/term.h"
#include "opal/interfaces/term_manager.h"
#include "opal/interfaces/term_mapper.h"
#include "opal/utils/hash_map.h"
#include "opal/utils/hash_set.h"
#include "opal/utils/qnumber.h"

namespace opal::la {

class Solver;

/// The partial interpolant of a proof node: pairs of a multiplier and a constraint, whose
/// weighted sum is the Farkas sum of A's constraints below the node. A null multiplier
/// stands for one. A list owns neither multipliers nor constraints.
using CoeffList = std::vector<std::pair<QNumber*, Equation*>>;

/// Turns refutation proofs of linear arithmetic into Craig interpolants.
///
///     la::Interpolator itp(&terms, &solver, &mapper, la::Interpolator::MODE_SUM, false);
///     const Term_* i = itp.get_interpolant(&classifier, proof);
///
/// i follows from the atoms that `classifier` gives to A, contradicts those it gives to B,
/// and its variables occur on both sides, provided that the proof keeps the promises of
/// docs/proofs.md. One object serves one solver for its lifetime, one request at a time.
/// Objects in different threads share nothing, if their hosts do not.
///
/// The operations are grouped under the source that defines them.
class Interpolator {
 public:
  /// How the interpolant of a rational proof is built.
  enum Mode : std::uint32_t {
    MODE_SUM = 0,   // one inequality: the sum of A's part
    MODE_CONJ = 1,  // the conjunction of those parts of A that no local variable links
    MODE_DUAL = 2   // the negation of the interpolant for A and B exchanged
  };

  /// An impossible proof, or a host that does not answer as it must. docs/embedding.md
  /// lists the messages.
  class error : public Exception {
   public:
    using Exception::Exception;
    error(const error&) = default;
    error& operator=(const error&) = delete;
    ~error() override;
  };

  // --- interpolator.cpp: the object

  /// Keeps the pointers, which must outlive it; asks the mapper for the strictness
  /// variable and the zero constraint. The solver is kept for the caller only. The flag
  /// chooses how integer cuts are expressed: by floor terms, or by congruences.
  Interpolator(TermManager* mgr, Solver* solver, ItpLinearTermMapper* mapper, Mode mode,
               bool floor_tightening);
  Interpolator(const Interpolator&) = delete;
  Interpolator& operator=(const Interpolator&) = delete;
  ~Interpolator();

  // --- proof_walk.cpp: the entry point

  /// The interpolant of the partition that `classifier` describes; `proof` refutes A and
  /// B together. The term belongs to the term manager, the proof stays the caller's.
  /// Throws error for an impossible proof and Exception for an unknown rule; what the
  /// host's operations throw passes through. The object is ready for the next request in
  /// every case; see clear_cache for one that is given up after an exception.
  [[nodiscard]] const Term_* get_interpolant(itp::TheoryAtomClassifier* classifier,
                                             proof::Proof* proof);

  // --- split_driver.cpp: proofs that rest on an equality of both sides

  /// Splits a case split over an equality a = b that mixes both sides: builds a shared term
  /// t, enters a = t in the classifier as A's atom and b = t as B's, records the three
  /// terms in `eq_itp`, and returns a LaNeq over a = t made of A's half of the proof, and
  /// one over b = t made of B's. Any other proof comes back first, with a = t and b = t in
  /// place of every equality that `eq_itp` holds, and null second. docs/embedding.md says
  /// when to call it, docs/proofs.md what the proof must promise.
  ///
  /// Each proof carries one reference, which is the caller's. `classifier` must outlive the
  /// next use of the object. Throws error for an impossible proof; then nothing is recorded
  /// in `eq_itp`, the given proof is as it was but for references that the object holds
  /// until its next split request or its end, and the object answers further requests.
  [[nodiscard]] std::pair<proof::Proof*, proof::Proof*> split_mixed_proof(
      itp::TheoryAtomClassifier* classifier, LaProof* proof, itp::EqItpMap& eq_itp);

  // --- external_proof.cpp: proofs for other programs

  /// The proof as nodes of the manager, whose rules and children the source lists; the
  /// nodes are the manager's. Null when some node has no such form (a fake hypothesis, a
  /// null premise, a constraint without literal); what was converted by then stays in the
  /// manager's cache, as does the whole proof after success: later calls begin with it.
  /// Exceptions of the managers pass through.
  [[nodiscard]] ExternalProof* get_external_proof(ProofManager* pm, proof::Proof* proof);

  // --- proof_dump.cpp: texts for people

  /// Prints a rational proof as an indented tree, and the end of a line, on standard
  /// output. Literals are printed, with their sides, when there is a classifier (see
  /// set_classifier). Branches and equality sub-proofs print as unknown, with an address.
  void debug_dump(LaProof* p);
  /// The same on a stream, indented by `indent` blanks, without the end of the line.
  void dump(std::ostream& out, proof::Proof* p, int indent);
  /// The text of a list: "{ multiplier, constraint }" for each pair.
  [[nodiscard]] static std::string coefflist_to_str(const CoeffList& l);

  // --- check_files.cpp: interpolants for other solvers to check

  /// Writes five scripts into the working directory, numbered from 1 on in this object's
  /// life, for the literals of a proof by their sides and an interpolant of it: two whose
  /// formulas must be unsatisfiable, and the three formulas. The source lists them and what
  /// it leaves out. Files that cannot be written are not. Throws error without a
  /// classifier (see set_classifier), Exception when the term manager makes no printer.
  void debug_dump_interpolation_check(proof::Proof* p, const Term_* itp);
  /// The same in a folder, which must exist ("" is the working directory). False when a
  /// file could not be written whole.
  bool write_interpolation_check(proof::Proof* p, const Term_* itp,
                                 const std::string& folder);
  /// The same for the given literals of A and of B, each a conjunction.
  bool write_check_files(const Term_* a, const Term_* b, const Term_* itp,
                         const std::string& folder);

  // --- interpolator.cpp: the classifier

  /// The classifier by which dumps and check files know sides, or null. A request for an
  /// interpolant or a split sets it to the one that it was given. It must be alive when it
  /// is used.
  void set_classifier(itp::TheoryAtomClassifier* classifier);

  // --- interpolator.cpp: the caches

  /// Deletes all lists and constraints of the last request; bucket arrays keep their size,
  /// and a few empty lists stay.
  /// Every request begins with it and a successful one ends with it. The destructor does
  /// not do it: whoever destroys an object whose last request threw calls it before.
  void clear_cache();

  /// How many combinations of values of cuts were looked at while interpolants were built,
  /// and how many of them gave a disjunct. Both count from construction on.
  [[nodiscard]] std::uint64_t combinations_visited() const { return combinations_visited_; }
  [[nodiscard]] std::uint64_t combinations_survived() const {
    return combinations_survived_;
  }

 protected:
  // What follows is for the operations of the engine and for tests, which derive a class
  // to reach it.

  /// The two halves of a proof node split at a mixed equality, each with its sum; the first
  /// alone for a node that is rewritten. Holds one reference to each proof; the sums are
  /// owned elsewhere.
  struct SplitData {
    proof::Proof* proof_a = nullptr;
    proof::Proof* proof_b = nullptr;
    Equation* eq_a = nullptr;
    Equation* eq_b = nullptr;
  };

  /// What a split request learns of its proof on the way.
  struct SplitRequest {
    LaNeq* root = nullptr;               // the proof when it is a case split
    TheoryLit root_lit;                  // its literal
    bool splitting = false;              // its equality mixes both sides
    LaHyp* first_hyp = nullptr;          // the first hypothesis on the equality
    LaHyp* last_hyp = nullptr;           // the last one, if it is not the first
    const QNumber* last_mult = nullptr;  // the last one's multiplier
    bool case1_has_hyp = false;
    bool case2_has_hyp = false;
  };

  /// What the shared part of a cut's constraint must satisfy for the cut to take a value.
  struct LaZModEqPattern {
    LaZModEqPattern(const Term_* term, const Symbol* symbol, QNumber coeff_gcd,
                    QNumber neg_const, QNumber scale)
        : term_(term),
          symbol_(symbol),
          coeff_gcd_(std::move(coeff_gcd)),
          neg_const_(std::move(neg_const)),
          scale_(std::move(scale)) {}

    const Term_* term_;     // the shared part as a linear term, or the numeral 0
    const Symbol* symbol_;  // a congruence, or equality when every variable is shared
    QNumber coeff_gcd_;     // common divisor of all coefficients
    QNumber neg_const_;     // minus the constant
    QNumber scale_;         // the factor that made the coefficients integers
  };

  /// A linear term with coprime integer coefficients, and the factor that made it so.
  using LaZLeqPattern = std::pair<const Term_*, QNumber>;
  /// For each cut in a sum: its variable, the variable's coefficient, its current value.
  using LaZCutValues = std::vector<std::pair<int, std::pair<QNumber, QNumber>>>;

  /// The shared part of a constraint as a term (null when there is none), with the common
  /// divisors of the coefficients of the other variables, and of all variables.
  struct SharedPart {
    const Term_* term = nullptr;
    QNumber local_gcd;
    QNumber gcd;
  };

  /// The constraint that a cut rounds, and what each side contributes to it.
  struct CutSums {
    Equation* all;
    Equation* of_A;
    Equation* of_B;
    bool a_only = true;  // no constraint was B's
    bool b_only = true;  // none was A's
  };

  /// A node to be exported: its rule, null for none, and its children, null where there is
  /// none.
  struct ExternalNode {
    const char* rule = nullptr;
    std::vector<ExternalProof*> children;
  };

  /// The literals of each side of a proof as conjunctions, and what belongs to neither.
  struct CheckedSides {
    const Term_* a;
    const Term_* b;
    std::vector<std::string> left_out;
  };

  /// Whether the inequality of a sum is strict.
  enum Strictness { NON_STRICT, STRICT };

  /// What a split request makes of a proof.
  enum SplitMode { REWRITING, SPLITTING };

  struct DumpItem;   // proof_dump.cpp
  class LongList;    // long_list.h
  class MergeTable;  // merge_table.h
  using TermSet = hsh::HashSet<const Term_*>;

  TermManager* mgr_;             // builds every term of an interpolant
  Solver* solver_;               // the caller's; never read here
  ItpLinearTermMapper* mapper_;  // translates ids into literals, linear terms and terms
  itp::TheoryAtomClassifier* classifier_;  // of the current request, or set, or null
  Mode mode_;                              // how interpolants are built
  bool floor_tightening_;                  // cuts as floor terms instead of congruences
  hsh::HashMap<proof::Proof*, CoeffList*> proof_cache_;  // owned list of each handled node
  int delta_var_;                                        // the strictness variable
  int zero_constr_id_;                    // id of the trivial constraint 0 >= 0
  Equation zero_eq_;                      // the zero constraint; shared, never deleted
  std::vector<proof::Proof*> to_visit_;   // depth-first stack of the proof walks
  std::vector<const Term_*> term_stack_;  // work stack over terms
  TermSet seen_terms_;                    // visited terms of collect_vars
  hsh::HashMap<proof::Proof*, SplitData> split_cache_;  // halves of each split node
  std::vector<Equation*> owned_eqs_;  // every constraint allocated in this request
  LaHyp* zero_proof_;                 // hypothesis 0 >= 0, made on first use; one reference
  std::int32_t dump_counter_;         // number of the next interpolation check files
  hsh::HashMap<int, std::pair<QNumber, Equation*>> tight_vars_;  // bound and sum of a cut
  std::vector<Equation*> side_constraints_;  // premise of the final interpolant
  hsh::HashMap<int, TheoryLit> bb_lits_;     // literals of branches by constraint id
  bool in_laz_bb_;  // the request's root is a branch-and-bound proof
  std::vector<std::unique_ptr<CoeffList>> spare_lists_;  // short lists, to be used again
  std::unique_ptr<MergeTable> merge_table_;              // its memory is used again
  std::uint64_t combinations_visited_ = 0;   // of values of cuts, since construction
  std::uint64_t combinations_survived_ = 0;  // those that gave a disjunct

  // --- interpolator.cpp: caches and look-ups

  /// Throws error with the message.
  [[noreturn]] static void fail(const std::string& message);
  /// The list of a node, or null.
  [[nodiscard]] CoeffList* find_in_cache(proof::Proof* p);
  /// Makes a new empty list the entry of `p` and returns it. An entry that is replaced is
  /// no longer owned.
  CoeffList* store_in_cache(proof::Proof* p);
  /// The literal of a constraint, a branch's included; null when the id is not mapped.
  [[nodiscard]] TheoryLit to_lit(int constr_id);
  /// The side of an atom: by the table of atoms, else by its symbols.
  [[nodiscard]] itp::TheoryAtomClassifier::status classify(const Term_* atom);
  [[nodiscard]] bool is_zero_constr(int constr_id) const {
    return constr_id == zero_constr_id_;
  }
  [[nodiscard]] Equation* get_zero() { return &zero_eq_; }
  /// The constraint with an id as the mapper hands it out.
  [[nodiscard]] LinearTerm linear_term_of(int constr_id);
  /// The constraint with an id as an equation >= 0, owned through owned_eqs_; `sign` -1
  /// picks the at-most half of an equality or disequality.
  [[nodiscard]] Equation* get_as_rhs(int constr_id, int sign);
  /// Moves a constraint to the heap and owns it.
  Equation* own(Equation e);
  /// The term of a variable; an error when the mapper has none.
  [[nodiscard]] const Term_* term_of(int var);

  // --- proof_walk.cpp: the walk

  /// The interpolant of a proof that is no branch-and-bound tree, for classifier_.
  [[nodiscard]] const Term_* do_get_interpolant(proof::Proof* proof);
  /// The interpolant of a lemma or of an equality sub-proof; null for any other proof.
  [[nodiscard]] const Term_* root_only_interpolant(proof::Proof* proof);
  /// Handles every node of the proof, premises first.
  void walk(proof::Proof* proof, TermSet& vars);
  /// The term of a walked proof, by the list of its root or of the cases of a disequality.
  [[nodiscard]] const Term_* root_term(proof::Proof* proof);
  /// side_constraints_ as the premise of an interpolant.
  [[nodiscard]] const Term_* under_side_constraints(const Term_* interpolant);
  /// Deletes the list of a premise that nobody else can ask for.
  void forget_premise(proof::Proof* premise, LongList& index);

  // --- farkas_rules.cpp: one handler for each rational rule. The node is the top of
  // to_visit_. A handler either pushes the premises that have no list yet, or pops the
  // node and stores its list. The set collects the variables of B's constraints.

  void handle_hyp(LaHyp* hyp, TermSet& vars);
  void handle_fakehyp(LaFakeHyp* hyp, TermSet& vars);
  void handle_comb(LaComb* comb, TermSet& vars);
  void handle_comb_imp(LaCombImp* node, TermSet& vars);
  /// Stores nothing: the cases of a disequality are joined when the walk ends.
  void handle_neq(LaNeq* neq, TermSet& vars);
  /// True for a constraint of A; records the variables of one of B. An error, with the
  /// text given, for a null literal and for an atom of neither side.
  bool is_constraint_of_A(TheoryLit lit, const char* unknown, const char* mixed,
                          TermSet& vars);
  /// Stores the list of the single pair of a constraint with multiplier one.
  void store_single(proof::Proof* p, Equation* e);
  /// Adds every variable and uninterpreted application in `t` to `*vars`.
  void collect_vars(const Term_* t, TermSet* vars);

  // --- coefficient_lists.cpp: arithmetic on lists

  /// c1 * e1 + c2 * e2, a new constraint owned through owned_eqs_.
  Equation* get_comb(QNumber* c1, Equation* e1, QNumber* c2, Equation* e2);
  /// The weighted sum of a list, a new constraint; leaves a longer list as its sum.
  Equation* build_equation(CoeffList& list);
  /// Appends to `*out` the merge of two lists: constraints linked by a variable whose
  /// term is not in `vars` are summed, all others stay apart.
  void combine_eq_coeff_lists(CoeffList& l1, CoeffList& l2, CoeffList* out,
                              const TermSet& vars);
  /// Replaces a list by the single pair of its weighted sum; a list of one pair stays.
  void fold(CoeffList& list);
  /// True when `var` may not stay in the interpolant.
  [[nodiscard]] bool is_eliminable(int var, const TermSet& vars);
  /// True when an eliminable variable occurs in both constraints.
  [[nodiscard]] bool are_linked(const Equation& a, const Equation& b, const TermSet& vars);
  /// Merges two different constraints with few variables as merge_table_ would.
  void merge_two(CoeffList& pairs, const TermSet& vars);
  /// True when merge_table_ writes e2 before e1, to which it was given before.
  [[nodiscard]] static bool comes_first(const Equation& e2, const Equation& e1);

  // --- long_list.cpp: lists that grow along a chain

  /// Combines two listed premises in place when one is long and nobody else's: its list
  /// becomes the node's. False when the node has to be handled as usual.
  bool extend_long_list(LaComb* comb, LongList& index);

  // --- term_construction.cpp: lists become terms

  /// The atom e >= 0 (or e > 0); without `as_atom` the linear term of a non-strict e.
  [[nodiscard]] const Term_* build_leq_term(const Equation* e, bool as_atom);
  /// The interpolant of the list of a proof's root.
  [[nodiscard]] const Term_* build_term_from_eq_list(CoeffList& list);

  // --- tightening.cpp: cuts by values

  /// Like the handlers of farkas_rules.cpp. A cut of both sides leaves its variable in the
  /// list, with its bound and A's part in tight_vars_, or a side constraint.
  void handle_tightproof(laz::LaZTighteningProof* p, TermSet& vars);
  /// Refuses a cut without conclusion, or with fewer multipliers than premises.
  static void check_cut(const laz::LaZTighteningProof& p);
  /// The literal of a constraint of a cut, not null; an error, with the text given, if it
  /// is.
  [[nodiscard]] TheoryLit literal_in_cut(int constr_id, const char* unknown);
  /// The sign with which equalities among the premises are multiplied.
  [[nodiscard]] int direction_of(const laz::LaZTighteningProof& p);
  /// The constraint of a premise in the direction that serves the conclusion.
  [[nodiscard]] Equation* premise_of(const laz::LaZTighteningProof& p, std::size_t i,
                                     int direction);
  /// The list of a cut whose constraints were summed up.
  [[nodiscard]] Equation* rounded_part(const laz::LaZTighteningProof& p,
                                       const CutSums& sums);
  /// The sum of the side that a constraint with this status counts for; an error for an
  /// atom of neither side.
  [[nodiscard]] Equation* side_of_cut(itp::TheoryAtomClassifier::status s, CutSums& sums);
  /// target += q * e, for a target in owned_eqs_.
  void add_multiple(Equation* target, QNumber q, Equation* e);
  /// True when each variable may belong to either side.
  [[nodiscard]] bool is_shared(const Equation& e);

  // --- floor_tightening.cpp: cuts by floor terms

  void handle_tightproof_floor(laz::LaZTighteningProof* p, TermSet& vars);
  /// True for the status of an atom that A may own; an error for one of neither side.
  [[nodiscard]] bool may_be_of_A(itp::TheoryAtomClassifier::status s);
  /// e / g with whatever part of it is not integral under one floor term.
  [[nodiscard]] Equation round_shared_part(const Equation& e, const QNumber& g);
  /// The variable that stands for the floor of a sum of multiples of terms; a null term
  /// stands for 1.
  [[nodiscard]] int floor_variable(
      const std::vector<std::pair<QNumber, const Term_*>>& summands);

  // --- modular_patterns.cpp: what variables of one side leave behind

  /// Makes the coefficients coprime integers, in place.
  [[nodiscard]] LaZLeqPattern build_laz_leq_pattern(Equation* e);
  /// What the shared part of a cut's constraint must satisfy; makes its coefficients
  /// integers, in place.
  [[nodiscard]] LaZModEqPattern build_laz_mod_eq_pattern(Equation* e);
  /// What the shared part of e must satisfy so that e = 0 has an integer solution in the
  /// other variables.
  [[nodiscard]] const Term_* build_laz_mod_eq_term(Equation* e);
  [[nodiscard]] SharedPart split_off_shared_part(const Equation& e);

  // --- cut_values.cpp: all values of the cuts in a sum

  /// The interpolant `sum >= 0` without the variables of cuts in it.
  [[nodiscard]] const Term_* build_term_without_cuts(const Equation& sum);
  /// The disjunct of the current values, or null when they are impossible.
  [[nodiscard]] const Term_* build_laz_tight_subterm(
      const LaZLeqPattern& leq, const std::vector<LaZModEqPattern>& patterns,
      const LaZCutValues& values, Strictness strictness = NON_STRICT);
  /// The inequality bound <= t, or bound < t, or its truth when t is a numeral.
  [[nodiscard]] const Term_* bounded_below(const Term_* t, const QNumber& bound,
                                           Strictness strictness);
  /// Steps to the next values, the last fastest; false when all are back at 0.
  bool get_laz_next_tvar_values(LaZCutValues& values);
  /// Skips all values that agree with the current ones up to the last one given.
  void skip_laz_tvar_values(LaZCutValues& values, std::size_t last);
  /// The first cut whose value is impossible, whatever the others are; or their number.
  [[nodiscard]] std::size_t first_impossible_value(
      const std::vector<LaZModEqPattern>& patterns, const LaZCutValues& values);
  [[nodiscard]] bool is_possible(const LaZModEqPattern& pattern, const QNumber& value);
  [[nodiscard]] const QNumber& bound_of(int tight_var);

  // --- branch_and_bound.cpp: branches on integer terms

  /// The interpolant of a tree of branches; ends the request's use of bb_lits_.
  [[nodiscard]] const Term_* do_get_laz_bb_interpolant(laz::LaZInternalBBProof* root);
  /// Joins the interpolants of the branches by the colour of the branch's atoms.
  [[nodiscard]] const Term_* join_branches(const laz::LaZInternalBBProof& node,
                                           const Term_* left, const Term_* right);
  /// Makes the literal of a branch's constraint that of its id.
  void map_laz_bb_tlit(int id, const LinearTerm& lt);
  [[nodiscard]] const Term_* get_interpolant_from_laz_bb_lemma(laz::LaZBBLemma* lemma);

  // --- equality_subproof.cpp: equalities without integer solution

  [[nodiscard]] const Term_* get_interpolant_from_laz_eqproof(laz::LaZEqSubProof* p);

  // --- split_lemma.cpp: equality or one of two inequalities

  [[nodiscard]] const Term_* get_interpolant_from_split_lemma(LaEqSplitLemma* lemma);

  // --- split_driver.cpp: the split request

  /// Gives the references in split_cache_ back and empties it. Every split request begins
  /// and ends with it.
  void clear_split_cache();
  /// Finds the colour of a case split's equality, and with it whether to split.
  void enter_split_root(SplitRequest& request);
  /// Fills split_cache_ for every node in to_visit_ and below, premises first.
  void split_walk(SplitRequest& request, itp::EqItpMap& eq_itp);
  /// Remembers hypotheses on the split equality, and their multipliers.
  void track_hypotheses(proof::Proof* p, SplitRequest& request);
  /// The rewritten proof with one reference.
  [[nodiscard]] proof::ProofRef rewritten_root(LaProof* proof, const SplitRequest& request);
  /// The sides of the split equality and its shared term, which is what A's half of the
  /// first case bounds a by; leaves in `case1` both halves' sums without the sides.
  [[nodiscard]] itp::EqItpInfo find_shared_term(const SplitRequest& request,
                                                SplitData& case1);
  /// The two halves of the proof, after the walk; records the split.
  [[nodiscard]] std::pair<proof::ProofRef, proof::ProofRef> split_root(
      const SplitRequest& request, itp::EqItpMap& eq_itp);

  // --- split_rules.cpp: one handler for each rule that can be split or rewritten. The node
  // is the top of to_visit_. A handler either pushes the premises that have no entry yet,
  // or pops the node and fills its entry in split_cache_. `root_lit` is the literal of the
  // root, null when that is no case split.

  void split_mixed_handle_comb(LaComb* p, TheoryLit root_lit, bool splitting,
                               itp::EqItpMap& eq_itp);
  void split_mixed_handle_hyp(LaHyp* p, TheoryLit root_lit, bool splitting,
                              itp::EqItpMap& eq_itp);
  void split_mixed_handle_fakehyp(LaFakeHyp* p, TheoryLit root_lit, bool splitting,
                                  itp::EqItpMap& eq_itp);
  void split_mixed_handle_comb_imp(LaCombImp* p, TheoryLit root_lit, bool splitting,
                                   itp::EqItpMap& eq_itp);
  /// Each takes a reference of its own.
  static void set_a(SplitData& entry, proof::Proof* p, Equation* sum);
  static void set_b(SplitData& entry, proof::Proof* p, Equation* sum);
  /// True for an atom that B may own; an error, with the text given, for one of neither
  /// side, and, rewriting, for one that mixes both or is unknown.
  [[nodiscard]] bool splits_to_B(const Term_* atom, SplitMode mode, const char* mixed);
  /// A hypothesis on an equality that was split before.
  void replace_by_fakes(LaHyp* p, const itp::EqItpInfo& info, SplitMode mode,
                        SplitData& entry);
  /// A LaComb with references of its own and copies of the multipliers.
  [[nodiscard]] static proof::ProofRef combine(const QNumber* c1, proof::Proof* p1,
                                               const QNumber* c2, proof::Proof* p2);

  // --- fake_hypotheses.cpp: hypotheses on the two halves of an equality

  /// Fake hypotheses on a = t and b = t, which add up to `hyp`, a half of a = b or one of
  /// its strict sides. Each has one reference, which is the caller's. `eq_x` is t when the
  /// mapper writes the equality as b - a, else `eq_y` is.
  [[nodiscard]] std::pair<LaFakeHyp*, LaFakeHyp*> make_fake_hyp(const Term_* a,
                                                                const Term_* b,
                                                                const Term_* t, LaHyp* hyp,
                                                                Equation* eq_x,
                                                                Equation* eq_y);
  /// The hypothesis 0 >= 0, of which the object holds the first reference.
  [[nodiscard]] LaHyp* get_zero_proof();

  // --- linear_expressions.cpp: terms as linear expressions

  /// Adds the linear form of `t` to `out`; a product without a numeral factor adds nothing.
  void do_make_linear_expr(const Term_* t, Equation& out);
  /// Adds the linear forms of both terms; true when `lt` is exactly b minus a.
  bool make_linear_exprs(const Term_* a, const Term_* b, const LinearTerm& lt, Equation& ea,
                         Equation& eb);
  /// dst -= src
  void sub_equation(Equation* dst, const Equation& src);
  /// dst += q * src
  void add_equation(Equation* dst, const QNumber& q, const Equation& src);
  /// Adds an expression, negated or not, to the left side of a relation, its constant with
  /// the opposite sign to the right side.
  void add_to_linear(LinearTerm& lt, const Equation& e, bool negate);
  /// The same relation, variables, coefficients and constant.
  [[nodiscard]] bool linear_equal(const LinearTerm& x, const LinearTerm& y) const;

  // --- external_proof.cpp: nodes as external nodes

  /// Fills `node` for a rational rule, or leaves its rule null. The premises are converted.
  void export_rational_rule(ProofManager& pm, proof::Proof* p, ExternalNode& node);
  void export_integer_rule(ProofManager& pm, proof::Proof* p, ExternalNode& node);
  void export_hypothesis(ProofManager& pm, TheoryLit lit, int sign, ExternalNode& node);
  /// A multiplier and a literal for each id.
  void export_constraints(ProofManager& pm, const std::vector<int>& ids,
                          const std::vector<QNumber>& coeffs, ExternalNode& node);
  /// The leaf of a literal; null without an atom.
  ExternalProof* export_literal(ProofManager& pm, TheoryLit lit);
  ExternalProof* export_number(ProofManager& pm, const QNumber& q);

  // --- proof_dump.cpp: nodes as texts

  void do_debug_dump(LaProof* p, int indent);
  void dump_node(std::ostream& out, const DumpItem& item, std::vector<DumpItem>& open);
  /// Prints a constraint with its id and sign; leaves owned_eqs_ as it was.
  void dump_constraint(std::ostream& out, int constr_id, int sign);
  void dump_literal(std::ostream& out, TheoryLit lit);

  // --- check_files.cpp: what a proof uses

  [[nodiscard]] CheckedSides gather_sides(proof::Proof* p);
  void add_to_side(int constr_id, TheoryLit lit, CheckedSides& sides);
  bool write_check_files(const CheckedSides& sides, const Term_* itp,
                         const std::string& folder);
};

}  // namespace opal::la

#endif
