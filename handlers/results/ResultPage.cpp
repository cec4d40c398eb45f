#include "handlers/results/ResultPage.h"

#include <algorithm>

namespace Weftline::Services::Scheduler {

namespace {

// Signed 32-bit arithmetic that wraps: unsigned numbers may, signed ones may not.
std::int32_t MultiplyWrapping(std::int32_t left, std::int32_t right) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) * static_cast<std::uint32_t>(right));
}

std::int32_t AddWrapping(std::int32_t left, std::int32_t right) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right));
}

// The sign is extended first, so that a negative place is larger than every list is long.
std::uint64_t AsPlace(std::int32_t value) noexcept {
    return static_cast<std::uint64_t>(std::int64_t{value});
}

}  // namespace

ResultPage FindResultPage(std::int32_t size, std::int32_t offset, std::size_t total) noexcept {
    const std::int32_t start = MultiplyWrapping(size, offset);
    return {AsPlace(start), std::min<std::uint64_t>(AsPlace(AddWrapping(start, size)), total)};
}

}  // namespace Weftline::Services::Scheduler
