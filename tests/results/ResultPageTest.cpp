#include "handlers/results/ResultPage.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace Weftline::Services::Scheduler {
namespace {

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

/// "beyond", the text of the failure, or "<count> from <first>". A list that is too long to be walked is
/// looked at from place `from` on.
std::string Describe(const ResultPage& page, std::size_t from, std::size_t total) {
    if (page.IsBeyondTotal()) {
        return "beyond";
    }
    std::size_t count = 0;
    std::size_t first = total;
    for (std::size_t place = from; place < total; ++place) {
        if (page.Contains(place)) {
            ++count;
            first = std::min(first, place);
        }
    }
    try {
        page.CheckOrder();
    } catch (const std::length_error& failure) {
        EXPECT_EQ(count, 0U) << "a page that cannot be made contains nothing";
        return failure.what();
    }
    return std::to_string(count) + (count > 0 ? " from " + std::to_string(first) : "");
}

TEST(ResultPage, IsWorkedOutInThirtyTwoBitsThatWrap) {
    struct Row {
        std::string name;
        std::int32_t size;
        std::int32_t offset;
        std::size_t total;
        std::string expected;
    };
    const Row rows[] = {
        {"first", 60, 0, 100, "60 from 0"},
        {"last, shorter", 60, 1, 100, "40 from 60"},
        {"ends where the list ends", 50, 1, 100, "50 from 50"},
        {"begins where the list ends", 60, 1, 60, "0"},
        {"begins behind the end", 60, 2, 60, "beyond"},
        {"size 0", 0, 7, 100, "0"},
        {"negative offset", 60, -1, 100, "beyond"},
        {"negative size runs to the end", -1, 0, 100, "100 from 0"},
        {"negative size, begins behind 0", -1, 2, 100, "beyond"},
        {"both negative: the end before the start", -1, -1, 100, "vector too long"},
        {"the same at the end of the list", -1, -1, 1, "vector too long"},
        {"the product wraps to 0", 32, 1 << 27, 100, "32 from 0"},
        {"the product wraps to 8", 12, 357913942, 100, "12 from 8"},
        {"the product wraps to a negative number", 60, kMax, 100, "beyond"},
        {"the smallest numbers", kMin, kMin, 100, "100 from 0"},
        {"the negative of the smallest", kMin, -1, 100, "beyond"},
        {"smallest size", kMin, 0, 100, "100 from 0"},
        {"the sum wraps", 60, 35791394, std::size_t{kMax}, "7 from 2147483640"},
    };
    for (const Row& row : rows) {
        const std::size_t from = row.total - std::min<std::size_t>(row.total, 1000);
        EXPECT_EQ(Describe(ResultPage(row.size, row.offset, row.total), from, row.total), row.expected)
            << row.name;
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
