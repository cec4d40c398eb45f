#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/notifiers/IGenericNotifier.h"

namespace PlatformAbstraction {

/// Keeps the failures of a notifier away from the work that reports to it: what the inner one throws goes to
/// the log, and no call throws. Owns the inner notifier, and may be called as that one may.
class SafeNotifier final : public IGenericNotifier {
public:
    /// Throws `std::invalid_argument` for an empty pointer.
    explicit SafeNotifier(std::unique_ptr<IGenericNotifier> inner);

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
    const std::unique_ptr<IGenericNotifier> m_pInner;
};

}  // namespace PlatformAbstraction
