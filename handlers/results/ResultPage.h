#pragma once

#include <cstddef>
#include <cstdint>

namespace Weftline::Services::Scheduler {

/// The places of a list that one page shows: from `begin` up to `end`. A page that begins behind the end of
/// the list shows none, and so does one whose end comes before its begin.
struct ResultPage {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;  ///< not behind the end of the list
};

/// The page by the rules that clients know: it begins at page size times page offset, which counts pages, in
/// 32-bit arithmetic that wraps, and a negative place counts as one far beyond every list. So a page that
/// ends at a negative place runs to the end of the list, and one that begins there is beyond it.
ResultPage FindResultPage(std::int32_t size, std::int32_t offset, std::size_t total) noexcept;

}  // namespace Weftline::Services::Scheduler
