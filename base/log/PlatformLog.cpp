#include "base/log/PlatformLog.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>

namespace PlatformAbstraction::Log {

namespace {

// Never destroyed: detached threads may still have something to say while the process ends.
spdlog::logger& Logger() {
    static auto* const logger = [] {
        auto* made = new spdlog::logger("quillon", std::make_shared<spdlog::sinks::stderr_sink_mt>());
        made->set_pattern("%Y-%m-%dT%H:%M:%S.%eZ [%l] %v", spdlog::pattern_time_type::utc);
        made->flush_on(spdlog::level::trace);
        return made;
    }();
    return *logger;
}

void AppendEscape(std::string& line, char kind, unsigned value, unsigned digits) {
    static constexpr char kHex[] = "0123456789abcdef";
    line.append({'\\', kind});
    while (digits-- > 0) {
        line.push_back(kHex[(value >> (4 * digits)) & 0xFU]);
    }
}

// What ends a line, or turns the direction of what follows, for whoever shows Unicode.
bool IsUnicodeControl(unsigned codePoint) {
    return codePoint == 0x061c || codePoint == 0x200e || codePoint == 0x200f ||
           (codePoint >= 0x2028 && codePoint <= 0x202e) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

// Appends the escape of the control character that the text begins with, and gives its length; 0 where there
// is none. Terminals follow U+0080 to U+009F, which are two bytes, as they follow the escape character.
std::size_t EscapeControl(std::string_view text, std::string& line) {
    const auto byteAt = [text](std::size_t n) -> unsigned {
        return n < text.size() ? static_cast<unsigned char>(text[n]) : 0;
    };
    const auto isBehind = [&](std::size_t n) { return (byteAt(n) & 0xC0U) == 0x80; };
    const unsigned first = byteAt(0);
    if (first < 0x20 || first == 0x7f) {
        AppendEscape(line, 'x', first, 2);
        return 1;
    }
    if (first == 0xc2 && byteAt(1) >= 0x80 && byteAt(1) < 0xa0) {
        AppendEscape(line, 'x', first, 2);
        AppendEscape(line, 'x', byteAt(1), 2);
        return 2;
    }
    const std::size_t length = first == 0xd8 ? 2 : 3;
    if ((first != 0xd8 && first != 0xe2) || !isBehind(1) || !isBehind(length - 1)) {
        return 0;
    }
    const unsigned codePoint = first == 0xd8 ? 0x0600 | (byteAt(1) & 0x3FU)
                                             : 0x2000 | ((byteAt(1) & 0x3FU) << 6U) | (byteAt(2) & 0x3FU);
    if (!IsUnicodeControl(codePoint)) {
        return 0;
    }
    AppendEscape(line, 'u', codePoint, 4);
    return length;
}

void Say(spdlog::level::level_enum level, std::string_view text) {
    if (Logger().should_log(level)) {
        Logger().log(level, OneLine(text));
    }
}

}  // namespace

std::string OneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const std::size_t escaped = EscapeControl(text, line);
        if (escaped == 0) {
            line.push_back(text.front());
        }
        text.remove_prefix(escaped == 0 ? 1 : escaped);
    }
    return line;
}

void SetLevel(std::string_view level) {
    const auto known = spdlog::level::from_str(std::string(level));
    if (known == spdlog::level::off && level != "off") {
        Logger().set_level(spdlog::level::info);
        Warning("The log level \"" + std::string(level) + "\" is unknown; \"info\" is used.");
        return;
    }
    Logger().set_level(known);
}

void Debug(std::string_view text) {
    Say(spdlog::level::debug, text);
}
void Info(std::string_view text) {
    Say(spdlog::level::info, text);
}
void Warning(std::string_view text) {
    Say(spdlog::level::warn, text);
}
void Error(std::string_view text) {
    Say(spdlog::level::err, text);
}

std::string WithoutNul(std::string_view text) {
    std::string visible;
    visible.reserve(text.size());
    for (const char character : text) {
        character == '\0' ? visible.append("\\x00") : visible.append(1, character);
    }
    return visible;
}

}  // namespace PlatformAbstraction::Log
