#pragma once

#include <boost/uuid/uuid.hpp>

namespace Weftline {

/// A random UUID (RFC 9562, version 4), as hard to guess as what the system's generator gives. Any thread may
/// call; each asks the system for many at once. Throws Boost's `entropy_error` where the system has none to
/// give.
boost::uuids::uuid RandomUuid();

}  // namespace Weftline
