#include "platform/notifiers/ConsoleNotifier.h"

#include <algorithm>
#include <iostream>
#include <mutex>
#include <utility>

namespace PlatformAbstraction {

namespace {

// Shared by all console notifiers. Detached work may still report while the process ends: a leaked mutex is
// there until then.
std::mutex& ConsoleMutex() {
    static auto* const mutex = new std::mutex;
    return *mutex;
}

bool IsControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f;
}

}  // namespace

ConsoleNotifier::ConsoleNotifier(std::string prefix) : m_prefix(std::move(prefix)) {}

void ConsoleNotifier::SendProgress(const std::string& text, std::int32_t percent) {
    if (percent == kUnknownPercent) {
        WriteLine("In progress", text);
    } else {
        WriteLine("In progress, " + std::to_string(percent) + " percent", text);
    }
}

void ConsoleNotifier::SendStart(const std::string& text) {
    WriteLine("Started", text);
}

void ConsoleNotifier::SendResourceLockFailed(const std::string& text) {
    WriteLine("Could not lock a resource", text);
}

void ConsoleNotifier::SendBusy(const std::string& text) {
    WriteLine("Busy", text);
}

void ConsoleNotifier::SendCanceled(const std::string& text) {
    WriteLine("Canceled", text);
}

void ConsoleNotifier::SendSucceeded(const std::string& text, const CoreServices::Parameters& parameters) {
    WriteLine("Succeeded", text + " " + parameters.toJSON());
}

void ConsoleNotifier::SendSucceeded(const std::string& text) {
    WriteLine("Succeeded", text);
}

void ConsoleNotifier::SendFailed(const std::string& text) {
    WriteLine("Failed", text);
}

void ConsoleNotifier::WriteLine(std::string_view what, std::string_view text) const {
    std::string line = m_prefix;
    line.append(m_prefix.empty() ? "" : " ").append(what).append(": ").append(text);
    // Texts quote what other services answered: a line break in one must not pass for a line of ours.
    std::replace_if(line.begin(), line.end(), IsControl, ' ');
    line.push_back('\n');

    const std::lock_guard lock(ConsoleMutex());
    // One write, so that what others print meanwhile stands before or behind the line, not in it.
    std::cout << line << std::flush;
}

}  // namespace PlatformAbstraction
