#pragma once

#include <cstdint>
#include <string_view>

namespace Weftline {

/// Reports a broken invariant with the calling thread's stack on standard output, and aborts the process. For
/// faults of this program's own code, never for what a client sent. Any thread may call.
[[noreturn]] void AssertFailed(std::string_view expression, std::string_view file, std::uint32_t line);

}  // namespace Weftline
