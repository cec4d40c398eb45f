#include "handlers/admin/ParseDateTime.h"

#include <chrono>
#include <cstddef>
#include <ctime>
#include <iomanip>
#include <locale>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "handlers/support/ConsoleLines.h"

namespace Weftline::Services::Scheduler {

namespace {

constexpr const char* kDateTimeFormat = "%Y-%m-%dT%T";
constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr int kFirstYearOfTm = 1900;
constexpr std::size_t kYearDigits = 4;
constexpr std::size_t kMostQuoted = 64;  // bytes of a text that is no time

/// The stream would take "24" for a year of antiquity. Like the stream, looks behind leading blanks.
bool HasWholeYear(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t\n\v\f\r");
    const std::size_t end = text.find_first_not_of("0123456789", begin);
    return end != std::string_view::npos && end - begin == kYearDigits;
}

bool IsDayOfCalendar(const std::tm& time) {
    return std::chrono::year_month_day(std::chrono::year(time.tm_year + kFirstYearOfTm),
                                       std::chrono::month(static_cast<unsigned>(time.tm_mon) + 1),
                                       std::chrono::day(static_cast<unsigned>(time.tm_mday)))
        .ok();
}

/// The C library reads the zone into state that all threads share.
std::time_t ToSecondsInLocalTime(std::tm& time) {
    // Leaked on purpose: a purge may be at it while the process ends.
    static auto* const mutex = new std::mutex;
    const std::lock_guard lock(*mutex);
    return std::mktime(&time);
}

}  // namespace

std::optional<std::int64_t> TryParseDateTime(const std::string& text) {
    if (!HasWholeYear(text)) {
        return std::nullopt;
    }
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    std::tm time{};
    // A text that ends behind the date passes for a whole one, so the seconds tell whether they were read.
    time.tm_sec = -1;
    stream >> std::get_time(&time, kDateTimeFormat);
    if (stream.fail() || time.tm_sec < 0 || !IsDayOfCalendar(time)) {
        return std::nullopt;
    }
    // The time before 1970 by one second looks like an error; the day of the week is set on success alone.
    time.tm_wday = -1;
    const std::time_t seconds = ToSecondsInLocalTime(time);
    if (time.tm_wday < 0) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(seconds) * kTicksPerSecond;
}

std::int64_t ParseDateTime(const std::string& text) {
    const auto ticks = TryParseDateTime(text);
    if (!ticks) {
        throw std::runtime_error("Failed to parse as a date and time: " + Printable(text, kMostQuoted));
    }
    return *ticks;
}

}  // namespace Weftline::Services::Scheduler
