#pragma once

// Places at which a test lets the process die. They exist only in builds with the option QUILLON_FAILPOINTS;
// in any other nothing is left of them, nor of the environment variable that arms them.

#ifdef QUILLON_FAILPOINTS

#include <string_view>

namespace PlatformAbstraction {

/// Kills the process, as `kill -9` does, if the environment variable QUILLON_FAILPOINT names this place: as
/// "name", or as "name:3" for the third time that any thread comes by. The variable is read once.
void PassFailpoint(std::string_view name) noexcept;

}  // namespace PlatformAbstraction

#define QUILLON_FAILPOINT(name) ::PlatformAbstraction::PassFailpoint(name)

#else

#define QUILLON_FAILPOINT(name) static_cast<void>(0)

#endif
