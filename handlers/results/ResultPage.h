#pragma once

#include <cstddef>
#include <cstdint>

namespace Weftline::Services::Scheduler {

/// The part of a list that one page shows, by the rules that clients know: the first element is page size
/// times page offset in 32-bit arithmetic that wraps, and a negative place counts as one far beyond every
/// list. So a page that ends at a negative place runs to the end of the list, and one that begins there is
/// beyond it.
class ResultPage {
public:
    /// `offset` counts pages; `total` is the length of the list.
    ResultPage(std::int32_t size, std::int32_t offset, std::size_t total) noexcept;

    /// The page begins behind the end of the list. A page that begins at the end is empty and not beyond.
    bool IsBeyondTotal() const noexcept { return m_begin > m_total; }
    bool Contains(std::size_t place) const noexcept { return m_begin <= place && place < m_end; }
    /// Throws `std::length_error` ("vector too long") for a page that ends before it begins.
    void CheckOrder() const;

private:
    std::uint64_t m_total;
    std::uint64_t m_begin;
    std::uint64_t m_end;
};

}  // namespace Weftline::Services::Scheduler
