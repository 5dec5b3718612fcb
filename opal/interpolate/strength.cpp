#include "opal/interpolate/strength.h"

#include <array>
#include <utility>

namespace opal::host {

namespace {

constexpr std::array<std::pair<std::string_view, Strength>, 4> STRENGTH_NAMES = {
    {{"strong", Strength::STRONG},
     {"middle", Strength::MIDDLE},
     {"weak", Strength::WEAK},
     {"auto", Strength::AUTO}}};

}  // namespace

std::optional<Strength> strength_of(std::string_view name) {
  for (const auto& [text, strength] : STRENGTH_NAMES)
    if (text == name) return strength;
  return std::nullopt;
}

const char* to_string(Strength strength) {
  return STRENGTH_NAMES[static_cast<std::size_t>(strength)].first.data();
}

}  // namespace opal::host
