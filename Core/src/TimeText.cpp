#include "Core/src/TimeText.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/date_time/posix_time/time_formatters.hpp>
#include <cstdint>
#include <ratio>

namespace Weftline {

std::string ExtendedIsoUtc(std::chrono::system_clock::time_point point) {
    // The clock of the farm counts ticks of 100 ns.
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    const auto ticks = std::chrono::duration_cast<Ticks>(point.time_since_epoch());
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(ticks);

    namespace time = boost::posix_time;
    static const time::ptime kEpoch(boost::gregorian::date(1970, 1, 1));
    return time::to_iso_extended_string(kEpoch + time::microseconds(microseconds.count()));
}

}  // namespace Weftline
