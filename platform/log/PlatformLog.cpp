#include "PlatformLog.h"

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

bool IsControl(unsigned char character) {
    return character < 0x20 || character == 0x7f;
}

// Shows control characters as \xNN, so that one text is one line whatever it holds.
std::string OneLine(std::string_view text) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string line;
    line.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (IsControl(byte)) {
            line.append("\\x").append(1, kHex[byte >> 4U]).append(1, kHex[byte & 0xFU]);
        } else {
            line.push_back(character);
        }
    }
    return line;
}

void Say(spdlog::level::level_enum level, std::string_view text) {
    if (Logger().should_log(level)) {
        Logger().log(level, OneLine(text));
    }
}

}  // namespace

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
