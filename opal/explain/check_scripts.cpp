#include "opal/explain/check_scripts.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "opal/la/interpolator.h"
#include "opal/proofs/farkas.h"

namespace opal::host {

namespace {

// An interpolator that begins its numbers where it is told to.
class NumberedFiles final : public la::Interpolator {
 public:
  NumberedFiles(Terms& terms, Mapper& mapper, std::int32_t number)
      : Interpolator(&terms, nullptr, &mapper, MODE_SUM, false) {
    dump_counter_ = number;
  }
};

const Term_* conjunction(Terms& terms, const std::vector<const Term_*>& atoms) {
  const Term_* result = terms.true_term();
  for (const Term_* atom : atoms)
    result = terms.make_and(result, atom);
  return result;
}

// The first of the files that cannot be opened for writing, and why.
std::string fault_in(const std::string& folder, std::int32_t number) {
  for (const char* stem : {"la_a_imp_itp", "la_b_and_itp", "la_a", "la_b", "la_itp"}) {
    char name[64];
    std::snprintf(name, sizeof name, "/%s.%03d.smt2", stem, static_cast<int>(number));
    errno = 0;
    if (std::ofstream(folder + name, std::ios::app)) continue;
    return folder + name + ": " + std::generic_category().message(errno);
  }
  return folder + ": the files are not complete";
}

}  // namespace

Sides sides_of(const proof::Proof& proof, const Grouping& grouping, std::size_t root,
               const Mapper& mapper) {
  using Status = Grouping::status;
  Sides sides;
  for (const int id : proof_constraints(proof)) {
    if (id == Mapper::ZERO_CONSTRAINT || mapper.is_branch(id)) continue;
    const Term_* const atom = mapper.constraint_atom(id);
    const Status side = grouping.atom_colour(atom, root);
    if (side != Status::B_LOCAL) sides.of_A.push_back(atom);
    if (side != Status::A_LOCAL) sides.of_B.push_back(atom);
  }
  return sides;
}

void write_check_files(Terms& terms, Mapper& mapper, const Sides& sides,
                       const Term_* interpolant, const std::string& folder,
                       std::int32_t number) {
  std::error_code fault;
  std::filesystem::create_directories(folder, fault);
  if (fault) throw CheckFileError(folder + ": " + fault.message());
  NumberedFiles files(terms, mapper, number);
  if (!files.write_check_files(conjunction(terms, sides.of_A),
                               conjunction(terms, sides.of_B), interpolant, folder))
    throw CheckFileError(fault_in(folder, number));
}

}  // namespace opal::host
