#pragma once

#include <cstdint>
#include <string>

namespace Weftline {

/// A task as a service may register it. The scheduler registers none.
struct TaskDesc {
    std::string kind;
    std::int32_t version = 0;
};

}  // namespace Weftline
