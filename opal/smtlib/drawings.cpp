// The files that drawings go to, by number, and Graphviz for those that are pictures.

#include "opal/smtlib/drawings.h"

#include <cassert>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <system_error>

#include "opal/verify/child_process.h"

namespace opal::smtlib {

namespace fs = std::filesystem;

namespace {

fs::path numbered(const fs::path& path, std::size_t number) {
  assert(number >= 1);
  if (number == 1) return path;
  fs::path result = path.parent_path() / path.stem();
  result += "-" + std::to_string(number);
  result += path.extension();
  return result;
}

[[noreturn]] void fail(const fs::path& file, const std::string& why) {
  throw DrawingError("cannot write " + file.string() + ": " + why);
}

// Null when all went well, else why not.
const char* write_all(const fs::path& file, const std::string& text) {
  errno = 0;
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (out) return nullptr;
  return std::strerror(errno != 0 ? errno : EIO);
}

// A regular file appears whole or not at all: it is written under another name first.
// Anything else, such as a device, is written to as it is.
void write_file(const fs::path& file, const std::string& text) {
  std::error_code ignored;
  const fs::file_status status = fs::status(file, ignored);
  if (fs::is_directory(status)) fail(file, std::strerror(EISDIR));
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    if (const char* why = write_all(file, text)) fail(file, why);
    return;
  }
  std::error_code error;
  const fs::path target = fs::exists(status) ? fs::canonical(file, error) : file;
  if (error) fail(file, error.message());
  fs::path part = target;
  part += ".part";
  const char* why = write_all(part, text);
  if (why == nullptr) {
    fs::rename(part, target, error);
    if (!error) return;
  }
  fs::remove(part, ignored);
  fail(file, why != nullptr ? why : error.message());
}

}  // namespace

void Drawings::want(const std::string& path) {
  if (!path.empty()) written_.emplace(path, 0);
}

std::string Drawings::write_next(const std::string& path, const std::string& text) {
  assert(!path.empty());
  std::size_t& count = written_[path];
  const fs::path file = numbered(path, count + 1);
  write_file(file, text);
  ++count;
  return file.string();
}

std::string Drawings::write_dot(const std::string& path, const std::string& dot) {
  return write_next(path, dot);
}

std::string Drawings::write_svg(const std::string& path, const std::string& dot,
                                host::Limits& limits) {
  host::ChildOutcome graphviz;
  try {
    graphviz = host::run_child_process({"dot", "-Tsvg"}, dot, limits);
  } catch (const host::ChildProcessError& error) {
    throw DrawingError("cannot draw " + path +
                       ": cannot start 'dot' of Graphviz: " + error.what());
  }
  if (!graphviz.failure.empty())
    throw DrawingError("cannot draw " + path + ": 'dot' of Graphviz " + graphviz.failure);
  return write_next(path, graphviz.output);
}

void Drawings::report_missing(std::ostream& out) const {
  for (const auto& [path, count] : written_)
    if (count == 0)
      out << "opal: nothing was drawn to " << path
          << ": no get-interpolants or get-proof was answered\n";
}

}  // namespace opal::smtlib
