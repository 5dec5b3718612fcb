// Interpolants and shared terms of a session, and their verification.

#include <cassert>
#include <utility>

#include "opal/arith/equality_proof.h"
#include "opal/interpolate/partition.h"
#include "opal/session/session_impl.h"
#include "opal/session/shared_term.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

std::string formulas_text(const std::vector<const Term_*>& formulas) {
  constexpr std::size_t LONGEST = 2000;
  std::string text;
  for (const Term_* f : formulas) {
    text += "\n  " + term_text(f, 200);
    if (text.size() > LONGEST) return text + "\n  ...";
  }
  return text;
}

void check_symbols(const InterpolationAnswer& answer) {
  const auto foreign = foreign_symbols(answer);
  for (std::size_t g = 0; g < foreign.size(); ++g) {
    if (foreign[g].empty()) continue;
    throw SessionError("interpolant " + std::to_string(g + 1) + " has " +
                       term_text(foreign[g].front()) +
                       ", which is not shared: " + term_text(answer.interpolants[g]));
  }
}

}  // namespace

ResolvedQuery Session::Impl::resolved(const InterpolationQuery& query,
                                      const Interpolants& answer) {
  need(Verdict::UNSAT);
  ResolvedQuery result = resolve(stack, last.assumptions, query);
  if (answer.terms.size() + 1 != result.first.size())
    throw SessionError("the answer does not belong to the query");
  return result;
}

ResolvedQuery Session::Impl::resolved(const SharedTermQuery& query) {
  InterpolationQuery of_groups{{query.first, query.second}, Grouping::sequence(2)};
  of_groups.unmentioned = query.unmentioned;
  return resolve(stack, last.assumptions, of_groups);
}

VerificationReport Session::Impl::check_steps(
    const std::vector<std::vector<const Term_*>>& steps, const std::string& commands) {
  const auto [answers, handed_on] = ask_outside_solvers(commands, steps, limits);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (answers[i] == "unsat") continue;
    const std::string step =
        "step " + std::to_string(i + 1) + " of " + std::to_string(steps.size());
    const std::string what =
        answers[i] == "sat"
            ? step + " is wrong, its formulas are satisfiable:"
            : step + " is undecided, the outside solver answered '" + answers[i] + "' to:";
    throw SessionError(what + formulas_text(steps[i]));
  }
  return {steps.size(), handed_on};
}

Interpolants Session::Impl::interpolants(const InterpolationQuery& query) {
  need(Verdict::UNSAT);
  const ResolvedQuery found = resolve(stack, last.assumptions, query);
  try {
    return last.road == Road::CONJUNCTIVE ? conjunctive.interpolants(found, query)
                                          : formula.interpolants(found, query);
  } catch (const UnfitStyle& unfit) {
    throw SessionError(unfit.what());
  } catch (const NotInterpolated& why) {
    throw SessionError(why.what());
  }
}

std::optional<std::string> Session::Impl::fault(const ResolvedQuery& query) {
  return last.road == Road::CONJUNCTIVE ? conjunctive.fault(query) : formula.fault(query);
}

GroupedAtoms Session::Impl::shared_term_groups(const ResolvedQuery& found) {
  if (last.road != Road::CONJUNCTIVE || !conjunctive.catch_up(stack))
    throw SessionError("shared terms are for groups that are conjunctions of literals");
  return conjunctive.grouped(found);
}

Interpolants Session::interpolants(const InterpolationQuery& query) {
  Interpolants answer = impl_->interpolants(query);
  impl_->totals.engine_seconds += answer.engine_seconds;
  impl_->totals.raw_size += static_cast<double>(answer.raw_size);
  impl_->totals.size += static_cast<double>(answer.size);
  return answer;
}

std::size_t Session::count_unmentioned(const InterpolationQuery& query) const {
  std::size_t count = impl_->last.assumptions.size();
  for (const bool is_mentioned : mentioned(impl_->stack, query)) {
    if (!is_mentioned) ++count;
  }
  return count;
}

VerificationReport Session::verify(const InterpolationQuery& query,
                                   const Interpolants& answer,
                                   const std::string& outside_solvers) {
  const ResolvedQuery resolved = impl_->resolved(query, answer);
  if (const auto fault = impl_->fault(resolved))
    throw SessionError("the refutation is wrong: " + *fault);
  const Grouping tree(resolved.first);
  const InterpolationAnswer full{&tree, resolved.groups(), resolved.background(),
                                 answer.terms};
  check_symbols(full);
  return impl_->check_steps(verification_steps(impl_->terms, full), outside_solvers);
}

SharedTerm Session::shared_term(const SharedTermQuery& query) {
  try {
    const SharedTerm answer = find_shared_term(
        {impl_->terms, impl_->mapper, impl_->limits, impl_->conjunctive.interpolation()},
        impl_->shared_term_groups(impl_->resolved(query)), query);
    ++impl_->totals.shared_terms;
    impl_->totals.completed_halves += answer.of_A.completed + answer.of_B.completed;
    return answer;
  } catch (const NotSplit& why) {
    throw SessionError(why.what());
  }
}

VerificationReport Session::verify(const SharedTermQuery& query, const SharedTerm& answer,
                                   const std::string& outside_solvers) {
  const ResolvedQuery resolved = impl_->resolved(query);
  const auto foreign =
      foreign_symbols(*impl_->shared_term_groups(resolved).grouping, answer);
  if (!foreign.empty())
    throw SessionError(term_text(foreign.front()) + ", which is not shared, is in " +
                       term_text(answer.term) + " or in an interpolant");
  return impl_->check_steps(verification_steps(impl_->terms, resolved, answer),
                            outside_solvers);
}

}  // namespace opal::host
