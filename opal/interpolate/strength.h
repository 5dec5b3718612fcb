#ifndef OPAL_INTERPOLATE_STRENGTH_H
#define OPAL_INTERPOLATE_STRENGTH_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace opal::host {

/// How interpolants are read off a resolution proof: which side an atom is counted for that
/// both sides have. B (strong), both (middle), A (weak), or whichever gives the smallest
/// interpolants. From one proof the strong interpolant implies the middle one, and that the
/// weak one, as far as parts of the proof are not contracted (see labelled/).
enum class Strength : std::uint8_t { STRONG, MIDDLE, WEAK, AUTO };
/// The strength of a name ("strong", "middle", "weak", "auto"), or nothing.
std::optional<Strength> strength_of(std::string_view name);
const char* to_string(Strength strength);

}  // namespace opal::host

#endif
