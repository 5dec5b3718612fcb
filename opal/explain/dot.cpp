#include "opal/explain/dot.h"

#include <algorithm>
#include <ostream>
#include <string_view>
#include <utility>

#include "opal/base/utf8.h"
#include "opal/terms/print/infix.h"

namespace opal::host::dot {

namespace {

// The bytes of the character that begins at `i`, or 0 where there is none that XML has.
std::size_t character_length(const std::string& text, std::size_t i) {
  const std::string_view rest = std::string_view(text).substr(i, 3);
  return rest == "\xEF\xBF\xBE" || rest == "\xEF\xBF\xBF" ? 0 : utf8_length(text, i);
}

}  // namespace

std::string escaped(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = character_length(text, i);
    const char c = text[i];
    if (length == 0)
      result += '?';
    else if (length > 1)
      result += text.substr(i, length);
    else if (c == '\n')
      result += "&#10;";
    else if (static_cast<unsigned char>(c) < 0x20U || c == 0x7F)
      result += ' ';
    else if (c == '&')
      result += "&amp;";
    else if (c == '<')
      result += "&lt;";
    else if (c == '>')
      result += "&gt;";
    else if (c == '"')
      result += "&quot;";
    else if (c == '\\')
      result += "&#92;";
    else
      result += c;
    i += std::max<std::size_t>(length, 1);
  }
  return result;
}

std::vector<std::string> wrapped(const std::string& text, std::size_t most_lines) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (lines.size() + 1 < most_lines) {
    const std::string rest = text.substr(begin);
    if (shortened(rest, SHOWN) == rest) break;
    const std::size_t end = rest.rfind(' ', shortened(rest, SHOWN).rfind("…"));
    if (end == std::string::npos || end == 0) break;
    lines.push_back(rest.substr(0, end));
    begin += end + 1;
  }
  lines.push_back(shortened(text.substr(begin), SHOWN));
  return lines;
}

std::string small(const std::string& text) {
  return R"(<FONT POINT-SIZE="9" COLOR="#444444">)" + escaped(text) + "</FONT>";
}

void write_caption(std::ostream& out, const Caption& caption) {
  std::string rows;
  for (const std::string& line : caption.remarks)
    rows += "<TR><TD COLSPAN=\"3\" BORDER=\"0\">" + escaped(line) + "</TD></TR>";
  if (caption.has_sides) {
    const auto cell = [](const char* fill, const std::string& side,
                         const std::string& name) {
      const std::string text = name.empty() ? side : side + ": " + name;
      return std::string("<TD BGCOLOR=\"") + fill + "\">" +
             escaped(shortened(text, SHOWN)) + "</TD>";
    };
    rows += "<TR>" + cell(FILL_OF_A, "A", caption.name_of_A) +
            cell(FILL_OF_B, "B", caption.name_of_B);
    if (caption.has_shared) rows += cell("#8CC4EA:#FBE3A6", "A and B", "");
    rows += "</TR>";
  }
  if (rows.empty()) return;
  out << "  label=<<TABLE BORDER=\"0\" CELLBORDER=\"1\" CELLSPACING=\"4\" "
      << "CELLPADDING=\"4\" COLOR=\"#555555\">" << rows << "</TABLE>>;\n";
}

void write_label(std::ostream& out, const std::vector<std::string>& lines,
                 const std::string& tooltip) {
  const char* separator = "label=<";
  for (const std::string& line : lines)
    out << std::exchange(separator, "<BR/>") << line;
  out << ">, tooltip=\"" << escaped(tooltip) << "\"";
}

}  // namespace opal::host::dot
