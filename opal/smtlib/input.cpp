#include "opal/smtlib/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace opal::smtlib {

namespace {

constexpr std::size_t BLOCK = 1U << 16U;

[[noreturn]] void fail(const std::string& name, int number) {
  throw InputError(name + ": " + std::strerror(number));
}

}  // namespace

Input::Input(std::string name, int descriptor, bool owned)
    : name_(std::move(name)), descriptor_(descriptor), owned_(owned) {}

Input::Input(Input&& other) noexcept
    : name_(std::move(other.name_)),
      descriptor_(other.descriptor_),
      owned_(std::exchange(other.owned_, false)),
      ended_(other.ended_),
      buffer_(std::move(other.buffer_)),
      next_(other.next_),
      position_(other.position_) {}

Input::~Input() {
  if (owned_) ::close(descriptor_);
}

Input Input::file(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) fail(path, errno);
  Input result(path, descriptor, true);
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) fail(path, errno);
  if (S_ISDIR(status.st_mode)) fail(path, EISDIR);
  return result;
}

Input Input::standard_input() { return Input("<stdin>", STDIN_FILENO, false); }

Input Input::text(std::string name, const std::string& bytes) {
  Input result(std::move(name), -1, false);
  result.buffer_.assign(bytes.begin(), bytes.end());
  result.ended_ = true;
  return result;
}

bool Input::fill() {
  if (ended_) return false;
  buffer_.resize(BLOCK);
  next_ = 0;
  ssize_t count = -1;
  do {
    count = ::read(descriptor_, buffer_.data(), buffer_.size());
  } while (count < 0 && errno == EINTR);
  const int number = errno;
  buffer_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  ended_ = count <= 0;
  if (count < 0) fail(name_, number);
  return !ended_;
}

}  // namespace opal::smtlib
