#include "farm/coordinator/FarmClock.h"

#include <chrono>

#include "Core/src/TimeText.h"

namespace Quillon::Farm {

std::string NowText() {
    return Weftline::ExtendedIsoUtc(std::chrono::system_clock::now());
}

}  // namespace Quillon::Farm
