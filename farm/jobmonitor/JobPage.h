#pragma once

#include <cstdint>

#include "base/parameters/Parameters.h"

namespace Quillon::Farm {

/// Which part of a list is asked for.
struct JobPage {
    std::int32_t offset = 0;
    std::int32_t limit = 0;
};

/// `offset` and `limit` of the request, brought into bounds: nothing below 0, and a page of 1000 jobs at
/// most; without them the first 100. Throws `BadRequestHandlerError` where one is no whole number.
JobPage ReadJobPage(const CoreServices::Parameters& request);

}  // namespace Quillon::Farm
