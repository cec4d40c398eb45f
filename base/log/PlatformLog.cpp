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

// The bytes of the control character at the beginning, or 0. Terminals follow U+0080 to U+009F, which are two
// bytes, as they follow the escape character.
std::size_t ControlLength(std::string_view text) {
    const auto byteAt = [text](std::size_t n) { return static_cast<unsigned char>(text[n]); };
    if (byteAt(0) < 0x20 || byteAt(0) == 0x7f) {
        return 1;
    }
    return text.size() > 1 && byteAt(0) == 0xc2 && byteAt(1) >= 0x80 && byteAt(1) < 0xa0 ? 2 : 0;
}

void Say(spdlog::level::level_enum level, std::string_view text) {
    if (Logger().should_log(level)) {
        Logger().log(level, OneLine(text));
    }
}

}  // namespace

std::string OneLine(std::string_view text) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const std::size_t control = ControlLength(text);
        for (const char character : text.substr(0, control)) {
            const auto byte = static_cast<unsigned char>(character);
            line.append("\\x").append(1, kHex[byte >> 4U]).append(1, kHex[byte & 0xFU]);
        }
        if (control == 0) {
            line.push_back(text.front());
        }
        text.remove_prefix(control == 0 ? 1 : control);
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

}  // namespace PlatformAbstraction::Log
