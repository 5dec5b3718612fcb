// Messages of exceptions, and the hook that sees them first.

#include "opal/interfaces/exception.h"

#include <atomic>
#include <cassert>

namespace opal {

namespace {

std::atomic<Exception::Hook> installed_hook{nullptr};

}  // namespace

Exception::Exception(const std::string& msg, bool flag) {
  stream_ << msg;
  if (flag) dump_msg_and_raise_assertion();
}

Exception::Exception(const Exception& other) : std::exception(other) {
  stream_ << other.stream_.str();
  assert(stream_.str() == other.stream_.str());
}

Exception::~Exception() = default;

const char* Exception::what() const noexcept {
  try {
    text_ = stream_.str();
  } catch (...) {
    return "";
  }
  return text_.c_str();
}

Exception::Hook Exception::set_hook(Hook hook) noexcept {
  return installed_hook.exchange(hook);
}

void Exception::dump_msg_and_raise_assertion() const {
  if (Hook hook = installed_hook.load()) hook(*this);
}

}  // namespace opal
