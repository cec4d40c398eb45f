#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace Fuzzing {

/// What one target does with one input. Must come back from any bytes; whatever breaks a promise ends the
/// process through `Check`.
void RunOne(std::string_view input);

/// Ends the process unless the promise holds, so that the fuzzer keeps the input.
inline void Check(bool holds, const char* promise) {
    if (!holds) {
        std::fprintf(stderr, "Broken: %s\n", promise);
        std::abort();
    }
}

}  // namespace Fuzzing
