#pragma once

#include <cstddef>

namespace PlatformAbstraction::Rest {

/// How many of these connections fit into the files that the system lets this process have open, with room
/// for the store and all else that it opens. Raises the soft limit to the hard one. Says so where they do not
/// all fit.
std::size_t ConnectionsThatFit(std::size_t wanted);

}  // namespace PlatformAbstraction::Rest
