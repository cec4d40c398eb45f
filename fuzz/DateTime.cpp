// Times that a purge is given.

#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <string>

#include "fuzz/FuzzTarget.h"
#include "handlers/admin/ParseDateTime.h"

namespace Fuzzing {

using Weftline::Services::Scheduler::ParseDateTime;
using Weftline::Services::Scheduler::TryParseDateTime;

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;

std::string Written(std::int64_t ticks) {
    const std::time_t seconds = ticks / kTicksPerSecond;
    std::tm time{};
    gmtime_r(&seconds, &time);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d", time.tm_year + 1900,
                  time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
    return text.data();
}

}  // namespace

void RunOne(std::string_view input) {
    setenv("TZ", "UTC", 1);
    const std::string text(input);
    const auto ticks = TryParseDateTime(text);
    if (!ticks) {
        try {
            ParseDateTime(text);
            Check(false, "what is no time is an error");
        } catch (const std::runtime_error& error) {
            for (const char character : std::string_view(error.what())) {
                Check(character < 0 || character >= ' ', "an error is one printable line");
            }
        }
        return;
    }
    Check(ParseDateTime(text + "Z and more") == *ticks, "what follows the seconds is ignored");
    const std::string written = Written(*ticks);
    if (written.size() == std::string_view("2024-05-06T07:08:09").size()) {  // not past the year 9999
        Check(TryParseDateTime(written) == ticks, "a time that is written reads back as the same");
    }
}

}  // namespace Fuzzing
