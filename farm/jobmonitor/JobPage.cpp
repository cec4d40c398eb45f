#include "farm/jobmonitor/JobPage.h"

#include <algorithm>

#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmRequests.h"

namespace Quillon::Farm {

JobPage ReadJobPage(const CoreServices::Parameters& request) {
    constexpr std::int32_t kUsualLimit = 100;
    constexpr std::int32_t kMostLimit = 1000;
    return {std::max(ValueOr(request, Weftline::Keys::Offset, 0), 0),
            std::clamp(ValueOr(request, Weftline::Keys::Limit, kUsualLimit), 0, kMostLimit)};
}

}  // namespace Quillon::Farm
