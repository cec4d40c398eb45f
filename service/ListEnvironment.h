#pragma once

#include <iosfwd>

namespace Weftline::Services {

/// Says in one line that the environment is not listed: its variables may hold secrets, so none is read here.
void ListEnvironment(std::ostream& stream);

}  // namespace Weftline::Services
