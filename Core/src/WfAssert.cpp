#include "Core/src/WfAssert.h"

#include <boost/stacktrace.hpp>
#include <cstdlib>
#include <iostream>

namespace Weftline {

void AssertFailed(std::string_view expression, std::string_view file, std::uint32_t line) {
    std::cout << "ASSERT FAILED: " << expression << "in " << file << "(" << line << ")\n"
              << "STACKTRACE BEGIN\n"
              << std::flush;  // whatever the walk over a damaged stack does, the reason has been said
    std::cout << boost::stacktrace::stacktrace() << "\nSTACKTRACE END\n" << std::flush;
    std::abort();
}

}  // namespace Weftline
