#include <algorithm>
#include <ostream>
#include <sstream>

#include "opal/explain/explanation.h"
#include "opal/terms/print/printer.h"
#include "opal/terms/sub_terms.h"

namespace opal::host {

namespace {

using la::LinearTerm;
using Side = Explanation::Side;
using Use = Explanation::Use;

constexpr std::size_t MOST_USES = 12;     // of one step and side
constexpr std::size_t MOST_STEPS = 4;     // of a kind
constexpr std::size_t MOST_NAMES = 12;    // in a list on one line
constexpr std::size_t MOST_SUMMANDS = 8;  // of a constraint

constexpr const char* RELATIONS[] = {"<", "<=", "=", "/=", ">=", ">"};

const char* name(Side side) {
  if (side == Side::SHARED) return "AB";
  return side == Side::A_LOCAL ? "A" : "B";
}

// How many of a long list are shown; one more is shown, not counted.
std::size_t shown_of(std::size_t all, std::size_t most) {
  return all <= most + 1 ? all : most;
}

// "... and 950 more assertions"
std::string rest(std::size_t all, std::size_t shown, const std::string& what) {
  return "... and " + std::to_string(all - shown) + " more " + what;
}

class Printer {
 public:
  Printer(std::ostream& out, const Explanation& explanation, Mapper& mapper,
          const AtomNames& names, const Term_* interpolant)
      : out_(out), what_(explanation), mapper_(mapper), names_(names) {
    const SubTerms parts({interpolant});
    const auto has = [&parts](Kind kind) {
      return std::any_of(parts.begin(), parts.end(),
                         [kind](const Term_* t) { return Terms::kind_of(t) == kind; });
    };
    has_congruence_ = has(Kind::CONGRUENCE);
    has_floor_ = has(Kind::FLOOR);
  }

  void steps() {
    branches();
    several(what_.cuts, "cuts", [this](const auto& cut, std::size_t i) { print(cut, i); });
    several(what_.equalities, "such systems of equalities",
            [this](const auto& equalities, std::size_t) { print(equalities); });
    several(what_.sums, "contradictions",
            [this](const auto& sum, std::size_t) { print(sum); });
  }

  void summed_away() {
    const std::string side = name(what_.kept_side);
    out_ << "  summed away, since only " << side << " knows them: "
         << (what_.summed_away.empty() ? "nothing" : list(what_.summed_away)) << '\n';
  }

 private:
  template <typename Step, typename Print>
  void several(const std::vector<Step>& steps, const char* kind, Print print) {
    const std::size_t shown = shown_of(steps.size(), MOST_STEPS);
    for (std::size_t i = 0; i < shown; ++i)
      print(steps[i], i);
    if (steps.size() > shown) out_ << "  " << rest(steps.size(), shown, kind) << '\n';
  }

  std::string variable(int var) { return term_text(mapper_.var_term(var), 60); }

  // "2x - 1/2*y"; 0 for no variables
  std::string sum_text(const la::Equation& vars) {
    std::string text;
    const std::size_t shown = shown_of(vars.coeffs().size(), MOST_SUMMANDS);
    for (std::size_t i = 0; i < shown; ++i) {
      const auto& [var, coefficient] = vars.coeffs()[i];
      const bool is_negative = coefficient.sign() < 0;
      if (!text.empty()) text += is_negative ? " - " : " + ";
      if (text.empty() && is_negative) text += "-";
      const QNumber size = abs(coefficient);
      if (size != QNumber(1)) text += size.to_str() + (size.is_integer() ? "" : "*");
      text += variable(var);
    }
    if (vars.coeffs().size() > shown)
      text += " + (" + rest(vars.coeffs().size(), shown, "summands") + ")";
    return text.empty() ? "0" : text;
  }

  // An inequality is turned so that its first coefficient is positive.
  std::string text(LinearTerm term) {
    const auto& coeffs = term.vars.coeffs();
    const bool has_direction = term.kind != LinearTerm::EQ && term.kind != LinearTerm::NEQ;
    if (has_direction && !coeffs.empty() && coeffs.front().second.sign() < 0) {
      term.vars.mult(QNumber(-1));
      term.constant = term.constant.neg();
      term.kind = LinearTerm::GT - term.kind;
    }
    return sum_text(term.vars) + " " + RELATIONS[term.kind] + " " + term.constant.to_str();
  }

  // The half that a hypothesis takes of an equality or disequality.
  std::string half_text(int constraint, int sign) {
    LinearTerm term = mapper_.constraint_term(constraint);
    if (term.kind == LinearTerm::EQ && sign != 0)
      term.kind = sign < 0 ? LinearTerm::LEQ : LinearTerm::GEQ;
    if (term.kind == LinearTerm::NEQ && sign != 0)
      term.kind = sign < 0 ? LinearTerm::LT : LinearTerm::GT;
    return text(term);
  }

  std::string origin_text(int constraint) {
    if (mapper_.is_branch(constraint)) return " [branch]";
    const auto name = names_.find(mapper_.constraint_atom(constraint));
    return name == names_.end() ? "" : " [" + name->second + "]";
  }

  // By side, A's first, each side in the order of the proof.
  void print(const std::vector<Use>& uses) {
    for (const Side side : {Side::A_LOCAL, Side::SHARED, Side::B_LOCAL}) {
      const auto is_of_side = [side](const Use& use) { return use.side == side; };
      const auto all =
          static_cast<std::size_t>(std::count_if(uses.begin(), uses.end(), is_of_side));
      const std::size_t shown = shown_of(all, MOST_USES);
      const std::string indent =
          side == Side::SHARED ? "    AB " : std::string("    ") + name(side) + "  ";
      std::size_t count = 0;
      for (auto use = uses.begin(); count < shown; ++use) {
        if (!is_of_side(*use)) continue;
        ++count;
        out_ << indent << use->multiplier << " * (" << half_text(use->constraint, use->sign)
             << ')' << origin_text(use->constraint) << '\n';
      }
      if (all > shown) out_ << indent << rest(all, shown, "assertions") << '\n';
    }
  }

  void branches() {
    several(what_.branches, "branches",
            [this](const Explanation::Branch& branch, std::size_t) {
              const bool of_A = branch.side == Side::A_LOCAL;
              out_ << "  branch: " << half_text(branch.left, 0) << " or "
                   << half_text(branch.right, 0) << ", "
                   << (of_A ? "of A, so the interpolants of the two are joined by or"
                            : "of B, so the interpolants of the two are joined by and")
                   << '\n';
            });
  }

  void print(const Explanation::Cut& cut, std::size_t position) {
    out_ << "  cut " << position + 1 << ": " << text(cut.sum) << " divided by "
         << cut.divisor << ": " << text(cut.rounded) << ", the sum of\n";
    print(cut.uses);
    if (cut.has_both_sides()) print(cut.kept);
  }

  void print(const Explanation::Equalities& equalities) {
    out_ << "  no integers satisfy " << text(equalities.sum) << ", the sum of\n";
    print(equalities.uses);
    print(equalities.kept);
  }

  // Why a congruence or a floor is there: of the kept side's part the divisor leaves a
  // rest.
  void print(const Explanation::Part& part) {
    if (!has_congruence_ && !has_floor_) return;
    if (part.divisor <= QNumber(1)) return;
    la::Equation rest_of_it;
    for (const auto& [var, coefficient] : part.sum.vars.coeffs())
      if (!(coefficient / part.divisor).is_integer()) rest_of_it.add_var(coefficient, var);
    if (!rest_of_it.has_vars()) return;
    if (rest_of_it.coeffs().front().second.sign() < 0) rest_of_it.mult(QNumber(-1));
    const std::string side = name(what_.kept_side);
    out_ << "    " << side << "'s part of it is " << text(part.sum);
    if (!part.own.empty())
      out_ << "; what only " << side << " knows (" << list(part.own)
           << ") has coefficients divisible by " << part.divisor;
    out_ << ": so " << side << " fixes " << sum_text(rest_of_it) << " only modulo "
         << part.divisor << ", hence "
         << (has_congruence_ ? "the congruence" : "the integer division") << '\n';
  }

  void print(const Explanation::Sum& sum) {
    if (sum.disequality != 0)
      out_ << "  one side of " << half_text(sum.disequality, 0)
           << origin_text(sum.disequality) << ": ";
    else
      out_ << "  ";
    out_ << (sum.uses.size() + sum.cuts.size() == 1 ? "this is a contradiction:"
                                                    : "these sum up to a contradiction:")
         << '\n';
    print(sum.uses);
    const std::size_t shown = shown_of(sum.cuts.size(), MOST_USES);
    for (std::size_t i = 0; i < shown; ++i)
      out_ << "       " << sum.cuts[i].first << " * (cut " << sum.cuts[i].second + 1
           << ")\n";
    if (sum.cuts.size() > shown)
      out_ << "       " << rest(sum.cuts.size(), shown, "cuts") << '\n';
  }

  std::string list(const std::vector<int>& variables) {
    std::string text;
    const std::size_t shown = shown_of(variables.size(), MOST_NAMES);
    for (std::size_t i = 0; i < shown; ++i)
      text += (i == 0 ? "" : ", ") + variable(variables[i]);
    if (variables.size() > shown) text += " " + rest(variables.size(), shown, "variables");
    return text;
  }

  std::ostream& out_;
  const Explanation& what_;
  Mapper& mapper_;
  const AtomNames& names_;
  bool has_congruence_ = false;
  bool has_floor_ = false;
};

const char* text_of(CutsReason reason) {
  switch (reason) {
    case CutsReason::ASKED: return "as asked";
    case CutsReason::NO_MIXED_CUT: return "no cut mixes both sides, the styles agree";
    case CutsReason::GROUPS: return "congruences are for two groups";
    case CutsReason::VALUES: return "too many values for congruences";
    case CutsReason::TRIED: break;
  }
  return "the smaller";
}

void print_style(std::ostream& out, const Explanation& explanation,
                 const Interpolants& answer) {
  out << "  mode " << to_string(answer.mode);
  if (!explanation.cuts.empty()) {
    out << ", cuts " << to_string(answer.cuts) << " (" << text_of(answer.cuts_reason)
        << ')';
  }
  if (answer.candidates.size() > 1) {
    const char* separator = "; the smallest of ";
    for (const Interpolants::Candidate& candidate : answer.candidates) {
      out << separator << to_string(candidate.mode);
      if (!explanation.cuts.empty()) out << ' ' << to_string(candidate.cuts);
      out << ' ' << candidate.size;
      separator = ", ";
    }
  }
  out << '\n';
  const char* const kept = answer.mode == Mode::DUAL ? "B" : "A";
  if (answer.mode == Mode::DUAL)
    out << "  dual: what B contributes, denied\n";
  else if (answer.mode == Mode::CONJ)
    out << "  conj: what no variable that only " << kept << " knows links stays apart\n";
}

}  // namespace

void print_explanation(std::ostream& out, const Explanation& explanation, Mapper& mapper,
                       const AtomNames& names, const Interpolants& answer,
                       const Term_* interpolant) {
  Printer printer(out, explanation, mapper, names, interpolant);
  if (answer.origin == Origin::PROOF) {
    print_style(out, explanation, answer);
    printer.steps();
    printer.summed_away();
    return;
  }
  out << "  " << (Terms::kind_of(interpolant) == Kind::FALSE ? "A" : "B")
      << " is contradictory by itself, as ";
  if (answer.origin == Origin::DECISION_OF_ONE_SIDE) {
    out << "was found by deciding it alone\n";
  } else {
    out << "the proof shows, which uses nothing else:\n";
    printer.steps();
  }
}

}  // namespace opal::host
