#pragma once

#include <cstdint>
#include <string>
#include <string_view>

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

}  // namespace PlatformAbstraction
