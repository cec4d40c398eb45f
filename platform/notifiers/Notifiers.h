#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/messaging/BusMessaging.h"
#include "platform/notifiers/IGenericNotifier.h"

namespace PlatformAbstraction {

/// Tells the operator, in one line of standard output for each call. Any thread may call; lines of different
/// threads do not tear each other, and no text can make more than one line.
class ConsoleNotifier final : public IGenericNotifier {
public:
    ConsoleNotifier() = default;
    /// `prefix` begins each line, to tell the notifiers of one console apart; empty for none.
    explicit ConsoleNotifier(std::string prefix);

    using IGenericNotifier::SendProgress;
    void SendProgress(const std::string& text, std::int32_t percent) override;
    void SendStart(const std::string& text) override;
    void SendResourceLockFailed(const std::string& text) override;
    void SendBusy(const std::string& text) override;
    void SendCanceled(const std::string& text) override;
    void SendSucceeded(const std::string& text, const CoreServices::Parameters& parameters) override;
    void SendSucceeded(const std::string& text) override;
    void SendFailed(const std::string& text) override;

private:
    void WriteLine(std::string_view what, std::string_view text) const;

    const std::string m_prefix;
};

/// Passes each call on to other notifiers: which ones, the derived class says.
class PassingNotifier : public IGenericNotifier {
public:
    using IGenericNotifier::SendProgress;
    void SendProgress(const std::string& text, std::int32_t percent) override;
    void SendStart(const std::string& text) override;
    void SendResourceLockFailed(const std::string& text) override;
    void SendBusy(const std::string& text) override;
    void SendCanceled(const std::string& text) override;
    void SendSucceeded(const std::string& text, const CoreServices::Parameters& parameters) override;
    void SendSucceeded(const std::string& text) override;
    void SendFailed(const std::string& text) override;

protected:
    using Call = std::function<void(IGenericNotifier&)>;

private:
    virtual void Pass(const Call& call) const = 0;
};

/// Passes each call on to all of its children, in the order in which they were added. A child that throws is
/// reported in the log and keeps nobody else from being told; no call throws. Owns its children. Any thread
/// may call the `Send` operations once the last child is there.
class CompositeNotifier final : public PassingNotifier {
public:
    CompositeNotifier() = default;
    CompositeNotifier(const CompositeNotifier&) = delete;
    CompositeNotifier& operator=(const CompositeNotifier&) = delete;
    /// Destroys the children in the order in which they were added.
    ~CompositeNotifier() override;

    /// Throws `std::invalid_argument` for an empty pointer.
    void Add(std::unique_ptr<IGenericNotifier> child);

private:
    void Pass(const Call& call) const noexcept override;

    std::vector<std::unique_ptr<IGenericNotifier>> m_children;
};

/// Keeps the failures of a notifier away from the work that reports to it: what the inner one throws goes to
/// the log, and no call throws. Owns the inner notifier, and may be called as that one may.
class SafeNotifier final : public PassingNotifier {
public:
    /// Throws `std::invalid_argument` for an empty pointer.
    explicit SafeNotifier(std::unique_ptr<IGenericNotifier> inner);

private:
    void Pass(const Call& call) const noexcept override;

    const std::unique_ptr<IGenericNotifier> m_pInner;
};

/// The notifier of a handler's detached work: it reports to the console, never throws, and any thread may
/// call it. Callers keep it as a shared pointer, since it outlives the message that started the work.
/// `busMessaging`, for notifiers that report over the bus, has no use yet and is released at once.
std::unique_ptr<IGenericNotifier> MakeNotifier(std::shared_ptr<Messaging::BusMessaging> busMessaging);

/// The decorator that changes nothing.
class PassthroughDecorator {
public:
    std::string Apply(const std::string& text) const { return text; }
};

}  // namespace PlatformAbstraction
