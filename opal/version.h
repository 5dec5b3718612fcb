#ifndef OPAL_VERSION_H
#define OPAL_VERSION_H

namespace opal {

/// The version of the library and tool, also for the build and the package.
inline constexpr const char* VERSION = "0.1.0";

}  // namespace opal

#endif
