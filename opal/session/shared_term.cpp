#include "opal/session/shared_term.h"

#include <cassert>
#include <utility>

#include "opal/interpolate/equality_split.h"
#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

std::string model_text(const EqualityModel& model, const SharedTermQuery& query) {
  constexpr std::size_t LONGEST = 2000;
  const std::string sides = " " + term_text(query.a, 200) + " " + term_text(query.b, 200);
  std::string text = "the groups do not imply (=" + sides + "): (" +
                     (model.below ? "<" : ">") + sides + ") has the model";
  const char* separator = " ";
  for (const Term_* v : model.variables) {
    text += separator + term_text(v) + " = " +
            number_text(model.values.at(v), Terms::sort_of(v));
    separator = ", ";
    if (text.size() > LONGEST) return text + ", ...";
  }
  return text;
}

}  // namespace

SharedTerm find_shared_term(const SharedTermContext& context, const GroupedAtoms& groups,
                            const SharedTermQuery& query) {
  Terms& terms = context.terms;
  Grouping grouping(*groups.grouping);
  std::vector<const Term_*> atoms = groups.atoms[0];
  atoms.insert(atoms.end(), groups.atoms[1].begin(), groups.atoms[1].end());
  const Term_* equality = nullptr;
  {
    const BuildingFlagScope as_written(terms, 0);
    equality = terms.make_equal(query.a, query.b);
  }
  for (const Term_* atom : floor_definitions(terms, equality)) {
    const bool of_A = grouping.symbols_colour(atom, 0) == Grouping::status::A_LOCAL;
    grouping.add(atom, of_A ? 0 : 1);
    atoms.push_back(atom);
  }

  EqualitySplitter splitter(terms, context.mapper, context.limits, grouping,
                            std::move(atoms));
  const auto outcome = splitter.split(equality);
  if (const auto* model = std::get_if<EqualityModel>(&outcome))
    throw NotSplit(model_text(*model, query));
  const auto& split = std::get<EqualitySplit>(outcome);
  const auto interpolant = [&](const EqualityHalf& half, const Term_* of_trivial) {
    if (!half.proof) return of_trivial;
    const InterpolationTask task{
        splitter.grouping(), {}, query.mode, Cuts::AUTO, query.raw};
    return context.interpolation.interpolants(half.proof.get(), task).terms.at(0);
  };
  SharedTerm result;
  result.a_side = split.terms.a_side;
  result.b_side = split.terms.b_side;
  result.term = split.terms.shared_term;
  if (!query.raw) result.term = sum_term(terms, linear_form(result.term));
  result.of_A = {interpolant(split.of_A, terms.false_term()), split.of_A.completed};
  result.of_B = {interpolant(split.of_B, terms.true_term()), split.of_B.completed};
  return result;
}

std::vector<std::vector<const Term_*>> verification_steps(Terms& terms,
                                                          const ResolvedQuery& resolved,
                                                          const SharedTerm& answer) {
  assert(resolved.first.size() == 2);
  const auto groups = resolved.groups();
  const auto background = resolved.background();
  const auto side = [&](std::size_t group, std::vector<const Term_*> more) {
    more.insert(more.end(), background.begin(), background.end());
    more.insert(more.end(), groups[group].begin(), groups[group].end());
    return more;
  };
  const Term_* const no_a = terms.make_distinct(answer.a_side, answer.term);
  const Term_* const no_b = terms.make_distinct(answer.term, answer.b_side);
  const Term_* const of_A = answer.of_A.interpolant;
  const Term_* const of_B = answer.of_B.interpolant;
  return {side(0, side(1, {no_a})),
          side(0, side(1, {no_b})),
          side(0, {no_a, terms.make_not(of_A)}),
          side(1, {of_A}),
          side(0, {terms.make_not(of_B)}),
          side(1, {no_b, of_B})};
}

std::vector<const Term_*> foreign_symbols(const Grouping& grouping,
                                          const SharedTerm& answer) {
  std::vector<const Term_*> result;
  for (const Term_* v :
       variables_of({answer.term, answer.of_A.interpolant, answer.of_B.interpolant})) {
    if (grouping.symbols_colour(v, 0) != Grouping::status::SHARED) result.push_back(v);
  }
  return result;
}

}  // namespace opal::host
