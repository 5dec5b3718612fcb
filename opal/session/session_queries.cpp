#include <utility>

#include "opal/arith/equality_proof.h"
#include "opal/checker/proof_checker.h"
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

std::vector<const Term_*> Session::Impl::atoms() const {
  std::vector<const Term_*> result;
  const auto append = [&](const std::vector<Conjunction>& parts) {
    for (const Conjunction& part : parts) {
      result.insert(result.end(), part.atoms.begin(), part.atoms.end());
    }
  };
  append(stack.parts());
  append(assumptions);
  return result;
}

ResolvedQuery Session::Impl::resolved(const InterpolationQuery& query,
                                      const Interpolants& answer) {
  need(Verdict::UNSAT);
  ResolvedQuery result = resolve(stack, assumptions, query, limits);
  if (answer.terms.size() + 1 != result.groups.size())
    throw SessionError("the answer does not belong to the query");
  return result;
}

ResolvedQuery Session::Impl::resolved(const SharedTermQuery& query) {
  InterpolationQuery of_groups{{query.first, query.second}, Grouping::sequence(2)};
  of_groups.unmentioned = query.unmentioned;
  return resolve(stack, assumptions, of_groups, limits);
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

Interpolants Session::Impl::interpolants(ResolvedQuery& resolved,
                                         const InterpolationQuery& query) {
  try {
    return interpolation.interpolants(
        proof.get(),
        {resolved.grouping, std::move(resolved.atoms), query.mode, query.cuts, query.raw});
  } catch (const UnfitStyle& unfit) {
    throw SessionError(unfit.what());
  }
}

Interpolants Session::interpolants(const InterpolationQuery& query) {
  impl_->need(Verdict::UNSAT);
  ResolvedQuery resolved = resolve(impl_->stack, impl_->assumptions, query, impl_->limits);
  Interpolants answer = impl_->interpolants(resolved, query);
  impl_->engine_seconds += answer.engine_seconds;
  impl_->raw_size += static_cast<double>(answer.raw_size);
  impl_->size += static_cast<double>(answer.size);
  return answer;
}

std::size_t Session::count_unmentioned(const InterpolationQuery& query) const {
  std::size_t count = impl_->assumptions.size();
  for (const bool is_mentioned : mentioned(impl_->stack, query)) {
    if (!is_mentioned) ++count;
  }
  return count;
}

VerificationReport Session::verify(const InterpolationQuery& query,
                                   const Interpolants& answer,
                                   const std::string& outside_solvers) {
  ResolvedQuery resolved = impl_->resolved(query, answer);
  ProofChecker checker(impl_->mapper, impl_->atoms());
  if (const auto fault =
          impl_->interpolation.fault(impl_->proof.get(), resolved.grouping, checker))
    throw SessionError("the refutation is wrong: " + *fault);
  const InterpolationAnswer full{resolved.grouping.get(), std::move(resolved.groups),
                                 std::move(resolved.background), answer.terms};
  check_symbols(full);
  return impl_->check_steps(verification_steps(impl_->terms, full), outside_solvers);
}

SharedTerm Session::shared_term(const SharedTermQuery& query) {
  try {
    const SharedTerm answer =
        find_shared_term({impl_->terms, impl_->mapper, impl_->limits, impl_->interpolation},
                         impl_->resolved(query), query);
    ++impl_->shared_terms;
    impl_->completed_halves += answer.of_A.completed + answer.of_B.completed;
    return answer;
  } catch (const NotSplit& why) {
    throw SessionError(why.what());
  }
}

VerificationReport Session::verify(const SharedTermQuery& query, const SharedTerm& answer,
                                   const std::string& outside_solvers) {
  const ResolvedQuery groups = impl_->resolved(query);
  const auto foreign = foreign_symbols(groups, answer);
  if (!foreign.empty())
    throw SessionError(term_text(foreign.front()) + ", which is not shared, is in " +
                       term_text(answer.term) + " or in an interpolant");
  return impl_->check_steps(verification_steps(impl_->terms, groups, answer),
                            outside_solvers);
}

}  // namespace opal::host
