#include "platform/notifiers/Notifiers.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "base/concurrency/Mutex.h"
#include "base/log/PlatformLog.h"

namespace PlatformAbstraction {

namespace {

// Shared by all console notifiers. Detached work may still report while the process ends: a leaked mutex is
// there until then.
Mutex& ConsoleMutex() {
    static auto* const mutex = new Mutex;
    return *mutex;
}

bool IsControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f;
}

/// Puts the exception in flight, of whatever kind, into the log. To be called inside a catch block.
void LogFailedNotifier() noexcept {
    try {
        try {
            throw;
        } catch (const std::exception& failure) {
            Log::Warning(std::string("A notifier failed: ") + failure.what());
        } catch (...) {
            Log::Warning("A notifier failed for an unknown reason.");
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): the log failed as well, and there is nobody left to tell
    }
}

/// Makes one call of a notifier. What it throws goes to the log and no further.
void CallNotifier(const std::function<void(IGenericNotifier&)>& call, IGenericNotifier& notifier) noexcept {
    try {
        call(notifier);
    } catch (...) {
        LogFailedNotifier();
    }
}

}  // namespace

void IGenericNotifier::SendProgress(const std::string& text) {
    SendProgress(text, kUnknownPercent);
}

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

    const MutexLock lock(ConsoleMutex());
    // One write, so that what others print meanwhile stands before or behind the line, not in it.
    std::cout << line << std::flush;
}

void PassingNotifier::SendProgress(const std::string& text, std::int32_t percent) {
    Pass([&](IGenericNotifier& other) { other.SendProgress(text, percent); });
}

void PassingNotifier::SendStart(const std::string& text) {
    Pass([&](IGenericNotifier& other) { other.SendStart(text); });
}

void PassingNotifier::SendResourceLockFailed(const std::string& text) {
    Pass([&](IGenericNotifier& other) { other.SendResourceLockFailed(text); });
}

void PassingNotifier::SendBusy(const std::string& text) {
    Pass([&](IGenericNotifier& other) { other.SendBusy(text); });
}

void PassingNotifier::SendCanceled(const std::string& text) {
    Pass([&](IGenericNotifier& other) { other.SendCanceled(text); });
}

void PassingNotifier::SendSucceeded(const std::string& text, const CoreServices::Parameters& parameters) {
    Pass([&](IGenericNotifier& other) { other.SendSucceeded(text, parameters); });
}

void PassingNotifier::SendSucceeded(const std::string& text) {
    Pass([&](IGenericNotifier& other) { other.SendSucceeded(text); });
}

void PassingNotifier::SendFailed(const std::string& text) {
    Pass([&](IGenericNotifier& other) { other.SendFailed(text); });
}

CompositeNotifier::~CompositeNotifier() {
    // A vector's own order of destruction is not promised.
    for (auto& child : m_children) {
        child.reset();
    }
}

void CompositeNotifier::Add(std::unique_ptr<IGenericNotifier> child) {
    if (!child) {
        throw std::invalid_argument("A composite notifier takes no empty child");
    }
    m_children.push_back(std::move(child));
}

void CompositeNotifier::Pass(const Call& call) const noexcept {
    for (const auto& child : m_children) {
        CallNotifier(call, *child);
    }
}

SafeNotifier::SafeNotifier(std::unique_ptr<IGenericNotifier> inner) : m_pInner(std::move(inner)) {
    if (!m_pInner) {
        throw std::invalid_argument("A safe notifier needs a notifier to keep safe");
    }
}

void SafeNotifier::Pass(const Call& call) const noexcept {
    CallNotifier(call, *m_pInner);
}

// The messaging is a notifier's to keep, once there is one that has a use for it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::unique_ptr<IGenericNotifier> MakeNotifier(std::shared_ptr<Messaging::BusMessaging> /*busMessaging*/) {
    auto console = std::make_unique<ConsoleNotifier>(std::string());
    auto composite = std::make_unique<CompositeNotifier>();
    composite->Add(std::move(console));
    return std::make_unique<SafeNotifier>(std::move(composite));
}

}  // namespace PlatformAbstraction
