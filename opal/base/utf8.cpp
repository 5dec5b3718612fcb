// The well-formed byte sequences of Unicode (The Unicode Standard, table 3-7):
//
//     00..7F                                      E0     A0..BF 80..BF
//     C2..DF 80..BF                               ED     80..9F 80..BF
//     E1..EC, EE..EF  80..BF 80..BF               F0     90..BF 80..BF 80..BF
//     F1..F3  80..BF 80..BF 80..BF                F4     80..8F 80..BF 80..BF
//
// E0 and F0 would allow longer forms than need be, ED surrogates, and F4 what is above
// U+10FFFF; that is why their second bytes have narrower ranges. Example: "E2 89 A4" is the
// sign for "at most", of length 3, and "E2 89" alone is nothing.

#include "opal/base/utf8.h"

#include <cassert>

namespace opal::host {

std::size_t utf8_length(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) -> unsigned {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const unsigned first = byte(at), second = byte(at + 1);
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  assert(at < text.size());
  for (std::size_t i = 1; i < length; ++i)
    if ((byte(at + i) & 0xC0U) != 0x80) return 0;
  if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F)) return 0;
  if ((first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F)) return 0;
  assert(length <= text.size() - at);
  return length;
}

}  // namespace opal::host
