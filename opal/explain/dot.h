// The language DOT of Graphviz, as all drawings of proofs write it.

#ifndef OPAL_EXPLAIN_DOT_H
#define OPAL_EXPLAIN_DOT_H

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace opal::host::dot {

inline constexpr std::size_t SHOWN = 60;        // characters of a text in a node
inline constexpr std::size_t POINTED_AT = 600;  // and in what pops up

// Of the Okabe-Ito palette, lightened; in grey A is darker than B.
inline constexpr const char* FILL_OF_A = "#8CC4EA";
inline constexpr const char* FILL_OF_B = "#FBE3A6";
inline constexpr const char* FILL_OF_BOTH = "#8CC4EA;0.5:#FBE3A6";
inline constexpr const char* FILL_OF_NEITHER = "#F2F2F2";

// How a drawing begins; it ends with "}".
inline constexpr const char* HEADER = R"(digraph proof {
  graph [rankdir=TB, ranksep=0.35, nodesep=0.25, fontname="Helvetica", fontsize=11,
         labelloc=t, tooltip=" "];
  node [shape=box, fontname="Helvetica", fontsize=12, margin="0.12,0.06", height=0.3,
        style=filled, fillcolor=white, color="#555555"];
  edge [fontname="Helvetica", fontsize=10, color="#777777", arrowsize=0.6, tooltip=" "];
)";

/// A text inside of a label or a quoted string: Graphviz reads entities in both. What XML
/// has no character for becomes a blank or a question mark.
std::string escaped(const std::string& text);
/// A text in lines of about SHOWN characters, broken at blanks; the last line is cut.
std::vector<std::string> wrapped(const std::string& text, std::size_t most_lines);
/// A text as a small line of a label.
std::string small(const std::string& text);

/// What stands above a drawing: remarks, and which colour is which side.
struct Caption {
  std::vector<std::string> remarks;
  bool has_sides = false;
  bool has_shared = false;  // something belongs to both sides
  std::string name_of_A;
  std::string name_of_B;
};
void write_caption(std::ostream& out, const Caption& caption);
/// The label of a node, of lines that are escaped already, and what shows when it is
/// pointed at.
void write_label(std::ostream& out, const std::vector<std::string>& lines,
                 const std::string& tooltip);

}  // namespace opal::host::dot

#endif
