#include "handlers/results/ResultPage.h"

#include <algorithm>
#include <stdexcept>

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

ResultPage::ResultPage(std::int32_t size, std::int32_t offset, std::size_t total) noexcept : m_total(total) {
    const std::int32_t start = MultiplyWrapping(size, offset);
    m_begin = AsPlace(start);
    m_end = std::min(AsPlace(AddWrapping(start, size)), m_total);
}

void ResultPage::CheckOrder() const {
    if (m_end < m_begin) {
        throw std::length_error("vector too long");
    }
}

}  // namespace Weftline::Services::Scheduler
