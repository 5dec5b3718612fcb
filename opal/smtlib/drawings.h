#ifndef OPAL_SMTLIB_DRAWINGS_H
#define OPAL_SMTLIB_DRAWINGS_H

#include <cstddef>
#include <iosfwd>
#include <map>
#include <stdexcept>
#include <string>

#include "opal/base/limits.h"

namespace opal::smtlib {

/// A drawing that could not be made or written; what() says which file and why.
class DrawingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The files that drawings go to. Of several drawings for one file the first gets its name,
/// the others proof-2.svg, proof-3.svg, ... for proof.svg.
class Drawings {
 public:
  /// Announces a file; "" stands for none.
  void want(const std::string& path);
  /// Writes a drawing, given in the language of Graphviz, to the next file for `path`, as
  /// it is or as SVG. Returns the file's name. Throws DrawingError, and LimitReached while
  /// Graphviz works; then there is no such file, or the one that was there before.
  std::string write_dot(const std::string& path, const std::string& dot);
  std::string write_svg(const std::string& path, const std::string& dot,
                        host::Limits& limits);
  /// Names the files that were announced and never written.
  void report_missing(std::ostream& out) const;

 private:
  std::string write_next(const std::string& path, const std::string& text);

  std::map<std::string, std::size_t> written_;  // how many, by path
};

}  // namespace opal::smtlib

#endif
