#ifndef OPAL_BASE_UTF8_H
#define OPAL_BASE_UTF8_H

#include <cstddef>
#include <string_view>

namespace opal::host {

/// The length of the UTF-8 sequence of a character that begins at a position of a text, 0
/// if there is none: neither one that is longer than need be, nor a surrogate, nor one
/// above U+10FFFF.
std::size_t utf8_length(std::string_view text, std::size_t at);

}  // namespace opal::host

#endif
